#pragma once

#include "acquisition/SubunitInfo.h"
#include "acquisition/SubunitSink.h"
#include "common/WorkOutcome.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

// The hand-over between the scanner (producer) and the importer (consumer) of one
// addition, owned by the job that runs both. The scanner pushes records in small batches
// (one lock and one signal each) as soon as it has read them; the importer waits for the
// next ones and takes all that are there under one lock.
//
// A batch is kept as one block of records. The pointers handed out share the block's
// ownership, so a record costs no allocation of its own (a folder-mode import queues a
// whole tree) and the block is freed when its last record has been released.
class SubunitQueue final : public SubunitSink
{
public:
    SubunitQueue() = default;
    ~SubunitQueue() override = default;
    SubunitQueue(const SubunitQueue&) = delete;
    SubunitQueue& operator=(const SubunitQueue&) = delete;
    SubunitQueue(SubunitQueue&&) = delete;
    SubunitQueue& operator=(SubunitQueue&&) = delete;

    // Releases every item, clears both flags and the signal.
    void Clear();
    // Appends under the lock; the caller then calls Signal().
    void Push(const SubunitInfoPtr& item);
    // Appends the records, in order, under one lock as one block, empties records (its
    // capacity is kept for the next batch) and signals.
    void PushBatch(std::vector<SubunitInfo>& records) override;
    void Signal();
    // The scanner has walked the whole tree / stopped on a cancel request. Both signal.
    void SetFinished() override;
    void SetCancelled() override;
    // How the walk into the queue ended: Succeeded once the scanner has walked the
    // whole tree, Cancelled once it stopped on cancel (which wins); none while it runs.
    std::optional<WorkOutcome> Outcome() const;

    // True when an item is there to take. False when the walk has ended and nothing is
    // left, or at once when it was cancelled (records may be left then): Outcome() says
    // which. Blocks while the queue is empty and the scanner still runs.
    bool WaitNext();
    // Removes and returns the first item; only after WaitNext() said true.
    SubunitInfoPtr Pop();
    // Moves up to max of the first items to the end of out under one lock and returns
    // how many; 0 when none is there. Never blocks.
    size_t PopBatch(std::vector<SubunitInfoPtr>& out, size_t max);
    size_t Size() const;

    // Appends to out the records pushed since the last look and not taken, in order,
    // without taking them: they stay queued. Lets the taker look ahead (to start reads)
    // before it takes anything.
    void LookAtNew(std::vector<SubunitInfoPtr>& out);
    // True when records not looked at yet are there; false when the walk has ended (or
    // was cancelled) and none are. Blocks while there are none and the scanner runs.
    bool WaitUnlooked();

private:
    using Block = std::shared_ptr<const std::vector<SubunitInfo>>;

    void Append(Block block);
    // The first record, taken out; under the lock, with at least one record there.
    SubunitInfoPtr TakeFirst();

    mutable std::mutex m_mutex;
    std::condition_variable m_signal;
    bool m_signalled = false; // auto-reset: a wait consumes it
    std::deque<Block> m_blocks;
    size_t m_firstInBlock = 0; // records of the first block already taken
    size_t m_lookBlock = 0;    // where LookAtNew goes on: a block's index in m_blocks
    size_t m_lookOffset = 0;   // and a record's in that block
    size_t m_count = 0;        // records not taken yet
    std::atomic<bool> m_finished{false};
    std::atomic<bool> m_cancelled{false};
};
