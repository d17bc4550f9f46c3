// Figures for the duplicate scans, driven by bench/duplicates.sh:
//   generate-exact DIR            a tree with planted duplicates of many kinds
//   exact DIR OUT                 the exact scan over DIR through the index; groups to OUT
//   compare-exact VELK FDUPES     the groups of both, restricted and folded alike, compared
//   make-photos DIR ORIGINALS...  a labelled look-alike corpus: edited copies of each original
//   add-distractors DIR PHOTOS... unrelated photos without copies
//   similar DIR [--calibrate]     precision and recall of the look-alike scan, prints per second
//   score-groups DIR GROUPS       precision and recall of another tool's groups (one group a line)
#include "duplicates/DuplicateScanner.h"
#include "imaging/FeaturePrint.h"
#include "imaging/PictureDecoder.h"
#include "mdindex/MetadataIndex.h"
#include "search/Spotlight.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QTextStream out(stdout);

// ---- the exact corpus ----

class Corpus
{
public:
    explicit Corpus(const QString &root)
        : m_root(root)
    {
    }

    QByteArray randomBytes(qint64 size)
    {
        QByteArray bytes(qsizetype(size), Qt::Uninitialized);
        auto *words = reinterpret_cast<quint64 *>(bytes.data());
        for (qint64 i = 0; i < size / 8; ++i)
            words[i] = m_random();
        for (qint64 i = size / 8 * 8; i < size; ++i)
            bytes[qsizetype(i)] = char(m_random());
        return bytes;
    }

    QString write(const QString &relative, const QByteArray &bytes)
    {
        const QString path = m_root + u'/' + relative;
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(path));
        ++m_files;
        return path;
    }

    // A sparse file with a few written blocks; equal seeds give equal files.
    QString sparse(const QString &relative, qint64 size, quint64 seed, qint64 changedAt = -1)
    {
        const QString path = m_root + u'/' + relative;
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || !file.resize(size))
            qFatal("cannot write %s", qPrintable(path));
        std::mt19937_64 random(seed);
        for (int i = 0; i < 8; ++i) {
            QByteArray block(65536, Qt::Uninitialized);
            for (char &c : block)
                c = char(random());
            file.seek(qint64(random() % quint64(size - block.size())));
            file.write(block);
        }
        if (changedAt >= 0) {
            file.seek(changedAt);
            file.write("changed");
        }
        ++m_files;
        return path;
    }

    quint64 next() { return m_random(); }
    int files() const { return m_files; }
    QString root() const { return m_root; }

private:
    QString m_root;
    std::mt19937_64 m_random {20261122};
    int m_files = 0;
};

