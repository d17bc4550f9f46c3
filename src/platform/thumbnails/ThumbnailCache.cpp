#include "ThumbnailCache.h"

#include "FilePath.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QImageWriter>
#include <QSaveFile>
#include <QStandardPaths>

#include <array>
#include <cstring>

#include <sys/stat.h>

namespace ThumbnailCache {

namespace {

    constexpr Flavor kFlavors[] = {Flavor::normal, Flavor::large, Flavor::xLarge, Flavor::xxLarge};
    const char *const kUriKey = "Thumb::URI";
    const char *const kMTimeKey = "Thumb::MTime";

    // The bytes g_filename_to_uri leaves as they are in a path; everything else is escaped.
    bool keptInPath(uchar c)
    {
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
            return true;
        return std::strchr("-._~!$&'()*+,/:=@", c) != nullptr && c != 0;
    }

    QByteArray inflate(const QByteArray &zlib)
    {
        // qUncompress wants the size up front; a guess will do, it grows the buffer as needed.
        const quint32 guess = quint32(std::min<qsizetype>(zlib.size() * 8 + 64, 1 << 20));
        QByteArray framed(4, Qt::Uninitialized);
        framed[0] = char(guess >> 24);
        framed[1] = char(guess >> 16);
        framed[2] = char(guess >> 8);
        framed[3] = char(guess);
        return qUncompress(framed + zlib);
    }

    // The text chunks before the picture data. QImageReader splits keys at their colons, so
    // "Thumb::URI" cannot be asked of it.
    QHash<QByteArray, QByteArray> pngText(const QByteArray &png)
    {
        QHash<QByteArray, QByteArray> text;
        static const QByteArray signature("\x89PNG\r\n\x1a\n", 8);
        if (!png.startsWith(signature))
            return text;
        qsizetype at = signature.size();
        while (at + 12 <= png.size()) {
            const auto *p = reinterpret_cast<const uchar *>(png.constData() + at);
            const quint32 length = quint32(p[0]) << 24 | quint32(p[1]) << 16 | quint32(p[2]) << 8 | quint32(p[3]);
            const QByteArray type = png.mid(at + 4, 4);
            if (type == "IDAT" || qint64(length) > png.size() - at - 12)
                break;
            const QByteArray data = png.mid(at + 8, qsizetype(length));
            const qsizetype nul = data.indexOf('\0');
            if (nul > 0 && type == "tEXt") {
                text.insert(data.left(nul), data.mid(nul + 1));
            } else if (nul > 0 && type == "zTXt" && data.size() > nul + 2) {
                // Qt's own writer compresses any text longer than 40 characters.
                text.insert(data.left(nul), inflate(data.mid(nul + 2)));
            } else if (nul > 0 && type == "iTXt" && data.size() > nul + 2) {
                // Key, compression flag and method, language, translated key, text.
                const bool compressed = data.at(nul + 1) != 0;
                const qsizetype language = data.indexOf('\0', nul + 3);
                const qsizetype translated = language < 0 ? -1 : data.indexOf('\0', language + 1);
                if (translated > 0)
                    text.insert(data.left(nul), compressed ? inflate(data.mid(translated + 1)) : data.mid(translated + 1));
            }
            at += 12 + qsizetype(length);
        }
        return text;
    }

    bool belongsTo(const QHash<QByteArray, QByteArray> &text, const Source &source)
    {
        if (text.value(kUriKey) != source.uri)
            return false;
        bool ok = false;
        // Some writers store fractions; the whole seconds are what counts.
        const double mtime = text.value(kMTimeKey).toDouble(&ok);
        return ok && qint64(mtime) == source.mtime;
    }

