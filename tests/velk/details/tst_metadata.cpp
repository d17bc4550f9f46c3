#include "TestHome.h"
#include "details/Metadata.h"
#include "mdindex/MetadataIndex.h"
#include "mdindex/extractors/Extractors.h"

#include <QImage>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;
using mdindex::MetadataIndex;

namespace {

// Stands in for a tagging program that left empty values behind: what the index's own extractors
// never store, but a record may still hold.
class EmptyValues final : public mdindex::Extractor
{
public:
    bool wants(const mdindex::FileFacts &facts) const override { return facts.name == u"blank.rec"_s; }
    void extract(const QString &, const mdindex::FileFacts &, mdindex::ExtractedAttributes &into) const override
    {
        into.insert(MDAttribute::album.toString(), QString());
        into.insert(MDAttribute::authors.toString(), QStringList());
        into.insert(MDAttribute::acquisitionMake.toString(), u"Canon"_s);
        into.insert(MDAttribute::acquisitionModel.toString(), QString());
    }
};

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool photo(const QString &path, const QStringList &exif)
{
    QImage image(40, 30, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    if (!image.save(path, "JPEG"))
        return false;
    QStringList arguments;
    for (const QString &set : exif)
        arguments += {u"-M"_s, u"set "_s + set};
    return run(u"exiv2"_s, arguments + QStringList {path});
}

// A one-page PDF whose information dictionary names its author.
QByteArray pdfBy(const QByteArray &author)
{
    const QList<QByteArray> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 200] >>",
        "<< /Title (Engines) /Author (" + author + ") >>",
    };
    QByteArray pdf = "%PDF-1.4\n";
    QList<qsizetype> offsets;
    for (qsizetype i = 0; i < objects.size(); ++i) {
        offsets.append(pdf.size());
        pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const qsizetype xref = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (qsizetype offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size " + QByteArray::number(objects.size() + 1) + " /Root 1 0 R /Info 4 0 R >>\nstartxref\n" + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

std::optional<QString> value(const QList<DetailRow> &rows, const QString &label)
{
    for (const DetailRow &row : rows) {
        if (row.label == label)
            return row.value;
    }
    return std::nullopt;
}

const QDateTime kWhen = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC); // Tue Nov 14 2023 22:13:20 UTC

} // namespace

class TestMetadata : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestHome> home;
    std::unique_ptr<MetadataIndex> index;
    QTemporaryDir elsewhere;

    QList<DetailRow> detailsOf(const QString &path)
    {
        const auto item = FileItem::fromUrl(QUrl::fromLocalFile(path));
        if (!item)
            qFatal("no item for %s", qPrintable(path));
        return Metadata::details(*item, *index);
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("TZ", "UTC");
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        home = std::make_unique<TestHome>();
        home->setUserDirs({{u"XDG_DOCUMENTS_DIR"_s, u"Documents"_s}, {u"XDG_MUSIC_DIR"_s, u"Music"_s}, {u"XDG_PICTURES_DIR"_s, u"Pictures"_s},
            {u"XDG_DOWNLOAD_DIR"_s, u"Downloads"_s}});

        for (const char *name : {"a.txt", "b.txt", "c.txt", ".hidden"})
            home->file(u"Documents/Trip/"_s + QLatin1StringView(name), "x");
        home->file(u"Documents/One/only.txt"_s, "x");
        home->folder(u"Documents/Empty"_s);
        home->sparseFile(u"Documents/data.bin"_s, 1536);
        home->file(u"Documents/paper.pdf"_s, pdfBy("Ada Lovelace"));
        home->file(u"Documents/blank.rec"_s, "x");
        QVERIFY(run(u"ffmpeg"_s,
            {u"-hide_banner"_s, u"-loglevel"_s, u"error"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, u"sine=duration=2"_s, u"-metadata"_s,
                u"artist=Ada Lovelace"_s, u"-metadata"_s, u"album=Engines"_s, u"-metadata"_s, u"genre=Jazz"_s, home->path(u"Music/song.mp3"_s)}));
        QVERIFY(photo(home->path(u"Pictures/canon.jpg"_s), {u"Exif.Image.Make Canon"_s, u"Exif.Image.Model Canon EOS R5"_s}));
        QVERIFY(photo(home->path(u"Pictures/iphone.jpg"_s), {u"Exif.Image.Make Apple"_s, u"Exif.Image.Model iPhone 15"_s}));
        QVERIFY(photo(home->path(u"Pictures/nikon.jpg"_s), {u"Exif.Image.Make NIKON"_s}));

        const QString setup = home->file(u"Downloads/setup.zip"_s, "PK\x05\x06" + QByteArray(18, '\0'), kWhen);
        QVERIFY(TestHome::setXattr(setup, "user.xdg.origin.url", "https://github.com/ada/engine/releases/download/v1/setup.zip"));
        home->file(u".local/share/recently-used.xbel"_s,
            "<?xml version=\"1.0\"?>\n<xbel version=\"1.0\">\n<bookmark href=\"" + QUrl::fromLocalFile(setup).toEncoded()
                + "\" added=\"2023-11-14T22:13:20Z\" modified=\"2023-11-14T22:13:20Z\" visited=\"2023-11-14T22:13:20Z\"/>\n</xbel>\n");

        // Never indexed, though it carries a download address.
        const QString outside = elsewhere.filePath(u"loose.zip"_s);
        QFile file(outside);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("loose");
        file.close();
        QVERIFY(TestHome::setXattr(outside, "user.xdg.origin.url", "https://github.com/ada/loose.zip"));

        MetadataIndex::Options options;
        options.storePath = home->path(u".cache/velk/index.sqlite"_s);
        options.roots = {home->root()};
        index = std::make_unique<MetadataIndex>(options);
        for (auto &extractor : mdindex::standardExtractors())
            index->addExtractor(std::move(extractor));
        index->addExtractor(std::make_unique<EmptyValues>());
        QVERIFY(index->open());
        index->update();
        index->reloadLastUsed();
    }

