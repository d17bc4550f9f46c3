#include "DuplicateScanner.h"
#include "FilePath.h"
#include "InputFile.h"

#include "UserPlaces.h"
#include "fileidentity/FileIdentity.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace DuplicateScanner {

namespace {

    constexpr qint64 endBytes = 16384;
    constexpr qint64 chunkBytes = 1048576;
    constexpr int samples = 32;

    // Lists under keys, the keys in the order first seen, so that every pass is repeatable.
    template<typename Key, typename Value>
    class OrderedGroups
    {
    public:
        void add(const Key &key, const Value &value)
        {
            auto it = m_index.find(key);
            if (it == m_index.end()) {
                it = m_index.insert(key, m_lists.size());
                m_lists.append(QList<Value>());
            }
            m_lists[*it].append(value);
        }
        const QList<QList<Value>> &lists() const { return m_lists; }

    private:
        QHash<Key, qsizetype> m_index;
        QList<QList<Value>> m_lists;
    };

    QString randomKey()
    {
        return QUuid::createUuid().toString(QUuid::WithoutBraces);
    }

    // Up to `length` bytes, fewer only at the end of the file. False on a read error.
    bool feed(QFile &file, QCryptographicHash &hash, qint64 length, QByteArray &buffer)
    {
        buffer.resize(qsizetype(std::min(length, chunkBytes)));
        qint64 left = length;
        while (left > 0) {
            const qint64 got = file.read(buffer.data(), std::min(left, qint64(buffer.size())));
            if (got < 0)
                return false;
            if (got == 0)
                break;
            hash.addData(QByteArrayView(buffer.constData(), got));
            left -= got;
        }
        return true;
    }

    void sortBySaving(QList<DuplicateGroup> &groups)
    {
        std::stable_sort(groups.begin(), groups.end(), [](const DuplicateGroup &a, const DuplicateGroup &b) { return a.reclaimable() > b.reclaimable(); });
    }

    std::optional<QString> keyOrRandom(const std::optional<QString> &key)
    {
        return key ? key : std::optional<QString>(randomKey());
    }

    bool isMarkedCopy(const QString &name)
    {
        static const QRegularExpression pattern(u"\\(\\d+\\)|[ _-]\\d\\.\\w+$"_s, QRegularExpression::UseUnicodePropertiesOption);
        const QString lower = name.toLower();
        return lower.contains(u" copy"_s) || pattern.match(lower).hasMatch();
    }

    double ageOf(const FileItem &item)
    {
        const QDateTime &date = item.created ? *item.created : item.modified;
        return double(date.toMSecsSinceEpoch()) / 1000.0;
    }

    std::optional<double> aspectOf(const FileItem &item)
    {
        if (!item.pixelWidth || !item.pixelHeight || *item.pixelWidth < 1 || *item.pixelHeight < 1)
            return std::nullopt;
        const double w = *item.pixelWidth;
        const double h = *item.pixelHeight;
        return std::min(w, h) / std::max(w, h);
    }

    qint64 areaOf(const FileItem &item)
    {
        return qint64(item.pixelWidth.value_or(0)) * qint64(item.pixelHeight.value_or(0));
    }

    // Path halving: each step points the index at hand to its grandparent before moving on.
    int root(std::vector<int> &parent, int index)
    {
        while (parent[size_t(index)] != index) {
            parent[size_t(index)] = parent[size_t(parent[size_t(index)])];
            index = parent[size_t(index)];
        }
        return index;
    }

    // Sampling needs room for its thirty-two chunks, whatever bound a caller sets.
    bool isSampled(qint64 size, qint64 sampleAbove)
    {
        return size > sampleAbove && size > samples * chunkBytes;
    }

    bool isPackage(const FileItem &item)
    {
        return item.contentType && item.contentType->conforms(UTType::package());
    }

} // namespace

const CandidateQuery &exactCandidates()
{
    static const CandidateQuery query {
        u"kMDItemFSSize >= 51200"_s,
        u"kMDItemFSContentChangeDate"_s,
        300000,
        [](const FileItem &item) { return item.category != FileCategory::apps && item.category != FileCategory::folders && !isPackage(item); },
    };
    return query;
}

