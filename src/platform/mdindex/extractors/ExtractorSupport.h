#pragma once

#include "mdindex/Catalog.h"

#include <QByteArray>
#include <QString>

namespace mdindex::extractors {

// At most this much of a text file is read, and at most this many characters of text are kept per
// file: enough for search, small enough for the store and for time per file.
inline constexpr qint64 kTextReadLimit = 4 * 1024 * 1024;
inline constexpr qsizetype kTextKeepLimit = 1024 * 1024;

// A regular file opened for reading without touching its access time where the owner allows it.
// Anything else (a folder, a FIFO swapped in since the walk) does not open.
class InputFile
{
public:
    explicit InputFile(const QString &path);
    ~InputFile();
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    bool isOpen() const { return m_fd >= 0; }
    int fd() const { return m_fd; }
    // Hands the descriptor to a library that closes it.
    int release();
    qint64 size() const { return m_size; }

    // Up to `length` bytes at `offset`; fewer at the end of the file, -1 on an error.
    qint64 readAt(qint64 offset, void *buffer, qint64 length) const;
    QByteArray readAt(qint64 offset, qint64 length) const;

private:
    int m_fd = -1;
    qint64 m_size = 0;
};

bool conforms(const FileFacts &facts, const UTType &type);
bool conforms(const FileFacts &facts, QStringView identifier);

// Text from bytes of unknown encoding: UTF-16 or UTF-8 by their byte order mark, UTF-8 when the bytes
// are valid UTF-8 (a sequence cut by the read limit at the end is fine), else Latin-1.
QString decodeText(QByteArrayView bytes);
// Cuts text to kTextKeepLimit without splitting a surrogate pair.
void capText(QString &text);

// Inflates a raw deflate stream (zlib: windowBits -15 when `raw`, else a zlib stream), stopping at
// `limit` bytes of output. Whatever came out before an error is returned.
QByteArray inflateBytes(QByteArrayView compressed, qsizetype limit, bool raw);

} // namespace mdindex::extractors
