#include "TestCatalogue.h"

#include "sqlitewrapper/FileInsertBatch.h"
#include "sqlitewrapper/RowMappers.h"

#include <gtest/gtest.h>

namespace {

// Storage "Box" with a disc:
//   Disc
//   ├── Docs (folder)
//   │   ├── a.txt 10, b.txt 20, c.txt 30
//   │   └── Sub (folder, empty)
//   └── top.mp3 5 (Music, with a media row)
// Counters are written the way the import does: each unit's totals once its subtree is
// in, the disc's with addToStorage.
struct Tree
{
    TestCatalogue cat;
    int storage = 0, disc = 0, docs = 0, sub = 0, a = 0, b = 0, c = 0, song = 0, music = 0;

    Tree()
    {
        CSqliteWrapper& db = cat.Db();
        storage = db.AddStorage(QStringLiteral("Box"), QString());
        disc = cat.AddDisc(storage, QStringLiteral("Disc"));
        docs = cat.AddFolder(storage, disc, QStringLiteral("Docs"));
        sub = cat.AddFolder(storage, docs, QStringLiteral("Sub"));
        a = cat.AddFile(storage, docs, QStringLiteral("a.txt"), 10);
        b = cat.AddFile(storage, docs, QStringLiteral("b.txt"), 20);
        c = cat.AddFile(storage, docs, QStringLiteral("c.txt"), 30);
        MusicInfo info;
        info.Artist = QStringLiteral("Praigut");
        music = db.AddMusicInfo(info);
        song = cat.AddFile(storage, disc, QStringLiteral("top.mp3"), 5, CategoryIds::Music, music);
        db.SetUnitTotals(sub, 0, 0, 0, false);
        db.SetUnitTotals(docs, 3, 1, 60, false);
        db.SetUnitTotals(disc, 4, 2, 65, true);
    }

    qint64 N(const char* sql) { return cat.Number(QString::fromUtf8(sql)); }
    qint64 UnitField(const char* column, int id)
    {
        return cat.Number(QStringLiteral("SELECT %1 FROM Units WHERE UnitID = %2")
                              .arg(QLatin1String(column))
                              .arg(id));
    }
    qint64 StorageField(const char* column)
    {
        return cat.Number(QStringLiteral("SELECT %1 FROM Storages WHERE StorageID = %2")
                              .arg(QLatin1String(column))
                              .arg(storage));
    }
};

// Makes every statement of the given kind on Units fail, to interrupt an operation.
void BreakUnits(TestCatalogue& cat, const char* event)
{
    cat.Db().Execute(QStringLiteral("CREATE TRIGGER broken BEFORE %1 ON Units BEGIN "
                                    "SELECT RAISE(ABORT, 'disk trouble'); END")
                         .arg(QLatin1String(event)));
}

} // namespace

TEST(CatalogueUpdates, TotalsAndStorageCountersAfterAnImport)
{
    Tree t;
    EXPECT_EQ(t.StorageField("FilesNumber"), 4);
    EXPECT_EQ(t.StorageField("FoldersNumber"), 2);
    EXPECT_EQ(t.StorageField("DiscsNumber"), 1);
    EXPECT_EQ(t.StorageField("StorageSize"), 65);
    EXPECT_EQ(t.UnitField("SubfilesNumber", t.docs), 3);
    EXPECT_EQ(t.UnitField("UnitSize", t.docs), 60);

    // An empty disc is not counted, and an empty unit's totals change nothing.
    const int empty = t.cat.AddDisc(t.storage, QStringLiteral("Blank"));
    t.cat.Db().SetUnitTotals(empty, 0, 0, 0, true);
    EXPECT_EQ(t.StorageField("DiscsNumber"), 1);

    // A single file or folder added to a storage counts itself.
    const int loose = t.cat.Db().AddUnit(UnitKind::File, QStringLiteral("loose.bin"), QString(), 1,
                                         t.storage, 0, {}, 7, {}, {}, 0, true);
    t.cat.Db().SetUnitTotals(loose, 0, 0, 7, true);
    EXPECT_EQ(t.StorageField("FilesNumber"), 5);
    EXPECT_EQ(t.StorageField("StorageSize"), 72);
    EXPECT_EQ(t.UnitField("ParentUnitID IS NULL", loose), 1);
}

