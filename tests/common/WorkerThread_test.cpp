// Worker threads are owned by whoever started them: joined, then deleted, never deleted
// behind the owner's back by the event loop.
#include "TestCatalogue.h"

#include "acquisition/Importer.h"
#include "acquisition/SubunitQueue.h"
#include "common/WorkerEvent.h"
#include "common/WorkerThread.h"

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
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
    std::vector<qintptr> Outcomes;

protected:
    void customEvent(QEvent* event) override
    {
        const auto* posted = static_cast<const WorkerEvent*>(event);
        if (posted->Code() == WorkerEvent::Finished)
            Outcomes.push_back(posted->WParam());
    }
};

} // namespace

TEST(WorkerThread, AFinishedThreadCanBeJoinedAndStartedAgainAfterTheEventLoopRan)
{
    CWorkerThread worker;
    EXPECT_FALSE(worker.IsRunning());
    worker.Join(); // nothing started: nothing to wait for

    std::atomic<int> runs{0};
    std::atomic<bool> release{false};
    worker.Start([&] {
        while (!release.load())
            QThread::msleep(1);
        ++runs;
    });
    EXPECT_TRUE(worker.IsRunning());
    release.store(true);
    for (int i = 0; i < 60000 && worker.IsRunning(); ++i)
        QThread::msleep(1);
    RunEventLoop();
    EXPECT_FALSE(worker.IsRunning());
    worker.Join();
    worker.Join();
    EXPECT_EQ(runs.load(), 1);

    // Start joins the run before it: the second work sees the first one's end.
    std::atomic<bool> firstEnded{false};
    bool secondSawFirst = false;
    worker.Start([&] {
        QThread::msleep(50);
        firstEnded.store(true);
    });
    worker.Start([&] { secondSawFirst = firstEnded.load(); });
    worker.Join();
    EXPECT_TRUE(secondSawFirst);
    EXPECT_FALSE(worker.IsRunning());
}

TEST(WorkerThread, ADestroyedWorkerWaitsForItsWork)
{
    std::atomic<bool> done{false};
    {
        CWorkerThread worker;
        worker.Start([&] {
            QThread::msleep(100);
            done.store(true);
        });
    }
    EXPECT_TRUE(done.load());
}

TEST(WorkerThread, AnImporterThatHasFinishedIsWaitedForAndRunsAgain)
{
    TestCatalogue catalogue;
    const int storage = catalogue.Db().AddStorage("Shelf", QString());
    const int disc = catalogue.AddDisc(storage, "Disc");
    FinishedEvents events;
    CImporter importer(catalogue.Db());
    importer.DisableMediaDetails();
    for (int run = 1; run <= 2; ++run) {
        // An empty walk that has ended: the import finishes at once.
        SubunitQueue::Instance().Clear();
        SubunitQueue::Instance().SetFinished();
        importer.StartImport(&events, true, 1, storage, disc, 0);
        for (int i = 0; i < 60000 && importer.IsRunning(); ++i)
            QThread::msleep(1);
        // The thread has ended and the event loop has run before anyone waits.
        RunEventLoop();
        EXPECT_FALSE(importer.IsRunning());
        importer.Wait();
        importer.Wait();
        RunEventLoop();
        EXPECT_EQ(events.Outcomes.size(), static_cast<size_t>(run));
    }
    EXPECT_EQ(events.Outcomes,
              (std::vector<qintptr>{WorkerEvent::Succeeded, WorkerEvent::Succeeded}));
    SubunitQueue::Instance().Clear();
}
