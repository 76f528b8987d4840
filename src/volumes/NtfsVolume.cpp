#include "volumes/NtfsVolume.h"

#include "volumes/VolumeBytes.h"

#include <limits>

namespace VolumeReader {

namespace {

// The label is the $VOLUME_NAME attribute of $Volume, the MFT's fourth record.
QString NtfsLabel(const Bytes& boot, const ReadAt& read)
{
    const qint64 bytesPerSector = boot.U16(11);
    const quint8 perCluster = boot.U8(13);
    const qint64 sectorsPerCluster = perCluster <= 0x80 ? perCluster : 1LL << (256 - perCluster);
    const qint64 clusterSize = bytesPerSector * sectorsPerCluster;
    const auto perRecord = static_cast<qint8>(boot.U8(0x40));
    const qint64 recordSize = perRecord > 0 ? perRecord * clusterSize : 1LL << qMin(-perRecord, 24);
    qint64 mft = 0;
    if (clusterSize == 0 || recordSize < 512 || recordSize > (1 << 16) ||
        !Multiply(boot.U64(0x30), static_cast<quint64>(clusterSize), mft) ||
        mft > std::numeric_limits<qint64>::max() - 4 * recordSize)
        return QString();
    Bytes raw;
    if (!ReadBytes(read, mft + 3 * recordSize, recordSize, raw) || !raw.Equals(0, "FILE"))
        return QString();

    // Undo the update sequence: the last two bytes of every 512-byte stride were
    // replaced by the sequence number and are kept in the array.
    QByteArray record = raw.Mid(0, raw.Size());
    const int usa = raw.U16(4);
    const int usaCount = raw.U16(6);
    for (int i = 1; i < usaCount; ++i) {
        const int at = i * 512 - 2;
        if (!raw.Has(usa + 2 * i, 2) || !raw.Has(at, 2) || raw.U16(at) != raw.U16(usa))
            return QString();
        record[at] = record[usa + 2 * i];
        record[at + 1] = record[usa + 2 * i + 1];
    }
    const Bytes fixed(record);
    int at = fixed.U16(0x14);
    for (int guard = 0; guard < 64 && fixed.Has(at, 24); ++guard) {
        const quint32 type = fixed.U32(at);
        const quint32 length = fixed.U32(at + 4);
        if (type == 0xFFFFFFFF || length < 24 || length > static_cast<quint32>(fixed.Size()))
            break;
        if (type == 0x60 && fixed.U8(at + 8) == 0) {
            const QByteArray value =
                fixed.Mid(at + fixed.U16(at + 0x14),
                          static_cast<int>(qMin<quint32>(fixed.U32(at + 0x10), 1024)));
            return Limited(FromUtf16(value, false));
        }
        at += static_cast<int>(length);
    }
    return QString();
}

} // namespace

bool TryNtfs(const Bytes& boot, const ReadAt& read, Volume& volume)
{
    const quint32 bytesPerSector = boot.U16(11);
    if (!boot.Equals(3, "NTFS    ") || bytesPerSector < 256 || bytesPerSector > 4096 ||
        (bytesPerSector & (bytesPerSector - 1)) != 0)
        return false;
    volume.Type = FileSystem::Ntfs;
    volume.SerialNumber = boot.U32(0x48);
    // The sector count leaves out the backup boot sector at the volume's end.
    qint64 size = 0;
    volume.RecordedSize = Multiply(boot.U64(0x28) + 1, bytesPerSector, size) ? size : 0;
    volume.Label = NtfsLabel(boot, read);
    return true;
}

} // namespace VolumeReader
