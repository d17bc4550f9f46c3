// What reading files in the parsing worker costs against reading them in this process, as the program
// did before: the first index with contents of a home folder, once with the extractors here and once
// through the worker, each into a fresh store, with files per second for each kind of file; then the
// text of a 1920×1080 screenshot both ways.
//
//   bench_worker HOME [runs]     HOME: a folder made by velk-genhome (the index walks it as its root)

#include "mdindex/MetadataIndex.h"
#include "mdindex/WorkerExtractors.h"
#include "mdindex/extractors/Extractors.h"
#include "models/FileCategory.h"
#include "text/TextReading.h"
#include "text/TextRecognizer.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMutex>
#include <QPainter>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <map>

using namespace Qt::StringLiterals;

namespace {

// Time spent in extraction per kind of file, whoever does the reading.
struct KindTimes {
    QMutex mutex;
    std::map<QString, std::pair<qint64, qint64>> byKind; // files, nanoseconds
};

class Timed final : public mdindex::Extractor
{
public:
    Timed(std::unique_ptr<mdindex::Extractor> inner, KindTimes &times)
        : m_inner(std::move(inner))
        , m_times(times)
    {
    }
    bool wants(const mdindex::FileFacts &facts) const override { return m_inner->wants(facts); }
    void extract(const QString &path, const mdindex::FileFacts &facts, mdindex::ExtractedAttributes &into) const override
    {
        QElapsedTimer clock;
        clock.start();
        m_inner->extract(path, facts, into);
        const qint64 ns = clock.nsecsElapsed();
        const QString kind = FileCategory::classify(UTType::fromIdentifier(facts.contentType), false).title();
        QMutexLocker lock(&m_times.mutex);
        auto &entry = m_times.byKind[kind];
        entry.first += 1;
        entry.second += ns;
    }

private:
    std::unique_ptr<mdindex::Extractor> m_inner;
    KindTimes &m_times;
};

struct Run {
    double seconds = 0;
    qint64 files = 0;
};

Run index(const QString &home, std::vector<std::unique_ptr<mdindex::Extractor>> extractors, KindTimes &times)
{
    QTemporaryDir store;
    mdindex::MetadataIndex::Options options;
    options.storePath = store.filePath(u"index.sqlite"_s);
    options.roots = {home};
    mdindex::MetadataIndex index(options);
    for (auto &extractor : extractors)
        index.addExtractor(std::make_unique<Timed>(std::move(extractor), times));
    index.open();
    index.updateBasic();
    QElapsedTimer clock;
    clock.start();
    const mdindex::UpdateProgress done = index.extractPending();
    return {double(clock.nsecsElapsed()) / 1e9, done.extracted};
}

QImage screenshot()
{
    QImage shot(1920, 1080, QImage::Format_RGB32);
    shot.fill(QColor(246, 246, 246));
    QPainter p(&shot);
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(15);
    p.setFont(font);
    p.setPen(QColor(30, 30, 30));
    for (int line = 0; line < 40; ++line)
        p.drawText(
            40 + (line % 3) * 620, 60 + (line / 3) * 70, u"Invoice %1 due on the %2th: harbour fees, pilotage and berth"_s.arg(4700 + line).arg(line % 28 + 1));
    return shot;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_worker HOME [runs]\n");
        return 2;
    }
    const QString home = QString::fromLocal8Bit(argv[1]);
    const int runs = argc > 2 ? std::max(1, atoi(argv[2])) : 1;

    std::printf("first index with contents of %s, two extraction threads, %d run(s) each, best run\n", argv[1], runs);
    Run best[2];
    KindTimes times[2];
    for (int r = 0; r < runs; ++r) {
        for (int side = 0; side < 2; ++side) {
            KindTimes t;
            const Run run = index(home, side == 0 ? mdindex::standardExtractors() : mdindex::workerExtractors(ParseWorkers::Priority::interactive), t);
            if (r == 0 || run.seconds < best[side].seconds) {
                best[side] = run;
                QMutexLocker lock(&times[side].mutex);
                times[side].byKind = t.byKind;
            }
        }
    }
    std::printf("%-16s %10s %12s %12s %8s\n", "", "files", "in process", "worker", "ratio");
    std::printf("%-16s %10lld %11.2fs %11.2fs %7.2fx\n", "whole home", static_cast<long long>(best[1].files), best[0].seconds, best[1].seconds,
        best[1].seconds / best[0].seconds);
    std::printf("\nextractor calls per second of extraction time, per kind of file (one thread's view; a file is one call to\n"
                "the worker or to each extractor that wants it, plus one for its download address)\n");
    std::printf("%-16s %10s %12s %12s %8s\n", "kind", "calls", "in process", "worker", "ratio");
    for (const auto &[kind, inProcess] : times[0].byKind) {
        const auto worker = times[1].byKind[kind];
        const double a = double(inProcess.first) / (double(inProcess.second) / 1e9);
        const double b = double(worker.first) / (double(worker.second) / 1e9);
        std::printf("%-16s %10lld %12.0f %12.0f %7.2fx\n", qPrintable(kind), static_cast<long long>(inProcess.first), a, b, a / b);
    }

    QTemporaryDir dir;
    const QString shot = dir.filePath(u"shot.png"_s);
    screenshot().save(shot);
    const auto median = [](auto &&work) {
        std::vector<double> ms;
        for (int i = 0; i < 5; ++i) {
            QElapsedTimer clock;
            clock.start();
            work();
            ms.push_back(double(clock.nsecsElapsed()) / 1e6);
        }
        std::sort(ms.begin(), ms.end());
        return ms[2];
    };
    qsizetype inProcessChars = 0, workerChars = 0;
    const double inProcess = median([&] { inProcessChars = TextReading::text(shot).size(); });
    const double worker = median([&] { workerChars = TextRecognizer::text(shot, ParseWorkers::Priority::interactive).size(); });
    std::printf("\ntext of a 1920x1080 screenshot, median of 5: in process %.0f ms (%lld chars), worker %.0f ms (%lld chars), ratio %.2fx\n", inProcess,
        static_cast<long long>(inProcessChars), worker, static_cast<long long>(workerChars), worker / inProcess);
    return 0;
}
