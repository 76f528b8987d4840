#pragma once

#include "sqlitewrapper/Records.h"

#include <QString>
#include <QtGlobal>

// One unit found by its name (CSqliteWrapper::FindByName): what a results row shows.
struct FoundUnit
{
    int UnitID = 0;
    QString UnitName;
    UnitKind Kind = UnitKind::Unset;
    int CategoryID = 0;
    qint64 UnitSize = 0;
    // Where it lies, as GetUnitLocations gives it ("Box 1 › Backup 2008-03 › Documents").
    QString Location;
};

// How FindByName and CountByName look names up. Auto takes the name index and reads the
// names of the units still waiting for it, or every name in a catalogue without the
// index; Index and Scan force one way (Index finds only what is indexed).
enum class NameLookup { Auto, Index, Scan };
