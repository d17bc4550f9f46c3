#include "Store.h"

#include "FilePath.h"
#include "PrivateFiles.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QStandardPaths>
#include <QStringList>

#include <sqlite3.h>

#include <sys/stat.h>

#include <utility>

namespace mdindex {

namespace {

    // Prepared statements live as long as the connection.
    struct Statement {
        sqlite3_stmt *stmt = nullptr;
        ~Statement() { sqlite3_finalize(stmt); }
        bool prepare(sqlite3 *db, const char *sql) { return sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr) == SQLITE_OK; }
    };

    void bindText(sqlite3_stmt *stmt, int index, const QString &text)
    {
        const QByteArray utf8 = text.toUtf8();
        sqlite3_bind_text(stmt, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
    }

    QString columnText(sqlite3_stmt *stmt, int column)
    {
        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(stmt, column));
        return text ? QString::fromUtf8(text, sqlite3_column_bytes(stmt, column)) : QString();
    }

    // File names are kept as the exact bytes the file system knows them by: as text when they are
    // UTF-8 (which is every name's form in stores of earlier versions), as a blob when they are not, so
    // that nothing ever holds text that is not UTF-8.
    void bindName(sqlite3_stmt *stmt, int index, const QString &name)
    {
        const QByteArray bytes = FilePath::toNative(name);
        if (FilePath::hasUndecodable(name))
            sqlite3_bind_blob(stmt, index, bytes.constData(), int(bytes.size()), SQLITE_TRANSIENT);
        else
            sqlite3_bind_text(stmt, index, bytes.constData(), int(bytes.size()), SQLITE_TRANSIENT);
    }

    QString columnName(sqlite3_stmt *stmt, int column)
    {
        const auto *bytes = static_cast<const char *>(sqlite3_column_blob(stmt, column));
        return bytes ? FilePath::fromNative(QByteArrayView(bytes, sqlite3_column_bytes(stmt, column))) : QString();
    }

    QByteArray encodeExtracted(const ExtractedAttributes &attributes)
    {
        if (attributes.isEmpty())
            return {};
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out.setVersion(QDataStream::Qt_6_4);
        out << attributes;
        return bytes;
    }

    int stopWhenAsked(void *stop)
    {
        return static_cast<const std::atomic<bool> *>(stop)->load(std::memory_order_relaxed) ? 1 : 0;
    }

    // SQLite's report on one line, short enough to show a person.
    QString oneLine(QString text)
    {
        text.remove(QStringLiteral("*** in database main ***"));
        text.replace(QLatin1Char('\n'), QStringLiteral("; "));
        text = text.trimmed();
        while (text.startsWith(QLatin1Char(';')))
            text = text.sliced(1).trimmed();
        if (text.size() > 200)
            text = text.left(200) + QStringLiteral("…");
        return text;
    }

    ExtractedAttributes decodeExtracted(const void *data, int size)
    {
        ExtractedAttributes attributes;
        if (size <= 0)
            return attributes;
        QByteArray bytes = QByteArray::fromRawData(static_cast<const char *>(data), size);
        QDataStream in(bytes);
        in.setVersion(QDataStream::Qt_6_4);
        in >> attributes;
        // A damaged blob loses the file's extracted attributes, not the file.
        if (in.status() != QDataStream::Ok)
            attributes.clear();
        return attributes;
    }

} // namespace

struct Store::Statements {
    Statement upsert;
    Statement upsertFacts;
    Statement remove;
    Statement removeText;
    Statement insertText;
    Statement metaGet;
    Statement metaSet;
};

Store::Store(QString path)
    : m_path(std::move(path))
{
}

Store::~Store()
{
    close();
}

QString Store::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + QStringLiteral("/velk/index.sqlite");
}

std::unique_ptr<Store> Store::open(const QString &path)
{
    // The store holds every file name and the words inside documents. Its own folder is made private;
    // a store put elsewhere (tests, tools) leaves the folder it was put in alone.
    if (path == defaultPath())
        PrivateFiles::makeFolder(QFileInfo(path).absolutePath());
    else
        QDir().mkpath(QFileInfo(path).absolutePath());
    std::unique_ptr<Store> store(new Store(path));
    if (store->openFile() || store->reset(store->m_openProblem))
        return store;
    return nullptr;
}

