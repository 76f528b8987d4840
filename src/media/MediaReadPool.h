#pragma once

#include "common/WorkerThread.h"
#include "media/MediaDetails.h"

#include <QString>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

// Reads the media details of catalogued files on a few threads of its own, ahead of
// the importer that writes them: the importer hands in each film, music or picture file
// as it takes the record from the scanner, and collects the result when it comes to
// write that record. A slow file then holds up one reading thread, not the catalogue.
//
// Each thread has its own reader, made by the factory on that thread. The threads are
// owned and joined by the pool; jobs not started when it goes away are dropped.
class MediaReadPool final
{
public:
    using ReaderFactory = std::function<std::unique_ptr<MediaDetailsReader>()>;

    class Job
    {
    private:
        friend class MediaReadPool;
        QString m_path;
        int m_categoryId = 0;
        bool m_done = false;
        MediaRecord m_record;
    };
    using JobPtr = std::shared_ptr<Job>;

    // With thumbnails, each picture whose details were read gets its thumbnail made on
    // the same thread (MediaRecord::thumbnail).
    MediaReadPool(ReaderFactory factory, int threads, bool thumbnails = false);
    ~MediaReadPool();
    MediaReadPool(const MediaReadPool&) = delete;
    MediaReadPool& operator=(const MediaReadPool&) = delete;

    // The number of reading threads a machine of this many cores is given.
    static int DefaultThreads();

    JobPtr Submit(const QString& path, int categoryId);
    bool IsDone(const JobPtr& job) const;
    // Waits until the job is done or timeoutMs have passed (a negative timeoutMs: until
    // it is done); true when done.
    bool WaitFor(const JobPtr& job, int timeoutMs);
    // The record of a done job, moved out.
    MediaRecord Take(const JobPtr& job);

private:
    void Work();

    ReaderFactory m_factory;
    const bool m_thumbnails;
    mutable std::mutex m_mutex;
    std::condition_variable m_workArrived;
    std::condition_variable m_jobDone;
    std::deque<JobPtr> m_waiting;
    bool m_stopping = false;
    std::vector<std::unique_ptr<CWorkerThread>> m_threads;
};
