#include "Samples.h"
#include "TestHome.h"

#include <QDir>
#include <QProcess>
#include <QTest>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// A home folder holding the files that stop indexers: a locked PDF, FIFOs and a socket named like
// documents, a device node where the system allows one, and files that crash a decoder, hang it or
// ask for more memory than a worker may have (the worker's test-only fault switch plays those). The
// index must finish, read everything else, record the bad files once and not try them again, and
// the program must start over the same home.
class TestRobustHome : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestHome> m_home;

    QString failedList() const { return m_home->path(u".cache/velk/failed-files"_s); }

    static QStringList run(const QString &program, const QStringList &arguments, int *exitCode = nullptr)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(program, arguments);
        if (!process.waitForFinished(180000)) {
            process.kill();
            return {u"timed out: "_s + arguments.join(u' ')};
        }
        if (exitCode)
            *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        QStringList lines = QString::fromUtf8(process.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
        lines.sort();
        return lines;
    }

    QStringList find(const QString &raw) const
    {
        QStringList found;
        for (const QString &line : run(QStringLiteral(VELK_FIND_BIN), {u"--raw"_s, raw}))
            found.append(QFileInfo(line).fileName());
        return found;
    }

    QStringList recordedNames() const
    {
        QFile list(failedList());
        if (!list.open(QIODevice::ReadOnly))
            return {};
        QStringList names;
        for (const QByteArray &line : list.readAll().split('\n')) {
            const QList<QByteArray> fields = line.split('\t');
            if (fields.size() == 4)
                names.append(QFileInfo(QString::fromUtf8(QByteArray::fromPercentEncoding(fields[3]))).fileName() + u':' + QString::fromUtf8(fields[2]));
        }
        names.sort();
        return names;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_home = std::make_unique<TestHome>();
        qputenv("VELK_WORKER_FAULT", "crash=crashes;hang=hangs;memory=greedy");
        qputenv("VELK_WORKER_TIMEOUT_MS", "8000");
        qputenv("VELK_WORKER_MEMORY_MB", "768");
        QString error;

        QVERIFY(samples::pdf(m_home->path(u"Documents/minutes.pdf"_s), u"Minutes"_s, {u"Lighthouse committee"_s}));
        QVERIFY(samples::pdf(m_home->path(u"Documents/plans.pdf"_s), u"Plans"_s, {u"Secret harbour plans"_s}));
        QVERIFY2(
            samples::run(u"qpdf"_s,
                {u"--encrypt"_s, u"user"_s, u"owner"_s, u"256"_s, u"--"_s, m_home->path(u"Documents/plans.pdf"_s), m_home->path(u"Documents/locked.pdf"_s)},
                &error),
            qPrintable(error));
        QVERIFY(QFile::remove(m_home->path(u"Documents/plans.pdf"_s)));
        QVERIFY2(samples::jpeg(m_home->path(u"Pictures/IMG_2001.jpg"_s), 64, 48, {u"set Exif.Image.Make Canon"_s}, &error), qPrintable(error));
        m_home->file(u"Documents/notes.txt"_s, "the ferry leaves at noon\n");

        // A folder and a file whose names are not UTF-8.
        const QByteArray odd = QFile::encodeName(m_home->root()) + "/Documents/caf\xe9";
        QCOMPARE(::mkdir(odd.constData(), 0700), 0);
        const int fd = ::open((odd + "/men\xfc.txt").constData(), O_WRONLY | O_CREAT, 0600);
        QVERIFY(fd >= 0);
        QCOMPARE(::write(fd, "espresso and croissants\n", 24), 24);
        ::close(fd);

        QDir().mkpath(m_home->path(u"Downloads"_s));
        for (const char *name : {"x.pdf", "x.jpg", "x.mp3", "x.docx"})
            QCOMPARE(::mkfifo(QFile::encodeName(m_home->path(u"Downloads/"_s + QLatin1String(name))).constData(), 0600), 0);
        const QByteArray socketPath = QFile::encodeName(m_home->path(u"Downloads/x.mov"_s));
        const int s = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, socketPath.constData(), sizeof address.sun_path);
        QCOMPARE(::bind(s, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        ::close(s);
        // A device node like /dev/zero, where this process may make one.
        ::mknod(QFile::encodeName(m_home->path(u"Downloads/zero.mkv"_s)).constData(), S_IFCHR | 0600, makedev(1, 5));

        QVERIFY2(samples::jpeg(m_home->path(u"Pictures/crashes.jpg"_s), 64, 48, {}, &error), qPrintable(error));
        QVERIFY2(samples::jpeg(m_home->path(u"Pictures/hangs.jpg"_s), 64, 48, {}, &error), qPrintable(error));
        QVERIFY(samples::pdf(m_home->path(u"Documents/greedy.pdf"_s), u"Greedy"_s, {u"Avalanche"_s}));
    }

    void updateFinishesAndReadsEverythingElse()
    {
        int status = -1;
        run(QStringLiteral(VELK_FIND_BIN), {u"--update"_s}, &status);
        QCOMPARE(status, 0);
        QCOMPARE(find(u"kMDItemTextContent == \"lighthouse*\"cdw"_s), QStringList {u"minutes.pdf"_s});
        QCOMPARE(find(u"kMDItemTextContent == \"ferry*\"cdw"_s), QStringList {u"notes.txt"_s});
        QCOMPARE(find(u"kMDItemTextContent == \"espresso*\"cdw"_s).size(), 1);
        QCOMPARE(find(u"kMDItemAcquisitionMake == \"Canon\""_s), QStringList {u"IMG_2001.jpg"_s});
        // Indexed by their names, read for nothing.
        QCOMPARE(find(u"kMDItemFSName == \"x.*\""_s), (QStringList {u"x.docx"_s, u"x.jpg"_s, u"x.mov"_s, u"x.mp3"_s, u"x.pdf"_s}));
        QCOMPARE(find(u"kMDItemFSName == \"locked.pdf\""_s), QStringList {u"locked.pdf"_s});
        QCOMPARE(find(u"kMDItemTextContent == \"secret*\"cdw"_s), QStringList());
        QCOMPARE(find(u"kMDItemTextContent == \"avalanche*\"cdw"_s), QStringList());

        QCOMPARE(recordedNames(), (QStringList {u"crashes.jpg:crashed"_s, u"greedy.pdf:out-of-memory"_s, u"hangs.jpg:timed-out"_s}));
    }

    void theBadFilesAreNotTriedAgain()
    {
        const QDateTime written = QFileInfo(failedList()).lastModified();
        QVERIFY(written.isValid());
        QTest::qWait(20);
        int status = -1;
        run(QStringLiteral(VELK_FIND_BIN), {u"--update"_s}, &status);
        QCOMPARE(status, 0);
        // Even an index made anew does not hand them to a worker again.
        QVERIFY(QFile::remove(m_home->path(u".cache/velk/index.sqlite"_s)));
        run(QStringLiteral(VELK_FIND_BIN), {u"--update"_s}, &status);
        QCOMPARE(status, 0);
        QCOMPARE(QFileInfo(failedList()).lastModified(), written);
        QCOMPARE(find(u"kMDItemTextContent == \"lighthouse*\"cdw"_s), QStringList {u"minutes.pdf"_s});

        // Changed, a file is read again.
        QVERIFY(TestHome::setModified(m_home->path(u"Pictures/crashes.jpg"_s), QDateTime::currentDateTime().addDays(-1)));
        run(QStringLiteral(VELK_FIND_BIN), {u"--update"_s}, &status);
        QCOMPARE(status, 0);
        QVERIFY(QFileInfo(failedList()).lastModified() != written);
    }

    void theProgramStartsOverTheSameHome()
    {
        QProcess velk;
        velk.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        velk.start(QStringLiteral(VELK_BIN), {});
        QVERIFY(velk.waitForStarted());
        // Long enough to open the index, walk the home and read what changed.
        QVERIFY(!velk.waitForFinished(6000));
        QCOMPARE(velk.state(), QProcess::Running);
        velk.terminate();
        velk.waitForFinished(5000);
    }
};

QTEST_MAIN(TestRobustHome)
#include "tst_robusthome.moc"
