#include "volumes/UdfVolume.h"

#include "volumes/IsoVolume.h"
#include "volumes/UdfDescriptors.h"
#include "volumes/UdfLayout.h"
#include "volumes/VolumeBytes.h"

#include <vector>

namespace VolumeReader {

namespace {

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

// The anchor at block 256 or 512 of one of the block sizes Windows reads, its tag naming
// the block it lies in.
bool FindAnchor(const UdfLayout::ReadBlock& read, qint64* blockSize, UdfLayout::Anchor* anchor)
{
    for (const qint64 size : {2048, 512, 1024, 4096}) {
        for (const qint64 block : {256, 512}) {
            if (UdfLayout::ReadAnchor(read, size, block, anchor) && anchor->TagLocation == block) {
                *blockSize = size;
                return true;
            }
        }
    }
    return false;
}

// Where the file set descriptor lies on the volume, in blocks: in the partition its
// partition map names, which may be a metadata partition but not a virtual one. Sparable
// and unknown maps are read as their partition itself.
bool FindFileSet(const UdfLayout& layout, qint64* physical)
{
    const std::vector<UdfLayout::PartitionMap> maps = layout.PartitionMaps();
    const quint16 reference = layout.FileSetPartition();
    if (reference >= maps.size())
        return false;
    const UdfLayout::PartitionMap& map = maps[reference];
    const auto start = layout.PartitionStarts().find(map.PartitionNumber);
    if (start == layout.PartitionStarts().end() || map.Kind == UdfLayout::MapKind::Virtual)
        return false;
    *physical = static_cast<qint64>(start->second) + layout.FileSetBlock();
    if (map.Kind != UdfLayout::MapKind::Metadata)
        return true;
    // Every extent of the metadata file up to the first empty one counts.
    UdfLayout::MetadataFile file;
    return layout.ReadMetadataFile(start->second, map.MetadataFile, &file) &&
           UdfLayout::MetadataBlock(file.Extents, start->second, layout.FileSetBlock(),
                                    layout.BlockSize(), physical);
}

} // namespace

bool TryUdf(const ReadAt& read, Volume& volume)
{
    if (!HasUdfRecognition(read))
        return false;
    const UdfLayout::ReadBlock readBlock = [&read](qint64 block, qint64 size, QByteArray* data) {
        qint64 offset = 0;
        Bytes bytes;
        if (block < 0 ||
            !Multiply(static_cast<quint64>(block), static_cast<quint64>(size), offset) ||
            !ReadBytes(read, offset, size, bytes))
            return false;
        *data = bytes.Data();
        return true;
    };
    qint64 blockSize = 0;
    UdfLayout::Anchor anchor;
    if (!FindAnchor(readBlock, &blockSize, &anchor))
        return false;
    // The main sequence, or the reserve one when the main one has no logical volume.
    UdfLayout layout(readBlock, blockSize);
    layout.ReadSequence(anchor.MainLocation, anchor.MainLength, kMaxDescriptors);
    if (layout.LogicalVolume().isEmpty())
        layout.ReadSequence(anchor.ReserveLocation, anchor.ReserveLength, kMaxDescriptors);
    if (layout.LogicalVolume().isEmpty())
        return false;

    qint64 physical = 0;
    QByteArray data;
    if (!FindFileSet(layout, &physical) || !readBlock(physical, blockSize, &data) ||
        !UdfDescriptors::HasTag(data, 0, UdfDescriptors::kFileSetDescriptor))
        return false;
    const Bytes fsd(data);
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
    volume.SerialNumber = ByteSums(fsd.Data(), true);
    // A UDF bridge disc carries an ISO 9660 volume that records the whole length.
    volume.RecordedSize = IsoRecordedSize(read);
    return true;
}

} // namespace VolumeReader
