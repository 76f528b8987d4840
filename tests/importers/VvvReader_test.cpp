#include "OtherListSamples.h"
#include "RecordingSink.h"
#include "importers/VvvReader.h"

#include <gtest/gtest.h>

TEST(VvvReaderTest, EachVolumeIsADiscAndColumnsGoByTheirHeaderNames)
{
    const CRecordingSink sink =
        CRecordingSink::ReadAll(CVvvReader(), QByteArray(OtherListSamples::kVvv));
    ASSERT_EQ(sink.Discs.size(), 2U);
    EXPECT_EQ(sink.Discs[0].Label, QStringLiteral("Backup 1"));
    EXPECT_EQ(sink.Paths(0), (QStringList{QStringLiteral("Photos, 2019"),
                                          QStringLiteral("Photos, 2019/Ann \"the cat\".jpg"),
                                          QStringLiteral("Docs/Über/notes.txt")}))
        << "the volume's own line is no item; the extension is joined once";

    const ImportedItem* folder = sink.Find(0, QStringLiteral("Photos, 2019"));
    ASSERT_TRUE(folder);
    EXPECT_TRUE(folder->IsFolder);
    EXPECT_EQ(folder->Modified, QDateTime(QDate(2019, 5, 31), QTime(18, 4, 5)));
    const ImportedItem* cat = sink.Find(0, QStringLiteral("Photos, 2019/Ann \"the cat\".jpg"));
    ASSERT_TRUE(cat);
    EXPECT_EQ(cat->Size, Q_INT64_C(5000000000));
    EXPECT_EQ(cat->Notes, QStringLiteral("favourite"));
    const ImportedItem* notes = sink.Find(0, QStringLiteral("Docs/Über/notes.txt"));
    ASSERT_TRUE(notes);
    EXPECT_EQ(notes->Size, 12);
    EXPECT_FALSE(notes->Modified.isValid());

    EXPECT_EQ(sink.Discs[1].Label, QStringLiteral("Backup 2"));
    const ImportedItem* readme = sink.Find(1, QStringLiteral("readme"));
    ASSERT_TRUE(readme);
    EXPECT_EQ(readme->Modified, QDateTime(QDate(2024, 5, 31), QTime(18, 4)));

    // Semicolons, a separate time column and other names for the same columns.
    const CRecordingSink other = CRecordingSink::ReadAll(
        CVvvReader(), "volume name;folder;filename;file size;file date;file time\r\n"
                      "Disc;a\\b;c.txt;7;2020-01-02;03:04:05\r\n");
    ASSERT_EQ(other.Discs.size(), 1U);
    const ImportedItem* c = other.Find(0, QStringLiteral("a/b/c.txt"));
    ASSERT_TRUE(c);
    EXPECT_EQ(c->Size, 7);
    EXPECT_EQ(c->Modified, QDateTime(QDate(2020, 1, 2), QTime(3, 4, 5)));
}

TEST(VvvReaderTest, RefusesWhatItCannotParseWithItsLine)
{
    const CVvvReader reader;
    EXPECT_EQ(CRecordingSink::FailureOf(reader, "Volume\tPath\tName\tSize\n"
                                                "V\t/\ta\t1\n"
                                                "\n"
                                                "V\t/\tb\t12 KB\n")
                  .Line,
              4);
    EXPECT_EQ(CRecordingSink::FailureOf(reader, "Volume,Path,Name\nV,/,\"open\nV,/,x\n").Line, 2);
    EXPECT_EQ(CRecordingSink::FailureOf(reader, "Volume,Path,Name\nV,/,x,y\n").Line, 2);
    EXPECT_EQ(CRecordingSink::FailureOf(reader, "Label,Path,Name\nV,/,x\n").Line, 1);
}
