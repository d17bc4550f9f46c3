#include "models/Destinations.h"
#include "models/FileCategory.h"
#include "models/Theme.h"
#include "models/ViewOptions.h"

#include "TestHome.h"
#include "UserPlaces.h"

#include <QDir>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSet>
#include <QTest>

#include <memory>
#include <pwd.h>
#include <time.h>
#include <unistd.h>

namespace {

const QList<Rgb> kPastels {{0.55, 0.5, 0.95}, {0.35, 0.62, 0.95}, {0.98, 0.58, 0.38}, {0.25, 0.72, 0.55}, {0.93, 0.42, 0.62}, {0.93, 0.7, 0.2}};

bool near(const Rgb &a, const Rgb &b)
{
    return qAbs(a.red - b.red) < 1e-9 && qAbs(a.green - b.green) < 1e-9 && qAbs(a.blue - b.blue) < 1e-9;
}

QByteArray describe(const Rgb &c)
{
    return QString::asprintf("(%g, %g, %g)", c.red, c.green, c.blue).toLatin1();
}

// One sidebar row as text, so a mismatch shows the whole list; paths are resolved where they exist.
QString describe(const QString &path, const QString &title, const QString &symbol)
{
    const QString real = QFileInfo(path).canonicalFilePath();
    return (real.isEmpty() ? QDir::cleanPath(path) : real) + u'|' + title + u'|' + symbol;
}

// Every case survives a trip through its raw text, the cases come in declared order, and near misses ("Images") are unknown.
template<typename E>
void checkRawEnum(const QStringList &raws)
{
    const QList<E> cases = E::allCases();
    QCOMPARE(cases.size(), raws.size());
    for (int i = 0; i < cases.size(); ++i) {
        QCOMPARE(cases[i].rawValue(), raws[i]);
        const std::optional<E> back = E::fromRaw(raws[i]);
        QVERIFY(back.has_value());
        QVERIFY(*back == cases[i]);
        const QString capitalised = raws[i].left(1).toUpper() + raws[i].mid(1);
        QVERIFY2(!E::fromRaw(capitalised), qPrintable(capitalised));
        QVERIFY(!E::fromRaw(raws[i] + u'x'));
        QVERIFY(!E::fromRaw(raws[i] + u' '));
    }
    QVERIFY(!E::fromRaw(u""));
    QVERIFY(!E::fromRaw(u"unknown"));
}

// One text per case, in declared order.
template<typename E, typename F>
QStringList perCase(F text)
{
    QStringList texts;
    for (E value : E::allCases())
        texts << text(value);
    return texts;
}

const Location kSomewhere {QUrl::fromLocalFile(QStringLiteral("/srv/media")), QStringLiteral("Media"), QStringLiteral("folder")};

} // namespace

Q_DECLARE_METATYPE(SidebarItem)
Q_DECLARE_METATYPE(Rgb)

class TestDestinations : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestHome> m_home;

