// The desktop program on the offscreen platform: start-up paths, the lazily filled
// tree, the list following the tree's selection, sorting, Back and Forward, the status
// bar's counts, what an addition selects, what the window keeps from one run to the
// next, and closing with unsaved changes.
#include "FakeDriveSystem.h"
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "app/ShelfwiseApp.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"
#include "views/BrowseHistory.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/DetailsHeader.h"
#include "views/DetailsModel.h"
#include "views/DetailsView.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"
#include "views/WindowStatus.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QSplitter>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>
#include <QTreeView>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {

class MainWindow : public ::testing::Test
{
protected:
    void SetUp() override { QFile::remove(SettingsFolder() + QStringLiteral("RecentFiles.ini")); }

    // A copy of the sample catalogue the test may change.
    QString Sample() { return CopySampleCatalogue(m_dir.filePath("sample.db3")); }

    static QString ReadSettingsFile()
    {
        QFile file(SettingsFolder() + QStringLiteral("Shelfwise.ini"));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    QTemporaryDir m_dir;
    FakePrompter m_prompter;
};

} // namespace

TEST_F(MainWindow, AFirstStartOffersTheSample)
{
    m_prompter.QueueYesNo(true);
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise")}));
    ASSERT_EQ(m_prompter.Questions().size(), 1u);
    EXPECT_TRUE(app.MainFrame()->isMaximized() || app.MainFrame()->isVisible());
    EXPECT_TRUE(app.Document()->CataloguePath().endsWith(QStringLiteral("test.db3")));
    const CNavigationView& tree = app.MainFrame()->Navigation();
    EXPECT_GT(tree.topLevelItemCount(), 0);
    EXPECT_EQ(app.MainFrame()->RecentFiles().value(0), app.Document()->CataloguePath());
    // With a settings folder of its own, the list is kept in it too.
    EXPECT_TRUE(QFile(SettingsFolder() + QStringLiteral("RecentFiles.ini")).size() > 0);
}

TEST_F(MainWindow, ACatalogueThatCannotBeOpenedLeavesAUsableNewOne)
{
    const QString missing = m_dir.filePath(QStringLiteral("gone.db3"));
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), missing}));
    ASSERT_FALSE(m_prompter.Messages().empty());
    EXPECT_TRUE(app.Document()->IsLoaded());
    EXPECT_TRUE(app.Document()->CataloguePath().isEmpty());
    EXPECT_EQ(app.MainFrame()->Navigation().topLevelItemCount(), 0);
    EXPECT_FALSE(app.MainFrame()->RecentFiles().contains(missing));

    // With a catalogue open and changed, a file that is no catalogue leaves it as it is.
    const QString sample = Sample();
    ASSERT_TRUE(app.MainFrame()->OpenCatalogue(sample));
    const int storages = app.MainFrame()->Navigation().topLevelItemCount();
    app.Document()->AddStorage(QStringLiteral("Unsaved"), QString());
    const QString notes = m_dir.filePath(QStringLiteral("notes.db3"));
    QFile file(notes);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not a catalogue\n");
    file.close();
    EXPECT_FALSE(app.MainFrame()->OpenCatalogue(notes));
    EXPECT_TRUE(m_prompter.LastMessage().contains(notes));
    EXPECT_EQ(app.Document()->CataloguePath(), sample);
    EXPECT_TRUE(app.Document()->IsModified());
    EXPECT_EQ(app.Document()->Storages().size(), static_cast<size_t>(storages) + 1);
    EXPECT_EQ(app.MainFrame()->Navigation().topLevelItemCount(), storages);
    EXPECT_EQ(app.MainFrame()->RecentFiles().value(0), sample);
}

