#include "ShellModel.h"

#include "actions/CopyText.h"
#include "models/Fmt.h"

#include <QLocale>

ShellModel::ShellModel(QObject *parent)
    : QObject(parent)
{
}

void ShellModel::componentComplete()
{
    setStores(UiStores::of(this));
}

void ShellModel::setStores(const Stores &stores)
{
    m_stores = stores;
    if (m_stores.store)
        connect(m_stores.store, &LibraryStore::collectionChanged, this, &ShellModel::figuresChanged);
    if (m_stores.textIndex) {
        connect(m_stores.textIndex, &TextIndex::doneChanged, this, &ShellModel::figuresChanged);
        connect(m_stores.textIndex, &TextIndex::totalChanged, this, &ShellModel::figuresChanged);
    }
    Q_EMIT figuresChanged();
}

QString ShellModel::librarySize() const
{
    if (!m_stores.store)
        return QStringLiteral("—");
    qint64 bytes = 0;
    bool any = false;
    for (const FileCategory category : FileCategory::library()) {
        if (const auto result = m_stores.store->collection(SidebarItem::category(category))) {
            bytes += result->totalSize;
            any = true;
        }
    }
    return any ? Fmt::bytes(bytes) : QStringLiteral("—");
}

QString ShellModel::readingText() const
{
    if (!m_stores.textIndex)
        return {};
    const QLocale locale;
    return QStringLiteral("Reading text in images %1/%2").arg(locale.toString(m_stores.textIndex->done()), locale.toString(m_stores.textIndex->total()));
}

QVariantList ShellModel::locations() const
{
    QVariantList list;
    for (const Location &location : Location::standard().mid(0, 7))
        list.append(QVariantMap {{QStringLiteral("title"), location.title}, {QStringLiteral("key"), SidebarItem::location(location).key()},
            {QStringLiteral("symbol"), location.symbol}});
    return list;
}

QList<FileItem> ShellModel::copyTextTargets() const
{
    const AppState &state = *m_stores.state;
    if (const auto item = state.previewItem())
        return {*item};
    if (state.selectedFiles().isEmpty()) {
        if (const auto item = state.focusedItem())
            return {*item};
        return {};
    }
    QList<FileItem> targets;
    for (const QUrl &url : state.selectedFiles()) {
        if (const auto item = FileItem::fromUrl(url))
            targets.append(*item);
    }
    return targets;
}

void ShellModel::copyTextFromImage()
{
    if (m_stores.state && m_stores.textIndex)
        CopyText::run(copyTextTargets(), *m_stores.textIndex, *m_stores.state);
}

void ShellModel::back()
{
    if (m_stores.state)
        m_stores.state->leaveFolder();
}

void ShellModel::changeVolume(double delta)
{
    if (m_stores.player)
        m_stores.player->setVolume(std::clamp(m_stores.player->volume() + delta, 0.0, 1.0));
}
