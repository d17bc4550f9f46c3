#include "Reports.h"
#include "FilePath.h"

#include "UserPlaces.h"
#include "cleanup/CleanupStore.h"
#include "mdindex/MetadataIndex.h"
#include "models/Fmt.h"
#include "search/LibraryStore.h"
#include "sources/SourceStore.h"

#include <QCommandLineParser>
#include <QCoro/QCoroTask>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <vector>

namespace {

const QString kCleanup = QStringLiteral("cleanup");
const QString kSources = QStringLiteral("sources");
const QString kCollections = QStringLiteral("collections");

void print(const QString &text, FILE *stream = stdout)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

QString files(qint64 count)
{
    return QStringLiteral("%1 file%2").arg(count).arg(count == 1 ? QString() : QStringLiteral("s"));
}

// The destinations the app fills at start, in the order it starts them.
QList<SidebarItem> warmUpDestinations()
{
    QList<SidebarItem> items;
    for (const FileCategory category :
        {FileCategory::images, FileCategory::videos, FileCategory::music, FileCategory::documents, FileCategory::archives, FileCategory::apps})
        items.append(SidebarItem::category(category));
    for (const SmartCollection collection : {SmartCollection::recents, SmartCollection::large, SmartCollection::screenshots})
        items.append(SidebarItem::smart(collection));
    return items;
}

// Loads the destinations side by side, as the app does at start, and reports each total.
void collectionsReport(mdindex::MetadataIndex &index, const QList<QUrl> &scopes, QJsonObject &report, QString &text)
{
    LibraryStore store(index, scopes);
    const QList<SidebarItem> items = warmUpDestinations();
    std::vector<QCoro::Task<>> loads;
    for (const SidebarItem &item : items)
        loads.push_back(store.load(item, 0));
    QJsonArray rows;
    for (const SidebarItem &item : items) {
        const SpotlightResult result = QCoro::waitFor(store.result(item, 0));
        QJsonObject row;
        row[QStringLiteral("title")] = item.title();
        row[QStringLiteral("totalCount")] = result.totalCount;
        row[QStringLiteral("totalSize")] = result.totalSize;
        rows.append(row);
        text += QStringLiteral("%1: %2, %3\n").arg(item.title(), files(result.totalCount), Fmt::bytes(result.totalSize));
    }
    report[kCollections] = rows;
}

QJsonObject cleanupJson(const CleanupStore &store)
{
    QJsonObject kinds;
    for (auto it = store.results().cbegin(); it != store.results().cend(); ++it) {
        QJsonArray items;
        for (const FileItem &item : it->items)
            items.append(Reports::itemJson(item));
        QJsonObject o;
        o[QStringLiteral("title")] = it.key().title();
        o[QStringLiteral("totalCount")] = it->totalCount;
        o[QStringLiteral("totalSize")] = it->totalSize;
        o[QStringLiteral("items")] = items;
        kinds[it.key().rawValue()] = o;
    }
    QJsonObject o;
    o[QStringLiteral("kinds")] = kinds;
    o[QStringLiteral("totalReclaimable")] = store.totalReclaimable();
    return o;
}

QString cleanupText(const CleanupStore &store)
{
    QString out;
    for (auto it = store.results().cbegin(); it != store.results().cend(); ++it) {
        out += QStringLiteral("%1: %2, %3\n").arg(it.key().title(), files(it->totalCount), Fmt::bytes(it->totalSize));
        for (const FileItem &item : it->items)
            out += QStringLiteral("  %1  %2\n").arg(Fmt::bytes(item.size), 10).arg(FilePath::escaped(item.path()));
        if (it->items.size() < it->totalCount)
            out += QStringLiteral("  (and %1 more)\n").arg(it->totalCount - it->items.size());
    }
    out += QStringLiteral("Reclaimable: %1\n").arg(Fmt::bytes(store.totalReclaimable()));
    return out;
}

qint64 sizeOf(const SourceStore::Group &group)
{
    qint64 total = 0;
    for (const FileItem &item : group.items)
        total += item.size;
    return total;
}

QJsonArray sourcesJson(const SourceStore &store)
{
    QJsonArray groups;
    for (const SourceStore::Group &group : store.groups()) {
        QJsonArray items;
        for (const FileItem &item : group.items)
            items.append(Reports::itemJson(item));
        QJsonObject o;
        o[QStringLiteral("name")] = group.source.name;
        o[QStringLiteral("symbol")] = group.source.symbol;
        o[QStringLiteral("link")] = group.source.link.value_or(QString());
        o[QStringLiteral("size")] = sizeOf(group);
        o[QStringLiteral("items")] = items;
        groups.append(o);
    }
    return groups;
}

QString sourcesText(const SourceStore &store)
{
    QString out;
    for (const SourceStore::Group &group : store.groups()) {
        out += QStringLiteral("%1: %2, %3\n").arg(group.source.name, files(group.items.size()), Fmt::bytes(sizeOf(group)));
        for (const FileItem &item : group.items)
            out += QStringLiteral("  %1\n").arg(FilePath::escaped(item.path()));
    }
    if (store.groups().isEmpty())
        out += QStringLiteral("No downloaded files found.\n");
    return out;
}

} // namespace

