#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSignalSpy>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

int StorageCount(const QString& catalogue)
{
    CSqliteWrapper db;
    db.Open(catalogue, false);
    std::vector<StorageListItem> items;
    db.GetStorageList(items);
    return static_cast<int>(items.size());
}

// Restores the autosave setting that a test changes.
struct AutosaveScope
{
    explicit AutosaveScope(bool on) { Settings::Instance().AutosaveAfterUpdate = on; }
    ~AutosaveScope() { Settings::Instance().AutosaveAfterUpdate = false; }
};

} // namespace

TEST(ShelfwiseDoc, WorkingCopyLifeCycle)
{
    FakePrompter prompter;
    QTemporaryDir dir;
    const QString first = dir.filePath(QStringLiteral("first.db3"));
    const QString second = dir.filePath(QStringLiteral("second.db3"));
    QString workingCopy;
    {
        CShelfwiseDoc doc;
        workingCopy = doc.WorkingCopyPath();
        EXPECT_TRUE(workingCopy.startsWith(SettingsFolder()));
        ASSERT_TRUE(doc.OnNewDocument());
        EXPECT_TRUE(QFileInfo::exists(workingCopy));
        EXPECT_TRUE(doc.CataloguePath().isEmpty());
        EXPECT_FALSE(doc.IsModified());

        EXPECT_NE(doc.AddStorage(QStringLiteral("Shelf"), QString()), 0);
        EXPECT_TRUE(doc.IsModified());
        // The first save of a new catalogue asks for a name and re-opens from it.
        prompter.QueuePath(first);
        EXPECT_TRUE(doc.FileSave());
        EXPECT_EQ(doc.CataloguePath(), first);
        EXPECT_FALSE(doc.IsModified());
        EXPECT_EQ(StorageCount(first), 1);

        // Changes stay in the working copy until saved.
        doc.AddStorage(QStringLiteral("Box"), QString());
        EXPECT_EQ(StorageCount(first), 1);
        EXPECT_TRUE(doc.OnSaveDocument(first));
        EXPECT_EQ(StorageCount(first), 2);
        EXPECT_FALSE(doc.IsModified());

        // Save As to another file switches to it.
        doc.RenameStorage(doc.Storages().front().StorageID, QStringLiteral("Attic"));
        EXPECT_TRUE(doc.OnSaveDocument(second));
        EXPECT_EQ(doc.CataloguePath(), second);
        EXPECT_EQ(doc.Storages().front().StorageName, QStringLiteral("Attic"));

        // Opening without saving discards the changes; the working copy name stays.
        doc.AddStorage(QStringLiteral("Unsaved"), QString());
        ASSERT_TRUE(doc.OnOpenDocument(first));
        EXPECT_EQ(doc.Storages().size(), 2u);
        EXPECT_EQ(doc.WorkingCopyPath(), workingCopy);
    }
    EXPECT_FALSE(QFileInfo::exists(workingCopy));
    EXPECT_TRUE(prompter.Messages().empty());
}

TEST(ShelfwiseDoc, AutosaveAfterUpdateWritesEveryEdit)
{
    FakePrompter prompter;
    AutosaveScope autosave(true);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("auto.db3"));
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    prompter.QueuePath(path);
    const int id = doc.AddStorage(QStringLiteral("Shelf"), QString());
    EXPECT_FALSE(doc.IsModified());
    EXPECT_EQ(StorageCount(path), 1);
    EXPECT_TRUE(doc.RenameStorage(id, QStringLiteral("Shelf 2")));
    EXPECT_FALSE(doc.IsModified());
    CSqliteWrapper db;
    db.Open(path, false);
    EXPECT_EQ(db.GetStorage(id).StorageName, QStringLiteral("Shelf 2"));
    EXPECT_EQ(prompter.PathRequests().size(), 1u);
}