TEST_F(MainWindow, TheTreeFillsLazilyAndTheListFollowsTheSelection)
{
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), Sample()}));
    CNavigationView& tree = app.MainFrame()->Navigation();
    CDetailsView& list = app.MainFrame()->Details();
    ASSERT_GT(tree.topLevelItemCount(), 0);

    // A storage with discs shows one empty placeholder until it is expanded.
    QTreeWidgetItem* storage = nullptr;
    for (int i = 0; i < tree.topLevelItemCount() && !storage; ++i) {
        if (tree.topLevelItem(i)->childCount() > 0)
            storage = tree.topLevelItem(i);
    }
    ASSERT_NE(storage, nullptr);
    ASSERT_EQ(storage->childCount(), 1);
    EXPECT_TRUE(storage->child(0)->text(0).isEmpty());
    storage->setExpanded(true);
    ASSERT_GT(storage->childCount(), 0);
    EXPECT_FALSE(storage->child(0)->text(0).isEmpty());

    // Made current the way the view does by itself when it fills (no selection asked
    // for): the item the list shows is highlighted all the same.
    tree.setCurrentItem(storage, 0, QItemSelectionModel::NoUpdate);
    EXPECT_TRUE(storage->isSelected());
    EXPECT_EQ(app.Document()->Selection(), Selection::OfStorage(CNavigationView::ItemId(storage)));
    const auto& rows = list.Model().Rows();
    ASSERT_FALSE(rows.empty());
    // The list shows files as well; the tree only discs and folders.
    int shownInTree = 0;
    for (const UnitListItem& row : rows)
        shownInTree += row.Kind == UnitKind::File ? 0 : 1;
    EXPECT_EQ(storage->childCount(), shownInTree);

    // Activating a disc or folder in the list browses into it in the tree.
    const int child = CNavigationView::ItemId(storage->child(0));
    list.SelectRowByUnitId(child);
    emit list.ActiveView()->activated(list.ActiveView()->currentIndex());
    EXPECT_EQ(CNavigationView::ItemId(tree.currentItem()), child);
    EXPECT_EQ(app.Document()->Selection(), Selection::OfUnit(child));

    // Move up goes back to the storage.
    tree.MoveUp();
    EXPECT_EQ(tree.currentItem(), storage);
}

TEST_F(MainWindow, DetailsModeSortsByAClickedColumnWithFoldersFirst)
{
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), Sample()}));
    CNavigationView& tree = app.MainFrame()->Navigation();
    // The car holds a disc and two files; the disc is the smallest, and sorts between
    // them by name.
    tree.setCurrentItem(tree.FindRootItem(3));
    CDetailsView& list = app.MainFrame()->Details();
    list.SetMode(CDetailsView::Mode::Details);
    QApplication::processEvents();
    auto* table = qobject_cast<QTreeView*>(list.ActiveView());
    ASSERT_NE(table, nullptr);
    QHeaderView* header = table->header();
    auto click = [&](int column) {
        const int x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
        QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier,
                          QPoint(x, header->height() / 2));
    };
    // The shown rows as "kind name" texts, and whether no disc or folder follows a file.
    auto shown = [&] {
        QStringList rows;
        for (int r = 0; r < table->model()->rowCount(); ++r) {
            const QModelIndex index = table->model()->index(r, 0);
            rows << QString::number(index.data(CDetailsModel::kKindRole).toInt()) +
                        QLatin1Char(' ') + index.data().toString();
        }
        return rows;
    };
    const QString disc = QStringLiteral("1 Road Trip Mix");
    const QString atlas = QStringLiteral("3 Road atlas Europe 2020.pdf"); // 84 MB
    const QString dashcam = QStringLiteral("3 Dashcam 2021-07-14.mp4");   // 4.5 GB

    // A first click sorts from the smallest, a second the other way; the disc stays first.
    click(CDetailsModel::Name);
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::AscendingOrder);
    EXPECT_EQ(shown(), (QStringList{disc, dashcam, atlas}));
    click(CDetailsModel::Name);
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::DescendingOrder);
    EXPECT_EQ(shown(), (QStringList{disc, atlas, dashcam}));
    // Another column starts from the smallest again, whatever the last one did.
    click(CDetailsModel::Size);
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::AscendingOrder);
    EXPECT_EQ(shown(), (QStringList{disc, atlas, dashcam}));
    click(CDetailsModel::Size);
    EXPECT_EQ(shown(), (QStringList{disc, dashcam, atlas}));
    click(CDetailsModel::Modified); // oldest first
    EXPECT_EQ(shown(), (QStringList{disc, atlas, dashcam}));

    // The arrow of an ascending column points up: the header knows which styles draw
    // Qt's ascending arrow the other way (Fusion does on Linux; Qt's plain Windows style
    // never does).
    auto* details = qobject_cast<CDetailsHeader*>(header);
    ASSERT_NE(details, nullptr);
    for (const char* name : {"Fusion", "Windows"}) {
        header->setStyle(QStyleFactory::create(QLatin1String(name)));
#ifdef Q_OS_LINUX
        const bool fusionTurnsRound = true;
#else
        const bool fusionTurnsRound = false;
#endif
        EXPECT_EQ(details->AscendingArrowPointsUp(),
                  !(fusionTurnsRound && QLatin1String(name) == QLatin1String("Fusion")))
            << name;
    }
}

