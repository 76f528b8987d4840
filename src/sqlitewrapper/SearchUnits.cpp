// The search query: the criteria of the search dialog as one SELECT over Units.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

using SqlText::EscapeSqlQuotes;
using SqlText::Format;
using SqlText::FormatSqlDate;

namespace {

// A search text as it goes between the quotes of a LIKE pattern: quotes doubled, so a
// name like "Anna's" is found; '%' and '_' stay LIKE's wildcards, and '*' and '?',
// which people type for the same, stand for them.
QString LikeText(const QString& typed)
{
    QString text = EscapeSqlQuotes(typed);
    text.replace(QLatin1Char('*'), QLatin1Char('%'));
    text.replace(QLatin1Char('?'), QLatin1Char('_'));
    return text;
}

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
    // Every text is a proper literal (see LikeText); SearchUnits still refuses what is
    // more than one statement, or a statement that would write.
    const QString text = LikeText(c.Text);
    if (c.SearchNotes)
        sql += Format("WHERE (UnitName LIKE '%%%s%%' OR UnitNotes LIKE '%%%s%%') ", {text, text});
    else
        sql += Format("WHERE UnitName LIKE '%%%s%%' ", {text});
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
        sql += Format(" AND Title LIKE '%%%s%%'", {LikeText(c.Title.Value())});
    if (!c.Album.IsNull())
        sql += Format(" AND Album LIKE '%%%s%%'", {LikeText(c.Album.Value())});
    if (!c.Artist.IsNull())
        sql += Format(" AND Artist LIKE '%%%s%%'", {LikeText(c.Artist.Value())});
    if (!c.Year.IsNull())
        sql += Format(" AND Year = %d", {c.Year.Value()});
    if (!c.Genre.IsNull())
        sql += Format(" AND Genre LIKE '%%%s%%'", {LikeText(c.Genre.Value())});
    return sql;
}

void CSqliteWrapper::SearchUnits(const SearchCriteria& criteria, std::vector<UnitListItem>& items)
{
    const QString sql = BuildSearchQuery(criteria);
    CheckSingleStatement(sql, true);
    items.clear();
    QueryRows(sql, items, &RowMappers::UnitListItems);
}
