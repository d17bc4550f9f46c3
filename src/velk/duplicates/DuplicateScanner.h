#pragma once

#include "DuplicateGroup.h"
#include "imaging/FeaturePrint.h"
#include "search/Spotlight.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QUrl>

#include <atomic>
#include <functional>
#include <optional>
#include <vector>

// Finding files with identical contents and photos that look alike. Pure operations without state;
// the long ones are synchronous and meant to run off the main thread.
namespace DuplicateScanner {

// Called with (done, total) from whichever thread does the work.
using Progress = std::function<void(qint64 done, qint64 total)>;

// Above this size a full fingerprint samples the file instead of reading all of it.
inline constexpr qint64 fullReadLimit = 512'000'000;
inline constexpr float similarityThreshold = 0.9118f;
inline constexpr double aspectTolerance = 0.08;
inline constexpr int largestCluster = 40;

// What a scan asks the metadata index for.
struct CandidateQuery {
    QString query;
    QString sortKey;
    int limit = 0;
    Spotlight::Accept accept;
};
const CandidateQuery &exactCandidates();
const CandidateQuery &similarCandidates();
// The extensions of photographs, lower-case.
const QSet<QString> &photoExtensions();

// Groups of files that hold the same bytes, largest saving first, each with its keeper chosen.
// Reads as little as it can: sizes first, then file numbers, then both ends, then everything. Files
// larger than `sampleAbove` are compared by samples, and their groups are marked `sampled`: prove
// them (proveGroup) before anything of theirs goes.
QList<DuplicateGroup> exactDuplicates(const QList<FileItem> &items, const Progress &progress = {}, qint64 sampleAbove = fullReadLimit);
// The SHA-256 of the file's two ends (`full` false) or of all of it (of thirty-two samples above
// `sampleAbove`), as lower-case hex; nothing when the file cannot be read.
std::optional<QString> fingerprint(const QUrl &url, qint64 size, bool full, qint64 sampleAbove = fullReadLimit);

enum class Sameness { same, different, unreadable, cancelled };
// Reads two files side by side, a chunk at a time, to the end or the first difference; `cancel` is
// looked at between chunks.
Sameness compareInFull(const QUrl &a, const QUrl &b, const std::atomic<bool> *cancel = nullptr);

// A group after its members were compared in full with the kept copy.
struct Proof {
    // The group without the members that differ; it may be left with fewer than two files.
    DuplicateGroup group;
    // Members that are not copies of the kept one after all: they must stay where they are.
    QList<FileItem> differing;
    // Members that could not be read to the end (or all of them, when the kept copy could not): not
    // proven either way, so they stay too, and stay in the group.
    QList<FileItem> unproven;
    bool cancelled = false;

    // The members proven to be copies of the kept one.
    QList<FileItem> provenExtras() const;
};
// A group that was not sampled is proven already and is not read again.
Proof proveGroup(const DuplicateGroup &group, const std::atomic<bool> *cancel = nullptr);
// The copy to keep: outside Downloads, then without a copy mark in its name, then the oldest.
QUrl pickKeeper(const QList<FileItem> &files);

// Clusters of two to forty photos that look alike, largest saving first.
QList<DuplicateGroup> similarPhotos(const QList<FileItem> &items, const Progress &progress = {});
std::optional<imaging::FeatureVector> featurePrint(const QUrl &url);
// The clustering step of similarPhotos over features already computed, one slot per item.
QList<DuplicateGroup> clusterSimilar(const QList<FileItem> &items, const std::vector<std::optional<imaging::FeatureVector>> &features);
// The photo to keep: the most pixels, then the biggest file.
QUrl pickBestPhoto(const QList<FileItem> &files);

} // namespace DuplicateScanner
