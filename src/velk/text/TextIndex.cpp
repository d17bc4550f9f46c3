#include "TextIndex.h"
#include "FilePath.h"

#include "PrivateFiles.h"
#include "text/Readable.h"

#include <QCoro/QCoroFuture>
#include <QDir>
#include <QFile>
#include <QFutureWatcher>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTextBoundaryFinder>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

#include <sys/resource.h>
#include <unistd.h>

namespace {

const QString kModified = QStringLiteral("modified");
const QString kText = QStringLiteral("text");

// Background work yields to everything else on the machine. Niceness is per thread on Linux and
// cannot be raised back without privileges, hence threads of our own for it.
void lowerThreadPriority()
{
    thread_local bool lowered = false;
    if (!lowered) {
        setpriority(PRIO_PROCESS, id_t(gettid()), 10);
        lowered = true;
    }
}

// Reading never fails: a crash-free empty text stands for anything that went wrong.
QString readFile(const QString &path)
{
    try {
        return TextRecognizer::text(path);
    } catch (...) {
        return {};
    }
}

qsizetype graphemeCount(const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

} // namespace

TextIndex::TextIndex(QObject *parent)
    : QObject(parent)
    , m_path(storePath())
{
    m_readers.setMaxThreadCount(kParallelReads);
    m_writer.setMaxThreadCount(1);
    load();
}

TextIndex::~TextIndex()
{
    m_readers.waitForDone();
    m_writer.waitForDone();
}

QString TextIndex::storePath()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Velk");
    // A folder that cannot be made only means that saves fail quietly.
    PrivateFiles::makeFolder(folder);
    const QString path = folder + QStringLiteral("/text-index.json");
    PrivateFiles::tighten(path);
    return path;
}

double TextIndex::seconds(const QDateTime &date)
{
    return double(date.toMSecsSinceEpoch()) / 1000.0;
}

QString TextIndex::folded(const QString &text)
{
    const QString decomposed = text.normalized(QString::NormalizationForm_D);
    QString bare;
    bare.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        const QChar::Category category = c.category();
        if (category != QChar::Mark_NonSpacing && category != QChar::Mark_SpacingCombining && category != QChar::Mark_Enclosing)
            bare.append(c);
    }
    return bare.toCaseFolded();
}

void TextIndex::load()
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return;
    // One bad entry spoils the whole file: it is taken as it is or not at all.
    QHash<QString, Entry> entries;
    const QJsonObject root = document.object();
    entries.reserve(root.size());
    for (auto it = root.constBegin(); it != root.constEnd(); ++it) {
        const QJsonObject value = it.value().toObject();
        const QJsonValue modified = value.value(kModified);
        const QJsonValue text = value.value(kText);
        if (!it.value().isObject() || !modified.isDouble() || !text.isString())
            return;
        entries.insert(it.key(), Entry {modified.toDouble(), text.toString(), folded(text.toString())});
    }
    m_entries = std::move(entries);
    setIndexedCount(m_entries.size());
}

void TextIndex::index(const QList<FileItem> &items)
{
    if (m_worker)
        return;
    QList<FileItem> work;
    for (const FileItem &item : items) {
        if (!TextRecognizer::canRead(item) || item.size >= kMaxFileSize)
            continue;
        const auto entry = m_entries.constFind(item.path());
        if (entry != m_entries.cend() && entry->modified == seconds(item.modified))
            continue;
        // Every file counts as on this disk: the desktop has no cloud placeholders whose reading
        // would force a download.
        work << item;
    }
    if (work.isEmpty())
        return;

    m_worker = true;
    m_pending = std::move(work);
    m_next = 0;
    setIsIndexing(true);
    setDone(0);
    setTotal(m_pending.size());
    while (m_reading < kParallelReads && m_next < m_pending.size())
        readNext();
}

void TextIndex::readNext()
{
    const FileItem item = m_pending[m_next++];
    ++m_reading;
    // The watcher is a child: once the index is gone, no result comes back.
    auto *watcher = new QFutureWatcher<QString>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, item] {
        watcher->deleteLater();
        finishedReading(item, watcher->result());
    });
    watcher->setFuture(QtConcurrent::run(&m_readers, [path = item.path()] {
        lowerThreadPriority();
        return readFile(path);
    }));
}

