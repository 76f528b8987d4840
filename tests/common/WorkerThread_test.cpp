// Worker threads are owned by whoever started them: joined, then deleted, never deleted
// behind the owner's back by the event loop. The importer's worker reads ahead and is
// stopped or told where to write; a reading pool takes its jobs by priority.
#include "Gate.h"
#include "TestCatalogue.h"

#include "acquisition/Importer.h"
#include "acquisition/SubunitQueue.h"
#include "acquisition/SubunitsSearcher.h"
#include "common/ReadAheadPool.h"
#include "common/WorkerEvent.h"
#include "common/WorkerThread.h"

#include <QColor>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace {

// Lets the event loop do whatever the threads left for it, deferred deletes included.
void RunEventLoop()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

class FinishedEvents final : public QObject
{
public:
    std::vector<WorkOutcome> Outcomes;

protected:
    void customEvent(QEvent* event) override
    {
        const auto* posted = static_cast<const WorkerEvent*>(event);
        if (posted->Code() == WorkerEvent::Finished)
            Outcomes.push_back(posted->Outcome());
    }
};

} // namespace

TEST(WorkerThread, AFinishedThreadCanBeJoinedAndStartedAgainAfterTheEventLoopRan)
{
    CWorkerThread worker;
    EXPECT_FALSE(worker.IsRunning());
    worker.Join(); // nothing started: nothing to wait for

    std::atomic<int> runs{0};
    Gate gate;
    worker.Start([&] {
        gate.Pass();
        ++runs;
    });
    EXPECT_TRUE(worker.IsRunning());
    gate.Open();
    // The event loop runs, deferred deletes included, while the thread ends.
    ASSERT_TRUE(QTest::qWaitFor([&] { return !worker.IsRunning(); }, 60000));
    RunEventLoop();
    EXPECT_FALSE(worker.IsRunning());
    worker.Join();
    worker.Join();
    EXPECT_EQ(runs.load(), 1);
}

TEST(WorkerThread, StartAndTheDestructorWaitForTheRunningWork)
{
    // A run held until its owner is waiting for it; one that did not wait would delete a
    // running thread or start the next work beside it.
    const auto heldUntil = [](Gate& held, const std::function<void()>& waitingCall) {
        Gate calling;
        std::thread opener([&] {
            calling.Pass();
            held.Open();
        });
        calling.Open();
        waitingCall();
        opener.join();
    };

    std::atomic<bool> firstEnded{false};
    bool secondSawFirst = false;
    auto worker = std::make_unique<CWorkerThread>();
    Gate first;
    worker->Start([&] {
        first.Pass();
        firstEnded = true;
    });
    heldUntil(first, [&] { worker->Start([&] { secondSawFirst = firstEnded.load(); }); });
    worker->Join();
    EXPECT_TRUE(secondSawFirst);
    EXPECT_FALSE(worker->IsRunning());

    std::atomic<bool> done{false};
    Gate last;
    worker->Start([&] {
        last.Pass();
        done = true;
    });
    heldUntil(last, [&] { worker.reset(); });
    EXPECT_TRUE(done.load());
}

TEST(WorkerThread, AnImporterThatHasFinishedIsWaitedForAndRunsAgain)
{
    TestCatalogue catalogue;
    const int storage = catalogue.Db().AddStorage("Shelf", QString());
    const int disc = catalogue.AddDisc(storage, "Disc");
    FinishedEvents events;
    // An empty walk that has ended: each import finishes at once.
    SubunitQueue queue;
    queue.SetFinished();
    CImporter importer(catalogue.Db(), queue);
    importer.DisableMediaDetails();
    for (int run = 1; run <= 2; ++run) {
        importer.StartImport(&events, true, 1, storage, disc, 0);
        // The thread has ended and the event loop has run before anyone waits.
        ASSERT_TRUE(QTest::qWaitFor([&] { return !importer.IsRunning(); }, 60000));
        RunEventLoop();
        EXPECT_FALSE(importer.IsRunning());
        importer.Wait();
        importer.Wait();
        RunEventLoop();
        EXPECT_EQ(events.Outcomes.size(), static_cast<size_t>(run));
    }
    EXPECT_EQ(events.Outcomes,
              (std::vector<WorkOutcome>{WorkOutcome::Succeeded, WorkOutcome::Succeeded}));
}

