// Tools > Statistics... on the sample catalogue: the window for a disc, its tables, and
// what Ctrl+C and "Copy table" put on the clipboard. The sums themselves are checked
// against the catalogue's rows in StatisticsGatherer_test.
#include "FakePrompter.h"
#include "TestCatalogue.h"
#include "app/ShelfwiseApp.h"
#include "document/ShelfwiseDoc.h"
#include "sqlitewrapper/RowMappers.h"
#include "stats/StatisticsDlg.h"
#include "stats/StatisticsTab.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/MainFrame.h"

#include <QAbstractItemModel>
#include <QAction>
#include <QApplication>
#include <QChartView>
#include <QClipboard>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace {

QString Cell(const QTableView& table, int row, int column)
{
    return table.model()->index(row, column).data().toString();
}

} // namespace

TEST(StatisticsDlg, ShowsADiscsSectionsAndCopiesItsRows)
{
    QTemporaryDir dir;
    FakePrompter prompter;
    prompter.SetDefaultYesNo(true);
    CShelfwiseApp app(&prompter);
    const QString path = CopySampleCatalogue(dir.filePath(QStringLiteral("sample.db3")));
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), path}));
    CMainFrame& frame = *app.MainFrame();
    CShelfwiseDoc& doc = *app.Document();
    const int disc = 70; // "Backup 2008-03", in the second storage

    // The command opens the window for the tree's selection.
    frame.BrowseTo({doc.Database().GetUnitStorageId(disc), disc}, 0);
    QAction* command = frame.Commands().Get(CommandIds::Statistics);
    ASSERT_NE(command, nullptr);
    command->trigger();
    auto* dialog = frame.findChild<CStatisticsDlg*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_FALSE(dialog->isModal());
    EXPECT_TRUE(dialog->windowTitle().contains(QStringLiteral("Backup 2008-03")));
    ASSERT_EQ(dialog->Tabs()->count(), 6);

    CStatisticsTab* categories = dialog->Tab(QStringLiteral("categories"));
    ASSERT_NE(categories, nullptr);
    const QTableView& table = *categories->Table();
    EXPECT_FALSE(table.accessibleName().isEmpty());
    EXPECT_NE(categories->Chart()->chart(), nullptr);
    ASSERT_EQ(table.model()->rowCount(), static_cast<int>(doc.Database().Categories().size()));
    // Film: one file of 150.00 MB.
    EXPECT_EQ(Cell(table, 1, 0), QStringLiteral("Film"));
    EXPECT_EQ(Cell(table, 1, 2), QStringLiteral("150.00 MB"));

    // The largest folders with where they lie.
    const QTableView& folders = *dialog->Tab(QStringLiteral("largestFolders"))->Table();
    ASSERT_GT(folders.model()->rowCount(), 1);
    EXPECT_EQ(Cell(folders, 0, 0), QStringLiteral("Photos"));
    EXPECT_EQ(Cell(folders, 0, 3), QStringLiteral("Box 1 (attic) \u203A Backup 2008-03"));

    // Ctrl+C copies the selected row with the header; "Copy table" every row.
    QApplication::clipboard()->clear();
    categories->Table()->selectRow(1);
    categories->Table()->setFocus();
    QTest::keyClick(categories->Table(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(),
              QStringLiteral("Category\tFiles\tSize\nFilm\t1\t150.00 MB\n"));
    auto* copyAll = categories->findChild<QPushButton*>(QStringLiteral("copyTable"));
    ASSERT_NE(copyAll, nullptr);
    QTest::mouseClick(copyAll, Qt::LeftButton);
    const QStringList lines =
        QApplication::clipboard()->text().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), table.model()->rowCount() + 1);
    EXPECT_EQ(lines[0], QStringLiteral("Category\tFiles\tSize"));
    EXPECT_EQ(lines[2], QStringLiteral("Film\t1\t150.00 MB"));

    // "Whole Catalogue" turns the window to every file of the catalogue.
    auto* whole = dialog->findChild<QPushButton*>(QStringLiteral("wholeCatalogue"));
    ASSERT_NE(whole, nullptr);
    EXPECT_TRUE(whole->isEnabled());
    QTest::mouseClick(whole, Qt::LeftButton);
    std::vector<QString> files;
    doc.Database().QueryRows(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType = 'F'"),
                             files, &RowMappers::Texts);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(dialog->Statistics().Files, files.front().toLongLong());
    EXPECT_TRUE(dialog->windowTitle().contains(QStringLiteral("Whole catalogue")));
    EXPECT_FALSE(whole->isEnabled());

    // Every widget a person reaches has a name for assistive tools.
    for (QWidget* widget : dialog->findChildren<QWidget*>()) {
        if (widget->isVisible() && widget->focusPolicy() != Qt::NoFocus) {
            EXPECT_FALSE(widget->accessibleName().isEmpty())
                << widget->metaObject()->className() << " in "
                << widget->parentWidget()->metaObject()->className();
        }
    }
    dialog->close();
}
