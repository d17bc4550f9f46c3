#include "FilePath.h"
#include "TestHome.h"
#include "files/Trash.h"
#include "models/FileItem.h"
#include "search/LibraryStore.h"
#include "thumbnails/ThumbnailCache.h"

#include <QCoro/QCoroTask>
#include <QCryptographicHash>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <memory>

#include <fcntl.h>
#include <fts.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Files and folders made through the system calls, so that their names are exactly these bytes.
bool writeRaw(const QByteArray &path, const QByteArray &contents)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const bool written = ::write(fd, contents.constData(), size_t(contents.size())) == ssize_t(contents.size());
    return ::close(fd) == 0 && written;
}

std::optional<QByteArray> readRaw(const QByteArray &path)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    QByteArray contents;
    char buffer[4096];
    ssize_t n = 0;
    while ((n = ::read(fd, buffer, sizeof buffer)) > 0)
        contents.append(buffer, qsizetype(n));
    ::close(fd);
    return contents;
}

bool existsRaw(const QByteArray &path)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0;
}

// Qt's own removal cannot name these entries, so the test home is emptied by bytes first.
void removeTree(const QByteArray &root)
{
    char *roots[] = {const_cast<char *>(root.constData()), nullptr};
    FTS *tree = ::fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR, nullptr);
    if (!tree)
        return;
    while (FTSENT *entry = ::fts_read(tree)) {
        if (entry->fts_info == FTS_DP)
            ::rmdir(entry->fts_accpath);
        else if (entry->fts_info != FTS_D)
            ::unlink(entry->fts_accpath);
    }
    ::fts_close(tree);
}

} // namespace

