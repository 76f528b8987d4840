#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "document/CatalogueFile.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

int StorageCount(CSqliteWrapper& db)
{
    std::vector<StorageListItem> items;
    db.GetStorageList(items);
    return static_cast<int>(items.size());
}

int StorageCount(const QString& catalogue)
{
    CSqliteWrapper db;
    db.Open(catalogue, false);
    return StorageCount(db);
}

} // namespace

TEST(CatalogueFile, SaveAsksForANameOnlyUntilTheCatalogueHasAFile)
{
    FakePrompter prompter;
    QTemporaryDir dir;
    const QString named = dir.filePath(QStringLiteral("named.db3"));
    CCatalogueFile file(true);
    ASSERT_TRUE(file.New());
    EXPECT_TRUE(file.NeedsFileName());
    file.Database().AddStorage(QStringLiteral("Shelf"), QString());
    file.SetModified(true);

    // Cancel in the save dialog: nothing written, still changed, still without a name.
    EXPECT_FALSE(file.SaveWithName());
    EXPECT_EQ(prompter.PathRequests().size(), 1u);
    EXPECT_TRUE(file.NeedsFileName());
    EXPECT_TRUE(file.IsModified());

    // A first save that cannot reach its file leaves the catalogue without one.
    QFile blocker(dir.filePath(QStringLiteral("blocker")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    prompter.QueuePath(blocker.fileName() + QStringLiteral("/inside.db3"));
    EXPECT_FALSE(file.SaveWithName());
    EXPECT_TRUE(file.NeedsFileName());
    EXPECT_TRUE(file.IsModified());

    // The name given is kept: the next saves go there without asking.
    prompter.QueuePath(named);
    EXPECT_TRUE(file.SaveWithName());
    EXPECT_FALSE(file.NeedsFileName());
    EXPECT_EQ(file.CataloguePath(), named);
    file.Database().AddStorage(QStringLiteral("Box"), QString());
    file.SetModified(true);
    prompter.ClearRecords();
    EXPECT_TRUE(file.SaveWithName());
    EXPECT_TRUE(prompter.PathRequests().empty());
    EXPECT_EQ(StorageCount(named), 2);
    EXPECT_FALSE(file.IsModified());

    // New takes the name away again; a catalogue opened from a file has one.
    ASSERT_TRUE(file.New());
    EXPECT_TRUE(file.NeedsFileName());
    EXPECT_EQ(StorageCount(file.Database()), 0);
    ASSERT_TRUE(file.Open(named));
    EXPECT_FALSE(file.NeedsFileName());
    EXPECT_EQ(StorageCount(file.Database()), 2);
}

TEST(CatalogueFile, AFailedOpenKeepsTheOpenCatalogueAndSignalsNothing)
{
    FakePrompter prompter;
    QTemporaryDir dir;
    const QString text = dir.filePath(QStringLiteral("text.db3"));
    QFile notes(text);
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("not a catalogue\n");
    notes.close();

    CCatalogueFile file(true);
    QSignalSpy loaded(&file, &CCatalogueFile::loaded);
    QSignalSpy modified(&file, &CCatalogueFile::modifiedChanged);
    ASSERT_TRUE(file.New());
    ASSERT_EQ(loaded.count(), 1);
    EXPECT_FALSE(loaded.at(0).at(0).toBool());
    file.Database().AddStorage(QStringLiteral("Unsaved"), QString());
    file.SetModified(true);
    loaded.clear();
    modified.clear();

    // A file that is no catalogue, and one that is not there.
    for (const QString& path : {text, dir.filePath(QStringLiteral("missing.db3"))}) {
        SCOPED_TRACE(path.toStdString());
        EXPECT_FALSE(file.Open(path));
        EXPECT_TRUE(file.IsLoaded());
        EXPECT_TRUE(file.IsModified());
        EXPECT_TRUE(file.NeedsFileName());
        EXPECT_EQ(StorageCount(file.Database()), 1);
    }
    EXPECT_EQ(loaded.count(), 0);
    EXPECT_EQ(modified.count(), 0);
    EXPECT_EQ(prompter.Messages().size(), 2u);
}

TEST(CatalogueFile, SavingToAnotherFileReopensItAsTheSavedCatalogue)
{
    FakePrompter prompter;
    QTemporaryDir dir;
    const QString first = dir.filePath(QStringLiteral("first.db3"));
    const QString second = dir.filePath(QStringLiteral("second.db3"));
    CCatalogueFile file(true);
    ASSERT_TRUE(file.New());
    QSignalSpy loaded(&file, &CCatalogueFile::loaded);
    QSignalSpy saving(&file, &CCatalogueFile::saving);

    ASSERT_TRUE(file.Save(first));
    ASSERT_EQ(loaded.count(), 1);
    EXPECT_TRUE(loaded.at(0).at(0).toBool()); // the rows are those that were open
    EXPECT_EQ(file.CataloguePath(), first);

    // Saving to its own file opens nothing; Save As to another file does.
    file.Database().AddStorage(QStringLiteral("Shelf"), QString());
    file.SetModified(true);
    ASSERT_TRUE(file.Save(first));
    EXPECT_EQ(loaded.count(), 1);
    EXPECT_FALSE(file.IsModified());
    ASSERT_TRUE(file.Save(second));
    EXPECT_EQ(loaded.count(), 2);
    EXPECT_EQ(file.CataloguePath(), second);
    EXPECT_EQ(saving.count(), 3);
    EXPECT_EQ(StorageCount(second), 1);

    // An ordinary Open is no save.
    ASSERT_TRUE(file.Open(first));
    EXPECT_FALSE(loaded.at(2).at(0).toBool());
    EXPECT_TRUE(prompter.Messages().empty());
}
