#include "files/Trash.h"

#include "ReadOnlyFolder.h"
#include "TestHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTest>

#include <cerrno>
#include <cstring>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Set by main(): whether this process has a mount namespace of its own, so that a test may mount.
bool g_ownMounts = false;

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

mode_t modeOf(const QString &path)
{
    struct stat st;
    return ::lstat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_mode : 0;
}

// A .trashinfo read the way another file manager reads it: the [Trash Info] group, Path= unescaped
// byte for byte, and a relative path taken from the top folder of the trash's volume.
struct TrashInfo {
    QString path;
    QString rawPath;
    QDateTime deleted;
};

std::optional<TrashInfo> readInfo(const QString &infoFile, const QString &topdir = {})
{
    const QList<QByteArray> lines = readAll(infoFile).split('\n');
    if (lines.value(0) != "[Trash Info]")
        return std::nullopt;
    TrashInfo info;
    for (const QByteArray &line : lines.mid(1)) {
        if (line.startsWith("Path=")) {
            info.rawPath = QString::fromLatin1(line.mid(5));
            const QByteArray path = QByteArray::fromPercentEncoding(line.mid(5));
            info.path = QFile::decodeName(path.startsWith('/') ? path : QFile::encodeName(topdir) + '/' + path);
        } else if (line.startsWith("DeletionDate=")) {
            info.deleted = QDateTime::fromString(QString::fromLatin1(line.mid(13)), u"yyyy-MM-dd'T'HH:mm:ss"_s);
        }
    }
    if (info.path.isEmpty() || !info.deleted.isValid())
        return std::nullopt;
    return info;
}

// Puts a trashed entry back where its .trashinfo says it came from.
bool restore(const Trash::Entry &entry, const QString &topdir = {})
{
    const std::optional<TrashInfo> info = readInfo(entry.infoPath(), topdir);
    return info && ::rename(QFile::encodeName(entry.filePath()).constData(), QFile::encodeName(info->path).constData()) == 0 && QFile::remove(entry.infoPath());
}

// What trash-cli, an independent reader of the same trash folders, lists; empty where it is missing.
QString trashList()
{
    const QString program = QStandardPaths::findExecutable(u"trash-list"_s);
    if (program.isEmpty())
        return {};
    QProcess process;
    process.start(program, {});
    if (!process.waitForFinished(30000))
        return {};
    return QString::fromUtf8(process.readAllStandardOutput());
}

// A file system of its own at `path` for the life of this object. `error` says why there is none.
class Tmpfs
{
public:
    explicit Tmpfs(const QString &path)
        : m_path(QFile::encodeName(path))
    {
        if (!g_ownMounts) {
            error = u"no mount namespace of its own (needs root or CAP_SYS_ADMIN)"_s;
            return;
        }
        QDir().mkpath(path);
        if (::mount("tmpfs", m_path.constData(), "tmpfs", 0, "size=16m,mode=0755") != 0) {
            error = u"mounting a tmpfs failed: "_s + QString::fromLocal8Bit(std::strerror(errno));
            return;
        }
        m_mounted = true;
    }
    ~Tmpfs()
    {
        if (m_mounted)
            ::umount2(m_path.constData(), MNT_DETACH);
    }
    Tmpfs(const Tmpfs &) = delete;
    Tmpfs &operator=(const Tmpfs &) = delete;

    bool isMounted() const { return m_mounted; }
    QString error;

private:
    QByteArray m_path;
    bool m_mounted = false;
};

// The path with its folder's links resolved, as the trash records it; the file itself may be gone.
QString canonical(const QString &path)
{
    const QFileInfo info(path);
    return QFileInfo(info.absolutePath()).canonicalFilePath() + u'/' + info.fileName();
}

QStringList entriesOf(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

class TestTrash : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesThatNeedEscaping();
    void nameClashNeverOverwrites();
    void longNamesFit();
    void folderAndItsSize();
    void linkGoesAsLink();
    void nothingMovesThatCannotMove();
    void otherVolume();
    void sharedTopdirTrash();
};

