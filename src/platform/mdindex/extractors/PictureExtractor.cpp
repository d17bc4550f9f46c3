#include "ExtractorSupport.h"
#include "Extractors.h"
#include "ScreenCapture.h"
#include "media/MediaInput.h"

#include <QDateTime>
#include <QFile>
#include <QImageReader>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <QtEndian>

// exiv2 0.27 hands out std::auto_ptr.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <exiv2/exiv2.hpp>
#include <libheif/heif.h>
#include <libraw/libraw.h>

#include <cmath>
#include <cstring>
#include <mutex>
#include <optional>

using namespace Qt::StringLiterals;

namespace mdindex::extractors {

namespace {

    constexpr qsizetype kMaxValueLength = 256;
    constexpr qint64 kMaxTextChunk = 1024 * 1024;
    constexpr size_t kMaxHeifExif = 1024 * 1024;

    // What one picture told us, before it goes into the attributes.
    struct Picture {
        qint64 width = 0;
        qint64 height = 0;
        QString make;
        QString model;
        QDateTime created;
        bool byCaptureTool = false;
    };

    void setUpExiv2()
    {
        static std::once_flag once;
        std::call_once(once, [] {
            // Damaged files are an ordinary case here; exiv2 would report each on stderr.
            Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
            Exiv2::LogMsg::setHandler(nullptr);
            // The XMP toolkit under exiv2 is not thread-safe by itself.
            static std::mutex xmpMutex;
            Exiv2::XmpParser::initialize(
                [](void *data, bool lock) {
                    auto *mutex = static_cast<std::mutex *>(data);
                    lock ? mutex->lock() : mutex->unlock();
                },
                &xmpMutex);
        });
    }

    QString exifText(const Exiv2::ExifData &exif, const char *key)
    {
        const auto it = exif.findKey(Exiv2::ExifKey(key));
        if (it == exif.end() || it->count() == 0)
            return {};
        const std::string value = it->toString();
        // ASCII values often carry their terminator and padding.
        return QString::fromUtf8(value.c_str(), qsizetype(strnlen(value.c_str(), value.size()))).trimmed().left(kMaxValueLength);
    }

    // EXIF dates are local wall-clock times; the offset tags, where present, say which zone.
    QDateTime exifDate(const Exiv2::ExifData &exif)
    {
        static const char *const keys[][2] = {
            {"Exif.Photo.DateTimeOriginal", "Exif.Photo.OffsetTimeOriginal"},
            {"Exif.Photo.DateTimeDigitized", "Exif.Photo.OffsetTimeDigitized"},
        };
        for (const auto &[dateKey, offsetKey] : keys) {
            const QDateTime local = QDateTime::fromString(exifText(exif, dateKey).left(19), u"yyyy:MM:dd HH:mm:ss"_s);
            if (!local.isValid())
                continue;
            const QString offset = exifText(exif, offsetKey);
            if (offset.size() == 6 && (offset[0] == u'+' || offset[0] == u'-') && offset[3] == u':') {
                bool hoursOk = false, minutesOk = false;
                const int hours = offset.mid(1, 2).toInt(&hoursOk);
                const int minutes = offset.mid(4, 2).toInt(&minutesOk);
                if (hoursOk && minutesOk && hours <= 14 && minutes < 60) {
                    const int seconds = (hours * 3600 + minutes * 60) * (offset[0] == u'-' ? -1 : 1);
                    return QDateTime(local.date(), local.time(), Qt::OffsetFromUTC, seconds).toUTC();
                }
            }
            return local.toUTC();
        }
        return {};
    }

    // Make, model and date from EXIF; returns the orientation (1 when absent).
    long readExif(const Exiv2::ExifData &exif, Picture &picture)
    {
        picture.make = exifText(exif, "Exif.Image.Make");
        picture.model = exifText(exif, "Exif.Image.Model");
        picture.created = exifDate(exif);
        if (ScreenCapture::namesCaptureTool(exifText(exif, "Exif.Image.Software")))
            picture.byCaptureTool = true;
        const auto orientation = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
        return orientation != exif.end() && orientation->count() > 0 ? orientation->toLong() : 1;
    }

    bool swapsSides(long orientation)
    {
        return orientation >= 5 && orientation <= 8;
    }

