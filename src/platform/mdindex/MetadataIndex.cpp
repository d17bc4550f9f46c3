#include "MetadataIndex.h"

#include "BackgroundPriority.h"
#include "Query.h"
#include "RecentlyUsed.h"
#include "Store.h"
#include "UTType.h"
#include "UserPlaces.h"
#include "extractors/ScreenCapture.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSet>

#include <algorithm>
#include <cstdio>
#include <thread>

namespace mdindex {

namespace {

    constexpr size_t kWritesPerTransaction = 4000;
    // Extracted files are committed in batches: this many, or after this long, or this much text.
    constexpr size_t kExtractedPerBatch = 64;
    constexpr qint64 kBatchMs = 500;
    constexpr qsizetype kBatchTextChars = 8 * 1024 * 1024;

    bool sameFacts(const FileFacts &a, const FileFacts &b)
    {
        return a.isDirectory == b.isDirectory && a.isSymlink == b.isSymlink && a.size == b.size && a.modifiedMs == b.modifiedMs && a.changedMs == b.changedMs
            && a.inode == b.inode;
    }

    // The part of the screen-capture rule that needs no contents, applied as the walk records a picture
    // or video: where it lies and what the capture tool called it. The contents may add to it later
    // (a capture tool named in the file's own metadata), never take it away.
    // `path` is asked for only when the file is a picture or a video.
    template<typename Path>
    bool capturedByPlaceOrName(const ScreenCapture::Places &places, const Path &path, const FileFacts &facts)
    {
        if (facts.isDirectory || facts.isSymlink)
            return false;
        const auto type = UTType::fromIdentifier(facts.contentType);
        if (!type)
            return false;
        const bool video = type->conforms(UTType::movie());
        return (video || type->conforms(UTType::image())) && ScreenCapture::byPlaceOrName(places, path(), facts.name, video);
    }

