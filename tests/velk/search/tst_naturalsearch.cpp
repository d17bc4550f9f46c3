#include "models/FileItem.h"
#include "search/NaturalSearch.h"

#include "TestHome.h"

#include <QTest>

#include <limits>
#include <memory>

namespace {

const QTimeZone &berlinZone()
{
    static const QTimeZone zone("Europe/Berlin");
    return zone;
}

QDateTime berlin(int y, int m, int d, QTime time = QTime(0, 0))
{
    return QDateTime(QDate(y, m, d), time, berlinZone());
}

// Monday 15 June 2026, summer time: 12:30:15.250 UTC. The milliseconds show up wherever `now` leaks into a bound.
const QTime kNowTime(14, 30, 15, 250);
QDateTime now()
{
    return berlin(2026, 6, 15, kNowTime);
}
QDateTime atNowTime(int y, int m, int d)
{
    return berlin(y, m, d, kNowTime);
}

Calendar calendar(Qt::DayOfWeek firstDay = Qt::Monday)
{
    return {berlinZone(), firstDay, QLocale(QLocale::English, QLocale::UnitedStates)};
}

ParsedQuery parse(const QString &text, Qt::DayOfWeek firstDay = Qt::Monday)
{
    return NaturalSearch::parse(text, now(), calendar(firstDay));
}

using Date = std::optional<QDateTime>;

// The expected parse, field by field.
struct Q {
    ParsedQuery p;
    Q &terms(const QStringList &t) { return p.terms = t, *this; }
    Q &category(FileCategory c) { return p.category = c, *this; }
    Q &ext(const QStringList &e) { return p.extensions = e, *this; }
    Q &shots() { return p.screenshotsOnly = true, *this; }
    Q &kind(const QString &label) { return p.kindLabel = label, *this; }
    Q &range(const Date &after, const Date &before, const QString &label) { return p.after = after, p.before = before, p.dateLabel = label, *this; }
    Q &min(qint64 bytes) { return p.minSize = bytes, *this; }
    Q &max(qint64 bytes) { return p.maxSize = bytes, *this; }
    Q &camera(const QString &c) { return p.camera = c, *this; }
    Q &source(const std::optional<DownloadSource> &s) { return p.source = s, *this; }
    Q &folder(const Location &l) { return p.folder = l, *this; }
};

QString text(const std::optional<QString> &s)
{
    return s ? u'"' + *s + u'"' : QStringLiteral("-");
}
QString text(const Date &d)
{
    return d ? d->toUTC().toString(Qt::ISODateWithMs) : QStringLiteral("-");
}
template<typename T>
QString text(const std::optional<T> &n)
{
    return n ? QString::number(*n) : QStringLiteral("-");
}

// Every field as one line, so a mismatch shows the whole parse. Sources and folders by all their data.
QString describe(const ParsedQuery &q)
{
    const QString source = q.source
        ? q.source->name + u'|' + q.source->symbol + u'|' + q.source->domains.join(u',') + u'|' + q.source->keywords.join(u',') + u'|' + text(q.source->link)
        : QStringLiteral("-");
    return QStringList {"terms=[" + q.terms.join(u'|') + u']', "category=" + (q.category ? q.category->rawValue() : QStringLiteral("-")),
        "ext=[" + q.extensions.join(u',') + u']', "shots=" + QString::number(q.screenshotsOnly), "kind=" + text(q.kindLabel), "after=" + text(q.after),
        "before=" + text(q.before), "date=" + text(q.dateLabel), "min=" + text(q.minSize), "max=" + text(q.maxSize), "camera=" + text(q.camera),
        "source=" + source, "folder=" + (q.folder ? q.folder->url.toLocalFile() + u'|' + q.folder->title : QStringLiteral("-"))}
        .join(u"  ");
}

void row(const char *input, const Q &expected)
{
    QTest::newRow(input) << QString::fromUtf8(input) << expected.p;
}

// A term's clause written out from its template; `e` is the term already escaped.
QString names(const QString &e, bool content)
{
    QString clause
        = QStringLiteral(R"((kMDItemFSName == "*%1*"cd || kMDItemTitle == "*%1*"cd || kMDItemAuthors == "*%1*"cd || kMDItemAlbum == "*%1*"cd)").arg(e);
    if (content)
        clause += QStringLiteral(R"( || kMDItemTextContent == "%1*"cdw)").arg(e);
    return clause + u')';
}

DownloadSource site(const QString &domain)
{
    return {domain, QStringLiteral("globe"), {domain}, {}, std::nullopt};
}

FileItem item(const QString &path, const QDateTime &modified, const Date &created = std::nullopt, qint64 size = 0, FileCategory category = FileCategory::other)
{
    FileItem f;
    f.url = QUrl::fromLocalFile(path);
    f.modified = modified;
    f.created = created;
    f.size = size;
    f.category = category;
    return f;
}

} // namespace

