// The name index over trees added and updated with the real jobs: what it finds equals
// what the plain scan finds, at once while the added units wait for the index and after
// it has caught up, and an update and Undo keep it right.
#include "acquisition/RescanFixture.h"
#include "acquisition/UnitUpdate.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using namespace RescanTools;

std::vector<int> Ids(CSqliteWrapper& db, const QStringList& words, NameLookup how)
{
    std::vector<int> ids;
    for (const FoundUnit& unit : db.FindByName(words, 1000000, 0, how))
        ids.push_back(unit.UnitID);
    return ids;
}

// Indexes what waits, then lets FTS5 compare the index with every name in Units.
void ExpectIndexMatchesUnits(CSqliteWrapper& db)
{
    while (db.IndexNamesStep(1000) > 0) {
    }
    EXPECT_NO_THROW(db.Execute(QStringLiteral(
        "INSERT INTO UnitNameIndex (UnitNameIndex, rank) VALUES ('integrity-check', 1)")));
}

} // namespace

TEST_F(RescanTest, NameIndexFindsWhatTheScanFindsInARealTree)
{
    const QString doc = QStringLiteral("/usr/share/doc");
    if (!QDir(doc).exists())
        GTEST_SKIP() << "no /usr/share/doc here";
    ASSERT_GT(Add(CAddLocationJob::Mode::Folder, doc), 0);
    CSqliteWrapper& db = m_doc.Database();
    const char* const queries[] = {
        "copyright", "changelog gz",        "README", "Debian", "lib",     "gz", "1.",
        "NEWS",      "changelog.Debian.gz", "zzq",    "_",      "doc html"};
    // The addition's units wait for the index and are found at once.
    EXPECT_EQ(db.CountUnindexedNames(), db.CountUnits());
    for (const char* query : queries) {
        const QStringList words = QString::fromUtf8(query).split(QLatin1Char(' '));
        EXPECT_EQ(Ids(db, words, NameLookup::Auto), Ids(db, words, NameLookup::Scan)) << query;
    }
    ExpectIndexMatchesUnits(db);
    int nonEmpty = 0;
    for (const char* query : queries) {
        const QStringList words = QString::fromUtf8(query).split(QLatin1Char(' '));
        const std::vector<int> indexed = Ids(db, words, NameLookup::Index);
        EXPECT_EQ(indexed, Ids(db, words, NameLookup::Scan)) << query;
        EXPECT_EQ(db.CountByName(words, NameLookup::Index), db.CountByName(words, NameLookup::Scan))
            << query;
        nonEmpty += indexed.empty() ? 0 : 1;
    }
    EXPECT_GE(nonEmpty, 6);
}

TEST_F(RescanTest, NameIndexFollowsAnUpdate)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Tree"));
    MakeFile(root + QStringLiteral("/old name.txt"), 10);
    MakeFile(root + QStringLiteral("/sub/kept.txt"), 5);
    MakeFile(root + QStringLiteral("/sub/gone.txt"), 5);
    const int top = Add(CAddLocationJob::Mode::Folder, root);
    ASSERT_GT(top, 0);
    CSqliteWrapper& db = m_doc.Database();
    ExpectIndexMatchesUnits(db);
    ASSERT_TRUE(QFile::rename(root + QStringLiteral("/old name.txt"),
                              root + QStringLiteral("/new name.txt")));
    ASSERT_TRUE(QFile::remove(root + QStringLiteral("/sub/gone.txt")));
    MakeFile(root + QStringLiteral("/sub/added.txt"), 7);

    std::optional<CChangeList> changes = Rescan(top, root);
    ASSERT_TRUE(changes);
    CUnitUpdate update(m_doc);
    update.SetMediaReaderFactory(nullptr);
    ASSERT_TRUE(update.Apply(top, *changes, root, QString()));

    const auto count = [&](const char* word) { return db.CountByName({QString::fromUtf8(word)}); };
    EXPECT_EQ(count("old name"), 0);
    EXPECT_EQ(count("new name"), 1);
    EXPECT_EQ(count("gone"), 0);
    EXPECT_EQ(count("added"), 1);
    EXPECT_EQ(count("txt"), 3);
    ExpectIndexMatchesUnits(db);

    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(count("old name"), 1);
    EXPECT_EQ(count("gone"), 1);
    EXPECT_EQ(count("added"), 0);
    ExpectIndexMatchesUnits(db);
}

TEST_F(RescanTest, NameIndexThroughAnAdditionUndoneAndRedone)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Trip"));
    for (const char* name : {"/beach.jpg", "/day 2/beach.jpg", "/day 2/dunes.jpg"})
        MakeFile(root + QString::fromUtf8(name), 10);
    CSqliteWrapper& db = m_doc.Database();
    const auto count = [&](const char* word) { return db.CountByName({QString::fromUtf8(word)}); };
    // Undone while its units wait, then redone, indexed, and undone again.
    ASSERT_GT(Add(CAddLocationJob::Mode::Folder, root), 0);
    EXPECT_EQ(count("beach"), 2);
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(count("beach"), 0);
    EXPECT_TRUE(db.IsNameIndexComplete());
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_EQ(count("jpg"), 3);
    ExpectIndexMatchesUnits(db);
    EXPECT_EQ(count("dunes"), 1);
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(count("jpg"), 0);
    ExpectIndexMatchesUnits(db);
}
