#include "sqlitewrapper/ArchiveEntryBatch.h"

#include "sqlitewrapper/SqlText.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDateTime>

#include <charconv>

namespace {

// The rows go in as the text of one string literal, read by ArchiveEntryRows.
constexpr char kInsertHead[] =
    "INSERT INTO Units(UnitID, ParentUnitID, UnitName, UnitType, StorageID, UnitSize, "
    "DateModified, CategoryID) SELECT UnitID, ParentUnitID, UnitName, UnitType, ";
constexpr char kRowsFrom[] = ", UnitSize, DateModified, CategoryID FROM ArchiveEntryRows('";

void AppendNumber(std::string& sql, qint64 value)
{
    char digits[24];
    auto* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    sql.append(digits, static_cast<size_t>(end - digits));
}

// A name as a field of the rows' text inside the literal: the characters that end a
// field or a line escaped, a quote doubled as in any literal.
void AppendNameField(std::string& sql, const QString& name)
{
    const QByteArray bytes = name.toUtf8();
    for (const char c : bytes) {
        switch (c) {
        case '\\':
            sql += "\\\\";
            break;
        case '\t':
            sql += "\\t";
            break;
        case '\n':
            sql += "\\n";
            break;
        case '\0':
            sql += "\\0";
            break;
        case '\'':
            sql += "''";
            break;
        default:
            sql += c;
        }
    }
}

} // namespace

CArchiveEntryBatch::CArchiveEntryBatch(int firstId, int storageId)
    : m_nextId(firstId), m_storageId(storageId)
{
    m_sql.reserve(64 * 1024);
    Start();
}

void CArchiveEntryBatch::Start()
{
    m_sql = kInsertHead;
    AppendNumber(m_sql, m_storageId);
    m_sql += kRowsFrom;
    m_rows = 0;
}

int CArchiveEntryBatch::Add(int parentId, const QString& name, bool isFolder, qint64 size,
                            qint64 modifiedWallMsecs, int categoryId)
{
    const int id = m_nextId++;
    std::string& sql = m_sql;
    AppendNumber(sql, id);
    sql += '\t';
    AppendNumber(sql, parentId);
    sql += '\t';
    AppendNameField(sql, name);
    sql += isFolder ? "\td\t" : "\tf\t";
    AppendNumber(sql, size);
    sql += '\t';
    if (modifiedWallMsecs != kNoDate) {
        // The date literal's text without its quotes.
        m_date.clear();
        if (SqlText::AppendDateLiteral(m_date, modifiedWallMsecs))
            sql.append(m_date, 1, m_date.size() - 2);
        else
            sql +=
                SqlText::FormatDateText(QDateTime::fromMSecsSinceEpoch(modifiedWallMsecs, Qt::UTC))
                    .toStdString();
    }
    sql += '\t';
    AppendNumber(sql, categoryId);
    sql += '\n';
    ++m_rows;
    return id;
}

void CArchiveEntryBatch::Flush(CSqliteWrapper& db)
{
    if (m_rows == 0)
        return;
    std::string sql;
    sql.swap(m_sql);
    sql += "')";
    m_sql.reserve(sql.capacity());
    Start();
    db.ExecuteUtf8(sql);
}