int generateExact(const QString &root)
{
    Corpus corpus(root);
    const QStringList folders = {u"Documents"_s, u"Downloads"_s, u"Pictures/2023"_s, u"Pictures/2024"_s, u"Music/albums"_s, u"Videos"_s, u"Projects/a/b"_s};
    const auto folder = [&](int i) { return folders[i % folders.size()]; };

    // Unique files of every size, many below the floor.
    for (int i = 0; i < 2500; ++i) {
        const qint64 size = qint64(corpus.next() % 400000) + 1;
        corpus.write(u"%1/unique-%2.bin"_s.arg(folder(i)).arg(i), corpus.randomBytes(size));
    }
    // Planted copies: sizes around the floor and the end blocks, and large ones.
    const QList<qint64> sizes = {51199, 51200, 32768, 32769, 65536, 100000, 1048576, 1048577, 3000000, 12000000, 40000000};
    int set = 0;
    for (qint64 size : sizes) {
        for (int copiesAt = 0; copiesAt < 3; ++copiesAt, ++set) {
            const QByteArray bytes = corpus.randomBytes(size);
            const int copies = 2 + int(corpus.next() % 3);
            for (int c = 0; c < copies; ++c) {
                const QString name = c == 0 ? u"file-%1.dat"_s.arg(set) : c == 1 ? u"file-%1 copy.dat"_s.arg(set) : u"file-%1 (%2).dat"_s.arg(set).arg(c);
                corpus.write(u"%1/%2"_s.arg(folder(set + c)).arg(name), bytes);
            }
        }
    }
    // Equal sizes, different contents.
    for (int i = 0; i < 200; ++i) {
        const qint64 size = 60000 + (i % 20) * 1000;
        corpus.write(u"Same size/s-%1.bin"_s.arg(i), corpus.randomBytes(size));
    }
    // Equal ends, different middles; and equal starts with different ends.
    for (int i = 0; i < 40; ++i) {
        const qint64 size = i % 2 ? 200000 : 5000000;
        QByteArray base = corpus.randomBytes(size);
        corpus.write(u"Ends/e-%1-a.bin"_s.arg(i), base);
        base[qsizetype(size / 2)] = char(base[qsizetype(size / 2)] ^ 0x5a);
        corpus.write(u"Ends/e-%1-b.bin"_s.arg(i), base);
        base[qsizetype(size - 1)] = char(base[qsizetype(size - 1)] ^ 0x5a);
        corpus.write(u"Ends/e-%1-c.bin"_s.arg(i), base);
    }
    // Hard links, alone and with an independent copy.
    for (int i = 0; i < 20; ++i) {
        const QByteArray bytes = corpus.randomBytes(80000 + i);
        const QString first = corpus.write(u"Links/l-%1.bin"_s.arg(i), bytes);
        const QString second = root + u"/Links/l-%1 link.bin"_s.arg(i);
        if (::link(QFile::encodeName(first).constData(), QFile::encodeName(second).constData()) != 0)
            qFatal("cannot link");
        if (i % 2)
            corpus.write(u"Links/l-%1 copy.bin"_s.arg(i), bytes);
    }
    // Files above the sampling bound, sparse: two equal, one that differs in its first bytes, one in
    // the middle of a sample. (Two that differ only between the samples are called equal by design;
    // none is planted, as fdupes reads everything.)
    constexpr qint64 huge = 600'000'000;
    corpus.sparse(u"Videos/huge-a.img"_s, huge, 7);
    corpus.sparse(u"Backup/huge-a.img"_s, huge, 7);
    corpus.sparse(u"Backup/huge-b.img"_s, huge, 7, 100);
    corpus.sparse(u"Backup/huge-c.img"_s, huge, 7, qint64(double(huge - 1048576) * 20 / 31.0) + 1000);
    // Unreadable files (only for a user without the power to read everything).
    for (int i = 0; i < 6; ++i) {
        const QByteArray bytes = corpus.randomBytes(70000 + i);
        corpus.write(u"Locked/k-%1.bin"_s.arg(i), bytes);
        const QString locked = corpus.write(u"Locked/k-%1 copy.bin"_s.arg(i), bytes);
        ::chmod(QFile::encodeName(locked).constData(), 0);
    }
    out << "generated " << corpus.files() << " files in " << root << Qt::endl;
    return 0;
}

// Groups as sets of file numbers, so that hard links fold into one member.
using FoldedGroups = std::set<std::set<std::pair<quint64, quint64>>>;

std::map<std::pair<quint64, quint64>, QString> namesOfNumbers;

FoldedGroups fold(const QList<QStringList> &groups, qint64 floor)
{
    FoldedGroups folded;
    for (const QStringList &group : groups) {
        std::set<std::pair<quint64, quint64>> members;
        for (const QString &path : group) {
            struct stat st {
            };
            if (::stat(QFile::encodeName(path).constData(), &st) != 0 || st.st_size < floor)
                continue;
            members.insert({quint64(st.st_dev), quint64(st.st_ino)});
            namesOfNumbers[{quint64(st.st_dev), quint64(st.st_ino)}] = path;
        }
        if (members.size() >= 2)
            folded.insert(members);
    }
    return folded;
}

QList<QStringList> readGroups(const QString &path, bool blankLineSeparated)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    QList<QStringList> groups;
    QStringList current;
    QTextStream in(&file);
    while (!in.atEnd()) {
        const QString line = in.readLine();
        if (blankLineSeparated) {
            if (line.isEmpty()) {
                if (!current.isEmpty())
                    groups.append(current);
                current.clear();
            } else {
                current.append(line);
            }
        } else if (!line.isEmpty()) {
            groups.append(line.split(u'\t'));
        }
    }
    if (!current.isEmpty())
        groups.append(current);
    return groups;
}

