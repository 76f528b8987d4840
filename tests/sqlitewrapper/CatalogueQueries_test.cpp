#include "TestCatalogue.h"

#include "sqlitewrapper/RowMappers.h"

#include <gtest/gtest.h>

namespace {

std::vector<QString> Names(const std::vector<UnitListItem>& items)
{
    std::vector<QString> names;
    for (const auto& item : items)
        names.push_back(item.UnitName);
    return names;
}

} // namespace

TEST(CatalogueQueries, TemplateHoldsVersionCategoriesAndExtensions)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    EXPECT_EQ(db.GetDatabaseVersion(), QStringLiteral("1.5"));
    ASSERT_EQ(db.Categories().size(), 4u);
    EXPECT_EQ(db.GetCategory(1).Name, QStringLiteral("General"));
    EXPECT_EQ(db.GetCategory(2).Name, QStringLiteral("Film"));
    EXPECT_EQ(db.GetCategory(3).Name, QStringLiteral("Music"));
    EXPECT_EQ(db.GetCategory(4).Name, QStringLiteral("Picture"));
    EXPECT_FALSE(db.GetCategory(4).IsCustom);
    EXPECT_EQ(db.FileExtensions().at(QStringLiteral("mkv")), CategoryIds::Film);
    EXPECT_EQ(db.FileExtensions().at(QStringLiteral("flac")), CategoryIds::Music);
    EXPECT_EQ(db.FileExtensions().at(QStringLiteral("jpg")), CategoryIds::Picture);
    for (const auto& [name, category] : db.FileExtensions())
        EXPECT_EQ(name, name.toLower()) << "extensions are stored in lower case";
}

TEST(CatalogueQueries, ListingsComeByTypeThenByNameWhenAsked)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("shelf"), QString());
    const int box = db.AddStorage(QStringLiteral("Attic box"), QString());
    const int empty = db.AddStorage(QStringLiteral("Empty"), QString());
    cat.AddFile(shelf, 0, QStringLiteral("zeta.txt"), 1);
    db.Execute(QStringLiteral("UPDATE Units SET ParentUnitID = NULL")); // a loose file
    const int disc = cat.AddDisc(shelf, QStringLiteral("Beta"));
    const int folder = cat.AddFolder(shelf, disc, QStringLiteral("b-folder"));
    cat.AddFile(shelf, disc, QStringLiteral("B.txt"), 2);
    cat.AddFile(shelf, disc, QStringLiteral("a.txt"), 3);
    cat.AddFolder(shelf, disc, QStringLiteral("A-folder"));
    cat.AddFile(shelf, folder, QStringLiteral("inner.txt"), 4);
    db.SetUnitTotals(folder, 1, 0, 4, false);
    db.SetUnitTotals(disc, 3, 2, 9, true);
    (void)box;
    (void)empty;

    std::vector<UnitListItem> items;
    db.GetSubunits(items, disc, false);
    EXPECT_EQ(Names(items), (std::vector<QString>{"b-folder", "A-folder", "B.txt", "a.txt"}));
    EXPECT_EQ(items[0].Kind, UnitKind::Folder);
    EXPECT_EQ(items[2].Kind, UnitKind::File);
    EXPECT_EQ(items[3].UnitSize, 3);
    db.SetSortByName(true);
    db.GetSubunits(items, disc, false);
    EXPECT_EQ(Names(items), (std::vector<QString>{"A-folder", "b-folder", "a.txt", "B.txt"}));

    // Top level: discs before files.
    db.GetSubunits(items, shelf, true);
    EXPECT_EQ(Names(items), (std::vector<QString>{"Beta", "zeta.txt"}));
    EXPECT_TRUE(items[0].HasSubfolders);
    EXPECT_EQ(items[0].Kind, UnitKind::Disc);

    std::vector<StorageListItem> storages;
    db.GetStorageList(storages);
    ASSERT_EQ(storages.size(), 3u);
    EXPECT_EQ(storages[0].StorageName, QStringLiteral("Attic box"));
    EXPECT_FALSE(storages[0].HasChildren);
    EXPECT_TRUE(storages[2].HasChildren);
    db.SetSortByName(false);
    db.GetStorageList(storages);
    EXPECT_EQ(storages[0].StorageName, QStringLiteral("shelf"));

    std::vector<StorageRecord> records;
    db.GetStorages(records);
    EXPECT_EQ(records[0].FilesNumber, 3);
    EXPECT_EQ(records[0].FoldersNumber, 2);
    EXPECT_EQ(records[0].DiscsNumber, 1);
    EXPECT_EQ(records[0].StorageSize, 9);

    std::vector<ReportRow> rows;
    db.GetStorageUnits(rows, shelf);
    EXPECT_EQ(rows.size(), 7u);
    db.GetStorageUnits(rows, box);
    EXPECT_TRUE(rows.empty());
    db.GetStorageUnits(rows, -1);
    EXPECT_EQ(rows.size(), 7u);
}

