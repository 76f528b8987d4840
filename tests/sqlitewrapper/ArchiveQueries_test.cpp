// What the listings say of archives: which rows are archives, which units lead the tree
// further because of one, and an archive's ArchiveInfo row; a catalogue left before the
// table existed lists as it always did; entries written in batches keep every name.
#include "TestCatalogue.h"

#include "sqlitewrapper/ArchiveEntryBatch.h"
#include "sqlitewrapper/SqlText.h"
#include "sqlitewrapper/SqliteWrapperError.h"

#include <gtest/gtest.h>

#include <map>

namespace {

// An archive's entry, written as an addition writes one.
int AddEntry(TestCatalogue& cat, int storageId, int parentId, const char* name, char type)
{
    cat.Db().Execute(SqlText::Format("INSERT INTO Units(UnitName, UnitType, StorageID, "
                                     "ParentUnitID)VALUES(%s, '%s', %d, %d)",
                                     {SqlText::QuoteSqlString(QString::fromUtf8(name)),
                                      QString(QLatin1Char(type)), storageId, parentId}));
    return cat.Db().LastInsertId();
}

std::map<QString, UnitListItem> ByName(const std::vector<UnitListItem>& rows)
{
    std::map<QString, UnitListItem> named;
    for (const UnitListItem& row : rows)
        named.emplace(row.UnitName, row);
    return named;
}

} // namespace

TEST(ArchiveQueries, ListingsMarkArchivesAndWhatLeadsToThem)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Shelf"), QString());
    const int loose = db.AddStorage(QStringLiteral("Loose files"), QString());
    const int folder = cat.AddFolder(shelf, 0, QStringLiteral("Backups"));
    db.Execute(SqlText::Format("UPDATE Units SET ParentUnitID = NULL WHERE UnitID = %d", {folder}));
    db.Execute(
        SqlText::Format("UPDATE Storages SET FoldersNumber = 1 WHERE StorageID = %d", {shelf}));
    const int plain = cat.AddFile(shelf, folder, QStringLiteral("notes.txt"), 10);
    const int archive = cat.AddFile(shelf, folder, QStringLiteral("site.zip"), 4000);
    const int inner = AddEntry(cat, shelf, archive, "css", 'd');
    const int sheet = AddEntry(cat, shelf, inner, "main.css", 'f');
    const int nested = AddEntry(cat, shelf, archive, "old.tar", 'f');
    AddEntry(cat, shelf, nested, "index.html", 'f');
    const int flat = cat.AddFile(shelf, folder, QStringLiteral("flat.zip"), 300);
    AddEntry(cat, shelf, flat, "a.txt", 'f');
    const auto archiveInfo = [&](int id, const char* format, int entries, qint64 size) {
        db.Execute(SqlText::Format("INSERT INTO ArchiveInfo(UnitID, Format, EntriesNumber, "
                                   "UncompressedSize)VALUES(%d, '%s', %d, %lld)",
                                   {id, QString::fromLatin1(format), entries, size}));
    };
    for (int id : {archive, nested, flat})
        archiveInfo(id, "zip", 2, 9000);
    // A file added on its own at the top of a storage, and an archive.
    db.Execute(SqlText::Format("INSERT INTO Units(UnitName, UnitType, StorageID, UnitSize)VALUES("
                               "'disk.7z', 'F', %d, 77)",
                               {loose}));
    archiveInfo(db.LastInsertId(), "7z", 0, 0);

    std::vector<UnitListItem> rows;
    db.GetSubunits(rows, folder, false);
    auto named = ByName(rows);
    ASSERT_EQ(named.size(), 3u);
    EXPECT_FALSE(named[QStringLiteral("notes.txt")].IsArchive);
    EXPECT_TRUE(named[QStringLiteral("site.zip")].IsArchive);
    EXPECT_EQ(named[QStringLiteral("site.zip")].Kind, UnitKind::File);
    // An archive leads further when it holds a folder or an archive of its own.
    EXPECT_TRUE(named[QStringLiteral("site.zip")].HasSubfolders);
    EXPECT_FALSE(named[QStringLiteral("flat.zip")].HasSubfolders);

    // The folder holds no folder, but the tree shows its archives below it.
    rows.clear();
    db.GetSubunits(rows, shelf, true);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_TRUE(rows.front().HasSubfolders);
    EXPECT_FALSE(rows.front().IsArchive);

    rows.clear();
    db.GetSubunits(rows, archive, false);
    named = ByName(rows);
    EXPECT_EQ(named[QStringLiteral("css")].Kind, UnitKind::ArchiveFolder);
    EXPECT_FALSE(named[QStringLiteral("css")].HasSubfolders);
    EXPECT_EQ(named[QStringLiteral("old.tar")].Kind, UnitKind::ArchiveFile);
    EXPECT_TRUE(named[QStringLiteral("old.tar")].IsArchive);
    EXPECT_EQ(db.GetUnit(sheet).Kind, UnitKind::ArchiveFile);
    EXPECT_TRUE(db.IsInsideArchive(sheet));
    EXPECT_FALSE(db.IsInsideArchive(archive));
    EXPECT_EQ(UnitKindText(UnitKind::ArchiveFolder), UnitKindText(UnitKind::Folder));

    ArchiveDetails details;
    ASSERT_TRUE(db.GetArchiveInfo(archive, details));
    EXPECT_EQ(details.Format, QStringLiteral("zip"));
    EXPECT_EQ(details.EntriesNumber, 2);
    EXPECT_EQ(details.UncompressedSize, 9000);
    EXPECT_FALSE(db.GetArchiveInfo(plain, details));

    // A storage of loose files has something to show only through its archive.
    std::vector<StorageListItem> storages;
    db.GetStorageList(storages);
    ASSERT_EQ(storages.size(), 2u);
    for (const StorageListItem& storage : storages)
        EXPECT_TRUE(storage.HasChildren) << storage.StorageName.toStdString();
}

