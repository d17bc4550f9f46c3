#include "state/AppState.h"

#include "Keyboard.h"
#include "Settings.h"
#include "TestHome.h"
#include "TestNames.h"

#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

const QDateTime kNow(QDate(2026, 3, 10), QTime(12, 0));

FileItem item(const QString &name, FileCategory category = FileCategory::documents, qint64 size = 0, const QDateTime &modified = kNow)
{
    FileItem file;
    file.url = QUrl::fromLocalFile(QStringLiteral("/data/") + name);
    file.name = name;
    file.size = size;
    file.modified = modified;
    file.category = category;
    return file;
}

// In input order; B.pdf and a.pdf share a size, and the names differ in case and in digit count.
QList<FileItem> sortFixture()
{
    return {
        item("file10.txt", FileCategory::documents, 300, kNow.addDays(-1)),
        item("file2.txt", FileCategory::documents, 100, kNow.addDays(-3)),
        item("B.pdf", FileCategory::documents, 200, kNow.addDays(-2)),
        item("a.pdf", FileCategory::documents, 200, kNow),
        item("Docs", FileCategory::folders, 5000, kNow.addDays(-4)),
    };
}

} // namespace

class TestAppState : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void setSort();
    void sort_data();
    void sort();
    void sortIsStable();
    void applyFilters_data();
    void applyFilters();
    void sourceFilter();
    void targets();
    void openFolder();
    void select();
    void stepPreview();
    void storedSettings_data();
    void storedSettings();
    void pinnedSurvivesRestart();
    void notifiesOnlyRealChanges();

private:
    // A fresh home, preferences file and state for every test function and data row.
    std::unique_ptr<TestHome> m_home;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<AppState> m_state;
};

void TestAppState::init()
{
    m_home = std::make_unique<TestHome>();
    m_settings = std::make_unique<Settings>();
    m_state = std::make_unique<AppState>(*m_settings);
}

void TestAppState::cleanup()
{
    m_state.reset();
    m_settings.reset();
    m_home.reset();
}

void TestAppState::setSort()
{
    // Each choice in turn, from the initial date descending, with the direction it must leave.
    const std::pair<SortKey, bool> steps[]
        = {{SortKey::date, true}, {SortKey::name, true}, {SortKey::name, false}, {SortKey::name, true}, {SortKey::size, false}};
    for (const auto &[key, ascending] : steps) {
        m_state->setSort(key);
        QVERIFY(m_state->sortKey() == key);
        QCOMPARE(m_state->ascending(), ascending);
    }
}

void TestAppState::sort_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("ascending");
    QTest::addColumn<bool>("foldersFirst");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("name ascending, natural") << "name" << true << false << QStringList {"a.pdf", "B.pdf", "Docs", "file2.txt", "file10.txt"};
    QTest::newRow("name descending") << "name" << false << false << QStringList {"file10.txt", "file2.txt", "Docs", "B.pdf", "a.pdf"};
    QTest::newRow("name, folders first") << "name" << true << true << QStringList {"Docs", "a.pdf", "B.pdf", "file2.txt", "file10.txt"};
    QTest::newRow("size descending, ties stable") << "size" << false << false << QStringList {"Docs", "file10.txt", "B.pdf", "a.pdf", "file2.txt"};
    QTest::newRow("size ascending, ties stable") << "size" << true << false << QStringList {"file2.txt", "B.pdf", "a.pdf", "file10.txt", "Docs"};
    QTest::newRow("date descending, folders first") << "date" << false << true << QStringList {"Docs", "a.pdf", "file10.txt", "B.pdf", "file2.txt"};
    QTest::newRow("kind ascending") << "kind" << true << false << QStringList {"Docs", "a.pdf", "B.pdf", "file2.txt", "file10.txt"};
    QTest::newRow("kind descending keeps names ascending") << "kind" << false << false << QStringList {"file2.txt", "file10.txt", "a.pdf", "B.pdf", "Docs"};
}

void TestAppState::sort()
{
    QFETCH(QString, key);
    QFETCH(bool, ascending);
    QFETCH(bool, foldersFirst);
    AppState &state = *m_state;
    state.setSortKey(*SortKey::fromRaw(key));
    state.setAscending(ascending);
    QTEST(names(state.sort(sortFixture(), foldersFirst)), "expected");
}

