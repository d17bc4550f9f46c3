#include "models/FileItem.h"

#include "MetadataRecord.h"
#include "TestHome.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QDateTime kNow(QDate(2026, 11, 22), QTime(15, 0));

FileItem itemOf(FileCategory category, const QString &name = u"file.bin"_s)
{
    FileItem item;
    item.url = QUrl::fromLocalFile(u"/home/ada/"_s + name);
    item.name = name;
    item.category = category;
    item.size = 2500000;
    item.modified = kNow.addDays(-30);
    return item;
}

} // namespace

class TestFileItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void recordWithoutPathIsNoItem()
    {
        const MetadataValues noPath {{u"kMDItemFSName"_s, u"a.txt"_s}, {u"kMDItemFSSize"_s, 12}, {u"kMDItemContentType"_s, u"public.plain-text"_s}};
        QVERIFY(!FileItem::fromMetadata(noPath));
        const MetadataValues pathNotText {{u"kMDItemPath"_s, 42}};
        QVERIFY(!FileItem::fromMetadata(pathNotText));
    }

    void recordWithEveryAttribute()
    {
        const QDateTime modified(QDate(2024, 3, 1), QTime(10, 0), Qt::UTC);
        const QDateTime created(QDate(2023, 1, 5), QTime(8, 30), Qt::UTC);
        const MetadataValues record {
            {u"kMDItemPath"_s, u"/home/ada/Music/song.mp3"_s},
            {u"kMDItemFSName"_s, u"Song.mp3"_s},
            {u"kMDItemFSSize"_s, qint64(5'000'000'000)},
            {u"kMDItemFSContentChangeDate"_s, modified},
            {u"kMDItemFSCreationDate"_s, created},
            {u"kMDItemContentType"_s, u"public.mp3"_s},
            {u"kMDItemPixelWidth"_s, 640},
            {u"kMDItemPixelHeight"_s, 480.0},
            {u"kMDItemDurationSeconds"_s, 187.25},
            {u"kMDItemAuthors"_s, QStringList {u"Ada"_s, u"Grace"_s}},
            {u"kMDItemAlbum"_s, u"Engines"_s},
            {u"kMDItemTitle"_s, u"Analytical"_s},
        };
        const auto item = FileItem::fromMetadata(record);
        QVERIFY(item);
        QCOMPARE(item->url, QUrl::fromLocalFile(u"/home/ada/Music/song.mp3"_s));
        QCOMPARE(item->name, u"Song.mp3"_s);
        QCOMPARE(item->size, qint64(5'000'000'000));
        QCOMPARE(item->modified, modified);
        QCOMPARE(item->created, std::optional(created));
        QCOMPARE(item->contentType->identifier(), u"public.mp3"_s);
        QCOMPARE(item->category.rawValue(), u"music"_s);
        QCOMPARE(item->pixelWidth, std::optional(640));
        QCOMPARE(item->pixelHeight, std::optional(480));
        QCOMPARE(item->duration, std::optional(187.25));
        QCOMPARE(item->artist, std::optional(u"Ada"_s));
        QCOMPARE(item->album, std::optional(u"Engines"_s));
        QCOMPARE(item->title, std::optional(u"Analytical"_s));
    }

    void missingAndMistypedAttributesAreEmpty()
    {
        const MetadataValues record {
            {u"kMDItemPath"_s, u"/home/ada/notes"_s},
            {u"kMDItemFSSize"_s, u"12"_s},
            {u"kMDItemFSContentChangeDate"_s, u"yesterday"_s},
            {u"kMDItemPixelWidth"_s, u"640"_s},
            {u"kMDItemAuthors"_s, u"Ada"_s},
            {u"kMDItemContentType"_s, u"com.example.no-such-type"_s},
        };
        const auto item = FileItem::fromMetadata(record);
        QVERIFY(item);
        QCOMPARE(item->name, u"notes"_s);
        QCOMPARE(item->size, 0);
        QCOMPARE(item->modified, FileItem::distantPast());
        QVERIFY(item->modified < QDateTime(QDate(1900, 1, 1), QTime(0, 0)));
        QVERIFY(!item->created);
        QVERIFY(!item->contentType);
        QCOMPARE(item->category.rawValue(), u"other"_s);
        QVERIFY(!item->pixelWidth && !item->artist && !item->title);

        const MetadataValues noAuthors {{u"kMDItemPath"_s, u"/x.mp3"_s}, {u"kMDItemAuthors"_s, QStringList {}}};
        QVERIFY(!FileItem::fromMetadata(noAuthors)->artist);
    }

    void recordOfAFolderIsToldByItsType()
    {
        const MetadataValues record {{u"kMDItemPath"_s, u"/home/ada/Projects"_s}, {u"kMDItemContentType"_s, u"public.folder"_s}};
        QCOMPARE(FileItem::fromMetadata(record)->category.rawValue(), u"folders"_s);
    }

    void fromFilesOnDisk()
    {
        TestHome home;
        const QDateTime modified(QDate(2025, 6, 1), QTime(12, 0, 30), Qt::UTC);
        const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-5);

        QImage picture(8, 6, QImage::Format_RGB32);
        picture.fill(Qt::red);
        const QString png = home.path(u"Pictures/red.png"_s);
        QDir().mkpath(home.path(u"Pictures"_s));
        QVERIFY(picture.save(png));
        QVERIFY(TestHome::setModified(png, modified));

        const auto image = FileItem::fromUrl(QUrl::fromLocalFile(png));
        QVERIFY(image);
        QCOMPARE(image->name, u"red.png"_s);
        QCOMPARE(image->size, QFileInfo(png).size());
        QCOMPARE(image->modified, modified);
        QCOMPARE(image->category.rawValue(), u"images"_s);
        QCOMPARE(image->kindDescription(), u"PNG Image"_s);
        if (image->created) // only where the file system keeps a birth time
            QVERIFY(*image->created >= before);
        QVERIFY(!image->pixelWidth && !image->duration && !image->title);

        const auto folder = FileItem::fromUrl(QUrl::fromLocalFile(home.folder(u"Projects"_s)));
        QCOMPARE(folder->category.rawValue(), u"folders"_s);
        QCOMPARE(folder->sizeText(), u"--"_s);
        QCOMPARE(folder->kindDescription(), u"Folder"_s);

        // A bundle directory goes by its type; one of no known kind may end as other.
        const auto bundle = FileItem::fromUrl(QUrl::fromLocalFile(home.folder(u"Apps/Thing.app/Contents"_s).chopped(9)));
        QCOMPARE(bundle->category.rawValue(), u"apps"_s);
        QCOMPARE(bundle->displayTitle(), u"Thing"_s);
        const auto plugin = FileItem::fromUrl(QUrl::fromLocalFile(home.folder(u"Stuff/Filter.plugin"_s)));
        QCOMPARE(plugin->category.rawValue(), u"other"_s);

        const QString launcher
            = home.file(u".local/share/applications/org.example.Editor.desktop"_s, "[Desktop Entry]\nType=Application\nName=Text Editor\nExec=editor %U\n");
        const auto app = FileItem::fromUrl(QUrl::fromLocalFile(launcher));
        QCOMPARE(app->category.rawValue(), u"apps"_s);
        QCOMPARE(app->displayTitle(), u"Text Editor"_s);
        const QString nameless = home.file(u"Applications/tool.desktop"_s, "[Desktop Entry]\nType=Application\nExec=tool\n");
        QCOMPARE(FileItem::fromUrl(QUrl::fromLocalFile(nameless))->displayTitle(), u"tool"_s);

        QVERIFY(!FileItem::fromUrl(QUrl::fromLocalFile(home.path(u"gone.txt"_s))));
        QVERIFY(!FileItem::fromUrl(QUrl(u"https://example.org/a.txt"_s)));

        // A link is followed; a broken one still describes itself rather than vanishing.
        QVERIFY(QFile::link(png, home.path(u"link.png"_s)));
        QCOMPARE(FileItem::fromUrl(QUrl::fromLocalFile(home.path(u"link.png"_s)))->category.rawValue(), u"images"_s);
        QVERIFY(QFile::link(home.path(u"nowhere"_s), home.path(u"broken"_s)));
        const auto broken = FileItem::fromUrl(QUrl::fromLocalFile(home.path(u"broken"_s)));
        QVERIFY(broken);
        QCOMPARE(broken->category.rawValue(), u"other"_s);
    }

    void identityIsTheUrl()
    {
        FileItem a = itemOf(FileCategory::documents, u"a.pdf"_s);
        FileItem b = a;
        b.size = 1;
        b.modified = kNow;
        b.name = u"renamed"_s;
        QCOMPARE(a, b);
        QCOMPARE(qHash(a), qHash(b));
        FileItem c = itemOf(FileCategory::documents, u"c.pdf"_s);
        QVERIFY(!(a == c));
        QCOMPARE((QSet<FileItem> {a, b, c}).size(), 2);
    }

    void displayTitle()
    {
        FileItem app = itemOf(FileCategory::apps, u"Calculator.app"_s);
        QCOMPARE(app.displayTitle(), u"Calculator"_s);
        app.name = u"Krita.AppImage"_s;
        QCOMPARE(app.displayTitle(), u"Krita"_s);

        FileItem song = itemOf(FileCategory::music, u"track01.flac"_s);
        QCOMPARE(song.displayTitle(), u"track01.flac"_s);
        song.title = u""_s;
        QCOMPARE(song.displayTitle(), u"track01.flac"_s);
        song.title = u"Blue Monday"_s;
        QCOMPARE(song.displayTitle(), u"Blue Monday"_s);

        FileItem doc = itemOf(FileCategory::documents, u"report.pdf"_s);
        doc.title = u"Quarterly Report"_s;
        QCOMPARE(doc.displayTitle(), u"report.pdf"_s);
    }

    void kindDescription()
    {
        FileItem item = itemOf(FileCategory::other, u"blob.xyz"_s);
        QCOMPARE(item.kindDescription(), u"XYZ file"_s);
        item.contentType = UTType::data();
        QCOMPARE(item.kindDescription(), u"XYZ file"_s);
        item.url = QUrl::fromLocalFile(u"/home/ada/blob"_s);
        QCOMPARE(item.kindDescription(), u"Document"_s);
        item.contentType = UTType::fromIdentifier(u"com.adobe.pdf"_s);
        QCOMPARE(item.kindDescription(), u"PDF Document"_s);
    }

    void subtitle_data()
    {
        QTest::addColumn<FileItem>("item");
        QTest::addColumn<QString>("expected");

        FileItem photo = itemOf(FileCategory::images, u"p.jpg"_s);
        photo.pixelWidth = 4032;
        photo.pixelHeight = 3024;
        QTest::newRow("image with both sides") << photo << u"4032 × 3024 · 2.5 MB"_s;
        photo.pixelHeight.reset();
        QTest::newRow("image with only a width") << photo << u"2.5 MB"_s;

        FileItem movie = itemOf(FileCategory::videos, u"m.mp4"_s);
        QTest::newRow("video without duration") << movie << u"2.5 MB"_s;
        movie.duration = 65.4;
        QTest::newRow("video with duration") << movie << u"1:05 · 2.5 MB"_s;

        FileItem song = itemOf(FileCategory::music, u"s.mp3"_s);
        QTest::newRow("song without artist") << song << u"2.5 MB"_s;
        song.artist = u""_s;
        QTest::newRow("song with empty artist") << song << u""_s;
        song.artist = u"Ada"_s;
        QTest::newRow("song with artist") << song << u"Ada"_s;

        FileItem folder = itemOf(FileCategory::folders, u"Projects"_s);
        folder.modified = kNow.addSecs(-3 * 3600);
        QTest::newRow("folder") << folder << u"3 hours ago"_s;

        FileItem doc = itemOf(FileCategory::documents, u"d.pdf"_s);
        doc.modified = kNow.addSecs(-518400);
        QTest::newRow("six days back is a date") << doc << u"2.5 MB · Nov 16, 2026"_s;
        doc.modified = kNow.addSecs(-518399);
        QTest::newRow("just under six days is relative") << doc << u"2.5 MB · 5 days ago"_s;
        doc.modified = kNow.addSecs(3600);
        QTest::newRow("future is relative") << doc << u"2.5 MB · in 1 hour"_s;
    }

    void subtitle()
    {
        QFETCH(FileItem, item);
        QFETCH(QString, expected);
        QCOMPARE(item.subtitle(kNow), expected);
    }

    void sizeText()
    {
        FileItem item = itemOf(FileCategory::documents);
        item.size = 0;
        QCOMPARE(item.sizeText(), u"Zero KB"_s);
        item.size = 1500000;
        QCOMPARE(item.sizeText(), u"1.5 MB"_s);
    }
};

QTEST_GUILESS_MAIN(TestFileItem)
#include "tst_fileitem.moc"
