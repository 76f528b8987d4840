#include "volumes/IsoVolume.h"

#include "volumes/VolumeBytes.h"

namespace VolumeReader {

namespace {

bool IsJolietDescriptor(const Bytes& d)
{
    return d.U8(0) == 2 && d.U8(88) == '%' && d.U8(89) == '/' &&
           (d.U8(90) == '@' || d.U8(90) == 'C' || d.U8(90) == 'E');
}

} // namespace

qint64 IsoRecordedSize(const ReadAt& read)
{
    for (int i = 0; i < kMaxDescriptors; ++i) {
        Bytes d;
        if (!ReadBytes(read, kDescriptorArea + i * kCdSector, kCdSector, d) ||
            !d.Equals(1, "CD001") || d.U8(0) == 255)
            return 0;
        if (d.U8(0) == 1) {
            qint64 size = 0;
            return Multiply(d.U32(80), d.U16(128) ? d.U16(128) : kCdSector, size) ? size : 0;
        }
    }
    return 0;
}

// Windows takes the descriptor of the highest type up to the set terminator, so a
// Joliet descriptor (type 2) wins over the primary one (type 1).
bool TryIso9660(const ReadAt& read, Volume& volume)
{
    Bytes best;
    int bestType = 0;
    for (int i = 0; i < kMaxDescriptors; ++i) {
        Bytes d;
        if (!ReadBytes(read, kDescriptorArea + i * kCdSector, kCdSector, d) ||
            !d.Equals(1, "CD001"))
            break;
        const int type = d.U8(0);
        if (type == 255)
            break;
        if (type > bestType) {
            bestType = type;
            best = d;
        }
    }
    if (bestType == 0)
        return false;
    const bool joliet = IsJolietDescriptor(best);
    volume.Type = joliet ? FileSystem::Joliet : FileSystem::Iso9660;
    volume.Label =
        Trimmed(joliet ? FromUtf16(best.Mid(40, 32), true) : QString::fromLatin1(best.Mid(40, 32)));
    volume.SerialNumber = ByteSums(best.Mid(0, kCdSector), false);
    volume.RecordedSize = IsoRecordedSize(read);
    return true;
}

} // namespace VolumeReader
