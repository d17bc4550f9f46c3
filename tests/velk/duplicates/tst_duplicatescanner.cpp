#include "TestHome.h"
#include "TestNames.h"
#include "duplicates/DuplicateScanner.h"
#include "mdindex/MetadataIndex.h"
#include "search/Spotlight.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QTest>

#include <mutex>

#include <unistd.h>

using namespace Qt::StringLiterals;
using imaging::FeatureVector;
using mdindex::MetadataIndex;

namespace {

QByteArray randomBytes(qint64 size, quint32 seed)
{
    QByteArray bytes(qsizetype(size), Qt::Uninitialized);
    QRandomGenerator random(seed);
    for (char &c : bytes)
        c = char(random.bounded(256));
    return bytes;
}

QStringList sortedNames(const DuplicateGroup &group)
{
    QStringList out = names(group.files);
    out.sort();
    return out;
}

FileItem item(const QString &path, qint64 size = 0, const QDateTime &modified = {}, std::optional<QDateTime> created = std::nullopt)
{
    FileItem file;
    file.url = QUrl::fromLocalFile(path);
    file.name = QFileInfo(path).fileName();
    file.size = size;
    file.modified = modified.isValid() ? modified : QDateTime(QDate(2024, 1, 1), QTime(12, 0), Qt::UTC);
    file.created = created;
    return file;
}

FileItem photo(const QString &name, std::optional<int> width, std::optional<int> height, qint64 size = 1000)
{
    FileItem file = item(u"/photos/"_s + name, size);
    file.pixelWidth = width;
    file.pixelHeight = height;
    return file;
}

// A unit vector at the given cosine from the first axis, turned into its own second axis so that
// vectors built on different axes are orthogonal apart from the first.
FeatureVector towards(float cosine, int axis, int length = 8)
{
    FeatureVector v(size_t(length), 0.0f);
    v[0] = cosine;
    v[size_t(axis)] = std::sqrt(1.0f - cosine * cosine);
    return v;
}

SpotlightResult exactCandidates(const MetadataIndex &index)
{
    const auto &query = DuplicateScanner::exactCandidates();
    return Spotlight::collect(index, query.query, {}, query.sortKey, query.limit, query.accept);
}

} // namespace

class TestDuplicateScanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exactGroupsFromTheIndex()
    {
        TestHome home;
        const QByteArray original = randomBytes(100000, 1);
        const QString first = home.file(u"Pictures/a.bin"_s, original);
        // A hard link frees nothing: it is no copy of its own.
        QVERIFY(::link(QFile::encodeName(first).constData(), QFile::encodeName(home.path(u"Pictures/a link.bin"_s)).constData()) == 0);
        home.file(u"Documents/linked-only.bin"_s, randomBytes(90000, 2));
        QVERIFY(::link(QFile::encodeName(home.path(u"Documents/linked-only.bin"_s)).constData(),
                    QFile::encodeName(home.path(u"Documents/linked-only 2.bin"_s)).constData())
            == 0);
        home.file(u"Documents/a copy.bin"_s, original);

        // Same size, same ends, different middle.
        QByteArray middle = randomBytes(200000, 3);
        home.file(u"Ends/one.bin"_s, middle);
        middle[100000] = char(middle[100000] ^ 1);
        home.file(u"Ends/two.bin"_s, middle);

        // The floor of the query.
        const QByteArray atFloor = randomBytes(51200, 4);
        home.file(u"Floor/at.bin"_s, atFloor);
        home.file(u"Floor/at copy.bin"_s, atFloor);
        const QByteArray below = randomBytes(51199, 5);
        home.file(u"Floor/below.bin"_s, below);
        home.file(u"Floor/below copy.bin"_s, below);

        // Launchers are apps, not documents to tidy up.
        const QByteArray launcher = "[Desktop Entry]\nType=Application\nName=Big\nExec=big\nComment=" + QByteArray(60000, 'x') + "\n";
        home.file(u".local/share/applications/big.desktop"_s, launcher);
        home.file(u"Desktop/big.desktop"_s, launcher);

        MetadataIndex index({home.path(u".cache/velk/index.sqlite"_s), {home.root()}});
        QVERIFY(index.open());
        index.update();
        const SpotlightResult candidates = exactCandidates(index);
        QVERIFY(!names(candidates.items).contains(u"below.bin"_s));
        QVERIFY(names(candidates.items).contains(u"at.bin"_s));
        QVERIFY(!names(candidates.items).contains(u"big.desktop"_s));

        const QList<DuplicateGroup> groups = DuplicateScanner::exactDuplicates(candidates.items);
        QCOMPARE(groups.size(), 2);
        // Largest saving first.
        QCOMPARE(groups[0].files.size(), 2);
        QCOMPARE(groups[0].files[0].size, 100000);
        QCOMPARE(groups[0].extras(), QList<FileItem> {item(home.path(u"Documents/a copy.bin"_s))});
        QCOMPARE(sortedNames(groups[1]), (QStringList {u"at copy.bin"_s, u"at.bin"_s}));
        QCOMPARE(groups[1].keep, QUrl::fromLocalFile(home.path(u"Floor/at.bin"_s)));
        QCOMPARE(groups[1].extras(), QList<FileItem> {item(home.path(u"Floor/at copy.bin"_s))});
        QCOMPARE(groups[1].reclaimable(), 51200);
    }

    void progressOncePerSizeGroup()
    {
        TestHome home;
        QList<FileItem> items;
        // Sizes 60000 (three files), 70000 (two) and 80000 (one, no group).
        for (int i = 0; i < 3; ++i)
            items.append(item(home.file(u"a%1.bin"_s.arg(i), randomBytes(60000, 10 + i)), 60000));
        for (int i = 0; i < 2; ++i)
            items.append(item(home.file(u"b%1.bin"_s.arg(i), randomBytes(70000, 7)), 70000));
        items.append(item(home.file(u"c.bin"_s, randomBytes(80000, 8)), 80000));

        QList<std::pair<qint64, qint64>> events;
        const auto groups = DuplicateScanner::exactDuplicates(items, [&](qint64 done, qint64 total) { events.append({done, total}); });
        QCOMPARE(groups.size(), 1);
        QCOMPARE(events.size(), 2);
        QCOMPARE(events.last(), (std::pair<qint64, qint64>(5, 5)));
        QVERIFY(events.first() == (std::pair<qint64, qint64>(3, 5)) || events.first() == (std::pair<qint64, qint64>(2, 5)));

        // Nothing shares a size: no event at all.
        events.clear();
        QVERIFY(DuplicateScanner::exactDuplicates({items[0], items[3], items[5]}, [&](qint64 done, qint64 total) { events.append({done, total}); }).isEmpty());
        QVERIFY(events.isEmpty());
    }

    void filesGoingAwayMidScan()
    {
        TestHome home;
        // Two size groups of three and four copies. Whichever is hashed first, one file of the other
        // turns into a folder and one disappears before it is read.
        QList<FileItem> items;
        QStringList three, four;
        for (int i = 0; i < 3; ++i)
            three.append(home.file(u"three/t%1.bin"_s.arg(i), randomBytes(60000, 20)));
        for (int i = 0; i < 4; ++i)
            four.append(home.file(u"four/f%1.bin"_s.arg(i), randomBytes(61000, 21)));
        for (const QString &path : three)
            items.append(item(path, 60000));
        for (const QString &path : four)
            items.append(item(path, 61000));

        QStringList spoiled;
        const auto groups = DuplicateScanner::exactDuplicates(items, [&](qint64 done, qint64) {
            if (!spoiled.isEmpty())
                return;
            const QStringList &later = done == 3 ? four : three;
            spoiled = {later[0]};
            QFile::remove(later[0]);
            QDir().mkpath(later[0]);
            if (later.size() == 4) {
                spoiled.append(later[1]);
                QFile::remove(later[1]);
            }
        });
        QVERIFY(!spoiled.isEmpty());
        QCOMPARE(groups.size(), 2);
        qsizetype members = 0;
        for (const DuplicateGroup &group : groups) {
            for (const QString &path : spoiled)
                QVERIFY(!group.files.contains(item(path)));
            members += group.files.size();
        }
        QCOMPARE(members, 7 - spoiled.size());
    }

    void fingerprints()
    {
        TestHome home;
        // Up to 32768 bytes the quick print covers the first 16384 only; above, both ends.
        QByteArray small = randomBytes(30000, 30);
        const QUrl a = QUrl::fromLocalFile(home.file(u"a"_s, small));
        small[20000] = char(small[20000] ^ 1);
        const QUrl b = QUrl::fromLocalFile(home.file(u"b"_s, small));
        QCOMPARE(DuplicateScanner::fingerprint(a, 30000, false), DuplicateScanner::fingerprint(b, 30000, false));
        QVERIFY(DuplicateScanner::fingerprint(a, 30000, true) != DuplicateScanner::fingerprint(b, 30000, true));
        const QByteArray large = randomBytes(50000, 31);
        const QUrl c = QUrl::fromLocalFile(home.file(u"c"_s, large));
        const QByteArray ends = large.left(16384) + large.right(16384);
        QCOMPARE(*DuplicateScanner::fingerprint(c, 50000, false), QString::fromLatin1(QCryptographicHash::hash(ends, QCryptographicHash::Sha256).toHex()));
        QVERIFY(!DuplicateScanner::fingerprint(QUrl::fromLocalFile(home.path(u"missing"_s)), 50000, false));
    }

    void samplesAboveTheBound()
    {
        TestHome home;
        constexpr qint64 size = 600'000'000;
        const auto sampleOffset = [](int i) { return qint64(double(size - 1048576) * i / 31.0); };
        const auto sparse = [&](const QString &name, qint64 changedAt) {
            const QString path = home.sparseFile(name, size);
            if (changedAt >= 0) {
                QFile file(path);
                file.open(QIODevice::ReadWrite);
                file.seek(changedAt);
                file.write("x");
            }
            return QUrl::fromLocalFile(path);
        };
        const QUrl plain = sparse(u"plain.img"_s, -1);
        const QUrl inSample = sparse(u"in sample.img"_s, sampleOffset(7) + 5000);
        const QUrl betweenSamples = sparse(u"between.img"_s, sampleOffset(7) + 2'000'000);
        const auto full = [](const QUrl &url) { return *DuplicateScanner::fingerprint(url, size, true); };
        QVERIFY(full(plain) != full(inSample));
        // The bound on time: a difference no sample covers goes unseen.
        QCOMPARE(full(plain), full(betweenSamples));
        // The first sample starts at 0, the last reaches the end: the print is that of the samples.
        QCryptographicHash hash(QCryptographicHash::Sha256);
        QFile file(plain.toLocalFile());
        QVERIFY(file.open(QIODevice::ReadOnly));
        for (int i = 0; i < 32; ++i) {
            file.seek(sampleOffset(i));
            hash.addData(file.read(1048576));
        }
        QCOMPARE(full(plain), QString::fromLatin1(hash.result().toHex()));
        QCOMPARE(sampleOffset(31) + 1048576, size);
    }

    // Above the bound, files are compared by samples; a group of them is marked so, and proving it reads
    // every member in full against the kept copy. The bound is the caller's, so these files are small
    // (and sparse): just above the thirty-two samples of a mebibyte each.
    void sampledGroupsAreProven()
    {
        TestHome home;
        constexpr qint64 size = 40 * 1048576;
        constexpr qint64 bound = 32 * 1048576;
        const qint64 betweenSamples = qint64(double(size - 1048576) * 7 / 31.0) + 1048576 + 1000;
        const auto sparse = [&](const QString &name, qint64 changedAt) {
            const QString path = home.sparseFile(name, size);
            if (changedAt >= 0) {
                QFile file(path);
                if (!file.open(QIODevice::ReadWrite) || !file.seek(changedAt) || file.write("x") != 1)
                    qFatal("cannot change %s", qPrintable(path));
            }
            return item(path, size);
        };
        const FileItem kept = sparse(u"Documents/disk.img"_s, -1);
        const FileItem copy = sparse(u"Documents/disk copy.img"_s, -1);
        const FileItem other = sparse(u"Documents/disk (2).img"_s, betweenSamples);
        const FileItem atTheEnd = sparse(u"Documents/disk (3).img"_s, size - 1);

        // Read whole, the one that differs between the samples is no copy; by samples it is.
        const QList<DuplicateGroup> read = DuplicateScanner::exactDuplicates({kept, copy, other, atTheEnd});
        QCOMPARE(read.size(), 1);
        QCOMPARE(sortedNames(read[0]), (QStringList {u"disk copy.img"_s, u"disk.img"_s}));
        QVERIFY(!read[0].sampled);
        const QList<DuplicateGroup> sampled = DuplicateScanner::exactDuplicates({kept, copy, other, atTheEnd}, {}, bound);
        QCOMPARE(sampled.size(), 1);
        QCOMPARE(sortedNames(sampled[0]), (QStringList {u"disk (2).img"_s, u"disk copy.img"_s, u"disk.img"_s}));
        QVERIFY(sampled[0].sampled);
        QCOMPARE(sampled[0].keep, kept.url);

        QCOMPARE(DuplicateScanner::compareInFull(kept.url, copy.url), DuplicateScanner::Sameness::same);
        QCOMPARE(DuplicateScanner::compareInFull(kept.url, other.url), DuplicateScanner::Sameness::different);
        QCOMPARE(DuplicateScanner::compareInFull(kept.url, atTheEnd.url), DuplicateScanner::Sameness::different);
        QCOMPARE(DuplicateScanner::compareInFull(kept.url, QUrl::fromLocalFile(home.path(u"missing"_s))), DuplicateScanner::Sameness::unreadable);
        const std::atomic<bool> stop = true;
        QCOMPARE(DuplicateScanner::compareInFull(kept.url, copy.url, &stop), DuplicateScanner::Sameness::cancelled);

        const DuplicateScanner::Proof proof = DuplicateScanner::proveGroup(sampled[0]);
        QCOMPARE(names(proof.differing), QStringList {u"disk (2).img"_s});
        QCOMPARE(sortedNames(proof.group), (QStringList {u"disk copy.img"_s, u"disk.img"_s}));
        QCOMPARE(proof.group.id, sampled[0].id);
        QCOMPARE(names(proof.provenExtras()), QStringList {u"disk copy.img"_s});
        QVERIFY(proof.unproven.isEmpty() && !proof.cancelled);

        // A stopped proof proves nothing; a member gone meanwhile is not proven, and stays in the group.
        const DuplicateScanner::Proof stopped = DuplicateScanner::proveGroup(sampled[0], &stop);
        QVERIFY(stopped.cancelled);
        QVERIFY(stopped.provenExtras().isEmpty());
        QVERIFY(stopped.differing.isEmpty());
        QVERIFY(QFile::remove(copy.path()));
        const DuplicateScanner::Proof withGone = DuplicateScanner::proveGroup(sampled[0]);
        QCOMPARE(names(withGone.unproven), QStringList {u"disk copy.img"_s});
        QCOMPARE(names(withGone.differing), QStringList {u"disk (2).img"_s});
        QVERIFY(withGone.provenExtras().isEmpty());
        // A group read whole is proven already: nothing is read again.
        QVERIFY(DuplicateScanner::proveGroup(read[0]).provenExtras().size() == 1);
    }

    void keepers_data()
    {
        QTest::addColumn<QStringList>("paths");
        QTest::addColumn<QList<int>>("ages");
        QTest::addColumn<QString>("kept");
        QTest::newRow("plain name even when newest") << QStringList {u"photo copy.jpg"_s, u"photo (1).jpg"_s, u"photo.jpg"_s} << QList<int> {1, 2, 9}
                                                     << u"photo.jpg"_s;
        QTest::newRow("location before name") << QStringList {u"Downloads/report.pdf"_s, u"Documents/report copy.pdf"_s} << QList<int> {1, 9}
                                              << u"Documents/report copy.pdf"_s;
        QTest::newRow("below Downloads") << QStringList {u"Downloads/x/a.pdf"_s, u"Downloads-old/a.pdf"_s} << QList<int> {1, 9} << u"Downloads-old/a.pdf"_s;
        QTest::newRow("digit before extension") << QStringList {u"IMG_2.jpg"_s, u"IMG.jpg"_s} << QList<int> {1, 9} << u"IMG.jpg"_s;
        QTest::newRow("two digits are no mark") << QStringList {u"IMG_12.jpg"_s, u"IMG.jpg"_s} << QList<int> {1, 9} << u"IMG_12.jpg"_s;
        QTest::newRow("bracketed number anywhere") << QStringList {u"a (12) b.txt"_s, u"a b.txt"_s} << QList<int> {1, 9} << u"a b.txt"_s;
        QTest::newRow("oldest") << QStringList {u"a/x.txt"_s, u"b/x.txt"_s, u"c/x.txt"_s} << QList<int> {5, 2, 3} << u"b/x.txt"_s;
        QTest::newRow("tie keeps first") << QStringList {u"a/x.txt"_s, u"b/x.txt"_s} << QList<int> {4, 4} << u"a/x.txt"_s;
    }

    void keepers()
    {
        QFETCH(QStringList, paths);
        QFETCH(QList<int>, ages);
        QFETCH(QString, kept);
        TestHome home;
        QList<FileItem> files;
        for (qsizetype i = 0; i < paths.size(); ++i)
            files.append(item(home.path(paths[i]), 1, QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC).addDays(ages[i])));
        QCOMPARE(DuplicateScanner::pickKeeper(files), QUrl::fromLocalFile(home.path(kept)));
    }

    void clustering()
    {
        using DuplicateScanner::clusterSimilar;
        // The aspect gate: 0.5 against 0.6 is skipped; a difference of exactly 0.08 is compared.
        const FeatureVector same = towards(1.0f, 1);
        QVERIFY(clusterSimilar({photo(u"a"_s, 100, 200), photo(u"b"_s, 60, 100)}, {same, same}).isEmpty());
        QCOMPARE(clusterSimilar({photo(u"a"_s, 100, 400), photo(u"b"_s, 100, 303)}, {same, same}).size(), 0);
        QCOMPARE(clusterSimilar({photo(u"a"_s, 200, 2500), photo(u"b"_s, 2500, 400)}, {same, same}).size(), 1);
        // Unknown dimensions are compared with everything.
        QCOMPARE(
            clusterSimilar({photo(u"a"_s, 100, 200), photo(u"b"_s, std::nullopt, 100), photo(u"c"_s, 100, 100)}, {same, same, same}).first().files.size(), 3);

        // The threshold itself joins; the float just below it does not.
        const float threshold = DuplicateScanner::similarityThreshold;
        QCOMPARE(clusterSimilar({photo(u"a"_s, 10, 10), photo(u"b"_s, 10, 10)}, {towards(1.0f, 1), towards(threshold, 1)}).size(), 1);
        QCOMPARE(clusterSimilar({photo(u"a"_s, 10, 10), photo(u"b"_s, 10, 10)}, {towards(1.0f, 1), towards(std::nextafter(threshold, 0.0f), 1)}).size(), 0);

        // A chain: A-B and B-C alike, A-C not; one cluster of three. A photo without a print stays out.
        const FeatureVector a {1.0f, 0.0f, 0.0f};
        const FeatureVector b {0.96f, 0.28f, 0.0f};
        const FeatureVector c {0.85f, 0.5f, std::sqrt(1.0f - 0.85f * 0.85f - 0.25f)};
        QVERIFY(imaging::FeaturePrint::similarity(a, c) < threshold);
        const QList<FileItem> chain = {photo(u"a"_s, 10, 10), photo(u"x"_s, 10, 10), photo(u"b"_s, 10, 10), photo(u"c"_s, 10, 10)};
        const auto chained = clusterSimilar(chain, {a, std::nullopt, b, c});
        QCOMPARE(chained.size(), 1);
        QCOMPARE(names(chained.first().files), (QStringList {u"a"_s, u"b"_s, u"c"_s}));
        QVERIFY(clusterSimilar({photo(u"a"_s, 10, 10), photo(u"b"_s, 10, 10)}, {a, std::nullopt}).isEmpty());
    }

    void clusterSizes()
    {
        const auto cluster = [](int n, qint64 bigger) {
            QList<FileItem> photos;
            std::vector<std::optional<FeatureVector>> prints;
            for (int i = 0; i < n; ++i) {
                photos.append(photo(u"p%1"_s.arg(i), 10, 10, i == bigger ? 2000 : 1000));
                prints.push_back(towards(1.0f, 1));
            }
            // And a pair of another picture beside it.
            photos.append(photo(u"other1"_s, 10, 10));
            photos.append(photo(u"other2"_s, 10, 10));
            prints.push_back(towards(0.0f, 2));
            prints.push_back(towards(0.0f, 2));
            return DuplicateScanner::clusterSimilar(photos, prints);
        };
        const auto forty = cluster(40, 17);
        QCOMPARE(forty.size(), 2);
        QCOMPARE(forty.first().files.size(), 40);
        QCOMPARE(forty.first().keep.path(), u"/photos/p17"_s);
        const auto fortyOne = cluster(41, 17);
        QCOMPARE(fortyOne.size(), 1);
        QCOMPARE(names(fortyOne.first().files), (QStringList {u"other1"_s, u"other2"_s}));
    }

    void bestPhoto()
    {
        using DuplicateScanner::pickBestPhoto;
        QCOMPARE(pickBestPhoto({photo(u"a"_s, 100, 100, 5000), photo(u"b"_s, 200, 100, 10)}).path(), u"/photos/b"_s);
        QCOMPARE(pickBestPhoto({photo(u"a"_s, 100, 200, 10), photo(u"b"_s, 200, 100, 20)}).path(), u"/photos/b"_s);
        QCOMPARE(pickBestPhoto({photo(u"a"_s, 100, 200, 20), photo(u"b"_s, 200, 100, 20)}).path(), u"/photos/a"_s);
        QCOMPARE(
            pickBestPhoto({photo(u"a"_s, std::nullopt, std::nullopt, 20), photo(u"b"_s, std::nullopt, 50, 30), photo(u"c"_s, 10, std::nullopt, 25)}).path(),
            u"/photos/b"_s);
    }

    void similarPhotosOnRealPictures()
    {
        TestHome home;
        // 25 pictures: five scenes, each saved at two sizes, and fifteen scenes alone.
        QList<FileItem> items;
        home.folder(u"Pictures"_s);
        for (int scene = 0; scene < 20; ++scene) {
            QImage image(640, 480, QImage::Format_RGB32);
            QRandomGenerator random(quint32(100 + scene));
            image.fill(QColor::fromHsv(random.bounded(360), 150, 200));
            QPainter painter(&image);
            for (int i = 0; i < 12; ++i) {
                painter.setBrush(QColor::fromHsv(random.bounded(360), random.bounded(256), random.bounded(256)));
                painter.setPen(Qt::NoPen);
                painter.drawEllipse(random.bounded(640) - 100, random.bounded(480) - 100, 60 + random.bounded(300), 60 + random.bounded(300));
            }
            painter.end();
            const QString path = home.path(u"Pictures/scene%1.jpg"_s.arg(scene));
            QVERIFY(image.save(path, "jpeg", 90));
            items.append(item(path, QFileInfo(path).size()));
            items.last().pixelWidth = 640;
            items.last().pixelHeight = 480;
            if (scene < 5) {
                const QString small = home.path(u"Pictures/scene%1 small.jpg"_s.arg(scene));
                QVERIFY(image.scaled(320, 240, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).save(small, "jpeg", 70));
                items.append(item(small, QFileInfo(small).size()));
            }
        }
        QCOMPARE(items.size(), 25);

        std::mutex lock;
        QList<std::pair<qint64, qint64>> reported;
        const auto groups = DuplicateScanner::similarPhotos(items, [&](qint64 done, qint64 total) {
            std::lock_guard guard(lock);
            reported.append({done, total});
        });
        std::sort(reported.begin(), reported.end());
        QCOMPARE(reported, (QList<std::pair<qint64, qint64>> {{10, 25}, {20, 25}, {25, 25}}));
        QCOMPARE(groups.size(), 5);
        for (const DuplicateGroup &group : groups) {
            QCOMPARE(group.files.size(), 2);
            QCOMPARE(group.files[1].name, QFileInfo(group.files[0].name).completeBaseName() + u" small.jpg"_s);
            // Known pixels beat unknown ones.
            QCOMPARE(group.keep, group.files[0].url);
        }
    }
};

QTEST_MAIN(TestDuplicateScanner)
#include "tst_duplicatescanner.moc"
