// The report dialog on a copy of the sample catalogue: its choices, the pages it has
// written for the whole catalogue, one storage and each nesting level, the page handed
// to the desktop, and what a failure, a path that cannot be created and Cancel while
// the page is being written leave behind.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "common/WorkerEvent.h"
#include "document/ShelfwiseDoc.h"
#include "report/ReportDialog.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

// Sample catalogue storages.
constexpr int kLivingRoomShelf = 1;
constexpr int kCar = 3;
const QStringList kStorageNames = {QStringLiteral("Living room shelf"),
                                   QStringLiteral("Box 1 (attic)"), QStringLiteral("Car"),
                                   QStringLiteral("Anna's drawer")};

const QString kRow = QStringLiteral("<tr class=\"data-row\">");
const QString kIndent = QStringLiteral("<span class=\"indent\">&middot;</span>");

// The page as text: UTF-16 little-endian, after its byte-order mark when it has one (a
// page written into a pipe has none).
QString PageText(const QByteArray& bytes)
{
    const int skip = bytes.startsWith("\xFF\xFE") ? 2 : 0;
    return QString(reinterpret_cast<const QChar*>(bytes.constData() + skip),
                   (bytes.size() - skip) / 2);
}

QString ReadPage(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? PageText(file.readAll()) : QStringLiteral("<no file>");
}

// The page's data rows, each with the number of indentation marks it starts with.
std::vector<int> RowDepths(const QString& page)
{
    std::vector<int> depths;
    const QStringList pieces = page.split(kRow);
    for (qsizetype i = 1; i < pieces.size(); ++i)
        depths.push_back(
            static_cast<int>(pieces[i].section(QStringLiteral("</td>"), 0, 0).count(kIndent)));
    return depths;
}

class ReportDialogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_doc.OnOpenDocument(CopySampleCatalogue(m_dir.filePath("sample.db3"))));
    }

    // A dialog whose save dialog answers with m_nextPath and whose pages go to m_opened
    // instead of a browser.
    std::unique_ptr<CReportDialog> MakeDialog(int preselectedStorageId = -1)
    {
        auto dialog = std::make_unique<CReportDialog>(m_doc, preselectedStorageId);
        dialog->SetSaveFileChooser([this](QWidget*, const QString& proposed) {
            ++m_chooserCalls;
            m_proposed = proposed;
            return m_nextPath;
        });
        dialog->SetUrlOpener([this](const QUrl& url) {
            m_opened.push_back(url);
            return true;
        });
        dialog->show();
        return dialog;
    }

    static QPushButton* Button(const CReportDialog& dialog, const char* name)
    {
        return dialog.findChild<QPushButton*>(QString::fromLatin1(name));
    }

    // Clicks OK with path as the answer of the save dialog and lets the worker finish.
    bool RunReport(CReportDialog& dialog, const QString& path)
    {
        m_nextPath = path;
        QTest::mouseClick(Button(dialog, "okButton"), Qt::LeftButton);
        return QTest::qWaitFor([&] { return !dialog.IsRunning(); }, 20000);
    }

    QString OutPath(const QString& name = QStringLiteral("report.html")) const
    {
        return m_out.filePath(name);
    }

#ifdef Q_OS_UNIX
    // Starts a report into a pipe that nobody reads yet: the worker, with the catalogue
    // read and progress at 10, waits to open it, so the report is certain to be running.
    bool StartIntoPipe(CReportDialog& dialog)
    {
        m_nextPath = OutPath(QStringLiteral("pipe.html"));
        if (mkfifo(QFile::encodeName(m_nextPath).constData(), 0600) != 0)
            return false;
        QTest::mouseClick(Button(dialog, "okButton"), Qt::LeftButton);
        auto* progress = dialog.findChild<QProgressBar*>(QStringLiteral("progressBar"));
        return QTest::qWaitFor([&] { return progress->value() == 10; }, 20000);
    }

    // Lets the worker open the pipe, waits for its end and returns what it wrote.
    QByteArray DrainPipe(CReportDialog& dialog)
    {
        const int pipe = ::open(QFile::encodeName(m_nextPath).constData(), O_RDONLY | O_NONBLOCK);
        EXPECT_GE(pipe, 0);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !dialog.IsRunning(); }, 20000));
        QByteArray bytes;
        char chunk[4096];
        ssize_t got = 0;
        while (pipe >= 0 && (got = ::read(pipe, chunk, sizeof chunk)) > 0)
            bytes.append(chunk, static_cast<int>(got));
        ::close(pipe);
        return bytes;
    }
