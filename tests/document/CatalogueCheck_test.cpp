#include "document/CatalogueCheck.h"

#include "TestCatalogue.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>

void PrintTo(const CatalogueDisagreement& d, std::ostream* os)
{
    *os << CCatalogueCheck::Describe(d).toStdString();
}

namespace {

using D = CatalogueDisagreement;
using List = std::vector<CatalogueDisagreement>;

D Counter(D::Subject what, int id, const char* name, const char* column, qint64 stored,
          qint64 computed)
{
    D d;
    d.What = what;
    d.Kind = D::Problem::WrongCounter;
    d.Id = id;
    d.Name = QString::fromUtf8(name);
    d.Column = QString::fromLatin1(column);
    d.Stored = stored;
    d.Computed = computed;
    return d;
}

D UnitCounter(int id, const char* name, const char* column, qint64 stored, qint64 computed)
{
    return Counter(D::Subject::Unit, id, name, column, stored, computed);
}

D StorageCounter(int id, const char* name, const char* column, qint64 stored, qint64 computed)
{
    return Counter(D::Subject::Storage, id, name, column, stored, computed);
}

D Reference(D::Problem kind, int id, const char* name, const char* column, qint64 stored,
            qint64 computed = 0, const char* table = "")
{
    D d = Counter(D::Subject::Unit, id, name, column, stored, computed);
    d.Kind = kind;
    d.Table = QString::fromLatin1(table);
    return d;
}

// Storage "Shelf" filled the way the import fills a catalogue:
//   Disc
//   ├── Docs
//   │   ├── Deep
//   │   │   └── deep.txt 5
//   │   ├── a.txt 10, b.txt 20
//   │   └── Empty (folder)
//   ├── song.mp3 7 (Music, media row), clip.avi 100 (Film, media row)
//   Blank (a disc imported empty)
//   photo.jpg 3 (a file added on its own, Picture, media row)
//   Nothing (a folder added on its own, empty)
// and storage "Car", empty.
struct Shelf
{
    TestCatalogue cat;
    int storage = 0, car = 0, disc = 0, docs = 0, deep = 0, deepFile = 0, a = 0, b = 0;
    int empty = 0, song = 0, clip = 0, blank = 0, photo = 0, nothing = 0;

    Shelf()
    {
        CSqliteWrapper& db = cat.Db();
        storage = db.AddStorage(QStringLiteral("Shelf"), QString());
        car = db.AddStorage(QStringLiteral("Car"), QStringLiteral("glovebox"));

        disc = cat.AddDisc(storage, QStringLiteral("Disc"));
        docs = cat.AddFolder(storage, disc, QStringLiteral("Docs"));
        deep = cat.AddFolder(storage, docs, QStringLiteral("Deep"));
        deepFile = cat.AddFile(storage, deep, QStringLiteral("deep.txt"), 5);
        a = cat.AddFile(storage, docs, QStringLiteral("a.txt"), 10);
        b = cat.AddFile(storage, docs, QStringLiteral("b.txt"), 20);
        empty = cat.AddFolder(storage, docs, QStringLiteral("Empty"));
        MusicInfo music;
        music.Artist = QStringLiteral("Björk");
        song = cat.AddFile(storage, disc, QStringLiteral("song.mp3"), 7, CategoryIds::Music,
                           db.AddMusicInfo(music));
        FilmInfo film;
        film.Codec = QStringLiteral("H.264");
        clip = cat.AddFile(storage, disc, QStringLiteral("clip.avi"), 100, CategoryIds::Film,
                           db.AddFilmInfo(film));
        db.SetUnitTotals(deep, 1, 0, 5, false);
        db.SetUnitTotals(empty, 0, 0, 0, false);
        db.SetUnitTotals(docs, 3, 2, 35, false);
        db.SetUnitTotals(disc, 5, 3, 142, true);

        blank = cat.AddDisc(storage, QStringLiteral("Blank"));
        db.SetUnitTotals(blank, 0, 0, 0, true);

        photo =
            db.AddUnit(UnitKind::File, QStringLiteral("photo.jpg"), QString(), CategoryIds::Picture,
                       storage, 0, db.AddPictureInfo(PictureInfo()), 3, {}, {}, 0, true);
        db.SetUnitTotals(photo, 0, 0, 3, true);

        nothing = db.AddUnit(UnitKind::Folder, QStringLiteral("Nothing"), QString(), 1, storage, 0,
                             {}, 0, {}, {}, 0, true);
        db.SetUnitTotals(nothing, 0, 0, 0, true);
    }

