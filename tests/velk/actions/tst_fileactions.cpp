#include "actions/FileActions.h"

#include "PrivateBus.h"
#include "ReadOnlyFolder.h"
#include "Settings.h"
#include "TestHome.h"
#include "files/RecentlyUsed.h"
#include "mdindex/MetadataIndex.h"
#include "search/LibraryStore.h"
#include "state/AppState.h"

#include <QClipboard>
#include <QCoro/QCoroTask>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Set by main(): whether this process has a mount namespace of its own, so that a test may mount.
bool g_ownMounts = false;

FileItem itemAt(const QString &path, FileCategory category = FileCategory::documents)
{
    FileItem item;
    item.url = QUrl::fromLocalFile(path);
    item.name = QFileInfo(path).fileName();
    item.category = category;
    return item;
}

} // namespace

// Stands in for the file manager on the bus and remembers what it was asked to show.
class FileManagerService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QList<std::pair<QStringList, QString>> calls;

public Q_SLOTS:
    void ShowItems(const QStringList &uris, const QString &startupId) { calls.append({uris, startupId}); }
};

// Takes the place of xdg-open for file URLs.
class Opener : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public Q_SLOTS:
    void open(const QUrl &url) { opened << url; }
};

class TestFileActions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();
    void revealShowsAllInOneCall();
    void revealFallsBackToTheFolder();
    void openExternallyOneByOne();
    void copyAndCopyPath();
    void dragOffersOneFile();
    void trashReportsWhatMoved();
    void trashCompletesWhenNothingMoves();
    void trashFromMenu();

private:
    std::unique_ptr<PrivateBus> m_bus;
    FileManagerService m_fileManager;
    Opener m_opener;
    std::unique_ptr<TestHome> m_home;
};

void TestFileActions::initTestCase()
{
    // Before anything asks for the session bus, which is then this one for the whole run.
    m_bus = std::make_unique<PrivateBus>();
    if (!m_bus->address.isEmpty()) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address.toUtf8());
        QDBusConnection service = QDBusConnection::connectToBus(m_bus->address, u"file-manager"_s);
        QVERIFY(service.isConnected());
        QVERIFY(service.registerObject(u"/org/freedesktop/FileManager1"_s, &m_fileManager, QDBusConnection::ExportAllSlots));
    }
    QDesktopServices::setUrlHandler(u"file"_s, &m_opener, "open");
}

void TestFileActions::cleanupTestCase()
{
    QDesktopServices::unsetUrlHandler(u"file"_s);
    QDBusConnection::disconnectFromBus(u"file-manager"_s);
    m_bus.reset();
}

void TestFileActions::init()
{
    m_home = std::make_unique<TestHome>();
    m_fileManager.calls.clear();
    m_opener.opened.clear();
}

void TestFileActions::cleanup()
{
    // Gives the environment back before the next home takes it.
    m_home.reset();
}

void TestFileActions::revealShowsAllInOneCall()
{
    if (m_bus->address.isEmpty())
        QSKIP(qPrintable(u"no private session bus: "_s + m_bus->error));
    QDBusConnection service = QDBusConnection::connectToBus(m_bus->address, u"file-manager"_s);
    QVERIFY(service.registerService(u"org.freedesktop.FileManager1"_s));
    auto release = qScopeGuard([&] { service.unregisterService(u"org.freedesktop.FileManager1"_s); });

    const QList<FileItem> items = {itemAt(m_home->file(u"Pictures/Trip 2024/beach #1.jpg"_s)), itemAt(m_home->file(u"Documents/Crème.txt"_s)),
        itemAt(m_home->folder(u"Music/Live"_s), FileCategory::folders)};
    FileActions::reveal(items);
    QTRY_COMPARE(m_fileManager.calls.size(), 1);
    const QStringList expected = {u"file://"_s + m_home->root() + u"/Pictures/Trip%202024/beach%20%231.jpg"_s,
        u"file://"_s + m_home->root() + u"/Documents/Cr%C3%A8me.txt"_s, u"file://"_s + m_home->root() + u"/Music/Live"_s};
    QCOMPARE(m_fileManager.calls[0].first, expected);
    QCOMPARE(m_fileManager.calls[0].second, QString());
    // The file manager answered, so no folder opens besides.
    QTest::qWait(200);
    QCOMPARE(m_opener.opened, QList<QUrl>());
    QCOMPARE(m_fileManager.calls.size(), 1);
}