int exact(const QString &root, const QString &outPath)
{
    QTemporaryDir store;
    mdindex::MetadataIndex index({store.filePath(u"index.sqlite"_s), {QDir(root).absolutePath()}, false, 2});
    if (!index.open())
        qFatal("cannot open the index");
    QElapsedTimer timer;
    timer.start();
    index.update();
    const qint64 walkMs = timer.elapsed();

    timer.restart();
    const auto &query = DuplicateScanner::exactCandidates();
    const SpotlightResult result = Spotlight::collect(index, query.query, {}, query.sortKey, query.limit, query.accept);
    const qint64 queryMs = timer.elapsed();

    timer.restart();
    const QList<DuplicateGroup> groups = DuplicateScanner::exactDuplicates(result.items);
    const qint64 scanMs = timer.elapsed();

    QFile file(outPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(outPath));
    qint64 reclaimable = 0;
    for (const DuplicateGroup &group : groups) {
        QStringList paths;
        for (const FileItem &item : group.files)
            paths.append(item.path());
        file.write(paths.join(u'\t').toUtf8() + '\n');
        reclaimable += group.reclaimable();
    }
    out << "velk: " << result.totalCount << " candidates, " << groups.size() << " groups, " << reclaimable << " bytes reclaimable" << Qt::endl;
    out << "velk: index walk " << walkMs << " ms, query " << queryMs << " ms, scan " << scanMs << " ms" << Qt::endl;
    out << "velk-scan-seconds " << QString::number(double(queryMs + scanMs) / 1000.0, 'f', 3) << Qt::endl;
    return 0;
}

int compareExact(const QString &velkPath, const QString &fdupesPath)
{
    const FoldedGroups velk = fold(readGroups(velkPath, false), 51200);
    const FoldedGroups fdupes = fold(readGroups(fdupesPath, true), 51200);
    std::vector<std::set<std::pair<quint64, quint64>>> onlyVelk, onlyFdupes;
    std::set_difference(velk.begin(), velk.end(), fdupes.begin(), fdupes.end(), std::back_inserter(onlyVelk));
    std::set_difference(fdupes.begin(), fdupes.end(), velk.begin(), velk.end(), std::back_inserter(onlyFdupes));
    out << "groups: velk " << velk.size() << ", fdupes (>= 51200 bytes, links folded) " << fdupes.size() << "; only velk " << onlyVelk.size()
        << ", only fdupes " << onlyFdupes.size() << Qt::endl;
    out << (onlyVelk.empty() && onlyFdupes.empty() ? "groups: EQUAL" : "groups: DIFFERENT") << Qt::endl;
    const auto show = [](const char *who, const auto &groups) {
        for (const auto &group : groups) {
            out << "  only " << who << ":";
            for (const auto &number : group)
                out << " " << namesOfNumbers[number];
            out << Qt::endl;
        }
    };
    show("velk", onlyVelk);
    show("fdupes", onlyFdupes);
    return onlyVelk.empty() && onlyFdupes.empty() ? 0 : 1;
}

// ---- the look-alike corpus ----

QImage boxBlur(const QImage &image, int radius)
{
    // Three box passes come close to a Gaussian.
    QImage result = image.convertToFormat(QImage::Format_RGB32);
    for (int pass = 0; pass < 3; ++pass) {
        for (int horizontal = 0; horizontal < 2; ++horizontal) {
            QImage next = result;
            const int w = result.width();
            const int h = result.height();
            for (int y = 0; y < h; ++y) {
                for (int x = 0; x < w; ++x) {
                    int r = 0, g = 0, b = 0, n = 0;
                    for (int k = -radius; k <= radius; ++k) {
                        const int sx = horizontal ? std::clamp(x + k, 0, w - 1) : x;
                        const int sy = horizontal ? y : std::clamp(y + k, 0, h - 1);
                        const QRgb p = reinterpret_cast<const QRgb *>(result.constScanLine(sy))[sx];
                        r += qRed(p);
                        g += qGreen(p);
                        b += qBlue(p);
                        ++n;
                    }
                    reinterpret_cast<QRgb *>(next.scanLine(y))[x] = qRgb(r / n, g / n, b / n);
                }
            }
            result = next;
        }
    }
    return result;
}

QImage adjusted(const QImage &image, double brightness, double contrast)
{
    QImage result = image.convertToFormat(QImage::Format_RGB32);
    const auto map = [&](int v) { return std::clamp(int(std::lround(((v / 255.0 - 0.5) * contrast + 0.5) * brightness * 255.0)), 0, 255); };
    for (int y = 0; y < result.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x)
            line[x] = qRgb(map(qRed(line[x])), map(qGreen(line[x])), map(qBlue(line[x])));
    }
    return result;
}

bool save(const QImage &image, const QString &path, int quality = 90)
{
    QImageWriter writer(path);
    writer.setQuality(quality);
    if (!writer.write(image)) {
        out << "cannot write " << path << ": " << writer.errorString() << Qt::endl;
        return false;
    }
    return true;
}

