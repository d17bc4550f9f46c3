#pragma once

// Real files of every kind the extractors read, made by the tools and libraries that make such files
// in the wild: Qt's writers, ffmpeg, exiv2, libheif and zip.

#include "mdindex/Crawler.h"
#include "mdindex/extractors/Extractors.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QTemporaryDir>

#include <libheif/heif.h>

namespace samples {

// Runs a tool to completion; the error says what went wrong.
inline bool run(const QString &program, const QStringList &arguments, QString *error, const QString &workingDirectory = {})
{
    QProcess process;
    process.setWorkingDirectory(workingDirectory);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(120'000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        if (error)
            *error = program + QLatin1String(": ") + QString::fromLocal8Bit(process.readAll()) + process.errorString();
        return false;
    }
    return true;
}

inline bool write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

inline QImage picture(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x * 255 / width, y * 255 / height, 128));
    }
    return image;
}

// A JPEG with the camera's EXIF tags written by exiv2 ("set KEY VALUE" commands).
inline bool jpeg(const QString &path, int width, int height, const QStringList &exifCommands, QString *error)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (!picture(width, height).save(path, "JPEG")) {
        *error = QLatin1String("QImage cannot write JPEG");
        return false;
    }
    QStringList arguments;
    for (const QString &command : exifCommands)
        arguments << QLatin1String("-M") << command;
    return exifCommands.isEmpty() || run(QLatin1String("exiv2"), arguments << path, error);
}

inline bool png(const QString &path, int width, int height, const QString &software = {})
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image = picture(width, height);
    if (!software.isEmpty())
        image.setText(QLatin1String("Software"), software);
    return image.save(path, "PNG");
}

// A HEIC encoded by libheif's own HEVC encoder, with the rotation stored in the file and optionally an
// EXIF block (libheif puts the offset of its TIFF header in front, as cameras do).
inline bool heic(const QString &path, int width, int height, heif_orientation orientation, QString *error, const QByteArray &exif = {})
{
    // libheif reports success even where it could not create the file.
    QDir().mkpath(QFileInfo(path).absolutePath());
    heif_context *context = heif_context_alloc();
    heif_encoder *encoder = nullptr;
    heif_image *image = nullptr;
    heif_encoding_options *options = heif_encoding_options_alloc();
    bool ok = false;
    if (heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code != heif_error_Ok) {
        *error = QLatin1String("libheif has no HEVC encoder");
    } else if (heif_image_create(width, height, heif_colorspace_YCbCr, heif_chroma_420, &image).code == heif_error_Ok) {
        const heif_channel channels[] = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr};
        for (heif_channel channel : channels) {
            const int w = channel == heif_channel_Y ? width : (width + 1) / 2;
            const int h = channel == heif_channel_Y ? height : (height + 1) / 2;
            heif_image_add_plane(image, channel, w, h, 8);
            int stride = 0;
            uint8_t *plane = heif_image_get_plane(image, channel, &stride);
            for (int y = 0; y < h; ++y)
                memset(plane + y * stride, channel == heif_channel_Y ? (y * 255 / h) : 128, size_t(w));
        }
        options->image_orientation = orientation;
        heif_image_handle *handle = nullptr;
        const heif_error encoded = heif_context_encode_image(context, image, encoder, options, &handle);
        ok = encoded.code == heif_error_Ok;
        if (ok && !exif.isEmpty())
            ok = heif_context_add_exif_metadata(context, handle, exif.constData(), int(exif.size())).code == heif_error_Ok;
        if (handle)
            heif_image_handle_release(handle);
        ok = ok && heif_context_write_to_file(context, QFile::encodeName(path).constData()).code == heif_error_Ok;
        if (!ok)
            *error = QLatin1String("libheif cannot encode: ") + QLatin1String(encoded.message);
    }
    heif_encoding_options_free(options);
    if (image)
        heif_image_release(image);
    if (encoder)
        heif_encoder_release(encoder);
    heif_context_free(context);
    return ok;
}

