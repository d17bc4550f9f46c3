#include "FileActions.h"
#include "FilePath.h"

#include "files/Clipboard.h"
#include "files/FileManager.h"
#include "files/RecentlyUsed.h"
#include "files/Trash.h"
#include "search/LibraryStore.h"
#include "state/AppState.h"

#include <QCoreApplication>
#include <QPointer>
#include <QStringList>
#include <QThreadPool>

namespace {

// Trash operations run one after another, in the order they were asked for, never wait behind the
// long reads of the shared pool, and are finished before the process ends.
struct SerialPool : QThreadPool {
    SerialPool() { setMaxThreadCount(1); }
};
Q_GLOBAL_STATIC(SerialPool, fileOperations)

QList<QUrl> urlsOf(const QList<FileItem> &items)
{
    QList<QUrl> urls;
    urls.reserve(items.size());
    for (const FileItem &item : items)
        urls << item.url;
    return urls;
}

} // namespace

void FileActions::reveal(const QList<FileItem> &items)
{
    FileManager::reveal(urlsOf(items));
}

void FileActions::openExternally(const QList<FileItem> &items)
{
    QList<QUrl> opened;
    for (const FileItem &item : items) {
        if (FileManager::open(item.url))
            opened << item.url;
    }
    if (!opened.isEmpty())
        RecentlyUsed::add(opened);
}

void FileActions::copy(const QList<FileItem> &items)
{
    Clipboard::setFiles(urlsOf(items));
}

void FileActions::copyPath(const QList<FileItem> &items)
{
    QStringList paths;
    for (const FileItem &item : items)
        paths << FilePath::display(item.path());
    Clipboard::setText(paths.join(QLatin1Char('\n')));
}

std::unique_ptr<QMimeData> FileActions::dragData(const FileItem &item)
{
    return Clipboard::dragData(item.url);
}

void FileActions::trash(const QList<FileItem> &items, TrashCompletion completion)
{
    // Read here, so that the worker never looks at the environment.
    const QString homeTrash = Trash::homeTrashPath();
    fileOperations()->start([urls = urlsOf(items), homeTrash, completion = std::move(completion)]() mutable {
        QSet<QUrl> moved;
        for (const QUrl &url : std::as_const(urls)) {
            if (url.isLocalFile() && Trash::moveToTrash(FilePath::fromUrl(url), homeTrash))
                moved.insert(url);
        }
        // The application object lives on the main thread; once it is gone nobody is listening.
        QCoreApplication *app = QCoreApplication::instance();
        if (!app)
            return;
        QMetaObject::invokeMethod(
            app,
            [completion = std::move(completion), moved] {
                if (completion)
                    completion(moved);
            },
            Qt::QueuedConnection);
    });
}

void FileActions::trashFromMenu(const QList<FileItem> &items, LibraryStore &library, AppState &state)
{
    trash(items, [library = QPointer<LibraryStore>(&library), state = QPointer<AppState>(&state)](const QSet<QUrl> &moved) {
        if (library)
            library->remove(moved);
        if (!state)
            return;
        QSet<QUrl> marks = state->selectedFiles();
        marks.subtract(moved);
        state->setSelectedFiles(marks);
        if (const std::optional<FileItem> focused = state->focusedItem(); focused && moved.contains(focused->url))
            state->setFocusedItem(std::nullopt);
        state->raiseRefreshToken();
    });
}
