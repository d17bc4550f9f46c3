#include "LibraryStore.h"
#include "FilePath.h"

#include "MetadataRecord.h"
#include "UserPlaces.h"
#include "search/NaturalSearch.h"
#include "text/TextIndex.h"

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTimer>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

#include <chrono>
#include <cstdio>
#include <cstring>

#include <dirent.h>

using namespace std::chrono_literals;

namespace {

// Folder names of the home folder that are never searched by default: applications have scopes of
// their own, and the library folder of other systems holds nothing a person looks for.
bool isExcludedHomeFolder(const QString &name)
{
    return name == QLatin1StringView("Library") || name == QLatin1StringView("Applications");
}

QString localPath(const QUrl &url)
{
    return QDir::cleanPath(FilePath::fromUrl(url));
}

// Lists one folder on the calling thread: visible entries only, in the order the file system gives.
FolderListing readFolder(const QString &path)
{
    FolderListing listing;
    listing.path = path;
    DIR *dir = ::opendir(FilePath::toNative(path).constData());
    if (!dir) {
        listing.error = errno;
        return listing;
    }
    QList<FileItem> &items = listing.items;
    const QDir folder(path);
    errno = 0;
    while (const dirent *entry = ::readdir(dir)) {
        // Hidden entries and the . and .. links all begin with a dot.
        if (entry->d_name[0] == '.')
            continue;
        const QString child = folder.filePath(FilePath::fromNative(entry->d_name));
        // A child that vanished or cannot be examined is left out.
        if (auto item = FileItem::fromUrl(FilePath::toUrl(child)))
            items.append(std::move(*item));
        errno = 0;
    }
    listing.error = errno;
    ::closedir(dir);
    if (listing.error != 0)
        listing.items.clear();
    return listing;
}

} // namespace

QString FolderListing::errorMessage() const
{
    if (ok())
        return {};
    return QStringLiteral("Cannot open “%1”: %2").arg(FilePath::display(QFileInfo(path).fileName()), QString::fromLocal8Bit(std::strerror(error)));
}

LibraryStore::LibraryStore(mdindex::MetadataIndex &index, QList<QUrl> scopes, QObject *parent)
    : QObject(parent)
    , m_index(index)
    , m_scopes(std::move(scopes))
{
}

QList<QUrl> LibraryStore::defaultScopes()
{
    const QString home = QDir::cleanPath(UserPlaces::homePath());
    QList<QUrl> scopes;
    const QFileInfoList children = QDir(home).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort);
    for (const QFileInfo &child : children) {
        if (!isExcludedHomeFolder(child.fileName()))
            scopes.append(FilePath::toUrl(child.absoluteFilePath()));
    }
    const QString cloud = QDir(home).filePath(QStringLiteral("Library/Mobile Documents/com~apple~CloudDocs"));
    if (QFileInfo(cloud).isDir())
        scopes.append(FilePath::toUrl(cloud));
    if (scopes.isEmpty())
        scopes.append(FilePath::toUrl(home));
    return scopes;
}

QList<QUrl> LibraryStore::appScopes()
{
    QList<QUrl> scopes;
    for (const QString &folder : UserPlaces::applicationFolders())
        scopes.append(FilePath::toUrl(folder));
    return scopes;
}

std::optional<SpotlightResult> LibraryStore::collection(const SidebarItem &item) const
{
    const auto it = m_collections.constFind(item);
    if (it == m_collections.cend())
        return std::nullopt;
    return *it;
}

std::optional<LibraryStore::Destination> LibraryStore::destination(const SidebarItem &item) const
{
    const auto notFolder = [](const FileItem &file) { return file.category != FileCategory::folders; };
    if (const auto smart = item.smartCollection()) {
        switch (*smart) {
        case SmartCollection::recents:
            return Destination {QStringLiteral("kMDItemLastUsedDate >= $time.today(-30)"), MDAttribute::lastUsedDate.toString(), m_scopes, notFolder};
        case SmartCollection::large:
            return Destination {QStringLiteral("kMDItemFSSize > 100000000"), MDAttribute::fsSize.toString(), m_scopes, notFolder};
        case SmartCollection::screenshots:
            return Destination {QStringLiteral("kMDItemIsScreenCapture == 1"), MDAttribute::fsContentChangeDate.toString(), m_scopes, notFolder};
        }
    }
    if (const auto category = item.fileCategory()) {
        const FileCategory wanted = *category;
        const auto accept = [wanted](const FileItem &file) { return file.category == wanted; };
        if (wanted == FileCategory::apps)
            return Destination {wanted.spotlightQuery(), MDAttribute::fsName.toString(), m_appScopes, accept};
        return Destination {wanted.spotlightQuery(), MDAttribute::fsContentChangeDate.toString(), m_scopes, accept};
    }
    return std::nullopt;
}

// Kept plain in the coroutines below: no temporaries with destructors inside co_await or co_return
// expressions, which GCC 12 destroys twice.
QCoro::Task<> LibraryStore::load(SidebarItem item, int token)
{
    if (m_loading.contains(item))
        co_return;
    if (m_collections.contains(item) && m_loadedToken.value(item, 0) >= token)
        co_return;
    const std::optional<Destination> row = destination(item);
    if (!row)
        co_return;

    m_loading.insert(item);
    Q_EMIT loadingChanged();
    const QPointer<LibraryStore> self(this);
    QCoro::Task<SpotlightResult> running = Spotlight::run(m_index, row->query, row->scopes, row->sortKey, kCollectionLimit, row->accept);
    SpotlightResult result = co_await running;
    if (!self)
        co_return;

    const qint64 total = result.totalCount;
    m_collections.insert(item, std::move(result));
    if (qEnvironmentVariableIsSet("VELK_DEBUG")) {
        const QByteArray line = "[velk] " + item.title().toUtf8() + ": " + QByteArray::number(total) + " items\n";
        std::fputs(line.constData(), stderr);
    }
    m_loadedToken.insert(item, token);
    m_loading.remove(item);
    Q_EMIT collectionChanged(item);
    Q_EMIT loadingChanged();
}

