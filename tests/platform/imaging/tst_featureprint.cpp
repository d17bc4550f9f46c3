#include "imaging/FeaturePrint.h"
#include "imaging/PictureDecoder.h"

#include <QBuffer>
#include <QFile>
#include <QImageWriter>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace imaging;

namespace {

constexpr float threshold = 0.9118f;

// A made-up scene with the traits of a photo: a sky-to-ground gradient, shapes of many sizes and
// colours, soft edges and sensor noise. Each seed gives another scene.
QImage scene(quint32 seed, QSize size = QSize(960, 720))
{
    QRandomGenerator random(seed);
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, QColor::fromHsv(random.bounded(360), 60 + random.bounded(120), 120 + random.bounded(130)));
    sky.setColorAt(1, QColor::fromHsv(random.bounded(360), 60 + random.bounded(120), 40 + random.bounded(150)));
    painter.fillRect(image.rect(), sky);
    for (int i = 0; i < 14; ++i) {
        const int w = 40 + random.bounded(size.width() / 2);
        const int h = 40 + random.bounded(size.height() / 2);
        const QRect rect(random.bounded(size.width()) - w / 2, random.bounded(size.height()) - h / 2, w, h);
        QRadialGradient fill(rect.center(), std::max(w, h) / 2.0);
        fill.setColorAt(0, QColor::fromHsv(random.bounded(360), random.bounded(256), 80 + random.bounded(176)));
        fill.setColorAt(1, QColor::fromHsv(random.bounded(360), random.bounded(256), random.bounded(256)));
        painter.setBrush(fill);
        painter.setPen(Qt::NoPen);
        if (i % 2)
            painter.drawEllipse(rect);
        else
            painter.drawRect(rect);
    }
    painter.end();
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int n = int(random.bounded(13)) - 6;
            line[x] = qRgb(std::clamp(qRed(line[x]) + n, 0, 255), std::clamp(qGreen(line[x]) + n, 0, 255), std::clamp(qBlue(line[x]) + n, 0, 255));
        }
    }
    return image;
}

QImage exposed(const QImage &image, double gain, double contrast)
{
    QImage out = image.convertToFormat(QImage::Format_RGB32);
    const auto map = [&](int v) { return std::clamp(int(((v / 255.0 - 0.5) * contrast + 0.5) * gain * 255.0), 0, 255); };
    for (int y = 0; y < out.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(out.scanLine(y));
        for (int x = 0; x < out.width(); ++x)
            line[x] = qRgb(map(qRed(line[x])), map(qGreen(line[x])), map(qBlue(line[x])));
    }
    return out;
}

QImage reencoded(const QImage &image, const char *format, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    writer.write(image);
    return QImage::fromData(bytes, format);
}

float cosine(const QImage &a, const QImage &b)
{
    const auto pa = FeaturePrint::compute(a);
    const auto pb = FeaturePrint::compute(b);
    if (!pa || !pb)
        return -2.0f;
    return FeaturePrint::similarity(*pa, *pb);
}

} // namespace