// Two seconds of a sine tone with the given tags ("artist=...").
inline bool audio(const QString &path, const QStringList &tags, QString *error)
{
    QStringList arguments {QLatin1String("-v"), QLatin1String("error"), QLatin1String("-y"), QLatin1String("-f"), QLatin1String("lavfi"), QLatin1String("-i"),
        QLatin1String("sine=frequency=440:duration=2")};
    for (const QString &tag : tags)
        arguments << QLatin1String("-metadata") << tag;
    return run(QLatin1String("ffmpeg"), arguments << path, error);
}

// Two seconds of a 320×240 test picture with sound; `rotation` goes into the stream's display matrix.
inline bool video(const QString &path, const QStringList &codecArguments, int rotation, const QString &creationTime, QString *error)
{
    const QString plain = rotation ? path + QLatin1String(".unrotated.") + QFileInfo(path).suffix() : path;
    QStringList arguments {QLatin1String("-v"), QLatin1String("error"), QLatin1String("-y"), QLatin1String("-f"), QLatin1String("lavfi"), QLatin1String("-i"),
        QLatin1String("testsrc=size=320x240:rate=10:duration=2"), QLatin1String("-f"), QLatin1String("lavfi"), QLatin1String("-i"),
        QLatin1String("sine=frequency=440:duration=2")};
    arguments << codecArguments;
    if (!creationTime.isEmpty())
        arguments << QLatin1String("-metadata") << QLatin1String("creation_time=") + creationTime;
    if (!run(QLatin1String("ffmpeg"), arguments << plain, error))
        return false;
    if (!rotation)
        return true;
    // ffmpeg writes the rotation tag into the matrix only when it copies the stream, and the copy
    // needs the creation time again.
    QStringList remux {QLatin1String("-v"), QLatin1String("error"), QLatin1String("-y"), QLatin1String("-i"), plain, QLatin1String("-c"), QLatin1String("copy"),
        QLatin1String("-metadata:s:v:0"), QLatin1String("rotate=") + QString::number(rotation)};
    if (!creationTime.isEmpty())
        remux << QLatin1String("-metadata") << QLatin1String("creation_time=") + creationTime;
    const bool ok = run(QLatin1String("ffmpeg"), remux << path, error);
    QFile::remove(plain);
    return ok;
}

// A little-endian TIFF header with IFD0 holding Make and Model, as the EXIF block of a HEIF has it.
inline QByteArray exifBlock(const QByteArray &make, const QByteArray &model)
{
    const auto u16 = [](QByteArray &out, quint16 v) { out.append(char(v & 0xFF)).append(char(v >> 8)); };
    const auto u32 = [&](QByteArray &out, quint32 v) {
        u16(out, quint16(v & 0xFFFF));
        u16(out, quint16(v >> 16));
    };
    QByteArray tiff("II*\0", 4);
    u32(tiff, 8);
    u16(tiff, 2);
    const quint32 data = 8 + 2 + 2 * 12 + 4;
    const QByteArray values[] = {make + '\0', model + '\0'};
    quint32 offset = data;
    for (int i = 0; i < 2; ++i) {
        u16(tiff, i == 0 ? 0x010F : 0x0110);
        u16(tiff, 2); // ASCII
        u32(tiff, quint32(values[i].size()));
        u32(tiff, offset);
        offset += quint32(values[i].size());
    }
    u32(tiff, 0);
    return QByteArray("Exif\0\0", 6) + tiff + values[0] + values[1];
}

