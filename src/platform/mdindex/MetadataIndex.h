#pragma once

#include "Catalog.h"
#include "Crawler.h"
#include "Store.h"
#include "Watcher.h"
#include "extractors/ScreenCapture.h"

#include <QString>
#include <QStringList>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace mdindex {

// How far an update has come.
struct UpdateProgress {
    qint64 folders = 0;
    qint64 entries = 0;
    qint64 added = 0;
    qint64 changed = 0;
    qint64 removed = 0;
    // After the walk, the contents of new and changed files are read: how many of them this
    // extraction has to read (it grows when changes come in meanwhile) and how many are done.
    bool extracting = false;
    qint64 toExtract = 0;
    qint64 extracted = 0;
};

// The index service: the store on disk, the catalog in memory and the walk that keeps them true.
// Queries are answered from memory at once, from any thread. An update has two phases: the walk
// records the basic attributes of every entry (names, sizes, dates, types) and commits them, so
// queries on them answer at once; new and changed files (size, modification or change time, or
// inode differ) that an extractor wants are queued, and their contents are read afterwards by a
// small pool of threads, committed in batches. The store remembers which facts each file was read
// for, so nothing is read twice for the same facts and extraction cut short resumes on the next start.
class MetadataIndex
{
public:
    struct Options {
        QString storePath;
        QStringList roots;
        // Walk and extract with a low CPU and I/O priority (nice 19, idle I/O class), as a background
        // task of the app should.
        bool polite = false;
        int threads = 2;
        // Threads that read file contents; 0: one when polite, else two.
        int extractionThreads = 0;
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
    // store that cannot be read is set aside and the index starts empty. Then the store is checked
    // for damage on a thread of its own (every page, and the full-text table against its texts);
    // text queries, updates and the rebuild note wait for that check. A store that fails it is set
    // aside and written anew from the catalog in memory, and the contents of every file are read
    // again by the next extraction.
    bool open();
    bool isOpen() const { return m_open; }
    // Returns once the store opened last has been checked (at once when there is none).
    void waitForCheck() const;
    // Whether the check has come to an answer, without waiting (a rebuild it started may still be
    // filling the new store; storeWasRebuilt() waits for that).
    bool isChecked() const;
    // Whether this index had to start its store over since it was opened (after the check).
    bool storeWasRebuilt() const;
    // When and why the store was last started over, by this process or an earlier one (after the
    // check); nothing for a store that never was.
    std::optional<RebuildNote> lastRebuild() const;

    // Brings catalog and store fully up to date: walks the roots (updateBasic), then reads the
    // contents of every file that needs it (extractPending) and returns when all is in. `stop` ends
    // either phase early (what was committed stays; the rest is done by the next update). Only one
    // walk runs at a time; a second caller waits for the first.
    UpdateProgress update(const std::function<void(const UpdateProgress &)> &progress = {}, const std::atomic<bool> *stop = nullptr);
    // The walk alone: basic attributes of every entry, committed as it goes; files whose contents
    // must be read are queued for extraction (read by extractPending, or in the background).
    UpdateProgress updateBasic(const std::function<void(const UpdateProgress &)> &progress = {}, const std::atomic<bool> *stop = nullptr);
    // Reads the contents of every queued file (and of files an earlier run left unread) on the
    // extraction pool, and returns when none is left or `stop` is set. Progress has `extracting` set.
    UpdateProgress extractPending(const std::function<void(const UpdateProgress &)> &progress = {}, const std::atomic<bool> *stop = nullptr);
    // Lets the extraction pool read queued files whenever there are some, without anyone waiting.
    void extractInBackground(bool on);
    // Files whose contents are still to be read for their current facts.
    qint64 pendingExtractions() const;

    // Before the first update or extraction: extractors are not guarded against change while in use.
    void addExtractor(std::unique_ptr<Extractor> extractor);

