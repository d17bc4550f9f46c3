#include "AppIcons.h"
#include "FilePath.h"

#include "PathExtension.h"
#include "thumbnails/FileIcons.h"
#include "thumbnails/MimeApps.h"

#include <QHash>

#include <mutex>

namespace AppIcons {

namespace {

    struct Table {
        std::mutex mutex;
        QHash<QString, QImage> images;

        std::optional<QImage> find(const QString &key)
        {
            std::lock_guard lock(mutex);
            const auto found = images.constFind(key);
            return found == images.constEnd() ? std::nullopt : std::optional<QImage>(*found);
        }

        // Two threads may race to fill the same key; the first answer stays.
        QImage insert(const QString &key, const QImage &image)
        {
            std::lock_guard lock(mutex);
            return *images.insert(key, images.value(key, image));
        }
    };

    Table &table()
    {
        static Table t;
        return t;
    }

} // namespace

std::optional<QImage> defaultApp(const FileItem &item)
{
    if (item.category == FileCategory::apps || item.category == FileCategory::folders)
        return std::nullopt;
    const QString key = pathExtension(item.path()).toLower();
    if (auto known = table().find(key))
        return known;
    const QString app = MimeApps::defaultApplicationForFile(item.path());
    if (app.isEmpty())
        return std::nullopt;
    return table().insert(key, FileIcons::iconForFile(app, pixels));
}

QImage icon(const QUrl &url)
{
    const QString path = FilePath::fromUrl(url);
    if (auto known = table().find(path))
        return *known;
    return table().insert(path, FileIcons::iconForFile(path, pixels));
}

} // namespace AppIcons
