#include "ReviewFlows.h"

#include "Format.h"
#include "actions/FileActions.h"
#include "models/Fmt.h"

#include <QCoro/QCoroTask>

namespace ReviewFlows {

namespace {

    void forgetElsewhere(const QSet<QUrl> &moved, const Stores &stores)
    {
        if (stores.state) {
            QSet<QUrl> marks = stores.state->selectedFiles();
            marks.subtract(moved);
            stores.state->setSelectedFiles(marks);
        }
    }

    void toast(const Stores &stores, const QString &text)
    {
        if (stores.state)
            stores.state->setToast(AppState::Toast(text, QStringLiteral("sparkles")));
    }

    QCoro::Task<> runTrashCopies(QList<QUuid> groupIds, Stores stores, Done done)
    {
        QList<FileItem> extras;
        for (const DuplicateGroup &group : stores.duplicates->exact()) {
            if (groupIds.contains(group.id))
                extras += group.extras();
        }
        const DuplicateFinder::TrashOutcome outcome = co_await stores.duplicates->trashExtras(groupIds);
        // The finder already took what moved out of its groups.
        if (stores.store)
            stores.store->remove(outcome.moved);
        if (stores.cleanup)
            stores.cleanup->remove(outcome.moved);
        if (stores.textIndex)
            stores.textIndex->forget(outcome.moved);
        forgetElsewhere(outcome.moved, stores);
        toast(stores, copiesToast(outcome.moved.size(), movedBytes(extras, outcome.moved), outcome.differing.size(), outcome.unproven.size()));
        if (done)
            done(outcome.moved);
    }

} // namespace

qint64 movedBytes(const QList<FileItem> &items, const QSet<QUrl> &moved)
{
    qint64 sum = 0;
    QSet<QUrl> counted;
    for (const FileItem &item : items) {
        if (moved.contains(item.url) && !counted.contains(item.url)) {
            counted.insert(item.url);
            sum += item.size;
        }
    }
    return sum;
}

QString suggestionsToast(qsizetype moved, qint64 bytes)
{
    return QStringLiteral("Moved %1 to Trash · %2 freed").arg(Format::counted(moved, QStringLiteral("item")), Fmt::bytes(bytes));
}

QString copiesToast(qsizetype moved, qint64 bytes, qsizetype differing, qsizetype unproven)
{
    QString text = QStringLiteral("Moved %1 to Trash · %2 freed").arg(Format::counted(moved, QStringLiteral("file")), Fmt::bytes(bytes));
    if (differing > 0)
        text += QStringLiteral(" · %1 kept: not identical after all").arg(Format::counted(differing, QStringLiteral("file")));
    if (unproven > 0)
        text += QStringLiteral(" · %1 kept: could not be read in full").arg(Format::counted(unproven, QStringLiteral("file")));
    return text;
}

void trashSuggestions(const QList<FileItem> &items, const Stores &stores, Done done)
{
    FileActions::trash(items, [items, stores, done](const QSet<QUrl> &moved) {
        const qint64 bytes = movedBytes(items, moved);
        if (stores.cleanup)
            stores.cleanup->remove(moved);
        if (stores.store)
            stores.store->remove(moved);
        if (stores.duplicates)
            stores.duplicates->remove(moved);
        if (stores.textIndex)
            stores.textIndex->forget(moved);
        forgetElsewhere(moved, stores);
        toast(stores, suggestionsToast(moved.size(), bytes));
        if (done)
            done(moved);
    });
}

void trashCopies(const QList<QUuid> &groupIds, const Stores &stores, Done done)
{
    if (!stores.duplicates)
        return;
    // The task runs on by itself; the stores outlive it.
    runTrashCopies(groupIds, stores, std::move(done));
}

void trashLookAlikes(const QList<FileItem> &items, const Stores &stores, Done done)
{
    FileActions::trash(items, [items, stores, done](const QSet<QUrl> &moved) {
        const qint64 bytes = movedBytes(items, moved);
        if (stores.duplicates)
            stores.duplicates->remove(moved);
        if (stores.store)
            stores.store->remove(moved);
        if (stores.cleanup)
            stores.cleanup->remove(moved);
        if (stores.textIndex)
            stores.textIndex->forget(moved);
        forgetElsewhere(moved, stores);
        toast(stores, copiesToast(moved.size(), bytes));
        if (done)
            done(moved);
    });
}

} // namespace ReviewFlows
