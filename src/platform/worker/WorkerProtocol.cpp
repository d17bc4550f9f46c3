#include "WorkerProtocol.h"

#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace WorkerProtocol {

namespace {

    constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_6_4;

    bool writeAll(int fd, const char *data, qsizetype length)
    {
        while (length > 0) {
            // MSG_NOSIGNAL: a worker that died must not take the program with it through SIGPIPE.
            const ssize_t n = ::send(fd, data, size_t(length), MSG_NOSIGNAL);
            if (n < 0) {
                if (errno == EINTR)
                    continue;
                return false;
            }
            data += n;
            length -= n;
        }
        return true;
    }

    // Waits for bytes; false on the deadline or an error.
    bool waitReadable(int fd, std::optional<std::chrono::steady_clock::time_point> deadline, bool *timedOut)
    {
        for (;;) {
            int timeout = -1;
            if (deadline) {
                const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now()).count();
                if (left <= 0) {
                    if (timedOut)
                        *timedOut = true;
                    return false;
                }
                timeout = int(std::min<qint64>(left, 1 << 30));
            }
            pollfd p {fd, POLLIN, 0};
            const int n = ::poll(&p, 1, timeout);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0)
                return false;
            if (n > 0)
                return true;
        }
    }

    bool readAll(int fd, char *data, qsizetype length, std::optional<std::chrono::steady_clock::time_point> deadline, bool *timedOut)
    {
        while (length > 0) {
            if (!waitReadable(fd, deadline, timedOut))
                return false;
            const ssize_t n = ::recv(fd, data, size_t(length), 0);
            if (n < 0 && (errno == EINTR || errno == EAGAIN))
                continue;
            if (n <= 0)
                return false;
            data += n;
            length -= n;
        }
        return true;
    }

} // namespace

bool writeFrame(int fd, const QByteArray &payload)
{
    if (quint32(payload.size()) > kMaxFrame)
        return false;
    char header[4];
    qToLittleEndian(quint32(payload.size()), header);
    return writeAll(fd, header, 4) && writeAll(fd, payload.constData(), payload.size());
}

std::optional<QByteArray> readFrame(int fd, std::optional<std::chrono::steady_clock::time_point> deadline, bool *timedOut)
{
    if (timedOut)
        *timedOut = false;
    char header[4];
    if (!readAll(fd, header, 4, deadline, timedOut))
        return std::nullopt;
    const quint32 length = qFromLittleEndian<quint32>(header);
    if (length > kMaxFrame)
        return std::nullopt;
    QByteArray payload(qsizetype(length), Qt::Uninitialized);
    if (!readAll(fd, payload.data(), payload.size(), deadline, timedOut))
        return std::nullopt;
    return payload;
}

QByteArray encodeRequest(Request request, const QString &path, const QVariantMap &args)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(kStreamVersion);
    out << quint32(request) << path << args;
    return bytes;
}

bool decodeRequest(const QByteArray &payload, Request &request, QString &path, QVariantMap &args)
{
    QDataStream in(payload);
    in.setVersion(kStreamVersion);
    quint32 kind = 0;
    in >> kind >> path >> args;
    request = Request(kind);
    return in.status() == QDataStream::Ok;
}

QByteArray encodeAnswer(const QVariantMap &answer)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(kStreamVersion);
    out << answer;
    return bytes;
}

std::optional<QVariantMap> decodeAnswer(const QByteArray &payload)
{
    QDataStream in(payload);
    in.setVersion(kStreamVersion);
    QVariantMap answer;
    in >> answer;
    if (in.status() != QDataStream::Ok)
        return std::nullopt;
    return answer;
}

QVariantMap packFacts(const mdindex::FileFacts &facts)
{
    QVariantMap args;
    args.insert(QStringLiteral("name"), facts.name);
    args.insert(QStringLiteral("isDirectory"), facts.isDirectory);
    args.insert(QStringLiteral("isSymlink"), facts.isSymlink);
    args.insert(QStringLiteral("size"), facts.size);
    args.insert(QStringLiteral("modifiedMs"), facts.modifiedMs);
    args.insert(QStringLiteral("changedMs"), facts.changedMs);
    if (facts.createdMs)
        args.insert(QStringLiteral("createdMs"), *facts.createdMs);
    args.insert(QStringLiteral("inode"), facts.inode);
    args.insert(QStringLiteral("device"), facts.device);
    args.insert(QStringLiteral("contentType"), facts.contentType);
    return args;
}

mdindex::FileFacts unpackFacts(const QVariantMap &args)
{
    mdindex::FileFacts facts;
    facts.name = args.value(QStringLiteral("name")).toString();
    facts.isDirectory = args.value(QStringLiteral("isDirectory")).toBool();
    facts.isSymlink = args.value(QStringLiteral("isSymlink")).toBool();
    facts.size = args.value(QStringLiteral("size")).toLongLong();
    facts.modifiedMs = args.value(QStringLiteral("modifiedMs")).toLongLong();
    facts.changedMs = args.value(QStringLiteral("changedMs")).toLongLong();
    if (const QVariant created = args.value(QStringLiteral("createdMs")); created.isValid())
        facts.createdMs = created.toLongLong();
    facts.inode = args.value(QStringLiteral("inode")).toULongLong();
    facts.device = args.value(QStringLiteral("device")).toULongLong();
    facts.contentType = args.value(QStringLiteral("contentType")).toString();
    return facts;
}

QByteArray packImage(const QImage &image)
{
    if (image.isNull())
        return {};
    if (image.colorCount() > 0)
        return packImage(image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32));
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(kStreamVersion);
    out << qint32(image.width()) << qint32(image.height()) << qint32(image.format()) << qint32(image.bytesPerLine());
    out << image.dotsPerMeterX() << image.dotsPerMeterY();
    out.writeRawData(reinterpret_cast<const char *>(image.constBits()), int(image.sizeInBytes()));
    return bytes;
}

QImage unpackImage(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return {};
    QDataStream in(bytes);
    in.setVersion(kStreamVersion);
    qint32 width = 0, height = 0, format = 0, stride = 0, dpmX = 0, dpmY = 0;
    in >> width >> height >> format >> stride >> dpmX >> dpmY;
    if (in.status() != QDataStream::Ok || width <= 0 || height <= 0 || format <= QImage::Format_Invalid || format >= QImage::NImageFormats)
        return {};
    QImage image(width, height, QImage::Format(format));
    if (image.isNull() || image.bytesPerLine() != stride)
        return {};
    if (in.readRawData(reinterpret_cast<char *>(image.bits()), int(image.sizeInBytes())) != int(image.sizeInBytes()))
        return {};
    image.setDotsPerMeterX(dpmX);
    image.setDotsPerMeterY(dpmY);
    return image;
}

} // namespace WorkerProtocol
