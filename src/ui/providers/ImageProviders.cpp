#include "ImageProviders.h"

#include "FilePath.h"
#include "models/FileItem.h"
#include "thumbnails/AppIcons.h"
#include "thumbnails/Thumbnails.h"
#include "worker/ParseWorkers.h"

#include <QCoreApplication>
#include <QPointer>
#include <atomic>

namespace {

std::atomic<int> pendingPictures {0};

// One answer; it always finishes, also when given up.
class PictureResponse : public QQuickImageResponse
{
public:
    PictureResponse() { ++pendingPictures; }
    ~PictureResponse() override
    {
        if (!m_finished)
            --pendingPictures;
    }

    QQuickTextureFactory *textureFactory() const override { return QQuickTextureFactory::textureFactoryForImage(m_image); }
    void cancel() override { m_cancellation.cancel(); }

    void finish(const QImage &image)
    {
        m_image = image;
        if (!m_finished) {
            m_finished = true;
            --pendingPictures;
        }
        Q_EMIT finished();
    }

    ThumbnailCancellation m_cancellation;

private:
    QImage m_image;
    bool m_finished = false;
};

QImage transparentPixel()
{
    QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage scaledToFit(const QImage &image, const QSize &requested)
{
    if (image.isNull() || !requested.isValid() || requested.isEmpty())
        return image;
    if (image.width() <= requested.width() && image.height() <= requested.height())
        return image;
    return image.scaled(requested, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace

ImageSources::ImageSources(QObject *parent)
    : QObject(parent)
{
}

int ImageSources::pending()
{
    return pendingPictures.load();
}

QString ImageSources::encode(const QUrl &file)
{
    return QString::fromLatin1(file.toEncoded().toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QUrl ImageSources::fileOf(const QString &encoded)
{
    const auto decoded = QByteArray::fromBase64Encoding(encoded.toLatin1(), QByteArray::Base64UrlEncoding | QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return {};
    const QUrl url = QUrl::fromEncoded(*decoded, QUrl::StrictMode);
    return url.isLocalFile() ? url : QUrl();
}

QUrl ImageSources::thumbnail(const QUrl &file, int side)
{
    if (file.isEmpty())
        return {};
    return QUrl(QStringLiteral("image://thumbnail/%1/%2").arg(Thumbnails::tier(side)).arg(encode(file)));
}

QUrl ImageSources::icon(const QUrl &file)
{
    if (file.isEmpty())
        return {};
    return QUrl(QStringLiteral("image://fileicon/") + encode(file));
}

QUrl ImageSources::defaultApp(const QUrl &file)
{
    if (file.isEmpty())
        return {};
    return QUrl(QStringLiteral("image://appicon/") + encode(file));
}

QUrl ImageSources::preview(const QUrl &file, int pixels)
{
    if (file.isEmpty() || pixels <= 0)
        return {};
    return QUrl(QStringLiteral("image://preview/%1/%2").arg(pixels).arg(encode(file)));
}

QUrl ImageSources::pdfPage(const QUrl &file, int page, int side)
{
    if (file.isEmpty() || page < 0 || side <= 0)
        return {};
    return QUrl(QStringLiteral("image://pdfpage/%1/%2/%3").arg(page).arg(side).arg(encode(file)));
}

ThumbnailProvider::ThumbnailProvider(Thumbnails &thumbnails)
    : m_thumbnails(thumbnails)
{
}

QQuickImageResponse *ThumbnailProvider::requestImageResponse(const QString &id, const QSize &requestedSize)
{
    auto *response = new PictureResponse;
    const qsizetype slash = id.indexOf(QLatin1Char('/'));
    const int side = id.left(slash).toInt();
    const QUrl file = ImageSources::fileOf(id.mid(slash + 1));
    if (slash < 0 || side <= 0 || file.isEmpty()) {
        response->finish(transparentPixel());
        return response;
    }
    // Thumbnails works from the main thread; the response lives on the image reader's thread and
    // may be gone by the time the picture is ready, so only the shared pointer and the flag cross.
    QPointer<PictureResponse> target(response);
    const ThumbnailCancellation cancellation = response->m_cancellation;
    Thumbnails *thumbnails = &m_thumbnails;
    QMetaObject::invokeMethod(qApp, [thumbnails, file, side, cancellation, target, requestedSize]() -> void {
        [](Thumbnails *thumbnails, QUrl file, int side, ThumbnailCancellation cancellation, QPointer<PictureResponse> target,
            QSize requestedSize) -> QCoro::Task<> {
            std::optional<Thumbnail> thumb = co_await thumbnails->load(file, side, cancellation);
            QImage image = thumb && !thumb->isIcon ? scaledToFit(thumb->image, requestedSize) : transparentPixel();
            if (target)
                QMetaObject::invokeMethod(target, [target, image] {
                    if (target)
                        target->finish(image);
                });
        }(thumbnails, file, side, cancellation, target, requestedSize);
    });
    return response;
}

FileIconProvider::FileIconProvider(Kind kind)
    : m_kind(kind)
{
    m_pool.setMaxThreadCount(1);
}

QQuickImageResponse *FileIconProvider::requestImageResponse(const QString &id, const QSize &requestedSize)
{
    auto *response = new PictureResponse;
    const QUrl file = ImageSources::fileOf(id);
    QPointer<PictureResponse> target(response);
    m_pool.start([file, requestedSize, target, kind = m_kind] {
        QImage image;
        if (!file.isEmpty() && kind == Kind::file) {
            image = AppIcons::icon(file);
        } else if (!file.isEmpty()) {
            if (const auto item = FileItem::fromUrl(file))
                image = AppIcons::defaultApp(*item).value_or(QImage());
        }
        image = image.isNull() ? transparentPixel() : scaledToFit(image, requestedSize);
        QMetaObject::invokeMethod(target, [target, image] {
            if (target)
                target->finish(image);
        });
    });
    return response;
}

DocumentPictureProvider::DocumentPictureProvider(Kind kind)
    : m_kind(kind)
{
    // Two at once: the page or picture on show and the next one.
    m_pool.setMaxThreadCount(2);
}

QQuickImageResponse *DocumentPictureProvider::requestImageResponse(const QString &id, const QSize &requestedSize)
{
    auto *response = new PictureResponse;
    const QStringList parts = id.split(QLatin1Char('/'));
    const int fields = m_kind == Kind::pdfPage ? 3 : 2;
    const QUrl file = parts.size() == fields ? ImageSources::fileOf(parts.last()) : QUrl();
    const int first = parts.value(0).toInt();
    const int second = fields == 3 ? parts.value(1).toInt() : 0;
    if (file.isEmpty() || first < 0 || (m_kind == Kind::picture && first <= 0) || (m_kind == Kind::pdfPage && second <= 0)) {
        response->finish(transparentPixel());
        return response;
    }
    QPointer<PictureResponse> target(response);
    const ThumbnailCancellation cancellation = response->m_cancellation;
    m_pool.start([kind = m_kind, file, first, second, requestedSize, target, cancellation] {
        QImage image;
        if (!cancellation.isCancelled()) {
            const QString path = FilePath::fromUrl(file);
            image = kind == Kind::picture ? ParseWorkers::picture(path, first, ParseWorkers::Priority::interactive)
                                          : ParseWorkers::renderPage(path, first, second);
        }
        image = image.isNull() ? transparentPixel() : scaledToFit(image, requestedSize);
        QMetaObject::invokeMethod(target, [target, image] {
            if (target)
                target->finish(image);
        });
    });
    return response;
}
