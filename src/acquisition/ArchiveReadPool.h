#pragma once

#include "common/WorkerThread.h"
#include "listers/ArchiveLister.h"

#include <QString>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

// Reads archives' contents on threads of its own, ahead of the importer that writes
// them, as MediaReadPool reads media details: the importer hands in each file that may
// be an archive as it takes the record from the scanner, and collects the listing when
// it comes to write that record. A large archive then holds up one reading thread, not
// the catalogue. The threads are owned and joined by the pool; when it goes away, a
// reading under way is stopped and jobs not started are dropped.
class ArchiveReadPool final
{
public:
    class Job
    {
    private:
        friend class ArchiveReadPool;
        QString m_path;
        bool m_done = false;
        ArchiveLister::Listing m_listing;
    };
    using JobPtr = std::shared_ptr<Job>;

    explicit ArchiveReadPool(int threads);
    ~ArchiveReadPool();
    ArchiveReadPool(const ArchiveReadPool&) = delete;
    ArchiveReadPool& operator=(const ArchiveReadPool&) = delete;

    JobPtr Submit(const QString& path);
    bool IsDone(const JobPtr& job) const;
    // Waits until the job is done or timeoutMs have passed (negative: no limit); true
    // when done.
    bool WaitFor(const JobPtr& job, int timeoutMs);
    // The listing of a done job, moved out.
    ArchiveLister::Listing Take(const JobPtr& job);

private:
    void Work();

    mutable std::mutex m_mutex;
    std::condition_variable m_workArrived;
    std::condition_variable m_jobDone;
    std::deque<JobPtr> m_waiting;
    bool m_stopping = false;
    std::atomic<int> m_cancel{0};
    std::vector<std::unique_ptr<CWorkerThread>> m_threads;
};
