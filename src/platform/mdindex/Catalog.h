#pragma once

#include "MetadataRecord.h"
#include "UTType.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <limits>
#include <optional>
#include <unordered_map>
#include <vector>

namespace mdindex {

class Query;
struct Comparison;

// What the file system says about one entry, as the crawler sees it and the store keeps it.
struct FileFacts {
    // For a root, as the walk and the store give it: its absolute path. The catalog names a root by its
    // last component, as any other folder, and keeps the path beside it.
    QString name;
    bool isDirectory = false;
    bool isSymlink = false;
    qint64 size = 0;
    qint64 modifiedMs = 0;
    // The inode's change time: moves with the modification time, and also with new extended
    // attributes, which is how a download address added later is noticed.
    qint64 changedMs = 0;
    std::optional<qint64> createdMs;
    quint64 inode = 0;
    quint64 device = 0;
    QString contentType; // type identifier
};

// Attributes read from a file's contents by the extractors, by attribute name.
using ExtractedAttributes = QHash<QString, QVariant>;

// A stamp of the facts a file's contents were read for (size, modification and change time, inode):
// the store keeps it beside the extracted attributes, so that a file is read again only when one of
// them moved, and extraction cut short by a kill resumes where it stopped. Never 0.
inline qint64 extractionStamp(const FileFacts &facts)
{
    quint64 h = 0x9E3779B97F4A7C15ull;
    for (const quint64 v : {quint64(facts.size), quint64(facts.modifiedMs), quint64(facts.changedMs), facts.inode}) {
        h ^= v + 0x9E3779B97F4A7C15ull + (h << 6) + (h >> 2);
        h *= 0xBF58476D1CE4E5B9ull;
        h ^= h >> 31;
    }
    return h == 0 ? 1 : qint64(h);
}

// Every indexed file and folder, in memory, as compact columns: one row per entry, the names in one
// text arena (as written and folded for case- and diacritic-insensitive matching), a row's path
// rebuilt from its parent chain. Rows are never moved; removal leaves a tombstone until the next
// load. Not thread-safe by itself: the index service guards it.
class Catalog
{
public:
    using Row = quint32;
    static constexpr Row noRow = std::numeric_limits<Row>::max();

    Catalog();

    // Room for this many rows, so that loading a large store does not grow the columns step by step.
    void reserve(qsizetype rows);
    // Adds an entry below `parent` (noRow for a root) with the given store id. Returns its row.
    Row add(qint64 id, Row parent, const FileFacts &facts, const ExtractedAttributes &extracted = {});
    // Updates the facts of an existing row; the name and parent stay.
    void update(Row row, const FileFacts &facts, const ExtractedAttributes &extracted);
    // Updates the facts and keeps what was extracted before (until the contents are read again).
    void updateFacts(Row row, const FileFacts &facts);
    void setExtracted(Row row, const ExtractedAttributes &extracted);
    // Whether the contents of a file still have to be read for its current facts: set by the walk
    // for new and changed files some extractor wants, cleared when their attributes are in.
    bool isPending(Row row) const { return m_rows[row].flags & Pending; }
    void setPending(Row row, bool pending);
    // Every live row that is pending, in row order.
    std::vector<Row> pendingRows() const;
    // Removes a row and everything below it; returns the store ids removed.
    std::vector<qint64> remove(Row row);

    qsizetype rowCount() const { return qsizetype(m_rows.size()); }
    qsizetype liveCount() const { return m_liveCount; }
    bool isLive(Row row) const { return row < m_rows.size() && !(m_rows[row].flags & Removed); }
    qint64 id(Row row) const { return m_rows[row].id; }
    qint64 nextId() const { return m_nextId; }
    Row parent(Row row) const { return m_rows[row].parent; }
    QStringView name(Row row) const;
    QString path(Row row) const;
    bool isDirectory(Row row) const { return m_rows[row].flags & Directory; }
    FileFacts facts(Row row) const;
    ExtractedAttributes extracted(Row row) const;

