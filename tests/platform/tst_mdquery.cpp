#include "mdindex/Query.h"

#include <QRandomGenerator>
#include <QTest>

#include <ctime>

using namespace Qt::StringLiterals;
using namespace mdindex;

namespace {

const QDateTime now(QDate(2026, 11, 12), QTime(15, 0), Qt::UTC);

MetadataValues sample()
{
    return {
        {u"kMDItemFSName"_s, u"Annual Report 2024.pdf"_s},
        {u"kMDItemFSSize"_s, qint64(150'000'000)},
        {u"kMDItemDurationSeconds"_s, 12.5},
        {u"kMDItemIsScreenCapture"_s, true},
        {u"kMDItemFSContentChangeDate"_s, QDateTime(QDate(2026, 11, 10), QTime(8, 30), Qt::UTC)},
        {u"kMDItemLastUsedDate"_s, now.addSecs(-1800)},
        {u"kMDItemContentTypeTree"_s, QStringList {u"com.adobe.pdf"_s, u"public.data"_s, u"public.item"_s}},
        {u"kMDItemAuthors"_s, QStringList {u"Zoë Müller"_s, u"Bob"_s}},
        {u"kMDItemTitle"_s, u"say \"hi\" * 2 \\ done"_s},
    };
}

// Sets the local time zone for one test and puts the old one back.
struct LocalZone {
    explicit LocalZone(const char *zone)
        : saved(qgetenv("TZ"))
        , hadZone(qEnvironmentVariableIsSet("TZ"))
    {
        qputenv("TZ", zone);
        tzset();
    }
    ~LocalZone()
    {
        if (hadZone)
            qputenv("TZ", saved);
        else
            qunsetenv("TZ");
        tzset();
    }
    QByteArray saved;
    bool hadZone;
};

} // namespace