class TestFeaturePrint : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void printsHaveUnitLengthAndOneSize()
    {
        QImage grey(400, 300, QImage::Format_RGB32);
        grey.fill(QColor(128, 128, 128));
        // A flat picture has next to nothing in it but still gets a print.
        for (const QImage &image : {scene(1), scene(2, QSize(300, 900)), grey}) {
            const auto print = FeaturePrint::compute(image);
            QVERIFY(print);
            QCOMPARE(int(print->size()), FeaturePrint::length());
            QVERIFY(qAbs(FeaturePrint::similarity(*print, *print) - 1.0f) < 1e-5f);
        }
    }

    void editedCopiesLookAlike_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed : {11u, 12u, 13u, 14u, 15u})
            QTest::addRow("scene %u", seed) << seed;
    }

    void editedCopiesLookAlike()
    {
        QFETCH(quint32, seed);
        const QImage original = scene(seed);
        const QSize size = original.size();
        const QList<std::pair<const char *, QImage>> edits = {
            {"quality 40", reencoded(original, "jpeg", 40)},
            {"half size", original.scaled(size / 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)},
            {"crop 5%", original.copy(size.width() / 20, 0, size.width() * 19 / 20, size.height() * 19 / 20)},
            {"brighter", exposed(original, 1.15, 1.15)},
            {"darker", exposed(original, 0.85, 0.85)},
            {"blurred",
                original.scaled(size / 4, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)},
            {"webp", reencoded(original, "webp", 80)},
        };
        for (const auto &[what, edit] : edits) {
            QVERIFY2(!edit.isNull(), what);
            const float c = cosine(original, edit);
            QVERIFY2(c >= threshold, qPrintable(u"%1: %2"_s.arg(QLatin1StringView(what)).arg(c)));
        }
    }

    void differentScenesStayApart()
    {
        QList<FeatureVector> prints;
        for (quint32 seed = 100; seed < 130; ++seed)
            prints.append(*FeaturePrint::compute(scene(seed)));
        float strongest = -1.0f;
        for (qsizetype a = 0; a < prints.size(); ++a) {
            for (qsizetype b = a + 1; b < prints.size(); ++b)
                strongest = std::max(strongest, FeaturePrint::similarity(prints[a], prints[b]));
        }
        QVERIFY2(strongest < threshold, qPrintable(QString::number(strongest)));
    }

    void thumbnailIsSmallAndUpright()
    {
        QTemporaryDir dir;
        const QImage landscape = scene(3, QSize(1200, 800));
        const QString plain = dir.filePath(u"plain.jpg"_s);
        QVERIFY(landscape.save(plain, "jpeg", 92));
        const QImage small = thumbnail(plain, 360);
        QCOMPARE(small.size(), QSize(360, 240));
        // Never enlarged.
        QCOMPARE(thumbnail(plain, 4000).size(), QSize(1200, 800));

        // A TIFF that says it is turned a quarter: the thumbnail shows it standing.
        const QString turned = dir.filePath(u"turned.tif"_s);
        QImageWriter writer(turned, "tiff");
        writer.setTransformation(QImageIOHandler::TransformationRotate90);
        QVERIFY(writer.write(landscape));
        const QImage upright = thumbnail(turned, 360);
        QCOMPARE(upright.size(), QSize(240, 360));
        const QImage rotated = landscape.transformed(QTransform().rotate(90));
        QVERIFY(FeaturePrint::similarity(*FeaturePrint::compute(turned), *FeaturePrint::compute(rotated)) >= 0.99f);
    }

    void heifIsDecoded()
    {
        const QString encoder = QStandardPaths::findExecutable(u"heif-enc"_s);
        if (encoder.isEmpty())
            QSKIP("heif-enc is not installed");
        QTemporaryDir dir;
        const QImage picture = scene(4, QSize(800, 600));
        QVERIFY(picture.save(dir.filePath(u"source.png"_s)));
        QProcess process;
        process.start(encoder, {u"-q"_s, u"80"_s, dir.filePath(u"source.png"_s), u"-o"_s, dir.filePath(u"photo.heic"_s)});
        if (!process.waitForFinished(60000) || process.exitCode() != 0)
            QSKIP("this libheif has no encoder");
        QCOMPARE(thumbnail(dir.filePath(u"photo.heic"_s), 360).size(), QSize(360, 270));
        const auto print = FeaturePrint::compute(dir.filePath(u"photo.heic"_s));
        QVERIFY(print);
        QVERIFY(FeaturePrint::similarity(*print, *FeaturePrint::compute(picture)) >= threshold);
    }

    void badFilesGiveNoPrint()
    {
        QTemporaryDir dir;
        QByteArray noise(70000, Qt::Uninitialized);
        QRandomGenerator random(5);
        for (char &c : noise)
            c = char(random.bounded(256));
        QByteArray jpeg;
        QBuffer buffer(&jpeg);
        buffer.open(QIODevice::WriteOnly);
        scene(6).save(&buffer, "jpeg", 90);
        const auto write = [&](const QString &name, const QByteArray &bytes) {
            QFile file(dir.filePath(name));
            file.open(QIODevice::WriteOnly);
            file.write(bytes);
            return file.fileName();
        };
        for (const QString &name : {u"noise.jpg"_s, u"noise.heic"_s, u"noise.nef"_s, u"noise.dng"_s, u"noise.webp"_s, u"noise.tif"_s})
            QVERIFY2(!FeaturePrint::compute(write(name, noise)), qPrintable(name));
        QVERIFY(!FeaturePrint::compute(write(u"empty.jpg"_s, {})));
        QVERIFY(!FeaturePrint::compute(write(u"header only.jpg"_s, jpeg.left(100))));
        QVERIFY(!FeaturePrint::compute(dir.filePath(u"missing.jpg"_s)));
        // A cut-off photo may still show its top half; it only must not bring the scan down.
        FeaturePrint::compute(write(u"truncated.jpg"_s, jpeg.left(jpeg.size() / 2)));
    }
};

QTEST_MAIN(TestFeaturePrint)
#include "tst_featureprint.moc"
