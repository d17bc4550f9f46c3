#include "SourceStore.h"

#include "Background.h"
#include "MetadataRecord.h"
#include "search/Spotlight.h"

#include <QCoro/QCoroFuture>
#include <QHash>
#include <QPointer>

#include <algorithm>
#include <cstdio>

namespace {

// Equal by everything a card shows, not only by the files' URLs.
bool sameGroups(const QList<SourceStore::Group> &a, const QList<SourceStore::Group> &b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype g = 0; g < a.size(); ++g) {
        const SourceStore::Group &x = a.at(g);
        const SourceStore::Group &y = b.at(g);
        if (x.source.name != y.source.name || x.source.link != y.source.link || x.source.symbol != y.source.symbol || x.items.size() != y.items.size())
            return false;
        if (!std::equal(x.items.cbegin(), x.items.cend(), y.items.cbegin(), [](const FileItem &p, const FileItem &q) { return p.looksSameAs(q); }))
            return false;
    }
    return true;
}

} // namespace

SourceStore::SourceStore(mdindex::MetadataIndex &index, QObject *parent)
    : QObject(parent)
    , m_index(index)
{
}

// Kept plain: no temporaries with destructors inside co_await or co_return expressions, which GCC 12
// destroys twice.
QCoro::Task<> SourceStore::load(QList<QUrl> scopes, int token)
{
    if (m_loading || token == m_loadedToken)
        co_return;
    setLoading(true);
    const QPointer<SourceStore> self(this);
    const QString query = QStringLiteral("kMDItemWhereFroms == *");
    const QString byDate = MDAttribute::fsContentChangeDate.toString();
    const Spotlight::Accept accept = [](const FileItem &item) { return item.category != FileCategory::folders; };
    QCoro::Task<SpotlightResult> running = Spotlight::run(m_index, query, scopes, byDate, kLimit, accept);
    const SpotlightResult result = co_await running;
    QFuture<QList<Group>> grouping = Background::run([items = result.items] { return grouped(items); });
    const QList<Group> groups = co_await grouping;
    if (!self)
        co_return;
    setGroups(groups);
    if (qEnvironmentVariableIsSet("VELK_DEBUG"))
        std::fprintf(stderr, "[velk] Downloaded From: %lld sources\n", static_cast<long long>(m_groups.size()));
    m_loadedToken = token;
    setLoading(false);
    if (!m_hasLoaded) {
        m_hasLoaded = true;
        Q_EMIT hasLoadedChanged();
    }
}

std::optional<SourceStore::Group> SourceStore::group(const QString &name) const
{
    for (const Group &group : m_groups) {
        if (group.source.name == name)
            return group;
    }
    return std::nullopt;
}

QList<SourceStore::Group> SourceStore::grouped(const QList<FileItem> &items)
{
    QList<Group> groups;
    QHash<QString, qsizetype> byName;
    for (const FileItem &item : items) {
        if (item.category == FileCategory::folders)
            continue;
        std::optional<DownloadSource> source = DownloadSources::source(item.url);
        if (!source)
            continue;
        const auto known = byName.constFind(source->name);
        if (known != byName.cend()) {
            groups[*known].items.append(item);
        } else {
            byName.insert(source->name, groups.size());
            groups.append(Group {std::move(*source), {item}});
        }
    }
    std::sort(groups.begin(), groups.end(), [](const Group &a, const Group &b) {
        if (a.items.size() != b.items.size())
            return a.items.size() > b.items.size();
        return a.source.name < b.source.name;
    });
    return groups;
}

void SourceStore::setGroups(const QList<Group> &groups)
{
    const bool changed = !sameGroups(m_groups, groups);
    m_groups = groups;
    if (changed)
        Q_EMIT groupsChanged();
}

void SourceStore::setLoading(bool loading)
{
    if (m_loading == loading)
        return;
    m_loading = loading;
    Q_EMIT loadingChanged();
}