#endif

    // The rows each nesting level must list for a storage, computed from the units.
    std::map<int, int> RowsPerLevel(int storageId)
    {
        std::vector<ReportRow> units;
        m_doc.Database().GetStorageUnits(units, storageId);
        std::map<int, int> depthOf;
        bool grew = true;
        while (grew) {
            grew = false;
            for (const ReportRow& unit : units) {
                if (depthOf.count(unit.UnitID) != 0)
                    continue;
                if (unit.ParentUnitID <= 0) // NULL: the unit lies in the storage
                    depthOf[unit.UnitID] = 1;
                else if (depthOf.count(unit.ParentUnitID) != 0)
                    depthOf[unit.UnitID] = depthOf[unit.ParentUnitID] + 1;
                else
                    continue;
                grew = true;
            }
        }
        std::map<int, int> rows{{1, 0}, {2, 0}, {3, 0}, {-1, 0}};
        for (const auto& unit : depthOf) {
            for (auto& level : rows) {
                if (level.first == -1 || unit.second <= level.first)
                    ++level.second;
            }
        }
        return rows;
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_out;
    FakePrompter m_prompter;
    CShelfwiseDoc m_doc{true};
    QString m_nextPath;
    QString m_proposed; // what the save dialog was last asked to start from
    int m_chooserCalls = 0;
    std::vector<QUrl> m_opened;
};

} // namespace

