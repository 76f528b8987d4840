#pragma once

#include "sqlitewrapper/Nullable.h"

#include <QString>
#include <QtGlobal>

#include <limits>
#include <string>

class CSqliteWrapper;

// The Units rows of scanned files, written as one multi-row INSERT instead of one
// statement per file: the column list and every value text are those of the single-row
// insert of a scanned file (CSqliteWrapper::AddUnit), only the rows are joined, so the
// catalogue holds the same values either way. The statement is built straight in UTF-8;
// a batch is full at a number of rows or a statement size, whichever comes first.
//
// The few rows with notes (symbolic links) gather in a second statement whose column
// list adds UnitNotes, so the rows without any do not carry an empty column; it runs
// after the first. Ids then follow that order, not the order of Add.
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

    int Rows() const { return m_rows + m_notedRows; }
    bool IsEmpty() const { return Rows() == 0; }
    bool IsFull() const
    {
        return Rows() >= m_maxRows || m_sql.size() + m_notedSql.size() >= kMaxStatementBytes;
    }

    // The statement of the rows without notes as it stands (UTF-8).
    const std::string& Text() const { return m_sql; }

    // Runs the statements and empties the batch (also when one fails, which is raised as
    // CSqliteWrapperError). Does nothing when empty.
    void Flush(CSqliteWrapper& db);
    void Clear();

private:
    static void AppendDate(std::string& sql, qint64 wallMsecs);
    static void AppendNumber(std::string& sql, qint64 value);

    int m_maxRows;
    int m_rows = 0;
    int m_notedRows = 0;
    std::string m_sql;
    std::string m_notedSql;
};
