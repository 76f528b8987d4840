#pragma once

#include "settings/Settings.h"
#include "sqlitewrapper/Records.h"

#include <QHash>
#include <QIcon>
#include <QString>

// The icons of storages, discs, folders and files, shared by the tree and the list.
// Taken from the desktop's icon theme by their freedesktop names, with the program's
// bundled icons (:/icons) where the theme has none. The rule follows the FileIconsStyle
// setting: one file icon (Default), one per category (CategoryBased), or the desktop's
// icon for the file type (Explorer, cached per extension).
class CUnitIcons final
{
public:
    enum Index {
        Storage = 0,
        Disc = 1,
        Folder = 2,
        File = 3,
        Custom = 4,
        Film = 5,
        Music = 6,
        Picture = 7,
        Archive = 8
    };

    QIcon Icon(const UnitListItem& unit, FileIconsStyle style);
    QIcon Icon(Index index) const;
    // Storage, disc and folder icons open their unit when activated, and so does an
    // archive's; files do not. A folder inside an archive has the folder icon, a file
    // inside one a file's.
    static Index BaseIndex(const UnitListItem& unit, FileIconsStyle style);
    /// The desktop theme's icon of that freedesktop name, or the bundled one of the same
    /// name where the theme has none. The program's own icons ("shelfwise", "shelfwise-*")
    /// always come from the bundle.
    static QIcon ThemeIcon(const char* freedesktopName);

private:
    QIcon TypeIcon(const QString& fileName);

    QHash<QString, QIcon> m_byExtension;
};
