#include "ThumbnailGenerator.h"

#include "FilePath.h"
#include "InputFile.h"
#include "UTType.h"
#include "media/MediaInput.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QTransform>

#include <libffmpegthumbnailer/videothumbnailer.h>
#include <libheif/heif.h>
#include <libraw/libraw.h>
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>
#include <taglib/aifffile.h>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/tdebuglistener.h>
#include <taglib/tfilestream.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

extern "C" {
#include <libavutil/log.h>
}

#include <memory>
#include <mutex>

#include <sys/resource.h>
#include <unistd.h>

namespace ThumbnailGenerator {

namespace {

    // Broken files are expected here by the thousand; the libraries' complaints would only flood the
    // terminal.
    class QuietTagLib final : public TagLib::DebugListener
    {
    public:
        void printMessage(const TagLib::String &) override { }
    };

    void quietLibraries()
    {
        static std::once_flag once;
        std::call_once(once, [] {
            static QuietTagLib quiet;
            TagLib::setDebugListener(&quiet);
            poppler::set_debug_error_function([](const std::string &, void *) {}, nullptr);
            if (av_log_get_level() > AV_LOG_FATAL)
                av_log_set_level(AV_LOG_FATAL);
        });
    }

    bool isCancelled(const std::atomic<bool> *cancelled)
    {
        return cancelled && cancelled->load(std::memory_order_relaxed);
    }

    QImage fitted(QImage image, int pixels)
    {
        if (image.isNull() || (image.width() <= pixels && image.height() <= pixels))
            return image;
        return image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }

    QImage readScaled(QImageReader &reader, int pixels, bool upright)
    {
        reader.setAutoTransform(upright);
        const QSize size = reader.size();
        if (!size.isValid() || (size.width() <= pixels && size.height() <= pixels))
            return reader.read();
        if (reader.format() == "jpeg") {
            // libjpeg decodes at a half, a quarter or an eighth of the size for little more than the
            // cost of reading the file. Qt lets it only below quality 50, and then finishes with a
            // coarse scale, so ask for exactly such a fraction and smooth the rest here.
            int fraction = 1;
            while (fraction < 8 && std::max(size.width(), size.height()) / (fraction * 2) >= pixels)
                fraction *= 2;
            if (fraction > 1) {
                reader.setQuality(49);
                reader.setScaledSize(QSize((size.width() + fraction - 1) / fraction, (size.height() + fraction - 1) / fraction));
            }
        } else {
            reader.setScaledSize(size.scaled(pixels, pixels, Qt::KeepAspectRatio));
        }
        return fitted(reader.read(), pixels);
    }

    QImage fromBytes(const QByteArray &bytes, int pixels, bool upright = true)
    {
        QBuffer buffer;
        buffer.setData(bytes);
        if (!buffer.open(QIODevice::ReadOnly))
            return {};
        QImageReader reader(&buffer);
        return readScaled(reader, pixels, upright);
    }

    QImage picture(const InputFile &file, int pixels)
    {
        QFile device;
        if (!file.openDevice(device))
            return {};
        QImageReader reader(&device);
        reader.setDecideFormatFromContent(true);
        return readScaled(reader, pixels, true);
    }

    QImage heif(const InputFile &file, int pixels)
    {
        // Declared first: libheif reads through it while the context lives.
        MediaInput::HeifReader reader(file);
        std::unique_ptr<heif_context, decltype(&heif_context_free)> context(heif_context_alloc(), heif_context_free);
        if (!context || !reader.readInto(context.get()))
            return {};
        heif_image_handle *primary = nullptr;
        if (heif_context_get_primary_image_handle(context.get(), &primary).code != heif_error_Ok)
            return {};
        std::unique_ptr<heif_image_handle, decltype(&heif_image_handle_release)> handle(primary, heif_image_handle_release);

        // A stored preview large enough for the request saves decoding the whole picture.
        if (const int count = heif_image_handle_get_number_of_thumbnails(handle.get()); count > 0) {
            heif_item_id id = 0;
            heif_image_handle_get_list_of_thumbnail_IDs(handle.get(), &id, 1);
            heif_image_handle *thumb = nullptr;
            if (heif_image_handle_get_thumbnail(handle.get(), id, &thumb).code == heif_error_Ok) {
                if (std::max(heif_image_handle_get_width(thumb), heif_image_handle_get_height(thumb)) >= pixels)
                    handle.reset(thumb);
                else
                    heif_image_handle_release(thumb);
            }
        }

        heif_image *decoded = nullptr;
        const bool alpha = heif_image_handle_has_alpha_channel(handle.get());
        // The default options turn the picture as its rotation and mirror properties say.
        if (heif_decode_image(handle.get(), &decoded, heif_colorspace_RGB, alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, nullptr).code
            != heif_error_Ok)
            return {};
        std::unique_ptr<heif_image, decltype(&heif_image_release)> image(decoded, heif_image_release);
        int stride = 0;
        const uint8_t *data = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
        const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
        const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
        if (!data || width <= 0 || height <= 0)
            return {};
        return fitted(QImage(data, width, height, stride, alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888).copy(), pixels);
    }

