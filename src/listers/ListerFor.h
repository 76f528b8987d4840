#pragma once

#include "listers/FolderLister.h"

#include <QString>

#include <memory>

/// The lister that reads what path names: a file is a disc image and is listed from
/// inside (its UDF tree on a UDF or UDF-bridge disc, else its ISO 9660 tree, as a mounted
/// disc shows it); anything else (a folder, a drive's mount point) is listed with the
/// platform's lister. Null for an image whose file system cannot be read: error (if
/// given) then gets the reason, else 0.
std::unique_ptr<FolderLister> ListerFor(const QString& path, int* error = nullptr);

/// Whether ListerFor reads path from inside a file rather than as a folder of the
/// system.
bool IsListedFromInside(const QString& path);
