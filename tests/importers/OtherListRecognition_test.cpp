#include "OtherListSamples.h"
#include "importers/CatcliReader.h"
#include "importers/CdcatReader.h"
#include "importers/ListReaders.h"
#include "importers/Snap2HtmlReader.h"
#include "importers/VvvReader.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

// Each reader knows its own lists and none of the others', nor our own exports', nor
// Everything's.
TEST(OtherListRecognitionTest, EachReaderRecognisesItsOwnListsOnly)
{
    const std::map<QString, std::vector<QByteArray>> lists{
        {QStringLiteral("catcli"), {OtherListSamples::kCatcli}},
        {QStringLiteral("snap2html"),
         {OtherListSamples::kSnap2Html, OtherListSamples::kSnap2HtmlV1}},
        {QStringLiteral("vvv"), {OtherListSamples::kVvv}},
        {QStringLiteral("cdcat"), {OtherListSamples::kCdcat}},
        {QStringLiteral("none"),
         {"path,name,type,size,modified,created,added,category,notes,storage\r\n",
          "[{\"path\": \"a\", \"name\": \"a\", \"type\": \"Folder\"}]",
          "Filename,Size,Date Modified,Date Created,Attributes\r\n",
          "<html><body><p>A page</p></body></html>", "<?xml version=\"1.0\"?><rss/>",
          "Volume\r\n"}}};
    std::vector<std::unique_ptr<CListReader>> readers;
    readers.push_back(std::make_unique<CCatcliReader>());
    readers.push_back(std::make_unique<CSnap2HtmlReader>());
    readers.push_back(std::make_unique<CVvvReader>());
    readers.push_back(std::make_unique<CCdcatReader>());

    for (const auto& reader : readers)
        for (const auto& [format, heads] : lists)
            for (const QByteArray& head : heads)
                EXPECT_EQ(reader->Recognises(head, QStringLiteral("list")),
                          format == reader->Name())
                    << reader->Name().toStdString() << " on " << head.left(60).toStdString();

    // The registry's guess finds each of them, whatever other readers it holds.
    for (const auto& [format, heads] : lists)
        for (const QByteArray& head : heads)
            if (format != QLatin1String("none")) {
                const auto guessed = ListReaders::Guess(head, QStringLiteral("list"));
                ASSERT_TRUE(guessed) << format.toStdString();
                EXPECT_EQ(guessed->Name(), format);
            }
}

TEST(OtherListRecognitionTest, TheFileNameOnlyHelpsWhereTheContentCannotTell)
{
    const QByteArray gzip("\x1f\x8b\x08\x00\x00\x00\x00\x00", 8);
    EXPECT_TRUE(CCdcatReader().Recognises(gzip, QStringLiteral("discs.hcf")));
    EXPECT_FALSE(CCdcatReader().Recognises(gzip, QStringLiteral("discs.gz")));

    // A head cut before the data still names the program; a page must be HTML.
    const QByteArray page("<!DOCTYPE html><html><head><title>Snapshot - made with Snap2HTML");
    EXPECT_TRUE(CSnap2HtmlReader().Recognises(page, QStringLiteral("x")));
    EXPECT_FALSE(CSnap2HtmlReader().Recognises("Snap2HTML is a program", QStringLiteral("x")));

    const QByteArray storage(R"({"name": "x", "type": "storage", "size": 1)");
    EXPECT_TRUE(CCatcliReader().Recognises(storage, QStringLiteral("catcli.catalog")));
    EXPECT_FALSE(CCatcliReader().Recognises(storage, QStringLiteral("list.json")));
}