TEST(CatalogueUpdates, DeletingAFolderSubtractsItsSubtreeFromEveryAncestorAndTheStorage)
{
    Tree t;
    t.cat.Db().DeleteUnit(t.docs);
    EXPECT_EQ(t.UnitField("SubfilesNumber", t.disc), 1);
    EXPECT_EQ(t.UnitField("SubfoldersNumber", t.disc), 0);
    EXPECT_EQ(t.UnitField("UnitSize", t.disc), 5);
    EXPECT_EQ(t.StorageField("FilesNumber"), 1);
    EXPECT_EQ(t.StorageField("FoldersNumber"), 0);
    EXPECT_EQ(t.StorageField("StorageSize"), 5);
    EXPECT_EQ(t.StorageField("DiscsNumber"), 1);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM Units"), 2); // the disc and top.mp3
}

TEST(CatalogueUpdates, DeletingFilesAndDiscsKeepsCountersAndRemovesMediaRows)
{
    Tree t;
    CSqliteWrapper& db = t.cat.Db();
    db.DeleteUnit(t.b);
    EXPECT_EQ(t.UnitField("SubfilesNumber", t.docs), 2);
    EXPECT_EQ(t.UnitField("UnitSize", t.docs), 40);
    EXPECT_EQ(t.UnitField("UnitSize", t.disc), 45);
    EXPECT_EQ(t.StorageField("FilesNumber"), 3);

    db.DeleteUnit(t.disc);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM Units"), 0);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM MusicInfo"), 0);
    EXPECT_EQ(t.StorageField("DiscsNumber"), 0);
    EXPECT_EQ(t.StorageField("FilesNumber"), 0);
    EXPECT_EQ(t.StorageField("StorageSize"), 0);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM DiscInfo"), 1); // disc rows stay

    // An empty disc was never counted, but deleting it subtracts one all the same.
    const int blank = t.cat.AddDisc(t.storage, QStringLiteral("Blank"));
    db.DeleteUnit(blank);
    EXPECT_EQ(t.StorageField("DiscsNumber"), -1);

    EXPECT_THROW(db.DeleteUnit(99999), std::out_of_range);
}

TEST(CatalogueUpdates, MediaRowsFollowTheUnitsCurrentCategory)
{
    Tree t;
    CSqliteWrapper& db = t.cat.Db();
    PictureInfo pic;
    pic.Width = 640;
    const int picRow = db.AddPictureInfo(pic);
    const int photo =
        t.cat.AddFile(t.storage, t.docs, QStringLiteral("p.jpg"), 1, CategoryIds::Picture, picRow);
    FilmInfo film;
    film.Codec = QStringLiteral("h264");
    const int renamed = t.cat.AddFile(t.storage, t.docs, QStringLiteral("clip.mp4"), 1,
                                      CategoryIds::Film, db.AddFilmInfo(film));
    // Changed by hand to the general category: its film row is no longer found.
    db.Execute(QStringLiteral("UPDATE Units SET CategoryID = 1 WHERE UnitID = %1").arg(renamed));
    (void)photo;

    db.DeleteUnit(t.disc);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM PictureInfo"), 0);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM MusicInfo"), 0);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM FilmInfo"), 1);
}

TEST(CatalogueUpdates, InterruptedDeletesLeaveNothingHalfDone)
{
    Tree t;
    BreakUnits(t.cat, "DELETE");
    EXPECT_THROW(t.cat.Db().DeleteUnit(t.docs), CSqliteWrapperError);
    EXPECT_FALSE(t.cat.Db().InTransaction());
    EXPECT_EQ(t.UnitField("UnitSize", t.disc), 65);
    EXPECT_EQ(t.StorageField("FilesNumber"), 4);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM MusicInfo"), 1);

    const int custom = t.cat.Db().AddCategory(QStringLiteral("Books"));
    t.cat.Db().AddFileExtension(QStringLiteral("epub"), custom);
    t.cat.AddFile(t.storage, t.docs, QStringLiteral("novel.epub"), 1, custom);
    t.cat.Db().Execute(QStringLiteral("DROP TRIGGER broken"));
    BreakUnits(t.cat, "UPDATE");
    EXPECT_THROW(t.cat.Db().DeleteCategory(custom), CSqliteWrapperError);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM Categories"), 5);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM FileExtensions WHERE Name = 'epub'"), 1);
    EXPECT_EQ(t.cat.Db().GetCategory(custom).Name, QStringLiteral("Books"));
}

