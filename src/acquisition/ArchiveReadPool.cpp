#include "acquisition/ArchiveReadPool.h"

#include <algorithm>
#include <chrono>

ArchiveReadPool::ArchiveReadPool(int threads)
{
    for (int i = 0; i < std::max(1, threads); ++i) {
        m_threads.push_back(std::make_unique<CWorkerThread>());
        m_threads.back()->Start([this] { Work(); });
    }
}

ArchiveReadPool::~ArchiveReadPool()
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

ArchiveReadPool::JobPtr ArchiveReadPool::Submit(const QString& path)
{
    auto job = std::make_shared<Job>();
    job->m_path = path;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_waiting.push_back(job);
    }
    m_workArrived.notify_one();
    return job;
}

bool ArchiveReadPool::IsDone(const JobPtr& job) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return job->m_done;
}

bool ArchiveReadPool::WaitFor(const JobPtr& job, int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (timeoutMs < 0) {
        m_jobDone.wait(lock, [&job] { return job->m_done; });
        return true;
    }
    return m_jobDone.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [&job] { return job->m_done; });
}

ArchiveLister::Listing ArchiveReadPool::Take(const JobPtr& job)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return std::move(job->m_listing);
}

void ArchiveReadPool::Work()
{
    for (;;) {
        JobPtr job;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_workArrived.wait(lock, [this] { return m_stopping || !m_waiting.empty(); });
            if (m_stopping)
                return;
            job = std::move(m_waiting.front());
            m_waiting.pop_front();
        }
        ArchiveLister::Listing listing = ArchiveLister::Read(job->m_path, &m_cancel);
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            job->m_listing = std::move(listing);
            job->m_done = true;
        }
        m_jobDone.notify_all();
    }
}
