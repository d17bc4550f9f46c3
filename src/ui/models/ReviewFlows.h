#pragma once

#include "Stores.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <functional>

// What happens after the person confirmed that files should go: they move to the Trash, every list
// that held them forgets them, and a toast tells what really moved. Nothing here asks; the screens do.
namespace ReviewFlows {

using Done = std::function<void(const QSet<QUrl> &moved)>;

// The sum of the sizes of those `items` that moved.
qint64 movedBytes(const QList<FileItem> &items, const QSet<QUrl> &moved);
// "Moved 3 items to Trash · 12 MB freed"
QString suggestionsToast(qsizetype moved, qint64 bytes);
// "Moved 1 file to Trash · 4 KB freed", and what stayed because it was not a copy after all.
QString copiesToast(qsizetype moved, qint64 bytes, qsizetype differing = 0, qsizetype unproven = 0);

// Clean-up suggestions: the suggestions, the library, the duplicate groups and the text index lose
// what moved, and so do the marks. `done` runs afterwards, on the main thread.
void trashSuggestions(const QList<FileItem> &items, const Stores &stores, Done done = {});
// Extra copies of exact groups: the members of groups compared by samples are first read in full,
// and only proven copies go.
void trashCopies(const QList<QUuid> &groupIds, const Stores &stores, Done done = {});
// Look-alike photos: they go as they are.
void trashLookAlikes(const QList<FileItem> &items, const Stores &stores, Done done = {});

} // namespace ReviewFlows
