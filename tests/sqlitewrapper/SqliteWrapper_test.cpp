#include "TestCatalogue.h"

#include "sqlitewrapper/RowMappers.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Runs f and returns the CSqliteWrapperError it raised.
template <typename F> CSqliteWrapperError Raised(F f)
{
    try {
        f();
    } catch (const CSqliteWrapperError& e) {
        return e;
    }
    ADD_FAILURE() << "no CSqliteWrapperError was raised";
    return CSqliteWrapperError("", -1, QString(), -1, false);
}

} // namespace

TEST(SqliteWrapper, ClosedStoreRaisesInaccessibleWithFixedPlaces)
{
    CSqliteWrapper db;
    const CSqliteWrapperError exec = Raised([&] { db.Execute(QStringLiteral("SELECT 1")); });
    EXPECT_STREQ(exec.what(), "Database is inaccessible");
    EXPECT_EQ(exec.GetCode(), 0);
    EXPECT_EQ(exec.GetFile(), QStringLiteral("SqliteWrapper.cpp"));
    EXPECT_EQ(exec.GetLine(), 974);
    EXPECT_TRUE(exec.IsFatal());

    std::vector<StorageListItem> items;
    const CSqliteWrapperError query = Raised([&] { db.GetStorageList(items); });
    EXPECT_EQ(query.GetCode(), 0);
    EXPECT_EQ(query.GetLine(), 609);
    EXPECT_EQ(query.GetFile(), QStringLiteral("SqliteWrapper.cpp"));

    // After Close the store is as closed as before Open.
    TestCatalogue cat;
    cat.Db().Close();
    cat.Db().Close(); // closing twice does nothing
    EXPECT_EQ(Raised([&] { cat.Db().AddStorage(QStringLiteral("x"), QString()); }).GetLine(), 974);
}

TEST(SqliteWrapper, StatementFailuresCarryCodeMessageAndPlace)
{
    TestCatalogue cat;
    const CSqliteWrapperError exec =
        Raised([&] { cat.Db().Execute(QStringLiteral("INSERT INTO Nowhere VALUES (1)")); });
    EXPECT_EQ(exec.GetCode(), 1);
    EXPECT_STREQ(exec.what(), "no such table: Nowhere");
    EXPECT_EQ(exec.GetLine(), 988);
    EXPECT_TRUE(exec.IsFatal());

    std::vector<QString> rows;
    const CSqliteWrapperError query = Raised(
        [&] { cat.Db().QueryRows(QStringLiteral("SELECT x FROM"), rows, &RowMappers::Texts); });
    EXPECT_EQ(query.GetCode(), 1);
    EXPECT_EQ(query.GetFile(), QStringLiteral("SqliteWrapper.h"));
    EXPECT_EQ(query.GetLine(), 623);

    // The error is a std::runtime_error and copies whole.
    const CSqliteWrapperError copy = exec;
    EXPECT_STREQ(copy.what(), exec.what());
    EXPECT_EQ(copy.GetLine(), 988);
    const std::runtime_error& base = copy;
    EXPECT_STREQ(base.what(), "no such table: Nowhere");
}