    QImage rawBitmap(const libraw_processed_image_t *bitmap)
    {
        if (bitmap->type != LIBRAW_IMAGE_BITMAP || bitmap->colors != 3 || bitmap->bits != 8)
            return {};
        return QImage(bitmap->data, bitmap->width, bitmap->height, bitmap->width * 3, QImage::Format_RGB888).copy();
    }

    QImage cameraRaw(const InputFile &file, int pixels, const std::atomic<bool> *cancelled)
    {
        // Declared first: LibRaw reads through it until it is gone.
        MediaInput::RawStream stream(file);
        // LibRaw's state is large; it does not belong on a worker's stack.
        auto raw = std::make_unique<LibRaw>();
        if (raw->open_datastream(&stream) != LIBRAW_SUCCESS)
            return {};

        QImage image;
        if (raw->unpack_thumb() == LIBRAW_SUCCESS) {
            int error = 0;
            if (libraw_processed_image_t *thumb = raw->dcraw_make_mem_thumb(&error)) {
                if (thumb->type == LIBRAW_IMAGE_JPEG)
                    image = fromBytes(QByteArray(reinterpret_cast<const char *>(thumb->data), qsizetype(thumb->data_size)), pixels, false);
                else
                    image = fitted(rawBitmap(thumb), pixels);
                LibRaw::dcraw_clear_mem(thumb);
            }
            // The camera's preview is stored as the sensor saw it; the raw file says how to turn it.
            const int flip = raw->imgdata.sizes.flip;
            const int degrees = flip == 3 ? 180 : flip == 5 ? 270 : flip == 6 ? 90 : 0;
            if (!image.isNull() && degrees != 0)
                image = image.transformed(QTransform().rotate(degrees));
        }
        // Previews far smaller than asked for are developed from the sensor data instead, at half size.
        if (!image.isNull() && std::max(image.width(), image.height()) * 2 >= pixels)
            return image;
        if (isCancelled(cancelled))
            return image;
        raw->imgdata.params.half_size = 1;
        raw->imgdata.params.use_camera_wb = 1;
        if (raw->unpack() != LIBRAW_SUCCESS || raw->dcraw_process() != LIBRAW_SUCCESS)
            return image;
        int error = 0;
        libraw_processed_image_t *developed = raw->dcraw_make_mem_image(&error);
        if (!developed)
            return image;
        QImage full = fitted(rawBitmap(developed), pixels);
        LibRaw::dcraw_clear_mem(developed);
        return full.isNull() ? image : full;
    }

    QImage pdf(const InputFile &file, int pixels, const std::atomic<bool> *cancelled)
    {
        const std::unique_ptr<poppler::document> document = MediaInput::loadPdf(file);
        // A locked document shows nothing without its password; the lock is asked first, as poppler
        // fails on other questions about such a document.
        if (!document || document->is_locked() || document->pages() < 1 || isCancelled(cancelled))
            return {};
        std::unique_ptr<poppler::page> page(document->create_page(0));
        if (!page)
            return {};
        const poppler::rectf box = page->page_rect();
        const double longest = std::max(box.width(), box.height());
        if (longest <= 0)
            return {};
        const double dpi = 72.0 * pixels / longest;
        poppler::page_renderer renderer;
        renderer.set_render_hint(poppler::page_renderer::antialiasing, true);
        renderer.set_render_hint(poppler::page_renderer::text_antialiasing, true);
        renderer.set_image_format(poppler::image::format_argb32);
        const poppler::image rendered = renderer.render_page(page.get(), dpi, dpi);
        if (!rendered.is_valid() || rendered.format() != poppler::image::format_argb32)
            return {};
        return fitted(
            QImage(reinterpret_cast<const uchar *>(rendered.const_data()), rendered.width(), rendered.height(), rendered.bytes_per_row(), QImage::Format_ARGB32)
                .copy(),
            pixels);
    }

    QImage video(const InputFile &file, const QString &path, int pixels)
    {
        // ffmpegthumbnailer decodes from a demuxer opened here over the descriptor; the name only helps
        // the probe. Seeking and decoding a damaged file get this long in all.
        constexpr qint64 kMaxMilliseconds = 20'000;
        const MediaInput::FormatInput input(file, QFileInfo(path).fileName(), kMaxMilliseconds);
        if (!input.context())
            return {};
        try {
            ffmpegthumbnailer::VideoThumbnailer thumbnailer(pixels, false, true, 8, false);
            thumbnailer.setLogCallback([](ThumbnailerLogLevel, const std::string &) {});
            // Past the opening titles and fades, as file managers pick their frame.
            thumbnailer.setSeekPercentage(10);
            std::vector<uint8_t> rgb;
            const QByteArray name = FilePath::toNative(path);
            const ffmpegthumbnailer::VideoFrameInfo frame
                = thumbnailer.generateThumbnail(std::string(name.constData(), size_t(name.size())), Rgb, rgb, input.context());
            if (frame.width <= 0 || frame.height <= 0 || rgb.size() < size_t(frame.width) * size_t(frame.height) * 3)
                return {};
            return fitted(QImage(rgb.data(), frame.width, frame.height, frame.width * 3, QImage::Format_RGB888).copy(), pixels);
        } catch (const std::exception &) {
            return {};
        }
    }