TEST_F(MainWindow, TheViewSortSplitterAndWindowAreAsTheLastRunLeftThem)
{
    const QString path = Sample();
    {
        CShelfwiseApp first(&m_prompter);
        ASSERT_TRUE(first.InitInstance({QStringLiteral("Shelfwise"), path}));
        CMainFrame& frame = *first.MainFrame();
        // Maximised the first time.
        EXPECT_TRUE(frame.isMaximized());
        frame.Commands().Get(CommandIds::ViewDetails)->trigger();
        frame.Details().SetSort(CDetailsModel::Size, Qt::DescendingOrder);
        frame.showNormal();
        frame.setGeometry(40, 50, 820, 540);
        frame.findChild<QSplitter*>()->setSizes({230, 590});
        ASSERT_TRUE(frame.close());
    }
    EXPECT_NE(ReadSettingsFile().indexOf(QStringLiteral("SplitterPosition = 230")), -1);
    {
        CShelfwiseApp second(&m_prompter);
        ASSERT_TRUE(second.InitInstance({QStringLiteral("Shelfwise"), path}));
        CMainFrame& frame = *second.MainFrame();
        EXPECT_EQ(frame.Details().CurrentMode(), CDetailsView::Mode::Details);
        EXPECT_TRUE(frame.Commands().Get(CommandIds::ViewDetails)->isChecked());
        EXPECT_FALSE(frame.Commands().Get(CommandIds::ViewIcons)->isChecked());
        EXPECT_EQ(frame.Details().SortColumn(), CDetailsModel::Size);
        EXPECT_EQ(frame.Details().SortOrder(), Qt::DescendingOrder);
        EXPECT_FALSE(frame.isMaximized());
        EXPECT_EQ(frame.size(), QSize(820, 540));
        EXPECT_EQ(frame.findChild<QSplitter*>()->sizes().value(0), 230);
        // Left maximised, in icons mode, without a sort.
        frame.Commands().Get(CommandIds::ViewIcons)->trigger();
        frame.Details().SetSort(-1, Qt::AscendingOrder);
        frame.showMaximized();
        ASSERT_TRUE(frame.close());
    }
    CShelfwiseApp third(&m_prompter);
    ASSERT_TRUE(third.InitInstance({QStringLiteral("Shelfwise"), path}));
    EXPECT_TRUE(third.MainFrame()->isMaximized());
    EXPECT_EQ(third.MainFrame()->Details().CurrentMode(), CDetailsView::Mode::Icons);
    EXPECT_EQ(third.MainFrame()->Details().SortColumn(), -1);
    third.MainFrame()->showNormal();
    EXPECT_EQ(third.MainFrame()->size(), QSize(820, 540));
    Settings::Instance().SplitterPosition = 200;
}

