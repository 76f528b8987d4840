#pragma once

#include "acquisition/SubunitInfo.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <vector>

// The hand-over between the scanner (producer) and the importer (consumer): one per
// process, created on first use. The scanner pushes records in small batches (one lock
// and one signal each) as soon as it has read them; the importer waits for the next
// ones and takes all that are there under one lock.
class SubunitQueue final
{
public:
    enum WaitResult { Ready = 0, Finished = 1, Cancelled = 2 };

    static SubunitQueue& Instance();

    // Releases every item, clears both flags and the signal.
    void Clear();
    // Appends under the lock; the caller then calls Signal().
    void Push(SubunitInfoPtr item);
    // Appends every item of items, in order, under one lock, empties items and signals.
    void PushBatch(std::vector<SubunitInfoPtr>& items);
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
    // Moves up to max of the first items to the end of out under one lock and returns
    // how many; 0 when none is there. Never blocks.
    size_t PopBatch(std::vector<SubunitInfoPtr>& out, size_t max);
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
