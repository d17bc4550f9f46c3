#include "WarmUp.h"

#include "cleanup/CleanupStore.h"
#include "duplicates/DuplicateFinder.h"
#include "search/LibraryStore.h"
#include "sources/SourceStore.h"
#include "state/AppState.h"
#include "text/TextIndex.h"

#include <QPointer>

WarmUp::WarmUp(Parts parts, QObject *parent)
    : QObject(parent)
    , m_parts(parts)
{
    connect(m_parts.state, &AppState::refreshTokenChanged, this, &WarmUp::start);
    start();
}

QList<SidebarItem> WarmUp::workList()
{
    QList<SidebarItem> items;
    for (const FileCategory category : FileCategory::library())
        items.append(SidebarItem::category(category));
    items.append(SidebarItem::smart(SmartCollection::recents));
    items.append(SidebarItem::smart(SmartCollection::large));
    items.append(SidebarItem::smart(SmartCollection::screenshots));
    return items;
}

QList<FileItem> WarmUp::toRead(const QList<FileItem> &screenshots, const QList<FileItem> &images)
{
    QList<FileItem> list = screenshots;
    int pictures = 0;
    for (const FileItem &item : images) {
        if (pictures == kPictureLimit)
            break;
        if (item.pixelWidth && *item.pixelWidth < kNarrowestPicture)
            continue;
        list.append(item);
        ++pictures;
    }
    return list;
}

void WarmUp::setChainStep(int step)
{
    if (m_chainStep == step)
        return;
    m_chainStep = step;
    Q_EMIT chainStepChanged();
}

void WarmUp::start()
{
    const int token = m_parts.state->refreshToken();
    // Nine loads side by side; nobody waits for them, and a later token does not stop them.
    for (const SidebarItem &item : workList())
        m_parts.store->load(item, token);
    setChainStep(0);
    chain(token);
}

QCoro::Task<> WarmUp::chain(int token)
{
    QPointer<WarmUp> self(this);
    const auto abandoned = [&self, token] { return !self || self->m_parts.state->refreshToken() != token; };
    LibraryStore *store = m_parts.store;

    const SidebarItem screenshotsItem = SidebarItem::smart(SmartCollection::screenshots);
    const SidebarItem imagesItem = SidebarItem::category(FileCategory::images);
    SpotlightResult screenshots = co_await store->result(screenshotsItem, token);
    if (abandoned())
        co_return;
    setChainStep(1);
    SpotlightResult images = co_await store->result(imagesItem, token);
    if (abandoned())
        co_return;
    if (m_parts.textIndex)
        m_parts.textIndex->index(toRead(screenshots.items, images.items));
    setChainStep(2);

    for (const SidebarItem &item : workList()) {
        if (item == imagesItem || item == screenshotsItem)
            continue;
        co_await store->result(item, token);
        if (abandoned())
            co_return;
    }
    setChainStep(3);
    if (m_parts.sources)
        co_await m_parts.sources->load(store->scopes(), token);
    if (abandoned())
        co_return;
    setChainStep(4);
    if (m_parts.cleanup)
        co_await m_parts.cleanup->load(store->scopes(), token);
    if (abandoned())
        co_return;
    setChainStep(5);
    // A scan under way or a finished result stands: a refresh never throws a duplicate scan away.
    if (m_parts.duplicates && m_parts.duplicates->phase().kind == DuplicateFinder::Phase::idle) {
        setChainStep(6);
        co_await m_parts.duplicates->scan(store->scopes());
        if (abandoned())
            co_return;
    }
    setChainStep(kChainSteps);
}
