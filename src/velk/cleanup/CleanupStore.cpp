#include "CleanupStore.h"

#include "Background.h"
#include "CleanupRules.h"
#include "MetadataRecord.h"
#include "UserPlaces.h"
#include "mdindex/MetadataIndex.h"
#include "places/RecentlyUsedReader.h"

#include <QCoro/QCoroFuture>
#include <QPointer>

#include <algorithm>

namespace {

// Equal by everything a list shows, not only by the files' URLs.
bool sameResult(const SpotlightResult &a, const SpotlightResult &b)
{
    if (a.totalCount != b.totalCount || a.totalSize != b.totalSize || a.items.size() != b.items.size())
        return false;
    return std::equal(a.items.cbegin(), a.items.cend(), b.items.cbegin(), [](const FileItem &x, const FileItem &y) { return x.looksSameAs(y); });
}

} // namespace

CleanupStore::CleanupStore(mdindex::MetadataIndex &index, QObject *parent)
    : QObject(parent)
    , m_index(index)
{
}

std::optional<SpotlightResult> CleanupStore::result(CleanupKind kind) const
{
    const auto it = m_results.constFind(kind);
    if (it == m_results.cend())
        return std::nullopt;
    return *it;
}

// Kept plain in the coroutines below: no temporaries with destructors inside co_await or co_return
// expressions, which GCC 12 destroys twice.
QCoro::Task<> CleanupStore::load(QList<QUrl> scopes, int token)
{
    if (m_loading || token == m_loadedToken)
        co_return;
    setLoading(true);
    // Earlier results stay until each kind is replaced.
    const QPointer<CleanupStore> self(this);
    const QList<CleanupKind> kinds = CleanupKind::allCases();
    const QString bySize = MDAttribute::fsSize.toString();
    for (const CleanupKind kind : kinds) {
        SpotlightResult result;
        if (kind == CleanupKind::oldDownloads) {
            QCoro::Task<SpotlightResult> listing = forgottenDownloads();
            result = co_await listing;
        } else {
            const QString query = CleanupRules::query(kind);
            const QList<QUrl> folders = CleanupRules::scopes(kind, scopes);
            const Spotlight::Accept accept = [kind](const FileItem &item) { return CleanupRules::accepts(kind, item); };
            QCoro::Task<SpotlightResult> running = Spotlight::run(m_index, query, folders, bySize, CleanupRules::kLimit, accept);
            result = co_await running;
            // The index's size of an app is not what it takes on disk.
            if (kind == CleanupKind::unusedApps) {
                QFuture<SpotlightResult> measuring = Background::run([result] { return CleanupRules::measureApps(result); });
                result = co_await measuring;
            }
        }
        if (!self)
            co_return;
        store(kind, std::move(result));
    }
    m_loadedToken = token;
    setLoading(false);
}

QCoro::Task<SpotlightResult> CleanupStore::forgottenDownloads()
{
    const QString folder = UserPlaces::userFolder(UserPlaces::UserFolder::downloads).value_or(QString());
    const QString recentlyUsed = RecentlyUsedReader::defaultPath();
    QFuture<SpotlightResult> listing = Background::run(
        [folder, recentlyUsed] { return CleanupRules::forgottenDownloads(folder, QDateTime::currentDateTimeUtc(), RecentlyUsedReader::read(recentlyUsed)); });
    SpotlightResult result = co_await listing;
    co_return result;
}

void CleanupStore::remove(const QSet<QUrl> &urls)
{
    bool changed = false;
    for (const CleanupKind kind : CleanupKind::allCases()) {
        const auto it = m_results.constFind(kind);
        if (it == m_results.cend())
            continue;
        const bool holds = std::any_of(it->items.cbegin(), it->items.cend(), [&urls](const FileItem &item) { return urls.contains(item.url); });
        if (!holds)
            continue;
        SpotlightResult kept = *it;
        kept.items.clear();
        for (const FileItem &item : it->items) {
            if (urls.contains(item.url)) {
                kept.totalCount -= 1;
                kept.totalSize -= item.size;
            } else {
                kept.items.append(item);
            }
        }
        m_results.insert(kind, std::move(kept));
        changed = true;
    }
    if (changed)
        Q_EMIT resultsChanged();
}

qint64 CleanupStore::totalReclaimable() const
{
    QSet<QUrl> seen;
    qint64 total = 0;
    for (const SpotlightResult &result : m_results) {
        for (const FileItem &item : result.items) {
            if (!seen.contains(item.url)) {
                seen.insert(item.url);
                total += item.size;
            }
        }
    }
    return total;
}

QVariantMap CleanupStore::resultsValue() const
{
    QVariantMap map;
    for (auto it = m_results.cbegin(); it != m_results.cend(); ++it)
        map.insert(it.key().rawValue(), QVariant::fromValue(it.value()));
    return map;
}

void CleanupStore::store(CleanupKind kind, SpotlightResult result)
{
    const auto it = m_results.constFind(kind);
    const bool changed = it == m_results.cend() || !sameResult(*it, result);
    m_results.insert(kind, std::move(result));
    if (changed)
        Q_EMIT resultsChanged();
}

void CleanupStore::setLoading(bool loading)
{
    if (m_loading == loading)
        return;
    m_loading = loading;
    Q_EMIT loadingChanged();
}
