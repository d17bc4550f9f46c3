#pragma once

#include "models/Destinations.h"
#include "models/FileItem.h"
#include "search/Spotlight.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

// The five rules that find files that can go. Plain functions, safe on any thread; the store runs
// them one after the other.
namespace CleanupRules {

// Most items a query rule keeps; its totals still count every match.
inline constexpr int kLimit = 5000;
// A download untouched this long is forgotten: 90 days exactly, not aligned to a day.
inline constexpr qint64 kForgottenAfterSeconds = 7'776'000;

// The metadata query of a rule; empty for forgotten downloads, which lists a folder instead.
QString query(CleanupKind kind);
// The folders a rule searches: the given scopes, except for unused apps, which look only where the
// user installs apps of their own.
QList<QUrl> scopes(CleanupKind kind, const QList<QUrl> &given);
// The test each candidate of a query rule must pass. Reads the file system for apps.
bool accepts(CleanupKind kind, const FileItem &item);

// Loose files at the top of `folder` last modified before `now` minus 90 days and not used since,
// by the last used dates in `lastUsed` (keyed by path). Largest first, no limit; an unreadable folder
// gives the empty result.
SpotlightResult forgottenDownloads(const QString &folder, const QDateTime &now, const QHash<QString, QDateTime> &lastUsed);

// Unused apps with their sizes on disk instead of the index's, largest first. The count stays what
// the query found; the size becomes that of the items kept.
SpotlightResult measureApps(SpotlightResult result);

// Largest first; equal sizes keep their order.
void sortBySize(QList<FileItem> &items);

} // namespace CleanupRules