QImage loadOriginal(const QString &path, int longSide)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    QImage image = reader.read();
    if (image.isNull())
        return image;
    if (image.hasAlphaChannel()) {
        QImage flat(image.size(), QImage::Format_RGB32);
        flat.fill(Qt::white);
        QPainter(&flat).drawImage(0, 0, image);
        image = flat;
    }
    if (std::max(image.width(), image.height()) > longSide)
        image = image.scaled(longSide, longSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image.convertToFormat(QImage::Format_RGB32);
}

QString labelOf(const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    return name.left(name.indexOf(u"__"_s));
}

int makePhotos(const QString &dir, const QStringList &originals)
{
    QDir().mkpath(dir);
    std::mt19937 random(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    int made = 0;
    for (int n = 0; n < originals.size(); ++n) {
        const QImage image = loadOriginal(originals[n], 1600);
        if (image.isNull() || image.width() < 300 || image.height() < 300)
            continue;
        const QString label = u"p%1"_s.arg(n, 3, 10, QChar(u'0'));
        const QString base = dir + u'/' + label;
        made += save(image, base + u"__original.jpg"_s, 92);
        made += save(image, base + u"__quality40.jpg"_s, 40);
        made += save(image.scaled(image.size() * 0.5, Qt::IgnoreAspectRatio, Qt::SmoothTransformation), base + u"__half.jpg"_s, 85);
        // Up to 5% off each dimension, shared at random between the two sides.
        const int cutX = int(image.width() * 0.05 * unit(random));
        const int cutY = int(image.height() * 0.05 * unit(random));
        const int left = int(cutX * unit(random));
        const int top = int(cutY * unit(random));
        made += save(image.copy(left, top, image.width() - cutX, image.height() - cutY), base + u"__crop.jpg"_s, 90);
        const double brightness = unit(random) < 0.5 ? 0.85 : 1.15;
        const double contrast = unit(random) < 0.5 ? 0.85 : 1.15;
        made += save(adjusted(image, brightness, contrast), base + u"__exposure.jpg"_s, 90);
        made += save(boxBlur(image, 1), base + u"__blur.jpg"_s, 90);
        made += save(image, base + (n % 2 ? u"__converted.tif"_s : u"__converted.webp"_s), 90);
    }
    out << "made " << made << " photos in " << dir << Qt::endl;
    return 0;
}

int addDistractors(const QString &dir, const QStringList &photos)
{
    int made = 0;
    for (int n = 0; n < photos.size(); ++n) {
        const QImage image = loadOriginal(photos[n], 1600);
        if (image.isNull() || image.width() < 300 || image.height() < 300)
            continue;
        made += save(image, dir + u"/d%1__original.jpg"_s.arg(n, 3, 10, QChar(u'0')), 90);
    }
    out << "added " << made << " distractors" << Qt::endl;
    return 0;
}

QStringList photosIn(const QString &dir)
{
    QStringList paths;
    QDirIterator it(dir, QDir::Files);
    while (it.hasNext())
        paths.append(it.next());
    paths.sort();
    return paths;
}

FileItem photoItem(const QString &path)
{
    FileItem item;
    item.url = QUrl::fromLocalFile(path);
    item.name = QFileInfo(path).fileName();
    item.size = QFileInfo(path).size();
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isValid()) {
        const bool turned = reader.transformation() & QImageIOHandler::TransformationRotate90;
        item.pixelWidth = turned ? size.height() : size.width();
        item.pixelHeight = turned ? size.width() : size.height();
    }
    return item;
}

struct PairScore {
    qint64 truePairs = 0;
    qint64 joined = 0;
    qint64 correct = 0;
    double precision() const { return joined ? double(correct) / double(joined) : 1.0; }
    double recall() const { return truePairs ? double(correct) / double(truePairs) : 1.0; }
};

PairScore score(const QStringList &paths, const QList<QStringList> &groups)
{
    PairScore s;
    std::map<QString, qint64> perLabel;
    for (const QString &path : paths)
        perLabel[labelOf(path)] += 1;
    for (const auto &[label, count] : perLabel)
        s.truePairs += count * (count - 1) / 2;
    for (const QStringList &group : groups) {
        for (qsizetype a = 0; a < group.size(); ++a) {
            for (qsizetype b = a + 1; b < group.size(); ++b) {
                ++s.joined;
                s.correct += labelOf(group[a]) == labelOf(group[b]);
            }
        }
    }
    return s;
}

