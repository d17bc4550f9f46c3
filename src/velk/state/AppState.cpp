#include "AppState.h"
#include "FilePath.h"

#include "Keyboard.h"
#include "Settings.h"
#include "sources/DownloadSources.h"

#include <QCollator>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <vector>

namespace {

const QString kViewModeKey = QStringLiteral("viewMode");
const QString kCardSizeKey = QStringLiteral("cardSize");
const QString kPinnedKey = QStringLiteral("pinned");
const QString kLiveTextModeKey = QStringLiteral("liveTextMode");

// Natural, case-insensitive order in the user's language, so "file2" comes before "file10".
QCollator nameCollator()
{
    QLocale locale;
    // Qt collates the C locale by code point and ignores numeric mode there; English stands in for it.
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English);
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

ViewMode storedViewMode(const QString &text)
{
    return text == u"list" ? ViewMode::list : ViewMode::grid;
}

CardSize storedCardSize(const QString &text)
{
    if (text == u"small")
        return CardSize::small;
    if (text == u"large")
        return CardSize::large;
    return CardSize::medium;
}

QList<QUrl> storedPinned(const QStringList &paths)
{
    QList<QUrl> urls;
    for (const QString &path : paths) {
        const QUrl url = FilePath::toUrl(path);
        if (!path.isEmpty() && !urls.contains(url))
            urls.append(url);
    }
    return urls;
}

} // namespace