    ExtractedAttributes walkAttributes(bool captured)
    {
        ExtractedAttributes attributes;
        if (captured)
            attributes.insert(MDAttribute::isScreenCapture.toString(), true);
        return attributes;
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

// The contents of one file as an extraction thread read them, waiting to be committed.
struct MetadataIndex::Extracted {
    Catalog::Row row;
    qint64 id;
    // The facts the catalog had when the file was taken, and those it was read for: they differ
    // when the file changed after the walk saw it.
    FileFacts known;
    FileFacts facts;
    ExtractedAttributes attributes;
    QString text;
};

MetadataIndex::~MetadataIndex()
{
    m_stopCheck = true;
    if (m_checkThread.joinable())
        m_checkThread.join();
    stopWatching();
    {
        std::lock_guard guard(m_queueMutex);
        m_quitExtraction = true;
    }
    m_queueWake.notify_all();
    for (auto &thread : m_extractionThreads)
        thread.join();
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
    waitForCheck();
    return m_store && m_store->wasRebuilt();
}

std::optional<RebuildNote> MetadataIndex::lastRebuild() const
{
    waitForCheck();
    std::lock_guard writer(m_writerMutex);
    return m_store ? m_store->lastRebuild() : std::nullopt;
}

void MetadataIndex::waitForCheck() const
{
    waitForCheckStage(CheckStage::done);
}

void MetadataIndex::waitForCheckStage(CheckStage stage) const
{
    std::unique_lock guard(m_checkMutex);
    m_checkDone.wait(guard, [this, stage] { return m_checkStage >= stage; });
}

bool MetadataIndex::isChecked() const
{
    std::lock_guard guard(m_checkMutex);
    return m_checkStage >= CheckStage::textReady;
}

void MetadataIndex::setCheckStage(CheckStage stage)
{
    std::lock_guard guard(m_checkMutex);
    m_checkStage = stage;
    m_checkDone.notify_all();
}

QString MetadataIndex::findDamage()
{
    // Every page first, reading only; then the full-text table, which needs the write lock: our own
    // writes wait for it rather than fail.
    QString problem = m_store->checkPages(&m_stopCheck);
    if (problem.isEmpty() && !m_stopCheck) {
        std::lock_guard writer(m_writerMutex);
        problem = m_store->checkText(&m_stopCheck);
    }
    return problem;
}

void MetadataIndex::checkStore()
{
    const QByteArray stamp = m_store->fileStamp();
    const QString problem = findDamage();
    if (problem.isEmpty() || m_stopCheck) {
        if (problem.isEmpty() && !m_stopCheck)
            m_store->rememberChecked(stamp);
        setCheckStage(CheckStage::done);
        return;
    }
    if (qEnvironmentVariableIsSet("VELK_DEBUG"))
        std::fprintf(stderr, "[velk] index: the store %s failed its check (%s); rebuilding it\n", qPrintable(m_options.storePath), qPrintable(problem));
    rebuildStore(problem);
}

void MetadataIndex::rebuildStore(const QString &why)
{
    std::vector<Catalog::Row> files;
    {
        std::lock_guard writer(m_writerMutex);
        const bool reopened = m_store->reset(why);
        // Text queries may go on now (they hold the catalog's read lock, which the rest below needs
        // for writing): the new table is sound, and empty until contents are read again.
        setCheckStage(CheckStage::textReady);
        if (!reopened) {
            setCheckStage(CheckStage::done);
            return;
        }
        // What the catalog holds was read from the old store before the check, from pages that
        // could be read; it goes into the new one as the walk would write it. Texts are gone, so every
        // file is read again.
        std::shared_lock lock(m_lock);
        if (!m_store->begin()) {
            setCheckStage(CheckStage::done);
            return;
        }
        for (Catalog::Row row = 0; row < Catalog::Row(m_catalog.rowCount()); ++row) {
            if (!m_catalog.isLive(row))
                continue;
            const Catalog::Row parent = m_catalog.parent(row);
            Store::Row write {m_catalog.id(row), parent == Catalog::noRow ? 0 : m_catalog.id(parent), m_catalog.facts(row), m_catalog.extracted(row), {}};
            // The store keeps a root under its whole path; the catalog names it by its last part.
            if (parent == Catalog::noRow)
                write.facts.name = m_catalog.rootPath(row);
            write.isNew = true;
            m_store->upsert(write);
            if (!m_catalog.isDirectory(row) && !write.facts.isSymlink)
                files.push_back(row);
        }
        m_store->commit();
    }
    {
        std::unique_lock lock(m_lock);
        for (const Catalog::Row row : files) {
            if (m_catalog.isLive(row))
                m_catalog.setPending(row, true);
        }
    }
    setCheckStage(CheckStage::done);
    bool background = false;
    {
        std::lock_guard guard(m_queueMutex);
        background = m_background;
    }
    if (background)
        enqueueAllPending();
}

bool MetadataIndex::open()
{
    std::unique_lock lock(m_lock);
    m_capturePlaces = ScreenCapture::Places::current();
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
        const Catalog::Row row = m_catalog.add(stored.id, parent, stored.facts, stored.extracted);
        // A file whose contents were not read for its current facts (extraction was cut short) is
        // read when extraction runs next.
        if (!stored.facts.isDirectory && !stored.facts.isSymlink && stored.extractedFor != extractionStamp(stored.facts))
            m_catalog.setPending(row, true);
        rowOfId.emplace_back(stored.id, row);
    };
    if (!m_store->load(visit)) {
        m_catalog = Catalog();
        orphans.clear();
        if (!m_store->reset(QStringLiteral("could not be read: ") + m_store->lastError()))
            return m_open = false;
    }
    m_catalog.setLastUsed(readRecentlyUsed(recentlyUsedPath()));
    if (!orphans.empty() && m_store->begin()) {
        for (qint64 id : orphans)
            m_store->remove(id);
        m_store->commit();
    }
    m_open = true;
    // A store unchanged since a check found it sound is not read through again.
    if (!m_checkThread.joinable() && !m_store->checkedEarlier()) {
        {
            std::lock_guard guard(m_checkMutex);
            m_checkStage = CheckStage::running;
        }
        m_checkThread = std::thread([this] { checkStore(); });
    }
    return true;
}

Catalog::TextSearch MetadataIndex::textSearch() const
{
    return [this](const Comparison &cmp) {
        std::vector<qint64> ids;
        if (!m_store)
            return ids;
        // A store not yet checked may answer from a damaged table.
        waitForCheckStage(CheckStage::textReady);
        const auto noteDamage = qScopeGuard([this] {
            if (!m_store->takeReadFailure().isEmpty())
                m_suspect = true;
        });
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
    waitForCheck();
    return m_store ? m_store->textBytes() : 0;
}

QString MetadataIndex::lastUpdate() const
{
    std::lock_guard writer(m_writerMutex);
    return m_store ? m_store->meta(QStringLiteral("lastUpdate")) : QString();
}

void MetadataIndex::addExtractor(std::unique_ptr<Extractor> extractor)
{
    m_extractors.push_back(std::move(extractor));
}

void MetadataIndex::removeEntry(Walk &walk, Catalog::Row row)
{
    for (qint64 id : m_catalog.remove(row)) {
        Store::Row removal;
        removal.id = id;
        m_writes.push_back(std::move(removal));
        ++walk.progress.removed;
    }
}

void MetadataIndex::flush(bool force)
{
    if (!force) {
        std::lock_guard guard(m_writesMutex);
        if (m_writes.size() < kWritesPerTransaction)
            return;
    }
    // One writer at a time, taking the writes in the order they were queued; the catalog lock is not
    // held, so queries go on meanwhile.
    std::lock_guard writer(m_writerMutex);
    std::vector<Store::Row> writes;
    {
        std::lock_guard guard(m_writesMutex);
        writes.swap(m_writes);
    }
    if (writes.empty() || !m_store || !m_store->begin())
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

    // Which entries are new or changed: only those are typed, and queued for extraction where an
    // extractor wants them. Their contents are not read here.
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
    std::vector<quint8> wanted(entries.size(), 0);
    std::vector<quint8> captured(entries.size(), 0);
    for (size_t i = 0; i < entries.size(); ++i) {
        if (!fresh[i])
            continue;
        FileFacts &facts = entries[i].facts;
        facts.contentType = Crawler::contentType(path, facts);
        if (!facts.isDirectory && !facts.isSymlink) {
            wanted[i] = std::any_of(m_extractors.begin(), m_extractors.end(), [&facts](const auto &extractor) { return extractor->wants(facts); });
            captured[i] = capturedByPlaceOrName(
                m_capturePlaces, [&] { return path + QLatin1Char('/') + facts.name; }, facts);
        }
    }

    std::vector<Walk::Job> jobs;
    std::vector<Catalog::Row> toExtract;
    qint64 added = 0;
    qint64 changed = 0;
    {
        std::unique_lock lock(m_lock);
        std::lock_guard writes(m_writesMutex);
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
                child = m_catalog.add(m_catalog.nextId(), row, entry.facts, walkAttributes(captured[i]));
                ++added;
                isNew = true;
                walk.added.push_back(child);
            } else if (fresh[i]) {
                // A changed file keeps what was read from it before until it is read again.
                if (wanted[i]) {
                    ExtractedAttributes kept = m_catalog.extracted(child);
                    if (captured[i])
                        kept.insert(MDAttribute::isScreenCapture.toString(), true);
                    m_catalog.update(child, entry.facts, kept);
                } else {
                    m_catalog.update(child, entry.facts, walkAttributes(captured[i]));
                }
                ++changed;
            }
            walk.markSeen(child);
            if (fresh[i]) {
                m_catalog.setPending(child, wanted[i]);
                Store::Row write {m_catalog.id(child), parentId, entry.facts, {}, {}};
                write.isNew = isNew;
                // What the walk knows without the contents is stored with the row, unless the row
                // keeps what was read from its contents before.
                if (isNew || !wanted[i])
                    write.extracted = walkAttributes(captured[i]);
                if (wanted[i]) {
                    write.factsOnly = !isNew;
                    toExtract.push_back(child);
                } else {
                    write.extractedFor = extractionStamp(entry.facts);
                }
                m_writes.push_back(std::move(write));
            }
            if (entry.descend && (!walk.onlyNewFolders || isNew))
                jobs.push_back({childPath, child, device});
        }
    }
    flush(false);
    enqueue(toExtract);

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
    UpdateProgress walked = updateBasic(progress, stop);
    if (!m_open || (stop && stop->load()))
        return walked;
    const auto merged = [&walked](const UpdateProgress &extraction) {
        UpdateProgress both = walked;
        both.extracting = true;
        both.toExtract = extraction.toExtract;
        both.extracted = extraction.extracted;
        return both;
    };
    const UpdateProgress extraction = extractPending(
        [&](const UpdateProgress &p) {
            if (progress)
                progress(merged(p));
        },
        stop);
    return merged(extraction);
}

UpdateProgress MetadataIndex::updateBasic(const std::function<void(const UpdateProgress &)> &progress, const std::atomic<bool> *stop)
{
    if (!m_open)
        return {};
    std::lock_guard single(m_updateMutex);
    // A store found damaged is rebuilt before the walk, so that the walk and the extraction after it
    // fill the new one.
    waitForCheck();
    if (m_suspect.exchange(false)) {
        if (const QString problem = findDamage(); !problem.isEmpty())
            rebuildStore(problem);
    }

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
                if (m_catalog.rootPath(existing) == root)
                    row = existing;
            }
            if (row == Catalog::noRow)
                row = m_catalog.add(m_catalog.nextId(), Catalog::noRow, *facts);
            else
                m_catalog.update(row, *facts, {});
            walk.markSeen(row);
            Store::Row write {m_catalog.id(row), 0, *facts, {}, {}};
            write.extractedFor = extractionStamp(*facts);
            std::lock_guard writes(m_writesMutex);
            m_writes.push_back(std::move(write));
            walk.jobs.push_back({root, row, facts->device});
        }
    }

    const auto worker = [this, &walk] {
        if (m_options.polite)
            BackgroundPriority::lowerCurrentThread();
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
        std::lock_guard writes(m_writesMutex);
        for (Catalog::Row row = 0; row < Catalog::Row(m_catalog.rowCount()); ++row) {
            if (!m_catalog.isLive(row) || (row < walk.seen.size() && walk.seen[row]))
                continue;
            removeEntry(walk, row);
        }
    }
    flush(true);
    // Files the walk added take their last used dates too.
    reloadLastUsed();
    if (m_store) {
        std::lock_guard writer(m_writerMutex);
        m_store->setMeta(QStringLiteral("lastUpdate"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate));
    }
    if (progress)
        progress(walk.progress);
    return walk.progress;
}

