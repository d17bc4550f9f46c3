#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

// velk-genhome writes the fixture homes of the benchmarks; these runs check it is reproducible and has
// every kind of entry the indexer has to cope with.
class TestGenHome : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    struct Run {
        int exitCode = -1;
        QByteArray out, err;
    };

    static Run run(const QStringList &args)
    {
        QProcess p;
        p.start(QStringLiteral(GENHOME_BIN), args);
        p.waitForFinished(60000);
        return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1, p.readAllStandardOutput(), p.readAllStandardError()};
    }

    QString generate(const QString &name, int seed)
    {
        const QString out = m_dir.filePath(name);
        const Run r = run({QStringLiteral("--files"), QStringLiteral("500"), QStringLiteral("--seed"), QString::number(seed), QStringLiteral("--now"),
            QStringLiteral("1767225600"), out});
        if (r.exitCode != 0)
            qWarning() << r.err;
        return r.exitCode == 0 ? out : QString();
    }

    // Every entry below root: its type, size, modification time in ns, and a link's target.
    static QMap<QString, QString> listing(const QString &root)
    {
        QMap<QString, QString> entries;
        QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            struct stat st {
            };
            if (::lstat(QFile::encodeName(path).constData(), &st) != 0)
                continue;
            const char type = S_ISLNK(st.st_mode) ? 'l' : S_ISDIR(st.st_mode) ? 'd' : 'f';
            const qint64 ns = qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
            entries.insert(path.mid(root.size() + 1),
                QStringLiteral("%1 %2 %3 %4 %5")
                    .arg(QLatin1Char(type))
                    .arg(S_ISDIR(st.st_mode) ? 0 : st.st_size)
                    .arg(ns)
                    .arg(st.st_mode & 07777, 0, 8)
                    .arg(readLink(path)));
        }
        return entries;
    }

    static QString readLink(const QString &path)
    {
        char buf[4096];
        const ssize_t n = ::readlink(QFile::encodeName(path).constData(), buf, sizeof buf);
        return n > 0 ? QFile::decodeName(QByteArray(buf, int(n))) : QString();
    }

    static QStringList withType(const QMap<QString, QString> &entries, char type)
    {
        QStringList out;
        for (auto it = entries.cbegin(); it != entries.cend(); ++it)
            if (it.value().startsWith(QLatin1Char(type)))
                out.append(it.key());
        return out;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    void cleanupTestCase()
    {
        // Locked folders would stop QTemporaryDir from removing the tree.
        QDirIterator it(m_dir.path(), QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot | QDir::NoSymLinks, QDirIterator::Subdirectories);
        while (it.hasNext())
            ::chmod(QFile::encodeName(it.next()).constData(), 0755);
    }

    void sameSeedSameTree()
    {
        const QString a = generate(QStringLiteral("a"), 7), b = generate(QStringLiteral("b"), 7), c = generate(QStringLiteral("c"), 8);
        QVERIFY(!a.isEmpty() && !b.isEmpty() && !c.isEmpty());
        const auto la = listing(a), lb = listing(b), lc = listing(c);
        QCOMPARE(la.size(), lb.size());
        QCOMPARE(la, lb);
        QVERIFY(la != lc);

        const QStringList files = withType(la, 'f');
        QVERIFY2(files.size() >= 480 && files.size() <= 600, qPrintable(QString::number(files.size())));

        // The kinds of entry an indexer meets in a real home folder.
        const auto has = [&](const QString &needle) { return std::any_of(la.keyBegin(), la.keyEnd(), [&](const QString &k) { return k.contains(needle); }); };
        for (const char *needle : {".cache/", ".config/", ".local/share/", "/.git/", "/node_modules/", "site-packages/", ".app/Contents/", ".framework/",
                 "Pictures/Screenshots/Screenshot from ", "Applications/", ".local/share/applications/", "Music/", "Videos/", "Downloads/"})
            QVERIFY2(has(QString::fromLatin1(needle)), needle);
        QVERIFY(files.filter(QStringLiteral(".AppImage")).size() >= 1);

        int dangling = 0, loops = 0, toFolders = 0;
        for (const QString &link : withType(la, 'l')) {
            const QFileInfo info(a + QLatin1Char('/') + link);
            dangling += !info.exists();
            loops += readLink(info.filePath()) == QLatin1String(".");
            toFolders += info.isDir();
        }
        QVERIFY(dangling >= 1);
        QVERIFY(loops >= 1);
        QVERIFY(toFolders >= 1);

        int locked = 0;
        for (auto it = la.cbegin(); it != la.cend(); ++it)
            locked += it.value().startsWith(QLatin1String("d 0 ")) && it.value().section(QLatin1Char(' '), 3, 3) == QLatin1String("0");
        QVERIFY(locked >= 1);

        QFile dirs(a + QStringLiteral("/.config/user-dirs.dirs"));
        QVERIFY(dirs.open(QIODevice::ReadOnly));
        const QByteArray text = dirs.readAll();
        QVERIFY(text.contains("XDG_DOWNLOAD_DIR=\"$HOME/Downloads\""));
        QVERIFY(text.contains("XDG_PICTURES_DIR=\"$HOME/Pictures\""));
    }

    void rejectsBadArguments()
    {
        QCOMPARE(run({QStringLiteral("--files"), QStringLiteral("many"), m_dir.filePath(QStringLiteral("x"))}).exitCode, 2);
        QCOMPARE(run({QStringLiteral("--files"), QStringLiteral("10")}).exitCode, 2);
        const Run notEmpty = run({QStringLiteral("--files"), QStringLiteral("10"), m_dir.path()});
        QVERIFY(notEmpty.exitCode != 0);
        QVERIFY(notEmpty.err.contains("not empty"));
        const Run unwritable = run({QStringLiteral("--files"), QStringLiteral("10"), QStringLiteral("/proc/velk-genhome")});
        QVERIFY(unwritable.exitCode != 0);
        QVERIFY(unwritable.err.contains("/proc/velk-genhome"));
    }
};

QTEST_GUILESS_MAIN(TestGenHome)
#include "tst_genhome.moc"