    QByteArray id3Cover(TagLib::ID3v2::Tag *tag)
    {
        if (!tag)
            return {};
        QByteArray first;
        for (TagLib::ID3v2::Frame *frame : tag->frameListMap()["APIC"]) {
            const auto *picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame *>(frame);
            if (!picture)
                continue;
            const QByteArray bytes(picture->picture().data(), qsizetype(picture->picture().size()));
            if (picture->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover)
                return bytes;
            if (first.isEmpty())
                first = bytes;
        }
        return first;
    }

    QByteArray flacCover(const TagLib::List<TagLib::FLAC::Picture *> &pictures)
    {
        QByteArray first;
        for (const TagLib::FLAC::Picture *picture : pictures) {
            const QByteArray bytes(picture->data().data(), qsizetype(picture->data().size()));
            if (picture->type() == TagLib::FLAC::Picture::FrontCover)
                return bytes;
            if (first.isEmpty())
                first = bytes;
        }
        return first;
    }

    QByteArray coverArt(const InputFile &input)
    {
        // The stream owns a copy of the descriptor; TagLib tells the format by the contents.
        TagLib::FileStream stream(input.duplicate(), true);
        if (!stream.isOpen())
            return {};
        const TagLib::FileRef ref(&stream, false);
        TagLib::File *file = ref.file();
        if (!file || !file->isValid())
            return {};
        if (auto *mpeg = dynamic_cast<TagLib::MPEG::File *>(file))
            return id3Cover(mpeg->ID3v2Tag());
        if (auto *flac = dynamic_cast<TagLib::FLAC::File *>(file)) {
            if (QByteArray cover = flacCover(flac->pictureList()); !cover.isEmpty())
                return cover;
            return id3Cover(flac->ID3v2Tag());
        }
        if (auto *mp4 = dynamic_cast<TagLib::MP4::File *>(file)) {
            if (TagLib::MP4::Tag *tag = mp4->tag(); tag && tag->contains("covr")) {
                const TagLib::MP4::CoverArtList covers = tag->item("covr").toCoverArtList();
                if (!covers.isEmpty())
                    return QByteArray(covers.front().data().data(), qsizetype(covers.front().data().size()));
            }
            return {};
        }
        if (auto *vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File *>(file))
            return vorbis->tag() ? flacCover(vorbis->tag()->pictureList()) : QByteArray();
        if (auto *opus = dynamic_cast<TagLib::Ogg::Opus::File *>(file))
            return opus->tag() ? flacCover(opus->tag()->pictureList()) : QByteArray();
        if (auto *wav = dynamic_cast<TagLib::RIFF::WAV::File *>(file))
            return id3Cover(wav->ID3v2Tag());
        if (auto *aiff = dynamic_cast<TagLib::RIFF::AIFF::File *>(file))
            return id3Cover(aiff->tag());
        if (auto *asf = dynamic_cast<TagLib::ASF::File *>(file)) {
            if (TagLib::ASF::Tag *tag = asf->tag(); tag && tag->contains("WM/Picture")) {
                const TagLib::ASF::AttributeList pictures = tag->attribute("WM/Picture");
                if (!pictures.isEmpty()) {
                    const TagLib::ByteVector data = pictures.front().toPicture().picture();
                    return QByteArray(data.data(), qsizetype(data.size()));
                }
            }
        }
        return {};
    }

} // namespace

QImage generate(const QString &path, Kind kind, int pixels, const std::atomic<bool> *cancelled)
{
    if (pixels <= 0 || isCancelled(cancelled))
        return {};
    if (kind == Kind::none)
        return {};
    quietLibraries();
    const InputFile file(path);
    if (!file.isOpen())
        return {};
    switch (kind) {
    case Kind::none:
        return {};
    case Kind::picture:
        return picture(file, pixels);
    case Kind::heif:
        return heif(file, pixels);
    case Kind::cameraRaw:
        return cameraRaw(file, pixels, cancelled);
    case Kind::pdf:
        return pdf(file, pixels, cancelled);
    case Kind::video:
        return video(file, path, pixels);
    case Kind::audio:
        break;
    }
    const QByteArray cover = coverArt(file);
    return cover.isEmpty() ? QImage() : fromBytes(cover, pixels);
}

} // namespace ThumbnailGenerator