void TestTrash::namesThatNeedEscaping()
{
    TestHome home;
    const QStringList names = {u"plain.txt"_s, u"two words.txt"_s, u"100% sure.txt"_s, u"Crème brûlée.txt"_s, u"line\nbreak.txt"_s, u"a+b#c?d&e=f;g:h~i.txt"_s,
        u"%41 not an escape.txt"_s, u"folder with space"_s};
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    QList<std::pair<QString, Trash::Entry>> trashed;
    for (const QString &name : names) {
        const QString path = name.startsWith(u"folder"_s) ? home.folder(u"Odd names/"_s + name) : home.file(u"Odd names/"_s + name, name.toUtf8());
        const std::optional<Trash::Entry> entry = Trash::moveToTrash(path);
        QVERIFY2(entry, qPrintable(name));
        QVERIFY(!QFileInfo::exists(path) && !QFileInfo(path).isSymLink());
        QCOMPARE(entry->trashPath, QDir(home.path(u".local/share/Trash"_s)).canonicalPath());
        QCOMPARE(entry->name, name);
        trashed.append({path, *entry});
    }
    const QDateTime after = QDateTime::currentDateTime().addSecs(1);

    // The home trash and its two folders are private to the user.
    const QString trashPath = home.path(u".local/share/Trash"_s);
    for (const QString &folder : {trashPath, trashPath + u"/files"_s, trashPath + u"/info"_s})
        QCOMPARE(modeOf(folder) & 07777, mode_t(0700));

    // The escaped form, byte for byte, for one name with everything in it.
    const QString odd = home.file(u"a b%c é\n.txt"_s, "x");
    const std::optional<Trash::Entry> oddEntry = Trash::moveToTrash(odd);
    QVERIFY(oddEntry);
    const QByteArray expectedPath = QFile::encodeName(QFileInfo(home.root()).canonicalFilePath()).toPercentEncoding("/") + "/a%20b%25c%20%C3%A9%0A.txt";
    const QList<QByteArray> lines = readAll(oddEntry->infoPath()).split('\n');
    QCOMPARE(lines.size(), 4);
    QCOMPARE(lines[0], "[Trash Info]");
    QCOMPARE(lines[1], "Path=" + expectedPath);
    QVERIFY(lines[2].startsWith("DeletionDate="));
    QCOMPARE(lines[3], "");
    trashed.append({odd, *oddEntry});

    // Another implementation lists every one of them under its original path.
    if (const QString listed = trashList(); !listed.isEmpty()) {
        for (const auto &[path, entry] : std::as_const(trashed))
            QVERIFY2(listed.contains(u' ' + canonical(path) + u'\n'), qPrintable(listed));
    }

    for (const auto &[path, entry] : std::as_const(trashed)) {
        const std::optional<TrashInfo> info = readInfo(entry.infoPath());
        QVERIFY(info);
        QCOMPARE(info->path, canonical(path));
        // Only unreserved characters, "/" and escapes.
        for (const QChar c : info->rawPath)
            QVERIFY2(c.isLetterOrNumber() || QStringView(u"-._~/%").contains(c), qPrintable(info->rawPath));
        // Local time without a zone, within the test's run.
        QVERIFY(info->deleted >= before && info->deleted <= after);
        QVERIFY(restore(entry));
        QVERIFY(QFileInfo::exists(path) || QFileInfo(path).isSymLink());
        if (QFileInfo(path).isFile())
            QCOMPARE(readAll(path), path == odd ? QByteArray("x") : QFileInfo(path).fileName().toUtf8());
    }
    QCOMPARE(entriesOf(trashPath + u"/files"_s), QStringList());
    QCOMPARE(entriesOf(trashPath + u"/info"_s), QStringList());
}

