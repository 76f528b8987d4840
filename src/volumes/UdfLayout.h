#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <functional>
#include <map>
#include <vector>

/// The volume structure of a UDF volume (ECMA-167 part 3 as UDF records it), read through
/// the caller's block reader: the anchor, the partition descriptors and the logical volume
/// descriptor of a volume descriptor sequence, the partition maps, the extents of a
/// metadata partition's metadata file and where the file set descriptor lies. Every field
/// is read bounds-checked: one past the end of the block it lies in reads as 0, so a
/// damaged volume never makes it read outside what was read.
///
/// What to accept is the caller's: the block sizes and the anchor blocks to try, how many
/// descriptors to read, which sequence is good enough and which partition maps it can
/// read. The volume reader accepts what Windows reads; the UDF image lister only what it
/// can list.
class UdfLayout
{
public:
    /// Reads the block of blockSize bytes at block (counted in blocks of that size from
    /// the volume's start) into data; false when it cannot be read whole.
    using ReadBlock = std::function<bool(qint64 block, qint64 blockSize, QByteArray* data)>;

    /// The anchor volume descriptor pointer: where the two volume descriptor sequences lie.
    struct Anchor
    {
        quint32 TagLocation = 0; // the block the anchor's tag says it lies in
        quint32 MainLength = 0;  // bytes
        quint32 MainLocation = 0;
        quint32 ReserveLength = 0;
        quint32 ReserveLocation = 0;
    };

    enum class MapKind { Physical, Metadata, Sparable, Virtual, Other };

    /// A partition map of the logical volume descriptor, in the order of its reference
    /// number.
    struct PartitionMap
    {
        int Offset = 0; // in the logical volume descriptor
        quint8 Type = 0;
        quint8 Length = 0;
        /// Whether the map lies inside both the map table and the descriptor's block.
        bool Inside = false;
        MapKind Kind = MapKind::Other;
        quint16 PartitionNumber = 0; // of the partition descriptor it maps (types 1 and 2)
        quint32 MetadataFile = 0;    // the metadata file's block (a metadata partition)
    };

    /// One allocation descriptor of the metadata file.
    struct Extent
    {
        quint64 Length = 0; // bytes
        quint32 Block = 0;  // in the underlying partition
        quint8 Type = 0;    // 0 recorded, 1 and 2 not recorded, 3 the next descriptors
    };

    /// The metadata file's file entry: its allocation descriptors up to the first empty
    /// one (none when they are neither short nor long ones).
    struct MetadataFile
    {
        /// Whether the entry's own lengths lie inside its block.
        bool Whole = false;
        quint8 AllocationKind = 0; // 0 short, 1 long, 2 extended, 3 data in the entry
        std::vector<Extent> Extents;
    };

    /// The anchor at block; false when it cannot be read or bears no anchor's tag.
    static bool ReadAnchor(const ReadBlock& read, qint64 blockSize, qint64 block, Anchor* anchor);

    /// The block of a metadata partition (counted in blockSize blocks) in the volume: its
    /// place inside the metadata file, whose extents lie in the partition starting at
    /// partitionStart. False when the file does not reach that far.
    static bool MetadataBlock(const std::vector<Extent>& extents, quint32 partitionStart,
                              quint32 block, qint64 blockSize, qint64* physical);

    UdfLayout(ReadBlock read, qint64 blockSize);

    qint64 BlockSize() const { return m_blockSize; }

    /// Reads at most maxBlocks blocks of the sequence at location, up to its terminating
    /// descriptor or a block that cannot be read. Collects the partition descriptors (the
    /// first one of each number) and keeps the first logical volume descriptor; a second
    /// call (the reserve sequence) adds to what the first found.
    void ReadSequence(quint32 location, quint32 length, qint64 maxBlocks);

    /// The logical volume descriptor's block; empty before one is found.
    const QByteArray& LogicalVolume() const { return m_logicalVolume; }
    /// Partition number -> the partition's first block.
    const std::map<quint16, quint32>& PartitionStarts() const { return m_partitionStarts; }

    /// The logical block size the logical volume descriptor records.
    quint32 LogicalBlockSize() const;
    /// Where the file set descriptor lies: its block in the partition of a reference.
    quint32 FileSetBlock() const;
    quint16 FileSetPartition() const;

    /// The partition maps, up to the first empty one or the end of the map table (at most
    /// 64).
    std::vector<PartitionMap> PartitionMaps() const;

    /// Reads the metadata file whose file entry lies at fileBlock of the partition starting
    /// at partitionStart; false when the block cannot be read or holds no file entry.
    bool ReadMetadataFile(quint32 partitionStart, quint32 fileBlock, MetadataFile* file) const;

private:
    ReadBlock m_read;
    qint64 m_blockSize = 0;
    std::map<quint16, quint32> m_partitionStarts;
    QByteArray m_logicalVolume;
};
