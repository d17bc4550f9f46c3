#include "BrowserModel.h"

#include "actions/CopyText.h"
#include "actions/FileActions.h"
#include "models/Fmt.h"
#include "sources/DownloadSources.h"
#include "text/Readable.h"

#include <QLocale>

namespace {

int minCardWidth(CardSize size)
{
    switch (size) {
    case CardSize::small:
        return 200;
    case CardSize::large:
        return 320;
    case CardSize::medium:
        break;
    }
    return 250;
}

QVariantList variants(const QList<FileItem> &items)
{
    QVariantList list;
    list.reserve(items.size());
    for (const FileItem &item : items)
        list.append(QVariant::fromValue(item));
    return list;
}

bool sameItems(const QList<FileItem> &a, const QList<FileItem> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const FileItem &x, const FileItem &y) { return x.looksSameAs(y); });
}

} // namespace

bool BrowserRow::sameAs(const BrowserRow &other) const
{
    return kind == other.kind && key == other.key && firstIndex == other.firstIndex && title == other.title && count == other.count && loading == other.loading
        && text == other.text && sameItems(items, other.items);
}

BrowserModel::BrowserModel(QObject *parent)
    : RowList(parent)
{
}

AppState *BrowserModel::state() const
{
    return m_source ? m_source->stores().state : nullptr;
}

void BrowserModel::setSource(BrowserSource *source)
{
    if (m_source == source)
        return;
    for (const auto &connection : m_connections)
        disconnect(connection);
    m_connections.clear();
    m_source = source;
    if (m_source) {
        m_connections.append(connect(m_source, &BrowserSource::itemsChanged, this, &BrowserModel::itemsChanged));
        m_connections.append(connect(m_source, &BrowserSource::changed, this, &BrowserModel::rebuild));
    }
    Q_EMIT sourceChanged();
    itemsChanged();
}

void BrowserModel::setWidth(double width)
{
    if (qFuzzyCompare(m_width, width))
        return;
    const int before = columns();
    m_width = width;
    Q_EMIT widthChanged();
    if (columns() != before)
        rebuild();
}

int BrowserModel::columnsFor(double width, CardSize size)
{
    const double min = minCardWidth(size);
    return std::max(1, int((width - 2 * kPad + kSpacing) / (min + kSpacing)));
}

int BrowserModel::columns() const
{
    return columnsFor(m_width, state() ? state()->cardSize() : CardSize(CardSize::medium));
}

void BrowserModel::itemsChanged()
{
    m_items = m_source ? m_source->items() : QList<FileItem>();
    m_sourceCounts = sourceCounts(m_items, true);
    // The first time the state is known, follow everything that changes what is shown.
    if (state() && m_connections.size() == 2) {
        AppState *s = state();
        for (auto signal : {&AppState::kindFilterChanged, &AppState::dateFilterChanged, &AppState::sizeFilterChanged, &AppState::sourceFilterChanged,
                 &AppState::sortKeyChanged, &AppState::ascendingChanged, &AppState::viewModeChanged, &AppState::cardSizeChanged})
            m_connections.append(connect(s, signal, this, &BrowserModel::rebuild));
    }
    rebuild();
}

QList<std::pair<QString, qint64>> BrowserModel::sourceCounts(const QList<FileItem> &items, bool sourceFilterSet)
{
    QHash<QString, qint64> counts;
    for (const FileItem &item : items) {
        if (item.category == FileCategory::folders)
            continue;
        if (const auto source = DownloadSources::source(item.url))
            ++counts[source->name];
    }
    if (counts.size() < 2 && !sourceFilterSet)
        return {};
    QList<std::pair<QString, qint64>> list(counts.keyValueBegin(), counts.keyValueEnd());
    std::sort(list.begin(), list.end(), [](const auto &a, const auto &b) { return a.second != b.second ? a.second > b.second : a.first < b.first; });
    return list;
}

