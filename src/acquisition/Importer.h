#pragma once

#include "acquisition/ArchiveReadPool.h"
#include "acquisition/ArchiveWriter.h"
#include "acquisition/SubunitInfo.h"
#include "acquisition/ThumbnailReadPool.h"
#include "common/WorkOutcome.h"
#include "common/WorkerThread.h"
#include "media/MediaReadPool.h"
#include "sqlitewrapper/FileInsertBatch.h"
#include "sqlitewrapper/ThumbnailInsertBatch.h"

#include <QDateTime>
#include <QtGlobal>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

class CSqliteWrapper;
class MediaDetailsReader;
class QObject;
class SubunitQueue;

// Writes the records of the queue it is given into the catalogue on a worker thread:
// one Units row per record under its parent, a media row for film, music and picture
// files, the per-folder counters kept in memory and written once at the end. Posts progress
// percentages that only rise and one end event (success, failure or cancel). The
// caller owns the transaction around it. A symbolic link is a file of size 0 whose notes
// read "-> " and its target; no media details are read through it.
//
// Folders are inserted one by one, as their new ids are the parents of what follows.
// Files are gathered into multi-row inserts (CFileInsertBatch), so a folder's files
// may get higher ids than its subfolders. Media details are read by a MediaReadPool
// running ahead of the writing: records are taken from the queue into a window of
// some thousands, their reads are started on arrival, and each record is written in
// order once its details are there. A picture's thumbnail and an archive's listing
// are read on background pools of their own and written when they come, after their
// file's row: a slow one never holds up the rows behind it, and an archive's entries
// may get higher ids than the files that follow it.
class CImporter final
{
public:
    using ReaderFactory = MediaReadPool::ReaderFactory;

    // Reads the records from queue, which must outlive the importer.
    CImporter(CSqliteWrapper& db, SubunitQueue& queue);
    ~CImporter();
    CImporter(const CImporter&) = delete;
    CImporter& operator=(const CImporter&) = delete;

    // What makes the readers of film, music and picture details, one per reading
    // thread; by default the library-backed reader. Null reads no details.
    void SetMediaReaderFactory(ReaderFactory factory);
    void DisableMediaDetails() { SetMediaReaderFactory(nullptr); }
    // Reading threads; MediaReadPool::DefaultThreads() unless set.
    void SetMediaThreads(int threads) { m_mediaThreads = threads; }
    // Rows per file insert; 1 writes every file with its own single-row statement.
    void SetFileBatchRows(int rows) { m_batchRows = rows; }
    // Whether a file without a creation time takes its last-write time as one. On for a
    // disc, whose recording date is what Windows shows as a CD's creation date; off for
    // a folder, whose files then keep no creation date rather than a made-up one.
    void SetCreationFromWrite(bool on) { m_creationFromWrite = on; }
    // Whether pictures get a thumbnail, made by the reading threads beside their details
    // (Settings::KeepThumbnails unless set). Off, no picture is decoded.
    void SetThumbnails(bool on) { m_thumbnails = on; }

    // Whether archives (and disc images lying among the files) are opened and their
    // entries catalogued below them (Settings::LookInsideArchives unless set). Only
    // files with an archive's extension are tried, on threads of their own.
    void SetLookInsideArchives(bool on) { m_archives = on; }

    // Starts the worker before the records have a place in the catalogue: while the
    // scanner walks a folder to count it, the records are looked at as they come (and
    // left queued) and the reading of their details, thumbnails and listings starts,
    // as far as the limits on reads ahead allow; nothing is written until StartImport.
    // A worker stopped (Cancel, Wait) before that writes nothing and posts nothing.
    void ReadAhead(bool categorise, int fixedCategory);
    // Writes the records below rootUnitId: on the worker reading ahead, or on a new one.
    void StartImport(QObject* notify, bool categorise, int fixedCategory, int storageId,
                     int rootUnitId, quint64 totalSize);
    void Cancel();
    bool IsReadingAhead() const { return m_thread.IsRunning() && !m_writing.load(); }
    // Blocks until the worker has ended (tests and the command line); a worker still
    // reading ahead is stopped first.
    void Wait();
    bool IsRunning() const;