    QString xmpText(const Exiv2::XmpData &xmp, const char *key)
    {
        const auto it = xmp.findKey(Exiv2::XmpKey(key));
        if (it == xmp.end() || it->count() == 0)
            return {};
        return QString::fromStdString(it->toString()).trimmed().left(kMaxValueLength);
    }

    // exiv2 reads through the descriptor: a cursor for its small reads, and the whole file for the
    // formats it maps (TIFF and its kin), up to kMaxMappedBytes.
    class DescriptorIo final : public Exiv2::BasicIo
    {
    public:
        explicit DescriptorIo(const InputFile &file)
            : m_file(file)
            , m_cursor(file)
        {
        }

        int open() override
        {
            m_cursor.seek(0);
            m_eof = false;
            return 0;
        }
        int close() override { return munmap(); }
        long write(const Exiv2::byte *, long) override { return 0; }
        long write(Exiv2::BasicIo &) override { return 0; }
        int putb(Exiv2::byte) override { return EOF; }
        Exiv2::DataBuf read(long count) override
        {
            // A length field of a damaged file must not become a huge allocation.
            Exiv2::DataBuf buffer(std::clamp<long>(long(std::min<qint64>(count, m_file.size() - m_cursor.position())), 0, std::max(count, 0L)));
            buffer.size_ = read(buffer.pData_, buffer.size_);
            return buffer;
        }
        long read(Exiv2::byte *buffer, long count) override
        {
            const qint64 n = count > 0 ? m_cursor.read(buffer, count) : 0;
            if (n < count)
                m_eof = true;
            return long(std::max<qint64>(n, 0));
        }
        int getb() override
        {
            const int c = m_cursor.getChar();
            if (c < 0)
                m_eof = true;
            return c < 0 ? EOF : c;
        }
        void transfer(Exiv2::BasicIo &) override { throw Exiv2::Error(Exiv2::kerFunctionNotSupported, "transfer"); }
        int seek(long offset, Position position) override
        {
            const qint64 target = offset + (position == cur ? m_cursor.position() : position == end ? m_file.size() : 0);
            if (target < 0 || target > m_file.size()) {
                m_eof = true;
                return 1;
            }
            m_cursor.seek(target);
            m_eof = false;
            return 0;
        }
        Exiv2::byte *mmap(bool writeable) override
        {
            if (writeable)
                throw Exiv2::Error(Exiv2::kerFunctionNotSupported, "mmap");
            if (m_mapped.isEmpty() && m_file.size() > 0) {
                m_mapped = m_file.readAll(kMaxMappedBytes);
                if (m_mapped.isEmpty())
                    throw Exiv2::Error(Exiv2::kerFailedToReadImageData);
            }
            return reinterpret_cast<Exiv2::byte *>(m_mapped.data());
        }
        int munmap() override
        {
            m_mapped.clear();
            return 0;
        }
        long tell() const override { return long(m_cursor.position()); }
        size_t size() const override { return size_t(m_file.size()); }
        bool isopen() const override { return true; }
        int error() const override { return 0; }
        bool eof() const override { return m_eof; }
        std::string path() const override { return {}; }

    private:
        static constexpr qint64 kMaxMappedBytes = 256 * 1024 * 1024;
        const InputFile &m_file;
        InputCursor m_cursor;
        QByteArray m_mapped;
        bool m_eof = false;
    };

    void readWithExiv2(const InputFile &file, Picture &picture)
    {
        setUpExiv2();
        try {
            auto image = Exiv2::ImageFactory::open(Exiv2::BasicIo::AutoPtr(new DescriptorIo(file)));
            if (!image.get())
                return;
            image->readMetadata();
            picture.width = image->pixelWidth();
            picture.height = image->pixelHeight();
            if (swapsSides(readExif(image->exifData(), picture)))
                std::swap(picture.width, picture.height);
            // Some programs write the camera only into XMP (a photo edited and saved again).
            const Exiv2::XmpData &xmp = image->xmpData();
            if (picture.make.isEmpty())
                picture.make = xmpText(xmp, "Xmp.tiff.Make");
            if (picture.model.isEmpty())
                picture.model = xmpText(xmp, "Xmp.tiff.Model");
            if (ScreenCapture::namesCaptureTool(xmpText(xmp, "Xmp.xmp.CreatorTool")))
                picture.byCaptureTool = true;
        } catch (const Exiv2::AnyError &) {
        } catch (const std::exception &) {
        }
    }

