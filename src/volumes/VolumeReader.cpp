#include "volumes/VolumeReader.h"

#include <QByteArray>
#include <QFile>

#include <limits>
#include <map>
#include <vector>

namespace VolumeReader {

namespace {

constexpr qint64 kCdSector = 2048;
// Volume descriptors (ISO 9660) and the volume recognition sequence (UDF) start here.
constexpr qint64 kDescriptorArea = 16 * kCdSector;
// A damaged descriptor set may lack its terminator; real ones are a handful long.
constexpr int kMaxDescriptors = 64;
constexpr int kMaxLabel = 260;

// Bytes of a volume structure with bounds-checked little-endian fields: a field that
// lies outside the bytes read reads as 0, so a garbage offset cannot read past them.
class Bytes
{
public:
    Bytes() = default;
    explicit Bytes(QByteArray data) : m_data(std::move(data)) {}

    int Size() const { return static_cast<int>(m_data.size()); }
    quint8 U8(int at) const { return Has(at, 1) ? static_cast<quint8>(m_data[at]) : 0; }
    quint16 U16(int at) const { return static_cast<quint16>(U8(at) | U8(at + 1) << 8); }
    quint32 U32(int at) const { return U16(at) | static_cast<quint32>(U16(at + 2)) << 16; }
    quint64 U64(int at) const { return U32(at) | static_cast<quint64>(U32(at + 4)) << 32; }
    bool Has(int at, int length) const { return at >= 0 && length >= 0 && at <= Size() - length; }
    bool Equals(int at, const char* text) const
    {
        const int length = static_cast<int>(qstrlen(text));
        return Has(at, length) && m_data.mid(at, length) == QByteArray(text, length);
    }
    QByteArray Mid(int at, int length) const
    {
        return Has(at, length) ? m_data.mid(at, length) : QByteArray();
    }

private:
    QByteArray m_data;
};

bool ReadBytes(const ReadAt& read, qint64 offset, qint64 length, Bytes& out)
{
    if (offset < 0 || length <= 0 || length > (1 << 20) ||
        offset > std::numeric_limits<qint64>::max() - length)
        return false;
    QByteArray data(static_cast<int>(length), '\0');
    if (!read(offset, data.data(), length))
        return false;
    out = Bytes(std::move(data));
    return true;
}

// a * b, or false when the product does not fit a signed 64-bit offset.
bool Multiply(quint64 a, quint64 b, qint64& product)
{
    if (a != 0 && b > static_cast<quint64>(std::numeric_limits<qint64>::max()) / a)
        return false;
    product = static_cast<qint64>(a * b);
    return true;
}

// Windows NT's serial number of a CD volume: the structure's bytes added into four
// byte-wide sums by position modulo 4. ISO 9660 puts the first sum in the high byte,
// UDF in the low byte.
quint32 ByteSums(const QByteArray& data, bool firstSumLow)
{
    quint8 sum[4] = {0, 0, 0, 0};
    for (int i = 0; i < data.size(); ++i)
        sum[i % 4] = static_cast<quint8>(sum[i % 4] + static_cast<quint8>(data[i]));
    if (firstSumLow)
        return static_cast<quint32>(sum[3]) << 24 | static_cast<quint32>(sum[2]) << 16 |
               static_cast<quint32>(sum[1]) << 8 | sum[0];
    return static_cast<quint32>(sum[0]) << 24 | static_cast<quint32>(sum[1]) << 16 |
           static_cast<quint32>(sum[2]) << 8 | sum[3];
}

QString Limited(QString text)
{
    text.truncate(kMaxLabel);
    return text;
}

// ISO 9660 and FAT pad their labels with blanks.
QString Trimmed(QString text)
{
    int end = static_cast<int>(text.size());
    while (end > 0 && (text.at(end - 1) == QLatin1Char(' ') || text.at(end - 1).isNull()))
        --end;
    text.truncate(qMin(end, kMaxLabel));
    return text;
}

QString FromUtf16(const QByteArray& bytes, bool bigEndian)
{
    QString text;
    for (int i = 0; i + 1 < bytes.size(); i += 2) {
        const auto high = static_cast<quint8>(bytes[bigEndian ? i : i + 1]);
        const auto low = static_cast<quint8>(bytes[bigEndian ? i + 1 : i]);
        const auto unit = static_cast<char16_t>(high << 8 | low);
        if (unit == 0)
            break;
        text += QChar(unit);
    }
    return text;
}

// ---- ISO 9660 ------------------------------------------------------------------------

bool IsJolietDescriptor(const Bytes& d)
{
    return d.U8(0) == 2 && d.U8(88) == '%' && d.U8(89) == '/' &&
           (d.U8(90) == '@' || d.U8(90) == 'C' || d.U8(90) == 'E');
}

// The primary descriptor's volume space size times its logical block size; 0 without one.
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

// ---- UDF -----------------------------------------------------------------------------

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

// ---- FAT -----------------------------------------------------------------------------

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

// ---- NTFS ----------------------------------------------------------------------------

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

} // namespace

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
