#pragma once

#include "sqlitewrapper/Nullable.h"
#include "sqlitewrapper/Records.h"

#include <QString>
#include <QtGlobal>

// One unit as an export writes it: its own columns, its category's name and the media
// details its category carries (CSqliteWrapper::GetExportChildren and GetExportUnits).
// Dates are as stored ("YYYY-MM-DD HH:MM:SS", local time), empty when there is none.
struct ExportRecord
{
    int UnitID = 0;
    int StorageID = 0;
    QString Name;
    UnitKind Kind = UnitKind::Unset;
    qint64 Size = 0;
    QString Modified;
    QString Created;
    QString Added;
    QString Category;
    QString Notes;
    // Media details: a film's or a piece of music's duration (seconds), a film's or a
    // picture's width and height, and so on; null where the unit has none.
    CNullable<qint64> Duration;
    CNullable<qint64> Width;
    CNullable<qint64> Height;
    CNullable<qint64> Bitrate;
    QString Codec;
    QString Artist;
    QString Title;
    QString Album;
    CNullable<qint64> Year;
    CNullable<qint64> Track;
    QString Genre;
    // A file whose entries are catalogued below it (an archive, or one inside another).
    bool IsArchive = false;
    // The format its ArchiveInfo row gives ("ZIP"); empty for a unit without one.
    QString ArchiveFormat;
};
