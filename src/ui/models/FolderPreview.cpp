#include "FolderPreview.h"

#include "models/Destinations.h"
#include "search/LibraryStore.h"

#include <QCoro/QCoroTask>
#include <QPointer>

FolderPreview::FolderPreview(QObject *parent)
    : QObject(parent)
{
}

QString FolderPreview::title() const
{
    return m_url.isEmpty() ? QString() : Location::displayName(m_url);
}

QList<FileItem> FolderPreview::previewItems(const QList<FileItem> &entries)
{
    QList<FileItem> items;
    for (const FileItem &item : entries) {
        if (item.category != FileCategory::folders && item.category != FileCategory::other)
            items.append(item);
    }
    std::stable_sort(items.begin(), items.end(), [](const FileItem &a, const FileItem &b) { return a.modified > b.modified; });
    return items.mid(0, kPreviews);
}

void FolderPreview::setUrl(const QUrl &url)
{
    if (m_url == url)
        return;
    m_url = url;
    m_count = -1;
    m_previews.clear();
    Q_EMIT urlChanged();
    Q_EMIT loaded();
    if (url.isEmpty())
        return;
    [](QPointer<FolderPreview> self, QUrl url) -> QCoro::Task<> {
        FolderListing listing = co_await LibraryStore::listFolder(url);
        // A card that was reused for another folder meanwhile keeps its own.
        if (!self || self->m_url != url)
            co_return;
        self->m_count = listing.ok() ? int(listing.items.size()) : 0;
        self->m_previews.clear();
        for (const FileItem &item : previewItems(listing.items))
            self->m_previews.append(QVariant::fromValue(item));
        Q_EMIT self->loaded();
    }(this, url);
}
