// The search results on a copy of the sample catalogue: their texts and locations,
// sorting by a header click, and the "Results" menu with what it asks of the window.
#include "search/SearchTestSupport.h"

#include "search/AdvancedSearchTab.h"
#include "search/BasicSearchTab.h"
#include "search/ResultsCtrl.h"
#include "search/ResultsModel.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"
#include "views/DetailsView.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"

#include <QApplication>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QDir>
#include <QHeaderView>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QTreeWidgetItem>
#include <QWindow>

#include <algorithm>

using namespace SampleIds;

namespace {

// " › ", spelled out: the store's constant may not be set up yet when this file's are.
const QString kSep = QStringLiteral(" \u203A ");

} // namespace

TEST_F(SearchDialog, ResultsShowWhereEachUnitLiesAndSayWhenNothingMatches)
{
    // No count before the first search.
    EXPECT_EQ(m_dlg->CountText(), QString());
    m_dlg->Search();
    EXPECT_EQ(m_dlg->CountText(), QStringLiteral("%1 found").arg(m_dlg->Results().RowCount()));
    EXPECT_EQ(Cell(kSummerPhoto, CResultsModel::Name), QStringLiteral("IMG_0412.JPG"));
    EXPECT_EQ(Cell(kSummerPhoto, CResultsModel::Category), QStringLiteral("Picture"));
    EXPECT_EQ(Cell(kSummerPhoto, CResultsModel::Size), QStringLiteral("2.34 MB"));
    EXPECT_EQ(Cell(kSummerPhoto, CResultsModel::Type), QStringLiteral("File"));
    EXPECT_EQ(Cell(kSummerPhoto, CResultsModel::Location), "Box 1 (attic)" + kSep +
                                                               "Backup 2008-03" + kSep + "Photos" +
                                                               kSep + "2007" + kSep + "Summer");
    EXPECT_EQ(Cell(kNightAtTheOperaFolder, CResultsModel::Location),
              "Living room shelf" + kSep + "Music Collection Vol. 1" + kSep + "Queen");
    EXPECT_EQ(Cell(kNightAtTheOperaFolder, CResultsModel::Type), QStringLiteral("Folder"));
    EXPECT_EQ(Cell(kHolidayFilmsDisc, CResultsModel::Location),
              QStringLiteral("Living room shelf"));
    EXPECT_EQ(Cell(kHolidayFilmsDisc, CResultsModel::Type), QStringLiteral("Disc"));
    EXPECT_EQ(Cell(kRoadAtlas, CResultsModel::Location), QStringLiteral("Car"));
    const QHeaderView* header = m_dlg->Results().header();
    const CResultsModel& model = m_dlg->Results().Model();
    QStringList titles;
    for (int c = 0; c < model.columnCount(); ++c)
        titles << model.headerData(c, Qt::Horizontal, Qt::DisplayRole).toString();
    EXPECT_EQ(titles, (QStringList{"Name", "Category", "Size", "Type", "Location"}));
    EXPECT_EQ(header->sectionSize(CResultsModel::Name), 150);
    EXPECT_TRUE(m_prompter.Messages().empty());

    Child<QLineEdit>("textEdit")->setText(QStringLiteral("no such thing anywhere"));
    m_dlg->Search();
    EXPECT_EQ(m_dlg->Results().RowCount(), 0);
    ASSERT_EQ(m_prompter.Messages().size(), 1u);
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("No matches found. Try another search."));
    EXPECT_EQ(m_prompter.Messages().back().MessageIcon, UserPrompter::Icon::Information);
    EXPECT_EQ(m_dlg->CountText(), QStringLiteral("0 found"));
}