void TestAppState::sortIsStable()
{
    // Enough equal sizes that an unstable sort would shuffle them.
    QList<FileItem> items;
    for (int i = 0; i < 60; ++i)
        items << item(QString::number(i), FileCategory::documents, (i * 7) % 3);
    m_state->setSort(SortKey::size);
    const QList<FileItem> sorted = m_state->sort(items, false);
    for (qsizetype i = 1; i < sorted.size(); ++i)
        QVERIFY(sorted[i - 1].size > sorted[i].size || (sorted[i - 1].size == sorted[i].size && sorted[i - 1].name.toInt() < sorted[i].name.toInt()));
}

void TestAppState::applyFilters_data()
{
    QTest::addColumn<QString>("filters");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("none") << "" << QStringList {"exact.txt", "older.txt", "Folder", "small.png"};
    QTest::newRow("past week keeps the cutoff itself") << "week" << QStringList {"exact.txt", "Folder", "small.png"};
    QTest::newRow("over 1 MB drops folders and smaller") << "mb1" << QStringList {"exact.txt", "older.txt"};
    QTest::newRow("kind") << "images" << QStringList {"small.png"};
    QTest::newRow("all must pass") << "week mb1" << QStringList {"exact.txt"};
    QTest::newRow("nothing passes") << "images mb1" << QStringList {};
}

