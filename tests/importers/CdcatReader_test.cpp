#include "OtherListSamples.h"
#include "RecordingSink.h"
#include "importers/CdcatReader.h"

#include <QProcess>

#include <gtest/gtest.h>

TEST(CdcatReaderTest, MediaBecomeDiscsWithTheirFoldersFilesAndComments)
{
    const CRecordingSink sink =
        CRecordingSink::ReadAll(CCdcatReader(), QByteArray(OtherListSamples::kCdcat));
    ASSERT_EQ(sink.Discs.size(), 2U);
    EXPECT_EQ(sink.Discs[0].Label, QStringLiteral("Disc \"1\", Ünï"));
    EXPECT_EQ(sink.Discs[0].Created, QDateTime(QDate(2005, 1, 2), QTime(10, 11, 12)));
    EXPECT_EQ(sink.Discs[0].Notes, QStringLiteral("the first"));
    EXPECT_EQ(sink.Paths(0), (QStringList{QStringLiteral("Fotos & Films"),
                                          QStringLiteral("Fotos & Films/big, 'one'.iso"),
                                          QStringLiteral("Fotos & Films/exact.bin"),
                                          QStringLiteral("nodate.txt")}));

    const ImportedItem* folder = sink.Find(0, QStringLiteral("Fotos & Films"));
    ASSERT_TRUE(folder);
    EXPECT_TRUE(folder->IsFolder);
    EXPECT_EQ(folder->Notes, QStringLiteral("holiday"));
    EXPECT_EQ(folder->Modified, QDateTime(QDate(2004, 12, 31), QTime(23, 59, 58)));
    const ImportedItem* big = sink.Find(0, QStringLiteral("Fotos & Films/big, 'one'.iso"));
    ASSERT_TRUE(big);
    EXPECT_EQ(big->Size, Q_INT64_C(5003636900)) << "4.66 GiB";
    const ImportedItem* exact = sink.Find(0, QStringLiteral("Fotos & Films/exact.bin"));
    ASSERT_TRUE(exact);
    EXPECT_EQ(exact->Size, Q_INT64_C(5000000000));
    EXPECT_EQ(exact->Notes, QStringLiteral("exact bytes"));
    EXPECT_EQ(exact->Modified, QDateTime(QDate(2004, 12, 30), QTime(8, 0, 1)));
    const ImportedItem* undated = sink.Find(0, QStringLiteral("nodate.txt"));
    ASSERT_TRUE(undated);
    EXPECT_EQ(undated->Size, 1536);
    EXPECT_FALSE(undated->Modified.isValid());

    EXPECT_EQ(sink.Discs[1].Label, QStringLiteral("Second"));
    EXPECT_FALSE(sink.Discs[1].Created.isValid());
}

TEST(CdcatReaderTest, RefusesBrokenXmlAndBadSizesWithTheirLines)
{
    const CCdcatReader reader;
    EXPECT_EQ(CRecordingSink::FailureOf(reader, "<catalog>\n<media name=\"a\">\n"
                                                "<file name=\"x\" size=\"1\"/>\n"
                                                "</directory>\n</catalog>\n")
                  .Line,
              4);
    EXPECT_EQ(CRecordingSink::FailureOf(reader, "<catalog>\n<media name=\"a\">\n\n"
                                                "<file name=\"x\" size=\"many\"/>\n"
                                                "</media>\n</catalog>\n")
                  .Line,
              4);
    EXPECT_EQ(CRecordingSink::FailureOf(reader, "<?xml version=\"1.0\"?>\n<catalogue/>\n").Line, 2);
    EXPECT_EQ(CRecordingSink::FailureOf(reader, QByteArray("\x1f\x8b\x08\x00", 4)).Line, 0)
        << "a compressed catalogue cut short";
}

TEST(CdcatReaderTest, ReadsTheCatalogueAsTheProgramKeepsItGzipped)
{
    QProcess gzip;
    gzip.start(QStringLiteral("gzip"), {QStringLiteral("-c")});
    ASSERT_TRUE(gzip.waitForStarted());
    gzip.write(OtherListSamples::kCdcat);
    gzip.closeWriteChannel();
    ASSERT_TRUE(gzip.waitForFinished());
    const QByteArray packed = gzip.readAllStandardOutput();
    ASSERT_TRUE(CCdcatReader().Recognises(packed, QStringLiteral("discs.hcf")));

    const CRecordingSink sink = CRecordingSink::ReadAll(CCdcatReader(), packed);
    ASSERT_EQ(sink.Discs.size(), 2U);
    EXPECT_EQ(sink.Paths(0).size(), 4);
}