    QByteArray readSmallFile(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly) || file.size() > 64 << 20)
            return {};
        return file.readAll();
    }

    bool makePrivateFolder(const QString &path)
    {
        if (QFileInfo(path).isDir())
            return true;
        const QFileInfo parent(QFileInfo(path).absolutePath());
        if (!parent.isDir() && !makePrivateFolder(parent.absoluteFilePath()))
            return false;
        return QDir().mkdir(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner) || QFileInfo(path).isDir();
    }

    quint32 crc32(const QByteArray &bytes)
    {
        static const auto table = [] {
            std::array<quint32, 256> t {};
            for (quint32 n = 0; n < 256; ++n) {
                quint32 c = n;
                for (int k = 0; k < 8; ++k)
                    c = (c & 1) ? 0xedb88320u ^ (c >> 1) : c >> 1;
                t[n] = c;
            }
            return t;
        }();
        quint32 c = 0xffffffffu;
        for (const char byte : bytes)
            c = table[(c ^ uchar(byte)) & 0xff] ^ (c >> 8);
        return c ^ 0xffffffffu;
    }

    void appendBigEndian(QByteArray &out, quint32 value)
    {
        out += char(value >> 24);
        out += char(value >> 16);
        out += char(value >> 8);
        out += char(value);
    }

    QByteArray textChunk(const QByteArray &key, const QByteArray &value)
    {
        const QByteArray body = "tEXt" + key + '\0' + value;
        QByteArray chunk;
        appendBigEndian(chunk, quint32(body.size() - 4));
        chunk += body;
        appendBigEndian(chunk, crc32(body));
        return chunk;
    }

    bool savePng(const QString &folder, const QString &name, const QImage &image, const Source &source, const QString &mimeType)
    {
        if (!makePrivateFolder(folder))
            return false;
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QImageWriter writer(&buffer, "png");
        // Light compression: a fifth of the default's time for a sixth more bytes, and writing is
        // on the path of every tile seen for the first time.
        writer.setQuality(80);
        if (!writer.write(image))
            return false;
        QByteArray png = buffer.data();
        // Plain text chunks right after the header, where every reader finds them before the
        // picture data (Qt's writer would compress the longer ones).
        QByteArray text = textChunk(kUriKey, source.uri) + textChunk(kMTimeKey, QByteArray::number(source.mtime))
            + textChunk("Thumb::Size", QByteArray::number(source.size)) + textChunk("Software", "Velk");
        if (!mimeType.isEmpty())
            text += textChunk("Thumb::Mimetype", mimeType.toLatin1());
        constexpr qsizetype headerEnd = 8 + 12 + 13;
        if (png.size() < headerEnd || png.mid(12, 4) != "IHDR")
            return false;
        png.insert(headerEnd, text);

        // Written beside its final name and renamed into place, so a reader never sees half a file.
        QSaveFile file(folder + QLatin1Char('/') + name);
        if (!file.open(QIODevice::WriteOnly))
            return false;
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        if (file.write(png) != png.size()) {
            file.cancelWriting();
            return false;
        }
        return file.commit();
    }

} // namespace

std::optional<Source> Source::of(const QString &path)
{
    struct stat st;
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (::stat(FilePath::toNative(absolute).constData(), &st) != 0)
        return std::nullopt;
    Source source;
    source.path = absolute;
    source.uri = fileUri(absolute);
    source.mtime = st.st_mtim.tv_sec;
    source.size = st.st_size;
    return source;
}

int maximumSide(Flavor flavor)
{
    return 128 << int(flavor);
}

QString folderName(Flavor flavor)
{
    switch (flavor) {
    case Flavor::normal:
        return QStringLiteral("normal");
    case Flavor::large:
        return QStringLiteral("large");
    case Flavor::xLarge:
        return QStringLiteral("x-large");
    case Flavor::xxLarge:
        break;
    }
    return QStringLiteral("xx-large");
}

Flavor flavorFor(int pixels)
{
    for (Flavor flavor : kFlavors) {
        if (pixels <= maximumSide(flavor))
            return flavor;
    }
    return Flavor::xxLarge;
}

QString root()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + QStringLiteral("/thumbnails");
}

QByteArray fileUri(const QString &path)
{
    static const char hex[] = "0123456789ABCDEF";
    QByteArray uri("file://");
    for (const char ch : FilePath::toNative(path)) {
        const auto c = uchar(ch);
        if (keptInPath(c)) {
            uri += char(c);
        } else {
            uri += '%';
            uri += hex[c >> 4];
            uri += hex[c & 15];
        }
    }
    return uri;
}

QString fileName(const QByteArray &uri)
{
    return QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) + QStringLiteral(".png");
}

QString pathFor(const QByteArray &uri, Flavor flavor)
{
    return root() + QLatin1Char('/') + folderName(flavor) + QLatin1Char('/') + fileName(uri);
}

std::optional<QImage> read(const Source &source, Flavor smallest)
{
    const QString name = fileName(source.uri);
    for (Flavor flavor : kFlavors) {
        if (flavor < smallest)
            continue;
        const QByteArray png = readSmallFile(root() + QLatin1Char('/') + folderName(flavor) + QLatin1Char('/') + name);
        if (png.isEmpty() || !belongsTo(pngText(png), source))
            continue;
        QImage image = QImage::fromData(png, "png");
        if (!image.isNull())
            return image;
    }
    return std::nullopt;
}

bool write(const Source &source, Flavor flavor, const QImage &image, const QString &mimeType)
{
    const QString cache = root();
    if (image.isNull() || source.path.startsWith(cache + QLatin1Char('/')))
        return false;
    const int side = maximumSide(flavor);
    QImage stored = image;
    if (stored.width() > side || stored.height() > side)
        stored = stored.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return savePng(cache + QLatin1Char('/') + folderName(flavor), fileName(source.uri), stored, source, mimeType);
}

bool hasFailed(const Source &source)
{
    const QByteArray png = readSmallFile(root() + QStringLiteral("/fail/velk/") + fileName(source.uri));
    return !png.isEmpty() && belongsTo(pngText(png), source);
}

bool writeFailure(const Source &source)
{
    const QString cache = root();
    if (source.path.startsWith(cache + QLatin1Char('/')))
        return false;
    QImage mark(1, 1, QImage::Format_ARGB32);
    mark.fill(Qt::transparent);
    return savePng(cache + QStringLiteral("/fail/velk"), fileName(source.uri), mark, source, {});
}

} // namespace ThumbnailCache
