// The preview sheet's speed, in process, offscreen with the software renderer, over a home this
// benchmark makes itself (real files written by the libraries and tools that write such files) with
// its index built:
//   - opening the sheet to the first frame that shows the content, for a 24-megapixel JPEG, a
//     12-megapixel HEIC, a 100-page PDF's first page and a 1080p H.264 video (median of 7);
//   - stepping with the Right arrow through 50 photos of 12 megapixels: the time to each picture shown,
//     and the longest stall of the main thread, by a timer that measures its own lateness, both when
//     each step waits for its picture and when the key is pressed every 100 ms regardless;
//   - Live Text on 1920x1080 screenshots: turning the mode on to the words being there.
// Peers run in the same process as whole programs, one per figure: ffmpeg, heif-convert, pdftoppm
// and tesseract.
//
//   bench_preview
#include "ImageProviders.h"
#include "Session.h"
#include "WindowBench.h"
#include "imaging/PictureDecoder.h"
#include "mdindex/MetadataIndex.h"
#include "models/FileItem.h"
#include "state/AppState.h"
#include "worker/ParseWorkers.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QMediaPlayer>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QVideoFrame>
#include <QVideoSink>
#include <QtConcurrent/QtConcurrentMap>
#include <QtQml/qqmlextensionplugin.h>

#include <libheif/heif.h>

#include <algorithm>
#include <cstdio>
#include <numeric>

Q_IMPORT_QML_PLUGIN(VelkPlugin)

using namespace Qt::StringLiterals;

using windowbench::findItem;
using windowbench::StallMeter;

namespace {

double msSince(const QElapsedTimer &clock)
{
    return double(clock.nsecsElapsed()) / 1e6;
}

double median(QList<double> values)
{
    if (values.isEmpty())
        return -1;
    std::sort(values.begin(), values.end());
    const qsizetype n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

double mean(const QList<double> &values)
{
    return values.isEmpty() ? -1 : std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
}

QString runs(const QList<double> &values)
{
    QStringList parts;
    for (double v : values)
        parts.append(QString::number(v, 'f', 0));
    return parts.join(u' ');
}

// Runs the event loop until `done` holds or `limitMs` passes; the time it took, or -1. It sleeps
// between events rather than spinning, so that the main thread leaves the second core to the
// workers while it waits.
double waitFor(const std::function<bool()> &done, int limitMs = 120000)
{
    QElapsedTimer clock;
    clock.start();
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    tick.start(2);
    while (!done()) {
        if (clock.elapsed() > limitMs)
            return -1;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return msSince(clock);
}

void settle(int ms)
{
    waitFor([] { return false; }, ms);
}

// The first frame swapped while `ready` holds, in ms since `clock` started; -1 after `limitMs`.
// `readyAt`, when given, gets when the wait first saw `ready` hold (it looks at least every 2 ms).
double untilShown(QQuickWindow *window, const QElapsedTimer &clock, const std::function<bool()> &ready, int limitMs = 20000, double *readyAt = nullptr)
{
    double shown = -1;
    bool asked = false;
    const auto connection = QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        if (shown < 0 && ready()) {
            shown = msSince(clock);
            if (readyAt && !asked)
                *readyAt = shown;
        }
    });
    waitFor(
        [&] {
            // What became ready has asked for a frame already; one more request costs nothing and
            // makes sure a change that shows nothing new still ends the wait.
            if (!asked && shown < 0 && ready()) {
                asked = true;
                if (readyAt)
                    *readyAt = msSince(clock);
                window->update();
            }
            return shown >= 0;
        },
        limitMs);
    QObject::disconnect(connection);
    return shown;
}

// Non-visual objects of the scene (a MediaPlayer) are QObject children of the item they are declared in.
QObject *findObject(QQuickItem *item, const QString &name)
{
    if (!item)
        return nullptr;
    if (QObject *found = item->findChild<QObject *>(name, Qt::FindDirectChildrenOnly))
        return found;
    for (QQuickItem *child : item->childItems()) {
        if (QObject *found = findObject(child, name))
            return found;
    }
    return nullptr;
}

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    return process.waitForFinished(120'000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

// A whole program's run, in ms; -1 when it failed.
double timed(const QString &program, const QStringList &arguments)
{
    QElapsedTimer clock;
    clock.start();
    return run(program, arguments) ? msSince(clock) : -1;
}

// Something with the detail of a photo: soft gradients under shapes and noise, so that encoders and
// decoders do real work.
QImage photoLike(int w, int h, quint32 seed)
{
    QImage image(w, h, QImage::Format_RGB32);
    QRandomGenerator rng(seed);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, w, h);
    sky.setColorAt(0, QColor::fromHsv(int(rng.bounded(360)), 120, 230));
    sky.setColorAt(1, QColor::fromHsv(int(rng.bounded(360)), 200, 90));
    painter.fillRect(image.rect(), sky);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 400; ++i) {
        painter.setBrush(QColor::fromHsv(int(rng.bounded(360)), int(rng.bounded(256)), int(rng.bounded(256)), 120));
        painter.drawEllipse(QPointF(rng.bounded(w), rng.bounded(h)), rng.bounded(w / 12) + 4, rng.bounded(h / 12) + 4);
    }
    painter.end();
    quint32 state = seed | 1;
    for (int y = 0; y < h; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < w; ++x) {
            state ^= state << 13;
            state ^= state >> 17;
            state ^= state << 5;
            const int n = int(state % 24) - 12;
            const QRgb p = line[x];
            line[x] = qRgb(std::clamp(qRed(p) + n, 0, 255), std::clamp(qGreen(p) + n, 0, 255), std::clamp(qBlue(p) + n, 0, 255));
        }
    }
    return image;
}

