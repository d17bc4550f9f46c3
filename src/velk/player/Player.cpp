#include "Player.h"

#include "MediaEngine.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cmath>

Player::Player(QObject *parent)
    : Player(new MediaEngine, parent)
{
}

Player::Player(PlayerEngine *engine, QObject *parent)
    : QObject(parent)
    , m_engine(engine)
{
    m_engine->setParent(this);
    m_engine->setVolume(float(m_volume));
    // Both arrive through the event loop and die with the player, so neither outlives it.
    connect(m_engine, &PlayerEngine::timeObserved, this, &Player::observeTime);
    connect(m_engine, &PlayerEngine::itemEnded, this, &Player::trackEnded);
    connect(this, &Player::indexChanged, this, &Player::currentChanged);
    connect(this, &Player::queueChanged, this, &Player::currentChanged);
}

std::optional<FileItem> Player::current() const
{
    if (!m_index || *m_index < 0 || *m_index >= m_queue.size())
        return std::nullopt;
    return m_queue.at(*m_index);
}

void Player::setShuffle(bool on)
{
    if (m_shuffle == on)
        return;
    m_shuffle = on;
    Q_EMIT shuffleChanged();
}

void Player::setRepeatOne(bool on)
{
    if (m_repeatOne == on)
        return;
    m_repeatOne = on;
    Q_EMIT repeatOneChanged();
}

void Player::setVolume(double volume)
{
    volume = std::isfinite(volume) ? std::clamp(volume, 0.0, 1.0) : m_volume;
    m_engine->setVolume(float(volume));
    if (m_volume == volume)
        return;
    m_volume = volume;
    Q_EMIT volumeChanged();
}

void Player::play(const FileItem &item, const QList<FileItem> &list)
{
    QList<FileItem> music;
    for (const FileItem &entry : list) {
        if (entry.category == FileCategory::music)
            music.append(entry);
    }
    if (!music.contains(item))
        music = {item};
    const qint64 position = music.indexOf(item);
    const bool changed = m_queue != music;
    m_queue = std::move(music);
    if (changed)
        Q_EMIT queueChanged();
    setIndex(std::max<qint64>(position, 0));
    startCurrent();
}

void Player::togglePlay()
{
    if (!current())
        return;
    if (m_isPlaying)
        m_engine->pause();
    else
        m_engine->play();
    setPlaying(!m_isPlaying);
}

void Player::next()
{
    if (!m_index || m_queue.isEmpty())
        return;
    const qint64 count = m_queue.size();
    if (m_shuffle)
        setIndex(QRandomGenerator::global()->bounded(count));
    else
        setIndex((*m_index + 1) % count);
    startCurrent();
}

void Player::previous()
{
    if (!m_index || m_queue.isEmpty())
        return;
    if (m_currentTime > 3.0) {
        m_engine->seek(0);
        setCurrentTime(0);
        return;
    }
    const qint64 count = m_queue.size();
    setIndex((*m_index - 1 + count) % count);
    startCurrent();
}

void Player::seek(double seconds)
{
    m_engine->seek(seconds);
    setCurrentTime(seconds);
}

void Player::startCurrent()
{
    const std::optional<FileItem> item = current();
    if (!item)
        return;
    m_engine->replaceCurrentItem(item->url);
    setCurrentTime(0);
    // The bar has a length before the decoder reports one.
    setDuration(item->duration.value_or(0));
    m_engine->play();
    setPlaying(true);
}

void Player::trackEnded(PlayerEngine::Item item)
{
    // The end of an item that was already replaced is old news.
    if (item == 0 || item != m_engine->currentItem())
        return;
    if (m_repeatOne) {
        m_engine->seek(0);
        setCurrentTime(0);
        m_engine->play();
        return;
    }
    if (m_shuffle) {
        next();
        return;
    }
    if (m_index && *m_index == m_queue.size() - 1) {
        // The queue ran out: the last track stays loaded, ready to play again from its start.
        setPlaying(false);
        m_engine->seek(0);
        setCurrentTime(0);
        return;
    }
    next();
}

void Player::observeTime(double seconds)
{
    setCurrentTime(std::isfinite(seconds) ? seconds : 0);
    if (m_engine->currentItem() == 0)
        return;
    if (const double length = m_engine->currentItemDuration(); std::isfinite(length) && length > 0)
        setDuration(length);
}

void Player::setIndex(std::optional<qint64> index)
{
    if (m_index == index)
        return;
    m_index = index;
    Q_EMIT indexChanged();
}

void Player::setPlaying(bool playing)
{
    if (m_isPlaying == playing)
        return;
    m_isPlaying = playing;
    Q_EMIT isPlayingChanged();
}

void Player::setCurrentTime(double seconds)
{
    if (m_currentTime == seconds)
        return;
    m_currentTime = seconds;
    Q_EMIT currentTimeChanged();
}

void Player::setDuration(double seconds)
{
    if (m_duration == seconds)
        return;
    m_duration = seconds;
    Q_EMIT durationChanged();
}
