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
    Q_GADGET
    // What the views read of an item. Absent numbers read -1, absent texts the empty text.
    Q_PROPERTY(QUrl url MEMBER url CONSTANT)
    Q_PROPERTY(QString name MEMBER name CONSTANT)
    Q_PROPERTY(qint64 size MEMBER size CONSTANT)
    Q_PROPERTY(QDateTime modified MEMBER modified CONSTANT)
    Q_PROPERTY(QString category READ categoryRaw CONSTANT)
    Q_PROPERTY(bool isFolder READ isFolder CONSTANT)
    Q_PROPERTY(QString displayTitle READ displayTitle CONSTANT)
    Q_PROPERTY(QString kindDescription READ kindDescription CONSTANT)
    Q_PROPERTY(QString sizeText READ sizeText CONSTANT)
    Q_PROPERTY(QString dateText READ dateText CONSTANT)
    Q_PROPERTY(QString extension READ extension CONSTANT)
    Q_PROPERTY(int pixelWidth READ pixelWidthOrNone CONSTANT)
    Q_PROPERTY(int pixelHeight READ pixelHeightOrNone CONSTANT)
    Q_PROPERTY(double duration READ durationOrNone CONSTANT)
    Q_PROPERTY(QString artist READ artistText CONSTANT)
    Q_PROPERTY(QString album READ albumText CONSTANT)
    Q_PROPERTY(bool isValid READ isValid CONSTANT)

public:
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
    QString categoryRaw() const { return category.rawValue(); }
    bool isFolder() const { return category == FileCategory::folders; }
    // The modification date as lists show it.
    QString dateText() const;
    // The name's extension as typed, without the dot; empty when there is none.
    QString extension() const;
    int pixelWidthOrNone() const { return pixelWidth.value_or(-1); }
    int pixelHeightOrNone() const { return pixelHeight.value_or(-1); }
    double durationOrNone() const { return duration.value_or(-1); }
    QString artistText() const { return artist.value_or(QString()); }
    QString albumText() const { return album.value_or(QString()); }
    // A default-built item stands for "none" where QML needs a value.
    bool isValid() const { return !url.isEmpty(); }
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
