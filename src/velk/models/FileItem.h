#pragma once

#include "FileCategory.h"
#include "FilePath.h"
#include "FileResources.h"
#include "UTType.h"

#include <QDateTime>
#include <QString>
#include <QUrl>

#include <optional>

class MetadataRecord;

// One file or folder as Velk knows it. A plain value; its identity is its URL alone, so two records of
// the same file taken at different times are equal even when their sizes or dates differ.
struct FileItem {
    // The exact file: its bytes percent-encoded where they are not UTF-8 (FilePath::toUrl).
    QUrl url;
    // The name for people: bytes that are not UTF-8 shown as U+FFFD.
    QString name;
    qint64 size = 0;
    QDateTime modified;
    std::optional<QDateTime> created;
    std::optional<UTType> contentType;
    FileCategory category = FileCategory::other;
    std::optional<int> pixelWidth;
    std::optional<int> pixelHeight;
    std::optional<double> duration;
    std::optional<QString> artist;
    std::optional<QString> album;
    std::optional<QString> title;

    QUrl id() const { return url; }
    // The exact path, as FilePath carries it: pass it to FilePath::toNative to reach the file.
    QString path() const { return FilePath::fromUrl(url); }

    // From the index's record: no item without a path.
    static std::optional<FileItem> fromMetadata(const MetadataRecord &record);
    // From the file system: no item when the file cannot be examined.
    static std::optional<FileItem> fromUrl(const QUrl &url);

    // What fromUrl asks of the file system.
    static const ResourceKeys resourceKeys;
    // "Unknown" for dates: earlier than any real file.
    static QDateTime distantPast();

    QString displayTitle() const;
    QString kindDescription() const;
    QString sizeText() const;
    QString subtitle() const;
    QString subtitle(const QDateTime &now) const;

    // Equal by everything a list or a card shows, not only by the URL: a store that gets the same
    // files again with such a difference must still tell its views.
    bool looksSameAs(const FileItem &other) const
    {
        return url == other.url && size == other.size && modified == other.modified && name == other.name && title == other.title;
    }

    friend bool operator==(const FileItem &a, const FileItem &b) { return a.url == b.url; }
};

size_t qHash(const FileItem &item, size_t seed = 0) noexcept;

template<>
struct std::hash<FileItem> {
    size_t operator()(const FileItem &item) const noexcept { return qHash(item); }
};