TEST(ShelfwiseDoc, AnOpenThatFailsKeepsTheOpenCatalogueAndItsChanges)
{
    FakePrompter prompter;
    QTemporaryDir dir;
    const QString mine = dir.filePath(QStringLiteral("mine.db3"));
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    doc.AddStorage(QStringLiteral("Shelf"), QString());
    ASSERT_TRUE(doc.OnSaveDocument(mine));
    doc.AddStorage(QStringLiteral("Unsaved box"), QString());
    ASSERT_TRUE(doc.IsModified());

    // Another program's SQLite file, a text file, a folder, a newer catalogue.
    const QString foreign = dir.filePath(QStringLiteral("foreign.db3"));
    QProcess::execute(QStringLiteral("sqlite3"),
                      {foreign, QStringLiteral("CREATE TABLE Photos (Id INTEGER PRIMARY KEY, "
                                               "Name TEXT); INSERT INTO Photos VALUES (1, 'a');")});
    const QString text = dir.filePath(QStringLiteral("text.db3"));
    QFile file(text);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("plain text\n");
    file.close();
    const QString newer = dir.filePath(QStringLiteral("newer.db3"));
    ASSERT_TRUE(QFile::copy(doc.TemplatePath(), newer));
    QFile::setPermissions(newer, QFile::ReadOwner | QFile::WriteOwner);
    QProcess::execute(QStringLiteral("sqlite3"),
                      {newer, QStringLiteral("UPDATE DatabaseVersion SET VersionNumber = '9.1'")});

    const QString workingCopy = doc.WorkingCopyPath();
    for (const QString& path : {foreign, text, dir.path(), newer}) {
        prompter.ClearRecords();
        EXPECT_FALSE(doc.OnOpenDocument(path)) << path.toStdString();
        if (path == newer) {
            EXPECT_EQ(prompter.PathRequests().size(), 1u);
        } else {
            EXPECT_TRUE(prompter.LastMessage().startsWith(
                QStringLiteral("Database file can't be opened.")));
            EXPECT_TRUE(prompter.LastMessage().contains(path)) << path.toStdString();
        }
        EXPECT_EQ(prompter.CloseCount(), path == newer ? 1 : 0);
        EXPECT_EQ(doc.CataloguePath(), mine);
        EXPECT_EQ(doc.WorkingCopyPath(), workingCopy);
        EXPECT_TRUE(doc.IsModified());
        ASSERT_EQ(doc.Storages().size(), 2u) << path.toStdString();
        EXPECT_EQ(StorageCount(workingCopy), 2);
        // Nothing is left beside the working copy.
        EXPECT_EQ(QDir(QFileInfo(workingCopy).absolutePath())
                      .entryList({QStringLiteral("*.opening.db3*")}, QDir::Files),
                  QStringList());
    }
    EXPECT_EQ(StorageCount(mine), 1);
    // A good catalogue still opens after all that, into the same working copy.
    EXPECT_TRUE(doc.OnOpenDocument(mine));
    EXPECT_EQ(doc.WorkingCopyPath(), workingCopy);
    EXPECT_EQ(doc.Storages().size(), 1u);
    EXPECT_FALSE(doc.IsModified());
}

TEST(ShelfwiseDoc, FailuresAreReportedAndLoseNothing)
{
    FakePrompter prompter;
    QTemporaryDir dir;
    const QString text = dir.filePath(QStringLiteral("notes.db3"));
    QFile file(text);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("these are my notes, not a catalogue\n");
    file.close();

    CShelfwiseDoc doc;
    EXPECT_FALSE(doc.OnOpenDocument(text));
    EXPECT_TRUE(
        prompter.LastMessage().startsWith(QStringLiteral("Database file can't be opened.")));
    EXPECT_TRUE(prompter.LastMessage().contains(text));
    QFile log(SettingsFolder() + QStringLiteral("log.txt"));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_TRUE(log.readAll().contains("is not a database"));

    // A save that cannot reach its file keeps the document changed and the old file.
    const QString good = dir.filePath(QStringLiteral("good.db3"));
    ASSERT_TRUE(doc.OnNewDocument());
    doc.AddStorage(QStringLiteral("Shelf"), QString());
    ASSERT_TRUE(doc.OnSaveDocument(good));
    doc.AddStorage(QStringLiteral("Box"), QString());
    const QString unreachable = text + QStringLiteral("/inside.db3"); // parent is a file
    EXPECT_TRUE(doc.OnSaveDocument(unreachable));
    EXPECT_FALSE(doc.LastSaveReachedFile());
    EXPECT_EQ(doc.CataloguePath(), good);
    EXPECT_TRUE(doc.IsModified());
    EXPECT_EQ(StorageCount(good), 1);

    // A failing statement leaves the document as it was.
    doc.SetModified(false);
    doc.Database().Execute(QStringLiteral("DROP TABLE Units"));
    EXPECT_FALSE(doc.RenameUnit(1, QStringLiteral("x"), nullptr));
    EXPECT_EQ(prompter.LastMessage(), QStringLiteral("no such table: Units"));
    EXPECT_EQ(prompter.CloseCount(), 1); // statement errors ask to close the window
}

