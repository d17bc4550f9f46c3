#include "Trash.h"

#include "FilePath.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <utility>

#include <fcntl.h>
#include <fts.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray kInfoSuffix = QByteArrayLiteral(".trashinfo");
// A name below files/ must still fit the file system's limit with ".trashinfo" behind it.
constexpr qsizetype kMaxNameBytes = NAME_MAX - 10;
// Enough numbered names for any trash a person keeps; past this something is wrong with the folder.
constexpr int kMaxAttempts = 100000;

QByteArray joined(const QByteArray &folder, const QByteArray &name)
{
    return folder.endsWith('/') ? folder + name : folder + '/' + name;
}

QByteArray parentOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArrayLiteral("/") : path.left(slash);
}

std::optional<QByteArray> realPath(const QByteArray &path)
{
    char buffer[PATH_MAX];
    if (!::realpath(path.constData(), buffer))
        return std::nullopt;
    return QByteArray(buffer);
}

// Missing folders along `path` are made private to the user, as the base directory rules ask.
void makeFolders(const QByteArray &path)
{
    for (qsizetype slash = path.indexOf('/', 1); slash != -1; slash = path.indexOf('/', slash + 1))
        ::mkdir(path.left(slash).constData(), 0700);
    ::mkdir(path.constData(), 0700);
}

// The device of `path`, or of its nearest existing ancestor.
dev_t deviceOfNearest(QByteArray path)
{
    struct stat st = {};
    while (::stat(path.constData(), &st) != 0 && path != "/")
        path = parentOf(path);
    return st.st_dev;
}

