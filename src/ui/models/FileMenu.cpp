#include "FileMenu.h"

#include "BrowserModel.h"
#include "actions/CopyText.h"
#include "actions/FileActions.h"
#include "sources/DownloadSources.h"
#include "text/Readable.h"

FileMenu::FileMenu(QObject *parent)
    : QObject(parent)
{
}

void FileMenu::componentComplete()
{
    if (!m_stores.state)
        setStores(UiStores::of(this));
}

void FileMenu::setStores(const Stores &stores)
{
    m_stores = stores;
}

void FileMenu::prepare(const QUrl &clicked, BrowserModel *list)
{
    if (!list)
        return;
    for (const FileItem &item : list->visible()) {
        if (item.url == clicked) {
            prepare(item, list->visible());
            return;
        }
    }
}

QList<FileItem> FileMenu::readable() const
{
    QList<FileItem> items;
    for (const FileItem &item : m_targets) {
        if (TextRecognizer::canRead(item))
            items.append(item);
    }
    return items;
}

void FileMenu::prepare(const FileItem &clicked, const QList<FileItem> &list)
{
    m_list = list;
    m_targets = m_stores.state ? m_stores.state->targets(clicked, list) : QList<FileItem> {clicked};
    m_entries.clear();
    const qsizetype n = m_targets.size();
    if (n == 0) {
        Q_EMIT entriesChanged();
        return;
    }
    const FileItem &first = m_targets.first();
    const bool folder = first.category == FileCategory::folders;
    const auto add = [this](const char *id, const QString &text, const char *symbol, bool destructive = false) {
        m_entries.append({QString::fromLatin1(id), text, QString::fromLatin1(symbol), destructive});
    };
    const auto divider = [this] { m_entries.append(Entry()); };

    if (n == 1) {
        if (first.category == FileCategory::music)
            add("play", QStringLiteral("Play"), "play.fill");
        if (folder)
            add("open", QStringLiteral("Open"), "folder");
        else
            add("quickLook", QStringLiteral("Quick Look"), "eye");
        add("openDefault", QStringLiteral("Open with Default App"), "arrow.up.forward.app");
    } else {
        add("openDefault", QStringLiteral("Open %1 Items").arg(n), "arrow.up.forward.app");
    }
    divider();
    add("reveal", QStringLiteral("Show in Files"), "folder");
    if (n == 1 && folder)
        add("pin", m_stores.state && m_stores.state->pinned().contains(first.url) ? QStringLiteral("Remove from Sidebar") : QStringLiteral("Pin to Sidebar"),
            "pin");
    add("copy", QStringLiteral("Copy"), "doc.on.doc");
    add("copyPath", QStringLiteral("Copy Path"), "link");
    if (const qsizetype r = readable().size(); r >= 1)
        add("copyText", r == 1 ? QStringLiteral("Copy Text") : QStringLiteral("Copy Text from %1 Files").arg(r), "text.viewfinder");
    if (n == 1 && !folder) {
        if (const auto source = DownloadSources::source(first.url))
            m_entries.append({QStringLiteral("showSource"), QStringLiteral("Show All from %1").arg(source->name), QStringLiteral("arrow.down.circle"), false});
    }
    divider();
    add("trash", QStringLiteral("Move to Trash"), "trash", true);
    Q_EMIT entriesChanged();
}

QVariantList FileMenu::entries() const
{
    QVariantList list;
    for (const Entry &entry : m_entries)
        list.append(QVariantMap {{QStringLiteral("id"), entry.id}, {QStringLiteral("text"), entry.text}, {QStringLiteral("symbol"), entry.symbol},
            {QStringLiteral("destructive"), entry.destructive}, {QStringLiteral("separator"), entry.isDivider()}});
    return list;
}

void FileMenu::trigger(const QString &id)
{
    if (m_targets.isEmpty() || !m_stores.state)
        return;
    AppState &state = *m_stores.state;
    const FileItem first = m_targets.first();
    if (id == QLatin1String("play")) {
        if (m_stores.player)
            m_stores.player->play(first, m_list);
    } else if (id == QLatin1String("open")) {
        state.openFolder(first.url);
    } else if (id == QLatin1String("quickLook")) {
        state.preview(first, m_list);
    } else if (id == QLatin1String("openDefault")) {
        FileActions::openExternally(m_targets);
    } else if (id == QLatin1String("reveal")) {
        FileActions::reveal(m_targets);
    } else if (id == QLatin1String("pin")) {
        state.togglePin(first.url);
    } else if (id == QLatin1String("copy")) {
        FileActions::copy(m_targets);
    } else if (id == QLatin1String("copyPath")) {
        FileActions::copyPath(m_targets);
    } else if (id == QLatin1String("copyText")) {
        if (m_stores.textIndex)
            CopyText::run(readable(), *m_stores.textIndex, state);
    } else if (id == QLatin1String("showSource")) {
        if (const auto source = DownloadSources::source(first.url)) {
            state.setSearchText(QString());
            state.setSelection(SidebarItem::source(source->name));
        }
    } else if (id == QLatin1String("trash")) {
        if (m_stores.store)
            FileActions::trashFromMenu(m_targets, *m_stores.store, state);
    }
}
