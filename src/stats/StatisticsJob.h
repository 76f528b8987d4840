#pragma once

#include "common/WorkOutcome.h"
#include "common/WorkerThread.h"
#include "sqlitewrapper/StatisticsRecords.h"
#include "stats/StatisticsResult.h"

#include <QString>

#include <atomic>

class CSqliteWrapper;
class QObject;

// Gathers statistics on a worker thread and posts one WorkerEvent Finished with the
// outcome to the object given. The catalogue's connection is used from the worker
// while it runs: its owner leaves it alone meanwhile.
class CStatisticsJob final
{
public:
    explicit CStatisticsJob(CSqliteWrapper& db);
    // Joins the worker.
    ~CStatisticsJob();
    Q_DISABLE_COPY_MOVE(CStatisticsJob)

    // Returns at once.
    void Start(const StatisticsScope& scope, QObject* notify);
    // Stops the worker at once: the catalogue's statement running is interrupted.
    void Cancel();
    void Wait() { m_thread.Join(); }

    // After the Finished event (or Wait).
    WorkOutcome Outcome() const { return m_outcome; }
    QString Error() const { return m_error; }
    const CatalogueStatistics& Result() const { return m_result; }

private:
    void Run(const StatisticsScope& scope, QObject* notify);

    CSqliteWrapper& m_db;
    CWorkerThread m_thread;
    std::atomic<bool> m_cancel{false};
    WorkOutcome m_outcome = WorkOutcome::Failed;
    QString m_error;
    CatalogueStatistics m_result;
};