namespace Reports {

QJsonObject itemJson(const FileItem &item)
{
    QJsonObject o;
    // JSON text is Unicode: a path that is not UTF-8 is given for people, with its exact bytes beside it.
    const QString path = item.path();
    o[QStringLiteral("path")] = FilePath::display(path);
    if (FilePath::hasUndecodable(path))
        o[QStringLiteral("pathBytes")] = QString::fromLatin1(FilePath::toNative(path).toBase64());
    o[QStringLiteral("name")] = item.name;
    o[QStringLiteral("size")] = item.size;
    o[QStringLiteral("modified")] = item.modified.toLocalTime().toString(Qt::ISODate);
    o[QStringLiteral("kind")] = item.category.rawValue();
    if (item.contentType)
        o[QStringLiteral("contentType")] = item.contentType->identifier();
    return o;
}

void addOptions(QCommandLineParser &parser)
{
    parser.addOptions({
        {kCleanup, QStringLiteral("List the clean-up suggestions from the index as it stands (run --update first).")},
        {kSources, QStringLiteral("List downloaded files grouped by where they came from, from the index as it stands.")},
        {kCollections, QStringLiteral("Count the files of each collection the app shows at start (VELK_DEBUG=1 adds the store's own lines).")},
    });
}

bool requested(const QCommandLineParser &parser)
{
    return parser.isSet(kCleanup) || parser.isSet(kSources) || parser.isSet(kCollections);
}

int run(const QCommandLineParser &parser)
{
    mdindex::MetadataIndex index(mdindex::MetadataIndex::defaultOptions());
    if (!index.open()) {
        print(QStringLiteral("velk-find: cannot open the index at %1\n").arg(index.options().storePath), stderr);
        return 1;
    }
    if (index.read([](const mdindex::Catalog &catalog) { return catalog.liveCount() == 0; }))
        print(QStringLiteral("velk-find: the index is empty; run velk-find --update first\n"), stderr);

    QList<QUrl> scopes;
    for (const QString &scope : parser.values(QStringLiteral("scope")))
        scopes.append(FilePath::toUrl(QDir(scope).absolutePath()));
    if (scopes.isEmpty())
        scopes = LibraryStore::defaultScopes();
    const bool json = parser.isSet(QStringLiteral("json"));

    QJsonObject report;
    QString text;
    if (parser.isSet(kCollections))
        collectionsReport(index, scopes, report, text);
    if (parser.isSet(kCleanup)) {
        if (!text.isEmpty())
            text += QStringLiteral("\n");
        CleanupStore store(index);
        QCoro::waitFor(store.load(scopes, 0));
        report[kCleanup] = cleanupJson(store);
        text += cleanupText(store);
    }
    if (parser.isSet(kSources)) {
        SourceStore store(index);
        QCoro::waitFor(store.load(scopes, 0));
        report[kSources] = sourcesJson(store);
        text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + sourcesText(store);
    }
    if (json)
        print(QString::fromUtf8(QJsonDocument(report).toJson(QJsonDocument::Indented)));
    else
        print(text);
    return 0;
}

} // namespace Reports
