#include "acquisition/Importer.h"

#include "acquisition/SubunitQueue.h"
#include "common/WorkerEvent.h"
#include "errorlog/ErrorLog.h"
#include "listers/ArchiveLister.h"
#include "media/MediaDetails.h"
#include "settings/Settings.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>

namespace {

// Records taken from the queue ahead of the one being written: room for the media
// readers to work ahead, small beside a tree that is queued whole.
constexpr size_t kWindow = 4096;
// How long a wait for a media read lasts before cancel and the queue are looked at.
constexpr int kMediaPollMs = 50;
// Archives are read on threads of their own beside the media readers: few, as reading
// headers is mostly waiting for the disc.
constexpr int kArchiveThreads = 2;

void Post(QObject* receiver, int code, qintptr wParam)
{
    if (receiver)
        QCoreApplication::postEvent(receiver, new WorkerEvent(code, wParam));
}

bool HasMediaTable(int categoryId)
{
    return categoryId >= CategoryIds::Film && categoryId <= CategoryIds::Picture;
}

} // namespace

CImporter::CImporter(CSqliteWrapper& db, SubunitQueue& queue)
    : m_db(db), m_queue(queue), m_thumbnails(Settings::Instance().KeepThumbnails),
      m_readerFactory(&CreateMediaDetailsReader),
      m_archives(Settings::Instance().LookInsideArchives)
{
}

CImporter::~CImporter()
{
    Cancel();
    Wait();
}

void CImporter::SetMediaReaderFactory(ReaderFactory factory)
{
    m_readerFactory = std::move(factory);
}