// A minimal DNG, as raw converters and some cameras write: one strip of 16-bit Bayer samples in a
// little-endian TIFF with the DNG tags, the camera's make and model, an orientation and a date.
inline bool dng(const QString &path, quint32 width, quint32 height, quint16 orientation, const QByteArray &make, const QByteArray &model)
{
    struct Entry {
        quint16 tag;
        quint16 type; // 1 BYTE, 2 ASCII, 3 SHORT, 4 LONG, 10 SRATIONAL
        quint32 count;
        QByteArray value;
    };
    const auto le = [](quint64 v, int bytes) {
        QByteArray out;
        for (int i = 0; i < bytes; ++i)
            out.append(char((v >> (8 * i)) & 0xFF));
        return out;
    };
    const auto shorts = [&](std::initializer_list<quint16> values) {
        QByteArray out;
        for (quint16 v : values)
            out += le(v, 2);
        return Entry {0, 3, quint32(values.size()), out};
    };
    const auto ascii = [](const QByteArray &text) { return Entry {0, 2, quint32(text.size() + 1), text + '\0'}; };
    const auto tagged = [](quint16 tag, Entry entry) {
        entry.tag = tag;
        return entry;
    };
    QByteArray colorMatrix; // identity, as signed rationals
    for (int i = 0; i < 9; ++i)
        colorMatrix += le(i % 4 == 0 ? 1 : 0, 4) + le(1, 4);
    const quint32 stripBytes = width * height * 2;
    QList<Entry> entries {
        {254, 4, 1, le(0, 4)},
        {256, 4, 1, le(width, 4)},
        {257, 4, 1, le(height, 4)},
        tagged(258, shorts({16})),
        tagged(259, shorts({1})),
        tagged(262, shorts({32803})), // colour filter array
        tagged(271, ascii(make)),
        tagged(272, ascii(model)),
        {273, 4, 1, {}}, // the strip's offset, filled in below
        tagged(274, shorts({orientation})),
        tagged(277, shorts({1})),
        {278, 4, 1, le(height, 4)},
        {279, 4, 1, le(stripBytes, 4)},
        tagged(284, shorts({1})),
        tagged(306, ascii("2024:05:06 07:08:09")),
        tagged(33421, shorts({2, 2})),
        {33422, 1, 4, QByteArray("\x00\x01\x01\x02", 4)}, // RGGB
        {50706, 1, 4, QByteArray("\x01\x04\x00\x00", 4)},
        tagged(50708, ascii(make + ' ' + model)),
        {50721, 10, 9, colorMatrix},
        tagged(50778, shorts({21})),
    };
    const quint32 ifdSize = 2 + quint32(entries.size()) * 12 + 4;
    quint32 dataOffset = 8 + ifdSize;
    for (const Entry &entry : entries)
        dataOffset += entry.value.size() > 4 ? quint32(entry.value.size() + (entry.value.size() & 1)) : 0;
    entries[8].value = le(dataOffset, 4);

    QByteArray ifd = le(quint64(entries.size()), 2);
    QByteArray data;
    for (const Entry &entry : entries) {
        ifd += le(entry.tag, 2) + le(entry.type, 2) + le(entry.count, 4);
        if (entry.value.size() <= 4) {
            ifd += entry.value + QByteArray(4 - entry.value.size(), '\0');
        } else {
            ifd += le(8 + ifdSize + quint32(data.size()), 4);
            data += entry.value;
            if (data.size() & 1)
                data += '\0';
        }
    }
    ifd += le(0, 4);
    QByteArray samples;
    samples.reserve(qsizetype(stripBytes));
    for (quint32 y = 0; y < height; ++y) {
        for (quint32 x = 0; x < width; ++x)
            samples += le((x * 4096 / width + y * 8192 / height) & 0xFFFF, 2);
    }
    return write(path, QByteArray("II*\0", 4) + le(8, 4) + ifd + data + samples);
}

// A PDF with one line of text per page. Qt writes no author; `authors` goes in as the creator, whose
// key is then renamed in place (same length, so the cross-reference offsets stay right).
inline bool pdf(const QString &path, const QString &title, const QStringList &pageTexts, const QString &authors = {})
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QPdfWriter writer(path);
    writer.setTitle(title);
    if (!authors.isEmpty())
        writer.setCreator(authors);
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    painter.setFont(QFont(QLatin1String("DejaVu Sans"), 14));
    for (qsizetype i = 0; i < pageTexts.size(); ++i) {
        if (i > 0)
            writer.newPage();
        painter.drawText(QPointF(400, 800), pageTexts[i]);
    }
    if (!painter.end())
        return false;
    if (authors.isEmpty())
        return true;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QByteArray bytes = file.readAll();
    file.close();
    bytes.replace("/Creator", "/Author ");
    return write(path, bytes);
}

