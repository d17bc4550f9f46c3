#include "../extractors/Samples.h"
#include "TestHome.h"

#include "MetadataRecord.h"
#include "mdindex/MetadataIndex.h"
#include "mdindex/Query.h"
#include "mdindex/WorkerExtractors.h"
#include "thumbnails/ThumbnailCache.h"
#include "thumbnails/ThumbnailGenerator.h"
#include "worker/FailedFiles.h"
#include "worker/ParseWorkers.h"

#include <QDir>
#include <QPainter>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <thread>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using ParseWorkers::Outcome;
using ParseWorkers::Priority;

// The parsing workers, really run: the velk-worker program beside this test reads real files, and
// the worker's test-only fault switch stands in for files that crash, hang or exhaust a decoder.
class TestParseWorkers : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestHome> m_home;

    static mdindex::FileFacts facts(const QString &path, const QString &type)
    {
        mdindex::FileFacts f = samples::factsOf(path);
        f.contentType = type;
        return f;
    }

    struct WorkerProcess {
        QString pid;
        QList<QByteArray> fields; // of /proc/PID/stat after the name: the state first
    };

    // Each velk-worker this process started.
    static QList<WorkerProcess> workers()
    {
        QList<WorkerProcess> found;
        for (const QString &pid : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
            QFile stat(u"/proc/"_s + pid + u"/stat"_s);
            if (!stat.open(QIODevice::ReadOnly))
                continue;
            const QByteArray line = stat.readAll();
            const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
            if (fields.size() > 16 && fields[1].toInt() == ::getpid() && line.contains("(velk-worker)"))
                found.append({pid, fields});
        }
        return found;
    }

    // Workers that have not ended yet. A worker's main thread may be a zombie while its other threads
    // still end, holding the socket open; it has ended when it is a zombie with no thread left but that.
    static int liveWorkers()
    {
        const auto all = workers();
        return int(std::count_if(all.begin(), all.end(), [](const WorkerProcess &w) {
            return w.fields[0] != "Z" || QDir(u"/proc/"_s + w.pid + u"/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() > 1;
        }));
    }

    // Their nice values (field 19 of the whole line).
    static QList<int> workerNiceValues()
    {
        QList<int> values;
        for (const WorkerProcess &w : workers())
            values.append(w.fields[16].toInt());
        return values;
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Read by each worker when it starts: every worker of this test carries the faults.
        qputenv("VELK_WORKER_FAULT", "crash=crashes;hang=hangs;memory=greedy");
        m_home = std::make_unique<TestHome>();
        ParseWorkers::Settings settings = ParseWorkers::settings();
        settings.memoryLimitBytes = 768ll * 1024 * 1024;
        // Long enough for any real request on a loaded machine, short enough for the hanging file.
        settings.timeout = 8s;
        ParseWorkers::configure(settings);
        QVERIFY2(!ParseWorkers::program().isEmpty(), "velk-worker is not beside the test");
    }

    void readsDocumentsAndPictures()
    {
        const QString pdf = m_home->path(u"Documents/report.pdf"_s);
        QVERIFY(samples::pdf(pdf, u"Quarterly Report"_s, {u"Lighthouse keepers"_s, u"second page"_s}));
        const auto attributes = ParseWorkers::extract(pdf, facts(pdf, u"com.adobe.pdf"_s), Priority::background);
        QVERIFY(attributes);
        QCOMPARE(attributes->value(MDAttribute::numberOfPages.toString()).toLongLong(), 2);
        QCOMPARE(attributes->value(MDAttribute::title.toString()).toString(), u"Quarterly Report"_s);
        QVERIFY(attributes->value(MDAttribute::textContent.toString()).toString().contains(u"Lighthouse"_s));

        QString error;
        const QString photo = m_home->path(u"Pictures/IMG_1.jpg"_s);
        QVERIFY2(samples::jpeg(photo, 120, 80, {u"set Exif.Image.Make Canon"_s}, &error), qPrintable(error));
        const auto picture = ParseWorkers::extract(photo, facts(photo, u"public.jpeg"_s), Priority::interactive);
        QVERIFY(picture);
        QCOMPARE(picture->value(MDAttribute::pixelWidth.toString()).toLongLong(), 120);
        QCOMPARE(picture->value(MDAttribute::acquisitionMake.toString()).toString(), u"Canon"_s);

        // The page as a picture, for the preview.
        int pages = 0;
        const QImage page = ParseWorkers::renderPage(pdf, 1, 400, &pages);
        QCOMPARE(pages, 2);
        QCOMPARE(std::max(page.width(), page.height()), 400);
    }

    void thumbnailsGoToTheSharedCache()
    {
        QString error;
        const QString photo = m_home->path(u"Pictures/wide.jpg"_s);
        QVERIFY2(samples::jpeg(photo, 900, 300, {}, &error), qPrintable(error));
        const QImage image = ParseWorkers::thumbnail(photo, int(ThumbnailGenerator::Kind::picture), 256);
        QCOMPARE(image.size(), QSize(256, 85));
        const auto source = ThumbnailCache::Source::of(photo);
        QVERIFY(source);
        const auto stored = ThumbnailCache::read(*source, ThumbnailCache::Flavor::large);
        QVERIFY2(stored, "the worker did not store the thumbnail");
        QCOMPARE(stored->size(), QSize(256, 85));

        // A file with no picture in it is remembered as such, as the cache's conventions ask.
        const QString broken = m_home->file(u"Pictures/broken.png"_s, "\x89PNG\r\n\x1a\nnot really");
        QVERIFY(ParseWorkers::thumbnail(broken, int(ThumbnailGenerator::Kind::picture), 128).isNull());
        QVERIFY(ThumbnailCache::hasFailed(*ThumbnailCache::Source::of(broken)));
    }

    void recognisesWordsWithTheirBoxes()
    {
        QImage shot(900, 200, QImage::Format_RGB32);
        shot.fill(Qt::white);
        {
            QPainter p(&shot);
            QFont font(u"DejaVu Sans"_s);
            font.setPixelSize(40);
            p.setFont(font);
            p.setPen(Qt::black);
            p.drawText(QRect(0, 0, 900, 200), Qt::AlignCenter, u"Harbour lights tonight"_s);
            p.drawText(QRect(0, 140, 900, 60), Qt::AlignCenter, u"Ferry leaves early"_s);
        }
        const QString path = m_home->path(u"Pictures/shot.png"_s);
        QVERIFY(shot.save(path));
        QSize size;
        const RecognizedText read = ParseWorkers::recognizeWords(path, Priority::interactive, &size);
        QCOMPARE(size, QSize(900, 200));
        QVERIFY2(read.text.contains(u"Harbour"_s), qPrintable(read.text));
        const auto harbour = std::find_if(read.words.begin(), read.words.end(), [](const RecognizedWord &w) { return w.text == u"Harbour"_s; });
        QVERIFY(harbour != read.words.end());
        // The word sits left of the middle, inside the line that was drawn.
        QVERIFY(harbour->box.left() > 100 && harbour->box.right() < 450);
        QVERIFY(harbour->box.top() > 60 && harbour->box.bottom() < 140);
        // Lines come across too, counted as the text is joined.
        const auto lineOf = [&read](const QString &text) {
            const auto word = std::find_if(read.words.begin(), read.words.end(), [&](const RecognizedWord &w) { return w.text == text; });
            return word == read.words.end() ? -1 : word->line;
        };
        QVERIFY2(read.text.count(u'\n') == 1, qPrintable(read.text));
        QCOMPARE(lineOf(u"tonight"_s), 0);
        QCOMPARE(lineOf(u"Ferry"_s), 1);
        QCOMPARE(lineOf(u"early"_s), 1);
        QVERIFY(ParseWorkers::recognizeText(path, Priority::interactive).contains(u"tonight"_s));
    }

    void lockedPdfGivesWhatItCanWithoutAPassword()
    {
        const QString plain = m_home->path(u"Documents/plain.pdf"_s);
        QVERIFY(samples::pdf(plain, u"Secret Plans"_s, {u"Nobody may read this"_s}));
        const QString locked = m_home->path(u"Documents/locked.pdf"_s);
        QString error;
        QVERIFY2(samples::run(u"qpdf"_s, {u"--encrypt"_s, u"user"_s, u"owner"_s, u"256"_s, u"--"_s, plain, locked}, &error), qPrintable(error));

        Outcome outcome = Outcome::unavailable;
        const auto attributes = ParseWorkers::extract(locked, facts(locked, u"com.adobe.pdf"_s), Priority::background, &outcome);
        QCOMPARE(outcome, Outcome::answered);
        QVERIFY(!attributes->contains(MDAttribute::textContent.toString()));
        QCOMPARE(ParseWorkers::recognizeText(locked, Priority::background), QString());
        QVERIFY(ParseWorkers::thumbnail(locked, int(ThumbnailGenerator::Kind::pdf), 128).isNull());
        QVERIFY(ParseWorkers::renderPage(locked, 0, 200).isNull());
        // Nothing crashed, so nothing was recorded against it.
        QVERIFY(!FailedFiles::contains(locked, QFileInfo(locked).size(), QFileInfo(locked).lastModified().toMSecsSinceEpoch()));
    }

    void neverHandsOutWhatIsNotARegularFile()
    {
        const QString fifo = m_home->path(u"Downloads/stream.pdf"_s);
        QDir().mkpath(QFileInfo(fifo).path());
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        const QString socketPath = m_home->path(u"Downloads/socket.jpg"_s);
        const int s = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, QFile::encodeName(socketPath).constData(), sizeof address.sun_path);
        QCOMPARE(::bind(s, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);

        const qint64 requestsBefore = ParseWorkers::statistics().requests;
        for (const QString &path : {fifo, socketPath}) {
            Outcome outcome = Outcome::answered;
            QVERIFY(!ParseWorkers::extract(path, facts(path, u"com.adobe.pdf"_s), Priority::background, &outcome));
            QCOMPARE(outcome, Outcome::failed);
            QVERIFY(ParseWorkers::thumbnail(path, int(ThumbnailGenerator::Kind::picture), 128).isNull());
        }
        ::close(s);
        // Refused before any worker was asked: nothing could block on them.
        QCOMPARE(ParseWorkers::statistics().requests, requestsBefore);
        for (const FailedFiles::Entry &entry : FailedFiles::all())
            QVERIFY2(!entry.path.contains(u"Downloads"_s), qPrintable(entry.path));
    }

    void aFileThatBringsAWorkerDownIsRecordedAndSkipped_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        QTest::newRow("crash") << u"crashes.jpg"_s << u"crashed"_s;
        QTest::newRow("hang") << u"hangs.jpg"_s << u"timed-out"_s;
        QTest::newRow("memory") << u"greedy.jpg"_s << u"out-of-memory"_s;
    }

    void aFileThatBringsAWorkerDownIsRecordedAndSkipped()
    {
        QFETCH(QString, name);
        QFETCH(QString, reason);
        QString error;
        const QString bad = m_home->path(u"Pictures/"_s + name);
        QVERIFY2(samples::jpeg(bad, 64, 48, {}, &error), qPrintable(error));
        const QString good = m_home->path(u"Pictures/fine-"_s + QString::number(QTest::currentDataTag()[0]) + u".jpg"_s);
        QVERIFY2(samples::jpeg(good, 64, 48, {}, &error), qPrintable(error));

        Outcome outcome = Outcome::answered;
        QVERIFY(!ParseWorkers::extract(bad, facts(bad, u"public.jpeg"_s), Priority::background, &outcome));
        QCOMPARE(outcome, Outcome::failed);
        const QList<FailedFiles::Entry> recorded = FailedFiles::all();
        const auto entry = std::find_if(recorded.begin(), recorded.end(), [&](const FailedFiles::Entry &e) { return e.path == bad; });
        QVERIFY(entry != recorded.end());
        QCOMPARE(entry->reason, reason);
        QCOMPARE(entry->size, QFileInfo(bad).size());

        // The next file is read by a fresh worker; the bad one is not handed out again.
        QVERIFY(ParseWorkers::extract(good, facts(good, u"public.jpeg"_s), Priority::background));
        const ParseWorkers::Statistics before = ParseWorkers::statistics();
        QVERIFY(ParseWorkers::thumbnail(bad, int(ThumbnailGenerator::Kind::picture), 128).isNull());
        QCOMPARE(ParseWorkers::statistics().requests, before.requests);
        QCOMPARE(ParseWorkers::statistics().skipped, before.skipped + 1);

        // Once it changes, it is tried again.
        QVERIFY(TestHome::setModified(bad, QDateTime::currentDateTime().addSecs(-60)));
        QVERIFY(!FailedFiles::contains(bad, QFileInfo(bad).size(), QFileInfo(bad).lastModified().toMSecsSinceEpoch()));
        QVERIFY(!ParseWorkers::extract(bad, facts(bad, u"public.jpeg"_s), Priority::background));
        QCOMPARE(ParseWorkers::statistics().requests, before.requests + 1);

        // The record is private to the user.
        struct stat st;
        QCOMPARE(::stat(QFile::encodeName(FailedFiles::location()).constData(), &st), 0);
        QCOMPARE(st.st_mode & 0777, 0600u);
    }

    void backgroundWorkersRunAtTheLowestPriority()
    {
        const QString pdf = m_home->path(u"Documents/report.pdf"_s);
        QVERIFY(ParseWorkers::extract(pdf, facts(pdf, u"com.adobe.pdf"_s), Priority::background));
        QVERIFY(ParseWorkers::extract(pdf, facts(pdf, u"com.adobe.pdf"_s), Priority::interactive));
        const QList<int> nice = workerNiceValues();
        QVERIFY2(nice.contains(19), "no background worker at nice 19");
        QVERIFY2(nice.contains(0), "no interactive worker at normal priority");
    }

    // A worker that cannot start (a library gone after an upgrade) is no fault of any file: nothing is
    // recorded, and the index leaves the file waiting until a worker can read it.
    void aBrokenWorkerBlamesNoFileAndLeavesItPending()
    {
        TestHome home;
        const QString note = home.file(u"Documents/note.txt"_s, "cormorants nest here\n");
        const QString broken = home.file(u"bin/velk-worker"_s, "#!/bin/sh\nexit 127\n");
        QVERIFY(QFile::setPermissions(broken, QFileDevice::ReadOwner | QFileDevice::ExeOwner));

        const ParseWorkers::Settings saved = ParseWorkers::settings();
        ParseWorkers::shutDown();
        ParseWorkers::Settings settings = saved;
        settings.program = broken;
        ParseWorkers::configure(settings);

        Outcome outcome = Outcome::answered;
        QVERIFY(!ParseWorkers::extract(note, facts(note, u"public.plain-text"_s), Priority::background, &outcome));
        QCOMPARE(outcome, Outcome::unavailable);

        mdindex::MetadataIndex::Options options;
        options.storePath = home.path(u".cache/velk/index.sqlite"_s);
        options.roots = {home.path(u"Documents"_s)};
        mdindex::MetadataIndex index(options);
        for (auto &extractor : mdindex::workerExtractors(Priority::interactive))
            index.addExtractor(std::move(extractor));
        QVERIFY(index.open());
        index.update();
        QCOMPARE(index.pendingExtractions(), 1);
        QVERIFY(!FailedFiles::contains(note, QFileInfo(note).size(), QFileInfo(note).lastModified().toMSecsSinceEpoch()));

        // With a working worker the same file is read.
        ParseWorkers::configure(saved);
        index.extractPending();
        QCOMPARE(index.pendingExtractions(), 0);
        const auto query = mdindex::Query::parse(u"kMDItemTextContent == \"cormorant*\"cdw"_s);
        QVERIFY(query);
        const int found = index.read([&](const mdindex::Catalog &catalog) { return int(catalog.search(*query, {}, {}, index.textSearch()).size()); });
        QCOMPARE(found, 1);
    }

    void aWorkerKilledWhileIdleIsReplaced()
    {
        const QString pdf = m_home->path(u"Documents/report.pdf"_s);
        // Both background workers busy at once, then idle: every idle worker of the pool dies.
        ParseWorkers::shutDown();
        std::atomic<int> read = 0;
        std::thread other([&] { read += bool(ParseWorkers::extract(pdf, facts(pdf, u"com.adobe.pdf"_s), Priority::background)); });
        read += bool(ParseWorkers::extract(pdf, facts(pdf, u"com.adobe.pdf"_s), Priority::background));
        other.join();
        QCOMPARE(read.load(), 2);
        const qint64 started = ParseWorkers::statistics().started;
        QVERIFY(QProcess::execute(u"pkill"_s, {u"-KILL"_s, u"-P"_s, QString::number(::getpid()), u"velk-worker"_s}) == 0);
        QTRY_COMPARE(liveWorkers(), 0);
        Outcome outcome = Outcome::unavailable;
        ParseWorkers::extract(pdf, facts(pdf, u"com.adobe.pdf"_s), Priority::background, &outcome);
        QCOMPARE(outcome, Outcome::answered);
        QVERIFY(ParseWorkers::statistics().started > started);
        // A worker that died on its own, not on a file, leaves no record of the file.
        QVERIFY(!FailedFiles::contains(pdf, QFileInfo(pdf).size(), QFileInfo(pdf).lastModified().toMSecsSinceEpoch()));
    }
};

QTEST_MAIN(TestParseWorkers)
#include "tst_parseworkers.moc"
