#pragma once

#include "mdindex/MetadataIndex.h"
#include "models/FileItem.h"
#include "sources/DownloadSources.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QObject>
#include <QUrl>
#include <QVariant>

#include <optional>

// Every downloaded file, grouped by where it came from. Lives on the main thread for the whole run. It
// is not told of removals: a file trashed elsewhere stays in its group until the next load.
class SourceStore : public QObject
{
    Q_OBJECT
    // A QList<SourceStore::Group>.
    Q_PROPERTY(QVariant groups READ groupsValue NOTIFY groupsChanged)
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged)
    Q_PROPERTY(bool hasLoaded READ hasLoaded NOTIFY hasLoadedChanged)

public:
    struct Group {
        // The source met first for its name, so its link is that of the group's first file.
        DownloadSource source;
        // Most recently changed first.
        QList<FileItem> items;

        friend bool operator==(const Group &, const Group &) = default;
    };

    // Files beyond this many, the least recently changed, are left out.
    static constexpr int kLimit = 50000;

    explicit SourceStore(mdindex::MetadataIndex &index = mdindex::MetadataIndex::shared(), QObject *parent = nullptr);

    QList<Group> groups() const { return m_groups; }
    bool loading() const { return m_loading; }
    // True from the end of the first load on.
    bool hasLoaded() const { return m_hasLoaded; }
    // The token of the last finished load; -1 before the first.
    int loadedToken() const { return m_loadedToken; }

    // Finds every file with a download address below `scopes` and groups them. Does nothing while a
    // load runs or when `token` is the one already loaded. With VELK_DEBUG set, however empty, writes
    // the number of groups to standard error.
    QCoro::Task<> load(QList<QUrl> scopes, int token);
    // The first group whose source has exactly this name.
    std::optional<Group> group(const QString &name) const;

    // Folders left out, files without a source left out; more files first, then names as plain text.
    // Reads extended attributes: call it off the main thread.
    static QList<Group> grouped(const QList<FileItem> &items);

Q_SIGNALS:
    void groupsChanged();
    void loadingChanged();
    void hasLoadedChanged();

private:
    QVariant groupsValue() const { return QVariant::fromValue(m_groups); }
    void setGroups(const QList<Group> &groups);
    void setLoading(bool loading);

    mdindex::MetadataIndex &m_index;
    QList<Group> m_groups;
    bool m_loading = false;
    bool m_hasLoaded = false;
    int m_loadedToken = -1;
};
