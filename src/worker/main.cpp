// velk-worker: reads people's files on the program's behalf. Pictures, media, documents and text
// recognition run here, in a process of their own, so that a file that crashes a decoder, loops for
// ever or asks for all the memory there is takes only this process down. One request at a time arrives
// on the socket at descriptor 3; see WorkerProtocol.h.

#include "BackgroundPriority.h"
#include "FilePath.h"
#include "imaging/PictureDecoder.h"
#include "mdindex/extractors/Extractors.h"
#include "text/OcrEngine.h"
#include "text/PdfText.h"
#include "text/TextReading.h"
#include "thumbnails/ThumbnailCache.h"
#include "thumbnails/ThumbnailGenerator.h"
#include "worker/WorkerProtocol.h"

#include <QCoreApplication>
#include <QMimeDatabase>
#include <QVariantList>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <new>
#include <poll.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

using WorkerProtocol::Request;

namespace {

// Test-only faults, so that tests can show what a file that breaks a decoder costs: VELK_WORKER_FAULT
// holds "crash=TEXT", "hang=TEXT" or "memory=TEXT" (several separated by ";"), and a request for a
// path containing TEXT then crashes, hangs or takes memory until there is none.
void provokeFault(const QString &path)
{
    static const QStringList faults = qEnvironmentVariable("VELK_WORKER_FAULT").split(u';', Qt::SkipEmptyParts);
    for (const QString &fault : faults) {
        const qsizetype eq = fault.indexOf(u'=');
        if (eq <= 0 || !path.contains(fault.mid(eq + 1)))
            continue;
        const QStringView what = QStringView(fault).left(eq);
        if (what == u"crash") {
            std::signal(SIGSEGV, SIG_DFL);
            std::raise(SIGSEGV);
        } else if (what == u"hang") {
            for (;;)
                ::pause();
        } else if (what == u"memory") {
            std::vector<char *> blocks;
            for (;;) {
                // Address space is what the limit counts: the blocks need not be touched.
                char *block = new char[64 * 1024 * 1024];
                block[0] = 1;
                blocks.push_back(block);
            }
        }
    }
}

class Worker
{
public:
    Worker()
    {
        for (auto &extractor : mdindex::contentExtractors())
            m_extractors.push_back(std::move(extractor));
    }

    QVariantMap handle(Request request, const QString &path, const QVariantMap &args)
    {
        provokeFault(path);
        switch (request) {
        case Request::extract:
            return extract(path, args);
        case Request::thumbnail:
            return thumbnail(path, args);
        case Request::recognizeText:
            return {{QStringLiteral("text"), TextReading::text(path)}};
        case Request::recognizeWords:
            return words(path);
        case Request::picture:
            return {{QStringLiteral("image"), WorkerProtocol::packImage(imaging::thumbnail(path, args.value(QStringLiteral("pixels")).toInt()))}};
        case Request::renderPage:
            return renderPage(path, args);
        }
        return {};
    }

private:
    QVariantMap extract(const QString &path, const QVariantMap &args)
    {
        const mdindex::FileFacts facts = WorkerProtocol::unpackFacts(args);
        mdindex::ExtractedAttributes attributes;
        for (const auto &extractor : m_extractors) {
            if (extractor->wants(facts))
                extractor->extract(path, facts, attributes);
        }
        return {{QStringLiteral("attributes"), attributes}};
    }

    QVariantMap thumbnail(const QString &path, const QVariantMap &args)
    {
        const int pixels = args.value(QStringLiteral("pixels")).toInt();
        const auto kind = ThumbnailGenerator::Kind(args.value(QStringLiteral("kind")).toInt());
        // The program says where its shared cache is; the worker's own environment may be older.
        const QString cacheRoot = args.value(QStringLiteral("cacheRoot")).toString();
        if (cacheRoot.endsWith(u"/thumbnails") && cacheRoot != ThumbnailCache::root())
            qputenv("XDG_CACHE_HOME", FilePath::toNative(cacheRoot.chopped(11)));
        const QImage image = ThumbnailGenerator::generate(path, kind, pixels);
        // Stored into the desktop's shared cache here, as thumbnailers do, for this program and others.
        if (const auto source = ThumbnailCache::Source::of(path)) {
            if (image.isNull())
                ThumbnailCache::writeFailure(*source);
            else
                ThumbnailCache::write(*source, ThumbnailCache::flavorFor(pixels), image, m_mimeDatabase.mimeTypeForFile(path).name());
        }
        return {{QStringLiteral("image"), WorkerProtocol::packImage(image)}};
    }

