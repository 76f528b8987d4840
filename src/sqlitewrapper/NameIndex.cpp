// The name index of a catalogue (version 1.3 on): an FTS5 table with the trigram
// tokenizer over Units.UnitName, kept current by triggers on Units. This file tells
// whether it is there and complete, and fills it for the units of an upgraded
// catalogue, which wait in UnitNameIndexPending (ids FromUnitID <= UnitID < ToUnitID).
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"
#include "sqlitewrapper/Transaction.h"

#include <algorithm>
#include <memory>

using SqlText::Format;

const char* const CSqliteWrapper::kNameIndexTablePrefix = "UnitNameIndex";

namespace {

qint64 FirstNumber(const std::vector<QString>& rows)
{
    return rows.empty() ? 0 : rows.front().toLongLong();
}

} // namespace

bool CSqliteWrapper::HasNameIndex()
{
    std::vector<int> found;
    QueryRows(QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = "
                             "'UnitNameIndexPending'"),
              found, &RowMappers::Ids);
    return !found.empty();
}

bool CSqliteWrapper::IsNameIndexComplete()
{
    if (!HasNameIndex())
        return false;
    std::vector<QString> rows;
    QueryRows(QStringLiteral("SELECT COUNT(*) FROM UnitNameIndexPending"), rows,
              &RowMappers::Texts);
    return FirstNumber(rows) == 0;
}

qint64 CSqliteWrapper::CountUnindexedNames()
{
    if (!HasNameIndex())
        return CountUnits();
    std::vector<QString> rows;
    QueryRows(QStringLiteral("SELECT COUNT(*) FROM UnitNameIndexPending INNER JOIN Units ON "
                             "Units.UnitID >= FromUnitID AND Units.UnitID < ToUnitID"),
              rows, &RowMappers::Texts);
    return FirstNumber(rows);
}

qint64 CSqliteWrapper::IndexNamesStep(int maxUnits)
{
    if (!HasNameIndex())
        return CountUnits();
    std::vector<QString> range;
    QueryRows(QStringLiteral("SELECT FromUnitID || ',' || ToUnitID FROM UnitNameIndexPending "
                             "LIMIT 1"),
              range, &RowMappers::Texts);
    if (range.empty())
        return 0;
    const qint64 from = range.front().section(QLatin1Char(','), 0, 0).toLongLong();
    const qint64 to = range.front().section(QLatin1Char(','), 1, 1).toLongLong();
    const qint64 next = std::min(to, from + std::max(1, maxUnits));

    // The step and the shrinking of the waiting range go together, or not at all.
    std::unique_ptr<CTransaction> transaction;
    if (!InTransaction())
        transaction = std::make_unique<CTransaction>(*this);
    Execute(Format("INSERT INTO UnitNameIndex (rowid, UnitName) SELECT UnitID, UnitName FROM "
                   "Units WHERE UnitID >= %lld AND UnitID < %lld",
                   {from, next}));
    Execute(Format("UPDATE UnitNameIndexPending SET FromUnitID = %lld", {next}));
    Execute(QStringLiteral("DELETE FROM UnitNameIndexPending WHERE FromUnitID >= ToUnitID"));
    if (transaction)
        transaction->Commit();
    return CountUnindexedNames();
}

void CSqliteWrapper::RebuildNameIndex()
{
    if (!HasNameIndex())
        return;
    std::unique_ptr<CTransaction> transaction;
    if (!InTransaction())
        transaction = std::make_unique<CTransaction>(*this);
    // FTS5 reads every name of its content table again; nothing waits afterwards.
    Execute(QStringLiteral("INSERT INTO UnitNameIndex (UnitNameIndex) VALUES ('rebuild')"));
    Execute(QStringLiteral("DELETE FROM UnitNameIndexPending"));
    if (transaction)
        transaction->Commit();
}
