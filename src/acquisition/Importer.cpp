#include "acquisition/Importer.h"

#include "acquisition/MediaDetails.h"
#include "acquisition/SubunitQueue.h"
#include "common/WorkerEvent.h"
#include "errorlog/ErrorLog.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QThread>

#include <algorithm>

namespace {

void Post(QObject* receiver, int code, qintptr wParam)
{
    if (receiver)
        QCoreApplication::postEvent(receiver, new WorkerEvent(code, wParam));
}

} // namespace

CImporter::CImporter(CSqliteWrapper& db) : m_db(db)
{
}

CImporter::~CImporter()
{
    Cancel();
    Wait();
}

void CImporter::SetMediaReader(std::unique_ptr<MediaDetailsReader> reader)
{
    m_mediaReader = std::move(reader);
    m_readMedia = m_mediaReader != nullptr;
}

void CImporter::DisableMediaDetails()
{
    m_mediaReader.reset();
    m_readMedia = false;
}

void CImporter::StartImport(QObject* notify, bool categorise, int fixedCategory, int storageId,
                            int rootUnitId, quint64 totalSize)
{
    Wait();
    m_notify = notify;
    m_categorise = categorise;
    m_fixedCategory = fixedCategory;
    m_storageId = storageId;
    m_rootUnitId = rootUnitId;
    m_totalSize = totalSize;
    m_importedSize = 0;
    m_lastPercentage = 0;
    m_cancel.store(0);
    m_idMap.clear();
    m_parentMap.clear();
    m_totals.clear();
    m_ancestors.clear();
    m_totals[rootUnitId] = Totals();
    if (m_readMedia && !m_mediaReader)
        m_mediaReader = CreateMediaDetailsReader();

    m_thread.Start([this] { Run(); });
}

void CImporter::Wait()
{
    m_thread.Join();
}

bool CImporter::IsRunning() const
{
    return m_thread.IsRunning();
}

int CImporter::Run()
{
    SubunitQueue& queue = SubunitQueue::Instance();
    for (;;) {
        switch (queue.WaitNext()) {
        case SubunitQueue::Ready: {
            const SubunitInfoPtr record = queue.Pop();
            if (m_cancel.load() == 1) {
                Post(m_notify, WorkerEvent::Finished, WorkerEvent::Cancelled);
                return WorkerEvent::Cancelled;
            }
            if (!ImportRecord(*record)) {
                Post(m_notify, WorkerEvent::Finished, WorkerEvent::Failed);
                return WorkerEvent::Failed;
            }
            break;
        }
        case SubunitQueue::Finished:
            WriteTotals();
            Post(m_notify, WorkerEvent::Finished, WorkerEvent::Succeeded);
            return WorkerEvent::Succeeded;
        case SubunitQueue::Cancelled:
            if (m_cancel.load() == 1) {
                Post(m_notify, WorkerEvent::Finished, WorkerEvent::Cancelled);
                return WorkerEvent::Cancelled;
            }
            // The dialog sets both flags together: this lasts only an instant.
            QThread::yieldCurrentThread();
            break;
        }
    }
}

QDateTime CImporter::LocalTime(qint64 msecs)
{
    // The local wall-clock time the catalogue stores. Asking the time zone is slow and
    // its answer changes at most on the hour, so the offset is kept per hour.
    if (msecs == FindData::kNoTime)
        return QDateTime();
    const qint64 hour = msecs >= 0 ? msecs / 3600000 : (msecs - 3599999) / 3600000;
    auto it = m_utcOffsets.find(hour);
    if (it == m_utcOffsets.end()) {
        const int offset = QDateTime::fromMSecsSinceEpoch(msecs, Qt::LocalTime).offsetFromUtc();
        it = m_utcOffsets.emplace(hour, offset).first;
    }
    return QDateTime::fromMSecsSinceEpoch(msecs + it->second * 1000LL, Qt::UTC);
}

const std::vector<int>& CImporter::Ancestors(int folderUnitId)
{
    const auto cached = m_ancestors.find(folderUnitId);
    if (cached != m_ancestors.end())
        return cached->second;
    std::vector<int> list;
    for (auto it = m_parentMap.find(folderUnitId); it != m_parentMap.end();
         it = m_parentMap.find(it->second)) {
        list.push_back(it->second);
    }
    return m_ancestors.emplace(folderUnitId, std::move(list)).first->second;
}

