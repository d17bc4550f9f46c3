// Real files of every kind a user keeps, written to disk and typed the way Velk will list them.
#include "TestHome.h"
#include "UTType.h"
#include "models/FileCategory.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTest>
#include <QtEndian>

#include <functional>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

using Entries = QList<std::pair<QByteArray, QByteArray>>;

quint32 crc32(const QByteArray &data)
{
    quint32 crc = 0xFFFFFFFF;
    for (const char c : data) {
        crc ^= quint8(c);
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320 & (0 - (crc & 1)));
    }
    return ~crc;
}

template<typename T>
QByteArray le(T v)
{
    QByteArray out(sizeof(T), '\0');
    qToLittleEndian(v, out.data());
    return out;
}

template<typename T>
QByteArray be(T v)
{
    QByteArray out(sizeof(T), '\0');
    qToBigEndian(v, out.data());
    return out;
}

// Stored entries only: ODF and EPUB need their first entry, `mimetype`, uncompressed anyway.
QByteArray zip(const Entries &entries)
{
    QByteArray body, directory;
    for (const auto &[name, data] : entries) {
        const QByteArray common = le<quint16>(20) + le<quint16>(0) + le<quint16>(0) + le<quint16>(0) + le<quint16>(0x21) + le(crc32(data))
            + le<quint32>(data.size()) + le<quint32>(data.size()) + le<quint16>(name.size()) + le<quint16>(0);
        directory += le<quint32>(0x02014b50) + le<quint16>(20) + common + le<quint16>(0) + le<quint16>(0) + le<quint16>(0) + le<quint32>(0)
            + le<quint32>(body.size()) + name;
        body += le<quint32>(0x04034b50) + common + name + data;
    }
    return body + directory + le<quint32>(0x06054b50) + le<quint16>(0) + le<quint16>(0) + le<quint16>(entries.size()) + le<quint16>(entries.size())
        + le<quint32>(directory.size()) + le<quint32>(body.size()) + le<quint16>(0);
}

QByteArray tar(const QByteArray &name, const QByteArray &data)
{
    QByteArray header(512, '\0');
    auto put = [&](int at, const QByteArray &field) { header.replace(at, field.size(), field); };
    put(0, name);
    put(100, "0000644");
    put(108, "0001750");
    put(116, "0001750");
    put(124, QByteArray::number(data.size(), 8).rightJustified(11, '0'));
    put(136, "14544350000");
    put(148, "        ");
    put(156, "0");
    put(257, "ustar"_ba + '\0' + "00");
    int sum = 0;
    for (const char c : header)
        sum += quint8(c);
    put(148, QByteArray::number(sum, 8).rightJustified(6, '0') + '\0');
    QByteArray padded = data;
    padded.resize((data.size() + 511) / 512 * 512, '\0');
    return header + padded + QByteArray(1024, '\0');
}

// One stored deflate block is a valid gzip member for anything under 64 KiB.
QByteArray gzip(const QByteArray &data)
{
    return "\x1f\x8b\x08\x00\0\0\0\0\x00\x03\x01"_ba + le<quint16>(data.size()) + le<quint16>(~quint16(data.size())) + data + le(crc32(data))
        + le<quint32>(data.size());
}

