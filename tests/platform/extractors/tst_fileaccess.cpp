// How every reader of a person's files opens them: once, by descriptor, regular files only, without
// touching access times; and what a PDF locked by a password gives.

#include "Samples.h"
#include "TestHome.h"

#include "UTType.h"

#include "imaging/PictureDecoder.h"
#include "text/PdfText.h"
#include "text/TextRecognizer.h"
#include "thumbnails/ThumbnailGenerator.h"

#include <QTest>

#include <fcntl.h>
#include <future>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using mdindex::ExtractedAttributes;

namespace {

// Facts as the walk would give them for a regular file of this name: the type by the ending, so a
// FIFO in a file's place still reaches the reader that file would go to.
mdindex::FileFacts factsByName(const QString &path)
{
    mdindex::FileFacts facts;
    facts.name = QFileInfo(path).fileName();
    const auto type = UTType::fromFilenameExtension(QFileInfo(path).suffix());
    facts.contentType = type ? type->identifier() : QString();
    return facts;
}

ThumbnailGenerator::Kind kindByName(const QString &path)
{
    return ThumbnailGenerator::kindOf(UTType::fromFilenameExtension(QFileInfo(path).suffix()));
}

timespec accessTime(const QString &path)
{
    struct stat st {
    };
    ::stat(QFile::encodeName(path).constData(), &st);
    return st.st_atim;
}

// Access long ago, modification later: under relatime the next read moves the access time.
bool ageAccessTime(const QString &path)
{
    const timespec times[2] = {{978'307'200, 0}, {1'577'836'800, 0}}; // 2001, 2020
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
}

} // namespace

class TestFileAccess : public QObject
{
    Q_OBJECT

    std::vector<std::unique_ptr<mdindex::Extractor>> m_extractors = mdindex::standardExtractors();

    // Everything the program does with a file's contents: the index's readers, both thumbnail makers,
    // the PDF reader and text recognition.
    ExtractedAttributes readEverything(const QString &path, bool *gavePicture = nullptr) const
    {
        const ExtractedAttributes got = samples::extract(m_extractors, path, factsByName(path));
        const ThumbnailGenerator::Kind kind = kindByName(path);
        const QImage thumbnail = ThumbnailGenerator::generate(path, kind, 128);
        if (gavePicture)
            *gavePicture = !thumbnail.isNull();
        if (kind == ThumbnailGenerator::Kind::picture || kind == ThumbnailGenerator::Kind::heif || kind == ThumbnailGenerator::Kind::cameraRaw) {
            // The look-alike scan's decoder takes a camera's preview, which this DNG does not have.
            const bool decoded = !imaging::thumbnail(path, 64).isNull();
            if (gavePicture && kind != ThumbnailGenerator::Kind::cameraRaw)
                *gavePicture = *gavePicture && decoded;
            TextRecognizer::text(path);
        }
        if (kind == ThumbnailGenerator::Kind::pdf) {
            const PdfDocument document(path);
            document.text();
            TextRecognizer::text(path);
        }
        return got;
    }

private Q_SLOTS:
    void lockedPdf()
    {
        TestHome home;
        QString error;
        const QString plain = home.path(u"Documents/plain.pdf"_s);
        QVERIFY(samples::pdf(plain, u"Salaries"_s, {u"Salary list 2024"_s, u"Second page"_s}, u"Ann Example"_s));
        const QString locked = home.path(u"Documents/locked.pdf"_s);
        QVERIFY2(samples::run(u"qpdf"_s, {u"--encrypt"_s, u"user"_s, u"owner"_s, u"256"_s, u"--"_s, plain, locked}, &error), qPrintable(error));
        // Locked only against changes: anyone may read it without a password.
        const QString readable = home.path(u"Documents/readable.pdf"_s);
        QVERIFY2(samples::run(u"qpdf"_s, {u"--encrypt"_s, u""_s, u"owner"_s, u"256"_s, u"--"_s, plain, readable}, &error), qPrintable(error));

        const ExtractedAttributes lockedGot = samples::extract(m_extractors, locked, samples::factsOf(locked));
        QVERIFY2(lockedGot.isEmpty(), qPrintable(QStringList(lockedGot.keys()).join(u", ")));
        const PdfDocument lockedDocument(locked);
        QVERIFY(!lockedDocument.isValid());
        QCOMPARE(lockedDocument.pageCount(), 0);
        QVERIFY(lockedDocument.text().isEmpty());
        QVERIFY(lockedDocument.renderPage(0, 100).isNull());
        QCOMPARE(ThumbnailGenerator::kindOf(locked), ThumbnailGenerator::Kind::pdf);
        QVERIFY(ThumbnailGenerator::generate(locked, ThumbnailGenerator::Kind::pdf, 128).isNull());
        QVERIFY(TextRecognizer::text(locked).isEmpty());

        for (const QString &open : {plain, readable}) {
            const ExtractedAttributes got = samples::extract(m_extractors, open, samples::factsOf(open));
            QCOMPARE(got.value(MDAttribute::numberOfPages.toString()).toLongLong(), 2);
            QCOMPARE(got.value(MDAttribute::title.toString()).toString(), u"Salaries"_s);
            QVERIFY(got.value(MDAttribute::textContent.toString()).toString().contains(u"Salary list 2024"_s));
            const PdfDocument document(open);
            QCOMPARE(document.pageCount(), 2);
            QVERIFY(document.text().contains(u"Second page"_s));
            QVERIFY(!ThumbnailGenerator::generate(open, ThumbnailGenerator::Kind::pdf, 128).isNull());
        }
    }

    void fifosAndDevicesAreNeverRead()
    {
        TestHome home;
        const QStringList names {
            u"x.pdf"_s, u"x.jpg"_s, u"x.png"_s, u"x.svg"_s, u"x.mp3"_s, u"x.aiff"_s, u"x.mp4"_s, u"x.docx"_s, u"x.heic"_s, u"x.cr2"_s, u"x.txt"_s};
        for (const QString &name : names) {
            const QString fifo = home.path(name);
            QVERIFY(::mkfifo(QFile::encodeName(fifo).constData(), 0600) == 0);
            // A writer with something waiting: whatever reads the FIFO would take it.
            const int readEnd = ::open(QFile::encodeName(fifo).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
            const int writeEnd = ::open(QFile::encodeName(fifo).constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
            QVERIFY(readEnd >= 0 && writeEnd >= 0);
            QCOMPARE(::write(writeEnd, "secret", 6), ssize_t(6));

            auto done = std::async(std::launch::async, [&] { return readEverything(fifo); });
            if (done.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
                // Let a reader that blocked see the end of the FIFO before the test gives up.
                ::close(writeEnd);
                ::close(readEnd);
                QFAIL(qPrintable(name + u" blocked"_s));
            }
            ExtractedAttributes got = done.get();
            // Screen recordings and captures are told by place and name too, without the contents.
            got.remove(MDAttribute::isScreenCapture.toString());
            QVERIFY2(got.isEmpty(), qPrintable(name + u": "_s + QStringList(got.keys()).join(u", ")));

            char buffer[16];
            QCOMPARE(::read(readEnd, buffer, sizeof buffer), ssize_t(6));
            ::close(writeEnd);
            ::close(readEnd);
        }

        // A device under a picture's name: opened without waiting, seen to be no file, never read.
        const QString device = home.path(u"zero.jpg"_s);
        QVERIFY(QFile::link(u"/dev/zero"_s, device));
        auto done = std::async(std::launch::async, [&] { return readEverything(device); });
        QVERIFY(done.wait_for(std::chrono::seconds(10)) == std::future_status::ready);
        ExtractedAttributes got = done.get();
        got.remove(MDAttribute::isScreenCapture.toString());
        QVERIFY(got.isEmpty());
    }

    void accessTimesStay()
    {
        TestHome home;
        QString error;
        // Whether this file system moves access times at all; where it does not, the test proves nothing.
        const QString probe = home.file(u"probe.txt"_s, "probe");
        QVERIFY(ageAccessTime(probe));
        const timespec aged = accessTime(probe);
        {
            QFile file(probe);
            QVERIFY(file.open(QIODevice::ReadOnly));
            file.readAll();
        }
        if (accessTime(probe).tv_sec == aged.tv_sec)
            QSKIP("this file system does not record reads");

        const QString dir = home.path(u"Files/"_s);
        QVERIFY(samples::jpeg(dir + u"photo.jpg"_s, 64, 48, {u"set Exif.Image.Make Canon"_s}, &error));
        QVERIFY(samples::png(dir + u"shot.png"_s, 40, 30));
        QVERIFY(samples::dng(dir + u"raw.dng"_s, 48, 32, 1, "Canon", "Canon EOS R5"));
        QVERIFY(samples::pdf(dir + u"paper.pdf"_s, u"Paper"_s, {u"first page"_s}));
        QVERIFY(samples::write(dir + u"icon.svg"_s, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"20\" height=\"10\"/>"));
        QVERIFY2(samples::audio(dir + u"tone.aiff"_s, {u"title=Tone"_s}, &error), qPrintable(error));
        QVERIFY2(samples::video(dir + u"clip.mp4"_s, {u"-c:v"_s, u"libx264"_s, u"-preset"_s, u"ultrafast"_s, u"-c:a"_s, u"aac"_s}, 0, {}, &error),
            qPrintable(error));
        // A song with cover art, so its thumbnail is read from the tags.
        QVERIFY(samples::png(dir + u"cover.png"_s, 32, 32));
        QVERIFY2(
            samples::run(u"ffmpeg"_s,
                {u"-v"_s, u"error"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, u"sine=duration=1"_s, u"-i"_s, dir + u"cover.png"_s, u"-map"_s, u"0"_s, u"-map"_s,
                    u"1"_s, u"-c:v"_s, u"mjpeg"_s, u"-disposition:v"_s, u"attached_pic"_s, u"-metadata"_s, u"title=Covered"_s, dir + u"song.mp3"_s},
                &error),
            qPrintable(error));
        QFile::remove(dir + u"cover.png"_s);
        QString heicError;
        if (!samples::heic(dir + u"phone.heic"_s, 64, 64, heif_orientation_normal, &heicError))
            qWarning("no HEIC sample: %s", qPrintable(heicError));

        const QStringList files = QDir(dir).entryList(QDir::Files, QDir::Name);
        for (const QString &name : files)
            QVERIFY(ageAccessTime(dir + name));
        for (const QString &name : files) {
            const QString path = dir + name;
            bool gavePicture = false;
            const ExtractedAttributes got = readEverything(path, &gavePicture);
            // The readers really read: every file told something and every kind with a picture gave one.
            QVERIFY2(got.size() > 1 || name.endsWith(u".svg"_s), qPrintable(name));
            if (kindByName(path) != ThumbnailGenerator::Kind::none && !name.endsWith(u".aiff"_s))
                QVERIFY2(gavePicture, qPrintable(name));
            QCOMPARE(accessTime(path).tv_sec, aged.tv_sec);
        }
    }
};

QTEST_MAIN(TestFileAccess)
#include "tst_fileaccess.moc"
