#pragma once

#include "mdindex/MetadataIndex.h"
#include "models/Destinations.h"
#include "search/Spotlight.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QUrl>
#include <QVariantMap>

#include <optional>

// The clean-up suggestions: for each kind, the files that could go and what they would free. Lives on
// the main thread for the whole run. It only finds and lists; the views move files to the Trash and
// then take them out of the lists with remove().
class CleanupStore : public QObject
{
    Q_OBJECT
    // Kind raw value to SpotlightResult; a kind is absent until its rule has run once.
    Q_PROPERTY(QVariantMap results READ resultsValue NOTIFY resultsChanged)
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged)
    Q_PROPERTY(qint64 totalReclaimable READ totalReclaimable NOTIFY resultsChanged)

public:
    explicit CleanupStore(mdindex::MetadataIndex &index = mdindex::MetadataIndex::shared(), QObject *parent = nullptr);

    const QMap<CleanupKind, SpotlightResult> &results() const { return m_results; }
    std::optional<SpotlightResult> result(CleanupKind kind) const;
    bool loading() const { return m_loading; }
    // The token of the last finished load; -1 before the first.
    int loadedToken() const { return m_loadedToken; }

    // Runs the five rules one after the other and stores each result as it arrives. Does nothing while
    // a load runs or when `token` is the one already loaded; a refused token is not remembered.
    QCoro::Task<> load(QList<QUrl> scopes, int token);
    // Takes these files out of every list, after they went to the Trash. Recomputes nothing.
    void remove(const QSet<QUrl> &urls);
    // What all lists would free, each file counted once however many lists hold it.
    qint64 totalReclaimable() const;

    // The loose, old, unused files at the top of the Downloads folder, by the recently used list.
    static QCoro::Task<SpotlightResult> forgottenDownloads();

Q_SIGNALS:
    void resultsChanged();
    void loadingChanged();

private:
    QVariantMap resultsValue() const;
    void store(CleanupKind kind, SpotlightResult result);
    void setLoading(bool loading);

    mdindex::MetadataIndex &m_index;
    QMap<CleanupKind, SpotlightResult> m_results;
    bool m_loading = false;
    int m_loadedToken = -1;
};