// A real folder (never a link to one) that is there or has just been made.
bool ensureFolder(const QByteArray &path)
{
    if (::mkdir(path.constData(), 0700) == 0)
        return true;
    struct stat st;
    return errno == EEXIST && ::lstat(path.constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool ensureSubfolders(const QByteArray &trash)
{
    return ensureFolder(joined(trash, "files")) && ensureFolder(joined(trash, "info"));
}

// A trash folder of this user on a shared volume: made with mode 0700 where it is missing, and
// otherwise used only when it is a real folder that the user owns.
bool ownTrashFolder(const QByteArray &path)
{
    if (::mkdir(path.constData(), 0700) == 0)
        return ::chmod(path.constData(), 0700) == 0;
    if (errno != EEXIST)
        return false;
    struct stat st;
    return ::lstat(path.constData(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == ::getuid();
}

// The top folder of the volume that holds `folder`: the highest ancestor on the same device.
QByteArray mountPoint(QByteArray folder, dev_t device)
{
    while (folder != "/") {
        const QByteArray up = parentOf(folder);
        struct stat st;
        if (::stat(up.constData(), &st) != 0 || st.st_dev != device)
            break;
        folder = up;
    }
    return folder;
}

// $topdir/.Trash/$uid where the administrator made $topdir/.Trash a sticky folder (not a link), else
// $topdir/.Trash-$uid.
std::optional<QByteArray> topdirTrash(const QByteArray &topdir)
{
    const QByteArray uid = QByteArray::number(::getuid());
    const QByteArray shared = joined(topdir, ".Trash");
    struct stat st;
    if (::lstat(shared.constData(), &st) == 0 && S_ISDIR(st.st_mode) && (st.st_mode & S_ISVTX)) {
        const QByteArray own = joined(shared, uid);
        if (ownTrashFolder(own) && ensureSubfolders(own))
            return own;
    }
    const QByteArray own = joined(topdir, ".Trash-" + uid);
    if (ownTrashFolder(own) && ensureSubfolders(own))
        return own;
    return std::nullopt;
}

struct Destination {
    // Canonical.
    QByteArray trash;
    // The Path= value before escaping: absolute in the home trash, relative to the top folder on
    // other volumes.
    QByteArray originalPath;
};

std::optional<Destination> destinationFor(const QByteArray &fullPath, const QByteArray &realParent, dev_t device, const QByteArray &homeTrash)
{
    makeFolders(homeTrash);
    if (deviceOfNearest(homeTrash) == device) {
        const std::optional<QByteArray> trash = realPath(homeTrash);
        if (!trash || !ensureSubfolders(*trash))
            return std::nullopt;
        return Destination {*trash, fullPath};
    }
    const QByteArray topdir = mountPoint(realParent, device);
    const std::optional<QByteArray> trash = topdirTrash(topdir);
    if (!trash)
        return std::nullopt;
    return Destination {*trash, topdir == "/" ? fullPath.mid(1) : fullPath.mid(topdir.size() + 1)};
}

// At most `size` bytes of `text`, cut before a character rather than inside one.
QByteArray utf8Prefix(const QByteArray &text, qsizetype size)
{
    if (text.size() <= size)
        return text;
    while (size > 0 && (uchar(text.at(size)) & 0xC0) == 0x80)
        --size;
    return text.left(size);
}

// The name below files/ for the n-th try: the file's own name, then with a number before the
// extension ("photo.2.jpg"), shortened where it would not fit.
QByteArray candidateName(const QByteArray &name, int attempt)
{
    QByteArray stem = name;
    QByteArray suffix;
    if (const qsizetype dot = name.lastIndexOf('.'); dot > 0) {
        stem = name.left(dot);
        suffix = name.mid(dot);
    }
    const QByteArray number = attempt > 1 ? '.' + QByteArray::number(attempt) : QByteArray();
    if (suffix.size() + number.size() > kMaxNameBytes / 2) {
        stem = name;
        suffix.clear();
    }
    return utf8Prefix(stem, kMaxNameBytes - number.size() - suffix.size()) + number + suffix;
}

bool writeAll(int fd, const QByteArray &data)
{
    const char *bytes = data.constData();
    qsizetype left = data.size();
    while (left > 0) {
        const ssize_t written = ::write(fd, bytes, size_t(left));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        bytes += written;
        left -= written;
    }
    return true;
}

// Disk space of a trashed folder as `du -B1` counts it: the blocks of everything inside, links not
// followed, a file with several names counted once.
qint64 diskUsage(const QByteArray &path)
{
    char *roots[] = {const_cast<char *>(path.constData()), nullptr};
    FTS *tree = ::fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR, nullptr);
    if (!tree)
        return 0;
    qint64 total = 0;
    std::set<std::pair<dev_t, ino_t>> seen;
    while (FTSENT *entry = ::fts_read(tree)) {
        if (entry->fts_info == FTS_DP || entry->fts_info == FTS_NS || entry->fts_info == FTS_ERR)
            continue;
        const struct stat *st = entry->fts_statp;
        if (!S_ISDIR(st->st_mode) && st->st_nlink > 1 && !seen.insert({st->st_dev, st->st_ino}).second)
            continue;
        total += qint64(st->st_blocks) * 512;
    }
    ::fts_close(tree);
    return total;
}

// The trash's cache of folder sizes ("size mtime-of-trashinfo escaped-name" per line), so that file
// managers need not walk a trashed folder to show the trash's size. Other lines stay as they are; the
// file is replaced in one rename, as two programs may write it at once.
void recordFolderSize(const QByteArray &trash, const QByteArray &name)
{
    struct stat info;
    if (::stat(joined(joined(trash, "info"), name + kInfoSuffix).constData(), &info) != 0)
        return;
    const QByteArray escaped = name.toPercentEncoding();
    const QByteArray cachePath = joined(trash, "directorysizes");

    QByteArray contents;
    QFile old(FilePath::fromNative(cachePath));
    if (old.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = old.readAll().split('\n');
        for (const QByteArray &line : lines) {
            const QList<QByteArray> fields = line.split(' ');
            if (line.isEmpty() || (fields.size() == 3 && fields[2] == escaped))
                continue;
            contents += line + '\n';
        }
    }
    contents += QByteArray::number(diskUsage(joined(joined(trash, "files"), name))) + ' ' + QByteArray::number(qint64(info.st_mtime)) + ' ' + escaped + '\n';

    QByteArray temporary = cachePath + ".XXXXXX";
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0)
        return;
    const bool written = writeAll(fd, contents);
    if (::close(fd) != 0 || !written || ::rename(temporary.constData(), cachePath.constData()) != 0)
        ::unlink(temporary.constData());
}

// Moves `source` to `target` unless something is there; false with errno EEXIST when something is.
bool renameWithoutReplacing(const QByteArray &source, const QByteArray &target)
{
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        return false;
    // File systems without the flag: the name was found free a moment ago, and the .trashinfo
    // reservation keeps other well-behaved programs away from it.
    struct stat st;
    if (::lstat(target.constData(), &st) == 0) {
        errno = EEXIST;
        return false;
    }
    return ::rename(source.constData(), target.constData()) == 0;
}

} // namespace

QString Trash::Entry::filePath() const
{
    return trashPath + QStringLiteral("/files/") + name;
}

QString Trash::Entry::infoPath() const
{
    return trashPath + QStringLiteral("/info/") + name + QStringLiteral(".trashinfo");
}

QString Trash::homeTrashPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Trash");
}