TEST_F(SearchDialog, TheCountBesideTheResultsUsesTheLocalesDigitGrouping)
{
    AddFillerFiles(1103);
    const QLocale before;
    Child<QLineEdit>("textEdit")->setText(QStringLiteral("filler"));
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    m_dlg->Search();
    EXPECT_EQ(m_dlg->CountText(), QStringLiteral("1,103 found"));
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    m_dlg->Search();
    EXPECT_EQ(m_dlg->CountText(), QStringLiteral("1.103 found"));
    QLocale::setDefault(before);

    Child<QLineEdit>("textEdit")->setText(QStringLiteral("filler 1103"));
    m_dlg->Search();
    EXPECT_EQ(m_dlg->CountText(), QStringLiteral("1 found"));
    EXPECT_TRUE(m_prompter.Messages().empty());
}

TEST_F(SearchDialog, HeaderClicksSortEveryColumnBothWaysWithOneSharedDirection)
{
    m_dlg->resize(1000, 500);
    m_dlg->show();
    m_dlg->Search();
    CResultsCtrl& results = m_dlg->Results();
    const CResultsModel& model = results.Model();
    QHeaderView* header = results.header();
    EXPECT_EQ(results.SortColumn(), -1);
    EXPECT_FALSE(header->isSortIndicatorShown());
    const auto click = [&](int column) {
        QTest::mouseClick(
            header->viewport(), Qt::LeftButton, {},
            QPoint(header->sectionViewportPosition(column) + 10, header->height() / 2));
    };
    const auto less = [&](int column, const UnitListItem& x, const UnitListItem& y) {
        switch (column) {
        case CResultsModel::Name:
            return x.UnitName.compare(y.UnitName, Qt::CaseInsensitive) < 0;
        case CResultsModel::Category:
            return x.CategoryID < y.CategoryID;
        case CResultsModel::Size:
            return x.UnitSize < y.UnitSize;
        case CResultsModel::Type:
            return x.Kind < y.Kind;
        default:
            return model.LocationOf(x.UnitID).compare(model.LocationOf(y.UnitID),
                                                      Qt::CaseInsensitive) < 0;
        }
    };
    const auto expectSorted = [&](int column) {
        const bool descending = CResultsCtrl::SortDescending();
        const auto& rows = model.Rows();
        const bool sorted = std::is_sorted(
            rows.begin(), rows.end(), [&](const UnitListItem& x, const UnitListItem& y) {
                return descending ? less(column, y, x) : less(column, x, y);
            });
        EXPECT_TRUE(sorted) << "column " << column << (descending ? " descending" : " ascending");
        EXPECT_EQ(results.SortColumn(), column);
        EXPECT_TRUE(header->isSortIndicatorShown());
        EXPECT_EQ(header->sortIndicatorSection(), column);
        EXPECT_EQ(header->sortIndicatorOrder(),
                  descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    };

    // Select a unit: the selection follows it through every sort.
    results.SelectUnit(kBohemianRhapsody);
    for (int column = 0; column < CResultsModel::ColumnCount; ++column) {
        const bool before = CResultsCtrl::SortDescending();
        click(column);
        EXPECT_EQ(CResultsCtrl::SortDescending(), before) << "another column keeps the direction";
        expectSorted(column);
        click(column);
        EXPECT_NE(CResultsCtrl::SortDescending(), before) << "the same column reverses it";
        expectSorted(column);
        EXPECT_EQ(results.SelectedUnitId(), kBohemianRhapsody);
    }
    // The direction belongs to every results list: a second dialog's first click sorts
    // the way the first dialog left it.
    click(CResultsModel::Size);
    if (!CResultsCtrl::SortDescending())
        click(CResultsModel::Size); // descending now, for every list
    CSearchDlg second(m_doc);
    second.resize(1000, 500);
    second.show();
    second.Search();
    QHeaderView* secondHeader = second.Results().header();
    QTest::mouseClick(secondHeader->viewport(), Qt::LeftButton, {},
                      QPoint(secondHeader->sectionViewportPosition(CResultsModel::Size) + 10,
                             secondHeader->height() / 2));
    EXPECT_EQ(second.Results().Model().Rows().front().UnitID, 20) << "the Blu-ray disc first";

    // A new search comes in the store's order, without an arrow.
    m_dlg->Search();
    EXPECT_EQ(results.SortColumn(), -1);
    EXPECT_FALSE(header->isSortIndicatorShown());
    EXPECT_EQ(ResultIds(), StoreIds(SearchCriteria{}));
}

TEST_F(SearchDialog, TheResultsMenuAndDoubleClickAskTheWindowForPropertiesOrThePlace)
{
    m_dlg->show();
    m_dlg->Search();
    CResultsCtrl& results = m_dlg->Results();
    QSignalSpy properties(m_dlg.get(), &CSearchDlg::propertiesRequested);
    QSignalSpy browse(m_dlg.get(), &CSearchDlg::browseRequested);

    // Nothing selected: both entries greyed.
    ASSERT_EQ(results.SelectedUnitId(), 0);
    std::unique_ptr<QMenu> menu = results.CreateContextMenu();
    EXPECT_EQ(menu->title(), QStringLiteral("Results"));
    // Properties, Browse to..., a separator, and Export... of every row.
    ASSERT_EQ(menu->actions().size(), 4);
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("Properties"));
    EXPECT_EQ(menu->actions()[1]->text(), QStringLiteral("Browse to..."));
    EXPECT_FALSE(menu->actions()[0]->isEnabled());
    EXPECT_FALSE(menu->actions()[1]->isEnabled());
    EXPECT_EQ(menu->actions()[3]->text(), QStringLiteral("Export..."));
    EXPECT_TRUE(menu->actions()[3]->isEnabled());

    results.SelectUnit(kBohemianRhapsody);
    menu = results.CreateContextMenu();
    EXPECT_TRUE(menu->actions()[0]->isEnabled());
    EXPECT_TRUE(menu->actions()[1]->isEnabled());
    menu->actions()[0]->trigger();
    ASSERT_EQ(properties.count(), 1);
    EXPECT_EQ(properties.takeFirst().at(0).toInt(), kBohemianRhapsody);

    // Asked for from the keyboard, the menu opens 5 pixels into the list's corner.
    QPoint menuAt;
    QTimer::singleShot(0, [&] {
        if (QWidget* popup = QApplication::activePopupWidget()) {
            menuAt = popup->pos();
            popup->close();
        }
    });
    QContextMenuEvent fromKeyboard(QContextMenuEvent::Keyboard, QPoint(-1, -1), QPoint(-1, -1));
    QApplication::sendEvent(&results, &fromKeyboard);
    EXPECT_EQ(menuAt, results.mapToGlobal(QPoint(5, 5)));

    // A file: its folder in the tree, then the file in the list.
    menu->actions()[1]->trigger();
    ASSERT_EQ(browse.count(), 1);
    QList<QVariant> args = browse.takeFirst();
    EXPECT_EQ(args.at(0).value<std::vector<int>>(),
              (std::vector<int>{kLivingRoomShelf, kMusicCollectionDisc, kQueenFolder,
                                kNightAtTheOperaFolder}));
    EXPECT_EQ(args.at(1).toInt(), kBohemianRhapsody);
    // A folder or disc is selected in the tree itself; a file lying in its storage
    // leaves only the storage for the tree.
    const std::vector<std::pair<int, std::vector<int>>> places{
        {kNightAtTheOperaFolder,
         {kLivingRoomShelf, kMusicCollectionDisc, kQueenFolder, kNightAtTheOperaFolder}},
        {kRoadTripDisc, {kCar, kRoadTripDisc}},
        {kRoadAtlas, {kCar}}};
    for (const auto& [unit, path] : places) {
        results.SelectUnit(unit);
        m_dlg->BrowseToSelected();
        ASSERT_EQ(browse.count(), 1);
        args = browse.takeFirst();
        EXPECT_EQ(args.at(0).value<std::vector<int>>(), path) << unit;
        EXPECT_EQ(args.at(1).toInt(), unit == kRoadAtlas ? kRoadAtlas : 0) << unit;
    }

    // Double-click and Enter on a row open its properties.
    results.SelectUnit(kSummerPhoto);
    const QRect rect = results.visualRect(results.currentIndex());
    // As a mouse sends it: press, release, then the double-click.
    QTest::mouseClick(results.viewport(), Qt::LeftButton, {}, rect.center());
    QTest::mouseDClick(results.viewport(), Qt::LeftButton, {}, rect.center());
    EXPECT_EQ(properties.count(), 1);
    QTest::keyClick(&results, Qt::Key_Return);
    ASSERT_EQ(properties.count(), 2);
    EXPECT_EQ(properties.at(0).at(0).toInt(), kSummerPhoto);
    EXPECT_EQ(properties.at(1).at(0).toInt(), kSummerPhoto);
    EXPECT_TRUE(m_prompter.Messages().empty());
}

