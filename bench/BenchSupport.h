#pragma once

#include <QtGlobal>

struct sqlite3;

// What the benchmarks share: running generator statements straight through SQLite and
// reading the process's peak memory.
namespace BenchSupport {

// Runs sql on db; false (and the error on stderr) when it failed.
bool Exec(sqlite3* db, const char* sql);

// The peak resident size of this process in bytes (Linux's VmHWM; 0 elsewhere), and
// its reset, so that a later reading covers only what ran after it.
qint64 PeakMemory();
void ResetPeakMemory();

} // namespace BenchSupport