QByteArray Trash::encodePath(const QByteArray &path)
{
    return path.toPercentEncoding("/");
}

std::optional<Trash::Entry> Trash::moveToTrash(const QString &path)
{
    return moveToTrash(path, homeTrashPath());
}

std::optional<Trash::Entry> Trash::moveToTrash(const QString &path, const QString &homeTrash)
{
    const QString clean = QDir::cleanPath(path);
    if (!QDir::isAbsolutePath(clean) || !QDir::isAbsolutePath(homeTrash))
        return std::nullopt;
    const QByteArray native = FilePath::toNative(clean);
    const QByteArray name = native.mid(native.lastIndexOf('/') + 1);
    if (name.isEmpty() || name == "." || name == "..")
        return std::nullopt;

    // The entry itself (a link is trashed as a link), then its folder with every link resolved, so
    // that the recorded path leads back to the same place and its volume is known.
    struct stat item;
    if (::lstat(native.constData(), &item) != 0)
        return std::nullopt;
    const std::optional<QByteArray> realParent = realPath(parentOf(native));
    struct stat folder;
    if (!realParent || ::stat(realParent->constData(), &folder) != 0)
        return std::nullopt;
    const QByteArray fullPath = joined(*realParent, name);

    const std::optional<Destination> destination = destinationFor(fullPath, *realParent, folder.st_dev, FilePath::toNative(QDir::cleanPath(homeTrash)));
    if (!destination)
        return std::nullopt;
    const QByteArray &trash = destination->trash;
    // Never a trash into itself, nor a folder that holds the trash.
    if (fullPath == trash || trash.startsWith(fullPath + '/') || fullPath.startsWith(trash + '/'))
        return std::nullopt;

    const QByteArray info = "[Trash Info]\nPath=" + encodePath(destination->originalPath)
        + "\nDeletionDate=" + QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss")).toLatin1() + '\n';
    const QByteArray filesFolder = joined(trash, "files");
    const QByteArray infoFolder = joined(trash, "info");

    for (int attempt = 1; attempt <= kMaxAttempts; ++attempt) {
        const QByteArray candidate = candidateName(name, attempt);
        const QByteArray infoPath = joined(infoFolder, candidate + kInfoSuffix);
        const QByteArray target = joined(filesFolder, candidate);

        // The .trashinfo comes first and claims the name; whoever creates it owns the name.
        const int fd = ::open(infoPath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            return std::nullopt;
        }
        struct stat existing;
        if (::lstat(target.constData(), &existing) == 0) {
            // A file left in the trash without its .trashinfo keeps its name.
            ::close(fd);
            ::unlink(infoPath.constData());
            continue;
        }
        const bool written = writeAll(fd, info);
        if (::close(fd) != 0 || !written) {
            ::unlink(infoPath.constData());
            return std::nullopt;
        }
        if (!renameWithoutReplacing(native, target)) {
            const bool taken = errno == EEXIST;
            ::unlink(infoPath.constData());
            if (taken)
                continue;
            return std::nullopt;
        }
        if (S_ISDIR(item.st_mode))
            recordFolderSize(trash, candidate);
        return Entry {FilePath::fromNative(trash), FilePath::fromNative(candidate)};
    }
    return std::nullopt;
}
