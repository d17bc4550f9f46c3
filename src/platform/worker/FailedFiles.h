#pragma once

#include <QString>

// Files that took a parsing worker down (a crash, a hang past its time, more memory than it may have),
// kept with the size and modification time they had, so that no worker is handed them again until they
// change. Kept in $XDG_CACHE_HOME/velk/failed-files, private to the user; thread-safe.
namespace FailedFiles {

// Whether the file at `path`, as it is now, is recorded.
bool contains(const QString &path, qint64 size, qint64 modifiedMs);
// Records the file; `reason` is one word ("crashed", "timed-out", "out-of-memory").
void add(const QString &path, qint64 size, qint64 modifiedMs, const QString &reason);

struct Entry {
    QString path;
    qint64 size = 0;
    qint64 modifiedMs = 0;
    QString reason;
};
QList<Entry> all();

QString location();

} // namespace FailedFiles
