#pragma once

#include "sqlitewrapper/Nullable.h"

#include <QDateTime>
#include <QString>
#include <QtGlobal>

#include <vector>

// The kind of a unit, as held in memory; stored in Units.UnitType as 'C', 'D', 'F', and
// 'd', 'f' for a folder and a file inside an archive (the children of an archive's 'F'
// unit). Storage stands for a storage in records held in memory and is never stored.
enum class UnitKind : int {
    Unset = -1,
    Storage = 0,
    Disc = 1,
    Folder = 2,
    File = 3,
    ArchiveFolder = 4,
    ArchiveFile = 5,
};

// The built-in categories.
namespace CategoryIds {
constexpr int General = 1;
constexpr int Film = 2;
constexpr int Music = 3;
constexpr int Picture = 4;
constexpr int All = -1; // in search criteria: "In all categories"
} // namespace CategoryIds

QChar UnitTypeChar(UnitKind kind);
UnitKind UnitKindFromChar(char type);
// What the lists call a unit of this kind: "Disc", "Folder" or "File".
QString UnitKindText(UnitKind kind);

// One row of a unit listing: from "UnitID, UnitName, SubfoldersNumber, UnitSize,
// CategoryID, UnitType" and, where the listing reads it, whether the unit is an archive
// (a file or archive entry with an ArchiveInfo row).
struct UnitListItem
{
    QString UnitName;
    bool HasSubfolders = false;
    bool IsArchive = false;
    int UnitID = 0;
    UnitKind Kind = UnitKind::Unset;
    int CategoryID = 0;
    qint64 UnitSize = 0;
};

// One row of the storage list: from "StorageID, StorageName, FoldersNumber, DiscsNumber".
struct StorageListItem
{
    QString StorageName;
    bool HasChildren = false;
    int StorageID = 0;
};

// A whole Storages row, "SELECT * FROM Storages".
struct StorageRecord
{
    int StorageID = 0;
    QString StorageName;
    QString StorageNotes;
    qint64 FoldersNumber = 0;
    qint64 DiscsNumber = 0;
    qint64 FilesNumber = 0;
    qint64 StorageSize = 0;
    QString DateAdded;
};

struct CategoryRecord
{
    QString Name;
    bool IsCustom = false;
};

struct DiscDetails
{
    QString UnitName;
    QString UnitNotes;
    int CategoryID = 0;
    qint64 Size = 0;
    QString DateAdded;
    QString Label;
    quint32 SerialNumber = 0;
    int SubfilesNumber = 0;
    int SubfoldersNumber = 0;
};

struct FolderDetails
{
    QString UnitName;
    QString UnitNotes;
    int CategoryID = 0;
    qint64 UnitSize = 0;
    QString DateAdded;
    int SubfilesNumber = 0;
    int SubfoldersNumber = 0;
};

struct FileDetails
{
    QString UnitName;
    QString UnitNotes;
    int CategoryID = 0;
    qint64 UnitSize = 0;
    QString DateAdded;
    QString DateCreated;
    QString DateModified;
};

// An archive's ArchiveInfo row: its format ("zip", "7z", ...), its number of entries and
// their size uncompressed.
struct ArchiveDetails
{
    QString Format;
    qint64 EntriesNumber = 0;
    qint64 UncompressedSize = 0;
};

struct FilmInfo
{
    int Id = 0;
    CNullable<int> Duration;
    CNullable<int> Width;
    CNullable<int> Height;
    CNullable<int> Bitrate;
    CNullable<QString> Codec;
};

struct MusicInfo
{
    int Id = 0;
    CNullable<int> Duration;
    CNullable<int> Bitrate;
    CNullable<int> ChannelsNumber;
    CNullable<int> SamplingRate;
    CNullable<QString> Artist;
    CNullable<QString> Title;
    CNullable<QString> Album;
    CNullable<int> Year;
    CNullable<int> TrackNumber;
    CNullable<QString> Genre;
    CNullable<QString> Comments;
};

struct PictureInfo
{
    int Id = 0;
    CNullable<int> Width;
    CNullable<int> Height;
    CNullable<int> HorizontalResolution;
    CNullable<int> VerticalResolution;
    CNullable<int> ColorDepth;
};

// Everything the properties dialog shows of one unit: the details of its kind and,
// for a media file, its media row.
struct UnitInfo
{
    UnitKind Kind = UnitKind::Unset;
    DiscDetails Disc;
    FolderDetails Folder;
    FileDetails File;
    std::vector<FilmInfo> Film;
    std::vector<MusicInfo> Music;
    std::vector<PictureInfo> Picture;
};

// One row of the report listing: "UnitID, ParentUnitID, StorageID, UnitName, UnitType,
// UnitSize, DateAdded". ParentUnitID is 0 for a unit at the top of its storage.
struct ReportRow
{
    int UnitID = 0;
    int ParentUnitID = 0;
    int StorageID = 0;
    QString UnitName;
    UnitKind Kind = UnitKind::Unset;
    qint64 UnitSize = 0;
    QString DateAdded;
};

// Where a disc, folder or file added on its own was read from: a UnitSources row.
// MountPoint is empty for a folder or a file (and for a disc when the drive system knew
// no mount point); ScannedAt is in UTC, to the second.
struct UnitSource
{
    int UnitID = 0;
    QString SourcePath;
    QString MountPoint;
    QDateTime ScannedAt;
};

// One applied update of a unit added on its own: a UnitUpdates row. UpdatedAt is in
// UTC, to the second; the counts are the change report's, the files and bytes those of
// the unit before and after.
struct UnitUpdateRecord
{
    int UnitID = 0;
    QDateTime UpdatedAt;
    int Added = 0;
    int Removed = 0;
    int Changed = 0;
    int Moved = 0;
    int Unreadable = 0;
    qint64 FilesBefore = 0;
    qint64 FilesAfter = 0;
    qint64 SizeBefore = 0;
    qint64 SizeAfter = 0;
};

// What a unit at the top of a storage adds to the storage's counters.
struct StorageShare
{
    qint64 Files = 0;
    qint64 Folders = 0;
    int Discs = 0;
    qint64 Size = 0;
};