TEST(CatalogueUpdates, CategoriesAndExtensionsMoveFiles)
{
    Tree t;
    CSqliteWrapper& db = t.cat.Db();
    ASSERT_EQ(db.CategoryForFile(QStringLiteral("Song.MP3")), CategoryIds::Music);
    EXPECT_EQ(db.CategoryForFile(QStringLiteral("archive.tar.zzz")), CategoryIds::General);
    EXPECT_EQ(db.CategoryForFile(QStringLiteral("README")), CategoryIds::General);

    // A custom category for .txt moves every .txt file, whatever its case.
    const int books = db.AddCategory(QStringLiteral("Books"));
    EXPECT_TRUE(db.GetCategory(books).IsCustom);
    t.cat.AddFile(t.storage, t.docs, QStringLiteral("D.TXT"), 1);
    db.SetFileExtensionCategory(QStringLiteral("a.txt"), books);
    EXPECT_EQ(db.FileExtensions().at(QStringLiteral("txt")), books);
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM Units WHERE CategoryID = 5"), 4);
    EXPECT_EQ(db.GetCategoryExtensions(books), std::vector<QString>{QStringLiteral("txt")});

    // Remapping an existing extension updates the row instead of adding one.
    db.SetFileExtensionCategory(QStringLiteral("x.mp3"), books);
    EXPECT_EQ(t.N("SELECT CategoryID FROM FileExtensions WHERE Name = 'mp3'"), books);
    EXPECT_EQ(t.UnitField("CategoryID", t.song), books);

    // Unmapping (category 1) sends the files back to the general category.
    db.SetFileExtensionCategory(QStringLiteral("a.txt"), CategoryIds::General);
    EXPECT_EQ(db.FileExtensions().count(QStringLiteral("txt")), 0u);
    EXPECT_EQ(t.UnitField("CategoryID", t.a), CategoryIds::General);

    // Deleting the category sends its units and extensions away too.
    db.DeleteCategory(books);
    EXPECT_EQ(t.UnitField("CategoryID", t.song), CategoryIds::General);
    EXPECT_EQ(db.Categories().count(books), 0u);
    EXPECT_EQ(db.FileExtensions().count(QStringLiteral("mp3")), 0u);

    // The extension goes into LIKE unescaped: '_' matches any character.
    t.cat.AddFile(t.storage, t.docs, QStringLiteral("e.t_t"), 1);
    db.SetFileExtensionCategory(QStringLiteral("name.t_t"), CategoryIds::Picture);
    EXPECT_EQ(t.UnitField("CategoryID", t.a), CategoryIds::Picture);
}

TEST(CatalogueUpdates, NotesAndNullText)
{
    Tree t;
    CSqliteWrapper& db = t.cat.Db();
    db.SetUnitNotes(t.a, QStringLiteral("first \"copy\""));
    EXPECT_EQ(db.GetFileProperties(t.a).UnitNotes, QStringLiteral("first \"copy\""));
    db.SetUnitNotes(t.a, QString());
    EXPECT_EQ(t.N("SELECT COUNT(*) FROM Units WHERE UnitNotes IS NULL"), 7);
}

TEST(CatalogueUpdates, ABatchOfFilesKeepsTheOrderOfItsRowsWhateverHasNotes)
{
    // The first row with notes (a link) brings the notes column in: the rows before it
    // and after it keep their places, so ids follow the walk. A batch of rows without
    // notes leaves the column out.
    TestCatalogue cat;
    const int shelf = cat.Db().AddStorage(QStringLiteral("Shelf"), QString());
    CFileInsertBatch batch(10);
    const auto add = [&](const char* name, const char* notes) {
        batch.Add(QString::fromUtf8(name), shelf, 0, 1, CFileInsertBatch::kNoDate,
                  CFileInsertBatch::kNoDate, 1, CNullable<int>(), QString::fromUtf8(notes));
    };
    add("a (1).txt", "");
    EXPECT_EQ(batch.Text().find("UnitNotes"), std::string::npos);
    add("b", "-> it's (here)");
    add("c", "");
    add("d", "-> d");
    batch.Flush(cat.Db());
    add("e", "");
    EXPECT_EQ(batch.Text().find("UnitNotes"), std::string::npos);
    batch.Flush(cat.Db());
    std::vector<QString> rows;
    cat.Db().QueryRows(QStringLiteral("SELECT UnitName || ':' || IFNULL(UnitNotes, '') FROM Units "
                                      "ORDER BY UnitID"),
                       rows, &RowMappers::Texts);
    EXPECT_EQ(rows, (std::vector<QString>{"a (1).txt:", "b:-> it's (here)", "c:", "d:-> d", "e:"}));
}
