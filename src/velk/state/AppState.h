#pragma once

#include "models/Destinations.h"
#include "models/FileCategory.h"
#include "models/FileItem.h"
#include "models/ViewOptions.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QUrl>
#include <QUuid>
#include <QVariant>

#include <optional>

class Settings;

// The passing message. Two toasts are equal when every field is, so a new toast with the same
// text is still a new message.
struct ToastMessage {
    Q_GADGET
    Q_PROPERTY(QString id READ idText CONSTANT)
    Q_PROPERTY(QString message MEMBER message CONSTANT)
    Q_PROPERTY(QString symbol MEMBER symbol CONSTANT)
    Q_PROPERTY(bool sticky MEMBER sticky CONSTANT)

public:
    ToastMessage() = default;
    ToastMessage(QString message, QString symbol, bool sticky = false)
        : id(QUuid::createUuid())
        , message(std::move(message))
        , symbol(std::move(symbol))
        , sticky(sticky)
    {
    }
    QUuid id;
    QString message;
    QString symbol;
    // Stays until replaced or cleared.
    bool sticky = false;

    QString idText() const { return id.toString(QUuid::WithoutBraces); }
    friend bool operator==(const ToastMessage &, const ToastMessage &) = default;
};

// Where the user is and what the user has chosen, for the whole run, on the main thread. Every field
// notifies only when its value really changes. The C++ interface is typed; the properties carry what
// QML can hold (enums as their raw texts, an absent kind or source as the empty text).
class AppState : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariant selection READ selectionValue NOTIFY selectionChanged)
    // The selection as SidebarItem::key gives it, for views that compare destinations.
    Q_PROPERTY(QString selectionKey READ selectionKey NOTIFY selectionChanged)
    Q_PROPERTY(QList<QUrl> folderPath READ folderPath WRITE setFolderPath NOTIFY folderPathChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(QString kindFilter READ kindFilterRaw WRITE setKindFilterRaw NOTIFY kindFilterChanged)
    Q_PROPERTY(QString dateFilter READ dateFilterRaw WRITE setDateFilterRaw NOTIFY dateFilterChanged)
    Q_PROPERTY(QString sizeFilter READ sizeFilterRaw WRITE setSizeFilterRaw NOTIFY sizeFilterChanged)
    Q_PROPERTY(QString sourceFilter READ sourceFilterText WRITE setSourceFilterText NOTIFY sourceFilterChanged)
    Q_PROPERTY(bool sidebarCollapsed READ sidebarCollapsed WRITE setSidebarCollapsed NOTIFY sidebarCollapsedChanged)
    Q_PROPERTY(QString viewMode READ viewModeRaw WRITE setViewModeRaw NOTIFY viewModeChanged)
    Q_PROPERTY(QString cardSize READ cardSizeRaw WRITE setCardSizeRaw NOTIFY cardSizeChanged)
    Q_PROPERTY(QString sortKey READ sortKeyRaw WRITE setSortKeyRaw NOTIFY sortKeyChanged)
    Q_PROPERTY(bool ascending READ ascending WRITE setAscending NOTIFY ascendingChanged)
    Q_PROPERTY(QList<QUrl> selectedFiles READ selectedFileList NOTIFY selectedFilesChanged)
    Q_PROPERTY(QVariant focusedItem READ focusedItemValue NOTIFY focusedItemChanged)
    Q_PROPERTY(bool showInspector READ showInspector WRITE setShowInspector NOTIFY showInspectorChanged)
    Q_PROPERTY(QVariant previewItem READ previewItemValue NOTIFY previewItemChanged)
    Q_PROPERTY(QVariant previewList READ previewListValue NOTIFY previewListChanged)
    Q_PROPERTY(int refreshToken READ refreshToken NOTIFY refreshTokenChanged)
    Q_PROPERTY(int focusSearchToken READ focusSearchToken NOTIFY focusSearchTokenChanged)
    Q_PROPERTY(QVariant toast READ toastValue NOTIFY toastChanged)
    Q_PROPERTY(QList<QUrl> pinned READ pinned NOTIFY pinnedChanged)
    Q_PROPERTY(bool liveTextMode READ liveTextMode WRITE setLiveTextMode NOTIFY liveTextModeChanged)
    Q_PROPERTY(bool isSearching READ isSearching NOTIFY isSearchingChanged)
    Q_PROPERTY(bool filtersActive READ filtersActive NOTIFY filtersActiveChanged)

public:
    using Toast = ToastMessage;

    // Reads the stored view mode, card size, pinned folders and live text mode from `settings`, which
    // must outlive this object and receives every later change of them.
    explicit AppState(Settings &settings, QObject *parent = nullptr);

    std::optional<SidebarItem> selection() const { return m_selection; }
    void setSelection(const std::optional<SidebarItem> &selection) { assign(m_selection, selection, &AppState::selectionChanged); }
    QList<QUrl> folderPath() const { return m_folderPath; }
    void setFolderPath(const QList<QUrl> &folderPath) { assign(m_folderPath, folderPath, &AppState::folderPathChanged); }
    QString searchText() const { return m_searchText; }
    void setSearchText(const QString &searchText) { assign(m_searchText, searchText, &AppState::searchTextChanged); }
    std::optional<FileCategory> kindFilter() const { return m_kindFilter; }
    void setKindFilter(std::optional<FileCategory> kindFilter) { assign(m_kindFilter, kindFilter, &AppState::kindFilterChanged); }
    DateFilter dateFilter() const { return m_dateFilter; }
    void setDateFilter(DateFilter dateFilter) { assign(m_dateFilter, dateFilter, &AppState::dateFilterChanged); }
    SizeFilter sizeFilter() const { return m_sizeFilter; }
    void setSizeFilter(SizeFilter sizeFilter) { assign(m_sizeFilter, sizeFilter, &AppState::sizeFilterChanged); }
    std::optional<QString> sourceFilter() const { return m_sourceFilter; }
    void setSourceFilter(const std::optional<QString> &sourceFilter) { assign(m_sourceFilter, sourceFilter, &AppState::sourceFilterChanged); }
    bool sidebarCollapsed() const { return m_sidebarCollapsed; }
    void setSidebarCollapsed(bool collapsed) { assign(m_sidebarCollapsed, collapsed, &AppState::sidebarCollapsedChanged); }
    ViewMode viewMode() const { return m_viewMode; }
    void setViewMode(ViewMode viewMode);
    CardSize cardSize() const { return m_cardSize; }
    void setCardSize(CardSize cardSize);
    SortKey sortKey() const { return m_sortKey; }
    void setSortKey(SortKey sortKey) { assign(m_sortKey, sortKey, &AppState::sortKeyChanged); }
    bool ascending() const { return m_ascending; }
    void setAscending(bool ascending) { assign(m_ascending, ascending, &AppState::ascendingChanged); }
    QSet<QUrl> selectedFiles() const { return m_selectedFiles; }
    void setSelectedFiles(const QSet<QUrl> &selectedFiles) { assign(m_selectedFiles, selectedFiles, &AppState::selectedFilesChanged); }
    std::optional<FileItem> focusedItem() const { return m_focusedItem; }
    void setFocusedItem(const std::optional<FileItem> &item) { assign(m_focusedItem, item, &AppState::focusedItemChanged); }
    bool showInspector() const { return m_showInspector; }
    void setShowInspector(bool show) { assign(m_showInspector, show, &AppState::showInspectorChanged); }
    std::optional<FileItem> previewItem() const { return m_previewItem; }
    void setPreviewItem(const std::optional<FileItem> &item) { assign(m_previewItem, item, &AppState::previewItemChanged); }
    QList<FileItem> previewList() const { return m_previewList; }
    void setPreviewList(const QList<FileItem> &items) { assign(m_previewList, items, &AppState::previewListChanged); }
    int refreshToken() const { return m_refreshToken; }
    Q_INVOKABLE void raiseRefreshToken() { assign(m_refreshToken, m_refreshToken + 1, &AppState::refreshTokenChanged); }
    int focusSearchToken() const { return m_focusSearchToken; }
    Q_INVOKABLE void raiseFocusSearchToken() { assign(m_focusSearchToken, m_focusSearchToken + 1, &AppState::focusSearchTokenChanged); }
    std::optional<Toast> toast() const { return m_toast; }
    void setToast(const std::optional<Toast> &toast) { assign(m_toast, toast, &AppState::toastChanged); }
    // A passing toast, for the views.
    Q_INVOKABLE void showToast(const QString &message, const QString &symbol) { setToast(Toast(message, symbol)); }
    QList<QUrl> pinned() const { return m_pinned; }
    void setPinned(const QList<QUrl> &pinned);
    // The preview sheet's choice between selecting text and showing the picture plainly.
    bool liveTextMode() const { return m_liveTextMode; }
    void setLiveTextMode(bool on);

    bool isSearching() const;
    bool filtersActive() const;

    QList<FileItem> applyFilters(const QList<FileItem> &items) const;
    // With the date filter's cutoff taken from `now`.
    QList<FileItem> applyFilters(const QList<FileItem> &items, const QDateTime &now) const;
    QList<FileItem> sort(const QList<FileItem> &items, bool foldersFirst) const;
    void setSort(SortKey key);
    Q_INVOKABLE void openFolder(const QUrl &url);
    // One level up in a folder walk; nothing at its root.
    Q_INVOKABLE void leaveFolder();
    QString selectionKey() const { return m_selection ? m_selection->key() : QString(); }
    // Selects the destination of a key; a key that names none leaves the selection as it is.
    Q_INVOKABLE void selectKey(const QString &key);
    // Ctrl held (as the keyboard says now) adds the item to the marks or takes it out.
    void select(const FileItem &item);
    void select(const FileItem &item, Qt::KeyboardModifiers modifiers);
    QList<FileItem> targets(const FileItem &item, const QList<FileItem> &list) const;
    void preview(const FileItem &item, const QList<FileItem> &list);
    Q_INVOKABLE void stepPreview(int delta);
    Q_INVOKABLE void togglePin(const QUrl &url);

Q_SIGNALS:
    void selectionChanged();
    void folderPathChanged();
    void searchTextChanged();
    void kindFilterChanged();
    void dateFilterChanged();
    void sizeFilterChanged();
    void sourceFilterChanged();
    void sidebarCollapsedChanged();
    void viewModeChanged();
    void cardSizeChanged();
    void sortKeyChanged();
    void ascendingChanged();
    void selectedFilesChanged();
    void focusedItemChanged();
    void showInspectorChanged();
    void previewItemChanged();
    void previewListChanged();
    void refreshTokenChanged();
    void focusSearchTokenChanged();
    void toastChanged();
    void pinnedChanged();
    void liveTextModeChanged();
    void isSearchingChanged();
    void filtersActiveChanged();

private:
    template<typename T>
    static QVariant variantOf(const std::optional<T> &value)
    {
        return value ? QVariant::fromValue(*value) : QVariant();
    }
    template<typename E>
    static QString rawOf(const std::optional<E> &value)
    {
        return value ? value->rawValue() : QString();
    }

    // QML writes raw texts; one that names no case leaves the field as it is.
    template<typename E>
    void setRaw(const QString &raw, void (AppState::*setter)(E))
    {
        if (const std::optional<E> value = E::fromRaw(raw))
            (this->*setter)(*value);
    }

    QVariant selectionValue() const { return variantOf(m_selection); }
    QString kindFilterRaw() const { return rawOf(m_kindFilter); }
    void setKindFilterRaw(const QString &raw)
    {
        if (raw.isEmpty())
            setKindFilter(std::nullopt);
        else if (const auto category = FileCategory::fromRaw(raw))
            setKindFilter(*category);
    }
    QString dateFilterRaw() const { return m_dateFilter.rawValue(); }
    void setDateFilterRaw(const QString &raw) { setRaw(raw, &AppState::setDateFilter); }
    QString sizeFilterRaw() const { return m_sizeFilter.rawValue(); }
    void setSizeFilterRaw(const QString &raw) { setRaw(raw, &AppState::setSizeFilter); }
    QString sourceFilterText() const { return m_sourceFilter.value_or(QString()); }
    void setSourceFilterText(const QString &name) { setSourceFilter(name.isEmpty() ? std::nullopt : std::optional(name)); }
    QString viewModeRaw() const { return m_viewMode.rawValue(); }
    void setViewModeRaw(const QString &raw) { setRaw(raw, &AppState::setViewMode); }
    QString cardSizeRaw() const { return m_cardSize.rawValue(); }
    void setCardSizeRaw(const QString &raw) { setRaw(raw, &AppState::setCardSize); }
    QString sortKeyRaw() const { return m_sortKey.rawValue(); }
    void setSortKeyRaw(const QString &raw) { setRaw(raw, &AppState::setSortKey); }
    QList<QUrl> selectedFileList() const { return {m_selectedFiles.cbegin(), m_selectedFiles.cend()}; }
    QVariant focusedItemValue() const { return variantOf(m_focusedItem); }
    QVariant previewItemValue() const { return variantOf(m_previewItem); }
    QVariant previewListValue() const { return QVariant::fromValue(m_previewList); }
    QVariant toastValue() const { return variantOf(m_toast); }

    // Stores `value` and notifies, along with the derived flags it moves; false when nothing changed.
    template<typename T>
    bool assign(T &field, const T &value, void (AppState::*changed)());

    Settings &m_settings;
    std::optional<SidebarItem> m_selection = SidebarItem::home();
    QList<QUrl> m_folderPath;
    QString m_searchText;
    std::optional<FileCategory> m_kindFilter;
    DateFilter m_dateFilter = DateFilter::any;
    SizeFilter m_sizeFilter = SizeFilter::any;
    std::optional<QString> m_sourceFilter;
    bool m_sidebarCollapsed = false;
    ViewMode m_viewMode = ViewMode::grid;
    CardSize m_cardSize = CardSize::medium;
    SortKey m_sortKey = SortKey::date;
    bool m_ascending = false;
    QSet<QUrl> m_selectedFiles;
    std::optional<FileItem> m_focusedItem;
    bool m_showInspector = false;
    std::optional<FileItem> m_previewItem;
    QList<FileItem> m_previewList;
    int m_refreshToken = 0;
    int m_focusSearchToken = 0;
    std::optional<Toast> m_toast;
    QList<QUrl> m_pinned;
    bool m_liveTextMode = false;
};

template<typename T>
inline bool AppState::assign(T &field, const T &value, void (AppState::*changed)())
{
    if (field == value)
        return false;
    const bool wasSearching = isSearching();
    const bool wereFiltersActive = filtersActive();
    field = value;
    Q_EMIT(this->*changed)();
    if (isSearching() != wasSearching)
        Q_EMIT isSearchingChanged();
    if (filtersActive() != wereFiltersActive)
        Q_EMIT filtersActiveChanged();
    return true;
}