QByteArray pdf()
{
    QByteArray out = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n"_ba;
    const QByteArray objects[]
        = {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>", "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 200] >>"};
    QByteArray xref = "xref\n0 4\n0000000000 65535 f \n";
    for (int i = 0; i < 3; ++i) {
        xref += QByteArray::number(out.size()).rightJustified(10, '0') + " 00000 n \n";
        out += QByteArray::number(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const QByteArray start = QByteArray::number(out.size());
    return out + xref + "trailer\n<< /Size 4 /Root 1 0 R >>\nstartxref\n" + start + "\n%%EOF\n";
}

// A TIFF with one IFD naming the camera maker, which is how raw files from Canon and Nikon begin.
QByteArray cameraRaw(bool bigEndian, const QByteArray &afterHeader, const QByteArray &make)
{
    auto u16 = [&](quint16 v) { return bigEndian ? be(v) : le(v); };
    auto u32 = [&](quint32 v) { return bigEndian ? be(v) : le(v); };
    const quint32 ifd = 8 + afterHeader.size();
    const QByteArray maker = make + '\0';
    return (bigEndian ? "MM"_ba : "II"_ba) + u16(42) + u32(ifd) + afterHeader + u16(1) + u16(0x010F) + u16(2) + u32(maker.size()) + u32(ifd + 18) + u32(0)
        + maker;
}

QByteArray heic()
{
    const QByteArray ftyp = be<quint32>(24) + "ftypheic" + be<quint32>(0) + "mif1heic";
    const QByteArray hdlr = be<quint32>(33) + "hdlr" + be<quint32>(0) + be<quint32>(0) + "pict" + QByteArray(13, '\0');
    return ftyp + be<quint32>(12 + hdlr.size()) + "meta" + be<quint32>(0) + hdlr;
}

QByteArray psd()
{
    // 1x1 RGB, 8 bits, no colour table, resources or layers, raw image data.
    return "8BPS"_ba + be<quint16>(1) + QByteArray(6, '\0') + be<quint16>(3) + be<quint32>(1) + be<quint32>(1) + be<quint16>(8) + be<quint16>(3)
        + be<quint32>(0) + be<quint32>(0) + be<quint32>(0) + be<quint16>(0) + "\x80\x40\x20";
}

QByteArray sevenZip()
{
    const QByteArray startHeader(20, '\0'); // an empty archive: no next header
    return "7z\xBC\xAF\x27\x1C\x00\x04"_ba + le(crc32(startHeader)) + startHeader;
}

QByteArray rar()
{
    auto block = [](const QByteArray &rest) { return le<quint16>(crc32(rest) & 0xFFFF) + rest; };
    const QByteArray main = block("\x73"_ba + le<quint16>(0) + le<quint16>(13) + le<quint16>(0) + le<quint32>(0));
    return "Rar!\x1A\x07\x00"_ba + main + block("\x7B"_ba + le<quint16>(0x4000) + le<quint16>(7));
}

QByteArray iso()
{
    auto both32 = [](quint32 v) { return le(v) + be(v); };
    auto both16 = [](quint16 v) { return le(v) + be(v); };
    QByteArray pvd = "\x01"
                     "CD001\x01\x00"_ba
        + QByteArray(32, ' ') + "VELK" + QByteArray(28, ' ') + QByteArray(8, '\0') + both32(18);
    pvd += QByteArray(120 - pvd.size(), '\0') + both16(1) + both16(1) + both16(2048);
    pvd += QByteArray(881 - pvd.size(), '\0') + '\x01';
    pvd.resize(2048, '\0');
    QByteArray terminator = "\xFF"
                            "CD001\x01"_ba;
    terminator.resize(2048, '\0');
    return QByteArray(16 * 2048, '\0') + pvd + terminator;
}

// A UDIF image: the data fork, then the 512-byte "koly" trailer that marks it.
QByteArray dmg()
{
    QByteArray koly = "koly"_ba + be<quint32>(4) + be<quint32>(512) + be<quint32>(1);
    koly.resize(512, '\0');
    return QByteArray(4096, '\0') + koly;
}

// A 64-bit executable that only calls exit(0); `appImage` adds the type 2 AppImage mark at offset 8.
QByteArray elf(bool appImage)
{
    const QByteArray code = "\xB8\x3C\x00\x00\x00\x31\xFF\x0F\x05"_ba;
    const quint64 size = 64 + 56 + code.size();
    return "\x7F"
           "ELF\x02\x01\x01\x00"_ba
        + (appImage ? "AI\x02"_ba : QByteArray(3, '\0')) + QByteArray(5, '\0') + le<quint16>(2) + le<quint16>(0x3E) + le<quint32>(1) + le<quint64>(0x400078)
        + le<quint64>(64) + le<quint64>(0) + le<quint32>(0) + le<quint16>(64) + le<quint16>(56) + le<quint16>(1) + le<quint16>(64) + le<quint16>(0)
        + le<quint16>(0) + le<quint32>(1) + le<quint32>(5) + le<quint64>(0) + le<quint64>(0x400000) + le<quint64>(0x400000) + le<quint64>(size)
        + le<quint64>(size) + le<quint64>(0x1000) + code;
}

QByteArray odf(const QByteArray &kind)
{
    const QByteArray mime = "application/vnd.oasis.opendocument." + kind;
    return zip({{"mimetype", mime},
        {"META-INF/manifest.xml",
            "<?xml version=\"1.0\"?><manifest:manifest xmlns:manifest=\"urn:oasis:names:tc:opendocument:xmlns:manifest:1.0\">"
            "<manifest:file-entry manifest:full-path=\"/\" manifest:media-type=\""
                + mime + "\"/><manifest:file-entry manifest:full-path=\"content.xml\" manifest:media-type=\"text/xml\"/></manifest:manifest>"},
        {"content.xml", "<?xml version=\"1.0\"?><office:document-content xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\"/>"}});
}

QByteArray ooxml(const QByteArray &folder, const QByteArray &part, const QByteArray &contentType)
{
    const QByteArray path = folder + '/' + part;
    return zip({{"[Content_Types].xml",
                    "<?xml version=\"1.0\"?><Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
                    "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/><Override PartName=\"/"
                        + path + "\" ContentType=\"application/vnd.openxmlformats-officedocument." + contentType + ".main+xml\"/></Types>"},
        {"_rels/.rels",
            "<?xml version=\"1.0\"?><Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"><Relationship Id=\"rId1\" "
            "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" Target=\""
                + path + "\"/></Relationships>"},
        {path, "<?xml version=\"1.0\"?><root/>"}});
}

QByteArray epub()
{
    return zip({{"mimetype", "application/epub+zip"},
        {"META-INF/container.xml",
            "<?xml version=\"1.0\"?><container version=\"1.0\" xmlns=\"urn:oasis:names:tc:opendocument:xmlns:container\"><rootfiles>"
            "<rootfile full-path=\"content.opf\" media-type=\"application/oebps-package+xml\"/></rootfiles></container>"},
        {"content.opf", "<?xml version=\"1.0\"?><package xmlns=\"http://www.idpf.org/2007/opf\" version=\"3.0\"/>"}});
}

QByteArray noise()
{
    QRandomGenerator random(20240611);
    QByteArray out(4096, '\0');
    for (char &c : out)
        c = char(random.bounded(256));
    out[0] = '\0'; // never a magic number by chance
    return out;
}

QByteArray built(const QString &what)
{
    static const QHash<QString, std::function<QByteArray()>> builders = {
        {u"pdf"_s, pdf},
        {u"heic"_s, heic},
        {u"cr2"_s, [] { return cameraRaw(false, "CR\x02\x00\x00\x00\x00\x00"_ba, "Canon"); }},
        {u"nef"_s, [] { return cameraRaw(true, {}, "NIKON CORPORATION"); }},
        {u"psd"_s, psd},
        {u"7z"_s, sevenZip},
        {u"rar"_s, rar},
        {u"iso"_s, iso},
        {u"dmg"_s, dmg},
        {u"elf"_s, [] { return elf(false); }},
        {u"appimage"_s, [] { return elf(true); }},
        {u"zip"_s,
            [] {
                return zip({{"readme.txt", "hello\n"}, {"data/notes.txt", "more\n"}});
            }},
        {u"tar"_s, [] { return tar("readme.txt", "hello\n"); }},
        {u"tar.gz"_s, [] { return gzip(tar("readme.txt", "hello\n")); }},
        {u"gz"_s, [] { return gzip("hello, compressed\n"); }},
        {u"odt"_s, [] { return odf("text"); }},
        {u"ods"_s, [] { return odf("spreadsheet"); }},
        {u"odp"_s, [] { return odf("presentation"); }},
        {u"docx"_s, [] { return ooxml("word", "document.xml", "wordprocessingml.document"); }},
        {u"xlsx"_s, [] { return ooxml("xl", "workbook.xml", "spreadsheetml.sheet"); }},
        {u"pptx"_s, [] { return ooxml("ppt", "presentation.xml", "presentationml.presentation"); }},
        {u"epub"_s, epub},
        {u"noise"_s, noise},
    };
    return builders.value(what)();
}

const UTType &named(const QString &key)
{
    using Getter = const UTType &(*)();
    static const QHash<QString, Getter> types = {{u"image"_s, UTType::image}, {u"movie"_s, UTType::movie}, {u"video"_s, UTType::video},
        {u"audiovisualContent"_s, UTType::audiovisualContent}, {u"audio"_s, UTType::audio}, {u"text"_s, UTType::text}, {u"plainText"_s, UTType::plainText},
        {u"rtf"_s, UTType::rtf}, {u"sourceCode"_s, UTType::sourceCode}, {u"script"_s, UTType::script}, {u"json"_s, UTType::json}, {u"xml"_s, UTType::xml},
        {u"archive"_s, UTType::archive}, {u"diskImage"_s, UTType::diskImage}, {u"pdf"_s, UTType::pdf}, {u"compositeContent"_s, UTType::compositeContent},
        {u"presentation"_s, UTType::presentation}, {u"spreadsheet"_s, UTType::spreadsheet}, {u"application"_s, UTType::application},
        {u"applicationBundle"_s, UTType::applicationBundle}, {u"executable"_s, UTType::executable}, {u"folder"_s, UTType::folder},
        {u"package"_s, UTType::package}, {u"data"_s, UTType::data}};
    const Getter getter = types.value(key);
    if (!getter)
        qFatal("no named type %s", qPrintable(key));
    return getter();
}

FileCategory categoryOf(const QString &path, const std::optional<UTType> &type)
{
    return FileCategory::classify(type, QFileInfo(path).isDir() && !(type && type->conforms(UTType::package())));
}

} // namespace

class TestUTTypeFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void classifiesRealFiles_data();
    void classifiesRealFiles();
    void jpegTreeRunsFromJpegToItem();
    void pngHasAHumanDescription();
    void missingPathHasNoType();
    void unreadableFileIsTypedByName();

private:
    // Writes `name` the way `how` says; an empty result with `skip` set means the tool is missing.
    QString make(const QString &name, const QString &how, QString *skip);

    TestHome m_home;
};