void MetadataIndex::enqueue(const std::vector<Catalog::Row> &rows)
{
    if (rows.empty())
        return;
    std::lock_guard guard(m_queueMutex);
    for (const Catalog::Row row : rows) {
        const size_t word = row / 64;
        const quint64 bit = quint64(1) << (row % 64);
        if (m_queuedBits.size() <= word)
            m_queuedBits.resize(word + 1 + m_queuedBits.size() / 2, 0);
        if (m_queuedBits[word] & bit)
            continue;
        m_queuedBits[word] |= bit;
        m_queue.push_back(row);
    }
    m_queueWake.notify_all();
}

void MetadataIndex::enqueueAllPending()
{
    // Files the walk marked but nobody read yet: left by an earlier run that was stopped or killed,
    // or skipped because they changed while being read.
    std::vector<Catalog::Row> rows;
    {
        std::shared_lock lock(m_lock);
        rows = m_catalog.pendingRows();
    }
    enqueue(rows);
}

void MetadataIndex::startExtractionThreads()
{
    std::lock_guard guard(m_queueMutex);
    if (!m_extractionThreads.empty() || m_quitExtraction)
        return;
    const int count = m_options.extractionThreads > 0 ? m_options.extractionThreads : m_options.polite ? 1 : 2;
    for (int i = 0; i < count; ++i)
        m_extractionThreads.emplace_back([this] { extractionWorker(); });
}

