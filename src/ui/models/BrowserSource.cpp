#include "BrowserSource.h"

#include "UserPlaces.h"
#include "models/Fmt.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QLocale>
#include <QPointer>

BrowserSource::BrowserSource(QObject *parent)
    : QObject(parent)
{
}

void BrowserSource::componentComplete()
{
    if (!m_stores.state)
        setStores(UiStores::of(this));
}

void BrowserSource::setStores(const Stores &stores)
{
    m_stores = stores;
    if (m_stores.state && m_stores.store)
        start();
}

// --- collections

CollectionSource::CollectionSource(QObject *parent)
    : BrowserSource(parent)
{
}

void CollectionSource::setItemKey(const QString &key)
{
    if (m_itemKey == key)
        return;
    m_itemKey = key;
    m_item = SidebarItem::fromKey(key);
    Q_EMIT itemKeyChanged();
    Q_EMIT changed();
    Q_EMIT itemsChanged();
    load();
}

void CollectionSource::start()
{
    if (m_started)
        return;
    m_started = true;
    LibraryStore *store = stores().store;
    connect(store, &LibraryStore::collectionChanged, this, [this](const SidebarItem &item) {
        if (m_item && item == *m_item) {
            Q_EMIT changed();
            Q_EMIT itemsChanged();
        }
    });
    connect(store, &LibraryStore::loadingChanged, this, &BrowserSource::changed);
    connect(stores().state, &AppState::refreshTokenChanged, this, &CollectionSource::load);
    load();
}

void CollectionSource::load()
{
    // The store decides whether a load is needed.
    if (m_started && m_item)
        stores().store->load(*m_item, stores().state->refreshToken());
}

std::optional<SpotlightResult> CollectionSource::result() const
{
    if (!m_item || !stores().store)
        return std::nullopt;
    return stores().store->collection(*m_item);
}

QList<FileItem> CollectionSource::items() const
{
    const auto r = result();
    return r ? r->items : QList<FileItem>();
}

QString CollectionSource::title() const
{
    return m_item ? m_item->title() : QString();
}

QString CollectionSource::subtitle(const SpotlightResult &result)
{
    return QLocale().toString(result.totalCount) + (result.totalCount == 1 ? QStringLiteral(" item") : QStringLiteral(" items")) + QStringLiteral(" · ")
        + Fmt::bytes(result.totalSize);
}

QString CollectionSource::subtitle() const
{
    const auto r = result();
    return r ? subtitle(*r) : QString();
}

bool CollectionSource::isLoading() const
{
    if (!result())
        return true;
    return m_item && stores().store->isLoading(*m_item);
}

qint64 CollectionSource::totalCount() const
{
    const auto r = result();
    return r ? r->totalCount : -1;
}

QString CollectionSource::symbol(const SidebarItem &item)
{
    if (const auto collection = item.smartCollection())
        return collection->symbol();
    if (const auto category = item.fileCategory())
        return category->symbol();
    return QStringLiteral("tray");
}

QString CollectionSource::emptySymbol() const
{
    return m_item ? symbol(*m_item) : QStringLiteral("tray");
}

QString CollectionSource::emptyMessage() const
{
    return QStringLiteral("Velk couldn't find any %1 in your home folders.").arg(title().toLower());
}

// --- search

SearchSource::SearchSource(QObject *parent)
    : BrowserSource(parent)
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(kPauseMs);
    connect(&m_pause, &QTimer::timeout, this, [this] {
        if (!m_pending.isEmpty())
            stores().store->search(m_pending, stores().textIndex);
    });
}

QString SearchSource::trimmed(const QString &text)
{
    const auto blank = [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); };
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && blank(text[start]))
        ++start;
    while (end > start && blank(text[end - 1]))
        --end;
    return text.mid(start, end - start);
}

QString SearchSource::subtitle(qsizetype matches, int textMatches)
{
    const QLocale locale;
    QString text = locale.toString(matches) + (matches == 1 ? QStringLiteral(" match") : QStringLiteral(" matches")) + QStringLiteral(" in your home folders");
    if (textMatches >= 1)
        text += QStringLiteral(" · %1 found by text inside images").arg(locale.toString(textMatches));
    return text;
}

void SearchSource::start()
{
    LibraryStore *store = stores().store;
    for (auto signal :
        {&LibraryStore::searchResultChanged, &LibraryStore::searchedQueryChanged, &LibraryStore::isSearchingChanged, &LibraryStore::parsedQueryChanged}) {
        connect(store, signal, this, [this] {
            Q_EMIT changed();
            Q_EMIT itemsChanged();
        });
    }
    connect(stores().state, &AppState::searchTextChanged, this, &SearchSource::textChanged);
    textChanged();
}

void SearchSource::textChanged()
{
    const QString text = query();
    // The same words with a space more are the same search.
    if (text == m_pending)
        return;
    m_pending = text;
    m_pause.start();
    Q_EMIT changed();
    Q_EMIT itemsChanged();
}

QString SearchSource::query() const
{
    return stores().state ? trimmed(stores().state->searchText()) : QString();
}

bool SearchSource::isCurrent() const
{
    return stores().store && stores().store->searchedQuery() == query();
}