bool Store::reset(const QString &why)
{
    // Unreadable, of another version or not a database at all: move it aside and start over. The
    // index is rebuilt from the disk; nothing of the user's is lost.
    close();
    for (const char *suffix : {"", "-wal", "-shm"}) {
        const QString file = m_path + QLatin1StringView(suffix);
        if (QFileInfo::exists(file)) {
            QFile::remove(file + QStringLiteral(".broken"));
            if (QFile::rename(file, file + QStringLiteral(".broken")))
                PrivateFiles::tighten(file + QStringLiteral(".broken"));
            else
                QFile::remove(file);
        }
    }
    m_rebuilt = true;
    if (!openFile())
        return false;
    setMeta(QStringLiteral("rebuiltAt"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
    setMeta(QStringLiteral("rebuiltWhy"), why.isEmpty() ? QStringLiteral("could not be read") : why);
    return true;
}

std::optional<RebuildNote> Store::lastRebuild() const
{
    const QString when = meta(QStringLiteral("rebuiltAt"));
    if (when.isEmpty())
        return std::nullopt;
    return RebuildNote {QDateTime::fromString(when, Qt::ISODateWithMs), meta(QStringLiteral("rebuiltWhy"))};
}

QString Store::lastError() const
{
    return m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QStringLiteral("no database");
}

QString Store::checkWith(const std::atomic<bool> *stop, int flags, const std::function<QString(sqlite3 *)> &check) const
{
    sqlite3 *db = nullptr;
    if (sqlite3_open_v2(FilePath::toNative(m_path).constData(), &db, flags | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) {
        const QString problem = QStringLiteral("could not be read: ") + QString::fromUtf8(sqlite3_errmsg(db));
        sqlite3_close_v2(db);
        return problem;
    }
    sqlite3_busy_timeout(db, 5000);
    if (stop)
        sqlite3_progress_handler(db, 1000, stopWhenAsked, const_cast<std::atomic<bool> *>(stop));
    QString problem = check(db);
    // Stopped part way says nothing about the store.
    if (stop && stop->load())
        problem.clear();
    sqlite3_close_v2(db);
    return problem;
}

QString Store::checkPages(const std::atomic<bool> *stop) const
{
    return checkWith(stop, SQLITE_OPEN_READONLY, [](sqlite3 *db) {
        Statement s;
        if (!s.prepare(db, "PRAGMA quick_check"))
            return QStringLiteral("could not be read: ") + QString::fromUtf8(sqlite3_errmsg(db));
        // One row "ok", or rows that name faults (up to a hundred, several lines to a row); the first
        // says enough.
        QString first;
        int more = 0;
        int rc = SQLITE_OK;
        while ((rc = sqlite3_step(s.stmt)) == SQLITE_ROW) {
            const QStringList lines = columnText(s.stmt, 0).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
            for (const QString &line : lines) {
                if (line == u"ok" || line.startsWith(u"*** in database"))
                    continue;
                if (first.isEmpty())
                    first = oneLine(line);
                else
                    ++more;
            }
        }
        if (first.isEmpty() && rc != SQLITE_DONE)
            first = oneLine(QString::fromUtf8(sqlite3_errmsg(db)));
        if (first.isEmpty())
            return QString();
        return QStringLiteral("integrity check failed: ") + first + (more > 0 ? QStringLiteral(" (and %1 more faults)").arg(more) : QString());
    });
}

QByteArray Store::fileStamp() const
{
    QByteArray stamp;
    const auto add = [&stamp](const QString &path, bool ifNotEmpty) {
        struct stat st;
        if (::stat(FilePath::toNative(path).constData(), &st) != 0 || (ifNotEmpty && st.st_size == 0))
            return;
        stamp += QByteArray::number(quint64(st.st_ino)) + ' ' + QByteArray::number(qint64(st.st_size)) + ' ' + QByteArray::number(qint64(st.st_ctim.tv_sec))
            + '.' + QByteArray::number(qint64(st.st_ctim.tv_nsec)) + ';';
    };
    add(m_path, false);
    // An empty log is what opening the store makes; one with pages in it has changes not yet in the file.
    add(m_path + QStringLiteral("-wal"), true);
    return stamp;
}

bool Store::checkedEarlier() const
{
    QFile file(m_path + QStringLiteral(".checked"));
    return file.open(QIODevice::ReadOnly) && file.read(4096).trimmed() == fileStamp();
}

void Store::rememberChecked(const QByteArray &stamp) const
{
    const QString path = m_path + QStringLiteral(".checked");
    PrivateFiles::prepareFile(path);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(stamp + '\n');
}

QString Store::checkText(const std::atomic<bool> *stop) const
{
    return checkWith(stop, SQLITE_OPEN_READWRITE, [](sqlite3 *db) {
        const int rc = sqlite3_exec(db, "INSERT INTO texts(texts) VALUES('integrity-check')", nullptr, nullptr, nullptr);
        // Busy: another process writes; the table is checked on another occasion.
        if (rc == SQLITE_OK || rc == SQLITE_BUSY || rc == SQLITE_LOCKED || rc == SQLITE_INTERRUPT)
            return QString();
        return QStringLiteral("integrity check failed: ") + oneLine(QString::fromUtf8(sqlite3_errmsg(db)));
    });
}

bool Store::exec(const char *sql)
{
    return m_db && sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool Store::openFile()
{
    // Made 0600 before SQLite opens it; the -wal and -shm files SQLite makes take the mode of the
    // database file, and ones an earlier version left are tightened here.
    PrivateFiles::prepareFile(m_path);
    PrivateFiles::tighten(m_path + QStringLiteral("-wal"));
    PrivateFiles::tighten(m_path + QStringLiteral("-shm"));
    const auto unreadable = [this] {
        m_openProblem = QStringLiteral("could not be read: ") + lastError();
        return false;
    };
    if (sqlite3_open_v2(FilePath::toNative(m_path).constData(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
        return unreadable();
    sqlite3_busy_timeout(m_db, 5000);
    if (!exec("PRAGMA journal_mode=WAL") || !exec("PRAGMA synchronous=NORMAL"))
        return unreadable();

    // An empty file gets the schema; anything else must carry our version.
    int version = -1;
    {
        Statement s;
        if (!s.prepare(m_db, "PRAGMA user_version") || sqlite3_step(s.stmt) != SQLITE_ROW)
            return unreadable();
        version = sqlite3_column_int(s.stmt, 0);
    }
    int tables = 0;
    {
        Statement s;
        if (!s.prepare(m_db, "SELECT count(*) FROM sqlite_master") || sqlite3_step(s.stmt) != SQLITE_ROW)
            return unreadable();
        tables = sqlite3_column_int(s.stmt, 0);
    }
    if (tables == 0) {
        if (!createSchema())
            return unreadable();
    } else if (version != schemaVersion) {
        m_openProblem = QStringLiteral("schema version %1, expected %2").arg(version).arg(schemaVersion);
        return false;
    }

    m_statements = std::make_unique<Statements>();
    const bool prepared = m_statements->upsert.prepare(m_db,
                              "INSERT OR REPLACE INTO files(id, parent, name, is_dir, is_link, size, mtime, ctime, btime, inode, device, type, extracted, "
                              "extracted_for) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?13, ?8, ?9, ?10, ?11, ?12, ?14)")
        && m_statements->upsertFacts.prepare(m_db,
            "INSERT INTO files(id, parent, name, is_dir, is_link, size, mtime, ctime, btime, inode, device, type) "
            "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?13, ?8, ?9, ?10, ?11) ON CONFLICT(id) DO UPDATE SET parent = excluded.parent, "
            "name = excluded.name, is_dir = excluded.is_dir, is_link = excluded.is_link, size = excluded.size, mtime = excluded.mtime, "
            "ctime = excluded.ctime, btime = excluded.btime, inode = excluded.inode, device = excluded.device, type = excluded.type")
        && m_statements->remove.prepare(m_db, "DELETE FROM files WHERE id = ?1") && m_statements->removeText.prepare(m_db, "DELETE FROM texts WHERE rowid = ?1")
        && m_statements->insertText.prepare(m_db, "INSERT INTO texts(rowid, text) VALUES(?1, ?2)")
        && m_statements->metaGet.prepare(m_db, "SELECT value FROM meta WHERE key = ?1")
        && m_statements->metaSet.prepare(m_db, "INSERT OR REPLACE INTO meta(key, value) VALUES(?1, ?2)");
    if (!prepared) {
        m_statements.reset();
        return unreadable();
    }
    return true;
}

bool Store::createSchema()
{
    return exec("BEGIN")
        && exec("CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT)")
        // Rows are written parents first, so ordering by id gives every parent before its children.
        && exec("CREATE TABLE files(id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, name TEXT NOT NULL, is_dir INTEGER NOT NULL, "
                "is_link INTEGER NOT NULL, size INTEGER NOT NULL, mtime INTEGER NOT NULL, ctime INTEGER NOT NULL, btime INTEGER, "
                "inode INTEGER NOT NULL, device INTEGER NOT NULL, type TEXT NOT NULL, extracted BLOB, extracted_for INTEGER)")
        // Word-prefix search over the text inside files, case and accents folded.
        && exec("CREATE VIRTUAL TABLE texts USING fts5(text, tokenize = 'unicode61 remove_diacritics 2')")
        && exec(QStringLiteral("PRAGMA user_version = %1").arg(schemaVersion).toUtf8().constData()) && exec("COMMIT");
}

void Store::close()
{
    m_statements.reset();
    {
        std::lock_guard guard(m_readerMutex);
        if (m_reader) {
            sqlite3_close_v2(m_reader);
            m_reader = nullptr;
        }
    }
    if (m_db) {
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }
}

qint64 Store::approximateRowCount() const
{
    Statement s;
    if (!m_db || !s.prepare(m_db, "SELECT max(id) FROM files") || sqlite3_step(s.stmt) != SQLITE_ROW)
        return 0;
    return sqlite3_column_int64(s.stmt, 0);
}

bool Store::load(const std::function<void(const Row &)> &visit)
{
    Statement s;
    if (!s.prepare(m_db,
            "SELECT id, parent, name, is_dir, is_link, size, mtime, btime, inode, device, type, extracted, ctime, extracted_for FROM files "
            "ORDER BY id"))
        return false;
    Row row;
    int rc = SQLITE_OK;
    while ((rc = sqlite3_step(s.stmt)) == SQLITE_ROW) {
        row.id = sqlite3_column_int64(s.stmt, 0);
        row.parentId = sqlite3_column_int64(s.stmt, 1);
        row.facts.name = columnName(s.stmt, 2);
        row.facts.isDirectory = sqlite3_column_int(s.stmt, 3);
        row.facts.isSymlink = sqlite3_column_int(s.stmt, 4);
        row.facts.size = sqlite3_column_int64(s.stmt, 5);
        row.facts.modifiedMs = sqlite3_column_int64(s.stmt, 6);
        row.facts.createdMs = sqlite3_column_type(s.stmt, 7) == SQLITE_NULL ? std::nullopt : std::optional(sqlite3_column_int64(s.stmt, 7));
        row.facts.inode = quint64(sqlite3_column_int64(s.stmt, 8));
        row.facts.device = quint64(sqlite3_column_int64(s.stmt, 9));
        row.facts.contentType = columnText(s.stmt, 10);
        row.extracted = decodeExtracted(sqlite3_column_blob(s.stmt, 11), sqlite3_column_bytes(s.stmt, 11));
        row.facts.changedMs = sqlite3_column_int64(s.stmt, 12);
        row.extractedFor = sqlite3_column_int64(s.stmt, 13);
        visit(row);
    }
    return rc == SQLITE_DONE;
}

bool Store::begin()
{
    return exec("BEGIN IMMEDIATE");
}

bool Store::commit()
{
    return exec("COMMIT");
}

void Store::rollback()
{
    exec("ROLLBACK");
}

bool Store::upsert(const Row &row)
{
    if (!m_statements)
        return false;
    sqlite3_stmt *s = row.factsOnly ? m_statements->upsertFacts.stmt : m_statements->upsert.stmt;
    sqlite3_reset(s);
    sqlite3_bind_int64(s, 1, row.id);
    sqlite3_bind_int64(s, 2, row.parentId);
    bindName(s, 3, row.facts.name);
    sqlite3_bind_int(s, 4, row.facts.isDirectory);
    sqlite3_bind_int(s, 5, row.facts.isSymlink);
    sqlite3_bind_int64(s, 6, row.facts.size);
    sqlite3_bind_int64(s, 7, row.facts.modifiedMs);
    if (row.facts.createdMs)
        sqlite3_bind_int64(s, 8, *row.facts.createdMs);
    else
        sqlite3_bind_null(s, 8);
    sqlite3_bind_int64(s, 9, qint64(row.facts.inode));
    sqlite3_bind_int64(s, 10, qint64(row.facts.device));
    bindText(s, 11, row.facts.contentType);
    sqlite3_bind_int64(s, 13, row.facts.changedMs);
    if (row.factsOnly)
        return sqlite3_step(s) == SQLITE_DONE;
    const QByteArray extracted = encodeExtracted(row.extracted);
    if (extracted.isEmpty())
        sqlite3_bind_null(s, 12);
    else
        sqlite3_bind_blob(s, 12, extracted.constData(), int(extracted.size()), SQLITE_TRANSIENT);
    if (row.extractedFor != 0)
        sqlite3_bind_int64(s, 14, row.extractedFor);
    else
        sqlite3_bind_null(s, 14);
    if (sqlite3_step(s) != SQLITE_DONE)
        return false;
    if (row.isNew && row.text.isEmpty())
        return true;

    sqlite3_stmt *drop = m_statements->removeText.stmt;
    sqlite3_reset(drop);
    sqlite3_bind_int64(drop, 1, row.id);
    sqlite3_step(drop);
    if (row.text.isEmpty())
        return true;
    sqlite3_stmt *insert = m_statements->insertText.stmt;
    sqlite3_reset(insert);
    sqlite3_bind_int64(insert, 1, row.id);
    bindText(insert, 2, row.text);
    return sqlite3_step(insert) == SQLITE_DONE;
}

bool Store::remove(qint64 id)
{
    if (!m_statements)
        return false;
    sqlite3_stmt *drop = m_statements->removeText.stmt;
    sqlite3_reset(drop);
    sqlite3_bind_int64(drop, 1, id);
    sqlite3_step(drop);
    sqlite3_stmt *s = m_statements->remove.stmt;
    sqlite3_reset(s);
    sqlite3_bind_int64(s, 1, id);
    return sqlite3_step(s) == SQLITE_DONE;
}

bool Store::openReader() const
{
    if (m_reader)
        return true;
    if (sqlite3_open_v2(FilePath::toNative(m_path).constData(), &m_reader, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) {
        sqlite3_close_v2(m_reader);
        m_reader = nullptr;
        return false;
    }
    sqlite3_busy_timeout(m_reader, 2000);
    return true;
}

std::vector<qint64> Store::matchText(const QString &ftsQuery) const
{
    std::vector<qint64> ids;
    std::lock_guard guard(m_readerMutex);
    Statement s;
    if (!openReader() || !s.prepare(m_reader, "SELECT rowid FROM texts WHERE texts MATCH ?1"))
        return ids;
    bindText(s.stmt, 1, ftsQuery);
    int rc = SQLITE_OK;
    while ((rc = sqlite3_step(s.stmt)) == SQLITE_ROW)
        ids.push_back(sqlite3_column_int64(s.stmt, 0));
    noteReadFailure(rc);
    return ids;
}

void Store::noteReadFailure(int rc) const
{
    // Damage, as opposed to a busy or interrupted read, is worth a check of the whole store.
    const int primary = rc & 0xff;
    if (primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB)
        m_readFailure = QStringLiteral("could not be read: ") + QString::fromUtf8(sqlite3_errstr(rc));
}

QString Store::takeReadFailure() const
{
    std::lock_guard guard(m_readerMutex);
    return std::exchange(m_readFailure, QString());
}

void Store::forEachText(const std::function<void(qint64, const QString &)> &visit) const
{
    std::lock_guard guard(m_readerMutex);
    Statement s;
    if (!openReader() || !s.prepare(m_reader, "SELECT rowid, text FROM texts"))
        return;
    int rc = SQLITE_OK;
    while ((rc = sqlite3_step(s.stmt)) == SQLITE_ROW)
        visit(sqlite3_column_int64(s.stmt, 0), columnText(s.stmt, 1));
    noteReadFailure(rc);
}

qint64 Store::textBytes() const
{
    std::lock_guard guard(m_readerMutex);
    Statement s;
    if (!openReader() || !s.prepare(m_reader, "SELECT coalesce(sum(length(text)), 0) FROM texts") || sqlite3_step(s.stmt) != SQLITE_ROW)
        return 0;
    return sqlite3_column_int64(s.stmt, 0);
}

QString Store::meta(const QString &key) const
{
    if (!m_statements)
        return {};
    sqlite3_stmt *s = m_statements->metaGet.stmt;
    sqlite3_reset(s);
    bindText(s, 1, key);
    return sqlite3_step(s) == SQLITE_ROW ? columnText(s, 0) : QString();
}

void Store::setMeta(const QString &key, const QString &value)
{
    if (!m_statements)
        return;
    sqlite3_stmt *s = m_statements->metaSet.stmt;
    sqlite3_reset(s);
    bindText(s, 1, key);
    bindText(s, 2, value);
    sqlite3_step(s);
}

} // namespace mdindex
