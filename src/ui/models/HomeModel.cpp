#include "HomeModel.h"

#include "BrowserSource.h"

#include "models/Fmt.h"

#include <QFileInfo>
#include <QLocale>

namespace {

QVariantList itemList(const QList<FileItem> &items, int limit)
{
    QVariantList list;
    for (const FileItem &item : items.mid(0, limit))
        list.append(QVariant::fromValue(item));
    return list;
}

} // namespace

HomeModel::HomeModel(QObject *parent)
    : QObject(parent)
{
}

void HomeModel::componentComplete()
{
    setStores(UiStores::of(this));
}

void HomeModel::setStores(const Stores &stores)
{
    m_stores = stores;
    if (m_stores.store)
        connect(m_stores.store, &LibraryStore::collectionChanged, this, &HomeModel::changed);
    if (m_stores.state)
        connect(m_stores.state, &AppState::pinnedChanged, this, &HomeModel::changed);
    Q_EMIT changed();
}

QString HomeModel::greeting(int hour)
{
    if (hour >= 5 && hour <= 11)
        return QStringLiteral("Good morning");
    if (hour >= 12 && hour <= 16)
        return QStringLiteral("Good afternoon");
    return QStringLiteral("Good evening");
}

QString HomeModel::greeting() const
{
    return greeting(QTime::currentTime().hour());
}

QString HomeModel::summary() const
{
    qint64 count = 0;
    qint64 bytes = 0;
    bool any = false;
    for (const FileCategory category : FileCategory::library()) {
        if (const auto result = m_stores.store ? m_stores.store->collection(SidebarItem::category(category)) : std::nullopt) {
            count += result->totalCount;
            bytes += result->totalSize;
            any = true;
        }
    }
    if (!any)
        return QStringLiteral("Taking stock of everything on your computer…");
    return QLocale().toString(count) + (count == 1 ? QStringLiteral(" file") : QStringLiteral(" files")) + QStringLiteral(" · ") + Fmt::bytes(bytes)
        + QStringLiteral(" across your computer");
}

QVariantList HomeModel::categories() const
{
    QVariantList list;
    for (const FileCategory category : FileCategory::library()) {
        const SidebarItem item = SidebarItem::category(category);
        const auto result = m_stores.store ? m_stores.store->collection(item) : std::nullopt;
        list.append(QVariantMap {
            {QStringLiteral("key"), item.key()},
            {QStringLiteral("title"), category.title()},
            {QStringLiteral("symbol"), category.symbol()},
            {QStringLiteral("count"), result ? result->totalCount : qint64(-1)},
            {QStringLiteral("subtitle"), result ? CollectionSource::subtitle(*result) : QString()},
            {QStringLiteral("previews"), result ? itemList(result->items, 3) : QVariantList()},
        });
    }
    return list;
}

QVariantList HomeModel::shelves() const
{
    const std::pair<const char *, SidebarItem> shelves[] = {
        {"Recently Opened", SidebarItem::smart(SmartCollection::recents)},
        {"Recent Photos", SidebarItem::category(FileCategory::images)},
        {"Recent Videos", SidebarItem::category(FileCategory::videos)},
        {"Your Music", SidebarItem::category(FileCategory::music)},
        {"Recent Documents", SidebarItem::category(FileCategory::documents)},
    };
    QVariantList list;
    for (const auto &[title, item] : shelves) {
        const auto result = m_stores.store ? m_stores.store->collection(item) : std::nullopt;
        if (!result || result->items.isEmpty())
            continue;
        list.append(QVariantMap {
            {QStringLiteral("key"), item.key()},
            {QStringLiteral("title"), QString::fromLatin1(title)},
            {QStringLiteral("count"), result->totalCount},
            {QStringLiteral("items"), itemList(result->items, kShelfLimit)},
        });
    }
    return list;
}

QVariantList HomeModel::folders() const
{
    static const QStringList standardNames = {QStringLiteral("Desktop"), QStringLiteral("Documents"), QStringLiteral("Downloads"), QStringLiteral("Pictures"),
        QStringLiteral("Videos"), QStringLiteral("Movies"), QStringLiteral("Music")};
    QList<Location> locations;
    for (const Location &location : Location::standard()) {
        if (standardNames.contains(QFileInfo(FilePath::fromUrl(location.url)).fileName()))
            locations.append(location);
    }
    if (m_stores.state) {
        for (const QUrl &url : m_stores.state->pinned())
            locations.append({url, Location::displayName(url), QStringLiteral("folder")});
    }
    QVariantList list;
    for (qsizetype i = 0; i < locations.size(); ++i) {
        list.append(QVariantMap {
            {QStringLiteral("key"), SidebarItem::location(locations[i]).key()},
            {QStringLiteral("title"), locations[i].title},
            {QStringLiteral("url"), locations[i].url},
            {QStringLiteral("tint"), int(i % 6)},
        });
    }
    return list;
}
