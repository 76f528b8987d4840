#include "OtherListSamples.h"
#include "RecordingSink.h"
#include "importers/CatcliReader.h"

#include <gtest/gtest.h>

TEST(CatcliReaderTest, StoragesBecomeDiscsAndNodesTheirFoldersAndFiles)
{
    const CRecordingSink sink =
        CRecordingSink::ReadAll(CCatcliReader(), QByteArray(OtherListSamples::kCatcli));
    ASSERT_EQ(sink.Discs.size(), 2U) << "the meta node is no disc";
    EXPECT_EQ(sink.Discs[0].Label, QStringLiteral("Backup \"2019\", Ünï"));
    EXPECT_EQ(sink.Discs[0].Created, QDateTime::fromSecsSinceEpoch(1548529187, Qt::UTC));
    EXPECT_EQ(sink.Discs[0].Notes, QStringLiteral("the blue disk"));
    EXPECT_EQ(sink.Paths(0),
              (QStringList{QStringLiteral("a, b"), QStringLiteral("a, b/big \"one\".iso"),
                           QStringLiteral("a, b/v0.3.1.zip"), QStringLiteral("日本語.txt")}))
        << "an archive's entries are passed over";

    const ImportedItem* folder = sink.Find(0, QStringLiteral("a, b"));
    ASSERT_TRUE(folder);
    EXPECT_TRUE(folder->IsFolder);
    EXPECT_EQ(folder->Size, -1) << "a folder's size is summed by the import";
    const ImportedItem* big = sink.Find(0, QStringLiteral("a, b/big \"one\".iso"));
    ASSERT_TRUE(big);
    EXPECT_FALSE(big->IsFolder);
    EXPECT_EQ(big->Size, Q_INT64_C(5000000000));
    EXPECT_EQ(big->Modified, QDateTime::fromMSecsSinceEpoch(Q_INT64_C(1548528000250), Qt::UTC));
    const ImportedItem* undated = sink.Find(0, QStringLiteral("日本語.txt"));
    ASSERT_TRUE(undated);
    EXPECT_FALSE(undated->Modified.isValid());
    EXPECT_TRUE(sink.Discs[1].Items.empty());
}

TEST(CatcliReaderTest, RefusesBrokenJsonWithItsLineAndAnotherRoot)
{
    const ImportError broken = CRecordingSink::FailureOf(
        CCatcliReader(),
        QByteArray("{\n  \"name\": \"top\",\n  \"type\": \"top\"\n  \"children\": []\n}\n"));
    EXPECT_EQ(broken.Line, 4) << broken.Message.toStdString();

    const ImportError notTop = CRecordingSink::FailureOf(
        CCatcliReader(), QByteArray(R"({"name": "x", "type": "storage", "children": []})"));
    EXPECT_EQ(notTop.Line, 1);

    const ImportError nameless = CRecordingSink::FailureOf(
        CCatcliReader(),
        QByteArray(R"({"type": "top", "children": [{"type": "storage", "children": []}]})"));
    EXPECT_GE(nameless.Line, 0) << "a storage without a name is refused";
}
