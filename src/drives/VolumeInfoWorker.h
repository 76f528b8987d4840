#pragma once

#include "common/WorkerThread.h"
#include "drives/DriveSystem.h"

#include <QString>

#include <memory>

class QObject;

/// The short-lived worker that reads a volume's information off the user-interface
/// thread, so that a slow drive does not freeze the program. It reads the volume of one
/// drive path on its own thread, stores the result and then posts a WorkerEvent with
/// the code Finished (wParam Succeeded) to the receiver; an unreadable volume is a
/// result too (empty label, serial 0, size 0), not a failure. The wait dialog refuses
/// to close until then; the command line waits in ReadAndWait.
class VolumeInfoWorker final
{
public:
    VolumeInfoWorker(std::shared_ptr<DriveSystem> drives, QString drivePath);
    /// Waits for the thread: the volume answers before the worker goes.
    ~VolumeInfoWorker();
    VolumeInfoWorker(const VolumeInfoWorker&) = delete;
    VolumeInfoWorker& operator=(const VolumeInfoWorker&) = delete;

    /// Starts the thread (once). The receiver must live until the event has arrived.
    void Start(QObject* receiver);
    /// True once the result is stored (before the event is posted).
    bool IsFinished() const;
    /// The volume; meaningful once IsFinished() or the event has arrived.
    VolumeInfo Result() const;

    /// Runs a worker and waits for its event in a local event loop; for callers that
    /// have nothing else to do meanwhile.
    static VolumeInfo ReadAndWait(std::shared_ptr<DriveSystem> drives, const QString& drivePath);

private:
    struct State;
    std::shared_ptr<State> m_state;
    CWorkerThread m_thread;
};
