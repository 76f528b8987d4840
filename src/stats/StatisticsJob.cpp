#include "stats/StatisticsJob.h"

#include "common/WorkerEvent.h"
#include "sqlitewrapper/SqliteWrapper.h"
#include "stats/StatisticsGatherer.h"

#include <QCoreApplication>

#include <exception>

CStatisticsJob::CStatisticsJob(CSqliteWrapper& db) : m_db(db)
{
}

CStatisticsJob::~CStatisticsJob()
{
    m_cancel = true;
    m_thread.Join();
}

void CStatisticsJob::Cancel()
{
    m_cancel = true;
    m_db.Interrupt();
}

void CStatisticsJob::Start(const StatisticsScope& scope, QObject* notify)
{
    m_thread.Join();
    m_cancel = false;
    m_outcome = WorkOutcome::Failed;
    m_error.clear();
    m_result = CatalogueStatistics();
    m_thread.Start([this, scope, notify] { Run(scope, notify); });
}

void CStatisticsJob::Run(const StatisticsScope& scope, QObject* notify)
{
    WorkOutcome outcome = WorkOutcome::Failed;
    try {
        CStatisticsGatherer gatherer(m_db);
        outcome = gatherer.Gather(scope, m_result, [this] { return !m_cancel; })
                      ? WorkOutcome::Succeeded
                      : WorkOutcome::Cancelled;
    } catch (const std::exception& error) {
        // A statement interrupted by Cancel fails; that is the cancel, not an error.
        if (m_cancel)
            outcome = WorkOutcome::Cancelled;
        else
            m_error = QString::fromUtf8(error.what());
    }
    m_outcome = outcome;
    if (notify)
        QCoreApplication::postEvent(notify, new WorkerEvent(outcome));
}