// A different photo from the same base: fresh shapes over it, so that no two files are alike.
QImage variation(const QImage &base, quint32 seed)
{
    QImage image = base.copy();
    QRandomGenerator rng(seed);
    QPainter painter(&image);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 60; ++i) {
        painter.setBrush(QColor::fromHsv(int(rng.bounded(360)), int(rng.bounded(256)), int(rng.bounded(256)), 90));
        painter.drawEllipse(QPointF(rng.bounded(image.width()), rng.bounded(image.height())), rng.bounded(300) + 20, rng.bounded(300) + 20);
    }
    return image;
}

// A HEIC as a phone writes one, encoded by libheif.
bool writeHeic(const QImage &picture, const QString &path)
{
    const QImage rgb = picture.convertToFormat(QImage::Format_RGB888);
    heif_context *context = heif_context_alloc();
    heif_encoder *encoder = nullptr;
    heif_image *image = nullptr;
    bool ok = false;
    if (heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code == heif_error_Ok
        && heif_image_create(rgb.width(), rgb.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image).code == heif_error_Ok) {
        heif_image_add_plane(image, heif_channel_interleaved, rgb.width(), rgb.height(), 8);
        int stride = 0;
        uint8_t *plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
        for (int y = 0; y < rgb.height(); ++y)
            memcpy(plane + qsizetype(y) * stride, rgb.constScanLine(y), size_t(rgb.width()) * 3);
        heif_encoder_set_lossy_quality(encoder, 80);
        // The file is what matters, not how long it took to make.
        heif_encoder_set_parameter(encoder, "preset", "ultrafast");
        heif_image_handle *handle = nullptr;
        ok = heif_context_encode_image(context, image, encoder, nullptr, &handle).code == heif_error_Ok;
        if (handle)
            heif_image_handle_release(handle);
        ok = ok && heif_context_write_to_file(context, QFile::encodeName(path).constData()).code == heif_error_Ok;
    }
    if (image)
        heif_image_release(image);
    if (encoder)
        heif_encoder_release(encoder);
    heif_context_free(context);
    return ok && QFileInfo::exists(path);
}

