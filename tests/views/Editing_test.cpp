// Editing in the window: renaming and deleting from the tree, the list and the
// properties, the context menus (their greyed entries, and which menu a right-click
// gives), moving a disc to another storage by drag and drop, the Details mode's dates,
// and saving by the autosave timer and after each update.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "app/ShelfwiseApp.h"
#include "common/Strings.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/SqlText.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/DetailsModel.h"
#include "views/DetailsView.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"
#include "views/PropertiesDlg.h"
#include "views/TreeItems.h"
#include "views/UnitDrag.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest/QTest>

#include <ostream>

// Readable failures: GoogleTest prints a QString as its text.
static void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

#include <gtest/gtest.h>

#include <memory>

namespace {

// Units of the sample catalogue.
constexpr int kLivingRoom = 1;
constexpr int kAttic = 2;
constexpr int kHolidayFilms = 1; // a disc in the living room
constexpr int kBackup2008 = 70;  // a disc in the attic
constexpr int kScans = 110;      // a folder lying directly in the attic

class Editing : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QFile::remove(SettingsFolder() + QStringLiteral("RecentFiles.ini"));
        m_path = CopySampleCatalogue(m_dir.filePath("sample.db3"));
        m_app = std::make_unique<CShelfwiseApp>(&m_prompter);
        ASSERT_TRUE(m_app->InitInstance({QStringLiteral("Shelfwise"), m_path}));
    }

    void TearDown() override
    {
        Settings::Instance().AutosaveAfterUpdate = false;
        Settings::Instance().AutosaveTimeout = 0;
        Settings::Instance().UnitsOrder = UnitsOrder::Chronological;
    }

    CNavigationView& Tree() { return m_app->MainFrame()->Navigation(); }
    CDetailsView& List() { return m_app->MainFrame()->Details(); }
    CShelfwiseDoc& Doc() { return *m_app->Document(); }

    // The entries of a menu by text, sub-menus included.
    static QAction* Entry(const QMenu& menu, const QString& text)
    {
        for (QAction* action : menu.actions()) {
            if (action->text() == text)
                return action;
            if (action->menu()) {
                if (QAction* inner = Entry(*action->menu(), text))
                    return inner;
            }
        }
        return nullptr;
    }

    // The texts and name of the menu that a right-click at point of the tree opens.
    std::pair<QString, QStringList> MenuOfRightClick(QPoint point)
    {
        std::pair<QString, QStringList> seen;
        QTimer::singleShot(0, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu)
                return;
            seen.first = menu->accessibleName();
            for (const QAction* action : menu->actions())
                seen.second << action->text();
            menu->close();
        });
        // The press (which may select), then the menu's event as the platform sends it.
        QWidget* viewport = Tree().viewport();
        QTest::mousePress(viewport, Qt::RightButton, Qt::NoModifier, point);
        QContextMenuEvent event(QContextMenuEvent::Mouse, point, viewport->mapToGlobal(point));
        QApplication::sendEvent(viewport, &event);
        QTest::mouseRelease(viewport, Qt::RightButton, Qt::NoModifier, point);
        QApplication::processEvents(); // no menu: the timer goes now, not in a later one
        return seen;
    }

    QString ListName(int unitId)
    {
        for (const UnitListItem& row : List().Model().Rows()) {
            if (row.UnitID == unitId)
                return row.UnitName;
        }
        return QString();
    }

    QTemporaryDir m_dir;
    QString m_path;
    FakePrompter m_prompter;
    std::unique_ptr<CShelfwiseApp> m_app;
};

} // namespace