    // The import itself, on the calling thread: returns the outcome it posts.
    WorkOutcome Run();

private:
    // One scanned folder (or the root, at index 0) and its counters: first of its own
    // entries, and after the import of the whole subtree.
    struct Folder
    {
        int unitId = 0;
        int parent = -1; // index in m_folders
        int files = 0;
        int folders = 0;
        quint64 size = 0;
    };
    // A record taken from the queue and not written yet.
    // The reads asked for a file, apart: most records have none, and a folder's whole
    // count may wait in the window.
    struct Reads
    {
        MediaReadPool::JobPtr media;
        ThumbnailReadPool::JobPtr thumbnail;
        ArchiveReadPool::JobPtr archive;
    };
    struct Pending
    {
        SubunitInfoPtr record;
        int categoryId = 0;
        std::unique_ptr<Reads> reads; // made for the first read asked
    };
    // A file whose thumbnail or archive listing was asked for, written when it is read.
    struct Later
    {
        int unitId = 0; // 0 while the file waits in m_files, at index row
        int row = 0;
        ThumbnailReadPool::JobPtr thumbnail;
        ArchiveReadPool::JobPtr archive;
        QString path; // where an archive's errors are reported
        quint64 archiveBytes = 0;
        bool written = false;
    };

    void Reset(bool categorise, int fixedCategory);
    void SetTarget(QObject* notify, int storageId, int rootUnitId, quint64 totalSize);
    bool WaitToWrite();
    WorkOutcome Drain();
    int CategoryOf(const SubunitInfo& record) const;
    void Admit(SubunitInfoPtr record);
    void AskEarly(const SubunitInfoPtr& record);
    bool AskReads(Pending& pending, bool evenOverLimits);
    bool AskArchive(Pending& pending, bool evenOverLimits);
    void AskReadsAhead();
    void ImportRecord(Pending& pending);
    void ImportFile(const SubunitInfo& record, int categoryId, const CNullable<int>& unitInfoId,
                    int parent, Later later);
    bool IsRead(const Later& later) const;
    bool WriteLater(bool wait);
    void WriteRead(Later& later);
    int ParentIndex(quint32 scannedParentId);
    void FlushFiles();
    void WriteTotals();
    void PostProgress();
    qint64 UtcOffsetMsecs(qint64 utcMsecs);
    qint64 WallClock(qint64 utcMsecs);
    QDateTime LocalTime(qint64 utcMsecs);

    CSqliteWrapper& m_db;
    SubunitQueue& m_queue;
    QObject* m_notify = nullptr;
    quint64 m_totalSize = 0;
    quint64 m_importedSize = 0;
    int m_fixedCategory = 1;
    int m_storageId = 0;
    int m_lastPercentage = 0;
    std::atomic<int> m_cancel{0};
    // Set, with the target above, by StartImport; until then the worker reads ahead.
    std::atomic<bool> m_writing{false};
    bool m_categorise = true;
    bool m_hasLastHour = false;
    bool m_creationFromWrite = false;
    bool m_thumbnails = true;
    bool m_archives = true;
    std::mutex m_writingMutex;
    std::condition_variable m_writingAllowed;

    std::vector<Folder> m_folders;
    std::unordered_map<quint32, int> m_folderIndex; // scanned folder ID -> index in m_folders
    quint32 m_lastParentId = 0;                     // the last look-up, kept: files come in runs
    int m_lastParentIndex = 0;
    std::unordered_map<qint64, qint64> m_utcOffsets; // hour since 1970 -> msecs east of UTC
    qint64 m_lastHour = 0;
    qint64 m_lastOffset = 0;

    int m_batchRows = CFileInsertBatch::kDefaultRows;
    int m_batchedParentUnitId = 0; // the folder of the last file put into m_files
    std::unique_ptr<CFileInsertBatch> m_files;
    // The thumbnails and listings asked for files waiting in m_files: their ids are
    // known once the batch is written. Then, and for files written one by one, they
    // wait in m_later until they are read; thumbnails then gather in m_thumbnailRows.
    std::vector<Later> m_batchLater;
    std::deque<Later> m_later;
    CThumbnailInsertBatch m_thumbnailRows;
    std::deque<Pending> m_window;
    // The reads asked while the folder was counted, by record, until it is admitted.
    std::unordered_map<const SubunitInfo*, std::unique_ptr<Reads>> m_early;
    // Records at the window's front whose details and thumbnails, and whose listings,
    // were asked for.
    size_t m_askedReads = 0;
    size_t m_askedArchives = 0;
    int m_readsAhead = 0;    // details and thumbnails asked for and not taken
    int m_archivesAhead = 0; // listings asked for and not taken, and their archives' bytes
    quint64 m_archiveBytesAhead = 0;

    ReaderFactory m_readerFactory;
    int m_mediaThreads = 0;
    std::unique_ptr<MediaReadPool> m_pool;
    std::unique_ptr<ThumbnailReadPool> m_thumbnailPool;
    std::unique_ptr<ArchiveReadPool> m_archivePool; // made for the first archive met
    std::unique_ptr<CArchiveWriter> m_archiveWriter;
    CWorkerThread m_thread;
};