TEST(WorkerThread, AnImporterReadingAheadWritesOnlyOnceToldWhereAndIsStoppedByWait)
{
    // A folder counted while the importer reads ahead: pictures (thumbnails), a zip
    // (entries) and plain files.
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("tree"));
    ASSERT_TRUE(QDir().mkpath(root + QStringLiteral("/pictures")));
    for (int i = 0; i < 12; ++i) {
        QImage picture(400 + i, 300, QImage::Format_RGB32);
        picture.fill(QColor::fromHsv(i * 30, 200, 200));
        ASSERT_TRUE(picture.save(QStringLiteral("%1/pictures/p%2.png").arg(root).arg(i)));
    }
    QFile plain(root + QStringLiteral("/notes.txt"));
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.write("notes");
    plain.close();
    const bool zipped = QProcess::execute(QStringLiteral("zip"),
                                          {QStringLiteral("-qr"), root + QStringLiteral("/set.zip"),
                                           root + QStringLiteral("/pictures"),
                                           root + QStringLiteral("/notes.txt")}) == 0;

    TestCatalogue catalogue;
    const int storage = catalogue.Db().AddStorage("Shelf", QString());
    const int top = catalogue.AddFolder(storage, 0, "tree");
    const qint64 unitsBefore = catalogue.Number(QStringLiteral("SELECT COUNT(*) FROM Units"));
    FinishedEvents events;
    SubunitQueue queue;
    SubunitsSearcher searcher(queue);
    CImporter importer(catalogue.Db(), queue);
    importer.SetThumbnails(true);
    importer.SetLookInsideArchives(true);

    // Stopped before it is told where: nothing written, nothing posted.
    importer.ReadAhead(true, 1);
    EXPECT_TRUE(importer.IsReadingAhead());
    searcher.Start(root, nullptr, true);
    searcher.Wait();
    importer.Wait();
    RunEventLoop();
    EXPECT_FALSE(importer.IsRunning());
    EXPECT_TRUE(events.Outcomes.empty());
    EXPECT_EQ(catalogue.Number(QStringLiteral("SELECT COUNT(*) FROM Units")), unitsBefore);

    // Told where after the walk: every record, thumbnail and entry is written.
    queue.Clear();
    importer.ReadAhead(true, 1);
    searcher.Start(root, nullptr, true);
    searcher.Wait();
    importer.StartImport(&events, true, 1, storage, top, searcher.TotalSize());
    EXPECT_FALSE(importer.IsReadingAhead());
    importer.Wait();
    RunEventLoop();
    EXPECT_EQ(events.Outcomes, std::vector<WorkOutcome>{WorkOutcome::Succeeded});
    EXPECT_EQ(catalogue.Number(
                  QStringLiteral("SELECT SubfilesNumber FROM Units WHERE UnitID = %1").arg(top)),
              zipped ? 14 : 13);
    qint64 bytes = 0;
    EXPECT_EQ(catalogue.Db().CountThumbnails(bytes), 12);
    if (zipped) {
        EXPECT_EQ(catalogue.Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType = "
                                                  "'f' AND UnitName LIKE 'p%.png'")),
                  12);
    }
}

TEST(WorkerThread, AReadAheadPoolReadsTheHighestPriorityFirstAndEqualsInOrder)
{
    // One thread, held in its first job while the others are handed in.
    Gate held;
    GateOpener opener(held);
    std::mutex orderMutex;
    std::vector<int> order;
    ReadAheadPool<int, int> pool(
        [&] {
            return [&](const int& request, const std::atomic<int>&) {
                if (request == 0)
                    held.Pass();
                const std::lock_guard<std::mutex> lock(orderMutex);
                order.push_back(request);
                return request * 10;
            };
        },
        1);
    std::vector<ReadAheadPool<int, int>::JobPtr> jobs{pool.Submit(0, 1000)};
    ASSERT_TRUE(QTest::qWaitFor([&] { return held.Arrived() == 1; }, 60000));
    const std::vector<std::pair<int, qint64>> requests = {{1, 5}, {2, 50}, {3, 5}, {4, 0}, {5, 50}};
    for (const auto& [request, priority] : requests)
        jobs.push_back(pool.Submit(request, priority));
    held.Open();
    for (const auto& job : jobs)
        ASSERT_TRUE(pool.WaitFor(job, 60000));
    EXPECT_EQ(order, (std::vector<int>{0, 2, 5, 1, 3, 4}));
    EXPECT_EQ(pool.Take(jobs[2]), 20);
}