TEST_F(Editing, RenamesInBothPanesAreCheckedAndStored)
{
    QTreeWidgetItem* living = Tree().FindRootItem(kLivingRoom);
    ASSERT_NE(living, nullptr);
    Tree().setCurrentItem(living);
    const QString oldName = living->text(0);
    auto renameTo = [&](QTreeWidgetItem* item, const QString& name) {
        Tree().setCurrentItem(item);
        Tree().RenameSelected();
        item->setText(0, name); // what the in-place editor commits
        Tree().closePersistentEditor(item);
    };

    // Empty and taken names are refused with their messages and the old name returns.
    renameTo(living, QString());
    EXPECT_EQ(m_prompter.LastMessage(), Strings::LoadString(Strings::IDS_STORAGE_NAME_EMPTY));
    EXPECT_EQ(living->text(0), oldName);
    const QString attic = Tree().FindRootItem(kAttic)->text(0);
    renameTo(living, attic);
    EXPECT_EQ(m_prompter.LastMessage(),
              SqlText::Format(Strings::LoadString(Strings::IDS_STORAGE_NAME_EXISTS), {attic}));
    EXPECT_EQ(Doc().Database().GetStorage(kLivingRoom).StorageName, oldName);
    // Letter case alone makes another name.
    renameTo(living, attic.toUpper());
    EXPECT_EQ(Doc().Database().GetStorage(kLivingRoom).StorageName, attic.toUpper());
    // Blanks alone are no name; blanks around one are dropped, in the tree and the file.
    renameTo(living, QStringLiteral(" \t "));
    EXPECT_EQ(m_prompter.LastMessage(), Strings::LoadString(Strings::IDS_STORAGE_NAME_EMPTY));
    EXPECT_EQ(living->text(0), attic.toUpper());
    renameTo(living, QStringLiteral("  Shelf 2  "));
    EXPECT_EQ(Doc().Database().GetStorage(kLivingRoom).StorageName, QStringLiteral("Shelf 2"));
    EXPECT_EQ(living->text(0), QStringLiteral("Shelf 2"));

    // A disc in the tree, then the same disc in the list.
    QTreeWidgetItem* disc = ExpandedChild(living, kHolidayFilms);
    ASSERT_NE(disc, nullptr);
    renameTo(disc, QString());
    EXPECT_EQ(m_prompter.LastMessage(), Strings::LoadString(Strings::IDS_UNIT_NAME_EMPTY));
    renameTo(disc, QStringLiteral("Holidays '19"));
    EXPECT_EQ(Doc().Database().GetUnit(kHolidayFilms).UnitName, QStringLiteral("Holidays '19"));

    Tree().setCurrentItem(living);
    CDetailsModel& model = List().Model();
    int row = 0;
    while (model.Rows().at(static_cast<size_t>(row)).UnitID != kHolidayFilms)
        ++row;
    const QModelIndex name = model.index(row, CDetailsModel::Name);
    EXPECT_FALSE(model.setData(name, QString(), Qt::EditRole));
    EXPECT_FALSE(model.setData(name, QStringLiteral("   "), Qt::EditRole));
    EXPECT_TRUE(model.setData(name, QStringLiteral("Summer \"19\""), Qt::EditRole));
    EXPECT_EQ(Doc().Database().GetUnit(kHolidayFilms).UnitName, QStringLiteral("Summer \"19\""));
    // The tree item of the disc follows the list.
    EXPECT_EQ(ExpandedChild(living, kHolidayFilms)->text(0), QStringLiteral("Summer \"19\""));
    EXPECT_TRUE(Doc().IsModified());
}