QList<FileItem> SearchSource::items() const
{
    if (!isCurrent() || !stores().store->searchResult())
        return {};
    return stores().store->searchResult()->items;
}

QString SearchSource::title() const
{
    return QStringLiteral("Results for “%1”").arg(query());
}

QString SearchSource::subtitle() const
{
    if (!isCurrent())
        return QStringLiteral("Searching…");
    return subtitle(items().size(), stores().store->textMatchCount());
}

bool SearchSource::isLoading() const
{
    return !isCurrent() || stores().store->isSearching();
}

QString SearchSource::emptyMessage() const
{
    return QStringLiteral("Nothing in your home folders matches “%1”.").arg(query());
}

QStringList SearchSource::chips() const
{
    if (!isCurrent() || !stores().store->parsedQuery())
        return {};
    return stores().store->parsedQuery()->chips();
}

// --- folders

FolderSource::FolderSource(QObject *parent)
    : BrowserSource(parent)
{
}

void FolderSource::setLocationKey(const QString &key)
{
    if (m_locationKey == key)
        return;
    m_locationKey = key;
    const auto item = SidebarItem::fromKey(key);
    m_location = item ? item->locationValue() : std::nullopt;
    // The selection knows the place's own title and symbol; keep them.
    if (stores().state) {
        if (const auto selected = stores().state->selection(); selected && selected->key() == key)
            m_location = selected->locationValue();
    }
    Q_EMIT locationKeyChanged();
    list();
}

void FolderSource::start()
{
    if (m_started)
        return;
    m_started = true;
    if (const auto selected = stores().state->selection(); selected && selected->key() == m_locationKey)
        m_location = selected->locationValue();
    connect(stores().state, &AppState::folderPathChanged, this, &FolderSource::list);
    connect(stores().state, &AppState::refreshTokenChanged, this, &FolderSource::list);
    list();
}

QUrl FolderSource::current() const
{
    const QList<QUrl> path = stores().state ? stores().state->folderPath() : QList<QUrl>();
    if (!path.isEmpty())
        return path.last();
    return m_location ? m_location->url : QUrl();
}

void FolderSource::list()
{
    if (!m_started || !m_location)
        return;
    const QUrl folder = current();
    const QString run = folder.toString() + QLatin1Char('#') + QString::number(stores().state->refreshToken());
    m_run = run;
    m_loading = true;
    Q_EMIT changed();
    [](QPointer<FolderSource> self, QUrl folder, QString run) -> QCoro::Task<> {
        FolderListing listing = co_await LibraryStore::listFolder(folder);
        // The person moved on, or a newer listing of the same place began.
        if (!self || self->m_run != run)
            co_return;
        self->m_items = listing.items;
        self->m_error = listing.ok()
            ? QString()
            : QStringLiteral("Velk doesn't have permission to read “%1”. Check the folder's permissions and try again.").arg(Location::displayName(folder));
        self->m_loading = false;
        Q_EMIT self->changed();
        Q_EMIT self->itemsChanged();
    }(this, folder, run);
}

QString FolderSource::title() const
{
    if (!m_location)
        return {};
    const QUrl shown = current();
    return shown == m_location->url ? m_location->title : Location::displayName(shown);
}

QString FolderSource::shownPath(const QString &path)
{
    const QString home = UserPlaces::homePath();
    if (path == home)
        return QStringLiteral("~");
    if (path.startsWith(home + QLatin1Char('/')))
        return QStringLiteral("~") + path.mid(home.size());
    return path;
}

QString FolderSource::subtitle() const
{
    return current().isEmpty() ? QString() : FilePath::display(shownPath(FilePath::fromUrl(current())));
}

QString FolderSource::emptyTitle() const
{
    return m_error.isEmpty() ? QStringLiteral("Empty Folder") : QStringLiteral("Can't Open Folder");
}

QString FolderSource::emptySymbol() const
{
    return m_error.isEmpty() ? QStringLiteral("folder") : QStringLiteral("lock");
}

QString FolderSource::emptyMessage() const
{
    return m_error.isEmpty() ? QStringLiteral("There's nothing in this folder yet.") : m_error;
}

bool FolderSource::hasBack() const
{
    return stores().state && !stores().state->folderPath().isEmpty();
}

void FolderSource::back()
{
    if (stores().state)
        stores().state->leaveFolder();
}

QVariantList FolderSource::crumbs() const
{
    if (!m_location || !hasBack())
        return {};
    QVariantList list {QVariantMap {{QStringLiteral("title"), m_location->title}, {QStringLiteral("index"), -1}}};
    const QList<QUrl> path = stores().state->folderPath();
    for (qsizetype i = 0; i < path.size(); ++i)
        list.append(QVariantMap {{QStringLiteral("title"), Location::displayName(path[i])}, {QStringLiteral("index"), int(i)}});
    return list;
}

void FolderSource::openCrumb(int index)
{
    if (!stores().state)
        return;
    const QList<QUrl> path = stores().state->folderPath();
    stores().state->setFolderPath(index < 0 ? QList<QUrl>() : path.mid(0, index + 1));
}
