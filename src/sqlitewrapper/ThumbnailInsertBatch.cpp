#include "sqlitewrapper/ThumbnailInsertBatch.h"

#include "sqlitewrapper/SqliteWrapper.h"

namespace {

constexpr char kInsertHead[] =
    "INSERT OR REPLACE INTO Thumbnails(UnitID, Width, Height, Image)VALUES";

} // namespace

CThumbnailInsertBatch::CThumbnailInsertBatch()
{
    // Room for a full batch and its last row (an image of up to 64 KB), so that the
    // statement is not moved as it grows.
    m_sql.reserve(kMaxStatementBytes + 2 * 65536 + 256);
    m_sql = kInsertHead;
}

void CThumbnailInsertBatch::Add(int unitId, const ThumbnailRecord& thumbnail)
{
    if (m_rows > 0)
        m_sql += ", ";
    m_sql += '(';
    m_sql += std::to_string(unitId);
    m_sql += ", ";
    m_sql += std::to_string(thumbnail.Width);
    m_sql += ", ";
    m_sql += std::to_string(thumbnail.Height);
    m_sql += ", ";
    SqlText::AppendBlobLiteral(m_sql, thumbnail.Image);
    m_sql += ')';
    ++m_rows;
}

void CThumbnailInsertBatch::Flush(CSqliteWrapper& db)
{
    if (IsEmpty())
        return;
    struct Emptied
    {
        CThumbnailInsertBatch& batch;
        ~Emptied() { batch.Clear(); }
    } emptied{*this};
    if (db.HasThumbnails())
        db.ExecuteUtf8(m_sql);
}

void CThumbnailInsertBatch::Clear()
{
    m_sql = kInsertHead;
    m_rows = 0;
}