const QSet<QString> &photoExtensions()
{
    static const QSet<QString> extensions = {
        u"jpg"_s,
        u"jpeg"_s,
        u"heic"_s,
        u"heif"_s,
        u"dng"_s,
        u"tif"_s,
        u"tiff"_s,
        u"webp"_s,
        u"arw"_s,
        u"cr2"_s,
        u"cr3"_s,
        u"nef"_s,
        u"raf"_s,
    };
    return extensions;
}

const CandidateQuery &similarCandidates()
{
    static const CandidateQuery query {
        u"kMDItemContentTypeTree == 'public.image' && kMDItemFSSize >= 30000 && kMDItemPixelWidth >= 300 && kMDItemIsScreenCapture != 1"_s,
        u"kMDItemFSContentChangeDate"_s,
        2500,
        [](const FileItem &item) {
            if (!photoExtensions().contains(QFileInfo(item.url.path()).suffix().toLower()))
                return false;
            const QString name = item.name.toLower();
            if (name.startsWith(u"screenshot"_s) || name.startsWith(u"screencapture"_s) || name.startsWith(u"scr-"_s))
                return false;
            if (item.pixelWidth && item.pixelHeight && *item.pixelWidth > 0 && *item.pixelHeight > 0) {
                const double w = *item.pixelWidth;
                const double h = *item.pixelHeight;
                if (std::min(w, h) / std::max(w, h) < 0.4)
                    return false;
            }
            return true;
        },
    };
    return query;
}

