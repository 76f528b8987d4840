#include "OtherListSamples.h"
#include "RecordingSink.h"
#include "importers/Snap2HtmlReader.h"

#include <gtest/gtest.h>

namespace {

QDateTime Utc(qint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

} // namespace

TEST(Snap2HtmlReaderTest, ReadsFoldersThroughTheirParentsAndEachRootAsADisc)
{
    const CRecordingSink sink =
        CRecordingSink::ReadAll(CSnap2HtmlReader(), QByteArray(OtherListSamples::kSnap2Html));
    ASSERT_EQ(sink.Discs.size(), 2U);
    EXPECT_EQ(sink.Discs[0].Label, QStringLiteral("Holiday \"2024\"")) << "the snapshot's title";
    EXPECT_EQ(sink.Discs[0].Created, Utc(1766493031));
    const QString tom = QStringLiteral("Fotos, Ünï/Tom's \"best\" \u263A.jpg");
    EXPECT_EQ(
        sink.Paths(0),
        (QStringList{QStringLiteral("Root file.txt"), QStringLiteral("Fotos, Ünï"), tom,
                     QStringLiteral("Empty"), QStringLiteral("Fotos, Ünï/Sub"),
                     QStringLiteral("Fotos, Ünï/Sub/no 'date'.txt"), QStringLiteral("Locked")}));

    const ImportedItem* root = sink.Find(0, QStringLiteral("Root file.txt"));
    ASSERT_TRUE(root);
    EXPECT_EQ(root->Size, 4488);
    EXPECT_EQ(root->Modified, Utc(1734962551));
    const ImportedItem* big = sink.Find(0, tom);
    ASSERT_TRUE(big);
    EXPECT_EQ(big->Size, Q_INT64_C(5000000000));
    EXPECT_EQ(big->Modified, Utc(1734962537));
    const ImportedItem* folder = sink.Find(0, QStringLiteral("Fotos, Ünï/Sub"));
    ASSERT_TRUE(folder);
    EXPECT_TRUE(folder->IsFolder);
    EXPECT_EQ(folder->Modified, Utc(1734962505));
    EXPECT_TRUE(folder->Notes.isEmpty());
    const ImportedItem* locked = sink.Find(0, QStringLiteral("Locked"));
    ASSERT_TRUE(locked);
    EXPECT_FALSE(locked->Notes.isEmpty()) << "an unread folder says so";
    const ImportedItem* undated = sink.Find(0, QStringLiteral("Fotos, Ünï/Sub/no 'date'.txt"));
    ASSERT_TRUE(undated);
    EXPECT_EQ(undated->Size, 10);
    EXPECT_FALSE(undated->Modified.isValid());

    // The second root counts its folder ids from itself and has no title of its own.
    EXPECT_EQ(sink.Discs[1].Label, QStringLiteral("Other"));
    EXPECT_FALSE(sink.Discs[1].Created.isValid());
    EXPECT_EQ(sink.Paths(1), QStringList{QStringLiteral("Inner")});
}

TEST(Snap2HtmlReaderTest, ReadsTheOlderLayoutOfFullPaths)
{
    const CRecordingSink sink =
        CRecordingSink::ReadAll(CSnap2HtmlReader(), QByteArray(OtherListSamples::kSnap2HtmlV1));
    ASSERT_EQ(sink.Discs.size(), 1U);
    EXPECT_EQ(sink.Discs[0].Label, QStringLiteral("Music"));
    EXPECT_EQ(sink.Paths(0),
              (QStringList{QStringLiteral("song, \"live\".mp3"), QStringLiteral("Jazz & Blues"),
                           QStringLiteral("Jazz & Blues/a'b.flac")}));
    const ImportedItem* song = sink.Find(0, QStringLiteral("song, \"live\".mp3"));
    ASSERT_TRUE(song);
    EXPECT_EQ(song->Size, Q_INT64_C(5000000000));
    EXPECT_EQ(song->Modified, Utc(1403190240));
    const ImportedItem* flac = sink.Find(0, QStringLiteral("Jazz & Blues/a'b.flac"));
    ASSERT_TRUE(flac);
    EXPECT_FALSE(flac->Modified.isValid());
}

TEST(Snap2HtmlReaderTest, RefusesBrokenDataWithItsLine)
{
    const CSnap2HtmlReader reader;
    const char* unclosed = "<html><script>\n"
                           "D.p([\"Disc*1*2\",-1,\"\",\n"
                           "\"file.txt*1*2,{}])\n";
    EXPECT_EQ(CRecordingSink::FailureOf(reader, unclosed).Line, 3);
    const char* starless = "<html><script>\n"
                           "D.p([\"Disc*1*2\",-1,\"1\",{\"title\":\"t\"}])\n"
                           "D.p([\"no stars\",0,\"\"])\n";
    EXPECT_EQ(CRecordingSink::FailureOf(reader, starless).Line, 3);
    const char* orphan = "<html><script>\n"
                         "D.p([\"Disc*1*2\",-1,\"\",{}])\n"
                         "\n"
                         "D.p([\"Lost*1*2\",7,\"\"])\n";
    EXPECT_EQ(CRecordingSink::FailureOf(reader, orphan).Line, 4);
    EXPECT_EQ(CRecordingSink::FailureOf(reader, "<html><p>No listing</p></html>").Line, 0);
}
