// The writes particular to importing another cataloguer's list.
#include "sqlitewrapper/SqliteWrapper.h"

using SqlText::Format;
using SqlText::FormatSqlDate;

void CSqliteWrapper::SetUnitDateAdded(int unitId, const QDateTime& added)
{
    Execute(Format("UPDATE Units SET DateAdded = %s WHERE UnitID = %d",
                   {FormatSqlDate(added), unitId}));
}

void CSqliteWrapper::SetUnitsDateAdded(int firstId, int lastId, const QDateTime& added)
{
    Execute(Format("UPDATE Units SET DateAdded = %s WHERE UnitID BETWEEN %d AND %d",
                   {FormatSqlDate(added), firstId, lastId}));
}
