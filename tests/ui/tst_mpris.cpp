#include "Mpris.h"
#include "PrivateBus.h"
#include "player/Player.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The player lives in this very thread, so every call waits with the event loop running (a
// QDBusInterface would ask the service about itself while the thread waits, and wait for nothing).
QDBusMessage call(QDBusConnection &bus, const QString &interface, const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(Mpris::serviceName(), u"/org/mpris/MediaPlayer2"_s, interface, method);
    message.setArguments(arguments);
    return bus.call(message, QDBus::BlockWithGui, 5000);
}

QVariant get(QDBusConnection &bus, const QString &interface, const QString &name)
{
    const QDBusMessage reply = call(bus, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {interface, name});
    return reply.arguments().isEmpty() ? QVariant() : reply.arguments().first().value<QDBusVariant>().variant();
}

bool set(QDBusConnection &bus, const QString &name, const QVariant &value)
{
    return call(bus, u"org.freedesktop.DBus.Properties"_s, u"Set"_s, {u"org.mpris.MediaPlayer2.Player"_s, name, QVariant::fromValue(QDBusVariant(value))})
               .type()
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
        QCOMPARE(get(client, rootInterface, u"Identity"_s).toString(), u"Velk"_s);
        QCOMPARE(get(client, rootInterface, u"DesktopEntry"_s).toString(), u"org.velk.Velk"_s);

        // Nothing to play: stopped, and the buttons that need a track are off.
        QCOMPARE(get(client, playerInterface, u"PlaybackStatus"_s).toString(), u"Stopped"_s);
        QCOMPARE(get(client, playerInterface, u"CanGoNext"_s).toBool(), false);
        QCOMPARE(call(client, playerInterface, u"PlayPause"_s, {}).type(), QDBusMessage::ReplyMessage);
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
