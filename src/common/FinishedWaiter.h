#pragma once

#include "common/WorkerEvent.h"

#include <QEventLoop>
#include <QObject>

// The object a worker posts to when a caller waits for it in a local event loop: the
// worker's Finished event ends the loop.
class FinishedWaiter final : public QObject
{
public:
    explicit FinishedWaiter(QEventLoop& loop) : m_loop(loop) {}

protected:
    void customEvent(QEvent* event) override
    {
        if (WorkerEvent::Is(event, WorkerEvent::Finished))
            m_loop.quit();
    }

private:
    QEventLoop& m_loop;
};
