#pragma once

#include "DuplicateGroup.h"
#include "DuplicateScanner.h"

#include <QCoro/QCoroTask>

#include <QDateTime>
#include <QFuture>
#include <QList>
#include <QObject>
#include <QSet>
#include <QUrl>
#include <QVariant>

#include <atomic>
#include <memory>
#include <optional>

namespace mdindex {
class MetadataIndex;
}

// Runs the exact and the look-alike scans over the metadata index, holds their groups and keeps them
// true as files go away. Lives on the main thread for the whole run; every property notifies only
// when its value really changes.
class DuplicateFinder : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString phase READ phaseRaw NOTIFY phaseChanged)
    Q_PROPERTY(qint64 phaseDone READ phaseDone NOTIFY phaseChanged)
    Q_PROPERTY(qint64 phaseTotal READ phaseTotal NOTIFY phaseChanged)
    Q_PROPERTY(QString similarPhase READ similarPhaseRaw NOTIFY similarPhaseChanged)
    Q_PROPERTY(qint64 similarPhaseDone READ similarPhaseDone NOTIFY similarPhaseChanged)
    Q_PROPERTY(qint64 similarPhaseTotal READ similarPhaseTotal NOTIFY similarPhaseChanged)
    Q_PROPERTY(QVariant exact READ exactValue NOTIFY exactChanged)
    Q_PROPERTY(QVariant similar READ similarValue NOTIFY similarChanged)
    Q_PROPERTY(qint64 scannedFiles READ scannedFiles NOTIFY scannedFilesChanged)
    Q_PROPERTY(QDateTime lastScan READ lastScanValue NOTIFY lastScanChanged)
    Q_PROPERTY(qint64 exactReclaimable READ exactReclaimable NOTIFY exactChanged)
    Q_PROPERTY(qint64 similarReclaimable READ similarReclaimable NOTIFY similarChanged)
    Q_PROPERTY(qint64 extraCopies READ extraCopies NOTIFY exactChanged)

public:
    struct Phase {
        enum Kind { idle, gathering, hashing, finished };
        Kind kind = idle;
        qint64 done = 0;
        qint64 total = 0;

        static Phase hashingAt(qint64 done, qint64 total) { return {Kind::hashing, done, total}; }
        bool isRunning() const { return kind == gathering || kind == hashing; }
        QString rawValue() const;
        friend bool operator==(const Phase &, const Phase &) = default;
    };

    // The index must outlive the finder. Files above `sampleAbove` bytes are compared by samples.
    explicit DuplicateFinder(mdindex::MetadataIndex &index, QObject *parent = nullptr);
    DuplicateFinder(mdindex::MetadataIndex &index, qint64 sampleAbove, QObject *parent = nullptr);

    // What moving the extra copies to the Trash did.
    struct TrashOutcome {
        QSet<QUrl> moved;
        // Files of groups compared by samples that, read in full, differ from the kept copy: left where
        // they are and taken out of their groups. Worth telling the person.
        QList<FileItem> differing;
        // Files that could not be read in full to be compared: left where they are.
        QList<FileItem> unproven;
        // Stopped while comparing: nothing was moved.
        bool cancelled = false;
    };

    Phase phase() const { return m_phase; }
    Phase similarPhase() const { return m_similarPhase; }
    QList<DuplicateGroup> exact() const { return m_exact; }
    QList<DuplicateGroup> similar() const { return m_similar; }
    qint64 scannedFiles() const { return m_scannedFiles; }
    std::optional<QDateTime> lastScan() const { return m_lastScan; }

    qint64 exactReclaimable() const;
    qint64 similarReclaimable() const;
    qint64 extraCopies() const;

    // Does nothing while a scan of the same kind runs; a finished one may start anew.
    QCoro::Task<> scan(QList<QUrl> scopes);
    QCoro::Task<> scanSimilar(QList<QUrl> scopes);

    // An unknown group id changes nothing.
    void setKeeper(const QUrl &url, const QUuid &groupId);
    // Takes files that went away out of every group; groups left with one file dissolve.
    void remove(const QSet<QUrl> &urls);

    // Moves every file but the kept one of these exact groups to the Trash. The members of groups that
    // were compared by samples are first compared in full with the kept copy, off the main thread;
    // only proven copies go. Unknown ids are ignored.
    QCoro::Task<TrashOutcome> trashExtras(QList<QUuid> groupIds);
    // Stops the comparisons of a trashExtras under way; it then moves nothing.
    void cancelTrash();

Q_SIGNALS:
    void phaseChanged();
    void similarPhaseChanged();
    void exactChanged();
    void similarChanged();
    void scannedFilesChanged();
    void lastScanChanged();

private:
    QString phaseRaw() const { return m_phase.rawValue(); }
    qint64 phaseDone() const { return m_phase.done; }
    qint64 phaseTotal() const { return m_phase.total; }
    QString similarPhaseRaw() const { return m_similarPhase.rawValue(); }
    qint64 similarPhaseDone() const { return m_similarPhase.done; }
    qint64 similarPhaseTotal() const { return m_similarPhase.total; }
    QVariant exactValue() const { return QVariant::fromValue(m_exact); }
    QVariant similarValue() const { return QVariant::fromValue(m_similar); }
    QDateTime lastScanValue() const { return m_lastScan.value_or(QDateTime()); }

    QCoro::Task<SpotlightResult> gather(const DuplicateScanner::CandidateQuery &query, QList<QUrl> scopes);
    QFuture<QList<DuplicateGroup>> startHashing(const SpotlightResult &candidates);
    void finishScan(const QList<DuplicateGroup> &groups);
    QFuture<QList<DuplicateGroup>> startAnalysing(const SpotlightResult &candidates);
    QFuture<QList<DuplicateScanner::Proof>> startProving(const QList<DuplicateGroup> &groups);
    QFuture<QSet<QUrl>> startTrashing(const QList<FileItem> &items);
    void applyProofs(const QList<DuplicateScanner::Proof> &proofs);
    void setPhase(const Phase &phase);
    void setSimilarPhase(const Phase &phase);
    void setExact(const QList<DuplicateGroup> &groups);
    void setSimilar(const QList<DuplicateGroup> &groups);

    mdindex::MetadataIndex &m_index;
    qint64 m_sampleAbove = DuplicateScanner::fullReadLimit;
    std::shared_ptr<std::atomic<bool>> m_cancelProof;
    Phase m_phase;
    Phase m_similarPhase;
    QList<DuplicateGroup> m_exact;
    QList<DuplicateGroup> m_similar;
    qint64 m_scannedFiles = 0;
    std::optional<QDateTime> m_lastScan;
};