void printScore(const QString &who, const PairScore &s)
{
    out << who << ": " << s.correct << " of " << s.joined << " joined pairs right, " << s.truePairs << " true pairs; precision "
        << QString::number(100.0 * s.precision(), 'f', 2) << "%, recall " << QString::number(100.0 * s.recall(), 'f', 2) << "%" << Qt::endl;
}

QList<QStringList> groupPaths(const QList<DuplicateGroup> &groups)
{
    QList<QStringList> out;
    for (const DuplicateGroup &group : groups) {
        QStringList paths;
        for (const FileItem &item : group.files)
            paths.append(item.path());
        out.append(paths);
    }
    return out;
}

// Searches the bands and the weights of the three parts for the widest margin on both sides of the
// threshold: the weakest true pairs (first percentile) above it, the strongest false pair below it.
// Pairs that the aspect gate keeps apart do not count, as the scan never compares them.
void calibrate(const QStringList &paths, const QList<FileItem> &items, const QList<QImage> &thumbnails)
{
    const float threshold = DuplicateScanner::similarityThreshold;
    std::vector<std::pair<int, int>> pairs;
    std::vector<bool> same;
    for (int a = 0; a < int(paths.size()); ++a) {
        for (int b = a + 1; b < int(paths.size()); ++b) {
            const auto &x = items[a];
            const auto &y = items[b];
            if (x.pixelWidth && x.pixelHeight && y.pixelWidth && y.pixelHeight) {
                const double ax = double(std::min(*x.pixelWidth, *x.pixelHeight)) / std::max(*x.pixelWidth, *x.pixelHeight);
                const double ay = double(std::min(*y.pixelWidth, *y.pixelHeight)) / std::max(*y.pixelWidth, *y.pixelHeight);
                if (std::abs(ax - ay) > DuplicateScanner::aspectTolerance)
                    continue;
            }
            pairs.emplace_back(a, b);
            same.push_back(labelOf(paths[a]) == labelOf(paths[b]));
        }
    }
    struct Best {
        double margin = -1e9;
        float weakTrue = 0;
        float strongFalse = 0;
        imaging::FeaturePrint::Parameters parameters;
    } best;
    for (int shapeBand : {4, 5, 6, 7}) {
        for (float whitening : {0.4f, 0.6f, 0.8f, 1.0f}) {
            for (int colourBand : {1, 2}) {
                imaging::FeaturePrint::Parameters parameters;
                parameters.shapeBand = shapeBand;
                parameters.whitening = whitening;
                parameters.colourBand = colourBand;
                std::vector<std::optional<imaging::FeaturePrint::Parts>> parts;
                for (const QImage &image : thumbnails)
                    parts.push_back(imaging::FeaturePrint::parts(image, parameters));
                for (float colour : {0.0f, 0.25f, 0.5f, 0.75f}) {
                    for (float edges : {0.0f, 0.2f, 0.4f, 0.6f}) {
                        parameters.shapeWeight = 1.0f;
                        parameters.colourWeight = colour;
                        parameters.edgeWeight = edges;
                        std::vector<std::optional<imaging::FeatureVector>> features;
                        for (const auto &p : parts)
                            features.push_back(p ? imaging::FeaturePrint::combine(*p, parameters) : std::nullopt);
                        std::vector<float> trueCosines;
                        float strongFalse = -1.0f;
                        for (size_t k = 0; k < pairs.size(); ++k) {
                            const auto &fa = features[size_t(pairs[k].first)];
                            const auto &fb = features[size_t(pairs[k].second)];
                            if (!fa || !fb)
                                continue;
                            const float c = imaging::FeaturePrint::similarity(*fa, *fb);
                            if (same[k])
                                trueCosines.push_back(c);
                            else
                                strongFalse = std::max(strongFalse, c);
                        }
                        if (trueCosines.empty())
                            continue;
                        std::sort(trueCosines.begin(), trueCosines.end());
                        const float weakTrue = trueCosines[trueCosines.size() / 100];
                        const double margin = std::min(weakTrue - threshold, threshold - strongFalse);
                        if (margin > best.margin)
                            best = {margin, weakTrue, strongFalse, parameters};
                    }
                }
            }
        }
    }
    const auto &p = best.parameters;
    out << "calibrated: shapeBand " << p.shapeBand << ", whitening " << p.whitening << ", colourBand " << p.colourBand << ", weights shape " << p.shapeWeight
        << " colour " << p.colourWeight << " edges " << p.edgeWeight << ": weakest true pairs (1st percentile) " << best.weakTrue << ", strongest false pair "
        << best.strongFalse << ", margin " << best.margin << Qt::endl;
}

