#include "ExtractorSupport.h"

#include <QStringDecoder>

#include <algorithm>
#include <cstring>
#include <limits>
#include <zlib.h>

namespace mdindex::extractors {

bool conforms(const FileFacts &facts, const UTType &type)
{
    const auto own = UTType::fromIdentifier(facts.contentType);
    return own && own->conforms(type);
}

bool conforms(const FileFacts &facts, QStringView identifier)
{
    const auto own = UTType::fromIdentifier(facts.contentType);
    return own && own->conforms(identifier);
}

QString decodeText(QByteArrayView bytes)
{
    const auto startsWith = [&](const char *mark, qsizetype n) { return bytes.size() >= n && memcmp(bytes.data(), mark, size_t(n)) == 0; };
    if (startsWith("\xFF\xFE", 2))
        return QStringDecoder(QStringDecoder::Utf16LE).decode(bytes);
    if (startsWith("\xFE\xFF", 2))
        return QStringDecoder(QStringDecoder::Utf16BE).decode(bytes);
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString text = utf8.decode(bytes);
    if (!utf8.hasError())
        return text;
    return QString::fromLatin1(bytes);
}

void capText(QString &text)
{
    if (text.size() <= kTextKeepLimit)
        return;
    qsizetype end = kTextKeepLimit;
    if (text.at(end - 1).isHighSurrogate())
        --end;
    text.truncate(end);
}

namespace {

    QByteArray inflateWith(QByteArrayView compressed, qsizetype limit, int windowBits)
    {
        QByteArray out;
        z_stream stream {};
        if (inflateInit2(&stream, windowBits) != Z_OK)
            return out;
        stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(compressed.data()));
        stream.avail_in = uInt(std::min<qsizetype>(compressed.size(), std::numeric_limits<uInt>::max()));
        char chunk[64 * 1024];
        while (out.size() < limit) {
            stream.next_out = reinterpret_cast<Bytef *>(chunk);
            stream.avail_out = uInt(std::min<qsizetype>(sizeof chunk, limit - out.size()));
            const int status = inflate(&stream, Z_NO_FLUSH);
            out.append(chunk, qsizetype(reinterpret_cast<char *>(stream.next_out) - chunk));
            // Z_BUF_ERROR with no input left is a cut stream: keep what came out.
            if (status != Z_OK)
                break;
        }
        inflateEnd(&stream);
        return out;
    }

} // namespace

QByteArray inflateBytes(QByteArrayView compressed, qsizetype limit, bool raw)
{
    return inflateWith(compressed, limit, raw ? -MAX_WBITS : MAX_WBITS);
}

QByteArray gunzipBytes(QByteArrayView compressed, qsizetype limit)
{
    // 16 added to the window bits: a gzip header and trailer around the stream.
    return inflateWith(compressed, limit, 16 + MAX_WBITS);
}

} // namespace mdindex::extractors