bool MetadataIndex::extractionWanted() const
{
    return m_background || std::any_of(m_drainers.begin(), m_drainers.end(), [](const std::atomic<bool> *stop) { return !stop || !stop->load(); });
}

qint64 MetadataIndex::pendingExtractions() const
{
    std::shared_lock lock(m_lock);
    return qint64(m_catalog.pendingRows().size());
}

void MetadataIndex::extractInBackground(bool on)
{
    if (on) {
        enqueueAllPending();
        startExtractionThreads();
    }
    std::lock_guard guard(m_queueMutex);
    m_background = on;
    m_queueWake.notify_all();
}

UpdateProgress MetadataIndex::extractPending(const std::function<void(const UpdateProgress &)> &progress, const std::atomic<bool> *stop)
{
    UpdateProgress p;
    p.extracting = true;
    if (!m_open)
        return p;
    waitForCheck();
    enqueueAllPending();
    {
        std::lock_guard guard(m_queueMutex);
        if (m_queue.empty() && m_inFlight == 0)
            return p;
    }
    startExtractionThreads();
    std::unique_lock guard(m_queueMutex);
    const qint64 doneAtStart = m_extractedCount;
    m_drainers.push_back(stop);
    m_queueWake.notify_all();
    const auto stopped = [stop] { return stop && stop->load(); };
    for (;;) {
        p.extracted = m_extractedCount - doneAtStart;
        p.toExtract = p.extracted + qint64(m_queue.size()) + m_inFlight;
        if ((m_queue.empty() && m_inFlight == 0) || stopped() || m_quitExtraction)
            break;
        m_queueIdle.wait_for(guard, std::chrono::milliseconds(100));
        if (progress) {
            guard.unlock();
            progress(p);
            guard.lock();
        }
    }
    m_drainers.erase(std::find(m_drainers.begin(), m_drainers.end(), stop));
    m_queueWake.notify_all();
    // Stopped: what the pool is reading now is committed before this returns, unless the pool goes on
    // in the background anyway.
    m_queueIdle.wait(guard, [this] { return m_inFlight == 0 || extractionWanted(); });
    p.extracted = m_extractedCount - doneAtStart;
    p.toExtract = p.extracted + qint64(m_queue.size()) + m_inFlight;
    guard.unlock();
    if (progress)
        progress(p);
    return p;
}

