// Where the units added on their own were read from: the UnitSources table, which
// catalogues have from version 1.1 on. A catalogue left at an older version (its upgrade
// scripts were missing) is used without it: nothing is recorded there, nothing found.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <cstdlib>

using SqlText::Format;
using SqlText::FormatSqlDate;
using SqlText::QuoteSqlString;

namespace {

// "UnitID, SourcePath, MountPoint, ScannedAt"
void UnitSourceRows(std::vector<UnitSource>& rows, int, char** values)
{
    UnitSource source;
    source.UnitID = values[0] ? std::atoi(values[0]) : 0;
    source.SourcePath = SqlText::FromUtf8(values[1]);
    source.MountPoint = SqlText::FromUtf8(values[2]);
    QDateTime scanned =
        QDateTime::fromString(SqlText::FromUtf8(values[3]), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    scanned.setTimeSpec(Qt::UTC);
    source.ScannedAt = scanned;
    rows.push_back(std::move(source));
}

} // namespace

bool CSqliteWrapper::HasUnitSources()
{
    std::vector<int> found;
    QueryRows(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = "
                             "'UnitSources'"),
              found, &RowMappers::Ids);
    return !found.empty();
}

void CSqliteWrapper::AddUnitSource(const UnitSource& source)
{
    if (!HasUnitSources())
        return;
    const QString mountPoint =
        source.MountPoint.isEmpty() ? QStringLiteral("NULL") : QuoteSqlString(source.MountPoint);
    Execute(Format("INSERT INTO UnitSources(UnitID, SourcePath, MountPoint, ScannedAt)VALUES(%d, "
                   "%s, %s, %s)",
                   {source.UnitID, QuoteSqlString(source.SourcePath), mountPoint,
                    FormatSqlDate(source.ScannedAt.toUTC())}));
}

bool CSqliteWrapper::GetUnitSource(int unitId, UnitSource& source)
{
    if (!HasUnitSources())
        return false;
    std::vector<UnitSource> rows;
    QueryRows(Format("SELECT UnitID, SourcePath, MountPoint, ScannedAt FROM UnitSources WHERE "
                     "UnitID = %d",
                     {unitId}),
              rows, &UnitSourceRows);
    if (rows.empty())
        return false;
    source = std::move(rows.front());
    return true;
}

void CSqliteWrapper::SetUnitSource(const UnitSource& source)
{
    if (!HasUnitSources())
        return;
    Execute(Format("DELETE FROM UnitSources WHERE UnitID = %d", {source.UnitID}));
    AddUnitSource(source);
}

void CSqliteWrapper::DeleteUnitSources(const QString& unitCondition)
{
    // A unit's update history goes with its source.
    if (HasUnitSources())
        Execute(QStringLiteral("DELETE FROM UnitSources WHERE UnitID ") + unitCondition);
    if (HasUnitUpdates())
        Execute(QStringLiteral("DELETE FROM UnitUpdates WHERE UnitID ") + unitCondition);
    // So does its thumbnail.
    DeleteThumbnails(unitCondition);
}