    void rows_data()
    {
        QTest::addColumn<QString>("path"); // below the home folder, or "elsewhere"
        QTest::addColumn<QStringList>("labels"); // in order, without "Created", which the file system decides
        QTest::addColumn<QStringList>("values"); // "Label=value"
        const QStringList plain = {u"Kind"_s, u"Size"_s, u"Modified"_s, u"Where"_s};
        const QStringList folder = {u"Kind"_s, u"Contains"_s, u"Modified"_s, u"Where"_s};
        QTest::newRow("folder with a dot-file") << u"Documents/Trip"_s << folder
                                                << QStringList {u"Kind=Folder"_s, u"Contains=3 items"_s, u"Where=~/Documents"_s};
        QTest::newRow("folder of one") << u"Documents/One"_s << folder << QStringList {u"Contains=1 item"_s};
        QTest::newRow("empty folder") << u"Documents/Empty"_s << folder << QStringList {u"Contains=0 items"_s};
        QTest::newRow("1536 bytes") << u"Documents/data.bin"_s << plain << QStringList {u"Size=2 KB (1,536 bytes)"_s};
        QTest::newRow("song") << u"Music/song.mp3"_s
                              << QStringList {u"Kind"_s, u"Size"_s, u"Duration"_s, u"Artist"_s, u"Album"_s, u"Genre"_s, u"Codecs"_s, u"Modified"_s, u"Where"_s}
                              << QStringList {u"Duration=0:02"_s, u"Artist=Ada Lovelace"_s, u"Album=Engines"_s, u"Genre=Jazz"_s, u"Where=~/Music"_s};
        QTest::newRow("PDF with an author") << u"Documents/paper.pdf"_s
                                            << QStringList {u"Kind"_s, u"Size"_s, u"Authors"_s, u"Pages"_s, u"Modified"_s, u"Where"_s}
                                            << QStringList {u"Authors=Ada Lovelace"_s, u"Pages=1"_s};
        const QStringList camera = {u"Kind"_s, u"Size"_s, u"Dimensions"_s, u"Camera"_s, u"Modified"_s, u"Where"_s};
        QTest::newRow("make repeated in the model") << u"Pictures/canon.jpg"_s << camera
                                                    << QStringList {u"Dimensions=40 × 30"_s, u"Camera=Canon EOS R5"_s, u"Where=~/Pictures"_s};
        QTest::newRow("make and model") << u"Pictures/iphone.jpg"_s << camera << QStringList {u"Camera=Apple iPhone 15"_s};
        QTest::newRow("make without model") << u"Pictures/nikon.jpg"_s << QStringList {u"Kind"_s, u"Size"_s, u"Dimensions"_s, u"Modified"_s, u"Where"_s}
                                            << QStringList {};
        QTest::newRow("downloaded and opened") << u"Downloads/setup.zip"_s
                                               << QStringList {u"Kind"_s, u"Size"_s, u"Downloaded From"_s, u"Last Opened"_s, u"Modified"_s, u"Where"_s}
                                               << QStringList {u"Downloaded From=GitHub\nhttps://github.com/ada/engine/releases/download/v1/setup.zip"_s,
                                                      u"Last Opened=Nov 14, 2023, 10:13 PM"_s, u"Modified=Nov 14, 2023, 10:13 PM"_s};
        QTest::newRow("empty values") << u"Documents/blank.rec"_s << plain << QStringList {};
        QTest::newRow("outside the home folder") << u"elsewhere"_s << plain << QStringList {};
    }

    void rows()
    {
        QFETCH(QString, path);
        QFETCH(QStringList, labels);
        QFETCH(QStringList, values);
        const QString full = path == u"elsewhere"_s ? elsewhere.filePath(u"loose.zip"_s) : home->path(path);
        const QList<DetailRow> rows = detailsOf(full);

        QStringList actual;
        for (const DetailRow &row : rows) {
            QVERIFY2(!row.value.isEmpty(), qPrintable(row.label));
            if (row.label != u"Created"_s)
                actual.append(row.label);
        }
        QCOMPARE(actual, labels);
        for (const QString &pair : values) {
            const qsizetype eq = pair.indexOf(u'=');
            QCOMPARE(value(rows, pair.left(eq)).value_or(u"(none)"_s), pair.mid(eq + 1));
        }
        if (path == u"elsewhere"_s)
            QCOMPARE(value(rows, u"Where"_s), elsewhere.path());
        // Where the file system keeps a birth time, it comes just before the modification time.
        const auto item = FileItem::fromUrl(QUrl::fromLocalFile(full));
        QCOMPARE(value(rows, u"Created"_s).has_value(), item->created.has_value());
        if (item->created)
            QCOMPARE(rows.at(rows.size() - 3).label, u"Created"_s);
    }

    void datesFollowTheLocale()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QString german = Metadata::dateAndTime(kWhen);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(german, u"14. Nov. 2023, 22:13"_s);
        QCOMPARE(Metadata::dateAndTime(kWhen), u"Nov 14, 2023, 10:13 PM"_s);
    }
};

QTEST_MAIN(TestMetadata)
#include "tst_metadata.moc"