std::optional<MetadataIndex::Extracted> MetadataIndex::extractRow(Catalog::Row row) const
{
    Extracted e;
    e.row = row;
    QString path;
    {
        std::shared_lock lock(m_lock);
        if (!m_catalog.isLive(row) || !m_catalog.isPending(row))
            return std::nullopt;
        e.id = m_catalog.id(row);
        e.known = m_catalog.facts(row);
        path = m_catalog.path(row);
    }
    // The file as it is now: if it changed since the walk, it is read (and recorded) for its new facts.
    // One that is gone or became something else is left to the walk that will notice.
    const auto now = Crawler::stat(path);
    if (!now || now->isDirectory || now->isSymlink)
        return std::nullopt;
    e.facts = e.known;
    if (!sameFacts(*now, e.known)) {
        e.facts = *now;
        e.facts.name = e.known.name;
        e.facts.contentType = Crawler::contentType(QFileInfo(path).path(), e.facts);
    }
    try {
        for (const auto &extractor : m_extractors) {
            if (extractor->wants(e.facts))
                extractor->extract(path, e.facts, e.attributes);
        }
    } catch (const ExtractionUnavailable &) {
        return std::nullopt;
    }
    // The words inside a file go to the store's full-text table, not into memory.
    e.text = e.attributes.take(MDAttribute::textContent.toString()).toString();
    // Written to while being read: what came out may be a mix. It is read again once the walk or the
    // watcher sees the change.
    const auto after = Crawler::stat(path);
    if (!after || !sameFacts(*after, e.facts))
        return std::nullopt;
    return e;
}

