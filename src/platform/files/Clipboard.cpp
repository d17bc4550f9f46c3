#include "Clipboard.h"

#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QStringList>

namespace {

QClipboard *clipboard()
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) ? QGuiApplication::clipboard() : nullptr;
}

} // namespace

std::unique_ptr<QMimeData> Clipboard::filesData(const QList<QUrl> &urls)
{
    auto data = std::make_unique<QMimeData>();
    data->setUrls(urls);
    QByteArray copied = QByteArrayLiteral("copy");
    QStringList text;
    for (const QUrl &url : urls) {
        copied += '\n' + url.toEncoded();
        text << (url.isLocalFile() ? url.toLocalFile() : url.toString());
    }
    data->setData(QStringLiteral("x-special/gnome-copied-files"), copied);
    data->setText(text.join(QLatin1Char('\n')));
    return data;
}

std::unique_ptr<QMimeData> Clipboard::dragData(const QUrl &url)
{
    auto data = std::make_unique<QMimeData>();
    if (url.isLocalFile() && (QFileInfo::exists(url.toLocalFile()) || QFileInfo(url.toLocalFile()).isSymLink()))
        data->setUrls({url});
    return data;
}

void Clipboard::setFiles(const QList<QUrl> &urls)
{
    if (QClipboard *board = clipboard())
        board->setMimeData(filesData(urls).release());
}

void Clipboard::setText(const QString &text)
{
    if (QClipboard *board = clipboard())
        board->setText(text);
}
