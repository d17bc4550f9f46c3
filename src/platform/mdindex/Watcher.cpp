#include "Watcher.h"

#include "FilePath.h"

#include <QElapsedTimer>

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace mdindex {

namespace {

    constexpr uint32_t kEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

    QString parentOf(const QString &path)
    {
        const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
        return slash > 0 ? path.left(slash) : QStringLiteral("/");
    }

} // namespace

Watcher::Watcher()
    : m_fd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , m_wakeFd(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
}

Watcher::~Watcher()
{
    if (m_fd >= 0)
        ::close(m_fd);
    if (m_wakeFd >= 0)
        ::close(m_wakeFd);
}

bool Watcher::watch(const QString &folder)
{
    if (m_fd < 0)
        return false;
    const int wd = ::inotify_add_watch(m_fd, FilePath::toNative(folder).constData(), kEvents);
    if (wd < 0) {
        if (errno == ENOSPC)
            m_limitReached = true;
        return false;
    }
    // The same folder seen under a new path (it was moved) keeps its watch with the new path.
    if (const QString old = m_pathOf.value(wd); !old.isEmpty() && old != folder)
        m_watchOf.remove(old);
    m_pathOf.insert(wd, folder);
    m_watchOf.insert(folder, wd);
    return true;
}

void Watcher::wake()
{
    const uint64_t one = 1;
    if (m_wakeFd >= 0)
        (void)!::write(m_wakeFd, &one, sizeof one);
}

bool Watcher::readEvents(Changes &changes)
{
    alignas(inotify_event) char buffer[16384];
    bool any = false;
    for (;;) {
        const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
        if (n <= 0)
            return any;
        for (ssize_t offset = 0; offset < n;) {
            const auto *event = reinterpret_cast<const inotify_event *>(buffer + offset);
            offset += ssize_t(sizeof(inotify_event) + event->len);
            any = true;
            if (event->mask & IN_Q_OVERFLOW) {
                changes.overflow = true;
                continue;
            }
            const QString folder = m_pathOf.value(event->wd);
            if (folder.isEmpty())
                continue;
            if (event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) {
                // The folder itself went away or moved: its parent shows what became of it.
                changes.folders.insert(parentOf(folder));
                if (event->mask & IN_IGNORED) {
                    m_pathOf.remove(event->wd);
                    m_watchOf.remove(folder);
                }
                continue;
            }
            changes.folders.insert(folder);
        }
    }
}

std::optional<Watcher::Changes> Watcher::wait(std::chrono::milliseconds timeout, std::chrono::milliseconds quiet, std::chrono::milliseconds longest)
{
    if (m_fd < 0)
        return std::nullopt;
    pollfd fds[2] = {{m_fd, POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
    if (::poll(fds, 2, int(timeout.count())) <= 0)
        return std::nullopt;
    if (fds[1].revents & POLLIN) {
        uint64_t value = 0;
        (void)!::read(m_wakeFd, &value, sizeof value);
        return std::nullopt;
    }
    Changes changes;
    readEvents(changes);
    QElapsedTimer since;
    since.start();
    while (since.elapsed() < longest.count()) {
        pollfd more[2] = {{m_fd, POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
        if (::poll(more, 2, int(quiet.count())) <= 0 || (more[1].revents & POLLIN))
            break;
        readEvents(changes);
    }
    if (changes.folders.isEmpty() && !changes.overflow)
        return std::nullopt;
    return changes;
}

} // namespace mdindex
