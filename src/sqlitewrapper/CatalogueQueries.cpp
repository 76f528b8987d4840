// The reading operations of CSqliteWrapper: listings, details, look-ups.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QStringList>

#include <algorithm>
#include <stdexcept>
#include <unordered_set>

using SqlText::Format;
using SqlText::QuoteSqlString;

namespace {

// The lists of GetAncestorIds and GetDescendantIds: one per process, filled afresh by
// each outer call.
std::vector<int> g_ancestorIds;
std::vector<int> g_descendantIds;

template <typename Record> bool FirstRow(std::vector<Record>& rows, Record& out)
{
    if (rows.empty())
        return false;
    out = std::move(rows.front());
    return true;
}

} // namespace

QString CSqliteWrapper::GetDatabaseVersion()
{
    std::vector<QString> rows;
    QueryRows(QStringLiteral("SELECT VersionNumber FROM DatabaseVersion"), rows,
              &RowMappers::Texts);
    return rows.empty() ? QString() : rows.front();
}

void CSqliteWrapper::GetStorageList(std::vector<StorageListItem>& items)
{
    // A storage whose top units are files only has children in the tree when one of
    // them is an archive.
    QString sql =
        HasArchiveInfo()
            ? QStringLiteral("SELECT StorageID, StorageName, FoldersNumber, DiscsNumber OR "
                             "StorageID IN (SELECT u.StorageID FROM ArchiveInfo a JOIN Units u ON "
                             "u.UnitID = a.UnitID WHERE u.ParentUnitID IS NULL) FROM Storages")
            : QStringLiteral("SELECT StorageID, StorageName, FoldersNumber, DiscsNumber FROM "
                             "Storages");
    if (m_sortByName)
        sql += QStringLiteral(" ORDER BY StorageName COLLATE NOCASE");
    items.clear();
    QueryRows(sql, items, &RowMappers::StorageListItems);
}

void CSqliteWrapper::GetStorages(std::vector<StorageRecord>& records)
{
    QString sql = QStringLiteral("SELECT * FROM Storages");
    if (m_sortByName)
        sql += QStringLiteral(" ORDER BY StorageName COLLATE NOCASE");
    records.clear();
    QueryRows(sql, records, &RowMappers::StorageRecords);
}

void CSqliteWrapper::GetStoragesByName(std::vector<StorageRecord>& records)
{
    records.clear();
    QueryRows(QStringLiteral("SELECT * FROM Storages ORDER BY StorageName COLLATE NOCASE"), records,
              &RowMappers::StorageRecords);
}

StorageRecord CSqliteWrapper::GetStorage(int storageId)
{
    std::vector<StorageRecord> rows;
    QueryRows(Format("SELECT * FROM Storages WHERE StorageID = %d", {storageId}), rows,
              &RowMappers::StorageRecords);
    StorageRecord record;
    FirstRow(rows, record);
    return record;
}

void CSqliteWrapper::GetSubunits(std::vector<UnitListItem>& items, int id, bool topLevel)
{
    QString sql =
        UnitListSelect() + (topLevel ? Format("WHERE StorageID = %d AND ParentUnitID IS NULL", {id})
                                     : Format("WHERE ParentUnitID = %d", {id}));
    sql += QStringLiteral(" ORDER BY UnitType");
    if (m_sortByName)
        sql += QStringLiteral(" , UnitName COLLATE NOCASE");
    items.clear();
    QueryRows(sql, items, &RowMappers::UnitListItems);
}

void CSqliteWrapper::GetSubunitDates(std::map<int, QString>& dates, int id, bool topLevel)
{
    const QString sql =
        topLevel ? Format("SELECT UnitID, DateModified FROM Units WHERE StorageID = %d AND "
                          "ParentUnitID IS NULL AND DateModified IS NOT NULL",
                          {id})
                 : Format("SELECT UnitID, DateModified FROM Units WHERE ParentUnitID = %d AND "
                          "DateModified IS NOT NULL",
                          {id});
    std::vector<RowMappers::IdText> rows;
    QueryRows(sql, rows, &RowMappers::IdTexts);
    dates.clear();
    for (RowMappers::IdText& row : rows)
        dates.emplace(row.Id, std::move(row.Text));
}