int similar(const QString &dir, bool calibrating)
{
    const QStringList paths = photosIn(dir);
    QList<FileItem> items;
    for (const QString &path : paths)
        items.append(photoItem(path));

    // One core: the prints one after the other on this thread.
    std::vector<std::optional<imaging::FeatureVector>> features;
    QElapsedTimer timer;
    timer.start();
    for (const QString &path : paths)
        features.push_back(imaging::FeaturePrint::compute(path));
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    const auto missing = std::count(features.begin(), features.end(), std::nullopt);
    out << "feature print: " << paths.size() << " photos in " << QString::number(seconds, 'f', 2) << " s on one core, "
        << QString::number(double(paths.size()) / seconds, 'f', 1) << " photos/s (" << missing << " without a print)" << Qt::endl;

    timer.restart();
    const QList<DuplicateGroup> groups = DuplicateScanner::clusterSimilar(items, features);
    out << "pairs compared in " << timer.elapsed() << " ms; " << groups.size() << " groups" << Qt::endl;
    printScore(u"velk"_s, score(paths, groupPaths(groups)));

    // Where the two sides meet: the weakest true pairs and the strongest false ones.
    std::vector<std::tuple<float, QString, QString>> weakest, strongest;
    for (qsizetype a = 0; a < paths.size(); ++a) {
        for (qsizetype b = a + 1; b < paths.size(); ++b) {
            if (!features[size_t(a)] || !features[size_t(b)])
                continue;
            const float c = imaging::FeaturePrint::similarity(*features[size_t(a)], *features[size_t(b)]);
            const bool same = labelOf(paths[a]) == labelOf(paths[b]);
            (same ? weakest : strongest).emplace_back(c, QFileInfo(paths[a]).fileName(), QFileInfo(paths[b]).fileName());
        }
    }
    std::sort(weakest.begin(), weakest.end());
    std::sort(strongest.begin(), strongest.end(), [](const auto &x, const auto &y) { return std::get<0>(x) > std::get<0>(y); });
    for (size_t i = 0; i < std::min<size_t>(8, weakest.size()); ++i)
        out << "  weak true pair " << std::get<0>(weakest[i]) << " " << std::get<1>(weakest[i]) << " " << std::get<2>(weakest[i]) << Qt::endl;
    for (size_t i = 0; i < std::min<size_t>(8, strongest.size()); ++i)
        out << "  strong false pair " << std::get<0>(strongest[i]) << " " << std::get<1>(strongest[i]) << " " << std::get<2>(strongest[i]) << Qt::endl;

    if (calibrating) {
        QList<QImage> thumbnails;
        for (const QString &path : paths)
            thumbnails.append(imaging::thumbnail(path, imaging::FeaturePrint::thumbnailSize));
        calibrate(paths, items, thumbnails);
    }
    return 0;
}

int scoreGroups(const QString &dir, const QString &groupsPath, const QString &who)
{
    const QStringList paths = photosIn(dir);
    QFile file(groupsPath);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(groupsPath));
    QList<QStringList> groups;
    QTextStream in(&file);
    while (!in.atEnd()) {
        const QStringList group = in.readLine().split(u' ', Qt::SkipEmptyParts);
        if (group.size() >= 2)
            groups.append(group);
    }
    printScore(who, score(paths, groups));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication::setAttribute(Qt::AA_Use96Dpi);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    const QString command = args.value(0);
    if (command == u"generate-exact"_s && args.size() == 2)
        return generateExact(args[1]);
    if (command == u"exact"_s && args.size() == 3)
        return exact(args[1], args[2]);
    if (command == u"compare-exact"_s && args.size() == 3)
        return compareExact(args[1], args[2]);
    if (command == u"make-photos"_s && args.size() >= 3)
        return makePhotos(args[1], args.mid(2));
    if (command == u"add-distractors"_s && args.size() >= 3)
        return addDistractors(args[1], args.mid(2));
    if (command == u"similar"_s && args.size() >= 2)
        return similar(args[1], args.contains(u"--calibrate"_s));
    if (command == u"score-groups"_s && args.size() == 4)
        return scoreGroups(args[1], args[2], args[3]);
    std::fprintf(stderr, "usage: see the head of bench_duplicates.cpp\n");
    return 2;
}
