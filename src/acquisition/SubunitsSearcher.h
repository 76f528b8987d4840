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

// Walks a folder tree (a disc's root or a chosen folder) breadth-first on a worker
// thread and hands every file and folder below the root to SubunitQueue::Instance() as
// a SubunitInfo record, in small batches as it reads them. Folders that cannot be listed go to
// ErrorLog's file-system error list. Symbolic links inside the tree are records of their
// own and never entered; a folder reached twice all the same (a bind mount of an
// ancestor) is entered once, so the walk always ends.
//
// Events posted to the notify object (WorkerEvent):
// - Finished with Cancelled (1025/2) when the walk stopped on Cancel(); the queue's
//   cancelled flag is set first;
// - Walked (1027) in size-counting mode when the whole tree has been walked; the
//   queue's finished flag is set first and TotalSize() is final.
// A concurrent walk (size counting off) posts nothing when it completes: the importer
// sees the queue's finished flag and posts the end of the whole operation.
class SubunitsSearcher final
{
public:
    /// Lists folders through lister, which must outlive the searcher; without one, the
    /// platform's own.
    explicit SubunitsSearcher(FolderLister* lister = nullptr);
    /// Stops a walk still running (without posting) and waits for it.
    ~SubunitsSearcher();
    Q_DISABLE_COPY_MOVE(SubunitsSearcher)

    /// Clears the queue and the file-system error list and starts walking rootPath on a
    /// new thread; returns at once. notify receives the events (may be null). A walk
    /// still running is waited for first.
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

    std::unique_ptr<FolderLister> m_ownLister;
    FolderLister* m_lister;
    CWorkerThread m_thread;
    std::atomic<QObject*> m_notify{nullptr};
    bool m_countSizes = false;
    std::atomic<quint64> m_totalSize{0};
    std::atomic<int> m_cancel{0};

    // Worker-thread state.
    std::deque<PendingFolder> m_pending;
    std::set<std::pair<quint64, quint64>> m_entered; // (device, inode) of listed folders
    std::vector<SubunitInfo> m_batch;                // records not handed over yet
};
