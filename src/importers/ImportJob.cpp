#include "importers/ImportJob.h"

#include "common/WorkerEvent.h"
#include "document/ShelfwiseDoc.h"
#include "errorlog/ErrorLog.h"
#include "importers/CatalogueImport.h"
#include "importers/ListReader.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

CImportJob::CImportJob(CShelfwiseDoc& doc, QObject* parent) : QObject(parent), m_doc(doc)
{
}

CImportJob::~CImportJob()
{
    if (m_busy) {
        Cancel();
        m_thread.Join();
        m_busy = false;
        m_doc.RollbackAdd(std::move(*m_transaction));
        m_transaction.reset();
    }
}

bool CImportJob::Start(const QString& path, std::unique_ptr<CListReader> reader,
                       const QString& storageName)
{
    if (m_busy)
        return false;
    m_listError.reset();
    m_counts = Counts();
    m_topUnitIds.clear();
    m_lastPercent = 0;
    m_cancel.store(0);
    if (!QFileInfo(path).isFile() || !QFile(path).open(QIODevice::ReadOnly)) {
        m_listError = ImportError{0, QStringLiteral("cannot be read")};
        return false;
    }
    m_reader = std::move(reader);
    m_storageId = 0;
    for (const StorageRecord& storage : m_doc.Storages()) {
        if (storage.StorageName == storageName) {
            m_storageId = storage.StorageID;
            break;
        }
    }
    m_newStorage = m_storageId == 0;
    m_description = tr("Import \"%1\"").arg(QFileInfo(path).fileName());
    CSqliteWrapper& db = m_doc.Database();
    const bool started = m_doc.Guard([&] {
        m_transaction.emplace(db);
        if (m_newStorage)
            m_storageId = db.AddStorage(storageName, QString());
    });
    if (!started) {
        m_transaction.reset();
        return false;
    }
    m_busy = true;
    m_thread.Start([this, path] { Run(path); });
    return true;
}

void CImportJob::Run(const QString& path)
{
    auto outcome = WorkOutcome::Failed;
    try {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            throw ImportError{0, QStringLiteral("cannot be read")};
        const qint64 total = std::max<qint64>(1, file.size());
        CCatalogueImport sink(m_doc.Database(), m_storageId);
        sink.SetCancelFlag(&m_cancel);
        int lastPercent = 0;
        sink.SetProgress([&] {
            const int percent = static_cast<int>(std::min<qint64>(99, file.pos() * 100 / total));
            if (percent > lastPercent) {
                lastPercent = percent;
                QCoreApplication::postEvent(this, new WorkerEvent(WorkerEvent::Progress, percent));
            }
        });
        m_reader->Read(file, sink);
        if (m_cancel.load() == 1)
            throw ImportCancelled();
        sink.Finish();
        m_counts = Counts{sink.Discs(), sink.Folders(), sink.Files()};
        m_topUnitIds = sink.TopUnitIds();
        outcome = WorkOutcome::Succeeded;
    } catch (const ImportError& error) {
        m_listError = error;
    } catch (const ImportCancelled&) {
        outcome = WorkOutcome::Cancelled;
    } catch (const CSqliteWrapperError& error) {
        ErrorLog::Instance().ReportException(error, true);
    } catch (const std::exception& error) {
        // Nothing may escape a worker thread: this fails like a catalogue error.
        ErrorLog::Instance().ReportError(0, QString::fromLocal8Bit(error.what()),
                                         QStringLiteral("ImportJob"), __LINE__, false, true);
    }
    QCoreApplication::postEvent(this, new WorkerEvent(outcome));
}

void CImportJob::customEvent(QEvent* event)
{
    if (WorkerEvent::Is(event, WorkerEvent::Progress)) {
        if (m_busy) {
            m_lastPercent = static_cast<int>(static_cast<WorkerEvent*>(event)->WParam());
            emit progress(m_lastPercent);
        }
        return;
    }
    if (!WorkerEvent::Is(event, WorkerEvent::Finished) || !m_busy)
        return;
    m_thread.Join();
    m_busy = false;
    WorkOutcome outcome = static_cast<WorkerEvent*>(event)->Outcome();
    // A reading that ended before it saw the cancel does not commit what was cancelled.
    if (outcome == WorkOutcome::Succeeded && m_cancel.load() == 1)
        outcome = WorkOutcome::Cancelled;
    CTransaction transaction = std::move(*m_transaction);
    m_transaction.reset();
    if (outcome == WorkOutcome::Succeeded) {
        if (m_lastPercent < 100)
            emit progress(100);
        m_doc.FinishImport(std::move(transaction), m_description, m_storageId, m_newStorage,
                           m_topUnitIds);
    } else {
        m_doc.RollbackAdd(std::move(transaction));
    }
    emit finished(outcome);
}