UnitListItem CSqliteWrapper::GetUnit(int unitId)
{
    std::vector<UnitListItem> rows;
    QueryRows(Format(UnitListSelect() + QStringLiteral("WHERE UnitID = %d"), {unitId}), rows,
              &RowMappers::UnitListItems);
    if (rows.empty())
        throw std::out_of_range("invalid vector<T> subscript");
    return rows.front();
}

DiscDetails CSqliteWrapper::GetDiscProperties(int unitId)
{
    std::vector<DiscDetails> rows;
    QueryRows(Format("SELECT UnitName, UnitNotes, CategoryID, Size, DateAdded, Label, "
                     "SerialNumber, SubfilesNumber, SubfoldersNumber FROM Units INNER JOIN "
                     "DiscInfo ON Units.DiscInfoID = DiscInfo.DiscInfoID WHERE UnitID = %d",
                     {unitId}),
              rows, &RowMappers::DiscDetailsRows);
    DiscDetails details;
    FirstRow(rows, details);
    return details;
}

FolderDetails CSqliteWrapper::GetFolderProperties(int unitId)
{
    std::vector<FolderDetails> rows;
    QueryRows(Format("SELECT UnitName, UnitNotes, CategoryID, UnitSize, DateAdded, "
                     "SubfilesNumber, SubfoldersNumber FROM Units WHERE UnitID = %d",
                     {unitId}),
              rows, &RowMappers::FolderDetailsRows);
    FolderDetails details;
    FirstRow(rows, details);
    return details;
}

FileDetails CSqliteWrapper::GetFileProperties(int unitId)
{
    std::vector<FileDetails> rows;
    QueryRows(Format("SELECT UnitName, UnitNotes, CategoryID, UnitSize, DateAdded, "
                     "DateCreated, DateModified FROM Units WHERE UnitID = %d",
                     {unitId}),
              rows, &RowMappers::FileDetailsRows);
    FileDetails details;
    FirstRow(rows, details);
    return details;
}

bool CSqliteWrapper::GetFilmInfo(int unitId, FilmInfo& info)
{
    std::vector<FilmInfo> rows;
    QueryRows(Format("SELECT FilmInfoID, Duration, Width, Height, Bitrate, Codec FROM FilmInfo "
                     "INNER JOIN Units ON FilmInfoID = UnitInfoID WHERE UnitID = %d",
                     {unitId}),
              rows, &RowMappers::FilmInfoRows);
    return FirstRow(rows, info);
}

bool CSqliteWrapper::GetMusicInfo(int unitId, MusicInfo& info)
{
    std::vector<MusicInfo> rows;
    QueryRows(Format("SELECT MusicInfoID, Duration, Bitrate, ChannelsNumber, SamplingRate, "
                     "Artist, Title, Album, Year, TrackNumber, Genre, Comments FROM MusicInfo "
                     "INNER JOIN Units ON MusicInfoID = UnitInfoID WHERE UnitID = %d",
                     {unitId}),
              rows, &RowMappers::MusicInfoRows);
    return FirstRow(rows, info);
}

bool CSqliteWrapper::GetPictureInfo(int unitId, PictureInfo& info)
{
    std::vector<PictureInfo> rows;
    QueryRows(Format("SELECT PictureInfoID, Width, Height, HorizontalResolution, "
                     "VerticalResolution, ColorDepth FROM PictureInfo INNER JOIN Units ON "
                     "PictureInfoID = UnitInfoID WHERE UnitID = %d",
                     {unitId}),
              rows, &RowMappers::PictureInfoRows);
    return FirstRow(rows, info);
}

