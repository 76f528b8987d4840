// Updating a unit added on its own from its source: the row edits an update makes, the
// recount of the unit's counters afterwards and the UnitUpdates history, which
// catalogues have from version 1.2 on.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"
#include "sqlitewrapper/SubtreeSums.h"

#include <cstdlib>
#include <unordered_map>

using SqlText::Format;
using SqlText::FormatSqlDate;
using SqlText::QuoteSqlString;

namespace {

// One unit of a subtree with its stored counters: "UnitID, ParentUnitID, UnitType,
// UnitSize, SubfilesNumber, SubfoldersNumber".
struct CountedUnit
{
    int UnitId = 0;
    int ParentId = 0;
    char Type = 'F';
    qint64 Size = 0;
    qint64 StoredFiles = 0;
    qint64 StoredFolders = 0;
    // Counted from the rows below.
    qint64 Files = 0;
    qint64 Folders = 0;
    qint64 Bytes = 0;
    int PendingChildren = 0;
    int ParentIndex = -1;
};

qint64 Number(char** values, int i)
{
    return values[i] ? std::strtoll(values[i], nullptr, 10) : 0;
}

void CountedRows(std::vector<CountedUnit>& rows, int, char** values)
{
    CountedUnit& unit = rows.emplace_back();
    unit.UnitId = static_cast<int>(Number(values, 0));
    unit.ParentId = static_cast<int>(Number(values, 1));
    unit.Type = values[2] ? values[2][0] : 'F';
    unit.Size = Number(values, 3);
    unit.StoredFiles = Number(values, 4);
    unit.StoredFolders = Number(values, 5);
}

QDateTime UtcTime(const char* text)
{
    QDateTime time =
        QDateTime::fromString(SqlText::FromUtf8(text), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    time.setTimeSpec(Qt::UTC);
    return time;
}

// "UnitID, UpdatedAt, AddedNumber, RemovedNumber, ChangedNumber, MovedNumber,
// UnreadableNumber, FilesBefore, FilesAfter, SizeBefore, SizeAfter"
void UpdateRows(std::vector<UnitUpdateRecord>& rows, int, char** values)
{
    UnitUpdateRecord& record = rows.emplace_back();
    record.UnitID = static_cast<int>(Number(values, 0));
    record.UpdatedAt = UtcTime(values[1]);
    record.Added = static_cast<int>(Number(values, 2));
    record.Removed = static_cast<int>(Number(values, 3));
    record.Changed = static_cast<int>(Number(values, 4));
    record.Moved = static_cast<int>(Number(values, 5));
    record.Unreadable = static_cast<int>(Number(values, 6));
    record.FilesBefore = Number(values, 7);
    record.FilesAfter = Number(values, 8);
    record.SizeBefore = Number(values, 9);
    record.SizeAfter = Number(values, 10);
}

QString DateOrNull(const QDateTime& time)
{
    return time.isValid() ? FormatSqlDate(time) : QStringLiteral("NULL");
}

} // namespace

void CSqliteWrapper::MoveUnit(int unitId, int parentId, const QString& name)
{
    Execute(Format("UPDATE Units SET ParentUnitID = %d, UnitName = %s WHERE UnitID = %d",
                   {parentId, QuoteSqlString(name), unitId}));
}

void CSqliteWrapper::SetFileContents(int unitId, qint64 size, const QDateTime& created,
                                     const QDateTime& modified, const CNullable<int>& unitInfoId)
{
    DeleteMediaRows(Format("= %d", {unitId}));
    Execute(
        Format("UPDATE Units SET UnitSize = %lld, DateCreated = %s, DateModified = %s, "
               "UnitInfoID = %s WHERE UnitID = %d",
               {size, DateOrNull(created), DateOrNull(modified), unitInfoId.ToSqlText(), unitId}));
}

StorageShare CSqliteWrapper::GetStorageShare(int unitId)
{
    std::vector<CountedUnit> rows;
    QueryRows(Format("SELECT UnitID, ParentUnitID, UnitType, UnitSize, SubfilesNumber, "
                     "SubfoldersNumber FROM Units WHERE UnitID = %d",
                     {unitId}),
              rows, &CountedRows);
    StorageShare share;
    if (rows.empty())
        return share;
    const CountedUnit& unit = rows.front();
    share.Size = unit.Size;
    if (unit.Type == 'F') {
        share.Files = 1;
        return share;
    }
    share.Files = unit.StoredFiles;
    share.Folders = unit.StoredFolders;
    // An empty disc or folder never reached the storage's counters.
    const bool empty = unit.StoredFiles == 0 && unit.StoredFolders == 0 && unit.Size == 0;
    if (!empty && unit.Type == 'C')
        share.Discs = 1;
    if (!empty && unit.Type == 'D')
        share.Folders += 1;
    return share;
}

void CSqliteWrapper::RecountSubtree(int unitId, const StorageShare& before)
{
    std::vector<CountedUnit> units;
    // Archive entries ('d', 'f') count in no counter: the walk stays out of archives.
    QueryRows(Format("WITH RECURSIVE Tree(UnitID) AS (SELECT %d UNION ALL SELECT u.UnitID "
                     "FROM Units u JOIN Tree t ON u.ParentUnitID = t.UnitID "
                     "WHERE u.UnitType NOT IN ('d', 'f')) "
                     "SELECT u.UnitID, u.ParentUnitID, u.UnitType, u.UnitSize, "
                     "u.SubfilesNumber, u.SubfoldersNumber FROM Units u JOIN Tree USING (UnitID)",
                     {unitId}),
              units, &CountedRows);

    // The top unit is the one without a parent in the subtree.
    std::unordered_map<int, int> index;
    index.reserve(units.size());
    for (size_t i = 0; i < units.size(); ++i)
        index.emplace(units[i].UnitId, static_cast<int>(i));
    for (CountedUnit& unit : units) {
        const auto parent = unit.UnitId == unitId ? index.end() : index.find(unit.ParentId);
        if (parent == index.end())
            continue;
        unit.ParentIndex = parent->second;
        ++units[static_cast<size_t>(parent->second)].PendingChildren;
    }
    SubtreeSums::Sum(units);
    for (const CountedUnit& unit : units) {
        if (unit.Type == 'F')
            continue;
        if (unit.Files != unit.StoredFiles || unit.Folders != unit.StoredFolders ||
            unit.Bytes != unit.Size) {
            Execute(Format("UPDATE Units SET SubfilesNumber = %lld, SubfoldersNumber = %lld, "
                           "UnitSize = %lld WHERE UnitID = %d",
                           {unit.Files, unit.Folders, unit.Bytes, unit.UnitId}));
        }
    }

    const StorageShare after = GetStorageShare(unitId);
    if (after.Files != before.Files || after.Folders != before.Folders ||
        after.Discs != before.Discs || after.Size != before.Size) {
        SubtractFromStorage(GetUnitStorageId(unitId), before.Files - after.Files,
                            before.Folders - after.Folders, before.Discs - after.Discs,
                            before.Size - after.Size);
    }
}

bool CSqliteWrapper::HasUnitUpdates()
{
    std::vector<int> found;
    QueryRows(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = "
                             "'UnitUpdates'"),
              found, &RowMappers::Ids);
    return !found.empty();
}

