#include "PoolGate.h"
#include "TestIndex.h"
#include "cleanup/CleanupStore.h"
#include "mdindex/MetadataIndex.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using mdindex::MetadataIndex;

namespace {

QByteArray appEntry(const char *name, const QByteArray &extra = {})
{
    return "[Desktop Entry]\nType=Application\nName=" + QByteArray(name) + "\nExec=true\n" + extra;
}

QByteArray bookmark(const QString &path, const QDateTime &when)
{
    const QByteArray stamp = when.toUTC().toString(Qt::ISODateWithMs).toUtf8();
    return "<bookmark href=\"" + QUrl::fromLocalFile(path).toEncoded() + "\" added=\"" + stamp + "\" modified=\"" + stamp + "\" visited=\"" + stamp + "\"/>\n";
}

// A home with something for every rule but screenshots, and a few files each rule must leave alone.
struct Fixture {
    TestHome home;
    QDateTime now = QDateTime::currentDateTimeUtc();
    QString setup;

    Fixture()
    {
        const QDateTime lastYear = now.addDays(-365);
        // An installer that is also a forgotten download, a fresh one, and one of the other desktop.
        setup = home.sparseFile(u"Downloads/tool_1.0_amd64.deb"_s, 3'000'000);
        TestHome::setModified(setup, now.addDays(-100));
        home.file(u"Documents/fresh.RPM"_s, QByteArray(10, 'r'), now.addDays(-2));
        home.file(u"Documents/Legacy.dmg"_s, QByteArray(20, 'd'), now.addDays(-8));

        // Videos at and just over 200 MB, and a stream left out whatever its size.
        for (const auto &[name, size] :
            {std::pair {u"Videos/exact.mp4"_s, 200'000'000LL}, {u"Videos/over.mp4"_s, 200'000'001LL}, {u"Videos/show.ts"_s, 900'000'000LL}}) {
            home.sparseFile(name, size);
            TestHome::setModified(home.path(name), lastYear);
        }

        // Downloads: one forgotten, one opened lately, one opened long ago; a folder and an app.
        home.file(u"Downloads/manual.pdf"_s, QByteArray(4000, 'm'), now.addDays(-100));
        const QString opened = home.file(u"Downloads/opened.pdf"_s, QByteArray(5000, 'o'), now.addDays(-100));
        const QString longAgo = home.file(u"Downloads/long-ago.pdf"_s, QByteArray(6000, 'l'), now.addDays(-200));
        home.file(u"Downloads/Archive/old.zip"_s, QByteArray(7000, 'z'), lastYear);
        TestHome::setModified(home.path(u"Downloads/Archive"_s), lastYear);
        home.file(u"Downloads/Player-2.0-x86_64.AppImage"_s, QByteArray(8000, 'p'), lastYear);
        // Opened lately: a big video and an app, which their rules leave alone too.
        const QString watched = home.sparseFile(u"Videos/watched.mkv"_s, 300'000'000);
        TestHome::setModified(watched, lastYear);
        const QString used = home.file(u"Applications/Daily-1.0-x86_64.AppImage"_s, QByteArray(9000, 'd'), lastYear);
        home.file(u".local/share/recently-used.xbel"_s,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xbel version=\"1.0\">\n" + bookmark(opened, now.addDays(-3)) + bookmark(longAgo, now.addDays(-150))
                + bookmark(watched, now.addDays(-10)) + bookmark(used, now.addDays(-20)) + "</xbel>\n");

        // Apps: the user's own, and those the system or a package manager put in the user's folders.
        home.file(u"Applications/Editor-3.1-x86_64.AppImage"_s, QByteArray(60'000, 'e'), lastYear);
        home.file(u".local/share/applications/org.example.Notes.desktop"_s, appEntry("Notes"), lastYear);
        home.file(u".local/share/applications/org.example.Flat.desktop"_s, appEntry("Flat", "X-Flatpak=org.example.Flat\n"), lastYear);
        home.systemFile(u"applications/org.example.Shipped.desktop"_s, appEntry("Shipped"));
        home.file(u".local/share/applications/org.example.Shipped.desktop"_s, appEntry("Shipped, adjusted"), lastYear);
        if (::geteuid() == 0) {
            const QString foreign = home.file(u"Applications/Foreign.AppImage"_s, QByteArray(9000, 'f'), lastYear);
            if (::chown(QFile::encodeName(foreign).constData(), 4242, 4242) != 0)
                qWarning("cannot hand the file to someone else");
        }
    }

    QList<QUrl> scopes() const
    {
        QList<QUrl> folders;
        for (const char *name : {"Documents", "Downloads", "Videos"})
            folders.append(QUrl::fromLocalFile(home.path(QString::fromLatin1(name))));
        return folders;
    }
};

} // namespace

class TestCleanupStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void firstLoad()
    {
        Fixture f;
        MetadataIndex index(indexOptions(f.home));
        QVERIFY(index.open());
        index.update();
        // The index reads the recently used list when it opens and when the list changes, so files
        // that its first walk added have no last used date until then.
        index.reloadLastUsed();

