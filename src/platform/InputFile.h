#pragma once

#include <QByteArray>
#include <QString>

class QFile;

// A file opened once for reading, the way every reader of a person's files opens them: read-only,
// without waiting (a FIFO put in a file's place must not stall anything), without touching the access
// time where the owner allows it, and closed on exec. Anything but a regular file (a folder, a FIFO, a
// device) does not open, and no library sees it. Libraries are then handed this descriptor, a copy of
// it, or bytes read from it; none of them opens the file again by its name.
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
    // A second descriptor on the same open file (same flags, same position), for a library that closes
    // what it is given while this one stays open; -1 on failure.
    int duplicate() const;
    qint64 size() const { return m_size; }

    // Up to `length` bytes at `offset`; fewer at the end of the file, -1 on an error.
    qint64 readAt(qint64 offset, void *buffer, qint64 length) const;
    QByteArray readAt(qint64 offset, qint64 length) const;
    // Opens `device` on this descriptor from the start of the file (for QImageReader and other readers of
    // a QIODevice); the descriptor stays this object's.
    bool openDevice(QFile &device) const;
    // The whole file, if it is no larger than `limit` bytes and reads completely; else empty.
    QByteArray readAll(qint64 limit) const;

private:
    int m_fd = -1;
    qint64 m_size = 0;
};

// A position in an InputFile with a window read ahead, for libraries that ask for a few bytes at a
// time: most of their reads are answered from memory, larger ones go to the file directly.
class InputCursor
{
public:
    explicit InputCursor(const InputFile &file)
        : m_file(file)
    {
    }

    // Up to `length` bytes at the position, which moves past them; -1 on an error.
    qint64 read(void *buffer, qint64 length);
    // The next byte, or -1 at the end.
    int getChar();
    // False for a negative position; positions past the end are allowed and read nothing.
    bool seek(qint64 position);
    qint64 position() const { return m_position; }
    qint64 size() const { return m_file.size(); }
    bool atEnd() const { return m_position >= m_file.size(); }

private:
    const InputFile &m_file;
    qint64 m_position = 0;
    QByteArray m_window;
    qint64 m_windowStart = 0;
};