    List Check() { return CCatalogueCheck(cat.Db()).Run(); }
    void Sql(const QString& sql) { cat.Db().Execute(sql); }
};

} // namespace

TEST(CatalogueCheck, TheSampleCatalogueIsConsistentAndCoversEveryKindOfRow)
{
    QTemporaryDir dir;
    CSqliteWrapper db;
    db.Open(CopySampleCatalogue(dir.filePath("test.db3")), false);

    const List found = CCatalogueCheck(db).Run();
    EXPECT_TRUE(found.empty()) << testing::PrintToString(found);

    const auto number = [&db](const char* sql) {
        std::vector<qint64> rows;
        db.QueryRows(
            QString::fromUtf8(sql), rows, +[](std::vector<qint64>& r, int, char** v) {
                r.push_back(v[0] ? QByteArray(v[0]).toLongLong() : -1);
            });
        return rows.empty() ? -1 : rows.front();
    };
    for (int category = 1; category <= 4; ++category) {
        EXPECT_GT(number(qPrintable(QStringLiteral("SELECT COUNT(*) FROM Units WHERE "
                                                   "UnitType = 'F' AND CategoryID = %1")
                                        .arg(category))),
                  0)
            << "category " << category;
    }
    for (const char* table : {"DiscInfo", "FilmInfo", "MusicInfo", "PictureInfo"}) {
        EXPECT_GT(number(qPrintable(
                      QStringLiteral("SELECT COUNT(*) FROM %1 WHERE %1ID IN "
                                     "(SELECT %2 FROM Units)")
                          .arg(QLatin1String(table),
                               QLatin1String(table[0] == 'D' ? "DiscInfoID" : "UnitInfoID")))),
                  0)
            << table;
    }
    // Each of these finds at least one row.
    for (const char* sql : {
             "SELECT COUNT(*) FROM Units WHERE UnitType = 'F' AND UnitSize > 4294967296",
             "SELECT COUNT(*) FROM Units WHERE ParentUnitID IS NULL AND UnitType <> 'C'",
             "SELECT COUNT(*) FROM Units WHERE UnitType = 'C' AND UnitSize = 0",
             "SELECT COUNT(*) FROM Storages WHERE StorageID NOT IN (SELECT StorageID FROM Units)",
             "SELECT COUNT(*) FROM Units WHERE UnitName LIKE '%''%'",
             "SELECT COUNT(*) FROM Units WHERE UnitName GLOB '*[^ -~]*'",
             "SELECT COUNT(*) FROM Units WHERE UnitNotes IS NOT NULL",
             "SELECT COUNT(*) FROM Storages WHERE StorageNotes IS NOT NULL",
         })
        EXPECT_GT(number(sql), 0) << sql;
    // Files, and only files, carry both dates, in the catalogue's text form.
    const QString date = QStringLiteral("'[0-9][0-9][0-9][0-9]-[01][0-9]-[0-3][0-9] "
                                        "[0-2][0-9]:[0-5][0-9]:[0-5][0-9]'");
    EXPECT_EQ(number(qPrintable(QStringLiteral("SELECT COUNT(*) FROM Units WHERE (UnitType = "
                                               "'F') <> (DateCreated GLOB %1 AND DateModified "
                                               "GLOB %1)")
                                    .arg(date))),
              0);

    // The sample carries the same schema version as the template.
    CSqliteWrapper empty;
    empty.Open(TemplateCataloguePath(), false);
    EXPECT_EQ(db.GetDatabaseVersion(), empty.GetDatabaseVersion());
}

