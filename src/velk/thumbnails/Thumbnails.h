#pragma once

#include <QHash>
#include <QImage>
#include <QString>
#include <QThread>
#include <QThreadPool>
#include <QUrl>

#include <QCoro/QCoroTask>

#include <algorithm>
#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <optional>

// A picture for a file tile: the file's contents, or its icon when there is none to show.
struct Thumbnail {
    QUrl url;
    QImage image;
    // A generic or file-type icon, not the file's contents.
    bool isIcon = false;
};

// Lets a tile that scrolled away give up its request: a request not yet begun is dropped.
class ThumbnailCancellation
{
public:
    void cancel() { m_flag->store(true); }
    bool isCancelled() const { return m_flag->load(); }
    const std::atomic<bool> *flag() const { return m_flag.get(); }

private:
    std::shared_ptr<std::atomic<bool>> m_flag = std::make_shared<std::atomic<bool>>(false);
};

// The shared picture cache of the program. Pictures come in four sizes (tiers) of 64, 160, 320 and 640
// points, drawn at twice that in pixels; a larger one serves a smaller request. They are kept in memory
// and come from, and go back to, the desktop's shared thumbnail cache.
class Thumbnails
{
public:
    struct Options {
        int countLimit = 2000;
        // Linux tells a program nothing of memory pressure; a budget of pixels stands in for it.
        qint64 byteLimit = qint64(768) << 20;
        // Decoding is heavy: at most this many at once, so that a fast scroll cannot swamp the machine.
        int generators = std::clamp(QThread::idealThreadCount(), 1, 3);
    };

    static constexpr int tiers[] = {64, 160, 320, 640};
    static constexpr double scale = 2.0;

    Thumbnails();
    explicit Thumbnails(Options options);
    ~Thumbnails();
    Thumbnails(const Thumbnails &) = delete;
    Thumbnails &operator=(const Thumbnails &) = delete;

    static Thumbnails &shared();

    // The first tier that is at least `side`; above the largest, the largest.
    static int tier(double side);
    // "320|/home/ada/Pictures/cat.jpg"
    static QString key(int tier, const QString &path);

    // From memory only: this tier's picture or a larger tier's.
    std::optional<Thumbnail> cached(const QUrl &url, double side) const;
    // The cached picture, or one made off the main thread. No value only when cancelled first.
    QCoro::Task<std::optional<Thumbnail>> load(QUrl url, double side, ThumbnailCancellation cancellation = {});

    qsizetype count() const;

private:
    struct Entry {
        QString key;
        Thumbnail thumb;
        qint64 bytes;
    };
    void store(const QString &key, const Thumbnail &thumb);

    Options m_options;
    mutable std::mutex m_mutex;
    // Most recently used first.
    mutable std::list<Entry> m_entries;
    QHash<QString, std::list<Entry>::iterator> m_index;
    qint64 m_bytes = 0;
    QThreadPool m_readers;
    QThreadPool m_generators;
};
