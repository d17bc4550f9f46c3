#include "FileIcons.h"

#include "DesktopEntry.h"
#include "IconTheme.h"
#include "UserPlaces.h"

#include <QDir>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QPainter>
#include <QPainterPath>

namespace FileIcons {

namespace {

    QStringList folderNames(const QString &path)
    {
        using UserPlaces::UserFolder;
        const QString clean = QDir::cleanPath(path);
        if (clean == QDir::cleanPath(UserPlaces::homePath()))
            return {QStringLiteral("user-home"), QStringLiteral("folder")};
        const std::pair<UserFolder, const char *> special[] = {
            {UserFolder::desktop, "user-desktop"},
            {UserFolder::documents, "folder-documents"},
            {UserFolder::downloads, "folder-download"},
            {UserFolder::pictures, "folder-pictures"},
            {UserFolder::videos, "folder-videos"},
            {UserFolder::music, "folder-music"},
        };
        for (const auto &[folder, name] : special) {
            if (UserPlaces::userFolder(folder) == clean)
                return {QString::fromLatin1(name), QStringLiteral("folder")};
        }
        return {QStringLiteral("inode-directory"), QStringLiteral("folder")};
    }

    // A sheet with a folded corner, for the machine without any icon theme.
    QImage drawnSheet(int pixels)
    {
        QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal w = pixels * 0.7;
        const qreal h = pixels * 0.88;
        const qreal x = (pixels - w) / 2;
        const qreal y = (pixels - h) / 2;
        const qreal fold = w * 0.28;
        QPainterPath sheet;
        sheet.moveTo(x, y);
        sheet.lineTo(x + w - fold, y);
        sheet.lineTo(x + w, y + fold);
        sheet.lineTo(x + w, y + h);
        sheet.lineTo(x, y + h);
        sheet.closeSubpath();
        painter.setPen(QPen(QColor(0x88, 0x88, 0x8c), std::max(1.0, pixels / 64.0)));
        painter.setBrush(QColor(0xf4, 0xf4, 0xf6));
        painter.drawPath(sheet);
        return image;
    }

} // namespace

QStringList iconNames(const QString &path)
{
    const QFileInfo info(path);
    if (info.isDir())
        return folderNames(path);

    QStringList names;
    if (info.suffix().compare(QLatin1StringView("desktop"), Qt::CaseInsensitive) == 0) {
        if (const auto entry = DesktopEntry::read(path); entry && !entry->icon.isEmpty())
            names.append(entry->icon);
        names.append(QStringLiteral("application-x-executable"));
    }
    static const QMimeDatabase database;
    const QMimeType mime = database.mimeTypeForFile(info);
    names.append(mime.iconName());
    for (const QString &parent : mime.parentMimeTypes())
        names.append(database.mimeTypeForName(parent).iconName());
    names.append(mime.genericIconName());
    names.append({QStringLiteral("application-octet-stream"), QStringLiteral("unknown")});
    names.removeAll(QString());
    names.removeDuplicates();
    return names;
}

QImage iconForFile(const QString &path, int pixels)
{
    pixels = std::max(pixels, 1);
    QStringList names = iconNames(path);
    // A desktop entry may name its icon by an absolute path.
    if (!names.isEmpty() && names.first().startsWith(QLatin1Char('/'))) {
        if (QImage image = IconTheme::render(names.takeFirst(), pixels); !image.isNull())
            return image;
    }
    if (QImage image = IconTheme::load(names, pixels); !image.isNull())
        return image;
    return drawnSheet(pixels);
}

} // namespace FileIcons