TEST_F(SearchDialog, BrowseToBringsTheMainWindowToTheFrontWithTheUnitInView)
{
    Settings::Instance().UnitsOrder = UnitsOrder::Chronological;
    CMainFrame frame(m_doc);
    ASSERT_TRUE(frame.OpenCatalogue(m_path));
    // Far more files than the list shows at once; the last one lies at its end.
    const int last = AddFillerFiles(300);
    frame.resize(640, 420);
    frame.show();
    CSearchDlg& dialog = frame.SearchDialog();
    dialog.Activate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    // A window of its own: nothing keeps it above the main window.
    EXPECT_EQ(dialog.windowType(), Qt::Window);
    ASSERT_TRUE(dialog.windowHandle());
    EXPECT_EQ(dialog.windowHandle()->transientParent(), nullptr);

    dialog.findChild<QLineEdit*>(QStringLiteral("textEdit"))->setText(QStringLiteral("filler 300"));
    dialog.Search();
    dialog.Results().SelectUnit(last);
    dialog.BrowseToSelected();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
    EXPECT_EQ(QApplication::activeWindow(), &frame);
    EXPECT_TRUE(dialog.isVisible());
    const QTreeWidgetItem* folder = frame.Navigation().currentItem();
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(CNavigationView::ItemId(folder), kNightAtTheOperaFolder);
    EXPECT_EQ(frame.Details().SelectedUnitId(), last);
    const QAbstractItemView* list = frame.Details().ActiveView();
    EXPECT_TRUE(list->viewport()->rect().contains(list->visualRect(list->currentIndex())));
}

