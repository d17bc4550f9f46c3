#include "PrivateFiles.h"

#include "FilePath.h"

#include <QDir>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace PrivateFiles {

bool makeFolder(const QString &path)
{
    if (!QDir().mkpath(path))
        return false;
    const QByteArray native = FilePath::toNative(path);
    struct stat st;
    // A link to a folder elsewhere is the person's own arrangement; its target is left as it is.
    if (::lstat(native.constData(), &st) != 0 || !S_ISDIR(st.st_mode))
        return true;
    if ((st.st_mode & 07777) != 0700)
        ::chmod(native.constData(), 0700);
    return true;
}

bool prepareFile(const QString &path)
{
    makeFolder(QFileInfo(path).absolutePath());
    const QByteArray native = FilePath::toNative(path);
    const int fd = ::open(native.constData(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (fd < 0) {
        tighten(path);
        return false;
    }
    struct stat st;
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && (st.st_mode & 07777) != 0600)
        ::fchmod(fd, 0600);
    ::close(fd);
    return true;
}

void tighten(const QString &path)
{
    const QByteArray native = FilePath::toNative(path);
    struct stat st;
    if (::lstat(native.constData(), &st) == 0 && S_ISREG(st.st_mode) && (st.st_mode & 07777) != 0600)
        ::chmod(native.constData(), 0600);
}

} // namespace PrivateFiles
