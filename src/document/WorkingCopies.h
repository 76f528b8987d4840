#pragma once

#include <QString>
#include <QtGlobal>

// The working copies in the settings folder that no running program uses any more.
//
// Every run works on a copy of its catalogue there and deletes it at its end; a run
// that was killed leaves its copy (and journal) behind. The command line names its
// copies "<seconds>-<process id>.db3", so a copy whose process is gone is stale. The
// window's copies are "<seconds>.db3": only one window runs at a time (the
// single-instance lock), so the window that holds the lock may remove them all.
// Copies kept after a failed save ("Unsaved changes to ...") are never touched.
namespace WorkingCopies {

/// Removes the stale copies (with their journals) from folder: the command line's
/// whose process has ended, and, with windowCopies, every copy a window made. Returns
/// how many files were removed.
int RemoveStale(const QString& folder, bool windowCopies);

/// True while a process with this id runs.
bool ProcessRuns(qint64 pid);

} // namespace WorkingCopies
