#include "listers/UdfImageFolderLister.h"

#include "listers/DiscImageLister.h"
#include "volumes/UdfDescriptors.h"
#include "volumes/UdfLayout.h"

#include <QFileInfo>

#include <cdio/udf.h>

#include <algorithm>
#include <climits>
#include <vector>

static_assert(UdfDescriptors::kNoTime == FindData::kNoTime, "a missing UDF time is a missing time");

namespace {

using namespace UdfDescriptors;
using DiscImageLister::kDamaged;
using DiscImageLister::kNotAFolder;
using DiscImageLister::kNotAnImage;
using DiscImageLister::kNotFound;

constexpr qint64 kAnchorBlock = 256;
// Bounds on what a damaged image can make the lister read or follow.
constexpr quint32 kMaxSequenceBlocks = 256;
constexpr quint64 kMaxFolderBytes = 64 << 20;
constexpr int kMaxDescriptorChain = 256;

} // namespace

struct UdfImageFolderLister::Volume
{
    struct Partition
    {
        bool Usable = false;
        quint32 Start = 0; // first block of the underlying partition in the image
        bool Metadata = false;
        std::vector<UdfLayout::Extent> Extents; // of the metadata file, for a metadata partition
    };

    udf_t* Handle = nullptr;
    qint64 Blocks = 0;                 // whole blocks in the image file
    std::vector<Partition> Partitions; // by partition reference number
    quint64 Root = 0;                  // location of the root folder's file entry

    Volume() = default;
    ~Volume()
    {
        if (Handle)
            udf_close(Handle);
    }
    Q_DISABLE_COPY_MOVE(Volume)

    // Reads blocks of the image. libudf takes a short read at the end of the file for a
    // whole one: blocks beyond the end are refused here.
    int ReadImage(qint64 block, qint64 count, QByteArray* data) const
    {
        if (block < 0 || count <= 0 || block + count > Blocks || block + count > INT_MAX)
            return kDamaged;
        *data = QByteArray(static_cast<int>(count * kBlock), '\0');
        return udf_read_sectors(Handle, data->data(), static_cast<lsn_t>(block),
                                static_cast<long>(count)) == DRIVER_OP_SUCCESS
                   ? 0
                   : kDamaged;
    }

    bool ImageBlock(quint64 location, qint64* block) const
    {
        const quint64 reference = location >> 32;
        const quint64 inside = location & 0xFFFFFFFF;
        if (reference >= Partitions.size() || !Partitions[reference].Usable)
            return false;
        const Partition& partition = Partitions[reference];
        if (!partition.Metadata) {
            *block = static_cast<qint64>(partition.Start + inside);
            return true;
        }
        return UdfLayout::MetadataBlock(partition.Extents, partition.Start,
                                        static_cast<quint32>(inside), kBlock, block);
    }

    int ReadBlock(quint64 location, QByteArray* data) const
    {
        qint64 block = 0;
        return ImageBlock(location, &block) ? ReadImage(block, 1, data) : kDamaged;
    }

    // Appends length bytes recorded from location on.
    int ReadExtent(quint64 location, quint64 length, QByteArray* data) const
    {
        const quint64 blocks = (length + kBlock - 1) / kBlock;
        if ((location & 0xFFFFFFFF) + blocks > 0xFFFFFFFF)
            return kDamaged;
        QByteArray read;
        const quint64 reference = location >> 32;
        if (reference < Partitions.size() && !Partitions[reference].Metadata) {
            qint64 block = 0;
            if (!ImageBlock(location, &block))
                return kDamaged;
            if (const int error = ReadImage(block, static_cast<qint64>(blocks), &read))
                return error;
        } else {
            for (quint64 i = 0; i < blocks; ++i) {
                QByteArray one;
                if (const int error = ReadBlock(location + i, &one))
                    return error;
                read += one;
            }
        }
        data->append(read.constData(), static_cast<int>(length));
        return 0;
    }

