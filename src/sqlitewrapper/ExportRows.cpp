// The rows an export writes: a folder's (or a storage's top) units one level at a
// time, so that an export walks a tree of any size holding one folder's children per
// level, or the units of a list of results; each with its category's name and the
// media details its category carries.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <cstdlib>

using SqlText::Format;

namespace {

// The media row belongs to the category the unit has (a film's FilmInfo and so on).
const char* const kExportSelect =
    "SELECT Units.UnitID, Units.StorageID, Units.UnitName, Units.UnitType, Units.UnitSize, "
    "Units.DateModified, Units.DateCreated, Units.DateAdded, Categories.Name, Units.UnitNotes, "
    "IFNULL(FilmInfo.Duration, MusicInfo.Duration), IFNULL(FilmInfo.Width, PictureInfo.Width), "
    "IFNULL(FilmInfo.Height, PictureInfo.Height), IFNULL(FilmInfo.Bitrate, MusicInfo.Bitrate), "
    "FilmInfo.Codec, MusicInfo.Artist, MusicInfo.Title, MusicInfo.Album, MusicInfo.Year, "
    "MusicInfo.TrackNumber, MusicInfo.Genre, Units.UnitType IN ('F', 'f') AND EXISTS (SELECT 1 "
    "FROM "
    "ArchiveInfo WHERE ArchiveInfo.UnitID = Units.UnitID), (SELECT ArchiveInfo.Format FROM "
    "ArchiveInfo WHERE ArchiveInfo.UnitID = Units.UnitID) FROM Units "
    "LEFT JOIN Categories ON Categories.CategoryID = Units.CategoryID "
    "LEFT JOIN FilmInfo ON Units.CategoryID = 2 AND FilmInfo.FilmInfoID = Units.UnitInfoID "
    "LEFT JOIN MusicInfo ON Units.CategoryID = 3 AND MusicInfo.MusicInfoID = Units.UnitInfoID "
    "LEFT JOIN PictureInfo ON Units.CategoryID = 4 AND PictureInfo.PictureInfoID = "
    "Units.UnitInfoID ";

QString Text(char** values, int i)
{
    return values[i] ? SqlText::FromUtf8(values[i]) : QString();
}

CNullable<qint64> Number(char** values, int i)
{
    return values[i] ? CNullable<qint64>(std::strtoll(values[i], nullptr, 10))
                     : CNullable<qint64>();
}

void ExportRecords(std::vector<ExportRecord>& rows, int columns, char** values)
{
    if (columns < 23)
        return;
    ExportRecord r;
    r.UnitID = values[0] ? std::atoi(values[0]) : 0;
    r.StorageID = values[1] ? std::atoi(values[1]) : 0;
    r.Name = Text(values, 2);
    r.Kind = UnitKindFromChar(values[3] ? values[3][0] : '\0');
    r.Size = values[4] ? std::strtoll(values[4], nullptr, 10) : 0;
    r.Modified = Text(values, 5);
    r.Created = Text(values, 6);
    r.Added = Text(values, 7);
    r.Category = Text(values, 8);
    r.Notes = Text(values, 9);
    r.Duration = Number(values, 10);
    r.Width = Number(values, 11);
    r.Height = Number(values, 12);
    r.Bitrate = Number(values, 13);
    r.Codec = Text(values, 14);
    r.Artist = Text(values, 15);
    r.Title = Text(values, 16);
    r.Album = Text(values, 17);
    r.Year = Number(values, 18);
    r.Track = Number(values, 19);
    r.Genre = Text(values, 20);
    r.IsArchive = values[21] && values[21][0] == '1';
    if (r.IsArchive)
        r.ArchiveFormat = Text(values, 22);
    rows.push_back(std::move(r));
}

} // namespace

void CSqliteWrapper::GetExportChildren(int storageId, int parentId, std::vector<ExportRecord>& rows)
{
    rows.clear();
    const QString where =
        parentId > 0
            ? Format("WHERE Units.ParentUnitID = %d", {parentId})
            : Format("WHERE Units.StorageID = %d AND Units.ParentUnitID IS NULL", {storageId});
    QueryRows(QLatin1String(kExportSelect) + where + QStringLiteral(" ORDER BY Units.UnitID"), rows,
              &ExportRecords);
}

void CSqliteWrapper::GetExportUnits(const std::vector<int>& unitIds,
                                    std::vector<ExportRecord>& rows)
{
    rows.clear();
    if (unitIds.empty())
        return;
    QStringList ids;
    ids.reserve(static_cast<int>(unitIds.size()));
    for (const int id : unitIds)
        ids << QString::number(id);
    std::vector<ExportRecord> found;
    QueryRows(QLatin1String(kExportSelect) +
                  Format("WHERE Units.UnitID IN (%s)", {ids.join(QLatin1Char(','))}),
              found, &ExportRecords);
    // In the order asked for (a results list's order).
    std::map<int, size_t> at;
    for (size_t i = 0; i < found.size(); ++i)
        at.emplace(found[i].UnitID, i);
    for (const int id : unitIds) {
        const auto it = at.find(id);
        if (it != at.end())
            rows.push_back(found[it->second]);
    }
}

qint64 CSqliteWrapper::CountExportUnits(int storageId, int unitId)
{
    // From the stored counters: what a progress bar needs, not an exact count (the
    // entries of archives are not in them).
    QString sql;
    if (unitId > 0)
        sql = Format("SELECT 1 + SubfilesNumber + SubfoldersNumber FROM Units WHERE UnitID = %d",
                     {unitId});
    else if (storageId > 0)
        sql = Format("SELECT DiscsNumber + FoldersNumber + FilesNumber FROM Storages WHERE "
                     "StorageID = %d",
                     {storageId});
    else
        sql = QStringLiteral("SELECT SUM(DiscsNumber + FoldersNumber + FilesNumber) FROM Storages");
    std::vector<QString> rows;
    QueryRows(sql, rows, &RowMappers::Texts);
    return rows.empty() ? 0 : rows.front().toLongLong();
}

QStringList CSqliteWrapper::GetAncestorNames(int unitId)
{
    // Up the parent links, each unit once (UNION stops a loop), then from the top down.
    std::vector<RowMappers::IdText> rows;
    QueryRows(Format("WITH RECURSIVE Up (UnitID, Depth, Seen) AS (SELECT ParentUnitID, 1, ',' || "
                     "UnitID || ',' FROM Units WHERE UnitID = %d AND ParentUnitID IS NOT NULL "
                     "UNION ALL SELECT Units.ParentUnitID, Up.Depth + 1, Up.Seen || Units.UnitID "
                     "|| ',' FROM Up INNER JOIN Units ON Units.UnitID = Up.UnitID WHERE "
                     "Units.ParentUnitID IS NOT NULL AND instr(Up.Seen, ',' || Units.UnitID || "
                     "',') = 0) SELECT Up.Depth, Units.UnitName FROM Up INNER JOIN Units ON "
                     "Units.UnitID = Up.UnitID ORDER BY Up.Depth DESC",
                     {unitId}),
              rows, &RowMappers::IdTexts);
    QStringList names;
    for (RowMappers::IdText& row : rows)
        names << std::move(row.Text);
    return names;
}
