#pragma once

#include "acquisition/ArchiveReadPool.h"
#include "acquisition/ArchiveWriter.h"
#include "acquisition/SubunitInfo.h"
#include "common/WorkOutcome.h"
#include "common/WorkerThread.h"
#include "media/MediaReadPool.h"
#include "sqlitewrapper/FileInsertBatch.h"
#include "sqlitewrapper/ThumbnailInsertBatch.h"

#include <QDateTime>
#include <QtGlobal>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
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
// order once its details are there.
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

    void StartImport(QObject* notify, bool categorise, int fixedCategory, int storageId,
                     int rootUnitId, quint64 totalSize);
    void Cancel() { m_cancel.store(1); }
    // Blocks until the worker has ended (tests and the command line).
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
    struct Pending
    {
        SubunitInfoPtr record;
        int categoryId = 0;
        MediaReadPool::JobPtr media;
        ArchiveReadPool::JobPtr archive;
    };

    WorkOutcome Drain();
    void Admit(SubunitInfoPtr record);
    void ImportRecord(Pending& pending);
    void ImportFile(const SubunitInfo& record, int categoryId, const CNullable<int>& unitInfoId,
                    int parent, ThumbnailRecord thumbnail = {});
    void ImportArchive(const SubunitInfo& record, int categoryId, int parent,
                       const ArchiveLister::Listing& listing);
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
    bool m_categorise = true;
    int m_fixedCategory = 1;
    int m_storageId = 0;
    quint64 m_totalSize = 0;
    quint64 m_importedSize = 0;
    int m_lastPercentage = 0;
    std::atomic<int> m_cancel{0};

    std::vector<Folder> m_folders;
    std::unordered_map<quint32, int> m_folderIndex; // scanned folder ID -> index in m_folders
    quint32 m_lastParentId = 0;                     // the last look-up, kept: files come in runs
    int m_lastParentIndex = 0;
    std::unordered_map<qint64, qint64> m_utcOffsets; // hour since 1970 -> msecs east of UTC
    qint64 m_lastHour = 0;
    qint64 m_lastOffset = 0;
    bool m_hasLastHour = false;

    int m_batchRows = CFileInsertBatch::kDefaultRows;
    bool m_creationFromWrite = false;
    std::unique_ptr<CFileInsertBatch> m_files;
    // The thumbnails of files waiting in m_files, by row index there: their ids are
    // known once the batch is written. Then, and for files written one by one, they
    // wait in m_thumbnailRows.
    std::vector<std::pair<int, ThumbnailRecord>> m_batchThumbnails;
    CThumbnailInsertBatch m_thumbnailRows;
    bool m_thumbnails = true;
    int m_batchedParentUnitId = 0; // the folder of the last file put into m_files
    std::deque<Pending> m_window;

    ReaderFactory m_readerFactory;
    int m_mediaThreads = 0;
    std::unique_ptr<MediaReadPool> m_pool;
    bool m_archives = true;
    std::unique_ptr<ArchiveReadPool> m_archivePool; // made for the first archive met
    std::unique_ptr<CArchiveWriter> m_archiveWriter;
    CWorkerThread m_thread;
};
