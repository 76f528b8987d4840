#include "volumes/FatVolume.h"

#include "volumes/VolumeBytes.h"

namespace VolumeReader {

namespace {

// The label Windows shows is the root folder's volume-label entry, not the boot sector's.
QString FatRootLabel(const Bytes& entries, bool& end)
{
    for (int at = 0; at + 32 <= entries.Size(); at += 32) {
        const quint8 first = entries.U8(at);
        if (first == 0) {
            end = true;
            return QString();
        }
        const quint8 attributes = entries.U8(at + 11);
        if (first == 0xE5 || attributes == 0x0F || (attributes & 0x18) != 0x08)
            continue;
        QByteArray name = entries.Mid(at, 11);
        if (static_cast<quint8>(name[0]) == 0x05)
            name[0] = static_cast<char>(0xE5);
        end = true;
        return Trimmed(QString::fromLatin1(name));
    }
    return QString();
}

} // namespace

bool TryFat(const Bytes& boot, const ReadAt& read, Volume& volume)
{
    const quint8 jump = boot.U8(0);
    const quint32 bytesPerSector = boot.U16(11);
    const quint32 sectorsPerCluster = boot.U8(13);
    const quint32 reserved = boot.U16(14);
    const quint32 fats = boot.U8(16);
    const quint32 rootEntries = boot.U16(17);
    const quint32 fatSize = boot.U16(22) ? boot.U16(22) : boot.U32(36);
    const quint32 totalSectors = boot.U16(19) ? boot.U16(19) : boot.U32(32);
    if ((jump != 0xEB && jump != 0xE9) || boot.Equals(3, "NTFS    ") || boot.Equals(3, "EXFAT   "))
        return false;
    if ((bytesPerSector != 512 && bytesPerSector != 1024 && bytesPerSector != 2048 &&
         bytesPerSector != 4096) ||
        sectorsPerCluster == 0 || (sectorsPerCluster & (sectorsPerCluster - 1)) != 0 ||
        reserved == 0 || fats == 0 || fatSize == 0 || totalSectors == 0)
        return false;

    const quint64 rootSectors = (rootEntries * 32uLL + bytesPerSector - 1) / bytesPerSector;
    const quint64 firstData = reserved + static_cast<quint64>(fats) * fatSize + rootSectors;
    if (firstData >= totalSectors)
        return false;
    const quint64 clusters = (totalSectors - firstData) / sectorsPerCluster;
    // The layout of the boot sector follows the BPB: a zero 16-bit FAT size means FAT32.
    const bool fat32Layout = boot.U16(22) == 0;
    volume.Type = fat32Layout       ? FileSystem::Fat32
                  : clusters < 4085 ? FileSystem::Fat12
                                    : FileSystem::Fat16;
    const int signature = fat32Layout ? 0x42 : 0x26;
    const quint8 extended = boot.U8(signature);
    volume.SerialNumber = extended == 0x29 || extended == 0x28 ? boot.U32(signature + 1) : 0;
    volume.RecordedSize = static_cast<qint64>(totalSectors) * bytesPerSector;

    const qint64 clusterBytes = static_cast<qint64>(sectorsPerCluster) * bytesPerSector;
    bool end = false;
    if (!fat32Layout) {
        const qint64 root = (reserved + static_cast<qint64>(fats) * fatSize) * bytesPerSector;
        Bytes entries;
        const qint64 rootBytes = qMin<qint64>(rootSectors * bytesPerSector, 1 << 20);
        if (rootBytes > 0 && ReadBytes(read, root, rootBytes, entries))
            volume.Label = FatRootLabel(entries, end);
        return true;
    }
    // FAT32 keeps its root folder in a cluster chain; follow it a bounded distance.
    quint32 cluster = boot.U32(44) & 0x0FFFFFFF;
    for (int step = 0; step < 4096 && !end && cluster >= 2 && cluster < clusters + 2; ++step) {
        Bytes entries;
        if (!ReadBytes(read,
                       static_cast<qint64>(firstData) * bytesPerSector +
                           (cluster - 2) * clusterBytes,
                       clusterBytes, entries))
            break;
        volume.Label = FatRootLabel(entries, end);
        Bytes next;
        if (!ReadBytes(read, static_cast<qint64>(reserved) * bytesPerSector + cluster * 4LL, 4,
                       next))
            break;
        cluster = next.U32(0) & 0x0FFFFFFF;
    }
    return true;
}

} // namespace VolumeReader
