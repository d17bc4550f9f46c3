#include "TestHome.h"
#include "TestNames.h"
#include "duplicates/DuplicateFinder.h"
#include "mdindex/MetadataIndex.h"

#include <QCoro/QCoroTask>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using mdindex::MetadataIndex;
using Phase = DuplicateFinder::Phase;

namespace {

// Pixel sizes and the screen-capture flag, as the index's picture extractor records them.
class PictureSizes final : public mdindex::Extractor
{
public:
    bool wants(const mdindex::FileFacts &facts) const override
    {
        const auto type = UTType::fromIdentifier(facts.contentType);
        return !facts.isDirectory && type && type->conforms(UTType::image());
    }
    void extract(const QString &path, const mdindex::FileFacts &, mdindex::ExtractedAttributes &into) const override
    {
        QImageReader reader(path);
        const QSize size = reader.size();
        if (size.isValid()) {
            into.insert(MDAttribute::pixelWidth.toString(), size.width());
            into.insert(MDAttribute::pixelHeight.toString(), size.height());
        }
        into.insert(MDAttribute::isScreenCapture.toString(), false);
    }
};

QByteArray randomBytes(qint64 size, quint32 seed)
{
    QByteArray bytes(qsizetype(size), Qt::Uninitialized);
    QRandomGenerator random(seed);
    for (char &c : bytes)
        c = char(random.bounded(256));
    return bytes;
}

QImage scene(quint32 seed)
{
    QImage image(800, 600, QImage::Format_RGB32);
    QRandomGenerator random(seed);
    image.fill(QColor::fromHsv(random.bounded(360), 150, 200));
    QPainter painter(&image);
    for (int i = 0; i < 14; ++i) {
        painter.setBrush(QColor::fromHsv(random.bounded(360), random.bounded(256), random.bounded(256)));
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(random.bounded(800) - 100, random.bounded(600) - 100, 60 + random.bounded(300), 60 + random.bounded(300));
    }
    painter.end();
    // Grain, so that the JPEG is as large as a photo of its size.
    for (int y = 0; y < image.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int n = int(random.bounded(21)) - 10;
            line[x] = qRgb(std::clamp(qRed(line[x]) + n, 0, 255), std::clamp(qGreen(line[x]) + n, 0, 255), std::clamp(qBlue(line[x]) + n, 0, 255));
        }
    }
    return image;
}

struct Fixture {
    TestHome home;
    std::unique_ptr<MetadataIndex> index;

    void indexHome()
    {
        index = std::make_unique<MetadataIndex>(MetadataIndex::Options {home.path(u".cache/velk/index.sqlite"_s), {home.root()}});
        index->addExtractor(std::make_unique<PictureSizes>());
        QVERIFY(index->open());
        index->update();
    }
};

} // namespace

