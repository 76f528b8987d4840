// Applying what a rescan found: real trees and images changed in every way between two
// scans, the catalogue afterwards against the tree as it is now (ids, notes and
// categories kept, counters right by the consistency check), the history, and Undo.
#include "FakeFolderLister.h"

#include "acquisition/RescanFixture.h"
#include "acquisition/RunAddition.h"
#include "acquisition/UnitUpdate.h"
#include "document/CatalogueCheck.h"
#include "listers/DiscImageLister.h"
#include "sqlitewrapper/RowMappers.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>

namespace {

using Kind = CChangeList::Kind;
using namespace RescanTools;

// Every row of Units and the storages' counters, as text: what Undo must give back.
const QString kAllRows = QStringLiteral(
    "SELECT (SELECT group_concat(UnitID || ':' || UnitName || ':' || IFNULL(ParentUnitID, '') "
    "|| ':' || UnitSize || ':' || SubfilesNumber || ':' || SubfoldersNumber || ':' || "
    "IFNULL(DateModified, '') || ':' || CategoryID || ':' || IFNULL(UnitNotes, ''), '|') FROM "
    "(SELECT * FROM Units ORDER BY UnitID)) || '#' || (SELECT group_concat(FilesNumber || ':' || "
    "FoldersNumber || ':' || DiscsNumber || ':' || StorageSize, '|') FROM Storages)");

class UnitUpdateTest : public RescanTest
{
protected:
    std::vector<QString> Problems()
    {
        std::vector<QString> texts;
        for (const CatalogueDisagreement& d : CCatalogueCheck(m_doc.Database()).Run())
            texts.push_back(CCatalogueCheck::Describe(d));
        return texts;
    }

    // Rescans and applies; the changes applied.
    CChangeList Update(int top, const QString& source, FolderLister* lister = nullptr)
    {
        std::optional<CChangeList> changes = Rescan(top, source, lister);
        EXPECT_TRUE(changes);
        if (!changes)
            return {};
        CUnitUpdate update(m_doc);
        update.SetMediaReaderFactory(nullptr);
        EXPECT_TRUE(update.Apply(top, *changes, source, QString()));
        return *changes;
    }

    int ParentOf(int unitId)
    {
        return static_cast<int>(
            Number(QStringLiteral("SELECT ParentUnitID FROM Units WHERE UnitID = %1").arg(unitId)));
    }
};

} // namespace