TEST(CatalogueQueries, DetailsAncestorsAndDescendants)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Shelf"), QString());
    const int disc = cat.AddDisc(shelf, QStringLiteral("Photos 2012"));
    const int f1 = cat.AddFolder(shelf, disc, QStringLiteral("Spring"));
    const int f2 = cat.AddFolder(shelf, f1, QStringLiteral("March"));
    const int file = cat.AddFile(shelf, f2, QStringLiteral("x.jpg"), 2048);
    const int f3 = cat.AddFolder(shelf, disc, QStringLiteral("Summer"));

    EXPECT_EQ(db.GetAncestorIds(file), (std::vector<int>{f2, f1, disc}));
    EXPECT_TRUE(db.GetAncestorIds(disc).empty());
    EXPECT_EQ(db.GetDescendantIds(disc), (std::vector<int>{f1, f3, f2, file}));
    EXPECT_TRUE(db.GetDescendantIds(file).empty());
    EXPECT_EQ(db.GetUnitStorageId(file), shelf);

    const DiscDetails d = db.GetDiscProperties(disc);
    EXPECT_EQ(d.Label, QStringLiteral("PHOTOS 2012"));
    EXPECT_EQ(d.SerialNumber, 0x1234ABCDu);
    EXPECT_EQ(d.Size, 700000000);
    const FileDetails fd = db.GetFileProperties(file);
    EXPECT_EQ(fd.DateCreated, QStringLiteral("2012-03-07 14:05:09"));
    EXPECT_EQ(fd.UnitSize, 2048);
    EXPECT_EQ(db.GetFolderProperties(f1).UnitName, QStringLiteral("Spring"));
    // Folders and discs carry no dates of their own.
    EXPECT_EQ(cat.Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE DateCreated IS NULL")),
              4);

    // A row with an unknown type character reads with its kind unset.
    db.Execute(QStringLiteral("INSERT INTO Units (UnitName, UnitType, StorageID) "
                              "VALUES ('odd', 'X', 1)"));
    EXPECT_EQ(db.GetUnit(db.LastInsertId()).Kind, UnitKind::Unset);
    EXPECT_THROW(db.GetUnit(424242), std::out_of_range);
}

TEST(CatalogueQueries, NullColumnsReadAsZeroOrEmpty)
{
    // Catalogues written by other versions may hold NULL in any column.
    char id[] = "7";
    char* unit[] = {id, nullptr, nullptr, nullptr, nullptr, nullptr};
    std::vector<UnitListItem> units;
    RowMappers::UnitListItems(units, 6, unit);
    EXPECT_EQ(units[0].UnitID, 7);
    EXPECT_TRUE(units[0].UnitName.isEmpty());
    EXPECT_EQ(units[0].UnitSize, 0);
    EXPECT_EQ(units[0].Kind, UnitKind::Unset);

    char* storage[] = {id, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    std::vector<StorageRecord> storages;
    RowMappers::StorageRecords(storages, 8, storage);
    EXPECT_EQ(storages[0].StorageSize, 0);
    // Short rows too.
    std::vector<DiscDetails> discs;
    RowMappers::DiscDetailsRows(discs, 2, unit);
    EXPECT_EQ(discs[0].SerialNumber, 0u);
    std::vector<int> ids;
    RowMappers::Ids(ids, 1, unit + 1);
    EXPECT_TRUE(ids.empty());
}

TEST(CatalogueQueries, MediaRowsReadBackWithTheirNulls)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Shelf"), QString());
    MusicInfo in;
    in.Duration = 215;
    in.Title = QStringLiteral("Don't \"Stop\"");
    in.Year = 1977;
    const int song =
        cat.AddFile(shelf, 0, QStringLiteral("s.mp3"), 1, CategoryIds::Music, db.AddMusicInfo(in));
    MusicInfo out;
    ASSERT_TRUE(db.GetMusicInfo(song, out));
    EXPECT_EQ(out.Duration.Value(), 215);
    EXPECT_EQ(out.Title.Value(), QStringLiteral("Don't \"Stop\""));
    EXPECT_EQ(out.Year.Value(), 1977);
    EXPECT_TRUE(out.Artist.IsNull());
    EXPECT_TRUE(out.Bitrate.IsNull());

    FilmInfo film;
    EXPECT_FALSE(db.GetFilmInfo(song, film));
    PictureInfo pic;
    pic.Width = 1920;
    pic.ColorDepth = 24;
    const int photo = cat.AddFile(shelf, 0, QStringLiteral("p.png"), 1, CategoryIds::Picture,
                                  db.AddPictureInfo(pic));
    PictureInfo picOut;
    ASSERT_TRUE(db.GetPictureInfo(photo, picOut));
    EXPECT_EQ(picOut.Width.Value(), 1920);
    EXPECT_TRUE(picOut.Height.IsNull());
}

