#include "media/Exiv2MediaIo.h"
#include "media/MediaFile.h"
#include "media/MediaFileDevice.h"
#include "media/TagLibMediaStream.h"

#include <QFile>
#include <QMimeDatabase>
#include <QMimeType>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <exiv2/basicio.hpp>
#include <exiv2/error.hpp>
#include <taglib/tfilestream.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <sys/stat.h>

// The shared file and its adapters. TagLib's and Exiv2's views are checked against the
// libraries' own file readers, step by step on the same file: what the libraries decide
// from what they read must not change because the bytes now come from blocks.

namespace {

constexpr qint64 kBlock = MediaFile::kBlockSize;

class MediaDetailsFile : public ::testing::Test
{
protected:
    QString Write(const QString& name, const QByteArray& bytes) const
    {
        QFile file(m_dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

    static QByteArray Noise(qint64 size, quint32 seed)
    {
        QByteArray bytes(static_cast<int>(size), Qt::Uninitialized);
        QRandomGenerator random(seed);
        for (char& byte : bytes)
            byte = static_cast<char>(random.bounded(256));
        return bytes;
    }

    QTemporaryDir m_dir;
};

QByteArray ReadBytes(MediaFile& file, qint64 offset, qint64 length)
{
    QByteArray bytes(static_cast<int>(length), '\0');
    bytes.truncate(static_cast<int>(std::max<qint64>(file.Read(offset, bytes.data(), length), 0)));
    return bytes;
}

} // namespace

TEST_F(MediaDetailsFile, ReadsAnyRangeThroughFewBlocksAndTurnsDownWhatIsNoFile)
{
    const qint64 size = 5 * kBlock + 123; // six blocks, the last one short
    const QByteArray content = Noise(size, 7);
    MediaFile file;
    ASSERT_TRUE(file.Open(Write("noise.bin", content)));
    EXPECT_EQ(file.Size(), size);
    // Inside a block, across two, at and past the end, empty, larger than a block.
    for (const auto& [offset, length] : std::vector<std::pair<qint64, qint64>>{{0, 10},
                                                                               {kBlock - 3, 7},
                                                                               {size - 5, 100},
                                                                               {size, 10},
                                                                               {size + 100, 10},
                                                                               {1000, 0},
                                                                               {0, kBlock},
                                                                               {kBlock / 2, size},
                                                                               {17, kBlock - 1}})
        EXPECT_EQ(ReadBytes(file, offset, length), content.mid(offset, length)) << offset;
    EXPECT_EQ(file.Read(-1, nullptr, 4), -1);
    EXPECT_EQ(file.Head(16), content.left(16));

    // Small reads cost one system read per block; four blocks are kept, the one used
    // longest ago gives way to a fifth. A read of a block or more goes to the file.
    ASSERT_TRUE(file.Open(file.Path()));
    char byte = 0;
    for (qint64 offset = 0; offset < 4 * kBlock; offset += 97)
        file.Read(offset, &byte, 1);
    EXPECT_EQ(file.SystemReads(), 4);
    for (const qint64 offset : {qint64(0), 4 * kBlock, kBlock, qint64(0)})
        file.Read(offset, &byte, 1); // block 4 pushes out block 1, not the latest used 0
    EXPECT_EQ(file.SystemReads(), 6);
    EXPECT_EQ(ReadBytes(file, 100, 2 * kBlock), content.mid(100, 2 * kBlock));
    EXPECT_EQ(file.SystemReads(), 7);

    // A second file through the same object: nothing of the first is served.
    const QByteArray other = Noise(size, 8);
    ASSERT_TRUE(file.Open(Write("other.bin", other)));
    EXPECT_EQ(ReadBytes(file, kBlock - 3, 7), other.mid(kBlock - 3, 7));

    // An empty file opens and reads nothing; a folder, a missing file and a FIFO (which
    // would block a reader that waited on it) do not open.
    ASSERT_TRUE(file.Open(Write("empty.bin", QByteArray())));
    EXPECT_EQ(ReadBytes(file, 0, 10), QByteArray());
    const QByteArray fifo = QFile::encodeName(m_dir.filePath("pipe"));
    ASSERT_EQ(::mkfifo(fifo.constData(), 0600), 0);
    for (const QString& name : {QString(), QStringLiteral("missing.bin"), QStringLiteral("pipe")})
        EXPECT_FALSE(file.Open(m_dir.filePath(name))) << name.toStdString();
    EXPECT_EQ(file.Read(0, &byte, 1), -1);
}

TEST_F(MediaDetailsFile, TagLibStreamReadsAsTagLibsOwnFileStream)
{
    const QString path = Write("stream.bin", Noise(2 * kBlock + 500, 11));
    const QByteArray name = QFile::encodeName(path);
    TagLib::FileStream own(name.constData(), true);
    MediaFile file;
    ASSERT_TRUE(file.Open(path));
    TagLibMediaStream shared(file);
    EXPECT_STREQ(static_cast<const char*>(shared.name()), name.constData());
    EXPECT_EQ(shared.length(), own.length());

    // Jumps from each origin, before the start (ignored), past the end, and reads of
    // every size, a too large one included.
    using P = TagLib::IOStream::Position;
    const std::vector<std::tuple<long, P, unsigned long>> steps = {
        {0, P::Beginning, 4},    {10, P::Current, 1000},
        {-4, P::End, 100},       {-10, P::Beginning, 8},
        {5, P::End, 8},          {kBlock - 2, P::Beginning, 4},
        {-1000, P::Current, 0},  {0, P::Beginning, 1u << 30},
        {-20, P::Current, 20},   {3, P::Beginning, 70000},
        {-9 * kBlock, P::End, 2}};
    for (const auto& [offset, from, length] : steps) {
        own.seek(offset, from);
        shared.seek(offset, from);
        EXPECT_EQ(shared.tell(), own.tell()) << offset;
        EXPECT_EQ(shared.readBlock(length), own.readBlock(length)) << offset;
        EXPECT_EQ(shared.tell(), own.tell()) << offset;
    }
}

TEST_F(MediaDetailsFile, Exiv2IoReadsAsExiv2sOwnFileIo)
{
    const long size = kBlock + 300;
    const QString path = Write("io.bin", Noise(size, 13));
    Exiv2::FileIo own(QFile::encodeName(path).toStdString());
    MediaFile file;
    ASSERT_TRUE(file.Open(path));
    Exiv2MediaIo shared(file);
    EXPECT_FALSE(shared.isopen());
    ASSERT_EQ(own.open(), 0);
    ASSERT_EQ(shared.open(), 0);
    EXPECT_EQ(shared.size(), own.size());

    // A jump and its result, a read, then the position and the flags the format checks
    // test: a read short of its count sets end-of-file, a jump clears it.
    using B = Exiv2::BasicIo;
    const std::vector<std::tuple<long, B::Position, long>> steps = {
        {0, B::beg, 8},  {-4, B::end, 4},  {-4, B::end, 5},   {0, B::cur, 1},
        {10, B::end, 1}, {-1, B::beg, 3},  {100, B::beg, 0},  {kBlock - 1, B::beg, 2},
        {0, B::end, 1},  {-50, B::cur, 2}, {0, B::beg, 70000}};
    for (const auto& [offset, from, length] : steps) {
        SCOPED_TRACE(std::to_string(offset) + " from " + std::to_string(from));
        EXPECT_EQ(shared.seek(offset, from) == 0, own.seek(offset, from) == 0);
        std::vector<Exiv2::byte> mine(static_cast<size_t>(length) + 1, 0);
        std::vector<Exiv2::byte> theirs(mine.size(), 0);
        EXPECT_EQ(shared.read(mine.data(), length), own.read(theirs.data(), length));
        EXPECT_EQ(mine, theirs);
        EXPECT_EQ(shared.tell(), own.tell());
        EXPECT_EQ(shared.eof(), own.eof());
        EXPECT_EQ(shared.error() != 0, own.error() != 0);
    }
    // Byte by byte across the end.
    own.seek(-2, B::end);
    shared.seek(-2, B::end);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(shared.getb(), own.getb()) << i;
        EXPECT_EQ(shared.eof(), own.eof()) << i;
    }
    // A length field larger than the file is refused, not allocated.
    EXPECT_THROW(own.read(size + 1), Exiv2::AnyError);
    EXPECT_THROW(shared.read(size + 1), Exiv2::AnyError);