void TestTrash::nameClashNeverOverwrites()
{
    TestHome home;
    const QString first = home.file(u"Work/report.pdf"_s, "first");
    const QString second = home.file(u"Mail/report.pdf"_s, "second");
    const QString third = home.file(u"Old/report.pdf"_s, "third");

    const std::optional<Trash::Entry> a = Trash::moveToTrash(first);
    QVERIFY(a);
    QCOMPARE(a->name, u"report.pdf"_s);
    // A file left in the trash without its .trashinfo, and a .trashinfo without its file: both keep
    // their names.
    const QString trash = a->trashPath;
    home.file(u".local/share/Trash/files/report.2.pdf"_s, "orphan");
    home.file(u".local/share/Trash/info/report.3.pdf.trashinfo"_s, "[Trash Info]\nPath=/elsewhere/report.pdf\nDeletionDate=2020-01-01T00:00:00\n");

    const std::optional<Trash::Entry> b = Trash::moveToTrash(second);
    QVERIFY(b);
    QCOMPARE(b->name, u"report.4.pdf"_s);
    const std::optional<Trash::Entry> c = Trash::moveToTrash(third);
    QVERIFY(c);
    QCOMPARE(c->name, u"report.5.pdf"_s);

    QCOMPARE(readAll(trash + u"/files/report.2.pdf"_s), QByteArray("orphan"));
    QVERIFY(!QFileInfo::exists(trash + u"/info/report.2.pdf.trashinfo"_s));
    QVERIFY(!QFileInfo::exists(trash + u"/files/report.3.pdf"_s));
    QVERIFY(readAll(trash + u"/info/report.3.pdf.trashinfo"_s).contains("/elsewhere/report.pdf"));
    QCOMPARE(readAll(a->filePath()), QByteArray("first"));
    QCOMPARE(readAll(b->filePath()), QByteArray("second"));
    QCOMPARE(readAll(c->filePath()), QByteArray("third"));

    // Each comes back to its own folder.
    for (const auto &[entry, path] : {std::pair(*a, first), std::pair(*b, second), std::pair(*c, third)}) {
        QVERIFY(restore(entry));
        QVERIFY(QFileInfo::exists(path));
    }
    QCOMPARE(readAll(second), QByteArray("second"));
}

void TestTrash::longNamesFit()
{
    TestHome home;
    // 250 bytes of a name: too long for a .trashinfo beside it unless the trash name is shortened,
    // which must not cut a character in two.
    const QString name = u"é"_s.repeated(122) + u"x.jpeg"_s;
    QCOMPARE(name.toUtf8().size(), 250);
    const QString path = home.file(name, "long");
    const std::optional<Trash::Entry> first = Trash::moveToTrash(path);
    QVERIFY(first);
    QVERIFY(first->name.toUtf8().size() + 10 <= NAME_MAX);
    QVERIFY(first->name.endsWith(u".jpeg"_s));
    QVERIFY(!first->name.contains(QChar::ReplacementCharacter));
    QCOMPARE(readInfo(first->infoPath())->path, canonical(path));

    home.file(name, "again");
    const std::optional<Trash::Entry> second = Trash::moveToTrash(path);
    QVERIFY(second);
    QVERIFY(second->name != first->name);
    QVERIFY(second->name.endsWith(u".2.jpeg"_s));
    QCOMPARE(readAll(second->filePath()), QByteArray("again"));
    QCOMPARE(readInfo(second->infoPath())->path, canonical(path));
}

