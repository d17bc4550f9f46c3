#include "PrivateBus.h"
#include "player/Player.h"
#include "Mpris.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The player lives in this very thread, so every call waits with the event loop running.
QVariant get(QDBusConnection &bus, const QString &interface, const QString &name)
{
    QDBusInterface properties(Mpris::serviceName(), u"/org/mpris/MediaPlayer2"_s, u"org.freedesktop.DBus.Properties"_s, bus);
    const QDBusMessage reply = properties.call(QDBus::BlockWithGui, u"Get"_s, interface, name);
    return reply.arguments().isEmpty() ? QVariant() : reply.arguments().first().value<QDBusVariant>().variant();
}

bool set(QDBusConnection &bus, const QString &name, const QVariant &value)
{
    QDBusInterface properties(Mpris::serviceName(), u"/org/mpris/MediaPlayer2"_s, u"org.freedesktop.DBus.Properties"_s, bus);
    return properties.call(QDBus::BlockWithGui, u"Set"_s, u"org.mpris.MediaPlayer2.Player"_s, name, QVariant::fromValue(QDBusVariant(value))).type()
        == QDBusMessage::ReplyMessage;
}

const QString rootInterface = u"org.mpris.MediaPlayer2"_s;
const QString playerInterface = u"org.mpris.MediaPlayer2.Player"_s;

} // namespace

// The player on a session bus of the test's own, asked as a desktop's media controls ask.
class TestMpris : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrivateBus> m_bus;

private Q_SLOTS:
    void initTestCase()
    {
        m_bus = std::make_unique<PrivateBus>();
        if (m_bus->address.isEmpty())
            QSKIP(qPrintable(m_bus->error));
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address.toUtf8());
    }

    void answersTheMediaControls()
    {
        Player player;
        auto mpris = std::make_unique<Mpris>(player);
        QVERIFY(mpris->isRegistered());

        QDBusConnection client = QDBusConnection::connectToBus(m_bus->address, u"controls"_s);
        QDBusInterface remote(Mpris::serviceName(), u"/org/mpris/MediaPlayer2"_s, playerInterface, client);
        QCOMPARE(get(client, rootInterface, u"Identity"_s).toString(), u"Velk"_s);
        QCOMPARE(get(client, rootInterface, u"DesktopEntry"_s).toString(), u"org.velk.Velk"_s);

        // Nothing to play: stopped, and the buttons that need a track are off.
        QCOMPARE(get(client, playerInterface, u"PlaybackStatus"_s).toString(), u"Stopped"_s);
        QCOMPARE(get(client, playerInterface, u"CanGoNext"_s).toBool(), false);
        QCOMPARE(remote.call(QDBus::BlockWithGui, u"PlayPause"_s).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(player.isPlaying(), false);

        // The volume goes both ways, held between silence and full.
        QVERIFY(set(client, u"Volume"_s, 0.25));
        QCOMPARE(player.volume(), 0.25);
        QVERIFY(set(client, u"Volume"_s, 3.0));
        QCOMPARE(player.volume(), 1.0);
        player.setVolume(0.5);
        QCOMPARE(get(client, playerInterface, u"Volume"_s).toDouble(), 0.5);

        // The name goes with the player.
        mpris.reset();
        QTRY_VERIFY(!client.interface()->isServiceRegistered(Mpris::serviceName()).value());
    }
};

QTEST_MAIN(TestMpris)
#include "tst_mpris.moc"
