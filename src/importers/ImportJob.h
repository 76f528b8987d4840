#pragma once

#include "common/WorkOutcome.h"
#include "common/WorkerThread.h"
#include "importers/ImportSink.h"
#include "sqlitewrapper/Transaction.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

class CListReader;
class CShelfwiseDoc;

// The import of a list into a storage, without widgets: the transaction, the storage
// (made when none has the name), the reading on a worker into a CCatalogueImport, and
// the end on the calling thread: committed as one undo step, or rolled back so that the
// catalogue is as it was (a list that does not parse, a catalogue error, a cancel). The
// window's import flow and the command line both drive it and react to its signals.
// The worker uses the document's connection: nothing else touches the catalogue while
// it runs, and a job never outlives its document.
class CImportJob final : public QObject
{
    Q_OBJECT

public:
    struct Counts
    {
        int Discs = 0;
        int Folders = 0;
        qint64 Files = 0;
    };

    explicit CImportJob(CShelfwiseDoc& doc, QObject* parent = nullptr);
    ~CImportJob() override;
    CImportJob(const CImportJob&) = delete;
    CImportJob& operator=(const CImportJob&) = delete;

    // Starts reading the list at path with reader into the storage called storageName
    // (made when the catalogue has none of that name). False when nothing started: an
    // import is running already, the list cannot be opened (ListError() says so) or the
    // catalogue refused (reported).
    bool Start(const QString& path, std::unique_ptr<CListReader> reader,
               const QString& storageName);
    void Cancel() { m_cancel.store(1); }
    bool IsBusy() const { return m_busy; }

    // After a Failed end: the list's error, when it was the list that failed (line 0
    // when the format has no lines); nullopt for a catalogue error.
    const std::optional<ImportError>& ListError() const { return m_listError; }
    // After a Succeeded end: what was added, and where.
    const Counts& Added() const { return m_counts; }
    int StorageId() const { return m_storageId; }

signals:
    void progress(int percent);
    // After the catalogue was committed or rolled back.
    void finished(WorkOutcome outcome);

protected:
    void customEvent(QEvent* event) override;

private:
    void Run(const QString& path);

    CShelfwiseDoc& m_doc;
    std::unique_ptr<CListReader> m_reader;
    std::optional<CTransaction> m_transaction;
    std::atomic<int> m_cancel{0};
    bool m_busy = false;
    QString m_description;
    int m_storageId = 0;
    bool m_newStorage = false;
    // Written by the worker, read after it was joined.
    std::optional<ImportError> m_listError;
    Counts m_counts;
    std::vector<int> m_topUnitIds;
    int m_lastPercent = 0;
    CWorkerThread m_thread;
};
