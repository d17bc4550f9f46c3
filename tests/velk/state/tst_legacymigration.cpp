#include "state/AppState.h"
#include "state/LegacyMigration.h"

#include "Settings.h"
#include "TestHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

namespace {

const QString kEarlierConf = QStringLiteral(".config/Quarn/Quarn.conf");
const QString kConf = QStringLiteral(".config/Velk/Velk.conf");
const QString kOldData = QStringLiteral(".local/share/Quarn");
const QString kNewData = QStringLiteral(".local/share/Velk");

QStringList storedKeys(const TestHome &home)
{
    QSettings settings(home.path(kConf), QSettings::NativeFormat);
    QStringList keys = settings.allKeys();
    keys.sort();
    return keys;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

class TestLegacyMigration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingToMigrate();
    void carriesSettingsAndData();
    void runsOnce();
    void keepsPresentValuesAndFolders();
    void survivesBadInput();
};

void TestLegacyMigration::nothingToMigrate()
{
    TestHome home;
    LegacyMigration::run();
    QCOMPARE(storedKeys(home), QStringList {"migratedFromQuarn"});
    QVERIFY(Settings().flag("migratedFromQuarn"));
    QVERIFY(!QFileInfo::exists(home.path(kNewData)));
}

void TestLegacyMigration::carriesSettingsAndData()
{
    TestHome home;
    const QByteArray earlier = "[General]\npinned=/srv/Music, \"/srv/Team, Q1\"\nviewMode=list\ncardSize=large\nliveTextMode=true\nwindowWidth=900\n";
    home.file(kEarlierConf, earlier);
    home.file(kOldData + "/textindex.json", "{\"entries\":[]}");
    home.file(kOldData + "/cache/a.bin", "a");

    LegacyMigration::run();

    QCOMPARE(storedKeys(home), (QStringList {"cardSize", "liveTextMode", "migratedFromQuarn", "pinned", "viewMode"}));
    Settings settings;
    AppState state(settings);
    QCOMPARE(state.pinned(), (QList<QUrl> {QUrl::fromLocalFile("/srv/Music"), QUrl::fromLocalFile("/srv/Team, Q1")}));
    QVERIFY(state.viewMode() == ViewMode::list);
    QVERIFY(state.cardSize() == CardSize::large);
    QVERIFY(state.liveTextMode());

    QVERIFY(!QFileInfo::exists(home.path(kOldData)));
    QCOMPARE(contents(home.path(kNewData + "/textindex.json")), QByteArray("{\"entries\":[]}"));
    QCOMPARE(contents(home.path(kNewData + "/cache/a.bin")), QByteArray("a"));
    // The earlier product's file is only read.
    QCOMPARE(contents(home.path(kEarlierConf)), earlier);
}

void TestLegacyMigration::runsOnce()
{
    TestHome home;
    home.file(kEarlierConf, "[General]\nviewMode=list\n");
    LegacyMigration::run();
    QVERIFY(!QFileInfo::exists(home.path(kNewData)));

    // Whatever the earlier product holds by now, a second run leaves everything alone.
    home.file(kEarlierConf, "[General]\nviewMode=grid\ncardSize=small\n");
    home.file(kOldData + "/textindex.json", "{}");
    LegacyMigration::run();
    QCOMPARE(Settings().text("viewMode"), QStringLiteral("list"));
    QVERIFY(!Settings().contains("cardSize"));
    QVERIFY(QFileInfo::exists(home.path(kOldData + "/textindex.json")));
    QVERIFY(!QFileInfo::exists(home.path(kNewData)));
}

void TestLegacyMigration::keepsPresentValuesAndFolders()
{
    TestHome home;
    home.file(kEarlierConf, "[General]\nviewMode=list\ncardSize=small\npinned=/srv/old\n");
    home.file(kConf, "[General]\nviewMode=grid\npinned=@Invalid()\n");
    home.file(kOldData + "/textindex.json", "old");
    // Present though empty: nothing is moved into it or over it.
    home.folder(kNewData);

    LegacyMigration::run();

    Settings settings;
    AppState state(settings);
    QVERIFY(state.viewMode() == ViewMode::grid);
    QVERIFY(state.cardSize() == CardSize::small);
    // An empty list the user left behind is a value too.
    QVERIFY(state.pinned().isEmpty());
    QCOMPARE(contents(home.path(kOldData + "/textindex.json")), QByteArray("old"));
    QVERIFY(QDir(home.path(kNewData)).isEmpty());
    QVERIFY(settings.flag("migratedFromQuarn"));
}

void TestLegacyMigration::survivesBadInput()
{
    TestHome home;
    // A folder where the earlier settings file should be, a damaged file of our own, and a file
    // where the new data folder should be.
    home.folder(kEarlierConf);
    home.file(kConf, QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
    home.file(kOldData + "/textindex.json", "old");
    home.file(kNewData, "not a folder");

    LegacyMigration::run();

    QVERIFY(Settings().flag("migratedFromQuarn"));
    QCOMPARE(contents(home.path(kOldData + "/textindex.json")), QByteArray("old"));
    QCOMPARE(contents(home.path(kNewData)), QByteArray("not a folder"));
}

QTEST_GUILESS_MAIN(TestLegacyMigration)
#include "tst_legacymigration.moc"
