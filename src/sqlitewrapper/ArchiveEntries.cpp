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
