#include "Settings.h"
#include "TestIndex.h"
#include "cleanup/CleanupStore.h"
#include "duplicates/DuplicateFinder.h"
#include "search/LibraryStore.h"
#include "sources/SourceStore.h"
#include "state/AppState.h"
#include "state/NavigationResets.h"
#include "state/WarmUp.h"
#include "text/TextIndex.h"

#include <QImage>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

FileItem picture(const QString &name, std::optional<int> width)
{
    FileItem item;
    item.url = QUrl::fromLocalFile(u"/pictures/"_s + name);
    item.name = name;
    item.category = FileCategory::images;
    item.pixelWidth = width;
    return item;
}

} // namespace

class TestWarmUp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void picturesWorthReading()
    {
        const QList<FileItem> screenshots {picture(u"shot.png"_s, 120), picture(u"both.png"_s, 1920)};
        const QList<FileItem> images {
            picture(u"unknown.png"_s, std::nullopt), picture(u"icon.png"_s, 299), picture(u"edge.png"_s, 300), picture(u"both.png"_s, 1920)};
        // Screenshots are never held back, however narrow; a file in both lists comes twice.
        QCOMPARE(names(WarmUp::toRead(screenshots, images)), (QStringList {u"shot.png"_s, u"both.png"_s, u"unknown.png"_s, u"edge.png"_s, u"both.png"_s}));

        QList<FileItem> many;
        for (int i = 0; i < 2 * WarmUp::kPictureLimit + 20; ++i)
            many.append(picture(u"p%1.png"_s.arg(i), i % 2 ? 100 : 400));
        const QList<FileItem> read = WarmUp::toRead({}, many);
        QCOMPARE(read.size(), WarmUp::kPictureLimit);
        QCOMPARE(read.first().name, u"p0.png"_s);
        QCOMPARE(read.last().name, u"p%1.png"_s.arg(2 * (WarmUp::kPictureLimit - 1)));
    }

    // Over a real index: the nine loads and the chain run to their end; a new token runs them again,
    // but leaves a finished duplicate scan standing.
    void runsEveryStepAndKeepsAFinishedScan()
    {
        TestHome home;
        QImage image(400, 300, QImage::Format_RGB32);
        image.fill(Qt::darkCyan);
        image.save(home.path(u"Pictures/wide.png"_s));
        // Copies big enough to be worth finding.
        home.file(u"Documents/a.txt"_s, QByteArray(60000, 'w'));
        home.file(u"Documents/b.txt"_s, QByteArray(60000, 'w'));
        home.file(u"Downloads/setup.deb"_s, QByteArray(2000, 'x'));
        mdindex::MetadataIndex index(indexOptions(home));
        index.open();
        index.update();

        Settings settings(home.path(u".config/velk/Velk.conf"_s));
        AppState state(settings);
        LibraryStore store(index, LibraryStore::defaultScopes());
        TextIndex textIndex;
        SourceStore sources(index);
        CleanupStore cleanup(index);
        DuplicateFinder duplicates(index);
        WarmUp warmUp({&state, &store, &textIndex, &sources, &cleanup, &duplicates});

        QTRY_VERIFY_WITH_TIMEOUT(warmUp.chainFinished(), 30000);
        for (const SidebarItem &item : WarmUp::workList())
            QVERIFY2(store.collection(item).has_value(), qPrintable(item.key()));
        QVERIFY(sources.hasLoaded());
        QCOMPARE(duplicates.phase().kind, DuplicateFinder::Phase::finished);
        QCOMPARE(duplicates.exact().size(), 1);
        const auto lastScan = duplicates.lastScan();

        QSignalSpy phases(&duplicates, &DuplicateFinder::phaseChanged);
        state.raiseRefreshToken();
        QCOMPARE(warmUp.chainStep(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(warmUp.chainFinished(), 30000);
        QCOMPARE(store.loadedToken(SidebarItem::category(FileCategory::documents)), 1);
        QCOMPARE(phases.count(), 0);
        QCOMPARE(duplicates.lastScan(), lastScan);
    }
};

QTEST_GUILESS_MAIN(TestWarmUp)
#include "tst_warmup.moc"
