#pragma once

#include <QString>
#include <QtGlobal>

// What the statistics of the catalogue read (Statistics.cpp).

// The part of the catalogue they cover: a unit (disc or folder) with everything below
// it, a storage, or with both ids 0 the whole catalogue.
struct StatisticsScope
{
    int StorageId = 0;
    int UnitId = 0;
};

// The files ('F' units, never the entries of archives) sharing a category, an
// extension (lower case, empty for a name without a dot) and a year of modification
// (empty when the file has no date): how many and their bytes.
struct FileGroupRow
{
    int CategoryID = 0;
    QString Extension;
    QString Year;
    qint64 Files = 0;
    qint64 Bytes = 0;
};

// A disc or folder: its bytes and files (its stored totals) and, for a disc, the
// year it was added to the catalogue.
struct ContainerRow
{
    int UnitID = 0;
    QString Name;
    qint64 Bytes = 0;
    qint64 Files = 0;
    QString YearAdded;
};