void CImporter::StartImport(QObject* notify, bool categorise, int fixedCategory, int storageId,
                            int rootUnitId, quint64 totalSize)
{
    Wait();
    m_notify = notify;
    m_categorise = categorise;
    m_fixedCategory = fixedCategory;
    m_storageId = storageId;
    m_totalSize = totalSize;
    m_importedSize = 0;
    m_lastPercentage = 0;
    m_cancel.store(0);
    m_folders.assign(1, Folder());
    m_folders.front().unitId = rootUnitId;
    m_folderIndex.clear();
    m_lastParentId = 0;
    m_lastParentIndex = 0;
    m_window.clear();
    m_files = m_batchRows > 1 ? std::make_unique<CFileInsertBatch>(m_batchRows) : nullptr;
    m_archiveWriter.reset();
    m_batchThumbnails.clear();
    m_thumbnailRows.Clear();

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

WorkOutcome CImporter::Run()
{
    // The reading threads live as long as this run.
    if (m_readerFactory) {
        const int threads = m_mediaThreads > 0 ? m_mediaThreads : MediaReadPool::DefaultThreads();
        m_pool = std::make_unique<MediaReadPool>(m_readerFactory, threads, m_thumbnails);
    }
    WorkOutcome outcome = WorkOutcome::Failed;
    try {
        outcome = Drain();
    } catch (const CSqliteWrapperError& error) {
        ErrorLog::Instance().ReportException(error, true);
    } catch (const std::exception& error) {
        // Nothing may escape a worker thread: this fails like a database error.
        ErrorLog::Instance().ReportError(0, QString::fromLocal8Bit(error.what()),
                                         QStringLiteral("Importer"), __LINE__, false, true);
    }
    m_pool.reset();
    m_archivePool.reset();
    m_window.clear();
    if (m_files)
        m_files->Clear();
    m_batchThumbnails.clear();
    m_thumbnailRows.Clear();
    if (outcome == WorkOutcome::Succeeded)
        WriteTotals();
    if (m_notify)
        QCoreApplication::postEvent(m_notify, new WorkerEvent(outcome));
    return outcome;
}

WorkOutcome CImporter::Drain()
{
    SubunitQueue& queue = m_queue;
    std::vector<SubunitInfoPtr> arrived;
    arrived.reserve(kWindow);
    for (;;) {
        if (m_cancel.load(std::memory_order_relaxed) == 1)
            return WorkOutcome::Cancelled;
        if (m_window.size() < kWindow) {
            queue.PopBatch(arrived, kWindow - m_window.size());
            for (SubunitInfoPtr& record : arrived)
                Admit(std::move(record));
            arrived.clear();
        }
        if (m_window.empty()) {
            // Write what is gathered before waiting for the scanner: a slow disc's
            // files then reach the catalogue as it goes.
            FlushFiles();
            if (!queue.WaitNext()) {
                if (queue.Outcome() == WorkOutcome::Succeeded)
                    return WorkOutcome::Succeeded;
                // The walk was cancelled. The dialog sets both flags together: this
                // lasts only an instant.
                if (m_cancel.load() == 1)
                    return WorkOutcome::Cancelled;
                QThread::yieldCurrentThread();
            }
            continue;
        }
        Pending& front = m_window.front();
        if (front.media && !m_pool->IsDone(front.media)) {
            // While its details are read, take in more records so that the other
            // readers have work; wait only when there is nothing else to do.
            if (m_window.size() < kWindow && queue.Size() > 0)
                continue;
            m_pool->WaitFor(front.media, kMediaPollMs);
            continue;
        }
        if (front.archive && !m_archivePool->IsDone(front.archive)) {
            if (m_window.size() < kWindow && queue.Size() > 0)
                continue;
            m_archivePool->WaitFor(front.archive, kMediaPollMs);
            continue;
        }
        ImportRecord(front);
        m_window.pop_front();
    }
}

void CImporter::Admit(SubunitInfoPtr record)
{
    Pending pending;
    if (record->IsFile()) {
        pending.categoryId =
            m_categorise ? m_db.CategoryForFile(record->Data.FileName) : m_fixedCategory;
        // A link is catalogued as itself: its target's details are not its own.
        if (m_pool && HasMediaTable(pending.categoryId) && !record->Data.IsLink())
            pending.media = m_pool->Submit(record->Path(), pending.categoryId);
        if (m_archives && !record->Data.IsLink() &&
            ArchiveLister::HasArchiveName(record->Data.FileName)) {
            if (!m_archivePool)
                m_archivePool = std::make_unique<ArchiveReadPool>(kArchiveThreads);
            pending.archive = m_archivePool->Submit(record->Path());
        }
    } else {
        pending.categoryId = m_categorise ? CategoryIds::General : m_fixedCategory;
    }
    pending.record = std::move(record);
    m_window.push_back(std::move(pending));
}

int CImporter::ParentIndex(quint32 scannedParentId)
{
    if (scannedParentId == 0)
        return 0;
    if (scannedParentId != m_lastParentId) {
        const auto it = m_folderIndex.find(scannedParentId);
        m_lastParentId = scannedParentId;
        m_lastParentIndex = it != m_folderIndex.end() ? it->second : 0;
    }
    return m_lastParentIndex;
}

void CImporter::ImportRecord(Pending& pending)
{
    const SubunitInfo& record = *pending.record;
    const int parent = ParentIndex(record.ParentID);
    if (pending.archive) {
        const ArchiveLister::Listing listing = m_archivePool->Take(pending.archive);
        CArchiveWriter::ReportErrors(record.Path(), listing);
        if (listing.IsArchive) {
            ImportArchive(record, pending.categoryId, parent, listing);
            return;
        }
    }
    if (record.IsFile()) {
        CNullable<int> unitInfoId;
        ThumbnailRecord thumbnail;
        if (pending.media) {
            MediaRecord media = m_pool->Take(pending.media);
            unitInfoId = AddMediaRow(m_db, media);
            thumbnail = std::move(media.thumbnail);
        }
        ImportFile(record, pending.categoryId, unitInfoId, parent, std::move(thumbnail));
        return;
    }
    // A folder's row is written at once, files wait in the batch: the files listed
    // before it in its own folder go first, so that ids follow the order of the listing.
    const int parentUnitId = m_folders[parent].unitId;
    if (m_files && !m_files->IsEmpty() && m_batchedParentUnitId == parentUnitId)
        FlushFiles();
    const int unitId =
        m_db.AddUnit(UnitKind::Folder, record.Data.FileName, QString(), pending.categoryId,
                     m_storageId, parentUnitId, {}, 0, {}, {}, 0, false);
    Folder folder;
    folder.unitId = unitId;
    folder.parent = parent;
    m_folderIndex[record.ID] = static_cast<int>(m_folders.size());
    m_folders.push_back(folder);
    m_folders[parent].folders += 1;
}

void CImporter::ImportFile(const SubunitInfo& record, int categoryId,
                           const CNullable<int>& unitInfoId, int parent, ThumbnailRecord thumbnail)
{
    const FindData& data = record.Data;
    const qint64 created = data.CreationTime == FindData::kNoTime && m_creationFromWrite
                               ? data.LastWriteTime
                               : data.CreationTime;
    const auto size = static_cast<qint64>(data.Size);
    const int parentUnitId = m_folders[parent].unitId;
    // A link's notes say where it points; nothing else has notes from the scan.
    const QString notes = data.Link ? QStringLiteral("-> ") + data.Link->Text : QString();
    if (m_files) {
        if (!thumbnail.IsEmpty())
            m_batchThumbnails.emplace_back(m_files->Rows(), std::move(thumbnail));
        m_files->Add(data.FileName, m_storageId, parentUnitId, size, WallClock(created),
                     WallClock(data.LastWriteTime), categoryId, unitInfoId, notes);
        m_batchedParentUnitId = parentUnitId;
        if (m_files->IsFull())
            FlushFiles();
    } else {
        const int unitId = m_db.AddUnit(
            UnitKind::File, data.FileName, notes, categoryId, m_storageId, parentUnitId, unitInfoId,
            size, LocalTime(created), LocalTime(data.LastWriteTime), 0, false);
        if (!thumbnail.IsEmpty())
            m_thumbnailRows.Add(unitId, thumbnail);
        if (m_thumbnailRows.IsFull())
            m_thumbnailRows.Flush(m_db);
    }
    Folder& own = m_folders[parent];
    own.files += 1;
    own.size += data.Size;
    m_importedSize += data.Size;
    PostProgress();
}

void CImporter::ImportArchive(const SubunitInfo& record, int categoryId, int parent,
                              const ArchiveLister::Listing& listing)
{
    // The archive's row is written on its own, as its id is the parent of its entries;
    // the files gathered before it go first, so that ids follow the listing.
    FlushFiles();
    const FindData& data = record.Data;
    const qint64 created = data.CreationTime == FindData::kNoTime && m_creationFromWrite
                               ? data.LastWriteTime
                               : data.CreationTime;
    const int unitId =
        m_db.AddUnit(UnitKind::File, data.FileName, QString(), categoryId, m_storageId,
                     m_folders[parent].unitId, {}, static_cast<qint64>(data.Size),
                     LocalTime(created), LocalTime(data.LastWriteTime), 0, false);
    if (!m_archiveWriter)
        m_archiveWriter = std::make_unique<CArchiveWriter>(m_categorise, m_fixedCategory);
    m_archiveWriter->Write(m_db, unitId, m_storageId, listing);
    // The archive counts once, at its own size, like any file.
    Folder& own = m_folders[parent];
    own.files += 1;
    own.size += data.Size;
    m_importedSize += data.Size;
    PostProgress();
}

void CImporter::FlushFiles()
{
    if (m_files && !m_files->IsEmpty()) {
        const int rows = m_files->Rows();
        m_files->Flush(m_db);
        // One INSERT gives its rows consecutive ids in the order of its VALUES (each
        // new row takes the next id of the table), the last of them LastInsertId: the
        // triggers' inserts into other tables do not change what it gives afterwards.
        const int firstId = m_db.LastInsertId() - rows + 1;
        for (auto& [row, thumbnail] : m_batchThumbnails) {
            m_thumbnailRows.Add(firstId + row, thumbnail);
            if (m_thumbnailRows.IsFull())
                m_thumbnailRows.Flush(m_db);
        }
        m_batchThumbnails.clear();
    }
    m_thumbnailRows.Flush(m_db);
}

qint64 CImporter::UtcOffsetMsecs(qint64 utcMsecs)
{
    // Asking the time zone is slow and its answer changes at most on the hour, so the
    // offset is kept per hour; files of one folder mostly share their hour.
    const qint64 hour = utcMsecs >= 0 ? utcMsecs / 3600000 : (utcMsecs - 3599999) / 3600000;
    if (m_hasLastHour && hour == m_lastHour)
        return m_lastOffset;
    auto it = m_utcOffsets.find(hour);
    if (it == m_utcOffsets.end()) {
        const int seconds = QDateTime::fromMSecsSinceEpoch(utcMsecs, Qt::LocalTime).offsetFromUtc();
        it = m_utcOffsets.emplace(hour, seconds * 1000LL).first;
    }
    m_hasLastHour = true;
    m_lastHour = hour;
    m_lastOffset = it->second;
    return m_lastOffset;
}

qint64 CImporter::WallClock(qint64 utcMsecs)
{
    if (utcMsecs == FindData::kNoTime)
        return CFileInsertBatch::kNoDate;
    return utcMsecs + UtcOffsetMsecs(utcMsecs);
}

QDateTime CImporter::LocalTime(qint64 utcMsecs)
{
    // The local wall-clock time the catalogue stores.
    if (utcMsecs == FindData::kNoTime)
        return QDateTime();
    return QDateTime::fromMSecsSinceEpoch(utcMsecs + UtcOffsetMsecs(utcMsecs), Qt::UTC);
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
    // Each folder's own entries were counted as they came; a subtree's totals are
    // gathered upwards, children first: a folder always comes after its parent.
    for (size_t i = m_folders.size() - 1; i > 0; --i) {
        const Folder& child = m_folders[i];
        Folder& parent = m_folders[static_cast<size_t>(child.parent)];
        parent.files += child.files;
        parent.folders += child.folders;
        parent.size += child.size;
    }
    try {
        // An empty folder keeps the zeros it was written with.
        for (size_t i = 1; i < m_folders.size(); ++i) {
            const Folder& t = m_folders[i];
            m_db.SetUnitTotals(t.unitId, t.files, t.folders, static_cast<qint64>(t.size), false);
        }
        const Folder& root = m_folders.front();
        m_db.SetUnitTotals(root.unitId, root.files, root.folders, static_cast<qint64>(root.size),
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
