#pragma once

#include "common/WorkOutcome.h"
#include "common/WorkerThread.h"

#include <QString>
#include <QtGlobal>

#include <atomic>
#include <memory>

class CSqliteWrapper;
class QObject;

/// What one report is made of, shared between the caller and the worker thread. The
/// caller fills the first part (with Cancel at 0) before Start; the worker fills the
/// counters. Only Cancel is written by both while the worker runs; the rest the caller
/// reads once the worker has posted its end event.
struct ReportJob
{
    QObject* Receiver = nullptr; // gets the WorkerEvents; must outlive the worker
    QString Title;               // the catalogue's display name
    QString Path;                // the page to write
    int Storage = -1;            // a StorageID, or -1 for every storage
    int NestingLevel = 1;        // 1, 2, 3, or -1 for the whole tree
    std::atomic<int> Cancel{0};  // set to 1 to stop the worker at its next row
    CSqliteWrapper* Catalogue = nullptr;

    quint32 Total = 0;        // unit rows read
    quint32 Done = 0;         // table rows written
    int LastPercent = 0;      // the last progress posted
    bool PageWritten = false; // the whole page reached the file
};

/// Writes the HTML report of a catalogue, or of one of its storages, on a worker
/// thread. The worker reads the storages and then every unit with one query, rebuilds
/// the tree from the parent ids, and writes each storage's units depth-first down to
/// the nesting level. It posts WorkerEvent::Progress from 10 to 100, only when the whole
/// percentage rises, and one WorkerEvent::Finished: Succeeded (also when the page could
/// not be created: then nothing is written and PageWritten stays false), Failed on a
/// database error (logged), or Cancelled. A cancelled page stays as far as it was
/// written. The caller keeps other work off the catalogue while the worker runs.
class CReportWriter final
{
public:
    CReportWriter();
    /// Waits for a running worker.
    ~CReportWriter();
    CReportWriter(const CReportWriter&) = delete;
    CReportWriter& operator=(const CReportWriter&) = delete;

    /// Starts the worker on the job. The job, its receiver and its catalogue must
    /// outlive the worker; a previous worker is waited for first.
    void Start(ReportJob& job);
    bool IsRunning() const;
    /// Blocks until the worker has ended.
    void Wait();

    /// Asks the worker to stop: it ends before its next row.
    static void Cancel(ReportJob& job);

    /// The worker's whole job on the calling thread; returns the outcome it posted.
    static WorkOutcome Run(ReportJob& job);

private:
    CWorkerThread m_thread;
};
