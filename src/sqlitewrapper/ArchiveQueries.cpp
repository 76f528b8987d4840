// Reading archives and their entries: which listed units are archives, which of them
// lead the tree further, and an archive's ArchiveInfo row.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <cstdlib>

using SqlText::Format;

namespace {

// The listing's columns where the catalogue has no ArchiveInfo table (one left before
// version 1.5): nothing is an archive there.
const char kPlainListColumns[] =
    "SELECT UnitID, UnitName, SubfoldersNumber, UnitSize, CategoryID, UnitType, 0 FROM Units ";

// The same columns, where "has subfolders" also counts what the tree shows below a
// unit besides folders: a disc or folder holding an archive file, and an archive or an
// archive's folder holding folders or an archive of its own (an archive inside an
// archive). The archives' parents are read once per listing, not per row.
const char kArchiveListColumns[] =
    "SELECT UnitID, UnitName, "
    "CASE WHEN UnitType IN ('C', 'D') THEN SubfoldersNumber <> 0 OR UnitID IN "
    "(SELECT p.ParentUnitID FROM Units p WHERE p.UnitID IN (SELECT UnitID FROM ArchiveInfo)) "
    "WHEN UnitType = 'd' OR UnitID IN (SELECT UnitID FROM ArchiveInfo) THEN EXISTS "
    "(SELECT 1 FROM Units c WHERE c.ParentUnitID = Units.UnitID AND (c.UnitType = 'd' OR "
    "c.UnitID IN (SELECT UnitID FROM ArchiveInfo))) ELSE 0 END, "
    "UnitSize, CategoryID, UnitType, UnitID IN (SELECT UnitID FROM ArchiveInfo) FROM Units ";

void ArchiveDetailsRows(std::vector<ArchiveDetails>& rows, int columns, char** values)
{
    ArchiveDetails details;
    if (columns >= 3 && values) {
        details.Format = SqlText::FromUtf8(values[0]);
        details.EntriesNumber = values[1] ? std::strtoll(values[1], nullptr, 10) : 0;
        details.UncompressedSize = values[2] ? std::strtoll(values[2], nullptr, 10) : 0;
    }
    rows.push_back(std::move(details));
}

} // namespace

bool CSqliteWrapper::HasArchiveInfo()
{
    std::vector<int> found;
    QueryRows(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = "
                             "'ArchiveInfo'"),
              found, &RowMappers::Ids);
    return !found.empty();
}

QString CSqliteWrapper::UnitListSelect()
{
    return QString::fromLatin1(HasArchiveInfo() ? kArchiveListColumns : kPlainListColumns);
}

bool CSqliteWrapper::GetArchiveInfo(int unitId, ArchiveDetails& details)
{
    if (!HasArchiveInfo())
        return false;
    std::vector<ArchiveDetails> rows;
    QueryRows(Format("SELECT Format, EntriesNumber, UncompressedSize FROM ArchiveInfo WHERE "
                     "UnitID = %d",
                     {unitId}),
              rows, &ArchiveDetailsRows);
    if (rows.empty())
        return false;
    details = std::move(rows.front());
    return true;
}

bool CSqliteWrapper::IsInsideArchive(int unitId)
{
    const UnitKind kind = GetUnit(unitId).Kind;
    return kind == UnitKind::ArchiveFolder || kind == UnitKind::ArchiveFile;
}