TEST(CatalogueQueries, DuplicateDiscLookUps)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Shelf"), QString());
    const int first =
        db.AddUnit(UnitKind::Disc, QStringLiteral("One"), QString(), 1, shelf, 0, {}, 0, {}, {},
                   db.AddDiscInfo(QStringLiteral("MOVIES"), 3000000000u, 100), true);
    const int second =
        db.AddUnit(UnitKind::Disc, QStringLiteral("Two"), QString(), 1, shelf, 0, {}, 0, {}, {},
                   db.AddDiscInfo(QStringLiteral("MOVIES"), 7, 200), true);
    const QString label = QStringLiteral("MOVIES");
    EXPECT_EQ(db.FindDuplicateDiscs(label, 3000000000u, 100, true, false, false),
              std::vector<int>{first});
    EXPECT_EQ(db.FindDuplicateDiscs(label, 0, 0, false, false, true),
              (std::vector<int>{first, second}));
    EXPECT_EQ(db.FindDuplicateDiscs(label, 7, 100, true, true, true), std::vector<int>{});
    EXPECT_EQ(db.FindDuplicateDiscs(label, 7, 200, true, true, true), std::vector<int>{second});

    // No criterion: nothing is asked of the catalogue at all.
    db.Close();
    EXPECT_TRUE(db.FindDuplicateDiscs(label, 7, 200, false, false, false).empty());
}

TEST(CatalogueQueries, UnitLocationsNameTheStorageAndEachAncestorDownToTheParent)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Anna's shelf"), QString());
    const int box = db.AddStorage(QStringLiteral("Box \"2\""), QString());
    const int disc = cat.AddDisc(shelf, QStringLiteral("Photos 2012"));
    const int spring = cat.AddFolder(shelf, disc, QStringLiteral("Spring ' 50%"));
    const int march = cat.AddFolder(shelf, spring, QStringLiteral("März"));
    const int deep = cat.AddFile(shelf, march, QStringLiteral("x.jpg"), 2048);
    const int sibling = cat.AddFile(shelf, march, QStringLiteral("y.jpg"), 1024);
    const int onDisc = cat.AddFile(shelf, disc, QStringLiteral("README"), 10);
    const int loose = cat.AddFile(box, 0, QStringLiteral("loose.pdf"), 10);
    db.Execute(QStringLiteral("UPDATE Units SET ParentUnitID = NULL WHERE UnitID = %1").arg(loose));

    const QString sep = CSqliteWrapper::kLocationSeparator;
    EXPECT_EQ(sep, QStringLiteral(" \u203A "));
    const std::map<int, QString> locations =
        db.GetUnitLocations({deep, sibling, onDisc, disc, loose, march, 424242});
    const std::map<int, QString> expected{
        {deep, "Anna's shelf" + sep + "Photos 2012" + sep + "Spring ' 50%" + sep + "März"},
        {sibling, "Anna's shelf" + sep + "Photos 2012" + sep + "Spring ' 50%" + sep + "März"},
        {onDisc, "Anna's shelf" + sep + "Photos 2012"},
        {disc, QStringLiteral("Anna's shelf")},
        {loose, QStringLiteral("Box \"2\"")},
        {march, "Anna's shelf" + sep + "Photos 2012" + sep + "Spring ' 50%"},
    };
    EXPECT_EQ(locations, expected) << "an id that names no unit is left out";
    EXPECT_TRUE(db.GetUnitLocations({}).empty());

    // A damaged catalogue whose parent links loop: each chain is walked once and ends.
    db.Execute(QStringLiteral("UPDATE Units SET ParentUnitID = %1 WHERE UnitID = %2")
                   .arg(march)
                   .arg(disc));
    const std::map<int, QString> looped = db.GetUnitLocations({deep});
    ASSERT_EQ(looped.size(), 1u);
    EXPECT_EQ(looped.at(deep),
              "Anna's shelf" + sep + "Photos 2012" + sep + "Spring ' 50%" + sep + "März");
}
