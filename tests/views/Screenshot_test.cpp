// The window as a user sees it, drawn to pictures: the sample catalogue with a storage
// expanded and the list in Details mode, the list's menu on a file, Icons mode with
// long names, and the properties of a song. With SHELFWISE_SCREENSHOT_DIR set (and
// QT_QPA_PLATFORM=xcb under Xvfb) the pictures are kept there; they are the README's screenshots.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "app/ShelfwiseApp.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "views/DetailsModel.h"
#include "views/DetailsView.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"
#include "views/PropertiesDlg.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QFile>
#include <QMenu>
#include <QScreen>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

// Saves the picture where the README's screenshots are made, and checks it shows
// something.
void Keep(const QPixmap& picture, const QString& name)
{
    ASSERT_FALSE(picture.isNull()) << name.toStdString();
    EXPECT_GT(picture.width(), 100);
    const QString folder = qEnvironmentVariable("SHELFWISE_SCREENSHOT_DIR");
    if (!folder.isEmpty()) {
        EXPECT_TRUE(picture.save(QDir(folder).filePath(name))) << name.toStdString();
    }
}

// The window's part of the screen where there is one (an open menu, a window of its
// own, is in the picture then), else the window drawn by itself.
QPixmap Grab(QWidget& window)
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return window.grab();
    const QRect area = window.frameGeometry();
    return QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(),
                                                        area.height());
}

} // namespace

TEST(Screenshot, TheSampleCatalogueInDetailsModeAndTheListMenu)
{
    QFile::remove(SettingsFolder() + QStringLiteral("RecentFiles.ini"));
    QTemporaryDir dir;
    const QString sample = CopySampleCatalogue(dir.filePath("Sample catalogue.db3"));
    FakePrompter prompter;
    CShelfwiseApp app(&prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), sample}));
    CMainFrame& frame = *app.MainFrame();
    frame.showNormal();
    frame.setGeometry(0, 0, 1200, 700);

    CNavigationView& tree = frame.Navigation();
    QTreeWidgetItem* storage = tree.topLevelItem(0);
    ASSERT_NE(storage, nullptr);
    storage->setExpanded(true);
    ASSERT_GT(storage->childCount(), 0);
    QTreeWidgetItem* disc = storage->child(0);
    disc->setExpanded(true);
    tree.setCurrentItem(disc->childCount() > 0 ? disc->child(0) : disc);
    CDetailsView& list = frame.Details();
    list.SetMode(CDetailsView::Mode::Details);
    list.SetSort(CDetailsModel::Name, Qt::AscendingOrder);
    ASSERT_GT(list.Model().rowCount(), 0);
    list.ActiveView()->setCurrentIndex(list.ActiveView()->model()->index(0, 0));
    QApplication::processEvents();
    Keep(Grab(frame), QStringLiteral("main-window.png"));

    // Down to where the files are, for the menu of a file.
    auto firstFile = [&] {
        const auto& rows = list.Model().Rows();
        for (size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].Kind == UnitKind::File)
                return static_cast<int>(i);
        }
        return -1;
    };
    for (int depth = 0; depth < 5 && firstFile() < 0 && list.Model().rowCount() > 0; ++depth)
        tree.BrowseToChild(list.Model().Rows().front().UnitID);
    ASSERT_GE(firstFile(), 0);
    list.SelectRowByUnitId(list.Model().Rows().at(static_cast<size_t>(firstFile())).UnitID);
    QApplication::processEvents();

    // The menu blocks while it is open: its own event loop takes the picture once the
    // menu is on the screen, then closes it.
    QPixmap menuPicture;
    QTimer::singleShot(0, [&] {
        QWidget* menu = nullptr;
        const auto open = [&] { return (menu = QApplication::activePopupWidget()) != nullptr; };
        if (QTest::qWaitFor(open, 10000) && QTest::qWaitForWindowExposed(menu))
            menuPicture = Grab(frame);
        if (menu)
            menu->close();
    });
    QWidget* viewport = list.ActiveView()->viewport();
    const QPoint point = list.ActiveView()->visualRect(list.ActiveView()->currentIndex()).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, point, viewport->mapToGlobal(point));
    QApplication::sendEvent(&list, &event);
    Keep(menuPicture, QStringLiteral("list-menu.png"));
    frame.close();
}

TEST(Screenshot, IconsModeShowsLongNamesWholeOnAGrid)
{
    QFile::remove(SettingsFolder() + QStringLiteral("RecentFiles.ini"));
    QTemporaryDir dir;
    const QString sample = CopySampleCatalogue(dir.filePath("Sample catalogue.db3"));
    FakePrompter prompter;
    CShelfwiseApp app(&prompter);
    ASSERT_TRUE(app.InitInstance({QStringLiteral("Shelfwise"), sample}));
    CMainFrame& frame = *app.MainFrame();
    frame.showNormal();
    frame.setGeometry(0, 0, 1000, 500);

    // "Road Trip Mix" in the car: a folder and songs named by track, artist and title.
    frame.Navigation().SelectPath({3, 120});
    CDetailsView& list = frame.Details();
    list.SetMode(CDetailsView::Mode::Icons);
    ASSERT_EQ(list.Model().rowCount(), 5);
    QApplication::processEvents();

    // The cells line up: one size for all, side by side on one line here.
    QAbstractItemView& view = *list.ActiveView();
    const QRect first = view.visualRect(view.model()->index(0, 0));
    for (int r = 1; r < view.model()->rowCount(); ++r) {
        const QRect cell = view.visualRect(view.model()->index(r, 0));
        EXPECT_EQ(cell.size(), first.size()) << r;
        EXPECT_EQ(cell.top(), first.top()) << r;
        EXPECT_GT(cell.left(), first.left()) << r;
    }
    // Room under the icon for three lines of a name.
    EXPECT_GE(first.height(), view.iconSize().height() + 3 * view.fontMetrics().lineSpacing());
    view.setCurrentIndex(view.model()->index(2, 0));
    QApplication::processEvents();
    Keep(Grab(frame), QStringLiteral("icons-mode.png"));
    frame.close();
}

TEST(Screenshot, ThePropertiesOfASong)
{
    QTemporaryDir dir;
    const QString sample = CopySampleCatalogue(dir.filePath("Sample catalogue.db3"));
    FakePrompter prompter;
    CShelfwiseDoc doc(true);
    ASSERT_TRUE(doc.OnOpenDocument(sample));

    // "Bohemian Rhapsody" from the music disc, on its page of tags and audio details.
    CPropertiesDlg dialog(45, false, doc);
    auto* tabs = dialog.findChild<QTabWidget*>();
    ASSERT_NE(tabs, nullptr);
    ASSERT_EQ(tabs->count(), 2);
    tabs->setCurrentIndex(1);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    QApplication::processEvents();
    Keep(Grab(dialog), QStringLiteral("properties.png"));
    dialog.close();
}