class TestDuplicateFinder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void scanPhasesAndSums()
    {
        Fixture f;
        const QDateTime old(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC);
        const QByteArray pair = randomBytes(60000, 1);
        f.home.file(u"Documents/pair.dat"_s, pair, old);
        f.home.file(u"Downloads/pair.dat"_s, pair);
        const QByteArray triple = randomBytes(80000, 2);
        f.home.file(u"Music/a (1).dat"_s, triple, old);
        f.home.file(u"Music/a.dat"_s, triple);
        f.home.file(u"Music/a copy.dat"_s, triple, old);
        f.home.file(u"Music/single.dat"_s, randomBytes(90000, 3));
        f.indexHome();

        DuplicateFinder finder(*f.index);
        QList<Phase> phases;
        connect(&finder, &DuplicateFinder::phaseChanged, [&] { phases.append(finder.phase()); });
        QSignalSpy exactChanged(&finder, &DuplicateFinder::exactChanged);

        QCoro::Task<> first = finder.scan({});
        QVERIFY(!phases.isEmpty());
        QCOMPARE(phases.first().kind, Phase::gathering);
        // A second call while the first runs does nothing. (On a busy machine the query may already
        // have answered and the first scan finished by now; then the second is a scan of its own.)
        const bool firstRunning = finder.phase().isRunning();
        QCoro::waitFor(finder.scan({}));
        QCoro::waitFor(std::move(first));

        QCOMPARE(phases.count(Phase {Phase::gathering}), firstRunning ? 1 : 2);
        QCOMPARE(phases.first(), Phase {Phase::gathering});
        QCOMPARE(phases[1], Phase::hashingAt(0, 1));
        QCOMPARE(phases.last(), Phase {Phase::finished});
        QCOMPARE(phases[phases.size() - 2], Phase::hashingAt(5, 5));
        QCOMPARE(finder.scannedFiles(), 6);
        QVERIFY(finder.lastScan() && finder.lastScan()->isValid());
        QVERIFY(firstRunning ? exactChanged.count() == 1 : exactChanged.count() >= 1);

        const QList<DuplicateGroup> groups = finder.exact();
        QCOMPARE(groups.size(), 2);
        QCOMPARE(groups[0].files.size(), 3);
        QCOMPARE(groups[0].keep.fileName(), u"a.dat"_s);
        QCOMPARE(groups[1].keep, QUrl::fromLocalFile(f.home.path(u"Documents/pair.dat"_s)));
        QCOMPARE(finder.exactReclaimable(), 2 * 80000 + 60000);
        QCOMPARE(finder.extraCopies(), 3);

        // Copies are equal in size: another keeper frees as much, and an unknown group is ignored.
        finder.setKeeper(groups[0].files.last().url, groups[0].id);
        QCOMPARE(finder.exact()[0].keep, groups[0].files.last().url);
        QCOMPARE(finder.exactReclaimable(), 2 * 80000 + 60000);
        exactChanged.clear();
        finder.setKeeper(groups[0].files.first().url, QUuid::createUuid());
        QCOMPARE(exactChanged.count(), 0);

        // Trashing the kept one of three: the first left is kept, the group keeps its place and id.
        finder.remove({groups[0].files.last().url});
        QCOMPARE(finder.exact().size(), 2);
        QCOMPARE(finder.exact()[0].id, groups[0].id);
        QCOMPARE(finder.exact()[0].keep, groups[0].files.first().url);
        QCOMPARE(finder.exact()[0].files.size(), 2);
        // Trashing one of two dissolves the group.
        finder.remove({QUrl::fromLocalFile(f.home.path(u"Downloads/pair.dat"_s))});
        QCOMPARE(finder.exact().size(), 1);
        QCOMPARE(finder.extraCopies(), 1);
        QCOMPARE(finder.exactReclaimable(), 80000);

        // A finished scan may start anew.
        QCoro::waitFor(finder.scan({}));
        QCOMPARE(phases.count(Phase {Phase::gathering}), 2);
        QCOMPARE(finder.exact().size(), 2);
    }

    // Copies compared by samples are compared in full before they go to the Trash: one that differs
    // between the samples stays where it is and leaves the group, and the outcome names it.
    void sampledCopiesAreProvenBeforeTheTrash()
    {
        Fixture f;
        constexpr qint64 size = 40 * 1048576;
        const QDateTime old(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC);
        const QString kept = f.home.sparseFile(u"Documents/backup.img"_s, size);
        TestHome::setModified(kept, old);
        const QString copy = f.home.sparseFile(u"Downloads/backup.img"_s, size);
        const QString other = f.home.sparseFile(u"Downloads/backup (1).img"_s, size);
        {
            QFile file(other);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.seek(qint64(double(size - 1048576) * 20 / 31.0) + 1048576 + 4096));
            QCOMPARE(file.write("x"), 1);
        }
        f.indexHome();

        DuplicateFinder finder(*f.index, 32 * 1048576);
        QCoro::waitFor(finder.scan({}));
        QCOMPARE(finder.exact().size(), 1);
        const DuplicateGroup group = finder.exact().first();
        QVERIFY(group.sampled);
        QCOMPARE(group.files.size(), 3);
        QCOMPARE(group.keep, QUrl::fromLocalFile(kept));

        // An unknown group moves nothing.
        const DuplicateFinder::TrashOutcome none = QCoro::waitFor(finder.trashExtras({QUuid::createUuid()}));
        QVERIFY(none.moved.isEmpty() && none.differing.isEmpty());
        QCOMPARE(finder.exact().size(), 1);

        const DuplicateFinder::TrashOutcome outcome = QCoro::waitFor(finder.trashExtras({group.id}));
        QVERIFY(!outcome.cancelled);
        QCOMPARE(outcome.moved, QSet<QUrl> {QUrl::fromLocalFile(copy)});
        QCOMPARE(outcome.differing.size(), 1);
        QCOMPARE(outcome.differing.first().url, QUrl::fromLocalFile(other));
        QVERIFY(outcome.unproven.isEmpty());
        QVERIFY(QFileInfo::exists(kept));
        QVERIFY(QFileInfo::exists(other));
        QVERIFY(!QFileInfo::exists(copy));
        QVERIFY(QFileInfo::exists(f.home.path(u".local/share/Trash/files/backup.img"_s)));
        // The group kept one file: it is gone.
        QVERIFY(finder.exact().isEmpty());
        QCOMPARE(finder.extraCopies(), 0);
    }

    void scanWithNothingToCompare()
    {
        Fixture f;
        f.home.file(u"Documents/one.dat"_s, randomBytes(60000, 4));
        f.home.file(u"Documents/small.dat"_s, randomBytes(1000, 5));
        f.indexHome();
        DuplicateFinder finder(*f.index);
        QList<Phase> phases;
        connect(&finder, &DuplicateFinder::phaseChanged, [&] { phases.append(finder.phase()); });
        QCoro::waitFor(finder.scan({QUrl::fromLocalFile(f.home.path(u"Documents"_s))}));
        QCOMPARE(phases, (QList<Phase> {{Phase::gathering}, Phase::hashingAt(0, 1), {Phase::finished}}));
        QCOMPARE(finder.scannedFiles(), 1);
        QVERIFY(finder.exact().isEmpty());
    }

    void similarScanAfterExactScan()
    {
        Fixture f;
        const QImage beach = scene(7);
        const QString original = f.home.path(u"Pictures/beach.jpg"_s);
        f.home.folder(u"Pictures"_s);
        QVERIFY(beach.save(original, "jpeg", 92));
        QVERIFY(QFile::copy(original, f.home.path(u"Pictures/beach copy.jpg"_s)));
        QVERIFY(beach.scaled(640, 480, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).save(f.home.path(u"Pictures/beach small.jpg"_s), "jpeg", 95));
        QVERIFY(beach.save(f.home.path(u"Pictures/Screenshot beach.jpg"_s), "jpeg", 80));
        QVERIFY(beach.save(f.home.path(u"Pictures/beach.png"_s)));
        QVERIFY(scene(8).save(f.home.path(u"Pictures/forest.jpg"_s), "jpeg", 92));
        f.indexHome();

        DuplicateFinder finder(*f.index);
        QCoro::waitFor(finder.scan({}));
        QCOMPARE(finder.exact().size(), 1);
        QCOMPARE(names(finder.exact()[0].extras()), QStringList {u"beach copy.jpg"_s});
        const auto lastScan = finder.lastScan();

        QList<Phase> phases;
        connect(&finder, &DuplicateFinder::similarPhaseChanged, [&] { phases.append(finder.similarPhase()); });
        QCoro::waitFor(finder.scanSimilar({}));
        // The copy is already an exact extra; screenshots and PNGs are not photos.
        QCOMPARE(phases[1], Phase::hashingAt(0, 3));
        QCOMPARE(phases.last(), Phase {Phase::finished});
        QCOMPARE(finder.lastScan(), lastScan);
        QCOMPARE(finder.similar().size(), 1);
        const DuplicateGroup group = finder.similar()[0];
        QCOMPARE(names(group.files).size(), 2);
        QVERIFY(names(group.files).contains(u"beach.jpg"_s));
        QVERIFY(names(group.files).contains(u"beach small.jpg"_s));
        QCOMPARE(group.keep, QUrl::fromLocalFile(original));

        // Look-alikes differ in size: the keeper decides what is freed.
        const qint64 smallSize = QFileInfo(f.home.path(u"Pictures/beach small.jpg"_s)).size();
        QCOMPARE(finder.similarReclaimable(), smallSize);
        finder.setKeeper(QUrl::fromLocalFile(f.home.path(u"Pictures/beach small.jpg"_s)), group.id);
        QCOMPARE(finder.similarReclaimable(), QFileInfo(original).size());

        // One file in both lists goes from both.
        finder.remove({QUrl::fromLocalFile(original)});
        QVERIFY(finder.exact().isEmpty());
        QVERIFY(finder.similar().isEmpty());
    }
};

QTEST_MAIN(TestDuplicateFinder)
#include "tst_duplicatefinder.moc"