TEST_F(ReportDialogTest, OffersAllStoragesAndTheLevelsAndWritesTheWholeCatalogue)
{
    auto dialog = MakeDialog();
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Create HTML Report"));
    auto* storages = dialog->findChild<QComboBox*>(QStringLiteral("storageCombo"));
    auto* levels = dialog->findChild<QComboBox*>(QStringLiteral("levelCombo"));
    auto* progress = dialog->findChild<QProgressBar*>(QStringLiteral("progressBar"));
    auto* percent = dialog->findChild<QLabel*>(QStringLiteral("percentLabel"));
    ASSERT_TRUE(storages && levels && progress && percent);

    // "All" first, then the document's storages in its order, each with its id.
    ASSERT_EQ(storages->count(), 1 + static_cast<int>(m_doc.Storages().size()));
    EXPECT_EQ(storages->itemText(0), QStringLiteral("All"));
    EXPECT_EQ(storages->itemData(0).toInt(), -1);
    for (size_t i = 0; i < m_doc.Storages().size(); ++i) {
        const int index = static_cast<int>(i) + 1;
        EXPECT_EQ(storages->itemText(index), m_doc.Storages()[i].StorageName);
        EXPECT_EQ(storages->itemData(index).toInt(), m_doc.Storages()[i].StorageID);
    }
    QStringList levelTexts;
    for (int i = 0; i < levels->count(); ++i)
        levelTexts << levels->itemText(i);
    EXPECT_EQ(levelTexts, (QStringList{"1", "2", "3", "All"}));
    EXPECT_EQ(dialog->SelectedStorage(), -1);
    EXPECT_EQ(dialog->SelectedNestingLevel(), 1);
    EXPECT_FALSE(progress->isVisible());
    EXPECT_FALSE(percent->isVisible());
    for (const QWidget* widget : dialog->findChildren<QWidget*>()) {
        if (widget->focusPolicy() & Qt::TabFocus) {
            EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
        }
    }

    // Cancelling the save dialog does nothing.
    QTest::mouseClick(Button(*dialog, "okButton"), Qt::LeftButton);
    EXPECT_EQ(m_chooserCalls, 1);
    EXPECT_FALSE(dialog->IsRunning());
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_FALSE(progress->isVisible());

    // The whole tree of every storage: progress rises from 0 through 10 to 100, the page
    // holds every storage and goes to the desktop, and the dialog closes as OK.
    levels->setCurrentIndex(levels->findText(QStringLiteral("All")));
    QSignalSpy running(dialog.get(), &CReportDialog::reportRunning);
    QSignalSpy values(progress, &QProgressBar::valueChanged);
    ASSERT_TRUE(RunReport(*dialog, OutPath()));
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_FALSE(dialog->isVisible());
    ASSERT_EQ(running.count(), 2);
    EXPECT_TRUE(running.at(0).at(0).toBool());
    EXPECT_FALSE(running.at(1).at(0).toBool());
    std::vector<int> seen;
    for (const auto& value : values)
        seen.push_back(value.at(0).toInt());
    ASSERT_GE(seen.size(), 3u);
    EXPECT_EQ(seen.front(), 10);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(seen.back(), 100);
    EXPECT_EQ(m_opened, std::vector<QUrl>{QUrl::fromLocalFile(OutPath())});
    EXPECT_TRUE(m_prompter.Messages().empty());

    const QString page = ReadPage(OutPath());
    EXPECT_TRUE(page.contains(QStringLiteral("<title>Report for sample.db3</title>")));
    EXPECT_TRUE(page.endsWith(QStringLiteral("</html>")));
    for (const QString& name : kStorageNames)
        EXPECT_TRUE(page.contains(QStringLiteral("<caption>") + name)) << name.toStdString();
    int allRows = 0;
    for (const StorageRecord& storage : m_doc.Storages())
        allRows += RowsPerLevel(storage.StorageID)[-1];
    EXPECT_EQ(static_cast<int>(RowDepths(page).size()), allRows);
}

TEST_F(ReportDialogTest, OneStorageAtEachNestingLevel)
{
    // A preselected storage is the one reported on.
    auto preselected = MakeDialog(kCar);
    EXPECT_EQ(preselected->SelectedStorage(), kCar);
    ASSERT_TRUE(RunReport(*preselected, OutPath(QStringLiteral("car.html"))));
    const QString carPage = ReadPage(OutPath(QStringLiteral("car.html")));
    EXPECT_TRUE(carPage.contains(QStringLiteral("<caption>Car</caption>")));
    for (const QString& name : kStorageNames.mid(0, 2))
        EXPECT_FALSE(carPage.contains(name)) << name.toStdString();

    // Each level lists the units down to it, indented one mark a level below the first.
    const std::map<int, int> expected = RowsPerLevel(kLivingRoomShelf);
    ASSERT_GT(expected.at(-1), expected.at(1));
    for (int level : {1, 2, 3, -1}) {
        auto dialog = MakeDialog();
        ASSERT_TRUE(dialog->SelectStorage(kLivingRoomShelf));
        ASSERT_TRUE(dialog->SelectNestingLevel(level));
        const QString path = OutPath(QStringLiteral("level %1.html").arg(level));
        ASSERT_TRUE(RunReport(*dialog, path));
        EXPECT_EQ(dialog->result(), QDialog::Accepted);

        const QString page = ReadPage(path);
        EXPECT_TRUE(page.contains(
            QStringLiteral("<caption>Living room shelf (Left half: films, right half: music.)")));
        EXPECT_FALSE(page.contains(QStringLiteral("Box 1 (attic)")));
        const std::vector<int> depths = RowDepths(page);
        EXPECT_EQ(static_cast<int>(depths.size()), expected.at(level)) << level;
        ASSERT_FALSE(depths.empty());
        EXPECT_EQ(depths.front(), 0);
        const int deepest = *std::max_element(depths.begin(), depths.end());
        if (level == -1) {
            EXPECT_GE(deepest, 3);
        } else {
            EXPECT_EQ(deepest, level - 1) << level;
        }
    }
    EXPECT_EQ(m_opened.size(), 5u);
    EXPECT_EQ(m_opened.back(), QUrl::fromLocalFile(OutPath(QStringLiteral("level -1.html"))));
}

