#include "ExtendedAttributes.h"
#include "MetadataRecord.h"
#include "PoolGate.h"
#include "TestIndex.h"
#include "mdindex/MetadataIndex.h"
#include "search/Spotlight.h"
#include "sources/SourceStore.h"

#include <QCoro/QCoroTask>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryFile>
#include <QTest>

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;
using mdindex::MetadataIndex;

namespace {

// The index learns a file's download addresses from its extended attributes.
class WhereFroms final : public mdindex::Extractor
{
public:
    bool wants(const mdindex::FileFacts &facts) const override { return !facts.isDirectory; }
    void extract(const QString &path, const mdindex::FileFacts &, mdindex::ExtractedAttributes &into) const override
    {
        if (const QStringList froms = readWhereFroms(path); !froms.isEmpty())
            into.insert(MDAttribute::whereFroms.toString(), froms);
    }
};

struct Fixture {
    TestHome home;
    bool stamped = true;
    MetadataIndex index {indexOptions(home)};

    // A file downloaded from `origin` (and `referrer`), changed `daysAgo` days ago.
    QString download(const QString &name, const QByteArray &origin, int daysAgo, const QByteArray &referrer = {})
    {
        const QString path = home.file(name, "data", QDateTime::currentDateTimeUtc().addDays(-daysAgo));
        stamped = stamped && TestHome::setXattr(path, "user.xdg.origin.url", origin);
        if (!referrer.isEmpty())
            stamped = stamped && TestHome::setXattr(path, "user.xdg.referrer.url", referrer);
        return path;
    }

    Fixture()
    {
        download(u"Downloads/report.pdf"_s, "https://drive.usercontent.google.com/download?id=1", 1);
        download(u"Downloads/budget.xlsx"_s, "https://docs.google.com/spreadsheets/d/2/export", 5);
        download(u"Documents/slides.key"_s, "https://drive.google.com/uc?id=3", 9);
        download(u"Downloads/patch.diff"_s, "https://raw.githubusercontent.com/a/b/main/x.diff", 2);
        download(u"Downloads/call.mp4"_s, "https://zoom.us/rec/download/4", 3);
        download(u"Downloads/paper.pdf"_s, "https://cdn.alpha.net/files/paper.pdf", 4, "https://www.alpha.net/papers");
        // Found by the query, but its address names no site.
        download(u"Downloads/blank.html"_s, "about:blank", 6);
        home.file(u"Downloads/plain.txt"_s, "no attributes");
        index.addExtractor(std::make_unique<WhereFroms>());
        index.open();
        index.update();
    }

    QList<QUrl> scopes() const { return {QUrl::fromLocalFile(home.path(u"Downloads"_s)), QUrl::fromLocalFile(home.path(u"Documents"_s))}; }
};

QStringList groupNames(const QList<SourceStore::Group> &groups)
{
    QStringList names;
    for (const SourceStore::Group &group : groups)
        names.append(group.source.name);
    return names;
}

QStringList itemNames(const SourceStore::Group &group)
{
    QStringList names;
    for (const FileItem &item : group.items)
        names.append(item.name);
    return names;
}

// What `run` writes to standard error.
template<typename F>
QByteArray standardError(F run)
{
    QTemporaryFile capture;
    if (!capture.open())
        return "<no capture>";
    std::fflush(stderr);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(capture.handle(), STDERR_FILENO);
    run();
    std::fflush(stderr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    capture.seek(0);
    return capture.readAll();
}

} // namespace

class TestSourceStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void groupsBySource()
    {
        Fixture f;
        if (!f.stamped)
            QSKIP("this file system keeps no user attributes");
        // The query finds the page without a site too; it lands in no group.
        QCOMPARE(Spotlight::collect(f.index, u"kMDItemWhereFroms == *"_s, f.scopes(), {}, 100).totalCount, 7);
        SourceStore store(f.index);
        QVERIFY(!store.hasLoaded());
        QCOMPARE(store.loadedToken(), -1);
        QSignalSpy groupsChanged(&store, &SourceStore::groupsChanged);
        QSignalSpy loading(&store, &SourceStore::loadingChanged);

