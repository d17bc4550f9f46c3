#include "MetadataIndex.h"

#include "Query.h"
#include "RecentlyUsed.h"
#include "Store.h"
#include "UserPlaces.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSet>

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <thread>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace mdindex {

namespace {

    constexpr size_t kWritesPerTransaction = 4000;

    // Background walks should not be felt: lowest CPU priority and the idle I/O class for this thread.
    void becomePolite()
    {
        const auto tid = pid_t(::syscall(SYS_gettid));
        ::setpriority(PRIO_PROCESS, id_t(tid), 19);
        constexpr int ioprioClassIdle = 3;
        constexpr int ioprioWhoProcess = 1;
        ::syscall(SYS_ioprio_set, ioprioWhoProcess, tid, ioprioClassIdle << 13);
    }

    bool sameFacts(const FileFacts &a, const FileFacts &b)
    {
        return a.isDirectory == b.isDirectory && a.isSymlink == b.isSymlink && a.size == b.size && a.modifiedMs == b.modifiedMs && a.changedMs == b.changedMs
            && a.inode == b.inode;
    }

} // namespace

struct MetadataIndex::Walk {
    struct Job {
        QString path;
        Catalog::Row row;
        quint64 device;
    };

    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Job> jobs;
    int busy = 0;

    QSet<QString> roots;
    // A refresh enters only the folders it finds new; the others are looked at on their own.
    bool onlyNewFolders = false;
    std::vector<Catalog::Row> added;
    std::vector<quint8> seen; // guarded by the catalog's write lock
    const std::atomic<bool> *stop = nullptr;

    std::mutex storeMutex;
    std::vector<Store::Row> writes;

    std::mutex progressMutex;
    UpdateProgress progress;
    std::function<void(const UpdateProgress &)> report;
    QElapsedTimer sinceReport;

    bool stopped() const { return stop && stop->load(std::memory_order_relaxed); }

    void markSeen(Catalog::Row row)
    {
        if (seen.size() <= row)
            seen.resize(size_t(row) + 1 + seen.size() / 2, 0);
        seen[row] = 1;
    }
};

MetadataIndex::MetadataIndex(Options options)
    : m_options(std::move(options))
{
}

MetadataIndex::~MetadataIndex()
{
    stopWatching();
}

QStringList MetadataIndex::defaultRoots()
{
    return QStringList {QDir::cleanPath(UserPlaces::homePath())} + UserPlaces::applicationFolders();
}

MetadataIndex::Options MetadataIndex::defaultOptions()
{
    Options options;
    options.storePath = Store::defaultPath();
    options.roots = defaultRoots();
    return options;
}

MetadataIndex &MetadataIndex::shared()
{
    static MetadataIndex index = [] {
        Options options = defaultOptions();
        options.polite = true;
        return MetadataIndex(options);
    }();
    static std::once_flag opened;
    std::call_once(opened, [] { index.open(); });
    return index;
}

bool MetadataIndex::storeWasRebuilt() const
{
    return m_store && m_store->wasRebuilt();
}

bool MetadataIndex::open()
{
    std::unique_lock lock(m_lock);
    m_store = Store::open(m_options.storePath);
    if (!m_store)
        return m_open = false;

    // Parents come before their children; a row whose parent is missing is dropped from the store.
    const qint64 expected = m_store->approximateRowCount();
    m_catalog.reserve(expected);
    std::vector<std::pair<qint64, Catalog::Row>> rowOfId;
    rowOfId.reserve(size_t(expected));
    std::vector<qint64> orphans;
    const auto visit = [&](const Store::Row &stored) {
        Catalog::Row parent = Catalog::noRow;
        if (stored.parentId != 0) {
            const auto it = std::lower_bound(rowOfId.begin(), rowOfId.end(), std::pair(stored.parentId, Catalog::Row(0)));
            if (it == rowOfId.end() || it->first != stored.parentId || !m_catalog.isDirectory(it->second)) {
                orphans.push_back(stored.id);
                return;
            }
            parent = it->second;
        }
        rowOfId.emplace_back(stored.id, m_catalog.add(stored.id, parent, stored.facts, stored.extracted));
    };
    if (!m_store->load(visit)) {
        m_catalog = Catalog();
        orphans.clear();
        if (!m_store->reset())
            return m_open = false;
    }
    m_catalog.setLastUsed(readRecentlyUsed(recentlyUsedPath()));
    if (!orphans.empty() && m_store->begin()) {
        for (qint64 id : orphans)
            m_store->remove(id);
        m_store->commit();
    }
    return m_open = true;
}

Catalog::TextSearch MetadataIndex::textSearch() const
{
    return [this](const Comparison &cmp) {
        std::vector<qint64> ids;
        if (!m_store)
            return ids;
        const auto *pattern = std::get_if<TextPattern>(&cmp.value);
        if (cmp.op == Op::equal && std::holds_alternative<std::monostate>(cmp.value)) {
            m_store->forEachText([&ids](qint64 id, const QString &) { ids.push_back(id); });
            return ids;
        }
        if (cmp.op == Op::equal && pattern && pattern->wordBased()) {
            // A word or word-prefix match is what the full-text table answers: the folded words of
            // the pattern as a phrase, the last one as a prefix when the pattern ends in a star.
            QStringList words;
            QString word;
            for (const QChar ch : pattern->literalText()) {
                if (ch.isLetterOrNumber()) {
                    word += ch;
                } else if (!word.isEmpty()) {
                    words.append(word);
                    word.clear();
                }
            }
            if (!word.isEmpty())
                words.append(word);
            if (!words.isEmpty()) {
                const bool prefix = pattern->hasWildcards() && pattern->literalText().endsWith(QLatin1Char('*'));
                return m_store->matchText(QLatin1Char('"') + words.join(QLatin1Char(' ')) + QLatin1Char('"') + (prefix ? QStringLiteral("*") : QString()));
            }
        }
        // Anything else is tested on each stored text.
        m_store->forEachText([&](qint64 id, const QString &text) {
            if (cmp.matches(text))
                ids.push_back(id);
        });
        return ids;
    };
}

qint64 MetadataIndex::textBytes() const
{
    return m_store ? m_store->textBytes() : 0;
}

QString MetadataIndex::lastUpdate() const
{
    return m_store ? m_store->meta(QStringLiteral("lastUpdate")) : QString();
}

void MetadataIndex::addExtractor(std::unique_ptr<Extractor> extractor)
{
    m_extractors.push_back(std::move(extractor));
}

void MetadataIndex::flush(Walk &walk, bool force)
{
    std::vector<Store::Row> writes;
    {
        std::lock_guard guard(walk.storeMutex);
        if (!force && walk.writes.size() < kWritesPerTransaction)
            return;
        writes.swap(walk.writes);
    }
    if (writes.empty() || !m_store)
        return;
    // One writer at a time; the catalog lock is not held, so queries go on meanwhile.
    static std::mutex writer;
    std::lock_guard guard(writer);
    if (!m_store->begin())
        return;
    for (const Store::Row &row : writes) {
        if (row.facts.name.isNull())
            m_store->remove(row.id);
        else
            m_store->upsert(row);
    }
    m_store->commit();
}

void MetadataIndex::walkFolder(Walk &walk, const QString &path, Catalog::Row row, quint64 device)
{
    std::vector<WalkEntry> entries;
    if (!Crawler::list(path, device, entries))
        return;

    // Which entries are new or changed: only those are typed and read.
    std::vector<Catalog::Row> existing(entries.size(), Catalog::noRow);
    std::vector<quint8> fresh(entries.size(), 1);
    {
        std::shared_lock lock(m_lock);
        for (size_t i = 0; i < entries.size(); ++i) {
            existing[i] = m_catalog.child(row, entries[i].facts.name);
            if (existing[i] != Catalog::noRow && sameFacts(m_catalog.facts(existing[i]), entries[i].facts))
                fresh[i] = 0;
        }
    }
    std::vector<ExtractedAttributes> extracted(entries.size());
    std::vector<QString> texts(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        if (!fresh[i])
            continue;
        FileFacts &facts = entries[i].facts;
        facts.contentType = Crawler::contentType(path, facts);
        if (!facts.isDirectory && !facts.isSymlink) {
            const QString filePath = path + QLatin1Char('/') + facts.name;
            for (const auto &extractor : m_extractors) {
                if (extractor->wants(facts))
                    extractor->extract(filePath, facts, extracted[i]);
            }
            // The words inside a file go to the store's full-text table, not into memory.
            texts[i] = extracted[i].take(MDAttribute::textContent.toString()).toString();
        }
    }

    std::vector<Walk::Job> jobs;
    std::vector<Store::Row> writes;
    qint64 added = 0;
    qint64 changed = 0;
    {
        std::unique_lock lock(m_lock);
        const qint64 parentId = m_catalog.id(row);
        for (size_t i = 0; i < entries.size(); ++i) {
            const WalkEntry &entry = entries[i];
            const QString childPath = path + QLatin1Char('/') + entry.facts.name;
            // Another root below this one is walked on its own.
            if (entry.facts.isDirectory && walk.roots.contains(childPath))
                continue;
            Catalog::Row child = existing[i];
            bool isNew = false;
            if (child == Catalog::noRow || !m_catalog.isLive(child)) {
                child = m_catalog.add(m_catalog.nextId(), row, entry.facts, extracted[i]);
                ++added;
                isNew = true;
                walk.added.push_back(child);
            } else if (fresh[i]) {
                m_catalog.update(child, entry.facts, extracted[i]);
                ++changed;
            }
            walk.markSeen(child);
            if (fresh[i])
                writes.push_back({m_catalog.id(child), parentId, entry.facts, extracted[i], texts[i]});
            if (entry.descend && (!walk.onlyNewFolders || isNew))
                jobs.push_back({childPath, child, device});
        }
    }

    {
        std::lock_guard guard(walk.storeMutex);
        walk.writes.insert(walk.writes.end(), std::make_move_iterator(writes.begin()), std::make_move_iterator(writes.end()));
    }
    flush(walk, false);

    {
        std::lock_guard guard(walk.progressMutex);
        walk.progress.folders += 1;
        walk.progress.entries += qint64(entries.size());
        walk.progress.added += added;
        walk.progress.changed += changed;
        if (walk.report && walk.sinceReport.elapsed() >= 100) {
            walk.report(walk.progress);
            walk.sinceReport.restart();
        }
    }
    if (!jobs.empty()) {
        std::lock_guard guard(walk.mutex);
        for (auto &job : jobs)
            walk.jobs.push_back(std::move(job));
        walk.wake.notify_all();
    }
}

UpdateProgress MetadataIndex::update(const std::function<void(const UpdateProgress &)> &progress, const std::atomic<bool> *stop)
{
    if (!m_open)
        return {};
    std::lock_guard single(m_updateMutex);

    Walk walk;
    walk.stop = stop;
    walk.report = progress;
    walk.sinceReport.start();
    for (const QString &root : m_options.roots)
        walk.roots.insert(QDir::cleanPath(root));

    // The roots themselves.
    {
        std::unique_lock lock(m_lock);
        walk.seen.assign(size_t(m_catalog.rowCount()), 0);
        for (const QString &root : std::as_const(walk.roots)) {
            auto facts = Crawler::stat(root);
            if (!facts || !facts->isDirectory)
                continue;
            facts->contentType = QStringLiteral("public.folder");
            Catalog::Row row = Catalog::noRow;
            for (Catalog::Row existing : m_catalog.roots()) {
                if (m_catalog.name(existing) == root)
                    row = existing;
            }
            if (row == Catalog::noRow)
                row = m_catalog.add(m_catalog.nextId(), Catalog::noRow, *facts);
            else
                m_catalog.update(row, *facts, {});
            walk.markSeen(row);
            walk.writes.push_back({m_catalog.id(row), 0, *facts, {}, {}});
            walk.jobs.push_back({root, row, facts->device});
        }
    }

    const auto worker = [this, &walk] {
        if (m_options.polite)
            becomePolite();
        for (;;) {
            Walk::Job job;
            {
                std::unique_lock guard(walk.mutex);
                walk.wake.wait(guard, [&walk] { return !walk.jobs.empty() || walk.busy == 0 || walk.stopped(); });
                if (walk.stopped() || walk.jobs.empty())
                    return;
                job = std::move(walk.jobs.front());
                walk.jobs.pop_front();
                ++walk.busy;
            }
            walkFolder(walk, job.path, job.row, job.device);
            {
                std::lock_guard guard(walk.mutex);
                --walk.busy;
                walk.wake.notify_all();
            }
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < std::max(1, m_options.threads); ++i)
        threads.emplace_back(worker);
    for (auto &thread : threads)
        thread.join();

    // What the walk did not see is gone, unless the walk was stopped before it could see it all.
    if (!walk.stopped()) {
        std::unique_lock lock(m_lock);
        for (Catalog::Row row = 0; row < Catalog::Row(m_catalog.rowCount()); ++row) {
            if (!m_catalog.isLive(row) || (row < walk.seen.size() && walk.seen[row]))
                continue;
            for (qint64 id : m_catalog.remove(row)) {
                Store::Row removal;
                removal.id = id;
                walk.writes.push_back(std::move(removal));
                ++walk.progress.removed;
            }
        }
    }
    flush(walk, true);
    // Files the walk added take their last used dates too.
    reloadLastUsed();
    if (m_store)
        m_store->setMeta(QStringLiteral("lastUpdate"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate));
    if (progress)
        progress(walk.progress);
    return walk.progress;
}

void MetadataIndex::reloadLastUsed()
{
    const auto lastUsed = readRecentlyUsed(recentlyUsedPath());
    std::unique_lock lock(m_lock);
    m_catalog.setLastUsed(lastUsed);
}

UpdateProgress MetadataIndex::refreshFolders(const QSet<QString> &folders)
{
    if (!m_open)
        return {};
    std::lock_guard single(m_updateMutex);
    Walk walk;
    walk.onlyNewFolders = true;
    for (const QString &root : m_options.roots)
        walk.roots.insert(QDir::cleanPath(root));

    std::vector<std::pair<QString, Catalog::Row>> targets;
    {
        std::shared_lock lock(m_lock);
        walk.seen.assign(size_t(m_catalog.rowCount()), 0);
        for (const QString &folder : folders) {
            const Catalog::Row row = m_catalog.find(folder);
            if (row != Catalog::noRow && m_catalog.isDirectory(row))
                targets.emplace_back(folder, row);
        }
    }
    for (const auto &[folder, row] : targets) {
        const auto facts = Crawler::stat(folder);
        walkFolder(walk, folder, row, facts ? facts->device : 0);
        // New folders found inside are walked whole.
        for (;;) {
            Walk::Job job;
            {
                std::lock_guard guard(walk.mutex);
                if (walk.jobs.empty())
                    break;
                job = std::move(walk.jobs.front());
                walk.jobs.pop_front();
            }
            walkFolder(walk, job.path, job.row, job.device);
        }
        // Entries of the folder that were not seen again are gone, and so is a folder that vanished.
        std::unique_lock lock(m_lock);
        if (!facts || !facts->isDirectory) {
            for (qint64 id : m_catalog.remove(row)) {
                Store::Row removal;
                removal.id = id;
                walk.writes.push_back(std::move(removal));
                ++walk.progress.removed;
            }
            continue;
        }
        for (Catalog::Row child : m_catalog.children(row)) {
            if (child < walk.seen.size() && walk.seen[child])
                continue;
            for (qint64 id : m_catalog.remove(child)) {
                Store::Row removal;
                removal.id = id;
                walk.writes.push_back(std::move(removal));
                ++walk.progress.removed;
            }
        }
    }
    flush(walk, true);
    if (!walk.added.empty())
        reloadLastUsed();
    if (m_watcher) {
        std::shared_lock lock(m_lock);
        for (Catalog::Row row : walk.added) {
            if (m_catalog.isLive(row) && m_catalog.isDirectory(row) && !Crawler::isOpaqueFolder(m_catalog.name(row)))
                m_watcher->watch(m_catalog.path(row));
        }
    }
    return walk.progress;
}

void MetadataIndex::watchFolders(Watcher &watcher)
{
    std::shared_lock lock(m_lock);
    // Every folder the walk enters: roots, and folders below them that are not opaque.
    const QList<Catalog::Row> roots = m_catalog.roots();
    std::vector<Catalog::Row> stack(roots.begin(), roots.end());
    while (!stack.empty() && !m_stopWatching) {
        const Catalog::Row row = stack.back();
        stack.pop_back();
        if (!watcher.watch(m_catalog.path(row)) && watcher.limitReached())
            return;
        for (Catalog::Row child : m_catalog.children(row)) {
            if (m_catalog.isDirectory(child) && !Crawler::isOpaqueFolder(m_catalog.name(child)))
                stack.push_back(child);
        }
    }
}

void MetadataIndex::startWatching(std::function<void()> changed)
{
    if (!m_open || m_watchThread.joinable())
        return;
    m_changed = std::move(changed);
    m_stopWatching = false;
    m_watcher = std::make_unique<Watcher>();
    m_watchThread = std::thread([this] { watchLoop(); });
}

void MetadataIndex::stopWatching()
{
    if (!m_watchThread.joinable())
        return;
    m_stopWatching = true;
    m_watcher->wake();
    m_watchThread.join();
    m_watcher.reset();
}

void MetadataIndex::watchLoop()
{
    if (m_options.polite)
        becomePolite();
    const auto notify = [this] {
        if (m_changed)
            m_changed();
    };
    update({}, &m_stopWatching);
    notify();
    if (m_stopWatching)
        return;
    Watcher &watcher = *m_watcher;
    const QString recentList = recentlyUsedPath();
    const QString recentFolder = QFileInfo(recentList).absolutePath();
    watcher.watch(recentFolder);
    watchFolders(watcher);
    const bool limited = watcher.limitReached();
    if (limited && qEnvironmentVariableIsSet("VELK_DEBUG"))
        std::fprintf(stderr, "[velk] index: the inotify watch limit was reached after %lld folders; walking every 5 minutes instead\n",
            static_cast<long long>(watcher.count()));

    QElapsedTimer sinceWalk;
    sinceWalk.start();
    while (!m_stopWatching) {
        const auto changes = watcher.wait(std::chrono::milliseconds(limited ? 5000 : 60000));
        if (m_stopWatching)
            break;
        if (limited && sinceWalk.elapsed() > 5 * 60 * 1000) {
            update({}, &m_stopWatching);
            sinceWalk.restart();
            notify();
        }
        if (!changes)
            continue;
        if (changes->overflow) {
            update({}, &m_stopWatching);
            watchFolders(watcher);
            notify();
            continue;
        }
        QSet<QString> folders = changes->folders;
        if (folders.remove(recentFolder))
            reloadLastUsed();
        if (!folders.isEmpty())
            refreshFolders(folders);
        notify();
    }
}

} // namespace mdindex