TEST_F(Editing, RenamesByKeyInTheListAndInThePropertiesShowInBothPanes)
{
    m_app->MainFrame()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_app->MainFrame()));
    QTreeWidgetItem* living = Tree().FindRootItem(kLivingRoom);
    QTreeWidgetItem* disc = ExpandedChild(living, kHolidayFilms);
    ASSERT_NE(disc, nullptr);

    // F2 renames whatever row of the list is selected: a folder, then a file.
    Tree().setCurrentItem(disc);
    std::vector<UnitListItem> rows = List().Model().Rows();
    for (UnitKind kind : {UnitKind::Folder, UnitKind::File}) {
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [&](const UnitListItem& r) { return r.Kind == kind; });
        ASSERT_NE(row, rows.end());
        List().SelectRowByUnitId(row->UnitID);
        QTest::keyClick(List().ActiveView(), Qt::Key_F2);
        auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        ASSERT_NE(editor, nullptr) << UnitKindText(kind).toStdString();
        EXPECT_EQ(editor->text(), row->UnitName); // the editor starts from the name
        editor->setText(QStringLiteral("Renamed ") + UnitKindText(kind));
        QTest::keyClick(editor, Qt::Key_Return);
        QApplication::processEvents(); // the editor hands its text over when it can
        EXPECT_EQ(Doc().Database().GetUnit(row->UnitID).UnitName,
                  QStringLiteral("Renamed ") + UnitKindText(kind));
    }
    // The folder's item in the tree follows.
    const int folder = std::find_if(rows.begin(), rows.end(), [](const UnitListItem& r) {
                           return r.Kind == UnitKind::Folder;
                       })->UnitID;
    EXPECT_EQ(ExpandedChild(disc, folder)->text(0), QStringLiteral("Renamed Folder"));

    // The properties rename the disc shown in the list: the row and the tree's item
    // show the new name, and the row stays selected.
    Tree().setCurrentItem(living);
    List().SelectRowByUnitId(kHolidayFilms);
    CPropertiesDlg discProperties(kHolidayFilms, false, Doc());
    discProperties.NameEdit()->setText(QStringLiteral("Summer 2019"));
    discProperties.accept();
    EXPECT_EQ(ListName(kHolidayFilms), QStringLiteral("Summer 2019"));
    EXPECT_EQ(List().SelectedUnitId(), kHolidayFilms);
    EXPECT_EQ(ExpandedChild(living, kHolidayFilms)->text(0), QStringLiteral("Summer 2019"));
    // A storage renamed there: its item in the tree.
    CPropertiesDlg storageProperties(kAttic, true, Doc());
    storageProperties.NameEdit()->setText(QStringLiteral("Loft"));
    storageProperties.accept();
    EXPECT_EQ(Tree().FindRootItem(kAttic)->text(0), QStringLiteral("Loft"));

    // Undone, both panes show the old names again.
    if (!CSqliteWrapper::CanRecordChanges())
        return;
    QAction* undo = m_app->MainFrame()->Commands().Get(CommandIds::EditUndo);
    undo->trigger();
    EXPECT_EQ(Tree().FindRootItem(kAttic)->text(0), QStringLiteral("Box 1 (attic)"));
    undo->trigger();
    living = Tree().FindRootItem(kLivingRoom);
    EXPECT_EQ(ExpandedChild(living, kHolidayFilms)->text(0), QStringLiteral("Holiday Films 2019"));
    EXPECT_EQ(ListName(kHolidayFilms), QStringLiteral("Holiday Films 2019"));
}

TEST_F(Editing, DeletingAsksAndRemovesFromBothPanes)
{
    QTreeWidgetItem* attic = Tree().FindRootItem(kAttic);
    Tree().setCurrentItem(attic);
    const int listed = List().Model().rowCount();

    // No keeps the disc; Yes deletes it from the catalogue and the list.
    List().SelectRowByUnitId(kBackup2008);
    m_prompter.QueueYesNo(false);
    List().DeleteSelected();
    EXPECT_EQ(List().Model().rowCount(), listed);
    m_prompter.QueueYesNo(true);
    List().DeleteSelected();
    EXPECT_EQ(List().Model().rowCount(), listed - 1);
    std::vector<UnitListItem> left;
    Doc().Database().GetSubunits(left, kAttic, true);
    EXPECT_EQ(left.size(), static_cast<size_t>(listed - 1));
    for (const UnitListItem& unit : left)
        EXPECT_NE(unit.UnitID, kBackup2008);

    // From the tree: the folder goes, and the selection moves on.
    QTreeWidgetItem* scans = ExpandedChild(attic, kScans);
    ASSERT_NE(scans, nullptr);
    Tree().setCurrentItem(scans);
    m_prompter.QueueYesNo(true);
    Tree().DeleteSelected();
    EXPECT_EQ(ExpandedChild(attic, kScans), nullptr);
    EXPECT_NE(Doc().Selection().Id(), kScans);
    EXPECT_EQ(m_prompter.Questions().size(), 3u);
}

