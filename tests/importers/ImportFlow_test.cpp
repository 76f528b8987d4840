// File > Import... in the window on a copy of the sample catalogue: the command in the
// File menu, the dialog's guess of the format and the storage's name, the import behind
// its progress window, and Undo and Redo of it as one step in the Edit menu.
#include "FakePrompter.h"
#include "TestCatalogue.h"
#include "app/ShelfwiseApp.h"
#include "document/ShelfwiseDoc.h"
#include "importers/ImportDlg.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"
#include "views/WindowStatus.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

QStringList StorageNames(const CShelfwiseDoc& doc)
{
    QStringList names;
    for (const StorageRecord& storage : doc.Storages())
        names << storage.StorageName;
    return names;
}

QStringList TreeTopNames(CNavigationView& tree)
{
    QStringList names;
    for (int i = 0; i < tree.topLevelItemCount(); ++i)
        names << tree.topLevelItem(i)->text(0);
    return names;
}

const char kEfu[] = "Filename,Size,Date Modified,Date Created,Attributes\r\n"
                    "\"F:\\Archive 2001\\scan, page 1.tif\",2048,126000000000000000,,32\r\n"
                    "\"F:\\Archive 2001\\empty\",0,,,16\r\n";

} // namespace

TEST(ImportFlow, ImportsAListFromTheFileMenuAndUndoesItAsOneStep)
{
    QTemporaryDir dir;
    FakePrompter prompter;
    prompter.SetDefaultYesNo(true);
    CShelfwiseApp app(&prompter);
    const QString path = CopySampleCatalogue(dir.filePath(QStringLiteral("sample.db3")));
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), path}));
    CMainFrame& frame = *app.MainFrame();
    CShelfwiseDoc& doc = *app.Document();

    // In the File menu, below Save As.
    QAction* import = frame.Commands().Get(CommandIds::Import);
    ASSERT_NE(import, nullptr);
    const QMenu* file = frame.menuBar()->actions().front()->menu();
    ASSERT_NE(file, nullptr);
    const QList<QAction*> entries = file->actions();
    const qsizetype at = entries.indexOf(import);
    ASSERT_GT(at, 1);
    EXPECT_EQ(entries[at - 2], frame.Commands().Get(CommandIds::FileSaveAs));

    const QString list = dir.filePath(QStringLiteral("Scans drive.efu"));
    {
        QFile out(list);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(kEfu);
    }
    CImportDlg dialog(&frame);
    dialog.SetListPath(list);
    EXPECT_EQ(dialog.FormatName(), QStringLiteral("efu"));
    EXPECT_EQ(dialog.StorageName(), QStringLiteral("Scans drive"));

    const QStringList before = StorageNames(doc);
    const QStringList treeBefore = TreeTopNames(frame.Navigation());
    ASSERT_TRUE(frame.ImportList(dialog.ListPath(), dialog.FormatName(), dialog.StorageName()));
    EXPECT_EQ(frame.Status().Message(), QStringLiteral("Imported 1 discs, 2 folders and 1 files"));
    EXPECT_EQ(StorageNames(doc), before + QStringList{QStringLiteral("Scans drive")});
    EXPECT_TRUE(TreeTopNames(frame.Navigation()).contains(QStringLiteral("Scans drive")));
    EXPECT_TRUE(doc.IsModified());

    QAction* undo = frame.Commands().Get(CommandIds::EditUndo);
    QAction* redo = frame.Commands().Get(CommandIds::EditRedo);
    if (CSqliteWrapper::CanRecordChanges()) {
        EXPECT_EQ(undo->text(), QStringLiteral("Undo Import \"Scans drive.efu\""));
        undo->trigger();
        EXPECT_EQ(StorageNames(doc), before);
        EXPECT_EQ(TreeTopNames(frame.Navigation()), treeBefore);
        redo->trigger();
        EXPECT_EQ(StorageNames(doc), before + QStringList{QStringLiteral("Scans drive")});
        EXPECT_TRUE(TreeTopNames(frame.Navigation()).contains(QStringLiteral("Scans drive")));
    }

    // A list that does not parse: a message naming its line, and nothing added.
    const QString broken = dir.filePath(QStringLiteral("broken.efu"));
    {
        QFile out(broken);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(QByteArray(kEfu) + "\"F:\\x\",many,,,32\r\n");
    }
    const QStringList afterImport = StorageNames(doc);
    const size_t shown = prompter.Messages().size();
    EXPECT_FALSE(frame.ImportList(broken, QStringLiteral("efu"), QStringLiteral("Broken")));
    ASSERT_EQ(prompter.Messages().size(), shown + 1);
    EXPECT_TRUE(prompter.Messages().back().Text.contains(QStringLiteral("line 4")))
        << prompter.Messages().back().Text.toStdString();
    EXPECT_EQ(StorageNames(doc), afterImport);
}

TEST(ImportFlow, TheDialogScreenshotShowsTheGuessedFormatAndTheStorageNamedAfterTheList)
{
    QTemporaryDir dir;
    FakePrompter prompter;
    const QString list = dir.filePath(QStringLiteral("Scans drive.efu"));
    {
        QFile out(list);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(kEfu);
    }
    CImportDlg dialog;
    dialog.SetListPath(list);
    EXPECT_EQ(dialog.FormatName(), QStringLiteral("efu"));
    EXPECT_EQ(dialog.StorageName(), QStringLiteral("Scans drive"));
    // A list of no known format: no format chosen, and OK waits for one.
    const QString text = dir.filePath(QStringLiteral("notes.txt"));
    {
        QFile out(text);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write("nothing to see\n");
    }
    dialog.SetListPath(text);
    EXPECT_EQ(dialog.FormatName(), QString());
    EXPECT_EQ(dialog.StorageName(), QStringLiteral("notes"));
    dialog.SetListPath(list);

    // As the help shows it, kept with the README's screenshots when
    // SHELFWISE_SCREENSHOT_DIR is set.
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    const QPixmap picture = dialog.grab();
    EXPECT_GT(picture.width(), 100);
    const QString screenshots = qEnvironmentVariable("SHELFWISE_SCREENSHOT_DIR");
    if (!screenshots.isEmpty()) {
        EXPECT_TRUE(picture.save(QDir(screenshots).filePath(QStringLiteral("import-dialog.png"))));
    }
    dialog.hide();
}