    // Looks at these folders again: new entries are added (new folders walked), changed ones read
    // again, and entries that are gone removed.
    UpdateProgress refreshFolders(const QSet<QString> &folders);
    // Reads the desktop's recently used list into the last used dates.
    void reloadLastUsed();

    // Keeps the index fresh in a thread of its own: a walk now (basic attributes, so answers come at
    // once) with extraction following in the background, then inotify on every folder the walk
    // entered and on the recently used list; where the watch limit runs out, a walk every few
    // minutes instead. Files changed meanwhile are read through the same extraction queue.
    // `changed` runs on that thread after each change that reached the catalog, and on an
    // extraction thread after each batch of extracted attributes.
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
    // What the store's check finds wrong, or nothing; stops early when m_stopCheck is set.
    QString findDamage();
    void checkStore();
    // Sets the store aside, starts it anew from the catalog, and has every file's contents read again.
    void rebuildStore(const QString &why);
    // The check goes through stages: text queries may go on once the text table is sound (or new),
    // everything else once the check and any rebuild are over.
    enum class CheckStage { running, textReady, done };
    void setCheckStage(CheckStage stage);
    void waitForCheckStage(CheckStage stage) const;
    struct Extracted;
    void watchLoop();
    void watchFolders(Watcher &watcher);
    void walkFolder(Walk &walk, const QString &path, Catalog::Row row, quint64 device);
    // Writes what was queued for the store in one transaction: at once when `force`, else once
    // enough has gathered. Writes reach the store in the order they were queued.
    void flush(bool force);
    // Takes an entry and everything below it out of the catalog and queues their removal from the
    // store; the caller holds the catalog's write lock and the writes mutex.
    void removeEntry(Walk &walk, Catalog::Row row);
    // Queues rows for extraction; rows already queued or being read are not queued twice.
    void enqueue(const std::vector<Catalog::Row> &rows);
    void enqueueAllPending();
    void startExtractionThreads();
    bool extractionWanted() const; // under m_queueMutex
    void extractionWorker();
    std::optional<Extracted> extractRow(Catalog::Row row) const;
    void commitExtracted(std::vector<Extracted> &batch, qint64 skipped);

    Options m_options;
    mutable std::shared_mutex m_lock;
    Catalog m_catalog;
    std::unique_ptr<Store> m_store;
    std::mutex m_updateMutex;
    std::vector<std::unique_ptr<Extractor>> m_extractors;
    bool m_open = false;
    // Where capture tools put their files, as they were when the store was opened.
    ScreenCapture::Places m_capturePlaces;
    std::thread m_watchThread;
    std::atomic<bool> m_stopWatching = false;
    std::unique_ptr<Watcher> m_watcher;
    std::function<void()> m_changed;

    // Store writes, in the order the catalog changed; m_writerMutex keeps one writer at a time.
    std::mutex m_writesMutex;
    std::vector<Store::Row> m_writes;
    mutable std::mutex m_writerMutex;

    // The extraction queue: rows whose contents are to be read, a bit per row that is queued or
    // being read, and the pool that reads them while someone waits (extractPending) or always
    // (extractInBackground). m_inFlight counts rows taken but not yet committed.
    mutable std::mutex m_queueMutex;
    std::condition_variable m_queueWake;
    std::condition_variable m_queueIdle;
    std::deque<Catalog::Row> m_queue;
    std::vector<quint64> m_queuedBits;
    qint64 m_inFlight = 0;
    qint64 m_extractedCount = 0;
    bool m_background = false;
    bool m_quitExtraction = false;
    std::vector<const std::atomic<bool> *> m_drainers;
    std::vector<std::thread> m_extractionThreads;

    // The check of the store after it opens.
    std::thread m_checkThread;
    mutable std::mutex m_checkMutex;
    mutable std::condition_variable m_checkDone;
    CheckStage m_checkStage = CheckStage::done;
    std::atomic<bool> m_stopCheck = false;
    // A text query met damage the check did not see (or that came later): checked at the next walk.
    mutable std::atomic<bool> m_suspect = false;
};

} // namespace mdindex