TEST_F(ReportDialogTest, TheSaveDialogProposesThePageBesideTheCatalogueOrWhereTheLastWent)
{
    // A catalogue with a file: its name, as a page, in its folder.
    auto titled = MakeDialog();
    m_nextPath.clear();
    QTest::mouseClick(Button(*titled, "okButton"), Qt::LeftButton);
    EXPECT_EQ(m_proposed, m_dir.filePath(QStringLiteral("sample.html")));
    const QString elsewhere = OutPath(QStringLiteral("kept/discs.report.html"));
    ASSERT_TRUE(QDir().mkpath(QFileInfo(elsewhere).path()));
    ASSERT_TRUE(RunReport(*titled, elsewhere));
    EXPECT_EQ(titled->ReportPath(), elsewhere);

    // A catalogue without a file: "Untitled.html" where the last report went.
    ASSERT_TRUE(m_doc.OnNewDocument());
    auto untitled = MakeDialog();
    ASSERT_TRUE(RunReport(*untitled, OutPath(QStringLiteral("untitled.html"))));
    EXPECT_EQ(m_proposed, QFileInfo(elsewhere).dir().filePath(QStringLiteral("Untitled.html")));
    // That folder gone, the home folder.
    ASSERT_TRUE(QDir(QFileInfo(elsewhere).path()).removeRecursively());
    ASSERT_TRUE(QDir(m_out.path()).removeRecursively());
    auto homeless = MakeDialog();
    m_nextPath.clear();
    QTest::mouseClick(Button(*homeless, "okButton"), Qt::LeftButton);
    EXPECT_EQ(m_proposed, QDir::home().filePath(QStringLiteral("Untitled.html")));
}

TEST_F(ReportDialogTest, FailureKeepsTheDialogOpenForAnotherTry)
{
    auto dialog = MakeDialog();
    // A catalogue that cannot be read: the report fails and says so.
    m_doc.Database().Execute(QStringLiteral("ALTER TABLE Units RENAME TO UnitsAway"));
    ASSERT_TRUE(RunReport(*dialog, OutPath()));
    ASSERT_EQ(m_prompter.Messages().size(), 1u);
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Operation has been failed"));
    EXPECT_EQ(m_prompter.Messages().front().MessageIcon, UserPrompter::Icon::Error);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(Button(*dialog, "okButton")->isEnabled());
    EXPECT_TRUE(dialog->findChild<QComboBox*>(QStringLiteral("storageCombo"))->isEnabled());
    EXPECT_FALSE(dialog->findChild<QProgressBar*>(QStringLiteral("progressBar"))->isVisible());
    EXPECT_TRUE(m_opened.empty());
    EXPECT_FALSE(QFile::exists(OutPath()));

    // Once the catalogue is whole again the same dialog writes the page.
    m_doc.Database().Execute(QStringLiteral("ALTER TABLE UnitsAway RENAME TO Units"));
    ASSERT_TRUE(RunReport(*dialog, OutPath()));
    EXPECT_EQ(m_prompter.Messages().size(), 1u);
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_TRUE(ReadPage(OutPath()).endsWith(QStringLiteral("</html>")));
    EXPECT_EQ(m_opened, std::vector<QUrl>{QUrl::fromLocalFile(OutPath())});
}

