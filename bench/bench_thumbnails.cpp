// How fast file tiles get their pictures. Two figures matter: pictures made per second for each kind
// of file when nothing is cached yet (a first visit to a folder), and the time to serve a screenful
// of tiles whose pictures the desktop's shared thumbnail cache already holds (every later visit).
// Each is set against a peer measured in the same run on the same files, with the same number of
// workers: the command-line thumbnailers of the desktop for the first, a plain decode of the very same
// cached PNG files for the second. Velk makes its pictures in its parsing worker; the same generator
// run in this process (as before the worker) is measured beside it, so the worker's cost shows.
#include "thumbnails/ThumbnailCache.h"
#include "thumbnails/ThumbnailGenerator.h"
#include "thumbnails/Thumbnails.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMimeDatabase>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtConcurrent/QtConcurrentMap>

#include <cstdio>

namespace {

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(120'000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool ffmpeg(const QStringList &arguments)
{
    return run(QStringLiteral("ffmpeg"),
        QStringList {QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y")} + arguments);
}

// Something with the detail of a photo: soft gradients under noise and edges, so that encoders and
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
    for (int i = 0; i < 400; ++i) {
        painter.setBrush(QColor::fromHsv(int(rng.bounded(360)), int(rng.bounded(256)), int(rng.bounded(256)), 120));
        painter.setPen(Qt::NoPen);
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

struct Kind {
    const char *name;
    QStringList files;
    // One peer command per file, writing a picture of at most `side` pixels to `out`.
    std::function<bool(const QString &file, const QString &out, int side)> peer;
    const char *peerName;
};

// Loads all files at once, as a grid of tiles does; returns seconds.
double loadAll(Thumbnails &thumbnails, const QStringList &files, double side, int *icons = nullptr)
{
    QElapsedTimer timer;
    timer.start();
    std::vector<QCoro::Task<std::optional<Thumbnail>>> tasks;
    tasks.reserve(size_t(files.size()));
    for (const QString &file : files)
        tasks.push_back(thumbnails.load(QUrl::fromLocalFile(file), side));
    int iconCount = 0;
    for (auto &task : tasks) {
        const auto thumb = QCoro::waitFor(task);
        iconCount += !thumb || thumb->isIcon;
    }
    if (icons)
        *icons = iconCount;
    return double(timer.nsecsElapsed()) / 1e9;
}

template<typename F>
double timeOnWorkers(const QStringList &files, int workers, F &&work)
{
    QThreadPool pool;
    pool.setMaxThreadCount(workers);
    QElapsedTimer timer;
    timer.start();
    QtConcurrent::blockingMap(&pool, files, work);
    return double(timer.nsecsElapsed()) / 1e9;
}

void clearSharedCache()
{
    QDir(ThumbnailCache::root()).removeRecursively();
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsSet("QT_QPA_PLATFORM") ? qgetenv("QT_QPA_PLATFORM") : QByteArray("offscreen"));
    QGuiApplication app(argc, argv);
    QTemporaryDir dir;
    // The benchmark's own shared cache, so the user's is neither read nor filled.
    qputenv("XDG_CACHE_HOME", QFile::encodeName(dir.filePath(QStringLiteral("cache"))));
    const QString root = dir.path();
    const int workers = Thumbnails::Options {}.generators;
    std::printf("making the files... (%d workers for both sides)\n", workers);
    std::fflush(stdout);

    Kind photos {"JPEG photos 4000x3000", {}, {}, "QImage full decode + scale"};
    Kind heics {"HEIC photos 4000x3000", {}, {}, "heif-thumbnailer"};
    Kind pdfs {"PDF first pages", {}, {}, "pdftoppm"};
    Kind videos {"video frames 1280x720", {}, {}, "ffmpegthumbnailer"};
    Kind songs {"song cover art", {}, {}, "ffmpeg cover extraction"};

    const QImage big = photoLike(4000, 3000, 1);
    for (int i = 0; i < 8; ++i) {
        const QString path = root + QStringLiteral("/photo%1.jpg").arg(i);
        photoLike(4000, 3000, 100 + i).save(path, "JPEG", 90);
        photos.files.append(path);
    }
    photos.peer = [](const QString &file, const QString &out, int side) {
        return QImage(file).scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation).save(out, "PNG");
    };
    for (int i = 0; i < 6; ++i) {
        const QString heic = root + QStringLiteral("/photo%1.heic").arg(i);
        if (run(QStringLiteral("heif-enc"), {QStringLiteral("-q"), QStringLiteral("80"), QStringLiteral("-o"), heic, photos.files.at(i)}))
            heics.files.append(heic);
    }
    heics.peer = [](const QString &file, const QString &out, int side) {
        return run(QStringLiteral("heif-thumbnailer"), {QStringLiteral("-s"), QString::number(side), file, out});
    };
    for (int i = 0; i < 16; ++i) {
        const QString path = root + QStringLiteral("/doc%1.pdf").arg(i);
        QPdfWriter writer(path);
        writer.setPageSize(QPageSize(QPageSize::A4));
        QPainter painter(&writer);
        painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 11));
        for (int line = 0; line < 50; ++line)
            painter.drawText(600, 600 + line * 260, QStringLiteral("Line %1 of a quarterly report with some numbers: %2").arg(line).arg(line * 1234.5 + i));
        painter.drawImage(QRect(600, 9000, 4000, 3000), big.scaled(800, 600));
        painter.end();
        pdfs.files.append(path);
    }
    pdfs.peer = [](const QString &file, const QString &out, int side) {
        QString base = out;
        base.chop(4);
        return run(QStringLiteral("pdftoppm"),
            {QStringLiteral("-png"), QStringLiteral("-singlefile"), QStringLiteral("-f"), QStringLiteral("1"), QStringLiteral("-l"), QStringLiteral("1"),
                QStringLiteral("-scale-to"), QString::number(side), file, base});
    };
    for (int i = 0; i < 6; ++i) {
        const QString path = root + QStringLiteral("/clip%1.mp4").arg(i);
        if (ffmpeg({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"), QStringLiteral("testsrc2=size=1280x720:rate=30:duration=10"),
                QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"), QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
                QStringLiteral("veryfast"), path}))
            videos.files.append(path);
    }
    videos.peer = [](const QString &file, const QString &out, int side) {
        return run(QStringLiteral("ffmpegthumbnailer"), {QStringLiteral("-i"), file, QStringLiteral("-o"), out, QStringLiteral("-s"), QString::number(side)});
    };
    const QString cover = root + QStringLiteral("/cover.jpg");
    photoLike(1200, 1200, 7).save(cover, "JPEG", 90);
    for (int i = 0; i < 16; ++i) {
        const QString path = root + QStringLiteral("/song%1.mp3").arg(i);
        if (ffmpeg({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"), QStringLiteral("sine=duration=30"), QStringLiteral("-i"), cover,
                QStringLiteral("-map"), QStringLiteral("0:a"), QStringLiteral("-map"), QStringLiteral("1:v"), QStringLiteral("-c:v"), QStringLiteral("copy"),
                QStringLiteral("-id3v2_version"), QStringLiteral("3"), QStringLiteral("-disposition:v"), QStringLiteral("attached_pic"), path}))
            songs.files.append(path);
    }
    songs.peer = [](const QString &file, const QString &out, int side) {
        return ffmpeg({QStringLiteral("-i"), file, QStringLiteral("-an"), QStringLiteral("-vf"),
            QStringLiteral("scale=%1:%1:force_original_aspect_ratio=decrease").arg(side), QStringLiteral("-frames:v"), QStringLiteral("1"), out});
    };

    // Tiles of 160 points are drawn from 320-pixel pictures; the shared cache keeps 512-pixel ones.
    constexpr double side = 160;
    const int cacheSide = ThumbnailCache::maximumSide(ThumbnailCache::flavorFor(int(side * Thumbnails::scale)));
    const QString peerOut = root + QStringLiteral("/peer");
    QDir().mkpath(peerOut);

    std::printf("\nmaking pictures (nothing cached), tiles of %g points, stored at %d pixels\n", side, cacheSide);
    std::printf("%-24s %6s %12s %12s %12s %28s %8s\n", "kind", "files", "velk/s", "in-proc/s", "peer/s", "peer", "ratio");
    {
        // The parsing workers start once per program and stay; their start is not part of a tile.
        QStringList warm;
        for (int i = 0; i < workers; ++i) {
            warm.append(root + QStringLiteral("/warm-%1.png").arg(i));
            QImage(64, 64, QImage::Format_RGB32).save(warm.last());
        }
        Thumbnails thumbnails;
        loadAll(thumbnails, warm, side);
    }
    for (const Kind *kind : {&photos, &heics, &pdfs, &videos, &songs}) {
        if (kind->files.isEmpty()) {
            std::printf("%-24s could not make the files\n", kind->name);
            continue;
        }
        clearSharedCache();
        Thumbnails thumbnails;
        int icons = 0;
        const double velk = loadAll(thumbnails, kind->files, side, &icons);
        clearSharedCache();
        static const QMimeDatabase mimeDatabase;
        const double inProcess = timeOnWorkers(kind->files, workers, [&](const QString &file) {
            const auto source = ThumbnailCache::Source::of(file);
            const QImage image = ThumbnailGenerator::generate(file, ThumbnailGenerator::kindOf(file), cacheSide);
            if (source && !image.isNull())
                ThumbnailCache::write(*source, ThumbnailCache::flavorFor(cacheSide), image, mimeDatabase.mimeTypeForFile(file).name());
        });
        std::atomic<int> failed = 0;
        const double peer = timeOnWorkers(kind->files, workers, [&](const QString &file) {
            const QString out = peerOut + QLatin1Char('/') + QFileInfo(file).completeBaseName() + QStringLiteral(".png");
            if (!kind->peer(file, out, cacheSide))
                ++failed;
        });
        const double n = double(kind->files.size());
        std::printf("%-24s %6lld %12.1f %12.1f %12.1f %28s %7.2fx%s\n", kind->name, static_cast<long long>(kind->files.size()), n / velk, n / inProcess,
            n / peer, kind->peerName, peer / velk, icons || failed ? "  (some failed!)" : "");
        std::fflush(stdout);
    }

    // A thousand tiles whose pictures are in the shared cache, served by a fresh run of the program.
    std::printf("\nserving 1000 tiles from the shared cache (a fresh start: nothing in memory)\n");
    clearSharedCache();
    QStringList thousand;
    const QString grid = root + QStringLiteral("/grid");
    QDir().mkpath(grid);
    const QImage base = photoLike(1200, 900, 3);
    for (int i = 0; i < 1000; ++i) {
        const QString path = grid + QStringLiteral("/p%1.jpg").arg(i, 4, 10, QLatin1Char('0'));
        // Different pictures, cheaply: shifted copies of one.
        base.copy((i * 7) % 400, (i * 3) % 300, 800, 600).save(path, "JPEG", 85);
        thousand.append(path);
    }
    std::printf("%-24s %10s %10s %28s %8s\n", "tile side", "velk s", "peer s", "peer", "ratio");
    for (double tile : {64.0, 160.0}) {
        {
            Thumbnails filling;
            loadAll(filling, thousand, tile);
        }
        Thumbnails fresh;
        int icons = 0;
        const double velk = loadAll(fresh, thousand, tile, &icons);
        const ThumbnailCache::Flavor flavor = ThumbnailCache::flavorFor(int(tile * Thumbnails::scale));
        QStringList stored;
        for (const QString &file : std::as_const(thousand))
            stored.append(ThumbnailCache::pathFor(ThumbnailCache::fileUri(file), flavor));
        std::atomic<qint64> sink = 0;
        const double peer = timeOnWorkers(stored, 2, [&](const QString &png) { sink += QImage(png).width(); });
        std::printf("%-24s %10.3f %10.3f %28s %7.2fx%s\n", qPrintable(QStringLiteral("%1 pt (%2 PNG)").arg(tile).arg(ThumbnailCache::folderName(flavor))), velk,
            peer, "QImage decode, 2 threads", peer / velk, icons ? "  (some failed!)" : "");
    }
    std::printf("\nratio: peer time / Velk time (above 1: Velk is faster)\n");
    return 0;
}
