#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

/// Reads a volume's label, serial number and recorded length straight from its bytes, as
/// Windows reports them: the serial number in particular is computed the way Windows NT
/// computes it, so that a disc catalogued on Linux is recognised on Windows and the other
/// way round. Knows ISO 9660 (with and without Joliet), UDF, FAT12/16/32 and NTFS.
/// Truncated or damaged volumes fail cleanly.
namespace VolumeReader {

/// Reads exactly `length` bytes at `offset` into `buffer`; false when they cannot all be
/// read. A disc drive, an image file, or bytes in memory.
using ReadAt = std::function<bool(qint64 offset, char* buffer, qint64 length)>;

enum class FileSystem { None, Iso9660, Joliet, Udf, Fat12, Fat16, Fat32, Ntfs };

struct Volume
{
    FileSystem Type = FileSystem::None;
    QString Label;
    quint32 SerialNumber = 0;
    /// The length the file system records for itself (ISO 9660: volume space size times
    /// logical block size; FAT and NTFS: sector count times sector size); 0 when it
    /// records none.
    qint64 RecordedSize = 0;
};

/// Recognises the file system and reads it. False with a message in `error` when no
/// known file system is there or its structures cannot be read.
bool Read(const ReadAt& read, Volume& volume, QString& error);

/// The same from a file: a disc image, or a device node the caller may read.
bool ReadFile(const QString& path, Volume& volume, QString& error);

/// "ISO 9660", "Joliet", "UDF", "FAT12", "FAT16", "FAT32", "NTFS"; empty for None.
QString FileSystemName(FileSystem type);

} // namespace VolumeReader