void BrowserModel::rebuild()
{
    AppState *s = state();
    m_visible = s ? s->sort(s->applyFilters(m_items), false) : m_items;
    QList<FileItem> folders;
    QList<FileItem> files;
    for (const FileItem &item : std::as_const(m_visible))
        (item.category == FileCategory::folders ? folders : files).append(item);
    m_folderCount = folders.size();
    m_ordered = folders + files;

    QList<Row> next;
    const int perRow = columns();
    const bool listMode = s && s->viewMode() == ViewMode::list;
    if (!folders.isEmpty()) {
        next.append(Row {.kind = QStringLiteral("title"),
            .key = QStringLiteral("title:folders"),
            .items = {},
            .firstIndex = 0,
            .title = QStringLiteral("Folders"),
            .count = folders.size(),
            .loading = false,
            .text = {}});
        for (qsizetype i = 0; i < folders.size(); i += perRow)
            next.append(Row {.kind = QStringLiteral("folders"),
                .key = QStringLiteral("folders:%1").arg(i / perRow),
                .items = folders.mid(i, perRow),
                .firstIndex = int(i),
                .title = {},
                .count = -1,
                .loading = false,
                .text = {}});
    }
    if (!files.isEmpty()) {
        const int first = int(folders.size());
        next.append(Row {.kind = QStringLiteral("title"),
            .key = QStringLiteral("title:files"),
            .items = {},
            .firstIndex = first,
            .title = QStringLiteral("Files"),
            .count = fileCount(),
            .loading = m_source && m_source->isLoading(),
            .text = {}});
        if (listMode) {
            for (qsizetype i = 0; i < files.size(); ++i)
                next.append(Row {.kind = QStringLiteral("fileRow"),
                    .key = QStringLiteral("file:%1").arg(i),
                    .items = {files[i]},
                    .firstIndex = int(first + i),
                    .title = {},
                    .count = -1,
                    .loading = false,
                    .text = {}});
        } else {
            for (qsizetype i = 0; i < files.size(); i += perRow)
                next.append(Row {.kind = QStringLiteral("cards"),
                    .key = QStringLiteral("cards:%1").arg(i / perRow),
                    .items = files.mid(i, perRow),
                    .firstIndex = int(first + i),
                    .title = {},
                    .count = -1,
                    .loading = false,
                    .text = {}});
        }
        if (const QString text = note(); !text.isEmpty())
            next.append(Row {.kind = QStringLiteral("note"),
                .key = QStringLiteral("note"),
                .items = {},
                .firstIndex = int(m_ordered.size()),
                .title = {},
                .count = -1,
                .loading = false,
                .text = text});
    }
    // Rows are the same row by key ("cards:3"), so a filter or a reload changes them in place.
    replaceRows(
        next, [](const Row &a, const Row &b) { return a.key == b.key; }, [](const Row &a, const Row &b) { return a.sameAs(b); });
    Q_EMIT layoutChanged();
}

qint64 BrowserModel::fileCount() const
{
    const qint64 files = m_ordered.size() - m_folderCount;
    if (state() && state()->filtersActive())
        return files;
    const qint64 total = m_source ? std::max<qint64>(m_source->totalCount(), 0) : 0;
    return std::max(total - m_folderCount, files);
}

QString BrowserModel::note() const
{
    if (!m_source || (state() && state()->filtersActive()))
        return {};
    const qint64 total = m_source->totalCount();
    if (total < 0 || m_items.size() >= total)
        return {};
    const QLocale locale;
    return QStringLiteral("Showing the %1 most recent of %2. Use search to find older files.").arg(locale.toString(m_items.size()), locale.toString(total));
}

QString BrowserModel::contentState() const
{
    if (m_items.isEmpty() && m_source && m_source->isLoading())
        return QStringLiteral("loading");
    return m_visible.isEmpty() ? QStringLiteral("empty") : QStringLiteral("list");
}

