// Update... in the window on real folder trees changed on disk: when the command is
// offered, the change report's rows and counts, Apply with Undo, Cancel, a source the
// user must choose, and the history the properties show afterwards.
#include "acquisition/ChangeReportDlg.h"
#include "acquisition/ChangeReportModel.h"
#include "acquisition/RescanFixture.h"
#include "acquisition/UpdateFlow.h"
#include "views/CommandIds.h"
#include "views/DetailsView.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"
#include "views/PropertiesDlg.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>

namespace {

using namespace RescanTools;

// Acts on the first modal dialog of type T that comes up after this call.
template <typename T> void WhenModal(std::function<void(T&)> act)
{
    auto* timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, act] {
        if (auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget())) {
            timer->stop();
            timer->deleteLater();
            act(*dialog);
        }
    });
    timer->start();
}

class UpdateFlowTest : public RescanTest
{
protected:
    // A folder added to the catalogue, then changed: one file grown, one added, a
    // folder with its file gone, a file moved to a new folder.
    int AddAndChange()
    {
        MakeFile(At("a.txt"), 10);
        MakeFile(At("keep.txt"), 5);
        MakeFile(At("old/d.txt"), 40);
        MakeFile(At("move/e.dat"), 50);
        const int top = Add(CAddLocationJob::Mode::Folder, m_root);
        MakeFile(At("a.txt"), 25, kThen + 60);
        MakeFile(At("new.txt"), 1500);
        EXPECT_TRUE(QDir(At("old")).removeRecursively());
        MakeFile(At("newdir/x.txt"), 1);
        EXPECT_TRUE(QFile::rename(At("move/e.dat"), At("newdir/e.dat")));
        return top;
    }
    QString At(const char* relative) const { return m_root + QLatin1Char('/') + relative; }
    QString Catalogue()
    {
        return Text(QStringLiteral("SELECT group_concat(UnitName || ':' || UnitSize || ':' || "
                                   "IFNULL(ParentUnitID, ''), '|') FROM (SELECT * FROM Units "
                                   "ORDER BY UnitID)"));
    }

    QTemporaryDir m_dir;
    QString m_root = m_dir.filePath(QStringLiteral("Tree"));
};

} // namespace

TEST_F(UpdateFlowTest, TheReportListsTheChangesCancelKeepsAndApplyWritesOneUndoStep)
{
    const int top = AddAndChange();
    ASSERT_NE(top, 0);
    const QString before = Catalogue();

    // Cancel: the report was shown, nothing is written.
    WhenModal<CChangeReportDlg>([](CChangeReportDlg& report) {
        EXPECT_EQ(report.SummaryText(),
                  QStringLiteral("3 added (1.47 KB), 2 removed (40 bytes), 1 changed, 1 moved"));
        const QStringList filters = {"All changes (7)", "Added (3)", "Removed (2)",
                                     "Changed (1)",     "Moved (1)", "Unreadable (0)"};
        QComboBox& filter = report.Filter();
        ASSERT_EQ(filter.count(), filters.size());
        for (int i = 0; i < filters.size(); ++i) {
            EXPECT_EQ(filter.itemText(i), filters[i]);
            filter.setCurrentIndex(i);
            // "Unchanged" rows are never listed: the count is the number of rows.
            EXPECT_EQ(report.Model().rowCount(),
                      filters[i].section(QLatin1Char('('), 1).chopped(1).toInt());
        }
        filter.setCurrentIndex(4);
        const CChangeReportModel& rows = report.Model();
        EXPECT_EQ(rows.index(0, CChangeReportModel::Path).data().toString(), "newdir/e.dat");
        EXPECT_EQ(rows.index(0, CChangeReportModel::MovedFrom).data().toString(), "move/e.dat");
        filter.setCurrentIndex(3);
        EXPECT_EQ(rows.index(0, CChangeReportModel::Size).data().toString(), "10 bytes");
        EXPECT_EQ(rows.index(0, CChangeReportModel::NewSize).data().toString(), "25 bytes");
        filter.setCurrentIndex(2);
        report.Table().sortByColumn(CChangeReportModel::Path, Qt::DescendingOrder);
        EXPECT_EQ(rows.index(0, CChangeReportModel::Path).data().toString(), "old/d.txt");
        EXPECT_EQ(rows.index(1, CChangeReportModel::Path).data().toString(), "old/");
        EXPECT_EQ(rows.index(1, CChangeReportModel::Size).data().toString(), QString());
        report.reject();
    });
    EXPECT_FALSE(CUpdateFlow::Run(nullptr, m_doc, top));
    EXPECT_EQ(Catalogue(), before);

    // Apply: the catalogue is the tree as it is now, its history has the update, and
    // one Undo gives the catalogue back.
    WhenModal<CChangeReportDlg>([](CChangeReportDlg& report) { report.ApplyButton().click(); });
    EXPECT_TRUE(CUpdateFlow::Run(nullptr, m_doc, top));
    EXPECT_NE(UnitNamed(top, "new.txt"), 0);
    EXPECT_EQ(UnitNamed(top, "d.txt"), 0);
    const QString after = Catalogue();
    CPropertiesDlg properties(top, false, m_doc);
    EXPECT_EQ(properties.TabTitles(), QStringList({"Folder Info", "History"}));
    const auto* history = properties.findChild<QTableWidget*>();
    ASSERT_NE(history, nullptr);
    ASSERT_EQ(history->rowCount(), 1);
    QStringList cells;
    for (int c = 1; c < history->columnCount(); ++c)
        cells << history->item(0, c)->text();
    EXPECT_EQ(cells, QStringList({"3", "2", "1", "1", "5", "1.54 KB"}));

    // As catalogued now: a message, no report.
    EXPECT_FALSE(CUpdateFlow::Run(nullptr, m_doc, top));
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("No changes: \"Tree\" is as catalogued."));

    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(Catalogue(), before);
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_EQ(Catalogue(), after);
}

