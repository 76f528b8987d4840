#include "TestCatalogue.h"
#include "export/CatalogueExporter.h"
#include "export/CsvExportWriter.h"
#include "export/JsonExportWriter.h"

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

using Rows = std::vector<QStringList>;

// RFC 4180 read back: quoted fields may hold commas, doubled quotes and line breaks;
// every record ends with CR LF.
Rows ParseCsv(const QString& text)
{
    Rows rows;
    QStringList row;
    QString field;
    bool quoted = false;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quoted) {
            if (c == QLatin1Char('"') && i + 1 < text.size() && text[i + 1] == QLatin1Char('"')) {
                field += c;
                ++i;
            } else if (c == QLatin1Char('"')) {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == QLatin1Char('"')) {
            quoted = true;
        } else if (c == QLatin1Char(',')) {
            row << field;
            field.clear();
        } else if (c == QLatin1Char('\r') && i + 1 < text.size() &&
                   text[i + 1] == QLatin1Char('\n')) {
            row << field;
            rows.push_back(row);
            row.clear();
            field.clear();
            ++i;
        } else {
            field += c;
        }
    }
    EXPECT_TRUE(row.isEmpty() && field.isEmpty()) << "the last record has no CR LF";
    return rows;
}

class CatalogueExporterTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        CSqliteWrapper& db = m_cat.Db();
        m_shelf = db.AddStorage(QStringLiteral("Shelf, \"A\""), QString());
        m_box = db.AddStorage(QStringLiteral("Box"), QString());
        m_disc = m_cat.AddDisc(m_shelf, QStringLiteral("Holiday 2019"));
        m_folder = m_cat.AddFolder(m_shelf, m_disc, QStringLiteral("DCIM"));
        m_big = m_cat.AddFile(m_shelf, m_folder, QStringLiteral("film, \"final\".mkv"),
                              5LL * 1024 * 1024 * 1024);
        m_odd = m_cat.AddFile(m_shelf, m_folder, QStringLiteral("two\nlines ärger 日本.txt"), 7);
        db.SetUnitNotes(m_odd, QStringLiteral("said \"hi\", left"));
        db.Execute(QStringLiteral("UPDATE Units SET DateModified = '2019-07-14 10:22:05', "
                                  "DateCreated = NULL WHERE UnitID = %1")
                       .arg(m_big));
        db.Execute(
            QStringLiteral("UPDATE Units SET DateModified = NULL WHERE UnitID = %1").arg(m_odd));
        MusicInfo song;
        song.Artist = QStringLiteral("Queen");
        song.Title = QStringLiteral("Flash");
        song.Year = 1980;
        song.Duration = 171;
        const QDateTime when(QDate(2012, 3, 7), QTime(14, 5, 9));
        m_song =
            db.AddUnit(UnitKind::File, QStringLiteral("flash.mp3"), QString(), CategoryIds::Music,
                       m_box, 0, db.AddMusicInfo(song), 4000, when, when, 0, true);
    }

    QString Export(const ExportScope& scope, const char* format)
    {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        std::unique_ptr<CExportWriter> writer;
        if (QByteArray(format) == "csv")
            writer = std::make_unique<CCsvExportWriter>(buffer);
        else
            writer = std::make_unique<CJsonExportWriter>(buffer, QByteArray(format) == "nested");
        CCatalogueExporter exporter(m_cat.Db(), *writer);
        EXPECT_TRUE(exporter.Run(scope));
        return QString::fromUtf8(buffer.data());
    }

    TestCatalogue m_cat;
    int m_shelf = 0, m_box = 0, m_disc = 0, m_folder = 0, m_big = 0, m_odd = 0, m_song = 0;
};

} // namespace

TEST_F(CatalogueExporterTest, CsvQuotesWhatItMustAndKeepsEveryValue)
{
    const Rows rows = ParseCsv(Export(ExportScope(), "csv"));
    ASSERT_EQ(rows.size(), 6u); // header, disc, folder, two files, the song
    EXPECT_EQ(rows[0], CExportWriter::FieldNames());
    for (const QStringList& row : rows)
        EXPECT_EQ(row.size(), rows[0].size());

    // Depth first, each storage's units in order, paths joined by '/'.
    EXPECT_EQ(rows[1][0], QStringLiteral("Holiday 2019"));
    EXPECT_EQ(rows[1][2], QStringLiteral("Disc"));
    EXPECT_EQ(rows[2][0], QStringLiteral("Holiday 2019/DCIM"));
    const QStringList& big = rows[3];
    EXPECT_EQ(big[0], QStringLiteral("Holiday 2019/DCIM/film, \"final\".mkv"));
    EXPECT_EQ(big[3], QStringLiteral("5368709120"));
    EXPECT_EQ(big[4], QStringLiteral("2019-07-14T10:22:05"));
    EXPECT_EQ(big[5], QString());
    EXPECT_EQ(big[9], QStringLiteral("Shelf, \"A\""));
    const QStringList& odd = rows[4];
    EXPECT_EQ(odd[1], QStringLiteral("two\nlines ärger 日本.txt"));
    EXPECT_EQ(odd[4], QString());
    EXPECT_EQ(odd[8], QStringLiteral("said \"hi\", left"));
    const QStringList& song = rows[5];
    EXPECT_EQ(song[0], QStringLiteral("flash.mp3"));
    EXPECT_EQ(song[7], QStringLiteral("Music"));
    EXPECT_EQ(song[9], QStringLiteral("Box"));
    EXPECT_EQ(song[10], QStringLiteral("171"));
    EXPECT_EQ(song[15], QStringLiteral("Queen"));
    EXPECT_EQ(song[16], QStringLiteral("Flash"));
    EXPECT_EQ(song[18], QStringLiteral("1980"));

    // One storage, or one unit with its path from the top of its storage.
    EXPECT_EQ(ParseCsv(Export(ExportScope::Storage(m_box), "csv")).size(), 2u);
    const Rows folder = ParseCsv(Export(ExportScope::Unit(m_folder), "csv"));
    ASSERT_EQ(folder.size(), 4u);
    EXPECT_EQ(folder[1][0], QStringLiteral("Holiday 2019/DCIM"));
    EXPECT_EQ(folder[3][0], QStringLiteral("Holiday 2019/DCIM/two\nlines ärger 日本.txt"));
}

