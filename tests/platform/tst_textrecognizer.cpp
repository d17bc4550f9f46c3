#include "text/PdfText.h"
#include "text/TextReading.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QPdfWriter>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QFont uiFont(int pixels, bool bold = false)
{
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

QImage canvas(int width, int height, const QColor &ground = Qt::white)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(ground);
    return image;
}

// A picture of one line of text, dark on white.
QImage textPicture(const QString &text, int pixels, const QSize &size)
{
    QImage image = canvas(size.width(), size.height());
    QPainter p(&image);
    p.setFont(uiFont(pixels));
    p.setPen(QColor(20, 20, 20));
    p.drawText(QRect(QPoint(0, 0), size), Qt::AlignCenter, text);
    return image;
}

QByteArray encoded(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, 95);
    return bytes;
}

// The EXIF block of a JPEG that holds only an orientation, little-endian.
QByteArray exifOrientation(quint16 orientation)
{
    QByteArray tiff("II\x2a\x00\x08\x00\x00\x00", 8);
    tiff += QByteArray("\x01\x00", 2); // one entry
    tiff += QByteArray("\x12\x01\x03\x00\x01\x00\x00\x00", 8); // Orientation, SHORT, count 1
    tiff += char(orientation & 0xff);
    tiff += char(orientation >> 8);
    tiff += QByteArray(2, '\0');
    tiff += QByteArray(4, '\0'); // no next directory
    const QByteArray body = QByteArray("Exif\0\0", 6) + tiff;
    const int length = int(body.size()) + 2;
    return QByteArray("\xff\xe1", 2) + char(length >> 8) + char(length & 0xff) + body;
}

int threadCount()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("Threads:"))
            return line.mid(8).trimmed().toInt();
    }
    return -1;
}

} // namespace

class TestTextRecognizer : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString path(const QString &name) const { return m_dir.filePath(name); }
    QString write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(name));
        return path(name);
    }