TEST_F(UpdateFlowTest, ASourceGoneOrNeverRecordedIsChosenByTheUser)
{
    const int top = AddAndChange();
    ASSERT_NE(top, 0);
    const QString moved = m_dir.filePath(QStringLiteral("Elsewhere"));
    ASSERT_TRUE(QDir().rename(m_root, moved));

    // The recorded folder is gone: the box says so, the folder chooser gives the new
    // place, which the update records.
    QString reason;
    const auto chooseFolder = [&](const QString& folder) {
        WhenModal<QMessageBox>([&reason, folder](QMessageBox& box) {
            reason = box.text();
            WhenModal<QFileDialog>([folder](QFileDialog& files) {
                files.setDirectory(folder);
                static_cast<QDialog&>(files).accept();
            });
            box.findChild<QPushButton*>(QStringLiteral("folderButton"))->click();
        });
    };
    chooseFolder(moved);
    WhenModal<CChangeReportDlg>([](CChangeReportDlg& report) { report.ApplyButton().click(); });
    EXPECT_TRUE(CUpdateFlow::Run(nullptr, m_doc, top));
    EXPECT_TRUE(reason.contains(QStringLiteral("not there now"))) << reason.toStdString();
    UnitSource source;
    ASSERT_TRUE(m_doc.Database().GetUnitSource(top, source));
    EXPECT_EQ(QFileInfo(source.SourcePath), QFileInfo(moved));

    // A catalogue from before sources were recorded: asked for one; Cancel ends it.
    m_doc.Database().Execute(QStringLiteral("DELETE FROM UnitSources"));
    WhenModal<QMessageBox>([&reason](QMessageBox& box) {
        reason = box.text();
        box.button(QMessageBox::Cancel)->click();
    });
    const QString now = Catalogue();
    EXPECT_FALSE(CUpdateFlow::Run(nullptr, m_doc, top));
    EXPECT_EQ(reason, QStringLiteral("No source is recorded for \"Tree\"; choose where to read it "
                                     "from."));
    EXPECT_EQ(Catalogue(), now);
}

