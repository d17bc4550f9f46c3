// How long one parse of a typed search takes. It runs on every debounced keystroke, so the figure that
// matters is the time per sentence; the peer is the cheapest thing any search field does with the same
// text (lower-case it and split it into words), measured in the same run. Then the query language on
// hostile sizes: a mebibyte pattern in three shapes and sixty thousand comparisons, each parsed once, with
// the time and the growth of the peak resident size (both should grow in proportion to the length).
#include "mdindex/Query.h"
#include "search/NaturalSearch.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <algorithm>
#include <cstdio>
#include <ctime>

#include <sys/resource.h>

namespace {

QStringList sentences(int count)
{
    const char *const openers[] = {"", "show me ", "find ", "all ", "my "};
    const char *const sizes[] = {"", "big ", "huge ", "over 10 mb ", "under 1gb ", "at least 2 gb ", "small ", "500mb "};
    const char *const kinds[] = {"videos", "photos", "pdfs", "screenshots", "songs", "png jpg", "presentations", "zip files", "code", "report"};
    const char *const dates[] = {"", " from last week", " since march", " 3 days ago", " older than a month", " in may 2024", " today", " past 2 weeks"};
    const char *const places[] = {"", " in downloads", " from whatsapp", " from example.org", " on desktop", " shot on iphone", " \"quarterly plan\""};
    QRandomGenerator rng(20261122);
    QStringList out;
    out.reserve(count);
    const auto pick = [&rng](const auto &list) { return QString::fromUtf8(list[rng.bounded(int(std::size(list)))]); };
    for (int i = 0; i < count; ++i)
        out.append(pick(openers) + pick(sizes) + pick(kinds) + pick(dates) + pick(places));
    return out;
}

template<typename F>
double nanosPerItem(const QStringList &items, int rounds, F &&work)
{
    std::vector<double> perRound;
    for (int r = 0; r < rounds; ++r) {
        QElapsedTimer timer;
        timer.start();
        for (const QString &item : items)
            work(item);
        perRound.push_back(double(timer.nsecsElapsed()) / double(items.size()));
    }
    std::sort(perRound.begin(), perRound.end());
    return perRound[perRound.size() / 2];
}

long peakKb()
{
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void hostileQuery(const char *label, const QString &text)
{
    const long before = peakKb();
    QElapsedTimer timer;
    timer.start();
    // CPU time as well as wall time: on a busy machine the wall time says little.
    const std::clock_t cpuStart = std::clock();
    mdindex::QueryError error;
    const bool parsed = mdindex::Query::parse(text, &error).has_value();
    const double cpuMs = double(std::clock() - cpuStart) * 1000.0 / CLOCKS_PER_SEC;
    std::printf("%-30s %8.1f ms wall %8.1f ms CPU  peak +%6ld KB  %s\n", label, double(timer.nsecsElapsed()) / 1e6, cpuMs, peakKb() - before,
        parsed ? "parsed" : "refused");
}

} // namespace

int main()
{
    const QStringList input = sentences(4000);
    const QDateTime now = QDateTime::currentDateTime();
    const Calendar calendar = Calendar::current();
    qsizetype sink = 0;

    const double parse = nanosPerItem(input, 9, [&](const QString &s) { sink += NaturalSearch::parse(s, now, calendar).terms.size(); });
    const double compile = nanosPerItem(input, 9, [&](const QString &s) { sink += NaturalSearch::parse(s, now, calendar).spotlightQuery().size(); });
    static const QRegularExpression separators(QStringLiteral("[\\s,;!?()]+"));
    const double split = nanosPerItem(input, 9, [&](const QString &s) { sink += s.toLower().split(separators, Qt::SkipEmptyParts).size(); });

    std::printf("sentences: %lld\n", static_cast<long long>(input.size()));
    std::printf("parse:               %8.2f us per sentence\n", parse / 1000);
    std::printf("parse + query text:  %8.2f us per sentence\n", compile / 1000);
    std::printf("peer, lower + split: %8.2f us per sentence\n", split / 1000);
    std::printf("ratio parse / peer:  %8.1f\n", parse / split);

    // The largest first, so each later figure's peak growth is its own.
    constexpr int mebibyte = 1024 * 1024;
    const auto pattern = [](const QString &piece) {
        return QStringLiteral("kMDItemFSName == \"") + piece.repeated(mebibyte / piece.size()) + QStringLiteral("\"c && kMDItemFSSize > 1");
    };
    hostileQuery("1 MiB pattern, \"*a\" repeated", pattern(QStringLiteral("*a")));
    hostileQuery("1 MiB pattern, \"?b\" repeated", pattern(QStringLiteral("?b")));
    hostileQuery("1 MiB pattern, plain", pattern(QStringLiteral("a")));
    QString many;
    for (int i = 0; i < 60000; ++i)
        many += QStringLiteral("kMDItemAttribute%1 == %1 || ").arg(i);
    hostileQuery("60,000 comparisons", many + QStringLiteral("kMDItemFSSize > 1"));
    hostileQuery("100,000 open brackets", QString(100000, u'('));
    return sink == 0 ? 1 : 0;
}
