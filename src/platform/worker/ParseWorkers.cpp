#include "ParseWorkers.h"

#include "FailedFiles.h"
#include "FilePath.h"
#include "thumbnails/ThumbnailCache.h"

#include <QByteArray>
#include <QFileInfo>
#include <QVariantList>

#include <condition_variable>
#include <mutex>
#include <vector>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

using namespace std::chrono_literals;
using WorkerProtocol::Request;

namespace ParseWorkers {

namespace {

    struct Worker {
        pid_t pid = -1;
        int fd = -1;
    };

    struct Pool {
        std::vector<Worker> idle;
        int running = 0;
    };

    std::chrono::milliseconds defaultTimeout(Request request)
    {
        switch (request) {
        case Request::extract:
            return 30s;
        case Request::recognizeText:
            // A scanned PDF is read page by page.
            return 120s;
        case Request::recognizeWords:
            return 60s;
        case Request::thumbnail:
        case Request::picture:
        case Request::renderPage:
            break;
        }
        return 20s;
    }

    QString findProgram(const QString &configured)
    {
        const auto usable = [](const QString &path) { return !path.isEmpty() && ::access(FilePath::toNative(path).constData(), X_OK) == 0; };
        if (usable(configured))
            return configured;
        const QString self = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
        const QString folder = QFileInfo(self).path();
        for (const QString &candidate : {folder + QStringLiteral("/velk-worker"), folder + QStringLiteral("/../libexec/velk/velk-worker")}) {
            if (usable(candidate))
                return QFileInfo(candidate).canonicalFilePath();
        }
#ifdef VELK_WORKER_INSTALLED
        if (usable(QStringLiteral(VELK_WORKER_INSTALLED)))
            return QStringLiteral(VELK_WORKER_INSTALLED);
#endif
        return {};
    }

    class Supervisor
    {
    public:
        Supervisor()
        {
            if (const QByteArray program = qgetenv("VELK_WORKER"); !program.isEmpty())
                m_settings.program = FilePath::fromNative(program);
            if (const qint64 mb = qEnvironmentVariableIntValue("VELK_WORKER_MEMORY_MB"); mb > 0)
                m_settings.memoryLimitBytes = mb * 1024 * 1024;
            if (const int ms = qEnvironmentVariableIntValue("VELK_WORKER_TIMEOUT_MS"); ms > 0)
                m_settings.timeout = std::chrono::milliseconds(ms);
        }

        ~Supervisor() { shutDown(); }

        Answer call(Request request, const QString &path, const QVariantMap &args, Priority priority, std::chrono::milliseconds timeout)
        {
            const QByteArray native = FilePath::toNative(path);
            struct stat st;
            // Only regular files are ever handed out: a FIFO or a device would block or never end.
            if (path.isEmpty() || ::stat(native.constData(), &st) != 0 || !S_ISREG(st.st_mode))
                return {Outcome::failed, {}};
            const qint64 size = qint64(st.st_size);
            const qint64 modifiedMs = qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000;
            if (FailedFiles::contains(path, size, modifiedMs)) {
                std::lock_guard guard(m_mutex);
                ++m_statistics.skipped;
                return {Outcome::failed, {}};
            }
            const QByteArray payload = WorkerProtocol::encodeRequest(request, path, args);
            // A worker that died while idle (killed from outside) shows only when it is written to: then
            // one more is started.
            for (int attempt = 0; attempt < 2; ++attempt) {
                const std::optional<Worker> worker = acquire(priority);
                if (!worker)
                    return {Outcome::unavailable, {}};
                if (!WorkerProtocol::writeFrame(worker->fd, payload)) {
                    discard(priority, *worker);
                    continue;
                }
                {
                    std::lock_guard guard(m_mutex);
                    ++m_statistics.requests;
                }
                const auto configured = settings().timeout;
                const auto limit = configured > 0ms ? configured : timeout > 0ms ? timeout : defaultTimeout(request);
                bool timedOut = false;
                const std::optional<QByteArray> reply = WorkerProtocol::readFrame(worker->fd, std::chrono::steady_clock::now() + limit, &timedOut);
                std::optional<QVariantMap> answer = reply ? WorkerProtocol::decodeAnswer(*reply) : std::nullopt;
                if (answer) {
                    release(priority, *worker);
                    return {Outcome::answered, std::move(*answer)};
                }
                const QString reason = stop(*worker, timedOut);
                forget(priority, *worker);
                FailedFiles::add(path, size, modifiedMs, reason);
                return {Outcome::failed, {}};
            }
            return {Outcome::unavailable, {}};
        }

        void configure(const Settings &settings)
        {
            std::lock_guard guard(m_mutex);
            m_settings = settings;
            m_program.reset();
        }

        Settings settings()
        {
            std::lock_guard guard(m_mutex);
            return m_settings;
        }

        QString program()
        {
            std::lock_guard guard(m_mutex);
            return programLocked();
        }

        Statistics statistics()
        {
            std::lock_guard guard(m_mutex);
            return m_statistics;
        }