TEST(CatalogueCheck, ACatalogueKeptByTheWrapperOperationsPasses)
{
    Shelf s;
    EXPECT_EQ(s.Check(), List());

    // Deletions keep every counter.
    s.cat.Db().DeleteUnit(s.deep);
    s.cat.Db().DeleteUnit(s.song);
    EXPECT_EQ(s.Check(), List());

    // A disc emptied by deleting its contents stays counted by the storage, which the
    // rows cannot tell from a disc imported empty.
    s.cat.Db().DeleteUnit(s.docs);
    s.cat.Db().DeleteUnit(s.clip);
    EXPECT_EQ(s.Check(), List{StorageCounter(s.storage, "Shelf", "DiscsNumber", 1, 0)});
}

TEST(CatalogueCheck, AWrongCounterIsReportedAloneWithStoredAndComputedValues)
{
    Shelf s;
    s.Sql(QStringLiteral("UPDATE Units SET SubfilesNumber = 4 WHERE UnitID = %1").arg(s.docs));
    const List found = s.Check();
    ASSERT_EQ(found, List{UnitCounter(s.docs, "Docs", "SubfilesNumber", 4, 3)});
    EXPECT_EQ(CCatalogueCheck::Describe(found.front()),
              QStringLiteral("Unit %1 \"Docs\": SubfilesNumber is 4, the rows give 3").arg(s.docs));

    s.Sql(QStringLiteral("UPDATE Units SET SubfilesNumber = 3, SubfoldersNumber = 0, "
                         "UnitSize = 6000000000 WHERE UnitID = %1")
              .arg(s.docs));
    s.Sql(QStringLiteral("UPDATE Storages SET DiscsNumber = 2, StorageSize = 144"));
    EXPECT_EQ(s.Check(), (List{StorageCounter(s.storage, "Shelf", "DiscsNumber", 2, 1),
                               StorageCounter(s.storage, "Shelf", "StorageSize", 144, 145),
                               StorageCounter(s.car, "Car", "DiscsNumber", 2, 0),
                               StorageCounter(s.car, "Car", "StorageSize", 144, 0),
                               UnitCounter(s.docs, "Docs", "SubfoldersNumber", 0, 2),
                               UnitCounter(s.docs, "Docs", "UnitSize", 6000000000LL, 35)}));
}

TEST(CatalogueCheck, BrokenParentsAreReportedWithTheCountersTheyUpset)
{
    Shelf s;
    // Only the row of Deep goes: deep.txt loses its parent, and its file no longer
    // counts towards Docs and the disc.
    s.Sql(QStringLiteral("DELETE FROM Units WHERE UnitID = %1").arg(s.deep));
    List found = s.Check();
    EXPECT_EQ(found, (List{StorageCounter(s.storage, "Shelf", "FoldersNumber", 3, 2),
                           UnitCounter(s.disc, "Disc", "SubfilesNumber", 5, 4),
                           UnitCounter(s.disc, "Disc", "SubfoldersNumber", 3, 2),
                           UnitCounter(s.disc, "Disc", "UnitSize", 142, 137),
                           UnitCounter(s.docs, "Docs", "SubfilesNumber", 3, 2),
                           UnitCounter(s.docs, "Docs", "SubfoldersNumber", 2, 1),
                           UnitCounter(s.docs, "Docs", "UnitSize", 35, 30),
                           Reference(D::Problem::MissingRow, s.deepFile, "deep.txt", "ParentUnitID",
                                     s.deep, 0, "Units")}));
    EXPECT_EQ(CCatalogueCheck::Describe(found.back()),
              QStringLiteral("Unit %1 \"deep.txt\": ParentUnitID is %2, Units has no such row")
                  .arg(s.deepFile)
                  .arg(s.deep));

    // a.txt moved to the other storage alone: its storage disagrees with its parent's,
    // and both storages' file counts move.
    Shelf t;
    t.Sql(QStringLiteral("UPDATE Units SET StorageID = %1 WHERE UnitID = %2").arg(t.car).arg(t.a));
    found = t.Check();
    EXPECT_EQ(found, (List{StorageCounter(t.storage, "Shelf", "FilesNumber", 6, 5),
                           StorageCounter(t.storage, "Shelf", "StorageSize", 145, 135),
                           StorageCounter(t.car, "Car", "FilesNumber", 0, 1),
                           StorageCounter(t.car, "Car", "StorageSize", 0, 10),
                           Reference(D::Problem::ParentInOtherStorage, t.a, "a.txt", "StorageID",
                                     t.car, t.storage)}));
    EXPECT_EQ(CCatalogueCheck::Describe(found.back()),
              QStringLiteral("Unit %1 \"a.txt\": StorageID is %2, but its parent lies in "
                             "storage %3")
                  .arg(t.a)
                  .arg(t.car)
                  .arg(t.storage));

    // Docs hung below its own child: both are cut off from the disc and reported once
    // each, and the check ends.
    Shelf u;
    u.Sql(QStringLiteral("UPDATE Units SET ParentUnitID = %1 WHERE UnitID = %2")
              .arg(u.deep)
              .arg(u.docs));
    found = u.Check();
    EXPECT_EQ(found,
              (List{UnitCounter(u.disc, "Disc", "SubfilesNumber", 5, 2),
                    UnitCounter(u.disc, "Disc", "SubfoldersNumber", 3, 0),
                    UnitCounter(u.disc, "Disc", "UnitSize", 142, 107),
                    Reference(D::Problem::ParentLoop, u.docs, "Docs", "ParentUnitID", u.deep),
                    Reference(D::Problem::ParentLoop, u.deep, "Deep", "ParentUnitID", u.docs)}));
    EXPECT_EQ(CCatalogueCheck::Describe(found.back()),
              QStringLiteral("Unit %1 \"Deep\": ParentUnitID is %2, and its parents run in a "
                             "loop")
                  .arg(u.deep)
                  .arg(u.docs));

    // A unit in a storage that is gone.
    Shelf v;
    v.Sql(QStringLiteral("DELETE FROM Storages WHERE StorageID = %1").arg(v.storage));
    found = v.Check();
    ASSERT_EQ(found.size(), 12u);
    EXPECT_EQ(found.front(), Reference(D::Problem::MissingRow, v.disc, "Disc", "StorageID",
                                       v.storage, 0, "Storages"));
}

