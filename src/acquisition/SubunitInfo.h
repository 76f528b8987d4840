#pragma once

#include "listers/FindData.h"

#include <QString>
#include <QtGlobal>

#include <memory>

// One file or folder found by the scanner, handed to the importer through the
// SubunitQueue. Never changed after it has been pushed. The folder path is shared by
// every entry of that folder, so a queue of a whole tree stays small.
struct SubunitInfo
{
    quint32 ID = 0;       // scan-local identity from a process-wide counter (first is 1)
    quint32 ParentID = 0; // ID of the folder the entry was found in; 0 in the root
    FindData Data;
    std::shared_ptr<const QString> FolderPath; // the folder the entry lies in

    // Anything but a folder (a link too) is imported as a file.
    bool IsFile() const { return !Data.IsDirectory(); }

    // The folder's path, the native separator, the entry's name.
    QString Path() const;
};

using SubunitInfoPtr = std::shared_ptr<const SubunitInfo>;