TEST_F(MainWindow, TheStatusBarCountsTheSelectionInWords)
{
    EXPECT_EQ(CWindowStatus::SummaryText(0, 0, 0, 0), QStringLiteral("Empty"));
    EXPECT_EQ(CWindowStatus::SummaryText(1, 0, 1, 700),
              QStringLiteral("1 disc, 1 file, 700 bytes"));
    EXPECT_EQ(CWindowStatus::SummaryText(3, 120, 1, 26790000000LL),
              QStringLiteral("3 discs, 120 folders, 1 file, 24.95 GB"));
    EXPECT_EQ(CWindowStatus::SummaryText(0, 1, 2, 2048),
              QStringLiteral("1 folder, 2 files, 2.00 KB"));
    EXPECT_EQ(CWindowStatus::SummaryText(0, 0, 5, 0), QStringLiteral("5 files, 0 bytes"));

    // What the window shows for a storage, a folder and an empty storage.
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), Sample()}));
    CNavigationView& tree = app.MainFrame()->Navigation();
    tree.setCurrentItem(tree.FindRootItem(1));
    EXPECT_EQ(app.MainFrame()->Status().Summary(),
              QStringLiteral("3 discs, 17 folders, 24 files, 24.95 GB"));
    tree.setCurrentItem(tree.FindRootItem(3));
    EXPECT_EQ(app.MainFrame()->Status().Summary(),
              QStringLiteral("1 disc, 1 folder, 8 files, 4.61 GB"));
    tree.setCurrentItem(tree.FindRootItem(4));
    EXPECT_EQ(app.MainFrame()->Status().Summary(), QStringLiteral("Empty"));
}

TEST_F(MainWindow, BackAndForwardGoThroughTheTreesSelectionsAndPassOverWhatIsGone)
{
    const QString path = Sample();
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), path}));
    CMainFrame& frame = *app.MainFrame();
    frame.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
    CNavigationView& tree = frame.Navigation();
    QAction* back = frame.Commands().Get(CommandIds::GoBack);
    QAction* forward = frame.Commands().Get(CommandIds::GoForward);
    auto selected = [&] { return CNavigationView::PathOf(tree.currentItem()); };
    auto key = [&](Qt::Key k, Qt::KeyboardModifiers modifiers) {
        QTest::keyClick(QApplication::focusWidget(), k, modifiers);
    };
    constexpr int kLiving = 1, kAttic = 2, kHoliday = 1, kBlade = 20, kBackup = 70;

    tree.setFocus();
    tree.SelectPath({kLiving});
    tree.SelectPath({kLiving, kHoliday});
    tree.SelectPath({kAttic, kBackup});
    tree.SelectPath({kLiving, kBlade});
    EXPECT_FALSE(forward->isEnabled());
    key(Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(selected(), (std::vector<int>{kAttic, kBackup}));
    // The mouse's back button anywhere in the window.
    QTest::mouseClick(frame.Details().ActiveView()->viewport(), Qt::BackButton);
    EXPECT_EQ(selected(), (std::vector<int>{kLiving, kHoliday}));
    key(Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(selected(), (std::vector<int>{kAttic, kBackup}));
    QTest::mouseClick(tree.viewport(), Qt::ForwardButton);
    EXPECT_EQ(selected(), (std::vector<int>{kLiving, kBlade}));
    EXPECT_FALSE(forward->isEnabled());

    // Move up on Backspace and Alt+Up; a new selection after going back drops what lay
    // ahead.
    key(Qt::Key_Backspace, Qt::NoModifier);
    EXPECT_EQ(selected(), (std::vector<int>{kLiving}));
    tree.SelectPath({kAttic, kBackup});
    key(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(selected(), (std::vector<int>{kAttic}));
    back->trigger();
    back->trigger();
    EXPECT_EQ(selected(), (std::vector<int>{kLiving}));
    tree.SelectPath({kLiving, kHoliday});
    EXPECT_FALSE(forward->isEnabled());

    // A disc deleted meanwhile is passed over, both ways.
    tree.SelectPath({kAttic});
    m_prompter.QueueYesNo(true);
    ASSERT_TRUE(
        app.Document()->DeleteItem(nullptr, QStringLiteral("Holiday Films 2019"), kHoliday, false));
    back->trigger();
    EXPECT_EQ(selected(), (std::vector<int>{kLiving}));
    forward->trigger();
    EXPECT_EQ(selected(), (std::vector<int>{kAttic}));

    // Another catalogue starts afresh.
    ASSERT_TRUE(frame.OpenCatalogue(Sample()));
    EXPECT_FALSE(back->isEnabled());
    EXPECT_FALSE(forward->isEnabled());
}

TEST_F(MainWindow, ClosingWithChangesAsksAndAutosaveFollowsTheSetting)
{
    const QString path = Sample();
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), path}));
    ASSERT_NE(app.Document()->AddStorage(QStringLiteral("Attic"), QString()), 0);
    EXPECT_TRUE(app.MainFrame()->isWindowModified());

    // A catalogue chosen (File Open, or handed over by a later start): the one already
    // open is left alone; another asks first, and Cancel keeps everything.
    app.MainFrame()->OpenChosen(path);
    EXPECT_TRUE(m_prompter.Questions().empty());
    const QString other = m_dir.filePath(QStringLiteral("other.db3"));
    ASSERT_TRUE(QFile::copy(path, other));
    m_prompter.QueueAnswer(UserPrompter::Answer::Cancel);
    app.MainFrame()->OpenChosen(other);
    EXPECT_EQ(m_prompter.Questions().size(), 1u);
    EXPECT_EQ(app.Document()->CataloguePath(), path);
    EXPECT_TRUE(app.Document()->IsModified());
    m_prompter.ClearRecords();

    // No discards the changes, and the window closes.
    m_prompter.QueueYesNo(false);
    EXPECT_TRUE(app.MainFrame()->close());
    EXPECT_EQ(m_prompter.Questions().size(), 1u);

    // Autosave follows the setting at once.
    Settings::Instance().AutosaveTimeout = 5;
    app.MainFrame()->RestartAutosave();
    EXPECT_TRUE(app.MainFrame()->AutosaveRunning());
    EXPECT_EQ(app.MainFrame()->AutosaveInterval(), 300000);
    Settings::Instance().AutosaveTimeout = 0;
    app.MainFrame()->RestartAutosave();
    EXPECT_FALSE(app.MainFrame()->AutosaveRunning());
}