void TestFileActions::revealFallsBackToTheFolder()
{
    if (m_bus->address.isEmpty())
        QSKIP(qPrintable(u"no private session bus: "_s + m_bus->error));
    QVERIFY(!QDBusConnection::sessionBus().interface()->isServiceRegistered(u"org.freedesktop.FileManager1"_s));

    FileActions::reveal({itemAt(m_home->file(u"Downloads/setup file.deb"_s)), itemAt(m_home->file(u"Documents/b.txt"_s))});
    QTRY_COMPARE(m_opener.opened.size(), 1);
    QCOMPARE(m_opener.opened[0], QUrl::fromLocalFile(m_home->path(u"Downloads"_s)));
    QCOMPARE(m_fileManager.calls.size(), 0);

    // A folder is shown in its parent.
    FileActions::reveal({itemAt(m_home->folder(u"Music/Live"_s), FileCategory::folders)});
    QTRY_COMPARE(m_opener.opened.size(), 2);
    QCOMPARE(m_opener.opened[1], QUrl::fromLocalFile(m_home->path(u"Music"_s)));

    FileActions::reveal({});
    QTest::qWait(100);
    QCOMPARE(m_opener.opened.size(), 2);
}

void TestFileActions::openExternallyOneByOne()
{
    const QList<FileItem> items = {itemAt(m_home->file(u"Documents/b report.pdf"_s, "%PDF-1.4\n")), itemAt(m_home->file(u"Documents/a.txt"_s, "a")),
        itemAt(m_home->folder(u"Music"_s), FileCategory::folders)};
    FileActions::openExternally(items);
    QCOMPARE(m_opener.opened, (QList<QUrl> {items[0].url, items[1].url, items[2].url}));

    // Each one is on the recently used list, under this program's name.
    QFile list(RecentlyUsed::path());
    QVERIFY(list.open(QIODevice::ReadOnly));
    const QByteArray bytes = list.readAll();
    for (const FileItem &item : items)
        QVERIFY(bytes.contains("<bookmark href=\"" + item.url.toEncoded() + '"'));
    QCOMPARE(bytes.count("<bookmark:application name=\"" + QCoreApplication::applicationName().toUtf8() + "\" exec=\"'tst_fileactions %u'\""), 3);
}

void TestFileActions::copyAndCopyPath()
{
    const QList<FileItem> items = {itemAt(m_home->file(u"Pictures/a b.png"_s)), itemAt(m_home->file(u"Documents/line\nbreak.txt"_s))};
    FileActions::copy(items);
    const QMimeData *data = QGuiApplication::clipboard()->mimeData();
    QVERIFY(data);
    QCOMPARE(data->urls(), (QList<QUrl> {items[0].url, items[1].url}));
    QCOMPARE(data->data(u"text/uri-list"_s),
        "file://" + QFile::encodeName(m_home->root()) + "/Pictures/a%20b.png\r\nfile://" + QFile::encodeName(m_home->root())
            + "/Documents/line%0Abreak.txt\r\n");
    QCOMPARE(data->data(u"x-special/gnome-copied-files"_s),
        "copy\nfile://" + QFile::encodeName(m_home->root()) + "/Pictures/a%20b.png\nfile://" + QFile::encodeName(m_home->root())
            + "/Documents/line%0Abreak.txt");
    QCOMPARE(data->text(), items[0].path() + u'\n' + items[1].path());

    FileActions::copyPath(items);
    data = QGuiApplication::clipboard()->mimeData();
    QCOMPARE(data->text(), m_home->root() + u"/Pictures/a b.png\n"_s + m_home->root() + u"/Documents/line\nbreak.txt"_s);
    QVERIFY(!data->hasUrls());
    QVERIFY(!data->hasFormat(u"x-special/gnome-copied-files"_s));

    FileActions::copyPath({items[0]});
    QCOMPARE(QGuiApplication::clipboard()->text(), items[0].path());
}

void TestFileActions::dragOffersOneFile()
{
    const FileItem file = itemAt(m_home->file(u"Pictures/a b.png"_s));
    const std::unique_ptr<QMimeData> data = FileActions::dragData(file);
    QCOMPARE(data->urls(), QList<QUrl> {file.url});
    const std::unique_ptr<QMimeData> gone = FileActions::dragData(itemAt(m_home->path(u"Pictures/gone.png"_s)));
    QCOMPARE(gone->formats(), QStringList());
}

