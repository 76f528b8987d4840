#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <limits>

// The descriptors of a UDF volume (ECMA-167 as UDF records it) read from the bytes of
// its blocks: little-endian fields, tags and their checksums, timestamps, names, the path
// components of a symbolic link, file entries. The readers take offsets the caller has
// checked against the data's size; a file entry's own lengths are checked here.
namespace UdfDescriptors {

constexpr qint64 kBlock = 2048;
/// A time the volume does not record (the listers' kNoTime).
constexpr qint64 kNoTime = std::numeric_limits<qint64>::min();

enum Tag : quint16 {
    kAnchor = 2,
    kPartitionDescriptor = 5,
    kLogicalVolumeDescriptor = 6,
    kTerminatingDescriptor = 8,
    kFileSetDescriptor = 256,
    kFileIdentifier = 257,
    kAllocationExtent = 258,
    kFileEntry = 261,
    kExtendedFileEntry = 266,
};

constexpr quint8 kDirectoryType = 4;     // the file type of a folder's entry
constexpr quint8 kSymbolicLinkType = 12; // ... and of a symbolic link's
constexpr quint8 kInEntry = 3;           // the data lies in the file entry itself
constexpr quint8 kDirectoryFlag = 0x02;  // file identifier characteristics
constexpr quint8 kDeletedFlag = 0x04;    //
constexpr quint8 kParentFlag = 0x08;     //
constexpr quint32 kExtentLengthMask = 0x3FFFFFFF;

quint8 U8(const QByteArray& d, int at);
quint16 U16(const QByteArray& d, int at);
quint32 U32(const QByteArray& d, int at);
quint64 U64(const QByteArray& d, int at);

/// A place on the volume: the partition reference number and the block inside it.
quint64 Location(quint16 partition, quint32 block);

/// Every descriptor starts with a tag whose checksum covers its other 15 bytes.
bool HasTag(const QByteArray& d, int at, quint16 id);

/// A 12-byte timestamp in UTC, or kNoTime.
qint64 Timestamp(const QByteArray& d, int at);

/// A file identifier of length bytes, slashes and NULs made underscores.
QString DecodeName(const QByteArray& d, int at, int length);

/// The text of a symbolic link from its path components, as readlink gives it.
QString PathComponentsText(const QByteArray& d);

struct FileEntry
{
    quint8 Type = 0;
    quint8 AllocationKind = 0; // 0 short, 1 long, 2 extended descriptors, 3 in the entry
    quint64 Size = 0;
    qint64 Modified = kNoTime;
    qint64 Created = kNoTime;
    QByteArray Allocation; // the allocation descriptors, or the data held in the entry
};

/// A file entry or an extended file entry; false for anything else or a damaged one.
bool ParseFileEntry(const QByteArray& block, FileEntry* entry);

/// Whether every byte from from to the end is zero (the unused end of a folder's data).
bool IsZero(const QByteArray& d, int from);

} // namespace UdfDescriptors
