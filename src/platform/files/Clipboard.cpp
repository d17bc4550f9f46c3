#include "Clipboard.h"
#include "FilePath.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QStringList>

#include <sys/stat.h>

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
        // Text cannot carry bytes that are not UTF-8: it shows them marked, and the URLs above carry them.
        text << (url.isLocalFile() ? FilePath::display(FilePath::fromUrl(url)) : url.toString());
    }
    data->setData(QStringLiteral("x-special/gnome-copied-files"), copied);
    data->setText(text.join(QLatin1Char('\n')));
    return data;
}

std::unique_ptr<QMimeData> Clipboard::dragData(const QUrl &url)
{
    auto data = std::make_unique<QMimeData>();
    struct stat st;
    if (url.isLocalFile() && ::lstat(FilePath::toNative(FilePath::fromUrl(url)).constData(), &st) == 0)
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