TEST_F(ReportDialogTest, PathThatCannotBeCreatedStillEndsNormally)
{
    // No page can be made in a folder that does not exist: nothing is written, the
    // report still ends as a written one and the desktop is handed the path, which it
    // reports as missing.
    auto dialog = MakeDialog();
    const QString missing = OutPath(QStringLiteral("no such folder/report.html"));
    ASSERT_TRUE(RunReport(*dialog, missing));
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_TRUE(m_prompter.Messages().empty());
    EXPECT_FALSE(QFile::exists(missing));
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(missing).path()));
    EXPECT_EQ(m_opened, std::vector<QUrl>{QUrl::fromLocalFile(missing)});
}

#ifdef Q_OS_UNIX
TEST_F(ReportDialogTest, CancelWhileWritingWaitsForTheWorkerAndKeepsTheDialog)
{
    auto dialog = MakeDialog();
    ASSERT_TRUE(dialog->SelectNestingLevel(-1));
    ASSERT_TRUE(StartIntoPipe(*dialog));
    EXPECT_TRUE(dialog->findChild<QProgressBar*>(QStringLiteral("progressBar"))->isVisible());
    EXPECT_EQ(dialog->findChild<QLabel*>(QStringLiteral("percentLabel"))->text(),
              QStringLiteral("10 %"));
    EXPECT_FALSE(Button(*dialog, "okButton")->isEnabled());
    EXPECT_FALSE(dialog->findChild<QComboBox*>(QStringLiteral("levelCombo"))->isEnabled());

    // Neither closing the window, nor Escape, nor Cancel closes it while the worker runs;
    // each asks the worker to stop.
    dialog->close();
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    QTest::mouseClick(Button(*dialog, "cancelButton"), Qt::LeftButton);
    QApplication::processEvents();
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(dialog->IsRunning());

    // The worker stops before its first row: what it wrote stays, and is not opened.
    const QString page = PageText(DrainPipe(*dialog));
    EXPECT_TRUE(page.contains(QStringLiteral("<caption>")));
    EXPECT_FALSE(page.contains(kRow));
    EXPECT_FALSE(page.endsWith(QStringLiteral("</html>")));
    ASSERT_EQ(m_prompter.Messages().size(), 1u);
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Operation has been cancelled"));
    EXPECT_EQ(m_prompter.Messages().front().MessageIcon, UserPrompter::Icon::Information);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(Button(*dialog, "okButton")->isEnabled());
    EXPECT_FALSE(dialog->findChild<QProgressBar*>(QStringLiteral("progressBar"))->isVisible());
    EXPECT_TRUE(m_opened.empty());

    // Idle again: Cancel closes the dialog.
    QTest::mouseClick(Button(*dialog, "cancelButton"), Qt::LeftButton);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->result(), QDialog::Rejected);
}

// The dialog while a report is being written. With SHELFWISE_SCREENSHOT_DIR set (and
// QT_QPA_PLATFORM=xcb under Xvfb) the picture is kept there.
TEST_F(ReportDialogTest, Screenshot)
{
    auto dialog = MakeDialog(kLivingRoomShelf);
    ASSERT_TRUE(dialog->SelectNestingLevel(-1));
    ASSERT_TRUE(StartIntoPipe(*dialog));
    WorkerEvent later(WorkerEvent::Progress, 46); // as a longer report would show
    QApplication::sendEvent(dialog.get(), &later);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    QApplication::processEvents();

    QPixmap picture = dialog->grab();
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        const QRect area = dialog->frameGeometry();
        picture = QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(),
                                                               area.height());
    }
    EXPECT_FALSE(picture.isNull());
    const QString folder = qEnvironmentVariable("SHELFWISE_SCREENSHOT_DIR");
    if (!folder.isEmpty()) {
        EXPECT_TRUE(picture.save(QDir(folder).filePath(QStringLiteral("report-dialog.png"))));
    }
    QTest::mouseClick(Button(*dialog, "cancelButton"), Qt::LeftButton);
    DrainPipe(*dialog);
}
#endif
