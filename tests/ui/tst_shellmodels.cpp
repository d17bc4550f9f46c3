#include "HomeModel.h"
#include "ShellModel.h"
#include "SidebarModel.h"
#include "StoreWorld.h"
#include "TestDocuments.h"
#include "models/Fmt.h"

#include <QAbstractItemModelTester>
#include <QCoro/QCoroTask>
#include <QImage>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// A small home with pictures and a PDF, for the sidebar, the top bar and home.
struct World : StoreWorld {
    explicit World(int pictures = 3)
    {
        QImage image(320, 240, QImage::Format_RGB32);
        home.folder(u"Pictures"_s);
        for (int i = 0; i < pictures; ++i) {
            image.fill(QColor::fromHsv(i * 40 % 360, 200, 200));
            image.save(home.path(u"Pictures/photo %1.png"_s.arg(i)));
        }
        home.file(u"Documents/report.pdf"_s, pdfWith(u"quarterly figures"_s));
        build();
    }
};

const SidebarModel::Row *rowTitled(const SidebarModel &model, const QString &title)
{
    for (const auto &row : model.rows()) {
        if (row.title == title)
            return &row;
    }
    return nullptr;
}

QStringList selectedTitles(const SidebarModel &model)
{
    QStringList titles;
    for (const auto &row : model.rows()) {
        if (row.selected)
            titles.append(row.title);
    }
    return titles;
}

} // namespace

class TestShellModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sidebarRowsAndTheirFigures()
    {
        World w;
        SidebarModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setStores(w.stores());

        QStringList titles;
        for (const auto &row : model.rows()) {
            if (row.kind == u"row"_s)
                titles.append(row.title);
        }
        QCOMPARE(titles,
            (QStringList {u"Home"_s, u"Recents"_s, u"Images"_s, u"Videos"_s, u"Music"_s, u"Documents"_s, u"Archives"_s, u"Apps"_s, u"Large Files"_s,
                u"Screenshots"_s, u"Duplicates"_s, u"Clean Up"_s, u"Downloaded From"_s}));
        QVERIFY(!rowTitled(model, u"Favourites"_s));
        QVERIFY(rowTitled(model, u"Locations"_s));
        // No figure before a load; a count of 0 shows none either.
        QCOMPARE(rowTitled(model, u"Images"_s)->badge, -1);

        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        w.load(SidebarItem::category(FileCategory::images));
        w.load(SidebarItem::category(FileCategory::videos));
        QCOMPARE(rowTitled(model, u"Images"_s)->badge, 3);
        QCOMPARE(rowTitled(model, u"Videos"_s)->badge, -1);
        QVERIFY(changed.count() >= 1);
        QCOMPARE(reset.count(), 0);

        // Pinning a folder adds the heading and the row; unpinning takes both away again.
        const QUrl pictures = QUrl::fromLocalFile(w.home.path(u"Pictures"_s));
        const qsizetype before = model.rows().size();
        w.state->togglePin(pictures);
        QVERIFY(rowTitled(model, u"Favourites"_s));
        QCOMPARE(model.rows().size(), before + 3);
        w.state->togglePin(pictures);
        QCOMPARE(model.rows().size(), before);
    }

    void sidebarHighlight()
    {
        World w;
        SidebarModel model;
        model.setStores(w.stores());
        QCOMPARE(selectedTitles(model), QStringList {u"Home"_s});
        w.state->setSelection(SidebarItem::cleanup(CleanupKind::installers));
        QCOMPARE(selectedTitles(model), QStringList {u"Clean Up"_s});
        w.state->setSelection(SidebarItem::source(u"GitHub"_s));
        QCOMPARE(selectedTitles(model), QStringList {u"Downloaded From"_s});
        w.state->setSearchText(u"cats"_s);
        QCOMPARE(selectedTitles(model), QStringList {});

        // A click on a row leaves the search and shows the row's screen.
        for (int i = 0; i < model.rowCount(); ++i) {
            if (model.rows()[i].title == u"Recents"_s)
                model.activate(i);
        }
        QCOMPARE(w.state->searchText(), QString());
        QCOMPARE(w.state->selectionKey(), u"smart/recents"_s);
        QCOMPARE(selectedTitles(model), QStringList {u"Recents"_s});
    }

    void topBarFigures()
    {
        World w;
        ShellModel shell;
        shell.setStores(w.stores());
        QCOMPARE(shell.librarySize(), u"—"_s);
        w.load(SidebarItem::category(FileCategory::documents));
        QCOMPARE(shell.librarySize(), Fmt::bytes(QFileInfo(w.home.path(u"Documents/report.pdf"_s)).size()));

        // Back only acts inside a folder walk.
        shell.back();
        QVERIFY(w.state->folderPath().isEmpty());
        w.state->selectKey(u"location/"_s + QUrl::fromLocalFile(w.home.root()).toString());
        w.state->openFolder(QUrl::fromLocalFile(w.home.path(u"Pictures"_s)));
        QCOMPARE(w.state->folderPath().size(), 1);
        shell.back();
        QVERIFY(w.state->folderPath().isEmpty());
    }

    void homeGreetingSummaryAndShelves()
    {
        QCOMPARE(HomeModel::greeting(4), u"Good evening"_s);
        QCOMPARE(HomeModel::greeting(5), u"Good morning"_s);
        QCOMPARE(HomeModel::greeting(12), u"Good afternoon"_s);
        QCOMPARE(HomeModel::greeting(16), u"Good afternoon"_s);
        QCOMPARE(HomeModel::greeting(17), u"Good evening"_s);

        World w(22);
        HomeModel home;
        home.setStores(w.stores());
        QCOMPARE(home.summary(), u"Taking stock of everything on your computer…"_s);
        QVERIFY(home.shelves().isEmpty());

        w.load(SidebarItem::category(FileCategory::documents));
        QVERIFY2(home.summary().startsWith(u"1 file · "_s), qPrintable(home.summary()));
        w.load(SidebarItem::category(FileCategory::images));
        QVERIFY2(home.summary().startsWith(u"23 files · "_s), qPrintable(home.summary()));

        const QVariantList shelves = home.shelves();
        QCOMPARE(shelves.size(), 2);
        const QVariantMap photos = shelves[0].toMap();
        QCOMPARE(photos[u"title"_s].toString(), u"Recent Photos"_s);
        QCOMPARE(photos[u"count"_s].toLongLong(), 22);
        QCOMPARE(photos[u"items"_s].toList().size(), HomeModel::kShelfLimit);
        QCOMPARE(shelves[1].toMap()[u"title"_s].toString(), u"Recent Documents"_s);
    }
};

QTEST_MAIN(TestShellModels)
#include "tst_shellmodels.moc"
