#include "common/FormatSize.h"

#include <gtest/gtest.h>

TEST(FormatSizeTest, BoundariesAreStrictAndEachUnitStartsAbove1024OfTheLast)
{
    EXPECT_EQ(FormatSize(0), QStringLiteral("0 bytes"));
    EXPECT_EQ(FormatSize(1), QStringLiteral("1 bytes"));
    EXPECT_EQ(FormatSize(1024), QStringLiteral("1024 bytes"));
    EXPECT_EQ(FormatSize(1025), QStringLiteral("1.00 KB"));
    EXPECT_EQ(FormatSize(1536), QStringLiteral("1.50 KB"));
    EXPECT_EQ(FormatSize(1048576), QStringLiteral("1024.00 KB"));
    EXPECT_EQ(FormatSize(1048577), QStringLiteral("1.00 MB"));
    EXPECT_EQ(FormatSize(1073741824), QStringLiteral("1024.00 MB"));
    EXPECT_EQ(FormatSize(1073741825), QStringLiteral("1.00 GB"));
    // Far beyond a terabyte the text stays in GB.
    EXPECT_EQ(FormatSize(Q_INT64_C(5) * 1024 * 1024 * 1024 * 1024), QStringLiteral("5120.00 GB"));
}

TEST(FormatSizeTest, ScalesInSinglePrecisionAndShowsNegativesByTheirLow32Bits)
{
    // Double precision would give 716.99 MB and 2299.35 GB here.
    EXPECT_EQ(FormatSize(751813279), QStringLiteral("716.98 MB"));
    EXPECT_EQ(FormatSize(Q_INT64_C(2468902970159)), QStringLiteral("2299.34 GB"));

    EXPECT_EQ(FormatSize(-1), QStringLiteral("-1 bytes"));
    EXPECT_EQ(FormatSize(-5000000), QStringLiteral("-5000000 bytes"));
    // -4294967296 is 0xFFFFFFFF00000000: its low half is zero.
    EXPECT_EQ(FormatSize(-Q_INT64_C(4294967296)), QStringLiteral("0 bytes"));
    // -4294967295 is 0xFFFFFFFF00000001.
    EXPECT_EQ(FormatSize(-Q_INT64_C(4294967295)), QStringLiteral("1 bytes"));
}