    // The whole file at once, as TIFF-like formats ask for it; reopening rewinds.
    const Exiv2::byte* whole = shared.mmap(false);
    ASSERT_NE(whole, nullptr);
    EXPECT_EQ(std::memcmp(whole, own.mmap(false), static_cast<size_t>(size)), 0);
    EXPECT_EQ(shared.open(), 0);
    EXPECT_EQ(shared.tell(), 0);
    EXPECT_EQ(shared.close(), 0);
    EXPECT_FALSE(shared.isopen());
    EXPECT_TRUE(file.IsOpen());
}

TEST_F(MediaDetailsFile, QtDeviceAndHeadSniffSeeWhatQtSeesOfTheFile)
{
    const QByteArray content = Noise(3 * kBlock, 17);
    MediaFile file;
    ASSERT_TRUE(file.Open(Write("device.bin", content)));
    MediaFileDevice device(file);
    EXPECT_FALSE(device.open(QIODevice::ReadWrite));
    ASSERT_TRUE(device.open(QIODevice::ReadOnly));
    EXPECT_EQ(device.peek(10), content.left(10));
    EXPECT_EQ(device.read(kBlock + 5), content.left(kBlock + 5));
    ASSERT_TRUE(device.seek(2 * kBlock - 2));
    EXPECT_EQ(device.readAll(), content.mid(2 * kBlock - 2));
    EXPECT_TRUE(device.atEnd());

    // Qt's MIME magic reads the first 16 KiB of a file it opens; the head read from the
    // shared file must give the same type: text with binary beyond those 16 KiB is still
    // text, binary within them is not, and an empty file is a type of its own.
    QByteArray late(16384, 'a');
    QByteArray early(16000, 'a');
    late.append(QByteArray(64, '\0'));
    early.append(QByteArray(64, '\0'));
    const QByteArray frame = QByteArray::fromHex("fffb9064") + QByteArray(4000, '\x55');
    const QMimeDatabase types;
    for (const QByteArray& bytes : {late, early, QByteArray(), frame, content}) {
        const QString path = Write(QStringLiteral("sniff.mp3"), bytes);
        ASSERT_TRUE(file.Open(path));
        EXPECT_EQ(types.mimeTypeForData(file.Head(16384)).name(),
                  types.mimeTypeForFile(path, QMimeDatabase::MatchContent).name())
            << bytes.size();
    }
}
