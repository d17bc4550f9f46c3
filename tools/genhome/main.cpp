// velk-genhome: writes a made-up but lifelike home folder for tests and benchmarks. The same seed gives
// the same names, sizes, dates and bytes. Files hold a real header (or real text when small) and a hole
// for the rest, so a million files cost little disk.
#include "Areas.h"
#include "Contents.h"
#include "Writer.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace genhome;

namespace {

struct Part {
    const char *name;
    int weight; // per mille of the files
    std::function<void(Writer &)> run;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velk-genhome"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Write a lifelike home folder into OUTDIR (empty or absent); the same seed and --now give the same tree."));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("files"), QStringLiteral("About <n> files."), QStringLiteral("n")},
        {QStringLiteral("seed"), QStringLiteral("Random seed (default 1)."), QStringLiteral("s"), QStringLiteral("1")},
        {QStringLiteral("large"), QStringLiteral("Videos and disk images get real sizes up to 4 GiB (sparse); otherwise sizes stop at 4 MiB.")},
        {QStringLiteral("now"), QStringLiteral("Dates end at <seconds> since 1970 (default 2026-06-01 UTC)."), QStringLiteral("seconds"),
            QStringLiteral("1780272000")},
        {QStringLiteral("jobs"), QStringLiteral("Threads (default: the cores)."), QStringLiteral("n")},
    });
    parser.addPositionalArgument(QStringLiteral("OUTDIR"), QStringLiteral("The home folder to write."));
    parser.process(app);

    const auto fail = [](const string &message, int code = 2) {
        std::fprintf(stderr, "velk-genhome: %s\n", message.c_str());
        return code;
    };
    bool filesOk = false, seedOk = false, nowOk = false, jobsOk = true;
    const qlonglong files = parser.value(QStringLiteral("files")).toLongLong(&filesOk);
    const qulonglong seed = parser.value(QStringLiteral("seed")).toULongLong(&seedOk);
    const qlonglong now = parser.value(QStringLiteral("now")).toLongLong(&nowOk);
    int jobs = int(std::max(1u, std::thread::hardware_concurrency()));
    if (parser.isSet(QStringLiteral("jobs")))
        jobs = parser.value(QStringLiteral("jobs")).toInt(&jobsOk);
    if (!filesOk || files < 1 || files > 100000000)
        return fail("--files needs a whole number from 1 to 100000000");
    if (!seedOk)
        return fail("--seed needs a whole number");
    if (!nowOk || now < 10 * 365 * Day)
        return fail("--now needs seconds since 1970");
    if (!jobsOk || jobs < 1)
        return fail("--jobs needs a positive number");
    if (parser.positionalArguments().size() != 1)
        return fail("give exactly one OUTDIR (see --help)");

    umask(022); // the same modes whoever runs it
    const QString out = QDir::cleanPath(QDir::current().absoluteFilePath(parser.positionalArguments().constFirst()));
    const QByteArray outPath = QFile::encodeName(out);
    const QFileInfo info(out);
    if (info.exists() && !info.isDir())
        return fail(outPath.toStdString() + " is not a folder", 1);
    if (info.exists() && !QDir(out).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
        return fail(outPath.toStdString() + " is not empty; give a new or empty folder", 1);
    if (!QDir().mkpath(out))
        return fail("cannot create " + outPath.toStdString(), 1);
    const int root = open(outPath.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int probe = root < 0 ? -1 : openat(root, ".velk-genhome", O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (probe < 0)
        return fail("cannot write into " + outPath.toStdString() + ": " + std::strerror(errno), 1);
    close(probe);
    unlinkat(root, ".velk-genhome", 0);

    const std::vector<Part> parts = {
        {"projects", 220, [](Writer &w) { projects(w, "Projects"); }},
        {"cache", 150, cache},
        {"pictures", 120, pictures},
        {"work", 110, [](Writer &w) { projects(w, "src/work"); }},
        {"documents", 130, documents},
        {"downloads", 30, downloads},
        {"music", 60, music},
        {"local", 50, local},
        {"config", 40, config},
        {"dotfiles", 40, dotfiles},
        {"videos", 12, videos},
        {"desktop", 4, desktop},
        {"apps", 1, apps},
    };
    int weights = 0;
    for (const Part &p : parts)
        weights += p.weight;
    std::vector<std::unique_ptr<Writer>> writers;
    for (size_t i = 0; i < parts.size(); ++i) {
        const int64_t budget = std::max<int64_t>(4, files * parts[i].weight / weights);
        writers.push_back(
            std::make_unique<Writer>(root, seed * 0x9E3779B97F4A7C15ull + i * 0xBF58476D1CE4E5B9ull, budget, parser.isSet(QStringLiteral("large")), now));
    }

    const auto started = std::chrono::steady_clock::now();
    std::atomic<size_t> next {0};
    std::vector<std::thread> threads;
    for (int j = 0; j < std::min<int>(jobs, int(parts.size())); ++j)
        threads.emplace_back([&] {
            for (size_t i; (i = next++) < parts.size();)
                parts[i].run(*writers[i]);
        });
    for (std::thread &t : threads)
        t.join();

    Totals total;
    std::unordered_map<string, int64_t> dirTimes {{"", 0}};
    std::vector<string> locked;
    for (size_t i = 0; i < writers.size(); ++i) {
        const Writer *w = writers[i].get();
        if (!w->error.empty())
            return fail(string(parts[i].name) + ": " + w->error, 1);
        total.files += w->totals.files, total.links += w->totals.links, total.bytes += w->totals.bytes;
        for (const auto &[dir, t] : w->dirTimes) {
            int64_t &d = dirTimes[dir];
            d = std::max(d, t);
        }
        locked.insert(locked.end(), w->locked.begin(), w->locked.end());
    }
    // A folder's date is that of its newest entry, as after the last write into it: deepest first so it carries
    // upwards, then empty folders take their parent's.
    std::vector<string> order;
    for (const auto &entry : dirTimes)
        order.push_back(entry.first);
    const auto depth = [](const string &s) { return s.empty() ? -1 : int(std::count(s.begin(), s.end(), '/')); };
    std::sort(order.begin(), order.end(), [&](const string &a, const string &b) { return depth(a) != depth(b) ? depth(a) > depth(b) : a < b; });
    for (const string &dir : order) {
        if (!dir.empty()) {
            int64_t &parent = dirTimes[Writer::parentOf(dir)];
            parent = std::max(parent, dirTimes[dir]);
        }
    }
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        int64_t &t = dirTimes[*it];
        if (t == 0)
            t = it->empty() ? (now - 6 * 365 * Day) * 1000000000 : dirTimes[Writer::parentOf(*it)];
        const timespec ts[2] = {{t / 1000000000, t % 1000000000}, {t / 1000000000, t % 1000000000}};
        if (utimensat(root, it->empty() ? "." : it->c_str(), ts, AT_SYMLINK_NOFOLLOW) != 0)
            return fail("cannot date " + *it + ": " + std::strerror(errno), 1);
    }
    for (const string &dir : locked)
        fchmodat(root, dir.c_str(), 0, 0);
    close(root);

    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::printf("velk-genhome: %llu files, %llu folders, %llu links, %llu bytes (%.1f GiB) apparent in %s (%.1f s)\n", (unsigned long long)total.files,
        (unsigned long long)dirTimes.size(), (unsigned long long)total.links, (unsigned long long)total.bytes, double(total.bytes) / double(GiB),
        outPath.constData(), seconds);
    return 0;
}
