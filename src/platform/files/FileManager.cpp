#include "FileManager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QStringList>

namespace {

// A file manager that is not running is started by the bus first, which can take a few seconds on a
// cold start; only a bus that stays silent for this long counts as no file manager.
constexpr int kRevealTimeoutMs = 10000;

QUrl folderOf(const QUrl &url)
{
    return url.adjusted(QUrl::StripTrailingSlash).adjusted(QUrl::RemoveFilename | QUrl::StripTrailingSlash);
}

} // namespace

bool FileManager::open(const QUrl &url)
{
    return QDesktopServices::openUrl(url);
}

void FileManager::reveal(const QList<QUrl> &urls)
{
    if (urls.isEmpty())
        return;
    const QUrl fallback = folderOf(urls.first());
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        open(fallback);
        return;
    }
    QStringList uris;
    for (const QUrl &url : urls)
        uris << QString::fromUtf8(url.toEncoded());
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    // No startup notification id: the file manager raises its own window.
    call << uris << QString();
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, kRevealTimeoutMs));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [fallback](QDBusPendingCallWatcher *finished) {
        if (finished->isError())
            open(fallback);
        finished->deleteLater();
    });
}
