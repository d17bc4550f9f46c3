#pragma once

// What the benchmarks of the window share: a meter of the main thread's stalls, the scene's items by
// name, and waiting on the event loop.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QQuickItem>
#include <QTimer>

#include <cstdio>
#include <functional>

namespace windowbench {

// A timer that asks to run every 4 ms and keeps the worst lateness it saw since the last reset. With
// BENCH_STALLS set, every stall over 40 ms is written to stderr with when it ended.
class StallMeter : public QObject
{
public:
    StallMeter()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(4);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            const qint64 now = m_clock.nsecsElapsed();
            const qint64 late = now - m_last - 4'000'000;
            m_worst = std::max(m_worst, late);
            if (late > 40'000'000 && m_report)
                std::fprintf(stderr, "stall of %.0f ms ending at %.0f ms\n", double(late) / 1e6, double(now) / 1e6);
            m_last = now;
        });
        m_clock.start();
        m_timer.start();
    }
    double takeWorstMs()
    {
        const double worst = double(m_worst) / 1e6;
        m_worst = 0;
        m_last = m_clock.nsecsElapsed();
        return worst;
    }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    qint64 m_worst = 0;
    const bool m_report = qEnvironmentVariableIsSet("BENCH_STALLS");
};

// Delegates and headers of views are children of the scene, not always of their view's object.
inline QQuickItem *findItem(QQuickItem *item, const QString &name)
{
    if (!item)
        return nullptr;
    if (item->objectName() == name)
        return item;
    for (QQuickItem *child : item->childItems()) {
        if (QQuickItem *found = findItem(child, name))
            return found;
    }
    return nullptr;
}

// Runs the event loop until `done` holds or `limitMs` passes; the time it took, or -1.
inline double waitFor(const std::function<bool()> &done, int limitMs = 120000)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > limitMs)
            return -1;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return double(clock.nsecsElapsed()) / 1e6;
}

} // namespace windowbench
