#pragma once

#include "common/WorkOutcome.h"
#include "common/WorkerThread.h"
#include "export/CatalogueExporter.h"

#include <QString>

#include <atomic>

class CSqliteWrapper;
class QObject;

// An export to a file on a worker thread: WorkerEvent Progress (0 to 100) as it goes
// and one Finished with the outcome, posted to the object given. The file is replaced
// only when the export is complete. The catalogue's connection is used from the worker
// while it runs: its owner leaves it alone meanwhile (a modal progress window does).
class CExportJob final
{
public:
    enum class Format { Csv, Json, NestedJson, Page };

    explicit CExportJob(CSqliteWrapper& db);
    // Joins the worker.
    ~CExportJob();
    Q_DISABLE_COPY_MOVE(CExportJob)

    // The catalogue's name a page shows at its top (else the file's name).
    void SetTitle(const QString& title) { m_title = title; }
    // Returns at once.
    void Start(const ExportScope& scope, Format format, const QString& path, QObject* notify);
    void Cancel() { m_cancel = true; }
    // Waits for the worker's end.
    void Wait() { m_thread.Join(); }

    // After the Finished event (or Wait).
    WorkOutcome Outcome() const { return m_outcome; }
    QString Error() const { return m_error; }
    qint64 Written() const { return m_written; }

    // The format a file name's filter or extension asks for.
    static Format FormatFor(const QString& filter);

private:
    void Run(const ExportScope& scope, Format format, const QString& path, QObject* notify);

    CSqliteWrapper& m_db;
    CWorkerThread m_thread;
    std::atomic<bool> m_cancel{false};
    QString m_title;
    WorkOutcome m_outcome = WorkOutcome::Failed;
    QString m_error;
    qint64 m_written = 0;
};