TEST_F(UpdateFlowTest, TheCommandIsOfferedForUnitsLyingDirectlyInAStorage)
{
    MakeFile(At("docs/b.txt"), 20);
    const int top = Add(CAddLocationJob::Mode::Folder, m_root);
    const int single = Add(CAddLocationJob::Mode::File, At("docs/b.txt"));
    ASSERT_NE(single, 0);
    CMainFrame frame(m_doc);
    frame.show();
    frame.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&frame));
    m_doc.SetSelection(Selection::None(), nullptr);
    const QAction& update = *frame.Commands().Get(CommandIds::Update);
    EXPECT_EQ(update.shortcut(), QKeySequence(QStringLiteral("Ctrl+U")));

    frame.BrowseTo({m_storage}, 0);
    frame.Navigation().setFocus();
    EXPECT_FALSE(update.isEnabled()); // a storage
    frame.BrowseTo({m_storage, top}, 0);
    EXPECT_TRUE(update.isEnabled());
    frame.BrowseTo({m_storage, top, UnitNamed(top, "docs")}, 0);
    EXPECT_FALSE(update.isEnabled()); // a folder inside the folder
    // In the list: the file added on its own, then a file inside the folder.
    frame.BrowseTo({m_storage}, single);
    EXPECT_TRUE(update.isEnabled());
    frame.BrowseTo({m_storage, top, UnitNamed(top, "docs")}, UnitNamed(top, "b.txt"));
    EXPECT_FALSE(update.isEnabled());
    // A click on a unit of the storage in the list offers it at once, as Ctrl+U needs.
    frame.BrowseTo({m_storage}, 0);
    frame.Navigation().setFocus();
    EXPECT_FALSE(update.isEnabled());
    QAbstractItemView* list = frame.Details().ActiveView();
    const QRect first = list->visualRect(list->model()->index(0, 0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, first.center());
    EXPECT_TRUE(update.isEnabled());
}

TEST_F(UpdateFlowTest, ScreenshotOfTheChangeReport)
{
    // A folder of project files, a week later: drafts grown, a new chapter, old notes
    // gone, the pictures moved into a folder of their own.
    m_root = m_dir.filePath(QStringLiteral("Book project"));
    const qint64 week = 7 * 24 * 3600;
    MakeFile(At("chapter-1.odt"), 48213);
    MakeFile(At("chapter-2.odt"), 35122);
    MakeFile(At("outline.md"), 2310);
    MakeFile(At("notes/interview-2019.txt"), 8120);
    MakeFile(At("notes/ideas.txt"), 1410);
    MakeFile(At("cover.png"), 412880);
    MakeFile(At("map.jpg"), 220144);
    const int top = Add(CAddLocationJob::Mode::Folder, m_root);
    ASSERT_NE(top, 0);
    MakeFile(At("chapter-2.odt"), 51240, kThen + week);
    MakeFile(At("outline.md"), 2488, kThen + week);
    MakeFile(At("chapter-3.odt"), 12870, kThen + week);
    ASSERT_TRUE(QFile::remove(At("notes/interview-2019.txt")));
    MakeFile(At("images/sketch.png"), 90112, kThen + week);
    ASSERT_TRUE(QFile::rename(At("cover.png"), At("images/cover.png")));
    ASSERT_TRUE(QFile::rename(At("map.jpg"), At("images/map.jpg")));
    const std::optional<CChangeList> changes = Rescan(top, m_root);
    ASSERT_TRUE(changes);

    CChangeReportDlg report(m_doc, top, *changes, m_root, QString());
    report.resize(980, 380);
    report.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&report));
    QApplication::processEvents();
    const QPixmap picture =
        QGuiApplication::platformName() == QLatin1String("xcb")
            ? QGuiApplication::primaryScreen()->grabWindow(
                  0, report.frameGeometry().x(), report.frameGeometry().y(),
                  report.frameGeometry().width(), report.frameGeometry().height())
            : report.grab();
    ASSERT_FALSE(picture.isNull());
    const QString folder = qEnvironmentVariable("SHELFWISE_SCREENSHOT_DIR");
    if (!folder.isEmpty()) {
        EXPECT_TRUE(picture.save(QDir(folder).filePath(QStringLiteral("change-report.png"))));
    }
    report.reject();
}