Q_DECLARE_METATYPE(ParsedQuery)
Q_DECLARE_METATYPE(FileItem)

class TestNaturalSearch : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestHome> m_home;
    Location place(const QString &name) const { return {QUrl::fromLocalFile(m_home->path(name)), name, {}}; }

    void checkParse()
    {
        QFETCH(QString, input);
        QFETCH(ParsedQuery, expected);
        expected.raw = input;
        const ParsedQuery actual = parse(input);
        QCOMPARE(describe(actual), describe(expected));
        QCOMPARE(actual.raw, input);
    }
    static void parseColumns()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<ParsedQuery>("expected");
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Before anything asks for the home folder: the user folders come from this home alone.
        m_home = std::make_unique<TestHome>();
        QVERIFY(m_home->isValid());
        m_home->setUserDirs({{"XDG_VIDEOS_DIR", "Videos"}, {"XDG_DOWNLOAD_DIR", "Downloads"}, {"XDG_DOCUMENTS_DIR", "Documents"},
            {"XDG_DESKTOP_DIR", "Desktop"}, {"XDG_PICTURES_DIR", "Bilder"}});
    }

    void tokenize_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("possessive") << "photo's" << QStringList {"photo"};
        QTest::newRow("comparator split") << ">10mb" << QStringList {">", "10mb"};
        QTest::newRow("both comparators") << "a<b>c" << QStringList {"a", "<", "b", ">", "c"};
        QTest::newRow("lower case, separators") << "Big,Videos!(Draft);final?" << QStringList {"big", "videos", "draft", "final"};
        QTest::newRow("trailing punctuation") << "report.pdf. end...: james'" << QStringList {"report.pdf", "end", "james"};
        QTest::newRow("possessive behind punctuation") << "it's." << QStringList {"it"};
        QTest::newRow("inner apostrophe kept") << "O'Brien" << QStringList {"o'brien"};
        QTest::newRow("nothing left") << " 's .. ' \t" << QStringList {};
        QTest::newRow("any whitespace") << "a\tb\nc" << QStringList {"a", "b", "c"};
    }
    void tokenize()
    {
        QFETCH(QString, input);
        QFETCH(QStringList, expected);
        QCOMPARE(NaturalSearch::tokenize(input), expected);
    }

    void words_data()
    {
        parseColumns();
        row("", Q());
        row("the", Q());
        row("show me all my files please", Q());
        row("Report Draft", Q().terms({"report", "draft"}));
        row("\"big photos\"", Q().terms({"big photos"}));
        row("\"Big Photos\" big", Q().terms({"Big Photos"}).min(100'000'000));
        row("pdf \"Q3 Report\" draft", Q().terms({"Q3 Report", "draft"}).ext({"pdf"}).kind("PDFs"));
        row("\"  \" report", Q().terms({"report"}));
        row("say \"hi", Q().terms({"say", "\"hi"}));
        row("\"a\" \"b\" c \"d", Q().terms({"a", "b", "c", "\"d"}));
        row("a\"x\"b", Q().terms({"x", "ab"}));
    }
    void words() { checkParse(); }

    void sizes_data()
    {
        parseColumns();
        row("over 10 mb", Q().min(10'000'000));
        row("more than 10mb", Q().min(10'000'000));
        row("under 1 gb", Q().max(1'000'000'000));
        row("at least 2 gb", Q().min(2'000'000'000));
        row(">10mb", Q().min(10'000'000));
        row("< 5k", Q().max(5'000));
        row("less than 500 kilobytes", Q().max(500'000));
        row("10mb", Q().min(10'000'000));
        row("10 mb", Q().min(10'000'000));
        row("1.5 gb", Q().min(1'500'000'000));
        row("500 bytes", Q().min(500));
        row("500", Q().terms({"500"}));
        row("over 500", Q().terms({"over", "500"}));
        row("over the rainbow", Q().terms({"over", "rainbow"}));
        row("at least", Q().terms({"least"}));
        row("0 mb", Q().terms({"0", "mb"}));
        row(".5gb", Q().terms({".5gb"}));
        row("over .5gb", Q().min(500'000'000));
        row("99999999999999999tb", Q().min(std::numeric_limits<qint64>::max()));
        row("9210000 tb", Q().min(9'210'000'000'000'000'000));
        row("big", Q().min(100'000'000));
        row("big huge", Q().min(1'000'000'000));
        row("huge big", Q().min(1'000'000'000));
        row("over 5 gb big", Q().min(5'000'000'000));
        row("10mb enormous", Q().min(1'000'000'000));
        row("small", Q().max(1'000'000));
        row("tiny under 2 mb", Q().max(2'000'000));
        row("small big", Q().min(100'000'000).max(1'000'000));
    }
    void sizes() { checkParse(); }

    void dates_data()
    {
        parseColumns();
        const auto b = [](int y, int m, int d) { return berlin(y, m, d); };
        row("today", Q().range(b(2026, 6, 15), {}, "Today"));
        row("yesterday", Q().range(b(2026, 6, 14), b(2026, 6, 15), "Yesterday"));
        row("recent", Q().range(atNowTime(2026, 6, 1), {}, "Recent"));
        row("this week", Q().range(b(2026, 6, 15), {}, "This week"));
        row("this weekend", Q().range(b(2026, 6, 15), {}, "This week"));
        row("this month", Q().range(b(2026, 6, 1), {}, "This month"));
        row("this year", Q().range(b(2026, 1, 1), {}, "This year"));
        row("past week", Q().range(atNowTime(2026, 6, 8), {}, "Past week"));
        row("past 3 days", Q().range(atNowTime(2026, 6, 12), {}, "Past 3 days"));
        row("past 1 day", Q().range(atNowTime(2026, 6, 14), {}, "Past 1 day"));
        row("this 2 weeks", Q().range(atNowTime(2026, 6, 1), {}, "Past 2 weeks"));
        row("last 2 months", Q().range(atNowTime(2026, 4, 15), {}, "Past 2 months"));
        row("last week", Q().range(b(2026, 6, 8), b(2026, 6, 15), "Last week"));
        row("previous month", Q().range(b(2026, 5, 1), b(2026, 6, 1), "Last month"));
        row("last year", Q().range(b(2025, 1, 1), b(2026, 1, 1), "Last year"));
        row("3 days ago", Q().range(b(2026, 6, 12), b(2026, 6, 13), "3 days ago"));
        row("2 months ago", Q().range(b(2026, 4, 1), b(2026, 5, 1), "2 months ago"));
        row("1 year ago", Q().range(b(2025, 1, 1), b(2026, 1, 1), "1 year ago"));
        row("older than a month", Q().range({}, atNowTime(2026, 5, 15), "Older than 1 month"));
        row("older than 2 weeks", Q().range({}, atNowTime(2026, 6, 1), "Older than 2 weeks"));
        row("older than", Q().terms({"older"}));
        row("since yesterday", Q().range(b(2026, 6, 14), {}, "Since Yesterday"));
        row("after march", Q().range(b(2026, 3, 1), {}, "Since March"));
        row("before yesterday", Q().range({}, b(2026, 6, 14), "Before Yesterday"));
        row("before last week", Q().range({}, b(2026, 6, 8), "Before Last week"));
        row("march", Q().range(b(2026, 3, 1), b(2026, 4, 1), "March"));
        row("june", Q().range(b(2026, 6, 1), b(2026, 7, 1), "June"));
        row("august", Q().range(b(2025, 8, 1), b(2025, 9, 1), "August"));
        row("sept", Q().range(b(2025, 9, 1), b(2025, 10, 1), "September"));
        row("may", Q().terms({"may"}));
        row("in may", Q().range(b(2026, 5, 1), b(2026, 6, 1), "May"));
        // Later phrases overwrite earlier ones; "since" and "before" touch only their own bound.
        row("today yesterday", Q().range(b(2026, 6, 14), b(2026, 6, 15), "Yesterday"));
        row("yesterday today", Q().range(b(2026, 6, 15), {}, "Today"));
        row("since march before may", Q().range(b(2026, 3, 1), b(2026, 5, 1), "Before May"));
        row("between march and june", Q().range(b(2026, 6, 1), b(2026, 7, 1), "June"));
        row("last month recent", Q().range(atNowTime(2026, 6, 1), b(2026, 6, 1), "Recent"));
        row("before past 3 days", Q().range(atNowTime(2026, 6, 12), {}, "Past 3 days"));
        row("since 3 days ago", Q().range(b(2026, 6, 12), b(2026, 6, 13), "3 days ago"));
    }
    void dates() { checkParse(); }

    // The years a query accepts follow the real clock, not `now`.
    void years_data()
    {
        parseColumns();
        const int next = QDate::currentDate().year() + 1;
        const QByteArray nextYear = QByteArray::number(next), tooLate = QByteArray::number(next + 1);
        row("2024", Q().range(berlin(2024, 1, 1), berlin(2025, 1, 1), "2024"));
        row("since 2024", Q().range(berlin(2024, 1, 1), {}, "Since 2024"));
        row("may 2024", Q().range(berlin(2024, 5, 1), berlin(2024, 6, 1), "May 2024"));
        row("1990", Q().range(berlin(1990, 1, 1), berlin(1991, 1, 1), "1990"));
        row("1989", Q().terms({"1989"}));
        row("20245", Q().terms({"20245"}));
        row(nextYear.constData(), Q().range(berlin(next, 1, 1), berlin(next + 1, 1, 1), QString::number(next)));
        row(tooLate.constData(), Q().terms({QString::number(next + 1)}));
        row(("may " + tooLate).constData(), Q().terms({"may", QString::number(next + 1)}));
    }
    void years() { checkParse(); }

    void weekStart_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<int>("firstDay");
        QTest::addColumn<Date>("after");
        QTest::addColumn<Date>("before");
        QTest::newRow("last week, Monday") << "last week" << int(Qt::Monday) << Date(berlin(2026, 6, 8)) << Date(berlin(2026, 6, 15));
        QTest::newRow("last week, Sunday") << "last week" << int(Qt::Sunday) << Date(berlin(2026, 6, 7)) << Date(berlin(2026, 6, 14));
        QTest::newRow("this week, Sunday") << "this week" << int(Qt::Sunday) << Date(berlin(2026, 6, 14)) << Date();
        QTest::newRow("3 weeks ago, Monday") << "3 weeks ago" << int(Qt::Monday) << Date(berlin(2026, 5, 25)) << Date(berlin(2026, 6, 1));
        QTest::newRow("3 weeks ago, Sunday") << "3 weeks ago" << int(Qt::Sunday) << Date(berlin(2026, 5, 24)) << Date(berlin(2026, 5, 31));
        QTest::newRow("before last week, Sunday") << "before last week" << int(Qt::Sunday) << Date() << Date(berlin(2026, 6, 7));
    }
    void weekStart()
    {
        QFETCH(QString, input);
        QFETCH(int, firstDay);
        QFETCH(Date, after);
        QFETCH(Date, before);
        const ParsedQuery q = parse(input, Qt::DayOfWeek(firstDay));
        QCOMPARE(text(q.after), text(after));
        QCOMPARE(text(q.before), text(before));
    }

    void kinds_data()
    {
        parseColumns();
        row("movies", Q().category(FileCategory::videos).kind("Videos"));
        row("documents", Q().category(FileCategory::documents).kind("Documents"));
        row("screenshots", Q().shots().kind("Screenshots"));
        row("screenshots photos", Q().category(FileCategory::images).shots().kind("Photos"));
        row("photos screenshots", Q().category(FileCategory::images).shots().kind("Screenshots"));
        row("photos pdf", Q().ext({"pdf"}).kind("PDFs"));
        row("pdf photos", Q().category(FileCategory::images).kind("Photos"));
        row("excel", Q().ext({"xlsx", "xls", "ods", "csv", "numbers", "tsv"}).kind("Spreadsheets"));
        row("presentations", Q().ext({"key", "ppt", "pptx", "odp"}).kind("Presentations"));
        row("word", Q().ext({"doc", "docx", "odt", "pages", "rtf"}).kind("Word documents"));
        // The general word after a narrower kind keeps the narrower kind; elsewhere the last kind wins.
        row("word documents", Q().ext({"doc", "docx", "odt", "pages", "rtf"}).kind("Word documents"));
        row("pdf documents", Q().ext({"pdf"}).kind("PDFs"));
        row("spreadsheet documents", Q().ext({"xlsx", "xls", "ods", "csv", "numbers", "tsv"}).kind("Spreadsheets"));
        row("word documents from last week",
            Q().ext({"doc", "docx", "odt", "pages", "rtf"}).kind("Word documents").range(berlin(2026, 6, 8), berlin(2026, 6, 15), "Last week"));
        row("word big documents", Q().min(100'000'000).category(FileCategory::documents).kind("Documents"));
        row("documents word", Q().ext({"doc", "docx", "odt", "pages", "rtf"}).kind("Word documents"));
        row("odg", Q().ext({"odg"}).kind("ODG"));
        row("installers", Q().ext({"dmg", "pkg", "mpkg", "deb", "rpm", "flatpakref", "snap"}).kind("Installers"));
        row("zip", Q().category(FileCategory::archives).kind("Archives"));
        row("png jpg", Q().ext({"png", "jpg", "jpeg"}).kind("PNG, JPG"));
        row("jpg", Q().ext({"jpg", "jpeg"}).kind("JPG"));
        row("jpgs", Q().ext({"jpg", "jpeg"}).kind("JPG"));
        row("jpeg", Q().ext({"jpeg"}).kind(""));
        row("numbers", Q().ext({"numbers"}).kind("NUMBERS"));
        row("photos png", Q().ext({"png"}).kind("PNG"));
        row("pdf png", Q().ext({"pdf", "png"}).kind("PDF, PNG"));
        row("png photos", Q().category(FileCategory::images).kind("Photos"));
        row("fuji", Q().camera("fujifilm"));
        row("fujifilm", Q().camera("fujifilm"));
        row("shot on Canon", Q().camera("canon"));
    }
    void kinds() { checkParse(); }

    void folders_data()
    {
        parseColumns();
        const Location videos = place("Videos"), downloads = place("Downloads"), documents = place("Documents");
        row("in movies", Q().folder(videos));
        row("inside movies", Q().folder(videos).terms({"inside"}));
        row("from videos", Q().folder(videos));
        row("downloads", Q().folder(downloads));
        row("in documents", Q().folder(documents));
        row("desktop", Q().folder(place("Desktop")));
        row("on pictures", Q().folder(place("Bilder")));
        row("pictures", Q().category(FileCategory::images).kind("Photos"));
        row("in icloud", Q().terms({"icloud"}));
        row("big videos from last week in downloads",
            Q().min(100'000'000).category(FileCategory::videos).kind("Videos").range(berlin(2026, 6, 8), berlin(2026, 6, 15), "Last week").folder(downloads));
    }
    void folders() { checkParse(); }

    void sources_data()
    {
        parseColumns();
        const auto drive = DownloadSources::named(u"Google Drive");
        QVERIFY(drive);
        row("whatsapp", Q().source(DownloadSources::named(u"WhatsApp")));
        row("github photos", Q().source(DownloadSources::named(u"GitHub")).category(FileCategory::images).kind("Photos"));
        row("google drive", Q().source(drive));
        row("report google drive", Q().source(drive).terms({"report"}));
        row("from drive", Q().source(drive));
        row("drive", Q().terms({"drive"}));
        row("google report drive", Q().terms({"google", "report", "drive"}));
        row("from example.org", Q().source(site("example.org")));
        row("from www.news.example.co.uk", Q().source(site("example.co.uk")));
        row("from notes.md", Q().terms({"notes.md"}));
        row("example.org", Q().terms({"example.org"}));
        row("from example.c", Q().terms({"example.c"}));
        row("from .org", Q().terms({".org"}));
    }
    void sources() { checkParse(); }

    void termClause_data()
    {
        QTest::addColumn<QString>("term");
        QTest::addColumn<bool>("content");
        QTest::addColumn<QString>("expected");
        QTest::newRow("escaping order") << "x\\y\"z*" << true << names("x\\\\y\\\"z\\*", true);
        QTest::newRow("no content asked") << "abc" << false << names("abc", false);
        QTest::newRow("two characters") << "ab" << true << names("ab", false);
        QTest::newRow("length before escaping") << "a*" << true << names("a\\*", false);
    }
    void termClause()
    {
        QFETCH(QString, term);
        QFETCH(bool, content);
        QFETCH(QString, expected);
        QCOMPARE(ParsedQuery::termClause(term, content), expected);
    }

    void queryText_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        const QString videos = FileCategory(FileCategory::videos).spotlightQuery();
        const QString whatsapp = DownloadSources::named(u"WhatsApp")->spotlightClause();
        const QString lastWeek
            = "((kMDItemFSContentChangeDate >= $time.iso(2026-06-07T22:00:00Z) && kMDItemFSContentChangeDate < $time.iso(2026-06-14T22:00:00Z)) || "
              "(kMDItemContentCreationDate >= $time.iso(2026-06-07T22:00:00Z) && kMDItemContentCreationDate < $time.iso(2026-06-14T22:00:00Z)))";
        const QString fuji = R"((kMDItemAcquisitionModel == "*fujifilm*"cd || kMDItemAcquisitionMake == "*fujifilm*"cd))";

        QTest::newRow("report")
            << "report"
            << R"((kMDItemFSName == "*report*"cd || kMDItemTitle == "*report*"cd || kMDItemAuthors == "*report*"cd || kMDItemAlbum == "*report*"cd || kMDItemTextContent == "report*"cdw))";
        QTest::newRow("ab") << "ab" << names("ab", false);
        QTest::newRow("stop word alone") << "the" << names("the", true);
        QTest::newRow("empty") << "" << names("", false);
        QTest::newRow("star") << "a*b" << names("a\\*b", true);
        QTest::newRow("two terms") << "report draft" << names("report", true) + " && " + names("draft", true);
        QTest::newRow("folder only") << "downloads" << names("downloads", true);
        QTest::newRow("pdf") << "pdf"
                             << R"(((kMDItemFSName == "*.pdf"c)) || )" + names("pdf", false);
        QTest::newRow("png jpg") << "png jpg"
                                 << R"(((kMDItemFSName == "*.png"c || kMDItemFSName == "*.jpg"c || kMDItemFSName == "*.jpeg"c)) || )" + names("png jpg", false);
        QTest::newRow("before only")
            << "before yesterday"
            << "(((kMDItemFSContentChangeDate < $time.iso(2026-06-13T22:00:00Z)) || (kMDItemContentCreationDate < $time.iso(2026-06-13T22:00:00Z)))) || "
                + names("before yesterday", false);
        QTest::newRow("after only, no fractions")
            << "recent"
            << "(((kMDItemFSContentChangeDate >= $time.iso(2026-06-01T12:30:15Z)) || (kMDItemContentCreationDate >= $time.iso(2026-06-01T12:30:15Z)))) || "
                + names("recent", false);
        QTest::newRow("winter time")
            << "this year"
            << "(((kMDItemFSContentChangeDate >= $time.iso(2025-12-31T23:00:00Z)) || (kMDItemContentCreationDate >= $time.iso(2025-12-31T23:00:00Z)))) || "
                + names("this year", false);
        QTest::newRow("sizes in fixed order") << "under 2mb and over 1k"
                                              << "(kMDItemFSSize >= 1000 && kMDItemFSSize <= 2000000) || " + names("under 2mb and over 1k", false);
        QTest::newRow("kind, date, size") << "big videos from last week in downloads"
                                          << "((" + videos + ") && " + lastWeek + " && kMDItemFSSize >= 100000000) || "
                + names("big videos from last week in downloads", false);
        QTest::newRow("every other clause") << R"(tiny png screenshots from whatsapp shot on fuji "Q3" notes)"
                                            << "(kMDItemIsScreenCapture == 1 && (kMDItemFSName == \"*.png\"c) && kMDItemFSSize <= 1000000 && " + fuji + " && "
                + whatsapp + " && " + names("Q3", false) + " && " + names("notes", true) + ") || "
                + names("tiny png screenshots from whatsapp shot on fuji \\\"Q3\\\" notes", false);
    }
    void queryText()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        QCOMPARE(parse(input).spotlightQuery(), expected);
    }

    void chips_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("terms only") << "report draft" << QStringList {};
        QTest::newRow("over") << "over 100 mb" << QStringList {"Over 100 MB"};
        QTest::newRow("under") << "under 1 gb" << QStringList {"Under 1 GB"};
        QTest::newRow("videos folder") << "in movies" << QStringList {"In Videos"};
        QTest::newRow("iphone") << "iphone photos" << QStringList {"Photos", "Shot on iPhone"};
        QTest::newRow("ipad") << "ipad" << QStringList {"Shot on iPad"};
        QTest::newRow("fuji") << "fuji" << QStringList {"Shot on Fujifilm"};
        QTest::newRow("domain") << "from www.news.example.co.uk" << QStringList {"From example.co.uk"};
        QTest::newRow("google drive") << "google drive" << QStringList {"From Google Drive"};
        QTest::newRow("since") << "since yesterday" << QStringList {"Since Yesterday"};
        QTest::newRow("empty kind label") << "jpeg" << QStringList {""};
        QTest::newRow("order") << "in documents tiny whatsapp canon big jpg yesterday"
                               << QStringList {"JPG", "Yesterday", "Over 100 MB", "Under 1 MB", "Shot on Canon", "From WhatsApp", "In Documents"};
    }
    void chips()
    {
        QFETCH(QString, input);
        QFETCH(QStringList, expected);
        QCOMPARE(parse(input).chips(), expected);
    }

    void matches_data()
    {
        QTest::addColumn<ParsedQuery>("query");
        QTest::addColumn<FileItem>("file");
        QTest::addColumn<bool>("expected");
        const QDateTime t = berlin(2026, 6, 1), dayBefore = t.addDays(-1), dayAfter = t.addDays(1);
        const Location downloads {QUrl::fromLocalFile("/home/x/Downloads"), "Downloads", "folder"};
        const auto add = [](const char *name, const Q &q, const FileItem &f, bool expected) { QTest::newRow(name) << q.p << f << expected; };

        add("nothing asked", Q(), item("/x/a", t), true);
        add("camera never", Q().camera("canon"), item("/x/a.jpg", t), false);
        add("terms and screenshots untested", Q().terms({"zzz"}).shots(), item("/x/a", t), true);
        add("after: exactly at", Q().range(t, {}, ""), item("/x/a", t), true);
        add("after: just before", Q().range(t, {}, ""), item("/x/a", t.addMSecs(-1)), false);
        add("after: modified inside, created earlier", Q().range(t, {}, ""), item("/x/a", dayAfter, dayBefore), true);
        add("after: both earlier", Q().range(t, {}, ""), item("/x/a", dayBefore, dayBefore.addDays(-1)), false);
        add("before: exactly at", Q().range({}, t, ""), item("/x/a", t), false);
        add("before: just before", Q().range({}, t, ""), item("/x/a", t.addMSecs(-1)), true);
        add("before: created earlier than modified", Q().range({}, t, ""), item("/x/a", dayAfter, dayBefore), true);
        add("before: created later than modified", Q().range({}, t, ""), item("/x/a", dayBefore, dayAfter), true);
        add("range: only created inside", Q().range(t, dayAfter, ""), item("/x/a", dayAfter.addDays(1), t), true);
        add("category same", Q().category(FileCategory::images), item("/x/a", t, {}, 0, FileCategory::images), true);
        add("category other", Q().category(FileCategory::images), item("/x/a", t, {}, 0, FileCategory::videos), false);
        add("extension any case", Q().ext({"jpg", "jpeg"}), item("/x/A.JPG", t), true);
        add("extension other", Q().ext({"jpg", "jpeg"}), item("/x/a.png", t), false);
        add("extension only as name", Q().ext({"jpg", "jpeg"}), item("/x/jpg", t), false);
        add("min at bound", Q().min(100), item("/x/a", t, {}, 100), true);
        add("min below", Q().min(100), item("/x/a", t, {}, 99), false);
        add("max at bound", Q().max(100), item("/x/a", t, {}, 100), true);
        add("max above", Q().max(100), item("/x/a", t, {}, 101), false);
        add("folder: inside", Q().folder(downloads), item("/home/x/Downloads/a", t), true);
        add("folder: nested", Q().folder(downloads), item("/home/x/Downloads/sub/b", t), true);
        add("folder: sibling with same prefix", Q().folder(downloads), item("/home/x/Downloads2/a", t), false);
        add("folder: itself", Q().folder(downloads), item("/home/x/Downloads", t), false);
    }
    void matches()
    {
        QFETCH(ParsedQuery, query);
        QFETCH(FileItem, file);
        QFETCH(bool, expected);
        QCOMPARE(query.matches(file), expected);
    }

    // Sources come from the addresses stamped on real files.
    void matchesSource()
    {
        const ParsedQuery github = parse("github");
        QVERIFY(github.source);
        const auto stamped = [this](const QString &name, const QByteArray &origin) {
            const QString path = m_home->file(name, "data");
            return TestHome::setXattr(path, "user.xdg.origin.url", origin) ? path : QString();
        };
        const QString fromGithub = stamped("src/a.zip", "https://raw.githubusercontent.com/o/r/a.zip");
        const QString elsewhere = stamped("src/b.zip", "https://example.org/b.zip");
        if (fromGithub.isEmpty() || elsewhere.isEmpty())
            QSKIP("no user extended attributes on this file system");
        const QString plain = m_home->file("src/c.zip", "data");
        const QDateTime t = now();

        QVERIFY(github.matches(item(fromGithub, t)));
        QVERIFY(!github.matches(item(elsewhere, t)));
        QVERIFY(!github.matches(item(plain, t)));
        QVERIFY(!github.matches(item(fromGithub, t, {}, 0, FileCategory::folders)));
        QVERIFY(!parse("whatsapp").matches(item(fromGithub, t)));
    }
};

QTEST_GUILESS_MAIN(TestNaturalSearch)
#include "tst_naturalsearch.moc"
