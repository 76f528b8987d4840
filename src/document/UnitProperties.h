#pragma once

#include "sqlitewrapper/SqliteWrapper.h"

#include <QString>
#include <QStringList>

#include <vector>

// What the properties dialog shows of a storage or a unit, as titled tabs of
// label/value texts. The window's dialog and the command line's "show" both use it.
namespace UnitProperties {

struct Field
{
    QString Label; // as the dialog labels it, e.g. "Serial Number:"
    QString Value;
};

struct Tab
{
    QString Title;
    std::vector<Field> Fields;
};

// The tabs for a storage or a unit. Raises CSqliteWrapperError, and std::out_of_range
// for a missing unit. A folder or file inside an archive has a file's tab alone; an
// archive has its ArchiveTabTitle() tab after its file tab (format, entries, size
// uncompressed).
std::vector<Tab> Collect(CSqliteWrapper& db, int id, bool isStorage);
QString ArchiveTabTitle(); // "Archive Info"

// The updates from its source applied to a unit lying in a storage, newest first, one
// row of texts per update under UpdateHistoryHeaders(): the date in local time, the
// counts of the change report, the files and size after the update.
QStringList UpdateHistoryHeaders();
std::vector<QStringList> UpdateHistory(CSqliteWrapper& db, int unitId);

// Value texts.
QString AudioDuration(int seconds);  // "01:02:05 (3725 seconds)"
QString FilmDuration(int seconds);   // "01:02:05"
QString Channels(int channels);      // "2 (stereo)", "1 (mono)", "6 "
QString UnitKindName(UnitKind kind); // "Disc", "Folder", "File"

} // namespace UnitProperties
