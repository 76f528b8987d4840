#pragma once

#include "sqlitewrapper/StatisticsRecords.h"
#include "stats/StatisticsResult.h"

#include <functional>

class CSqliteWrapper;

// Gathers the statistics of a unit (disc or folder) with everything below it, a
// storage, or the whole catalogue: files and bytes per category, per extension (the
// largest by bytes, the rest as one row), per year of modification; the largest discs
// and folders with where they lie; the discs added per year. Only files on the media
// count: the entries of archives are left out, as the catalogue's totals leave them.
class CStatisticsGatherer final
{
public:
    static constexpr int kTopExtensions = 20;
    static constexpr int kTopUnits = 20;

    explicit CStatisticsGatherer(CSqliteWrapper& db) : m_db(db) {}

    // keepGoing is asked between the catalogue's reads; false when it stopped the work
    // (result is then incomplete). Catalogue errors are thrown as CSqliteWrapperError.
    bool Gather(const StatisticsScope& scope, CatalogueStatistics& result,
                const std::function<bool()>& keepGoing = {});

    // The label of files without an extension, of the extensions past the largest,
    // and of files without a date.
    static QString NoExtensionLabel();
    static QString OtherExtensionsLabel();
    static QString UnknownYearLabel();

private:
    CSqliteWrapper& m_db;
};
