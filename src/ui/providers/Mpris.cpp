#include "Mpris.h"

#include "player/Player.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>

namespace {
const QString objectPath = QStringLiteral("/org/mpris/MediaPlayer2");
}

QString Mpris::serviceName()
{
    return QStringLiteral("org.mpris.MediaPlayer2.velk");
}

Mpris::Mpris(Player &player, QObject *parent)
    : QObject(parent)
{
    new MprisRoot(this);
    new MprisPlayer(this, player);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    // A second Velk keeps the name of the first; the desktop shows one player then.
    m_registered = bus.registerObject(objectPath, this) && bus.registerService(serviceName());
}

Mpris::~Mpris()
{
    if (!m_registered)
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterService(serviceName());
    bus.unregisterObject(objectPath);
}

MprisRoot::MprisRoot(QObject *parent)
    : QDBusAbstractAdaptor(parent)
{
}

MprisPlayer::MprisPlayer(QObject *parent, Player &player)
    : QDBusAbstractAdaptor(parent)
    , m_player(player)
{
    connect(&player, &Player::isPlayingChanged, this, [this] { announce({QStringLiteral("PlaybackStatus")}); });
    connect(&player, &Player::currentChanged, this, [this] {
        announce({QStringLiteral("Metadata"), QStringLiteral("PlaybackStatus"), QStringLiteral("CanPlay"), QStringLiteral("CanGoNext")});
    });
    connect(&player, &Player::durationChanged, this, [this] { announce({QStringLiteral("Metadata")}); });
    connect(&player, &Player::volumeChanged, this, [this] { announce({QStringLiteral("Volume")}); });
}

QDBusObjectPath MprisPlayer::trackId(qint64 index)
{
    return QDBusObjectPath(QStringLiteral("/org/velk/Velk/track/%1").arg(index));
}

QString MprisPlayer::playbackStatus() const
{
    if (!m_player.current())
        return QStringLiteral("Stopped");
    return m_player.isPlaying() ? QStringLiteral("Playing") : QStringLiteral("Paused");
}

QVariantMap MprisPlayer::metadata() const
{
    const auto track = m_player.current();
    if (!track)
        return {{QStringLiteral("mpris:trackid"), QVariant::fromValue(QDBusObjectPath(QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack")))}};
    QVariantMap data {
        {QStringLiteral("mpris:trackid"), QVariant::fromValue(trackId(m_player.indexOrNone()))},
        {QStringLiteral("mpris:length"), qlonglong(m_player.duration() * 1e6)},
        {QStringLiteral("xesam:title"), track->displayTitle()},
        {QStringLiteral("xesam:url"), track->url.toString(QUrl::FullyEncoded)},
    };
    if (track->artist)
        data.insert(QStringLiteral("xesam:artist"), QStringList {*track->artist});
    if (track->album)
        data.insert(QStringLiteral("xesam:album"), *track->album);
    return data;
}

double MprisPlayer::volume() const
{
    return m_player.volume();
}

void MprisPlayer::setVolume(double volume)
{
    m_player.setVolume(std::clamp(volume, 0.0, 1.0));
}

qlonglong MprisPlayer::position() const
{
    return qlonglong(m_player.currentTime() * 1e6);
}

bool MprisPlayer::canControl() const
{
    return m_player.current().has_value();
}

void MprisPlayer::Next()
{
    m_player.next();
}

void MprisPlayer::Previous()
{
    m_player.previous();
}

void MprisPlayer::Pause()
{
    if (m_player.isPlaying())
        m_player.togglePlay();
}

void MprisPlayer::PlayPause()
{
    m_player.togglePlay();
}

void MprisPlayer::Stop()
{
    Pause();
}

void MprisPlayer::Play()
{
    if (!m_player.isPlaying())
        m_player.togglePlay();
}

void MprisPlayer::Seek(qlonglong offset)
{
    m_player.seek(std::max(0.0, m_player.currentTime() + double(offset) / 1e6));
    Q_EMIT Seeked(position());
}

void MprisPlayer::SetPosition(const QDBusObjectPath &track, qlonglong at)
{
    if (track != trackId(m_player.indexOrNone()) || at < 0 || double(at) / 1e6 > m_player.duration())
        return;
    m_player.seek(double(at) / 1e6);
    Q_EMIT Seeked(position());
}

void MprisPlayer::announce(const QStringList &names)
{
    QVariantMap changed;
    for (const QString &name : names)
        changed.insert(name, property(name.toLatin1().constData()));
    QDBusMessage signal = QDBusMessage::createSignal(objectPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"));
    signal << QStringLiteral("org.mpris.MediaPlayer2.Player") << changed << QStringList();
    QDBusConnection::sessionBus().send(signal);
}
