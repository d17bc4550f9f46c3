#include "TestHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QStandardPaths>
#include <QSvgRenderer>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

namespace {
const QString appId = QStringLiteral("org.velk.Velk");

// The keys of a desktop entry's main group.
QHash<QString, QString> desktopEntry(const QString &path)
{
    QHash<QString, QString> keys;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return keys;
    bool inMain = false;
    for (const QByteArray &raw : file.readAll().split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.startsWith(QLatin1Char('[')))
            inMain = line == QStringLiteral("[Desktop Entry]");
        else if (inMain && line.contains(QLatin1Char('=')) && !line.startsWith(QLatin1Char('#')))
            keys.insert(line.section(QLatin1Char('='), 0, 0).trimmed(), line.section(QLatin1Char('='), 1).trimmed());
    }
    return keys;
}

struct Metainfo {
    QString id;
    QString launchable;
    QStringList binaries;
    QStringList releases;
};

Metainfo metainfo(const QString &path)
{
    Metainfo info;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return info;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const auto name = xml.name();
        if (name == QLatin1StringView("id"))
            info.id = xml.readElementText();
        else if (name == QLatin1StringView("launchable"))
            info.launchable = xml.readElementText();
        else if (name == QLatin1StringView("binary"))
            info.binaries.append(xml.readElementText());
        else if (name == QLatin1StringView("release"))
            info.releases.append(xml.attributes().value(QLatin1StringView("version")).toString());
    }
    return xml.hasError() ? Metainfo {} : info;
}

// Runs a program to its end; its exit code, -1 when it could not start or did not finish.
int run(const QString &program, const QStringList &arguments, QString *output = nullptr, const QProcessEnvironment &env = {})
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    if (!env.isEmpty())
        process.setProcessEnvironment(env);
    process.start(program, arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
        return -1;
    if (output)
        *output = QString::fromUtf8(process.readAll());
    return process.exitCode();
}
} // namespace

// `cmake --install` into a fresh prefix places a program that a desktop can list, a software centre can
// describe and a person can start: the files agree with each other, the freedesktop validators accept
// them, and the installed programs run and find their installed worker.
class TestInstall : public QObject
{
    Q_OBJECT

    QTemporaryDir m_prefix;