QString BrowserModel::emptyTitle() const
{
    if (!m_items.isEmpty() && state() && state()->filtersActive())
        return QStringLiteral("No Matches");
    return m_source ? m_source->emptyTitle() : QString();
}

QString BrowserModel::emptySymbol() const
{
    if (!m_items.isEmpty() && state() && state()->filtersActive())
        return QStringLiteral("line.3.horizontal.decrease.circle");
    return m_source ? m_source->emptySymbol() : QString();
}

QString BrowserModel::emptyMessage() const
{
    if (!m_items.isEmpty() && state() && state()->filtersActive())
        return QStringLiteral("Try loosening the filters.");
    return m_source ? m_source->emptyMessage() : QString();
}

QVariantList BrowserModel::kinds() const
{
    if (!m_source || !m_source->showsKindFilter())
        return {};
    QHash<int, qint64> counts;
    for (const FileItem &item : m_items)
        ++counts[int(FileCategory::Case(item.category))];
    QVariantList list;
    for (int c = FileCategory::images; c <= FileCategory::other; ++c) {
        const FileCategory category {FileCategory::Case(c)};
        if (counts.value(c) > 0)
            list.append(QVariantMap {
                {QStringLiteral("raw"), category.rawValue()}, {QStringLiteral("title"), category.title()}, {QStringLiteral("count"), counts.value(c)}});
    }
    return list;
}

QVariantList BrowserModel::sources() const
{
    const bool filterSet = state() && state()->sourceFilter();
    if (m_sourceCounts.size() < 2 && !filterSet)
        return {};
    QVariantList list;
    for (const auto &[name, count] : m_sourceCounts.mid(0, kMenuSources)) {
        const auto source = DownloadSources::named(name);
        list.append(QVariantMap {
            {QStringLiteral("name"), name}, {QStringLiteral("count"), count}, {QStringLiteral("symbol"), source ? source->symbol : QStringLiteral("globe")}});
    }
    return list;
}

QVariant BrowserModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = rows()[index.row()];
    switch (role) {
    case RowKindRole:
        return row.kind;
    case ItemsRole:
        return variants(row.items);
    case FirstIndexRole:
        return row.firstIndex;
    case Qt::DisplayRole:
    case TitleRole:
        return row.title;
    case CountRole:
        return row.count;
    case LoadingRole:
        return row.loading;
    case TextRole:
        return row.text;
    }
    return {};
}

QHash<int, QByteArray> BrowserModel::roleNames() const
{
    return {{RowKindRole, "rowKind"}, {ItemsRole, "items"}, {FirstIndexRole, "firstIndex"}, {TitleRole, "title"}, {CountRole, "count"},
        {LoadingRole, "loading"}, {TextRole, "text"}};
}

std::optional<FileItem> BrowserModel::find(const QUrl &url) const
{
    for (const FileItem &item : m_visible) {
        if (item.url == url)
            return item;
    }
    return std::nullopt;
}

void BrowserModel::open(const FileItem &item)
{
    AppState *s = state();
    if (!s)
        return;
    switch (item.category) {
    case FileCategory::images:
    case FileCategory::videos:
    case FileCategory::documents:
    case FileCategory::code:
        s->preview(item, m_visible);
        break;
    case FileCategory::music:
        if (Player *player = m_source->stores().player)
            player->play(item, m_visible);
        break;
    case FileCategory::folders:
        s->openFolder(item.url);
        break;
    case FileCategory::archives:
    case FileCategory::apps:
    case FileCategory::other:
        FileActions::openExternally({item});
        break;
    }
}