TEST(ArchiveQueries, ACatalogueWithoutTheArchiveTableListsAsBefore)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Shelf"), QString());
    const int file = cat.AddFile(shelf, 0, QStringLiteral("a.zip"), 5);
    db.Execute(SqlText::Format("UPDATE Units SET ParentUnitID = NULL WHERE UnitID = %d", {file}));
    db.Execute(QStringLiteral("DROP TABLE ArchiveInfo"));
    std::vector<UnitListItem> rows;
    db.GetSubunits(rows, shelf, true);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_FALSE(rows.front().IsArchive);
    EXPECT_FALSE(db.GetUnit(file).IsArchive);
    ArchiveDetails details;
    EXPECT_FALSE(db.GetArchiveInfo(file, details));
    std::vector<StorageListItem> storages;
    db.GetStorageList(storages);
    EXPECT_EQ(storages.size(), 1u);
}

TEST(ArchiveQueries, EntryBatchesKeepEveryNameAndDateAndRefuseABrokenRow)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Shelf"), QString());
    const int archive = cat.AddFile(shelf, 0, QStringLiteral("odd.zip"), 4000);
    // Names with what ends a field, a line or a literal, and with what escapes them.
    const QStringList names = {QStringLiteral("tab\there"),
                               QStringLiteral("line\nfeed"),
                               QStringLiteral("back\\slash\\t"),
                               QStringLiteral("Tom's 'quoted'"),
                               QStringLiteral("\u00e9t\u00e9 \u65e5\u672c"),
                               QStringLiteral("\\"),
                               QStringLiteral("plain.txt")};
    CArchiveEntryBatch batch(db.NextUnitId(), shelf);
    const int folder = batch.Add(archive, QStringLiteral("dir"), true, 0,
                                 CArchiveEntryBatch::kNoDate, CategoryIds::General);
    std::vector<int> ids;
    for (int i = 0; i < names.size(); ++i) {
        // 2024-05-01 10:11:12 wall-clock time, a second more for each.
        ids.push_back(batch.Add(folder, names[i], false, 100 + i, 1714558272000LL + i * 1000,
                                CategoryIds::General));
        if (i == 3)
            batch.Flush(db); // two statements
    }
    batch.Flush(db);
    EXPECT_EQ(cat.Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType = 'f' AND "
                                        "ParentUnitID = %1")
                             .arg(folder)),
              names.size());
    EXPECT_EQ(cat.Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitID = %1 AND "
                                        "UnitType = 'd' AND DateModified IS NULL AND "
                                        "ParentUnitID = %2 AND StorageID = %3")
                             .arg(folder)
                             .arg(archive)
                             .arg(shelf)),
              1);
    for (int i = 0; i < names.size(); ++i) {
        const UnitListItem row = db.GetUnit(ids[static_cast<size_t>(i)]);
        EXPECT_EQ(row.UnitName, names[i]) << i;
        EXPECT_EQ(row.UnitSize, 100 + i);
    }
    EXPECT_EQ(cat.Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitID = %1 AND "
                                        "DateModified = '2024-05-01 10:11:18'")
                             .arg(ids.back())),
              1);

    // A row that does not read fails its statement, which writes nothing.
    const qint64 before = cat.Number(QStringLiteral("SELECT COUNT(*) FROM Units"));
    EXPECT_THROW(db.Execute(QStringLiteral("INSERT INTO Units(UnitID, ParentUnitID, UnitName, "
                                           "UnitType, StorageID) SELECT UnitID, ParentUnitID, "
                                           "UnitName, UnitType, 1 FROM ArchiveEntryRows("
                                           "'900\t1\tok\tf\t1\t\t1\n901\tx\tbad\tf\t1\t\t1')")),
                 CSqliteWrapperError);
    EXPECT_EQ(cat.Number(QStringLiteral("SELECT COUNT(*) FROM Units")), before);
}
