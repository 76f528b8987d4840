#pragma once

#include "sqlitewrapper/ThumbnailRecord.h"

#include <string>

class CSqliteWrapper;

// The Thumbnails rows of an addition, written as one multi-row INSERT: an import makes
// thousands of them, a few kilobytes each. The image goes in as a hex blob literal
// (X'89504E47...'), since every statement of the catalogue is complete text. A batch is
// full at a number of rows or a statement size, whichever comes first.
class CThumbnailInsertBatch final
{
public:
    static constexpr int kMaxRows = 200;
    static constexpr size_t kMaxStatementBytes = 1024 * 1024;

    CThumbnailInsertBatch();

    void Add(int unitId, const ThumbnailRecord& thumbnail);
    int Rows() const { return m_rows; }
    bool IsEmpty() const { return m_rows == 0; }
    bool IsFull() const { return m_rows >= kMaxRows || m_sql.size() >= kMaxStatementBytes; }

    // Runs the statement and empties the batch (also when it fails, which is raised as
    // CSqliteWrapperError). Does nothing when empty; writes nothing to a catalogue
    // without the table (one left at a version before 1.5).
    void Flush(CSqliteWrapper& db);
    void Clear();

private:
    int m_rows = 0;
    std::string m_sql;
};
