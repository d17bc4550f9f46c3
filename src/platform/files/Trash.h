#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The freedesktop.org Trash, as every file manager on the desktop reads it: a file goes to the home
// trash ($XDG_DATA_HOME/Trash) when it lives on the same file system, otherwise to the trash at the top
// of its own volume ($topdir/.Trash/$uid where an administrator prepared a sticky $topdir/.Trash, else
// $topdir/.Trash-$uid). Each entry gets a .trashinfo with the URL-escaped original path and the
// deletion date, so that any file manager can restore it. Nothing is ever copied, overwritten or erased:
// a file that cannot be renamed into a trash on its own file system stays where it is.
namespace Trash {

// Where one file went.
struct Entry {
    // The trash folder, holding files/ and info/.
    QString trashPath;
    // The entry's name below files/, and with ".trashinfo" below info/.
    QString name;

    QString filePath() const;
    QString infoPath() const;
};

// $XDG_DATA_HOME/Trash, whether it exists or not.
QString homeTrashPath();

// Moves one file, folder or symbolic link (the link itself) to the trash. Blocking and safe on any
// thread; `homeTrash` is read once by the caller so that a worker never looks at the environment. No
// entry when nothing moved, in which case no .trashinfo is left behind either.
std::optional<Entry> moveToTrash(const QString &path, const QString &homeTrash);
std::optional<Entry> moveToTrash(const QString &path);

// The Path= value of a .trashinfo: every byte of the file system's name escaped as in URLs except the
// unreserved characters and "/".
QByteArray encodePath(const QByteArray &path);

} // namespace Trash