    // The row of an absolute path, if the catalog holds it.
    Row find(QStringView path) const;
    Row child(Row parent, QStringView name) const;
    // Live rows directly below a folder row.
    std::vector<Row> children(Row parent) const;
    QList<Row> roots() const { return m_roots; }
    // The absolute path of a root row.
    QString rootPath(Row root) const { return m_rootPaths.value(root); }

    // The value of one attribute of a row, as a metadata record would give it.
    QVariant value(Row row, QStringView attribute) const;

    // Answers comparisons on the text inside files, which lives outside the catalog: the store ids of
    // the files whose text satisfies the comparison.
    using TextSearch = std::function<std::vector<qint64>(const Comparison &)>;

    // The live rows that satisfy the query and lie at or below one of the scope folders (all rows
    // when `scopes` is empty), sorted descending by `sortAttribute` with rows that lack it last.
    // Without `textSearch`, no file has text.
    std::vector<Row> search(const Query &query, const QStringList &scopes, QStringView sortAttribute, const TextSearch &textSearch = {}) const;

    // The row of a store id, if it is live.
    Row rowOfId(qint64 id) const;

    // When each file was last opened, from the desktop's recently used list; replaces what was set.
    void setLastUsed(const QHash<QString, qint64> &lastUsedByPath);

    // Approximate bytes held, for the memory figures.
    qsizetype memoryUsage() const;

private:
    enum Flag : quint8 { Directory = 1, Symlink = 2, Removed = 4, AsciiName = 8, Pending = 16 };
    struct RowData {
        qint64 id;
        qint64 size;
        qint64 modifiedMs;
        qint64 changedMs;
        qint64 createdMs; // noTime when unknown
        quint64 inode;
        Row parent;
        Row firstChild;
        Row nextSibling;
        quint32 nameOffset;
        quint32 foldedOffset;
        quint16 nameLength;
        quint16 foldedLength;
        quint16 type;
        quint8 flags;
    };
    static constexpr qint64 noTime = std::numeric_limits<qint64>::min();

    struct TypeInfo {
        QString identifier;
        QStringList tree;
    };

    quint16 typeIndex(const QString &identifier);
    static quint64 childKey(Row parent, QStringView name);
    static constexpr Row tombstone = noRow - 1;
    size_t childSlot(Row parent, QStringView name) const;
    void insertChild(Row row);
    void eraseChild(Row row);
    void rehashChildren(size_t entries);
    QStringView folded(Row row) const;

    class Evaluator;
    friend class Evaluator;

    std::vector<RowData> m_rows;
    QString m_names; // names as written, then folded, back to back
    std::vector<TypeInfo> m_types;
    QHash<QString, quint16> m_typeIndex;
    // Rows by parent and name, to find a child by its name: open addressing over row numbers, 4
    // bytes a slot, since a node-based map costs ten times that for each of a million files.
    std::vector<Row> m_childSlots;
    size_t m_childLive = 0;
    size_t m_childUsed = 0; // live entries and the tombstones of removed ones
    // Attributes from file contents are few per file and absent for most: kept sparse.
    std::unordered_map<Row, ExtractedAttributes> m_extracted;
    std::unordered_map<Row, qint64> m_lastUsed;
    QList<Row> m_roots;
    QHash<Row, QString> m_rootPaths;
    qsizetype m_liveCount = 0;
    qint64 m_nextId = 1;
    quint16 m_lastType = 0;
};

// One catalog row seen as a metadata record.
class CatalogRecord final : public MetadataRecord
{
public:
    CatalogRecord(const Catalog &catalog, Catalog::Row row)
        : m_catalog(catalog)
        , m_row(row)
    {
    }
    QVariant valueForAttribute(QStringView attribute) const override { return m_catalog.value(m_row, attribute); }

private:
    const Catalog &m_catalog;
    Catalog::Row m_row;
};

} // namespace mdindex