TEST_F(MainWindow, AFileInTheListChangesCategoryAloneOrWithItsExtension)
{
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), Sample()}));
    CSqliteWrapper& db = app.Document()->Database();
    std::vector<int> files;
    db.QueryRows(QStringLiteral("SELECT UnitID FROM Units WHERE UnitType = 'F' AND UnitName "
                                "LIKE '%.mp3' AND ParentUnitID IS NOT NULL"),
                 files, &RowMappers::Ids);
    ASSERT_GE(files.size(), 2u);
    const int file = files.front();
    std::vector<int> path = db.GetAncestorIds(file);
    path.push_back(db.GetUnitStorageId(file));
    std::reverse(path.begin(), path.end());
    app.MainFrame()->Navigation().SelectPath(path);
    CDetailsView& list = app.MainFrame()->Details();
    list.SelectRowByUnitId(file);
    ASSERT_EQ(list.SelectedUnitId(), file);

    auto category = [&](int id) { return db.GetUnit(id).CategoryID; };
    const int others = category(files.back());
    // The question closed without an answer changes nothing.
    m_prompter.QueueAnswer(UserPrompter::Answer::Cancel);
    list.ChangeCategory(CategoryIds::Picture);
    EXPECT_EQ(category(file), others);
    EXPECT_FALSE(app.Document()->IsModified());
    m_prompter.QueueYesNo(false); // only this file
    list.ChangeCategory(CategoryIds::Picture);
    EXPECT_EQ(category(file), CategoryIds::Picture);
    EXPECT_EQ(category(files.back()), others);

    list.SelectRowByUnitId(file);
    m_prompter.QueueYesNo(true); // every .mp3 file
    list.ChangeCategory(CategoryIds::Film);
    for (int id : files)
        EXPECT_EQ(category(id), CategoryIds::Film);
    EXPECT_TRUE(app.Document()->IsModified());
}

TEST_F(MainWindow, EveryWidgetAKeyboardReachesHasAnAccessibleName)
{
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), Sample()}));
    CMainFrame& frame = *app.MainFrame();
    for (CDetailsView::Mode mode : {CDetailsView::Mode::Icons, CDetailsView::Mode::Details}) {
        frame.Details().SetMode(mode);
        for (const QWidget* widget : frame.findChildren<QWidget*>()) {
            if (widget->isVisibleTo(&frame) && (widget->focusPolicy() & Qt::TabFocus)) {
                EXPECT_FALSE(widget->accessibleName().isEmpty())
                    << widget->metaObject()->className() << " "
                    << widget->objectName().toStdString();
            }
        }
    }
    // Toolbar buttons are named by their actions' texts.
    for (const QAction* action : frame.findChild<QToolBar*>()->actions())
        EXPECT_FALSE(action->text().isEmpty());
}