TEST(ShelfwiseDoc, DeleteAsksFirstAndCategoryEditsRefuseDuplicates)
{
    FakePrompter prompter;
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    const int box = doc.AddStorage(QStringLiteral("Box"), QString());
    doc.SetModified(false);

    prompter.QueueYesNo(false);
    EXPECT_FALSE(doc.DeleteItem(nullptr, QStringLiteral("Box"), box, true));
    ASSERT_EQ(prompter.Questions().size(), 1u);
    EXPECT_EQ(prompter.Questions()[0].Text,
              QStringLiteral("Would you really like to delete Box ?"));
    EXPECT_EQ(doc.Storages().size(), 1u);
    EXPECT_FALSE(doc.IsModified());
    prompter.QueueYesNo(true);
    EXPECT_TRUE(doc.DeleteItem(nullptr, QStringLiteral("Box"), box, true));
    EXPECT_TRUE(doc.Storages().empty());
    EXPECT_TRUE(doc.IsModified());

    EXPECT_FALSE(doc.MapExtension(QStringLiteral("MP3"), 4));
    EXPECT_EQ(prompter.LastMessage(),
              QStringLiteral("Extension mp3 is already associated with category Music"));
    EXPECT_EQ(doc.AddCategory(QStringLiteral("Film")), 0);
    EXPECT_EQ(prompter.LastMessage(), QStringLiteral("Category Film already exists"));
    const int books = doc.AddCategory(QStringLiteral("Books"));
    ASSERT_NE(books, 0);
    EXPECT_TRUE(doc.MapExtension(QStringLiteral("EPUB"), books));
    EXPECT_EQ(doc.Database().FileExtensions().at(QStringLiteral("epub")), books);
}

TEST(ShelfwiseDoc, ApplySettingsReordersTheStoragesAndRefreshesTheViews)
{
    FakePrompter prompter;
    const auto names = [](const CShelfwiseDoc& doc) {
        QStringList list;
        for (const StorageRecord& storage : doc.Storages())
            list << storage.StorageName;
        return list;
    };
    {
        // Without a catalogue there is nothing to reload, and nothing to complain about.
        CShelfwiseDoc idle;
        Settings::Instance().UnitsOrder = UnitsOrder::Alphabetic;
        idle.ApplySettings();
        EXPECT_TRUE(idle.Database().SortByName());
        Settings::Instance().UnitsOrder = UnitsOrder::Chronological;
        EXPECT_TRUE(prompter.Messages().empty());
    }
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    for (const char* name : {"Zebra box", "apple crate", "Mango shelf"})
        doc.AddStorage(QString::fromLatin1(name), QString());
    doc.SetModified(false);
    ASSERT_EQ(names(doc), QStringList({"Zebra box", "apple crate", "Mango shelf"}));

    QSignalSpy updates(&doc, &CShelfwiseDoc::viewsNeedUpdate);
    Settings::Instance().UnitsOrder = UnitsOrder::Alphabetic;
    doc.ApplySettings();
    Settings::Instance().UnitsOrder = UnitsOrder::Chronological;
    EXPECT_TRUE(doc.Database().SortByName());
    EXPECT_EQ(names(doc), QStringList({"apple crate", "Mango shelf", "Zebra box"}));
    EXPECT_EQ(updates.count(), 1);

    doc.ApplySettings();
    EXPECT_FALSE(doc.Database().SortByName());
    EXPECT_EQ(names(doc), QStringList({"Zebra box", "apple crate", "Mango shelf"}));
    EXPECT_EQ(updates.count(), 2);
    // Settings are no change to the catalogue.
    EXPECT_FALSE(doc.IsModified());
    EXPECT_TRUE(prompter.Messages().empty());
}