void TestTrash::folderAndItsSize()
{
    TestHome home;
    const QString folder = home.folder(u"Projects/Old site"_s);
    home.file(u"Projects/Old site/index.html"_s, QByteArray(10000, 'x'));
    home.file(u"Projects/Old site/css/style.css"_s, QByteArray(5000, 'y'));
    // Another program's entry in the size cache stays.
    home.file(u".local/share/Trash/directorysizes"_s, "4096 1600000000 Someone%20else\n");

    const std::optional<Trash::Entry> entry = Trash::moveToTrash(folder);
    QVERIFY(entry);
    QVERIFY(QFileInfo(entry->filePath()).isDir());
    QCOMPARE(readAll(entry->filePath() + u"/css/style.css"_s), QByteArray(5000, 'y'));

    QProcess du;
    du.start(u"du"_s, {u"-s"_s, u"-B1"_s, entry->filePath()});
    QVERIFY(du.waitForFinished(10000));
    const QByteArray duSize = du.readAllStandardOutput().split('\t').value(0);

    const QList<QByteArray> lines = readAll(entry->trashPath + u"/directorysizes"_s).split('\n');
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines[0], "4096 1600000000 Someone%20else");
    const QList<QByteArray> fields = lines[1].split(' ');
    QCOMPARE(fields.size(), 3);
    QCOMPARE(fields[0], duSize);
    QCOMPARE(fields[1].toLongLong(), QFileInfo(entry->infoPath()).lastModified().toSecsSinceEpoch());
    QCOMPARE(fields[2], "Old%20site");
    QVERIFY(restore(*entry));
    QVERIFY(QFileInfo::exists(folder + u"/index.html"_s));
}

void TestTrash::linkGoesAsLink()
{
    TestHome home;
    const QString target = home.file(u"Documents/real.txt"_s, "real");
    const QString link = home.path(u"Desktop/shortcut"_s);
    QDir().mkpath(home.path(u"Desktop"_s));
    QVERIFY(QFile::link(target, link));
    const std::optional<Trash::Entry> entry = Trash::moveToTrash(link);
    QVERIFY(entry);
    QVERIFY(QFileInfo(entry->filePath()).isSymLink());
    QCOMPARE(readAll(target), QByteArray("real"));
    QVERIFY(!QFileInfo(link).isSymLink());

    // A path through a linked folder is recorded as the real place.
    QVERIFY(QFile::link(home.path(u"Documents"_s), home.path(u"Docs"_s)));
    const std::optional<Trash::Entry> through = Trash::moveToTrash(home.path(u"Docs/real.txt"_s));
    QVERIFY(through);
    QCOMPARE(readInfo(through->infoPath())->path, canonical(target));
}

void TestTrash::nothingMovesThatCannotMove()
{
    TestHome home;
    const QString trash = home.path(u".local/share/Trash"_s);

    // Gone before the trash got to it.
    QVERIFY(!Trash::moveToTrash(home.path(u"Downloads/gone.zip"_s)));
    QVERIFY(!Trash::moveToTrash(QString()));
    QVERIFY(!Trash::moveToTrash(u"relative/path.txt"_s));

    // The trash itself, something inside it, and a folder that holds it.
    const std::optional<Trash::Entry> inside = Trash::moveToTrash(home.file(u"Desktop/once.txt"_s, "1"));
    QVERIFY(inside);
    QVERIFY(!Trash::moveToTrash(inside->filePath()));
    QVERIFY(!Trash::moveToTrash(trash));
    QVERIFY(!Trash::moveToTrash(home.path(u".local"_s)));
    QVERIFY(QFileInfo::exists(inside->filePath()));

    // A folder nobody may take files out of.
    const QString locked = home.folder(u"Locked"_s);
    const QString file = home.file(u"Locked/keep.txt"_s, "keep");
    const QString reason = makeReadOnly(locked, g_ownMounts);
    auto unlock = qScopeGuard([&] {
        ::umount2(QFile::encodeName(locked).constData(), MNT_DETACH);
        QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    });
    if (reason.isEmpty()) {
        QVERIFY(!Trash::moveToTrash(file));
        QCOMPARE(readAll(file), QByteArray("keep"));
    } else {
        qInfo("read-only folder not tried: %s", qPrintable(reason));
    }

    // None of the failures left anything behind.
    QCOMPARE(entriesOf(trash + u"/info"_s), QStringList {u"once.txt.trashinfo"_s});
    QCOMPARE(entriesOf(trash + u"/files"_s), QStringList {u"once.txt"_s});
}