QString TestUTTypeFiles::make(const QString &name, const QString &how, QString *skip)
{
    const QString path = m_home.path(name);
    const QString kind = how.section(u':', 0, 0);
    const QString arg = how.section(u':', 1);
    if (kind == u"text")
        return m_home.file(name, arg.toUtf8());
    if (kind == u"bytes")
        return m_home.file(name, built(arg));
    if (kind == u"folder") {
        m_home.file(name + u"/Contents/readme.txt"_s, "inside\n");
        return path;
    }
    if (kind == u"executable") {
        m_home.file(name, built(arg));
        QFile::setPermissions(path, QFile::permissions(path) | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther);
        return path;
    }
    if (kind == u"image") {
        if (!QImageWriter::supportedImageFormats().contains(arg.toLatin1().toLower())) {
            *skip = u"Qt cannot write %1 here (qt6-image-formats-plugins missing?)"_s.arg(arg);
            return {};
        }
        QImage picture(64, 48, QImage::Format_RGB32);
        picture.fill(Qt::darkCyan);
        if (!picture.save(path, arg.toLatin1().constData()))
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }
    if (kind == u"ffmpeg") {
        const QString ffmpeg = QStandardPaths::findExecutable(u"ffmpeg"_s);
        if (ffmpeg.isEmpty()) {
            *skip = u"ffmpeg is not installed"_s;
            return {};
        }
        const bool video = arg.startsWith(u"video ");
        const QStringList source = video ? QStringList {u"testsrc=size=64x48:rate=5"_s, u"-t"_s, u"0.4"_s} : QStringList {u"sine=frequency=440:duration=0.2"_s};
        QProcess process;
        process.start(ffmpeg,
            QStringList {u"-v"_s, u"error"_s, u"-nostdin"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s} + source + arg.section(u' ', 1).split(u' ')
                + QStringList {path});
        if (!process.waitForFinished(20000) || process.exitCode() != 0)
            qFatal("ffmpeg failed for %s: %s", qPrintable(name), process.readAllStandardError().constData());
        return path;
    }
    qFatal("unknown recipe %s", qPrintable(how));
    return {};
}

