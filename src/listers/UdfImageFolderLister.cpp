#include "listers/UdfImageFolderLister.h"

#include "listers/DiscImageLister.h"
#include "volumes/UdfDescriptors.h"

#include <QFileInfo>

#include <cdio/udf.h>

#include <algorithm>
#include <climits>
#include <map>
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
    struct Extent
    {
        quint64 Length = 0; // bytes
        quint32 Block = 0;  // in the underlying partition
    };
    struct Partition
    {
        bool Usable = false;
        quint32 Start = 0; // first block of the underlying partition in the image
        bool Metadata = false;
        std::vector<Extent> Extents; // of the metadata file, for a metadata partition
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
        quint64 skip = inside * kBlock;
        for (const Extent& extent : partition.Extents) {
            if (skip < extent.Length) {
                *block = static_cast<qint64>(partition.Start) + extent.Block +
                         static_cast<qint64>(skip / kBlock);
                return true;
            }
            skip -= extent.Length;
        }
        return false;
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
    bool ReadSequence(quint32 first, quint32 length, QByteArray* logicalVolume,
                      std::map<quint16, quint32>* starts) const;
    bool ReadMetadataFile(Partition* partition, quint32 fileBlock) const;
};

// Collects the partition and logical volume descriptors of one volume descriptor
// sequence.
bool UdfImageFolderLister::Volume::ReadSequence(quint32 first, quint32 length,
                                                QByteArray* logicalVolume,
                                                std::map<quint16, quint32>* starts) const
{
    const quint32 blocks = qMin<quint32>(length / kBlock, kMaxSequenceBlocks);
    for (quint32 i = 0; i < blocks; ++i) {
        QByteArray d;
        if (ReadImage(static_cast<qint64>(first) + i, 1, &d) != 0 ||
            HasTag(d, 0, kTerminatingDescriptor))
            break;
        if (HasTag(d, 0, kPartitionDescriptor))
            starts->emplace(U16(d, 22), U32(d, 188));
        else if (HasTag(d, 0, kLogicalVolumeDescriptor) && logicalVolume->isEmpty())
            *logicalVolume = d;
    }
    return !logicalVolume->isEmpty() && !starts->empty();
}

// A metadata partition (UDF 2.50, Blu-ray) is the content of the metadata file, whose
// extents lie in the underlying partition.
bool UdfImageFolderLister::Volume::ReadMetadataFile(Partition* partition, quint32 fileBlock) const
{
    QByteArray block;
    FileEntry entry;
    if (ReadImage(static_cast<qint64>(partition->Start) + fileBlock, 1, &block) != 0 ||
        !ParseFileEntry(block, &entry) || entry.AllocationKind != 0)
        return false;
    for (int at = 0; at + 8 <= entry.Allocation.size(); at += 8) {
        const quint32 word = U32(entry.Allocation, at);
        if ((word & kExtentLengthMask) == 0 || (word >> 30) == 3)
            break;
        partition->Extents.push_back({word & kExtentLengthMask, U32(entry.Allocation, at + 4)});
    }
    return !partition->Extents.empty();
}

bool UdfImageFolderLister::Volume::ReadLayout()
{
    QByteArray anchor;
    if (ReadImage(kAnchorBlock, 1, &anchor) != 0 || !HasTag(anchor, 0, kAnchor))
        return false;
    QByteArray lv;
    std::map<quint16, quint32> starts; // partition number -> first block
    if (!ReadSequence(U32(anchor, 20), U32(anchor, 16), &lv, &starts) &&
        !ReadSequence(U32(anchor, 28), U32(anchor, 24), &lv, &starts))
        return false;
    if (U32(lv, 212) != kBlock)
        return false;

    // The partition maps, in the order of their reference numbers.
    const quint32 count = qMin<quint32>(U32(lv, 268), 64);
    const int end = 440 + static_cast<int>(qMin<quint32>(U32(lv, 264), kBlock - 440));
    int at = 440;
    for (quint32 i = 0; i < count && at + 2 <= end; ++i) {
        const int type = U8(lv, at);
        const int length = U8(lv, at + 1);
        if (length < 6 || at + length > end)
            break;
        Partition partition;
        quint16 number = 0;
        quint32 metadataFile = 0;
        if (type == 1) {
            number = U16(lv, at + 4);
            partition.Usable = true;
        } else if (type == 2 && length >= 64) {
            const QByteArray kind = lv.mid(at + 5, 23);
            number = U16(lv, at + 38);
            partition.Metadata = kind.startsWith("*UDF Metadata Partition");
            partition.Usable = partition.Metadata || kind.startsWith("*UDF Sparable Partition");
            metadataFile = U32(lv, at + 40);
        }
        const auto start = starts.find(number);
        partition.Usable = partition.Usable && start != starts.end();
        if (partition.Usable)
            partition.Start = start->second;
        if (partition.Usable && partition.Metadata)
            partition.Usable = ReadMetadataFile(&partition, metadataFile);
        Partitions.push_back(std::move(partition));
        at += length;
    }

    // The file set descriptor names the root folder.
    QByteArray fileSet;
    if (ReadBlock(Location(U16(lv, 256), U32(lv, 252)), &fileSet) != 0 ||
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
