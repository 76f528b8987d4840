#include "sqlitewrapper/FileInsertBatch.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <QDateTime>

#include <algorithm>
#include <charconv>

namespace {

// The single-row file insert up to its values, with the same column list; the second
// one also names the notes, which then come last in each row.
constexpr char kInsertHead[] = "INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, "
                               "UnitSize, DateCreated, DateModified, CategoryID, UnitInfoID)VALUES";
constexpr char kNotedInsertHead[] =
    "INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, UnitSize, DateCreated, "
    "DateModified, CategoryID, UnitInfoID, UnitNotes)VALUES";

} // namespace

CFileInsertBatch::CFileInsertBatch(int maxRows) : m_maxRows(std::max(1, maxRows))
{
    m_sql.reserve(kMaxStatementBytes + 4096);
    m_sql = kInsertHead;
    m_notedSql = kNotedInsertHead;
}

void CFileInsertBatch::AppendNumber(std::string& sql, qint64 value)
{
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    sql.append(digits, static_cast<size_t>(end - digits));
}

void CFileInsertBatch::AppendDate(std::string& sql, qint64 wallMsecs)
{
    if (wallMsecs == kNoDate) {
        sql += "NULL";
        return;
    }
    if (SqlText::AppendDateLiteral(sql, wallMsecs))
        return;
    // Outside the years the fast path writes: the text the single-row insert gives for
    // the same reading.
    sql += SqlText::FormatSqlDate(QDateTime::fromMSecsSinceEpoch(wallMsecs, Qt::UTC)).toStdString();
}

void CFileInsertBatch::Add(const QString& name, int storageId, int parentId, qint64 size,
                           qint64 createdWallMsecs, qint64 modifiedWallMsecs, int categoryId,
                           const CNullable<int>& unitInfoId, const QString& notes)
{
    // "(%s, '%c', %d, %d, %I64d, %s, %s, %d, %s)", and the notes last when there are any
    const bool noted = !notes.isEmpty();
    std::string& sql = noted ? m_notedSql : m_sql;
    if ((noted ? m_notedRows : m_rows) > 0)
        sql += ", ";
    sql += '(';
    SqlText::AppendQuotedUtf8(sql, name);
    sql += ", 'F', ";
    AppendNumber(sql, storageId);
    sql += ", ";
    AppendNumber(sql, parentId);
    sql += ", ";
    AppendNumber(sql, size);
    sql += ", ";
    AppendDate(sql, createdWallMsecs);
    sql += ", ";
    AppendDate(sql, modifiedWallMsecs);
    sql += ", ";
    AppendNumber(sql, categoryId);
    sql += ", ";
    if (unitInfoId.IsNull())
        sql += "NULL";
    else
        AppendNumber(sql, unitInfoId.Value());
    if (noted) {
        sql += ", ";
        SqlText::AppendQuotedUtf8(sql, notes);
        ++m_notedRows;
    } else {
        ++m_rows;
    }
    sql += ')';
}

void CFileInsertBatch::Flush(CSqliteWrapper& db)
{
    if (IsEmpty())
        return;
    struct Emptied
    {
        CFileInsertBatch& batch;
        ~Emptied() { batch.Clear(); }
    } emptied{*this};
    if (m_rows > 0)
        db.ExecuteUtf8(m_sql);
    if (m_notedRows > 0)
        db.ExecuteUtf8(m_notedSql);
}

void CFileInsertBatch::Clear()
{
    m_sql.resize(sizeof kInsertHead - 1);
    m_notedSql.resize(sizeof kNotedInsertHead - 1);
    m_rows = 0;
    m_notedRows = 0;
}