void TestUTTypeFiles::classifiesRealFiles_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("how");
    QTest::addColumn<QString>("category");
    QTest::addColumn<QStringList>("conformsTo");
    QTest::addColumn<QStringList>("notConformsTo");
    // Whether the extension alone already names the same kind.
    QTest::addColumn<bool>("byName");

    using F = FileCategory;
    auto row = [](const char *name, const QString &how, FileCategory category, const QStringList &is, const QStringList &isNot = {}, bool byName = true) {
        QTest::newRow(name) << QString::fromUtf8(name) << how << category.rawValue() << is << isNot << byName;
    };
    const QStringList video {u"movie"_s, u"audiovisualContent"_s};

    row("photo.jpg", u"image:JPEG"_s, F::images, {u"image"_s}, {u"text"_s});
    row("screenshot.png", u"image:PNG"_s, F::images, {u"image"_s});
    row("sticker.webp", u"image:WEBP"_s, F::images, {u"image"_s});
    row("scan.tiff", u"image:TIFF"_s, F::images, {u"image"_s});
    row("old.bmp", u"image:BMP"_s, F::images, {u"image"_s});
    row("IMG_0042.HEIC", u"bytes:heic"_s, F::images, {u"image"_s});
    row("logo.svg", u"text:<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"8\" height=\"8\"><rect width=\"8\" height=\"8\"/></svg>\n"_s, F::images,
        {u"image"_s});
    row("IMG_1234.CR2", u"bytes:cr2"_s, F::images, {u"image"_s});
    row("DSC_0001.NEF", u"bytes:nef"_s, F::images, {u"image"_s});
    row("poster.psd", u"bytes:psd"_s, F::images, {u"image"_s});
    // An empty file cannot be sniffed, so its name has to carry it.
    row("empty.jpg", u"text:"_s, F::images, {u"image"_s});

    row("clip.mp4", u"ffmpeg:video -c:v mpeg4"_s, F::videos, video, {u"audio"_s});
    row("clip.mov", u"ffmpeg:video -c:v mpeg4"_s, F::videos, video, {u"audio"_s});
    row("clip.mkv", u"ffmpeg:video -c:v mpeg4"_s, F::videos, video, {u"audio"_s});
    row("clip.webm", u"ffmpeg:video -c:v libvpx -deadline realtime -cpu-used 8"_s, F::videos, video, {u"audio"_s});
    row("clip.avi", u"ffmpeg:video -c:v mpeg4"_s, F::videos, video, {u"audio"_s});
    // ".ts" is also a Qt translation file; only the contents say it is a transport stream.
    row("clip.ts", u"ffmpeg:video -c:v mpeg2video -f mpegts"_s, F::videos, video, {u"audio"_s}, false);

    row("song.mp3", u"ffmpeg:audio -c:a libmp3lame"_s, F::music, {u"audio"_s}, {u"movie"_s});
    row("song.m4a", u"ffmpeg:audio -c:a aac"_s, F::music, {u"audio"_s}, {u"video"_s});
    row("song.flac", u"ffmpeg:audio -c:a flac"_s, F::music, {u"audio"_s}, {u"movie"_s});
    row("song.wav", u"ffmpeg:audio -c:a pcm_s16le"_s, F::music, {u"audio"_s}, {u"movie"_s});
    row("song.ogg", u"ffmpeg:audio -c:a libvorbis"_s, F::music, {u"audio"_s}, {u"movie"_s}, false);

    // Office files and books are zip inside; the user still sees documents.
    row("paper.pdf", u"bytes:pdf"_s, F::documents, {u"pdf"_s, u"compositeContent"_s}, {u"text"_s, u"archive"_s});
    row("letter.odt", u"bytes:odt"_s, F::documents, {u"data"_s});
    row("budget.ods", u"bytes:ods"_s, F::documents, {u"spreadsheet"_s});
    row("slides.odp", u"bytes:odp"_s, F::documents, {u"presentation"_s});
    row("letter.docx", u"bytes:docx"_s, F::documents, {u"compositeContent"_s});
    row("budget.xlsx", u"bytes:xlsx"_s, F::documents, {u"spreadsheet"_s});
    row("slides.pptx", u"bytes:pptx"_s, F::documents, {u"presentation"_s});
    row("memo.rtf", u"text:{\\rtf1\\ansi Hello}\n"_s, F::documents, {u"rtf"_s, u"text"_s}, {u"sourceCode"_s});
    row("book.epub", u"bytes:epub"_s, F::documents, {u"data"_s});
    row("README.md", u"text:# Title\n\nSome *words*.\n"_s, F::documents, {u"plainText"_s});
    row("notes.txt", u"text:Crème brûlée for 5 €, naïve café.\n"_s, F::documents, {u"plainText"_s}, {u"sourceCode"_s});
    row("NOTES", u"text:Plain words without a name to go by.\n"_s, F::documents, {u"plainText"_s}, {}, false);

    row("bundle.zip", u"bytes:zip"_s, F::archives, {u"archive"_s}, {u"compositeContent"_s});
    row("bundle.tar", u"bytes:tar"_s, F::archives, {u"archive"_s});
    row("backup.tar.gz", u"bytes:tar.gz"_s, F::archives, {u"archive"_s});
    row("log.txt.gz", u"bytes:gz"_s, F::archives, {u"archive"_s}, {u"plainText"_s});
    row("bundle.7z", u"bytes:7z"_s, F::archives, {u"archive"_s});
    row("bundle.rar", u"bytes:rar"_s, F::archives, {u"archive"_s});
    row("disc.iso", u"bytes:iso"_s, F::archives, {u"diskImage"_s});
    row("installer.dmg", u"bytes:dmg"_s, F::archives, {u"diskImage"_s});

    const QString entry = u"text:[Desktop Entry]\nType=%1\nName=Foo\nExec=foo\n%2"_s;
    row("foo.desktop", entry.arg(u"Application"_s, QString()), F::apps, {u"application"_s});
    // Menus hide these, and a link is a bookmark: none of them is an app to the user.
    row("link.desktop", u"text:[Desktop Entry]\nType=Link\nName=Foo\nURL=https://example.org/\n"_s, F::other, {u"data"_s}, {u"application"_s}, false);
    row("hidden.desktop", entry.arg(u"Application"_s, u"Hidden=true\n"_s), F::other, {u"data"_s}, {u"application"_s}, false);
    row("nodisplay.desktop", entry.arg(u"Application"_s, u"NoDisplay=true\n"_s), F::other, {u"data"_s}, {u"application"_s}, false);
    row("Foo.AppImage", u"executable:appimage"_s, F::apps, {u"application"_s});
    row("Thing.app", u"folder"_s, F::apps, {u"applicationBundle"_s, u"package"_s}, {}, false);
    row("runme", u"executable:elf"_s, F::other, {u"executable"_s}, {u"application"_s, u"text"_s}, false);

    row("main.c", u"text:int main(void) { return 0; }\n"_s, F::code, {u"sourceCode"_s});
    row("main.cpp", u"text:#include <cstdio>\nint main() { std::puts(\"hi\"); }\n"_s, F::code, {u"sourceCode"_s});
    row("main.h", u"text:#pragma once\nint answer(void);\n"_s, F::code, {u"sourceCode"_s});
    row("tool.py", u"text:import sys\nprint(sys.argv)\n"_s, F::code, {u"sourceCode"_s, u"script"_s});
    row("app.js", u"text:export const x = () => 42;\n"_s, F::code, {u"sourceCode"_s});
    row("build.sh", u"text:#!/bin/sh\necho hello\n"_s, F::code, {u"script"_s});
    row("deploy", u"text:#!/bin/sh\nset -e\necho deploying\n"_s, F::code, {u"script"_s}, {}, false);
    row("package.json", u"text:{\"name\": \"velk\", \"version\": 1}\n"_s, F::code, {u"json"_s}, {u"compositeContent"_s});
    row("layout.xml", u"text:<?xml version=\"1.0\"?>\n<layout><item/></layout>\n"_s, F::code, {u"xml"_s});
    row("config.yaml", u"text:name: velk\nitems:\n  - one\n"_s, F::code, {u"text"_s});

    row("Projects", u"folder"_s, F::folders, {u"folder"_s}, {u"package"_s}, false);
    row("blob", u"bytes:noise"_s, F::other, {u"data"_s}, {u"text"_s}, false);

    // A renamed file: a name promising plain text over binary bytes is not believed, as file managers
    // sniff such files too; any other unambiguous name wins over the contents, as shared-mime-info rules.
    row("photo.txt", u"image:PNG"_s, F::images, {u"image"_s}, {u"plainText"_s}, false);
    row("invoice.jpg", u"bytes:pdf"_s, F::images, {u"image"_s}, {u"pdf"_s});
}

