#pragma once

#include "common/WorkerThread.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

// Reads ahead of a writer on threads of its own: the writer hands in each request as it
// meets it and collects the result when it comes to write it, so a slow read holds up
// one reading thread, not the writer. Each thread gets its own read function, made on
// that thread (a reader with state of its own). The threads are owned and joined by the
// pool; when it goes away, reads under way see the cancel flag they are given and jobs
// not started are dropped. A background pool's threads run at a lower priority: for
// reads whose results the writer can take whenever they come, so that they use the
// cores the writer and the scanner leave.
template <typename Request, typename Result> class ReadAheadPool
{
public:
    using Read = std::function<Result(const Request&, const std::atomic<int>& cancel)>;
    using ReadMaker = std::function<Read()>;

    class Job
    {
    private:
        friend class ReadAheadPool;
        Request m_request;
        // Set, after the result, under the pool's lock; read without it by IsDone, which
        // the writer asks often.
        std::atomic<bool> m_done{false};
        Result m_result;
    };
    using JobPtr = std::shared_ptr<Job>;

    ReadAheadPool(ReadMaker makeRead, int threads, bool background = false)
        : m_makeRead(std::move(makeRead))
    {
        for (int i = 0; i < std::max(1, threads); ++i) {
            m_threads.push_back(std::make_unique<CWorkerThread>());
            m_threads.back()->Start([this, background] {
                if (background)
                    CWorkerThread::LowerCurrentPriority();
                Work();
            });
        }
    }

    ~ReadAheadPool()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_stopping = true;
            m_waiting.clear();
        }
        m_cancel.store(1);
        m_workArrived.notify_all();
        for (const auto& thread : m_threads)
            thread->Join();
    }

    ReadAheadPool(const ReadAheadPool&) = delete;
    ReadAheadPool& operator=(const ReadAheadPool&) = delete;

    // Jobs are read in the order of their priority, the highest first, and in the order
    // they were handed in among equals. A writer that takes results whenever they come
    // gives the longest reads the highest: started first, they end before the short ones
    // rather than alone at the end.
    JobPtr Submit(Request request, qint64 priority = 0)
    {
        auto job = std::make_shared<Job>();
        job->m_request = std::move(request);
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_waiting.emplace(priority, job);
        }
        m_workArrived.notify_one();
        return job;
    }

    bool IsDone(const JobPtr& job) const { return job->m_done.load(std::memory_order_acquire); }

    // Waits until the job is done or timeoutMs have passed (negative: no limit); true
    // when done.
    bool WaitFor(const JobPtr& job, int timeoutMs)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (timeoutMs < 0) {
            m_jobDone.wait(lock, [&job] { return job->m_done.load(); });
            return true;
        }
        return m_jobDone.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                  [&job] { return job->m_done.load(); });
    }

    // The result of a done job, moved out.
    Result Take(const JobPtr& job)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return std::move(job->m_result);
    }

private:
    void Work()
    {
        const Read read = m_makeRead ? m_makeRead() : Read();
        for (;;) {
            JobPtr job;
            {
                std::unique_lock<std::mutex> lock(m_mutex);
                m_workArrived.wait(lock, [this] { return m_stopping || !m_waiting.empty(); });
                if (m_stopping)
                    return;
                job = std::move(m_waiting.begin()->second);
                m_waiting.erase(m_waiting.begin());
            }
            Result result = read ? read(job->m_request, m_cancel) : Result();
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                job->m_result = std::move(result);
                job->m_done.store(true, std::memory_order_release);
            }
            m_jobDone.notify_all();
        }
    }

    ReadMaker m_makeRead;
    mutable std::mutex m_mutex;
    std::condition_variable m_workArrived;
    std::condition_variable m_jobDone;
    std::multimap<qint64, JobPtr, std::greater<>> m_waiting; // by priority, highest first
    bool m_stopping = false;
    std::atomic<int> m_cancel{0};
    std::vector<std::unique_ptr<CWorkerThread>> m_threads;
};
