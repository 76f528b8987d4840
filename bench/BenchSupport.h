#pragma once

#include <QString>
#include <QtGlobal>

class CShelfwiseDoc;
struct sqlite3;

// What the benchmarks share: running generator statements straight through SQLite,
// timing the scanner's plain walk and reading the process's peak memory.
namespace BenchSupport {

// Runs sql on db; false (and the error on stderr) when it failed.
bool Exec(sqlite3* db, const char* sql);

// The peak resident size of this process in bytes (Linux's VmHWM; 0 elsewhere), and
// its reset, so that a later reading covers only what ran after it.
qint64 PeakMemory();
void ResetPeakMemory();

// Seconds the scanner takes to walk tree into a queue that nobody reads, the baseline a
// rescan or an addition is measured against; entries, when given, receives the number
// of records it queued.
double WalkSeconds(const QString& tree, bool countSizes, qint64* entries = nullptr);

// Seconds an addition of the folder at path to the storage takes with the real job,
// media details off, waited for in an event loop; -1 when the job refused to start.
double AddFolderSeconds(CShelfwiseDoc& doc, int storage, const QString& path);

} // namespace BenchSupport
