// The statements behind the document's edits, its undo steps and the consistency
// check, run against a real catalogue made from the template.
#include "TestCatalogue.h"

#include "sqlitewrapper/RowMappers.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// Two storages; in "Box" a disc with a folder holding two files, one of them music with
// a media row, counted the way the import counts them.
struct Shelf
{
    TestCatalogue cat;
    int box = 0, attic = 0, disc = 0, folder = 0, text = 0, song = 0, music = 0;

    Shelf()
    {
        CSqliteWrapper& db = cat.Db();
        box = db.AddStorage(QStringLiteral("Box"), QString());
        attic = db.AddStorage(QStringLiteral("Attic"), QString());
        disc = cat.AddDisc(box, QStringLiteral("Disc"));
        folder = cat.AddFolder(box, disc, QStringLiteral("Docs"));
        text = cat.AddFile(box, folder, QStringLiteral("a.txt"), 10);
        music = db.AddMusicInfo(MusicInfo());
        song = cat.AddFile(box, folder, QStringLiteral("b.mp3"), 20, CategoryIds::Music, music);
        db.SetUnitTotals(folder, 2, 0, 30, false);
        db.SetUnitTotals(disc, 2, 1, 30, true);
    }

    QString Text(const QString& sql)
    {
        std::vector<QString> rows;
        cat.Db().QueryRows(sql, rows, &RowMappers::Texts);
        return rows.empty() ? QString() : rows.front();
    }
    QString StorageCounters(int storageId)
    {
        return Text(QStringLiteral("SELECT FilesNumber || ',' || FoldersNumber || ',' || "
                                   "DiscsNumber || ',' || StorageSize FROM Storages WHERE "
                                   "StorageID = %1")
                        .arg(storageId));
    }
};

} // namespace

TEST(EditStatements, NamesAndCategoriesAreStoredExactlyAsTyped)
{
    Shelf shelf;
    CSqliteWrapper& db = shelf.cat.Db();
    const QString hostile = QStringLiteral("O'Brien's \"box\"; DROP TABLE Units;--");
    db.RenameStorage(shelf.box, hostile);
    db.RenameUnit(shelf.folder, hostile);
    EXPECT_EQ(db.GetStorage(shelf.box).StorageName, hostile);
    EXPECT_EQ(db.GetUnit(shelf.folder).UnitName, hostile);
    // Only the row named changes.
    EXPECT_EQ(db.GetStorage(shelf.attic).StorageName, QStringLiteral("Attic"));
    EXPECT_EQ(db.GetUnit(shelf.disc).UnitName, QStringLiteral("Disc"));

    db.SetUnitCategory(shelf.text, CategoryIds::Film);
    EXPECT_EQ(db.GetUnit(shelf.text).CategoryID, CategoryIds::Film);

    // Back to the general category: files with the extension only, not a folder whose
    // name ends the same way; a quote in the extension stays inside the pattern.
    const int odd =
        shelf.cat.AddFile(shelf.box, shelf.folder, QStringLiteral("x.t'xt"), 1, CategoryIds::Film);
    const int named = shelf.cat.AddFolder(shelf.box, shelf.disc, QStringLiteral("old.txt"));
    db.SetUnitCategory(named, CategoryIds::Film);
    db.ResetExtensionFilesCategory(QStringLiteral("txt"));
    EXPECT_EQ(db.GetUnit(shelf.text).CategoryID, CategoryIds::General);
    EXPECT_EQ(db.GetUnit(named).CategoryID, CategoryIds::Film);
    EXPECT_EQ(db.GetUnit(odd).CategoryID, CategoryIds::Film);
    db.ResetExtensionFilesCategory(QStringLiteral("t'xt"));
    EXPECT_EQ(db.GetUnit(odd).CategoryID, CategoryIds::General);
}

TEST(EditStatements, AMoveTakesTheSubtreeAndItsCountersToTheOtherStorage)
{
    Shelf shelf;
    CSqliteWrapper& db = shelf.cat.Db();
    ASSERT_EQ(shelf.StorageCounters(shelf.box), QStringLiteral("2,1,1,30"));
    db.MoveUnitToStorage(shelf.disc, shelf.attic);
    for (int id : {shelf.disc, shelf.folder, shelf.text, shelf.song})
        EXPECT_EQ(db.GetUnitStorageId(id), shelf.attic) << id;
    EXPECT_EQ(shelf.StorageCounters(shelf.box), QStringLiteral("0,0,0,0"));
    EXPECT_EQ(shelf.StorageCounters(shelf.attic), QStringLiteral("2,1,1,30"));
    EXPECT_FALSE(db.InTransaction());

    // An empty disc was never counted, so its move changes no counter.
    const int empty = shelf.cat.AddDisc(shelf.box, QStringLiteral("Blank"));
    db.MoveUnitToStorage(empty, shelf.attic);
    EXPECT_EQ(db.GetUnitStorageId(empty), shelf.attic);
    EXPECT_EQ(shelf.StorageCounters(shelf.attic), QStringLiteral("2,1,1,30"));
}