int CSqliteWrapper::GetUnitStorageId(int unitId)
{
    std::vector<int> rows;
    QueryRows(Format("SELECT StorageID FROM Units WHERE UnitID = %d", {unitId}), rows,
              &RowMappers::Ids);
    return rows.empty() ? 0 : rows.front();
}

bool CSqliteWrapper::UnitExists(int unitId)
{
    std::vector<int> found;
    QueryRows(Format("SELECT UnitID FROM Units WHERE UnitID = %d", {unitId}), found,
              &RowMappers::Ids);
    return !found.empty();
}

std::vector<int> CSqliteWrapper::GetSubtreeIds(int unitId)
{
    std::vector<int> ids;
    QueryRows(Format("WITH RECURSIVE Subtree(UnitID) AS (SELECT %d UNION SELECT "
                     "Units.UnitID FROM Units JOIN Subtree ON Units.ParentUnitID = "
                     "Subtree.UnitID) SELECT UnitID FROM Subtree",
                     {unitId}),
              ids, &RowMappers::Ids);
    return ids;
}

QString CSqliteWrapper::SubtreeEntriesStatement(int unitId)
{
    // The columns ride along the recursion, so the units are read once, through the
    // parent index.
    // What was read from inside archives is no part of the tree on the medium.
    return Format("WITH RECURSIVE Tree(UnitID, Path, UnitType, UnitSize, DateModified) AS ("
                  "SELECT UnitID, '', UnitType, UnitSize, DateModified FROM Units "
                  "WHERE UnitID = %d AND ParentUnitID IS NULL "
                  "UNION ALL SELECT u.UnitID, CASE WHEN t.UnitID = %d THEN u.UnitName "
                  "ELSE t.Path || '/' || u.UnitName END, u.UnitType, u.UnitSize, "
                  "u.DateModified FROM Units u JOIN Tree t ON u.ParentUnitID = t.UnitID "
                  "WHERE u.UnitType NOT IN ('d', 'f')) "
                  "SELECT UnitID, Path, UnitType, UnitSize, DateModified FROM Tree",
                  {unitId, unitId});
}

int CSqliteWrapper::GetUnitDiscInfoId(int unitId)
{
    std::vector<int> discInfo;
    QueryRows(Format("SELECT DiscInfoID FROM Units WHERE UnitID = %d", {unitId}), discInfo,
              &RowMappers::Ids);
    return discInfo.empty() ? 0 : discInfo.front();
}

std::vector<std::pair<QString, int>> CSqliteWrapper::GetExtensionRows()
{
    std::vector<RowMappers::ExtensionRow> rows;
    QueryRows(QStringLiteral("SELECT Name, CategoryID FROM FileExtensions ORDER BY rowid"), rows,
              &RowMappers::Extensions);
    std::vector<std::pair<QString, int>> result;
    result.reserve(rows.size());
    for (const auto& row : rows)
        result.emplace_back(row.Name, row.CategoryID);
    return result;
}

qint64 CSqliteWrapper::CountUnits()
{
    std::vector<QString> count;
    QueryRows(QStringLiteral("SELECT COUNT(*) FROM Units"), count, &RowMappers::Texts);
    return count.empty() ? 0 : count.front().toLongLong();
}

