// Undo and Redo in the window, and what the panes select around a delete: the Edit
// menu's texts, the keys, the panes after a step comes back, nothing selected after
// browsing into a folder, and the neighbour selected in the pane where Delete was
// pressed only.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "app/ShelfwiseApp.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/DetailsModel.h"
#include "views/DetailsView.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"
#include "views/TreeItems.h"
#include "views/WindowStatus.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr int kLivingRoom = 1;
constexpr int kHolidayFilms = 1; // a disc in the living room
constexpr int kMusic = 40;       // a disc of three folders, also in the living room
constexpr int kBjork = 49;       // the second of them

class UndoRedo : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!CSqliteWrapper::CanRecordChanges())
            GTEST_SKIP() << "this SQLite has no session extension";
        QFile::remove(SettingsFolder() + QStringLiteral("RecentFiles.ini"));
        m_path = CopySampleCatalogue(m_dir.filePath("sample.db3"));
        m_app = std::make_unique<CShelfwiseApp>(&m_prompter);
        ASSERT_TRUE(m_app->InitInstance({QStringLiteral("Shelfwise"), m_path}));
        Frame().activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&Frame()));
        m_prompter.SetDefaultYesNo(true);
    }

    CMainFrame& Frame() { return *m_app->MainFrame(); }
    CNavigationView& Tree() { return Frame().Navigation(); }
    CDetailsView& List() { return Frame().Details(); }
    CShelfwiseDoc& Doc() { return *m_app->Document(); }
    QAction* Action(int id) { return Frame().Commands().Get(id); }

    // The UnitIDs of the list's selected rows.
    std::vector<int> ListSelection()
    {
        std::vector<int> ids;
        QAbstractItemView* view = List().ActiveView();
        for (const QModelIndex& index : view->selectionModel()->selectedIndexes()) {
            if (index.column() == 0)
                ids.push_back(index.data(CDetailsModel::kUnitIdRole).toInt());
        }
        return ids;
    }

    QString Summary() { return Frame().Status().Summary(); }

    // What a double-click delivers: a click, a second press with the double-click
    // event, and its release.
    static void DoubleClick(QWidget& widget, QPoint at)
    {
        QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, at);
        QTest::mousePress(&widget, Qt::LeftButton, Qt::NoModifier, at);
        QTest::mouseDClick(&widget, Qt::LeftButton, Qt::NoModifier, at);
        QTest::mouseRelease(&widget, Qt::LeftButton, Qt::NoModifier, at);
        QApplication::processEvents();
    }

    void PressDelete(QWidget& pane)
    {
        pane.setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Delete);
    }

    QTemporaryDir m_dir;
    QString m_path;
    FakePrompter m_prompter;
    std::unique_ptr<CShelfwiseApp> m_app;
};

} // namespace

