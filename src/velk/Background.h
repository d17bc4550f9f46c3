#pragma once

#include "BackgroundPriority.h"

#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

#include <utility>

// Work of the stores that a person may be waiting to see but that must not be felt meanwhile
// (grouping downloads by source, measuring apps, listing old downloads): one thread, at the lowest
// CPU and I/O priority, apart from the shared pool that the queries use.
namespace Background {

inline QThreadPool *utilityPool()
{
    static QThreadPool *pool = [] {
        auto *made = new QThreadPool;
        made->setMaxThreadCount(1);
        return made;
    }();
    return pool;
}

// Runs `work` on the utility pool; the thread is lowered before the work starts (a no-op after the
// first time, since a lowered thread stays low).
template<typename Work>
auto run(Work work)
{
    return QtConcurrent::run(utilityPool(), [work = std::move(work)]() mutable {
        BackgroundPriority::lowerCurrentThread();
        return work();
    });
}

} // namespace Background
