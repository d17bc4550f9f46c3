#pragma once

#include <QByteArrayView>
#include <QDateTime>
#include <QHash>
#include <QString>

// The desktop's list of recently used files, which GTK programs (and Velk, when it hands a file to
// another program) add to whenever a file is opened. It is where the last used date of a file comes
// from; file access times are not, since backups, indexers and thumbnailers touch those.
namespace RecentlyUsedReader {

// $XDG_DATA_HOME/recently-used.xbel
QString defaultPath();

// The latest `visited` or `modified` stamp of each local file in the list, keyed by absolute path. A
// missing or unreadable list gives nothing; a malformed one gives what was read before the fault.
QHash<QString, QDateTime> read(const QString &path = defaultPath());
QHash<QString, QDateTime> parse(QByteArrayView xbel);

} // namespace RecentlyUsedReader
