#include "ExtractorSupport.h"

#include "FilePath.h"
#include <QFile>
#include <QStringDecoder>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace mdindex::extractors {

InputFile::InputFile(const QString &path)
{
    const QByteArray native = FilePath::toNative(path);
    // O_NONBLOCK: a FIFO put in a file's place must not stall the walk. O_NOATIME is refused for files
    // of other owners; those are opened plainly.
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    int fd = ::open(native.constData(), flags | O_NOATIME);
    if (fd < 0 && errno == EPERM)
        fd = ::open(native.constData(), flags);
    if (fd < 0)
        return;
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return;
    }
    m_fd = fd;
    m_size = qint64(st.st_size);
}

InputFile::~InputFile()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

int InputFile::release()
{
    const int fd = m_fd;
    m_fd = -1;
    return fd;
}

qint64 InputFile::readAt(qint64 offset, void *buffer, qint64 length) const
{
    if (m_fd < 0 || offset < 0 || length < 0)
        return -1;
    qint64 done = 0;
    while (done < length) {
        const ssize_t n = ::pread(m_fd, static_cast<char *>(buffer) + done, size_t(length - done), off_t(offset + done));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return done > 0 ? done : -1;
        }
        if (n == 0)
            break;
        done += n;
    }
    return done;
}

QByteArray InputFile::readAt(qint64 offset, qint64 length) const
{
    if (length <= 0 || offset < 0 || offset >= m_size)
        return {};
    QByteArray bytes(qsizetype(std::min(length, m_size - offset)), Qt::Uninitialized);
    const qint64 n = readAt(offset, bytes.data(), bytes.size());
    bytes.truncate(qsizetype(std::max<qint64>(n, 0)));
    return bytes;
}

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

QByteArray inflateBytes(QByteArrayView compressed, qsizetype limit, bool raw)
{
    QByteArray out;
    z_stream stream {};
    if (inflateInit2(&stream, raw ? -MAX_WBITS : MAX_WBITS) != Z_OK)
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

} // namespace mdindex::extractors