TEST_F(UndoRedo, TheMenuSaysWhatComesBackAndThePanesShowIt)
{
    QAction* undo = Action(CommandIds::EditUndo);
    QAction* redo = Action(CommandIds::EditRedo);
    EXPECT_EQ(undo->text(), QStringLiteral("Undo"));
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_EQ(redo->text(), QStringLiteral("Redo"));
    EXPECT_FALSE(redo->isEnabled());

    // A disc deleted in the tree, its storage collapsed afterwards; Ctrl+Z brings it
    // back under its storage, expanded, and selects it in the list.
    QTreeWidgetItem* living = Tree().FindRootItem(kLivingRoom);
    Tree().setCurrentItem(ExpandedChild(living, kHolidayFilms));
    PressDelete(Tree());
    EXPECT_EQ(Frame().Status().Message(), QStringLiteral("Deleted \"Holiday Films 2019\""));
    // The pointer passing over a menu's entries (which have no status tips) leaves it.
    Action(CommandIds::Properties)->showStatusText(&Frame());
    EXPECT_EQ(Frame().Status().Message(), QStringLiteral("Deleted \"Holiday Films 2019\""));
    EXPECT_EQ(undo->text(), QStringLiteral("Undo Delete \"Holiday Films 2019\""));
    living->setExpanded(false);
    QTest::keyClick(&Frame(), Qt::Key_Z, Qt::ControlModifier);
    living = Tree().FindRootItem(kLivingRoom);
    EXPECT_TRUE(living->isExpanded());
    EXPECT_NE(ExpandedChild(living, kHolidayFilms), nullptr);
    EXPECT_EQ(Tree().currentItem(), living);
    EXPECT_EQ(ListSelection(), std::vector<int>{kHolidayFilms});
    EXPECT_EQ(Frame().Status().Message(), QStringLiteral("Undone: Delete \"Holiday Films 2019\""));
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_EQ(redo->text(), QStringLiteral("Redo Delete \"Holiday Films 2019\""));

    // Deleted from the list with its storage selected: the storage's counts follow, back
    // and forth with Ctrl+Z, Ctrl+Y and Ctrl+Shift+Z.
    PressDelete(*List().ActiveView());
    EXPECT_TRUE(Summary().startsWith(QStringLiteral("2 discs,")));
    QTest::keyClick(&Frame(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(Summary().startsWith(QStringLiteral("3 discs,")));
    QTest::keyClick(&Frame(), Qt::Key_Y, Qt::ControlModifier);
    EXPECT_TRUE(Summary().startsWith(QStringLiteral("2 discs,")));
    QTest::keyClick(&Frame(), Qt::Key_Z, Qt::ControlModifier);
    QTest::keyClick(&Frame(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(ExpandedChild(Tree().FindRootItem(kLivingRoom), kHolidayFilms), nullptr);

    // A storage added and taken back while selected; an ampersand stays one in the menu.
    const int shed = Doc().AddStorage(QStringLiteral("Shed & garage"), QString());
    Tree().setCurrentItem(Tree().InsertNewStorage(shed, QStringLiteral("Shed & garage")));
    EXPECT_EQ(undo->text(), QStringLiteral("Undo Add Storage \"Shed && garage\""));
    undo->trigger();
    EXPECT_EQ(Tree().FindRootItem(shed), nullptr);
    EXPECT_TRUE(Doc().Selection().IsNone());
    EXPECT_EQ(List().Model().rowCount(), 0);
    redo->trigger();
    EXPECT_EQ(Tree().currentItem(), Tree().FindRootItem(shed));

    // Opening a catalogue ends the history.
    ASSERT_TRUE(Frame().OpenCatalogue(m_path));
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_EQ(redo->text(), QStringLiteral("Redo"));
}

TEST_F(UndoRedo, BrowsingSelectsNothingAndADeleteSelectsOnlyInItsOwnPane)
{
    Tree().setCurrentItem(Tree().FindRootItem(kLivingRoom));
    List().SelectRowByUnitId(kMusic);
    QApplication::processEvents(); // the list lays its items out when it next can
    const QPoint music =
        List().ActiveView()->visualRect(List().ActiveView()->currentIndex()).center();

    // Double-clicked: the disc's folders are listed, none of them chosen, and Delete
    // has nothing to delete.
    DoubleClick(*List().ActiveView()->viewport(), music);
    ASSERT_EQ(Doc().Selection(), Selection::OfUnit(kMusic));
    ASSERT_EQ(List().Model().rowCount(), 3);
    EXPECT_EQ(ListSelection(), std::vector<int>());
    const size_t asked = m_prompter.Questions().size();
    PressDelete(*List().ActiveView());
    EXPECT_EQ(m_prompter.Questions().size(), asked);

    // Deleted in the list: the row after it is selected there; the tree keeps its
    // selection and only loses the folder.
    List().SelectRowByUnitId(kBjork);
    QTreeWidgetItem* disc = Tree().currentItem();
    PressDelete(*List().ActiveView());
    EXPECT_EQ(Frame().Status().Message(), QStringLiteral("Deleted \"Björk\""));
    ASSERT_EQ(List().Model().rowCount(), 2);
    EXPECT_EQ(ListSelection(), std::vector<int>{List().Model().Rows().at(1).UnitID});
    EXPECT_EQ(Tree().selectedItems(), QList<QTreeWidgetItem*>{disc});
    EXPECT_EQ(ExpandedChild(disc, kBjork), nullptr);

    // Deleted in the tree: its neighbour there is selected, and the list shows that
    // one's contents with nothing chosen.
    Tree().setCurrentItem(disc->child(0));
    QTreeWidgetItem* next = disc->child(1);
    PressDelete(Tree());
    EXPECT_EQ(Tree().selectedItems(), QList<QTreeWidgetItem*>{next});
    EXPECT_EQ(Doc().Selection(), Selection::OfUnit(CNavigationView::ItemId(next)));
    EXPECT_EQ(ListSelection(), std::vector<int>());
}