bool CImporter::ImportRecord(const SubunitInfo& record)
{
    int parent = m_rootUnitId;
    if (record.ParentID != 0) {
        const auto it = m_idMap.find(record.ParentID);
        if (it != m_idMap.end())
            parent = it->second;
    }
    const FindData& data = record.Data;
    try {
        if (record.IsFile) {
            const int category =
                m_categorise ? m_db.CategoryForFile(data.FileName) : m_fixedCategory;
            CNullable<int> unitInfoId;
            if (m_mediaReader && category >= CategoryIds::Film &&
                category <= CategoryIds::Picture) {
                unitInfoId = AddMediaRow(m_db, m_mediaReader->Read(record.Path(), category));
            }
            // Where the file system keeps no creation time, the last write is the
            // closest thing to it.
            const qint64 created =
                data.CreationTime != FindData::kNoTime ? data.CreationTime : data.LastWriteTime;
            const qint64 size = static_cast<qint64>(data.Size);
            m_db.AddUnit(UnitKind::File, data.FileName, QString(), category, m_storageId, parent,
                         unitInfoId, size, LocalTime(created), LocalTime(data.LastWriteTime), 0,
                         false);
            Totals& own = m_totals[parent];
            own.files += 1;
            own.size += data.Size;
            for (int ancestor : Ancestors(parent)) {
                Totals& t = m_totals[ancestor];
                t.files += 1;
                t.size += data.Size;
            }
            m_importedSize += data.Size;
            PostProgress();
        } else {
            const int category = m_categorise ? CategoryIds::General : m_fixedCategory;
            const int unitId = m_db.AddUnit(UnitKind::Folder, data.FileName, QString(), category,
                                            m_storageId, parent, {}, 0, {}, {}, 0, false);
            m_idMap[record.ID] = unitId;
            m_parentMap[unitId] = parent;
            m_totals[unitId] = Totals();
            m_totals[parent].folders += 1;
            for (int ancestor : Ancestors(parent))
                m_totals[ancestor].folders += 1;
        }
    } catch (const CSqliteWrapperError& error) {
        ErrorLog::Instance().ReportException(error, true);
        return false;
    } catch (const std::exception& error) {
        // Nothing may escape a worker thread: the record fails like a database error.
        ErrorLog::Instance().ReportError(0, QString::fromLocal8Bit(error.what()),
                                         QStringLiteral("Importer"), __LINE__, false, true);
        return false;
    }
    return true;
}

void CImporter::PostProgress()
{
    if (m_totalSize == 0)
        return;
    const double ratio =
        static_cast<double>(m_importedSize) * 100.0 / static_cast<double>(m_totalSize);
    const int percentage = std::min(100, static_cast<int>(ratio));
    if (percentage > m_lastPercentage) {
        m_lastPercentage = percentage;
        Post(m_notify, WorkerEvent::Progress, percentage);
    }
}

void CImporter::WriteTotals()
{
    try {
        for (const auto& [unitId, parent] : m_parentMap) {
            const Totals& t = m_totals[unitId];
            if (t.files == 0 && t.folders == 0 && t.size == 0)
                continue;
            m_db.Execute(
                SqlText::Format("UPDATE Units SET SubfilesNumber = %d, SubfoldersNumber = "
                                "%d, UnitSize = %lld WHERE UnitID = %d",
                                {t.files, t.folders, static_cast<qint64>(t.size), unitId}));
        }
        const Totals& root = m_totals[m_rootUnitId];
        m_db.SetUnitTotals(m_rootUnitId, root.files, root.folders, static_cast<qint64>(root.size),
                           true);
    } catch (const CSqliteWrapperError& error) {
        // The units are in place; only counters are missing. The import still counts
        // as a success.
        ErrorLog::Instance().ReportException(error, true);
    } catch (const std::exception& error) {
        ErrorLog::Instance().ReportError(0, QString::fromLocal8Bit(error.what()),
                                         QStringLiteral("Importer"), __LINE__, false, true);
    }
}
