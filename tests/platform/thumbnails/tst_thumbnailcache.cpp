#include "TestHome.h"
#include "thumbnails/ThumbnailCache.h"

#include <QFileInfo>
#include <QImage>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using ThumbnailCache::Flavor;

namespace {

int mode(const QString &path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? int(st.st_mode & 0777) : -1;
}

QImage filled(int w, int h, QColor color)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

} // namespace

class TestThumbnailCache : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The names must be the ones GLib's file managers compute, or the cache is not shared.
    void uris_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("uri");
        QTest::newRow("spaces") << u"/home/ada/My Photos/a b.png"_s << QByteArray("file:///home/ada/My%20Photos/a%20b.png");
        QTest::newRow("non-ASCII") << u"/tmp/ä.jpg"_s << QByteArray("file:///tmp/%C3%A4.jpg");
        QTest::newRow("kept punctuation") << u"/x/&=+@~'!$()*,:.png"_s << QByteArray("file:///x/&=+@~'!$()*,:.png");
        QTest::newRow("escaped punctuation") << u"/x/#%[]?;{}|^`\"<>\\.png"_s << QByteArray("file:///x/%23%25%5B%5D%3F%3B%7B%7D%7C%5E%60%22%3C%3E%5C.png");
    }

    void uris()
    {
        QFETCH(QString, path);
        QFETCH(QByteArray, uri);
        QCOMPARE(ThumbnailCache::fileUri(path), uri);
    }

    void fileNameIsTheUrisDigest() { QCOMPARE(ThumbnailCache::fileName("file:///home/jens/photos/me.png"), u"c6ee772d9e49320e97ec29a7eb5b1697.png"_s); }

    void writtenPrivatelyAndReadBack()
    {
        TestHome home;
        const QString photo = home.file(u"Pictures/cat.jpg"_s, "not looked at", QDateTime::fromSecsSinceEpoch(1'700'000'000));
        const auto source = ThumbnailCache::Source::of(photo);
        QVERIFY(source);
        QCOMPARE(source->mtime, 1'700'000'000);

        QVERIFY(ThumbnailCache::write(*source, Flavor::large, filled(600, 300, Qt::red), u"image/jpeg"_s));
        const QString stored = ThumbnailCache::pathFor(source->uri, Flavor::large);
        QCOMPARE(stored, home.path(u".cache/thumbnails/large/"_s) + ThumbnailCache::fileName(source->uri));
        QCOMPARE(mode(stored), 0600);
        QCOMPARE(mode(QFileInfo(stored).path()), 0700);

        // A plain PNG reader sees what any other program of the desktop would.
        const QImage png(stored, "png");
        QCOMPARE(png.text(u"Thumb::URI"_s), QString::fromLatin1(source->uri));
        QCOMPARE(png.text(u"Thumb::MTime"_s), u"1700000000"_s);
        QCOMPARE(png.size(), QSize(256, 128));

        // The large picture serves a normal request, never an extra-large one.
        const auto normal = ThumbnailCache::read(*source, Flavor::normal);
        QVERIFY(normal);
        QCOMPARE(normal->pixelColor(10, 10), QColor(Qt::red));
        QVERIFY(!ThumbnailCache::read(*source, Flavor::xLarge));

        // A file touched since is a different file.
        TestHome::setModified(photo, QDateTime::fromSecsSinceEpoch(1'700'000'060));
        QVERIFY(!ThumbnailCache::read(*ThumbnailCache::Source::of(photo), Flavor::normal));
    }

    void otherWritersFractionsAndForeignUris()
    {
        TestHome home;
        const QString photo = home.file(u"a.png"_s, "x", QDateTime::fromSecsSinceEpoch(1'600'000'000));
        const auto source = ThumbnailCache::Source::of(photo);
        QDir().mkpath(home.path(u".cache/thumbnails/normal"_s));
        const QString stored = ThumbnailCache::pathFor(source->uri, Flavor::normal);

        QImage image = filled(10, 10, Qt::blue);
        image.setText(u"Thumb::URI"_s, QString::fromLatin1(source->uri));
        image.setText(u"Thumb::MTime"_s, u"1600000000.25"_s);
        QVERIFY(image.save(stored, "png"));
        QVERIFY(ThumbnailCache::read(*source, Flavor::normal));

        // A name collision, or a picture of another file, is no picture of this one.
        image.setText(u"Thumb::URI"_s, u"file:///elsewhere/a.png"_s);
        QVERIFY(image.save(stored, "png"));
        QVERIFY(!ThumbnailCache::read(*source, Flavor::normal));

        QFile broken(stored);
        QVERIFY(broken.open(QIODevice::WriteOnly | QIODevice::Truncate));
        broken.write("\x89PNG\r\n\x1a\n garbage");
        broken.close();
        QVERIFY(!ThumbnailCache::read(*source, Flavor::normal));
    }

    void failuresAreRememberedUntilTheFileChanges()
    {
        TestHome home;
        const QString file = home.file(u"broken.jpg"_s, "\xff\xd8 nonsense", QDateTime::fromSecsSinceEpoch(1'650'000'000));
        const auto source = ThumbnailCache::Source::of(file);
        QVERIFY(!ThumbnailCache::hasFailed(*source));
        QVERIFY(ThumbnailCache::writeFailure(*source));
        QVERIFY(QFileInfo::exists(home.path(u".cache/thumbnails/fail/velk/"_s) + ThumbnailCache::fileName(source->uri)));
        QVERIFY(ThumbnailCache::hasFailed(*source));
        TestHome::setModified(file, QDateTime::fromSecsSinceEpoch(1'650'000'001));
        QVERIFY(!ThumbnailCache::hasFailed(*ThumbnailCache::Source::of(file)));
    }
};

QTEST_GUILESS_MAIN(TestThumbnailCache)
#include "tst_thumbnailcache.moc"
