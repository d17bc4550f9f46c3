#pragma once

#include "models/FileItem.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QThreadPool>
#include <QUrl>

#include <optional>

// The words seen in the user's pictures and PDFs, so that a search finds a screenshot by what it
// shows. Lives on the main thread for the whole run. Reading happens in the background, two files at a
// time at low priority, and what was read is kept in one JSON file; a file is read again only when its
// modification date changes.
class TextIndex : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isIndexing READ isIndexing NOTIFY isIndexingChanged)
    Q_PROPERTY(qint64 done READ done NOTIFY doneChanged)
    Q_PROPERTY(qint64 total READ total NOTIFY totalChanged)
    Q_PROPERTY(qint64 indexedCount READ indexedCount NOTIFY indexedCountChanged)

public:
    // Files of this size and above are left out of background runs.
    static constexpr qint64 kMaxFileSize = 60'000'000;
    // Recognitions at once in a background run, and finished files between saves.
    static constexpr int kParallelReads = 2;
    static constexpr int kSaveEvery = 40;

    // Reads the stored index; a missing or damaged file gives an empty one.
    explicit TextIndex(QObject *parent = nullptr);
    // Waits for reads and saves under way.
    ~TextIndex() override;

    bool isIndexing() const { return m_isIndexing; }
    qint64 done() const { return m_done; }
    qint64 total() const { return m_total; }
    qint64 indexedCount() const { return m_indexedCount; }

    // Starts a background run over the readable, small enough, new or changed files among `items`, in
    // their order, and returns at once. Does nothing while a run is active or when nothing is left.
    void index(const QList<FileItem> &items);
    // The files whose text holds every term of at least two characters, ignoring case and accents; no
    // such term gives nothing. In no particular order.
    QList<QUrl> search(const QStringList &terms) const;
    // The text of one file: from the index when it is current, else read now (whatever its size) and
    // stored.
    QCoro::Task<QString> text(FileItem item);
    // The stored text when its date is the item's; none when the file was not read as it is now.
    std::optional<QString> currentText(const FileItem &item) const;
    // Drops the entries of these files and saves.
    void forget(const QSet<QUrl> &urls);

    // $XDG_DATA_HOME/Velk/text-index.json, the folder made on the way.
    static QString storePath();
    // A file date as stored: seconds since 1970 with the milliseconds.
    static double seconds(const QDateTime &date);
    // Text as search compares it: decomposed, accents dropped, case folded.
    static QString folded(const QString &text);

Q_SIGNALS:
    void isIndexingChanged();
    void doneChanged();
    void totalChanged();
    void indexedCountChanged();
    // A save has reached the disk with this many entries.
    void saved(qint64 entries);

private:
    struct Entry {
        double modified = 0;
        QString text;
        // Kept for search only, never stored.
        QString folded;
    };

    void load();
    void readNext();
    void finishedReading(const FileItem &item, const QString &text);
    void store(const QString &text, const FileItem &item);
    void finish();
    void save();
    static qint64 write(const QHash<QString, Entry> &entries, const QString &path);

    void setIsIndexing(bool value);
    void setDone(qint64 value);
    void setTotal(qint64 value);
    void setIndexedCount(qint64 value);

    QString m_path;
    QHash<QString, Entry> m_entries;
    bool m_dirty = false;
    // Set from index() to finish(); forbids a second run.
    bool m_worker = false;
    QList<FileItem> m_pending;
    qsizetype m_next = 0;
    int m_reading = 0;

    bool m_isIndexing = false;
    qint64 m_done = 0;
    qint64 m_total = 0;
    qint64 m_indexedCount = 0;

    // Background reads, and saves one after the other so that the latest state is written last; both
    // on threads of low priority.
    QThreadPool m_readers;
    QThreadPool m_writer;
};
