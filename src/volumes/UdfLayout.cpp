#include "volumes/UdfLayout.h"

#include "volumes/UdfDescriptors.h"
#include "volumes/VolumeBytes.h"

#include <utility>

using UdfDescriptors::HasTag;
using VolumeReader::Bytes;

namespace {

// The logical volume descriptor's partition map table starts here; it holds at most 64
// maps and is read up to 4,096 bytes.
constexpr int kMapTable = 440;
constexpr int kMaxMaps = 64;
constexpr quint32 kMaxMapTable = 4096;
// Bound on a file entry's extended attributes and allocation descriptors.
constexpr quint32 kMaxEntryPart = 1 << 16;

UdfLayout::MapKind Type2Kind(const Bytes& lv, int at)
{
    // The entity identifier of a type 2 map names what the partition is.
    if (lv.Equals(at + 5, "*UDF Metadata Partition"))
        return UdfLayout::MapKind::Metadata;
    if (lv.Equals(at + 5, "*UDF Sparable Partition"))
        return UdfLayout::MapKind::Sparable;
    if (lv.Equals(at + 5, "*UDF Virtual Partition"))
        return UdfLayout::MapKind::Virtual;
    return UdfLayout::MapKind::Other;
}

} // namespace

bool UdfLayout::ReadAnchor(const ReadBlock& read, qint64 blockSize, qint64 block, Anchor* anchor)
{
    QByteArray data;
    if (!read(block, blockSize, &data) || !HasTag(data, 0, UdfDescriptors::kAnchor))
        return false;
    const Bytes d(data);
    anchor->TagLocation = d.U32(12);
    anchor->MainLength = d.U32(16);
    anchor->MainLocation = d.U32(20);
    anchor->ReserveLength = d.U32(24);
    anchor->ReserveLocation = d.U32(28);
    return true;
}

bool UdfLayout::MetadataBlock(const std::vector<Extent>& extents, quint32 partitionStart,
                              quint32 block, qint64 blockSize, qint64* physical)
{
    const auto size = static_cast<quint64>(blockSize);
    quint64 skip = static_cast<quint64>(block) * size;
    for (const Extent& extent : extents) {
        if (skip < extent.Length) {
            *physical = static_cast<qint64>(partitionStart) + extent.Block +
                        static_cast<qint64>(skip / size);
            return true;
        }
        skip -= extent.Length;
    }
    return false;
}

UdfLayout::UdfLayout(ReadBlock read, qint64 blockSize)
    : m_read(std::move(read)), m_blockSize(blockSize)
{
}

void UdfLayout::ReadSequence(quint32 location, quint32 length, qint64 maxBlocks)
{
    const qint64 blocks = qMin<qint64>(length / m_blockSize, maxBlocks);
    for (qint64 i = 0; i < blocks; ++i) {
        QByteArray d;
        if (!m_read(static_cast<qint64>(location) + i, m_blockSize, &d) ||
            HasTag(d, 0, UdfDescriptors::kTerminatingDescriptor))
            break;
        if (HasTag(d, 0, UdfDescriptors::kPartitionDescriptor)) {
            const Bytes partition(d);
            m_partitionStarts.emplace(partition.U16(22), partition.U32(188));
        } else if (HasTag(d, 0, UdfDescriptors::kLogicalVolumeDescriptor) &&
                   m_logicalVolume.isEmpty()) {
            m_logicalVolume = d;
        }
    }
}

quint32 UdfLayout::LogicalBlockSize() const
{
    return Bytes(m_logicalVolume).U32(212);
}

// The logical volume's contents use holds the file set descriptor's long allocation
// descriptor: its length, block and partition reference.
quint32 UdfLayout::FileSetBlock() const
{
    return Bytes(m_logicalVolume).U32(252);
}

quint16 UdfLayout::FileSetPartition() const
{
    return Bytes(m_logicalVolume).U16(256);
}

std::vector<UdfLayout::PartitionMap> UdfLayout::PartitionMaps() const
{
    const Bytes lv(m_logicalVolume);
    const quint32 tableLength = lv.U32(264);
    const int count = static_cast<int>(qMin<quint32>(lv.U32(268), kMaxMaps));
    const int end = kMapTable + static_cast<int>(qMin<quint32>(tableLength, kMaxMapTable));
    // Where the table ends inside the descriptor's block.
    const int recorded =
        kMapTable + static_cast<int>(qMin<quint32>(
                        tableLength, static_cast<quint32>(qMax(0, lv.Size() - kMapTable))));
    std::vector<PartitionMap> maps;
    int at = kMapTable;
    for (int i = 0; i < count && at + 2 <= end; ++i) {
        PartitionMap map;
        map.Offset = at;
        map.Type = lv.U8(at);
        map.Length = lv.U8(at + 1);
        if (map.Length == 0)
            break;
        map.Inside = at + map.Length <= recorded;
        if (map.Type == 1) {
            map.Kind = MapKind::Physical;
            map.PartitionNumber = lv.U16(at + 4);
        } else if (map.Type == 2) {
            map.Kind = Type2Kind(lv, at);
            map.PartitionNumber = lv.U16(at + 38);
            map.MetadataFile = lv.U32(at + 40);
        }
        maps.push_back(map);
        at += map.Length;
    }
    return maps;
}

bool UdfLayout::ReadMetadataFile(quint32 partitionStart, quint32 fileBlock,
                                 MetadataFile* file) const
{
    QByteArray data;
    if (!m_read(static_cast<qint64>(partitionStart) + fileBlock, m_blockSize, &data))
        return false;
    // A file entry or an extended file entry: the lengths of its extended attributes and
    // allocation descriptors, then both.
    int lengths = 0;
    if (HasTag(data, 0, UdfDescriptors::kFileEntry))
        lengths = 168;
    else if (HasTag(data, 0, UdfDescriptors::kExtendedFileEntry))
        lengths = 208;
    else
        return false;
    const Bytes entry(data);
    const quint32 attributes = entry.U32(lengths);
    const quint32 allocation = entry.U32(lengths + 4);
    const auto size = static_cast<quint64>(entry.Size());
    file->Whole = attributes <= size && allocation <= size &&
                  static_cast<quint64>(lengths) + 8 + attributes + allocation <= size;
    file->AllocationKind = entry.U16(34) & 7;
    file->Extents.clear();
    if (file->AllocationKind > 1)
        return true;
    const int step = file->AllocationKind == 0 ? 8 : 16;
    const int first = lengths + 8 + static_cast<int>(qMin(attributes, kMaxEntryPart));
    const int last = first + static_cast<int>(qMin(allocation, kMaxEntryPart));
    for (int at = first; at + step <= last; at += step) {
        const quint32 word = entry.U32(at);
        Extent extent;
        extent.Length = word & UdfDescriptors::kExtentLengthMask;
        if (extent.Length == 0)
            break;
        extent.Type = static_cast<quint8>(word >> 30);
        extent.Block = entry.U32(at + 4);
        file->Extents.push_back(extent);
    }
    return true;
}
