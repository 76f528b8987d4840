#include "acquisition/SubunitQueue.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

void PushSignalled(quint32 id)
{
    auto info = std::make_shared<SubunitInfo>();
    info->ID = id;
    SubunitQueue::Instance().Push(std::move(info));
    SubunitQueue::Instance().Signal();
}

// Takes records until the queue says something other than Ready.
SubunitQueue::WaitResult Drain(std::vector<quint32>* ids)
{
    SubunitQueue& queue = SubunitQueue::Instance();
    SubunitQueue::WaitResult result;
    while ((result = queue.WaitNext()) == SubunitQueue::Ready)
        ids->push_back(queue.Pop()->ID);
    return result;
}

} // namespace

TEST(SubunitQueueTest, RecordsLeftAfterTheEndAreStillTakenButCancelWinsAndClearResets)
{
    SubunitQueue& queue = SubunitQueue::Instance();
    queue.Clear();
    PushSignalled(1);
    PushSignalled(2);
    queue.SetFinished();
    std::vector<quint32> ids;
    EXPECT_EQ(Drain(&ids), SubunitQueue::Finished);
    EXPECT_EQ(ids, (std::vector<quint32>{1, 2}));
    EXPECT_EQ(queue.Pop(), nullptr);

    queue.Clear();
    EXPECT_FALSE(queue.IsFinished());
    PushSignalled(3);
    queue.SetCancelled();
    EXPECT_EQ(queue.WaitNext(), SubunitQueue::Cancelled);
    queue.Clear();
    EXPECT_EQ(queue.Size(), 0u);
    EXPECT_FALSE(queue.IsCancelled());
}

TEST(SubunitQueueTest, AWaitingConsumerGetsEveryRecordInOrderAndIsWokenByTheEnd)
{
    SubunitQueue& queue = SubunitQueue::Instance();
    constexpr quint32 kCount = 20000;
    // The producer runs at its own pace, so the consumer meets both a full and an
    // empty queue.
    queue.Clear();
    std::vector<quint32> ids;
    SubunitQueue::WaitResult end = SubunitQueue::Ready;
    std::thread consumer([&] { end = Drain(&ids); });
    for (quint32 id = 1; id <= kCount; ++id)
        PushSignalled(id);
    queue.SetFinished();
    consumer.join();
    EXPECT_EQ(end, SubunitQueue::Finished);
    ASSERT_EQ(ids.size(), kCount);
    for (quint32 i = 0; i < kCount; ++i)
        ASSERT_EQ(ids[i], i + 1);

    // A consumer waiting on an empty queue is woken by the cancel.
    queue.Clear();
    std::thread waiting([&] { end = Drain(&ids); });
    queue.SetCancelled();
    waiting.join();
    EXPECT_EQ(end, SubunitQueue::Cancelled);
    queue.Clear();
}