TEST(CatalogueCheck, AMediaRowMissingFromTheTableOfTheCategoryIsReported)
{
    Shelf s;
    s.Sql(QStringLiteral("DELETE FROM MusicInfo"));
    s.Sql(QStringLiteral("DELETE FROM PictureInfo"));
    // A general file with a stray UnitInfoID has no media table to look in.
    s.Sql(QStringLiteral("UPDATE Units SET UnitInfoID = 77 WHERE UnitID = %1").arg(s.a));
    const List found = s.Check();
    EXPECT_EQ(found, (List{Reference(D::Problem::MissingRow, s.song, "song.mp3", "UnitInfoID", 1, 0,
                                     "MusicInfo"),
                           Reference(D::Problem::MissingRow, s.photo, "photo.jpg", "UnitInfoID", 1,
                                     0, "PictureInfo")}));
    EXPECT_EQ(CCatalogueCheck::Describe(found.front()),
              QStringLiteral("Unit %1 \"song.mp3\": UnitInfoID is 1, MusicInfo has no such row")
                  .arg(s.song));

    // The film row now belongs to a unit of another category.
    s.Sql(QStringLiteral("UPDATE Units SET CategoryID = 3 WHERE UnitID = %1").arg(s.clip));
    EXPECT_EQ(s.Check().size(), 3u);
}

TEST(CatalogueCheck, TheUpgradeScriptsAreInTheBuildTreeAndBringACatalogueToVersion1)
{
    const QDir updates(QStringLiteral(SHELFWISE_DATA_DIR "/Updates"));
    ASSERT_TRUE(updates.exists());
    QFile script(updates.filePath(QStringLiteral("1.0.sql")));
    ASSERT_TRUE(script.open(QIODevice::ReadOnly | QIODevice::Text));
    const QString text = QString::fromUtf8(script.readAll());
    EXPECT_TRUE(text.contains(QStringLiteral("UPDATE DatabaseVersion SET VersionNumber = '1.0';")));

    TestCatalogue cat;
    cat.Db().Execute(QStringLiteral("UPDATE DatabaseVersion SET VersionNumber = '0.9'"));
    cat.Db().ExecuteInTransaction({text});
    EXPECT_EQ(cat.Db().GetDatabaseVersion(), QStringLiteral("1.0"));
}