std::optional<QString> fingerprint(const QUrl &url, qint64 size, bool full, qint64 sampleAbove)
{
    // Opened by the exact name, which QFile cannot do for names that are not UTF-8.
    const int fd = ::open(FilePath::toNative(FilePath::fromUrl(url)).constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        return std::nullopt;
    // Unbuffered: the chunks go straight to the hash. QFile closes on every way out.
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return std::nullopt;
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    QByteArray buffer;
    if (!full) {
        if (!feed(file, hash, endBytes, buffer))
            return std::nullopt;
        if (size > 2 * endBytes && (!file.seek(size - endBytes) || !feed(file, hash, endBytes, buffer)))
            return std::nullopt;
    } else if (!isSampled(size, sampleAbove)) {
        for (;;) {
            buffer.resize(qsizetype(chunkBytes));
            const qint64 got = file.read(buffer.data(), chunkBytes);
            if (got < 0)
                return std::nullopt;
            if (got == 0)
                break;
            hash.addData(QByteArrayView(buffer.constData(), got));
        }
    } else {
        // A bound on time for very large files: both ends and thirty-two evenly spread samples.
        for (int i = 0; i < samples; ++i) {
            const auto offset = quint64(double(size - chunkBytes) * double(i) / 31.0);
            if (!file.seek(qint64(offset)) || !feed(file, hash, chunkBytes, buffer))
                return std::nullopt;
        }
    }
    return QString::fromLatin1(hash.result().toHex());
}

Sameness compareInFull(const QUrl &a, const QUrl &b, const std::atomic<bool> *cancel)
{
    // By the exact names, without blocking, regular files only: a FIFO put in a copy's place since the
    // scan must not stall the proof.
    const InputFile firstInput(FilePath::fromUrl(a));
    const InputFile secondInput(FilePath::fromUrl(b));
    QFile first;
    QFile second;
    if (!firstInput.openDevice(first) || !secondInput.openDevice(second))
        return Sameness::unreadable;
    if (first.size() != second.size())
        return Sameness::different;
    QByteArray one(qsizetype(chunkBytes), Qt::Uninitialized);
    QByteArray other(qsizetype(chunkBytes), Qt::Uninitialized);
    for (;;) {
        if (cancel && cancel->load(std::memory_order_relaxed))
            return Sameness::cancelled;
        const qint64 got = first.read(one.data(), chunkBytes);
        if (got < 0)
            return Sameness::unreadable;
        // The second file is read to the same length, however its reads come back.
        qint64 filled = 0;
        while (filled < got) {
            const qint64 more = second.read(other.data() + filled, got - filled);
            if (more < 0)
                return Sameness::unreadable;
            if (more == 0)
                return Sameness::different;
            filled += more;
        }
        if (got == 0) {
            // Both at their ends at once: a file that grew meanwhile is not the same file.
            char probe;
            return second.read(&probe, 1) == 0 ? Sameness::same : Sameness::different;
        }
        if (std::memcmp(one.constData(), other.constData(), size_t(got)) != 0)
            return Sameness::different;
    }
}

QList<FileItem> Proof::provenExtras() const
{
    QList<FileItem> out;
    if (cancelled)
        return out;
    for (const FileItem &file : group.extras()) {
        if (!std::any_of(unproven.begin(), unproven.end(), [&file](const FileItem &other) { return other.url == file.url; }))
            out.append(file);
    }
    return out;
}

Proof proveGroup(const DuplicateGroup &group, const std::atomic<bool> *cancel)
{
    Proof proof;
    proof.group = group;
    if (!group.sampled)
        return proof;
    proof.group.files.clear();
    for (const FileItem &file : group.files) {
        if (file.url == group.keep) {
            proof.group.files.append(file);
            continue;
        }
        switch (compareInFull(group.keep, file.url, cancel)) {
        case Sameness::same:
            proof.group.files.append(file);
            break;
        case Sameness::different:
            proof.differing.append(file);
            break;
        case Sameness::unreadable:
            proof.group.files.append(file);
            proof.unproven.append(file);
            break;
        case Sameness::cancelled:
            proof.group = group;
            proof.differing.clear();
            proof.unproven.clear();
            proof.cancelled = true;
            return proof;
        }
    }
    return proof;
}

QUrl pickKeeper(const QList<FileItem> &files)
{
    if (files.isEmpty())
        return {};
    const std::optional<QString> downloads = UserPlaces::userFolder(UserPlaces::UserFolder::downloads);
    const QString prefix = downloads ? *downloads + u'/' : QString();
    const auto inDownloads = [&](const FileItem &item) { return !prefix.isEmpty() && item.path().startsWith(prefix); };

    const FileItem *best = &files.first();
    for (qsizetype i = 1; i < files.size(); ++i) {
        const FileItem &challenger = files[i];
        const bool bestDownloaded = inDownloads(*best);
        if (bestDownloaded != inDownloads(challenger)) {
            if (bestDownloaded)
                best = &challenger;
            continue;
        }
        const bool bestMarked = isMarkedCopy(best->name);
        if (bestMarked != isMarkedCopy(challenger.name)) {
            if (bestMarked)
                best = &challenger;
            continue;
        }
        if (ageOf(challenger) < ageOf(*best))
            best = &challenger;
    }
    return best->url;
}

QList<DuplicateGroup> exactDuplicates(const QList<FileItem> &items, const Progress &progress, qint64 sampleAbove)
{
    std::map<qint64, QList<FileItem>> bySize;
    for (const FileItem &item : items)
        bySize[item.size].append(item);
    qint64 total = 0;
    for (auto it = bySize.begin(); it != bySize.end();) {
        if (it->second.size() < 2) {
            it = bySize.erase(it);
        } else {
            total += it->second.size();
            ++it;
        }
    }

    QList<DuplicateGroup> groups;
    qint64 done = 0;
    for (const auto &[size, members] : bySize) {
        QList<FileItem> candidates;
        QSet<fileidentity::FileNumber> numbers;
        for (const FileItem &item : members) {
            const QString path = item.path();
            // Reading a file that is not here in its current form would start a download.
            if (!fileidentity::isDownloadedCurrent(path))
                continue;
            if (const auto number = fileidentity::fileNumber(path)) {
                // A second link to a file already taken: trashing it would free nothing.
                if (numbers.contains(*number))
                    continue;
                numbers.insert(*number);
            }
            candidates.append(item);
        }

        if (candidates.size() >= 2) {
            OrderedGroups<QString, FileItem> quick;
            for (const FileItem &item : candidates)
                quick.add(*keyOrRandom(fingerprint(item.url, item.size, false)), item);
            for (const QList<FileItem> &sameEnds : quick.lists()) {
                if (sameEnds.size() < 2)
                    continue;
                OrderedGroups<QString, FileItem> whole;
                for (const FileItem &item : sameEnds)
                    whole.add(*keyOrRandom(fingerprint(item.url, item.size, true, sampleAbove)), item);
                for (const QList<FileItem> &same : whole.lists()) {
                    if (same.size() < 2)
                        continue;
                    DuplicateGroup group;
                    group.files = same;
                    group.keep = pickKeeper(same);
                    group.sampled = isSampled(size, sampleAbove);
                    groups.append(std::move(group));
                }
            }
        }

        done += members.size();
        if (progress)
            progress(done, total);
    }
    sortBySaving(groups);
    return groups;
}

std::optional<imaging::FeatureVector> featurePrint(const QUrl &url)
{
    if (!url.isLocalFile())
        return std::nullopt;
    return imaging::FeaturePrint::compute(FilePath::fromUrl(url));
}

QUrl pickBestPhoto(const QList<FileItem> &files)
{
    if (files.isEmpty())
        return {};
    const FileItem *best = &files.first();
    for (qsizetype i = 1; i < files.size(); ++i) {
        const FileItem &challenger = files[i];
        const qint64 bestArea = areaOf(*best);
        const qint64 challengerArea = areaOf(challenger);
        if (challengerArea > bestArea || (challengerArea == bestArea && challenger.size > best->size))
            best = &challenger;
    }
    return best->url;
}

QList<DuplicateGroup> clusterSimilar(const QList<FileItem> &items, const std::vector<std::optional<imaging::FeatureVector>> &features)
{
    const int n = int(std::min(size_t(items.size()), features.size()));
    std::vector<int> parent(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i)
        parent[size_t(i)] = i;
    std::vector<int> present;
    std::vector<std::optional<double>> aspects(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        if (features[size_t(i)]) {
            present.push_back(i);
            aspects[size_t(i)] = aspectOf(items[i]);
        }
    }

    for (size_t a = 0; a < present.size(); ++a) {
        const int i = present[a];
        const auto &vi = *features[size_t(i)];
        for (size_t b = a + 1; b < present.size(); ++b) {
            const int j = present[b];
            // The cheap test first: pictures of clearly different shapes are not the same photo.
            if (aspects[size_t(i)] && aspects[size_t(j)] && std::abs(*aspects[size_t(i)] - *aspects[size_t(j)]) > aspectTolerance)
                continue;
            if (imaging::FeaturePrint::similarity(vi, *features[size_t(j)]) < similarityThreshold)
                continue;
            const int rootJ = root(parent, j);
            parent[size_t(rootJ)] = root(parent, i);
        }
    }

    OrderedGroups<int, int> clusters;
    for (int i : present)
        clusters.add(root(parent, i), i);
    QList<DuplicateGroup> groups;
    for (const QList<int> &members : clusters.lists()) {
        // A cluster this large has chained unrelated pictures together: it is dropped, not split.
        if (members.size() < 2 || members.size() > largestCluster)
            continue;
        DuplicateGroup group;
        for (int i : members)
            group.files.append(items[i]);
        group.keep = pickBestPhoto(group.files);
        groups.append(std::move(group));
    }
    sortBySaving(groups);
    return groups;
}

QList<DuplicateGroup> similarPhotos(const QList<FileItem> &items, const Progress &progress)
{
    const qsizetype n = items.size();
    std::vector<std::optional<imaging::FeatureVector>> features(static_cast<size_t>(n));
    std::mutex lock;
    qint64 counter = 0;
    std::atomic<qsizetype> next {0};
    const auto work = [&] {
        for (qsizetype i = next++; i < n; i = next++) {
            auto vector = featurePrint(items[i].url);
            qint64 reached = 0;
            {
                std::lock_guard guard(lock);
                features[size_t(i)] = std::move(vector);
                reached = ++counter;
            }
            if (progress && (reached % 10 == 0 || reached == n))
                progress(reached, n);
        }
    };
    const int workers = int(std::clamp<qsizetype>(qsizetype(std::thread::hardware_concurrency()), 1, std::max<qsizetype>(n, 1)));
    std::vector<std::thread> threads;
    for (int w = 1; w < workers; ++w)
        threads.emplace_back(work);
    work();
    for (std::thread &thread : threads)
        thread.join();
    return clusterSimilar(items, features);
}

} // namespace DuplicateScanner
