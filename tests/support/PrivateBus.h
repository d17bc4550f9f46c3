#pragma once

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <csignal>
#include <sys/prctl.h>

// A session bus of the test's own that starts no services on demand, so that no real program can
// answer; the dbus-daemon ends with the test. `address` is empty and `error` says why when none could
// start.
class PrivateBus
{
public:
    PrivateBus()
    {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (daemon.isEmpty()) {
            error = QStringLiteral("dbus-daemon is not installed");
            return;
        }
        const QString config = m_folder.filePath(QStringLiteral("bus.conf"));
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write the bus configuration");
        file.write("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                   " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                   "<busconfig>\n  <type>session</type>\n  <listen>unix:dir="
            + QFile::encodeName(m_folder.path())
            + "</listen>\n  <auth>EXTERNAL</auth>\n"
              "  <policy context=\"default\">\n    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
              "    <allow eavesdrop=\"true\"/>\n    <allow own=\"*\"/>\n  </policy>\n</busconfig>\n");
        file.close();
        m_daemon.setProgram(daemon);
        m_daemon.setArguments({QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
        // The bus goes with the test, however the test ends.
        m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        m_daemon.start();
        if (!m_daemon.waitForStarted(10000) || !m_daemon.waitForReadyRead(10000)) {
            error = QStringLiteral("dbus-daemon did not start: ") + QString::fromLocal8Bit(m_daemon.readAllStandardError());
            return;
        }
        address = QString::fromUtf8(m_daemon.readLine().trimmed());
    }
    ~PrivateBus()
    {
        m_daemon.terminate();
        m_daemon.waitForFinished(5000);
    }

    QString address;
    QString error;

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
};
