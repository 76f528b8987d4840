#include "sqlitewrapper/ArchiveEntryBatch.h"

#include "sqlitewrapper/SqliteWrapper.h"

#include <QDateTime>

#include <charconv>

namespace {

constexpr char kInsertHead[] = "INSERT INTO Units(UnitID, UnitName, UnitType, StorageID, "
                               "ParentUnitID, UnitSize, DateModified, CategoryID)VALUES";

void AppendNumber(std::string& sql, qint64 value)
{
    char digits[24];
    auto* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    sql.append(digits, static_cast<size_t>(end - digits));
}

} // namespace

CArchiveEntryBatch::CArchiveEntryBatch(int firstId, int storageId)
    : m_nextId(firstId), m_storageId(storageId)
{
    m_sql.reserve(64 * 1024);
    m_sql = kInsertHead;
}

int CArchiveEntryBatch::Add(int parentId, const QString& name, bool isFolder, qint64 size,
                            qint64 modifiedWallMsecs, int categoryId)
{
    const int id = m_nextId++;
    std::string& sql = m_sql;
    if (m_rows > 0)
        sql += ", ";
    sql += '(';
    AppendNumber(sql, id);
    sql += ", ";
    SqlText::AppendQuotedUtf8(sql, name);
    sql += isFolder ? ", 'd', " : ", 'f', ";
    AppendNumber(sql, m_storageId);
    sql += ", ";
    AppendNumber(sql, parentId);
    sql += ", ";
    AppendNumber(sql, size);
    sql += ", ";
    if (modifiedWallMsecs == kNoDate)
        sql += "NULL";
    else if (!SqlText::AppendDateLiteral(sql, modifiedWallMsecs))
        sql += SqlText::FormatSqlDate(QDateTime::fromMSecsSinceEpoch(modifiedWallMsecs, Qt::UTC))
                   .toStdString();
    sql += ", ";
    AppendNumber(sql, categoryId);
    sql += ')';
    ++m_rows;
    return id;
}

void CArchiveEntryBatch::Flush(CSqliteWrapper& db)
{
    if (m_rows == 0)
        return;
    std::string sql;
    sql.swap(m_sql);
    m_sql = kInsertHead;
    m_rows = 0;
    db.ExecuteUtf8(sql);
}
