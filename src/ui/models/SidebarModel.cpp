#include "SidebarModel.h"

#include "actions/FileActions.h"
#include "models/Fmt.h"

namespace {

std::optional<qint64> countOf(const LibraryStore &store, const SidebarItem &item)
{
    if (const auto result = store.collection(item))
        return result->totalCount;
    return std::nullopt;
}

} // namespace

SidebarModel::SidebarModel(QObject *parent)
    : RowList(parent)
{
}

void SidebarModel::componentComplete()
{
    setStores(UiStores::of(this));
}

void SidebarModel::setStores(const Stores &stores)
{
    m_stores = stores;
    if (!m_stores.state || !m_stores.store)
        return;
    const auto update = [this] { refresh(); };
    connect(m_stores.store, &LibraryStore::collectionChanged, this, update);
    connect(m_stores.state, &AppState::selectionChanged, this, update);
    connect(m_stores.state, &AppState::isSearchingChanged, this, update);
    connect(m_stores.state, &AppState::pinnedChanged, this, update);
    if (m_stores.duplicates)
        connect(m_stores.duplicates, &DuplicateFinder::exactChanged, this, update);
    if (m_stores.cleanup)
        connect(m_stores.cleanup, &CleanupStore::resultsChanged, this, update);
    if (m_stores.sources)
        connect(m_stores.sources, &SourceStore::groupsChanged, this, update);
    refresh();
}

QList<SidebarModel::Row> SidebarModel::build(const Stores &stores)
{
    QList<Row> rows;
    if (!stores.state || !stores.store)
        return rows;
    const AppState &state = *stores.state;
    const std::optional<SidebarItem> selection = state.selection();

    const auto isSelected = [&](const SidebarItem &item) {
        if (state.isSearching())
            return false;
        if (selection && selection->kind() == SidebarItem::Case::cleanup && item.kind() == SidebarItem::Case::cleanupHub)
            return true;
        if (selection && selection->kind() == SidebarItem::Case::source && item.kind() == SidebarItem::Case::sources)
            return true;
        // No selection means home.
        return selection.value_or(SidebarItem::home()) == item;
    };
    const auto row = [&](const SidebarItem &item, const QString &title, const QString &symbol, std::optional<qint64> badge = {}, qint64 detailBytes = 0) {
        Row r;
        r.kind = QStringLiteral("row");
        r.key = item.key();
        r.title = title;
        r.symbol = symbol;
        r.badge = badge && *badge >= 1 ? *badge : -1;
        if (detailBytes >= 1)
            r.detail = Fmt::bytes(detailBytes);
        r.selected = isSelected(item);
        r.item = item;
        rows.append(r);
    };
    const auto plain = [&](const QString &kind, const QString &title = {}) {
        Row r;
        r.kind = kind;
        r.title = title;
        rows.append(r);
    };
    const auto divider = [&] { plain(QStringLiteral("divider")); };
    const auto heading = [&](const QString &text) { plain(QStringLiteral("heading"), text); };
    const auto folderRow = [&](const Location &location, bool starred) {
        const SidebarItem item = SidebarItem::location(location);
        Row r;
        r.kind = QStringLiteral("folder");
        r.key = item.key();
        r.title = location.title;
        r.symbol = location.symbol;
        r.selected = isSelected(item);
        r.starred = starred;
        r.url = location.url;
        r.pinned = state.pinned().contains(location.url);
        r.item = item;
        rows.append(r);
    };

    row(SidebarItem::home(), QStringLiteral("Home"), QStringLiteral("house"));
    row(SidebarItem::smart(SmartCollection::recents), QStringLiteral("Recents"), QStringLiteral("clock"));
    for (const FileCategory category : FileCategory::library()) {
        const SidebarItem item = SidebarItem::category(category);
        row(item, category.title(), category.symbol(), countOf(*stores.store, item));
    }
    divider();
    const SidebarItem large = SidebarItem::smart(SmartCollection::large);
    const SidebarItem screenshots = SidebarItem::smart(SmartCollection::screenshots);
    row(large, QStringLiteral("Large Files"), QStringLiteral("externaldrive"), countOf(*stores.store, large));
    row(screenshots, QStringLiteral("Screenshots"), QStringLiteral("camera.viewfinder"), countOf(*stores.store, screenshots));
    row(SidebarItem::duplicates(), QStringLiteral("Duplicates"), QStringLiteral("square.on.square"), {},
        stores.duplicates ? stores.duplicates->exactReclaimable() : 0);
    row(SidebarItem::cleanupHub(), QStringLiteral("Clean Up"), QStringLiteral("sparkles"), {}, stores.cleanup ? stores.cleanup->totalReclaimable() : 0);
    std::optional<qint64> sourceCount;
    if (stores.sources && !stores.sources->groups().isEmpty())
        sourceCount = stores.sources->groups().size();
    row(SidebarItem::sources(), QStringLiteral("Downloaded From"), QStringLiteral("arrow.down.circle"), sourceCount);
    divider();

    if (!state.pinned().isEmpty()) {
        heading(QStringLiteral("Favourites"));
        for (const QUrl &url : state.pinned())
            folderRow({url, Location::displayName(url), QStringLiteral("folder")}, true);
        plain(QStringLiteral("gap"));
    }
    heading(QStringLiteral("Locations"));
    for (const Location &location : Location::standard())
        folderRow(location, false);
    return rows;
}

void SidebarModel::refresh()
{
    const QList<Row> next = build(m_stores);
    replaceRows(
        next, [](const Row &a, const Row &b) { return a.kind == b.kind && a.key == b.key && a.title == b.title; }, std::equal_to<Row>());
}

QVariant SidebarModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &r = rows()[index.row()];
    switch (role) {
    case RowKindRole:
        return r.kind;
    case KeyRole:
        return r.key;
    case Qt::DisplayRole:
    case TitleRole:
        return r.title;
    case SymbolRole:
        return r.symbol;
    case BadgeRole:
        return r.badge;
    case DetailRole:
        return r.detail;
    case SelectedRole:
        return r.selected;
    case StarredRole:
        return r.starred;
    case UrlRole:
        return r.url;
    case PinnedRole:
        return r.pinned;
    }
    return {};
}

QHash<int, QByteArray> SidebarModel::roleNames() const
{
    return {
        {RowKindRole, "rowKind"},
        {KeyRole, "key"},
        {TitleRole, "title"},
        {SymbolRole, "symbol"},
        {BadgeRole, "badge"},
        {DetailRole, "detail"},
        {SelectedRole, "selected"},
        {StarredRole, "starred"},
        {UrlRole, "url"},
        {PinnedRole, "pinned"},
    };
}

void SidebarModel::activate(int row)
{
    if (row < 0 || row >= rows().size() || !m_stores.state)
        return;
    if (const auto &item = rows()[row].item) {
        m_stores.state->setSelection(*item);
        m_stores.state->setSearchText(QString());
    }
}

void SidebarModel::togglePin(int row)
{
    if (row >= 0 && row < rows().size() && m_stores.state && rows()[row].url.isValid())
        m_stores.state->togglePin(rows()[row].url);
}

void SidebarModel::reveal(int row)
{
    if (row < 0 || row >= rows().size() || !rows()[row].url.isValid())
        return;
    if (const auto item = FileItem::fromUrl(rows()[row].url))
        FileActions::reveal({*item});
}
