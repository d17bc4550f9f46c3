#pragma once

#include <QHash>
#include <QSet>
#include <QString>

#include <chrono>
#include <optional>

namespace mdindex {

// The folders inotify reports on. Events are gathered per folder: a burst of changes in one folder
// (a download being written, a copy of many files) becomes one folder to look at again, once the
// burst has been quiet for a moment.
class Watcher
{
public:
    Watcher();
    ~Watcher();
    Watcher(const Watcher &) = delete;
    Watcher &operator=(const Watcher &) = delete;

    bool isValid() const { return m_fd >= 0; }
    // False when the folder cannot be watched; `limitReached` tells when that is because the
    // system's watch limit ran out.
    bool watch(const QString &folder);
    bool limitReached() const { return m_limitReached; }
    qsizetype count() const { return m_pathOf.size(); }

    struct Changes {
        QSet<QString> folders; // folders whose entries changed
        bool overflow = false; // events were lost: look at everything again
    };
    // Waits up to `timeout` for changes, then gathers until `quiet` passes without a new event (but
    // no longer than `longest`). No value when nothing happened; also returns early after wake().
    std::optional<Changes> wait(std::chrono::milliseconds timeout, std::chrono::milliseconds quiet = std::chrono::milliseconds(250),
        std::chrono::milliseconds longest = std::chrono::milliseconds(2000));
    // Ends a wait() from another thread.
    void wake();

private:
    bool readEvents(Changes &changes);

    int m_fd = -1;
    int m_wakeFd = -1;
    bool m_limitReached = false;
    QHash<int, QString> m_pathOf;
    QHash<QString, int> m_watchOf;
};

} // namespace mdindex