// A zip of the given members made by the zip tool; `store` keeps them uncompressed.
inline bool zip(const QString &path, const QList<std::pair<QString, QByteArray>> &members, bool store, QString *error)
{
    QTemporaryDir staging;
    QStringList names;
    for (const auto &[name, contents] : members) {
        if (!write(staging.filePath(name), contents)) {
            *error = QLatin1String("cannot stage ") + name;
            return false;
        }
        names << name;
    }
    QFile::remove(path);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QStringList arguments {QLatin1String("-q"), QLatin1String("-X"), store ? QLatin1String("-0") : QLatin1String("-9"), path};
    return run(QLatin1String("zip"), arguments << names, error, staging.path());
}

inline bool odt(const QString &path, const QByteArray &bodyXml, const QString &title, QString *error)
{
    const QByteArray office = "xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
                              "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\" "
                              "xmlns:meta=\"urn:oasis:names:tc:opendocument:xmlns:meta:1.0\" "
                              "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" office:version=\"1.2\"";
    return zip(path,
        {
            {QLatin1String("mimetype"), "application/vnd.oasis.opendocument.text"},
            {QLatin1String("META-INF/manifest.xml"),
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?><manifest:manifest "
                "xmlns:manifest=\"urn:oasis:names:tc:opendocument:xmlns:manifest:1.0\" manifest:version=\"1.2\"><manifest:file-entry "
                "manifest:full-path=\"/\" manifest:media-type=\"application/vnd.oasis.opendocument.text\"/><manifest:file-entry "
                "manifest:full-path=\"content.xml\" manifest:media-type=\"text/xml\"/></manifest:manifest>"},
            {QLatin1String("content.xml"),
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?><office:document-content " + office + "><office:body><office:text>" + bodyXml
                    + "</office:text></office:body></office:document-content>"},
            {QLatin1String("meta.xml"),
                "<?xml version=\"1.0\" encoding=\"UTF-8\"?><office:document-meta " + office + "><office:meta><dc:title>" + title.toUtf8()
                    + "</dc:title><meta:initial-creator>Grace Hopper</meta:initial-creator></office:meta></office:document-meta>"},
        },
        true, error);
}

// An OOXML package: the parts given plus the content types and relationships every package has.
inline bool ooxml(const QString &path, QList<std::pair<QString, QByteArray>> parts, QString *error)
{
    parts.prepend({QLatin1String("[Content_Types].xml"),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
        "<Default Extension=\"xml\" ContentType=\"application/xml\"/></Types>"});
    parts.prepend({QLatin1String("_rels/.rels"),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"/>"});
    return zip(path, parts, false, error);
}

inline QByteArray docxBody(const QByteArray &paragraphs)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><w:document xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\"><w:body>"
        + paragraphs + "</w:body></w:document>";
}

inline QByteArray slide(const QByteArray &text)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><p:sld xmlns:p=\"http://schemas.openxmlformats.org/presentationml/2006/main\" "
           "xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\"><p:cSld><p:spTree><p:sp><p:txBody><a:p><a:r><a:t>"
        + text + "</a:t></a:r></a:p></p:txBody></p:sp></p:spTree></p:cSld></p:sld>";
}

// Facts as the index's walk gives them, with the content type the crawler assigns.
inline mdindex::FileFacts factsOf(const QString &path)
{
    std::optional<mdindex::FileFacts> facts = mdindex::Crawler::stat(path);
    if (!facts)
        return {};
    const QFileInfo info(path);
    facts->name = info.fileName();
    facts->contentType = mdindex::Crawler::contentType(info.absolutePath(), *facts);
    return *facts;
}

// What every extractor that wants the file gives, as the index gathers it.
inline mdindex::ExtractedAttributes extract(
    const std::vector<std::unique_ptr<mdindex::Extractor>> &extractors, const QString &path, const mdindex::FileFacts &facts)
{
    mdindex::ExtractedAttributes attributes;
    for (const auto &extractor : extractors) {
        if (extractor->wants(facts))
            extractor->extract(path, facts, attributes);
    }
    return attributes;
}

} // namespace samples
