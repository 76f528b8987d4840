// The search query: the criteria of the search dialog as one SELECT over Units.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QRegularExpression>

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

// The runs of literal characters of a search text: what every matching name holds,
// with the wildcards between them.
QStringList LiteralRuns(const QString& typed)
{
    static const QRegularExpression wildcards(QStringLiteral("[%_*?]"));
    return typed.split(wildcards, Qt::SkipEmptyParts);
}

// The trigram index finds runs of three characters or more.
constexpr int kIndexedRunLength = 3;

} // namespace

QString CSqliteWrapper::SearchNarrowing(const SearchCriteria& c)
{
    QStringList phrases;
    for (QString run : LiteralRuns(c.Text)) {
        if (run.toUcs4().size() >= kIndexedRunLength)
            phrases << QLatin1Char('"') + run.replace(QLatin1Char('"'), QStringLiteral("\"\"")) +
                           QLatin1Char('"');
    }
    // Reading every waiting unit besides the index's matches would cost more than the
    // plain scan while an upgraded catalogue's index is still being built.
    if (phrases.isEmpty() || !HasNameIndex() || CountUnindexedNames() > kMaxUnindexedForSearch)
        return QString();
    QString ids = QStringLiteral("SELECT rowid FROM UnitNameIndex WHERE UnitNameIndex MATCH %1 "
                                 "UNION ALL SELECT UnitID FROM UnitNameIndexPending")
                      .arg(SqlText::QuoteSqlString(phrases.join(QStringLiteral(" AND "))));
    // The text may match a unit's notes instead: the few units with notes come through
    // their own index.
    if (c.SearchNotes)
        ids += QStringLiteral(" UNION ALL SELECT UnitID FROM Units WHERE UnitNotes IS NOT NULL");
    return QStringLiteral(" AND UnitID IN (%1)").arg(ids);
}

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
    // The name index narrows the units LIKE reads to those holding the text's runs of
    // literal characters; LIKE still decides, so the rows are those of the query alone.
    const QString sql = BuildSearchQuery(criteria) + SearchNarrowing(criteria);
    CheckSingleStatement(sql, true);
    items.clear();
    QueryRows(sql, items, &RowMappers::UnitListItems);
}
