#pragma once

#include "acquisition/SubunitInfo.h"

#include <QString>
#include <QtGlobal>

#include <vector>

// Where a walk of a folder tree (SubunitsSearcher) puts what it finds: the records in
// batches, in the order it found them, then one mark of how the walk ended. The walk
// calls it from its worker thread, so an implementation that another thread reads at
// the same time (SubunitQueue) does its own locking.
//
// Each walk writes to a sink of its own: two walks (an addition and a rescan that only
// compares) never see each other's records.
class SubunitSink
{
public:
    virtual ~SubunitSink() = default;

    /// Takes the records, in order, and empties records (its capacity may be kept for
    /// the next batch). An empty batch is nothing.
    virtual void PushBatch(std::vector<SubunitInfo>& records) = 0;
    /// The walk has handed over every record of the tree.
    virtual void SetFinished() = 0;
    /// The walk stopped on a cancel request; what it handed over before stays.
    virtual void SetCancelled() = 0;
    /// The folder at path (the record folderId, 0 for the root) could not be listed, or
    /// not to its end; error is the system's code. Called only by a walk told to keep its
    /// folder errors in its sink (SubunitsSearcher::KeepFolderErrorsInSink); the others
    /// report them to ErrorLog.
    virtual void AddUnreadableFolder(quint32 folderId, const QString& path, int error)
    {
        Q_UNUSED(folderId)
        Q_UNUSED(path)
        Q_UNUSED(error)
    }

protected:
    SubunitSink() = default;
    SubunitSink(const SubunitSink&) = default;
    SubunitSink& operator=(const SubunitSink&) = default;
    SubunitSink(SubunitSink&&) = default;
    SubunitSink& operator=(SubunitSink&&) = default;
};
