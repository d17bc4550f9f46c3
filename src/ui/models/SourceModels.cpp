#include "SourceModels.h"

#include "Format.h"
#include "models/Fmt.h"

namespace {

void loadSources(const Stores &stores)
{
    if (stores.sources && stores.store && stores.state)
        stores.sources->load(stores.store->scopes(), stores.state->refreshToken());
}

} // namespace

// --- cards

SourceCards::SourceCards(QObject *parent)
    : QObject(parent)
{
}

void SourceCards::componentComplete()
{
    if (!m_stores.state)
        setStores(UiStores::of(this));
}

void SourceCards::setStores(const Stores &stores)
{
    m_stores = stores;
    if (m_stores.sources) {
        connect(m_stores.sources, &SourceStore::groupsChanged, this, &SourceCards::changed);
        connect(m_stores.sources, &SourceStore::hasLoadedChanged, this, &SourceCards::changed);
    }
    Q_EMIT changed();
}

void SourceCards::setLimit(int limit)
{
    if (m_limit == limit)
        return;
    m_limit = limit;
    Q_EMIT changed();
}

qint64 SourceCards::sizeOf(const SourceStore::Group &group)
{
    qint64 sum = 0;
    for (const FileItem &item : group.items)
        sum += item.size;
    return sum;
}

QString SourceCards::detail(const SourceStore::Group &group)
{
    return Format::counted(group.items.size(), QStringLiteral("file")) + QStringLiteral(" · ") + Fmt::bytes(sizeOf(group));
}

QVariantList SourceCards::cards() const
{
    if (!m_stores.sources)
        return {};
    QList<SourceStore::Group> groups = m_stores.sources->groups();
    if (m_limit >= 0)
        groups = groups.mid(0, m_limit);
    QVariantList list;
    for (const SourceStore::Group &group : std::as_const(groups)) {
        list.append(QVariantMap {
            {QStringLiteral("key"), SidebarItem::source(group.source.name).key()},
            {QStringLiteral("name"), group.source.name},
            {QStringLiteral("symbol"), group.source.symbol},
            {QStringLiteral("detail"), detail(group)},
        });
    }
    return list;
}

QString SourceCards::summary() const
{
    if (!hasLoaded())
        return QStringLiteral("Looking at where your downloads came from…");
    const QList<SourceStore::Group> groups = m_stores.sources->groups();
    qint64 files = 0;
    for (const SourceStore::Group &group : groups)
        files += group.items.size();
    return Format::counted(files, QStringLiteral("downloaded file")) + QStringLiteral(" from ") + Format::counted(groups.size(), QStringLiteral("source"));
}

void SourceCards::load()
{
    if (!m_stores.state)
        setStores(UiStores::of(this));
    loadSources(m_stores);
}

// --- one source

SourceItemsSource::SourceItemsSource(QObject *parent)
    : BrowserSource(parent)
{
}

void SourceItemsSource::setItemKey(const QString &key)
{
    if (m_itemKey == key)
        return;
    m_itemKey = key;
    const auto item = SidebarItem::fromKey(key);
    m_name = item && item->sourceName() ? *item->sourceName() : QString();
    Q_EMIT itemKeyChanged();
    Q_EMIT changed();
    Q_EMIT itemsChanged();
}

void SourceItemsSource::start()
{
    if (m_started)
        return;
    m_started = true;
    if (SourceStore *sources = stores().sources) {
        const auto update = [this] {
            Q_EMIT changed();
            Q_EMIT itemsChanged();
        };
        connect(sources, &SourceStore::groupsChanged, this, update);
        connect(sources, &SourceStore::hasLoadedChanged, this, update);
        connect(sources, &SourceStore::loadingChanged, this, &BrowserSource::changed);
    }
    loadSources(stores());
    Q_EMIT changed();
    Q_EMIT itemsChanged();
}

QList<FileItem> SourceItemsSource::items() const
{
    if (!stores().sources)
        return {};
    const auto group = stores().sources->group(m_name);
    return group ? group->items : QList<FileItem>();
}

QString SourceItemsSource::title() const
{
    return QStringLiteral("From ") + m_name;
}

QString SourceItemsSource::subtitle() const
{
    const auto group = stores().sources ? stores().sources->group(m_name) : std::nullopt;
    if (!group)
        return {};
    return Format::counted(group->items.size(), QStringLiteral("file")) + QStringLiteral(" · ") + Fmt::bytes(SourceCards::sizeOf(*group))
        + QStringLiteral(" downloaded from ") + m_name;
}

bool SourceItemsSource::isLoading() const
{
    return !stores().sources || !stores().sources->hasLoaded();
}

QString SourceItemsSource::emptyTitle() const
{
    return QStringLiteral("Nothing From ") + m_name;
}

QString SourceItemsSource::emptyMessage() const
{
    return QStringLiteral("No downloaded files from %1 were found.").arg(m_name);
}