bool writePdf(const QString &path, int pages)
{
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setTitle(u"Annual report"_s);
    QPainter painter(&writer);
    if (!painter.isActive())
        return false;
    QFont title(u"DejaVu Sans"_s, 18);
    QFont body(u"DejaVu Sans"_s, 10);
    for (int page = 0; page < pages; ++page) {
        if (page > 0)
            writer.newPage();
        painter.setFont(title);
        painter.drawText(600, 900, u"Chapter %1: the garden in season %2"_s.arg(page + 1).arg(page % 4 + 1));
        painter.setFont(body);
        for (int line = 0; line < 44; ++line)
            painter.drawText(600, 1500 + line * 280,
                u"Line %1 of page %2: beds, paths and a pond, with figures of %3 and notes on the weather."_s.arg(line + 1).arg(page + 1).arg(
                    (page * 44 + line) * 17.25, 0, 'f', 2));
    }
    return painter.end();
}

// A screenshot: a window's title bar, a side bar and several lines of text on white.
bool writeScreenshot(const QString &path, const QStringList &lines)
{
    QImage image(1920, 1080, QImage::Format_RGB32);
    image.fill(QColor(250, 250, 250));
    QPainter painter(&image);
    painter.fillRect(0, 0, 1920, 56, QColor(228, 228, 232));
    painter.fillRect(0, 56, 300, 1024, QColor(240, 240, 244));
    painter.setPen(QColor(30, 30, 30));
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(22);
    painter.setFont(font);
    painter.drawText(QPointF(24, 36), lines.value(0));
    for (int i = 0; i < 6; ++i)
        painter.drawText(QPointF(32, 120 + i * 48), u"Folder %1"_s.arg(i + 1));
    font.setPixelSize(26);
    painter.setFont(font);
    for (int i = 1; i < lines.size(); ++i)
        painter.drawText(QPointF(360, 120 + i * 64), lines.at(i));
    painter.end();
    return image.save(path, "PNG");
}