TEST(ShelfwiseDoc, TheSelectionFollowsWhatIsDeletedAndGivesTheChildrenShown)
{
    FakePrompter prompter;
    prompter.SetDefaultYesNo(true);
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    const int box = doc.AddStorage(QStringLiteral("Box"), QString());
    const int shelf = doc.AddStorage(QStringLiteral("Shelf"), QString());
    const int disc = doc.Database().AddUnit(UnitKind::Disc, QStringLiteral("Disc"), QString(), 1,
                                            box, 0, {}, 0, QDateTime(), QDateTime(), 0, true);
    // The first storage and the first unit of a new catalogue share their id.
    ASSERT_EQ(disc, box);
    EXPECT_TRUE(doc.Selection().IsNone());
    EXPECT_TRUE(doc.GetSelectionChildren().empty());

    QSignalSpy updates(&doc, &CShelfwiseDoc::viewsNeedUpdate);
    doc.SetSelection(Selection::OfStorage(box), nullptr);
    EXPECT_EQ(updates.count(), 1);
    const std::vector<UnitListItem> children = doc.GetSelectionChildren();
    ASSERT_EQ(children.size(), 1u);
    EXPECT_EQ(children.front().UnitID, disc);
    // A unit with the storage's id is another item.
    EXPECT_NE(doc.Selection(), Selection::OfUnit(box));

    // Deleting another item, or a storage whose id the selected unit shares, keeps the
    // selection.
    ASSERT_TRUE(doc.DeleteItem(nullptr, QStringLiteral("Shelf"), shelf, true));
    EXPECT_EQ(doc.Selection(), Selection::OfStorage(box));
    doc.SetSelection(Selection::OfUnit(disc), nullptr);
    ASSERT_TRUE(doc.DeleteItem(nullptr, QStringLiteral("Box"), box, true));
    EXPECT_EQ(doc.Selection(), Selection::OfUnit(disc));
    ASSERT_TRUE(doc.Undo());
    // Undo brings the storage back, and the selected disc exists again.
    EXPECT_EQ(doc.Selection(), Selection::OfUnit(disc));
    ASSERT_TRUE(doc.DeleteItem(nullptr, QStringLiteral("Disc"), disc, false));
    EXPECT_TRUE(doc.Selection().IsNone());
    EXPECT_TRUE(doc.GetSelectionChildren().empty());
}

TEST(ShelfwiseDoc, AStorageDeleteThatFailsHalfWayLeavesTheStorageAndItsUnits)
{
    FakePrompter prompter;
    prompter.SetDefaultYesNo(true);
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    const int box = doc.AddStorage(QStringLiteral("Box"), QString());
    doc.Database().AddUnit(UnitKind::Disc, QStringLiteral("Disc"), QString(), 1, box, 0, {}, 0,
                           QDateTime(), QDateTime(), 0, true);
    // The storage's row goes first; its units' media rows cannot.
    doc.Database().Execute(QStringLiteral("DROP TABLE PictureInfo"));

    EXPECT_FALSE(doc.DeleteItem(nullptr, QStringLiteral("Box"), box, true));
    EXPECT_EQ(prompter.LastMessage(), QStringLiteral("no such table: PictureInfo"));
    EXPECT_FALSE(doc.Database().InTransaction());
    ASSERT_EQ(doc.Storages().size(), 1u);
    std::vector<UnitListItem> units;
    doc.Database().GetSubunits(units, box, true);
    EXPECT_EQ(units.size(), 1u);
}
