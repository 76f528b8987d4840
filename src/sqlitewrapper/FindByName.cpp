// Finding units by the words of their names: through the name index (FTS5, trigram)
// for the words long enough for it, with LIKE over the names of the units that still
// wait to be indexed beside it, so that a unit just added is found at once; by LIKE
// over every name in a catalogue without the index. Every word reaches the statement as
// a literal: the index's words as FTS5 strings inside one SQL string literal, the others
// as LIKE patterns with '%', '_' and the escape character itself escaped.
//
// Through the index the ranks are read one after the other, each in the catalogue's
// order, which is the index's own: the names equal to the words ('^' and the end mark
// the index puts after every name), those starting with the first word ('^'), the rest.
// A page so reads only as far into the matches as it shows, where sorting them all
// would read every matching unit's name first.
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QRegularExpression>

#include <algorithm>

using SqlText::Format;
using SqlText::QuoteSqlString;

namespace {

// The escape character of every LIKE pattern here.
const QChar kLikeEscape = QLatin1Char('\\');

// The trigram tokenizer indexes runs of three characters; a shorter word matches no
// row through the index.
constexpr int kIndexedWordLength = 3;

struct NameQuery
{
    QStringList words;
    QStringList indexed;     // matched through the index (when it is used)
    QStringList others;      // matched by LIKE
    bool prefixOnly = false; // no word long enough: the name starts with the first word
};

int CharacterCount(const QString& word)
{
    return static_cast<int>(word.toUcs4().size());
}

NameQuery SplitWords(const QStringList& typed, bool useIndex)
{
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    NameQuery query;
    for (const QString& entry : typed)
        query.words << entry.split(blanks, Qt::SkipEmptyParts);
    query.prefixOnly = !query.words.isEmpty();
    for (const QString& word : query.words) {
        const bool indexable = CharacterCount(word) >= kIndexedWordLength;
        query.prefixOnly = query.prefixOnly && !indexable;
        (indexable && useIndex ? query.indexed : query.others) << word;
    }
    return query;
}

// The word as LIKE reads it literally.
QString EscapeLike(const QString& word)
{
    QString escaped;
    escaped.reserve(word.size());
    for (const QChar c : word) {
        if (c == kLikeEscape || c == QLatin1Char('%') || c == QLatin1Char('_'))
            escaped += kLikeEscape;
        escaped += c;
    }
    return escaped;
}

QString Like(const QString& pattern)
{
    return QStringLiteral("Units.UnitName LIKE %1 ESCAPE %2")
        .arg(QuoteSqlString(pattern), QuoteSqlString(QString(kLikeEscape)));
}

// The FTS5 query: each word an FTS5 string (double quotes doubled inside), all of them
// required; the whole as an SQL literal.
QString MatchLiteral(const QStringList& words)
{
    QStringList strings;
    for (QString word : words)
        strings << QLatin1Char('"') + word.replace(QLatin1Char('"'), QStringLiteral("\"\"")) +
                       QLatin1Char('"');
    return QuoteSqlString(strings.join(QStringLiteral(" AND ")));
}

// The conditions on Units for the words LIKE matches.
QStringList LikeConditions(const NameQuery& query)
{
    QStringList conditions;
    for (int i = 0; i < query.others.size(); ++i) {
        const QString& word = query.others.at(i);
        // Without a word long enough, others holds every word in order.
        const bool first = query.prefixOnly && i == 0;
        conditions << Like(first ? EscapeLike(word) + QLatin1Char('%')
                                 : QLatin1Char('%') + EscapeLike(word) + QLatin1Char('%'));
    }
    return conditions;
}

// The words the index matches, as LIKE matches them anywhere in a name.
QString LikeAnywhere(const QStringList& words)
{
    QStringList conditions;
    for (const QString& word : words)
        conditions << Like(QLatin1Char('%') + EscapeLike(word) + QLatin1Char('%'));
    return conditions.join(QStringLiteral(" AND "));
}

// The units waiting for the index whose names hold the indexed words: few after an
// addition (the index catches up in steps), every unit of a just upgraded catalogue.
// CROSS JOIN keeps the waiting table the outer loop: without statistics the planner
// would otherwise read every unit and look each up among the waiting ones.
QString PendingMatches(const NameQuery& query)
{
    return QStringLiteral("SELECT UnitNameIndexPending.UnitID FROM UnitNameIndexPending CROSS "
                          "JOIN Units ON Units.UnitID = UnitNameIndexPending.UnitID WHERE %1")
        .arg(LikeAnywhere(query.indexed));
}

QString WhereClause(const NameQuery& query, bool withPending)
{
    QStringList conditions;
    if (!query.indexed.isEmpty()) {
        QString ids = QStringLiteral("SELECT rowid FROM UnitNameIndex WHERE UnitNameIndex MATCH %1")
                          .arg(MatchLiteral(query.indexed));
        if (withPending)
            ids += QStringLiteral(" UNION ALL ") + PendingMatches(query);
        conditions << QStringLiteral("Units.UnitID IN (%1)").arg(ids);
    }
    conditions << LikeConditions(query);
    return conditions.join(QStringLiteral(" AND "));
}

// "UnitID, UnitName, UnitType, UnitSize, CategoryID"
void FoundUnitRows(std::vector<FoundUnit>& rows, int, char** values)
{
    FoundUnit unit;
    unit.UnitID = values[0] ? QByteArray(values[0]).toInt() : 0;
    unit.UnitName = SqlText::FromUtf8(values[1]);
    unit.Kind = UnitKindFromChar(values[2] ? values[2][0] : '\0');
    unit.UnitSize = values[3] ? QByteArray(values[3]).toLongLong() : 0;
    unit.CategoryID = values[4] ? QByteArray(values[4]).toInt() : 0;
    rows.push_back(std::move(unit));
}

const char* const kFoundColumns = "SELECT Units.UnitID, Units.UnitName, Units.UnitType, "
                                  "Units.UnitSize, Units.CategoryID FROM Units";

// The ranks as conditions on a unit's name, for LIKE: the name equal to the words, the
// name starting with the first word.
QString EqualName(const NameQuery& query)
{
    return QStringLiteral("Units.UnitName = %1 COLLATE NOCASE")
        .arg(QuoteSqlString(query.words.join(QLatin1Char(' '))));
}

QString StartsWithFirst(const NameQuery& query)
{
    return Like(EscapeLike(query.words.front()) + QLatin1Char('%'));
}

// An FTS5 string; '^' before it: at the start of the name.
QString FtsString(QString text, bool atStart = false)
{
    return QLatin1String(atStart ? "^\"" : "\"") +
           text.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

// One rank read through the index: the index's query, and the conditions on the row of
// Units the index cannot tell (short words, a short first word), which LIKE also puts
// on the units still waiting for the index.
struct Rank
{
    QString match;
    QStringList conditions;
    QStringList pendingConditions;
};

std::vector<Rank> IndexRanks(const NameQuery& query)
{
    QStringList all;
    for (const QString& word : query.indexed)
        all << FtsString(word);
    const QString base = all.join(QStringLiteral(" AND "));
    // char(1) ends every name in the index.
    const QString equal = FtsString(query.words.join(QLatin1Char(' ')) + QChar(1), true);
    const QString& first = query.words.front();
    const QStringList shortWords = LikeConditions(query);
    const QString anywhere = LikeAnywhere(query.indexed);
    const QString starts = StartsWithFirst(query);

    std::vector<Rank> ranks(3);
    ranks[0].match = equal;
    ranks[0].pendingConditions << anywhere << EqualName(query);
    if (CharacterCount(first) >= kIndexedWordLength) {
        ranks[1].match =
            QStringLiteral("(%1 AND %2) NOT %3").arg(base, FtsString(first, true), equal);
        ranks[2].match = QStringLiteral("(%1) NOT %2").arg(base, FtsString(first, true));
    } else {
        ranks[1].match = QStringLiteral("(%1) NOT %2").arg(base, equal);
        ranks[1].conditions << starts;
        ranks[2].match = base;
        ranks[2].conditions << QStringLiteral("NOT ") + starts;
    }
    for (int i = 1; i < 3; ++i) {
        ranks[i].conditions << shortWords;
        ranks[i].pendingConditions << anywhere << shortWords;
    }
    ranks[1].pendingConditions << starts << QStringLiteral("NOT ") + EqualName(query);
    ranks[2].pendingConditions << QStringLiteral("NOT ") + starts;
    return ranks;
}

// The ids of one rank in the catalogue's order: the index's matches, then (merged by
// id) the waiting units' ones.
QString RankIds(const Rank& rank, bool withPending)
{
    QString sql = QStringLiteral("SELECT UnitNameIndex.rowid FROM UnitNameIndex");
    if (!rank.conditions.isEmpty())
        sql += QStringLiteral(" CROSS JOIN Units ON Units.UnitID = UnitNameIndex.rowid");
    sql += QStringLiteral(" WHERE UnitNameIndex MATCH ") + QuoteSqlString(rank.match);
    for (const QString& condition : rank.conditions)
        sql += QStringLiteral(" AND ") + condition;
    if (withPending)
        sql += QStringLiteral(" UNION ALL SELECT UnitNameIndexPending.UnitID FROM "
                              "UnitNameIndexPending CROSS JOIN Units ON Units.UnitID = "
                              "UnitNameIndexPending.UnitID WHERE ") +
               rank.pendingConditions.join(QStringLiteral(" AND "));
    return sql;
}

qint64 FirstNumber(const std::vector<QString>& rows)
{
    return rows.empty() ? 0 : rows.front().toLongLong();
}

} // namespace

std::vector<int> CSqliteWrapper::FindIdsByName(const QStringList& words, int limit, int offset,
                                               NameLookup how)
{
    const bool withPending = how == NameLookup::Auto && HasNameIndex();
    const NameQuery query = SplitWords(words, withPending || how == NameLookup::Index);
    std::vector<int> ids;
    if (query.words.isEmpty() || limit <= 0)
        return ids;
    offset = std::max(0, offset);

    if (query.indexed.isEmpty()) {
        // By LIKE alone: ranked in one statement.
        const QString rank = QStringLiteral("CASE WHEN %1 THEN 0 WHEN %2 THEN 1 ELSE 2 END")
                                 .arg(EqualName(query), StartsWithFirst(query));
        QueryRows(Format("SELECT Units.UnitID FROM Units WHERE %s ORDER BY %s, Units.UnitID LIMIT "
                         "%d OFFSET %d",
                         {WhereClause(query, false), rank, limit, offset}),
                  ids, &RowMappers::Ids);
        return ids;
    }
    // Rank by rank, each read only as far as the page goes; a rank the offset passes
    // whole is counted to know how far into the next one the page starts.
    for (const Rank& rank : IndexRanks(query)) {
        const int wanted = limit - static_cast<int>(ids.size());
        if (wanted <= 0)
            break;
        const QString rankIds = RankIds(rank, withPending);
        const size_t before = ids.size();
        QueryRows(Format("%s ORDER BY 1 LIMIT %d OFFSET %d", {rankIds, wanted, offset}), ids,
                  &RowMappers::Ids);
        const int read = static_cast<int>(ids.size() - before);
        if (read > 0 || offset == 0) {
            offset = 0;
            continue;
        }
        std::vector<QString> counted;
        QueryRows(Format("SELECT COUNT(*) FROM (%s)", {rankIds}), counted, &RowMappers::Texts);
        offset -= static_cast<int>(std::min<qint64>(offset, FirstNumber(counted)));
    }
    return ids;
}

std::vector<FoundUnit> CSqliteWrapper::FindByName(const QStringList& words, int limit, int offset,
                                                  NameLookup how)
{
    const std::vector<int> ids = FindIdsByName(words, limit, offset, how);
    std::vector<FoundUnit> found;
    if (ids.empty())
        return found;
    QStringList list;
    for (const int id : ids)
        list << QString::number(id);
    std::vector<FoundUnit> rows;
    QueryRows(Format("%s WHERE Units.UnitID IN (%s)", {kFoundColumns, list.join(QLatin1Char(','))}),
              rows, &FoundUnitRows);
    std::map<int, FoundUnit*> byId;
    for (FoundUnit& row : rows)
        byId[row.UnitID] = &row;
    for (const int id : ids) {
        const auto it = byId.find(id);
        if (it != byId.end())
            found.push_back(std::move(*it->second));
    }
    const std::map<int, QString> locations = GetUnitLocations(ids);
    for (FoundUnit& unit : found) {
        const auto it = locations.find(unit.UnitID);
        if (it != locations.end())
            unit.Location = it->second;
    }
    return found;
}

qint64 CSqliteWrapper::CountByName(const QStringList& words, NameLookup how)
{
    const bool withPending = how == NameLookup::Auto && HasNameIndex();
    const NameQuery query = SplitWords(words, withPending || how == NameLookup::Index);
    if (query.words.isEmpty())
        return 0;
    // Words the index holds alone are counted without reading an indexed unit's row.
    QString sql;
    if (!query.others.isEmpty()) {
        sql = Format("SELECT COUNT(*) FROM Units WHERE %s", {WhereClause(query, withPending)});
    } else {
        sql = Format("SELECT COUNT(*) FROM UnitNameIndex WHERE UnitNameIndex MATCH %s",
                     {MatchLiteral(query.indexed)});
        if (withPending)
            sql = Format("SELECT (%s) + (SELECT COUNT(*) FROM (%s))", {sql, PendingMatches(query)});
    }
    std::vector<QString> rows;
    QueryRows(sql, rows, &RowMappers::Texts);
    return FirstNumber(rows);
}
