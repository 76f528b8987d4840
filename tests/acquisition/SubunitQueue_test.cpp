#include "acquisition/SubunitQueue.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

namespace {

void PushSignalled(SubunitQueue& queue, quint32 id)
{
    auto info = std::make_shared<SubunitInfo>();
    info->ID = id;
    queue.Push(std::move(info));
    queue.Signal();
}

// Takes records until the queue says the walk has ended; how it ended.
std::optional<WorkOutcome> Drain(SubunitQueue& queue, std::vector<quint32>* ids)
{
    while (queue.WaitNext())
        ids->push_back(queue.Pop()->ID);
    return queue.Outcome();
}

} // namespace

TEST(SubunitQueueTest, RecordsLeftAfterTheEndAreStillTakenButCancelWinsAndClearResets)
{
    SubunitQueue queue;
    PushSignalled(queue, 1);
    PushSignalled(queue, 2);
    queue.SetFinished();
    std::vector<quint32> ids;
    EXPECT_EQ(Drain(queue, &ids), WorkOutcome::Succeeded);
    EXPECT_EQ(ids, (std::vector<quint32>{1, 2}));
    EXPECT_EQ(queue.Pop(), nullptr);

    queue.Clear();
    EXPECT_EQ(queue.Outcome(), std::nullopt);
    PushSignalled(queue, 3);
    queue.SetCancelled();
    EXPECT_FALSE(queue.WaitNext());
    EXPECT_EQ(queue.Outcome(), WorkOutcome::Cancelled);
    queue.Clear();
    EXPECT_EQ(queue.Size(), 0u);
    EXPECT_EQ(queue.Outcome(), std::nullopt);
}

TEST(SubunitQueueTest, AWaitingConsumerGetsEveryRecordInOrderAndIsWokenByTheEnd)
{
    SubunitQueue queue;
    constexpr quint32 kCount = 20000;
    // The producer runs at its own pace, so the consumer meets both a full and an
    // empty queue.
    std::vector<quint32> ids;
    std::optional<WorkOutcome> end;
    std::thread consumer([&] { end = Drain(queue, &ids); });
    for (quint32 id = 1; id <= kCount; ++id)
        PushSignalled(queue, id);
    queue.SetFinished();
    consumer.join();
    EXPECT_EQ(end, WorkOutcome::Succeeded);
    ASSERT_EQ(ids.size(), kCount);
    for (quint32 i = 0; i < kCount; ++i)
        ASSERT_EQ(ids[i], i + 1);

    // A consumer waiting on an empty queue is woken by the cancel.
    SubunitQueue empty;
    std::thread waiting([&] { end = Drain(empty, &ids); });
    empty.SetCancelled();
    waiting.join();
    EXPECT_EQ(end, WorkOutcome::Cancelled);
}
