// The page's compressor: what it writes is a gzip stream that zlib reads back byte for
// byte, whatever the sizes of the writes, and numbers come back from their LEB128 form.
#include "export/GzipStream.h"

#include "export/Gunzip.h"

#include <QBuffer>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

std::vector<quint64> ReadVarints(const QByteArray& bytes)
{
    std::vector<quint64> values;
    quint64 value = 0;
    int shift = 0;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        value |= static_cast<quint64>(byte & 0x7f) << shift;
        shift += 7;
        if ((byte & 0x80) == 0) {
            values.push_back(value);
            value = 0;
            shift = 0;
        }
    }
    return values;
}

} // namespace

TEST(GzipStream, WritesOfAnySizeComeBackWholeAsOneGzipStream)
{
    QByteArray expected;
    QBuffer out;
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    {
        CGzipStream gzip(out);
        // Single bytes, then pieces that straddle the 64 KB blocks, then one far larger
        // than a block; a pseudo-random text so that it does not shrink to nothing.
        unsigned seed = 7;
        for (int piece = 0; piece < 3000; ++piece) {
            const int size = piece < 1000 ? 1 : piece < 2990 ? 97 : 300000;
            QByteArray bytes(size, '\0');
            for (char& c : bytes) {
                seed = seed * 1103515245u + 12345u;
                c = static_cast<char>('a' + (seed >> 16) % 26);
            }
            gzip.Write(bytes.constData(), bytes.size());
            expected += bytes;
        }
        gzip.Finish();
        gzip.Finish(); // a second end adds nothing
        EXPECT_EQ(gzip.BytesIn(), expected.size());
    }
    EXPECT_EQ(out.data().left(2), QByteArray("\x1f\x8b")); // the gzip magic
    EXPECT_LT(out.data().size(), expected.size());
    EXPECT_EQ(Gunzip(out.data()), expected);

    // Nothing written is still a stream: an empty one.
    QBuffer empty;
    ASSERT_TRUE(empty.open(QIODevice::WriteOnly));
    CGzipStream(empty).Finish();
    EXPECT_EQ(Gunzip(empty.data()), QByteArray());
}

TEST(GzipStream, NumbersTakeSevenBitsABytePastFourGigabytes)
{
    const std::vector<quint64> numbers = {0,
                                          1,
                                          127,
                                          128,
                                          300,
                                          16383,
                                          16384,
                                          5368709137ULL, // a file over 4 GB
                                          std::numeric_limits<quint64>::max()};
    QBuffer out;
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    CGzipStream gzip(out);
    for (const quint64 number : numbers)
        gzip.WriteVarint(number);
    gzip.Finish();
    const QByteArray bytes = Gunzip(out.data());
    EXPECT_EQ(ReadVarints(bytes), numbers);
    // One byte up to 127, two up to 16383, ten for the largest.
    EXPECT_EQ(bytes.size(), 1 + 1 + 1 + 2 + 2 + 2 + 3 + 5 + 10);
}
