#pragma once

#include "listers/ArchiveLister.h"

#include <QString>
#include <QtGlobal>

#include <unordered_map>

class CSqliteWrapper;

// Writes what an archive holds into the catalogue: its entries as 'd' and 'f' units
// below the archive's own unit (same storage, names, sizes and modification dates as
// read, categories by extension like any file, no media details), and an ArchiveInfo
// row for the archive and for each archive read from inside it. Entries never reach
// the counters of folders, discs and storages, which count the archive once at its own
// size. Also reports what could not be read to the file-system error list.
class CArchiveWriter final
{
public:
    /// categorise: by extension, else every entry gets fixedCategory.
    explicit CArchiveWriter(bool categorise = true, int fixedCategory = 1);

    /// Writes listing below the archive's unit; returns the number of entries written.
    /// Raises CSqliteWrapperError.
    int Write(CSqliteWrapper& db, int archiveUnitId, int storageId,
              const ArchiveLister::Listing& listing);

    /// Puts the listing's errors (its own and those of archives inside it) on ErrorLog's
    /// file-system error list, under the archive's path.
    static void ReportErrors(const QString& path, const ArchiveLister::Listing& listing);

private:
    // The local wall-clock reading of a UTC time, as the importer stores file dates.
    qint64 WallClock(qint64 utcMsecs);

    bool m_categorise;
    int m_fixedCategory;
    std::unordered_map<qint64, qint64> m_utcOffsets; // hour since 1970 -> msecs east of UTC
};