AppState::AppState(Settings &settings, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_viewMode(storedViewMode(settings.text(kViewModeKey)))
    , m_cardSize(storedCardSize(settings.text(kCardSizeKey)))
    , m_pinned(storedPinned(settings.textList(kPinnedKey)))
    , m_liveTextMode(settings.flag(kLiveTextModeKey))
{
}

void AppState::setViewMode(ViewMode viewMode)
{
    if (assign(m_viewMode, viewMode, &AppState::viewModeChanged))
        m_settings.setText(kViewModeKey, viewMode.rawValue());
}

void AppState::setCardSize(CardSize cardSize)
{
    if (assign(m_cardSize, cardSize, &AppState::cardSizeChanged))
        m_settings.setText(kCardSizeKey, cardSize.rawValue());
}

void AppState::setPinned(const QList<QUrl> &pinned)
{
    if (!assign(m_pinned, pinned, &AppState::pinnedChanged))
        return;
    QStringList paths;
    for (const QUrl &url : pinned)
        paths.append(FilePath::fromUrl(url));
    m_settings.setTextList(kPinnedKey, paths);
}

void AppState::setLiveTextMode(bool on)
{
    if (assign(m_liveTextMode, on, &AppState::liveTextModeChanged))
        m_settings.setFlag(kLiveTextModeKey, on);
}

bool AppState::isSearching() const
{
    return !m_searchText.trimmed().isEmpty();
}

bool AppState::filtersActive() const
{
    return m_kindFilter || m_dateFilter != DateFilter::any || m_sizeFilter != SizeFilter::any || m_sourceFilter;
}

QList<FileItem> AppState::applyFilters(const QList<FileItem> &items) const
{
    return applyFilters(items, QDateTime::currentDateTime());
}

QList<FileItem> AppState::applyFilters(const QList<FileItem> &items, const QDateTime &now) const
{
    if (!filtersActive())
        return items;
    const std::optional<QDateTime> cutoff = m_dateFilter.cutoff(now);
    const qint64 minimumSize = m_sizeFilter.minimumBytes();

    QList<FileItem> kept;
    for (const FileItem &item : items) {
        if (m_kindFilter && item.category != *m_kindFilter)
            continue;
        if (cutoff && item.modified < *cutoff)
            continue;
        // Folders have no size, so any size filter hides them.
        if (minimumSize > 0 && (item.category == FileCategory::folders || item.size < minimumSize))
            continue;
        if (m_sourceFilter) {
            if (item.category == FileCategory::folders)
                continue;
            const std::optional<DownloadSource> source = DownloadSources::source(item.url);
            if (!source || source->name != *m_sourceFilter)
                continue;
        }
        kept.append(item);
    }
    return kept;
}

QList<FileItem> AppState::sort(const QList<FileItem> &items, bool foldersFirst) const
{
    // Kinds and collation keys are worked out once per item, not once per comparison.
    const bool byName = m_sortKey == SortKey::name || m_sortKey == SortKey::kind;
    const QCollator collator = nameCollator();
    std::vector<QCollatorSortKey> nameKeys;
    QStringList kinds;
    for (const FileItem &item : items) {
        if (byName)
            nameKeys.push_back(collator.sortKey(item.name));
        if (m_sortKey == SortKey::kind)
            kinds.append(item.kindDescription());
    }

    const bool ascending = m_ascending;
    auto ordered = [ascending](auto comparison) { return ascending ? comparison < 0 : comparison > 0; };
    auto before = [&](qsizetype a, qsizetype b) {
        const FileItem &x = items.at(a);
        const FileItem &y = items.at(b);
        switch (m_sortKey) {
        case SortKey::name:
            return ordered(nameKeys[a].compare(nameKeys[b]));
        case SortKey::date:
            return ascending ? x.modified < y.modified : x.modified > y.modified;
        case SortKey::size:
            return ascending ? x.size < y.size : x.size > y.size;
        case SortKey::kind:
            if (const int byKind = kinds.at(a).compare(kinds.at(b)))
                return ordered(byKind);
            // Files of one kind always read A to Z, whichever way the kinds run.
            return nameKeys[a].compare(nameKeys[b]) < 0;
        }
        return false;
    };

    std::vector<qsizetype> order(size_t(items.size()));
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = qsizetype(i);
    std::stable_sort(order.begin(), order.end(), before);
    if (foldersFirst)
        std::stable_partition(order.begin(), order.end(), [&](qsizetype i) { return items.at(i).category == FileCategory::folders; });

    QList<FileItem> sorted;
    sorted.reserve(items.size());
    for (qsizetype i : order)
        sorted.append(items.at(i));
    return sorted;
}

void AppState::setSort(SortKey key)
{
    if (key == m_sortKey) {
        setAscending(!m_ascending);
        return;
    }
    setSortKey(key);
    setAscending(key.defaultAscending());
}

void AppState::openFolder(const QUrl &url)
{
    if (m_selection && m_selection->kind() == SidebarItem::Case::location && !isSearching()) {
        setFolderPath(m_folderPath + QList<QUrl> {url});
    } else {
        setSearchText(QString());
        setSelection(SidebarItem::location({url, Location::displayName(url), QStringLiteral("folder")}));
    }
    setSelectedFiles({});
    setFocusedItem(std::nullopt);
}

void AppState::leaveFolder()
{
    if (!m_folderPath.isEmpty())
        setFolderPath(m_folderPath.mid(0, m_folderPath.size() - 1));
}

void AppState::selectKey(const QString &key)
{
    if (const auto item = SidebarItem::fromKey(key))
        setSelection(*item);
}

void AppState::select(const FileItem &item)
{
    select(item, Keyboard::modifiers());
}

void AppState::select(const FileItem &item, Qt::KeyboardModifiers modifiers)
{
    QSet<QUrl> marks {item.url};
    if (modifiers.testFlag(Keyboard::toggleModifier)) {
        marks = m_selectedFiles;
        if (!marks.remove(item.url))
            marks.insert(item.url);
    }
    setSelectedFiles(marks);
    // Ctrl-clicking a marked file takes it out, and the inspector with it.
    setFocusedItem(marks.contains(item.url) ? std::optional(item) : std::nullopt);
}

QList<FileItem> AppState::targets(const FileItem &item, const QList<FileItem> &list) const
{
    if (!m_selectedFiles.contains(item.url) || m_selectedFiles.size() < 2)
        return {item};
    QList<FileItem> marked;
    for (const FileItem &candidate : list) {
        if (m_selectedFiles.contains(candidate.url))
            marked.append(candidate);
    }
    return marked;
}

void AppState::preview(const FileItem &item, const QList<FileItem> &list)
{
    QList<FileItem> files;
    for (const FileItem &candidate : list) {
        if (candidate.category != FileCategory::folders)
            files.append(candidate);
    }
    setPreviewList(files);
    setPreviewItem(item);
}

void AppState::stepPreview(int delta)
{
    if (!m_previewItem)
        return;
    const qsizetype index = m_previewList.indexOf(*m_previewItem);
    if (index < 0)
        return;
    const qsizetype target = index + delta;
    if (target < 0 || target >= m_previewList.size())
        return;
    const FileItem neighbour = m_previewList.at(target);
    setPreviewItem(neighbour);
    setSelectedFiles({neighbour.url});
    setFocusedItem(neighbour);
}

void AppState::togglePin(const QUrl &url)
{
    QList<QUrl> pins = m_pinned;
    if (pins.contains(url))
        pins.removeAll(url);
    else
        pins.append(url);
    setPinned(pins);
}