// The dialog as a user sees it after a search, drawn to a picture: kept in
// SHELFWISE_SCREENSHOT_DIR when that is set (run with QT_QPA_PLATFORM=xcb under Xvfb).
TEST_F(SearchDialog, Screenshot)
{
    m_dlg->resize(1060, 640);
    m_dlg->Activate();
    Child<QLineEdit>("textEdit")->setText(QStringLiteral("o"));
    m_dlg->AdvancedTab().SetMode(CAdvancedSearchTab::MusicOnly);
    m_dlg->Search();
    QHeaderView* header = m_dlg->Results().header();
    if (CResultsCtrl::SortDescending())
        m_dlg->Results().SortByColumn(CResultsModel::Size);
    m_dlg->Results().SortByColumn(CResultsModel::Size);
    m_dlg->Results().SelectUnit(kBohemianRhapsody);
    QApplication::processEvents();
    EXPECT_EQ(header->sortIndicatorSection(), static_cast<int>(CResultsModel::Size));
    const QPixmap picture = m_dlg->grab();
    ASSERT_FALSE(picture.isNull());
    const QString folder = qEnvironmentVariable("SHELFWISE_SCREENSHOT_DIR");
    // The advanced page with the music tags in use.
    Child<QTabWidget>("tabs")->setCurrentIndex(1);
    Child<QCheckBox>("artistCheck")->setChecked(true);
    Child<QLineEdit>("artistEdit")->setText(QStringLiteral("Queen"));
    QApplication::processEvents();
    const QPixmap advanced = m_dlg->grab();
    ASSERT_FALSE(advanced.isNull());
    if (!folder.isEmpty()) {
        EXPECT_TRUE(picture.save(QDir(folder).filePath(QStringLiteral("search-dialog.png"))));
        EXPECT_TRUE(advanced.save(QDir(folder).filePath(QStringLiteral("search-advanced.png"))));
    }
}