    static QVariantMap words(const QString &path)
    {
        const QImage picture = TextReading::loadPicture(path);
        if (picture.isNull())
            return {};
        const RecognizedText read = TextReading::recognizeWithBoxes(picture);
        QVariantList words;
        for (const RecognizedWord &word : read.words)
            words.append(QVariantMap {{QStringLiteral("text"), word.text}, {QStringLiteral("box"), word.box}, {QStringLiteral("line"), word.line}});
        return {{QStringLiteral("text"), read.text}, {QStringLiteral("words"), words}, {QStringLiteral("size"), picture.size()}};
    }

    static QVariantMap renderPage(const QString &path, const QVariantMap &args)
    {
        const PdfDocument document(path);
        const QImage page = document.renderPage(args.value(QStringLiteral("page")).toInt(), args.value(QStringLiteral("side")).toInt());
        return {{QStringLiteral("image"), WorkerProtocol::packImage(page)}, {QStringLiteral("pages"), document.pageCount()}};
    }

    std::vector<std::unique_ptr<mdindex::Extractor>> m_extractors;
    QMimeDatabase m_mimeDatabase;
};

void limitMemory(rlim_t bytes)
{
    if (bytes == 0)
        return;
    const struct rlimit limit {
        bytes, bytes
    };
    ::setrlimit(RLIMIT_AS, &limit);
}

} // namespace

int main(int argc, char **argv)
{
    // Ends with the program that started it, whatever way that one ends: its end closes the socket.
    // (A parent-death signal would follow the thread that started this worker, not the program.)
    std::thread([] {
        pollfd p {WorkerProtocol::kSocketFd, POLLRDHUP, 0};
        while (::poll(&p, 1, -1) < 0 && errno == EINTR) { }
        std::_Exit(0);
    }).detach();

    bool background = false;
    rlim_t memory = 0;
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "--priority") == 0)
            background = std::strcmp(argv[i + 1], "background") == 0;
        else if (std::strcmp(argv[i], "--memory-limit") == 0)
            memory = rlim_t(std::strtoull(argv[i + 1], nullptr, 10));
    }
    if (background)
        BackgroundPriority::lowerCurrentThread();

    // For Qt's image plugins; no display is needed.
    QCoreApplication app(argc, argv);
    limitMemory(memory);

    Worker worker;
    // Tells the supervisor this worker runs: one that dies before this (a library missing after an
    // upgrade) is a broken installation, not a broken file.
    if (!WorkerProtocol::writeFrame(WorkerProtocol::kSocketFd, WorkerProtocol::encodeAnswer({{QStringLiteral("ready"), true}})))
        return 0;
    for (;;) {
        const std::optional<QByteArray> frame = WorkerProtocol::readFrame(WorkerProtocol::kSocketFd);
        if (!frame)
            return 0;
        Request request;
        QString path;
        QVariantMap args;
        if (!WorkerProtocol::decodeRequest(*frame, request, path, args))
            return WorkerProtocol::kExitBadRequest;
        QVariantMap answer;
        try {
            answer = worker.handle(request, path, args);
        } catch (const std::bad_alloc &) {
            // What the libraries hold after running out is unknown: this worker ends, another starts.
            std::_Exit(WorkerProtocol::kExitOutOfMemory);
        } catch (...) {
            answer = {};
        }
        if (!WorkerProtocol::writeFrame(WorkerProtocol::kSocketFd, WorkerProtocol::encodeAnswer(answer)))
            return 0;
    }
}