void TestUTTypeFiles::classifiesRealFiles()
{
    QFETCH(QString, name);
    QFETCH(QString, how);
    QFETCH(QString, category);
    QFETCH(QStringList, conformsTo);
    QFETCH(QStringList, notConformsTo);
    QFETCH(bool, byName);

    QString skip;
    const QString path = make(name, how, &skip);
    if (path.isEmpty())
        QSKIP(qPrintable(skip));
    QVERIFY2(QFileInfo::exists(path), qPrintable(path));

    const std::optional<UTType> type = UTType::forFile(path);
    QVERIFY2(type, qPrintable(name));
    const QString seen = type->tree().join(u", ");
    for (const QString &key : conformsTo)
        QVERIFY2(type->conforms(named(key)), qPrintable(u"%1 should be %2; tree: %3"_s.arg(name, key, seen)));
    for (const QString &key : notConformsTo)
        QVERIFY2(!type->conforms(named(key)), qPrintable(u"%1 should not be %2; tree: %3"_s.arg(name, key, seen)));
    const FileCategory got = categoryOf(path, type);
    QVERIFY2(got.rawValue() == category, qPrintable(u"%1 is %2, expected %3; tree: %4"_s.arg(name, got.rawValue(), category, seen)));

    if (byName) {
        const std::optional<UTType> fromName = UTType::fromFilenameExtension(QFileInfo(name).suffix());
        QVERIFY2(fromName, qPrintable(name));
        for (const QString &key : conformsTo)
            QVERIFY2(fromName->conforms(named(key)), qPrintable(u"extension of %1 should be %2; tree: %3"_s.arg(name, key, fromName->tree().join(u", "))));
        QCOMPARE(FileCategory::classify(fromName, false).rawValue(), category);
    }
}

