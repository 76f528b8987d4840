#include "media/MediaReadPool.h"

#include "media/Thumbnailer.h"

#include <QThread>

#include <algorithm>
#include <chrono>

MediaReadPool::MediaReadPool(ReaderFactory factory, int threads, bool thumbnails)
    : m_factory(std::move(factory)), m_thumbnails(thumbnails)
{
    for (int i = 0; i < std::max(1, threads); ++i) {
        m_threads.push_back(std::make_unique<CWorkerThread>());
        m_threads.back()->Start([this] { Work(); });
    }
}

MediaReadPool::~MediaReadPool()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_waiting.clear();
    }
    m_workArrived.notify_all();
    for (const auto& thread : m_threads)
        thread->Join();
}

int MediaReadPool::DefaultThreads()
{
    // Reading a header is mostly waiting for the disc and parsing; one reader per core
    // keeps the cores busy while the importer and the scanner share them too.
    return std::max(1, QThread::idealThreadCount());
}

MediaReadPool::JobPtr MediaReadPool::Submit(const QString& path, int categoryId)
{
    auto job = std::make_shared<Job>();
    job->m_path = path;
    job->m_categoryId = categoryId;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_waiting.push_back(job);
    }
    m_workArrived.notify_one();
    return job;
}

bool MediaReadPool::IsDone(const JobPtr& job) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return job->m_done;
}

bool MediaReadPool::WaitFor(const JobPtr& job, int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (timeoutMs < 0) {
        m_jobDone.wait(lock, [&job] { return job->m_done; });
        return true;
    }
    return m_jobDone.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [&job] { return job->m_done; });
}

MediaRecord MediaReadPool::Take(const JobPtr& job)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return std::move(job->m_record);
}

void MediaReadPool::Work()
{
    const std::unique_ptr<MediaDetailsReader> reader = m_factory ? m_factory() : nullptr;
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
        MediaRecord record;
        if (reader) {
            try {
                record = reader->Read(job->m_path, job->m_categoryId);
                if (m_thumbnails && record.kind == MediaRecord::Kind::Picture)
                    record.thumbnail = Thumbnailer::Make(job->m_path);
            } catch (...) {
                // A reader promises not to throw; should one still do so, the file is
                // catalogued without details rather than the thread lost.
                record = MediaRecord();
            }
        }
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            job->m_record = std::move(record);
            job->m_done = true;
        }
        m_jobDone.notify_all();
    }
}