TEST_F(MainWindow, RecentCataloguesOpenAtStartAndAGoneOneIsDroppedAndReported)
{
    const QString path = Sample();
    {
        CShelfwiseApp first(&m_prompter);
        ASSERT_TRUE(first.InitInstance({QStringLiteral("Shelfwise"), path}));
    }
    // No file on the line: the most recent catalogue opens, without the sample question.
    {
        CShelfwiseApp again(&m_prompter);
        ASSERT_TRUE(again.InitInstance({QStringLiteral("Shelfwise")}));
        EXPECT_EQ(again.Document()->CataloguePath(), path);
        EXPECT_TRUE(m_prompter.Questions().empty());
    }
    // The file went away meanwhile: a message, a new catalogue, and the entry is gone.
    ASSERT_TRUE(QFile::remove(path));
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise")}));
    EXPECT_FALSE(m_prompter.Messages().empty());
    EXPECT_TRUE(app.Document()->IsLoaded());
    EXPECT_TRUE(app.Document()->CataloguePath().isEmpty());
    EXPECT_FALSE(app.MainFrame()->RecentFiles().contains(path));
}

TEST_F(MainWindow, ASaveThatCannotWriteSaysSoAndKeepsTheChanges)
{
    QDir(m_dir.path()).mkdir(QStringLiteral("shelf"));
    const QString path = m_dir.filePath(QStringLiteral("shelf/catalogue.db3"));
    ASSERT_TRUE(QFile::copy(Sample(), path));
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), path}));
    ASSERT_NE(app.Document()->AddStorage(QStringLiteral("Garden shed"), QString()), 0);

    // The catalogue's folder is removed from under the program.
    ASSERT_TRUE(QDir(m_dir.filePath(QStringLiteral("shelf"))).removeRecursively());
    EXPECT_FALSE(app.MainFrame()->Save());
    ASSERT_FALSE(m_prompter.Messages().empty());
    EXPECT_TRUE(m_prompter.LastMessage().contains(QStringLiteral("catalogue.db3")));
    EXPECT_TRUE(app.Document()->IsModified());
    EXPECT_TRUE(app.MainFrame()->isWindowModified());
    // The storage is still there to be saved elsewhere.
    const auto& storages = app.Document()->Storages();
    EXPECT_TRUE(std::any_of(storages.begin(), storages.end(), [](const StorageRecord& s) {
        return s.StorageName == QStringLiteral("Garden shed");
    }));
}

TEST_F(MainWindow, FileSaveAsksForANameOnlyWhileTheCatalogueHasNoFile)
{
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), Sample()}));
    CMainFrame& frame = *app.MainFrame();
    ASSERT_TRUE(frame.NewCatalogue());
    ASSERT_NE(app.Document()->AddStorage(QStringLiteral("Loft"), QString()), 0);
    EXPECT_TRUE(frame.windowTitle().startsWith(QStringLiteral("Untitled[*]")));

    // Cancelled, then a file that cannot be written: still untitled, asked each time.
    m_prompter.ClearRecords();
    EXPECT_FALSE(frame.Save());
    const QString blocked = m_dir.filePath(QStringLiteral("sample.db3/inside.db3"));
    m_prompter.QueuePath(blocked);
    EXPECT_FALSE(frame.Save());
    EXPECT_EQ(m_prompter.PathRequests().size(), 2u);
    EXPECT_TRUE(frame.windowTitle().startsWith(QStringLiteral("Untitled[*]")));
    m_prompter.QueueAnswer(UserPrompter::Answer::Cancel);
    EXPECT_FALSE(frame.MaybeSave());
    EXPECT_EQ(m_prompter.Questions().back().Text, QStringLiteral("Save changes to Untitled?"));

    // Named once, saved there from then on without asking.
    const QString named = m_dir.filePath(QStringLiteral("loft.db3"));
    m_prompter.QueuePath(named);
    EXPECT_TRUE(frame.Save());
    EXPECT_EQ(app.Document()->CataloguePath(), named);
    EXPECT_TRUE(frame.windowTitle().startsWith(QStringLiteral("loft.db3[*]")));
    ASSERT_NE(app.Document()->AddStorage(QStringLiteral("Cellar"), QString()), 0);
    EXPECT_TRUE(frame.Save());
    EXPECT_EQ(m_prompter.PathRequests().size(), 3u);
    EXPECT_FALSE(app.Document()->IsModified());
    EXPECT_EQ(QueryText(named, QStringLiteral("SELECT COUNT(*) FROM Storages")),
              QStringLiteral("2"));
}

