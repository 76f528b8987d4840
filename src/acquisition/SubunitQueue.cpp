#include "acquisition/SubunitQueue.h"

#include <algorithm>

SubunitQueue& SubunitQueue::Instance()
{
    // Never destroyed: a scanner or importer thread still running when the process
    // ends must not find the queue gone.
    static SubunitQueue* const instance = new SubunitQueue;
    return *instance;
}

void SubunitQueue::Clear()
{
    std::deque<SubunitInfoPtr> released;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        released.swap(m_items);
        m_finished.store(false);
        m_cancelled.store(false);
        m_signalled = false;
    }
    // The records are freed here, outside the lock.
}

void SubunitQueue::Push(SubunitInfoPtr item)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_items.push_back(std::move(item));
}

void SubunitQueue::PushBatch(std::vector<SubunitInfoPtr>& items)
{
    if (items.empty())
        return;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (SubunitInfoPtr& item : items)
            m_items.push_back(std::move(item));
        m_signalled = true;
    }
    items.clear();
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

SubunitQueue::WaitResult SubunitQueue::WaitNext()
{
    if (m_cancelled.load())
        return Cancelled;
    for (;;) {
        if (m_finished.load()) {
            // The scanner has stopped writing: only this consumer touches the items.
            return m_items.empty() ? Finished : Ready;
        }
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_items.empty())
            return Ready;
        // Auto-reset: the wait consumes the signal. A signal left over from a push
        // whose item was already taken only causes one more look at the queue.
        m_signal.wait(lock, [this] { return m_signalled; });
        m_signalled = false;
        lock.unlock();
        if (m_cancelled.load())
            return Cancelled;
    }
}

SubunitInfoPtr SubunitQueue::Pop()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_items.empty())
        return nullptr;
    SubunitInfoPtr item = std::move(m_items.front());
    m_items.pop_front();
    return item;
}

size_t SubunitQueue::PopBatch(std::vector<SubunitInfoPtr>& out, size_t max)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const size_t count = std::min(max, m_items.size());
    for (size_t i = 0; i < count; ++i) {
        out.push_back(std::move(m_items.front()));
        m_items.pop_front();
    }
    return count;
}

size_t SubunitQueue::Size() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_items.size();
}
