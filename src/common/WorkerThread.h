#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>

class QThread;

/// The one way this program runs work on another thread: the owner holds the thread
/// object, joins it (waits for its end) before the next run or when it goes away, and
/// only then deletes it. Nothing is deleted behind the owner's back, so waiting on a
/// thread that has already finished is always safe, with or without an event loop.
class CWorkerThread final
{
public:
    CWorkerThread();
    /// Joins a running thread.
    ~CWorkerThread();
    Q_DISABLE_COPY_MOVE(CWorkerThread)

    /// Joins the previous run, then runs work on a new thread.
    void Start(std::function<void()> work);
    /// Waits until the thread has ended and deletes it; does nothing when none runs.
    void Join();
    /// True from Start until the work has returned.
    bool IsRunning() const;

    /// Lowers the priority of the calling thread, for work that may wait while other
    /// threads of the program need the cores: the scheduler then gives it what they
    /// leave. Linux schedules threads one by one, so there the thread's nice value goes
    /// up; elsewhere Qt's low priority is asked for.
    static void LowerCurrentPriority();

private:
    std::unique_ptr<QThread> m_thread;
};