TEST_F(MainWindow, AboutNamesTheVersionTheMakerAndLinksItsPage)
{
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), Sample()}));
    QString text;
    bool linksOpen = false;
    QTimer::singleShot(0, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        text = box->text();
        for (const QLabel* label : box->findChildren<QLabel*>())
            linksOpen = linksOpen || (label->text() == text && label->openExternalLinks());
        box->accept();
    });
    app.MainFrame()->Commands().Get(CommandIds::AppAbout)->trigger();
    EXPECT_TRUE(text.contains(QStringLiteral("Shelfwise version 1.5.0.1"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("Korvalt")));
    EXPECT_TRUE(text.contains(QStringLiteral("<a href=\"https://korvalt.org/shelfwise\">")));
    EXPECT_TRUE(linksOpen);
}

TEST_F(MainWindow, AnAdditionIsSelectedAndScrolledIntoView)
{
    CShelfwiseApp app(&m_prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), Sample()}));
    CMainFrame& frame = *app.MainFrame();
    CNavigationView& tree = frame.Navigation();
    frame.SetDriveSystem(std::make_shared<FakeDriveSystem>());
    QDir(m_dir.path()).mkpath(QStringLiteral("Camera/2012"));
    QFile(m_dir.filePath(QStringLiteral("Camera/2012/beach.jpg"))).open(QIODevice::WriteOnly);
    QFile(m_dir.filePath(QStringLiteral("map.pdf"))).open(QIODevice::WriteOnly);
    // Runs an Add command; its dialog is given path and OK.
    auto add = [&](int command, const QString& path) {
        QTimer::singleShot(0, [path] {
            if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                dialog->findChild<QLineEdit*>(QStringLiteral("pathEdit"))->setText(path);
                dialog->accept();
            }
        });
        frame.Commands().Get(command)->trigger();
    };
    auto inSight = [](QAbstractItemView& view, const QRect& rect) {
        return view.viewport()->rect().intersects(rect);
    };
    // A short tree with the storages above the car's expanded: the car is out of sight.
    constexpr int kCar = 3;
    frame.resize(900, 600);
    tree.setFixedHeight(90);
    for (int storage : {1, 2})
        tree.FindRootItem(storage)->setExpanded(true);
    tree.setCurrentItem(tree.FindRootItem(kCar));
    tree.scrollToTop();

    // A folder: selected in the tree below its storage, which opens; the list shows it.
    add(CommandIds::AddFolder, m_dir.filePath(QStringLiteral("Camera")));
    const int folder = app.Document()->LastAddedUnitId();
    ASSERT_EQ(app.Document()->LastAddedStorageId(), kCar);
    QTreeWidgetItem* added = tree.currentItem();
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(CNavigationView::ItemId(added), folder);
    EXPECT_EQ(added->parent(), tree.FindRootItem(kCar));
    EXPECT_TRUE(inSight(tree, tree.visualItemRect(added)));
    EXPECT_EQ(app.Document()->Selection(), Selection::OfUnit(folder));
    EXPECT_EQ(frame.Details().Model().rowCount(), 1); // the folder 2012

    // A file: its storage selected in the tree, the file in the list.
    add(CommandIds::AddFile, m_dir.filePath(QStringLiteral("map.pdf")));
    const int file = app.Document()->LastAddedUnitId();
    EXPECT_EQ(tree.currentItem(), tree.FindRootItem(kCar));
    EXPECT_EQ(frame.Details().SelectedUnitId(), file);
    QAbstractItemView& shown = *frame.Details().ActiveView();
    EXPECT_TRUE(inSight(shown, shown.visualRect(shown.currentIndex())));
}
