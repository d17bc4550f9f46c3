#include "Settings.h"
#include "TestHome.h"
#include "state/AppState.h"
#include "state/NavigationResets.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

class TestNavigationResets : public QObject
{
    Q_OBJECT

    struct World {
        TestHome home;
        Settings settings {home.path(u".config/velk/Velk.conf"_s)};
        AppState state {settings};
        NavigationResets resets {state};

        void setEveryFilter()
        {
            state.setKindFilter(FileCategory::images);
            state.setDateFilter(DateFilter::week);
            state.setSizeFilter(SizeFilter::mb10);
            state.setSourceFilter(u"GitHub"_s);
        }
    };

private Q_SLOTS:
    void aNewDestinationClearsTheWalkTheMarksAndEveryFilter()
    {
        World w;
        w.state.selectKey(u"location/"_s + QUrl::fromLocalFile(w.home.root()).toString());
        w.state.openFolder(QUrl::fromLocalFile(w.home.folder(u"Work"_s)));
        w.setEveryFilter();
        w.state.setSelectedFiles({QUrl::fromLocalFile(u"/x"_s)});

        w.state.selectKey(u"category/videos"_s);
        QVERIFY(w.state.folderPath().isEmpty());
        QVERIFY(w.state.selectedFiles().isEmpty());
        QVERIFY(!w.state.kindFilter());
        QCOMPARE(w.state.dateFilter(), DateFilter::any);
        QCOMPARE(w.state.sizeFilter(), SizeFilter::any);
        QVERIFY(!w.state.sourceFilter());
        QVERIFY(!w.state.filtersActive());
    }

    void typingDropsTheKindFilterAlone()
    {
        World w;
        w.setEveryFilter();
        const QUrl marked = QUrl::fromLocalFile(u"/x"_s);
        w.state.setSelectedFiles({marked});
        w.state.setSearchText(u"pdfs"_s);
        QVERIFY(!w.state.kindFilter());
        QCOMPARE(w.state.dateFilter(), DateFilter::week);
        QCOMPARE(w.state.sizeFilter(), SizeFilter::mb10);
        QCOMPARE(w.state.sourceFilter(), u"GitHub"_s);
        QCOMPARE(w.state.selectedFiles(), QSet<QUrl> {marked});
    }

    void aStepInAWalkClearsTheMarks()
    {
        World w;
        w.state.selectKey(u"location/"_s + QUrl::fromLocalFile(w.home.root()).toString());
        w.state.setSelectedFiles({QUrl::fromLocalFile(u"/x"_s)});
        w.state.setSizeFilter(SizeFilter::mb1);
        w.state.openFolder(QUrl::fromLocalFile(w.home.folder(u"Work"_s)));
        QVERIFY(w.state.selectedFiles().isEmpty());
        QVERIFY(!w.state.focusedItem());
        // Filters stay while walking down.
        QCOMPARE(w.state.sizeFilter(), SizeFilter::mb1);
    }

    // An older toast's timer never takes a newer toast away; a sticky toast stays.
    void toastsLeaveInTurn()
    {
        World w;
        QElapsedTimer clock;
        clock.start();
        w.state.setToast(AppState::Toast(u"first"_s, u"doc.on.doc"_s));
        QTest::qWait(1500);
        w.state.setToast(AppState::Toast(u"second"_s, u"doc.on.doc"_s));
        const qint64 secondShown = clock.elapsed();
        // Well past the first toast's time, the second is still there.
        QTest::qWait(1800);
        QVERIFY(w.state.toast());
        QCOMPARE(w.state.toast()->message, u"second"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!w.state.toast(), 3000);
        QVERIFY(clock.elapsed() - secondShown >= NavigationResets::kToastMilliseconds);

        w.state.setToast(AppState::Toast(u"reading"_s, u"text.viewfinder"_s, true));
        QTest::qWait(NavigationResets::kToastMilliseconds + 300);
        QVERIFY(w.state.toast());
        w.state.setToast(AppState::Toast(u"done"_s, u"doc.on.clipboard"_s));
        QTRY_VERIFY_WITH_TIMEOUT(!w.state.toast(), NavigationResets::kToastMilliseconds + 1500);
    }
};

QTEST_GUILESS_MAIN(TestNavigationResets)
#include "tst_navigationresets.moc"
