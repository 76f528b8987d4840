#pragma once

#include "acquisition/SubunitInfo.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>

// The hand-over between the scanner (producer) and the importer (consumer): one per
// process, created on first use. The scanner pushes each record as soon as it has
// read it and signals; the importer waits for the next one.
class SubunitQueue final
{
public:
    enum WaitResult { Ready = 0, Finished = 1, Cancelled = 2 };

    static SubunitQueue& Instance();

    // Releases every item, clears both flags and the signal.
    void Clear();
    // Appends under the lock; the caller then calls Signal().
    void Push(SubunitInfoPtr item);
    void Signal();
    // The scanner has walked the whole tree / stopped on a cancel request. Both signal.
    void SetFinished();
    void SetCancelled();
    bool IsFinished() const { return m_finished.load(); }
    bool IsCancelled() const { return m_cancelled.load(); }

    // Ready when an item is there, Finished when the scanner is done and nothing is
    // left, Cancelled when the scanner stopped on cancel. Blocks while the queue is
    // empty and the scanner still runs.
    WaitResult WaitNext();
    // Removes and returns the first item; only after WaitNext() said Ready.
    SubunitInfoPtr Pop();
    size_t Size() const;

private:
    SubunitQueue() = default;

    mutable std::mutex m_mutex;
    std::condition_variable m_signal;
    bool m_signalled = false; // auto-reset: a wait consumes it
    std::deque<SubunitInfoPtr> m_items;
    std::atomic<bool> m_finished{false};
    std::atomic<bool> m_cancelled{false};
};
