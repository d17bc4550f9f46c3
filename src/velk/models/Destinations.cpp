#include "Destinations.h"
#include "FilePath.h"

#include "UserPlaces.h"

#include <QDir>
#include <QFileInfo>

QString SmartCollection::title() const
{
    static const char *const titles[] = {"Recents", "Large Files", "Screenshots"};
    return QString::fromLatin1(titles[m_index]);
}

QString SmartCollection::symbol() const
{
    static const char *const symbols[] = {"clock", "externaldrive", "camera.viewfinder"};
    return QString::fromLatin1(symbols[m_index]);
}

QString CleanupKind::title() const
{
    static const char *const titles[] = {"Old Installers", "Forgotten Downloads", "Old Screenshots", "Big Old Videos", "Unused Apps"};
    return QString::fromLatin1(titles[m_index]);
}

const Location &Location::home()
{
    static const Location location {FilePath::toUrl(UserPlaces::homePath()), UserPlaces::loginName(), QStringLiteral("house")};
    return location;
}

QList<Location> Location::standard()
{
    const QString home = UserPlaces::homePath();
    QList<Location> rows {{FilePath::toUrl(home), UserPlaces::loginName(), QStringLiteral("house")}};

    using UserPlaces::UserFolder;
    const std::pair<UserFolder, const char *> userFolders[] = {
        {UserFolder::desktop, "menubar.dock.rectangle"},
        {UserFolder::documents, "doc"},
        {UserFolder::downloads, "arrow.down.circle"},
        {UserFolder::pictures, "photo"},
        {UserFolder::videos, "film"},
        {UserFolder::music, "music.note.list"},
    };
    for (const auto &[folder, symbol] : userFolders) {
        // The XDG folders keep their own (possibly translated) names, so the title is the name.
        if (const auto path = UserPlaces::userFolder(folder))
            rows.append({FilePath::toUrl(*path), QFileInfo(*path).fileName(), QString::fromLatin1(symbol)});
    }

    const QString cloud = QDir(home).filePath(QStringLiteral("Library/Mobile Documents/com~apple~CloudDocs"));
    if (QFileInfo(cloud).isDir())
        rows.append({FilePath::toUrl(cloud), QStringLiteral("iCloud Drive"), QStringLiteral("icloud")});

    rows.append({FilePath::toUrl(UserPlaces::systemApplicationsFolder()), QStringLiteral("Applications"), QStringLiteral("square.grid.3x3")});
    return rows;
}

size_t qHash(const Location &location, size_t seed) noexcept
{
    return qHashMulti(seed, location.url, location.title, location.symbol);
}

QString SidebarItem::title() const
{
    switch (m_case) {
    case Case::home:
        return QStringLiteral("Home");
    case Case::smart:
        return smartCollection()->title();
    case Case::category:
        return fileCategory()->title();
    case Case::location:
        return locationValue()->title;
    case Case::duplicates:
        return QStringLiteral("Duplicates");
    case Case::cleanupHub:
        return QStringLiteral("Clean Up");
    case Case::cleanup:
        return cleanupKind()->title();
    case Case::sources:
        return QStringLiteral("Downloaded From");
    case Case::source:
        return QStringLiteral("From ") + *sourceName();
    }
    return {};
}

size_t qHash(const SidebarItem &item, size_t seed) noexcept
{
    seed = qHash(int(item.m_case), seed);
    return std::visit(
        [seed](const auto &payload) -> size_t {
            using T = std::decay_t<decltype(payload)>;
            if constexpr (std::is_same_v<T, std::monostate>)
                return seed;
            else
                return qHash(payload, seed);
        },
        item.m_payload);
}
