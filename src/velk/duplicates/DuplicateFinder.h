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

    // The index must outlive the finder.
    explicit DuplicateFinder(mdindex::MetadataIndex &index, QObject *parent = nullptr);

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
    void setPhase(const Phase &phase);
    void setSimilarPhase(const Phase &phase);
    void setExact(const QList<DuplicateGroup> &groups);
    void setSimilar(const QList<DuplicateGroup> &groups);

    mdindex::MetadataIndex &m_index;
    Phase m_phase;
    Phase m_similarPhase;
    QList<DuplicateGroup> m_exact;
    QList<DuplicateGroup> m_similar;
    qint64 m_scannedFiles = 0;
    std::optional<QDateTime> m_lastScan;
};
