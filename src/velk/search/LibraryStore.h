#pragma once

#include "mdindex/MetadataIndex.h"
#include "models/Destinations.h"
#include "search/ParsedQuery.h"
#include "search/Spotlight.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QUrl>

#include <optional>

class TextIndex;

// The visible entries of one folder, or why it could not be read.
struct FolderListing {
    QString path;
    QList<FileItem> items;
    // The system's error number; 0 when the folder was read to its end.
    int error = 0;

    bool ok() const { return error == 0; }
    // "Cannot open “Reports”: Permission denied"
    QString errorMessage() const;
};

// What the browser shows: the last answer of each smart collection and category, and the answer of
// the current search. Decides which query each destination means and in which folders it looks, keeps
// an answer until a raised refresh token asks for a new one, and throws away a search answer that
// arrives after a newer search began. Lives on the main thread for the whole run; only the queries
// themselves run elsewhere.
class LibraryStore : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isSearching READ isSearching NOTIFY isSearchingChanged)
    Q_PROPERTY(QString searchedQuery READ searchedQuery NOTIFY searchedQueryChanged)
    Q_PROPERTY(int textMatchCount READ textMatchCount NOTIFY searchResultChanged)
    Q_PROPERTY(bool hasSearchResult READ hasSearchResult NOTIFY searchResultChanged)

public:
    // The most a collection and a search keep; the totals count beyond them.
    static constexpr int kCollectionLimit = 3000;
    static constexpr int kSearchLimit = 2000;

    // What one destination asks of the index.
    struct Destination {
        QString query;
        QString sortKey;
        QList<QUrl> scopes;
        Spotlight::Accept accept;
    };

    explicit LibraryStore(mdindex::MetadataIndex &index = mdindex::MetadataIndex::shared(), QList<QUrl> scopes = defaultScopes(), QObject *parent = nullptr);
    // The index every answer comes from.
    mdindex::MetadataIndex &index() const { return m_index; }

    const QHash<SidebarItem, SpotlightResult> &collections() const { return m_collections; }
    std::optional<SpotlightResult> collection(const SidebarItem &item) const;
    const QSet<SidebarItem> &loading() const { return m_loading; }
    bool isLoading(const SidebarItem &item) const { return m_loading.contains(item); }
    // The refresh token of the last finished load of `item`; 0 before the first.
    int loadedToken(const SidebarItem &item) const { return m_loadedToken.value(item, 0); }

    const std::optional<SpotlightResult> &searchResult() const { return m_searchResult; }
    bool hasSearchResult() const { return m_searchResult.has_value(); }
    const QString &searchedQuery() const { return m_searchedQuery; }
    bool isSearching() const { return m_isSearching; }
    const QString &latestQuery() const { return m_latestQuery; }
    const std::optional<ParsedQuery> &parsedQuery() const { return m_parsedQuery; }
    int textMatchCount() const { return m_textMatchCount; }
    const QList<QUrl> &scopes() const { return m_scopes; }

    // The query, order, folders and filter of a destination; none for destinations that are not
    // collections of the index (home, folders, duplicates, clean-up, sources).
    std::optional<Destination> destination(const SidebarItem &item) const;

    // Fills the collection of `item` unless it is loading already or was loaded for `token` or a
    // later one.
    QCoro::Task<> load(SidebarItem item, int token);
    // Loads `item` if needed and gives its collection, waiting for a load someone else began.
    QCoro::Task<SpotlightResult> result(SidebarItem item, int token);
    // Searches for typed text; with a text index, files whose pictures or scans hold the words lead
    // the answer. Only the newest search stores its answer.
    QCoro::Task<> search(QString text, TextIndex *textIndex = nullptr);
    // Drops these files from every collection and the search answer, after they were moved away.
    void remove(const QSet<QUrl> &urls);

    // The visible entries of a folder, listed off the main thread, in the order the file system
    // gives them; a folder that cannot be read gives its error and no entries.
    static QCoro::Task<FolderListing> listFolder(QUrl url);
    // The folders searched by default: every visible folder of the home folder but Applications, or
    // the home folder itself where it has none.
    static QList<QUrl> defaultScopes();
    // The folders where applications are installed, those that exist.
    static QList<QUrl> appScopes();

Q_SIGNALS:
    // A collection was stored or changed.
    void collectionChanged(const SidebarItem &item);
    void loadingChanged();
    void searchResultChanged();
    void searchedQueryChanged();
    void isSearchingChanged();
    void parsedQueryChanged();

private:
    void setSearching(bool searching);
    void setSearchAnswer(std::optional<SpotlightResult> result, std::optional<ParsedQuery> parsed, int textMatches);
    SpotlightResult withTextHits(SpotlightResult result, const ParsedQuery &parsed, const QString &q, TextIndex &textIndex, int &added) const;

    mdindex::MetadataIndex &m_index;
    QHash<SidebarItem, SpotlightResult> m_collections;
    QSet<SidebarItem> m_loading;
    std::optional<SpotlightResult> m_searchResult;
    QString m_searchedQuery;
    bool m_isSearching = false;
    QHash<SidebarItem, int> m_loadedToken;
    QString m_latestQuery;
    const QList<QUrl> m_scopes;
    // The application folders, fixed like the scopes: looked up once rather than on every search.
    const QList<QUrl> m_appScopes = appScopes();
    std::optional<ParsedQuery> m_parsedQuery;
    int m_textMatchCount = 0;
};