private Q_SLOTS:
    void recognitionStaysOnTheCallingThread()
    {
        // First of all: Tesseract's OpenMP would leave its worker threads behind after the first use.
        const QImage picture = textPicture(u"Single thread"_s, 20, QSize(400, 80));
        const int before = threadCount();
        QVERIFY(TextReading::recognize(picture).contains(u"thread"_s));
        QCOMPARE(threadCount(), before);
    }

    void screenshotInLightAndDarkParts()
    {
        // A window: a light list, a dark sidebar with light text, a coloured button with white text.
        QImage shot = canvas(900, 260);
        QPainter p(&shot);
        p.fillRect(QRect(0, 0, 260, 260), QColor(36, 36, 40));
        p.setFont(uiFont(13));
        p.setPen(QColor(225, 225, 230));
        p.drawText(24, 60, u"Calendar"_s);
        p.drawText(24, 100, u"Weather"_s);
        p.setPen(QColor(30, 30, 30));
        p.drawText(300, 60, u"Invoice settings"_s);
        p.setPen(QColor(110, 110, 115));
        p.drawText(300, 100, u"Modified yesterday"_s);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(10, 100, 210));
        p.drawRoundedRect(QRect(300, 160, 110, 32), 6, 6);
        p.setPen(Qt::white);
        p.drawText(QRect(300, 160, 110, 32), Qt::AlignCenter, u"Publish"_s);
        p.end();
        QVERIFY(shot.save(path(u"shot.png"_s)));

        const QString text = TextReading::text(path(u"shot.png"_s));
        for (const QString &word : {u"Calendar"_s, u"Weather"_s, u"Invoice"_s, u"settings"_s, u"Modified"_s, u"yesterday"_s, u"Publish"_s})
            QVERIFY2(text.contains(word), qPrintable(word + u" not in: "_s + text));
        // One line per line of text, nothing on one line twice.
        QCOMPARE(text.count(u"Invoice settings"_s), 1);
    }

    void wordBoxesInPicturePixels()
    {
        // Small text is enlarged before reading; the boxes must come back in the picture's pixels.
        QImage picture = canvas(700, 120);
        QPainter p(&picture);
        p.setFont(uiFont(13));
        p.drawText(40, 40, u"Timetable"_s);
        p.drawText(410, 70, u"Orchestra"_s);
        p.end();
        const QRect drawn = QFontMetrics(uiFont(13)).tightBoundingRect(u"Orchestra"_s).translated(410, 70);

        const RecognizedText read = TextReading::recognizeWithBoxes(picture);
        QCOMPARE(read.text, u"Timetable\nOrchestra"_s);
        QCOMPARE(read.words.size(), 2);
        // Each word knows the line of the joined text it is on.
        QCOMPARE(read.words[0].line, 0);
        QCOMPARE(read.words[1].line, 1);
        const QRect box = read.words[1].box;
        QCOMPARE(read.words[1].text, u"Orchestra"_s);
        QVERIFY2((box.topLeft() - drawn.topLeft()).manhattanLength() <= 4 && (box.bottomRight() - drawn.bottomRight()).manhattanLength() <= 4,
            qPrintable(u"%1,%2 %3x%4"_s.arg(box.x()).arg(box.y()).arg(box.width()).arg(box.height())));
    }

    void pictureOrientationIsApplied()
    {
        // Stored turned a quarter to the left; the tag says to turn it back to the right.
        const QImage upright = textPicture(u"Sunflower Avenue"_s, 30, QSize(420, 120));
        QByteArray jpeg = encoded(upright.transformed(QTransform().rotate(-90)), "JPEG");
        const QString turned = write(u"turned.jpg"_s, jpeg.insert(2, exifOrientation(6)));

        QImageReader raw(turned);
        raw.setAutoTransform(false);
        const QImage stored = raw.read();
        QCOMPARE(stored.size(), QSize(120, 420));
        QVERIFY(!TextReading::recognize(stored).contains(u"Sunflower"_s));
        QCOMPARE(TextReading::loadPicture(turned).size(), QSize(420, 120));
        QVERIFY(TextReading::text(turned).contains(u"Sunflower Avenue"_s));
    }

    void picturesAreBoundedOnTheLongerSide()
    {
        QCOMPARE(TextReading::loadPicture(write(u"wide.png"_s, encoded(canvas(4200, 1050), "PNG"))).size(), QSize(3000, 750));
        QCOMPARE(TextReading::loadPicture(write(u"tall.jpg"_s, encoded(canvas(1000, 3600), "JPEG"))).size(), QSize(833, 3000));
        QCOMPARE(TextReading::loadPicture(write(u"small.png"_s, encoded(canvas(2000, 1000), "PNG"))).size(), QSize(2000, 1000));
    }

    void embeddedTextOnAnyPageWins()
    {
        // Text on page 100 only: the five-page bound is for scanned documents alone. The font joins "ffi"
        // into one glyph; the text has the letters.
        QPdfWriter writer(path(u"long.pdf"_s));
        QPainter p(&writer);
        for (int page = 1; page < 100; ++page)
            writer.newPage();
        p.setFont(uiFont(40));
        p.drawText(300, 600, u"Zebra crossing official appendix"_s);
        p.end();

        QCOMPARE(PdfDocument(path(u"long.pdf"_s)).pageCount(), 100);
        QCOMPARE(TextReading::text(path(u"long.pdf"_s)), u"Zebra crossing official appendix"_s);
        // The kind comes from the extension in any case; without one the file is taken for a picture.
        QVERIFY(QFile::copy(path(u"long.pdf"_s), path(u"REPORT.PDF"_s)));
        QCOMPARE(TextReading::text(path(u"REPORT.PDF"_s)), u"Zebra crossing official appendix"_s);
        QVERIFY(QFile::copy(path(u"long.pdf"_s), path(u"report"_s)));
        QCOMPARE(TextReading::text(path(u"report"_s)), QString());
    }

    void scannedPagesAreReadUpToFive()
    {
        // Pictures of one word each; the first page also carries text of nothing but white space.
        const QStringList words = {u"Anchor"_s, u"Bridge"_s, u"Candle"_s, u"Dolphin"_s, u"Eagle"_s, u"Falcon"_s, u"Garden"_s, u"Harbor"_s};
        QPdfWriter writer(path(u"scan.pdf"_s));
        writer.setResolution(100);
        QPainter p(&writer);
        p.drawText(100, 400, u"   \t   "_s);
        for (qsizetype i = 0; i < words.size(); ++i) {
            if (i > 0)
                writer.newPage();
            p.drawImage(QRect(0, 0, 500, 120), textPicture(words[i], 48, QSize(500, 120)));
        }
        p.end();

        const QStringList pages = TextReading::text(path(u"scan.pdf"_s)).split(u"\n\n"_s);
        QCOMPARE(pages, words.first(5));
    }

    void damagedFilesGiveNoText()
    {
        const QByteArray png = encoded(textPicture(u"Lighthouse"_s, 30, QSize(400, 100)), "PNG");
        QByteArray pdf;
        QBuffer out(&pdf);
        out.open(QIODevice::WriteOnly);
        QPdfWriter writer(&out);
        QPainter(&writer).drawText(100, 100, u"Lighthouse"_s);
        const QList<std::pair<QString, QByteArray>> damaged = {
            {u"cut.png"_s, png.left(png.size() / 2)},
            {u"noise.png"_s, QByteArray("\x89PNG\r\n\x1a\n") + QByteArray(5000, '\x5a')},
            {u"empty.jpg"_s, QByteArray()},
            {u"noise.pdf"_s, QByteArray("%PDF-1.7\n") + QByteArray(3000, '\x07')},
            {u"empty.pdf"_s, QByteArray()},
            {u"picture.pdf"_s, png},
        };
        for (const auto &[name, bytes] : damaged)
            QVERIFY2(TextReading::text(write(name, bytes)).isEmpty(), qPrintable(name));
        // A cut PDF may be repaired or not; it must not bring anything down.
        TextReading::text(write(u"cut.pdf"_s, pdf.left(pdf.size() * 2 / 3)));
        QCOMPARE(TextReading::text(path(u"missing.png"_s)), QString());
        QCOMPARE(TextReading::recognize(QImage()), QString());
    }
};

QTEST_MAIN(TestTextRecognizer)
#include "tst_textrecognizer.moc"
