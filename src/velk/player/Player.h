#pragma once

#include "PlayerEngine.h"
#include "models/FileItem.h"

#include <QList>
#include <QObject>

#include <optional>

// The one audio player of the program: a queue of files played one at a time. The queue is whatever
// music list was on screen when a track was started. Lives on the main thread for the whole run.
class Player : public QObject
{
    Q_OBJECT
    Q_PROPERTY(qint64 index READ indexOrNone NOTIFY indexChanged)
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged)
    // The track on show; an invalid item when none.
    Q_PROPERTY(FileItem currentItem READ currentItem NOTIFY currentChanged)
    Q_PROPERTY(double currentTime READ currentTime NOTIFY currentTimeChanged)
    Q_PROPERTY(double duration READ duration NOTIFY durationChanged)
    Q_PROPERTY(bool shuffle READ shuffle WRITE setShuffle NOTIFY shuffleChanged)
    Q_PROPERTY(bool repeatOne READ repeatOne WRITE setRepeatOne NOTIFY repeatOneChanged)
    Q_PROPERTY(double volume READ volume WRITE setVolume NOTIFY volumeChanged)

public:
    // Plays through Qt Multimedia.
    explicit Player(QObject *parent = nullptr);
    // Plays through `engine`, which the player takes over.
    explicit Player(PlayerEngine *engine, QObject *parent = nullptr);

    const QList<FileItem> &queue() const { return m_queue; }
    std::optional<qint64> index() const { return m_index; }
    // -1 when there is no current track.
    qint64 indexOrNone() const { return m_index.value_or(-1); }
    std::optional<FileItem> current() const;
    FileItem currentItem() const { return current().value_or(FileItem()); }
    bool isPlaying() const { return m_isPlaying; }
    double currentTime() const { return m_currentTime; }
    double duration() const { return m_duration; }
    bool shuffle() const { return m_shuffle; }
    void setShuffle(bool on);
    bool repeatOne() const { return m_repeatOne; }
    void setRepeatOne(bool on);
    double volume() const { return m_volume; }
    void setVolume(double volume);

    // Plays `item` with the music of `list` as the queue; a file that is not music in that list plays
    // alone.
    void play(const FileItem &item, const QList<FileItem> &list);
    Q_INVOKABLE void togglePlay();
    Q_INVOKABLE void next();
    // Back to the start of the track after its first three seconds, else to the track before.
    Q_INVOKABLE void previous();
    Q_INVOKABLE void seek(double seconds);

Q_SIGNALS:
    void queueChanged();
    void currentChanged();
    void indexChanged();
    void isPlayingChanged();
    void currentTimeChanged();
    void durationChanged();
    void shuffleChanged();
    void repeatOneChanged();
    void volumeChanged();

private:
    void startCurrent();
    void trackEnded(PlayerEngine::Item item);
    void observeTime(double seconds);
    void setIndex(std::optional<qint64> index);
    void setPlaying(bool playing);
    void setCurrentTime(double seconds);
    void setDuration(double seconds);

    PlayerEngine *m_engine;
    QList<FileItem> m_queue;
    std::optional<qint64> m_index;
    bool m_isPlaying = false;
    double m_currentTime = 0;
    double m_duration = 0;
    bool m_shuffle = false;
    bool m_repeatOne = false;
    double m_volume = 0.8;
};