        QCoro::waitFor(store.load(f.scopes(), 0));
        QVERIFY(store.hasLoaded());
        QVERIFY(!store.loading());
        QCOMPARE(store.loadedToken(), 0);

        // Three hosts of one service in one group, most recently changed first, its link the first
        // file's. Equal counts stand in plain-text order: capitals before small letters.
        const QList<SourceStore::Group> groups = store.groups();
        QCOMPARE(groupNames(groups), (QStringList {u"Google Drive"_s, u"GitHub"_s, u"Zoom"_s, u"alpha.net"_s}));
        QCOMPARE(itemNames(groups.first()), (QStringList {u"report.pdf"_s, u"budget.xlsx"_s, u"slides.key"_s}));
        QCOMPARE(groups.first().source.link, std::optional(u"https://drive.usercontent.google.com/download?id=1"_s));
        QCOMPARE(store.group(u"alpha.net"_s)->items.first().name, u"paper.pdf"_s);
        QVERIFY(!store.group(u"google drive"_s));
        QVERIFY(!store.group(u"Nowhere"_s));
        QCOMPARE(store.property("groups").value<QList<SourceStore::Group>>(), groups);

        // The same token again: nothing runs.
        QCoro::waitFor(store.load(f.scopes(), 0));
        QCOMPARE(groupsChanged.count(), 1);
        QCOMPARE(loading.count(), 2);

        // Refused while loading; a later token runs and announces only what changed.
        PoolGate gate;
        QCoro::Task<> next = store.load(f.scopes(), 1);
        QVERIFY(store.loading());
        QCoro::waitFor(store.load(f.scopes(), 2));
        gate.open();
        QCoro::waitFor(std::move(next));
        QCOMPARE(store.loadedToken(), 1);
        QCOMPARE(groupsChanged.count(), 1);
    }

    void groupedLeavesOut()
    {
        Fixture f;
        if (!f.stamped)
            QSKIP("this file system keeps no user attributes");
        const QString folder = f.home.folder(u"Downloads/site"_s);
        QVERIFY(TestHome::setXattr(folder, "user.xdg.origin.url", "https://github.com/a/b"));

        QList<FileItem> items;
        for (const char *name : {"Downloads/site", "Downloads/blank.html", "Downloads/plain.txt", "Downloads/patch.diff", "Downloads/call.mp4"})
            items.append(*FileItem::fromUrl(QUrl::fromLocalFile(f.home.path(QString::fromLatin1(name)))));
        const QList<SourceStore::Group> groups = SourceStore::grouped(items);
        QCOMPARE(groupNames(groups), (QStringList {u"GitHub"_s, u"Zoom"_s}));
        QCOMPARE(itemNames(groups.first()), QStringList {u"patch.diff"_s});
        QVERIFY(SourceStore::grouped({}).isEmpty());
    }

    void debugLine()
    {
        Fixture f;
        if (!f.stamped)
            QSKIP("this file system keeps no user attributes");
        const QByteArray saved = qgetenv("VELK_DEBUG");
        const bool wasSet = qEnvironmentVariableIsSet("VELK_DEBUG");

        qunsetenv("VELK_DEBUG");
        SourceStore quiet(f.index);
        QCOMPARE(standardError([&] { QCoro::waitFor(quiet.load(f.scopes(), 0)); }), QByteArray());

        // Set, however empty, is enough.
        qputenv("VELK_DEBUG", "");
        SourceStore talking(f.index);
        QCOMPARE(standardError([&] { QCoro::waitFor(talking.load(f.scopes(), 0)); }), QByteArray("[velk] Downloaded From: 4 sources\n"));

        // No downloads at all: no groups, and the line says so.
        SourceStore empty(f.index);
        QCOMPARE(standardError([&] { QCoro::waitFor(empty.load({QUrl::fromLocalFile(f.home.path(u"Music"_s))}, 0)); }),
            QByteArray("[velk] Downloaded From: 0 sources\n"));
        QVERIFY(empty.hasLoaded());
        QVERIFY(empty.groups().isEmpty());

        if (wasSet)
            qputenv("VELK_DEBUG", saved);
        else
            qunsetenv("VELK_DEBUG");
    }
};

QTEST_GUILESS_MAIN(TestSourceStore)
#include "tst_sourcestore.moc"
