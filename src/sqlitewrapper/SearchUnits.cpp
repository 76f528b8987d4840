// The search query: the criteria of the search dialog as one SELECT over Units.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

using SqlText::Format;
using SqlText::FormatSqlDate;

namespace {

QString DateColumn(int dateField)
{
    switch (dateField) {
    case SearchCriteria::DateCreated:
        return QStringLiteral("DateCreated");
    case SearchCriteria::DateModified:
        return QStringLiteral("DateModified");
    default:
        return QStringLiteral("DateAdded");
    }
}

} // namespace

QString CSqliteWrapper::BuildSearchQuery(const SearchCriteria& c)
{
    QString sql = QStringLiteral(
        "SELECT UnitID, UnitName, SubfoldersNumber, UnitSize,        CategoryID, UnitType FROM "
        "Units ");
    switch (c.CategoryID) {
    case CategoryIds::Film:
        sql += QStringLiteral("INNER JOIN FilmInfo ON UnitInfoID = FilmInfoID ");
        break;
    case CategoryIds::Music:
        sql += QStringLiteral("INNER JOIN MusicInfo ON UnitInfoID = MusicInfoID ");
        break;
    case CategoryIds::Picture:
        sql += QStringLiteral("INNER JOIN PictureInfo ON UnitInfoID = PictureInfoID ");
        break;
    default:
        break;
    }
    // Texts go into the LIKE patterns as typed: '%' and '_' act as wildcards, and a
    // single quote ends the literal. SearchUnits refuses what is then more than one
    // statement, or a statement that would write.
    if (c.SearchNotes)
        sql +=
            Format("WHERE (UnitName LIKE '%%%s%%' OR UnitNotes LIKE '%%%s%%') ", {c.Text, c.Text});
    else
        sql += Format("WHERE UnitName LIKE '%%%s%%' ", {c.Text});
    if (c.UseSize)
        sql += Format(" AND UnitSize %c %lld", {c.SizeOperator, c.Size});
    if (c.StorageID != 0)
        sql += Format(" AND StorageID = %d", {c.StorageID});
    if (c.UseDate)
        sql +=
            Format(" AND %s BETWEEN %s AND %s",
                   {DateColumn(c.DateField), FormatSqlDate(c.DateFrom), FormatSqlDate(c.DateTo)});
    if (c.CategoryID != CategoryIds::All)
        sql += Format(" AND CategoryID = %d", {c.CategoryID});
    if (c.UseWidth)
        sql += Format(" AND Width %c %d", {c.WidthOperator, c.Width});
    if (c.UseHeight)
        sql += Format(" AND Height %c %d", {c.HeightOperator, c.Height});
    if (c.UseDuration)
        sql += Format(" AND Duration %c %d", {c.DurationOperator, c.Duration});
    if (!c.Title.IsNull())
        sql += Format(" AND Title LIKE '%%%s%%'", {c.Title.Value()});
    if (!c.Album.IsNull())
        sql += Format(" AND Album LIKE '%%%s%%'", {c.Album.Value()});
    if (!c.Artist.IsNull())
        sql += Format(" AND Artist LIKE '%%%s%%'", {c.Artist.Value()});
    if (!c.Year.IsNull())
        sql += Format(" AND Year = %d", {c.Year.Value()});
    if (!c.Genre.IsNull())
        sql += Format(" AND Genre LIKE '%%%s%%'", {c.Genre.Value()});
    return sql;
}

void CSqliteWrapper::SearchUnits(const SearchCriteria& criteria, std::vector<UnitListItem>& items)
{
    const QString sql = BuildSearchQuery(criteria);
    CheckSingleStatement(sql, true);
    items.clear();
    QueryRows(sql, items, &RowMappers::UnitListItems);
}
