#include "Samples.h"

#include <QElapsedTimer>
#include <QTest>

#include <random>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

// Damage of the kinds files really suffer and parsers trip over: cut short, bits flipped, runs
// overwritten, bytes inserted or repeated, and length fields set to extremes.
QByteArray mutate(const QByteArray &original, std::mt19937 &random)
{
    QByteArray bytes = original;
    const auto pick = [&](qsizetype below) { return below <= 0 ? qsizetype(0) : qsizetype(random() % quint64(below)); };
    const int steps = 1 + int(random() % 3);
    for (int step = 0; step < steps && !bytes.isEmpty(); ++step) {
        switch (random() % 6) {
        case 0:
            bytes.truncate(pick(bytes.size()));
            break;
        case 1:
            for (int i = 0, n = 1 + int(random() % 16); i < n; ++i)
                bytes[pick(bytes.size())] ^= char(1 << (random() % 8));
            break;
        case 2: {
            const qsizetype at = pick(bytes.size());
            const char fill = "\x00\xff\x7f\x80"[random() % 4];
            for (qsizetype i = at; i < std::min(bytes.size(), at + 1 + pick(256)); ++i)
                bytes[i] = random() % 2 ? fill : char(random());
            break;
        }
        case 3: {
            QByteArray junk(1 + pick(512), Qt::Uninitialized);
            for (char &c : junk)
                c = char(random());
            bytes.insert(pick(bytes.size()), junk);
            break;
        }
        case 4: {
            const qsizetype at = pick(bytes.size());
            bytes.insert(pick(bytes.size()), bytes.mid(at, 1 + pick(4096)));
            break;
        }
        default: {
            static const char extremes[][4] = {{'\xff', '\xff', '\xff', '\xff'}, {'\x7f', '\xff', '\xff', '\xff'}, {'\x80', 0, 0, 0}, {0, 0, 0, 0}};
            const qsizetype at = pick(bytes.size() - 4);
            if (bytes.size() >= 4)
                memcpy(bytes.data() + at, extremes[random() % 4], 4);
            break;
        }
        }
    }
    return bytes;
}

} // namespace

