#include "TestIndex.h"
#include "mdindex/MetadataIndex.h"
#include "search/Spotlight.h"

#include <QCoro/QCoroTask>
#include <QTest>

using namespace Qt::StringLiterals;
using mdindex::MetadataIndex;

class TestSpotlight : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void limitKeepsTotals()
    {
        TestHome home;
        for (int i = 1; i <= 5; ++i)
            home.sparseFile(u"Videos/clip%1.mp4"_s.arg(i), i * 1'000'000);
        MetadataIndex index(indexOptions(home));
        QVERIFY(index.open());
        index.update();

        const QString movies = u"(kMDItemContentTypeTree == 'public.movie')"_s;
        const SpotlightResult two = Spotlight::collect(index, movies, {}, u"kMDItemFSSize"_s, 2);
        QCOMPARE(names(two), (QStringList {u"clip5.mp4"_s, u"clip4.mp4"_s}));
        QCOMPARE(two.totalCount, 5);
        QCOMPARE(two.totalSize, 15'000'000);

        const SpotlightResult none = Spotlight::collect(index, movies, {}, u"kMDItemFSSize"_s, 10, [](const FileItem &) { return false; });
        QCOMPARE(none, SpotlightResult::empty());

        const SpotlightResult big = Spotlight::collect(index, movies, {}, {}, 10, [](const FileItem &item) { return item.size >= 3'000'000; });
        QCOMPARE(big.totalCount, 3);
        QCOMPARE(big.totalSize, 12'000'000);

        // Scopes are folders; the items are real FileItems with their kind.
        const SpotlightResult scoped = Spotlight::collect(index, movies, {QUrl::fromLocalFile(home.path(u"Videos"_s))}, {}, 10);
        QCOMPARE(scoped.totalCount, 5);
        QCOMPARE(scoped.items.first().category.rawValue(), u"videos"_s);
    }

    void unwantedPaths_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("unwanted");
        QTest::newRow("plain") << u"/home/ada/Documents/a.pdf"_s << false;
        QTest::newRow("hidden folder") << u"/home/ada/.config/app/settings.json"_s << true;
        QTest::newRow("hidden file") << u"/home/ada/Documents/.draft.txt"_s << true;
        QTest::newRow("inside a bundle") << u"/home/ada/Applications/Example.app/Contents/Info.plist"_s << true;
        QTest::newRow("the bundle itself") << u"/home/ada/Applications/Example.app"_s << false;
        QTest::newRow("dependencies") << u"/home/ada/code/Pods/Lib/a.h"_s << true;
        QTest::newRow("node modules") << u"/home/ada/web/node_modules/x/index.js"_s << true;
        QTest::newRow("app folder of this desktop") << u"/home/ada/.local/share/applications/org.example.App.desktop"_s << false;
        QTest::newRow("hidden below the app folder") << u"/home/ada/.local/share/applications/.hidden/x.desktop"_s << true;
    }

    void unwantedPaths()
    {
        QFETCH(QString, path);
        QFETCH(bool, unwanted);
        const QStringList roots = {u"/home/ada"_s, u"/home/ada/.local/share/applications"_s, u"/usr/share/applications"_s};
        QCOMPARE(Spotlight::isUnwanted(path, roots), unwanted);
    }

    void appFolderEntriesAreFound()
    {
        TestHome home;
        home.file(u".local/share/applications/org.example.Editor.desktop"_s, "[Desktop Entry]\nType=Application\nName=Editor\nExec=editor\n");
        home.file(u".config/hidden.desktop"_s, "[Desktop Entry]\nType=Application\nName=Hidden\nExec=x\n");
        MetadataIndex index(indexOptions(home));
        QVERIFY(index.open());
        index.update();
        const SpotlightResult apps = Spotlight::collect(index, u"(kMDItemContentTypeTree == 'com.apple.application-bundle')"_s, {}, {}, 10);
        QCOMPARE(names(apps), QStringList {u"org.example.Editor.desktop"_s});
        QCOMPARE(apps.items.first().category.rawValue(), u"apps"_s);
    }

    void runNeverFails()
    {
        TestHome home;
        home.file(u"Documents/report.pdf"_s, "%PDF-1.4\n%%EOF\n");
        MetadataIndex index(indexOptions(home));
        QVERIFY(index.open());
        index.update();
        const QString query = u"kMDItemFSName == \"*report*\"cd"_s;

        const SpotlightResult found = QCoro::waitFor(Spotlight::run(index, query, {}, {}, 10));
        QCOMPARE(found.totalCount, 1);
        QCOMPARE(QCoro::waitFor(Spotlight::run(index, u"kMDItemFSName == "_s, {}, {}, 10)), SpotlightResult::empty());
        QCOMPARE(QCoro::waitFor(Spotlight::run(index, u"kMDItemFSName === 'x'"_s, {}, {}, 10)), SpotlightResult::empty());

        // Cancelled before it starts: the empty result, and the caller still resumes.
        SpotlightCancellation early;
        early.cancel();
        QCOMPARE(QCoro::waitFor(Spotlight::run(index, query, {}, {}, 10, {}, early)), SpotlightResult::empty());

        // Cancelled after it finished: the caller keeps its answer.
        SpotlightCancellation late;
        const SpotlightResult kept = QCoro::waitFor(Spotlight::run(index, query, {}, {}, 10, {}, late));
        late.cancel();
        QCOMPARE(kept.totalCount, 1);

        // An index that could not be opened refuses every query.
        MetadataIndex closed(indexOptions(home));
        QCOMPARE(QCoro::waitFor(Spotlight::run(closed, query, {}, {}, 10)), SpotlightResult::empty());
    }

    void cancelledWhileCollecting()
    {
        TestHome home;
        for (int i = 0; i < 2000; ++i)
            home.file(u"Many/file%1.txt"_s.arg(i));
        MetadataIndex index(indexOptions(home));
        QVERIFY(index.open());
        index.update();
        SpotlightCancellation cancellation;
        int seen = 0;
        // The accept callback runs off the main thread; cancelling from there stands in for a caller
        // that gives up half way.
        const SpotlightResult result = QCoro::waitFor(Spotlight::run(
            index, u"kMDItemFSName == '*.txt'"_s, {}, {}, 10000,
            [&](const FileItem &) {
                if (++seen == 500)
                    cancellation.cancel();
                return true;
            },
            cancellation));
        QCOMPARE(result, SpotlightResult::empty());
        QVERIFY(seen < 2000);
    }
};

QTEST_GUILESS_MAIN(TestSpotlight)
#include "tst_spotlight.moc"