        CleanupStore store(index);
        QCOMPARE(store.loadedToken(), -1);
        QVERIFY(!store.loading());
        QVERIFY(store.results().isEmpty());
        QSignalSpy loading(&store, &CleanupStore::loadingChanged);
        QSignalSpy results(&store, &CleanupStore::resultsChanged);

        QCoro::waitFor(store.load(f.scopes(), 0));
        QCOMPARE(store.loadedToken(), 0);
        QVERIFY(!store.loading());
        QCOMPARE(loading.count(), 2);
        // Filled in kind by kind, each kind once.
        QCOMPARE(results.count(), 5);
        QCOMPARE(store.results().size(), 5);

        QCOMPARE(names(store.result(CleanupKind::installers)), (QStringList {u"tool_1.0_amd64.deb"_s, u"Legacy.dmg"_s}));
        QCOMPARE(names(store.result(CleanupKind::bigOldVideos)), QStringList {u"over.mp4"_s});
        QCOMPARE(names(store.result(CleanupKind::oldDownloads)), (QStringList {u"tool_1.0_amd64.deb"_s, u"long-ago.pdf"_s, u"manual.pdf"_s}));
        QCOMPARE(names(store.result(CleanupKind::unusedApps)), (QStringList {u"Editor-3.1-x86_64.AppImage"_s, u"org.example.Notes.desktop"_s}));
        // A rule that found nothing still has its result.
        QCOMPARE(store.result(CleanupKind::oldScreenshots), std::optional(SpotlightResult::empty()));

        // Apps are measured on disk, and the list's size is theirs.
        const SpotlightResult apps = *store.result(CleanupKind::unusedApps);
        QVERIFY(apps.items.first().size >= 60'000);
        QCOMPARE(apps.totalCount, 2);
        QCOMPARE(apps.totalSize, apps.items.at(0).size + apps.items.at(1).size);

        // The package that is both an old installer and a forgotten download counts once.
        qint64 sum = 0;
        for (const SpotlightResult &result : store.results()) {
            for (const FileItem &item : result.items)
                sum += item.size;
        }
        QCOMPARE(store.totalReclaimable(), sum - 3'000'000);
        QCOMPARE(store.property("totalReclaimable").toLongLong(), store.totalReclaimable());
        QCOMPARE(store.property("results").toMap().keys(),
            (QStringList {u"bigOldVideos"_s, u"installers"_s, u"oldDownloads"_s, u"oldScreenshots"_s, u"unusedApps"_s}));

        // The same token again does nothing at all.
        QCoro::waitFor(store.load(f.scopes(), 0));
        QCOMPARE(loading.count(), 2);
        QCOMPARE(results.count(), 5);
    }

