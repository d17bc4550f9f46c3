#include "BrowserModel.h"
#include "FileMenu.h"
#include "FolderPreview.h"
#include "StoreWorld.h"
#include "TestDocuments.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QImage>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// A caller of the browser with a list it chose: what a collection, a search or a folder screen hands
// over, without the loading around it.
class ListSource : public BrowserSource
{
public:
    QList<FileItem> list;
    qint64 total = -1;
    bool loading = false;

    void set(QList<FileItem> items, qint64 totalCount = -1, bool isLoadingNow = false)
    {
        list = std::move(items);
        total = totalCount;
        loading = isLoadingNow;
        Q_EMIT itemsChanged();
    }
    QList<FileItem> items() const override { return list; }
    QString title() const override { return u"Things"_s; }
    bool isLoading() const override { return loading; }
    qint64 totalCount() const override { return total; }
    QString emptyTitle() const override { return u"Nothing Here"_s; }
    QString emptySymbol() const override { return u"tray"_s; }
    QString emptyMessage() const override { return u"There is nothing."_s; }

protected:
    void start() override { }
};

FileItem item(const QString &name, FileCategory category, qint64 size = 1000, int daysAgo = 1)
{
    FileItem i;
    i.url = QUrl::fromLocalFile(u"/things/"_s + name);
    i.name = name;
    i.category = category;
    i.size = size;
    i.modified = QDateTime::currentDateTime().addDays(-daysAgo);
    return i;
}

QList<FileItem> folders(int n)
{
    QList<FileItem> list;
    for (int i = 0; i < n; ++i)
        list.append(item(u"folder %1"_s.arg(i), FileCategory::folders, 0, i));
    return list;
}

QList<FileItem> files(int n, int from = 0)
{
    QList<FileItem> list;
    for (int i = from; i < from + n; ++i)
        list.append(item(u"file %1.png"_s.arg(i), FileCategory::images, 2'000'000 * (i % 3), i));
    return list;
}

QStringList kinds(const BrowserModel &model)
{
    QStringList list;
    for (const auto &row : model.rows())
        list.append(row.kind + (row.kind == u"title"_s ? u":"_s + row.title : QString()));
    return list;
}

QStringList entryTexts(const FileMenu &menu)
{
    QStringList list;
    for (const auto &entry : menu.entryList())
        list.append(entry.isDivider() ? u"—"_s : entry.text);
    return list;
}

} // namespace

class TestBrowserModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void columnRule()
    {
        QCOMPARE(BrowserModel::columnsFor(1000, CardSize::medium), 3);
        QCOMPARE(BrowserModel::columnsFor(100, CardSize::medium), 1);
        QCOMPARE(BrowserModel::columnsFor(0, CardSize::large), 1);
        QCOMPARE(BrowserModel::columnsFor(1000, CardSize::small), 4);
        QCOMPARE(BrowserModel::columnsFor(1000, CardSize::large), 2);
    }

    void sectionsStatesAndTheNote()
    {
        StoreWorld w;
        w.build();
        ListSource source;
        source.setStores(w.stores());
        BrowserModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setWidth(1000);
        model.setSource(&source);

        // Still loading and nothing yet: the loading state, never the empty one.
        source.set({}, -1, true);
        QCOMPARE(model.contentState(), u"loading"_s);
        source.set({}, -1, false);
        QCOMPARE(model.contentState(), u"empty"_s);
        QCOMPARE(model.emptyTitle(), u"Nothing Here"_s);

        source.set(folders(4));
        QCOMPARE(kinds(model), (QStringList {u"title:Folders"_s, u"folders"_s, u"folders"_s}));
        source.set(files(7), -1, true);
        QCOMPARE(kinds(model), (QStringList {u"title:Files"_s, u"cards"_s, u"cards"_s, u"cards"_s}));
        QVERIFY(model.rows().first().loading);

        // 700 of 12,345 with no filter: the note, and the count of the whole answer.
        source.set(folders(5) + files(695), 12345);
        QCOMPARE(model.fileCount(), 12340);
        QCOMPARE(model.note(), u"Showing the 700 most recent of 12,345. Use search to find older files."_s);
        QCOMPARE(model.rows().last().kind, u"note"_s);

        // A filter: no note, the count of what shows; rows change in place, the model is never reset.
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        w.state->setSizeFilter(SizeFilter::mb1);
        QVERIFY(model.note().isEmpty());
        QCOMPARE(model.fileCount(), qint64(model.ordered().size()));
        QVERIFY(!kinds(model).contains(u"title:Folders"_s));
        w.state->setSizeFilter(SizeFilter::gb1);
        QCOMPARE(model.contentState(), u"empty"_s);
        QCOMPARE(model.emptyTitle(), u"No Matches"_s);
        QCOMPARE(model.emptyMessage(), u"Try loosening the filters."_s);
        // With no items at all the caller's words stand, filters or not.
        source.set({});
        QCOMPARE(model.emptyTitle(), u"Nothing Here"_s);
        QCOMPARE(reset.count(), 0);
    }

    void keyboard()
    {
        StoreWorld w;
        w.build();
        ListSource source;
        source.setStores(w.stores());
        BrowserModel model;
        model.setWidth(1000);
        model.setSource(&source);
        source.set(folders(5) + files(7));
        const auto focusedIndex = [&] { return int(model.ordered().indexOf(*w.state->focusedItem())); };

        // Nothing focused: Space and Return are not the browser's; any first arrow lands on the first item.
        QVERIFY(!model.keyPressed(Qt::Key_Space));
        QVERIFY(!model.keyPressed(Qt::Key_Return));
        for (const int key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down}) {
            w.state->setFocusedItem(std::nullopt);
            QVERIFY(model.keyPressed(key));
            QCOMPARE(focusedIndex(), 0);
            QCOMPARE(w.state->selectedFiles(), QSet<QUrl> {model.ordered().first().url});
        }
        // Three columns: Down goes three on, across the folders' end; Up three back; the ends hold.
        QVERIFY(model.keyPressed(Qt::Key_Down));
        QCOMPARE(focusedIndex(), 3);
        QVERIFY(model.keyPressed(Qt::Key_Down));
        QCOMPARE(focusedIndex(), 6);
        QVERIFY(model.keyPressed(Qt::Key_Up));
        QCOMPARE(focusedIndex(), 3);
        for (int i = 0; i < 5; ++i)
            model.keyPressed(Qt::Key_Down);
        QCOMPARE(focusedIndex(), 11);
        w.state->setViewMode(ViewMode::list);
        QVERIFY(model.keyPressed(Qt::Key_Left));
        QCOMPARE(focusedIndex(), 10);
        QVERIFY(model.keyPressed(Qt::Key_Up));
        QCOMPARE(focusedIndex(), 9);
    }

    void fileMenuEntries()
    {
        StoreWorld w;
        const QString pdf = w.home.file(u"Documents/scan.pdf"_s, pdfWith(u"words"_s));
        QImage(64, 64, QImage::Format_RGB32).save(w.home.path(u"Documents/shot.png"_s));
        const QString zip = w.home.file(u"Documents/bundle.zip"_s, "PK\x05\x06" + QByteArray(18, '\0'));
        w.home.folder(u"Documents/Work"_s);
        w.build();
        const auto listing = QCoro::waitFor(LibraryStore::listFolder(QUrl::fromLocalFile(w.home.path(u"Documents"_s))));
        QVERIFY(listing.ok());
        const QList<FileItem> list = listing.items;
        const auto named = [&](const QString &name) {
            for (const FileItem &i : list) {
                if (i.name == name)
                    return i;
            }
            return FileItem();
        };
        FileMenu menu;
        menu.setStores(w.stores());

        menu.prepare(named(u"scan.pdf"_s), list);
        QCOMPARE(entryTexts(menu),
            (QStringList {u"Quick Look"_s, u"Open with Default App"_s, u"—"_s, u"Show in Files"_s, u"Copy"_s, u"Copy Path"_s, u"Copy Text"_s, u"—"_s,
                u"Move to Trash"_s}));

        // Three marked files and a right click on one of them: the menu acts on all three.
        w.state->setSelectedFiles({named(u"scan.pdf"_s).url, named(u"shot.png"_s).url, named(u"bundle.zip"_s).url});
        menu.prepare(named(u"bundle.zip"_s), list);
        QCOMPARE(menu.targets().size(), 3);
        QCOMPARE(entryTexts(menu),
            (QStringList {u"Open 3 Items"_s, u"—"_s, u"Show in Files"_s, u"Copy"_s, u"Copy Path"_s, u"Copy Text from 2 Files"_s, u"—"_s, u"Move to Trash"_s}));

        // A folder: Open rather than Quick Look, and its pin entry follows the pinned list.
        w.state->setSelectedFiles({});
        menu.prepare(named(u"Work"_s), list);
        QCOMPARE(entryTexts(menu).mid(0, 2), (QStringList {u"Open"_s, u"Open with Default App"_s}));
        QVERIFY(entryTexts(menu).contains(u"Pin to Sidebar"_s));
        menu.trigger(u"pin"_s);
        menu.prepare(named(u"Work"_s), list);
        QVERIFY(entryTexts(menu).contains(u"Remove from Sidebar"_s));

        // Move to Trash: into the home's own Trash, and out of the marks.
        w.state->setSelectedFiles({named(u"bundle.zip"_s).url});
        menu.prepare(named(u"bundle.zip"_s), list);
        menu.trigger(u"trash"_s);
        QTRY_VERIFY(!QFileInfo::exists(zip));
        QVERIFY(QFileInfo::exists(w.home.path(u".local/share/Trash/files/bundle.zip"_s)));
        QTRY_VERIFY(w.state->selectedFiles().isEmpty());
        QVERIFY(QFileInfo::exists(pdf));
    }

    void folderSource()
    {
        StoreWorld w;
        w.home.file(u"Documents/Projects/Garden/plan.txt"_s, "beds");
        w.home.file(u"Documents/Hidden/.only-hidden"_s, "x");
        w.build();
        const QString key = SidebarItem::location({QUrl::fromLocalFile(w.home.path(u"Documents"_s)), u"Documents"_s, u"doc"_s}).key();
        w.state->selectKey(key);
        FolderSource folder;
        folder.setStores(w.stores());
        folder.setLocationKey(key);
        QTRY_VERIFY(!folder.isLoading());
        QCOMPARE(folder.title(), u"Documents"_s);
        QCOMPARE(folder.subtitle(), u"~/Documents"_s);
        QVERIFY(!folder.hasBack());
        QCOMPARE(folder.items().size(), 2);

        w.state->openFolder(QUrl::fromLocalFile(w.home.path(u"Documents/Projects"_s)));
        w.state->openFolder(QUrl::fromLocalFile(w.home.path(u"Documents/Projects/Garden"_s)));
        QTRY_COMPARE(folder.title(), u"Garden"_s);
        QTRY_VERIFY(!folder.isLoading());
        QCOMPARE(folder.crumbs().size(), 3);
        folder.openCrumb(0);
        QCOMPARE(w.state->folderPath().size(), 1);
        folder.back();
        QVERIFY(w.state->folderPath().isEmpty());

        // Only hidden files: an empty folder. A folder that cannot be listed: the permission words.
        w.state->openFolder(QUrl::fromLocalFile(w.home.path(u"Documents/Hidden"_s)));
        QTRY_VERIFY(!folder.isLoading());
        QTRY_COMPARE(folder.emptyTitle(), u"Empty Folder"_s);
        w.state->setFolderPath({QUrl::fromLocalFile(w.home.path(u"Documents/Gone"_s))});
        QTRY_COMPARE(folder.emptyTitle(), u"Can't Open Folder"_s);
        QCOMPARE(folder.emptySymbol(), u"lock"_s);
        QCOMPARE(folder.emptyMessage(), u"Velk doesn't have permission to read “Gone”. Check the folder's permissions and try again."_s);
        QCOMPARE(FolderSource::shownPath(u"/srv/data"_s), u"/srv/data"_s);
    }

    void searchAndCollectionTexts()
    {
        QCOMPARE(SearchSource::trimmed(u" \tcats \t"_s), u"cats"_s);
        QCOMPARE(SearchSource::trimmed(u"cats\n"_s), u"cats\n"_s);
        QCOMPARE(SearchSource::subtitle(1, 0), u"1 match in your home folders"_s);
        QCOMPARE(SearchSource::subtitle(2, 3), u"2 matches in your home folders · 3 found by text inside images"_s);
        QCOMPARE(CollectionSource::subtitle(SpotlightResult {{}, 1, 3000}), u"1 item · 3 KB"_s);
        QCOMPARE(CollectionSource::subtitle(SpotlightResult {{}, 12345, 0}), u"12,345 items · Zero KB"_s);

        StoreWorld w;
        w.home.file(u"Documents/invoice.pdf"_s, pdfWith(u"invoice"_s), QDateTime::currentDateTime().addDays(-2));
        w.build();
        SearchSource search;
        search.setStores(w.stores());
        QSignalSpy searched(w.store.get(), &LibraryStore::searchedQueryChanged);
        w.state->setSearchText(u"pdfs"_s);
        QCOMPARE(search.subtitle(), u"Searching…"_s);
        QVERIFY(search.isLoading());
        QTRY_COMPARE(w.store->searchedQuery(), u"pdfs"_s);
        QTRY_VERIFY(!search.isLoading());
        QCOMPARE(search.subtitle(), u"1 match in your home folders"_s);
        QVERIFY(!search.chips().isEmpty());
        // A space more is the same search.
        const int before = searched.count();
        w.state->setSearchText(u"pdfs "_s);
        QTest::qWait(SearchSource::kPauseMs + 200);
        QCOMPARE(searched.count(), before);
    }

    // A picture card offers "Copy Text" until the picture was read as it is and held no words; an SVG
    // never does.
    void copyTextOnPictures()
    {
        StoreWorld w;
        QImage blank(200, 120, QImage::Format_RGB32);
        blank.fill(Qt::white);
        w.home.folder(u"Pictures"_s);
        QVERIFY(blank.save(w.home.path(u"Pictures/blank.png"_s)));
        w.home.file(u"Pictures/logo.svg"_s, "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'/>");
        w.build();
        const auto listing = QCoro::waitFor(LibraryStore::listFolder(QUrl::fromLocalFile(w.home.path(u"Pictures"_s))));
        ListSource source;
        source.setStores(w.stores());
        BrowserModel model;
        model.setSource(&source);
        source.set(listing.items);
        QCOMPARE(model.ordered().size(), 2);
        for (const FileItem &picture : model.ordered()) {
            const bool svg = picture.name.endsWith(u".svg"_s);
            QCOMPARE(model.canCopyText(QVariant::fromValue(picture)), !svg);
            if (!svg) {
                QCOMPARE(QCoro::waitFor(w.textIndex->text(picture)), QString());
                QVERIFY(!model.canCopyText(QVariant::fromValue(picture)));
            }
        }
    }

    void cardTexts()
    {
        FileItem photo = item(u"beach.png"_s, FileCategory::images, 3000);
        photo.pixelWidth = 640;
        photo.pixelHeight = 480;
        QCOMPARE(BrowserModel::tagText(photo, CardSize::small), u"PNG · 3 KB"_s);
        QCOMPARE(BrowserModel::tagText(photo, CardSize::medium), u"PNG · 640×480"_s);
        QCOMPARE(BrowserModel::tagText(item(u"README"_s, FileCategory::other, 5), CardSize::medium), u"Other · 5 bytes"_s);
        QCOMPARE(BrowserModel::tagText(item(u"Tool.AppImage"_s, FileCategory::apps, 9000), CardSize::medium), u"App"_s);
        FileItem song = item(u"song.mp3"_s, FileCategory::music);
        song.duration = 185;
        QCOMPARE(BrowserModel::tagText(song, CardSize::large), u"MP3 · 3:05"_s);

        // A folder with five pictures and three folders counts eight and shows the four newest.
        TestHome home;
        QImage image(32, 32, QImage::Format_RGB32);
        for (int i = 0; i < 5; ++i) {
            const QString path = home.path(u"Album/p%1.png"_s.arg(i));
            home.folder(u"Album"_s);
            image.save(path);
            TestHome::setModified(path, QDateTime::currentDateTime().addDays(-i));
        }
        for (const char *sub : {"a", "b", "c"})
            home.folder(u"Album/"_s + QLatin1StringView(sub));
        FolderPreview preview;
        preview.setUrl(QUrl::fromLocalFile(home.path(u"Album"_s)));
        QTRY_COMPARE(preview.count(), 8);
        QCOMPARE(preview.previews().size(), 4);
        QCOMPARE(preview.previews().first().value<FileItem>().name, u"p0.png"_s);
        preview.setUrl(QUrl::fromLocalFile(home.path(u"Nowhere"_s)));
        QTRY_COMPARE(preview.count(), 0);
    }
};

QTEST_MAIN(TestBrowserModel)
#include "tst_browsermodel.moc"
