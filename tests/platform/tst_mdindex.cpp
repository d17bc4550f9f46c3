#include "TestHome.h"
#include "mdindex/MetadataIndex.h"
#include "mdindex/Query.h"
#include "mdindex/Store.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QTest>

#include <sqlite3.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <tuple>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using mdindex::Catalog;
using mdindex::MetadataIndex;

namespace {

const QByteArray kPdf = "%PDF-1.4\n1 0 obj<<>>endobj\ntrailer<<>>\n%%EOF\n";
const QByteArray kJpeg = QByteArray::fromHex("ffd8ffe000104a46494600010100000100010000ffd9");

MetadataIndex::Options optionsFor(const TestHome &home)
{
    MetadataIndex::Options options;
    options.storePath = home.path(u".cache/velk/index.sqlite"_s);
    options.roots = {home.root()};
    return options;
}

// Paths relative to the home folder of every hit, sorted for comparison unless the order matters.
QStringList hits(const MetadataIndex &index, const TestHome &home, const QString &query, const QStringList &scopes = {}, const QString &sort = {})
{
    const auto parsed = mdindex::Query::parse(query);
    if (!parsed)
        return {u"<no query>"_s};
    return index.read([&](const Catalog &catalog) {
        QStringList out;
        for (Catalog::Row row : catalog.search(*parsed, scopes, sort))
            out.append(QDir(home.root()).relativeFilePath(catalog.path(row)));
        return out;
    });
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

// A real extractor for text files that counts the files it reads: the title is the first line.
// It can set a stop flag once it has read a number of files, as someone ending an update would.
class FirstLineTitle final : public mdindex::Extractor
{
public:
    explicit FirstLineTitle(std::atomic<int> &reads, std::atomic<bool> *stop = nullptr, int stopAfter = 0)
        : m_reads(reads)
        , m_stop(stop)
        , m_stopAfter(stopAfter)
    {
    }
    bool wants(const mdindex::FileFacts &facts) const override { return !facts.isDirectory && facts.name.endsWith(u".txt"_s); }
    void extract(const QString &path, const mdindex::FileFacts &, mdindex::ExtractedAttributes &into) const override
    {
        const int read = ++m_reads;
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            into.insert(MDAttribute::title.toString(), QString::fromUtf8(file.readLine()).trimmed());
        if (m_stop && read >= m_stopAfter)
            m_stop->store(true);
    }

private:
    std::atomic<int> &m_reads;
    std::atomic<bool> *m_stop;
    int m_stopAfter;
};

// Notes the CPU and I/O priority of the thread that reads a file.
class PriorityProbe final : public mdindex::Extractor
{
public:
    PriorityProbe(std::atomic<int> &nice, std::atomic<int> &ioClass)
        : m_nice(nice)
        , m_ioClass(ioClass)
    {
    }
    bool wants(const mdindex::FileFacts &facts) const override { return !facts.isDirectory; }
    void extract(const QString &, const mdindex::FileFacts &, mdindex::ExtractedAttributes &) const override
    {
        const auto tid = pid_t(::syscall(SYS_gettid));
        errno = 0;
        m_nice = ::getpriority(PRIO_PROCESS, id_t(tid));
        constexpr int ioprioWhoProcess = 1;
        m_ioClass = int(::syscall(SYS_ioprio_get, ioprioWhoProcess, tid)) >> 13;
    }

private:
    std::atomic<int> &m_nice;
    std::atomic<int> &m_ioClass;
};

// A picture reader that gets nothing out of the files it is given, as one that met a damaged file or
// a worker that went down: it still says whether each picture is a screen capture, and says no.
class UnreadablePictures final : public mdindex::Extractor
{
public:
    explicit UnreadablePictures(std::atomic<int> &reads)
        : m_reads(reads)
    {
    }
    bool wants(const mdindex::FileFacts &facts) const override
    {
        const auto type = UTType::fromIdentifier(facts.contentType);
        return !facts.isDirectory && type && type->conforms(UTType::image());
    }
    void extract(const QString &, const mdindex::FileFacts &, mdindex::ExtractedAttributes &into) const override
    {
        ++m_reads;
        into.insert(MDAttribute::isScreenCapture.toString(), false);
    }

private:
    std::atomic<int> &m_reads;
};

QByteArray png()
{
    QImage image(8, 6, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// The words of a text file go to the full-text table, as the real text extractor sends them.
class WholeText final : public mdindex::Extractor
{
public:
    bool wants(const mdindex::FileFacts &facts) const override { return !facts.isDirectory && facts.name.endsWith(u".txt"_s); }
    void extract(const QString &path, const mdindex::FileFacts &, mdindex::ExtractedAttributes &into) const override
    {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            into.insert(MDAttribute::textContent.toString(), QString::fromUtf8(file.readAll()));
    }
};

// Files whose text holds the word, answered through the full-text table.
QStringList wordHits(const MetadataIndex &index, const TestHome &home, const QString &word)
{
    const auto parsed = mdindex::Query::parse(u"kMDItemTextContent == \"%1\"cdw"_s.arg(word));
    return index.read([&](const Catalog &catalog) {
        QStringList out;
        for (Catalog::Row row : catalog.search(*parsed, {}, {}, index.textSearch()))
            out.append(QDir(home.root()).relativeFilePath(catalog.path(row)));
        out.sort();
        return out;
    });
}

// Overwrites the last pages of a file with zeros, as a disk that lost its last writes leaves it.
void zeroTail(const QString &path, qint64 bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    const qint64 at = std::max<qint64>(0, file.size() - bytes);
    QVERIFY(file.seek(at));
    QCOMPARE(file.write(QByteArray(file.size() - at, '\0')), file.size() - at);
}

} // namespace

class TestMetadataIndex : public QObject
{
    Q_OBJECT

private:
    void fillHome(TestHome &home)
    {
        const QDateTime old(QDate(2021, 3, 4), QTime(5, 6), Qt::UTC);
        home.file(u"Documents/Report 2024.pdf"_s, kPdf, old);
        home.file(u"Documents/notes.txt"_s, "remember the milk");
        home.file(u"Pictures/beach.jpg"_s, kJpeg);
        home.sparseFile(u"Videos/holiday.mp4"_s, 200'000'000);
        home.file(u".secret/diary.txt"_s, "hidden");
        home.file(u"code/web/node_modules/left-pad/index.js"_s, "module.exports = 1;");
        home.file(u"Applications/Thing.app/Contents/Info.plist"_s, "<plist/>");
        QVERIFY(QFile::link(home.path(u"Documents"_s), home.path(u"docs-link"_s)));
        QVERIFY(QFile::link(u"."_s, home.path(u"loop"_s)));
    }

private Q_SLOTS:
    void walksAndAnswers()
    {
        TestHome home;
        fillHome(home);
        MetadataIndex index(optionsFor(home));
        QVERIFY(index.open());
        const auto progress = index.update();
        QVERIFY(progress.added >= 14);

        QCOMPARE(hits(index, home, u"kMDItemFSName == \"*report*\"cd"_s), QStringList {u"Documents/Report 2024.pdf"_s});
        QCOMPARE(hits(index, home, u"kMDItemContentTypeTree == 'public.image'"_s), QStringList {u"Pictures/beach.jpg"_s});
        QCOMPARE(hits(index, home, u"kMDItemContentTypeTree == 'com.adobe.pdf' && kMDItemFSContentChangeDate < $time.iso(2022-01-01T00:00:00Z)"_s),
            QStringList {u"Documents/Report 2024.pdf"_s});
        QCOMPARE(hits(index, home, u"kMDItemFSSize > 100000000"_s), QStringList {u"Videos/holiday.mp4"_s});

        // Hidden, bundle and dependency folders are recorded but not entered; links are not followed.
        QCOMPARE(hits(index, home, u"kMDItemFSName == 'diary.txt'"_s), QStringList());
        QCOMPARE(hits(index, home, u"kMDItemFSName == '.secret'"_s), QStringList {u".secret"_s});
        QCOMPARE(hits(index, home, u"kMDItemFSName == 'node_modules'"_s), QStringList {u"code/web/node_modules"_s});
        QCOMPARE(hits(index, home, u"kMDItemFSName == 'index.js'"_s), QStringList());
        QCOMPARE(hits(index, home, u"kMDItemContentTypeTree == 'com.apple.application-bundle'"_s), QStringList {u"Applications/Thing.app"_s});
        QCOMPARE(hits(index, home, u"kMDItemFSName == 'Info.plist'"_s), QStringList());
        QCOMPARE(hits(index, home, u"kMDItemFSName == '*.txt'c"_s), QStringList {u"Documents/notes.txt"_s});
        QCOMPARE(hits(index, home, u"kMDItemContentType == 'public.symlink'"_s).size(), 2);

        // Files carry their basic attributes as records.
        const QString pdf = home.path(u"Documents/Report 2024.pdf"_s);
        const auto attribute = [&](QStringView name) {
            return index.read([&](const Catalog &catalog) {
                const Catalog::Row row = catalog.find(pdf);
                return row == Catalog::noRow ? QVariant(u"<missing>"_s) : mdindex::CatalogRecord(catalog, row).valueForAttribute(name);
            });
        };
        QCOMPARE(attribute(MDAttribute::path).toString(), pdf);
        QCOMPARE(attribute(MDAttribute::fsSize).toLongLong(), kPdf.size());
        QCOMPARE(attribute(MDAttribute::fsContentChangeDate).toDateTime(), QDateTime(QDate(2021, 3, 4), QTime(5, 6), Qt::UTC));
        QVERIFY(attribute(MDAttribute::contentTypeTree).toStringList().contains(u"public.composite-content"_s));
        QVERIFY(!attribute(MDAttribute::title).isValid());
    }

    void scopesAndSorting()
    {
        TestHome home;
        fillHome(home);
        home.sparseFile(u"Videos/short.mp4"_s, 5'000'000);
        MetadataIndex index(optionsFor(home));
        QVERIFY(index.open());
        index.update();

        const QString movies = u"kMDItemContentTypeTree == 'public.movie'"_s;
        QCOMPARE(sorted(hits(index, home, movies, {home.path(u"Videos"_s)})), (QStringList {u"Videos/holiday.mp4"_s, u"Videos/short.mp4"_s}));
        QCOMPARE(hits(index, home, movies, {home.path(u"Documents"_s)}), QStringList());
        QCOMPARE(hits(index, home, movies, {home.path(u"Nowhere"_s)}), QStringList());
        // A scope above the root holds all of it.
        QCOMPARE(hits(index, home, movies, {QFileInfo(home.root()).absolutePath()}).size(), 2);

        // Descending by size, with folders (which have no size) last.
        const QStringList bySize = hits(index, home, u"kMDItemFSName == '*.mp4'"_s, {home.path(u"Videos"_s)}, u"kMDItemFSSize"_s);
        QCOMPARE(bySize, (QStringList {u"Videos/holiday.mp4"_s, u"Videos/short.mp4"_s}));
        const QStringList withFolder = hits(index, home, u"kMDItemFSName == '*'"_s, {home.path(u"Videos"_s)}, u"kMDItemFSSize"_s);
        QCOMPARE(withFolder, (QStringList {u"Videos/holiday.mp4"_s, u"Videos/short.mp4"_s, u"Videos"_s}));
    }

    void storeSurvivesARestart()
    {
        TestHome home;
        fillHome(home);
        {
            MetadataIndex index(optionsFor(home));
            QVERIFY(index.open());
            index.update();
        }
        MetadataIndex again(optionsFor(home));
        QVERIFY(again.open());
        QVERIFY(!again.storeWasRebuilt());
        QCOMPARE(hits(again, home, u"kMDItemFSName == \"*report*\"cd"_s), QStringList {u"Documents/Report 2024.pdf"_s});
        // Nothing changed on disk: a second walk adds and changes nothing.
        const auto progress = again.update();
        QCOMPARE(progress.added, 0);
        QCOMPARE(progress.changed, 0);
        QCOMPARE(progress.removed, 0);
    }

    void updateSeesChanges()
    {
        TestHome home;
        fillHome(home);
        MetadataIndex index(optionsFor(home));
        QVERIFY(index.open());
        index.update();

        home.file(u"Documents/new.md"_s, "# new");
        home.file(u"Documents/notes.txt"_s, "remember the milk and the bread");
        QVERIFY(QFile::rename(home.path(u"Pictures/beach.jpg"_s), home.path(u"Pictures/shore.jpg"_s)));
        QVERIFY(QDir(home.path(u"code"_s)).removeRecursively());
        const auto progress = index.update();
        QCOMPARE(progress.added, 2); // new.md, shore.jpg
        QCOMPARE(progress.changed, 3); // notes.txt, and the two folders whose entries changed
        QCOMPARE(progress.removed, 4); // beach.jpg, code, web and node_modules, whose insides were never entered
        QCOMPARE(hits(index, home, u"kMDItemFSName == 'new.md'"_s), QStringList {u"Documents/new.md"_s});
        QCOMPARE(hits(index, home, u"kMDItemContentTypeTree == 'public.image'"_s), QStringList {u"Pictures/shore.jpg"_s});
        QCOMPARE(hits(index, home, u"kMDItemFSName == 'code'"_s), QStringList());
        QCOMPARE(hits(index, home, u"kMDItemFSName == 'notes.txt' && kMDItemFSSize == 31"_s), QStringList {u"Documents/notes.txt"_s});

        // The store holds the same as memory.
        MetadataIndex reopened(optionsFor(home));
        QVERIFY(reopened.open());
        QCOMPARE(sorted(hits(reopened, home, u"kMDItemFSName == '*'"_s)), sorted(hits(index, home, u"kMDItemFSName == '*'"_s)));
    }

    void damagedStoresStartOver_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("reason");
        QTest::newRow("garbage") << u"garbage"_s << u"could not be read: file is not a database"_s;
        QTest::newRow("truncated") << u"truncated"_s << u"malformed"_s;
        QTest::newRow("older schema") << u"older"_s << u"schema version 0, expected %1"_s.arg(mdindex::Store::schemaVersion);
        QTest::newRow("empty file") << u"empty"_s << QString();
    }

    void damagedStoresStartOver()
    {
        QFETCH(QString, damage);
        QFETCH(QString, reason);
        TestHome home;
        fillHome(home);
        const QString store = optionsFor(home).storePath;
        {
            MetadataIndex index(optionsFor(home));
            QVERIFY(index.open());
            index.update();
        }
        QFile::remove(store + u"-wal"_s);
        QFile::remove(store + u"-shm"_s);
        QFile file(store);
        if (damage == u"garbage"_s) {
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(QByteArray(8192, '\x5a'));
        } else if (damage == u"truncated"_s) {
            QVERIFY(file.resize(file.size() / 2));
        } else if (damage == u"empty"_s) {
            QVERIFY(file.resize(0));
        } else {
            sqlite3 *db = nullptr;
            QCOMPARE(sqlite3_open(store.toUtf8().constData(), &db), SQLITE_OK);
            QCOMPARE(sqlite3_exec(db, "PRAGMA user_version = 0", nullptr, nullptr, nullptr), SQLITE_OK);
            sqlite3_close(db);
        }
        file.close();

        MetadataIndex index(optionsFor(home));
        QVERIFY(index.open());
        if (damage != u"empty"_s) {
            QVERIFY(index.storeWasRebuilt());
            const auto note = index.lastRebuild();
            QVERIFY(note);
            QVERIFY2(note->why.contains(reason), qPrintable(note->why));
        } else {
            QVERIFY(!index.lastRebuild());
        }
        index.update();
        QCOMPARE(hits(index, home, u"kMDItemFSName == \"*report*\"cd"_s), QStringList {u"Documents/Report 2024.pdf"_s});
        MetadataIndex reopened(optionsFor(home));
        QVERIFY(reopened.open());
        QVERIFY(!reopened.storeWasRebuilt());
    }

    // The text table sits at the end of the file. Zeroed there, the store is found damaged after it
    // opens, set aside, and started anew from what could be read; word searches wait for that, the
    // next update reads every file again, and the note of why stays in the new store.
    void damagedTextTableIsRebuiltAndReported()
    {
        TestHome home;
        for (int i = 0; i < 120; ++i) {
            QByteArray words = "zebra ";
            for (int w = 0; w < 300; ++w)
                words += "word" + QByteArray::number((i * 7 + w * 13) % 997) + ' ';
            home.file(u"Notes/note%1.txt"_s.arg(i, 3, 10, QLatin1Char('0')), words + (i == 7 ? "okapi" : ""));
        }
        const QString store = optionsFor(home).storePath;
        const auto indexFor = [&] {
            auto index = std::make_unique<MetadataIndex>(optionsFor(home));
            index->addExtractor(std::make_unique<WholeText>());
            return index;
        };
        {
            const auto index = indexFor();
            QVERIFY(index->open());
            index->update();
            QCOMPARE(wordHits(*index, home, u"okapi"_s), QStringList {u"Notes/note007.txt"_s});
            QCOMPARE(wordHits(*index, home, u"zebra"_s).size(), 120);
            QVERIFY(!index->lastRebuild());
        }
        QVERIFY(!QFile::exists(store + u"-wal"_s));
        zeroTail(store, 8 * 4096);

        const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
        {
            const auto index = indexFor();
            QVERIFY(index->open());
            // Names answer from memory as before; words come from the new, empty table.
            QCOMPARE(hits(*index, home, u"kMDItemFSName == 'note007.txt'"_s), QStringList {u"Notes/note007.txt"_s});
            QCOMPARE(wordHits(*index, home, u"zebra"_s), QStringList());
            QVERIFY(index->storeWasRebuilt());
            const auto note = index->lastRebuild();
            QVERIFY(note);
            QVERIFY2(note->why.startsWith(u"integrity check failed: "_s), qPrintable(note->why));
            QVERIFY(note->when >= before && note->when <= QDateTime::currentDateTimeUtc());
            QVERIFY(QFile::exists(store + u".broken"_s));
            // Every file is read again, the notes among them.
            QVERIFY(index->pendingExtractions() >= 120);
            index->update();
            QCOMPARE(index->pendingExtractions(), 0);
            QCOMPARE(wordHits(*index, home, u"okapi"_s), QStringList {u"Notes/note007.txt"_s});
            QCOMPARE(wordHits(*index, home, u"zebra"_s).size(), 120);
        }
        // Opened again: sound, nothing rebuilt this time, and the note of the last rebuild kept.
        {
            const auto index = indexFor();
            QVERIFY(index->open());
            QCOMPARE(wordHits(*index, home, u"zebra"_s).size(), 120);
            QVERIFY(!index->storeWasRebuilt());
            const auto note = index->lastRebuild();
            QVERIFY(note && note->why.startsWith(u"integrity check failed: "_s));
            QCOMPARE(index->pendingExtractions(), 0);
            // The rebuilt store kept the root under its whole path: the files are where they were.
            QCOMPARE(hits(*index, home, u"kMDItemFSName == 'note007.txt'"_s), QStringList {u"Notes/note007.txt"_s});
        }
        // Unchanged since that check: not checked again. Changed in any way: checked, and caught.
        {
            const auto index = indexFor();
            QVERIFY(index->open());
            QVERIFY(index->isChecked());
        }
        zeroTail(store, 8 * 4096);
        {
            const auto index = indexFor();
            QVERIFY(index->open());
            QCOMPARE(wordHits(*index, home, u"zebra"_s), QStringList());
            QVERIFY(index->storeWasRebuilt());
        }
        // A walk over the rebuilt store finds every file where it was: nothing is added or removed.
        const auto index = indexFor();
        QVERIFY(index->open());
        const auto again = index->updateBasic();
        QCOMPARE(again.added, 0);
        QCOMPARE(again.removed, 0);
    }

    void stoppedWalkKeepsWhatItHad()
    {
        TestHome home;
        fillHome(home);
        MetadataIndex index(optionsFor(home));
        QVERIFY(index.open());
        index.update();
        std::atomic<bool> stop = true;
        index.update({}, &stop);
        // A walk that was stopped removes nothing it did not get to see.
        QCOMPARE(hits(index, home, u"kMDItemFSName == \"*report*\"cd"_s), QStringList {u"Documents/Report 2024.pdf"_s});
    }

    void walkFirstThenExtraction()
    {
        TestHome home;
        for (const char *name : {"a", "b", "c"})
            home.file(u"Notes/%1.txt"_s.arg(QLatin1StringView(name)), "title " + QByteArray(name) + "\nbody\n");
        home.file(u"Notes/report.pdf"_s, kPdf);
        std::atomic<int> reads = 0;
        {
            MetadataIndex index(optionsFor(home));
            index.addExtractor(std::make_unique<FirstLineTitle>(reads));
            QVERIFY(index.open());

            // The walk alone: basic attributes answer, the contents are not read yet.
            const auto walked = index.updateBasic();
            QVERIFY(walked.added >= 5); // and the hidden folders of the test home
            QCOMPARE(reads.load(), 0);
            QCOMPARE(index.pendingExtractions(), 3);
            QCOMPARE(hits(index, home, u"kMDItemFSName == 'b.txt' && kMDItemFSSize == 13"_s), QStringList {u"Notes/b.txt"_s});
            QCOMPARE(hits(index, home, u"kMDItemTitle == *"_s), QStringList());

            const auto extraction = index.extractPending();
            QVERIFY(extraction.extracting);
            QCOMPARE(extraction.toExtract, 3);
            QCOMPARE(extraction.extracted, 3);
            QCOMPARE(reads.load(), 3);
            QCOMPARE(index.pendingExtractions(), 0);
            QCOMPARE(hits(index, home, u"kMDItemTitle == 'title b'"_s), QStringList {u"Notes/b.txt"_s});

            // Nothing changed: nothing is read again.
            const auto again = index.update();
            QCOMPARE(again.toExtract, 0);
            QCOMPARE(reads.load(), 3);
        }
        // Nor after a restart; the attributes come from the store.
        MetadataIndex reopened(optionsFor(home));
        reopened.addExtractor(std::make_unique<FirstLineTitle>(reads));
        QVERIFY(reopened.open());
        QCOMPARE(sorted(hits(reopened, home, u"kMDItemTitle == 'title*'"_s)), (QStringList {u"Notes/a.txt"_s, u"Notes/b.txt"_s, u"Notes/c.txt"_s}));
        reopened.update();
        QCOMPARE(reads.load(), 3);
    }

    void stoppedExtractionResumes()
    {
        TestHome home;
        for (int i = 0; i < 8; ++i)
            home.file(u"Notes/%1.txt"_s.arg(i), "note " + QByteArray::number(i));
        std::atomic<int> reads = 0;
        std::atomic<bool> stop = false;
        int readBefore = 0;
        {
            MetadataIndex index(optionsFor(home));
            index.addExtractor(std::make_unique<FirstLineTitle>(reads, &stop, 2));
            QVERIFY(index.open());
            const auto progress = index.update({}, &stop);
            QVERIFY(progress.extracting);
            readBefore = reads.load();
            // The threads end after the file each is reading.
            QVERIFY2(readBefore >= 2 && readBefore < 8, qPrintable(QString::number(readBefore)));
            QCOMPARE(progress.extracted, readBefore);
            QCOMPARE(index.pendingExtractions(), 8 - readBefore);
            QCOMPARE(hits(index, home, u"kMDItemTitle == *"_s).size(), readBefore);
        }
        // The next start reads the rest, and only the rest.
        MetadataIndex index(optionsFor(home));
        index.addExtractor(std::make_unique<FirstLineTitle>(reads));
        QVERIFY(index.open());
        const auto progress = index.update();
        QCOMPARE(progress.added, 0);
        QCOMPARE(progress.toExtract, 8 - readBefore);
        QCOMPARE(reads.load(), 8);
        QCOMPARE(hits(index, home, u"kMDItemTitle == 'note*'"_s).size(), 8);
    }

    void fileChangedWhileQueuedIsReadForItsNewContents()
    {
        TestHome home;
        const QString plan = home.file(u"plan.txt"_s, "first draft\n", QDateTime(QDate(2024, 1, 2), QTime(3, 4), Qt::UTC));
        std::atomic<int> reads = 0;
        MetadataIndex index(optionsFor(home));
        index.addExtractor(std::make_unique<FirstLineTitle>(reads));
        QVERIFY(index.open());
        index.updateBasic();
        QCOMPARE(index.pendingExtractions(), 1);

        // Changed after the walk queued it, before it was read.
        home.file(u"plan.txt"_s, "second draft, longer\n", QDateTime(QDate(2025, 5, 6), QTime(7, 8), Qt::UTC));
        index.extractPending();
        QCOMPARE(reads.load(), 1);
        QCOMPARE(hits(index, home, u"kMDItemTitle == 'second draft*' && kMDItemFSSize == 21 && kMDItemFSContentChangeDate > $time.iso(2025-01-01)"_s),
            QStringList {u"plan.txt"_s});
        // Recorded for the new modification time: the next update does not read it again.
        const auto progress = index.update();
        QCOMPARE(progress.changed, 0);
        QCOMPARE(reads.load(), 1);
        MetadataIndex reopened(optionsFor(home));
        QVERIFY(reopened.open());
        QCOMPARE(hits(reopened, home, u"kMDItemTitle == 'second*'"_s), QStringList {u"plan.txt"_s});
    }

    // The screen-capture rule for names and folders needs no contents: the walk alone applies it, the
    // store keeps it, and contents that tell nothing more do not take it away.
    void screenCapturesFoundByTheWalk()
    {
        TestHome home;
        const QByteArray picture = png();
        home.file(u"Pictures/Screenshot from 2026-11-01 10-00-00.png"_s, picture);
        home.file(u"Pictures/Screenshots/capture-17.png"_s, picture);
        home.file(u"Desktop/2026-11-02_10-00-00_grim.png"_s, picture);
        home.file(u"Videos/Screencasts/talk.webm"_s, "not really a video");
        home.file(u"Videos/screencast of the talk.mkv"_s, "not really a video");
        // Look-alikes: not a picture, a picture of another name, a folder named so.
        home.file(u"Pictures/Screenshot notes.txt"_s, "notes");
        home.file(u"Pictures/Screenshots/readme.txt"_s, "readme");
        home.file(u"Pictures/holiday.png"_s, picture);
        home.file(u"Pictures/screenshot-ideas/sketch.png"_s, picture);
        const QStringList captures {u"Desktop/2026-11-02_10-00-00_grim.png"_s, u"Pictures/Screenshot from 2026-11-01 10-00-00.png"_s,
            u"Pictures/Screenshots/capture-17.png"_s, u"Videos/Screencasts/talk.webm"_s, u"Videos/screencast of the talk.mkv"_s};
        const QString query = u"kMDItemIsScreenCapture == 1"_s;
        {
            MetadataIndex index(optionsFor(home));
            QVERIFY(index.open());
            index.updateBasic();
            QCOMPARE(sorted(hits(index, home, query)), captures);
        }
        std::atomic<int> reads = 0;
        MetadataIndex index(optionsFor(home));
        index.addExtractor(std::make_unique<UnreadablePictures>(reads));
        QVERIFY(index.open());
        QCOMPARE(sorted(hits(index, home, query)), captures);

        // Pictures added later, read by the reader that gets nothing out of them.
        home.file(u"Pictures/Screenshots/capture-18.png"_s, picture);
        home.file(u"Pictures/beach.png"_s, picture);
        index.update();
        QCOMPARE(reads.load(), 2);
        QCOMPARE(index.pendingExtractions(), 0);
        QCOMPARE(sorted(hits(index, home, query)), sorted(captures + QStringList {u"Pictures/Screenshots/capture-18.png"_s}));
        QCOMPARE(hits(index, home, u"kMDItemIsScreenCapture == 0"_s), QStringList {u"Pictures/beach.png"_s});
    }

    // A root inside another root (the applications folder in the home folder) is walked on its own,
    // named by its last component like any folder, and lies inside every scope that holds it.
    void nestedRootsAndRootNames()
    {
        TestHome home;
        home.file(u"Documents/plan.txt"_s, "plan");
        home.file(u"Applications/Tracer.AppImage"_s, "ELF");
        auto options = optionsFor(home);
        options.roots.append(home.path(u"Applications"_s));
        for (const bool reopened : {false, true}) {
            MetadataIndex index(options);
            QVERIFY(index.open());
            if (!reopened)
                index.updateBasic();
            const QString tracer = u"kMDItemFSName == 'Tracer*'"_s;
            QCOMPARE(hits(index, home, tracer, {home.root()}), QStringList {u"Applications/Tracer.AppImage"_s});
            QCOMPARE(hits(index, home, tracer, {home.root() + u'/'}), QStringList {u"Applications/Tracer.AppImage"_s});
            QCOMPARE(hits(index, home, tracer, {home.path(u"Applications"_s)}), QStringList {u"Applications/Tracer.AppImage"_s});
            QCOMPARE(hits(index, home, tracer, {home.path(u"Documents"_s)}), QStringList());
            QCOMPARE(hits(index, home, tracer, {QFileInfo(home.root()).absolutePath()}), QStringList {u"Applications/Tracer.AppImage"_s});
            // The home scope holds everything, the nested root once.
            QCOMPARE(sorted(hits(index, home, u"kMDItemFSName == '*'"_s, {home.root()})), sorted(hits(index, home, u"kMDItemFSName == '*'"_s)));

            QCOMPARE(hits(index, home, u"kMDItemFSName == 'Applications'"_s), QStringList {u"Applications"_s});
            QCOMPARE(hits(index, home, u"kMDItemFSName == '"_s + QFileInfo(home.root()).fileName() + u"'"_s), QStringList {QString(u"."_s)});
            const auto [path, parentName, grandparent] = index.read([&](const Catalog &catalog) {
                const Catalog::Row row = catalog.find(home.path(u"Applications/Tracer.AppImage"_s));
                if (row == Catalog::noRow)
                    return std::tuple(QString(), QString(), Catalog::noRow);
                return std::tuple(catalog.path(row), catalog.name(catalog.parent(row)).toString(), catalog.parent(catalog.parent(row)));
            });
            QCOMPARE(path, home.path(u"Applications/Tracer.AppImage"_s));
            QCOMPARE(parentName, u"Applications"_s);
            QCOMPARE(grandparent, Catalog::noRow);
            // Nothing changed on disk: a second walk finds the roots it recorded.
            const auto again = index.updateBasic();
            QCOMPARE(again.added, 0);
            QCOMPARE(again.removed, 0);
        }

        // The root of the file system has no last component: it keeps its name.
        Catalog catalog;
        mdindex::FileFacts facts;
        facts.isDirectory = true;
        facts.name = u"/"_s;
        const Catalog::Row top = catalog.add(1, Catalog::noRow, facts);
        facts.name = u"etc"_s;
        const Catalog::Row etc = catalog.add(2, top, facts);
        QCOMPARE(catalog.name(top), u"/"_s);
        QCOMPARE(catalog.path(etc), u"/etc"_s);
        QCOMPARE(catalog.find(u"/etc"_s), etc);
    }

    void politeIndexReadsAtLowPriority()
    {
        TestHome home;
        home.file(u"plan.txt"_s, "draft");
        std::atomic<int> nice = -100;
        std::atomic<int> ioClass = -1;
        const int ownNice = ::getpriority(PRIO_PROCESS, id_t(::syscall(SYS_gettid)));
        auto options = optionsFor(home);
        options.polite = true;
        MetadataIndex index(options);
        index.addExtractor(std::make_unique<PriorityProbe>(nice, ioClass));
        QVERIFY(index.open());
        index.update();
        // nice 19 and the idle I/O class (3), on the extraction thread only.
        QCOMPARE(nice.load(), 19);
        QCOMPARE(ioClass.load(), 3);
        QCOMPARE(::getpriority(PRIO_PROCESS, id_t(::syscall(SYS_gettid))), ownNice);
    }
};

QTEST_GUILESS_MAIN(TestMetadataIndex)
#include "tst_mdindex.moc"
