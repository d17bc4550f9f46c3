#pragma once

#include "models/FileItem.h"

#include <QList>
#include <QMimeData>
#include <QSet>
#include <QUrl>

#include <functional>
#include <memory>

class AppState;
class LibraryStore;

// What can be done to files from anywhere they are shown. Stateless; every operation starts on the
// main thread, and file operations that fail stay silent.
namespace FileActions {

// The file manager opens one window with all of them selected.
void reveal(const QList<FileItem> &items);
// Each item in order with its default application; each one that could be handed over is also
// recorded in the desktop's recently used list.
void openExternally(const QList<FileItem> &items);
// The files themselves, to be pasted in a file manager.
void copy(const QList<FileItem> &items);
// Their paths as text, one a line, with no newline after the last.
void copyPath(const QList<FileItem> &items);
// What dragging one tile out of the program offers: that file alone, or nothing when it is gone.
std::unique_ptr<QMimeData> dragData(const FileItem &item);

using TrashCompletion = std::function<void(const QSet<QUrl> &moved)>;
// Moves the items to the Trash in the background and reports exactly the URLs that moved. The
// completion always runs, later, on the main thread, also when nothing moved.
void trash(const QList<FileItem> &items, TrashCompletion completion);
// The context menu's trash: afterwards the moved files leave the library's lists and the marks, the
// focused item goes if it moved, and the refresh token rises, whatever moved.
void trashFromMenu(const QList<FileItem> &items, LibraryStore &library, AppState &state);

} // namespace FileActions
