#pragma once

#include "listers/FolderLister.h"

#include <QString>

#include <cerrno>
#include <memory>

#ifdef _WIN32
#include <windows.h>
#endif

// What the disc image listers share: the choice between them, their error codes, their
// path convention and the quieting of libcdio.
namespace DiscImageLister {

#ifdef _WIN32
constexpr int kNotFound = ERROR_PATH_NOT_FOUND;
constexpr int kAccessDenied = ERROR_ACCESS_DENIED;
constexpr int kNotAnImage = ERROR_UNRECOGNIZED_MEDIA;
constexpr int kDamaged = ERROR_FILE_CORRUPT;
constexpr int kNotAFolder = ERROR_DIRECTORY;
#else
constexpr int kNotFound = ENOENT;
constexpr int kAccessDenied = EACCES;
// "Wrong medium type" says more than "Invalid argument" where the system has it.
#ifdef EMEDIUMTYPE
constexpr int kNotAnImage = EMEDIUMTYPE;
#else
constexpr int kNotAnImage = EINVAL;
#endif
constexpr int kDamaged = EIO;
constexpr int kNotAFolder = ENOTDIR;
#endif

/// The lister for the disc image at imagePath, already opened, showing the names the
/// mounted disc shows: the UDF tree on a UDF or UDF-bridge disc, else the ISO 9660 tree
/// (Rock Ridge, Joliet or plain names). Null when neither file system can be read;
/// error (if given) then gets the reason, else 0.
std::unique_ptr<FolderLister> Open(const QString& imagePath, int* error = nullptr);

/// Checks that imagePath names a readable file: 0, or the error a listing gives.
int CheckImageFile(const QString& imagePath);

/// The image's path as the listers keep it: absolute and clean.
QString CleanImagePath(const QString& imagePath);

/// The folder path relative to the image root ("" for the root, "A/B" for
/// "<image>/A/B"); false when path does not lie in the image. cleanImage comes from
/// CleanImagePath.
bool RelativePath(const QString& cleanImage, const QString& path, QString* relative);

/// The image's path as the system's file functions take it.
QByteArray NativePath(const QString& cleanImage);

/// Sends libcdio's log nowhere, for the whole process, on first call. Its own handler
/// writes warnings to stdout, where the command line prints its tables, and ends the
/// process on an error message; the listers report through their return codes instead.
void QuietLibrary();

} // namespace DiscImageLister
