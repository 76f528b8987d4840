// Pictures' thumbnails: the Thumbnails table, which catalogues have from version 1.5 on.
// A catalogue left at an older version is used without it: nothing is written there,
// nothing found.
//
// Statements are run with sqlite3_exec, which hands every column over as text ending at
// its first zero byte, so an image is read as hex(Image) and turned back into bytes here.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"
#include "sqlitewrapper/ThumbnailInsertBatch.h"

#include <cstdlib>
#include <cstring>

using SqlText::Format;

namespace {

struct IdThumbnail
{
    int UnitID = 0;
    ThumbnailRecord Thumbnail;
};

// "UnitID, Width, Height, hex(Image)"
void ThumbnailRows(std::vector<IdThumbnail>& rows, int, char** values)
{
    IdThumbnail row;
    row.UnitID = values[0] ? std::atoi(values[0]) : 0;
    row.Thumbnail.Width = values[1] ? std::atoi(values[1]) : 0;
    row.Thumbnail.Height = values[2] ? std::atoi(values[2]) : 0;
    if (values[3])
        row.Thumbnail.Image = QByteArray::fromHex(
            QByteArray::fromRawData(values[3], static_cast<qsizetype>(std::strlen(values[3]))));
    rows.push_back(std::move(row));
}

void OneId(std::vector<int>& rows, int, char** values)
{
    rows.push_back(values[0] ? std::atoi(values[0]) : 0);
}

constexpr char kSelectColumns[] = "SELECT t.UnitID, t.Width, t.Height, hex(t.Image) FROM "
                                  "Thumbnails t";

} // namespace

bool CSqliteWrapper::HasThumbnails()
{
    std::vector<int> found;
    QueryRows(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = "
                             "'Thumbnails'"),
              found, &OneId);
    return !found.empty();
}

bool CSqliteWrapper::GetThumbnail(int unitId, ThumbnailRecord& thumbnail)
{
    if (!HasThumbnails())
        return false;
    std::vector<IdThumbnail> rows;
    QueryRows(Format("%s WHERE t.UnitID = %d", {kSelectColumns, unitId}), rows, &ThumbnailRows);
    if (rows.empty() || rows.front().Thumbnail.IsEmpty())
        return false;
    thumbnail = std::move(rows.front().Thumbnail);
    return true;
}

std::map<int, ThumbnailRecord> CSqliteWrapper::GetSubunitThumbnails(int id, bool topLevel)
{
    std::map<int, ThumbnailRecord> thumbnails;
    if (!HasThumbnails())
        return thumbnails;
    const QString sql =
        topLevel ? Format("%s JOIN Units u ON u.UnitID = t.UnitID WHERE u.StorageID = %d AND "
                          "u.ParentUnitID IS NULL",
                          {kSelectColumns, id})
                 : Format("%s JOIN Units u ON u.UnitID = t.UnitID WHERE u.ParentUnitID = %d",
                          {kSelectColumns, id});
    std::vector<IdThumbnail> rows;
    QueryRows(sql, rows, &ThumbnailRows);
    for (IdThumbnail& row : rows)
        thumbnails.emplace(row.UnitID, std::move(row.Thumbnail));
    return thumbnails;
}

std::map<int, ThumbnailRecord> CSqliteWrapper::GetThumbnails(const std::vector<int>& unitIds)
{
    std::map<int, ThumbnailRecord> thumbnails;
    if (unitIds.empty() || !HasThumbnails())
        return thumbnails;
    QString list;
    for (const int id : unitIds) {
        if (!list.isEmpty())
            list += QLatin1Char(',');
        list += QString::number(id);
    }
    std::vector<IdThumbnail> rows;
    QueryRows(Format("%s WHERE t.UnitID IN (%s)", {kSelectColumns, list}), rows, &ThumbnailRows);
    for (IdThumbnail& row : rows)
        thumbnails.emplace(row.UnitID, std::move(row.Thumbnail));
    return thumbnails;
}

void CSqliteWrapper::SetThumbnail(int unitId, const ThumbnailRecord& thumbnail)
{
    if (thumbnail.IsEmpty()) {
        DeleteThumbnails(Format("= %d", {unitId}));
        return;
    }
    CThumbnailInsertBatch batch;
    batch.Add(unitId, thumbnail);
    batch.Flush(*this);
}

void CSqliteWrapper::DeleteThumbnails(const QString& unitCondition)
{
    if (HasThumbnails())
        Execute(QStringLiteral("DELETE FROM Thumbnails WHERE UnitID ") + unitCondition);
}

qint64 CSqliteWrapper::CountThumbnails(qint64& totalBytes)
{
    totalBytes = 0;
    if (!HasThumbnails())
        return 0;
    std::vector<QString> rows;
    QueryRows(QStringLiteral("SELECT COUNT(*) || ' ' || IFNULL(SUM(length(Image)), 0) FROM "
                             "Thumbnails"),
              rows, &RowMappers::Texts);
    if (rows.empty())
        return 0;
    const QStringList parts = rows.front().split(QLatin1Char(' '));
    totalBytes = parts.value(1).toLongLong();
    return parts.value(0).toLongLong();
}