    // The bytes of a file (a folder's identifier descriptors) whose entry lies at
    // location.
    int ReadContents(quint64 location, const FileEntry& entry, QByteArray* data) const
    {
        if (entry.Size > kMaxFolderBytes)
            return kDamaged;
        const quint64 size = entry.Size;
        if (entry.AllocationKind == kInEntry) {
            if (size > static_cast<quint64>(entry.Allocation.size()))
                return kDamaged;
            *data = entry.Allocation.left(static_cast<int>(size));
            return 0;
        }
        if (entry.AllocationKind > 1)
            return kDamaged; // extended descriptors: not written for folders
        const int step = entry.AllocationKind == 0 ? 8 : 16;
        QByteArray descriptors = entry.Allocation;
        int chained = 0;
        for (int at = 0; static_cast<quint64>(data->size()) < size; at += step) {
            if (at + step > descriptors.size())
                return kDamaged;
            const quint32 word = U32(descriptors, at);
            const quint32 length = word & kExtentLengthMask;
            const quint32 block = U32(descriptors, at + 4);
            // Short descriptors lie in the partition of the entry that holds them.
            const quint64 where = step == 16 ? Location(U16(descriptors, at + 8), block)
                                             : Location(location >> 32, block);
            if (length == 0)
                return kDamaged;
            if ((word >> 30) == 3) { // the descriptors go on in another block
                QByteArray next;
                if (++chained > kMaxDescriptorChain || ReadBlock(where, &next) != 0 ||
                    !HasTag(next, 0, kAllocationExtent) || U32(next, 20) > kBlock - 24)
                    return kDamaged;
                descriptors = next.mid(24, static_cast<int>(U32(next, 20)));
                at = -step;
                continue;
            }
            const quint64 wanted = qMin<quint64>(length, size - data->size());
            if ((word >> 30) != 0) // allocated or not, but not recorded: zeros
                data->append(QByteArray(static_cast<int>(wanted), '\0'));
            else if (const int error = ReadExtent(where, wanted, data))
                return error;
        }
        return 0;
    }

    bool ReadLayout();
    void ReadPartitions(const UdfLayout& layout);
};

// The partitions, in the order of their reference numbers: up to the first map that is
// shorter than a type 1 map or does not lie inside the map table and the descriptor. Type 1
// maps, sparable partitions and metadata partitions are read; a virtual partition, and
// any other, is not.
void UdfImageFolderLister::Volume::ReadPartitions(const UdfLayout& layout)
{
    for (const UdfLayout::PartitionMap& map : layout.PartitionMaps()) {
        if (map.Length < 6 || !map.Inside)
            break;
        Partition partition;
        if (map.Type == 1) {
            partition.Usable = true;
        } else if (map.Type == 2 && map.Length >= 64) {
            partition.Metadata = map.Kind == UdfLayout::MapKind::Metadata;
            partition.Usable = partition.Metadata || map.Kind == UdfLayout::MapKind::Sparable;
        }
        const auto start = layout.PartitionStarts().find(map.PartitionNumber);
        partition.Usable = partition.Usable && start != layout.PartitionStarts().end();
        if (partition.Usable)
            partition.Start = start->second;
        // A metadata partition (UDF 2.50, Blu-ray) is the content of the metadata file,
        // whose short allocation descriptors, up to the first that continues elsewhere,
        // give its extents in the underlying partition.
        UdfLayout::MetadataFile file;
        if (partition.Usable && partition.Metadata) {
            if (layout.ReadMetadataFile(partition.Start, map.MetadataFile, &file) && file.Whole &&
                file.AllocationKind == 0) {
                for (const UdfLayout::Extent& extent : file.Extents) {
                    if (extent.Type == 3)
                        break;
                    partition.Extents.push_back(extent);
                }
            }
            partition.Usable = !partition.Extents.empty();
        }
        Partitions.push_back(std::move(partition));
    }
}

bool UdfImageFolderLister::Volume::ReadLayout()
{
    // Only 2,048-byte blocks, the anchor at block 256.
    const UdfLayout::ReadBlock read = [this](qint64 block, qint64 blockSize, QByteArray* data) {
        return blockSize == kBlock && ReadImage(block, 1, data) == 0;
    };
    UdfLayout::Anchor anchor;
    if (!UdfLayout::ReadAnchor(read, kBlock, kAnchorBlock, &anchor))
        return false;
    // The main sequence, or the reserve one when the main one lacks the logical volume or
    // its partitions.
    UdfLayout layout(read, kBlock);
    const auto complete = [&layout] {
        return !layout.LogicalVolume().isEmpty() && !layout.PartitionStarts().empty();
    };
    layout.ReadSequence(anchor.MainLocation, anchor.MainLength, kMaxSequenceBlocks);
    if (!complete())
        layout.ReadSequence(anchor.ReserveLocation, anchor.ReserveLength, kMaxSequenceBlocks);
    if (!complete() || layout.LogicalBlockSize() != kBlock)
        return false;
    ReadPartitions(layout);

    // The file set descriptor names the root folder.
    QByteArray fileSet;
    if (ReadBlock(Location(layout.FileSetPartition(), layout.FileSetBlock()), &fileSet) != 0 ||
        !HasTag(fileSet, 0, kFileSetDescriptor))
        return false;
    Root = Location(U16(fileSet, 408), U32(fileSet, 404));
    QByteArray rootBlock;
    FileEntry root;
    return ReadBlock(Root, &rootBlock) == 0 && ParseFileEntry(rootBlock, &root) &&
           root.Type == kDirectoryType;
}

