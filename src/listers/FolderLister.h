#pragma once

#include "listers/FindData.h"

#include <QString>
#include <QtGlobal>

#include <functional>
#include <memory>

// Where a folder lies on its file system (device and inode on POSIX systems, volume
// serial number and file index on Windows). Two paths to the same folder (the chosen
// root through a link, a bind mount) give the same identity.
struct FolderIdentity
{
    quint64 Device = 0;
    quint64 Inode = 0;
    bool Known = false; // false when the file system could not say
};

// Lists one folder at a time for the scanner. The platform's lister reads the disc;
// tests put a fake in its place for what a real disc cannot easily produce.
class FolderLister
{
public:
    /// Told the identity of the folder just opened; returns false to skip its entries
    /// (a folder already listed in this walk).
    using OpenedCallback = std::function<bool(const FolderIdentity& identity)>;
    /// Given one entry; returns false to stop the listing at once (a cancel request).
    using EntryCallback = std::function<bool(const FindData& entry)>;

    virtual ~FolderLister() = default;

    /// Lists the folder at path. Once it is open, calls opened with its identity; when
    /// that returns true, calls entry for every entry other than "." and ".." until entry
    /// returns false: in name order (NameLess) from the POSIX and disc image listers, in
    /// the order the file system delivers them on Windows (the same order on NTFS). A
    /// folder has the FindData::kDirectory attribute and size 0. A symbolic link,
    /// junction or mount point inside the folder is never followed: its entry describes
    /// the link itself (FindData::kLink, size 0, the link's text), so a walk counts what
    /// lies in the tree once and never leaves it. path itself may be reached through
    /// links: the folder they lead to is listed.
    /// Returns 0 when the folder was listed to its end or a callback stopped it;
    /// otherwise the system's error code (errno; GetLastError on Windows): either the
    /// folder could not be opened and neither callback was called, or reading broke
    /// off after the entries already given.
    virtual int List(const QString& path, const OpenedCallback& opened,
                     const EntryCallback& entry) = 0;

    /// Whether the file system that holds the folder at path takes names that differ
    /// only in case for one name (FAT, exFAT, NTFS, ISO 9660 and UDF; every folder on
    /// Windows). False where the lister cannot tell.
    virtual bool IgnoresCase(const QString& path);

    /// The lister that reads this platform's file systems.
    static std::unique_ptr<FolderLister> CreatePlatformLister();

    /// The order in which a folder's entries are listed, NTFS's: names compared unit by
    /// unit, each UTF-16 unit upper-cased, a name before the longer names it begins
    /// ("10" < "9" < "a" < "ab" < "B" < "_" < "é"); names alike but for their case in
    /// binary order ("A" before "a"), so the order never depends on how the folder was
    /// read.
    static bool NameLess(const QString& a, const QString& b);
};