struct Figure {
    const char *what;
    double ours = -1;
    double peer = -1;
    const char *peerName;
};

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsSet("QT_QPA_PLATFORM") ? qgetenv("QT_QPA_PLATFORM") : QByteArray("offscreen"));
    // The benchmark's own home: its files, its index, its settings and caches; the user's are never touched.
    QTemporaryDir homeDir;
    const QString home = homeDir.path();
    qputenv("HOME", QFile::encodeName(home));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home + u"/.config"_s));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home + u"/.local/share"_s));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home + u"/.cache"_s));
    qputenv("XDG_STATE_HOME", QFile::encodeName(home + u"/.local/state"_s));
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication app(argc, argv);
    QElapsedTimer whole;
    whole.start();

    const auto at = [&home](const QString &relative) {
        const QString path = home + u'/' + relative;
        QDir().mkpath(QFileInfo(path).absolutePath());
        return path;
    };
    std::printf("making the files...\n");
    std::fflush(stdout);
    const QString jpeg = at(u"Pictures/Big photo.jpg"_s);
    const QString heic = at(u"Pictures/Phone photo.heic"_s);
    const QString pdf = at(u"Documents/Annual report.pdf"_s);
    const QString video = at(u"Movies/Clip.mp4"_s);
    const QStringList shots {
        at(u"Pictures/Screenshots/Screenshot 1.png"_s), at(u"Pictures/Screenshots/Screenshot 2.png"_s), at(u"Pictures/Screenshots/Screenshot 3.png"_s)};
    QStringList photos;
    for (int i = 0; i < 50; ++i)
        photos.append(at(u"Pictures/Trip/IMG_%1.jpg"_s.arg(1000 + i)));

    const QImage base = photoLike(4000, 3000, 7);
    bool made = photoLike(6000, 4000, 1).save(jpeg, "JPEG", 90);
    made = writeHeic(photoLike(4032, 3024, 2), heic) && made;
    made = writePdf(pdf, 100) && made;
    made = run(u"ffmpeg"_s,
               {u"-hide_banner"_s, u"-loglevel"_s, u"error"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, u"testsrc=size=1920x1080:rate=30:duration=5"_s, u"-c:v"_s,
                   u"libx264"_s, u"-preset"_s, u"veryfast"_s, u"-pix_fmt"_s, u"yuv420p"_s, video})
        && made;
    made = writeScreenshot(shots[0],
               {u"Budget 2026 - Spreadsheet"_s, u"Quarterly garden report for the north beds"_s, u"Seeds ordered from the nursery on Monday"_s,
                   u"Watering schedule moves to early mornings"_s, u"Total spent this quarter was within budget"_s})
        && made;
    made = writeScreenshot(shots[1],
               {u"Mail - Inbox"_s, u"Meeting notes from the planning committee"_s, u"Please bring the signed forms on Thursday"_s,
                   u"The library closes early during the holidays"_s, u"Tickets for the concert are still available"_s})
        && made;
    made = writeScreenshot(shots[2],
               {u"Terminal"_s, u"Compiling the project took eleven minutes"_s, u"All tests passed except the network check"_s,
                   u"Remember to update the release notes today"_s, u"Backup finished without any errors at noon"_s})
        && made;
    const QList<int> indexes = [] {
        QList<int> all(50);
        std::iota(all.begin(), all.end(), 0);
        return all;
    }();
    std::atomic<int> photosMade {0};
    QtConcurrent::blockingMap(indexes, [&](int i) {
        if (variation(base, quint32(100 + i)).save(photos.at(i), "JPEG", 88))
            ++photosMade;
    });
    if (!made || photosMade != 50) {
        std::fputs("bench_preview: could not make the files\n", stderr);
        return 1;
    }
    const double makingMs = msSince(whole);
    const auto mib = [](const QString &path) { return double(QFileInfo(path).size()) / (1024 * 1024); };
    std::printf(
        "JPEG %.1f MiB, HEIC %.1f MiB, PDF %.1f MiB, video %.1f MiB, a photo %.1f MiB\n", mib(jpeg), mib(heic), mib(pdf), mib(video), mib(photos.first()));

    mdindex::MetadataIndex::Options options;
    options.storePath = at(u".cache/velk/index.sqlite"_s);
    options.roots = {home, home + u"/.local/share/applications"_s};
    mdindex::MetadataIndex index(options);
    if (!index.open()) {
        std::fputs("bench_preview: the index did not open\n", stderr);
        return 1;
    }
    const mdindex::UpdateProgress indexed = index.update();
    const double indexedMs = msSince(whole);
    std::printf("files made in %.1f s, indexed in %.1f s (%lld entries, %lld read)\n", makingMs / 1000, (indexedMs - makingMs) / 1000,
        qlonglong(indexed.entries), qlonglong(indexed.extracted));
    std::fflush(stdout);

    auto session = std::make_unique<Session>(
        index, Session::Options {.settingsPath = at(u".config/velk/Velk.conf"_s), .updateFeed = {}, .warmUp = true, .mediaControls = false, .readText = false});
    auto engine = std::make_unique<QQmlApplicationEngine>();
    session->attach(*engine);
    engine->load(QUrl(u"qrc:/Velk/Main.qml"_s));
    auto *window = qobject_cast<QQuickWindow *>(engine->rootObjects().value(0));
    if (!window) {
        std::fputs("bench_preview: the window did not load\n", stderr);
        return 1;
    }
    window->requestActivate();
    bool framed = false;
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] { framed = true; });
    waitFor([&] { return framed; });
    const Stores &stores = session->stores();
    AppState &state = *stores.state;
    waitFor([&] {
        for (const SidebarItem &item : WarmUp::workList()) {
            if (!stores.store->collection(item))
                return false;
        }
        return true;
    });
    settle(500);

    const auto item = [](const QString &path) {
        const auto found = FileItem::fromUrl(QUrl::fromLocalFile(path));
        if (!found)
            qFatal("bench_preview: no file %s", qPrintable(path));
        return *found;
    };
    const auto sheetContent = [&] { return findItem(window->contentItem(), u"sheetQuickLook"_s); };
    const auto close = [&] {
        state.setPreviewItem(std::nullopt);
        waitFor([] { return ImageSources::pending() == 0; }, 10000);
        settle(300);
    };
    // The sheet's first copy of a picture, at whatever size it asks for.
    const auto isPreviewOf = [](const QUrl &source, const FileItem &file) {
        const QString text = source.toString();
        return text.startsWith(u"image://preview/"_s) && text.endsWith(u'/' + ImageSources::encode(file.url));
    };
    // The picture of `file` shown at length: the first copy loaded and on screen.
    const auto pictureShown = [&](const FileItem &file) {
        QQuickItem *picture = findItem(sheetContent(), u"previewPicture"_s);
        return picture && picture->property("status").toInt() == 1 && isPreviewOf(picture->property("source").toUrl(), file) && picture->isVisible()
            && picture->property("implicitWidth").toInt() > 1;
    };
    const auto pdfShown = [&] {
        QQuickItem *page = findItem(sheetContent(), u"pdfPage0"_s);
        return page && page->property("status").toInt() == 1 && page->isVisible() && page->property("implicitWidth").toInt() > 1;
    };

    // 1. Opening the sheet.
    const auto opening = [&](const QString &path, const std::function<bool(const FileItem &)> &shown) {
        std::printf("opening %s...\n", qPrintable(QFileInfo(path).fileName()));
        std::fflush(stdout);
        const FileItem file = item(path);
        QList<double> times;
        QList<double> readyTimes;
        for (int i = 0; i < 7; ++i) {
            QElapsedTimer clock;
            clock.start();
            state.preview(file, {file});
            double readyAt = -1;
            times.append(untilShown(
                window, clock, [&] { return shown(file); }, 20000, &readyAt));
            readyTimes.append(readyAt);
            close();
        }
        std::printf("  ready (before its frame), ms: %s\n", qPrintable(runs(readyTimes)));
        return times;
    };
    const QList<double> jpegRuns = opening(jpeg, pictureShown);
    const QList<double> heicRuns = opening(heic, pictureShown);
    const QList<double> pdfRuns = opening(pdf, [&](const FileItem &) { return pdfShown(); });

    // A video is shown once its first decoded frame has reached the view and a frame was drawn after.
    QList<double> videoRuns;
    bool videoBySink = true;
    {
        const FileItem file = item(video);
        for (int i = 0; i < 7; ++i) {
            QElapsedTimer clock;
            clock.start();
            state.preview(file, {file});
            bool gotFrame = false;
            auto *player = qobject_cast<QMediaPlayer *>(findObject(sheetContent(), u"previewPlayer"_s));
            if (player && player->videoSink()) {
                QObject::connect(
                    player->videoSink(), &QVideoSink::videoFrameChanged, window,
                    [&gotFrame](const QVideoFrame &frame) {
                        if (frame.isValid())
                            gotFrame = true;
                    },
                    Qt::QueuedConnection);
            } else {
                videoBySink = false;
            }
            videoRuns.append(untilShown(window, clock, [&] {
                auto *shownPlayer = qobject_cast<QMediaPlayer *>(findObject(sheetContent(), u"previewPlayer"_s));
                return gotFrame || (shownPlayer && shownPlayer->playbackState() == QMediaPlayer::PlayingState && shownPlayer->position() > 0);
            }));
            close();
        }
    }

    // 2. Stepping through the photos.
    QList<FileItem> trip;
    for (const QString &path : photos)
        trip.append(item(path));
    QList<double> stepTimes;
    double stepStall = -1;
    double heldStall = -1;
    double heldToLast = -1;
    int heldShown = 0;
    {
        state.preview(trip.first(), trip);
        waitFor([&] { return pictureShown(trip.first()); }, 20000);
        settle(200);
        StallMeter stalls;
        settle(50);
        stalls.takeWorstMs();
        for (int i = 1; i < trip.size(); ++i) {
            QElapsedTimer clock;
            clock.start();
            QTest::keyClick(window, Qt::Key_Right);
            stepTimes.append(untilShown(window, clock, [&] { return pictureShown(trip.at(i)); }));
        }
        stepStall = stalls.takeWorstMs();

        // A held key: a step every 100 ms whether the picture came or not, back to the first.
        QUrl lastShown = trip.last().url;
        QElapsedTimer sinceLastKey;
        bool lastKeyPressed = false;
        const auto connection = QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
            const auto current = state.previewItem();
            if (current && pictureShown(*current)) {
                if (current->url != lastShown)
                    ++heldShown;
                lastShown = current->url;
                if (lastKeyPressed && heldToLast < 0 && current->url == trip.first().url)
                    heldToLast = msSince(sinceLastKey);
            }
        });
        settle(200);
        stalls.takeWorstMs();
        for (int i = int(trip.size()) - 2; i >= 0; --i) {
            QTest::keyClick(window, Qt::Key_Left);
            sinceLastKey.start();
            lastKeyPressed = i == 0;
            if (i > 0)
                settle(100);
        }
        waitFor([&] { return heldToLast >= 0; }, 20000);
        heldStall = stalls.takeWorstMs();
        QObject::disconnect(connection);
        close();
    }

    // 3. Live Text: each screenshot once, as the words of a picture are remembered once read.
    QList<double> liveRuns;
    for (const QString &path : shots) {
        const FileItem file = item(path);
        state.preview(file, {file});
        waitFor([&] { return pictureShown(file); }, 20000);
        settle(200);
        QElapsedTimer clock;
        clock.start();
        state.setLiveTextMode(true);
        const double took = waitFor(
            [&] {
                QQuickItem *image = findItem(window->contentItem(), u"liveTextImage"_s);
                auto *words = image ? image->property("words").value<QObject *>() : nullptr;
                return words && words->property("count").toInt() > 0;
            },
            60000);
        liveRuns.append(took < 0 ? -1 : msSince(clock));
        state.setLiveTextMode(false);
        close();
    }

    // Where the time goes: the worker's answer alone, as the image provider asks for it, and the same
    // decode in this process, without the worker.
    const auto timedCall = [](const std::function<bool()> &call) {
        QList<double> all;
        for (int i = 0; i < 7; ++i) {
            QElapsedTimer clock;
            clock.start();
            all.append(call() ? msSince(clock) : -1);
        }
        return median(all);
    };
    // The sheet asks for 1024 pixels on a plain screen and 2048 where the screen's ratio is above one.
    const auto pictureAnswer = [&](const QString &path, int pixels) {
        return timedCall([&] { return !ParseWorkers::picture(path, pixels, ParseWorkers::Priority::interactive).isNull(); });
    };
    const auto pictureDecode = [&](const QString &path, int pixels) { return timedCall([&] { return !imaging::thumbnail(path, pixels).isNull(); }); };
    const double jpegWorker = pictureAnswer(jpeg, 1024);
    const double jpegDecode = pictureDecode(jpeg, 1024);
    const double jpegWorker2048 = pictureAnswer(jpeg, 2048);
    const double jpegDecode2048 = pictureDecode(jpeg, 2048);
    const double heicWorker = pictureAnswer(heic, 1024);
    const double heicDecode = pictureDecode(heic, 1024);
    const double photoWorker = pictureAnswer(photos.at(3), 1024);
    const double pageWorker = timedCall([&] { return !ParseWorkers::renderPage(pdf, 0, 1200).isNull(); });
    const double shapeWorker = timedCall([&] { return !ParseWorkers::renderPage(pdf, 0, 64).isNull(); });

    // The peers, on the same files, now in the page cache as they were for the sheet.
    QTemporaryDir outDir;
    const QString out = outDir.path();
    const auto peerRuns = [](const std::function<double()> &once, int times) {
        QList<double> all;
        for (int i = 0; i < times; ++i)
            all.append(once());
        return all;
    };
    const QStringList quiet {u"-hide_banner"_s, u"-loglevel"_s, u"error"_s, u"-y"_s};
    const QList<double> jpegPeer = peerRuns(
        [&] {
            return timed(u"ffmpeg"_s, quiet + QStringList {u"-i"_s, jpeg, u"-vf"_s, u"scale=1024:-1"_s, out + u"/jpeg.png"_s});
        },
        7);
    const QList<double> heicPeer = peerRuns([&] { return timed(u"heif-convert"_s, {u"-q"_s, u"90"_s, heic, out + u"/heic.jpg"_s}); }, 7);
    const QList<double> pdfPeer = peerRuns(
        [&] {
            return timed(u"pdftoppm"_s, {u"-f"_s, u"1"_s, u"-l"_s, u"1"_s, u"-scale-to"_s, u"1600"_s, u"-png"_s, pdf, out + u"/page"_s});
        },
        7);
    const QList<double> videoPeer = peerRuns(
        [&] {
            return timed(u"ffmpeg"_s, quiet + QStringList {u"-i"_s, video, u"-frames:v"_s, u"1"_s, out + u"/frame.png"_s});
        },
        7);
    QList<double> livePeer;
    for (const QString &shot : shots)
        livePeer.append(timed(u"tesseract"_s, {shot, u"-"_s}));
    // The peer for stepping: one photo's decode at the same size, as a viewer's next picture.
    QList<double> stepPeer;
    for (int i = 0; i < 7; ++i)
        stepPeer.append(timed(u"ffmpeg"_s, quiet + QStringList {u"-i"_s, photos.at(i), u"-vf"_s, u"scale=1024:-1"_s, out + u"/photo.png"_s}));

    const QList<Figure> figures {
        {"Space to JPEG 6000x4000 shown", median(jpegRuns), median(jpegPeer), "ffmpeg decode, scale=1024:-1 to PNG"},
        {"Space to HEIC 4032x3024 shown", median(heicRuns), median(heicPeer), "heif-convert to JPEG"},
        {"Space to PDF page 1 shown (100 pages)", median(pdfRuns), median(pdfPeer), "pdftoppm -f 1 -l 1 -scale-to 1600 -png"},
        {"Space to video 1080p first frame", median(videoRuns), median(videoPeer), "ffmpeg -frames:v 1 to PNG"},
        {"Right arrow to photo 4000x3000 shown (mean)", mean(stepTimes), median(stepPeer), "ffmpeg decode, scale=1024:-1 to PNG"},
        {"Live Text 1920x1080 to words (median of 3)", median(liveRuns), median(livePeer), "tesseract shot.png -"},
    };
    std::printf("\n%-46s %10s %10s %7s   %s\n", "", "Velk ms", "peer ms", "ratio", "peer");
    for (const Figure &f : figures)
        std::printf("%-46s %10.0f %10.0f %6.2fx   %s\n", f.what, f.ours, f.peer, f.peer > 0 ? f.ours / f.peer : 0.0, f.peerName);
    std::printf("\nruns (ms): JPEG %s | HEIC %s | PDF %s | video %s%s\n", qPrintable(runs(jpegRuns)), qPrintable(runs(heicRuns)), qPrintable(runs(pdfRuns)),
        qPrintable(runs(videoRuns)), videoBySink ? "" : " (by the player's position: no video sink)");
    std::printf("stepping, a step as each photo shows: %lld steps, median %.0f ms, slowest %.0f ms, longest stall %.1f ms\n", qlonglong(stepTimes.size()),
        median(stepTimes), stepTimes.isEmpty() ? -1.0 : *std::max_element(stepTimes.begin(), stepTimes.end()), stepStall);
    std::printf("stepping, a step every 100 ms: %d of %lld photos shown on the way, the last %.0f ms after its step, longest stall %.1f ms\n", heldShown,
        qlonglong(trip.size() - 1), heldToLast, heldStall);
    std::printf("Live Text runs (ms): %s | tesseract %s\n", qPrintable(runs(liveRuns)), qPrintable(runs(livePeer)));
    std::printf("where the time goes (medians, ms): JPEG at 1024: worker answer %.0f, decode in process %.0f; at 2048: %.0f and %.0f\n", jpegWorker, jpegDecode,
        jpegWorker2048, jpegDecode2048);
    std::printf(
        "  HEIC at 1024: worker answer %.0f, decode in process %.0f | photo 4000x3000 at 1024: worker answer %.0f\n", heicWorker, heicDecode, photoWorker);
    std::printf("  PDF: page 1 at 1200 from the worker %.0f, the page count (page 1 at 64) %.0f\n", pageWorker, shapeWorker);
    std::printf("whole run %.0f s\n", msSince(whole) / 1000);

    engine.reset();
    session.reset();
    return 0;
}
