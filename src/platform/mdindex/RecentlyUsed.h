#pragma once

#include "places/RecentlyUsedReader.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace mdindex {

// Last used dates from the desktop's list of recently used files ($XDG_DATA_HOME/recently-used.xbel),
// in milliseconds since 1970, keyed by path: each local file the list names, and each app in the
// application folders that the list names as having opened something. A missing or damaged list gives
// what could be read, possibly nothing.
QHash<QString, qint64> readRecentlyUsed(const QString &file);
QString recentlyUsedPath();

// When each app below `folders` was last used by the programs in `applications`: desktop entries
// (searched in subfolders too) whose id or command's program is the program's name or program, and
// AppImages whose name before the version ("Krita-5.2.2-x86_64.AppImage") is.
QHash<QString, qint64> applicationsLastUsed(const QList<RecentlyUsedReader::Application> &applications, const QStringList &folders);

} // namespace mdindex