TEST_F(UnitUpdateTest, FolderChangedInEveryWayKeepsWhatStays)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Tree"));
    const auto at = [&](const char* relative) { return root + QLatin1Char('/') + relative; };
    MakeFile(at("a.txt"), 10);
    MakeFile(at("keep.txt"), 5);
    MakeFile(at("ren.txt"), 70);
    MakeFile(at("docs/b.txt"), 20);
    MakeFile(at("old/d.txt"), 40);
    MakeFile(at("old/deep/g.txt"), 45);
    MakeFile(at("move/e.dat"), 50, kThen + 1000);
    MakeFile(at("thing/x.txt"), 3);
    MakeFile(at("blob"), 4);
    const int top = Add(CAddLocationJob::Mode::Folder, root);
    ASSERT_NE(top, 0);
    const int grownId = UnitNamed(top, "a.txt");
    const int movedId = UnitNamed(top, "e.dat");
    const int keptId = UnitNamed(top, "keep.txt");
    const int docsId = UnitNamed(top, "docs");
    ASSERT_TRUE(m_doc.SetUnitNotes(grownId, QStringLiteral("It's mine")));
    ASSERT_TRUE(m_doc.SetUnitNotes(movedId, QStringLiteral("moved with me")));
    ASSERT_TRUE(m_doc.SetUnitCategory(keptId, CategoryIds::Music));
    const QString before = Text(kAllRows);

    MakeFile(at("new.mp3"), 1500);
    MakeFile(at("newdir/f.txt"), 600);
    MakeFile(at("a.txt"), 25);
    MakeFile(at("keep.txt"), 5, kThen + 3600);
    ASSERT_TRUE(QDir(at("old")).removeRecursively());
    ASSERT_TRUE(QFile::rename(at("move/e.dat"), at("newdir/e.dat")));
    ASSERT_TRUE(QFile::rename(at("ren.txt"), at("ren2.txt")));
    ASSERT_TRUE(QDir(at("thing")).removeRecursively());
    MakeFile(at("thing"), 7);
    ASSERT_TRUE(QFile::remove(at("blob")));
    MakeFile(at("blob/y.txt"), 8);
    ASSERT_TRUE(QFile::link(QStringLiteral("a.txt"), at("link")));

    const CChangeList changes = Update(top, root);
    EXPECT_EQ(changes.Summary(),
              QStringLiteral("8 added (2.13 KB), 8 removed (162 bytes), 2 changed, 1 moved"));
    EXPECT_TRUE(Problems().empty()) << Problems().front().toStdString();

    // Found again: the same ids, notes and the category chosen by hand.
    EXPECT_EQ(UnitNamed(top, "a.txt"), grownId);
    EXPECT_EQ(Text(QStringLiteral("SELECT UnitSize || ' ' || UnitNotes FROM Units WHERE UnitID "
                                  "= %1")
                       .arg(grownId)),
              QStringLiteral("25 It's mine"));
    EXPECT_EQ(Number(QStringLiteral("SELECT CategoryID FROM Units WHERE UnitID = %1").arg(keptId)),
              CategoryIds::Music);
    EXPECT_EQ(UnitNamed(top, "e.dat"), movedId);
    EXPECT_EQ(ParentOf(movedId), UnitNamed(top, "newdir"));
    EXPECT_EQ(UnitNamed(top, "docs"), docsId);
    // Added as an addition writes them: category by extension, a link's target.
    EXPECT_EQ(Number(QStringLiteral("SELECT CategoryID FROM Units WHERE UnitName = 'new.mp3'")),
              CategoryIds::Music);
    EXPECT_EQ(Text(QStringLiteral("SELECT UnitNotes FROM Units WHERE UnitName = 'link'")),
              QStringLiteral("-> a.txt"));
    EXPECT_EQ(UnitNamed(top, "old"), 0);
    EXPECT_EQ(UnitNamed(top, "g.txt"), 0);
    EXPECT_EQ(ParentOf(UnitNamed(top, "y.txt")), UnitNamed(top, "blob"));
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitName = 'thing' AND "
                                    "UnitType = 'F'")),
              1);

    // As the tree is now, and recorded once.
    const std::optional<CChangeList> again = Rescan(top, root);
    ASSERT_TRUE(again);
    EXPECT_EQ(Lines(*again), std::vector<std::string>());
    std::vector<UnitUpdateRecord> history;
    m_doc.Database().GetUnitUpdates(top, history);
    ASSERT_EQ(history.size(), 1u);
    EXPECT_EQ(history[0].Added, 8);
    EXPECT_EQ(history[0].Removed, 8);
    EXPECT_EQ(history[0].Changed, 2);
    EXPECT_EQ(history[0].Moved, 1);
    EXPECT_EQ(history[0].FilesBefore, 9);
    EXPECT_EQ(history[0].FilesAfter, 10);
    EXPECT_EQ(history[0].SizeAfter,
              Number(QStringLiteral("SELECT UnitSize FROM Units WHERE UnitID = %1").arg(top)));

    // One step of Undo takes all of it back, history included; Redo brings it again.
    const QString after = Text(kAllRows);
    EXPECT_EQ(m_doc.History().UndoDescription(), QStringLiteral("Update \"Tree\""));
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(Text(kAllRows), before);
    m_doc.Database().GetUnitUpdates(top, history);
    EXPECT_TRUE(history.empty());
    EXPECT_TRUE(Problems().empty());
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_EQ(Text(kAllRows), after);
    EXPECT_TRUE(Problems().empty());

    // Nothing changed: nothing written, no step, no history.
    const int steps = m_doc.History().StepCount();
    Update(top, root);
    EXPECT_EQ(m_doc.History().StepCount(), steps);
    m_doc.Database().GetUnitUpdates(top, history);
    EXPECT_EQ(history.size(), 1u);
}

TEST_F(UnitUpdateTest, DiscImagesBeforeAndAfter)
{
    for (const bool genisoimage : {false, true}) {
        const char* tool = genisoimage ? "genisoimage" : "xorriso";
        if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty()) {
            ADD_FAILURE() << tool << " is not installed";
            continue;
        }
        SCOPED_TRACE(tool);
        QTemporaryDir dir;
        const QString before = dir.filePath(QStringLiteral("before"));
        MakeFile(before + QStringLiteral("/Readme.TXT"), 11);
        MakeFile(before + QStringLiteral("/Photos/a.jpg"), 12);
        MakeFile(before + QStringLiteral("/Photos/gone.jpg"), 13);
        MakeFile(before + QStringLiteral("/grow.txt"), 5);
        const QString after = dir.filePath(QStringLiteral("after"));
        MakeFile(after + QStringLiteral("/README.txt"), 11);
        MakeFile(after + QStringLiteral("/photos/A.JPG"), 12);
        MakeFile(after + QStringLiteral("/grow.txt"), 9);
        MakeFile(after + QStringLiteral("/Music/new.mp3"), 900);
        const QString first = dir.filePath(QStringLiteral("first.iso"));
        const QString second = dir.filePath(QStringLiteral("second.iso"));
        ASSERT_TRUE(MakeImage(before, first, genisoimage));
        ASSERT_TRUE(MakeImage(after, second, genisoimage));

        const std::unique_ptr<FolderLister> lister = DiscImageLister::Open(first);
        ASSERT_TRUE(lister);
        const int top = Add(CAddLocationJob::Mode::Disc, first, lister.get());
        ASSERT_NE(top, 0);
        const int readme = UnitNamed(top, "Readme.TXT");

        const CChangeList changes = Update(top, second);
        EXPECT_EQ(changes.Summary(),
                  QStringLiteral("2 added (900 bytes), 1 removed (13 bytes), 1 changed"));
        EXPECT_TRUE(Problems().empty());
        // The medium ignores case: the same units, named as the disc names them now.
        EXPECT_EQ(UnitNamed(top, "README.txt"), readme);
        EXPECT_NE(UnitNamed(top, "A.JPG"), 0);
        const std::optional<CChangeList> again = Rescan(top, second);
        ASSERT_TRUE(again);
        EXPECT_FALSE(again->HasChanges()) << changes.Summary().toStdString();
    }
}