UdfImageFolderLister::UdfImageFolderLister(const QString& imagePath) : ContainerLister(imagePath)
{
}

UdfImageFolderLister::~UdfImageFolderLister() = default;

int UdfImageFolderLister::OpenContainer()
{
    if (m_volume)
        return 0;
    if (const int error = DiscImageLister::CheckImageFile(ContainerPath()))
        return error;
    auto volume = std::make_unique<Volume>();
    volume->Blocks = QFileInfo(ContainerPath()).size() / kBlock;
    // The anchor lies at block 256: a shorter file holds no UDF volume.
    if (volume->Blocks <= kAnchorBlock)
        return kNotAnImage;
    DiscImageLister::QuietLibrary();
    volume->Handle = udf_open(DiscImageLister::NativePath(ContainerPath()).constData());
    if (!volume->Handle || !volume->ReadLayout())
        return kNotAnImage;
    m_volume = std::move(volume);
    return 0;
}

quint64 UdfImageFolderLister::RootKey() const
{
    return m_volume->Root;
}

int UdfImageFolderLister::ReadFolder(const quint64& location, Folder* listing) const
{
    QByteArray block;
    FileEntry self;
    if (const int error = m_volume->ReadBlock(location, &block))
        return error;
    if (!ParseFileEntry(block, &self))
        return kDamaged;
    if (self.Type != kDirectoryType)
        return kNotAFolder;
    listing->Opened = true;
    listing->Identity = location;
    QByteArray data;
    if (const int error = m_volume->ReadContents(location, self, &data))
        return error;

    int result = 0;
    int at = 0;
    while (at < data.size()) {
        if (!HasTag(data, at, kFileIdentifier) || at + 38 > data.size())
            return IsZero(data, at) ? result : kDamaged;
        const quint8 characteristics = U8(data, at + 18);
        const int nameLength = U8(data, at + 19);
        const quint64 child = Location(U16(data, at + 28), U32(data, at + 24));
        const int useLength = U16(data, at + 36);
        const int nameAt = at + 38 + useLength;
        if (nameAt + nameLength > data.size())
            return kDamaged;
        at += 4 * ((38 + useLength + nameLength + 3) / 4);
        if (characteristics & (kParentFlag | kDeletedFlag))
            continue;

        Entry item;
        item.Folder = child; // where its file entry lies
        FindData& found = item.Data;
        found.FileName = DecodeName(data, nameAt, nameLength);
        FileEntry entry;
        QByteArray entryBlock;
        const bool known =
            m_volume->ReadBlock(child, &entryBlock) == 0 && ParseFileEntry(entryBlock, &entry);
        const bool folder =
            known ? entry.Type == kDirectoryType : (characteristics & kDirectoryFlag) != 0;
        if (found.FileName.isEmpty() || found.FileName == QLatin1String(".") ||
            found.FileName == QLatin1String("..") || (!known && !folder)) {
            // A file whose entry is lost has no size or time to give.
            result = kDamaged;
            continue;
        }
        found.Attributes = folder ? FindData::kDirectory : 0;
        found.Size = folder ? 0 : entry.Size;
        found.LastWriteTime = entry.Modified;
        found.CreationTime = entry.Created;
        if (known && entry.Type == kSymbolicLinkType) {
            found.Attributes = FindData::kLink;
            found.Size = 0;
            QByteArray components;
            if (m_volume->ReadContents(child, entry, &components) == 0)
                found.Link = LinkText::Make(PathComponentsText(components));
        }
        listing->Entries.push_back(std::move(item));
    }
    return result;
}
