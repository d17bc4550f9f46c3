#include "Reports.h"

#include "UserPlaces.h"
#include "cleanup/CleanupStore.h"
#include "mdindex/MetadataIndex.h"
#include "models/Fmt.h"
#include "sources/SourceStore.h"

#include <QCommandLineParser>
#include <QCoro/QCoroTask>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace {

const QString kCleanup = QStringLiteral("cleanup");
const QString kSources = QStringLiteral("sources");

void print(const QString &text, FILE *stream = stdout)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

QString files(qint64 count)
{
    return QStringLiteral("%1 file%2").arg(count).arg(count == 1 ? QString() : QStringLiteral("s"));
}

// The folders the app searches by default: every visible folder of the home folder but the
// applications, or the home folder itself when there is none.
QList<QUrl> defaultScopes()
{
    const QDir home(UserPlaces::homePath());
    QList<QUrl> scopes;
    for (const QString &name : home.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks, QDir::Name)) {
        if (name != QLatin1StringView("Library") && name != QLatin1StringView("Applications"))
            scopes.append(QUrl::fromLocalFile(home.filePath(name)));
    }
    return scopes.isEmpty() ? QList<QUrl> {QUrl::fromLocalFile(home.path())} : scopes;
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
            out += QStringLiteral("  %1  %2\n").arg(Fmt::bytes(item.size), 10).arg(item.path());
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
            out += QStringLiteral("  %1\n").arg(item.path());
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
    o[QStringLiteral("path")] = item.path();
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
    });
}

bool requested(const QCommandLineParser &parser)
{
    return parser.isSet(kCleanup) || parser.isSet(kSources);
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
        scopes.append(QUrl::fromLocalFile(QDir(scope).absolutePath()));
    if (scopes.isEmpty())
        scopes = defaultScopes();
    const bool json = parser.isSet(QStringLiteral("json"));

    QJsonObject report;
    QString text;
    if (parser.isSet(kCleanup)) {
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
