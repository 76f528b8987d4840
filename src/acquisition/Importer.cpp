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
// headers is mostly waiting for the disc, and no more than the cores the writer leaves.
constexpr int kArchiveThreads = 2;
// Reads asked for and not taken by the writer yet, at most: room for the readers to
// run well ahead of the writer (while a folder is counted, all the more), and a bound
// on the memory their results take meanwhile. A thumbnail takes a few KB; a listing
// grows with its archive, roughly a tenth of the archive's bytes or less.
constexpr int kMaxReadsAhead = 16384;
constexpr int kMaxArchivesAhead = 256;
constexpr quint64 kMaxArchiveBytesAhead = 128 * 1024 * 1024;

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
      m_archives(Settings::Instance().LookInsideArchives),
      m_readerFactory(&CreateMediaDetailsReader)
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

void CImporter::Reset(bool categorise, int fixedCategory)
{
    m_notify = nullptr;
    m_writing.store(false);
    m_categorise = categorise;
    m_fixedCategory = fixedCategory;
    m_importedSize = 0;
    m_lastPercentage = 0;
    m_cancel.store(0);
    m_folderIndex.clear();
    m_lastParentId = 0;
    m_lastParentIndex = 0;
    m_window.clear();
    m_early.clear();
    m_askedReads = 0;
    m_askedArchives = 0;
    m_readsAhead = 0;
    m_archivesAhead = 0;
    m_archiveBytesAhead = 0;
    m_files = m_batchRows > 1 ? std::make_unique<CFileInsertBatch>(m_batchRows) : nullptr;
    m_archiveWriter.reset();
    m_batchLater.clear();
    m_later.clear();
    m_thumbnailRows.Clear();
}

void CImporter::SetTarget(QObject* notify, int storageId, int rootUnitId, quint64 totalSize)
{
    m_notify = notify;
    m_storageId = storageId;
    m_totalSize = totalSize;
    m_folders.assign(1, Folder());
    m_folders.front().unitId = rootUnitId;
}

void CImporter::ReadAhead(bool categorise, int fixedCategory)
{
    Wait();
    Reset(categorise, fixedCategory);
    m_thread.Start([this] { Run(); });
}

void CImporter::StartImport(QObject* notify, bool categorise, int fixedCategory, int storageId,
                            int rootUnitId, quint64 totalSize)
{
    if (m_thread.IsRunning() && !m_writing.load()) {
        // The worker reading ahead goes on to write.
        std::lock_guard<std::mutex> lock(m_writingMutex);
        SetTarget(notify, storageId, rootUnitId, totalSize);
        m_writing.store(true);
        m_writingAllowed.notify_all();
        return;
    }
    Wait();
    Reset(categorise, fixedCategory);
    SetTarget(notify, storageId, rootUnitId, totalSize);
    m_writing.store(true);
    m_thread.Start([this] { Run(); });
}

void CImporter::Cancel()
{
    std::lock_guard<std::mutex> lock(m_writingMutex);
    m_cancel.store(1);
    m_writingAllowed.notify_all();
}

void CImporter::Wait()
{
    if (m_thread.IsRunning() && !m_writing.load())
        Cancel();
    m_thread.Join();
}