private Q_SLOTS:
    // Before anything asks for the home folder, which is fixed once per run.
    void initTestCase()
    {
        m_home = std::make_unique<TestHome>();
        QVERIFY(m_home->isValid());
    }

    void rawValues_data()
    {
        QTest::addColumn<QStringList>("raws");
        QTest::newRow("FileCategory") << QStringList {"images", "videos", "music", "documents", "archives", "apps", "code", "folders", "other"};
        QTest::newRow("SmartCollection") << QStringList {"recents", "large", "screenshots"};
        QTest::newRow("CleanupKind") << QStringList {"installers", "oldDownloads", "oldScreenshots", "bigOldVideos", "unusedApps"};
        QTest::newRow("SortKey") << QStringList {"name", "date", "size", "kind"};
        QTest::newRow("ViewMode") << QStringList {"grid", "list"};
        QTest::newRow("CardSize") << QStringList {"small", "medium", "large"};
        QTest::newRow("SizeFilter") << QStringList {"any", "mb1", "mb10", "mb100", "gb1"};
        QTest::newRow("DateFilter") << QStringList {"any", "today", "week", "month", "year"};
    }
    void rawValues()
    {
        static const QHash<QString, void (*)(const QStringList &)> checks {{"FileCategory", &checkRawEnum<FileCategory>},
            {"SmartCollection", &checkRawEnum<SmartCollection>}, {"CleanupKind", &checkRawEnum<CleanupKind>}, {"SortKey", &checkRawEnum<SortKey>},
            {"ViewMode", &checkRawEnum<ViewMode>}, {"CardSize", &checkRawEnum<CardSize>}, {"SizeFilter", &checkRawEnum<SizeFilter>},
            {"DateFilter", &checkRawEnum<DateFilter>}};
        QFETCH(QStringList, raws);
        checks.value(QString::fromLatin1(QTest::currentDataTag()))(raws);
    }

    void texts_data()
    {
        QTest::addColumn<QStringList>("actual");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("smart titles") << perCase<SmartCollection>([](auto c) { return c.title(); }) << QStringList {"Recents", "Large Files", "Screenshots"};
        QTest::newRow("smart symbols") << perCase<SmartCollection>([](auto c) { return c.symbol(); })
                                       << QStringList {"clock", "externaldrive", "camera.viewfinder"};
        QTest::newRow("cleanup titles") << perCase<CleanupKind>([](auto c) { return c.title(); })
                                        << QStringList {"Old Installers", "Forgotten Downloads", "Old Screenshots", "Big Old Videos", "Unused Apps"};
        QTest::newRow("sort labels") << perCase<SortKey>([](auto c) { return c.label(); }) << QStringList {"Name", "Date Modified", "Size", "Kind"};
        QTest::newRow("sort directions") << perCase<SortKey>([](auto c) { return QString::fromLatin1(c.defaultAscending() ? "asc" : "desc"); })
                                         << QStringList {"asc", "desc", "desc", "asc"};
        QTest::newRow("view symbols") << perCase<ViewMode>([](auto c) { return c.symbol(); }) << QStringList {"square.grid.2x2", "list.bullet"};
        QTest::newRow("card labels") << perCase<CardSize>([](auto c) { return c.label(); }) << QStringList {"Small", "Medium", "Large"};
        QTest::newRow("size labels") << perCase<SizeFilter>([](auto c) { return c.label(); })
                                     << QStringList {"Any", "Over 1 MB", "Over 10 MB", "Over 100 MB", "Over 1 GB"};
        QTest::newRow("size minimums") << perCase<SizeFilter>([](auto c) { return QString::number(c.minimumBytes()); })
                                       << QStringList {"0", "1000000", "10000000", "100000000", "1000000000"};
        QTest::newRow("date labels") << perCase<DateFilter>([](auto c) { return c.label(); })
                                     << QStringList {"Any", "Today", "Past Week", "Past Month", "Past Year"};
    }
    void texts()
    {
        QFETCH(QStringList, actual);
        QFETCH(QStringList, expected);
        QCOMPARE(actual, expected);
    }

    // 20:00 UTC on the 22nd is already 09:00 on the 23rd in Auckland, so "today" began nine hours earlier.
    void dateCutoffs()
    {
        const QByteArray oldTz = qgetenv("TZ");
        const bool hadTz = qEnvironmentVariableIsSet("TZ");
        auto restore = qScopeGuard([&] {
            hadTz ? qputenv("TZ", oldTz) : qunsetenv("TZ");
            tzset();
        });
        qputenv("TZ", "Pacific/Auckland");
        tzset();
        const QDateTime utcNow = QDateTime::fromString(QStringLiteral("2026-11-22T20:00:00Z"), Qt::ISODate);
        for (const QDateTime &now : {utcNow, utcNow.toLocalTime()}) {
            const QStringList offsets = perCase<DateFilter>([&](auto c) {
                const std::optional<QDateTime> cutoff = c.cutoff(now);
                return cutoff ? QString::number(now.secsTo(*cutoff)) : QStringLiteral("none");
            });
            QCOMPARE(offsets, (QStringList {"none", "-32400", "-604800", "-2592000", "-31536000"}));
        }
    }

    void standard_data()
    {
        QTest::addColumn<QStringList>("folders"); // desktop, documents, downloads, pictures, videos, music; empty = switched off
        QTest::addColumn<QString>("cloud");
        const QStringList english {"Desktop", "Documents", "Downloads", "Pictures", "Videos", "Music"};
        QTest::newRow("english") << english << "none";
        QTest::newRow("german") << QStringList {"Schreibtisch", "Dokumente", "Downloads", "Bilder", "Medien/Filme", "Musik"} << "none";
        QTest::newRow("music switched off") << QStringList {"Desktop", "Documents", "Downloads", "Pictures", "Videos", ""} << "none";
        QTest::newRow("cloud drive") << english << "folder";
        QTest::newRow("cloud path is a file") << english << "file";
    }
    void standard()
    {
        QFETCH(QStringList, folders);
        QFETCH(QString, cloud);
        static const std::pair<const char *, const char *> userDirs[] = {{"XDG_DESKTOP_DIR", "menubar.dock.rectangle"}, {"XDG_DOCUMENTS_DIR", "doc"},
            {"XDG_DOWNLOAD_DIR", "arrow.down.circle"}, {"XDG_PICTURES_DIR", "photo"}, {"XDG_VIDEOS_DIR", "film"}, {"XDG_MUSIC_DIR", "music.note.list"}};
        const QString cloudPath = QStringLiteral("Library/Mobile Documents/com~apple~CloudDocs");
        QDir(m_home->path(QStringLiteral("Library"))).removeRecursively();
        if (cloud == QLatin1String("folder"))
            m_home->folder(cloudPath);
        else if (cloud == QLatin1String("file"))
            m_home->file(cloudPath);

        const passwd *pw = getpwuid(getuid());
        const QString login = pw ? QString::fromLocal8Bit(pw->pw_name) : qEnvironmentVariable("USER");
        QCOMPARE(UserPlaces::loginName(), login);

        QList<std::pair<QString, QString>> entries;
        QStringList expected {describe(m_home->root(), login, QStringLiteral("house"))};
        for (int i = 0; i < 6; ++i) {
            entries.append({QString::fromLatin1(userDirs[i].first), folders[i]});
            if (!folders[i].isEmpty())
                expected << describe(m_home->path(folders[i]), folders[i].section(u'/', -1), QLatin1String(userDirs[i].second));
        }
        if (cloud == QLatin1String("folder"))
            expected << describe(m_home->path(cloudPath), QStringLiteral("iCloud Drive"), QStringLiteral("icloud"));
        expected << describe(QStringLiteral("/usr/share/applications"), QStringLiteral("Applications"), QStringLiteral("square.grid.3x3"));
        m_home->setUserDirs(entries);

        QStringList actual;
        for (const Location &location : Location::standard())
            actual << describe(location.url.isLocalFile() ? location.url.toLocalFile() : location.url.toString(), location.title, location.symbol);
        QCOMPARE(actual, expected);
        QCOMPARE(Location::standard().first().url, Location::home().url);
    }

    void locationEquality()
    {
        const Location same {kSomewhere.url, kSomewhere.title, kSomewhere.symbol};
        QVERIFY(same == kSomewhere);
        QCOMPARE(qHash(same), qHash(kSomewhere));
        QVERIFY(!(Location {QUrl::fromLocalFile(QStringLiteral("/srv")), kSomewhere.title, kSomewhere.symbol} == kSomewhere));
        QVERIFY(!(Location {kSomewhere.url, QStringLiteral("Films"), kSomewhere.symbol} == kSomewhere));
        QVERIFY(!(Location {kSomewhere.url, kSomewhere.title, QStringLiteral("film")} == kSomewhere));
    }

    void sidebarTitles_data()
    {
        QTest::addColumn<SidebarItem>("item");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("title");
        using C = SidebarItem::Case;
        QTest::newRow("home") << SidebarItem::home() << int(C::home) << "Home";
        QTest::newRow("smart") << SidebarItem::smart(SmartCollection::large) << int(C::smart) << "Large Files";
        QTest::newRow("category") << SidebarItem::category(FileCategory::music) << int(C::category) << FileCategory(FileCategory::music).title();
        QTest::newRow("location") << SidebarItem::location(kSomewhere) << int(C::location) << "Media";
        QTest::newRow("duplicates") << SidebarItem::duplicates() << int(C::duplicates) << "Duplicates";
        QTest::newRow("cleanup hub") << SidebarItem::cleanupHub() << int(C::cleanupHub) << "Clean Up";
        QTest::newRow("cleanup") << SidebarItem::cleanup(CleanupKind::unusedApps) << int(C::cleanup) << "Unused Apps";
        QTest::newRow("sources") << SidebarItem::sources() << int(C::sources) << "Downloaded From";
        QTest::newRow("source") << SidebarItem::source(QStringLiteral("YouTube")) << int(C::source) << "From YouTube";
    }
    void sidebarTitles()
    {
        QFETCH(SidebarItem, item);
        QFETCH(int, kind);
        QFETCH(QString, title);
        QCOMPARE(int(item.kind()), kind);
        QCOMPARE(item.title(), title);
    }

    void sidebarEquality_data()
    {
        QTest::addColumn<SidebarItem>("a");
        QTest::addColumn<SidebarItem>("b");
        QTest::addColumn<bool>("equal");
        const Location renamed {kSomewhere.url, QStringLiteral("Other"), kSomewhere.symbol};
        QTest::newRow("home") << SidebarItem::home() << SidebarItem::home() << true;
        QTest::newRow("home vs duplicates") << SidebarItem::home() << SidebarItem::duplicates() << false;
        QTest::newRow("same smart") << SidebarItem::smart(SmartCollection::recents) << SidebarItem::smart(SmartCollection::recents) << true;
        QTest::newRow("other smart") << SidebarItem::smart(SmartCollection::recents) << SidebarItem::smart(SmartCollection::large) << false;
        QTest::newRow("first smart vs first category") << SidebarItem::smart(SmartCollection::recents) << SidebarItem::category(FileCategory::images) << false;
        QTest::newRow("first smart vs first cleanup") << SidebarItem::smart(SmartCollection::recents) << SidebarItem::cleanup(CleanupKind::installers) << false;
        QTest::newRow("same location") << SidebarItem::location(kSomewhere) << SidebarItem::location(kSomewhere) << true;
        QTest::newRow("retitled location") << SidebarItem::location(kSomewhere) << SidebarItem::location(renamed) << false;
        QTest::newRow("same source") << SidebarItem::source(QStringLiteral("YouTube")) << SidebarItem::source(QStringLiteral("YouTube")) << true;
        QTest::newRow("other source") << SidebarItem::source(QStringLiteral("a")) << SidebarItem::source(QStringLiteral("b")) << false;
        QTest::newRow("sources vs unnamed source") << SidebarItem::sources() << SidebarItem::source(QString()) << false;
        QTest::newRow("hub vs cleanup") << SidebarItem::cleanupHub() << SidebarItem::cleanup(CleanupKind::installers) << false;
    }
    void sidebarEquality()
    {
        QFETCH(SidebarItem, a);
        QFETCH(SidebarItem, b);
        QFETCH(bool, equal);
        QCOMPARE(a == b, equal);
        QCOMPARE(b == a, equal);
        if (equal)
            QCOMPARE(qHash(a, 42), qHash(b, 42));
    }

    void sidebarSetDedupes()
    {
        const QSet<SidebarItem> set {SidebarItem::home(), SidebarItem::home(), SidebarItem::source(QStringLiteral("YouTube")),
            SidebarItem::source(QStringLiteral("YouTube")), SidebarItem::location(kSomewhere), SidebarItem::location(kSomewhere),
            SidebarItem::location({kSomewhere.url, QStringLiteral("Other"), kSomewhere.symbol}), SidebarItem::smart(SmartCollection::recents),
            SidebarItem::category(FileCategory::images)};
        QCOMPARE(set.size(), 6);
    }

    void pastels()
    {
        QCOMPARE(Theme::pastels().size(), kPastels.size());
        for (int i = 0; i < kPastels.size(); ++i)
            QVERIFY2(near(Theme::pastels()[i], kPastels[i]), describe(Theme::pastels()[i]));
    }

    void pastel_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("index");
        QTest::newRow("empty") << QString() << 0;
        QTest::newRow("A is 65") << "A" << 5;
        QTest::newRow("a is 97") << "a" << 1;
        QTest::newRow("e acute is 233") << QStringLiteral("\u00e9") << 5;
        QTest::newRow("listen") << "listen" << 1;
        QTest::newRow("anagram silent") << "silent" << 1;
        QTest::newRow("emoji by code point") << QString::fromUcs4(U"\U0001F600") << 4;
        QTest::newRow("letter and emoji") << QString::fromUcs4(U"a\U0001F600") << 5;
    }
    void pastel()
    {
        QFETCH(QString, name);
        QFETCH(int, index);
        const Rgb actual = Theme::pastel(name);
        QVERIFY2(near(actual, kPastels.at(index)), describe(actual));
    }

    void categoryLooks_data()
    {
        QTest::addColumn<QString>("raw");
        QTest::addColumn<Rgb>("tint");
        QTest::addColumn<bool>("fillsTile");
        QTest::newRow("images") << "images" << Rgb {0.55, 0.5, 0.95} << true;
        QTest::newRow("videos") << "videos" << Rgb {0.35, 0.62, 0.95} << true;
        QTest::newRow("music") << "music" << Rgb {0.98, 0.58, 0.38} << true;
        QTest::newRow("documents") << "documents" << Rgb {0.25, 0.72, 0.55} << false;
        QTest::newRow("archives take the last pastel") << "archives" << Rgb {0.93, 0.7, 0.2} << false;
        QTest::newRow("apps take the fifth pastel") << "apps" << Rgb {0.93, 0.42, 0.62} << false;
        QTest::newRow("code") << "code" << Rgb {0.4, 0.45, 0.95} << false;
        QTest::newRow("folders") << "folders" << Rgb {0.45, 0.6, 0.8} << false;
        QTest::newRow("other") << "other" << Theme::systemGray << false;
    }
    void categoryLooks()
    {
        QFETCH(QString, raw);
        QFETCH(Rgb, tint);
        QFETCH(bool, fillsTile);
        const std::optional<FileCategory> category = FileCategory::fromRaw(raw);
        QVERIFY(category);
        QVERIFY2(near(category->tint(), tint), describe(category->tint()));
        QCOMPARE(category->fillsTile(), fillsTile);
    }

    void library()
    {
        QStringList raws;
        for (FileCategory category : FileCategory::library())
            raws << category.rawValue();
        QCOMPARE(raws, (QStringList {"images", "videos", "music", "documents", "archives", "apps"}));
    }
};

QTEST_GUILESS_MAIN(TestDestinations)
#include "tst_destinations.moc"
