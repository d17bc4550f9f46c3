#include "PoolGate.h"
#include "TestDocuments.h"
#include "TestIndex.h"
#include "mdindex/MetadataIndex.h"
#include "search/LibraryStore.h"
#include "text/TextIndex.h"

#include <QCoro/QCoroTask>
#include <QSignalSpy>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using mdindex::MetadataIndex;

namespace {

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

// A small home with pictures, documents, a hidden folder and an app, indexed for real.
struct Fixture {
    TestHome home;
    std::unique_ptr<MetadataIndex> index;

    Fixture()
    {
        home.file(u"Pictures/beach.png"_s, "png");
        home.file(u"Pictures/forest.jpg"_s, "jpg");
        home.file(u"Pictures/.secret/hidden.png"_s, "png");
        home.file(u"Documents/notes.txt"_s, "notes");
        home.file(u"Documents/budget report.pdf"_s, pdfWith(u"nothing here"_s));
        home.file(u"Applications/Tool.AppImage"_s,
            "\x7f"
            "ELF");
        home.file(u".local/share/applications/editor.desktop"_s, "[Desktop Entry]\nType=Application\nName=Editor\nExec=true\n");
        index = std::make_unique<MetadataIndex>(indexOptions(home));
        index->open();
        index->update();
    }
};

} // namespace

class TestLibraryStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultScopes()
    {
        {
            TestHome home;
            QCOMPARE(LibraryStore::defaultScopes(), QList<QUrl> {QUrl::fromLocalFile(home.root())});
        }
        TestHome home;
        home.folder(u"Documents"_s);
        home.folder(u"Work Stuff"_s);
        home.folder(u"Applications"_s);
        home.folder(u".config"_s);
        home.file(u"loose.txt"_s);
        QList<QUrl> scopes = LibraryStore::defaultScopes();
        std::sort(scopes.begin(), scopes.end());
        QCOMPARE(scopes, (QList<QUrl> {QUrl::fromLocalFile(home.path(u"Documents"_s)), QUrl::fromLocalFile(home.path(u"Work Stuff"_s))}));
    }

    void destinationsAndTheirAnswers()
    {
        Fixture f;
        LibraryStore store(*f.index, LibraryStore::defaultScopes());
        const SidebarItem images = SidebarItem::category(FileCategory::images);
        QCOMPARE(sorted(names(QCoro::waitFor(store.result(images, 0)))), (QStringList {u"beach.png"_s, u"forest.jpg"_s}));
        QCOMPARE(store.collection(images)->totalCount, 2);

        // Apps come from the application folders, also the hidden one where desktop entries live.
        const SidebarItem apps = SidebarItem::category(FileCategory::apps);
        QVERIFY(store.destination(apps)->scopes.contains(QUrl::fromLocalFile(f.home.path(u"Applications"_s))));
        const QStringList appNames = names(QCoro::waitFor(store.result(apps, 0)));
        QVERIFY2(appNames.contains(u"Tool.AppImage"_s) && appNames.contains(u"editor.desktop"_s), qPrintable(appNames.join(u',')));

        // Not collections: they return at once and store nothing.
        auto home = store.load(SidebarItem::home(), 0);
        QVERIFY(home.isReady());
        QVERIFY(!store.destination(SidebarItem::duplicates()));
        QCOMPARE(store.collections().size(), 2);
    }

    void tokensDecideWhetherToLoadAgain()
    {
        Fixture f;
        LibraryStore store(*f.index, LibraryStore::defaultScopes());
        const SidebarItem documents = SidebarItem::category(FileCategory::documents);
        QCoro::waitFor(store.load(documents, 0));
        const qint64 first = store.collection(documents)->totalCount;
        QVERIFY(first > 0);
        QCOMPARE(store.loadedToken(documents), 0);

        f.home.file(u"Documents/later.pdf"_s, pdfWith(u"later"_s));
        f.index->update();
        QCoro::waitFor(store.load(documents, 0));
        QCOMPARE(store.collection(documents)->totalCount, first);
        QCoro::waitFor(store.load(documents, 1));
        QCOMPARE(store.collection(documents)->totalCount, first + 1);
        QCOMPARE(store.loadedToken(documents), 1);

        // An older token never brings back an older answer.
        f.home.file(u"Documents/latest.pdf"_s, pdfWith(u"latest"_s));
        f.index->update();
        QCoro::waitFor(store.load(documents, 0));
        QCOMPARE(store.collection(documents)->totalCount, first + 1);
    }

    void secondLoadWaitsForTheFirst()
    {
        Fixture f;
        LibraryStore store(*f.index, LibraryStore::defaultScopes());
        const SidebarItem images = SidebarItem::category(FileCategory::images);
        QSignalSpy stored(&store, &LibraryStore::collectionChanged);
        PoolGate gate;
        auto first = store.load(images, 3);
        QVERIFY(store.isLoading(images));
        auto second = store.load(images, 5);
        QVERIFY(second.isReady());
        gate.open();
        const SpotlightResult waited = QCoro::waitFor(store.result(images, 5));
        QCOMPARE(waited.totalCount, 2);
        QCoro::waitFor(std::move(first));
        // One query ran, for the first caller's token.
        QCOMPARE(stored.count(), 1);
        QCOMPARE(store.loadedToken(images), 3);
        QVERIFY(store.loading().isEmpty());
    }

    void onlyTheNewestSearchStores()
    {
        Fixture f;
        LibraryStore store(*f.index, LibraryStore::defaultScopes());
        QSignalSpy answers(&store, &LibraryStore::searchResultChanged);
        PoolGate gate;
        auto older = store.search(u"  b "_s);
        QVERIFY(store.isSearching());
        auto newer = store.search(u"beach"_s);
        gate.open();
        QCoro::waitFor(std::move(newer));
        QCoro::waitFor(std::move(older));
        QCOMPARE(answers.count(), 1);
        QCOMPARE(store.searchedQuery(), u"beach"_s);
        QCOMPARE(names(store.searchResult()), QStringList {u"beach.png"_s});
        QVERIFY(!store.isSearching());

        // Clearing while a search runs: no answer at once, and the late one is dropped.
        PoolGate lateGate;
        auto late = store.search(u"forest"_s);
        QCoro::waitFor(store.search(u"\n"_s));
        lateGate.open();
        QVERIFY(!store.searchResult());
        QVERIFY(!store.parsedQuery());
        QCoro::waitFor(std::move(late));
        QVERIFY(!store.searchResult());
        QCOMPARE(store.searchedQuery(), u"beach"_s);
    }

    void searchScopesFollowTheFolderPhrase()
    {
        Fixture f;
        f.home.setUserDirs({{u"XDG_DOCUMENTS_DIR"_s, u"Documents"_s}, {u"XDG_PICTURES_DIR"_s, u"Pictures"_s}});
        f.home.file(u"Documents/beach notes.txt"_s, "sand");
        f.index->update();
        LibraryStore store(*f.index, LibraryStore::defaultScopes());
        QCoro::waitFor(store.search(u"beach"_s));
        QCOMPARE(sorted(names(store.searchResult())), (QStringList {u"beach notes.txt"_s, u"beach.png"_s}));
        QCoro::waitFor(store.search(u"beach in documents"_s));
        QCOMPARE(names(store.searchResult()), QStringList {u"beach notes.txt"_s});
        QVERIFY(store.parsedQuery()->folder.has_value());
    }

    void textHitsLeadOnceAndStayFiltered()
    {
        Fixture f;
        // Words inside these files are known only to the text index.
        const QString scan = f.home.file(u"Documents/scan-0042.pdf"_s, pdfWith(u"Quarterly invoice"_s));
        const QString named = f.home.file(u"Documents/invoice.pdf"_s, pdfWith(u"invoice"_s));
        const QString hidden = f.home.file(u"Documents/.old/scan.pdf"_s, pdfWith(u"invoice"_s));
        const QString bundled = f.home.file(u"Documents/node_modules/pkg/scan.pdf"_s, pdfWith(u"invoice"_s));
        f.index->update();
        TextIndex texts;
        QList<FileItem> items;
        for (const QString &path : {scan, named, hidden, bundled})
            items.append(FileItem::fromUrl(QUrl::fromLocalFile(path)).value());
        texts.index(items);
        QVERIFY(QTest::qWaitFor([&] { return !texts.isIndexing() && texts.search({u"invoice"_s}).size() == 4; }, 20000));

        LibraryStore store(*f.index, LibraryStore::defaultScopes());
        QCoro::waitFor(store.search(u"invoice"_s, &texts));
        QCOMPARE(names(store.searchResult()), (QStringList {u"scan-0042.pdf"_s, u"invoice.pdf"_s}));
        QCOMPARE(store.searchResult()->totalCount, 2);
        QCOMPARE(store.textMatchCount(), 1);

        // The filters of the parse hold for text hits too.
        QCoro::waitFor(store.search(u"invoice images"_s, &texts));
        QCOMPARE(store.textMatchCount(), 0);
        // Without a text index nothing is merged.
        QCoro::waitFor(store.search(u"invoice"_s));
        QCOMPARE(names(store.searchResult()), QStringList {u"invoice.pdf"_s});
        QCOMPARE(store.textMatchCount(), 0);

        // A text hit whose file is gone is left out.
        QFile::remove(scan);
        QCoro::waitFor(store.search(u"quarterly"_s, &texts));
        QCOMPARE(store.textMatchCount(), 0);
    }

    void removeLowersTotalsByWhatWent()
    {
        Fixture f;
        LibraryStore store(*f.index, LibraryStore::defaultScopes());
        const SidebarItem images = SidebarItem::category(FileCategory::images);
        QCoro::waitFor(store.load(images, 0));
        QCoro::waitFor(store.search(u"beach"_s));
        const qint64 size = store.collection(images)->totalSize;
        QSignalSpy changed(&store, &LibraryStore::collectionChanged);
        const QUrl beach = QUrl::fromLocalFile(f.home.path(u"Pictures/beach.png"_s));
        store.remove({beach, QUrl::fromLocalFile(f.home.path(u"Documents/notes.txt"_s)), QUrl::fromLocalFile(u"/nowhere"_s)});
        QCOMPARE(names(store.collection(images)), QStringList {u"forest.jpg"_s});
        QCOMPARE(store.collection(images)->totalCount, 1);
        QCOMPARE(store.collection(images)->totalSize, size);
        QCOMPARE(store.searchResult()->totalCount, 0);
        QCOMPARE(changed.count(), 1);
    }

    void listFolder()
    {
        TestHome home;
        home.file(u"Stuff/a.txt"_s, "a");
        home.file(u"Stuff/.hidden"_s, "h");
        home.folder(u"Stuff/Inner"_s);
        const FolderListing listing = QCoro::waitFor(LibraryStore::listFolder(QUrl::fromLocalFile(home.path(u"Stuff"_s))));
        QVERIFY(listing.ok());
        QStringList listed;
        for (const FileItem &item : listing.items)
            listed.append(item.name);
        QCOMPARE(sorted(listed), (QStringList {u"Inner"_s, u"a.txt"_s}));

        const auto failure = [](const QString &path) { return QCoro::waitFor(LibraryStore::listFolder(QUrl::fromLocalFile(path))).error; };
        const FolderListing missing = QCoro::waitFor(LibraryStore::listFolder(QUrl::fromLocalFile(home.path(u"Missing"_s))));
        QCOMPARE(missing.error, ENOENT);
        QCOMPARE(missing.errorMessage(), u"Cannot open “Missing”: No such file or directory"_s);
        QCOMPARE(failure(home.path(u"Stuff/a.txt"_s)), ENOTDIR);
        if (::geteuid() != 0) {
            const QString locked = home.folder(u"Locked"_s);
            QFile::setPermissions(locked, {});
            QCOMPARE(failure(locked), EACCES);
            QFile::setPermissions(locked, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
    }
};

QTEST_MAIN(TestLibraryStore)
#include "tst_librarystore.moc"
