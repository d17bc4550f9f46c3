#include "Samples.h"
#include "TestHome.h"

#include <QRegularExpression>
#include <QTest>

#include <ctime>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using mdindex::ExtractedAttributes;

namespace {

QDateTime utc(int year, int month, int day, int hour, int minute, int second)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second), Qt::UTC);
}

} // namespace

class TestExtractors : public QObject
{
    Q_OBJECT

    std::vector<std::unique_ptr<mdindex::Extractor>> m_extractors = mdindex::standardExtractors();

    ExtractedAttributes extract(const QString &path) const { return samples::extract(m_extractors, path, samples::factsOf(path)); }
    QString text(const QString &path) const { return extract(path).value(MDAttribute::textContent.toString()).toString(); }
    static QVariant value(const ExtractedAttributes &attributes, QStringView name) { return attributes.value(name.toString()); }

private Q_SLOTS:
    void initTestCase()
    {
        // EXIF dates are local times: a zone with summer time makes the conversion visible.
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }

    void pictures()
    {
        TestHome home;
        QString error;
        // Orientation 6 is "rotate 90° to show": the stored 64×48 shows as 48×64.
        const QString canon = home.path(u"Pictures/IMG_0001.jpg"_s);
        QVERIFY2(samples::jpeg(canon, 64, 48,
                     {u"set Exif.Image.Make Canon"_s, u"set Exif.Image.Model Canon EOS R5"_s, u"set Exif.Image.Orientation 6"_s,
                         u"set Exif.Photo.DateTimeOriginal 2024:05:06 07:08:09"_s},
                     &error),
            qPrintable(error));
        ExtractedAttributes got = extract(canon);
        QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 48);
        QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), 64);
        QCOMPARE(value(got, MDAttribute::acquisitionMake).toString(), u"Canon"_s);
        QCOMPARE(value(got, MDAttribute::acquisitionModel).toString(), u"Canon EOS R5"_s);
        // 07:08:09 summer time in Berlin.
        QCOMPARE(value(got, MDAttribute::contentCreationDate).toDateTime(), utc(2024, 5, 6, 5, 8, 9));
        QCOMPARE(got.value(MDAttribute::isScreenCapture.toString()), QVariant(false));

        // An offset tag names the zone the camera was in; upright pictures keep their sides.
        const QString travel = home.path(u"Pictures/travel.jpg"_s);
        QVERIFY2(samples::jpeg(travel, 80, 40,
                     {u"set Exif.Image.Make NIKON CORPORATION"_s, u"set Exif.Image.Orientation 1"_s, u"set Exif.Photo.DateTimeOriginal 2023:12:31 23:30:00"_s,
                         u"set Exif.Photo.OffsetTimeOriginal -05:00"_s},
                     &error),
            qPrintable(error));
        got = extract(travel);
        QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 80);
        QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), 40);
        QCOMPARE(value(got, MDAttribute::contentCreationDate).toDateTime(), utc(2024, 1, 1, 4, 30, 0));
        QVERIFY(!got.contains(MDAttribute::acquisitionModel.toString()));

        // A photo saved again by an editor that keeps the camera only in XMP.
        const QString edited = home.path(u"Pictures/edited.jpg"_s);
        QVERIFY2(samples::jpeg(edited, 64, 48, {u"set Xmp.tiff.Make Canon"_s, u"set Xmp.tiff.Model Canon EOS R6"_s}, &error), qPrintable(error));
        got = extract(edited);
        QCOMPARE(value(got, MDAttribute::acquisitionMake).toString(), u"Canon"_s);
        QCOMPARE(value(got, MDAttribute::acquisitionModel).toString(), u"Canon EOS R6"_s);
        // Where both are written, EXIF is what the camera said.
        QVERIFY2(samples::jpeg(edited, 64, 48, {u"set Exif.Image.Make NIKON"_s, u"set Xmp.tiff.Make Canon"_s}, &error), qPrintable(error));
        QCOMPARE(value(extract(edited), MDAttribute::acquisitionMake).toString(), u"NIKON"_s);

        // Sizes from the headers of the formats Qt reads.
        for (const char *format : {"PNG", "WEBP", "GIF"}) {
            const QString path = home.path(u"Pictures/small."_s + QString::fromLatin1(format).toLower());
            // Qt writes no GIF; ffmpeg does.
            QVERIFY2(qstrcmp(format, "GIF") == 0 ? samples::run(
                         u"ffmpeg"_s, {u"-v"_s, u"error"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, u"testsrc=size=30x20"_s, u"-frames:v"_s, u"1"_s, path}, &error)
                                                 : samples::picture(30, 20).save(path, format),
                format);
            got = extract(path);
            QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 30);
            QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), 20);
        }
    }

    void svg()
    {
        TestHome home;
        const QByteArray open = "<svg xmlns=\"http://www.w3.org/2000/svg\" ";
        // A reader that fetched external entities would wait on this FIFO for ever.
        const QString fifo = home.path(u"Pictures/entity"_s);
        QDir().mkpath(QFileInfo(fifo).absolutePath());
        QVERIFY(::mkfifo(QFile::encodeName(fifo).constData(), 0600) == 0);
        const struct {
            const char *name;
            QByteArray contents;
            qint64 width, height;
        } cases[] = {
            {"plain.svg", open + "width=\"120\" height=\"80\"/>", 120, 80},
            {"units.svg", "<?xml version=\"1.0\"?>\n<!-- drawn by hand -->\n" + open + "width=\"2in\" height=\"25.4mm\" viewBox=\"0 0 10 10\"/>", 192, 96},
            {"points.svg", open + "width=\"72pt\" height=\"1.5cm\"/>", 96, 57},
            {"box.svg", open + "viewBox=\"0,0 300.5 150\"><rect width=\"10\" height=\"10\"/></svg>", 301, 150},
            {"percent.svg", open + "width=\"100%\" height=\"100%\" viewBox=\"-5 -5 64 32\"/>", 64, 32},
            {"oneside.svg", open + "width=\"200px\" viewBox=\"0 0 100 50\"/>", 200, 100},
            {"entity.svg",
                "<?xml version=\"1.0\"?><!DOCTYPE svg [<!ENTITY outside SYSTEM \"" + QFile::encodeName(fifo) + "\">]>" + open
                    + "width=\"16\" height=\"16\"><text>&outside;</text></svg>",
                16, 16},
            {"relative.svg", open + "width=\"10em\" height=\"5em\"/>", 0, 0},
            {"html.svg", "<html><svg width=\"10\" height=\"10\"/></html>", 0, 0},
        };
        for (const auto &c : cases) {
            const QString path = home.file(u"Pictures/"_s + QLatin1StringView(c.name), c.contents);
            const ExtractedAttributes got = extract(path);
            QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), c.width);
            QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), c.height);
        }

        // Compressed, as .svgz.
        const QString plain = home.file(u"Pictures/drawing.svg"_s, open + "width=\"40\" height=\"30\"/>");
        QString error;
        QVERIFY2(samples::run(u"gzip"_s, {u"-n"_s, plain}, &error), qPrintable(error));
        const QString compressed = home.path(u"Pictures/drawing.svgz"_s);
        QVERIFY(QFile::rename(plain + u".gz"_s, compressed));
        const ExtractedAttributes got = extract(compressed);
        QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 40);
        QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), 30);
    }

    void heic()
    {
        TestHome home;
        const QString path = home.path(u"Pictures/phone.heic"_s);
        QString error;
        if (!samples::heic(path, 128, 96, heif_orientation_rotate_90_cw, &error, samples::exifBlock("Apple", "iPhone 15 Pro")))
            QSKIP(qPrintable(u"cannot make a HEIC sample: "_s + error));
        const ExtractedAttributes got = extract(path);
        QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 96);
        QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), 128);
        QCOMPARE(value(got, MDAttribute::acquisitionMake).toString(), u"Apple"_s);
        QCOMPARE(value(got, MDAttribute::acquisitionModel).toString(), u"iPhone 15 Pro"_s);
    }

    void cameraRaw()
    {
        // Turned 90° on the camera: the stored 96×64 shows as 64×96.
        TestHome home;
        const QString path = home.path(u"Pictures/IMG_0002.dng"_s);
        QVERIFY(samples::dng(path, 96, 64, 6, "Canon", "Canon EOS R5"));
        QCOMPARE(samples::factsOf(path).contentType, u"com.adobe.raw-image"_s);
        ExtractedAttributes got = extract(path);
        QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 64);
        QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), 96);
        QCOMPARE(value(got, MDAttribute::acquisitionMake).toString(), u"Canon"_s);
        QCOMPARE(value(got, MDAttribute::acquisitionModel).toString(), u"Canon EOS R5"_s);
        QCOMPARE(value(got, MDAttribute::contentCreationDate).toDateTime(), utc(2024, 5, 6, 5, 8, 9));

        // The model alone names no maker (libraw spells makers its own way); a file cut short gives no
        // size rather than a wrong one.
        QVERIFY(samples::dng(path, 96, 64, 1, "PENTAX", "K-1"));
        got = extract(path);
        QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 96);
        QCOMPARE(value(got, MDAttribute::acquisitionMake).toString(), u"Pentax"_s);
        QCOMPARE(value(got, MDAttribute::acquisitionModel).toString(), u"Pentax K-1"_s);
        QFile file(path);
        QVERIFY(file.resize(200));
        got = extract(path);
        QVERIFY(!got.contains(MDAttribute::pixelWidth.toString()));
    }

    void screenCaptures()
    {
        TestHome home;
        const struct {
            QString path;
            QString software;
            bool capture;
        } cases[] = {
            {u"Pictures/Screenshot from 2024-05-06 07-08-09.png"_s, {}, true},
            {u"Pictures/Screen Shot 2024-05-06 at 07.08.09.png"_s, {}, true},
            {u"Pictures/Bildschirmfoto vom 2024-05-06.png"_s, {}, true},
            {u"Pictures/Capture d’écran 2024-05-06.png"_s, {}, true},
            {u"Pictures/スクリーンショット 2024-05-06.png"_s, {}, true},
            {u"Pictures/20240506_07h08m09s_grim.png"_s, {}, true},
            {u"Pictures/Screenshots/shot-001.png"_s, {}, true},
            {u"Pictures/Screenshots/2024/deep.png"_s, {}, true},
            {u"Pictures/image-1.png"_s, u"gnome-screenshot"_s, true},
            {u"Pictures/image-2.png"_s, u"Spectacle 23.08"_s, true},
            {u"Pictures/holiday.png"_s, u"GIMP 2.10"_s, false},
            {u"Pictures/pilgrim.png"_s, u"Pilgrim Paint"_s, false},
            {u"Pictures/Screenshots-old/x.png"_s, {}, false},
            {u"Documents/Screenshots/not-the-folder.png"_s, {}, false},
        };
        for (const auto &c : cases) {
            const QString path = home.path(c.path);
            QVERIFY(samples::png(path, 16, 16, c.software));
            QCOMPARE(extract(path).value(MDAttribute::isScreenCapture.toString()).toBool(), c.capture);
        }

        // The same rule through exiv2: a JPEG whose XMP names the tool.
        const QString flameshot = home.path(u"Pictures/capture.jpg"_s);
        QString error;
        QVERIFY2(samples::jpeg(flameshot, 16, 16, {u"set Xmp.xmp.CreatorTool Flameshot"_s}, &error), qPrintable(error));
        QVERIFY(extract(flameshot).value(MDAttribute::isScreenCapture.toString()).toBool());

        // Screen recordings: by the screencasts folder and by name, not any video.
        const QStringList recordings {u"Videos/Screencasts/meeting.mp4"_s, u"Videos/Screencast from 2024-05-06.mp4"_s,
            u"Videos/Screen Recording 2024-05-06.mp4"_s, u"Videos/birthday.mp4"_s};
        for (const QString &relative : recordings) {
            const QString path = home.path(relative);
            QDir().mkpath(QFileInfo(path).absolutePath());
            QVERIFY2(samples::video(path, {u"-c:v"_s, u"mpeg4"_s, u"-an"_s}, 0, {}, &error), qPrintable(error));
            QCOMPARE(extract(path).value(MDAttribute::isScreenCapture.toString()).toBool(), !relative.contains(u"birthday"_s));
        }
    }

    void audio()
    {
        TestHome home;
        const QStringList tags {u"artist=The Sine Waves"_s, u"album=Generated Tones"_s, u"title=Four Forty"_s, u"genre=Ambient"_s};
        const std::pair<QString, QString> files[] = {{u"song.wav"_s, u"PCM"_s}, {u"song.flac"_s, u"FLAC"_s}, {u"song.mp3"_s, u"MP3"_s}};
        for (const auto &[name, codec] : files) {
            const QString path = home.path(u"Music/"_s + name);
            QDir().mkpath(QFileInfo(path).absolutePath());
            QString error;
            QVERIFY2(samples::audio(path, tags, &error), qPrintable(error));
            const ExtractedAttributes got = extract(path);
            QCOMPARE(value(got, MDAttribute::authors).toStringList(), QStringList {u"The Sine Waves"_s});
            QCOMPARE(value(got, MDAttribute::album).toString(), u"Generated Tones"_s);
            QCOMPARE(value(got, MDAttribute::title).toString(), u"Four Forty"_s);
            QCOMPARE(value(got, MDAttribute::musicalGenre).toString(), u"Ambient"_s);
            QCOMPARE(value(got, MDAttribute::codecs).toStringList(), QStringList {codec});
            QVERIFY2(qAbs(value(got, MDAttribute::durationSeconds).toDouble() - 2.0) < 0.1, qPrintable(name));
        }

        // AIFF as ffmpeg and most programs write it: the title and author in text chunks of their own.
        const QString aiff = home.path(u"Music/song.aiff"_s);
        QString error;
        QVERIFY2(samples::audio(aiff, {u"title=Four Forty"_s, u"author=Ann Example"_s}, &error), qPrintable(error));
        ExtractedAttributes got = extract(aiff);
        QCOMPARE(value(got, MDAttribute::title).toString(), u"Four Forty"_s);
        QCOMPARE(value(got, MDAttribute::authors).toStringList(), QStringList {u"Ann Example"_s});
        QCOMPARE(value(got, MDAttribute::codecs).toStringList(), QStringList {u"PCM"_s});
        QVERIFY(qAbs(value(got, MDAttribute::durationSeconds).toDouble() - 2.0) < 0.1);
        // With an ID3 chunk as well, its tags come first.
        QVERIFY2(samples::run(u"ffmpeg"_s,
                     {u"-v"_s, u"error"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, u"sine=duration=2"_s, u"-write_id3v2"_s, u"1"_s, u"-metadata"_s,
                         u"title=Four Forty"_s, u"-metadata"_s, u"artist=The Sine Waves"_s, aiff},
                     &error),
            qPrintable(error));
        got = extract(aiff);
        QCOMPARE(value(got, MDAttribute::title).toString(), u"Four Forty"_s);
        QCOMPARE(value(got, MDAttribute::authors).toStringList(), QStringList {u"The Sine Waves"_s});
    }

    void video()
    {
        TestHome home;
        QString error;
        // Recorded in portrait: stored 320×240, shown 240×320.
        const QString portrait = home.path(u"Videos/portrait.mp4"_s);
        QDir().mkpath(QFileInfo(portrait).absolutePath());
        QVERIFY2(samples::video(portrait, {u"-c:v"_s, u"libx264"_s, u"-preset"_s, u"ultrafast"_s, u"-c:a"_s, u"aac"_s}, 90, u"2024-05-06T07:08:09Z"_s, &error),
            qPrintable(error));
        ExtractedAttributes got = extract(portrait);
        QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 240);
        QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), 320);
        QCOMPARE(value(got, MDAttribute::codecs).toStringList(), (QStringList {u"H.264"_s, u"AAC"_s}));
        QVERIFY(qAbs(value(got, MDAttribute::durationSeconds).toDouble() - 2.0) < 0.15);
        QCOMPARE(value(got, MDAttribute::contentCreationDate).toDateTime(), utc(2024, 5, 6, 7, 8, 9));
        QVERIFY(!got.contains(MDAttribute::title.toString()));
        QVERIFY(!got.contains(MDAttribute::authors.toString()));

        const QString landscape = home.path(u"Videos/landscape.mkv"_s);
        QVERIFY2(
            samples::video(landscape, {u"-c:v"_s, u"libvpx-vp9"_s, u"-deadline"_s, u"realtime"_s, u"-c:a"_s, u"libopus"_s}, 0, {}, &error), qPrintable(error));
        got = extract(landscape);
        QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 320);
        QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), 240);
        QCOMPARE(value(got, MDAttribute::codecs).toStringList(), (QStringList {u"VP9"_s, u"Opus"_s}));
        QVERIFY(!got.contains(MDAttribute::contentCreationDate.toString()));

        // The title and artist a film was tagged with, in both kinds of container.
        for (const QString &name : {u"titled.mp4"_s, u"titled.mkv"_s}) {
            const QString path = home.path(u"Videos/"_s + name);
            QVERIFY2(samples::run(u"ffmpeg"_s,
                         {u"-v"_s, u"error"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, u"testsrc=size=160x120:rate=10:duration=1"_s, u"-c:v"_s, u"mpeg4"_s,
                             u"-metadata"_s, u"title=Holiday at the Sea"_s, u"-metadata"_s, u"artist=Ann Example"_s, path},
                         &error),
                qPrintable(error));
            got = extract(path);
            QCOMPARE(value(got, MDAttribute::title).toString(), u"Holiday at the Sea"_s);
            QCOMPARE(value(got, MDAttribute::authors).toStringList(), QStringList {u"Ann Example"_s});
        }

        // Older files carry the turn as a "rotate" tag of the stream rather than a display matrix.
        const QString tagged = home.path(u"Videos/tagged.mkv"_s);
        QVERIFY2(samples::run(u"ffmpeg"_s,
                     {u"-v"_s, u"error"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, u"testsrc=size=320x240:rate=10:duration=1"_s, u"-c:v"_s, u"mpeg4"_s,
                         u"-metadata:s:v:0"_s, u"ROTATE=-90"_s, tagged},
                     &error),
            qPrintable(error));
        got = extract(tagged);
        QCOMPARE(value(got, MDAttribute::pixelWidth).toLongLong(), 240);
        QCOMPARE(value(got, MDAttribute::pixelHeight).toLongLong(), 320);
    }

    void pdf()
    {
        TestHome home;
        const QString path = home.path(u"Documents/invoice.pdf"_s);
        QVERIFY(samples::pdf(path, u"Invoice 4711"_s, {u"Invoice number 4711"_s, u"Nothing here"_s, u"Total due: 99 EUR"_s}, u"Ann Example; Bob Example"_s));
        const ExtractedAttributes got = extract(path);
        QCOMPARE(value(got, MDAttribute::numberOfPages).toLongLong(), 3);
        QCOMPARE(value(got, MDAttribute::title).toString(), u"Invoice 4711"_s);
        QCOMPARE(value(got, MDAttribute::authors).toStringList(), (QStringList {u"Ann Example"_s, u"Bob Example"_s}));
        const QString text = value(got, MDAttribute::textContent).toString();
        QVERIFY2(text.contains(u"Invoice number 4711"_s) && text.contains(u"Total due: 99 EUR"_s), qPrintable(text));
        QVERIFY(text.indexOf(u"Invoice"_s) < text.indexOf(u"Total"_s));
    }

    void office()
    {
        TestHome home;
        QString error;
        const QString odt = home.path(u"Documents/plans.odt"_s);
        QVERIFY2(samples::odt(odt,
                     "<text:h text:outline-level=\"1\">Travel plans</text:h><text:p>Meet at the<text:s/>harbour<text:tab/>at noon</text:p>"
                     "<text:p>Bring <text:span>sun</text:span>screen</text:p>",
                     u"Summer trip"_s, &error),
            qPrintable(error));
        ExtractedAttributes got = extract(odt);
        QString text = value(got, MDAttribute::textContent).toString();
        QVERIFY2(
            text.contains(u"Travel plans\n"_s) && text.contains(u"Meet at the harbour\tat noon"_s) && text.contains(u"Bring sunscreen"_s), qPrintable(text));
        QCOMPARE(value(got, MDAttribute::title).toString(), u"Summer trip"_s);
        QCOMPARE(value(got, MDAttribute::authors).toStringList(), QStringList {u"Grace Hopper"_s});

        const QString docx = home.path(u"Documents/invoice.docx"_s);
        QVERIFY2(samples::ooxml(docx,
                     {{u"word/document.xml"_s,
                          samples::docxBody("<w:p><w:r><w:t>Invoice for</w:t></w:r><w:r><w:t xml:space=\"preserve\"> consulting</w:t></w:r></w:p>"
                                            "<w:p><w:r><w:instrText> PAGE </w:instrText></w:r><w:r><w:t>Total due</w:t></w:r>"
                                            "<w:r><w:delText>withdrawn clause</w:delText></w:r></w:p>")},
                         {u"docProps/core.xml"_s,
                             "<cp:coreProperties xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
                             "xmlns:dc=\"http://purl.org/dc/elements/1.1/\"><dc:title>Consulting invoice</dc:title><dc:creator>Ada "
                             "Lovelace</dc:creator></cp:coreProperties>"}},
                     &error),
            qPrintable(error));
        got = extract(docx);
        text = value(got, MDAttribute::textContent).toString();
        QVERIFY2(text.contains(QRegularExpression(u"Invoice for consulting\\s+Total due"_s)), qPrintable(text));
        QVERIFY2(!text.contains(u"PAGE"_s) && !text.contains(u"withdrawn"_s), qPrintable(text));
        QCOMPARE(value(got, MDAttribute::title).toString(), u"Consulting invoice"_s);
        QCOMPARE(value(got, MDAttribute::authors).toStringList(), QStringList {u"Ada Lovelace"_s});

        // Slides in the order shown, not the order of the names.
        const QString pptx = home.path(u"Documents/talk.pptx"_s);
        QVERIFY2(samples::ooxml(pptx,
                     {{u"ppt/slides/slide10.xml"_s, samples::slide("tenth slide")}, {u"ppt/slides/slide2.xml"_s, samples::slide("second slide")},
                         {u"ppt/slides/slide1.xml"_s, samples::slide("opening slide")}},
                     &error),
            qPrintable(error));
        text = this->text(pptx);
        QVERIFY2(
            text.indexOf(u"opening"_s) >= 0 && text.indexOf(u"opening"_s) < text.indexOf(u"second"_s) && text.indexOf(u"second"_s) < text.indexOf(u"tenth"_s),
            qPrintable(text));

        const QString xlsx = home.path(u"Documents/budget.xlsx"_s);
        QVERIFY2(samples::ooxml(xlsx,
                     {{u"xl/sharedStrings.xml"_s,
                         "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><si><t>Revenue</t></si>"
                         "<si><r><t>Quarter</t></r><r><t xml:space=\"preserve\"> three</t></r></si></sst>"}},
                     &error),
            qPrintable(error));
        text = this->text(xlsx);
        QVERIFY2(text.contains(u"Revenue\nQuarter three"_s), qPrintable(text));
    }

    void plainAndMarkup()
    {
        TestHome home;
        QCOMPARE(text(home.file(u"notes.md"_s, u"# Grüße aus Köln\n\nSee *you*.\n"_s.toUtf8())), u"# Grüße aus Köln\n\nSee *you*.\n"_s);
        QCOMPARE(text(home.file(u"legacy.txt"_s, "caf\xe9 cr\xe8me")), u"café crème"_s);
        QByteArray utf16("\xFF\xFE");
        for (QChar c : u"Ünïcödé text"_s)
            utf16.append(char(c.unicode() & 0xFF)).append(char(c.unicode() >> 8));
        QCOMPARE(text(home.file(u"wide.txt"_s, utf16)), u"Ünïcödé text"_s);
        QVERIFY(text(home.file(u"src/main.cpp"_s, "int main() { return answer(); }\n")).contains(u"answer()"_s));

        const QString html = text(home.file(u"page.html"_s,
            "<!DOCTYPE html><html><head><meta charset=\"windows-1252\"><title>Recipe</title><style>p { color: red }</style>"
            "<script>var secret = \"<p>hidden</p>\";</script></head><body><p>Fish &amp; chips&nbsp;for &#8364;5</p><!-- a comment -->"
            "<p><a href=\"x>y\">caf\xe9 link</a></p></body></html>"));
        QVERIFY2(html.contains(u"Recipe"_s) && html.contains(u"Fish & chips for €5"_s) && html.contains(u"café link"_s), qPrintable(html));
        for (const QString &absent : {u"color"_s, u"secret"_s, u"hidden"_s, u"comment"_s, u"href"_s, u"<"_s})
            QVERIFY2(!html.contains(absent), qPrintable(absent + u" in "_s + html));

        const QString rtf = text(home.file(u"letter.rtf"_s,
            "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\froman Times New Roman;}}{\\colortbl;\\red0\\green0\\blue0;}"
            "{\\*\\generator Riched20;}\\f0\\fs24 Dear caf\\'e9 owner,\\par The price is 5\\u8364? today \\{really\\}.\\par}"));
        QVERIFY2(rtf.contains(u"Dear café owner,\nThe price is 5€ today {really}."_s), qPrintable(rtf));
        for (const QString &absent : {u"Times"_s, u"Riched"_s, u"fs24"_s, u"?"_s, u"\\"_s})
            QVERIFY2(!rtf.contains(absent), qPrintable(absent + u" in "_s + rtf));

        // A huge log: only the start is read and kept.
        const QString huge = text(home.file(u"huge.log"_s, QByteArray("needle ") + QByteArray(8 * 1024 * 1024, 'x')));
        QVERIFY(huge.startsWith(u"needle"_s));
        QVERIFY(huge.size() <= 1024 * 1024);
    }

    void whereFroms()
    {
        TestHome home;
        const QString path = home.file(u"Downloads/release.zip"_s, "PK\x05\x06" + QByteArray(18, '\0'));
        if (!TestHome::setXattr(path, "user.xdg.origin.url", "https://github.com/velk/velk/archive/main.zip"))
            QSKIP("no user extended attributes on this file system");
        QVERIFY(TestHome::setXattr(path, "user.xdg.referrer.url", "https://github.com/velk/velk"));
        QCOMPARE(extract(path).value(MDAttribute::whereFroms.toString()).toStringList(),
            (QStringList {u"https://github.com/velk/velk/archive/main.zip"_s, u"https://github.com/velk/velk"_s}));
        QVERIFY(!extract(home.file(u"Downloads/plain.bin"_s, "x")).contains(MDAttribute::whereFroms.toString()));
    }

    void applications()
    {
        TestHome home;
        const QString visible = home.file(u".local/share/applications/org.example.Editor.desktop"_s,
            "[Desktop Entry]\nType=Application\nName=Example Editor\nExec=example-editor %F\nIcon=accessories-text-editor\n");
        QCOMPARE(extract(visible).value(MDAttribute::title.toString()).toString(), u"Example Editor"_s);
        const QString hidden = home.file(
            u".local/share/applications/org.example.Helper.desktop"_s, "[Desktop Entry]\nType=Application\nName=Helper\nExec=helper\nNoDisplay=true\n");
        QVERIFY(!extract(hidden).contains(MDAttribute::title.toString()));

        // An AppImage is an executable with a file system image inside: nothing here reads it as text.
        QByteArray appImage = QByteArray("\x7f"
                                         "ELF\x02\x01\x01\x00"
                                         "AI\x02",
                                  11)
            + QByteArray(4096, '\0');
        appImage.append("[Desktop Entry]\nName=Not A Title\n");
        const QString path = home.file(u"Applications/Tool-1.0-x86_64.AppImage"_s, appImage);
        QCOMPARE(samples::factsOf(path).contentType, u"org.appimage.appimage"_s);
        QVERIFY(extract(path).isEmpty());
    }
};

QTEST_MAIN(TestExtractors)
#include "tst_extractors.moc"