void TestTrash::otherVolume()
{
    TestHome home;
    const QString topdir = canonical(home.path(u"Volume"_s));
    Tmpfs volume(topdir);
    if (!volume.isMounted())
        QSKIP(qPrintable(u"no second volume: "_s + volume.error));
    const QString file = canonical(home.file(u"Volume/Sub dir/x y%.txt"_s, "on the stick"));

    const std::optional<Trash::Entry> entry = Trash::moveToTrash(file);
    QVERIFY(entry);
    const QString own = topdir + u"/.Trash-"_s + QString::number(::getuid());
    QCOMPARE(entry->trashPath, own);
    QCOMPARE(modeOf(own) & 07777, mode_t(0700));
    QVERIFY(S_ISDIR(modeOf(own)));
    QCOMPARE(readAll(entry->filePath()), QByteArray("on the stick"));
    // Nothing crossed into the home trash.
    QVERIFY(!QFileInfo::exists(home.path(u".local/share/Trash/files/x y%.txt"_s)));

    // The path is relative to the volume's top folder.
    const QList<QByteArray> lines = readAll(entry->infoPath()).split('\n');
    QCOMPARE(lines.value(1), "Path=Sub%20dir/x%20y%25.txt");
    if (const QString listed = trashList(); !listed.isEmpty())
        QVERIFY2(listed.contains(u' ' + file + u'\n'), qPrintable(listed));
    QVERIFY(restore(*entry, topdir));
    QCOMPARE(readAll(file), QByteArray("on the stick"));

    // A second file reuses the folder as it is.
    QVERIFY(Trash::moveToTrash(home.file(u"Volume/top.txt"_s, "t")));
    QCOMPARE(readAll(own + u"/info/top.txt.trashinfo"_s).split('\n').value(1), "Path=top.txt");
}

void TestTrash::sharedTopdirTrash()
{
    TestHome home;
    const QString topdir = canonical(home.path(u"Shared"_s));
    Tmpfs volume(topdir);
    if (!volume.isMounted())
        QSKIP(qPrintable(u"no second volume: "_s + volume.error));
    const QString uid = QString::number(::getuid());
    const QByteArray shared = QFile::encodeName(topdir + u"/.Trash"_s);

    // Without the sticky bit the administrator's folder is not to be trusted.
    QVERIFY(::mkdir(shared.constData(), 0777) == 0 && ::chmod(shared.constData(), 0777) == 0);
    std::optional<Trash::Entry> entry = Trash::moveToTrash(home.file(u"Shared/a.txt"_s, "a"));
    QVERIFY(entry);
    QCOMPARE(entry->trashPath, topdir + u"/.Trash-"_s + uid);
    QVERIFY(!QFileInfo::exists(topdir + u"/.Trash/"_s + uid));

    // With it, the user's own folder inside it is used, made private.
    QVERIFY(::chmod(shared.constData(), 01777) == 0);
    entry = Trash::moveToTrash(home.file(u"Shared/Team/b c.txt"_s, "b"));
    QVERIFY(entry);
    QCOMPARE(entry->trashPath, topdir + u"/.Trash/"_s + uid);
    QCOMPARE(modeOf(entry->trashPath) & 07777, mode_t(0700));
    QCOMPARE(readAll(entry->infoPath()).split('\n').value(1), "Path=Team/b%20c.txt");
    if (const QString listed = trashList(); !listed.isEmpty())
        QVERIFY2(listed.contains(u' ' + topdir + u"/Team/b c.txt\n"_s), qPrintable(listed));

    // A link in its place is never followed.
    QVERIFY(QDir(topdir).rename(u".Trash"_s, u"Real"_s));
    QVERIFY(QFile::link(topdir + u"/Real"_s, topdir + u"/.Trash"_s));
    entry = Trash::moveToTrash(home.file(u"Shared/d.txt"_s, "d"));
    QVERIFY(entry);
    QCOMPARE(entry->trashPath, topdir + u"/.Trash-"_s + uid);
}

int main(int argc, char *argv[])
{
    // Mounts made here stay in a namespace of this process and vanish with it, whatever happens.
    g_ownMounts = ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    QCoreApplication app(argc, argv);
    TestTrash test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_trash.moc"
