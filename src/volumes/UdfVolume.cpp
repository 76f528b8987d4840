#include "volumes/UdfVolume.h"

#include "volumes/IsoVolume.h"
#include "volumes/VolumeBytes.h"

#include <map>
#include <vector>

namespace VolumeReader {

namespace {

enum UdfTag : quint16 {
    kPartitionDescriptor = 5,
    kLogicalVolumeDescriptor = 6,
    kTerminatingDescriptor = 8,
    kFileSetDescriptor = 256,
    kFileEntry = 261,
    kExtendedFileEntry = 266,
    kAnchor = 2,
};

// Every UDF descriptor starts with a tag whose checksum covers its other 15 bytes.
bool HasTag(const Bytes& d, quint16 id)
{
    if (!d.Has(0, 16) || d.U16(0) != id)
        return false;
    quint8 sum = 0;
    for (int i = 0; i < 16; ++i) {
        if (i != 4)
            sum = static_cast<quint8>(sum + d.U8(i));
    }
    return sum == d.U8(4);
}

// The volume recognition sequence: an extended area (BEA01 ... TEA01) holding an NSR
// descriptor. Its structures are 2,048 bytes apart, or one block apart for larger blocks.
bool HasUdfRecognition(const ReadAt& read)
{
    for (const qint64 stride : {kCdSector, 2 * kCdSector}) {
        bool extendedArea = false;
        for (int i = 0; i < kMaxDescriptors; ++i) {
            Bytes d;
            if (!ReadBytes(read, kDescriptorArea + i * stride, 8, d))
                break;
            if (d.Equals(1, "BEA01"))
                extendedArea = true;
            else if (extendedArea && (d.Equals(1, "NSR02") || d.Equals(1, "NSR03")))
                return true;
            else if (!d.Equals(1, "CD001") && !d.Equals(1, "CDW02") && !d.Equals(1, "BOOT2"))
                break;
        }
    }
    return false;
}

struct UdfPartitionMap
{
    int Type = 0;
    quint16 PartitionNumber = 0;
    bool Metadata = false;
    bool Virtual = false;
    quint32 MetadataFile = 0;
};

struct UdfLayout
{
    qint64 BlockSize = 0;
    std::map<quint16, quint32> PartitionStarts; // partition number -> first block
    Bytes LogicalVolume;
    std::vector<UdfPartitionMap> Maps;
};

bool FindAnchor(const ReadAt& read, UdfLayout& layout, Bytes& anchor)
{
    for (const qint64 blockSize : {2048, 512, 1024, 4096}) {
        for (const qint64 block : {256, 512}) {
            if (ReadBytes(read, block * blockSize, blockSize, anchor) && HasTag(anchor, kAnchor) &&
                anchor.U32(12) == block) {
                layout.BlockSize = blockSize;
                return true;
            }
        }
    }
    return false;
}

// Collects the partition and logical volume descriptors of one volume descriptor sequence.
bool ReadDescriptorSequence(const ReadAt& read, quint32 location, quint32 length, UdfLayout& layout)
{
    const qint64 blocks = qMin<qint64>(length / layout.BlockSize, kMaxDescriptors);
    for (qint64 i = 0; i < blocks; ++i) {
        Bytes d;
        if (!ReadBytes(read, (location + i) * layout.BlockSize, layout.BlockSize, d))
            break;
        if (HasTag(d, kTerminatingDescriptor))
            break;
        if (HasTag(d, kPartitionDescriptor))
            layout.PartitionStarts.emplace(d.U16(22), d.U32(188));
        else if (HasTag(d, kLogicalVolumeDescriptor) && layout.LogicalVolume.Size() == 0)
            layout.LogicalVolume = d;
    }
    if (layout.LogicalVolume.Size() == 0)
        return false;
    const Bytes& lv = layout.LogicalVolume;
    const int count = static_cast<int>(qMin<quint32>(lv.U32(268), 64));
    int at = 440;
    const int end = 440 + static_cast<int>(qMin<quint32>(lv.U32(264), 4096));
    for (int i = 0; i < count && at + 2 <= end; ++i) {
        UdfPartitionMap map;
        map.Type = lv.U8(at);
        const int mapLength = lv.U8(at + 1);
        if (mapLength == 0)
            break;
        if (map.Type == 1) {
            map.PartitionNumber = lv.U16(at + 4);
        } else if (map.Type == 2) {
            map.PartitionNumber = lv.U16(at + 38);
            map.Metadata = lv.Equals(at + 5, "*UDF Metadata Partition");
            map.Virtual = lv.Equals(at + 5, "*UDF Virtual Partition");
            map.MetadataFile = lv.U32(at + 40);
        }
        layout.Maps.push_back(map);
        at += mapLength;
    }
    return true;
}

// A block of the metadata partition: its place inside the metadata file, whose
// extents lie in the underlying partition.
bool MetadataBlock(const ReadAt& read, const UdfLayout& layout, quint32 partitionStart,
                   const UdfPartitionMap& map, quint32 block, qint64& physical)
{
    Bytes entry;
    if (!ReadBytes(read,
                   (static_cast<qint64>(partitionStart) + map.MetadataFile) * layout.BlockSize,
                   layout.BlockSize, entry))
        return false;
    int first = 0;
    quint32 adLength = 0;
    if (HasTag(entry, kFileEntry)) {
        first = 176 + static_cast<int>(qMin<quint32>(entry.U32(168), 1 << 16));
        adLength = entry.U32(172);
    } else if (HasTag(entry, kExtendedFileEntry)) {
        first = 216 + static_cast<int>(qMin<quint32>(entry.U32(208), 1 << 16));
        adLength = entry.U32(212);
    } else {
        return false;
    }
    const int kind = entry.U16(34) & 7; // 0 short, 1 long allocation descriptors
    if (kind > 1)
        return false;
    const int adSize = kind == 0 ? 8 : 16;
    quint64 skip = static_cast<quint64>(block) * layout.BlockSize;
    for (int at = first; at + adSize <= first + static_cast<int>(qMin<quint32>(adLength, 1 << 16));
         at += adSize) {
        const quint64 extent = entry.U32(at) & 0x3FFFFFFF;
        if (extent == 0)
            break;
        if (skip < extent) {
            physical = static_cast<qint64>(partitionStart) + entry.U32(at + 4) +
                       static_cast<qint64>(skip / layout.BlockSize);
            return true;
        }
        skip -= extent;
    }
    return false;
}

} // namespace

bool TryUdf(const ReadAt& read, Volume& volume)
{
    if (!HasUdfRecognition(read))
        return false;
    UdfLayout layout;
    Bytes anchor;
    if (!FindAnchor(read, layout, anchor))
        return false;
    if (!ReadDescriptorSequence(read, anchor.U32(20), anchor.U32(16), layout) &&
        !ReadDescriptorSequence(read, anchor.U32(28), anchor.U32(24), layout))
        return false;

    // The file set descriptor's address, from the logical volume's contents use.
    const quint32 fsdBlock = layout.LogicalVolume.U32(252);
    const quint16 reference = layout.LogicalVolume.U16(256);
    if (reference >= layout.Maps.size())
        return false;
    const UdfPartitionMap& map = layout.Maps[reference];
    const auto start = layout.PartitionStarts.find(map.PartitionNumber);
    if (start == layout.PartitionStarts.end() || map.Virtual)
        return false;
    qint64 physical = static_cast<qint64>(start->second) + fsdBlock;
    if (map.Metadata && !MetadataBlock(read, layout, start->second, map, fsdBlock, physical))
        return false;
    Bytes fsd;
    if (!ReadBytes(read, physical * layout.BlockSize, layout.BlockSize, fsd) ||
        !HasTag(fsd, kFileSetDescriptor))
        return false;

    // The logical volume identifier, a dstring: compression id, characters, used length.
    QString label;
    const int used = qMin<int>(fsd.U8(112 + 127), 127);
    const QByteArray chars = fsd.Mid(113, qMax(0, used - 1));
    if (used > 0 && fsd.U8(112) == 8)
        label = QString::fromLatin1(chars);
    else if (used > 0 && fsd.U8(112) == 16)
        label = FromUtf16(chars, true);
    volume.Type = FileSystem::Udf;
    volume.Label = Limited(label);
    volume.SerialNumber = ByteSums(fsd.Mid(0, fsd.Size()), true);
    // A UDF bridge disc carries an ISO 9660 volume that records the whole length.
    volume.RecordedSize = IsoRecordedSize(read);
    return true;
}

} // namespace VolumeReader