TEST_F(CatalogueExporterTest, JsonFlatAndNestedHoldTheSameUnits)
{
    const Rows csv = ParseCsv(Export(ExportScope(), "csv"));
    QJsonParseError error;
    const QJsonDocument flat =
        QJsonDocument::fromJson(Export(ExportScope(), "json").toUtf8(), &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    const QJsonArray units = flat.array();
    ASSERT_EQ(units.size(), static_cast<int>(csv.size()) - 1);
    for (int i = 0; i < units.size(); ++i) {
        const QJsonObject unit = units[i].toObject();
        EXPECT_EQ(unit[QStringLiteral("path")].toString(), csv[i + 1][0]);
        EXPECT_EQ(unit[QStringLiteral("name")].toString(), csv[i + 1][1]);
        EXPECT_EQ(unit[QStringLiteral("size")].toDouble(), csv[i + 1][3].toDouble());
    }
    EXPECT_TRUE(units[3].toObject()[QStringLiteral("modified")].isNull());
    EXPECT_FALSE(units[3].toObject().contains(QStringLiteral("duration")));
    EXPECT_EQ(units[4].toObject()[QStringLiteral("duration")].toInt(), 171);

    const QJsonDocument nested =
        QJsonDocument::fromJson(Export(ExportScope(), "nested").toUtf8(), &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    const QJsonArray tops = nested.array();
    ASSERT_EQ(tops.size(), 2); // the disc and the song
    const QJsonArray inDisc = tops[0].toObject()[QStringLiteral("children")].toArray();
    ASSERT_EQ(inDisc.size(), 1);
    const QJsonArray inFolder = inDisc[0].toObject()[QStringLiteral("children")].toArray();
    ASSERT_EQ(inFolder.size(), 2);
    EXPECT_EQ(inFolder[1].toObject()[QStringLiteral("notes")].toString(),
              QStringLiteral("said \"hi\", left"));
    EXPECT_FALSE(tops[1].toObject().contains(QStringLiteral("children")));

    // A results list: those units alone, in its order.
    const QJsonArray results =
        QJsonDocument::fromJson(
            Export(ExportScope::Units({m_song, m_big, 999999}), "json").toUtf8())
            .array();
    ASSERT_EQ(results.size(), 2);
    EXPECT_EQ(results[0].toObject()[QStringLiteral("name")].toString(),
              QStringLiteral("flash.mp3"));
    EXPECT_EQ(results[1].toObject()[QStringLiteral("path")].toString(),
              QStringLiteral("Holiday 2019/DCIM/film, \"final\".mkv"));
}

TEST_F(CatalogueExporterTest, ProgressCanCancel)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    CCsvExportWriter writer(buffer);
    CCatalogueExporter exporter(m_cat.Db(), writer);
    int calls = 0;
    EXPECT_FALSE(exporter.Run(ExportScope(), [&calls](qint64, qint64) { return ++calls < 1; }));
    EXPECT_EQ(exporter.Written(), 0);
    EXPECT_TRUE(buffer.data().isEmpty());
}

TEST_F(CatalogueExporterTest, ArchiveEntriesComeBelowTheirArchive)
{
    CSqliteWrapper& db = m_cat.Db();
    const int zip = m_cat.AddFile(m_shelf, m_folder, QStringLiteral("photos.zip"), 300);
    db.Execute(
        QStringLiteral("INSERT INTO ArchiveInfo (UnitID, Format) VALUES (%1, 'ZIP')").arg(zip));
    db.Execute(QStringLiteral("INSERT INTO Units (UnitName, UnitType, StorageID, ParentUnitID, "
                              "UnitSize) VALUES ('2012', 'd', %1, %2, 0)")
                   .arg(m_shelf)
                   .arg(zip));
    const int inner = db.LastInsertId();
    db.Execute(QStringLiteral("INSERT INTO Units (UnitName, UnitType, StorageID, ParentUnitID, "
                              "UnitSize) VALUES ('IMG_0001.jpg', 'f', %1, %2, 900)")
                   .arg(m_shelf)
                   .arg(inner));
    const Rows rows = ParseCsv(Export(ExportScope::Unit(m_folder), "csv"));
    ASSERT_EQ(rows.size(), 7u); // the header, the folder, three files, the entries
    EXPECT_EQ(rows[5][0], QStringLiteral("Holiday 2019/DCIM/photos.zip/2012"));
    EXPECT_EQ(rows[5][2], QStringLiteral("Folder"));
    EXPECT_EQ(rows[6][0], QStringLiteral("Holiday 2019/DCIM/photos.zip/2012/IMG_0001.jpg"));
    EXPECT_EQ(rows[6][3], QStringLiteral("900"));
}
