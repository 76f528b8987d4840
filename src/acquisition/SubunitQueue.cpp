#include "acquisition/SubunitQueue.h"

#include <algorithm>
#include <iterator>

void SubunitQueue::Clear()
{
    std::deque<Block> released;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        released.swap(m_blocks);
        m_firstInBlock = 0;
        m_lookBlock = 0;
        m_lookOffset = 0;
        m_count = 0;
        m_finished.store(false);
        m_cancelled.store(false);
        m_signalled = false;
    }
    // The records are freed here, outside the lock.
}

void SubunitQueue::Append(Block block)
{
    // Under the lock.
    m_count += block->size();
    m_blocks.push_back(std::move(block));
}

void SubunitQueue::Push(const SubunitInfoPtr& item)
{
    Block block = std::make_shared<const std::vector<SubunitInfo>>(1, *item);
    std::lock_guard<std::mutex> lock(m_mutex);
    Append(std::move(block));
}

void SubunitQueue::PushBatch(std::vector<SubunitInfo>& records)
{
    if (records.empty())
        return;
    // A block of exactly this size: a folder of three entries does not keep room for
    // a whole batch.
    Block block = std::make_shared<const std::vector<SubunitInfo>>(
        std::make_move_iterator(records.begin()), std::make_move_iterator(records.end()));
    records.clear();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        Append(std::move(block));
        m_signalled = true;
    }
    m_signal.notify_one();
}

void SubunitQueue::Signal()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_signalled = true;
    }
    m_signal.notify_one();
}

void SubunitQueue::SetFinished()
{
    // Written after the last push, so a consumer that sees it set finds every record.
    m_finished.store(true);
    Signal();
}

void SubunitQueue::SetCancelled()
{
    m_cancelled.store(true);
    Signal();
}

std::optional<WorkOutcome> SubunitQueue::Outcome() const
{
    if (m_cancelled.load())
        return WorkOutcome::Cancelled;
    if (m_finished.load())
        return WorkOutcome::Succeeded;
    return std::nullopt;
}

bool SubunitQueue::WaitNext()
{
    if (m_cancelled.load())
        return false;
    for (;;) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_count > 0)
            return true;
        if (m_finished.load())
            return false;
        // Auto-reset: the wait consumes the signal. A signal left over from a push
        // whose item was already taken only causes one more look at the queue.
        m_signal.wait(lock, [this] { return m_signalled; });
        m_signalled = false;
        lock.unlock();
        if (m_cancelled.load())
            return false;
    }
}

SubunitInfoPtr SubunitQueue::TakeFirst()
{
    const Block& block = m_blocks.front();
    // Shares the block's ownership and points at the record inside it.
    SubunitInfoPtr record(block, &(*block)[m_firstInBlock]);
    --m_count;
    if (++m_firstInBlock == block->size()) {
        m_blocks.pop_front();
        m_firstInBlock = 0;
        // Looking goes on where it was; in a block gone, at the start of the next.
        if (m_lookBlock > 0)
            --m_lookBlock;
        else
            m_lookOffset = 0;
    }
    return record;
}

SubunitInfoPtr SubunitQueue::Pop()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_count > 0 ? TakeFirst() : nullptr;
}

size_t SubunitQueue::PopBatch(std::vector<SubunitInfoPtr>& out, size_t max)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    size_t taken = 0;
    for (; taken < max && m_count > 0; ++taken)
        out.push_back(TakeFirst());
    return taken;
}

size_t SubunitQueue::Size() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_count;
}

void SubunitQueue::LookAtNew(std::vector<SubunitInfoPtr>& out)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (; m_lookBlock < m_blocks.size(); ++m_lookBlock, m_lookOffset = 0) {
        const Block& block = m_blocks[m_lookBlock];
        // Records of the first block already taken are not looked at any more.
        size_t i = m_lookBlock == 0 ? std::max(m_lookOffset, m_firstInBlock) : m_lookOffset;
        for (; i < block->size(); ++i)
            out.emplace_back(block, &(*block)[i]);
    }
}

bool SubunitQueue::WaitUnlooked()
{
    for (;;) {
        if (m_cancelled.load())
            return false;
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_lookBlock < m_blocks.size())
            return true;
        if (m_finished.load())
            return false;
        m_signal.wait(lock, [this] { return m_signalled; });
        m_signalled = false;
    }
}