bool CImporter::WaitToWrite()
{
    std::unique_lock<std::mutex> lock(m_writingMutex);
    m_writingAllowed.wait(lock, [this] { return m_writing.load() || m_cancel.load() == 1; });
    return m_cancel.load() == 0;
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
        m_pool = std::make_unique<MediaReadPool>(m_readerFactory, threads);
        // Decoding pictures is work for the cores the writer leaves.
        if (m_thumbnails)
            m_thumbnailPool = std::make_unique<ThumbnailReadPool>(std::max(1, threads - 1));
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
    // The jobs go before their pools.
    m_window.clear();
    m_early.clear();
    m_batchLater.clear();
    m_later.clear();
    m_pool.reset();
    m_thumbnailPool.reset();
    m_archivePool.reset();
    if (m_files)
        m_files->Clear();
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
        if (!m_writing.load()) {
            // Reading ahead: the records are looked at as they come, and left queued.
            queue.LookAtNew(arrived);
            for (const SubunitInfoPtr& record : arrived)
                AskEarly(record);
            arrived.clear();
            // At the end of the walk (or its cancel), wait for the go.
            if (!queue.WaitUnlooked() && !WaitToWrite())
                return WorkOutcome::Cancelled;
            continue;
        }
        if (m_window.size() < kWindow) {
            queue.PopBatch(arrived, kWindow - m_window.size());
            for (SubunitInfoPtr& record : arrived)
                Admit(std::move(record));
            arrived.clear();
            AskReadsAhead();
        }
        if (m_window.empty()) {
            // Write what is gathered before waiting for the scanner: a slow disc's
            // files then reach the catalogue as it goes.
            FlushFiles();
            if (!queue.WaitNext()) {
                if (queue.Outcome() == WorkOutcome::Succeeded) {
                    // The thumbnails and listings still being read.
                    if (!WriteLater(true))
                        return WorkOutcome::Cancelled;
                    m_thumbnailRows.Flush(m_db);
                    return WorkOutcome::Succeeded;
                }
                // The walk was cancelled. The dialog sets both flags together: this
                // lasts only an instant.
                if (m_cancel.load() == 1)
                    return WorkOutcome::Cancelled;
                QThread::yieldCurrentThread();
            }
            continue;
        }
        Pending& front = m_window.front();
        // Next to be written: its reads are asked for whatever the limits say.
        if (m_askedReads == 0) {
            AskReads(front, true);
            m_askedReads = 1;
        }
        if (m_askedArchives == 0) {
            AskArchive(front, true);
            m_askedArchives = 1;
        }
        const MediaReadPool::JobPtr* media = front.reads ? &front.reads->media : nullptr;
        if (media && *media && !m_pool->IsDone(*media)) {
            // While its details are read, take in more records so that the other
            // readers have work; wait only when there is nothing else to do.
            if (m_window.size() < kWindow && queue.Size() > 0)
                continue;
            // Meanwhile what the background readers have done is written: it frees
            // room for reads ahead.
            WriteLater(false);
            m_pool->WaitFor(*media, kMediaPollMs);
            continue;
        }
        ImportRecord(front);
        m_window.pop_front();
        --m_askedReads;
        --m_askedArchives;
    }
}

int CImporter::CategoryOf(const SubunitInfo& record) const
{
    if (!m_categorise)
        return m_fixedCategory;
    return record.IsFile() ? m_db.CategoryForFile(record.Data.FileName) : CategoryIds::General;
}

void CImporter::Admit(SubunitInfoPtr record)
{
    Pending pending;
    pending.categoryId = CategoryOf(*record);
    // What was asked while the folder was counted.
    if (!m_early.empty()) {
        const auto early = m_early.find(record.get());
        if (early != m_early.end()) {
            pending.reads = std::move(early->second);
            m_early.erase(early);
        }
    }
    pending.record = std::move(record);
    m_window.push_back(std::move(pending));
}

void CImporter::AskEarly(const SubunitInfoPtr& record)
{
    if (!record->IsFile())
        return;
    Pending probe;
    probe.record = record;
    probe.categoryId = CategoryOf(*record);
    // Over the limits, a read is asked later, as the file comes into the window.
    AskReads(probe, false);
    AskArchive(probe, false);
    if (probe.reads)
        m_early.emplace(record.get(), std::move(probe.reads));
}

bool CImporter::AskReads(Pending& pending, bool evenOverLimits)
{
    const SubunitInfo& record = *pending.record;
    // A link is catalogued as itself: its target's details are not its own.
    if (!m_pool || !record.IsFile() || record.Data.IsLink() || !HasMediaTable(pending.categoryId) ||
        (pending.reads && pending.reads->media))
        return true;
    if (!evenOverLimits && m_readsAhead >= kMaxReadsAhead)
        return false;
    if (!pending.reads)
        pending.reads = std::make_unique<Reads>();
    pending.reads->media = m_pool->Submit(record.Path(), pending.categoryId);
    ++m_readsAhead;
    if (m_thumbnailPool && pending.categoryId == CategoryIds::Picture) {
        // The largest pictures first: they take longest.
        pending.reads->thumbnail =
            m_thumbnailPool->Submit(record.Path(), static_cast<qint64>(record.Data.Size));
        ++m_readsAhead;
    }
    return true;
}

bool CImporter::AskArchive(Pending& pending, bool evenOverLimits)
{
    const SubunitInfo& record = *pending.record;
    if (!m_archives || !record.IsFile() || record.Data.IsLink() ||
        (pending.reads && pending.reads->archive) ||
        !ArchiveLister::HasArchiveName(record.Data.FileName))
        return true;
    if (!evenOverLimits && (m_archivesAhead >= kMaxArchivesAhead ||
                            m_archiveBytesAhead + record.Data.Size > kMaxArchiveBytesAhead))
        return false;
    if (!m_archivePool)
        m_archivePool = std::make_unique<ArchiveReadPool>(
            std::clamp(QThread::idealThreadCount() - 1, 1, kArchiveThreads), true);
    if (!pending.reads)
        pending.reads = std::make_unique<Reads>();
    pending.reads->archive =
        m_archivePool->Submit(record.Path(), static_cast<qint64>(record.Data.Size));
    ++m_archivesAhead;
    m_archiveBytesAhead += record.Data.Size;
    return true;
}