QCoro::Task<SpotlightResult> LibraryStore::result(SidebarItem item, int token)
{
    if (!destination(item))
        co_return SpotlightResult::empty();
    const QPointer<LibraryStore> self(this);
    QCoro::Task<> loading = load(item, token);
    co_await loading;
    // A load someone else began may still run. Looking costs two lookups, so look often: the views
    // wait on this.
    while (self && (!m_collections.contains(item) || m_loading.contains(item))) {
        QCoro::Task<> pause = QCoro::sleepFor(50ms);
        co_await pause;
    }
    if (!self)
        co_return SpotlightResult::empty();
    SpotlightResult answer = m_collections.value(item, SpotlightResult::empty());
    co_return answer;
}

QCoro::Task<> LibraryStore::search(QString text, TextIndex *textIndex)
{
    const QString q = text.trimmed();
    m_latestQuery = q;
    if (q.isEmpty()) {
        setSearchAnswer(std::nullopt, std::nullopt, 0);
        co_return;
    }
    setSearching(true);

    const ParsedQuery parsed = NaturalSearch::parse(q);
    QList<QUrl> scopes;
    if (parsed.folder)
        scopes.append(parsed.folder->url);
    else
        scopes = m_scopes + m_appScopes;

    const QPointer<LibraryStore> self(this);
    const QPointer<TextIndex> texts(textIndex);
    QCoro::Task<SpotlightResult> running
        = Spotlight::run(m_index, parsed.spotlightQuery(), scopes, MDAttribute::fsContentChangeDate.toString(), kSearchLimit, Spotlight::Accept {});
    SpotlightResult result = co_await running;
    // Only the newest search may store its answer; it also clears the searching flag.
    if (!self || m_latestQuery != q)
        co_return;

    int textMatches = 0;
    if (texts)
        result = withTextHits(std::move(result), parsed, q, *texts, textMatches);
    setSearchAnswer(std::move(result), parsed, textMatches);
    if (m_searchedQuery != q) {
        m_searchedQuery = q;
        Q_EMIT searchedQueryChanged();
    }
    setSearching(false);
}

SpotlightResult LibraryStore::withTextHits(SpotlightResult result, const ParsedQuery &parsed, const QString &q, TextIndex &textIndex, int &added) const
{
    added = 0;
    QStringList terms = parsed.terms;
    if (terms.isEmpty() && !parsed.isStructured())
        terms = {q};

    QSet<QUrl> known;
    known.reserve(result.items.size());
    for (const FileItem &item : std::as_const(result.items))
        known.insert(item.url);

    // Hidden files and the insides of bundles and dependency folders stay out, as in index answers.
    QStringList roots = {QDir::cleanPath(UserPlaces::homePath())};
    for (const QUrl &scope : m_scopes)
        roots.append(localPath(scope));

    QList<FileItem> hits;
    const QList<QUrl> found = textIndex.search(terms);
    for (const QUrl &url : found) {
        if (known.contains(url) || Spotlight::isUnwanted(FilePath::fromUrl(url), roots))
            continue;
        const auto item = FileItem::fromUrl(url);
        if (!item || !parsed.matches(*item))
            continue;
        known.insert(url);
        hits.append(*item);
    }
    if (hits.isEmpty())
        return result;
    added = int(hits.size());
    result.totalCount += hits.size();
    hits.append(result.items);
    result.items = std::move(hits);
    return result;
}

void LibraryStore::remove(const QSet<QUrl> &urls)
{
    if (urls.isEmpty())
        return;
    const auto without = [&urls](SpotlightResult &result) {
        const qsizetype before = result.items.size();
        result.items.removeIf([&urls](const FileItem &item) { return urls.contains(item.url); });
        const qsizetype removed = before - result.items.size();
        result.totalCount -= removed;
        return removed > 0;
    };
    QList<SidebarItem> changed;
    for (auto it = m_collections.begin(); it != m_collections.end(); ++it) {
        if (without(it.value()))
            changed.append(it.key());
    }
    for (const SidebarItem &item : std::as_const(changed))
        Q_EMIT collectionChanged(item);
    if (m_searchResult && without(*m_searchResult))
        Q_EMIT searchResultChanged();
}

QCoro::Task<FolderListing> LibraryStore::listFolder(QUrl url)
{
    const QString path = localPath(url);
    auto reading = QtConcurrent::run([path] { return readFolder(path); });
    FolderListing listing = co_await reading;
    co_return listing;
}

void LibraryStore::setSearching(bool searching)
{
    if (m_isSearching == searching)
        return;
    m_isSearching = searching;
    Q_EMIT isSearchingChanged();
}

void LibraryStore::setSearchAnswer(std::optional<SpotlightResult> result, std::optional<ParsedQuery> parsed, int textMatches)
{
    const bool parsedChanged = m_parsedQuery != parsed;
    m_searchResult = std::move(result);
    m_parsedQuery = std::move(parsed);
    m_textMatchCount = textMatches;
    Q_EMIT searchResultChanged();
    if (parsedChanged)
        Q_EMIT parsedQueryChanged();
}
