#pragma once

#include "sqlitewrapper/Nullable.h"

#include <QString>
#include <QtGlobal>

#include <limits>
#include <string>
#include <vector>

class CSqliteWrapper;

// The Units rows of scanned files, written as one multi-row INSERT instead of one
// statement per file: the column list and every value text are those of the single-row
// insert of a scanned file (CSqliteWrapper::AddUnit), only the rows are joined, so the
// catalogue holds the same values either way. The statement is built straight in UTF-8;
// a batch is full at a number of rows or a statement size, whichever comes first.
//
// Rows without notes leave the UnitNotes column out. The first row with notes (a
// symbolic link) brings the column into the statement, and the rows already in it get
// NULL there; so the few batches with links pay for the column, and the ids still
// follow the order of Add, which is the order the list shows by default.
class CFileInsertBatch final
{
public:
    // A date the file system does not have (written as an invalid QDateTime would be).
    static constexpr qint64 kNoDate = std::numeric_limits<qint64>::min();
    static constexpr int kDefaultRows = 250;
    static constexpr size_t kMaxStatementBytes = 256 * 1024;

    explicit CFileInsertBatch(int maxRows = kDefaultRows);

    // Dates are wall-clock readings (local time) in milliseconds since 1970-01-01 00:00
    // of that clock, or kNoDate (written as NULL). Empty notes leave UnitNotes NULL.
    void Add(const QString& name, int storageId, int parentId, qint64 size, qint64 createdWallMsecs,
             qint64 modifiedWallMsecs, int categoryId, const CNullable<int>& unitInfoId,
             const QString& notes = QString());

    int Rows() const { return static_cast<int>(m_rowEnds.size()); }
    bool IsEmpty() const { return m_rowEnds.empty(); }
    bool IsFull() const { return Rows() >= m_maxRows || m_sql.size() >= kMaxStatementBytes; }

    // The statement as it stands (UTF-8).
    const std::string& Text() const { return m_sql; }

    // Runs the statement and empties the batch (also when it fails, which is raised as
    // CSqliteWrapperError). Does nothing when empty.
    void Flush(CSqliteWrapper& db);
    void Clear();

private:
    static void AppendDate(std::string& sql, qint64 wallMsecs);
    static void AppendNumber(std::string& sql, qint64 value);
    // Puts the UnitNotes column into the statement, NULL in every row so far.
    void AddNotesColumn();

    int m_maxRows;
    bool m_withNotes = false;
    std::vector<size_t> m_rowEnds; // where each row's closing parenthesis stands
    std::string m_sql;
};