TEST(EditStatements, AnAdditionsRowsAreFoundAndRemovedWithItsDiscInfo)
{
    Shelf shelf;
    CSqliteWrapper& db = shelf.cat.Db();
    std::vector<int> subtree = db.GetSubtreeIds(shelf.disc);
    std::sort(subtree.begin(), subtree.end());
    EXPECT_EQ(subtree, (std::vector<int>{shelf.disc, shelf.folder, shelf.text, shelf.song}));
    EXPECT_EQ(db.GetSubtreeIds(shelf.text), std::vector<int>{shelf.text});
    EXPECT_TRUE(db.UnitExists(shelf.song));
    EXPECT_FALSE(db.UnitExists(9999));

    const int discInfo = db.GetUnitDiscInfoId(shelf.disc);
    EXPECT_NE(discInfo, 0);
    EXPECT_EQ(db.GetUnitDiscInfoId(shelf.folder), 0);
    // Still referred to: kept.
    db.DeleteUnusedDiscInfo(discInfo);
    const QString count = QStringLiteral("SELECT COUNT(*) FROM DiscInfo WHERE DiscInfoID = %1");
    EXPECT_EQ(shelf.cat.Number(count.arg(discInfo)), 1);

    db.SubtractFromStorage(shelf.box, 2, 1, 1, 30);
    db.DeleteUnitRows(subtree);
    db.DeleteUnusedDiscInfo(discInfo);
    EXPECT_EQ(shelf.cat.Number(count.arg(discInfo)), 0);
    EXPECT_EQ(shelf.StorageCounters(shelf.box), QStringLiteral("0,0,0,0"));
    EXPECT_FALSE(db.UnitExists(shelf.song));
}

TEST(EditStatements, TheExtensionMapIsWrittenBackInItsOrder)
{
    Shelf shelf;
    CSqliteWrapper& db = shelf.cat.Db();
    const std::vector<std::pair<QString, int>> before = db.GetExtensionRows();
    ASSERT_FALSE(before.empty());
    EXPECT_EQ(before.size(), db.FileExtensions().size());

    std::vector<std::pair<QString, int>> changed(before.rbegin(), before.rend());
    changed.emplace_back(QStringLiteral("o'k"), CategoryIds::Picture);
    db.ReplaceExtensionRows(changed);
    EXPECT_EQ(db.GetExtensionRows(), changed);
    db.ReplaceExtensionRows({});
    EXPECT_TRUE(db.GetExtensionRows().empty());
    db.ReplaceExtensionRows(before);
    EXPECT_EQ(db.GetExtensionRows(), before);
}

TEST(EditStatements, TheChecksReadsGiveTheRowsAndColumnsTheyName)
{
    Shelf shelf;
    CSqliteWrapper& db = shelf.cat.Db();
    EXPECT_EQ(db.CountUnits(), 4);

    // A music file whose media row is gone, among files whose rows are fine.
    db.Execute(QStringLiteral("DELETE FROM MusicInfo WHERE MusicInfoID = %1").arg(shelf.music));
    std::vector<RowMappers::IdText> missing;
    db.GetUnitsMissingMediaRows(missing, &RowMappers::IdTexts);
    ASSERT_EQ(missing.size(), 1u);
    EXPECT_EQ(missing.front().Id, shelf.song);
    EXPECT_EQ(missing.front().Text, QStringLiteral("b.mp3"));

    std::vector<RowMappers::IdText> names;
    db.GetUnitNames({shelf.text, shelf.disc, 9999}, names, &RowMappers::IdTexts);
    ASSERT_EQ(names.size(), 2u);
    std::vector<RowMappers::IdText> storages;
    db.GetStorageCounters(storages, &RowMappers::IdTexts);
    ASSERT_EQ(storages.size(), 2u);
    EXPECT_EQ(storages.front().Text, QStringLiteral("Box"));
    std::vector<int> units;
    db.GetUnitCounters(units, &RowMappers::Ids);
    EXPECT_EQ(units, (std::vector<int>{shelf.disc, shelf.folder, shelf.text, shelf.song}));
}
