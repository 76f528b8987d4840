// Writing an archive's entries: the first free UnitID for a batch of entries, the
// archive's ArchiveInfo row, and the removal of what was read from an archive before it
// is read again.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

using SqlText::Format;
using SqlText::QuoteSqlString;

int CSqliteWrapper::NextUnitId()
{
    // Units' ids are AUTOINCREMENT: the next one lies above both the highest id ever
    // handed out (kept in sqlite_sequence, also after the row is gone) and the highest
    // id in the table. Rows written with these ids move the sequence on themselves.
    std::vector<int> ids;
    QueryRows(QStringLiteral("SELECT MAX(COALESCE((SELECT seq FROM sqlite_sequence WHERE name = "
                             "'Units'), 0), COALESCE((SELECT MAX(UnitID) FROM Units), 0)) + 1"),
              ids, &RowMappers::Ids);
    return ids.empty() ? 1 : ids.front();
}

void CSqliteWrapper::AddArchiveInfo(int unitId, const QString& format, qint64 entries,
                                    qint64 uncompressedSize)
{
    Execute(Format("INSERT OR REPLACE INTO ArchiveInfo(UnitID, Format, EntriesNumber, "
                   "UncompressedSize)VALUES(%d, %s, %lld, %lld)",
                   {unitId, QuoteSqlString(format), entries, uncompressedSize}));
}

void CSqliteWrapper::DeleteArchiveEntries(int unitId)
{
    if (!HasArchiveInfo())
        return;
    std::vector<int> ids;
    QueryRows(Format("WITH RECURSIVE Entries(UnitID) AS (SELECT UnitID FROM Units WHERE "
                     "ParentUnitID = %d AND UnitType IN ('d', 'f') UNION ALL SELECT u.UnitID "
                     "FROM Units u JOIN Entries e ON u.ParentUnitID = e.UnitID) "
                     "SELECT UnitID FROM Entries",
                     {unitId}),
              ids, &RowMappers::Ids);
    DeleteUnitRows(ids);
    Execute(Format("DELETE FROM ArchiveInfo WHERE UnitID = %d", {unitId}));
}

void CSqliteWrapper::ForgetArchiveEntries(const QString& idList)
{
    // Up walks from each deleted entry through the entries above it to the archive's
    // own unit. Every archive on the way counts the entry among its EntriesNumber; only
    // the nearest holds its bytes in UncompressedSize (Passed: an archive lay below).
    // Archives that go themselves are left alone.
    Execute(Format(
        "WITH RECURSIVE Up(AncestorID, Size, Passed) AS (SELECT ParentUnitID, CASE WHEN "
        "UnitType = 'f' THEN UnitSize ELSE 0 END, 0 FROM Units WHERE UnitID IN (%s) AND "
        "UnitType IN ('d', 'f') UNION ALL SELECT p.ParentUnitID, Up.Size, Up.Passed OR "
        "EXISTS (SELECT 1 FROM ArchiveInfo a WHERE a.UnitID = p.UnitID) FROM Up JOIN Units p "
        "ON p.UnitID = Up.AncestorID WHERE p.UnitType IN ('d', 'f')), "
        "Lost(UnitID, Entries, Bytes) AS (SELECT AncestorID, COUNT(*), SUM(CASE WHEN Passed "
        "THEN 0 ELSE Size END) FROM Up WHERE AncestorID IN (SELECT UnitID FROM ArchiveInfo) "
        "AND AncestorID NOT IN (%s) GROUP BY AncestorID) "
        "UPDATE ArchiveInfo SET EntriesNumber = EntriesNumber - (SELECT Entries FROM Lost "
        "WHERE Lost.UnitID = ArchiveInfo.UnitID), UncompressedSize = UncompressedSize - "
        "(SELECT Bytes FROM Lost WHERE Lost.UnitID = ArchiveInfo.UnitID) WHERE UnitID IN "
        "(SELECT UnitID FROM Lost)",
        {idList, idList}));
}
