#include "DuplicateFinder.h"

#include "DuplicateScanner.h"
#include "actions/FileActions.h"
#include "fileidentity/FileIdentity.h"
#include "mdindex/MetadataIndex.h"
#include "search/Spotlight.h"

#include <QCoro/QCoroFuture>
#include <QPointer>
#include <QPromise>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

namespace {

QList<DuplicateGroup> prune(const QList<DuplicateGroup> &groups, const QSet<QUrl> &urls)
{
    QList<DuplicateGroup> out;
    for (DuplicateGroup group : groups) {
        group.files.removeIf([&](const FileItem &file) { return urls.contains(file.url); });
        if (group.files.size() < 2)
            continue;
        const bool keepLeft = std::any_of(group.files.begin(), group.files.end(), [&](const FileItem &file) { return file.url == group.keep; });
        if (!keepLeft)
            group.keep = group.files.first().url;
        out.append(std::move(group));
    }
    return out;
}

qint64 reclaimable(const QList<DuplicateGroup> &groups)
{
    qint64 sum = 0;
    for (const DuplicateGroup &group : groups)
        sum += group.reclaimable();
    return sum;
}

// Scans are background work: they yield to what the person is doing.
template<typename Work>
auto inBackground(Work work)
{
    return QtConcurrent::run([work = std::move(work)] {
        QThread *thread = QThread::currentThread();
        const QThread::Priority before = thread->priority();
        thread->setPriority(QThread::LowPriority);
        auto result = work();
        thread->setPriority(before == QThread::InheritPriority ? QThread::NormalPriority : before);
        return result;
    });
}

bool setGroupKeeper(QList<DuplicateGroup> &groups, const QUrl &url, const QUuid &groupId)
{
    for (DuplicateGroup &group : groups) {
        if (group.id == groupId) {
            group.keep = url;
            return true;
        }
    }
    return false;
}

} // namespace

QString DuplicateFinder::Phase::rawValue() const
{
    switch (kind) {
    case idle:
        return QStringLiteral("idle");
    case gathering:
        return QStringLiteral("gathering");
    case hashing:
        return QStringLiteral("hashing");
    case finished:
        return QStringLiteral("finished");
    }
    return {};
}

DuplicateFinder::DuplicateFinder(mdindex::MetadataIndex &index, QObject *parent)
    : DuplicateFinder(index, DuplicateScanner::fullReadLimit, parent)
{
}

DuplicateFinder::DuplicateFinder(mdindex::MetadataIndex &index, qint64 sampleAbove, QObject *parent)
    : QObject(parent)
    , m_index(index)
    , m_sampleAbove(sampleAbove)
{
}

qint64 DuplicateFinder::exactReclaimable() const
{
    return reclaimable(m_exact);
}

qint64 DuplicateFinder::similarReclaimable() const
{
    return reclaimable(m_similar);
}

qint64 DuplicateFinder::extraCopies() const
{
    qint64 count = 0;
    for (const DuplicateGroup &group : m_exact)
        count += group.extras().size();
    return count;
}

// The coroutines only wait on tasks and futures made in statements of their own: GCC 12 destroys a
// lambda with captures twice when it is made inside a co_await.
QCoro::Task<> DuplicateFinder::scan(QList<QUrl> scopes)
{
    if (m_phase.isRunning())
        co_return;
    setPhase({Phase::gathering});
    // The finder may be gone when an answer comes: the program closing, a test's world torn down.
    const QPointer<DuplicateFinder> self(this);
    QCoro::Task<SpotlightResult> gathering = gather(DuplicateScanner::exactCandidates(), std::move(scopes));
    SpotlightResult candidates = co_await gathering;
    if (!self)
        co_return;
    QFuture<QList<DuplicateGroup>> hashing = startHashing(candidates);
    QList<DuplicateGroup> groups = co_await hashing;
    if (!self)
        co_return;
    finishScan(groups);
}

QCoro::Task<SpotlightResult> DuplicateFinder::gather(const DuplicateScanner::CandidateQuery &query, QList<QUrl> scopes)
{
    return Spotlight::run(m_index, query.query, std::move(scopes), query.sortKey, query.limit, query.accept);
}

QFuture<QList<DuplicateGroup>> DuplicateFinder::startHashing(const SpotlightResult &candidates)
{
    if (m_scannedFiles != candidates.totalCount) {
        m_scannedFiles = candidates.totalCount;
        Q_EMIT scannedFilesChanged();
    }
    setPhase(Phase::hashingAt(0, 1));
    QPointer<DuplicateFinder> self(this);
    const auto progress = [self](qint64 done, qint64 total) {
        QMetaObject::invokeMethod(
            self.data(),
            [self, done, total] {
                if (self && self->m_phase.kind == Phase::hashing)
                    self->setPhase(Phase::hashingAt(done, std::max<qint64>(total, 1)));
            },
            Qt::QueuedConnection);
    };
    return inBackground(
        [items = candidates.items, progress, sampleAbove = m_sampleAbove] { return DuplicateScanner::exactDuplicates(items, progress, sampleAbove); });
}

void DuplicateFinder::finishScan(const QList<DuplicateGroup> &groups)
{
    setExact(groups);
    setPhase({Phase::finished});
    m_lastScan = QDateTime::currentDateTime();
    Q_EMIT lastScanChanged();
}

