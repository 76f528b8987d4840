#include "volumes/VolumeReader.h"

#include "volumes/FatVolume.h"
#include "volumes/IsoVolume.h"
#include "volumes/NtfsVolume.h"
#include "volumes/UdfVolume.h"
#include "volumes/VolumeBytes.h"

#include <QFile>

namespace VolumeReader {

// The disc file systems first, UDF before ISO 9660: a UDF bridge disc carries both, and
// its UDF volume is the one read. Then the boot sector's, NTFS before FAT.
bool Read(const ReadAt& read, Volume& volume, QString& error)
{
    volume = Volume();
    if (TryUdf(read, volume) || TryIso9660(read, volume))
        return true;
    volume = Volume();
    Bytes boot;
    if (!ReadBytes(read, 0, 512, boot)) {
        error = QStringLiteral("The volume cannot be read.");
        return false;
    }
    if (TryNtfs(boot, read, volume) || TryFat(boot, read, volume))
        return true;
    volume = Volume();
    error = QStringLiteral("No known file system (ISO 9660, UDF, FAT, NTFS) on the volume.");
    return false;
}

bool ReadFile(const QString& path, Volume& volume, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        volume = Volume();
        error = file.errorString();
        return false;
    }
    const ReadAt read = [&file](qint64 offset, char* buffer, qint64 length) {
        return file.seek(offset) && file.read(buffer, length) == length;
    };
    return Read(read, volume, error);
}

QString FileSystemName(FileSystem type)
{
    switch (type) {
    case FileSystem::None:
        break;
    case FileSystem::Iso9660:
        return QStringLiteral("ISO 9660");
    case FileSystem::Joliet:
        return QStringLiteral("Joliet");
    case FileSystem::Udf:
        return QStringLiteral("UDF");
    case FileSystem::Fat12:
        return QStringLiteral("FAT12");
    case FileSystem::Fat16:
        return QStringLiteral("FAT16");
    case FileSystem::Fat32:
        return QStringLiteral("FAT32");
    case FileSystem::Ntfs:
        return QStringLiteral("NTFS");
    }
    return QString();
}

} // namespace VolumeReader
