#include "InputFile.h"

#include "FilePath.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

InputFile::InputFile(const QString &path)
{
    const QByteArray native = FilePath::toNative(path);
    // O_NOATIME is refused (EPERM) for files of other owners; those are opened plainly.
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

int InputFile::duplicate() const
{
    return m_fd < 0 ? -1 : ::fcntl(m_fd, F_DUPFD_CLOEXEC, 0);
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

bool InputFile::openDevice(QFile &device) const
{
    return m_fd >= 0 && ::lseek(m_fd, 0, SEEK_SET) == 0 && device.open(m_fd, QIODevice::ReadOnly, QFileDevice::DontCloseHandle);
}

QByteArray InputFile::readAll(qint64 limit) const
{
    if (m_fd < 0 || m_size > limit)
        return {};
    QByteArray bytes = readAt(0, m_size);
    // A file that shrank while it was read is read again next time; half of it helps nobody.
    return bytes.size() == m_size ? bytes : QByteArray();
}

namespace {
constexpr qint64 kWindow = 64 * 1024;
}

qint64 InputCursor::read(void *buffer, qint64 length)
{
    if (length <= 0)
        return 0;
    qint64 n = 0;
    if (length >= kWindow / 2) {
        n = m_file.readAt(m_position, buffer, length);
    } else {
        if (m_position < m_windowStart || m_position + length > m_windowStart + m_window.size()) {
            m_windowStart = m_position;
            m_window = m_file.readAt(m_position, kWindow);
        }
        const qint64 offset = m_position - m_windowStart;
        n = std::clamp<qint64>(m_window.size() - offset, 0, length);
        if (n > 0)
            memcpy(buffer, m_window.constData() + offset, size_t(n));
    }
    if (n > 0)
        m_position += n;
    return n;
}

int InputCursor::getChar()
{
    unsigned char c = 0;
    return read(&c, 1) == 1 ? int(c) : -1;
}

bool InputCursor::seek(qint64 position)
{
    if (position < 0)
        return false;
    m_position = position;
    return true;
}
