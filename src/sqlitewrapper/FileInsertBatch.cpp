#include "sqlitewrapper/FileInsertBatch.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <QDateTime>

#include <algorithm>
#include <charconv>

namespace {

// The single-row file insert up to its values, with the same column list; with notes,
// they come last in each row.
constexpr char kInsertHead[] = "INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, "
                               "UnitSize, DateCreated, DateModified, CategoryID, UnitInfoID)VALUES";
constexpr char kNotedInsertHead[] =
    "INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, UnitSize, DateCreated, "
    "DateModified, CategoryID, UnitInfoID, UnitNotes)VALUES";
constexpr char kNoNotes[] = ", NULL";

} // namespace

CFileInsertBatch::CFileInsertBatch(int maxRows) : m_maxRows(std::max(1, maxRows))
{
    m_sql.reserve(kMaxStatementBytes + 4096);
    m_sql = kInsertHead;
    m_rowEnds.reserve(static_cast<size_t>(m_maxRows));
}

void CFileInsertBatch::AddNotesColumn()
{
    std::string sql;
    sql.reserve(m_sql.size() + m_rowEnds.size() * (sizeof kNoNotes - 1) + 64);
    sql = kNotedInsertHead;
    size_t from = sizeof kInsertHead - 1;
    for (size_t& end : m_rowEnds) {
        sql.append(m_sql, from, end - from);
        sql += kNoNotes;
        from = end;
        end = sql.size();
    }
    sql.append(m_sql, from, std::string::npos);
    m_sql.swap(sql);
    m_withNotes = true;
}

void CFileInsertBatch::AppendNumber(std::string& sql, qint64 value)
{
    char digits[24];
    auto* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
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
    if (noted && !m_withNotes)
        AddNotesColumn();
    std::string& sql = m_sql;
    if (!m_rowEnds.empty())
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
    } else if (m_withNotes) {
        sql += kNoNotes;
    }
    m_rowEnds.push_back(sql.size());
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
    db.ExecuteUtf8(m_sql);
}

void CFileInsertBatch::Clear()
{
    m_sql = kInsertHead;
    m_withNotes = false;
    m_rowEnds.clear();
}
