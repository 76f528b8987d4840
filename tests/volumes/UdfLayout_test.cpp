// The UDF volume structure of volumes made by mkudffs, read through the layout and checked
// against what udfinfo reports of them, then read by both the layout's users: the volume
// reader (any block size, what Windows reads) and the UDF image lister (2,048-byte blocks).
#include "volumes/MemoryReader.h"
#include "volumes/SystemTools.h"
#include "volumes/UdfLayout.h"

#include "listers/UdfImageFolderLister.h"
#include "volumes/UdfDescriptors.h"
#include "volumes/VolumeReader.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <utility>

namespace {

// What udfinfo tells of a volume: its "key=value" lines, and the areas of its
// "start=S, blocks=N, type=T" lines (the first area of each type).
struct UdfInfo
{
    std::map<QString, QString> Values;
    std::map<QString, std::pair<qint64, qint64>> Areas; // type -> start, blocks

    explicit UdfInfo(const QString& image)
    {
        for (const QString& line :
             SystemTools::Run("udfinfo", {image}).split('\n', Qt::SkipEmptyParts)) {
            if (line.startsWith(QLatin1String("start="))) {
                const QStringList fields = line.split(QStringLiteral(", "));
                Areas.emplace(fields.value(2).section('=', 1),
                              std::make_pair(fields.value(0).section('=', 1).toLongLong(),
                                             fields.value(1).section('=', 1).toLongLong()));
            } else {
                Values.emplace(line.section('=', 0, 0), line.section('=', 1));
            }
        }
    }
};

QByteArray ReadAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

UdfLayout::ReadBlock MemoryBlocks(const QByteArray& bytes)
{
    return [bytes](qint64 block, qint64 size, QByteArray* data) {
        if (block < 0 || (block + 1) * size > bytes.size())
            return false;
        *data = bytes.mid(static_cast<int>(block * size), static_cast<int>(size));
        return true;
    };
}

class UdfLayoutTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (SystemTools::Find("mkudffs").isEmpty() || SystemTools::Find("udfinfo").isEmpty())
            GTEST_SKIP() << "mkudffs and udfinfo (udftools) are not installed";
        ASSERT_TRUE(m_dir.isValid());
    }

    // A 20 MiB volume made by mkudffs for a kind of media, with blocks of blockSize bytes.
    QString MakeVolume(const QString& media, int blockSize)
    {
        const QString image = m_dir.filePath(media + QString::number(blockSize) + ".udf");
        QFile file(image);
        if (!file.open(QIODevice::WriteOnly) || !file.resize(20 << 20))
            return QString();
        file.close();
        QProcess process;
        process.start(
            SystemTools::Find("mkudffs"),
            {"--media-type=" + media, "-b", QString::number(blockSize), "--label=Reserve", image});
        return process.waitForFinished(60000) && process.exitCode() == 0 ? image : QString();
    }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(UdfLayoutTest, ReadsTheStructureUdfinfoReports)
{
    using Kind = UdfLayout::MapKind;
    struct Case
    {
        QString media;
        int blockSize;
        std::vector<Kind> maps;
    };
    // A hard disk's volume has a type 1 map only, a rewritable disc's a sparable one; a
    // write-once disc's adds a virtual partition to the type 1 map.
    const Case cases[] = {{"hd", 512, {Kind::Physical}},
                          {"hd", 2048, {Kind::Physical}},
                          {"hd", 4096, {Kind::Physical}},
                          {"dvdrw", 2048, {Kind::Sparable}},
                          {"cdr", 2048, {Kind::Physical, Kind::Virtual}}};
    for (const Case& c : cases) {
        SCOPED_TRACE((c.media + QString::number(c.blockSize)).toStdString());
        const QString image = MakeVolume(c.media, c.blockSize);
        ASSERT_FALSE(image.isEmpty());
        const UdfInfo info(image);
        ASSERT_EQ(info.Values.at("blocksize").toInt(), c.blockSize);
        const UdfLayout::ReadBlock read = MemoryBlocks(ReadAll(image));

        UdfLayout::Anchor anchor;
        ASSERT_TRUE(UdfLayout::ReadAnchor(read, c.blockSize, 256, &anchor));
        EXPECT_EQ(anchor.TagLocation, 256u);
        EXPECT_EQ(anchor.MainLocation, info.Areas.at("MVDS").first);
        EXPECT_EQ(anchor.MainLength, info.Areas.at("MVDS").second * c.blockSize);
        EXPECT_EQ(anchor.ReserveLocation, info.Areas.at("RVDS").first);
        // Another block size puts no anchor there.
        UdfLayout::Anchor none;
        EXPECT_FALSE(UdfLayout::ReadAnchor(read, c.blockSize == 512 ? 1024 : 512, 256, &none));

        // Either sequence alone gives the same volume.
        for (const auto& [location, length] :
             {std::make_pair(anchor.MainLocation, anchor.MainLength),
              std::make_pair(anchor.ReserveLocation, anchor.ReserveLength)}) {
            UdfLayout layout(read, c.blockSize);
            layout.ReadSequence(location, length, 64);
            ASSERT_FALSE(layout.LogicalVolume().isEmpty());
            EXPECT_EQ(layout.LogicalBlockSize(), static_cast<quint32>(c.blockSize));
            ASSERT_EQ(layout.PartitionStarts().size(), 1u);
            const quint32 start = layout.PartitionStarts().begin()->second;
            if (c.media == QLatin1String("hd")) {
                EXPECT_EQ(start, info.Areas.at("PSPACE").first);
            }

            const std::vector<UdfLayout::PartitionMap> maps = layout.PartitionMaps();
            ASSERT_EQ(maps.size(), c.maps.size());
            for (size_t i = 0; i < maps.size(); ++i) {
                EXPECT_EQ(maps[i].Kind, c.maps[i]) << i;
                EXPECT_TRUE(maps[i].Inside) << i;
                EXPECT_EQ(maps[i].PartitionNumber, layout.PartitionStarts().begin()->first);
            }
            // Outside a virtual partition the file set descriptor lies where the logical
            // volume says, its tag naming its block in the partition.
            if (maps[layout.FileSetPartition()].Kind == Kind::Virtual)
                continue;
            QByteArray fileSet;
            ASSERT_TRUE(
                read(static_cast<qint64>(start) + layout.FileSetBlock(), c.blockSize, &fileSet));
            EXPECT_TRUE(UdfDescriptors::HasTag(fileSet, 0, UdfDescriptors::kFileSetDescriptor));
            EXPECT_EQ(UdfDescriptors::U32(fileSet, 12), layout.FileSetBlock());
        }
    }
}

