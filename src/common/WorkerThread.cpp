#include "common/WorkerThread.h"

#include <QThread>

CWorkerThread::CWorkerThread() = default;

CWorkerThread::~CWorkerThread()
{
    Join();
}

void CWorkerThread::Start(std::function<void()> work)
{
    Join();
    m_thread.reset(QThread::create(std::move(work)));
    m_thread->start();
}

void CWorkerThread::Join()
{
    if (!m_thread)
        return;
    m_thread->wait();
    m_thread.reset();
}

bool CWorkerThread::IsRunning() const
{
    return m_thread && !m_thread->isFinished();
}
