#include "drives/VolumeInfoWorker.h"

#include "common/FinishedWaiter.h"
#include "common/WorkerEvent.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QObject>

#include <atomic>

// Shared with the thread, so that the thread never outlives what it writes to.
struct VolumeInfoWorker::State
{
    std::shared_ptr<DriveSystem> Drives;
    QString DrivePath;
    VolumeInfo Result;
    std::atomic<bool> Started{false};
    std::atomic<bool> Finished{false};
};

VolumeInfoWorker::VolumeInfoWorker(std::shared_ptr<DriveSystem> drives, QString drivePath)
    : m_state(std::make_shared<State>())
{
    m_state->Drives = std::move(drives);
    m_state->DrivePath = std::move(drivePath);
}

void VolumeInfoWorker::Start(QObject* receiver)
{
    if (m_state->Started.exchange(true))
        return;
    std::shared_ptr<State> state = m_state;
    m_thread.Start([state, receiver] {
        state->Result = state->Drives->ReadVolumeInfo(state->DrivePath);
        state->Finished.store(true);
        QCoreApplication::postEvent(receiver, new WorkerEvent(WorkOutcome::Succeeded));
    });
}

VolumeInfoWorker::~VolumeInfoWorker()
{
    m_thread.Join();
}

bool VolumeInfoWorker::IsFinished() const
{
    return m_state->Finished.load();
}

VolumeInfo VolumeInfoWorker::Result() const
{
    return IsFinished() ? m_state->Result : VolumeInfo();
}

VolumeInfo VolumeInfoWorker::ReadAndWait(std::shared_ptr<DriveSystem> drives,
                                         const QString& drivePath)
{
    VolumeInfoWorker worker(std::move(drives), drivePath);
    QEventLoop loop;
    FinishedWaiter waiter(loop);
    worker.Start(&waiter);
    // The event may already be queued; the loop then ends at its first turn.
    loop.exec();
    return worker.Result();
}