    QString installed(const QString &relative) const { return QDir(m_prefix.path()).filePath(relative); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_prefix.isValid());
        QString log;
        const int code
            = run(QStringLiteral(VELK_CMAKE), {QStringLiteral("--install"), QStringLiteral(VELK_BUILD_DIR), QStringLiteral("--prefix"), m_prefix.path()}, &log);
        QVERIFY2(code == 0, qPrintable(log));
    }

    void everythingLandsInItsPlace()
    {
        for (const QString &program : {QStringLiteral("bin/velk"), QStringLiteral("bin/velk-find"), QStringLiteral("libexec/velk/velk-worker")}) {
            const QFileInfo info(installed(program));
            QVERIFY2(info.isFile() && info.isExecutable(), qPrintable(program));
        }
        for (const QString &file : {QStringLiteral("share/applications/%1.desktop"), QStringLiteral("share/metainfo/%1.metainfo.xml"),
                 QStringLiteral("share/icons/hicolor/scalable/apps/%1.svg"), QStringLiteral("share/icons/hicolor/symbolic/apps/%1-symbolic.svg")})
            QVERIFY2(QFileInfo(installed(file.arg(appId))).isFile(), qPrintable(file.arg(appId)));
        // Nothing else of the build tree comes along: no tests, benchmarks or fixture tools.
        QCOMPARE(QDir(installed(QStringLiteral("bin"))).entryList(QDir::Files), (QStringList {QStringLiteral("velk"), QStringLiteral("velk-find")}));
    }

    // The desktop entry names the installed program and icon; the metadata names the entry, the programs
    // and the version the programs report.
    void filesAgreeWithEachOther()
    {
        const auto entry = desktopEntry(installed(QStringLiteral("share/applications/%1.desktop").arg(appId)));
        QCOMPARE(entry.value(QStringLiteral("Type")), QStringLiteral("Application"));
        QCOMPARE(entry.value(QStringLiteral("Icon")), appId);
        const QString exec = entry.value(QStringLiteral("Exec")).section(QLatin1Char(' '), 0, 0);
        QVERIFY2(QFileInfo(installed(QStringLiteral("bin/") + exec)).isExecutable(), qPrintable(exec));

        const Metainfo info = metainfo(installed(QStringLiteral("share/metainfo/%1.metainfo.xml").arg(appId)));
        QCOMPARE(info.id, appId);
        QCOMPARE(info.launchable, appId + QStringLiteral(".desktop"));
        QCOMPARE(info.binaries, (QStringList {QStringLiteral("velk"), QStringLiteral("velk-find")}));
        for (const QString &binary : info.binaries)
            QVERIFY2(QFileInfo(installed(QStringLiteral("bin/") + binary)).isExecutable(), qPrintable(binary));
        QVERIFY(!info.releases.isEmpty());
        QCOMPARE(info.releases.first(), QStringLiteral(VELK_VERSION));
    }

    void validatorsAcceptTheMetadata()
    {
        const QString desktopValidate = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
        const QString appstreamcli = QStandardPaths::findExecutable(QStringLiteral("appstreamcli"));
        if (desktopValidate.isEmpty() || appstreamcli.isEmpty())
            QSKIP("desktop-file-validate or appstreamcli is not installed (scripts/install-deps installs them)");
        QString out;
        QVERIFY2(run(desktopValidate, {installed(QStringLiteral("share/applications/%1.desktop").arg(appId))}, &out) == 0, qPrintable(out));
        // desktop-file-validate prints hints without failing; there should be none either.
        QVERIFY2(out.trimmed().isEmpty(), qPrintable(out));
        QVERIFY2(run(appstreamcli,
                     {QStringLiteral("validate"), QStringLiteral("--no-net"), installed(QStringLiteral("share/metainfo/%1.metainfo.xml").arg(appId))}, &out)
                == 0,
            qPrintable(out));
    }

    // The icons draw at the smallest and a large size in Qt's own SVG renderer, which knows no masks or
    // filters: solid where the mark is, clear in the corners. The fixed sizes drawn at build time are the
    // size their folder says.
    void iconsDraw()
    {
        for (const QString &file : {QStringLiteral("scalable/apps/%1.svg"), QStringLiteral("symbolic/apps/%1-symbolic.svg")}) {
            QSvgRenderer svg(installed(QStringLiteral("share/icons/hicolor/") + file.arg(appId)));
            QVERIFY2(svg.isValid(), qPrintable(file));
            QCOMPARE(svg.viewBoxF().width(), svg.viewBoxF().height());
            for (const int size : {16, 256}) {
                QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
                image.fill(Qt::transparent);
                QPainter painter(&image);
                svg.render(&painter);
                painter.end();
                QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
                QCOMPARE(qAlpha(image.pixel(size - 1, size - 1)), 0);
                QCOMPARE(qAlpha(image.pixel(size / 4, size * 13 / 16)), 255);
            }
        }
        for (const int size : {48, 128, 256}) {
            const QString png = installed(QStringLiteral("share/icons/hicolor/%1x%1/apps/%2.png").arg(size).arg(appId));
            if (!QFileInfo::exists(png))
                continue;
            QCOMPARE(QImage(png).size(), QSize(size, size));
        }
    }

    void installedProgramsRunWithTheirWorker()
    {
        QString out;
        for (const QString &program : {QStringLiteral("bin/velk"), QStringLiteral("bin/velk-find")}) {
            QCOMPARE(run(installed(program), {QStringLiteral("--version")}, &out), 0);
            QVERIFY2(out.contains(QStringLiteral(VELK_VERSION)), qPrintable(out));
        }

        TestHome home;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("VELK_WORKER"));
        QCOMPARE(run(installed(QStringLiteral("bin/velk-find")), {QStringLiteral("--status")}, &out, env), 0);
        QString worker;
        for (const QString &line : out.split(QLatin1Char('\n'))) {
            if (line.startsWith(QStringLiteral("Worker:")))
                worker = line.mid(7).trimmed();
        }
        QCOMPARE(worker, QFileInfo(installed(QStringLiteral("libexec/velk/velk-worker"))).canonicalFilePath());
    }
};

QTEST_MAIN(TestInstall)
#include "tst_install.moc"
