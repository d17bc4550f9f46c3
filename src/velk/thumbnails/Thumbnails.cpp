#include "Thumbnails.h"
#include "FilePath.h"

#include "thumbnails/FileIcons.h"
#include "thumbnails/ThumbnailCache.h"
#include "thumbnails/ThumbnailGenerator.h"
#include "worker/ParseWorkers.h"

#include <QCoro/QCoroFuture>
#include <QtConcurrent/QtConcurrentRun>

namespace {

// Icons are drawn on a quiet tile and inset; beyond this they gain nothing but memory.
constexpr int kLargestIcon = 256;

// What the quick look into the shared cache found: a finished picture, or the work still to do.
struct FirstLook {
    std::optional<Thumbnail> thumb;
    ThumbnailGenerator::Kind kind = ThumbnailGenerator::Kind::none;
    std::optional<ThumbnailCache::Source> source;
};

FirstLook finished(Thumbnail thumb)
{
    FirstLook look;
    look.thumb = std::move(thumb);
    return look;
}

QImage fitted(const QImage &image, int pixels)
{
    if (image.width() <= pixels && image.height() <= pixels)
        return image;
    return image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

Thumbnail iconThumbnail(const QUrl &url, int pixels)
{
    return {url, FileIcons::iconForFile(FilePath::fromUrl(url), std::min(pixels, kLargestIcon)), true};
}

FirstLook firstLook(const QUrl &url, int pixels)
{
    FirstLook look;
    if (!url.isLocalFile())
        return finished(iconThumbnail(url, pixels));
    const QString path = FilePath::fromUrl(url);
    look.source = ThumbnailCache::Source::of(path);
    if (!look.source)
        return finished(iconThumbnail(url, pixels));
    // The shared cache first: most tiles were seen before, and telling the kind may read the file.
    if (auto stored = ThumbnailCache::read(*look.source, ThumbnailCache::flavorFor(pixels)))
        return finished({url, fitted(*stored, pixels), false});
    look.kind = ThumbnailGenerator::kindOf(path);
    if (look.kind == ThumbnailGenerator::Kind::none || ThumbnailCache::hasFailed(*look.source))
        return finished(iconThumbnail(url, pixels));
    return look;
}

std::optional<Thumbnail> generate(const QUrl &url, int pixels, const FirstLook &look, const std::atomic<bool> *cancelled)
{
    // Made at the full size of the shared cache's folder, so that other programs can use it too.
    const ThumbnailCache::Flavor flavor = ThumbnailCache::flavorFor(pixels);
    // Made, and stored in the shared cache, by a parsing worker.
    ParseWorkers::Outcome outcome = ParseWorkers::Outcome::unavailable;
    const QImage image = ParseWorkers::thumbnail(
        look.source->path, int(look.kind), ThumbnailCache::maximumSide(flavor), ParseWorkers::Priority::interactive, cancelled, &outcome);
    // A tile that went away while its picture was made leaves nothing behind, whether or not the
    // decoder noticed in time.
    if (cancelled && cancelled->load())
        return std::nullopt;
    if (image.isNull()) {
        // The worker records a file it could not draw; one that took the worker down is recorded here.
        // Without a worker nothing is known of the file, and nothing is recorded.
        if (outcome == ParseWorkers::Outcome::failed && !ThumbnailCache::hasFailed(*look.source))
            ThumbnailCache::writeFailure(*look.source);
        return iconThumbnail(url, pixels);
    }
    return Thumbnail {url, fitted(image, pixels), false};
}

} // namespace

Thumbnails::Thumbnails()
    : Thumbnails(Options {})
{
}

Thumbnails::Thumbnails(Options options)
    : m_options(options)
{
    m_readers.setMaxThreadCount(2);
    m_generators.setMaxThreadCount(std::max(1, m_options.generators));
}

Thumbnails::~Thumbnails()
{
    m_readers.waitForDone();
    m_generators.waitForDone();
}

Thumbnails &Thumbnails::shared()
{
    static Thumbnails instance;
    return instance;
}

int Thumbnails::tier(double side)
{
    for (int t : tiers) {
        if (t >= side)
            return t;
    }
    return tiers[std::size(tiers) - 1];
}

QString Thumbnails::key(int tier, const QString &path)
{
    return QString::number(tier) + QLatin1Char('|') + path;
}

std::optional<Thumbnail> Thumbnails::cached(const QUrl &url, double side) const
{
    const QString path = FilePath::fromUrl(url);
    const int wanted = tier(side);
    std::lock_guard lock(m_mutex);
    for (int t : tiers) {
        if (t < wanted)
            continue;
        const auto found = m_index.constFind(key(t, path));
        if (found == m_index.constEnd())
            continue;
        m_entries.splice(m_entries.begin(), m_entries, *found);
        return (*found)->thumb;
    }
    return std::nullopt;
}

QCoro::Task<std::optional<Thumbnail>> Thumbnails::load(QUrl url, double side, ThumbnailCancellation cancellation)
{
    // Kept plain: no temporaries with destructors inside co_await or co_return expressions, which
    // GCC 12 gets wrong.
    std::optional<Thumbnail> thumb = cached(url, side);
    if (thumb || cancellation.isCancelled())
        co_return thumb;
    const int t = tier(side);
    const int pixels = int(t * scale);

    QFuture<FirstLook> looking
        = QtConcurrent::run(&m_readers, [url, pixels, cancellation] { return cancellation.isCancelled() ? FirstLook {} : firstLook(url, pixels); });
    FirstLook look = co_await looking;
    thumb = std::move(look.thumb);
    if (!thumb) {
        // A tile that went away while its file was looked up never reaches the decoders.
        if (cancellation.isCancelled())
            co_return thumb;
        QFuture<std::optional<Thumbnail>> making = QtConcurrent::run(&m_generators, [url, pixels, look, cancellation]() -> std::optional<Thumbnail> {
            if (cancellation.isCancelled())
                return std::nullopt;
            ThumbnailGenerator::lowerThreadPriority();
            return generate(url, pixels, look, cancellation.flag());
        });
        thumb = co_await making;
        if (!thumb)
            co_return thumb;
    }
    store(key(t, FilePath::fromUrl(url)), *thumb);
    co_return thumb;
}

qsizetype Thumbnails::count() const
{
    std::lock_guard lock(m_mutex);
    return m_index.size();
}

void Thumbnails::store(const QString &k, const Thumbnail &thumb)
{
    const qint64 bytes = thumb.image.sizeInBytes();
    std::lock_guard lock(m_mutex);
    if (const auto found = m_index.constFind(k); found != m_index.constEnd()) {
        m_bytes -= (*found)->bytes;
        m_entries.erase(*found);
        m_index.erase(found);
    }
    m_entries.push_front({k, thumb, bytes});
    m_index.insert(k, m_entries.begin());
    m_bytes += bytes;
    while (m_entries.size() > 1 && (qsizetype(m_entries.size()) > m_options.countLimit || m_bytes > m_options.byteLimit)) {
        m_bytes -= m_entries.back().bytes;
        m_index.remove(m_entries.back().key);
        m_entries.pop_back();
    }
}
