#pragma once

#include "Catalog.h"
#include "Crawler.h"
#include "Watcher.h"

#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace mdindex {

class Store;

// How far an update has come.
struct UpdateProgress {
    qint64 folders = 0;
    qint64 entries = 0;
    qint64 added = 0;
    qint64 changed = 0;
    qint64 removed = 0;
};

// The index service: the store on disk, the catalog in memory and the walk that keeps them true.
// Queries are answered from memory at once, from any thread; an update walks the roots again and
// reads only what changed (size, modification time or inode differ), while queries go on.
class MetadataIndex
{
public:
    struct Options {
        QString storePath;
        QStringList roots;
        // Walk with a low CPU and I/O priority, as a background task of the app should.
        bool polite = false;
        int threads = 2;
    };

    explicit MetadataIndex(Options options);
    ~MetadataIndex();
    MetadataIndex(const MetadataIndex &) = delete;
    MetadataIndex &operator=(const MetadataIndex &) = delete;

    // The roots of this user: the home folder and the application folders that exist.
    static QStringList defaultRoots();
    static Options defaultOptions();
    // The process's own index over the default roots and store, opened on first use.
    static MetadataIndex &shared();

    // Loads the store into memory. False only when no store can be opened or made at all; a
    // damaged store is set aside and the index starts empty.
    bool open();
    bool isOpen() const { return m_open; }
    bool storeWasRebuilt() const;

    // Walks the roots and brings catalog and store up to date. `stop` ends the walk early (what was
    // committed stays). Only one update runs at a time; a second caller waits for the first.
    UpdateProgress update(const std::function<void(const UpdateProgress &)> &progress = {}, const std::atomic<bool> *stop = nullptr);

    void addExtractor(std::unique_ptr<Extractor> extractor);

    // Looks at these folders again: new entries are added (new folders walked), changed ones read
    // again, and entries that are gone removed.
    UpdateProgress refreshFolders(const QSet<QString> &folders);
    // Reads the desktop's recently used list into the last used dates.
    void reloadLastUsed();

    // Keeps the index fresh in a thread of its own: a walk now, then inotify on every folder the walk
    // entered and on the recently used list; where the watch limit runs out, a walk every few
    // minutes instead. `changed` runs on that thread after each change that reached the catalog.
    void startWatching(std::function<void()> changed = {});
    void stopWatching();
    bool isWatching() const { return m_watchThread.joinable(); }

    // Runs `read` with the catalog under a shared lock: any number of readers, no writer meanwhile.
    template<typename F>
    auto read(F &&read) const
    {
        std::shared_lock lock(m_lock);
        return read(m_catalog);
    }

    const Options &options() const { return m_options; }

    // Answers comparisons on the text inside files from the store's full-text table; hand it to
    // Catalog::search.
    Catalog::TextSearch textSearch() const;
    // What the store holds, for a status report.
    qint64 textBytes() const;
    QString storePath() const { return m_options.storePath; }
    QString lastUpdate() const;

private:
    struct Walk;
    void watchLoop();
    void watchFolders(Watcher &watcher);
    void walkFolder(Walk &walk, const QString &path, Catalog::Row row, quint64 device);
    void flush(Walk &walk, bool force);

    Options m_options;
    mutable std::shared_mutex m_lock;
    Catalog m_catalog;
    std::unique_ptr<Store> m_store;
    std::mutex m_updateMutex;
    std::vector<std::unique_ptr<Extractor>> m_extractors;
    bool m_open = false;
    std::thread m_watchThread;
    std::atomic<bool> m_stopWatching = false;
    std::unique_ptr<Watcher> m_watcher;
    std::function<void()> m_changed;
};

} // namespace mdindex
