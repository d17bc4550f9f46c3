#include "TestHome.h"
#include "thumbnails/ThumbnailCache.h"
#include "thumbnails/Thumbnails.h"

#include <QBuffer>
#include <QCoro/QCoroTask>
#include <QDir>
#include <QFileInfo>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Runs one of the tools that make real media files; the test cannot go on without it.
bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(60'000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qWarning().noquote() << program << arguments.join(u' ') << process.readAllStandardError();
        return false;
    }
    return true;
}

bool ffmpeg(const QStringList &arguments)
{
    return run(u"ffmpeg"_s, QStringList {u"-hide_banner"_s, u"-loglevel"_s, u"error"_s, u"-y"_s} + arguments);
}

// Red on the left half, blue on the right: which way up a picture came out is plain to see.
QImage halves(int w, int h)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QPainter(&image).fillRect(0, 0, w / 2, h, Qt::red);
    return image;
}

bool near(QColor a, QColor b)
{
    return std::abs(a.red() - b.red()) < 40 && std::abs(a.green() - b.green()) < 40 && std::abs(a.blue() - b.blue()) < 40;
}

Thumbnail load(Thumbnails &thumbnails, const QString &path, double side)
{
    const auto thumb = QCoro::waitFor(thumbnails.load(QUrl::fromLocalFile(path), side));
    if (!thumb)
        qFatal("a load without cancellation gave nothing");
    return *thumb;
}

} // namespace

