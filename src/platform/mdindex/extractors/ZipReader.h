#pragma once

#include "ExtractorSupport.h"

#include <QByteArray>
#include <QHash>
#include <QStringList>

namespace mdindex::extractors {

// Reads single members of a zip file through its central directory, inflating with zlib. Enough for
// office documents: no zip64, no encryption, no multi-part archives.
class ZipReader
{
public:
    explicit ZipReader(const InputFile &file);

    bool isValid() const { return !m_entries.isEmpty(); }
    QStringList names() const { return m_entries.keys(); }
    bool contains(const QString &name) const { return m_entries.contains(name); }
    // The member's contents, at most `limit` bytes of them; empty when it is missing or unreadable.
    QByteArray read(const QString &name, qsizetype limit) const;

private:
    struct Entry {
        quint16 flags;
        quint16 method;
        quint32 compressedSize;
        quint32 localOffset;
    };
    const InputFile &m_file;
    QHash<QString, Entry> m_entries;
};

} // namespace mdindex::extractors
