#pragma once

#include "WorkerProtocol.h"
#include "mdindex/Catalog.h"
#include "text/OcrEngine.h"

#include <QImage>
#include <QString>
#include <QVariantMap>

#include <atomic>
#include <chrono>
#include <optional>

// The program never parses a person's file itself: pictures, media, documents and text recognition
// happen in small worker processes (velk-worker) that this supervisor runs, a few at a time. Each
// request has a time limit and each worker a memory limit; a worker that crashes, hangs or runs out of
// memory is replaced, and the file it was reading is recorded (FailedFiles) and never handed to a
// worker again until it changes. The caller then gets the empty answer it gets for any unreadable file.
//
// Everything here blocks and is safe from any thread but the user interface's.
namespace ParseWorkers {

// Background work runs in workers at the lowest CPU and I/O priority; what a person waits for (a
// thumbnail on screen, a text copy) in workers at normal priority.
enum class Priority { background, interactive };

enum class Outcome {
    answered,
    // The file cannot be read: it is not a regular file, it took a worker down now or before.
    failed,
    // No worker could be started (the program is missing or broken): nothing is known about the file.
    unavailable,
};

struct Answer {
    Outcome outcome = Outcome::unavailable;
    QVariantMap values;
    bool ok() const { return outcome == Outcome::answered; }
};

// One request. `timeout` zero: the request's own default.
Answer call(WorkerProtocol::Request request, const QString &path, const QVariantMap &args, Priority priority,
    std::chrono::milliseconds timeout = std::chrono::milliseconds::zero());

// The typed requests.
std::optional<mdindex::ExtractedAttributes> extract(const QString &path, const mdindex::FileFacts &facts, Priority priority, Outcome *outcome = nullptr);
// `kind` is a ThumbnailGenerator::Kind; the worker also stores the picture in the shared cache.
QImage thumbnail(const QString &path, int kind, int pixels, Priority priority = Priority::interactive, const std::atomic<bool> *cancelled = nullptr,
    Outcome *outcome = nullptr);
QString recognizeText(const QString &path, Priority priority);
RecognizedText recognizeWords(const QString &path, Priority priority, QSize *pictureSize = nullptr);
QImage picture(const QString &path, int pixels, Priority priority);
QImage renderPage(const QString &path, int page, int side, int *pageCount = nullptr);

struct Settings {
    // The worker program; empty: found beside this program, then where it is installed.
    QString program;
    int workersPerPriority = 2;
    // Virtual memory a worker may take.
    qint64 memoryLimitBytes = 2048ll * 1024 * 1024;
    // Overrides every request's own time limit when set.
    std::chrono::milliseconds timeout = std::chrono::milliseconds::zero();
};
// Applies to workers started from now on. The environment can set the same: VELK_WORKER,
// VELK_WORKER_MEMORY_MB, VELK_WORKER_TIMEOUT_MS (read once, at first use).
void configure(const Settings &settings);
Settings settings();

// The program the supervisor starts; empty when none was found.
QString program();

// Counters, for tests and for velk-find --status.
struct Statistics {
    qint64 started = 0;
    qint64 requests = 0;
    qint64 crashed = 0;
    qint64 timedOut = 0;
    qint64 outOfMemory = 0;
    qint64 skipped = 0; // recorded files not handed out again
};
Statistics statistics();

// Stops every idle worker (they also stop by themselves when the program ends).
void shutDown();

} // namespace ParseWorkers
