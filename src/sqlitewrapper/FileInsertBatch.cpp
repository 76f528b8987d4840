#include "sqlitewrapper/FileInsertBatch.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <QDateTime>

#include <algorithm>
#include <charconv>

namespace {

// The single-row file insert up to its values, with the same column list.
constexpr char kInsertHead[] = "INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, "
                               "UnitSize, DateCreated, DateModified, CategoryID, UnitInfoID)VALUES";

} // namespace

CFileInsertBatch::CFileInsertBatch(int maxRows) : m_maxRows(std::max(1, maxRows))
{
    m_sql.reserve(kMaxStatementBytes + 4096);
    m_sql = kInsertHead;
}

void CFileInsertBatch::AppendNumber(qint64 value)
{
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    m_sql.append(digits, static_cast<size_t>(end - digits));
}

void CFileInsertBatch::AppendDate(qint64 wallMsecs)
{
    if (wallMsecs != kNoDate && SqlText::AppendDateLiteral(m_sql, wallMsecs))
        return;
    // Outside the years the fast path writes, and a missing date: the text the
    // single-row insert gives for the same reading.
    const QDateTime time =
        wallMsecs == kNoDate ? QDateTime() : QDateTime::fromMSecsSinceEpoch(wallMsecs, Qt::UTC);
    m_sql += SqlText::FormatSqlDate(time).toStdString();
}

void CFileInsertBatch::Add(const QString& name, int storageId, int parentId, qint64 size,
                           qint64 createdWallMsecs, qint64 modifiedWallMsecs, int categoryId,
                           const CNullable<int>& unitInfoId)
{
    // "(%s, '%c', %d, %d, %I64d, %s, %s, %d, %s)"
    if (m_rows > 0)
        m_sql += ", ";
    m_sql += '(';
    SqlText::AppendQuotedUtf8(m_sql, name);
    m_sql += ", 'F', ";
    AppendNumber(storageId);
    m_sql += ", ";
    AppendNumber(parentId);
    m_sql += ", ";
    AppendNumber(size);
    m_sql += ", ";
    AppendDate(createdWallMsecs);
    m_sql += ", ";
    AppendDate(modifiedWallMsecs);
    m_sql += ", ";
    AppendNumber(categoryId);
    m_sql += ", ";
    if (unitInfoId.IsNull())
        m_sql += "NULL";
    else
        AppendNumber(unitInfoId.Value());
    m_sql += ')';
    ++m_rows;
}

void CFileInsertBatch::Flush(CSqliteWrapper& db)
{
    if (m_rows == 0)
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
    m_sql.resize(sizeof kInsertHead - 1);
    m_rows = 0;
}
