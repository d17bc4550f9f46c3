#include "PictureDecoder.h"

#include "InputFile.h"
#include "media/MediaInput.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QTransform>

#include <libheif/heif.h>
#include <libraw/libraw.h>

#include <memory>

namespace imaging {

namespace {

    QSize fitted(QSize size, int maxPixelSize)
    {
        if (size.width() <= maxPixelSize && size.height() <= maxPixelSize)
            return size;
        return size.scaled(maxPixelSize, maxPixelSize, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    }

    QImage shrunk(QImage image, int maxPixelSize)
    {
        if (image.isNull())
            return image;
        const QSize target = fitted(image.size(), maxPixelSize);
        if (target != image.size())
            image = image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        return image;
    }

    // The reader shrinks while it decodes where the format allows (JPEG by its DCT scaling), so a large
    // photo never exists at full size in memory.
    QImage readScaled(QImageReader &reader, int maxPixelSize, bool autoTransform)
    {
        reader.setAutoTransform(autoTransform);
        const QSize size = reader.size();
        if (size.isValid() && reader.supportsOption(QImageIOHandler::ScaledSize))
            reader.setScaledSize(fitted(size, maxPixelSize));
        return shrunk(reader.read(), maxPixelSize);
    }

    bool isHeif(QStringView extension)
    {
        return extension.compare(u"heic", Qt::CaseInsensitive) == 0 || extension.compare(u"heif", Qt::CaseInsensitive) == 0
            || extension.compare(u"hif", Qt::CaseInsensitive) == 0;
    }

    bool looksLikeHeif(const InputFile &file)
    {
        const QByteArray head = file.readAt(0, 32);
        if (head.size() < 12)
            return false;
        const heif_filetype_result result = heif_check_filetype(reinterpret_cast<const uint8_t *>(head.constData()), int(head.size()));
        return result == heif_filetype_yes_supported;
    }

    QImage heifThumbnail(const InputFile &file, int maxPixelSize)
    {
        // Declared first: libheif reads through it while the context lives.
        MediaInput::HeifReader reader(file);
        std::unique_ptr<heif_context, decltype(&heif_context_free)> context(heif_context_alloc(), heif_context_free);
        if (!context || !reader.readInto(context.get()))
            return {};
        heif_image_handle *rawHandle = nullptr;
        if (heif_context_get_primary_image_handle(context.get(), &rawHandle).code != heif_error_Ok || !rawHandle)
            return {};
        std::unique_ptr<heif_image_handle, decltype(&heif_image_handle_release)> handle(rawHandle, heif_image_handle_release);
        // libheif applies the rotation and mirroring of the container while it decodes.
        heif_image *rawImage = nullptr;
        if (heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB, heif_chroma_interleaved_RGB, nullptr).code != heif_error_Ok || !rawImage)
            return {};
        std::unique_ptr<heif_image, decltype(&heif_image_release)> image(rawImage, heif_image_release);
        const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
        const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
        int stride = 0;
        const uint8_t *data = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
        if (!data || width <= 0 || height <= 0 || stride < width * 3)
            return {};
        const QImage view(data, width, height, stride, QImage::Format_RGB888);
        // The scaled copy owns its pixels; the view dies with the decoded image.
        const QSize target = fitted(view.size(), maxPixelSize);
        return view.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).copy();
    }

    QImage turned(QImage image, int flip)
    {
        // libraw's flip: 3 upside down, 5 turned left, 6 turned right.
        QTransform transform;
        switch (flip) {
        case 3:
            transform.rotate(180);
            break;
        case 5:
            transform.rotate(-90);
            break;
        case 6:
            transform.rotate(90);
            break;
        default:
            return image;
        }
        return image.transformed(transform);
    }

    QImage rawThumbnail(const InputFile &file, int maxPixelSize)
    {
        // Declared first: LibRaw reads through it until it is gone.
        MediaInput::RawStream stream(file);
        // LibRaw's state is large; it does not belong on the stack.
        auto raw = std::make_unique<LibRaw>();
        if (raw->open_datastream(&stream) != LIBRAW_SUCCESS || raw->unpack_thumb() != LIBRAW_SUCCESS)
            return {};
        int error = 0;
        std::unique_ptr<libraw_processed_image_t, decltype(&LibRaw::dcraw_clear_mem)> thumb(raw->dcraw_make_mem_thumb(&error), LibRaw::dcraw_clear_mem);
        if (!thumb || error != LIBRAW_SUCCESS || thumb->data_size == 0)
            return {};
        QImage image;
        if (thumb->type == LIBRAW_IMAGE_JPEG) {
            QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(thumb->data), qsizetype(thumb->data_size));
            QBuffer buffer(&bytes);
            buffer.open(QIODevice::ReadOnly);
            QImageReader reader(&buffer, "jpeg");
            // The camera's orientation is libraw's to tell; the preview's own tag may disagree.
            image = readScaled(reader, maxPixelSize, false);
        } else if (thumb->type == LIBRAW_IMAGE_BITMAP && thumb->colors == 3 && thumb->bits == 8) {
            const qsizetype stride = qsizetype(thumb->width) * 3;
            if (qsizetype(thumb->data_size) < stride * thumb->height)
                return {};
            const QImage view(thumb->data, thumb->width, thumb->height, stride, QImage::Format_RGB888);
            image = shrunk(view.copy(), maxPixelSize);
        }
        if (image.isNull())
            return {};
        return turned(std::move(image), raw->imgdata.sizes.flip);
    }

} // namespace

bool isCameraRaw(QStringView extension)
{
    static const char *const extensions[]
        = {"dng", "arw", "cr2", "cr3", "nef", "raf", "orf", "rw2", "pef", "srw", "nrw", "raw", "3fr", "erf", "kdc", "mrw", "x3f"};
    for (const char *raw : extensions) {
        if (extension.compare(QLatin1StringView(raw), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

QImage thumbnail(const QString &path, int maxPixelSize)
{
    if (maxPixelSize < 1)
        return {};
    const InputFile file(path);
    if (!file.isOpen())
        return {};
    const QString extension = QFileInfo(path).suffix();
    if (isHeif(extension) || looksLikeHeif(file))
        return heifThumbnail(file, maxPixelSize);
    if (isCameraRaw(extension)) {
        if (QImage image = rawThumbnail(file, maxPixelSize); !image.isNull())
            return image;
        // A DNG without a preview is still a TIFF that Qt may read.
    }
    QFile device;
    if (!file.openDevice(device))
        return {};
    QImageReader reader(&device);
    reader.setDecideFormatFromContent(true);
    return readScaled(reader, maxPixelSize, true);
}

} // namespace imaging
