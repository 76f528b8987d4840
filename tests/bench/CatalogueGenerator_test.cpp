#include "CatalogueGenerator.h"

#include "TestCatalogue.h"
#include "document/CatalogueCheck.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

qint64 Number(CSqliteWrapper& db, const char* sql)
{
    std::vector<QString> rows;
    db.QueryRows(QString::fromLatin1(sql), rows, &RowMappers::Texts);
    return rows.empty() ? -1 : rows.front().toLongLong();
}

CCatalogueGenerator::Shape TwoLevels()
{
    CCatalogueGenerator::Shape shape;
    shape.Discs = 3;
    shape.DiscsPerStorage = 2;
    shape.Folders = {3, 2};
    shape.Files = 4;
    shape.FileDates = true;
    shape.DiscInfo = true;
    shape.DiscName = [](qint64 disc) { return "Disc " + std::to_string(disc); };
    shape.FolderName = [](int level, int index) {
        return (level == 0 ? "Folder " : "Album ") + std::to_string(index);
    };
    shape.MakeFile = [](qint64 inDisc, qint64 overall) {
        return CCatalogueGenerator::File{"f" + std::to_string(inDisc) + ".jpg", overall * 10 + 1,
                                         inDisc % 5 == 0};
    };
    return shape;
}

} // namespace

// Two storages, the second only partly filled, discs of folders of albums with pictures:
// the counters come out as the check computes them, and every row is where the shape
// puts it.
TEST(CatalogueGenerator, WritesACatalogueThatPassesTheCheck)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("generated.db3"));
    ASSERT_TRUE(QFile::copy(TemplateCataloguePath(), path));
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    CCatalogueGenerator generator(TwoLevels());
    // A disc, 3 folders of 2 albums each, 4 files in each album.
    EXPECT_EQ(generator.UnitsPerDisc(), 1 + 3 * (1 + 2) + 3 * 2 * 4);
    ASSERT_TRUE(generator.Write(path));
    EXPECT_EQ(generator.Units(), 3 * generator.UnitsPerDisc());

    CSqliteWrapper db;
    db.Open(path, false);
    const auto found = CCatalogueCheck(db).Run();
    EXPECT_TRUE(found.empty()) << (found.empty()
                                       ? std::string()
                                       : CCatalogueCheck::Describe(found[0]).toStdString());
    EXPECT_EQ(Number(db, "SELECT COUNT(*) FROM Units"), generator.Units());
    EXPECT_EQ(Number(db, "SELECT DiscsNumber FROM Storages WHERE StorageID = 2"), 1);
    EXPECT_EQ(Number(db, "SELECT FilesNumber FROM Storages WHERE StorageID = 1"), 2 * 24);
    // Files 0..71 of sizes 1, 11, ...: the third disc holds files 48..71.
    EXPECT_EQ(Number(db, "SELECT StorageSize FROM Storages WHERE StorageID = 2"),
              (48 + 71) * 24 / 2 * 10 + 24);
    // Every fifth file of a disc is a picture with a row of its own.
    EXPECT_EQ(Number(db, "SELECT COUNT(*) FROM PictureInfo"), 3 * 5);
    EXPECT_EQ(Number(db, "SELECT COUNT(DISTINCT UnitInfoID) FROM Units WHERE CategoryID = 4"),
              3 * 5);
    EXPECT_EQ(Number(db, "SELECT COUNT(*) FROM Units u JOIN Units p ON u.ParentUnitID = "
                         "p.UnitID WHERE u.UnitType = 'F' AND p.UnitName LIKE 'Album %'"),
              3 * 24);
    EXPECT_EQ(Number(db, "SELECT COUNT(*) FROM Units WHERE DiscInfoID IS NOT NULL"), 3);
    db.Close();

    // Files straight on the disc, no folders: written again from nothing.
    CCatalogueGenerator::Shape flat = TwoLevels();
    flat.Folders.clear();
    const QString flatPath = dir.filePath(QStringLiteral("flat.db3"));
    ASSERT_TRUE(QFile::copy(TemplateCataloguePath(), flatPath));
    QFile::setPermissions(flatPath, QFile::ReadOwner | QFile::WriteOwner);
    CCatalogueGenerator flatGenerator(flat);
    ASSERT_TRUE(flatGenerator.Write(flatPath));
    EXPECT_EQ(flatGenerator.Units(), 3 * 5);
    CSqliteWrapper flatDb;
    flatDb.Open(flatPath, false);
    EXPECT_TRUE(CCatalogueCheck(flatDb).Run().empty());
    EXPECT_EQ(Number(flatDb, "SELECT SubfilesNumber FROM Units WHERE UnitID = 1"), 4);
}