void TextIndex::finishedReading(const FileItem &item, const QString &text)
{
    --m_reading;
    store(text, item);
    setDone(m_done + 1);
    if (m_done % kSaveEvery == 0 && m_dirty)
        save();
    if (m_next < m_pending.size())
        readNext();
    else if (m_reading == 0)
        finish();
}

void TextIndex::store(const QString &text, const FileItem &item)
{
    m_entries.insert(item.path(), Entry {seconds(item.modified), text, folded(text)});
    setIndexedCount(m_entries.size());
    m_dirty = true;
}

void TextIndex::finish()
{
    if (m_dirty)
        save();
    setIsIndexing(false);
    m_worker = false;
    m_pending.clear();
    m_next = 0;
}

void TextIndex::save()
{
    m_dirty = false;
    auto *watcher = new QFutureWatcher<qint64>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        watcher->deleteLater();
        if (const qint64 count = watcher->result(); count >= 0)
            Q_EMIT saved(count);
    });
    // The copy shares the entries until the main thread changes them.
    watcher->setFuture(QtConcurrent::run(&m_writer, [entries = m_entries, path = m_path] {
        lowerThreadPriority();
        return write(entries, path);
    }));
}

qint64 TextIndex::write(const QHash<QString, Entry> &entries, const QString &path)
{
    QJsonObject root;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it)
        root.insert(it.key(), QJsonObject {{kModified, it->modified}, {kText, it->text}});
    // Made 0600 first: QSaveFile keeps the mode of the file it replaces.
    PrivateFiles::prepareFile(path);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return -1;
    file.write(QJsonDocument(root).toJson(QJsonDocument::Compact));
    return file.commit() ? entries.size() : -1;
}

QList<QUrl> TextIndex::search(const QStringList &terms) const
{
    QStringList wanted;
    for (const QString &term : terms) {
        if (graphemeCount(term) >= 2)
            wanted << folded(term);
    }
    if (wanted.isEmpty())
        return {};
    QList<QUrl> found;
    for (auto it = m_entries.cbegin(); it != m_entries.cend(); ++it) {
        if (it->text.isEmpty())
            continue;
        if (std::all_of(wanted.cbegin(), wanted.cend(), [&](const QString &term) { return it->folded.contains(term); }))
            found << FilePath::toUrl(it.key());
    }
    return found;
}

std::optional<QString> TextIndex::currentText(const FileItem &item) const
{
    const auto entry = m_entries.constFind(item.path());
    if (entry == m_entries.cend() || entry->modified != seconds(item.modified))
        return std::nullopt;
    return entry->text;
}

// Kept plain for GCC 12, which destroys some coroutine locals twice: no declarations in conditions,
// no temporaries in the awaited expression.
QCoro::Task<QString> TextIndex::text(FileItem item)
{
    std::optional<QString> text = currentText(item);
    if (!text) {
        const QPointer<TextIndex> self(this);
        // An explicit request runs at normal priority, beside any background run.
        QFuture<QString> reading = QtConcurrent::run(QThreadPool::globalInstance(), readFile, item.path());
        text = co_await reading;
        if (self) {
            store(*text, item);
            if (m_dirty)
                save();
        }
    }
    co_return *text;
}

void TextIndex::forget(const QSet<QUrl> &urls)
{
    for (const QUrl &url : urls)
        m_entries.remove(FilePath::fromUrl(url));
    setIndexedCount(m_entries.size());
    save();
}

void TextIndex::setIsIndexing(bool value)
{
    if (m_isIndexing != value) {
        m_isIndexing = value;
        Q_EMIT isIndexingChanged();
    }
}

void TextIndex::setDone(qint64 value)
{
    if (m_done != value) {
        m_done = value;
        Q_EMIT doneChanged();
    }
}

void TextIndex::setTotal(qint64 value)
{
    if (m_total != value) {
        m_total = value;
        Q_EMIT totalChanged();
    }
}

void TextIndex::setIndexedCount(qint64 value)
{
    if (m_indexedCount != value) {
        m_indexedCount = value;
        Q_EMIT indexedCountChanged();
    }
}
