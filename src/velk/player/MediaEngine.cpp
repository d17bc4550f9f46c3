#include "MediaEngine.h"

#include <QAudioOutput>
#include <QMediaPlayer>

#include <limits>

MediaEngine::MediaEngine(QObject *parent)
    : PlayerEngine(parent)
{
    // Qt 6.4's FFmpeg backend crashes on machines without an audio device; GStreamer copes.
    if (!qEnvironmentVariableIsSet("QT_MEDIA_BACKEND"))
        qputenv("QT_MEDIA_BACKEND", "gstreamer");
    m_player = new QMediaPlayer(this);
    m_output = new QAudioOutput(this);
    m_player->setAudioOutput(m_output);

    m_ticker.setInterval(250);
    connect(&m_ticker, &QTimer::timeout, this, [this] { Q_EMIT timeObserved(double(m_player->position()) / 1000.0); });
    connect(m_player, &QMediaPlayer::playbackStateChanged, this, [this](QMediaPlayer::PlaybackState state) {
        if (state == QMediaPlayer::PlayingState)
            m_ticker.start();
        else
            m_ticker.stop();
    });
    connect(m_player, &QMediaPlayer::mediaStatusChanged, this, [this](QMediaPlayer::MediaStatus status) {
        if (status != QMediaPlayer::EndOfMedia)
            return;
        // Told later, like a notification: by then the item may have been replaced, which the
        // listener can see by its number.
        const Item ended = m_current;
        QMetaObject::invokeMethod(
            this, [this, ended] { Q_EMIT itemEnded(ended); }, Qt::QueuedConnection);
    });
}

MediaEngine::~MediaEngine() = default;

PlayerEngine::Item MediaEngine::replaceCurrentItem(const QUrl &url)
{
    m_player->setSource(url);
    m_current = ++m_lastItem;
    return m_current;
}

double MediaEngine::currentItemDuration() const
{
    const qint64 ms = m_player->duration();
    return ms > 0 ? double(ms) / 1000.0 : std::numeric_limits<double>::quiet_NaN();
}

void MediaEngine::play()
{
    m_player->play();
}

void MediaEngine::pause()
{
    m_player->pause();
}

void MediaEngine::seek(double seconds)
{
    m_player->setPosition(qint64(seconds * 1000.0));
}

void MediaEngine::setVolume(float volume)
{
    m_output->setVolume(volume);
}
