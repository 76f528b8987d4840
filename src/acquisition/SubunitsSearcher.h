#pragma once

#include "acquisition/SubunitInfo.h"
#include "common/WorkerThread.h"
#include "listers/FolderLister.h"

#include <QString>
#include <QtGlobal>

#include <atomic>
#include <deque>
#include <memory>
#include <set>
#include <utility>
#include <vector>

class QObject;
class SubunitSink;

// Walks a folder tree (a disc's root or a chosen folder) breadth-first on a worker
// thread and hands every file and folder below the root to its sink as a SubunitInfo
// record, in small batches as it reads them. Each walk numbers its records from 1, so
// the records of two walks never mix, whatever else runs. Folders that cannot be listed
// go to ErrorLog's file-system error list, or to the sink alone when the walk keeps its
// folder errors there (a rescan, which may run beside an addition). Symbolic links
// inside the tree are records of their own and never entered; a folder reached twice
// all the same (a bind mount of an ancestor) is entered once, so the walk always ends.
//
// Events posted to the notify object (WorkerEvent):
// - Finished with Cancelled (1025/2) when the walk stopped on Cancel(); the sink has
//   been told first (SetCancelled);
// - Walked (1027) in size-counting mode when the whole tree has been walked; the
//   sink has been told first (SetFinished) and TotalSize() is final.
// A concurrent walk (size counting off) posts nothing when it completes: the importer
// sees the queue's finished flag and posts the end of the whole operation.
class SubunitsSearcher final
{
public:
    /// Hands the records to sink and lists folders through lister; both must outlive
    /// the searcher. Without a lister, the platform's own.
    explicit SubunitsSearcher(SubunitSink& sink, FolderLister* lister = nullptr);
    /// Stops a walk still running (without posting) and waits for it.
    ~SubunitsSearcher();
    Q_DISABLE_COPY_MOVE(SubunitsSearcher)

    /// From the next Start on, folders that cannot be listed go to the sink
    /// (SubunitSink::AddUnreadableFolder) and ErrorLog is neither cleared nor told.
    void KeepFolderErrorsInSink(bool keep) { m_errorsToSink = keep; }

    /// Clears the file-system error list (unless the errors are kept in the sink) and
    /// starts walking rootPath on a new thread,
    /// numbering the records from 1 again; returns at once. The sink is not emptied: its
    /// owner gives each walk an empty one. notify receives the events (may be null). A
    /// walk still running is waited for first.
    void Start(const QString& rootPath, QObject* notify, bool countSizes);
    /// Asks the walk to stop; it does so before the next entry. Any thread.
    void Cancel();
    /// Blocks until the walk has ended. Call it on the thread that called Start().
    void Wait();
    bool IsRunning() const { return m_thread.IsRunning(); }
    /// The sum of the sizes of all files seen (size-counting mode only).
    quint64 TotalSize() const { return m_totalSize.load(); }

private:
    struct PendingFolder
    {
        std::shared_ptr<const QString> Path;
        quint32 ID = 0;
    };

    void Run();
    // False when a cancel request stopped the listing.
    bool ListFolder(const PendingFolder& folder);
    bool CancelRequested() const { return m_cancel.load() == 1; }
    void EndCancelled();

    SubunitSink& m_sink;
    std::unique_ptr<FolderLister> m_ownLister;
    FolderLister* m_lister;
    CWorkerThread m_thread;
    std::atomic<QObject*> m_notify{nullptr};
    bool m_countSizes = false;
    bool m_errorsToSink = false;
    std::atomic<quint64> m_totalSize{0};
    std::atomic<int> m_cancel{0};

    // Worker-thread state.
    std::deque<PendingFolder> m_pending;
    std::set<std::pair<quint64, quint64>> m_entered; // (device, inode) of listed folders
    std::vector<SubunitInfo> m_batch;                // records not handed over yet
    quint32 m_lastId = 0;                            // the ID of the last record made
};