QCoro::Task<> DuplicateFinder::scanSimilar(QList<QUrl> scopes)
{
    if (m_similarPhase.isRunning())
        co_return;
    setSimilarPhase({Phase::gathering});
    const QPointer<DuplicateFinder> self(this);
    QCoro::Task<SpotlightResult> gathering = gather(DuplicateScanner::similarCandidates(), std::move(scopes));
    SpotlightResult candidates = co_await gathering;
    if (!self)
        co_return;
    QFuture<QList<DuplicateGroup>> analysing = startAnalysing(candidates);
    QList<DuplicateGroup> groups = co_await analysing;
    if (!self)
        co_return;
    setSimilar(groups);
    setSimilarPhase({Phase::finished});
}

QFuture<QList<DuplicateGroup>> DuplicateFinder::startAnalysing(const SpotlightResult &candidates)
{
    // A file already listed as an exact copy is not shown again as a look-alike.
    QSet<QUrl> exactExtras;
    for (const DuplicateGroup &group : std::as_const(m_exact)) {
        for (const FileItem &extra : group.extras())
            exactExtras.insert(extra.url);
    }
    QList<FileItem> items;
    for (const FileItem &item : candidates.items) {
        if (!exactExtras.contains(item.url) && fileidentity::isDownloadedCurrent(item.path()))
            items.append(item);
    }
    setSimilarPhase(Phase::hashingAt(0, std::max<qint64>(items.size(), 1)));
    QPointer<DuplicateFinder> self(this);
    const auto progress = [self](qint64 done, qint64 total) {
        QMetaObject::invokeMethod(
            self.data(),
            [self, done, total] {
                if (self && self->m_similarPhase.kind == Phase::hashing)
                    self->setSimilarPhase(Phase::hashingAt(done, std::max<qint64>(total, 1)));
            },
            Qt::QueuedConnection);
    };
    return inBackground([items, progress] { return DuplicateScanner::similarPhotos(items, progress); });
}

void DuplicateFinder::setKeeper(const QUrl &url, const QUuid &groupId)
{
    QList<DuplicateGroup> exact = m_exact;
    if (setGroupKeeper(exact, url, groupId)) {
        setExact(exact);
        return;
    }
    QList<DuplicateGroup> similar = m_similar;
    if (setGroupKeeper(similar, url, groupId))
        setSimilar(similar);
}

void DuplicateFinder::remove(const QSet<QUrl> &urls)
{
    setExact(prune(m_exact, urls));
    setSimilar(prune(m_similar, urls));
}

QCoro::Task<DuplicateFinder::TrashOutcome> DuplicateFinder::trashExtras(QList<QUuid> groupIds)
{
    QList<DuplicateGroup> chosen;
    for (const DuplicateGroup &group : std::as_const(m_exact)) {
        if (groupIds.contains(group.id))
            chosen.append(group);
    }
    QFuture<QList<DuplicateScanner::Proof>> proving = startProving(chosen);
    const QList<DuplicateScanner::Proof> proofs = co_await proving;

    TrashOutcome outcome;
    QList<FileItem> extras;
    for (const DuplicateScanner::Proof &proof : proofs) {
        outcome.cancelled = outcome.cancelled || proof.cancelled;
        outcome.differing += proof.differing;
        outcome.unproven += proof.unproven;
        extras += proof.provenExtras();
    }
    // What differs leaves its group whether or not the rest goes.
    applyProofs(proofs);
    if (outcome.cancelled || extras.isEmpty())
        co_return outcome;

    QFuture<QSet<QUrl>> trashing = startTrashing(extras);
    outcome.moved = co_await trashing;
    remove(outcome.moved);
    co_return outcome;
}

void DuplicateFinder::cancelTrash()
{
    if (m_cancelProof)
        m_cancelProof->store(true);
}

QFuture<QList<DuplicateScanner::Proof>> DuplicateFinder::startProving(const QList<DuplicateGroup> &groups)
{
    if (m_cancelProof)
        m_cancelProof->store(true);
    m_cancelProof = std::make_shared<std::atomic<bool>>(false);
    // Reading two large files in full takes a while: off the main thread, at the scans' priority.
    return inBackground([groups, cancel = m_cancelProof] {
        QList<DuplicateScanner::Proof> proofs;
        for (const DuplicateGroup &group : groups)
            proofs.append(DuplicateScanner::proveGroup(group, cancel.get()));
        return proofs;
    });
}

QFuture<QSet<QUrl>> DuplicateFinder::startTrashing(const QList<FileItem> &items)
{
    auto promise = std::make_shared<QPromise<QSet<QUrl>>>();
    QFuture<QSet<QUrl>> future = promise->future();
    promise->start();
    FileActions::trash(items, [promise](const QSet<QUrl> &moved) {
        promise->addResult(moved);
        promise->finish();
    });
    return future;
}

void DuplicateFinder::applyProofs(const QList<DuplicateScanner::Proof> &proofs)
{
    QSet<QUrl> differing;
    for (const DuplicateScanner::Proof &proof : proofs) {
        for (const FileItem &file : proof.differing)
            differing.insert(file.url);
    }
    if (!differing.isEmpty())
        setExact(prune(m_exact, differing));
}

void DuplicateFinder::setPhase(const Phase &phase)
{
    if (m_phase == phase)
        return;
    m_phase = phase;
    Q_EMIT phaseChanged();
}

void DuplicateFinder::setSimilarPhase(const Phase &phase)
{
    if (m_similarPhase == phase)
        return;
    m_similarPhase = phase;
    Q_EMIT similarPhaseChanged();
}

void DuplicateFinder::setExact(const QList<DuplicateGroup> &groups)
{
    if (m_exact == groups)
        return;
    m_exact = groups;
    Q_EMIT exactChanged();
}

void DuplicateFinder::setSimilar(const QList<DuplicateGroup> &groups)
{
    if (m_similar == groups)
        return;
    m_similar = groups;
    Q_EMIT similarChanged();
}