void CImporter::AskReadsAhead()
{
    // Each kind as far as its own limit allows: archives held up do not hold up pictures.
    while (m_askedReads < m_window.size() && AskReads(m_window[m_askedReads], false))
        ++m_askedReads;
    while (m_askedArchives < m_window.size() && AskArchive(m_window[m_askedArchives], false))
        ++m_askedArchives;
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
    if (record.IsFile()) {
        CNullable<int> unitInfoId;
        Later later;
        if (pending.reads) {
            if (pending.reads->media) {
                unitInfoId = AddMediaRow(m_db, m_pool->Take(pending.reads->media));
                --m_readsAhead;
            }
            later.thumbnail = std::move(pending.reads->thumbnail);
            later.archive = std::move(pending.reads->archive);
        }
        if (later.archive) {
            later.path = record.Path();
            later.archiveBytes = record.Data.Size;
        }
        ImportFile(record, pending.categoryId, unitInfoId, parent, std::move(later));
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
                           const CNullable<int>& unitInfoId, int parent, Later later)
{
    const FindData& data = record.Data;
    const qint64 created = data.CreationTime == FindData::kNoTime && m_creationFromWrite
                               ? data.LastWriteTime
                               : data.CreationTime;
    const auto size = static_cast<qint64>(data.Size);
    const int parentUnitId = m_folders[parent].unitId;
    // A link's notes say where it points; nothing else has notes from the scan.
    const QString notes = data.Link ? QStringLiteral("-> ") + data.Link->Text : QString();
    const bool readsLater = later.thumbnail || later.archive;
    if (m_files) {
        if (readsLater) {
            later.row = m_files->Rows();
            m_batchLater.push_back(std::move(later));
        }
        m_files->Add(data.FileName, m_storageId, parentUnitId, size, WallClock(created),
                     WallClock(data.LastWriteTime), categoryId, unitInfoId, notes);
        m_batchedParentUnitId = parentUnitId;
        if (m_files->IsFull())
            FlushFiles();
    } else {
        const int unitId = m_db.AddUnit(
            UnitKind::File, data.FileName, notes, categoryId, m_storageId, parentUnitId, unitInfoId,
            size, LocalTime(created), LocalTime(data.LastWriteTime), 0, false);
        if (readsLater) {
            later.unitId = unitId;
            m_later.push_back(std::move(later));
        }
    }
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
        for (Later& later : m_batchLater) {
            later.unitId = firstId + later.row;
            m_later.push_back(std::move(later));
        }
        m_batchLater.clear();
    }
    WriteLater(false);
    m_thumbnailRows.Flush(m_db);
}

bool CImporter::IsRead(const Later& later) const
{
    return (!later.thumbnail || m_thumbnailPool->IsDone(later.thumbnail)) &&
           (!later.archive || m_archivePool->IsDone(later.archive));
}

bool CImporter::WriteLater(bool wait)
{
    for (;;) {
        // The readers take the largest files first: what is read lies anywhere in the
        // list.
        for (Later& later : m_later) {
            if (!later.written && IsRead(later)) {
                WriteRead(later);
                later.written = true;
            }
        }
        while (!m_later.empty() && m_later.front().written)
            m_later.pop_front();
        if (m_later.empty() || !wait)
            break;
        if (m_cancel.load(std::memory_order_relaxed) == 1)
            return false;
        const Later& first = m_later.front();
        // Either may have been read since it was looked at.
        if (first.thumbnail && !m_thumbnailPool->IsDone(first.thumbnail))
            m_thumbnailPool->WaitFor(first.thumbnail, kMediaPollMs);
        else if (first.archive)
            m_archivePool->WaitFor(first.archive, kMediaPollMs);
    }
    AskReadsAhead();
    return true;
}

void CImporter::WriteRead(Later& later)
{
    if (later.thumbnail) {
        const ThumbnailRecord thumbnail = m_thumbnailPool->Take(later.thumbnail);
        --m_readsAhead;
        if (!thumbnail.IsEmpty()) {
            m_thumbnailRows.Add(later.unitId, thumbnail);
            if (m_thumbnailRows.IsFull())
                m_thumbnailRows.Flush(m_db);
        }
    }
    if (later.archive) {
        const ArchiveLister::Listing listing = m_archivePool->Take(later.archive);
        --m_archivesAhead;
        m_archiveBytesAhead -= later.archiveBytes;
        CArchiveWriter::ReportErrors(later.path, listing);
        if (listing.IsArchive) {
            if (!m_archiveWriter)
                m_archiveWriter = std::make_unique<CArchiveWriter>(m_categorise, m_fixedCategory);
            // The archive's own row counts once, at its own size, like any file.
            m_archiveWriter->Write(m_db, later.unitId, m_storageId, listing);
        }
    }
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