        void shutDown()
        {
            std::lock_guard guard(m_mutex);
            for (Pool &pool : m_pools) {
                for (const Worker &w : pool.idle) {
                    // Closing the socket ends the worker; it is reaped so that none is left a zombie.
                    ::close(w.fd);
                    ::kill(w.pid, SIGKILL);
                    ::waitpid(w.pid, nullptr, 0);
                }
                pool.running -= int(pool.idle.size());
                pool.idle.clear();
            }
        }

    private:
        QString programLocked()
        {
            if (!m_program)
                m_program = findProgram(m_settings.program);
            return *m_program;
        }

        std::optional<Worker> acquire(Priority priority)
        {
            std::unique_lock guard(m_mutex);
            Pool &pool = m_pools[int(priority)];
            m_freed.wait(guard, [&] { return !pool.idle.empty() || pool.running < std::max(1, m_settings.workersPerPriority); });
            while (!pool.idle.empty()) {
                const Worker w = pool.idle.back();
                pool.idle.pop_back();
                // A worker that ended while idle (killed from outside) has hung up its socket: it is
                // reaped here, at once, and its place goes to a new one.
                pollfd p {w.fd, POLLRDHUP, 0};
                if (::poll(&p, 1, 0) == 0)
                    return w;
                ::close(w.fd);
                ::kill(w.pid, SIGKILL);
                ::waitpid(w.pid, nullptr, 0);
                --pool.running;
            }
            const QString program = programLocked();
            if (program.isEmpty())
                return std::nullopt;
            // The place is taken now; the worker is started without holding the lock, since it may take
            // a moment to say it is ready.
            ++pool.running;
            const qint64 memory = m_settings.memoryLimitBytes;
            guard.unlock();
            std::optional<Worker> w = spawn(program, priority, memory);
            guard.lock();
            if (w) {
                ++m_statistics.started;
            } else {
                --pool.running;
                guard.unlock();
                m_freed.notify_one();
            }
            return w;
        }

        void release(Priority priority, const Worker &worker)
        {
            {
                std::lock_guard guard(m_mutex);
                m_pools[int(priority)].idle.push_back(worker);
            }
            m_freed.notify_one();
        }

        // Ends a worker that is still ours to reap (alive, or a zombie), then forgets it.
        void discard(Priority priority, const Worker &worker)
        {
            ::kill(worker.pid, SIGKILL);
            ::waitpid(worker.pid, nullptr, 0);
            forget(priority, worker);
        }

        // A worker already reaped: its number may belong to another process by now, so it is never
        // signalled again.
        void forget(Priority priority, const Worker &worker)
        {
            ::close(worker.fd);
            {
                std::lock_guard guard(m_mutex);
                --m_pools[int(priority)].running;
            }
            m_freed.notify_one();
        }

        // Ends a worker that gave no answer and tells why it gave none.
        QString stop(const Worker &worker, bool timedOut)
        {
            // Killing a worker that already ended changes nothing of its status (it is not reaped yet,
            // so its number is still its own); one that broke the conversation but lives is ended.
            int status = 0;
            ::kill(worker.pid, SIGKILL);
            if (::waitpid(worker.pid, &status, 0) != worker.pid)
                status = 0;
            std::lock_guard guard(m_mutex);
            if (timedOut) {
                ++m_statistics.timedOut;
                return QStringLiteral("timed-out");
            }
            if (WIFEXITED(status) && WEXITSTATUS(status) == WorkerProtocol::kExitOutOfMemory) {
                ++m_statistics.outOfMemory;
                return QStringLiteral("out-of-memory");
            }
            ++m_statistics.crashed;
            return QStringLiteral("crashed");
        }

        std::optional<Worker> spawn(const QString &program, Priority priority, qint64 memoryLimit)
        {
            int sockets[2];
            if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
                return std::nullopt;
            posix_spawn_file_actions_t actions;
            posix_spawn_file_actions_init(&actions);
            posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
            // Libraries talk on standard output and error; only a debugging session wants to hear it.
            if (qEnvironmentVariableIsEmpty("VELK_DEBUG")) {
                posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
                posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
            }
            posix_spawn_file_actions_adddup2(&actions, sockets[1], WorkerProtocol::kSocketFd);
            posix_spawn_file_actions_addclosefrom_np(&actions, WorkerProtocol::kSocketFd + 1);
            const QByteArray path = FilePath::toNative(program);
            const QByteArray priorityArg = priority == Priority::background ? "background" : "interactive";
            const QByteArray memory = QByteArray::number(memoryLimit);
            const char *argv[] = {path.constData(), "--priority", priorityArg.constData(), "--memory-limit", memory.constData(), nullptr};
            // OpenMP (under Tesseract) would start a thread per core, each with its own stack and arena
            // inside the worker's memory limit; two are plenty for one picture at a time.
            std::vector<char *> environment;
            for (char **e = environ; *e; ++e) {
                if (std::strncmp(*e, "OMP_THREAD_LIMIT=", 17) != 0)
                    environment.push_back(*e);
            }
            static char threadLimit[] = "OMP_THREAD_LIMIT=2";
            environment.push_back(threadLimit);
            environment.push_back(nullptr);
            pid_t pid = -1;
            const int error = ::posix_spawn(&pid, path.constData(), &actions, nullptr, const_cast<char **>(argv), environment.data());
            posix_spawn_file_actions_destroy(&actions);
            ::close(sockets[1]);
            if (error != 0) {
                ::close(sockets[0]);
                return std::nullopt;
            }
            // A worker says it is ready once its libraries are loaded. One that dies or stays silent
            // before that is a broken installation: no file is blamed, and nothing is read.
            const std::optional<QByteArray> hello = WorkerProtocol::readFrame(sockets[0], std::chrono::steady_clock::now() + 30s);
            const std::optional<QVariantMap> ready = hello ? WorkerProtocol::decodeAnswer(*hello) : std::nullopt;
            if (!ready || !ready->value(QStringLiteral("ready")).toBool()) {
                ::close(sockets[0]);
                ::kill(pid, SIGKILL);
                ::waitpid(pid, nullptr, 0);
                return std::nullopt;
            }
            return Worker {pid, sockets[0]};
        }

