#pragma once

#include "Catalog.h"

#include <QString>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

struct sqlite3;

namespace mdindex {

// The index on disk: one SQLite file in WAL mode. Every change goes through a transaction, so a
// process killed at any moment leaves the last committed state. A file of another schema version, or
// one SQLite cannot read, is set aside and the index starts empty; the store never refuses to open
// where the folder is writable.
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

    // Sets the file aside and starts an empty store, for a file that turned out damaged while
    // reading. False when no new file can be made.
    bool reset();
    // True when the store found an unusable file and started over.
    bool wasRebuilt() const { return m_rebuilt; }
    QString path() const { return m_path; }

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
    // from any thread while writes go on: it reads through a connection of its own.
    std::vector<qint64> matchText(const QString &ftsQuery) const;
    // Every stored text, for comparisons the full-text index cannot answer.
    void forEachText(const std::function<void(qint64 id, const QString &text)> &visit) const;
    // Bytes of text held, and the store's size on disk.
    qint64 textBytes() const;

    QString meta(const QString &key) const;
    void setMeta(const QString &key, const QString &value);

private:
    explicit Store(QString path);
    bool openFile();
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
};

} // namespace mdindex