class TestThumbnails : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Pictures are made by parsing workers started from this process; this one breaks on purpose.
        qputenv("VELK_WORKER_FAULT", "crash=decoder-crash");
    }

    void tiers_data()
    {
        QTest::addColumn<double>("side");
        QTest::addColumn<int>("tier");
        QTest::newRow("64") << 64.0 << 64;
        QTest::newRow("65") << 65.0 << 160;
        QTest::newRow("160.5") << 160.5 << 320;
        QTest::newRow("640") << 640.0 << 640;
        QTest::newRow("900") << 900.0 << 640;
    }

    void tiers()
    {
        QFETCH(double, side);
        QFETCH(int, tier);
        QCOMPARE(Thumbnails::tier(side), tier);
    }

    void largerTierServesSmallerRequests()
    {
        TestHome home;
        const QString photo = home.path(u"Pictures/wide.png"_s);
        QDir().mkpath(QFileInfo(photo).path());
        QVERIFY(halves(2000, 1000).save(photo));
        Thumbnails thumbnails;

        const QUrl url = QUrl::fromLocalFile(photo);
        QVERIFY(!thumbnails.cached(url, 300));
        const Thumbnail loaded = load(thumbnails, photo, 300);
        QVERIFY(!loaded.isIcon);
        QCOMPARE(loaded.image.size(), QSize(640, 320));

        const auto smaller = thumbnails.cached(url, 100);
        QVERIFY(smaller);
        QCOMPARE(smaller->image.cacheKey(), loaded.image.cacheKey());
        QVERIFY(!thumbnails.cached(url, 500));
        QCOMPARE(thumbnails.count(), 1);
    }

    void kinds_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isIcon");
        QTest::addColumn<QSize>("size"); // of a real picture at tier 64
        QTest::addColumn<QColor>("topLeft");
        QTest::newRow("JPEG turned upright") << u"turned.jpg"_s << false << QSize(64, 128) << QColor(Qt::red);
        QTest::newRow("HEIC") << u"photo.heic"_s << false << QSize(128, 64) << QColor(Qt::red);
        QTest::newRow("PDF first page") << u"report.pdf"_s << false << QSize(91, 128) << QColor(Qt::red);
        QTest::newRow("video frame") << u"clip.mp4"_s << false << QSize(128, 96) << QColor();
        QTest::newRow("song with cover art") << u"with cover.mp3"_s << false << QSize(128, 128) << QColor(Qt::blue);
        QTest::newRow("song without cover art") << u"plain.mp3"_s << true << QSize() << QColor();
        QTest::newRow("corrupt picture") << u"corrupt.jpg"_s << true << QSize() << QColor();
        QTest::newRow("truncated PNG") << u"truncated.png"_s << true << QSize() << QColor();
        QTest::newRow("truncated video") << u"truncated.mp4"_s << true << QSize() << QColor();
        QTest::newRow("encrypted-looking PDF") << u"broken.pdf"_s << true << QSize() << QColor();
        QTest::newRow("plain text") << u"notes.txt"_s << true << QSize() << QColor();
        QTest::newRow("folder") << u"Projects"_s << true << QSize() << QColor();
        QTest::newRow("gone") << u"vanished.jpg"_s << true << QSize() << QColor();
    }

    void kinds()
    {
        QFETCH(QString, name);
        QFETCH(bool, isIcon);
        QFETCH(QSize, size);
        QFETCH(QColor, topLeft);
        TestHome home;
        QVERIFY(makeFile(home, name));

        Thumbnails thumbnails;
        const Thumbnail thumb = load(thumbnails, home.path(name), 64);
        QCOMPARE(thumb.isIcon, isIcon);
        QVERIFY(!thumb.image.isNull());
        QVERIFY(thumb.image.width() <= 128 && thumb.image.height() <= 128);
        if (size.isValid()) {
            QVERIFY2(std::abs(thumb.image.width() - size.width()) <= 1 && std::abs(thumb.image.height() - size.height()) <= 1,
                qPrintable(u"%1x%2"_s.arg(thumb.image.width()).arg(thumb.image.height())));
        }
        if (topLeft.isValid())
            QVERIFY2(near(thumb.image.pixelColor(4, 4), topLeft), qPrintable(thumb.image.pixelColor(4, 4).name()));
    }

    void sharedCacheIsReadFirstAndRefreshed()
    {
        TestHome home;
        const QString photo = home.path(u"Pictures/sunset.png"_s);
        QDir().mkpath(QFileInfo(photo).path());
        QVERIFY(halves(1000, 500).save(photo));
        TestHome::setModified(photo, QDateTime::fromSecsSinceEpoch(1'700'000'000));

        {
            Thumbnails first;
            QVERIFY(!load(first, photo, 160).isIcon);
        }
        const auto source = ThumbnailCache::Source::of(photo);
        const QString stored = ThumbnailCache::pathFor(source->uri, ThumbnailCache::Flavor::xLarge);
        QVERIFY(QFileInfo::exists(stored));
        QCOMPARE(QImage(stored).size(), QSize(512, 256));

        // Paint the stored picture green: a later run that shows green read it rather than
        // decoding the file again.
        QImage marked(stored);
        const QString uri = marked.text(u"Thumb::URI"_s);
        marked.fill(Qt::green);
        marked.setText(u"Thumb::URI"_s, uri);
        marked.setText(u"Thumb::MTime"_s, u"1700000000"_s);
        QVERIFY(marked.save(stored, "png"));
        {
            Thumbnails second;
            QCOMPARE(load(second, photo, 160).image.pixelColor(2, 2), QColor(Qt::green));
            // The extra-large picture serves the smallest tier as well.
            QCOMPARE(load(second, photo, 64).image.pixelColor(2, 2), QColor(Qt::green));
        }

        // The file changes: its stored picture no longer counts, a new one is made and stored.
        QVERIFY(halves(1000, 500).mirrored(true, false).save(photo));
        TestHome::setModified(photo, QDateTime::fromSecsSinceEpoch(1'700'000'100));
        Thumbnails third;
        const Thumbnail fresh = load(third, photo, 160);
        QVERIFY(near(fresh.image.pixelColor(2, 2), Qt::blue));
        QCOMPARE(QImage(stored).text(u"Thumb::MTime"_s), u"1700000100"_s);
    }

    void brokenFileIsTriedAgainOnceRepaired()
    {
        TestHome home;
        const QString path = home.file(u"Pictures/repaired.png"_s, "\x89PNG\r\n\x1a\n broken", QDateTime::fromSecsSinceEpoch(1'700'000'000));
        {
            Thumbnails thumbnails;
            QVERIFY(load(thumbnails, path, 64).isIcon);
        }
        QVERIFY(ThumbnailCache::hasFailed(*ThumbnailCache::Source::of(path)));
        QVERIFY(halves(300, 300).save(path));
        TestHome::setModified(path, QDateTime::fromSecsSinceEpoch(1'700'000'050));
        Thumbnails thumbnails;
        QVERIFY(!load(thumbnails, path, 64).isIcon);
    }

    // A picture that takes its worker down costs the tile nothing but its picture: it gets the icon,
    // the shared cache remembers the failure, and the next tile is drawn by a fresh worker.
    void aPictureThatCrashesItsDecoderGetsAnIcon()
    {
        TestHome home;
        const QString bad = home.path(u"Pictures/decoder-crash.png"_s);
        const QString good = home.path(u"Pictures/after.png"_s);
        QDir().mkpath(home.path(u"Pictures"_s));
        QVERIFY(halves(300, 300).save(bad));
        QVERIFY(halves(300, 300).save(good));
        Thumbnails thumbnails;
        QVERIFY(load(thumbnails, bad, 64).isIcon);
        QVERIFY(ThumbnailCache::hasFailed(*ThumbnailCache::Source::of(bad)));
        QVERIFY(!load(thumbnails, good, 64).isIcon);
    }

    void cancelledRequestsDoNoWork()
    {
        TestHome home;
        QDir().mkpath(home.path(u"Pictures"_s));
        QList<QString> paths;
        for (int i = 0; i < 12; ++i) {
            paths.append(home.path(u"Pictures/p%1.png"_s.arg(i)));
            QVERIFY(halves(800, 600).save(paths.last()));
        }
        Thumbnails thumbnails;

        ThumbnailCancellation early;
        early.cancel();
        QCOMPARE(QCoro::waitFor(thumbnails.load(QUrl::fromLocalFile(paths.first()), 64, early)), std::nullopt);

        // Every tile scrolls away before the main thread hears back from the first look.
        std::vector<QCoro::Task<std::optional<Thumbnail>>> tasks;
        std::vector<ThumbnailCancellation> cancellations(paths.size());
        for (qsizetype i = 0; i < paths.size(); ++i)
            tasks.push_back(thumbnails.load(QUrl::fromLocalFile(paths[i]), 64, cancellations[i]));
        for (auto &cancellation : cancellations)
            cancellation.cancel();
        for (auto &task : tasks)
            QCOMPARE(QCoro::waitFor(task), std::nullopt);
        QCOMPARE(thumbnails.count(), 0);
        QVERIFY(!QFileInfo::exists(home.path(u".cache/thumbnails/normal"_s)) || QDir(home.path(u".cache/thumbnails/normal"_s)).isEmpty());
    }

    void oldestEntriesMakeRoom()
    {
        TestHome home;
        QDir().mkpath(home.path(u"Pictures"_s));
        Thumbnails thumbnails({.countLimit = 2});
        QList<QUrl> urls;
        for (int i = 0; i < 3; ++i) {
            const QString path = home.path(u"Pictures/p%1.png"_s.arg(i));
            QVERIFY(halves(100, 100).save(path));
            urls.append(QUrl::fromLocalFile(path));
            load(thumbnails, path, 64);
        }
        QCOMPARE(thumbnails.count(), 2);
        QVERIFY(!thumbnails.cached(urls[0], 64));
        QVERIFY(thumbnails.cached(urls[2], 64));
        // Drawn again, the evicted tile simply loads again.
        QVERIFY(!load(thumbnails, urls[0].toLocalFile(), 64).isIcon);
        QVERIFY(!thumbnails.cached(urls[1], 64));
    }

private:
    static bool makeFile(TestHome &home, const QString &name)
    {
        const QString path = home.path(name);
        const QString dir = home.root();
        if (name == u"turned.jpg"_s) {
            return halves(1200, 600).save(path, "JPEG", 95) && run(u"exiv2"_s, {u"-M"_s, u"set Exif.Image.Orientation 6"_s, path});
        }
        if (name == u"photo.heic"_s) {
            const QString png = dir + u"/source.png"_s;
            return halves(400, 200).save(png) && run(u"heif-enc"_s, {u"-q"_s, u"90"_s, u"-o"_s, path, png});
        }
        if (name == u"report.pdf"_s) {
            QPdfWriter writer(path);
            writer.setPageSize(QPageSize(QPageSize::A4));
            QPainter painter(&writer);
            painter.fillRect(QRect(0, 0, writer.width(), writer.height() / 2), Qt::red);
            return painter.end();
        }
        if (name == u"clip.mp4"_s)
            return ffmpeg({u"-f"_s, u"lavfi"_s, u"-i"_s, u"testsrc=size=320x240:rate=10:duration=2"_s, u"-pix_fmt"_s, u"yuv420p"_s, path});
        if (name == u"with cover.mp3"_s) {
            const QString cover = dir + u"/cover.png"_s;
            QImage art(300, 300, QImage::Format_RGB32);
            art.fill(Qt::blue);
            return art.save(cover)
                && ffmpeg({u"-f"_s, u"lavfi"_s, u"-i"_s, u"sine=duration=1"_s, u"-i"_s, cover, u"-map"_s, u"0:a"_s, u"-map"_s, u"1:v"_s, u"-c:v"_s, u"png"_s,
                    u"-id3v2_version"_s, u"3"_s, u"-disposition:v"_s, u"attached_pic"_s, path});
        }
        if (name == u"plain.mp3"_s)
            return ffmpeg({u"-f"_s, u"lavfi"_s, u"-i"_s, u"sine=duration=1"_s, path});
        if (name == u"corrupt.jpg"_s)
            return !home.file(name, QByteArray("\xff\xd8\xff\xe0") + QByteArray(4000, '\x5a')).isEmpty();
        if (name == u"truncated.png"_s) {
            QByteArray png;
            QBuffer buffer(&png);
            buffer.open(QIODevice::WriteOnly);
            halves(500, 500).save(&buffer, "PNG");
            return !home.file(name, png.left(png.size() / 3)).isEmpty();
        }
        if (name == u"truncated.mp4"_s) {
            if (!ffmpeg({u"-f"_s, u"lavfi"_s, u"-i"_s, u"testsrc=size=320x240:rate=10:duration=2"_s, u"-pix_fmt"_s, u"yuv420p"_s, path}))
                return false;
            return QFile::resize(path, 700);
        }
        if (name == u"broken.pdf"_s)
            return !home.file(name, "%PDF-1.7\n1 0 obj << /Encrypt 2 0 R >>\n%%EOF\n").isEmpty();
        if (name == u"notes.txt"_s)
            return !home.file(name, "shopping list").isEmpty();
        if (name == u"Projects"_s)
            return !home.folder(name).isEmpty();
        return name == u"vanished.jpg"_s;
    }
};

QTEST_MAIN(TestThumbnails)
#include "tst_thumbnails.moc"