        std::mutex m_mutex;
        std::condition_variable m_freed;
        Pool m_pools[2];
        Settings m_settings;
        std::optional<QString> m_program;
        Statistics m_statistics;
    };

    Supervisor &supervisor()
    {
        // Never destroyed: threads may still be asking while the program ends; its workers end when
        // their sockets close with it.
        static Supervisor *instance = new Supervisor;
        return *instance;
    }

} // namespace

Answer call(Request request, const QString &path, const QVariantMap &args, Priority priority, std::chrono::milliseconds timeout)
{
    return supervisor().call(request, path, args, priority, timeout);
}

std::optional<mdindex::ExtractedAttributes> extract(const QString &path, const mdindex::FileFacts &facts, Priority priority, Outcome *outcome)
{
    const Answer answer = call(Request::extract, path, WorkerProtocol::packFacts(facts), priority);
    if (outcome)
        *outcome = answer.outcome;
    if (!answer.ok())
        return std::nullopt;
    return answer.values.value(QStringLiteral("attributes")).toHash();
}

QImage thumbnail(const QString &path, int kind, int pixels, Priority priority, const std::atomic<bool> *cancelled, Outcome *outcome)
{
    if (outcome)
        *outcome = Outcome::unavailable;
    if (cancelled && cancelled->load())
        return {};
    // The cache the program reads is the one the worker writes, whatever the worker's environment.
    const QVariantMap args {{QStringLiteral("kind"), kind}, {QStringLiteral("pixels"), pixels}, {QStringLiteral("cacheRoot"), ThumbnailCache::root()}};
    const Answer answer = call(Request::thumbnail, path, args, priority);
    if (outcome)
        *outcome = answer.outcome;
    return WorkerProtocol::unpackImage(answer.values.value(QStringLiteral("image")).toByteArray());
}

QString recognizeText(const QString &path, Priority priority)
{
    return call(Request::recognizeText, path, {}, priority).values.value(QStringLiteral("text")).toString();
}

RecognizedText recognizeWords(const QString &path, Priority priority, QSize *pictureSize)
{
    const Answer answer = call(Request::recognizeWords, path, {}, priority);
    RecognizedText read;
    read.text = answer.values.value(QStringLiteral("text")).toString();
    for (const QVariant &word : answer.values.value(QStringLiteral("words")).toList()) {
        const QVariantMap w = word.toMap();
        read.words.append(
            RecognizedWord {w.value(QStringLiteral("text")).toString(), w.value(QStringLiteral("box")).toRect(), w.value(QStringLiteral("line")).toInt()});
    }
    if (pictureSize)
        *pictureSize = answer.values.value(QStringLiteral("size")).toSize();
    return read;
}

QImage picture(const QString &path, int pixels, Priority priority)
{
    const Answer answer = call(Request::picture, path, {{QStringLiteral("pixels"), pixels}}, priority);
    return WorkerProtocol::unpackImage(answer.values.value(QStringLiteral("image")).toByteArray());
}

QImage renderPage(const QString &path, int page, int side, int *pageCount)
{
    const Answer answer = call(Request::renderPage, path, {{QStringLiteral("page"), page}, {QStringLiteral("side"), side}}, Priority::interactive);
    if (pageCount)
        *pageCount = answer.values.value(QStringLiteral("pages")).toInt();
    return WorkerProtocol::unpackImage(answer.values.value(QStringLiteral("image")).toByteArray());
}

void configure(const Settings &settings)
{
    supervisor().configure(settings);
}

Settings settings()
{
    return supervisor().settings();
}

QString program()
{
    return supervisor().program();
}

Statistics statistics()
{
    return supervisor().statistics();
}

void shutDown()
{
    supervisor().shutDown();
}

} // namespace ParseWorkers