    void tokens()
    {
        Fixture f;
        MetadataIndex index(indexOptions(f.home));
        QVERIFY(index.open());
        index.update();
        CleanupStore store(index);

        PoolGate gate;
        QCoro::Task<> first = store.load(f.scopes(), 0);
        QVERIFY(store.loading());
        // Refused while loading, and not remembered.
        QCoro::waitFor(store.load(f.scopes(), 1));
        gate.open();
        QCoro::waitFor(std::move(first));
        QCOMPARE(store.loadedToken(), 0);

        // A new pass keeps the earlier lists until each kind is replaced.
        f.home.file(u"Documents/Another.pkg"_s, "x", f.now.addDays(-30));
        index.update();
        QSignalSpy results(&store, &CleanupStore::resultsChanged);
        PoolGate secondGate;
        QCoro::Task<> second = store.load(f.scopes(), 1);
        QVERIFY(store.loading());
        QCOMPARE(store.results().size(), 5);
        secondGate.open();
        QCoro::waitFor(std::move(second));
        QCOMPARE(store.loadedToken(), 1);
        QCOMPARE(names(store.result(CleanupKind::installers)), (QStringList {u"tool_1.0_amd64.deb"_s, u"Legacy.dmg"_s, u"Another.pkg"_s}));
        // Only what changed is announced.
        QCOMPARE(results.count(), 1);
    }

    void removeTakesFilesOutOfEveryList()
    {
        Fixture f;
        MetadataIndex index(indexOptions(f.home));
        QVERIFY(index.open());
        index.update();
        CleanupStore store(index);
        QCoro::waitFor(store.load(f.scopes(), 0));
        const auto before = store.results();
        QSignalSpy results(&store, &CleanupStore::resultsChanged);

        store.remove({QUrl::fromLocalFile(f.home.path(u"Downloads/not-listed.txt"_s))});
        store.remove({});
        QCOMPARE(results.count(), 0);
        QCOMPARE(store.results(), before);

        const qint64 reclaimable = store.totalReclaimable();
        store.remove({QUrl::fromLocalFile(f.setup), QUrl::fromLocalFile(f.home.path(u"Downloads/manual.pdf"_s))});
        QCOMPARE(results.count(), 1);
        QCOMPARE(names(store.result(CleanupKind::installers)), QStringList {u"Legacy.dmg"_s});
        QCOMPARE(store.result(CleanupKind::installers)->totalCount, 1);
        QCOMPARE(store.result(CleanupKind::installers)->totalSize, 20);
        QCOMPARE(names(store.result(CleanupKind::oldDownloads)), QStringList {u"long-ago.pdf"_s});
        QCOMPARE(store.result(CleanupKind::oldDownloads)->totalSize, 6000);
        QCOMPARE(store.result(CleanupKind::bigOldVideos), before.value(CleanupKind::bigOldVideos));
        QCOMPARE(store.totalReclaimable(), reclaimable - 3'000'000 - 4000);
    }

    void moreMatchesThanTheLimit()
    {
        TestHome home;
        const QDateTime old = QDateTime::currentDateTimeUtc().addDays(-30);
        const int count = 5003;
        qint64 total = 0;
        for (int i = 1; i <= count; ++i) {
            const QString path = home.sparseFile(u"Documents/pkgs/p%1.deb"_s.arg(i), i);
            TestHome::setModified(path, old);
            total += i;
        }
        MetadataIndex index(indexOptions(home));
        QVERIFY(index.open());
        index.update();
        CleanupStore store(index);
        QCoro::waitFor(store.load({QUrl::fromLocalFile(home.path(u"Documents"_s))}, 7));

        const SpotlightResult installers = *store.result(CleanupKind::installers);
        QCOMPARE(installers.items.size(), 5000);
        QCOMPARE(installers.totalCount, count);
        QCOMPARE(installers.totalSize, total);
        QCOMPARE(installers.items.first().name, u"p5003.deb"_s);
        QCOMPARE(installers.items.last().name, u"p4.deb"_s);
        // Only the kept items count towards what can be freed.
        QCOMPARE(store.totalReclaimable(), total - 1 - 2 - 3);

        store.remove({QUrl::fromLocalFile(home.path(u"Documents/pkgs/p5003.deb"_s)), QUrl::fromLocalFile(home.path(u"Documents/pkgs/p10.deb"_s))});
        const SpotlightResult after = *store.result(CleanupKind::installers);
        QCOMPARE(after.items.size(), 4998);
        QCOMPARE(after.totalCount, count - 2);
        QCOMPARE(after.totalSize, total - 5003 - 10);
    }
};

QTEST_GUILESS_MAIN(TestCleanupStore)
#include "tst_cleanupstore.moc"