class TestMdQuery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void folding_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("ignoreCase");
        QTest::addColumn<bool>("ignoreDiacritics");
        QTest::addColumn<QString>("folded");
        QTest::newRow("case and marks") << u"Éclair"_s << true << true << u"eclair"_s;
        QTest::newRow("case only") << u"Éclair"_s << true << false << u"éclair"_s;
        QTest::newRow("marks only") << u"Éclair"_s << false << true << u"Eclair"_s;
        QTest::newRow("decomposed") << u"Cafe\u0301"_s << false << true << u"Cafe"_s;
        QTest::newRow("two levels") << u"\u01D6"_s << false << true << u"u"_s;
        QTest::newRow("angstrom sign") << u"\u212Bngstro\u0308m"_s << true << true << u"angstrom"_s;
        QTest::newRow("hangul stays") << u"한국"_s << true << true << u"한국"_s;
        QTest::newRow("outside the BMP") << u"\U00010400x"_s << true << false << u"\U00010428x"_s;
        QTest::newRow("untouched") << u"ÀB"_s << false << false << u"ÀB"_s;
    }
    void folding()
    {
        QFETCH(QString, text);
        QFETCH(bool, ignoreCase);
        QFETCH(bool, ignoreDiacritics);
        QTEST(foldText(text, ignoreCase, ignoreDiacritics), "folded");
    }

    void patterns_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("modifiers");
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("expected");
        const auto row = [](const char *name, const QString &body, const QString &modifiers, const QString &value, bool expected) {
            QTest::newRow(name) << body << modifiers << value << expected;
        };
        row("whole value", u"report"_s, {}, u"report"_s, true);
        row("no substring without stars", u"report"_s, {}, u"reports"_s, false);
        row("case counts", u"report"_s, {}, u"Report"_s, false);
        row("c", u"report"_s, u"c"_s, u"REPORT"_s, true);
        row("marks count", u"résumé"_s, {}, u"resume"_s, false);
        row("d", u"résumé"_s, u"d"_s, u"resume"_s, true);
        row("d keeps case", u"resume"_s, u"d"_s, u"Résumé"_s, false);
        row("dc", u"resume"_s, u"dc"_s, u"RÉSUMÉ"_s, true);
        row("d on decomposed value", u"résumé"_s, u"d"_s, u"re\u0301sume\u0301"_s, true);
        row("star at start", u"*.ts"_s, u"c"_s, u"clip.TS"_s, true);
        row("star at end", u"ann*"_s, {}, u"annual"_s, true);
        row("star in middle", u"a*c"_s, {}, u"abbbc"_s, true);
        row("star in middle, tail differs", u"a*c"_s, {}, u"abcd"_s, false);
        row("star matches nothing", u"a*c"_s, {}, u"ac"_s, true);
        row("stars around", u"*port*"_s, {}, u"report.pdf"_s, true);
        row("stars around, absent", u"*port*"_s, {}, u"pot"_s, false);
        row("two pieces in order", u"*b*b*"_s, {}, u"abab"_s, true);
        row("two pieces, one there", u"*b*b*"_s, {}, u"ab"_s, false);
        row("pieces reused", u"a*b*c"_s, {}, u"aXbYbZc"_s, true);
        row("question mark", u"a?c"_s, {}, u"abc"_s, true);
        row("question mark is one", u"a?c"_s, {}, u"ac"_s, false);
        row("question mark, surrogates", u"a?c"_s, {}, u"a\U0001F600c"_s, true);
        row("question marks at end", u"*.??"_s, {}, u"x.ts"_s, true);
        row("question and star", u"*20?4*"_s, {}, u"Report 2024.pdf"_s, true);
        row("lone star", u"*"_s, {}, QString(), true);
        row("empty", QString(), {}, QString(), true);
        row("empty against text", QString(), {}, u"x"_s, false);
        row("escaped star", u"a\\*"_s, {}, u"a*"_s, true);
        row("escaped star is no wildcard", u"a\\*"_s, {}, u"ab"_s, false);
        row("escaped question", u"a\\?"_s, {}, u"ab"_s, false);
        row("escaped backslash", u"a\\\\b"_s, {}, u"a\\b"_s, true);
        row("w prefix", u"report*"_s, u"cdw"_s, u"Annual Report 2024"_s, true);
        row("w prefix, camel case", u"report*"_s, u"cdw"_s, u"myReportFinal"_s, true);
        row("w prefix, inside a word", u"report*"_s, u"cdw"_s, u"unreported"_s, false);
        row("w prefix, marks", u"report*"_s, u"wdc"_s, u"RÉPORT-card"_s, true);
        row("w whole word", u"report"_s, u"cw"_s, u"Annual Report 2024"_s, true);
        row("w not a prefix", u"report"_s, u"cw"_s, u"Reports"_s, false);
        row("w digits continue a word", u"report"_s, u"cw"_s, u"report2024"_s, false);
        row("w capitals are one word", u"report"_s, u"cw"_s, u"ABCReport"_s, false);
        row("w camel tail", u"Bar"_s, u"w"_s, u"fooBar"_s, true);
        row("w keeps case", u"bar"_s, u"w"_s, u"fooBar"_s, false);
        row("w camel head", u"foo"_s, u"w"_s, u"fooBar"_s, true);
        row("w middle of word", u"oo"_s, u"w"_s, u"fooBar"_s, false);
        row("w several words", u"annual report"_s, u"cw"_s, u"The Annual Report"_s, true);
        row("w pieces in order", u"a*b*b"_s, u"w"_s, u"a bb"_s, true);
        row("w leading star", u"*port"_s, u"cw"_s, u"Annual Report"_s, true);
        row("w leading star, word goes on", u"*port"_s, u"cw"_s, u"portal"_s, false);
        row("w mark keeps the word", u"e"_s, u"w"_s, u"e\u0301"_s, false);
        row("w mark keeps the word, any case", u"e"_s, u"cw"_s, u"E\u0301"_s, false);
        row("w one letter", u"?"_s, u"w"_s, u"ab c"_s, true);
        row("w one letter, none", u"?"_s, u"w"_s, u"ab"_s, false);
        row("w prefix, later word", u"fin*"_s, u"cw"_s, u"define Final"_s, true);
        row("w prefix, no word", u"fin*"_s, u"cw"_s, u"define"_s, false);
    }
    void patterns()
    {
        QFETCH(QString, body);
        QFETCH(QString, modifiers);
        QFETCH(QString, value);
        QFETCH(bool, expected);
        const std::optional<TextPattern> pattern = TextPattern::compile(body, modifiers);
        QVERIFY(pattern);
        QCOMPARE(pattern->matches(value), expected);
        const QString folded = foldText(value, pattern->ignoreCase(), pattern->ignoreDiacritics());
        QCOMPARE(pattern->matchesFolded(folded, value), expected);
        // On its own the fast path may only over-approve, and only where it says so.
        if (pattern->matchesFoldedIsExact())
            QCOMPARE(pattern->matchesFolded(folded), expected);
        else if (expected)
            QVERIFY(pattern->matchesFolded(folded));
    }

    void requiredLiteral_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("modifiers");
        QTest::addColumn<QString>("literal");
        QTest::newRow("longest run") << u"*foo?barbaz*"_s << QString() << u"barbaz"_s;
        QTest::newRow("folded") << u"ÉTÉ*x"_s << u"cd"_s << u"ete"_s;
        QTest::newRow("escaped star is text") << u"a\\*b*"_s << QString() << u"a*b"_s;
        QTest::newRow("none") << u"*?*"_s << QString() << QString();
    }
    void requiredLiteral()
    {
        QFETCH(QString, body);
        QFETCH(QString, modifiers);
        QTEST(TextPattern::compile(body, modifiers)->requiredLiteral(), "literal");
    }

    void comparisons_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<bool>("expected");
        const auto row = [](const QString &query, bool expected) { QTest::newRow(qPrintable(query.simplified())) << query << expected; };
        // Numbers, each operator.
        row(u"kMDItemFSSize >= 100000000"_s, true);
        row(u"kMDItemFSSize > 150000000"_s, false);
        row(u"kMDItemFSSize == 150000000"_s, true);
        row(u"kMDItemFSSize != 150000000"_s, false);
        row(u"kMDItemFSSize < 1.5e8"_s, false);
        row(u"kMDItemFSSize <= 150000000.0"_s, true);
        row(u"kMDItemDurationSeconds == 12.5"_s, true);
        row(u"kMDItemDurationSeconds > -3"_s, true);
        row(u"kMDItemDurationSeconds < +12"_s, false);
        row(u"kMDItemIsScreenCapture == 1"_s, true);
        row(u"kMDItemIsScreenCapture == 0"_s, false);
        // Types that do not compare.
        row(u"kMDItemFSSize == '150000000'"_s, false);
        row(u"kMDItemFSSize != 'x'"_s, false);
        row(u"kMDItemFSName > 5"_s, false);
        row(u"kMDItemFSContentChangeDate > 0"_s, false);
        row(u"kMDItemLastUsedDate == '*'"_s, false);
        row(u"kMDItemAuthors != 5"_s, false);
        // Text, both quotes, ordering on the folded text.
        row(u"kMDItemFSName == 'Annual Report 2024.pdf'"_s, true);
        row(u"kMDItemFSName == \"annual report 2024.pdf\""_s, false);
        row(u"kMDItemFSName == \"annual report 2024.pdf\"c"_s, true);
        row(u"kMDItemFSName != '*.ts'c"_s, true);
        row(u"kMDItemFSName != '*.PDF'c"_s, false);
        row(u"kMDItemFSName < 'B'"_s, true);
        row(u"kMDItemFSName > 'b'"_s, false);
        row(u"kMDItemFSName >= 'ANNUAL'c"_s, true);
        row(u"kMDItemFSName <= 'annual'c"_s, false);
        row(u"kMDItemTitle == \"say \\\"hi\\\" \\* 2 \\\\ done\""_s, true);
        row(u"kMDItemTitle == 'say \\'hi\\'*'"_s, false);
        // A missing attribute.
        row(u"kMDItemAlbum == 'x'"_s, false);
        row(u"kMDItemAlbum != 'x'"_s, false);
        row(u"kMDItemAlbum < 'x'"_s, false);
        row(u"kMDItemPixelWidth < 10"_s, false);
        row(u"kMDItemAlbum != *"_s, true);
        row(u"kMDItemAlbum == *"_s, false);
        row(u"kMDItemFSName != *"_s, false);
        row(u"kMDItemLastUsedDate == *"_s, true);
        // Arrays.
        row(u"kMDItemContentTypeTree == 'public.data'"_s, true);
        row(u"kMDItemContentTypeTree == 'public.movie'"_s, false);
        row(u"kMDItemContentTypeTree != 'public.movie'"_s, true);
        row(u"kMDItemContentTypeTree != 'public.data'"_s, false);
        row(u"kMDItemContentTypeTree == 'public.*'"_s, true);
        row(u"kMDItemContentTypeTree > 'public.d'"_s, true);
        row(u"kMDItemAuthors == 'zoe*'cd"_s, true);
        row(u"kMDItemAuthors == 'zoe*'c"_s, false);
        row(u"kMDItemAuthors == 'mull*'cdw"_s, true);
        // Times.
        row(u"kMDItemFSContentChangeDate >= $time.iso(2026-11-09T00:00:00Z) && kMDItemFSContentChangeDate < $time.iso(2026-11-16T00:00:00Z)"_s, true);
        row(u"kMDItemFSContentChangeDate == $time.iso(2026-11-10T09:30:00+01:00)"_s, true);
        row(u"kMDItemFSContentChangeDate < $time.iso(2026-11-10T03:30:00-05:00)"_s, false);
        row(u"kMDItemFSContentChangeDate > $time.iso(2026-11-10T03:29:59.999-05:00)"_s, true);
        row(u"kMDItemFSContentChangeDate == $time.iso(\"2026-11-10T08:30:00Z\")"_s, true);
        row(u"kMDItemFSContentChangeDate == 1"_s, false);
        row(u"kMDItemLastUsedDate >= $time.now(-3600)"_s, true);
        row(u"kMDItemLastUsedDate >= $time.now(-60)"_s, false);
        row(u"kMDItemLastUsedDate < $time.now"_s, true);
        row(u"kMDItemLastUsedDate > $time.now( -1800.5 )"_s, true);
        row(u"kMDItemFSName == $time.now()"_s, false);
        // Joining: && before ||, brackets, any whitespace.
        row(u"kMDItemFSSize > 1 || kMDItemFSName == 'x' && kMDItemAlbum == *"_s, true);
        row(u"(kMDItemFSSize > 1 || kMDItemFSName == 'x') && kMDItemAlbum == *"_s, false);
        row(u"kMDItemAlbum == * && kMDItemFSName == 'x' || kMDItemFSSize > 1"_s, true);
        row(u"\n\t(kMDItemFSSize>1)&&(kMDItemIsScreenCapture==1)  "_s, true);
        row(u"((kMDItemFSName == '*'))"_s, true);
        row(u"(kMDItemFSName == \"*report*\"cd || kMDItemTitle == \"*report*\"cd || kMDItemTextContent == \"report*\"cdw)"_s, true);
    }
    void comparisons()
    {
        QFETCH(QString, query);
        const std::optional<Query> parsed = Query::parse(query, now);
        QVERIFY(parsed);
        QTEST(parsed->matches(sample()), "expected");
    }

    void tree()
    {
        const auto query = Query::parse(u"kMDItemFSSize > 1 || kMDItemFSName == 'x'c && (kMDItemAlbum == * && kMDItemFSName != \"y\")"_s, now);
        QVERIFY(query);
        const Node &root = query->root();
        QCOMPARE(root.kind, Node::Kind::any);
        QCOMPARE(root.children.size(), size_t(2));
        const Comparison &size = *root.children[0].comparison;
        QCOMPARE(size.attribute, u"kMDItemFSSize"_s);
        QCOMPARE(size.op, Op::greater);
        QCOMPARE(std::get<double>(size.value), 1.0);
        // The bracketed && folds into the outer one.
        const Node &all = root.children[1];
        QCOMPARE(all.kind, Node::Kind::all);
        QCOMPARE(all.children.size(), size_t(3));
        QVERIFY(std::get<TextPattern>(all.children[0].comparison->value).ignoreCase());
        QVERIFY(std::holds_alternative<std::monostate>(all.children[1].comparison->value));
        QCOMPARE(all.children[2].comparison->op, Op::notEqual);
        QCOMPARE(query->attributes(), (QStringList {u"kMDItemFSSize"_s, u"kMDItemFSName"_s, u"kMDItemAlbum"_s}));
    }

    void today_data()
    {
        QTest::addColumn<QDateTime>("at");
        QTest::addColumn<QString>("time");
        QTest::addColumn<QDateTime>("expected");
        const auto utc = [](int month, int day, int hour, int minute = 0) { return QDateTime(QDate(2026, month, day), QTime(hour, minute), Qt::UTC); };
        // 03:30 UTC is still the evening before in New York.
        QTest::newRow("evening before") << utc(11, 9, 3, 30) << u"$time.today()"_s << utc(11, 8, 5);
        QTest::newRow("omitted") << utc(11, 9, 3, 30) << u"$time.today"_s << utc(11, 8, 5);
        QTest::newRow("tomorrow") << utc(11, 9, 3, 30) << u"$time.today(1)"_s << utc(11, 9, 5);
        QTest::newRow("a week back") << utc(11, 9, 3, 30) << u"$time.today(-7)"_s << utc(11, 1, 4);
        QTest::newRow("just after midnight") << utc(11, 9, 5) << u"$time.today(0)"_s << utc(11, 9, 5);
        QTest::newRow("into summer time") << utc(3, 9, 12) << u"$time.today(0)"_s << utc(3, 9, 4);
        QTest::newRow("before summer time") << utc(3, 9, 12) << u"$time.today(-1)"_s << utc(3, 8, 5);
        QTest::newRow("iso date alone") << utc(3, 9, 12) << u"$time.iso(2026-11-10)"_s << utc(11, 10, 5);
        QTest::newRow("iso with Z") << utc(3, 9, 12) << u"$time.iso(2026-11-10T00:00:00Z)"_s << utc(11, 10, 0);
        QTest::newRow("now") << utc(3, 9, 12) << u"$time.now(90)"_s << utc(3, 9, 12, 1).addSecs(30);
    }
    void today()
    {
        QFETCH(QDateTime, at);
        QFETCH(QString, time);
        QFETCH(QDateTime, expected);
        const LocalZone zone("America/New_York");
        const auto query = Query::parse(u"kMDItemLastUsedDate >= "_s + time, at);
        QVERIFY(query);
        QCOMPARE(std::get<QDateTime>(query->root().comparison->value).toUTC(), expected);
        // A record exactly at the boundary is in, a millisecond before is out.
        QVERIFY(query->matches(MetadataValues {{u"kMDItemLastUsedDate"_s, expected}}));
        QVERIFY(!query->matches(MetadataValues {{u"kMDItemLastUsedDate"_s, expected.addMSecs(-1)}}));
    }

    void malformed_data()
    {
        QTest::addColumn<QString>("query");
        const QStringList texts {
            u""_s,
            u"   "_s,
            u"kMDItemFSName"_s,
            u"kMDItemFSName =="_s,
            u"kMDItemFSName = 'x'"_s,
            u"kMDItemFSName === 'x'"_s,
            u"kMDItemFSName <> 'x'"_s,
            u"kMDItemFSName == 'x"_s,
            u"kMDItemFSName == \"x'"_s,
            u"kMDItemFSName == 'x\\'"_s,
            u"kMDItemFSName == 'x'q"_s,
            u"kMDItemFSName == 'x'c d"_s,
            u"kMDItemFSName == **"_s,
            u"kMDItemFSSize < *"_s,
            u"(kMDItemFSName == 'x'"_s,
            u"kMDItemFSName == 'x')"_s,
            u"kMDItemFSName == 'x' &&"_s,
            u"|| kMDItemFSName == 'x'"_s,
            u"kMDItemFSName == 'x' & kMDItemFSSize > 1"_s,
            u"kMDItemFSName == 'x' kMDItemFSSize > 1"_s,
            u"!(kMDItemFSName == 'x')"_s,
            u"()"_s,
            u"'x' == kMDItemFSName"_s,
            u"1kMDItemFSSize == 1"_s,
            u"kMDItemFSSize > 12abc"_s,
            u"kMDItemFSSize > 1.2.3"_s,
            u"kMDItemFSSize > -"_s,
            u"kMDItemLastUsedDate > $time.yesterday(1)"_s,
            u"kMDItemLastUsedDate > $time.today(1.5)"_s,
            u"kMDItemLastUsedDate > $time.today(x)"_s,
            u"kMDItemLastUsedDate > $time.today(3"_s,
            u"kMDItemLastUsedDate > $time.iso(2026-13-45)"_s,
            u"kMDItemLastUsedDate > $time.iso()"_s,
            u"kMDItemLastUsedDate > $date.today()"_s,
            u"kMDItemLastUsedDate > $time.now(1e300)"_s,
        };
        for (const QString &text : texts)
            QTest::newRow(qPrintable(text)) << text;
        QTest::newRow("too deep") << QString(u"("_s.repeated(1000) + u"kMDItemFSSize > 1"_s + u")"_s.repeated(1000));
    }
    void malformed()
    {
        QFETCH(QString, query);
        QVERIFY(!Query::parse(query, now));
    }

    // Where each bad text stops making sense: the error points there, says what was wanted, and
    // shows no more than a short excerpt of the text.
    void errorsPointAtThePlace_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<qsizetype>("offset");
        QTest::addColumn<QString>("says");
        QTest::newRow("no value") << u"kMDItemFSName == "_s << qsizetype(17) << u"expected a value after =="_s;
        QTest::newRow("no operator") << u"kMDItemFSSize 12"_s << qsizetype(14) << u"expected =="_s;
        QTest::newRow("open quote") << u"kMDItemFSSize > 1 && kMDItemFSName == 'x"_s << qsizetype(38) << u"never closed"_s;
        QTest::newRow("modifier") << u"kMDItemFSName == 'x'cq"_s << qsizetype(21) << u"unknown modifier"_s;
        QTest::newRow("dangling &&") << u"kMDItemFSName == 'x' && "_s << qsizetype(24) << u"attribute name"_s;
        QTest::newRow("missing bracket") << u"(kMDItemFSName == 'x' kMDItemFSSize > 1"_s << qsizetype(22) << u"to close the bracket at character 1"_s;
        QTest::newRow("extra bracket") << u"kMDItemFSName == 'x')"_s << qsizetype(20) << u"closes nothing"_s;
        QTest::newRow("star ordered") << u"kMDItemFSSize < *"_s << qsizetype(16) << u"* goes only with"_s;
        QTest::newRow("bad date") << u"kMDItemLastUsedDate > $time.iso(2026-13-45)"_s << qsizetype(32) << u"expected a date"_s;
        QTest::newRow("bad time name") << u"kMDItemLastUsedDate > $time.yesterday"_s << qsizetype(28) << u"$time.today"_s;
        QTest::newRow("empty") << QString() << qsizetype(0) << u"attribute name"_s;
        QTest::newRow("too deep") << QString(u"("_s.repeated(500) + u"kMDItemFSSize > 1"_s + u")"_s.repeated(500)) << qsizetype(Query::maxDepth)
                                  << u"nested deeper"_s;
        // After a long run of good text, the excerpt is still short.
        QTest::newRow("late in long text") << QString(u"kMDItemFSName == '"_s + u"a"_s.repeated(5000) + u"' &&& kMDItemFSSize > 1"_s) << qsizetype(5022)
                                           << u"attribute name"_s;
    }
    void errorsPointAtThePlace()
    {
        QFETCH(QString, query);
        QFETCH(qsizetype, offset);
        QFETCH(QString, says);
        QueryError error;
        QVERIFY(!Query::parse(query, &error, now));
        QCOMPARE(error.offset, offset);
        QCOMPARE(error.column, offset + 1);
        QVERIFY2(error.problem.contains(says), qPrintable(error.problem));
        QVERIFY2(error.excerpt.size() <= 42, qPrintable(error.excerpt));
        // The excerpt is the text around the place, the caret on it.
        const QString around = error.excerpt.sliced(error.caret);
        QVERIFY2(query.sliced(offset).startsWith(around.chopped(around.endsWith(u'…') ? 1 : 0)), qPrintable(error.excerpt));
        QVERIFY(error.toString().contains(u"character %1"_s.arg(offset + 1)));
    }

    void errorExcerptsShowNoControlCharacters()
    {
        QueryError error;
        QVERIFY(!Query::parse(u"kMDItemFSName == 'a\x1b[2J\nb' &&"_s, &error, now));
        QCOMPARE(error.offset, qsizetype(29));
        QVERIFY(!error.excerpt.contains(QChar(0x1b)));
        QVERIFY(!error.excerpt.contains(u'\n'));
        // Columns count characters, not the halves of characters outside the basic plane.
        QVERIFY(!Query::parse(u"kMDItemFSName == '🙂🙂' ||"_s, &error, now));
        QCOMPARE(error.offset, qsizetype(26));
        QCOMPARE(error.column, qsizetype(25));
    }

    // Far deeper brackets than the limit, and a mebibyte pattern: an answer each, no crash, and the
    // big one still a query.
    void hostileSizes()
    {
        QueryError error;
        const QString deep = u"("_s.repeated(100'000);
        QVERIFY(!Query::parse(deep, &error, now));
        QCOMPARE(error.offset, qsizetype(Query::maxDepth));
        QVERIFY(!Query::parse(u"("_s.repeated(100'000) + u"kMDItemFSSize > 1"_s + u")"_s.repeated(100'000), &error, now));

        for (const QString &piece : {u"a"_s, u"*a"_s, u"?b"_s}) {
            const QString pattern = piece.repeated(1024 * 1024 / piece.size());
            const auto query = Query::parse(u"kMDItemFSName == \"%1\"c && kMDItemFSSize > 100000000"_s.arg(pattern), &error, now);
            QVERIFY(query);
            QVERIFY(!query->matches(sample()));
        }
        QString many;
        for (int i = 0; i < 60'000; ++i)
            many += u"kMDItemAttribute%1 == %1 || "_s.arg(i);
        many += u"kMDItemFSSize > 1"_s;
        const auto query = Query::parse(many, &error, now);
        QVERIFY(query);
        QCOMPARE(query->attributes().size(), 60'001);
        QVERIFY(query->matches(sample()));

        QVERIFY(!Query::parse(QString(Query::maxLength + 1, u' '), &error, now));
        QVERIFY(error.problem.contains(u"longer than"_s));
        QVERIFY(error.excerpt.size() <= 42);
    }

    void nestingWithinReason() { QVERIFY(Query::parse(u"("_s.repeated(50) + u"kMDItemFSSize > 1"_s + u")"_s.repeated(50), now)); }

    void fuzz()
    {
        const QStringList pieces {u"kMDItemFSName"_s, u"kMDItemFSSize"_s, u"kMDItemAuthors"_s, u" "_s, u"("_s, u")"_s, u"&&"_s, u"||"_s, u"&"_s, u"=="_s,
            u"!="_s, u"<"_s, u">="_s, u"="_s, u"'"_s, u"\""_s, u"*"_s, u"?"_s, u"\\"_s, u"c"_s, u"d"_s, u"w"_s, u"x"_s, u"é"_s,
            QString(QChar(char16_t(0xD83D))), u"$time.today("_s, u"$time.now("_s, u"$time.iso("_s, u"2026-11-09T00:00:00Z"_s, u"-7"_s, u"1.5"_s, u"1e"_s,
            u"."_s};
        const QStringList valid {
            u"(kMDItemContentTypeTree == 'public.movie') && kMDItemFSName != '*.ts'c"_s,
            u"(kMDItemFSName == \"*report*\"cd || kMDItemTitle == \"*r\\\"e?port*\"cd || kMDItemTextContent == \"report*\"cdw)"_s,
            u"kMDItemFSSize >= 100000000 && (kMDItemFSContentChangeDate >= $time.iso(2026-11-09T00:00:00Z) && kMDItemFSContentChangeDate < $time.today(-7))"_s,
        };
        QRandomGenerator random(20261109);
        const MetadataValues record = sample();
        int parsed = 0;
        const auto attempt = [&](const QString &text) {
            if (const auto query = Query::parse(text, now)) {
                ++parsed;
                query->matches(record);
                QVERIFY2(!query->attributes().isEmpty(), qPrintable(text));
            }
        };
        for (int i = 0; i < 4000; ++i) {
            QString text;
            for (int n = random.bounded(1, 14); n > 0; --n)
                text += random.bounded(4) ? pieces[random.bounded(pieces.size())] : QString(QChar(char16_t(random.bounded(0x20, 0x3000))));
            attempt(text);
        }
        for (const QString &text : valid) {
            QVERIFY(Query::parse(text, now));
            for (qsizetype cut = 0; cut < text.size(); ++cut) {
                attempt(text.left(cut));
                attempt(text.mid(cut));
            }
        }
        QVERIFY(parsed > 0);
    }
};

QTEST_GUILESS_MAIN(TestMdQuery)
#include "tst_mdquery.moc"
