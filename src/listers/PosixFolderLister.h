#pragma once

#include "listers/FolderLister.h"

#include <QByteArray>
#include <QHash>
#include <QString>

// Lists a folder with opendir/readdir in name order: it reads all the folder's names
// first (a few dozen bytes each, a large folder's too), sorts them, then reads each
// entry's facts relative to the open folder as it hands the entry out: statx where the system has
// it (it also gives the birth time; one of exactly 0 counts as none), fstatat elsewhere. The
// folder's own path is opened through any links in it; a symbolic link among its entries is not
// followed but listed as itself, with its text from readlinkat and size 0.
//
// An entry removed between readdir and the stat is left out. An entry that exists but
// cannot be stat'ed (a folder that may be read but not searched) is listed with what
// readdir gives: its name, the folder or link bit when readdir knows the type, no times
// and size 0.
//
// Names are decoded with QFile::decodeName. A folder whose name does not survive the
// round trip (bytes that are not valid in the file-name encoding) is remembered by the
// path the scanner will ask for, so it can still be entered by its real bytes; two such
// names in one folder that decode to the same text are entered as one.
class PosixFolderLister final : public FolderLister
{
public:
    PosixFolderLister() = default;
    Q_DISABLE_COPY_MOVE(PosixFolderLister)

    int List(const QString& path, const OpenedCallback& opened,
             const EntryCallback& entry) override;
    /// From the file system's type (statfs) where the system has it.
    bool IgnoresCase(const QString& path) override;

private:
    // The bytes to open for path; sets *exact when encoding path gives them.
    QByteArray NativePath(const QString& path, bool* exact) const;

    // Folders whose decoded path does not encode back to their real bytes.
    QHash<QString, QByteArray> m_nativePaths;
};