TEST_F(UnitUpdateTest, UnreadableFolderAndFileOnItsOwn)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Tree"));
    ASSERT_TRUE(QDir().mkpath(root));
    FakeFolderLister lister;
    lister.AddFolder(root, 1, {"bad/", "top.txt"});
    lister.AddFolder(root + QStringLiteral("/bad"), 2, {"k.txt", "x/"});
    lister.AddFolder(root + QStringLiteral("/bad/x"), 3, {"m.txt"});
    const int top = Add(CAddLocationJob::Mode::Folder, root, &lister);
    ASSERT_NE(top, 0);
    const QString before = Text(kAllRows);

    // The folder that cannot be read keeps what it held; nothing else changed.
    lister.FailFolder(root + QStringLiteral("/bad"), EACCES);
    const CChangeList changes = Update(top, root, &lister);
    EXPECT_EQ(changes.Summary(), QStringLiteral("1 unreadable"));
    EXPECT_EQ(Text(kAllRows), before);
    EXPECT_TRUE(Problems().empty());

    // A file added on its own grows: its size and its storage's follow.
    const QString path = dir.filePath(QStringLiteral("single.bin"));
    MakeFile(path, 100);
    const int file = Add(CAddLocationJob::Mode::File, path);
    ASSERT_NE(file, 0);
    MakeFile(path, 180, kThen + 60);
    EXPECT_EQ(Update(file, path).Summary(), QStringLiteral("1 changed"));
    EXPECT_EQ(Number(QStringLiteral("SELECT UnitSize FROM Units WHERE UnitID = %1").arg(file)),
              180);
    EXPECT_TRUE(Problems().empty());
}

TEST_F(UnitUpdateTest, AnotherDiscIsToldApart)
{
    if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    QTemporaryDir dir;
    MakeFile(dir.filePath(QStringLiteral("src/a.txt")), 3);
    const QString image = dir.filePath(QStringLiteral("a.iso"));
    ASSERT_TRUE(MakeImage(dir.filePath(QStringLiteral("src")), image));
    const std::unique_ptr<FolderLister> lister = DiscImageLister::Open(image);
    ASSERT_TRUE(lister);
    CAddLocationJob job(m_doc);
    job.SetFolderLister(lister.get());
    CAddLocationJob::Request request =
        AdditionRequest(CAddLocationJob::Mode::Disc, image, m_storage);
    request.discLabel = QStringLiteral("HOLIDAY");
    request.discSerial = 1234;
    ASSERT_EQ(RunAddition(job, request), WorkOutcome::Succeeded);
    const int top = static_cast<int>(
        Number(QStringLiteral("SELECT MAX(UnitID) FROM Units WHERE ParentUnitID IS NULL")));
    CSqliteWrapper& db = m_doc.Database();

    EXPECT_TRUE(CUnitUpdate::AnotherDiscQuestion(db, top, {"HOLIDAY", 1234, 5}, image).isEmpty());
    EXPECT_TRUE(CUnitUpdate::AnotherDiscQuestion(db, top, {}, image).isEmpty());
    const QString question = CUnitUpdate::AnotherDiscQuestion(db, top, {"WORK", 1234, 5}, image);
    EXPECT_TRUE(question.startsWith(QStringLiteral("This looks like another disc")))
        << question.toStdString();
    EXPECT_TRUE(question.contains(QStringLiteral("\"WORK\"")));
    EXPECT_FALSE(CUnitUpdate::AnotherDiscQuestion(db, top, {"HOLIDAY", 99, 5}, image).isEmpty());
}
