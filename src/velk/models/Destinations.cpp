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

QString SidebarItem::key() const
{
    switch (m_case) {
    case Case::home:
        return QStringLiteral("home");
    case Case::smart:
        return QStringLiteral("smart/") + smartCollection()->rawValue();
    case Case::category:
        return QStringLiteral("category/") + fileCategory()->rawValue();
    case Case::location:
        return QStringLiteral("location/") + locationValue()->url.toString(QUrl::FullyEncoded);
    case Case::duplicates:
        return QStringLiteral("duplicates");
    case Case::cleanupHub:
        return QStringLiteral("cleanupHub");
    case Case::cleanup:
        return QStringLiteral("cleanup/") + cleanupKind()->rawValue();
    case Case::sources:
        return QStringLiteral("sources");
    case Case::source:
        return QStringLiteral("source/") + *sourceName();
    }
    return {};
}

std::optional<SidebarItem> SidebarItem::fromKey(const QString &key)
{
    const qsizetype slash = key.indexOf(QLatin1Char('/'));
    const QString head = slash < 0 ? key : key.left(slash);
    const QString rest = slash < 0 ? QString() : key.mid(slash + 1);
    if (slash < 0) {
        if (head == QLatin1String("home"))
            return home();
        if (head == QLatin1String("duplicates"))
            return duplicates();
        if (head == QLatin1String("cleanupHub"))
            return cleanupHub();
        if (head == QLatin1String("sources"))
            return sources();
        return std::nullopt;
    }
    if (head == QLatin1String("smart")) {
        if (const auto collection = SmartCollection::fromRaw(rest))
            return smart(*collection);
    } else if (head == QLatin1String("category")) {
        if (const auto c = FileCategory::fromRaw(rest))
            return category(*c);
    } else if (head == QLatin1String("cleanup")) {
        if (const auto kind = CleanupKind::fromRaw(rest))
            return cleanup(*kind);
    } else if (head == QLatin1String("source")) {
        if (!rest.isEmpty())
            return source(rest);
    } else if (head == QLatin1String("location")) {
        const QUrl url(rest, QUrl::StrictMode);
        if (!url.isValid() || !url.isLocalFile())
            return std::nullopt;
        for (const Location &place : Location::standard()) {
            if (place.url == url)
                return location(place);
        }
        return location({url, Location::displayName(url), QStringLiteral("folder")});
    }
    return std::nullopt;
}

QString Location::displayName(const QUrl &url)
{
    const QString path = QDir::cleanPath(url.isLocalFile() ? FilePath::fromUrl(url) : url.path());
    const QString name = QFileInfo(path).fileName();
    return FilePath::display(name.isEmpty() ? path : name);
}