void TestUTTypeFiles::jpegTreeRunsFromJpegToItem()
{
    QString skip;
    const std::optional<UTType> type = UTType::forFile(make(u"tree.jpg"_s, u"image:JPEG"_s, &skip));
    QVERIFY(type);
    const QStringList tree = type->tree();
    QVERIFY2(type->identifier().contains(u"jpeg"), qPrintable(type->identifier()));
    QCOMPARE(tree.value(0), type->identifier());
    const qsizetype image = tree.indexOf(u"public.image"_s), data = tree.indexOf(u"public.data"_s), item = tree.indexOf(u"public.item"_s);
    QVERIFY2(image > 0 && data > image && item > data, qPrintable(tree.join(u", ")));
    QCOMPARE(tree.count(u"public.item"_s), 1);
}

void TestUTTypeFiles::pngHasAHumanDescription()
{
    QString skip;
    const std::optional<UTType> type = UTType::forFile(make(u"described.png"_s, u"image:PNG"_s, &skip));
    QVERIFY(type);
    QVERIFY2(type->localizedDescription().contains(u"PNG"), qPrintable(type->localizedDescription()));
}

void TestUTTypeFiles::missingPathHasNoType()
{
    QVERIFY(!UTType::forFile(m_home.path(u"gone.jpg"_s)));
    QVERIFY(!UTType::forFile(m_home.path(u"no/such/folder"_s)));
}

void TestUTTypeFiles::unreadableFileIsTypedByName()
{
    // As root the mode does not stop reading, so only the name-based outcome is asserted.
    const QString song = m_home.file(u"locked/song.mp3"_s, noise());
    const QString bare = m_home.file(u"locked/bare"_s, "#!/bin/sh\n");
    for (const QString &path : {song, bare})
        QVERIFY(::chmod(QFile::encodeName(path).constData(), 0) == 0);

    const std::optional<UTType> songType = UTType::forFile(song);
    QVERIFY(songType);
    QVERIFY2(songType->conforms(UTType::audio()), qPrintable(songType->tree().join(u", ")));
    QCOMPARE(categoryOf(song, songType).rawValue(), u"music"_s);
    const std::optional<UTType> bareType = UTType::forFile(bare);
    QVERIFY(bareType);
    QVERIFY(bareType->conforms(UTType::data()));

    for (const QString &path : {song, bare})
        ::chmod(QFile::encodeName(path).constData(), 0644);
}

QTEST_GUILESS_MAIN(TestUTTypeFiles)
#include "tst_uttype_files.moc"