bool BrowserModel::keyPressed(int key)
{
    AppState *s = state();
    if (!s)
        return false;
    const std::optional<FileItem> focused = s->focusedItem();
    switch (key) {
    case Qt::Key_Space:
        if (!focused)
            return false;
        if (focused->category == FileCategory::folders)
            s->openFolder(focused->url);
        else
            s->preview(*focused, m_visible);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!focused)
            return false;
        open(*focused);
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
        break;
    default:
        return false;
    }
    const int step = s->viewMode() == ViewMode::grid ? columns() : 1;
    const int delta = key == Qt::Key_Left ? -1 : key == Qt::Key_Right ? 1 : key == Qt::Key_Up ? -step : step;
    int base = -delta;
    if (focused) {
        const qsizetype at = m_ordered.indexOf(*focused);
        if (at >= 0)
            base = int(at);
    }
    if (m_ordered.isEmpty())
        return true;
    const int target = std::clamp(base + delta, 0, int(m_ordered.size()) - 1);
    const FileItem &item = m_ordered[target];
    s->setSelectedFiles({item.url});
    s->setFocusedItem(item);
    Q_EMIT scrollToRow(rowOf(target));
    return true;
}

void BrowserModel::tapped(const QUrl &url, int modifiers)
{
    if (const auto item = find(url); item && state())
        state()->select(*item, Qt::KeyboardModifiers(modifiers));
}

void BrowserModel::doubleTapped(const QUrl &url)
{
    if (const auto item = find(url))
        open(*item);
}

void BrowserModel::clickedEmpty()
{
    if (AppState *s = state()) {
        s->setSelectedFiles({});
        s->setFocusedItem(std::nullopt);
    }
}

QString BrowserModel::dragUriList(const QUrl &url) const
{
    return QString::fromLatin1(url.toEncoded()) + QStringLiteral("\r\n");
}

int BrowserModel::rowOf(int orderedIndex) const
{
    for (qsizetype r = rows().size() - 1; r >= 0; --r) {
        const Row &row = rows()[r];
        if (row.kind != QLatin1String("title") && row.kind != QLatin1String("note") && row.firstIndex <= orderedIndex)
            return int(r);
    }
    return 0;
}

QVariant BrowserModel::itemAt(int orderedIndex) const
{
    if (orderedIndex < 0 || orderedIndex >= m_ordered.size())
        return QVariant::fromValue(FileItem());
    return QVariant::fromValue(m_ordered[orderedIndex]);
}

void BrowserModel::setSort(const QString &raw)
{
    if (const auto key = SortKey::fromRaw(raw); key && state())
        state()->setSort(*key);
}

QString BrowserModel::tagText(const FileItem &item, CardSize size)
{
    static const QString dot = QStringLiteral(" · ");
    const QString extension = item.extension();
    const QString base = extension.isEmpty() ? item.category.title() : extension.toUpper();
    if (item.category == FileCategory::apps)
        return QStringLiteral("App");
    if ((item.category == FileCategory::videos || item.category == FileCategory::music) && item.duration)
        return base + dot + Fmt::duration(*item.duration);
    if (item.category == FileCategory::images && item.pixelWidth && item.pixelHeight && size != CardSize::small)
        return base + dot + QStringLiteral("%1×%2").arg(*item.pixelWidth).arg(*item.pixelHeight);
    if (item.size > 0)
        return base + dot + Fmt::bytes(item.size);
    return base;
}

QString BrowserModel::tagText(const QVariant &item) const
{
    return tagText(item.value<FileItem>(), state() ? state()->cardSize() : CardSize(CardSize::medium));
}

bool BrowserModel::canCopyText(const QVariant &value) const
{
    const FileItem item = value.value<FileItem>();
    if (item.category != FileCategory::images || !TextRecognizer::canRead(item))
        return false;
    TextIndex *index = m_source ? m_source->stores().textIndex : nullptr;
    const std::optional<QString> known = index ? index->currentText(item) : std::nullopt;
    return !known || !known->isEmpty();
}

void BrowserModel::copyText(const QVariant &value)
{
    const Stores &stores = m_source ? m_source->stores() : Stores();
    if (stores.textIndex && stores.state)
        CopyText::run({value.value<FileItem>()}, *stores.textIndex, *stores.state);
}
