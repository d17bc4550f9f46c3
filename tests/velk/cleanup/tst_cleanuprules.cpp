#include "TestHome.h"
#include "TestNames.h"
#include "cleanup/CleanupKinds.h"
#include "cleanup/CleanupRules.h"
#include "mdindex/Query.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

FileItem item(const QString &path, qint64 size)
{
    FileItem file;
    file.url = QUrl::fromLocalFile(path);
    file.name = path.section(u'/', -1);
    file.size = size;
    return file;
}

} // namespace

class TestCleanupRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void kinds()
    {
        QCOMPARE(CleanupKind::allCases().size(), 5);
        QCOMPARE(CleanupKind::allCases().first().rawValue(), u"installers"_s);
        QVERIFY(!CleanupKind::fromRaw(u"duplicates"));
        QCOMPARE(CleanupKinds::symbol(CleanupKind::installers), u"shippingbox"_s);
        QCOMPARE(CleanupKinds::symbol(CleanupKind::unusedApps), u"app.dashed"_s);
        QCOMPARE(CleanupKinds::tint(CleanupKind::installers), (Rgb {0.93, 0.7, 0.2}));
        QCOMPARE(CleanupKinds::tint(CleanupKind::oldDownloads), (Rgb {0.35, 0.62, 0.95}));
        QCOMPARE(CleanupKinds::tint(CleanupKind::oldScreenshots), (Rgb {0.93, 0.42, 0.62}));
        QCOMPARE(CleanupKinds::tint(CleanupKind::bigOldVideos), (Rgb {0.55, 0.5, 0.95}));
        QCOMPARE(CleanupKinds::tint(CleanupKind::unusedApps), (Rgb {0.25, 0.72, 0.55}));
        QCOMPARE(CleanupKinds::explanation(CleanupKind::oldDownloads),
            u"Loose files in Downloads you haven't opened or changed in 3 months. Folders inside Downloads are left alone."_s);
    }

    void everyQueryParses()
    {
        for (const CleanupKind kind : CleanupKind::allCases()) {
            if (kind == CleanupKind::oldDownloads)
                QVERIFY(CleanupRules::query(kind).isEmpty());
            else
                QVERIFY2(mdindex::Query::parse(CleanupRules::query(kind)), qPrintable(kind.rawValue()));
        }
    }

    void appsAreLookedForOnlyWhereTheUserPutsThem()
    {
        TestHome home;
        const QList<QUrl> given {QUrl::fromLocalFile(home.path(u"Documents"_s))};
        QCOMPARE(CleanupRules::scopes(CleanupKind::installers, given), given);
        QCOMPARE(CleanupRules::scopes(CleanupKind::unusedApps, given),
            (QList<QUrl> {QUrl::fromLocalFile(home.path(u"Applications"_s)), QUrl::fromLocalFile(home.path(u".local/share/applications"_s))}));
    }

    void forgottenDownloadsCutoff()
    {
        TestHome home;
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const QDateTime cutoff = now.addSecs(-7'776'000);
        home.file(u"Downloads/at-cutoff.pdf"_s, "%PDF-1.4\n", cutoff);
        home.file(u"Downloads/just-before.pdf"_s, QByteArray(2000, 'x'), cutoff.addMSecs(-1));
        home.file(u"Downloads/recent.pdf"_s, "x", now.addDays(-10));
        const QString usedAtCutoff = home.file(u"Downloads/used-at-cutoff.txt"_s, "x", now.addDays(-200));
        const QString usedBefore = home.file(u"Downloads/used-before.txt"_s, "xyz", now.addDays(-200));
        const QHash<QString, QDateTime> lastUsed {{usedAtCutoff, cutoff}, {usedBefore, cutoff.addMSecs(-1)}};

        const SpotlightResult result = CleanupRules::forgottenDownloads(home.path(u"Downloads"_s), now, lastUsed);
        QCOMPARE(names(result), (QStringList {u"just-before.pdf"_s, u"used-before.txt"_s}));
        QCOMPARE(result.totalCount, 2);
        QCOMPARE(result.totalSize, 2003);

        QCOMPARE(CleanupRules::forgottenDownloads(home.path(u"Nowhere"_s), now, {}), SpotlightResult::empty());
        QCOMPARE(CleanupRules::forgottenDownloads(QString(), now, {}), SpotlightResult::empty());
    }

    void onlyLooseFilesAtTheTop()
    {
        TestHome home;
        const QDateTime old = QDateTime::currentDateTimeUtc().addDays(-120);
        home.file(u"Downloads/Project/inside.zip"_s, QByteArray(5000, 'z'), old);
        TestHome::setModified(home.path(u"Downloads/Project"_s), old);
        home.file(u"Downloads/Tool-1.0-x86_64.AppImage"_s, QByteArray(4000, 'e'), old);
        home.file(u"Downloads/launcher.desktop"_s, "[Desktop Entry]\nType=Application\nName=Launcher\nExec=true\n", old);
        home.file(u"Downloads/.partial"_s, QByteArray(3000, 'p'), old);
        home.file(u"Downloads/b.iso"_s, QByteArray(100, 'b'), old);
        home.file(u"Downloads/a.iso"_s, QByteArray(100, 'a'), old);
        home.file(u"Downloads/big.mkv"_s, QByteArray(900, 'm'), old);

        const SpotlightResult result = CleanupRules::forgottenDownloads(home.path(u"Downloads"_s), QDateTime::currentDateTimeUtc(), {});
        QCOMPARE(result.items.size(), 3);
        QCOMPARE(result.items.first().name, u"big.mkv"_s);
        QCOMPARE(result.totalSize, 1100);
    }

    void appSizesFromTheDisk()
    {
        TestHome home;
        const QString small = home.file(u"Applications/Small.AppImage"_s, QByteArray(100, 's'));
        const QString large = home.file(u"Applications/Large.AppImage"_s, QByteArray(50'000, 'l'));
        const QString twin = home.file(u"Applications/Twin.AppImage"_s, QByteArray(100, 't'));
        SpotlightResult found;
        // The index's sizes are replaced; ties keep their order.
        found.items = {item(small, 999'999'999), item(twin, 1), item(home.path(u"Applications/Gone.AppImage"_s), 123), item(large, 5)};
        found.totalCount = 9;
        found.totalSize = 1'000'000'128;

        const SpotlightResult measured = CleanupRules::measureApps(found);
        QCOMPARE(names(measured), (QStringList {u"Large.AppImage"_s, u"Small.AppImage"_s, u"Twin.AppImage"_s, u"Gone.AppImage"_s}));
        QVERIFY(measured.items.at(0).size >= 50'000);
        QCOMPARE(measured.items.at(3).size, 0);
        QCOMPARE(measured.totalCount, 9);
        qint64 sum = 0;
        for (const FileItem &file : measured.items)
            sum += file.size;
        QCOMPARE(measured.totalSize, sum);
    }
};

QTEST_GUILESS_MAIN(TestCleanupRules)
#include "tst_cleanuprules.moc"
