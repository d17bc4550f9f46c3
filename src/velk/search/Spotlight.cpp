#include "Spotlight.h"
#include "FilePath.h"

#include "MetadataRecord.h"
#include "mdindex/MetadataIndex.h"
#include "mdindex/Query.h"

#include <QCoro/QCoroFuture>
#include <QtConcurrent/QtConcurrentRun>

const SpotlightResult &SpotlightResult::empty()
{
    static const SpotlightResult result;
    return result;
}

namespace Spotlight {

const QStringList &skipList()
{
    static const QStringList fragments = {
        QStringLiteral("/node_modules/"),
        QStringLiteral(".app/"),
        QStringLiteral(".photoslibrary/"),
        QStringLiteral(".musiclibrary/"),
        QStringLiteral(".tvlibrary/"),
        QStringLiteral(".framework/"),
        QStringLiteral(".bundle/"),
        QStringLiteral(".xcodeproj/"),
        QStringLiteral(".xcassets/"),
        QStringLiteral(".xcworkspace/"),
        QStringLiteral("/DerivedData/"),
        QStringLiteral("/Pods/"),
        QStringLiteral("/site-packages/"),
        QStringLiteral(".lproj/"),
    };
    return fragments;
}

bool isUnwanted(QStringView path, const QStringList &roots)
{
    // Hidden means hidden below the root the file was found in: the application folders of this
    // desktop live under ~/.local, and their entries are not hidden files.
    qsizetype start = 0;
    for (const QString &root : roots) {
        if (path.startsWith(root) && (path.size() == root.size() || path.at(root.size()) == QLatin1Char('/')) && root.size() > start)
            start = root.size();
    }
    if (path.sliced(start).contains(QLatin1StringView("/.")))
        return true;
    return std::any_of(skipList().begin(), skipList().end(), [path](const QString &fragment) { return path.contains(fragment); });
}

SpotlightResult collect(const mdindex::MetadataIndex &index, const QString &query, const QList<QUrl> &scopes, const QString &sortKey, int limit,
    const Accept &accept, const std::atomic<bool> *cancelled)
{
    const auto parsed = mdindex::Query::parse(query);
    if (!parsed || !index.isOpen())
        return SpotlightResult::empty();
    QStringList scopePaths;
    for (const QUrl &scope : scopes)
        scopePaths.append(FilePath::fromUrl(scope));
    const QStringList roots = index.options().roots;

    SpotlightResult result;
    const auto textSearch = index.textSearch();
    const bool completed = index.read([&](const mdindex::Catalog &catalog) {
        using Row = mdindex::Catalog::Row;
        // Whether the files of a folder are unwanted depends on the folder alone (every fragment of the
        // skip list ends in a slash, so none reaches into a file's name) and on the file's own name
        // being hidden: one answer per folder, without spelling out each file's path.
        QHash<Row, bool> unwantedFolders;
        const auto unwanted = [&](Row row) {
            const Row parent = catalog.parent(row);
            if (parent == mdindex::Catalog::noRow)
                return isUnwanted(catalog.path(row), roots);
            if (catalog.name(row).startsWith(QLatin1Char('.')))
                return true;
            auto folder = unwantedFolders.constFind(parent);
            if (folder == unwantedFolders.cend())
                folder = unwantedFolders.insert(parent, isUnwanted(QString(catalog.path(parent) + QLatin1Char('/')), roots));
            return *folder;
        };
        const std::vector<Row> rows = catalog.search(*parsed, scopePaths, sortKey, textSearch);
        for (size_t i = 0; i < rows.size(); ++i) {
            if ((i & 255) == 0 && cancelled && cancelled->load())
                return false;
            if (unwanted(rows[i]))
                continue;
            const mdindex::CatalogRecord record(catalog, rows[i]);
            // Past the limit, with nothing to judge the items by, only the totals are wanted.
            if (!accept && result.items.size() >= limit) {
                result.totalCount += 1;
                if (const QVariant size = record.valueForAttribute(MDAttribute::fsSize); MetadataRecord::isNumber(size))
                    result.totalSize += size.toLongLong();
                continue;
            }
            const auto item = FileItem::fromMetadata(record);
            if (!item || (accept && !accept(*item)))
                continue;
            result.totalCount += 1;
            result.totalSize += item->size;
            if (result.items.size() < limit)
                result.items.append(*item);
        }
        return true;
    });
    if (!completed || (cancelled && cancelled->load()))
        return SpotlightResult::empty();
    return result;
}

QCoro::Task<SpotlightResult> run(
    mdindex::MetadataIndex &index, QString query, QList<QUrl> scopes, QString sortKey, int limit, Accept accept, SpotlightCancellation cancellation)
{
    if (cancellation.isCancelled())
        co_return SpotlightResult::empty();
    // The future is made in a statement of its own: GCC 12 destroys a lambda with captures twice when
    // it is built inside the co_await expression.
    auto future = QtConcurrent::run([&index, query, scopes, sortKey, limit, accept, cancellation] {
        if (cancellation.isCancelled())
            return SpotlightResult::empty();
        return collect(index, query, scopes, sortKey, limit, accept, cancellation.flag());
    });
    SpotlightResult result = co_await future;
    co_return result;
}

QCoro::Task<SpotlightResult> run(QString query, QList<QUrl> scopes, QString sortKey, int limit, Accept accept, SpotlightCancellation cancellation)
{
    SpotlightResult result = co_await run(
        mdindex::MetadataIndex::shared(), std::move(query), std::move(scopes), std::move(sortKey), limit, std::move(accept), std::move(cancellation));
    co_return result;
}

} // namespace Spotlight