    void readHeif(const InputFile &file, Picture &picture)
    {
        static std::once_flag once;
        std::call_once(once, [] { heif_init(nullptr); });
        MediaInput::HeifReader reader(file);
        heif_context *context = heif_context_alloc();
        heif_image_handle *handle = nullptr;
        try {
            if (reader.readInto(context) && heif_context_get_primary_image_handle(context, &handle).code == heif_error_Ok) {
                // The handle's size has the rotation of the file applied already; HEIF's EXIF
                // orientation is informational only.
                picture.width = std::max(0, heif_image_handle_get_width(handle));
                picture.height = std::max(0, heif_image_handle_get_height(handle));
                heif_item_id id = 0;
                if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &id, 1) == 1) {
                    const size_t size = heif_image_handle_get_metadata_size(handle, id);
                    if (size > 4 && size <= kMaxHeifExif) {
                        std::vector<uint8_t> block(size);
                        if (heif_image_handle_get_metadata(handle, id, block.data()).code == heif_error_Ok) {
                            // A big-endian offset to the TIFF header comes first.
                            size_t start = 4 + qFromBigEndian<quint32>(block.data());
                            if (start + 6 <= size && memcmp(block.data() + start, "Exif\0\0", 6) == 0)
                                start += 6;
                            if (start < size) {
                                setUpExiv2();
                                Exiv2::ExifData exif;
                                Exiv2::ExifParser::decode(exif, block.data() + start, uint32_t(size - start));
                                readExif(exif, picture);
                            }
                        }
                    }
                }
            }
        } catch (const Exiv2::AnyError &) {
        } catch (const std::exception &) {
        }
        if (handle)
            heif_image_handle_release(handle);
        heif_context_free(context);
    }

    QString rawText(const char *text, size_t capacity)
    {
        return QString::fromUtf8(text, qsizetype(strnlen(text, capacity))).trimmed();
    }

    // Camera raw files: identification and sizes only, nothing is decoded.
    void readRaw(const InputFile &file, Picture &picture)
    {
        try {
            // Declared first: LibRaw reads through it until it is gone.
            MediaInput::RawStream stream(file);
            auto raw = std::make_unique<LibRaw>();
            raw->set_memerror_handler([](void *, const char *, const char *) {}, nullptr);
            raw->set_dataerror_handler([](void *, const char *, const int) {}, nullptr);
            if (raw->open_datastream(&stream) != LIBRAW_SUCCESS)
                return;
            if (raw->adjust_sizes_info_only() != LIBRAW_SUCCESS)
                return;
            const libraw_data_t &data = raw->imgdata;
            // adjust_sizes_info_only has swapped the sides for a rotated picture.
            picture.width = data.sizes.iwidth;
            picture.height = data.sizes.iheight;
            picture.make = rawText(data.idata.make, sizeof data.idata.make);
            picture.model = rawText(data.idata.model, sizeof data.idata.model);
            if (!picture.model.isEmpty() && !picture.make.isEmpty() && !picture.model.startsWith(picture.make, Qt::CaseInsensitive))
                picture.model = picture.make + u' ' + picture.model;
            if (data.other.timestamp > 0)
                picture.created = QDateTime::fromSecsSinceEpoch(qint64(data.other.timestamp), Qt::UTC);
        } catch (const std::exception &) {
        }
    }

    // A text chunk's keyword and value; iTXt and zTXt values may be compressed.
    std::pair<QByteArray, QString> pngText(QByteArrayView type, QByteArrayView data)
    {
        const qsizetype nul = data.indexOf('\0');
        if (nul <= 0 || nul > 79)
            return {};
        const QByteArray keyword = data.first(nul).toByteArray();
        QByteArrayView rest = data.sliced(nul + 1);
        if (type == "tEXt")
            return {keyword, QString::fromLatin1(rest)};
        if (type == "zTXt")
            return {keyword, rest.isEmpty() ? QString() : QString::fromLatin1(inflateBytes(rest.sliced(1), kMaxTextChunk, false))};
        // iTXt: compression flag and method, language tag, translated keyword, text.
        if (rest.size() < 2)
            return {};
        const bool compressed = rest[0] != 0;
        rest = rest.sliced(2);
        for (int field = 0; field < 2; ++field) {
            const qsizetype end = rest.indexOf('\0');
            if (end < 0)
                return {};
            rest = rest.sliced(end + 1);
        }
        return {keyword, QString::fromUtf8(compressed ? inflateBytes(rest, kMaxTextChunk, false) : rest.toByteArray())};
    }

    QString xmpCreatorTool(const QString &xmp)
    {
        const qsizetype at = xmp.indexOf(u"CreatorTool"_s);
        if (at < 0)
            return {};
        // Either an attribute (CreatorTool="...") or an element (<xmp:CreatorTool>...</...>).
        static const QRegularExpression valueStart(u"[\"'>]"_s);
        const qsizetype open = xmp.indexOf(valueStart, at);
        if (open < 0)
            return {};
        const QChar close = xmp[open] == u'>' ? u'<' : xmp[open];
        const qsizetype end = xmp.indexOf(close, open + 1);
        return end < 0 ? QString() : xmp.mid(open + 1, std::min<qsizetype>(end - open - 1, kMaxValueLength));
    }

    // Reads the size from the header and walks the chunk headers (skipping the image data, which is
    // never read) for a Software text or an XMP packet that names a capture tool. Done here rather than
    // by libpng, which reads the same chunks and reports every damaged one on the log.
    void readPng(const InputFile &file, Picture &picture)
    {
        uchar head[24];
        if (file.readAt(0, head, 24) != 24 || memcmp(head, "\x89PNG\r\n\x1a\n", 8) != 0 || memcmp(head + 12, "IHDR", 4) != 0)
            return;
        const quint32 width = qFromBigEndian<quint32>(head + 16);
        const quint32 height = qFromBigEndian<quint32>(head + 20);
        if (width <= 0x7fffffffu && height <= 0x7fffffffu) {
            picture.width = width;
            picture.height = height;
        }
        qint64 offset = 8;
        for (int chunk = 0; chunk < 4096 && offset + 12 <= file.size(); ++chunk) {
            uchar header[8];
            if (file.readAt(offset, header, 8) != 8)
                break;
            const quint32 length = qFromBigEndian<quint32>(header);
            const QByteArrayView type(reinterpret_cast<const char *>(header) + 4, 4);
            if (length > 0x7fffffffu || type == "IEND")
                break;
            if ((type == "tEXt" || type == "zTXt" || type == "iTXt") && length <= kMaxTextChunk) {
                const auto [keyword, value] = pngText(type, file.readAt(offset + 8, length));
                if ((keyword == "Software" && ScreenCapture::namesCaptureTool(value))
                    || (keyword == "XML:com.adobe.xmp" && ScreenCapture::namesCaptureTool(xmpCreatorTool(value)))) {
                    picture.byCaptureTool = true;
                    return;
                }
            }
            offset += 12 + qint64(length);
        }
    }

    // Formats whose header gives the size, read by Qt's image plugins without decoding.
    void readWithQt(const InputFile &file, Picture &picture)
    {
        QFile device;
        if (!file.openDevice(device))
            return;
        QImageReader reader(&device);
        const QSize size = reader.size();
        if (size.isValid()) {
            picture.width = size.width();
            picture.height = size.height();
        }
    }

    // SVG: the size its root element asks for, in CSS pixels (96 per inch); a width or height given in
    // relative units or as a percentage falls back to the view box, whose sides are user units, which
    // are pixels. Only the start of the file is read, as text: no entity outside it is ever fetched.
    std::optional<double> svgLength(QStringView text)
    {
        static const std::pair<QStringView, double> units[]
            = {{u"px", 1.0}, {u"in", 96.0}, {u"cm", 96.0 / 2.54}, {u"mm", 96.0 / 25.4}, {u"pt", 96.0 / 72.0}, {u"pc", 16.0}, {u"q", 96.0 / 101.6}};
        text = text.trimmed();
        double factor = 1.0;
        for (const auto &[unit, perUnit] : units) {
            if (text.endsWith(unit, Qt::CaseInsensitive)) {
                text.chop(unit.size());
                factor = perUnit;
                break;
            }
        }
        bool ok = false;
        const double value = text.trimmed().toDouble(&ok) * factor;
        if (!ok || !std::isfinite(value) || value <= 0 || value > 1e6)
            return std::nullopt;
        return value;
    }

    void readSvg(const InputFile &file, Picture &picture)
    {
        constexpr qint64 kMaxSvgHead = 256 * 1024;
        QByteArray head = file.readAt(0, kMaxSvgHead);
        // A compressed SVG (.svgz) is gzip around the text.
        if (head.startsWith("\x1f\x8b"))
            head = gunzipBytes(head, kMaxSvgHead);
        QXmlStreamReader xml(head);
        while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::StartElement) { }
        if (xml.tokenType() != QXmlStreamReader::StartElement || xml.name() != u"svg")
            return;
        const QXmlStreamAttributes attributes = xml.attributes();
        std::optional<double> width = svgLength(attributes.value(QLatin1StringView("width")));
        std::optional<double> height = svgLength(attributes.value(QLatin1StringView("height")));
        static const QRegularExpression separators(u"[\\s,]+"_s);
        const QStringList box = attributes.value(QLatin1StringView("viewBox")).toString().split(separators, Qt::SkipEmptyParts);
        std::optional<double> boxWidth, boxHeight;
        if (box.size() == 4) {
            boxWidth = svgLength(box[2]);
            boxHeight = svgLength(box[3]);
        }
        if (boxWidth && boxHeight) {
            // One side given: the other keeps the view box's proportions.
            if (width && !height)
                height = *width * *boxHeight / *boxWidth;
            else if (height && !width)
                width = *height * *boxWidth / *boxHeight;
            else if (!width && !height) {
                width = boxWidth;
                height = boxHeight;
            }
        }
        if (width && height) {
            picture.width = std::max<qint64>(1, std::llround(*width));
            picture.height = std::max<qint64>(1, std::llround(*height));
        }
    }

    class PictureExtractor final : public Extractor
    {
    public:
        bool wants(const FileFacts &facts) const override { return conforms(facts, UTType::image()); }

        void extract(const QString &path, const FileFacts &facts, ExtractedAttributes &into) const override
        {
            Picture picture;
            const InputFile file(path);
            if (!file.isOpen()) {
            } else if (conforms(facts, u"public.heif-standard") || conforms(facts, u"public.avif")) {
                readHeif(file, picture);
            } else if (conforms(facts, u"public.camera-raw-image")) {
                readRaw(file, picture);
            } else if (conforms(facts, u"public.png")) {
                readPng(file, picture);
            } else if (conforms(facts, u"public.svg-image")) {
                readSvg(file, picture);
            } else if (conforms(facts, u"com.compuserve.gif") || conforms(facts, u"org.webmproject.webp")) {
                readWithQt(file, picture);
            } else {
                readWithExiv2(file, picture);
                // Formats exiv2 does not know; a JPEG or TIFF it could not size is damaged, and Qt would
                // only say so on the log.
                if ((picture.width <= 0 || picture.height <= 0) && !conforms(facts, u"public.jpeg") && !conforms(facts, u"public.tiff"))
                    readWithQt(file, picture);
            }

            if (picture.width > 0 && picture.height > 0) {
                into.insert(MDAttribute::pixelWidth.toString(), picture.width);
                into.insert(MDAttribute::pixelHeight.toString(), picture.height);
            }
            if (!picture.make.isEmpty())
                into.insert(MDAttribute::acquisitionMake.toString(), picture.make);
            if (!picture.model.isEmpty())
                into.insert(MDAttribute::acquisitionModel.toString(), picture.model);
            if (picture.created.isValid())
                into.insert(MDAttribute::contentCreationDate.toString(), picture.created);
            // Every picture says whether it is a screen capture, so that "not a screen capture" finds
            // the others too: a missing attribute satisfies no comparison.
            into.insert(MDAttribute::isScreenCapture.toString(), picture.byCaptureTool || ScreenCapture::byPlaceOrName(path, facts.name, false));
        }
    };

} // namespace

std::unique_ptr<Extractor> makePictureExtractor()
{
    return std::make_unique<PictureExtractor>();
}

} // namespace mdindex::extractors