TEST(SqliteWrapper, FilesThatAreNoCatalogueFailAtTheFirstRead)
{
    QTemporaryDir dir;
    CSqliteWrapper db;

    const QString text = dir.filePath(QStringLiteral("notes.db3"));
    QFile f(text);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(QByteArray(4096, 'x'));
    f.close();
    const CSqliteWrapperError notDb = Raised([&] { db.Open(text, true); });
    EXPECT_EQ(notDb.GetCode(), 26);
    // Older SQLite says "file is encrypted or is not a database", newer "file is not a database".
    EXPECT_NE(std::string(notDb.what()).find("is not a database"), std::string::npos);

    // Another program's SQLite file: a valid database without our tables.
    const QString foreign = dir.filePath(QStringLiteral("foreign.db3"));
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(foreign.toUtf8().constData(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw, "CREATE TABLE t(a)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(raw);
    const CSqliteWrapperError noTable = Raised([&] { db.Open(foreign, false); });
    EXPECT_EQ(noTable.GetCode(), 1);
    EXPECT_STREQ(noTable.what(), "no such table: Categories");

    // A path in a folder that does not exist fails in sqlite3_open with the caller's flag.
    const QString missing = dir.filePath(QStringLiteral("no/such/folder/x.db3"));
    const CSqliteWrapperError open = Raised([&] { db.Open(missing, true); });
    EXPECT_EQ(open.GetCode(), SQLITE_CANTOPEN);
    EXPECT_EQ(open.GetLine(), 538);
    EXPECT_TRUE(open.IsFatal());
    EXPECT_FALSE(Raised([&] { db.Open(missing, false); }).IsFatal());
}

TEST(SqliteWrapper, ReadOnlyCatalogueReadsButRefusesWrites)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "root writes to read-only files";
    TestCatalogue cat;
    cat.Db().Close();
    QFile::setPermissions(cat.Path(), QFile::ReadOwner);
    CSqliteWrapper db;
    db.Open(cat.Path(), false);
    EXPECT_EQ(db.Categories().size(), 4u);
    const CSqliteWrapperError e = Raised([&] { db.AddStorage(QStringLiteral("Box"), QString()); });
    EXPECT_EQ(e.GetCode(), SQLITE_READONLY);
}

TEST(SqliteWrapper, TransactionsCommitOnceAndRollBackOnFailure)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    db.ExecuteInTransaction({QStringLiteral("INSERT INTO Storages (StorageName) VALUES ('A')"),
                             QStringLiteral("INSERT INTO Storages (StorageName) VALUES ('B')")});
    EXPECT_FALSE(db.InTransaction());
    EXPECT_EQ(cat.Number(QStringLiteral("SELECT COUNT(*) FROM Storages")), 2);

    // A failing statement undoes the earlier ones and the rest are not run.
    const CSqliteWrapperError e = Raised([&] {
        db.ExecuteInTransaction(
            {QStringLiteral("INSERT INTO Storages (StorageName) VALUES ('C')"),
             QStringLiteral("INSERT INTO Nowhere VALUES (1)"),
             QStringLiteral("INSERT INTO Storages (StorageName) VALUES ('D')")});
    });
    EXPECT_EQ(e.GetLine(), 988);
    EXPECT_FALSE(db.InTransaction());
    EXPECT_EQ(cat.Number(QStringLiteral("SELECT COUNT(*) FROM Storages")), 2);

    // A script that ends the transaction itself is not committed a second time.
    db.ExecuteInTransaction(
        {QStringLiteral("INSERT INTO Storages (StorageName) VALUES ('E'); COMMIT")});
    EXPECT_EQ(cat.Number(QStringLiteral("SELECT COUNT(*) FROM Storages")), 3);
}

TEST(SqliteWrapper, NamesAndNotesFollowTheQuotingAndNullRules)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int a =
        db.AddStorage(QStringLiteral("Tom's \"big\" box 100%_ Ærø"), QStringLiteral("NULL"));
    const int b = db.AddStorage(QStringLiteral("Shelf"), QString());
    StorageRecord ra = db.GetStorage(a);
    EXPECT_EQ(ra.StorageName, QStringLiteral("Tom's \"big\" box 100%_ Ærø"));
    EXPECT_TRUE(ra.StorageNotes.isEmpty());
    EXPECT_EQ(
        cat.Number(QStringLiteral("SELECT COUNT(*) FROM Storages WHERE StorageNotes IS NULL")), 2);
    EXPECT_EQ(ra.DateAdded.size(), 19); // "YYYY-MM-DD HH:MM:SS", filled by the catalogue

    // UpdateStorage writes empty notes as an empty string, not NULL.
    db.UpdateStorage(b, QStringLiteral("Shelf 2"), QString());
    EXPECT_EQ(cat.Number(QStringLiteral("SELECT COUNT(*) FROM Storages WHERE StorageNotes = ''")),
              1);
    EXPECT_EQ(db.GetStorage(b).StorageName, QStringLiteral("Shelf 2"));
}

TEST(SqliteWrapper, LockedCatalogueReportsBusyAndStaysUsableAfterwards)
{
    TestCatalogue cat;
    cat.Db().Close();
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(cat.Path().toUtf8().constData(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    CSqliteWrapper db;
    EXPECT_EQ(Raised([&] { db.Open(cat.Path(), false); }).GetCode(), SQLITE_BUSY);
    sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(other);
    db.Open(cat.Path(), false);
    EXPECT_EQ(db.Categories().size(), 4u);
}
