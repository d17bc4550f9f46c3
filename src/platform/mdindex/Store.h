#pragma once

#include "Catalog.h"

#include <QDateTime>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

struct sqlite3;

namespace mdindex {

// When the store last had to start over, and why ("integrity check failed: …", "could not be read: …",
// "schema version 2, expected 3"). Kept in the new store, so it outlives the process that noticed.
struct RebuildNote {
    QDateTime when;
    QString why;
};

// The index on disk: one SQLite file in WAL mode. Every change goes through a transaction, so a
// process killed at any moment leaves the last committed state. A file of another schema version, or
// one SQLite cannot read, is set aside and the index starts empty; the store never refuses to open
// where the folder is writable. The file and its folder are private to the user (0600 and 0700).
class Store
{
public:
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    // No store only when no database can be created at `path` at all.
    static std::unique_ptr<Store> open(const QString &path);
    // Where the index lives for this user: $XDG_CACHE_HOME/velk/index.sqlite.
    static QString defaultPath();
    // 3: the stamp of the facts each file's contents were read for (extraction runs after the walk).
    // 4: names that are not UTF-8 kept as their exact bytes (earlier stores hold them with U+FFFD).
    static constexpr int schemaVersion = 4;

    // Sets the file aside (as <name>.broken) and starts an empty store, for a file that turned out
    // damaged; `why` goes into the new store's rebuild note. False when no new file can be made.
    bool reset(const QString &why);
    // True when this store found an unusable file and started over since it was opened.
    bool wasRebuilt() const { return m_rebuilt; }
    // The note the last rebuild left, in this process or an earlier one.
    std::optional<RebuildNote> lastRebuild() const;
    QString path() const { return m_path; }
    // What SQLite said about the last failed call on the writing connection.
    QString lastError() const;

    // Checks for damage through a connection of their own, so the store stays usable meanwhile; each
    // answers an empty text for a sound store (or when `stop` was set), else what is wrong.
    // checkPages reads every page (PRAGMA quick_check) and only reads. checkText has the full-text
    // table compare its index with the texts; it holds the write lock while it runs, so the caller
    // keeps its own writes back until it returns.
    QString checkPages(const std::atomic<bool> *stop = nullptr) const;
    QString checkText(const std::atomic<bool> *stop = nullptr) const;
    // The file as it is now (inode, size and change time of the store and its log), to remember a
    // sound check by: a store unchanged since a check that found it sound is not checked again.
    QByteArray fileStamp() const;
    bool checkedEarlier() const;
    void rememberChecked(const QByteArray &stamp) const;

    struct Row {
        qint64 id = 0;
        qint64 parentId = 0; // 0 for a root
        FileFacts facts;
        ExtractedAttributes extracted;
        // The words inside the file, kept in the full-text table; empty for none.
        QString text;
        // extractionStamp() of the facts `extracted` and `text` were read for; 0 when the contents
        // still have to be read.
        qint64 extractedFor = 0;
        // Writes only the facts and keeps the stored extracted attributes, text and stamp.
        bool factsOnly = false;
        // A row the store has never held: no text to clear.
        bool isNew = false;
    };
    // About how many rows the store holds (the largest id), cheap to ask.
    qint64 approximateRowCount() const;
    // Every stored row, parents before their children. False when reading failed part way (the
    // rows given so far are kept by the caller or not, as it likes).
    bool load(const std::function<void(const Row &)> &visit);

    // Writes happen between begin() and commit(); upserts and removals are cheap inside one.
    bool begin();
    bool commit();
    void rollback();
    bool upsert(const Row &row);
    bool remove(qint64 id);

    // Store ids of the files whose text holds the full-text query (SQLite FTS5 syntax). Safe to call
    // from any thread while writes go on: it reads through a connection of its own. A table SQLite
    // finds damaged on the way is noted for readFailure().
    std::vector<qint64> matchText(const QString &ftsQuery) const;
    // What went wrong the last time reading text failed part way (damage found by a query rather than
    // by a check); empty when nothing did. Taking it clears it.
    QString takeReadFailure() const;
    // Every stored text, for comparisons the full-text index cannot answer.
    void forEachText(const std::function<void(qint64 id, const QString &text)> &visit) const;
    // Bytes of text held, and the store's size on disk.
    qint64 textBytes() const;

    QString meta(const QString &key) const;
    void setMeta(const QString &key, const QString &value);

private:
    explicit Store(QString path);
    bool openFile();
    void noteReadFailure(int rc) const;
    QString checkWith(const std::atomic<bool> *stop, int flags, const std::function<QString(sqlite3 *)> &check) const;
    bool createSchema();
    void close();
    bool exec(const char *sql);
    bool openReader() const;

    QString m_path;
    sqlite3 *m_db = nullptr;
    mutable sqlite3 *m_reader = nullptr;
    mutable std::mutex m_readerMutex;
    struct Statements;
    std::unique_ptr<Statements> m_statements;
    bool m_rebuilt = false;
    // Why openFile() failed last.
    QString m_openProblem;
    mutable QString m_readFailure; // under m_readerMutex
};

} // namespace mdindex
