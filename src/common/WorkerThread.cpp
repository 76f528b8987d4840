#include "common/WorkerThread.h"

#include <QThread>

#include <algorithm>

#ifdef Q_OS_LINUX
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace {

// Nice value 10: a tenth of the share of a thread at 0 when both want a core.
constexpr int kLowerNice = 10;

} // namespace

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

void CWorkerThread::LowerCurrentPriority()
{
#ifdef Q_OS_LINUX
    // Qt's thread priorities do nothing under the default policy on Linux; a nice value
    // set for the thread's own id applies to that thread alone.
    const auto tid = static_cast<id_t>(syscall(SYS_gettid));
    setpriority(PRIO_PROCESS, tid, std::max(getpriority(PRIO_PROCESS, tid), kLowerNice));
#else
    QThread::currentThread()->setPriority(QThread::LowPriority);
#endif
}
