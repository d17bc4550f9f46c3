#pragma once

#include "FileCategory.h"
#include "RawEnum.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <variant>

class SmartCollection : public RawEnum<SmartCollection>
{
public:
    enum Case { recents, large, screenshots };
    static constexpr const char *rawValues[] = {"recents", "large", "screenshots"};

    constexpr SmartCollection(Case c)
        : RawEnum(c)
    {
    }
    constexpr operator Case() const { return Case(m_index); }

    QString title() const;
    QString symbol() const;
};

// The five kinds of clean-up suggestion.
class CleanupKind : public RawEnum<CleanupKind>
{
public:
    enum Case { installers, oldDownloads, oldScreenshots, bigOldVideos, unusedApps };
    static constexpr const char *rawValues[] = {"installers", "oldDownloads", "oldScreenshots", "bigOldVideos", "unusedApps"};

    constexpr CleanupKind(Case c)
        : RawEnum(c)
    {
    }
    constexpr operator Case() const { return Case(m_index); }

    QString title() const;
};

// A named folder. Equal only when all three fields are.
struct Location {
    QUrl url;
    QString title;
    QString symbol;

    QUrl id() const { return url; }
    friend bool operator==(const Location &, const Location &) = default;

    // The user's home folder, fixed for the whole run.
    static const Location &home();
    // The folders of the sidebar, read anew on each call: home, the XDG user folders, the cloud drive
    // where it exists, and the applications.
    static QList<Location> standard();
    // A folder's name for people: its last path component; the root folder is called by its path.
    static QString displayName(const QUrl &url);
};
size_t qHash(const Location &location, size_t seed = 0) noexcept;

// A destination of the sidebar. Equal when the case and the payload are.
class SidebarItem
{
public:
    enum class Case { home, smart, category, location, duplicates, cleanupHub, cleanup, sources, source };

    static SidebarItem home() { return SidebarItem(Case::home, {}); }
    static SidebarItem smart(SmartCollection collection) { return SidebarItem(Case::smart, collection); }
    static SidebarItem category(FileCategory category) { return SidebarItem(Case::category, category); }
    static SidebarItem location(const Location &location) { return SidebarItem(Case::location, location); }
    static SidebarItem duplicates() { return SidebarItem(Case::duplicates, {}); }
    static SidebarItem cleanupHub() { return SidebarItem(Case::cleanupHub, {}); }
    static SidebarItem cleanup(CleanupKind kind) { return SidebarItem(Case::cleanup, kind); }
    static SidebarItem sources() { return SidebarItem(Case::sources, {}); }
    static SidebarItem source(const QString &name) { return SidebarItem(Case::source, name); }

    Case kind() const { return m_case; }
    QString title() const;
    // A text naming the destination, the same for equal items: "home", "category/images",
    // "smart/recents", "location/<url>", "cleanup/installers", "source/<name>", "duplicates", ...
    QString key() const;
    // The destination of a key. A location is known by its URL: one of the standard places keeps its
    // title and symbol, any other folder takes its display name and "folder".
    static std::optional<SidebarItem> fromKey(const QString &key);

    std::optional<SmartCollection> smartCollection() const { return get<SmartCollection>(); }
    std::optional<FileCategory> fileCategory() const { return get<FileCategory>(); }
    std::optional<Location> locationValue() const { return get<Location>(); }
    std::optional<CleanupKind> cleanupKind() const { return get<CleanupKind>(); }
    std::optional<QString> sourceName() const { return get<QString>(); }

    friend bool operator==(const SidebarItem &, const SidebarItem &) = default;
    friend size_t qHash(const SidebarItem &item, size_t seed) noexcept;

private:
    using Payload = std::variant<std::monostate, SmartCollection, FileCategory, Location, CleanupKind, QString>;

    SidebarItem(Case c, Payload payload)
        : m_case(c)
        , m_payload(std::move(payload))
    {
    }

    template<typename T>
    std::optional<T> get() const
    {
        if (const T *value = std::get_if<T>(&m_payload))
            return *value;
        return std::nullopt;
    }

    Case m_case;
    Payload m_payload;
};