void TestFileActions::trashReportsWhatMoved()
{
    const FileItem spaced = itemAt(m_home->file(u"Desktop/to go.txt"_s, "x"));
    const FileItem folder = itemAt(m_home->folder(u"Old Project"_s), FileCategory::folders);
    m_home->file(u"Old Project/notes.md"_s, "n");
    const FileItem vanished = itemAt(m_home->path(u"Downloads/vanished.zip"_s));
    FileItem web;
    web.url = QUrl(u"https://example.org/file.txt"_s);
    const QString locked = m_home->folder(u"Locked"_s);
    const FileItem kept = itemAt(m_home->file(u"Locked/kept.txt"_s, "k"));
    const QString reason = makeReadOnly(locked, g_ownMounts);
    auto unlock = qScopeGuard([&] {
        ::umount2(QFile::encodeName(locked).constData(), MNT_DETACH);
        QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    });
    if (!reason.isEmpty())
        qInfo("read-only folder not tried: %s", qPrintable(reason));

    int calls = 0;
    QSet<QUrl> moved;
    QThread *thread = nullptr;
    FileActions::trash({spaced, vanished, web, kept, folder, spaced}, [&](const QSet<QUrl> &urls) {
        ++calls;
        moved = urls;
        thread = QThread::currentThread();
    });
    QCOMPARE(calls, 0);
    QTRY_COMPARE(calls, 1);
    QCOMPARE(thread, qApp->thread());
    QCOMPARE(moved, (QSet<QUrl> {spaced.url, folder.url}));
    QVERIFY(!QFileInfo::exists(spaced.path()));
    QVERIFY(!QFileInfo::exists(folder.path()));
    QVERIFY(QFileInfo::exists(kept.path()));
    QVERIFY(QFileInfo::exists(m_home->path(u".local/share/Trash/files/to go.txt"_s)));
    QVERIFY(QFileInfo(m_home->path(u".local/share/Trash/files/Old Project"_s)).isDir());
    QTest::qWait(50);
    QCOMPARE(calls, 1);
}

void TestFileActions::trashCompletesWhenNothingMoves()
{
    QList<QThread *> threads;
    QList<QSet<QUrl>> results;
    const auto record = [&](const QSet<QUrl> &urls) {
        threads << QThread::currentThread();
        results << urls;
    };
    FileActions::trash({}, record);
    FileActions::trash({itemAt(m_home->path(u"gone.txt"_s))}, record);
    FileActions::trash({itemAt(m_home->file(u"here.txt"_s))}, record);
    // Never before the call returns, always on the main thread, in the order asked.
    QCOMPARE(results.size(), 0);
    QTRY_COMPARE(results.size(), 3);
    QCOMPARE(threads, (QList<QThread *> {qApp->thread(), qApp->thread(), qApp->thread()}));
    QCOMPARE(results, (QList<QSet<QUrl>> {{}, {}, {QUrl::fromLocalFile(m_home->path(u"here.txt"_s))}}));
}

void TestFileActions::trashFromMenu()
{
    Settings settings;
    AppState state(settings);
    const FileItem a = itemAt(m_home->file(u"Menu/a.pdf"_s, "%PDF-1.4"));
    const FileItem b = itemAt(m_home->file(u"Menu/b.pdf"_s, "%PDF-1.4"));
    const FileItem gone = itemAt(m_home->path(u"Menu/gone.pdf"_s));
    mdindex::MetadataIndex::Options options;
    options.storePath = m_home->path(u".cache/velk/index.sqlite"_s);
    options.roots = {m_home->path(u"Menu"_s)};
    mdindex::MetadataIndex index(options);
    QVERIFY(index.open());
    index.update();
    LibraryStore library(index, {QUrl::fromLocalFile(m_home->path(u"Menu"_s))});
    const SidebarItem documents = SidebarItem::category(FileCategory::documents);
    QCOMPARE(QCoro::waitFor(library.result(documents, 0)).totalCount, 2);
    state.setSelectedFiles({a.url, b.url, gone.url});
    state.setFocusedItem(a);
    const int token = state.refreshToken();

    FileActions::trashFromMenu({a, gone}, library, state);
    QCOMPARE(state.refreshToken(), token);
    QTRY_COMPARE(state.refreshToken(), token + 1);
    // The lists lose what moved before anything reloads.
    QCOMPARE(library.collection(documents)->totalCount, 1);
    QCOMPARE(library.collection(documents)->items, QList<FileItem> {b});
    // Only what moved leaves the marks; the focused file moved, so it goes.
    QCOMPARE(state.selectedFiles(), (QSet<QUrl> {b.url, gone.url}));
    QVERIFY(!state.focusedItem());

    // Nothing moved: the marks and the focus stay, and the lists still reload.
    state.setFocusedItem(b);
    FileActions::trashFromMenu({gone}, library, state);
    QTRY_COMPARE(state.refreshToken(), token + 2);
    QCOMPARE(state.selectedFiles(), (QSet<QUrl> {b.url, gone.url}));
    QCOMPARE(state.focusedItem(), std::optional(b));
}

int main(int argc, char *argv[])
{
    // Mounts made here stay in a namespace of this process and vanish with it, whatever happens.
    g_ownMounts = ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    QGuiApplication app(argc, argv);
    TestFileActions test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fileactions.moc"