// A home holding a file and a folder whose names are not UTF-8 (Latin-1 bytes, as old archives and
// other systems' disks bring them): velk-find indexes them, finds them by the readable part of the
// name, reads their contents, prints their exact bytes, and the Trash, the thumbnail cache and the
// app's items reach the real files.
class TestByteNames : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestHome> m_home;
    QByteArray m_root;
    QByteArray m_file; // Documents/Quokka-\xff.txt
    QByteArray m_folder; // Documents/caf\xe9
    QByteArray m_inner; // Documents/caf\xe9/inner notes.txt
    QByteArray m_picture; // Pictures/shot-\xff.png

    struct Run {
        int exitCode = -1;
        QByteArray out;
    };

    Run velkFind(const QStringList &arguments) const
    {
        QProcess find;
        find.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        find.start(QStringLiteral(VELK_FIND_BIN), arguments);
        if (!find.waitForFinished(120000) || find.exitStatus() != QProcess::NormalExit)
            return {};
        return {find.exitCode(), find.readAllStandardOutput()};
    }

    // The exact paths a query prints with -0.
    QList<QByteArray> found(const QStringList &arguments) const
    {
        const Run run = velkFind(QStringList {u"-0"_s} + arguments);
        if (run.exitCode != 0)
            return {"velk-find failed"};
        QList<QByteArray> paths = run.out.split('\0');
        if (!paths.isEmpty() && paths.last().isEmpty())
            paths.removeLast();
        std::sort(paths.begin(), paths.end());
        return paths;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_home = std::make_unique<TestHome>();
        m_root = m_home->root().toUtf8();
        m_home->folder(u"Documents"_s);
        m_home->folder(u"Pictures"_s);
        m_home->file(u"Documents/plain.txt"_s, "nothing to see\n");

        m_file = m_root + "/Documents/Quokka-\xff.txt";
        m_folder = m_root + "/Documents/caf\xe9";
        m_inner = m_folder + "/inner notes.txt";
        m_picture = m_root + "/Pictures/shot-\xff.png";
        QVERIFY(writeRaw(m_file, "quarterly zanzibar figures\n"));
        QVERIFY(::mkdir(m_folder.constData(), 0755) == 0);
        QVERIFY(writeRaw(m_inner, "a jar of marmalade\n"));
        QVERIFY(writeRaw(m_folder + "/plan.txt", "steps\n"));
        QImage image(24, 16, QImage::Format_RGB32);
        image.fill(Qt::darkCyan);
        const QString staged = m_home->path(u"Pictures/staged.png"_s);
        QVERIFY(image.save(staged, "PNG"));
        QVERIFY(::rename(staged.toUtf8().constData(), m_picture.constData()) == 0);

        QProcess update;
        update.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        update.start(QStringLiteral(VELK_FIND_BIN), {u"--update"_s});
        QVERIFY(update.waitForFinished(120000));
        QCOMPARE(update.exitStatus(), QProcess::NormalExit);
        QCOMPARE(update.exitCode(), 0);
    }

    void cleanupTestCase()
    {
        if (m_home)
            removeTree(m_root);
    }

    void foundByTheReadablePartOfTheName()
    {
        QCOMPARE(found({u"quokka"_s}), QList<QByteArray> {m_file});
        QCOMPARE(found({u"--raw"_s, u"kMDItemFSName == 'caf*'"_s}), QList<QByteArray> {m_folder});
    }

    void contentsAreRead() { QCOMPARE(found({u"zanzibar"_s}), QList<QByteArray> {m_file}); }

    void folderContentsAreIndexed()
    {
        QCOMPARE(found({u"marmalade"_s}), QList<QByteArray> {m_inner});
        QList<QByteArray> texts {m_root + "/Documents/plain.txt", m_file, m_folder + "/inner notes.txt", m_folder + "/plan.txt"};
        std::sort(texts.begin(), texts.end());
        QCOMPARE(found({u"--raw"_s, u"kMDItemFSName == '*.txt'"_s, u"--scope"_s, m_home->path(u"Documents"_s)}), texts);
    }

    void scopeGivenAsExactBytes()
    {
        // QProcess would encode the arguments as UTF-8; the shell passes the folder's real bytes.
        QProcess shell;
        shell.start(u"/bin/sh"_s,
            {u"-c"_s, u"exec \"$0\" -0 --raw \"kMDItemFSName == '*.txt'\" --scope \"$(printf '%s/Documents/caf\\351' \"$1\")\""_s,
                QStringLiteral(VELK_FIND_BIN), m_home->root()});
        QVERIFY(shell.waitForFinished(120000));
        QCOMPARE(shell.exitCode(), 0);
        QList<QByteArray> paths = shell.readAllStandardOutput().split('\0');
        paths.removeAll(QByteArray());
        std::sort(paths.begin(), paths.end());
        QCOMPARE(paths, (QList<QByteArray> {m_inner, m_folder + "/plan.txt"}));
    }

    void printedForProgramsAndPeople()
    {
        // Into a pipe: the exact bytes, one path per line.
        const Run piped = velkFind({u"quokka"_s});
        QCOMPARE(piped.exitCode, 0);
        QCOMPARE(piped.out, m_file + '\n');

        // JSON: readable with the bytes marked, and the exact bytes beside it.
        const Run json = velkFind({u"--json"_s, u"quokka"_s});
        QCOMPARE(json.exitCode, 0);
        const QJsonArray items = QJsonDocument::fromJson(json.out).object().value(u"items"_s).toArray();
        QCOMPARE(items.size(), 1);
        const QJsonObject item = items.first().toObject();
        QCOMPARE(item.value(u"path"_s).toString(), QString::fromUtf8(m_root) + u"/Documents/Quokka-\ufffd.txt"_s);
        QCOMPARE(QByteArray::fromBase64(item.value(u"pathBytes"_s).toString().toLatin1()), m_file);
        QCOMPARE(item.value(u"name"_s).toString(), u"Quokka-\ufffd.txt"_s);
        const Run plain = velkFind({u"--json"_s, u"--raw"_s, u"kMDItemFSName == 'plain.txt'"_s});
        const QJsonObject plainItem = QJsonDocument::fromJson(plain.out).object().value(u"items"_s).toArray().first().toObject();
        QCOMPARE(plainItem.value(u"path"_s).toString(), m_home->path(u"Documents/plain.txt"_s));
        QVERIFY(!plainItem.contains(u"pathBytes"_s));

        // On a terminal: one escaped line.
        const QString script = QStandardPaths::findExecutable(u"script"_s);
        if (script.isEmpty())
            QSKIP("no script(1) to give velk-find a terminal");
        QProcess terminal;
        terminal.start(script, {u"-qec"_s, QStringLiteral(VELK_FIND_BIN " quokka"), u"/dev/null"_s});
        QVERIFY(terminal.waitForFinished(120000));
        const QByteArray shown = terminal.readAllStandardOutput();
        QVERIFY2(shown.contains(m_root + "/Documents/Quokka-\\xff.txt"), shown.constData());
        QVERIFY(!shown.contains('\xff'));
    }

    void thumbnailCacheNamesTheExactFile()
    {
        const QString path = FilePath::fromNative(m_picture);
        const auto source = ThumbnailCache::Source::of(path);
        QVERIFY(source);
        const QByteArray uri = "file://" + m_root + "/Pictures/shot-%FF.png";
        QCOMPARE(source->uri, uri);
        QImage picture(24, 16, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QVERIFY(ThumbnailCache::write(*source, ThumbnailCache::Flavor::normal, picture, u"image/png"_s));
        const QString md5 = QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex());
        QVERIFY(QFile::exists(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + u"/thumbnails/normal/"_s + md5 + u".png"_s));
        QVERIFY(ThumbnailCache::read(*source, ThumbnailCache::Flavor::normal));
    }

    void itemsReachTheRealFile()
    {
        const QString path = FilePath::fromNative(m_file);
        const auto item = FileItem::fromUrl(FilePath::toUrl(path));
        QVERIFY(item);
        QCOMPARE(item->url.toEncoded(), "file://" + m_root + "/Documents/Quokka-%FF.txt");
        QCOMPARE(FilePath::toNative(item->path()), m_file);
        QCOMPARE(item->name, u"Quokka-\ufffd.txt"_s);
        QCOMPARE(item->size, qint64(27));
        QCOMPARE(item->contentType->identifier(), u"public.plain-text"_s);
        // The URL survives the string forms the app passes it through.
        QCOMPARE(FilePath::toNative(FilePath::fromUrl(QUrl(item->url.toString()))), m_file);
    }

    void folderListingKeepsTheExactNames()
    {
        const FolderListing listing = QCoro::waitFor(LibraryStore::listFolder(FilePath::toUrl(FilePath::fromNative(m_root + "/Documents"))));
        QVERIFY(listing.ok());
        QList<QByteArray> paths;
        QStringList names;
        for (const FileItem &item : listing.items) {
            paths << FilePath::toNative(item.path());
            names << item.name;
        }
        std::sort(paths.begin(), paths.end());
        names.sort();
        QCOMPARE(paths, (QList<QByteArray> {m_root + "/Documents/Quokka-\xff.txt", m_folder, m_root + "/Documents/plain.txt"}));
        QCOMPARE(names, (QStringList {u"Quokka-\ufffd.txt"_s, u"caf\ufffd"_s, u"plain.txt"_s}));
        const auto inside = QCoro::waitFor(LibraryStore::listFolder(FilePath::toUrl(FilePath::fromNative(m_folder))));
        QCOMPARE(inside.items.size(), 2);
    }

    void trashMovesTheRealFiles()
    {
        const QString homeTrash = m_home->path(u".local/share/Trash"_s);
        const auto folder = Trash::moveToTrash(FilePath::fromNative(m_folder), homeTrash);
        QVERIFY(folder);
        QCOMPARE(FilePath::toNative(folder->name), QByteArray("caf\xe9"));
        QVERIFY(!existsRaw(m_folder));
        QVERIFY(existsRaw(FilePath::toNative(folder->filePath()) + "/inner notes.txt"));
        const auto info = readRaw(FilePath::toNative(folder->infoPath()));
        QVERIFY(info);
        QVERIFY2(info->contains("\nPath=" + Trash::encodePath(m_root) + "/Documents/caf%E9\n"), info->constData());

        const auto file = Trash::moveToTrash(FilePath::fromNative(m_file), homeTrash);
        QVERIFY(file);
        QVERIFY(!existsRaw(m_file));
        QCOMPARE(readRaw(FilePath::toNative(file->filePath())), std::optional<QByteArray>("quarterly zanzibar figures\n"));
        QVERIFY(readRaw(FilePath::toNative(file->infoPath()))->contains("/Documents/Quokka-%FF.txt\n"));

        // The next update lets go of them.
        QCOMPARE(velkFind({u"--update"_s}).exitCode, 0);
        QCOMPARE(found({u"quokka"_s}), QList<QByteArray> {});
        QCOMPARE(found({u"marmalade"_s}), QList<QByteArray> {});
    }
};

QTEST_MAIN(TestByteNames)
#include "tst_bytenames.moc"
