#include "FileResources.h"

#include "FilePath.h"
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

QDateTime fromTimestamp(const struct statx_timestamp &ts)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000, Qt::UTC);
}

} // namespace

std::optional<ResourceValues> resourceValues(const QString &path, ResourceKeys keys)
{
    const QByteArray native = FilePath::toNative(path);
    struct statx st {
    };
    const unsigned mask = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME;
    if (::statx(AT_FDCWD, native.constData(), 0, mask, &st) != 0 && ::statx(AT_FDCWD, native.constData(), AT_SYMLINK_NOFOLLOW, mask, &st) != 0)
        return std::nullopt;

    ResourceValues values;
    const bool isDir = S_ISDIR(st.stx_mode);
    if (keys & ResourceKey::fileSize && S_ISREG(st.stx_mode))
        values.fileSize = qint64(st.stx_size);
    if (keys & ResourceKey::contentModificationDate && st.stx_mask & STATX_MTIME)
        values.contentModificationDate = fromTimestamp(st.stx_mtime);
    if (keys & ResourceKey::creationDate && st.stx_mask & STATX_BTIME)
        values.creationDate = fromTimestamp(st.stx_btime);
    values.isDirectory = isDir;

    if (keys & (ResourceKey::contentType | ResourceKey::isPackage)) {
        auto type = UTType::forFile(path);
        values.isPackage = isDir && type && type->conforms(UTType::package());
        if (keys & ResourceKey::contentType)
            values.contentType = std::move(type);
    }
    if (keys & ResourceKey::localizedName) {
        // Folders and files keep their own names on this desktop; "/" has none, so it shows as such.
        const QString name = QFileInfo(path).fileName();
        values.localizedName = name.isEmpty() ? path : name;
    }
    return values;
}
