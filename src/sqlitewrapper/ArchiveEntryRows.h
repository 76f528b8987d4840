#pragma once

struct sqlite3;

// The table-valued function ArchiveEntryRows(text): the rows of archive entries written
// as text, one line ("\n") each, seven fields separated by tabs:
//
//   UnitID  ParentUnitID  UnitName  UnitType  UnitSize  DateModified  CategoryID
//
// numbers in decimal, UnitType "d" or "f", DateModified as the catalogue writes dates or
// empty for none, and in UnitName a backslash, tab, line feed or NUL written as "\\",
// "\t", "\n" or "\0". An INSERT ... SELECT over it writes thousands of entries with one
// statement whose values are a single string literal: SQLite parses the literal once,
// where a multi-row VALUES list costs it a parse of every row. A line that does not
// read makes the statement fail with SQLITE_CORRUPT_VTAB's message.
namespace ArchiveEntryRows {

/// Makes the function known to the connection (an eponymous virtual table module).
/// Returns SQLite's result code.
int Register(sqlite3* db);

} // namespace ArchiveEntryRows
