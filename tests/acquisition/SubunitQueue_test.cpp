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

TEST(SubunitQueueTest, LookingAheadSeesEachRecordOnceInOrderAndTakesNone)
{
    SubunitQueue queue;
    const auto pushBatch = [&queue](quint32 first, quint32 count) {
        std::vector<SubunitInfo> batch(count);
        for (quint32 i = 0; i < count; ++i)
            batch[i].ID = first + i;
        queue.PushBatch(batch);
    };
    const auto look = [&queue] {
        std::vector<SubunitInfoPtr> seen;
        queue.LookAtNew(seen);
        std::vector<quint32> ids;
        for (const SubunitInfoPtr& record : seen)
            ids.push_back(record->ID);
        return ids;
    };
    pushBatch(1, 3);
    pushBatch(4, 2);
    EXPECT_TRUE(queue.WaitUnlooked());
    EXPECT_EQ(look(), (std::vector<quint32>{1, 2, 3, 4, 5}));
    EXPECT_TRUE(look().empty());
    EXPECT_EQ(queue.Size(), 5u) << "looking takes nothing";

    // Taking a whole block and part of the next, then more pushed: only the new are seen.
    std::vector<SubunitInfoPtr> taken;
    queue.PopBatch(taken, 4);
    pushBatch(6, 2);
    EXPECT_EQ(look(), (std::vector<quint32>{6, 7}));
    // Taking records already looked at does not make the look go back.
    pushBatch(8, 3);
    taken.clear();
    queue.PopBatch(taken, 2); // 5 and 6
    pushBatch(11, 1);
    EXPECT_EQ(look(), (std::vector<quint32>{8, 9, 10, 11}));
    queue.SetFinished();
    EXPECT_FALSE(queue.WaitUnlooked());
    std::vector<quint32> rest;
    EXPECT_EQ(Drain(queue, &rest), WorkOutcome::Succeeded);
    EXPECT_EQ(rest, (std::vector<quint32>{7, 8, 9, 10, 11}));

    queue.Clear();
    pushBatch(20, 2);
    EXPECT_EQ(look(), (std::vector<quint32>{20, 21}));
}