void TestAppState::applyFilters()
{
    QFETCH(QString, filters);
    for (const QString &raw : filters.split(u' ', Qt::SkipEmptyParts)) {
        if (const auto kind = FileCategory::fromRaw(raw))
            m_state->setKindFilter(kind);
        else if (const auto date = DateFilter::fromRaw(raw))
            m_state->setDateFilter(*date);
        else
            m_state->setSizeFilter(*SizeFilter::fromRaw(raw));
    }
    const QDateTime weekAgo = kNow.addSecs(-604800);
    const QList<FileItem> items {
        item("exact.txt", FileCategory::documents, 1'000'000, weekAgo),
        item("older.txt", FileCategory::documents, 5'000'000, weekAgo.addSecs(-1)),
        item("Folder", FileCategory::folders, 50'000'000),
        item("small.png", FileCategory::images, 999'999),
    };
    QTEST(names(m_state->applyFilters(items, kNow)), "expected");
}

void TestAppState::sourceFilter()
{
    TestHome &home = *m_home;
    const QByteArray origin = "user.xdg.origin.url";
    const QString download = home.file("Downloads/repo.zip", "zip");
    const QString plain = home.file("Downloads/notes.txt", "text");
    const QString folder = home.folder("Downloads/checkout");
    if (!TestHome::setXattr(download, origin, "https://github.com/velk/velk/archive/main.zip"))
        QSKIP("the file system refuses user extended attributes");
    QVERIFY(TestHome::setXattr(folder, origin, "https://github.com/velk/velk"));

    QList<FileItem> items;
    for (const QString &path : {download, plain, folder})
        items << *FileItem::fromUrl(QUrl::fromLocalFile(path));
    QVERIFY(items.last().category == FileCategory::folders);

    AppState &state = *m_state;
    state.setSourceFilter(QStringLiteral("GitHub"));
    QCOMPARE(names(state.applyFilters(items)), QStringList {"repo.zip"});
    state.setSourceFilter(QStringLiteral("Dropbox"));
    QCOMPARE(names(state.applyFilters(items)), QStringList {});
}

void TestAppState::targets()
{
    AppState &state = *m_state;
    const FileItem a = item("a"), b = item("b"), c = item("c");

    state.select(a, Qt::NoModifier);
    QCOMPARE(names(state.targets(a, {a, b, c})), QStringList {"a"});

    state.select(c, Qt::ControlModifier);
    QCOMPARE(names(state.targets(c, {c, b, a})), (QStringList {"c", "a"}));
    QCOMPARE(names(state.targets(b, {a, b, c})), QStringList {"b"});
    // Marks missing from the list are not conjured up.
    QCOMPARE(names(state.targets(a, {a, b})), QStringList {"a"});
}

void TestAppState::openFolder()
{
    AppState &state = *m_state;
    const QUrl music = QUrl::fromLocalFile("/srv/Music"), albums = QUrl::fromLocalFile("/srv/Music/Albums"), reports = QUrl::fromLocalFile("/srv/Reports/");

    // From a destination that is not a location, the folder becomes one.
    state.openFolder(music);
    QVERIFY(state.selection() == SidebarItem::location({music, "Music", "folder"}));
    QVERIFY(state.folderPath().isEmpty());

    // Inside a location it goes one level deeper and drops the marks; blank search text is no search.
    state.setSearchText("  ");
    state.select(item("y"), Qt::NoModifier);
    state.openFolder(albums);
    QCOMPARE(state.folderPath(), QList<QUrl> {albums});
    QVERIFY(state.selection() == SidebarItem::location({music, "Music", "folder"}));
    QVERIFY(state.selectedFiles().isEmpty());
    QVERIFY(!state.focusedItem());

    // During a search it leaves the search for a new location and keeps the folder path.
    state.setSearchText("pdfs");
    state.openFolder(reports);
    QCOMPARE(state.searchText(), QString());
    QVERIFY(state.selection() == SidebarItem::location({reports, "Reports", "folder"}));
    QCOMPARE(state.folderPath(), QList<QUrl> {albums});
}

void TestAppState::select()
{
    AppState &state = *m_state;
    const FileItem a = item("a"), b = item("b"), c = item("c");

    state.select(a);
    state.select(b, Qt::ControlModifier);
    QCOMPARE(state.selectedFiles(), (QSet<QUrl> {a.url, b.url}));
    QVERIFY(state.focusedItem() == b);
    // Ctrl-clicking a marked file unmarks it and empties the inspector.
    state.select(b, Qt::ControlModifier);
    QCOMPARE(state.selectedFiles(), QSet<QUrl> {a.url});
    QVERIFY(!state.focusedItem());
    state.select(c, Qt::ShiftModifier);
    QCOMPARE(state.selectedFiles(), QSet<QUrl> {c.url});
    QVERIFY(state.focusedItem() == c);

    // Without the event's modifiers, the keyboard is asked.
    Keyboard::setProvider([] { return Qt::KeyboardModifiers(Qt::ControlModifier); });
    const auto reset = qScopeGuard([] { Keyboard::setProvider({}); });
    state.select(a);
    QCOMPARE(state.selectedFiles(), (QSet<QUrl> {a.url, c.url}));
}

void TestAppState::stepPreview()
{
    AppState &state = *m_state;
    const FileItem folder = item("Folder", FileCategory::folders), a = item("a"), b = item("b"), c = item("c");
    state.stepPreview(1);
    QVERIFY(!state.previewItem());

    state.preview(b, {folder, a, b, c});
    QCOMPARE(names(state.previewList()), (QStringList {"a", "b", "c"}));
    state.stepPreview(-1);
    QVERIFY(state.previewItem() == a);
    QCOMPARE(state.selectedFiles(), QSet<QUrl> {a.url});
    QVERIFY(state.focusedItem() == a);

    // No wrap-around at either end.
    QSignalSpy moved(&state, &AppState::previewItemChanged);
    state.stepPreview(-1);
    state.stepPreview(3);
    state.stepPreview(2);
    state.stepPreview(1);
    QVERIFY(state.previewItem() == c);
    QCOMPARE(moved.count(), 1);

    // A folder stays the preview item though it is not in the list, so there is nowhere to step.
    state.preview(folder, {folder, a, b, c});
    state.stepPreview(1);
    QVERIFY(state.previewItem() == folder);
    QCOMPARE(state.previewList().size(), 3);
}

void TestAppState::storedSettings_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<QString>("viewMode");
    QTest::addColumn<QStringList>("pinned");
    QTest::addColumn<QString>("cardSize");
    QTest::addColumn<bool>("liveTextMode");

    QTest::newRow("no file") << QByteArray() << "grid" << QStringList {} << "medium" << false;
    QTest::newRow("known values") << QByteArray("[General]\nviewMode=list\ncardSize=small\npinned=/srv/a, \"/srv/b, c\"\nliveTextMode=true\n") << "list"
                                  << QStringList {"/srv/a", "/srv/b, c"} << "small" << true;
    QTest::newRow("unknown texts") << QByteArray("[General]\nviewMode=tiles\ncardSize=huge\nliveTextMode=maybe\n") << "grid" << QStringList {} << "medium"
                                   << false;
    QTest::newRow("empties and repeats dropped") << QByteArray("[General]\npinned=/srv/a, , /srv/a, /srv/d\ncardSize=large\n") << "grid"
                                                 << QStringList {"/srv/a", "/srv/d"} << "large" << false;
    QTest::newRow("wrong types") << QByteArray("[General]\nviewMode=list, grid\ncardSize=@Variant(\\0\\0\\0\\x2\\0\\0\\0\\x5)\npinned=@Invalid()\n") << "grid"
                                 << QStringList {} << "medium" << false;
    QTest::newRow("not a settings file") << QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\xff\xfe[[[=\n", 23) << "grid" << QStringList {} << "medium" << false;
}

void TestAppState::storedSettings()
{
    QFETCH(QByteArray, contents);
    if (!contents.isNull())
        m_home->file(".config/Velk/Velk.conf", contents);
    Settings settings;
    AppState state(settings);
    QTEST(state.viewMode().rawValue(), "viewMode");
    QTEST(state.cardSize().rawValue(), "cardSize");
    QStringList pinned;
    for (const QUrl &url : state.pinned())
        pinned << url.toLocalFile();
    QTEST(pinned, "pinned");
    QTEST(state.liveTextMode(), "liveTextMode");

    // Writing over whatever was there works and keeps what was readable.
    state.setViewMode(ViewMode::list);
    AppState again(settings);
    QVERIFY(again.viewMode() == ViewMode::list);
    QTEST(again.cardSize().rawValue(), "cardSize");
    QCOMPARE(again.pinned(), state.pinned());
}

void TestAppState::pinnedSurvivesRestart()
{
    const QUrl music = QUrl::fromLocalFile("/srv/Music"), team = QUrl::fromLocalFile("/srv/Team, Q1"), plans = QUrl::fromLocalFile("/srv/Plans");
    for (const QUrl &url : {music, team, plans, music})
        m_state->togglePin(url);
    QCOMPARE(m_state->pinned(), (QList<QUrl> {team, plans}));
    m_state->setLiveTextMode(true);

    {
        Settings settings;
        AppState restarted(settings);
        QCOMPARE(restarted.pinned(), (QList<QUrl> {team, plans}));
        QVERIFY(restarted.liveTextMode());
    }

    // Unpinning everything leaves an empty list, not the old one.
    m_state->togglePin(team);
    m_state->togglePin(plans);
    Settings settings;
    QVERIFY(AppState(settings).pinned().isEmpty());
}

void TestAppState::notifiesOnlyRealChanges()
{
    AppState &state = *m_state;
    QSignalSpy text(&state, &AppState::searchTextChanged);
    QSignalSpy searching(&state, &AppState::isSearchingChanged);
    QSignalSpy size(&state, &AppState::sizeFilterChanged);
    QSignalSpy active(&state, &AppState::filtersActiveChanged);
    QSignalSpy view(&state, &AppState::viewModeChanged);

    state.setSearchText(" ");
    state.setSearchText(" ");
    QCOMPARE(text.count(), 1);
    QCOMPARE(searching.count(), 0);
    state.setSearchText("pdf");
    state.setSearchText("pdfs");
    QCOMPARE(text.count(), 3);
    QCOMPARE(searching.count(), 1);

    state.setSizeFilter(SizeFilter::mb1);
    state.setSizeFilter(SizeFilter::mb1);
    state.setDateFilter(DateFilter::week);
    state.setSizeFilter(SizeFilter::any);
    QCOMPARE(size.count(), 2);
    QCOMPARE(active.count(), 1);
    state.setDateFilter(DateFilter::any);
    QCOMPARE(active.count(), 2);
    QVERIFY(!state.filtersActive());

    // The stored value is only written on a real change.
    state.setViewMode(ViewMode::grid);
    QCOMPARE(view.count(), 0);
    QVERIFY(!m_settings->contains("viewMode"));
}

QTEST_GUILESS_MAIN(TestAppState)
#include "tst_appstate.moc"