QString CSqliteWrapper::CheckStatement(CheckQuery query)
{
    switch (query) {
    case CheckQuery::UnitCounters:
        return QStringLiteral("SELECT UnitID, ParentUnitID, StorageID, UnitType, UnitSize, "
                              "SubfilesNumber, SubfoldersNumber FROM Units ORDER BY UnitID");
    case CheckQuery::StorageCounters:
        return QStringLiteral("SELECT StorageID, StorageName, FilesNumber, FoldersNumber, "
                              "DiscsNumber, StorageSize FROM Storages ORDER BY StorageID");
    case CheckQuery::MissingMediaRows:
        return QStringLiteral(
            "SELECT UnitID, UnitName, CategoryID, UnitInfoID FROM Units "
            "WHERE UnitInfoID IS NOT NULL AND ("
            "(CategoryID = 2 AND NOT EXISTS (SELECT 1 FROM FilmInfo WHERE FilmInfoID = "
            "UnitInfoID)) OR "
            "(CategoryID = 3 AND NOT EXISTS (SELECT 1 FROM MusicInfo WHERE MusicInfoID = "
            "UnitInfoID)) OR "
            "(CategoryID = 4 AND NOT EXISTS (SELECT 1 FROM PictureInfo WHERE PictureInfoID = "
            "UnitInfoID))) ORDER BY UnitID");
    case CheckQuery::ArchiveEntries:
        return QStringLiteral(
            "SELECT UnitID, Format, NULL, EntriesNumber FROM ArchiveInfo ORDER BY UnitID");
    case CheckQuery::OrphanSources:
        return QStringLiteral("SELECT UnitID, SourcePath FROM UnitSources WHERE NOT EXISTS "
                              "(SELECT 1 FROM Units WHERE Units.UnitID = UnitSources.UnitID) "
                              "ORDER BY UnitID");
    }
    return QString();
}

QString CSqliteWrapper::UnitNamesStatement(const std::vector<int>& unitIds)
{
    QStringList list;
    for (int id : unitIds)
        list << QString::number(id);
    return QStringLiteral("SELECT UnitID, UnitName FROM Units WHERE UnitID IN (%1)")
        .arg(list.join(QLatin1Char(',')));
}

std::vector<int> CSqliteWrapper::GetAncestorIds(int unitId)
{
    g_ancestorIds.clear();
    int current = unitId;
    for (;;) {
        const size_t before = g_ancestorIds.size();
        QueryRows(Format("SELECT ParentUnitID FROM Units WHERE UnitID = %d", {current}),
                  g_ancestorIds, &RowMappers::Ids);
        if (g_ancestorIds.size() == before)
            break;
        current = g_ancestorIds.back();
        // A damaged catalogue whose parent links form a loop must not hang the program.
        if (std::find(g_ancestorIds.begin(), g_ancestorIds.end() - 1, current) !=
                g_ancestorIds.end() - 1 ||
            current == unitId) {
            g_ancestorIds.pop_back();
            break;
        }
    }
    return g_ancestorIds;
}

void CSqliteWrapper::CollectDescendants(int unitId, std::vector<int>& ids)
{
    // Level by level, in the order the ids were found. A damaged catalogue may link a
    // unit under itself or under its own descendant: a unit already seen is not
    // entered again, so such a loop ends instead of growing without limit.
    std::unordered_set<int> seen{unitId};
    std::vector<int> found;
    int parent = unitId;
    for (size_t next = ids.size();; ++next) {
        found.clear();
        QueryRows(Format("SELECT UnitID FROM Units WHERE ParentUnitID = %d", {parent}), found,
                  &RowMappers::Ids);
        for (int id : found) {
            if (seen.insert(id).second)
                ids.push_back(id);
        }
        if (next >= ids.size())
            break;
        parent = ids[next];
    }
}

std::vector<int> CSqliteWrapper::GetDescendantIds(int unitId)
{
    g_descendantIds.clear();
    CollectDescendants(unitId, g_descendantIds);
    return g_descendantIds;
}

const QString CSqliteWrapper::kLocationSeparator = QStringLiteral(" \u203A ");

