#include "FileItem.h"

#include "DesktopEntry.h"
#include "Fmt.h"
#include "MetadataRecord.h"
#include "thumbnails/PathExtension.h"

#include <QFileInfo>

namespace {

// Every word starts with a capital; the rest of each word stays as written, so "PDF document" reads
// "PDF Document" rather than "Pdf Document".
QString capitalizeWords(const QString &text)
{
    QString out = text;
    bool atWordStart = true;
    for (QChar &c : out) {
        if (c.isSpace()) {
            atWordStart = true;
        } else {
            if (atWordStart)
                c = c.toUpper();
            atWordStart = false;
        }
    }
    return out;
}

QString stripSuffix(const QString &name, std::initializer_list<const char *> suffixes)
{
    for (const char *suffix : suffixes) {
        const QLatin1StringView s(suffix);
        if (name.size() > s.size() && name.endsWith(s, Qt::CaseInsensitive))
            return name.chopped(s.size());
    }
    return name;
}

std::optional<int> intValue(const QVariant &value)
{
    if (!MetadataRecord::isNumber(value))
        return std::nullopt;
    return int(value.toLongLong());
}

std::optional<QString> textValue(const QVariant &value)
{
    if (!MetadataRecord::isText(value))
        return std::nullopt;
    return value.toString();
}

} // namespace

const ResourceKeys FileItem::resourceKeys = ResourceKey::fileSize | ResourceKey::contentModificationDate | ResourceKey::creationDate | ResourceKey::isDirectory
    | ResourceKey::isPackage | ResourceKey::contentType | ResourceKey::localizedName;

QDateTime FileItem::distantPast()
{
    static const QDateTime past(QDate(1, 1, 1), QTime(0, 0), Qt::UTC);
    return past;
}

std::optional<FileItem> FileItem::fromMetadata(const MetadataRecord &record)
{
    const auto path = textValue(record.valueForAttribute(MDAttribute::path));
    if (!path)
        return std::nullopt;

    FileItem item;
    item.url = FilePath::toUrl(*path);
    item.name = FilePath::display(textValue(record.valueForAttribute(MDAttribute::fsName)).value_or(QFileInfo(*path).fileName()));
    if (const QVariant size = record.valueForAttribute(MDAttribute::fsSize); MetadataRecord::isNumber(size))
        item.size = size.toLongLong();
    const QVariant modified = record.valueForAttribute(MDAttribute::fsContentChangeDate);
    item.modified = MetadataRecord::isDate(modified) ? modified.toDateTime() : distantPast();
    if (const QVariant created = record.valueForAttribute(MDAttribute::fsCreationDate); MetadataRecord::isDate(created))
        item.created = created.toDateTime();
    if (const auto identifier = textValue(record.valueForAttribute(MDAttribute::contentType)))
        item.contentType = UTType::fromIdentifier(*identifier);
    // An index record never claims to be a directory: folders are told by their type.
    item.category = FileCategory::classify(item.contentType, false);
    item.pixelWidth = intValue(record.valueForAttribute(MDAttribute::pixelWidth));
    item.pixelHeight = intValue(record.valueForAttribute(MDAttribute::pixelHeight));
    if (const QVariant duration = record.valueForAttribute(MDAttribute::durationSeconds); MetadataRecord::isNumber(duration))
        item.duration = duration.toDouble();
    if (const QVariant authors = record.valueForAttribute(MDAttribute::authors); authors.typeId() == QMetaType::QStringList) {
        const QStringList list = authors.toStringList();
        if (!list.isEmpty())
            item.artist = list.first();
    }
    item.album = textValue(record.valueForAttribute(MDAttribute::album));
    item.title = textValue(record.valueForAttribute(MDAttribute::title));
    return item;
}

std::optional<FileItem> FileItem::fromUrl(const QUrl &url)
{
    if (!url.isLocalFile())
        return std::nullopt;
    const QString path = FilePath::fromUrl(url);
    auto values = resourceValues(path, resourceKeys);
    if (!values)
        return std::nullopt;

    FileItem item;
    item.url = url;
    item.name = FilePath::display(values->localizedName.value_or(QFileInfo(path).fileName()));
    item.size = values->fileSize.value_or(0);
    item.modified = values->contentModificationDate.value_or(distantPast());
    item.created = values->creationDate;
    item.contentType = std::move(values->contentType);
    // A bundle directory is not a folder here; it goes by its type.
    item.category = FileCategory::classify(item.contentType, values->isDirectory && !values->isPackage);
    if (item.category == FileCategory::apps && item.contentType && item.contentType->identifier() == QLatin1StringView("org.freedesktop.desktop-application")) {
        if (const auto entry = DesktopEntry::read(path); entry && !entry->name.isEmpty())
            item.title = entry->name;
    }
    return item;
}

QString FileItem::displayTitle() const
{
    if (category == FileCategory::apps) {
        if (title && !title->isEmpty())
            return *title;
        return stripSuffix(name, {".desktop", ".AppImage", ".app"});
    }
    if (category == FileCategory::music && title && !title->isEmpty())
        return *title;
    return name;
}

QString FileItem::kindDescription() const
{
    if (category == FileCategory::folders)
        return QStringLiteral("Folder");
    if (contentType) {
        if (const QString description = contentType->localizedDescription(); !description.isEmpty())
            return capitalizeWords(description);
    }
    if (const QString extension = QFileInfo(url.path()).suffix(); !extension.isEmpty())
        return extension.toUpper() + QStringLiteral(" file");
    return QStringLiteral("Document");
}

QString FileItem::sizeText() const
{
    if (category == FileCategory::folders)
        return QStringLiteral("--");
    return Fmt::bytes(size);
}

QString FileItem::subtitle() const
{
    return subtitle(QDateTime::currentDateTime());
}

QString FileItem::subtitle(const QDateTime &now) const
{
    static const QString dot = QStringLiteral(" · ");
    switch (category) {
    case FileCategory::images:
        if (pixelWidth && pixelHeight)
            return QStringLiteral("%1 × %2").arg(*pixelWidth).arg(*pixelHeight) + dot + Fmt::bytes(size);
        return Fmt::bytes(size);
    case FileCategory::videos:
        if (duration)
            return Fmt::duration(*duration) + dot + Fmt::bytes(size);
        return Fmt::bytes(size);
    case FileCategory::music:
        return artist ? *artist : Fmt::bytes(size);
    case FileCategory::folders:
        return Fmt::date(modified, now);
    default:
        return Fmt::bytes(size) + dot + Fmt::date(modified, now);
    }
}

size_t qHash(const FileItem &item, size_t seed) noexcept
{
    return qHash(item.url, seed);
}

QString FileItem::dateText() const
{
    if (modified == distantPast())
        return QStringLiteral("--");
    return Fmt::date(modified);
}

QString FileItem::extension() const
{
    return pathExtension(name);
}