TEST_F(Editing, ContextMenusGreyWhatTheItemCannotDo)
{
    const QString rename = m_app->MainFrame()->Commands().Get(CommandIds::Rename)->text();
    QTreeWidgetItem* living = Tree().FindRootItem(kLivingRoom);
    QTreeWidgetItem* disc = ExpandedChild(living, kHolidayFilms);
    disc->setExpanded(true);
    QTreeWidgetItem* folder = disc->child(0);
    ASSERT_NE(folder, nullptr);

    struct Case
    {
        QTreeWidgetItem* item;
        bool renames;
        bool adds;
    };
    for (const Case& c :
         {Case{living, true, true}, Case{disc, true, false}, Case{folder, false, false}}) {
        QMenu menu;
        Tree().FillContextMenu(menu, c.item);
        ASSERT_NE(Entry(menu, rename), nullptr);
        EXPECT_EQ(Entry(menu, rename)->isEnabled(), c.renames) << c.item->text(0).toStdString();
        ASSERT_NE(Entry(menu, QStringLiteral("Disc")), nullptr);
        EXPECT_EQ(Entry(menu, QStringLiteral("Disc"))->isEnabled(), c.adds);
    }
    // Beside the items, the "Navigation Menu" with its own texts.
    const QStringList navigation{QStringLiteral("Add Storage"), QStringLiteral("Add Disc"),
                                 QStringLiteral("Add Folder"), QStringLiteral("Add File")};
    QMenu empty;
    Tree().FillContextMenu(empty, nullptr);
    QStringList texts;
    for (const QAction* action : empty.actions())
        texts << action->text();
    EXPECT_EQ(texts, navigation);

    // A right-click on a name gives its item's menu and selects it; on the same row far
    // right of a short name, or below the last item, the Navigation Menu, and the
    // selection stays.
    m_app->MainFrame()->resize(900, 600);
    Tree().setFixedWidth(400);
    QTreeWidgetItem* car = Tree().FindRootItem(3);
    Tree().setCurrentItem(living);
    Tree().scrollToItem(car);
    const QRect carRow = Tree().visualItemRect(car);
    const auto onName = MenuOfRightClick(carRow.topLeft() + QPoint(24, carRow.height() / 2));
    EXPECT_EQ(onName.first, QStringLiteral("Item menu"));
    EXPECT_TRUE(onName.second.contains(rename));
    EXPECT_EQ(Tree().currentItem(), car);
    Tree().setCurrentItem(living);
    const auto beside = MenuOfRightClick(QPoint(carRow.right() - 10, carRow.center().y()));
    EXPECT_EQ(beside, std::make_pair(QStringLiteral("Navigation Menu"), navigation));
    EXPECT_EQ(Tree().currentItem(), living);
    const QRect last = Tree().visualItemRect(Tree().topLevelItem(Tree().topLevelItemCount() - 1));
    EXPECT_EQ(MenuOfRightClick(QPoint(40, last.bottom() + 8)).first,
              QStringLiteral("Navigation Menu"));
    EXPECT_EQ(Tree().currentItem(), living);

    // The list: a disc may be renamed, a file not; a file's menu offers every other
    // category; the empty area offers the view modes.
    Tree().setCurrentItem(Tree().FindRootItem(3));
    for (const UnitListItem& row : List().Model().Rows()) {
        List().SelectRowByUnitId(row.UnitID);
        QMenu menu;
        List().FillContextMenu(menu, true);
        EXPECT_EQ(Entry(menu, rename)->isEnabled(), row.Kind == UnitKind::Disc);
        const QString own = Doc().Database().GetCategory(row.CategoryID).Name;
        const QString menuTitle = Strings::LoadString(Strings::IDS_CHANGE_CATEGORY_MENU);
        EXPECT_EQ(Entry(menu, menuTitle) != nullptr, row.Kind == UnitKind::File);
        if (row.Kind == UnitKind::File) {
            EXPECT_EQ(Entry(menu, own), nullptr);
            EXPECT_NE(Entry(menu, QStringLiteral("Picture")), nullptr);
        }
    }
    QMenu outside;
    List().FillContextMenu(outside, false);
    EXPECT_NE(Entry(outside, QStringLiteral("Details")), nullptr);
}

