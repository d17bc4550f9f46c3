#include "FilePath.h"

namespace FilePath {

namespace {

    constexpr char16_t kEscapeBase = 0xDC00;

    bool isEscapedByte(char16_t c)
    {
        return c >= 0xDC80 && c <= 0xDCFF;
    }

    // Length of the valid UTF-8 sequence at `i`, or 0 when the byte there starts none.
    qsizetype validSequence(QByteArrayView bytes, qsizetype i)
    {
        const auto at = [&](qsizetype k) { return uchar(bytes[k]); };
        const uchar lead = at(i);
        if (lead < 0x80)
            return 1;
        qsizetype length = 0;
        char32_t min = 0;
        char32_t cp = 0;
        if ((lead & 0xE0) == 0xC0) {
            length = 2;
            min = 0x80;
            cp = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            min = 0x800;
            cp = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            min = 0x10000;
            cp = lead & 0x07;
        } else {
            return 0;
        }
        if (i + length > bytes.size())
            return 0;
        for (qsizetype k = 1; k < length; ++k) {
            if ((at(i + k) & 0xC0) != 0x80)
                return 0;
            cp = (cp << 6) | (at(i + k) & 0x3F);
        }
        // Overlong forms, surrogates and code points past Unicode are not valid UTF-8.
        if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            return 0;
        return length;
    }

} // namespace

QString fromNative(QByteArrayView bytes)
{
    QString out;
    out.reserve(bytes.size());
    qsizetype i = 0;
    qsizetype runStart = 0;
    const auto flush = [&](qsizetype end) {
        if (end > runStart)
            out += QString::fromUtf8(bytes.sliced(runStart, end - runStart));
    };
    while (i < bytes.size()) {
        const qsizetype n = validSequence(bytes, i);
        if (n > 0) {
            i += n;
            continue;
        }
        flush(i);
        out += QChar(char16_t(kEscapeBase + uchar(bytes[i])));
        ++i;
        runStart = i;
    }
    flush(i);
    return out;
}

QByteArray toNative(QStringView path)
{
    QByteArray out;
    out.reserve(path.size());
    qsizetype runStart = 0;
    const auto flush = [&](qsizetype end) {
        if (end > runStart)
            out += path.sliced(runStart, end - runStart).toUtf8();
    };
    for (qsizetype i = 0; i < path.size(); ++i) {
        const char16_t c = path[i].unicode();
        // A low surrogate that does not close a pair is an escaped byte.
        const bool paired = i > 0 && QChar::isHighSurrogate(path[i - 1].unicode());
        if (isEscapedByte(c) && !paired) {
            flush(i);
            out += char(c - kEscapeBase);
            runStart = i + 1;
        }
    }
    flush(path.size());
    return out;
}

bool hasUndecodable(QStringView path)
{
    for (qsizetype i = 0; i < path.size(); ++i) {
        const bool paired = i > 0 && QChar::isHighSurrogate(path[i - 1].unicode());
        if (isEscapedByte(path[i].unicode()) && !paired)
            return true;
    }
    return false;
}

QString display(QStringView path)
{
    QString out = path.toString();
    for (qsizetype i = 0; i < out.size(); ++i) {
        const bool paired = i > 0 && out[i - 1].isHighSurrogate();
        if (isEscapedByte(out[i].unicode()) && !paired)
            out[i] = QChar(QChar::ReplacementCharacter);
    }
    return out;
}

QString escaped(QStringView path)
{
    QString out;
    out.reserve(path.size());
    for (qsizetype i = 0; i < path.size(); ++i) {
        const char16_t c = path[i].unicode();
        const bool paired = i > 0 && QChar::isHighSurrogate(path[i - 1].unicode());
        if (isEscapedByte(c) && !paired) {
            out += QStringLiteral("\\x%1").arg(uint(c - kEscapeBase), 2, 16, QLatin1Char('0'));
        } else if (c == u'\\') {
            out += QStringLiteral("\\\\");
        } else if (c == u'\n') {
            out += QStringLiteral("\\n");
        } else if (c == u'\t') {
            out += QStringLiteral("\\t");
        } else if (c == u'\r') {
            out += QStringLiteral("\\r");
        } else if (c < 0x20 || c == 0x7F || (c >= 0x80 && c < 0xA0)) {
            out += QStringLiteral("\\x%1").arg(uint(c), 2, 16, QLatin1Char('0'));
        } else {
            out += QChar(c);
        }
    }
    return out;
}

QUrl toUrl(const QString &path)
{
    if (!hasUndecodable(path))
        return QUrl::fromLocalFile(path);
    // Percent-encode the bytes ourselves: QUrl keeps an encoded byte it cannot decode as it is.
    const QByteArray encoded = toNative(path).toPercentEncoding("/");
    return QUrl::fromEncoded(QByteArrayLiteral("file://") + encoded, QUrl::StrictMode);
}

QString fromUrl(const QUrl &url)
{
    if (!url.isLocalFile())
        return {};
    const QByteArray encodedPath = url.path(QUrl::FullyEncoded).toLatin1();
    return fromNative(QByteArray::fromPercentEncoding(encodedPath));
}

} // namespace FilePath