void MetadataIndex::commitExtracted(std::vector<Extracted> &batch, qint64 skipped)
{
    std::vector<Catalog::Row> again;
    if (!batch.empty()) {
        // The write lock only for the few rows of the batch; the store is written without it.
        std::unique_lock lock(m_lock);
        std::lock_guard writes(m_writesMutex);
        for (Extracted &e : batch) {
            if (!m_catalog.isLive(e.row) || m_catalog.id(e.row) != e.id)
                continue;
            // The walk saw a change while the file was being read: read it again for the new facts.
            if (!sameFacts(m_catalog.facts(e.row), e.known)) {
                again.push_back(e.row);
                continue;
            }
            if (!sameFacts(e.known, e.facts) || e.known.contentType != e.facts.contentType)
                m_catalog.updateFacts(e.row, e.facts);
            // Contents that could not be read do not undo what the name and place already tell.
            if (!e.attributes.value(MDAttribute::isScreenCapture.toString()).toBool()
                && capturedByPlaceOrName(
                    m_capturePlaces, [&] { return m_catalog.path(e.row); }, e.facts))
                e.attributes.insert(MDAttribute::isScreenCapture.toString(), true);
            m_catalog.setExtracted(e.row, e.attributes);
            m_catalog.setPending(e.row, false);
            const Catalog::Row parent = m_catalog.parent(e.row);
            Store::Row write {e.id, parent == Catalog::noRow ? 0 : m_catalog.id(parent), e.facts, std::move(e.attributes), std::move(e.text)};
            write.extractedFor = extractionStamp(e.facts);
            m_writes.push_back(std::move(write));
        }
    }
    if (!batch.empty())
        flush(true);
    bool notify = false;
    {
        std::lock_guard guard(m_queueMutex);
        for (const Extracted &e : batch)
            m_queuedBits[e.row / 64] &= ~(quint64(1) << (e.row % 64));
        const qint64 done = qint64(batch.size()) + skipped;
        m_inFlight -= done;
        m_extractedCount += done;
        notify = m_background && !batch.empty();
        // Whoever waits looks again: for an empty queue, or (stopped) for nothing being read.
        m_queueIdle.notify_all();
    }
    batch.clear();
    enqueue(again);
    if (notify && m_changed)
        m_changed();
}

void MetadataIndex::extractionWorker()
{
    if (m_options.polite)
        BackgroundPriority::lowerCurrentThread();
    std::vector<Extracted> batch;
    qint64 skipped = 0;
    qsizetype batchText = 0;
    QElapsedTimer sinceCommit;
    const auto commit = [&] {
        commitExtracted(batch, skipped);
        skipped = 0;
        batchText = 0;
    };
    for (;;) {
        Catalog::Row row;
        {
            std::unique_lock guard(m_queueMutex);
            const auto canWork = [this] { return m_quitExtraction || (!m_queue.empty() && extractionWanted()); };
            if (!canWork() && (!batch.empty() || skipped > 0)) {
                // Nothing more to read for now: what was read goes in before this thread sleeps.
                guard.unlock();
                commit();
                continue;
            }
            m_queueWake.wait(guard, canWork);
            if (m_quitExtraction)
                break;
            row = m_queue.front();
            m_queue.pop_front();
            ++m_inFlight;
        }
        if (batch.empty())
            sinceCommit.start();
        if (auto extracted = extractRow(row)) {
            batchText += extracted->text.size();
            batch.push_back(std::move(*extracted));
        } else {
            // Not read (gone, unchanged since it was read, or changing): no longer queued.
            std::lock_guard guard(m_queueMutex);
            m_queuedBits[row / 64] &= ~(quint64(1) << (row % 64));
            ++skipped;
        }
        if (batch.size() >= kExtractedPerBatch || batchText >= kBatchTextChars || sinceCommit.elapsed() >= kBatchMs)
            commit();
    }
    commit();
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
        std::lock_guard writes(m_writesMutex);
        if (!facts || !facts->isDirectory) {
            removeEntry(walk, row);
            continue;
        }
        for (Catalog::Row child : m_catalog.children(row)) {
            if (child < walk.seen.size() && walk.seen[child])
                continue;
            removeEntry(walk, child);
        }
    }
    flush(true);
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
    extractInBackground(false);
    m_stopWatching = true;
    // The walk may be waiting for the store's check, which can take a while on a large store: the
    // program is closing, the check comes again at the next start.
    m_stopCheck = true;
    m_watcher->wake();
    m_watchThread.join();
    m_watcher.reset();
}

void MetadataIndex::watchLoop()
{
    if (m_options.polite)
        BackgroundPriority::lowerCurrentThread();
    const auto notify = [this] {
        if (m_changed)
            m_changed();
    };
    // The walk first, so that answers on names, sizes, dates and kinds come at once; the contents of
    // what it found new or changed are read in the background, as are those of later changes.
    updateBasic({}, &m_stopWatching);
    notify();
    if (m_stopWatching)
        return;
    extractInBackground(true);
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
            updateBasic({}, &m_stopWatching);
            sinceWalk.restart();
            notify();
        }
        if (!changes)
            continue;
        if (changes->overflow) {
            updateBasic({}, &m_stopWatching);
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
