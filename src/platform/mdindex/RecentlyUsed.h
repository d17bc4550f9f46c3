#pragma once

#include <QHash>
#include <QString>

namespace mdindex {

// The desktop's list of recently used files ($XDG_DATA_HOME/recently-used.xbel): for each local
// file, when it was last opened or changed through a program, in milliseconds since 1970. A missing
// or damaged list gives what could be read, possibly nothing.
QHash<QString, qint64> readRecentlyUsed(const QString &file);
QString recentlyUsedPath();

} // namespace mdindex