void CSqliteWrapper::AddUnitUpdate(const UnitUpdateRecord& record)
{
    if (!HasUnitUpdates())
        return;
    Execute(Format("INSERT INTO UnitUpdates(UnitID, UpdatedAt, AddedNumber, RemovedNumber, "
                   "ChangedNumber, MovedNumber, UnreadableNumber, FilesBefore, FilesAfter, "
                   "SizeBefore, SizeAfter)VALUES(%d, %s, %d, %d, %d, %d, %d, %lld, %lld, %lld, "
                   "%lld)",
                   {record.UnitID, FormatSqlDate(record.UpdatedAt.toUTC()), record.Added,
                    record.Removed, record.Changed, record.Moved, record.Unreadable,
                    record.FilesBefore, record.FilesAfter, record.SizeBefore, record.SizeAfter}));
}

void CSqliteWrapper::GetUnitUpdates(int unitId, std::vector<UnitUpdateRecord>& records)
{
    records.clear();
    if (!HasUnitUpdates())
        return;
    QueryRows(Format("SELECT UnitID, UpdatedAt, AddedNumber, RemovedNumber, ChangedNumber, "
                     "MovedNumber, UnreadableNumber, FilesBefore, FilesAfter, SizeBefore, "
                     "SizeAfter FROM UnitUpdates WHERE UnitID = %d ORDER BY UpdateID",
                     {unitId}),
              records, &UpdateRows);
}
