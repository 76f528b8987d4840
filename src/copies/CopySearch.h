#pragma once

#include "common/WorkOutcome.h"
#include "common/WorkerThread.h"
#include "sqlitewrapper/FileCopyRecords.h"

#include <QString>
#include <QtGlobal>

#include <atomic>
#include <vector>

class CSqliteWrapper;
class QObject;

// Files catalogued more than once, and the files of a disc or folder catalogued nowhere
// else, found on a worker thread that posts WorkerEvent Progress (0 to 100) and one
// Finished. Two files are copies when FileKey says so.
//
// Both read every file of the catalogue once, in table order, keeping only a 64-bit
// hash and an id per file; only the files whose hashes meet are read again whole. The
// catalogue is read on the worker: the caller keeps off it until the end.
class CCopySearch final
{
public:
    struct Options
    {
        // Copies must also have the same modification time.
        bool WithDate = false;
        // Files smaller than this are left out.
        qint64 MinSize = 0;
    };

    // Copies of one file, by UnitID.
    struct Group
    {
        qint64 Size = 0;
        std::vector<CatalogueFile> Copies;
        // The bytes the copies take beyond the first.
        qint64 SpareBytes() const;
    };

    explicit CCopySearch(CSqliteWrapper& db);
    /// Cancels a search still running and waits for it.
    ~CCopySearch();
    Q_DISABLE_COPY_MOVE(CCopySearch)

    /// Starts looking for every group of copies; returns at once. notify (may be null)
    /// gets the worker's events. A search still running is waited for first.
    void StartDuplicates(const Options& options, QObject* notify);
    /// Starts looking for the files below unitId that have no copy outside it. False,
    /// with nothing started and Error() set, when the unit is not a disc or folder.
    bool StartUnique(int unitId, QObject* notify);
    /// Asks the search to stop; it then ends Cancelled with no result. Any thread.
    void Cancel();
    /// Blocks until the search has ended. Call it on the thread that started it.
    void Wait();
    bool IsRunning() const { return m_thread.IsRunning(); }

    /// After the end: how it ended and, when it succeeded, its result. Groups come
    /// largest SpareBytes first; unique files largest first.
    WorkOutcome Outcome() const { return m_outcome; }
    const std::vector<Group>& Groups() const { return m_groups; }
    const std::vector<CatalogueFile>& UniqueFiles() const { return m_unique; }
    /// Why StartUnique refused, or why the search failed, for the user.
    const QString& Error() const { return m_error; }

private:
    void Reset();
    void Run(bool duplicates, QObject* notify);
    // Each returns false when cancelled.
    bool FindDuplicates(QObject* notify);
    bool FindUnique(QObject* notify);
    // Turns rows whose hashes meet into groups of real copies.
    void GroupCopies(std::vector<CatalogueFile>& rows);
    // Posts the percentage when it has changed.
    void Progress(QObject* notify, int percent);

    CSqliteWrapper& m_db;
    Options m_options;
    int m_unitId = 0;
    int m_lastPercent = -1;
    std::atomic<int> m_cancel{0};
    WorkOutcome m_outcome = WorkOutcome::Failed;
    std::vector<Group> m_groups;
    std::vector<CatalogueFile> m_unique;
    QString m_error;
    CWorkerThread m_thread;
};