TEST_F(UdfLayoutTest, AMetadataPartitionsBlocksLieInTheExtentsOfItsFile)
{
    // Extents of 2, 1 and 3 blocks of 512 bytes at blocks 40, 90 and 7 of the partition.
    const std::vector<UdfLayout::Extent> extents = {
        {2 * 512, 40, 0}, {1 * 512, 90, 0}, {3 * 512, 7, 0}};
    const std::pair<quint32, qint64> expected[] = {
        {0, 1040}, {1, 1041}, {2, 1090}, {3, 1007}, {5, 1009}};
    qint64 physical = -1;
    for (const auto& [block, where] : expected) {
        ASSERT_TRUE(UdfLayout::MetadataBlock(extents, 1000, block, 512, &physical)) << block;
        EXPECT_EQ(physical, where) << block;
    }
    EXPECT_FALSE(UdfLayout::MetadataBlock(extents, 1000, 6, 512, &physical));
    EXPECT_FALSE(UdfLayout::MetadataBlock({}, 1000, 0, 512, &physical));
}

TEST_F(UdfLayoutTest, EachReaderKeepsItsOwnRulesOverTheSameLayout)
{
    const QString image = MakeVolume("dvdrw", 2048);
    ASSERT_FALSE(image.isEmpty());
    const UdfInfo info(image);
    const QByteArray original = ReadAll(image);
    const int main = static_cast<int>(info.Areas.at("MVDS").first) * 2048;
    const int reserve = static_cast<int>(info.Areas.at("RVDS").first) * 2048;
    const int sequence = 16 * 2048;
    // Whether the volume reader and the lister read the volume; the volume reader's serial
    // number is the one udfinfo gives.
    const auto read = [&](const QByteArray& bytes, const UdfInfo& made) {
        const quint32 serial = made.Values.at("winserialnum").toUInt(nullptr, 16);
        VolumeReader::Volume volume;
        QString error;
        const bool volumeRead = VolumeReader::Read(MemoryReader(bytes), volume, error);
        EXPECT_EQ(volume.Label, volumeRead ? QStringLiteral("Reserve") : QString());
        EXPECT_EQ(volume.SerialNumber, volumeRead ? serial : 0u);
        const QString path = m_dir.filePath("damaged.udf");
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        file.close();
        UdfImageFolderLister lister(path);
        return std::make_pair(volumeRead, lister.Open() == 0);
    };
    using Both = std::pair<bool, bool>;
    EXPECT_EQ(read(original, info), Both(true, true));

    // The main sequence gone: the volume reader reads the reserve one. libcdio's udf
    // reader, which opens the image for the lister, does not open it.
    QByteArray bytes = original;
    bytes.replace(main, sequence, QByteArray(sequence, '\0'));
    EXPECT_EQ(read(bytes, info), Both(true, false));
    // Both gone: neither reads the volume.
    bytes.replace(reserve, sequence, QByteArray(sequence, '\0'));
    EXPECT_EQ(read(bytes, info), Both(false, false));

    // A main sequence with its logical volume but without its partition: the volume
    // reader keeps to the main sequence and finds no partition, the lister reads on into
    // the reserve one.
    bytes = original;
    int partitions = 0;
    for (int at = main; at < main + sequence; at += 2048) {
        if (UdfDescriptors::HasTag(bytes, at, UdfDescriptors::kPartitionDescriptor)) {
            bytes.replace(at, 16, QByteArray(16, '\0'));
            ++partitions;
        }
    }
    ASSERT_EQ(partitions, 1);
    EXPECT_EQ(read(bytes, info), Both(false, true));

    // Blocks of 512 bytes: Windows reads them, the lister does not.
    const QString small = MakeVolume("hd", 512);
    EXPECT_EQ(read(ReadAll(small), UdfInfo(small)), Both(true, false));
}
