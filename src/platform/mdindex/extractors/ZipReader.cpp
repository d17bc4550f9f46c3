#include "ZipReader.h"

#include <QtEndian>

namespace mdindex::extractors {

namespace {

    constexpr qint64 kMaxDirectorySize = 16 * 1024 * 1024;
    constexpr int kMaxEntries = 65535;

    quint16 u16(const char *p)
    {
        return qFromLittleEndian<quint16>(p);
    }
    quint32 u32(const char *p)
    {
        return qFromLittleEndian<quint32>(p);
    }

} // namespace

ZipReader::ZipReader(const InputFile &file)
    : m_file(file)
{
    // The end record sits in the last 64 KiB (its comment is at most that long).
    const qint64 size = file.size();
    const qint64 tailStart = std::max<qint64>(0, size - (0xFFFF + 22));
    const QByteArray tail = file.readAt(tailStart, size - tailStart);
    qsizetype end = tail.size() - 22;
    while (end >= 0 && !(tail[end] == 'P' && tail[end + 1] == 'K' && tail[end + 2] == 5 && tail[end + 3] == 6))
        --end;
    if (end < 0)
        return;
    const char *record = tail.constData() + end;
    const int count = u16(record + 10);
    const qint64 directorySize = u32(record + 12);
    const qint64 directoryOffset = u32(record + 16);
    if (directorySize > kMaxDirectorySize || directoryOffset + directorySize > size)
        return;
    const QByteArray directory = file.readAt(directoryOffset, directorySize);
    qsizetype at = 0;
    for (int i = 0; i < std::min(count, kMaxEntries) && at + 46 <= directory.size(); ++i) {
        const char *header = directory.constData() + at;
        if (u32(header) != 0x02014b50)
            break;
        const int nameLength = u16(header + 28);
        const qsizetype next = at + 46 + nameLength + u16(header + 30) + u16(header + 32);
        if (next > directory.size())
            break;
        const Entry entry {u16(header + 8), u16(header + 10), u32(header + 20), u32(header + 42)};
        m_entries.insert(QString::fromUtf8(header + 46, nameLength), entry);
        at = next;
    }
}

QByteArray ZipReader::read(const QString &name, qsizetype limit) const
{
    const auto it = m_entries.constFind(name);
    if (it == m_entries.cend() || (it->flags & 1)) // encrypted
        return {};
    char local[30];
    if (m_file.readAt(it->localOffset, local, 30) != 30 || u32(local) != 0x04034b50)
        return {};
    const qint64 dataOffset = qint64(it->localOffset) + 30 + u16(local + 26) + u16(local + 28);
    if (it->method == 0)
        return m_file.readAt(dataOffset, std::min<qint64>(it->compressedSize, limit));
    if (it->method != 8)
        return {};
    // Deflate never grows data by more than a few bytes per block, so this much input is enough for
    // `limit` bytes of output.
    const qint64 enough = qint64(limit) + limit / 64 + 1024;
    const QByteArray compressed = m_file.readAt(dataOffset, std::min<qint64>(it->compressedSize, enough));
    return inflateBytes(compressed, limit, true);
}

} // namespace mdindex::extractors
