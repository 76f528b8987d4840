#pragma once

#include "acquisition/ChangeList.h"
#include "acquisition/ScannedTree.h"
#include "acquisition/TreeComparer.h"
#include "common/WorkOutcome.h"
#include "common/WorkerThread.h"

#include <QString>
#include <QtGlobal>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <vector>

class CSqliteWrapper;
class FolderLister;
class QObject;
class SubunitsSearcher;

// Walks the source of a catalogued disc, folder or file again and compares it with what
// the catalogue holds, writing nothing: the comparison core of updating a unit. The
// catalogued subtree is read in one query on the calling thread while the walk runs;
// the walk (the scanner and lister an addition uses, into a sink of this rescan's own,
// folder errors kept there rather than in ErrorLog) and the comparison run on a worker
// thread. Any number of rescans may run side by side.
//
// The unit lies directly in a storage. A disc or folder is compared with a folder, a
// mounted disc's root or a disc image (read from inside, as ListerFor chooses); a file
// added on its own with a file.
class CRescan final
{
public:
    explicit CRescan(CSqliteWrapper& db);
    /// Cancels a rescan still running and waits for it.
    ~CRescan();
    Q_DISABLE_COPY_MOVE(CRescan)

    /// Folders are listed through this lister rather than the one ListerFor picks (null:
    /// ListerFor's again); it must outlive the rescan. Tests put a fake tree there.
    void SetFolderLister(FolderLister* lister) { m_folderLister = lister; }

    /// Reads the unit's catalogued subtree and starts the walk of sourcePath; returns at
    /// once. notify (may be null) gets one WorkerEvent Finished with the outcome at the
    /// end. False, with nothing started and Error() set, when the unit is not at the top
    /// of a storage or the source cannot be listed at all (an image the listers cannot
    /// read). Catalogue errors are raised (CSqliteWrapperError). A rescan still running
    /// is waited for first.
    bool Start(int unitId, const QString& sourcePath, QObject* notify);
    /// Asks the rescan to stop; it then ends Cancelled with no result. Any thread.
    void Cancel();
    /// Blocks until the rescan has ended. Call it on the thread that called Start().
    void Wait();
    bool IsRunning() const { return m_thread.IsRunning(); }

    /// Start and Wait in one: the changes, or nothing when it could not start.
    std::optional<CChangeList> Run(int unitId, const QString& sourcePath);

    /// After the end: how it ended and, when it succeeded, the changes.
    WorkOutcome Outcome() const { return m_outcome; }
    const std::optional<CChangeList>& Result() const { return m_result; }
    /// Why Start refused, for the user.
    const QString& Error() const { return m_error; }

private:
    void Work(QObject* notify);
    // A file added on its own, against the file at the source path.
    CChangeList CompareFile();

    CSqliteWrapper& m_db;
    // Filled by Start on the calling thread while the walk runs; the worker compares
    // once the promise has been kept.
    std::vector<TreeComparer::Catalogued> m_catalogued;
    std::promise<void> m_catalogueRead;
    bool m_isFile = false;
    QString m_unitName;
    QString m_source;
    FolderLister* m_folderLister = nullptr;
    std::unique_ptr<FolderLister> m_ownLister; // before the searcher, which lists through it
    FolderLister* m_lister = nullptr;
    std::unique_ptr<ScannedTree> m_tree;
    std::unique_ptr<SubunitsSearcher> m_searcher;
    std::atomic<int> m_cancel{0};
    WorkOutcome m_outcome = WorkOutcome::Failed;
    std::optional<CChangeList> m_result;
    QString m_error;
    CWorkerThread m_thread;
};
