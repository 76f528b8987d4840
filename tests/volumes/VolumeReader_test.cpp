// VolumeReader on real volumes made by the systems' own tools (xorriso, mkfs.fat, mkntfs,
// mkudffs), checked against sums and values taken independently from the image bytes and
// against what blkid and udfinfo report.
#include "volumes/MemoryReader.h"
#include "volumes/SystemTools.h"
#include "volumes/VolumeReader.h"

#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QString Blkid(const QString& image, const char* tag)
{
    return SystemTools::Run("blkid", {"-p", "-o", "value", "-s", tag, image}).trimmed();
}

QByteArray ReadAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// An empty image file of the given size (sparse: nothing is written).
bool MakeEmptyImage(const QString& path, qint64 size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.resize(size);
}

// The Windows NT sums written out plainly: byte i goes into sum i % 4.
quint32 NtSerial(const QByteArray& block, bool udfOrder)
{
    unsigned sums[4] = {0, 0, 0, 0};
    for (int i = 0; i < block.size(); ++i)
        sums[i % 4] += static_cast<unsigned char>(block[i]);
    for (unsigned& sum : sums)
        sum %= 256;
    return udfOrder ? (sums[3] << 24) + (sums[2] << 16) + (sums[1] << 8) + sums[0]
                    : (sums[0] << 24) + (sums[1] << 16) + (sums[2] << 8) + sums[3];
}

class VolumeReaderTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        QDir(m_dir.path()).mkpath("tree/folder");
        QFile file(m_dir.filePath("tree/film.avi"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(5000, 'x'));
    }

    QString MakeIso(const char* name, const QStringList& options)
    {
        if (SystemTools::Find("xorriso").isEmpty())
            return QString();
        const QString image = m_dir.filePath(name);
        QStringList arguments{"-as", "mkisofs", "-quiet", "-o", image};
        arguments << options << m_dir.filePath("tree");
        return SystemTools::Run("xorriso", arguments).isNull() ? QString() : image;
    }

    QString Path(const char* name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(VolumeReaderTest, ReadsAPlainIso9660Volume)
{
    const QString image = MakeIso("plain.iso", {"-V", "HOLIDAY 2024"});
    if (image.isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    VolumeReader::Volume volume;
    QString error;
    ASSERT_TRUE(VolumeReader::ReadFile(image, volume, error)) << error.toStdString();

    const QByteArray bytes = ReadAll(image);
    const QByteArray primary = bytes.mid(16 * 2048, 2048);
    ASSERT_EQ(primary.at(0), 1);
    EXPECT_EQ(volume.Type, VolumeReader::FileSystem::Iso9660);
    EXPECT_EQ(volume.Label, QStringLiteral("HOLIDAY 2024"));
    EXPECT_EQ(volume.Label, Blkid(image, "LABEL"));
    EXPECT_EQ(volume.SerialNumber, NtSerial(primary, false));
    EXPECT_EQ(volume.RecordedSize, bytes.size());
}

TEST_F(VolumeReaderTest, JolietDescriptorGivesLabelAndSerial)
{
    const QString image = MakeIso("joliet.iso", {"-J", "-V", "Ferien am Meer"});
    if (image.isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    VolumeReader::Volume volume;
    QString error;
    ASSERT_TRUE(VolumeReader::ReadFile(image, volume, error)) << error.toStdString();

    const QByteArray bytes = ReadAll(image);
    const QByteArray primary = bytes.mid(16 * 2048, 2048);
    const QByteArray joliet = bytes.mid(17 * 2048, 2048);
    ASSERT_EQ(joliet.at(0), 2);
    ASSERT_EQ(joliet.mid(88, 3), QByteArray("%/E"));
    EXPECT_EQ(volume.Type, VolumeReader::FileSystem::Joliet);
    // The primary descriptor holds the label in upper case; Joliet keeps it as given.
    EXPECT_EQ(volume.Label, QStringLiteral("Ferien am Meer"));
    EXPECT_EQ(volume.SerialNumber, NtSerial(joliet, false));
    EXPECT_NE(volume.SerialNumber, NtSerial(primary, false));
    EXPECT_EQ(volume.RecordedSize, bytes.size());
}

TEST_F(VolumeReaderTest, ReadsFat12Fat16AndFat32)
{
    if (SystemTools::Find("mkfs.fat").isEmpty())
        GTEST_SKIP() << "mkfs.fat (dosfstools) is not installed";
    struct Case
    {
        const char* bits;
        qint64 size;
        const char* serial;
        VolumeReader::FileSystem type;
    };
    const Case cases[] = {
        {"12", 1474560, "1234ABCD", VolumeReader::FileSystem::Fat12},
        {"16", 32 << 20, "0BADF00D", VolumeReader::FileSystem::Fat16},
        {"32", 64 << 20, "CAFEBABE", VolumeReader::FileSystem::Fat32},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bits);
        const QString image = Path("fat.img");
        QFile::remove(image);
        ASSERT_TRUE(MakeEmptyImage(image, c.size));
        QStringList options{"-F", c.bits, "-n", "SHELF " + QString(c.bits), "-i", c.serial};
        if (QByteArray(c.bits) == "32")
            options << "-s"
                    << "1";
        ASSERT_FALSE(SystemTools::Run("mkfs.fat", options << image).isNull());

        VolumeReader::Volume volume;
        QString error;
        ASSERT_TRUE(VolumeReader::ReadFile(image, volume, error)) << error.toStdString();
        EXPECT_EQ(volume.Type, c.type);
        EXPECT_EQ(volume.Label, "SHELF " + QString(c.bits));
        EXPECT_EQ(volume.SerialNumber, QString(c.serial).toUInt(nullptr, 16));
        // blkid writes the same number as XXXX-XXXX.
        EXPECT_EQ(Blkid(image, "UUID").remove('-'), QString(c.serial));
        EXPECT_EQ(volume.RecordedSize, c.size);
    }
}

TEST_F(VolumeReaderTest, FatLabelComesFromTheRootFolderNotTheBootSector)
{
    if (SystemTools::Find("mkfs.fat").isEmpty())
        GTEST_SKIP() << "mkfs.fat (dosfstools) is not installed";
    const QString image = Path("fat16.img");
    ASSERT_TRUE(MakeEmptyImage(image, 16 << 20));
    ASSERT_FALSE(SystemTools::Run("mkfs.fat", {"-F", "16", "-n", "BOOTLABEL", image}).isNull());
    QByteArray bytes = ReadAll(image);
    const int boot = bytes.indexOf("BOOTLABEL  ");
    const int root = bytes.indexOf("BOOTLABEL  ", boot + 1);
    ASSERT_EQ(boot, 0x2B);
    ASSERT_GT(root, 512);
    bytes.replace(root, 11, "ROOT LABEL ");

    VolumeReader::Volume volume;
    QString error;
    ASSERT_TRUE(VolumeReader::Read(MemoryReader(bytes), volume, error));
    EXPECT_EQ(volume.Label, QStringLiteral("ROOT LABEL"));

    // Without a label entry in the root folder the volume has no label.
    bytes[root + 11] = 0x20; // now an ordinary file entry
    ASSERT_TRUE(VolumeReader::Read(MemoryReader(bytes), volume, error));
    EXPECT_EQ(volume.Label, QString());
}

TEST_F(VolumeReaderTest, ReadsNtfs)
{
    if (SystemTools::Find("mkntfs").isEmpty())
        GTEST_SKIP() << "mkntfs (ntfs-3g) is not installed";
    const QString image = Path("ntfs.img");
    ASSERT_TRUE(MakeEmptyImage(image, 8 << 20));
    ASSERT_FALSE(SystemTools::Run("mkntfs", {"-F", "-q", "-L", "Archiv Müller", image}).isNull());

    VolumeReader::Volume volume;
    QString error;
    ASSERT_TRUE(VolumeReader::ReadFile(image, volume, error)) << error.toStdString();
    EXPECT_EQ(volume.Type, VolumeReader::FileSystem::Ntfs);
    EXPECT_EQ(volume.Label, QStringLiteral("Archiv Müller"));
    // blkid shows the whole 64-bit serial; Windows its low half.
    const QString uuid = Blkid(image, "UUID");
    ASSERT_EQ(uuid.size(), 16);
    EXPECT_EQ(volume.SerialNumber, uuid.right(8).toUInt(nullptr, 16));
    EXPECT_EQ(volume.RecordedSize, 8 << 20);
}

TEST_F(VolumeReaderTest, ReadsUdfOfSeveralRevisionsAndBlockSizes)
{
    if (SystemTools::Find("mkudffs").isEmpty() || SystemTools::Find("udfinfo").isEmpty())
        GTEST_SKIP() << "mkudffs and udfinfo (udftools) are not installed";
    struct Case
    {
        QStringList options;
        QString label;
        qint64 size;
    };
    const Case cases[] = {
        {{"-b", "2048"}, "Urlaub 2023", 8 << 20},
        {{"-b", "512"}, "small blocks", 8 << 20},
        // DVD-Video's revision, with a label that needs 16-bit characters.
        {{"-m", "dvd", "-b", "2048", "-r", "1.02"}, QStringLiteral("Фильмы"), 8 << 20},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label.toStdString());
        const QString image = Path("udf.img");
        QFile::remove(image);
        ASSERT_TRUE(MakeEmptyImage(image, c.size));
        ASSERT_FALSE(SystemTools::Run("mkudffs", QStringList{"--utf8"}
                                                     << c.options << "--label=" + c.label << image)
                         .isNull());
        const QString info = SystemTools::Run("udfinfo", {"--utf8", image});
        const int at = info.indexOf("winserialnum=0x");
        ASSERT_GE(at, 0) << info.toStdString();

        VolumeReader::Volume volume;
        QString error;
        ASSERT_TRUE(VolumeReader::ReadFile(image, volume, error)) << error.toStdString();
        EXPECT_EQ(volume.Type, VolumeReader::FileSystem::Udf);
        EXPECT_EQ(volume.Label, c.label);
        EXPECT_EQ(volume.SerialNumber, info.mid(at + 15, 8).toUInt(nullptr, 16));
    }
}

// mkudffs cannot make the metadata partition of UDF 2.50 (Blu-ray), so this volume is
// put together by hand: the file set descriptor lies in the metadata partition, whose
// blocks are the extents of the metadata file in the physical partition.
TEST(VolumeReader, FindsTheFileSetInAMetadataPartition)
{
    constexpr int kBlock = 2048;
    QByteArray image(342 * kBlock, '\0');
    const auto put16 = [&](int block, int at, quint16 value) {
        image[block * kBlock + at] = static_cast<char>(value & 0xFF);
        image[block * kBlock + at + 1] = static_cast<char>(value >> 8);
    };
    const auto put32 = [&](int block, int at, quint32 value) {
        put16(block, at, static_cast<quint16>(value & 0xFFFF));
        put16(block, at + 2, static_cast<quint16>(value >> 16));
    };
    const auto tag = [&](int block, quint16 id) {
        put16(block, 0, id);
        put32(block, 12, static_cast<quint32>(block));
        quint8 sum = 0;
        for (int i = 0; i < 16; ++i)
            sum = static_cast<quint8>(sum + (i == 4 ? 0 : image[block * kBlock + i]));
        image[block * kBlock + 4] = static_cast<char>(sum);
    };
    image.replace(16 * kBlock + 1, 5, "BEA01");
    image.replace(17 * kBlock + 1, 5, "NSR03");
    image.replace(18 * kBlock + 1, 5, "TEA01");
    put32(256, 16, 3 * kBlock); // main volume descriptor sequence: blocks 32 to 34
    put32(256, 20, 32);
    tag(256, 2);
    put16(32, 22, 0); // partition 0 starts at block 300
    put32(32, 188, 300);
    put32(32, 192, 42);
    tag(32, 5);
    put32(33, 212, kBlock); // the file set: block 2 of partition reference 1
    put32(33, 248, kBlock);
    put32(33, 252, 2);
    put16(33, 256, 1);
    put32(33, 264, 6 + 64);
    put32(33, 268, 2);
    image[33 * kBlock + 440] = 1; // map 0: partition 0 itself
    image[33 * kBlock + 441] = 6;
    image[33 * kBlock + 446] = 2; // map 1: its metadata partition, metadata file at 10
    image[33 * kBlock + 447] = 64;
    image.replace(33 * kBlock + 451, 23, "*UDF Metadata Partition");
    put32(33, 486, 10);
    tag(33, 6);
    tag(34, 8);
    // The metadata file (an extended file entry): one block at 20, then four at 40.
    put32(310, 212, 16);
    put32(310, 216, kBlock);
    put32(310, 220, 20);
    put32(310, 224, 4 * kBlock);
    put32(310, 228, 40);
    tag(310, 266);
    // Metadata block 2 is the second block of the second extent: 300 + 40 + 1.
    image.replace(341 * kBlock + 112, 7, QByteArray("\x10\0B\0l\0u", 7));
    image[341 * kBlock + 112 + 127] = 7;
    image.replace(341 * kBlock + 1000, 4, "data");
    tag(341, 256);

    VolumeReader::Volume volume;
    QString error;
    ASSERT_TRUE(VolumeReader::Read(MemoryReader(image), volume, error)) << error.toStdString();
    EXPECT_EQ(volume.Type, VolumeReader::FileSystem::Udf);
    EXPECT_EQ(volume.Label, QStringLiteral("Blu"));
    EXPECT_EQ(volume.SerialNumber, NtSerial(image.mid(341 * kBlock, kBlock), true));
}

TEST_F(VolumeReaderTest, GarbageAndTruncatedVolumesFailCleanly)
{
    VolumeReader::Volume volume;
    QString error;
    EXPECT_FALSE(VolumeReader::Read(MemoryReader(QByteArray()), volume, error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(VolumeReader::Read(MemoryReader(QByteArray(1 << 20, '\0')), volume, error));
    EXPECT_EQ(volume.Type, VolumeReader::FileSystem::None);
    EXPECT_FALSE(VolumeReader::ReadFile(Path("missing.iso"), volume, error));

    // Every real volume cut short at many places, and with random bytes scattered over
    // its structures, never reads outside what it has and never crashes.
    QStringList images;
    images << MakeIso("cut.iso", {"-J", "-V", "CUT"});
    if (!SystemTools::Find("mkfs.fat").isEmpty() && MakeEmptyImage(Path("cut.fat"), 2 << 20) &&
        !SystemTools::Run("mkfs.fat", {"-F", "12", "-n", "CUT", Path("cut.fat")}).isNull())
        images << Path("cut.fat");
    if (!SystemTools::Find("mkntfs").isEmpty() && MakeEmptyImage(Path("cut.ntfs"), 4 << 20) &&
        !SystemTools::Run("mkntfs", {"-F", "-q", "-L", "CUT", Path("cut.ntfs")}).isNull())
        images << Path("cut.ntfs");
    if (!SystemTools::Find("mkudffs").isEmpty() && MakeEmptyImage(Path("cut.udf"), 4 << 20) &&
        !SystemTools::Run("mkudffs", {"-b", "2048", "--label=CUT", Path("cut.udf")}).isNull())
        images << Path("cut.udf");
    QRandomGenerator random(20240601);
    for (const QString& image : images) {
        if (image.isEmpty())
            continue;
        SCOPED_TRACE(image.toStdString());
        const QByteArray bytes = ReadAll(image);
        ASSERT_TRUE(VolumeReader::Read(MemoryReader(bytes), volume, error));
        for (int length = 0; length < qMin<int>(bytes.size(), 600 * 1024); length += 1536)
            VolumeReader::Read(MemoryReader(bytes.left(length)), volume, error);
        for (int round = 0; round < 200; ++round) {
            QByteArray damaged = bytes;
            for (int i = 0; i < 64; ++i) {
                // Mostly where the structures are: boot sector, descriptors, anchor.
                const int range = i % 2 ? 64 * 1024 : qMin<int>(damaged.size(), 1 << 20);
                const int at = static_cast<int>(random.bounded(qMin<int>(damaged.size(), range)));
                damaged[at] = static_cast<char>(random.bounded(256));
            }
            VolumeReader::Read(MemoryReader(damaged), volume, error);
            EXPECT_LE(volume.Label.size(), 260);
        }
    }
}
