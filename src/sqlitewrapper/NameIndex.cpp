// The name index of a catalogue (version 1.3 on): an FTS5 table with the trigram
// tokenizer over Units.UnitName (from 1.4 each name with an end mark, char(1)). Added units wait in
// UnitNameIndexPending (one row each, recorded by the insert trigger, as are every unit of an
// upgraded catalogue); renames and deletes of indexed units follow through triggers. This file
// tells whether the index is there and complete, and indexes the waiting units in bulk.
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
    // The delete trigger forgets a waiting unit with its row: every row names a unit.
    QueryRows(QStringLiteral("SELECT COUNT(*) FROM UnitNameIndexPending"), rows,
              &RowMappers::Texts);
    return FirstNumber(rows);
}

qint64 CSqliteWrapper::IndexNamesStep(int maxUnits)
{
    if (!HasNameIndex())
        return CountUnits();
    // The last id of this step: the step takes the first maxUnits waiting ids.
    std::vector<QString> last;
    QueryRows(Format("SELECT MAX(UnitID) FROM (SELECT UnitID FROM UnitNameIndexPending ORDER BY "
                     "UnitID LIMIT %d)",
                     {std::max(1, maxUnits)}),
              last, &RowMappers::Texts);
    if (last.empty() || last.front().isEmpty())
        return 0;
    const qint64 through = last.front().toLongLong();

    // The names go into the index and their rows out of the waiting table together, or
    // not at all. One statement for the whole step: FTS5 merges what a statement adds
    // once, where a trigger's row by row insert leaves a segment per statement.
    std::unique_ptr<CTransaction> transaction;
    if (!InTransaction())
        transaction = std::make_unique<CTransaction>(*this);
    // The index's content view gives each name with its end mark.
    Execute(Format("INSERT INTO UnitNameIndex (rowid, UnitName) SELECT "
                   "UnitNameIndexContent.UnitID, UnitNameIndexContent.UnitName FROM "
                   "UnitNameIndexPending INNER JOIN UnitNameIndexContent ON "
                   "UnitNameIndexContent.UnitID = UnitNameIndexPending.UnitID WHERE "
                   "UnitNameIndexPending.UnitID <= %lld",
                   {through}));
    Execute(Format("DELETE FROM UnitNameIndexPending WHERE UnitID <= %lld", {through}));
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