class TestExtractorRobustness : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void damagedFiles()
    {
        // Thousands of rewritten copies would wait on a disk's write-back; memory holds them where it can.
        QTemporaryDir shared(u"/dev/shm/velk-extractors-XXXXXX"_s);
        QTemporaryDir fallback;
        const QTemporaryDir &dir = shared.isValid() ? shared : fallback;
        QString error;
        const auto at = [&](const QString &name) { return dir.filePath(u"samples/"_s + name); };
        QDir().mkpath(at({}));
        QStringList made;
        const auto add = [&](const QString &name, bool ok) {
            QVERIFY2(ok, qPrintable(name + u": "_s + error));
            made.append(at(name));
        };
        add(u"camera.jpg"_s,
            samples::jpeg(at(u"camera.jpg"_s), 64, 48,
                {u"set Exif.Image.Make Canon"_s, u"set Exif.Image.Orientation 6"_s, u"set Exif.Photo.DateTimeOriginal 2024:05:06 07:08:09"_s,
                    u"set Xmp.xmp.CreatorTool ksnip"_s},
                &error));
        add(u"shot.png"_s, samples::png(at(u"shot.png"_s), 40, 30, u"gnome-screenshot"_s));
        add(u"raw.dng"_s, samples::dng(at(u"raw.dng"_s), 48, 32, 6, "Canon", "Canon EOS R5"));
        add(u"song.wav"_s, samples::audio(at(u"song.wav"_s), {u"artist=A"_s, u"album=B"_s}, &error));
        add(u"song.flac"_s, samples::audio(at(u"song.flac"_s), {u"artist=A"_s, u"title=T"_s}, &error));
        add(u"song.mp3"_s, samples::audio(at(u"song.mp3"_s), {u"artist=A"_s, u"genre=G"_s}, &error));
        add(u"clip.mp4"_s,
            samples::video(
                at(u"clip.mp4"_s), {u"-c:v"_s, u"libx264"_s, u"-preset"_s, u"ultrafast"_s, u"-c:a"_s, u"aac"_s}, 90, u"2024-05-06T07:08:09Z"_s, &error));
        add(u"clip.mkv"_s, samples::video(at(u"clip.mkv"_s), {u"-c:v"_s, u"mpeg4"_s, u"-c:a"_s, u"flac"_s}, 0, {}, &error));
        add(u"paper.pdf"_s, samples::pdf(at(u"paper.pdf"_s), u"Paper"_s, {u"first page"_s, u"second page"_s}));
        add(u"plans.odt"_s, samples::odt(at(u"plans.odt"_s), "<text:p>Meet<text:s/>here</text:p>", u"Plans"_s, &error));
        add(u"letter.docx"_s,
            samples::ooxml(at(u"letter.docx"_s), {{u"word/document.xml"_s, samples::docxBody("<w:p><w:r><w:t>Dear reader</w:t></w:r></w:p>")}}, &error));
        add(u"talk.pptx"_s,
            samples::ooxml(
                at(u"talk.pptx"_s), {{u"ppt/slides/slide1.xml"_s, samples::slide("one")}, {u"ppt/slides/slide2.xml"_s, samples::slide("two")}}, &error));
        add(u"page.html"_s,
            samples::write(at(u"page.html"_s), "<html><head><script>x<y</script></head><body><p a='>'>Fish &amp; &#x20AC; chips</p><!-- c --></body></html>"));
        add(u"letter.rtf"_s, samples::write(at(u"letter.rtf"_s), "{\\rtf1\\ansi{\\fonttbl{\\f0 Arial;}}{\\*\\gen x}caf\\'e9 \\u8364? \\{\\}\\par end}"));
        add(u"notes.txt"_s, samples::write(at(u"notes.txt"_s), u"Grüße\n"_s.repeated(100).toUtf8()));
        add(u"app.desktop"_s, samples::write(at(u"app.desktop"_s), "[Desktop Entry]\nType=Application\nName=App\nName[de]=Anw\nExec=app\n"));
        QString heicError;
        if (samples::heic(at(u"phone.heic"_s), 64, 64, heif_orientation_rotate_90_cw, &heicError))
            made.append(at(u"phone.heic"_s));
        else
            qWarning("no HEIC sample: %s", qPrintable(heicError));

        const auto extractors = mdindex::standardExtractors();
        constexpr int kCopies = 2000;
        constexpr qint64 kMaxMillisecondsPerFile = 4000;
        std::atomic<int> extracted = 0;
        std::atomic<qint64> slowest = 0;
        QString slowestName;
        std::mutex slowestMutex;

        // Two threads at once, as the index runs them; each writes its own copies.
        const auto work = [&](int thread) {
            for (qsizetype s = thread; s < made.size(); s += 2) {
                const QString &sample = made[s];
                QFile file(sample);
                if (!file.open(QIODevice::ReadOnly))
                    continue;
                const QByteArray original = file.readAll();
                // The type stays that of the intact sample, so the damaged copy reaches the same extractors.
                mdindex::FileFacts facts = samples::factsOf(sample);
                const QString copy = dir.filePath(u"damaged-"_s + QFileInfo(sample).fileName());
                std::mt19937 random(quint32(qHash(sample) ^ 0x5eed));
                for (int i = 0; i < kCopies; ++i) {
                    const QByteArray bytes = mutate(original, random);
                    if (!samples::write(copy, bytes))
                        continue;
                    facts.size = bytes.size();
                    QElapsedTimer clock;
                    clock.start();
                    samples::extract(extractors, copy, facts);
                    const qint64 elapsed = clock.elapsed();
                    ++extracted;
                    if (elapsed > slowest) {
                        std::lock_guard lock(slowestMutex);
                        slowest = elapsed;
                        slowestName = QFileInfo(sample).fileName();
                    }
                }
            }
        };
        QElapsedTimer total;
        total.start();
        std::thread other(work, 1);
        work(0);
        other.join();

        qInfo("%d damaged files in %lld ms, slowest %lld ms (%s)", extracted.load(), total.elapsed(), slowest.load(), qPrintable(slowestName));
        QCOMPARE(extracted.load(), int(made.size()) * kCopies);
        QVERIFY2(slowest < kMaxMillisecondsPerFile, qPrintable(slowestName));
    }
};

QTEST_MAIN(TestExtractorRobustness)
#include "tst_extractors_robustness.moc"