TEST_F(Editing, DraggingADiscMovesItToTheStorageUnderTheCursor)
{
    QTreeWidgetItem* living = Tree().FindRootItem(kLivingRoom);
    QTreeWidgetItem* attic = Tree().FindRootItem(kAttic);
    QTreeWidgetItem* disc = ExpandedChild(living, kHolidayFilms);
    ASSERT_NE(disc, nullptr);
    // Only units lying directly in a storage can be dragged.
    EXPECT_TRUE(Tree().CanDrag(disc));
    EXPECT_FALSE(Tree().CanDrag(living));
    EXPECT_FALSE(Tree().CanDrag(ExpandedChild(disc, CNavigationView::ItemId(disc->child(0)))));
    Tree().setCurrentItem(living);
    const QModelIndex first = List().Model().index(0, 0);
    EXPECT_TRUE(List().Model().flags(first) & Qt::ItemIsDragEnabled);
    std::unique_ptr<QMimeData> carried(List().Model().mimeData({first}));
    EXPECT_EQ(UnitDrag::UnitIdFrom(carried.get()), List().Model().Rows().front().UnitID);
    Tree().setCurrentItem(disc);
    EXPECT_FALSE(List().Model().flags(List().Model().index(0, 0)) & Qt::ItemIsDragEnabled);

    const StorageRecord before = Doc().Database().GetStorage(kAttic);
    const StorageRecord livingBefore = Doc().Database().GetStorage(kLivingRoom);
    // Over a folder inside the attic: the attic is the target.
    Tree().setCurrentItem(living);
    QTreeWidgetItem* scans = ExpandedChild(attic, kScans);
    Tree().scrollToItem(scans);
    const QPoint over = Tree().visualItemRect(scans).center();
    QMimeData data;
    data.setData(UnitDrag::MimeType(), QByteArray::number(kHolidayFilms));
    // As a real drag: the view becomes the target on entering, then sees the moves.
    QDragEnterEvent enter(over, Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(Tree().viewport(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDragMoveEvent move(over, Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(Tree().viewport(), &move);
    EXPECT_TRUE(move.isAccepted());
    EXPECT_EQ(Tree().DropStorageId(), kAttic);
    // Something that is not a unit is refused.
    QMimeData text;
    text.setText(QStringLiteral("1"));
    QDragMoveEvent foreign(over, Qt::MoveAction, &text, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(Tree().viewport(), &foreign);
    EXPECT_FALSE(foreign.isAccepted());

    QDropEvent drop(QPointF(over), Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(Tree().viewport(), &drop);
    EXPECT_EQ(Tree().DropStorageId(), -1);
    EXPECT_EQ(Doc().Database().GetUnitStorageId(kHolidayFilms), kAttic);
    EXPECT_EQ(ExpandedChild(living, kHolidayFilms), nullptr);
    EXPECT_NE(ExpandedChild(attic, kHolidayFilms), nullptr);
    EXPECT_EQ(Tree().currentItem(), attic);
    const StorageRecord after = Doc().Database().GetStorage(kAttic);
    EXPECT_EQ(after.DiscsNumber, before.DiscsNumber + 1);
    EXPECT_GT(after.StorageSize, before.StorageSize);
    EXPECT_LT(Doc().Database().GetStorage(kLivingRoom).StorageSize, livingBefore.StorageSize);

    // Dropping it on its own storage again changes nothing.
    QCoreApplication::sendEvent(Tree().viewport(), &drop);
    EXPECT_EQ(Doc().Database().GetStorage(kAttic).StorageSize, after.StorageSize);

    // The saved catalogue is consistent.
    ASSERT_TRUE(Doc().OnSaveDocument(m_path));
    QProcess check;
    check.start(QStringLiteral(SHELFWISE_CLI), {QStringLiteral("check"), m_path});
    ASSERT_TRUE(check.waitForFinished(60000));
    EXPECT_EQ(check.exitCode(), 0) << check.readAllStandardOutput().toStdString()
                                   << check.readAllStandardError().toStdString();
}

TEST_F(Editing, DetailsShowTheStoredModificationDates)
{
    Tree().setCurrentItem(Tree().FindRootItem(3));
    List().SetMode(CDetailsView::Mode::Details);
    QAbstractItemModel* shown = List().ActiveView()->model();
    EXPECT_EQ(shown->headerData(CDetailsModel::Modified, Qt::Horizontal).toString(),
              QStringLiteral("Modified"));
    int dated = 0;
    for (int r = 0; r < shown->rowCount(); ++r) {
        const int unitId = shown->index(r, 0).data(CDetailsModel::kUnitIdRole).toInt();
        const QString date = shown->index(r, CDetailsModel::Modified).data().toString();
        if (Doc().Database().GetUnit(unitId).Kind == UnitKind::File) {
            EXPECT_EQ(date, Doc().Database().GetFileProperties(unitId).DateModified);
            dated += date.isEmpty() ? 0 : 1;
        }
    }
    EXPECT_GE(dated, 2);
    shown->sort(CDetailsModel::Modified, Qt::AscendingOrder);
    for (int r = 1; r < shown->rowCount(); ++r)
        EXPECT_LE(shown->index(r - 1, CDetailsModel::Modified).data().toString(),
                  shown->index(r, CDetailsModel::Modified).data().toString());
}

TEST_F(Editing, AutosaveWritesTheFileByTimerAndAfterEachUpdate)
{
    auto storagesInFile = [&] {
        CSqliteWrapper file;
        file.Open(m_path, false);
        std::vector<StorageRecord> storages;
        file.GetStorages(storages);
        return storages.size();
    };
    const size_t atStart = storagesInFile();

    Settings::Instance().AutosaveTimeout = 1;
    m_app->MainFrame()->RestartAutosave();
    auto* timer = m_app->MainFrame()->findChild<QTimer*>(QStringLiteral("autosaveTimer"));
    ASSERT_NE(timer, nullptr);
    ASSERT_NE(Doc().AddStorage(QStringLiteral("Cellar"), QString()), 0);
    EXPECT_EQ(storagesInFile(), atStart);
    timer->start(1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Doc().IsModified(); }, 5000));
    EXPECT_EQ(storagesInFile(), atStart + 1);
    EXPECT_FALSE(m_app->MainFrame()->isWindowModified());

    // A catalogue that was never saved: the timer's Save asks for a name, and the file
    // then leads the recent-file list and names the window, as after File Save.
    m_app->MainFrame()->NewCatalogue();
    ASSERT_NE(Doc().AddStorage(QStringLiteral("Shed"), QString()), 0);
    const QString named = m_dir.filePath(QStringLiteral("named.db3"));
    m_prompter.QueuePath(named);
    timer->start(1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Doc().IsModified(); }, 5000));
    EXPECT_EQ(Doc().CataloguePath(), named);
    EXPECT_EQ(m_app->MainFrame()->RecentFiles().value(0), named);
    EXPECT_TRUE(m_app->MainFrame()->windowTitle().contains(QStringLiteral("named.db3")));

    Settings::Instance().AutosaveTimeout = 0;
    m_app->MainFrame()->RestartAutosave();
    ASSERT_TRUE(m_app->MainFrame()->OpenCatalogue(m_path));
    Settings::Instance().AutosaveAfterUpdate = true;
    ASSERT_NE(Doc().AddStorage(QStringLiteral("Garage"), QString()), 0);
    EXPECT_FALSE(Doc().IsModified());
    EXPECT_EQ(storagesInFile(), atStart + 2);
}

TEST_F(Editing, CancellingTheSaveQuestionKeepsTheWindowAndTheChanges)
{
    ASSERT_NE(Doc().AddStorage(QStringLiteral("Loft"), QString()), 0);
    m_prompter.QueueAnswer(UserPrompter::Answer::Cancel);
    EXPECT_FALSE(m_app->MainFrame()->close());
    EXPECT_TRUE(Doc().IsModified());
    m_prompter.QueueAnswer(UserPrompter::Answer::Cancel);
    EXPECT_FALSE(m_app->MainFrame()->MaybeSave());
    EXPECT_EQ(m_prompter.Questions().size(), 2u);

    // Yes saves, then closes.
    m_prompter.QueueAnswer(UserPrompter::Answer::Yes);
    EXPECT_TRUE(m_app->MainFrame()->close());
    CSqliteWrapper file;
    file.Open(m_path, false);
    std::vector<StorageRecord> storages;
    file.GetStorages(storages);
    EXPECT_EQ(storages.back().StorageName, QStringLiteral("Loft"));
}

TEST_F(Editing, AddedStoragesAndUnitsAppearWhereTheTreeShowsThem)
{
    // Listed by insertion: a new storage comes last; by name: in its alphabetical place.
    const int cellar = Doc().AddStorage(QStringLiteral("Cellar"), QString());
    Tree().InsertNewStorage(cellar, QStringLiteral("Cellar"));
    EXPECT_EQ(CNavigationView::ItemId(Tree().topLevelItem(Tree().topLevelItemCount() - 1)), cellar);
    Settings::Instance().UnitsOrder = UnitsOrder::Alphabetic;
    Doc().ApplySettings();
    Tree().PopulateChildren(nullptr);
    const int bookcase = Doc().AddStorage(QStringLiteral("bookcase"), QString());
    QTreeWidgetItem* item = Tree().InsertNewStorage(bookcase, QStringLiteral("bookcase"));
    Settings::Instance().UnitsOrder = UnitsOrder::Chronological;
    const int at = Tree().indexOfTopLevelItem(item);
    ASSERT_EQ(at, 1); // after "Anna's drawer", before "Box 1 (attic)"
    EXPECT_LT(Tree().topLevelItem(at - 1)->text(0).compare(QStringLiteral("bookcase"),
                                                           Qt::CaseInsensitive),
              0);
    EXPECT_GT(Tree().topLevelItem(at + 1)->text(0).compare(QStringLiteral("bookcase"),
                                                           Qt::CaseInsensitive),
              0);

    // A disc added to an empty storage that is not selected gives it an expand button
    // (the update after an addition re-reads only the selected item).
    Tree().setCurrentItem(Tree().FindRootItem(kLivingRoom));
    ASSERT_TRUE(Doc().MoveUnitToStorage(kBackup2008, cellar));
    QTreeWidgetItem* cellarItem = Tree().FindRootItem(cellar);
    ASSERT_EQ(cellarItem->childCount(), 0);
    Tree().ShowAddedUnit(cellar, kBackup2008);
    ASSERT_EQ(cellarItem->childCount(), 1);
    EXPECT_FALSE(cellarItem->isExpanded());
    // Selected and expanded, a further unit is listed under it once.
    Tree().setCurrentItem(cellarItem);
    cellarItem->setExpanded(true);
    ASSERT_TRUE(Doc().MoveUnitToStorage(kHolidayFilms, cellar));
    Tree().ShowAddedUnit(cellar, kHolidayFilms);
    EXPECT_EQ(cellarItem->childCount(), 2);
    EXPECT_EQ(ExpandedChild(cellarItem, kHolidayFilms)->text(0),
              QStringLiteral("Holiday Films 2019"));
}
