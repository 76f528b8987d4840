// The bar above the list that recognises a disc inserted while the window runs, fed by
// the watcher's signal and made-up drives: a catalogued disc and where it is, Show,
// Update..., an unknown disc and Add..., and the option that turns it all off.
#include "FakeDriveSystem.h"
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "acquisition/AddLocationDlg.h"
#include "app/ShelfwiseApp.h"
#include "document/ShelfwiseDoc.h"
#include "drives/MountWatcher.h"
#include "options/OptionsDlg.h"
#include "settings/Settings.h"
#include "views/CommandIds.h"
#include "views/InsertedDiscBar.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <functional>

namespace {

// Acts on the first modal dialog of type T that comes up after this call.
template <typename T> void WhenModal(std::function<void(T&)> act)
{
    auto* timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, act] {
        if (auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget())) {
            timer->deleteLater();
            timer->stop();
            act(*dialog);
        }
    });
    timer->start();
}

class InsertedDiscBarTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_app.InitInstance(
            {QStringLiteral("Shelfwise"), CopySampleCatalogue(m_dir.filePath("sample.db3"))}));
        Frame().SetDriveSystem(m_drives);
    }
    void TearDown() override { Settings::Instance().RecogniseInsertedDiscs = true; }

    CMainFrame& Frame() { return *m_app.MainFrame(); }
    CInsertedDiscBar& Bar() { return Frame().InsertedDiscBar(); }
    QPushButton* Button(const char* name) { return Bar().findChild<QPushButton*>(name); }

    // A drive whose medium is mounted at a folder of its own, then the watcher's word.
    QString Insert(const QString& folder, const VolumeInfo& volume)
    {
        FakeDriveSystem::Drive drive;
        drive.MountPoint = m_dir.filePath(folder);
        drive.Volume = volume;
        m_drives->AddDrive(drive);
        emit Bar().Watcher().volumeAppeared(drive.MountPoint);
        return drive.MountPoint;
    }
    bool WaitForBar()
    {
        return QTest::qWaitFor([this] { return !Bar().isHidden(); });
    }

    QTemporaryDir m_dir;
    FakePrompter m_prompter;
    CShelfwiseApp m_app{&m_prompter};
    std::shared_ptr<FakeDriveSystem> m_drives = std::make_shared<FakeDriveSystem>();
};

// The sample catalogue's "Holiday Films 2019", disc 1 in storage 1.
const VolumeInfo kHoliday{QStringLiteral("HOLIDAY_2019"), 1561996351u, 4700372992};

} // namespace

TEST_F(InsertedDiscBarTest, ACataloguedDiscIsNamedWithItsStorageAndCanBeShownOrUpdated)
{
    EXPECT_TRUE(Bar().isHidden());
    EXPECT_TRUE(Bar().Watcher().IsRunning());
    const QString root = Insert(QStringLiteral("holiday"), kHoliday);
    ASSERT_TRUE(WaitForBar());
    EXPECT_EQ(Bar().Text(), QStringLiteral("\"HOLIDAY_2019\" is catalogued as \"Holiday Films "
                                           "2019\" in \"Living room shelf\"."));
    EXPECT_TRUE(Button("insertedDiscAdd")->isHidden());

    Button("insertedDiscShow")->click();
    const QTreeWidgetItem* current = Frame().Navigation().currentItem();
    ASSERT_NE(current, nullptr);
    EXPECT_EQ(CNavigationView::ItemId(current), 1);
    EXPECT_EQ(current->parent(), Frame().Navigation().FindRootItem(1));

    // The update it starts opens its dialogs over the window: each is closed as it comes.
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            dialog->reject();
    });
    closer.start(20);
    QSignalSpy update(&Bar(), &CInsertedDiscBar::updateRequested);
    Button("insertedDiscUpdate")->click();
    closer.stop();
    ASSERT_EQ(update.count(), 1);
    EXPECT_EQ(update.at(0).at(0).toInt(), 1);
    EXPECT_EQ(update.at(0).at(1).toString(), root);

    // The volume goes, and the bar with it; so it does when another catalogue opens.
    emit Bar().Watcher().volumeRemoved(root);
    EXPECT_TRUE(Bar().isHidden());
    emit Bar().Watcher().volumeAppeared(root);
    ASSERT_TRUE(WaitForBar());
    Frame().NewCatalogue();
    EXPECT_TRUE(Bar().isHidden());
}

TEST_F(InsertedDiscBarTest, AnUnknownDiscOffersAddWithItsDriveChosen)
{
    const QString root =
        Insert(QStringLiteral("new"), {QStringLiteral("NEW <b>DISC</b>"), 77, 2048});
    ASSERT_TRUE(WaitForBar());
    EXPECT_EQ(Bar().Text(), QStringLiteral("\"NEW <b>DISC</b>\" is not in the catalogue."));
    EXPECT_TRUE(Button("insertedDiscShow")->isHidden());

    QString chosen;
    WhenModal<CAddLocationDlg>([&chosen](CAddLocationDlg& dialog) {
        chosen =
            dialog.findChild<QComboBox*>(QStringLiteral("driveCombo"))->currentData().toString();
        dialog.reject();
    });
    Button("insertedDiscAdd")->click();
    EXPECT_EQ(chosen, root);
    EXPECT_FALSE(Bar().isHidden()) << "nothing was added: the bar still offers it";
}

TEST_F(InsertedDiscBarTest, TurnedOffInTheOptionsNoBarAppears)
{
    WhenModal<COptionsDlg>([](COptionsDlg& dialog) {
        dialog.findChild<QCheckBox*>(QStringLiteral("recogniseDiscsCheck"))->click();
        dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
    Frame().Commands().Get(CommandIds::Options)->trigger();
    EXPECT_FALSE(Settings::Instance().RecogniseInsertedDiscs);
    EXPECT_FALSE(Bar().Watcher().IsRunning());

    // Even a volume that reaches the recogniser some other way is not shown.
    bool read = false;
    QObject::connect(&Bar().Recogniser(), &CInsertedDiscRecogniser::volumeRead,
                     [&read] { read = true; });
    Insert(QStringLiteral("holiday"), kHoliday);
    ASSERT_TRUE(QTest::qWaitFor([&read] { return read; }));
    EXPECT_TRUE(Bar().isHidden());
}