std::map<int, QString> CSqliteWrapper::GetUnitLocations(const std::vector<int>& unitIds)
{
    std::map<int, QString> locations;
    if (unitIds.empty())
        return locations;
    QStringList ids;
    ids.reserve(static_cast<int>(unitIds.size()));
    for (int id : unitIds)
        ids << QString::number(id);
    // Many results share a parent, so each distinct parent's chain is walked once, from
    // the parent upwards, prepending names. Seen lists the units walked so far and stops
    // a chain whose parent links loop; the deepest row of each chain is its whole path.
    const QString separator = QuoteSqlString(kLocationSeparator);
    const QString sql = Format(
        "WITH RECURSIVE "
        "Wanted (UnitID, ParentID, StorageID) AS ("
        "SELECT UnitID, ParentUnitID, StorageID FROM Units WHERE UnitID IN (%s)), "
        "Up (StartID, NextID, Path, Seen, Depth) AS ("
        "SELECT DISTINCT ParentID, ParentID, '', ',', 0 FROM Wanted WHERE ParentID IS NOT NULL "
        "UNION ALL "
        "SELECT Up.StartID, Units.ParentUnitID, CASE WHEN Up.Depth = 0 THEN Units.UnitName "
        "ELSE Units.UnitName || %s || Up.Path END, Up.Seen || Units.UnitID || ',', Up.Depth + 1 "
        "FROM Up INNER JOIN Units ON Units.UnitID = Up.NextID "
        "WHERE instr(Up.Seen, ',' || Units.UnitID || ',') = 0), "
        "Paths (StartID, Path, Depth) AS ("
        "SELECT StartID, Path, MAX(Depth) FROM Up GROUP BY StartID) "
        "SELECT Wanted.UnitID, IFNULL(Storages.StorageName, '') || CASE WHEN "
        "IFNULL(Paths.Depth, 0) = 0 THEN '' ELSE %s || Paths.Path END FROM Wanted "
        "LEFT JOIN Storages ON Storages.StorageID = Wanted.StorageID "
        "LEFT JOIN Paths ON Paths.StartID = Wanted.ParentID",
        {ids.join(QLatin1Char(',')), separator, separator});
    std::vector<RowMappers::IdText> rows;
    QueryRows(sql, rows, &RowMappers::IdTexts);
    for (RowMappers::IdText& row : rows)
        locations.emplace(row.Id, std::move(row.Text));
    return locations;
}

QString CSqliteWrapper::StorageUnitsStatement(int storageId, bool byName)
{
    QString sql = QStringLiteral(
        "SELECT UnitID, ParentUnitID, StorageID, UnitName, UnitType, UnitSize, DateAdded "
        "FROM Units WHERE UnitType NOT IN ('d', 'f')");
    // The report lists what lies on the media: archives' entries are left out.
    if (storageId != -1)
        sql += Format(" AND StorageID = %d", {storageId});
    if (byName)
        sql += QStringLiteral(" ORDER BY UnitName COLLATE NOCASE");
    return sql;
}

void CSqliteWrapper::GetStorageUnits(std::vector<ReportRow>& rows, int storageId)
{
    rows.clear();
    QueryRows(StorageUnitsStatement(storageId, m_sortByName), rows, &RowMappers::ReportRows);
}

std::vector<int> CSqliteWrapper::FindDuplicateDiscs(const QString& label, quint32 serialNumber,
                                                    qint64 size, bool bySerial, bool bySize,
                                                    bool byLabel)
{
    const QString where = QStringLiteral("WHERE");
    QString condition = where;
    if (bySerial)
        condition += Format(" DiscInfo.SerialNumber = %lu", {serialNumber});
    if (bySize) {
        if (condition != where)
            condition += QStringLiteral(" AND");
        condition += Format(" DiscInfo.Size = %lld", {size});
    }
    if (byLabel) {
        if (condition != where)
            condition += QStringLiteral(" AND");
        condition += Format(" DiscInfo.Label = %s", {QuoteSqlString(label)});
    }
    std::vector<int> ids;
    if (condition == where)
        return ids;
    QueryRows(QStringLiteral("SELECT UnitID FROM Units INNER JOIN DiscInfo ON Units.DiscInfoID = "
                             "DiscInfo.DiscInfoID ") +
                  condition,
              ids, &RowMappers::Ids);
    return ids;
}
