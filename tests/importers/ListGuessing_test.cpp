// Which reader the import takes for a list: guessed from the list's first bytes, or
// forced by name.
#include "importers/ListReaders.h"

#include <gtest/gtest.h>

namespace {

QString Guessed(const QByteArray& head, const QString& fileName = QStringLiteral("list"))
{
    const std::unique_ptr<CListReader> reader = ListReaders::Guess(head, fileName);
    return reader ? reader->Name() : QStringLiteral("none");
}

const char kCsvHeader[] = "path,name,type,size,modified,created,added,category,notes,storage,"
                          "duration,width,height,bitrate,codec,artist,title,album,year,track,"
                          "genre\r\n";

} // namespace

TEST(ListGuessing, OurExportsAndEverythingListsAreTellApartFromTheirContent)
{
    const QByteArray row = "Disc,Disc,Disc,0,,,2020-01-01T00:00:00,General,,S,,,,,,,,,,,\r\n";
    EXPECT_EQ(Guessed(QByteArray(kCsvHeader) + row), QStringLiteral("csv"));
    // With a byte-order mark, and with no row yet (an empty storage's export).
    EXPECT_EQ(Guessed("\xEF\xBB\xBF" + QByteArray(kCsvHeader)), QStringLiteral("csv"));
    EXPECT_EQ(Guessed("[\n{\"path\":\"Disc\",\"name\":\"Disc\",\"type\":\"Disc\",\"size\":0,"
                      "\"storage\":\"S\"}\n]\n"),
              QStringLiteral("json"));
    EXPECT_EQ(Guessed("[\n{\"path\":\"Disc\",\"name\":\"Disc\",\"type\":\"Disc\",\"storage\":\"S\","
                      "\"children\":[\n{\"path\":\"Disc/a\"}]}\n]\n"),
              QStringLiteral("json"));
    EXPECT_EQ(Guessed("[\n]\n", QStringLiteral("empty.json")), QStringLiteral("json"));
    EXPECT_EQ(Guessed("Filename,Size,Date Modified,Date Created,Attributes\r\n\"C:\\a\",1,0,0,32"),
              QStringLiteral("efu"));
    EXPECT_EQ(Guessed("Filename\r\n\"C:\\a\"\r\n"), QStringLiteral("efu"));

    // Neither a CSV with other columns, nor JSON of another shape, nor text.
    EXPECT_EQ(Guessed("name,size\r\na,1\r\n", QStringLiteral("list.csv")), QStringLiteral("none"));
    EXPECT_EQ(Guessed("[{\"name\":\"a\",\"size\":1}]", QStringLiteral("list.json")),
              QStringLiteral("none"));
    EXPECT_EQ(Guessed("just some words\n"), QStringLiteral("none"));
    EXPECT_EQ(Guessed(QByteArray()), QStringLiteral("none"));
}

TEST(ListGuessing, AFormatIsForcedByItsNameWhateverItsCase)
{
    const QStringList names = ListReaders::Names();
    for (const char* name : {"csv", "json", "efu", "catcli", "snap2html", "vvv", "cdcat"})
        EXPECT_TRUE(names.contains(QLatin1String(name))) << name;
    EXPECT_EQ(QStringList(names).removeDuplicates(), 0);
    for (const QString& name : names) {
        const std::unique_ptr<CListReader> reader = ListReaders::ByName(name.toUpper());
        ASSERT_TRUE(reader) << name.toStdString();
        EXPECT_EQ(reader->Name(), name);
    }
    EXPECT_FALSE(ListReaders::ByName(QStringLiteral("xls")));
}
