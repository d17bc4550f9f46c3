// Query latency inside one process, as the app sees it: the store is opened once, then each query runs
// many times through the same path a list of the app takes (parse, evaluate over the catalog, drop
// hidden and bundled paths, build the items, keep the first 2000 with exact totals). bench/index.sh
// sets the figures beside plocate and find on the same tree.
//
//   bench_query [--runs N] STORE ROOT [--sort KEY] QUERY [[--sort KEY] QUERY ...]
//
// One line per query: "median_ms results".
#include "mdindex/MetadataIndex.h"
#include "search/Spotlight.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QUrl>

#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    int runs = 31;
    if (args.size() >= 2 && args.first() == QLatin1StringView("--runs")) {
        runs = std::max(1, args.at(1).toInt());
        args = args.mid(2);
    }
    if (args.size() < 3) {
        std::fputs("usage: bench_query [--runs N] STORE ROOT [--sort KEY] QUERY ...\n", stderr);
        return 2;
    }
    mdindex::MetadataIndex::Options options;
    options.storePath = args.at(0);
    options.roots = {args.at(1)};
    mdindex::MetadataIndex index(options);
    QElapsedTimer opening;
    opening.start();
    if (!index.open()) {
        std::fprintf(stderr, "bench_query: cannot open %s\n", qPrintable(options.storePath));
        return 1;
    }
    std::fprintf(stderr, "bench_query: opened %s in %.0f ms\n", qPrintable(options.storePath), double(opening.nsecsElapsed()) / 1e6);
    const QList<QUrl> scopes = {QUrl::fromLocalFile(args.at(1))};

    QString sortKey;
    for (qsizetype i = 2; i < args.size(); ++i) {
        if (args.at(i) == QLatin1StringView("--sort") && i + 1 < args.size()) {
            sortKey = args.at(++i);
            continue;
        }
        const QString &query = args.at(i);
        std::vector<double> times;
        qint64 results = 0;
        // One untimed run first, as the app's second look at a list would be.
        results = Spotlight::collect(index, query, scopes, sortKey, 2000).totalCount;
        for (int r = 0; r < runs; ++r) {
            QElapsedTimer timer;
            timer.start();
            const SpotlightResult result = Spotlight::collect(index, query, scopes, sortKey, 2000);
            times.push_back(double(timer.nsecsElapsed()) / 1e6);
            results = result.totalCount;
        }
        std::sort(times.begin(), times.end());
        std::printf("%.3f %lld\n", times[times.size() / 2], static_cast<long long>(results));
        std::fflush(stdout);
        sortKey.clear();
    }
    return 0;
}
