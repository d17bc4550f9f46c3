#include "TestHome.h"
#include "mdindex/MetadataIndex.h"
#include "mdindex/Query.h"
#include "mdindex/extractors/Extractors.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using mdindex::Catalog;
using mdindex::MetadataIndex;

// The index follows the disk while it runs: what changes shows up in answers within seconds.
class TestFreshness : public QObject
{
    Q_OBJECT

    QStringList hits(const MetadataIndex &index, const TestHome &home, const QString &query)
    {
        const auto parsed = mdindex::Query::parse(query);
        const auto textSearch = index.textSearch();
        QStringList out = index.read([&](const Catalog &catalog) {
            QStringList paths;
            for (Catalog::Row row : catalog.search(*parsed, {}, {}, textSearch))
                paths.append(QDir(home.root()).relativeFilePath(catalog.path(row)));
            return paths;
        });
        out.sort();
        return out;
    }

private Q_SLOTS:
    void followsChanges()
    {
        TestHome home;
        home.file(u"Documents/plan.txt"_s, "first draft");
        MetadataIndex::Options options;
        options.storePath = home.path(u".cache/velk/index.sqlite"_s);
        options.roots = {home.root()};
        MetadataIndex index(options);
        for (auto &extractor : mdindex::standardExtractors())
            index.addExtractor(std::move(extractor));
        QVERIFY(index.open());
        std::atomic<int> changes = 0;
        index.startWatching([&changes] { ++changes; });
        QTRY_VERIFY_WITH_TIMEOUT(changes > 0, 10000);
        QCOMPARE(hits(index, home, u"kMDItemFSName == 'plan.txt'"_s), QStringList {u"Documents/plan.txt"_s});

        const auto seen = [&](const QString &query, const QStringList &expected) { QTRY_COMPARE_WITH_TIMEOUT(hits(index, home, query), expected, 20000); };
        // The first walk answers on names at once; the words inside come after it, in the background.
        seen(u"kMDItemTextContent == \"draft*\"cdw"_s, QStringList {u"Documents/plan.txt"_s});
        QTRY_COMPARE_WITH_TIMEOUT(index.pendingExtractions(), 0, 20000);

        home.file(u"Documents/budget.txt"_s, "numbers");
        seen(u"kMDItemFSName == 'budget*'"_s, QStringList {u"Documents/budget.txt"_s});

        QVERIFY(QFile::rename(home.path(u"Documents/budget.txt"_s), home.path(u"Documents/budget 2027.txt"_s)));
        seen(u"kMDItemFSName == 'budget*'"_s, QStringList {u"Documents/budget 2027.txt"_s});

        home.file(u"Documents/plan.txt"_s, "second draft, much longer than the first one");
        seen(u"kMDItemFSName == 'plan.txt' && kMDItemFSSize > 20"_s, QStringList {u"Documents/plan.txt"_s});
        seen(u"kMDItemTextContent == \"longer*\"cdw"_s, QStringList {u"Documents/plan.txt"_s});

        // A folder made with files inside is walked whole; moving it carries them along.
        home.file(u"Projects/atlas/notes.md"_s, "# Atlas");
        seen(u"kMDItemFSName == 'notes.md'"_s, QStringList {u"Projects/atlas/notes.md"_s});
        QVERIFY(QDir().rename(home.path(u"Projects/atlas"_s), home.path(u"Documents/atlas"_s)));
        seen(u"kMDItemFSName == 'notes.md'"_s, QStringList {u"Documents/atlas/notes.md"_s});

        // A download address added to a file that is otherwise unchanged.
        QVERIFY(TestHome::setXattr(home.path(u"Documents/plan.txt"_s), "user.xdg.origin.url", "https://github.com/example/plan.txt"));
        seen(u"kMDItemWhereFroms == \"*github.com*\"cd"_s, QStringList {u"Documents/plan.txt"_s});

        // Opened through another program: the recently used list names it.
        const QString url = QUrl::fromLocalFile(home.path(u"Documents/plan.txt"_s)).toString(QUrl::FullyEncoded);
        home.file(u".local/share/recently-used.xbel"_s,
            ("<?xml version=\"1.0\"?>\n<xbel version=\"1.0\"><bookmark href=\"" + url.toUtf8()
                + "\" added=\"2026-01-02T03:04:05Z\" modified=\"2026-01-02T03:04:05Z\" visited=\"2026-02-03T04:05:06.5Z\"/></xbel>\n"));
        seen(u"kMDItemLastUsedDate >= $time.iso(2026-02-03T04:05:06Z)"_s, QStringList {u"Documents/plan.txt"_s});

        QVERIFY(QFile::remove(home.path(u"Documents/plan.txt"_s)));
        seen(u"kMDItemFSName == 'plan.txt'"_s, QStringList());
        QVERIFY(QDir(home.path(u"Documents/atlas"_s)).removeRecursively());
        seen(u"kMDItemFSName == 'notes.md'"_s, QStringList());

        index.stopWatching();
        QVERIFY(!index.isWatching());
    }
};

QTEST_GUILESS_MAIN(TestFreshness)
#include "tst_mdfreshness.moc"
