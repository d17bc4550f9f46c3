#pragma once

#include <QSemaphore>
#include <QThreadPool>

// Keeps every worker of the global pool busy until released, so that queries started meanwhile cannot
// finish before their callers suspend: a test can then look at a store while its load is under way.
class PoolGate
{
public:
    PoolGate()
    {
        for (int i = 0; i < m_workers; ++i)
            QThreadPool::globalInstance()->start([this] { m_gate.acquire(); });
    }
    ~PoolGate() { open(); }
    void open()
    {
        m_gate.release(m_workers - m_released);
        m_released = m_workers;
    }

private:
    QSemaphore m_gate;
    const int m_workers = QThreadPool::globalInstance()->maxThreadCount();
    int m_released = 0;
};
