// The small dialogs around an addition: the wait box that cannot be closed before the
// volume answers, Add New Storage's name checks, the disc's "..." button, and a picture
// of the add-disc dialog for the README.
#include "FakeDriveSystem.h"
#include "FakePrompter.h"
#include "Gate.h"

#include "acquisition/AddLocationDlg.h"
#include "acquisition/AddStorageDlg.h"
#include "acquisition/GetDiscInformationDlg.h"
#include "document/ShelfwiseDoc.h"

#include <QComboBox>
#include <QDir>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace {

// A drive whose volume answers only when the test opens the gate.
class GatedDrives final : public DriveSystem
{
public:
    Gate Volume;

    std::vector<OpticalDrive> ListOpticalDrives() override { return {}; }
    VolumeInfo ReadVolumeInfo(const QString&) override
    {
        Volume.Pass();
        return {QStringLiteral("SLOWDISC"), 42, 2048};
    }
    qint64 ReadVolumeLength(const QString&) override { return 2048; }
    bool IsMediaPresent(const QString&) override { return true; }
    bool LockMedia(const QString&) override { return false; }
    void UnlockMedia(const QString&) override {}
    void EjectMedia(const QString&) override {}
};

} // namespace

TEST(GetDiscInformationDialog, CannotBeClosedUntilTheVolumeAnswers)
{
    auto drives = std::make_shared<GatedDrives>();
    CGetDiscInformationDlg wait(drives, QStringLiteral("/dev/sr0"));
    const GateOpener opener(drives->Volume);
    EXPECT_EQ(wait.windowTitle(), QStringLiteral("Shelfwise"));
    EXPECT_EQ(wait.findChild<QLabel*>()->text(),
              QStringLiteral("Getting information about the disc..."));
    wait.show();
    ASSERT_TRUE(QTest::qWaitFor([&] { return drives->Volume.Arrived() > 0; }, 10000));

    wait.reject();
    QTest::keyClick(&wait, Qt::Key_Escape);
    EXPECT_FALSE(wait.close());
    QCoreApplication::processEvents(); // whatever the refusals left for later
    EXPECT_TRUE(wait.isVisible());
    EXPECT_FALSE(wait.IsFinished());
    EXPECT_TRUE(wait.Result().IsEmpty());

    drives->Volume.Open();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !wait.isVisible(); }, 10000));
    EXPECT_TRUE(wait.IsFinished());
    EXPECT_EQ(wait.result(), QDialog::Accepted);
    EXPECT_EQ(wait.Result().Label, QStringLiteral("SLOWDISC"));
    EXPECT_EQ(wait.Result().SerialNumber, 42U);
    EXPECT_EQ(wait.Result().Size, 2048);

    // The modal form reads a present disc's volume, and an empty drive's as nothing.
    auto fake = std::make_shared<FakeDriveSystem>();
    QTemporaryDir dir;
    fake->AddDrive({QString(), dir.path(), true, {QStringLiteral("FILMS"), 7, 4096}, false});
    fake->AddDrive({QString(), QString(), false, {}, false});
    const VolumeInfo films = CGetDiscInformationDlg::Read(fake, dir.path(), nullptr);
    EXPECT_EQ(films.Label, QStringLiteral("FILMS"));
    EXPECT_EQ(films.SerialNumber, 7U);
    EXPECT_TRUE(CGetDiscInformationDlg::Read(fake, QStringLiteral("fake1"), nullptr).IsEmpty());
}

TEST(AddStorageDialog, RefusesAnEmptyOrTakenNameAndReturnsTheInput)
{
    FakePrompter prompter;
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    doc.AddStorage(QStringLiteral("Shelf"), QString());
    doc.AddStorage(QStringLiteral("Box \"1\""), QString());

    CAddStorageDlg dialog(doc.Storages());
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Add New Storage"));
    EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("nameLabel"))->text(),
              QStringLiteral("Storage Name:"));
    EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("descriptionLabel"))->text(),
              QStringLiteral("Description:"));
    dialog.show();
    auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("nameEdit"));
    dialog.accept();
    ASSERT_EQ(prompter.Messages().size(), 1U);
    EXPECT_EQ(prompter.LastMessage(), QStringLiteral("Please set storage name."));
    EXPECT_EQ(prompter.Messages().back().MessageIcon, UserPrompter::Icon::Warning);
    name->setText(QStringLiteral("   "));
    dialog.accept();
    EXPECT_EQ(prompter.LastMessage(), QStringLiteral("Please set storage name."));
    name->setText(QStringLiteral(" Box \"1\" "));
    dialog.accept();
    EXPECT_EQ(prompter.LastMessage(),
              QStringLiteral("Storage with name \"Box \"1\"\" is already exists. Please choose "
                             "another name."));
    EXPECT_EQ(prompter.Messages().back().MessageIcon, UserPrompter::Icon::Warning);
    EXPECT_TRUE(dialog.isVisible());

    // The comparison is exact: another case is another name.
    name->setText(QStringLiteral("shelf"));
    dialog.findChild<QPlainTextEdit*>(QStringLiteral("descriptionEdit"))
        ->setPlainText(QStringLiteral("under the stairs"));
    dialog.accept();
    EXPECT_EQ(prompter.Messages().size(), 3U);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.Name(), QStringLiteral("shelf"));
    EXPECT_EQ(dialog.Description(), QStringLiteral("under the stairs"));
}

TEST(AddLocationDialogDisc, OpeningAnEmptyDriveSaysTheDiscIsAbsent)
{
    FakePrompter prompter;
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    doc.AddStorage(QStringLiteral("Shelf"), QString());
    auto drives = std::make_shared<FakeDriveSystem>();
    drives->AddDrive({QString(), QString(), false, {}, false});
    CAddLocationDlg dialog(CAddLocationJob::Mode::Disc, doc, drives, 0);
    QTest::mouseClick(dialog.findChild<QWidget*>(QStringLiteral("openDiscButton")), Qt::LeftButton);
    EXPECT_EQ(prompter.LastMessage(), QStringLiteral("Disc is absent or invalid"));
}

TEST(AddLocationDialogDisc, Screenshot)
{
    FakePrompter prompter;
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    doc.AddStorage(QStringLiteral("Living room shelf"), QString());
    const int box = doc.AddStorage(QStringLiteral("Box 1"), QString());
    auto drives = std::make_shared<FakeDriveSystem>();
    drives->AddDrive({QStringLiteral("/dev/sr0"),
                      QStringLiteral("/media/anna/HOLIDAY_2012"),
                      true,
                      {QStringLiteral("HOLIDAY_2012"), 0x5A3C11E0, 4480000000LL},
                      false});
    drives->AddDrive({QStringLiteral("/dev/sr1"), QString(), false, {}, false});
    CAddLocationDlg dialog(CAddLocationJob::Mode::Disc, doc, drives, box);
    dialog.findChild<QComboBox*>(QStringLiteral("discNameCombo"))
        ->setEditText(QStringLiteral("Holiday 2012, Brittany"));
    dialog.findChild<QRadioButton*>(QStringLiteral("fixedCategoryRadio"))->setChecked(true);
    auto* categories = dialog.findChild<QComboBox*>(QStringLiteral("categoryCombo"));
    categories->setCurrentIndex(categories->findText(QStringLiteral("Film")));
    dialog.findChild<QPlainTextEdit*>(QStringLiteral("descriptionEdit"))
        ->setPlainText(QStringLiteral("Camera films of the summer, copied from the camcorder"));
    dialog.show();
    dialog.move(40, 40);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    QCoreApplication::processEvents();

    QPixmap picture = dialog.grab();
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        const QRect area = dialog.frameGeometry();
        picture = QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(),
                                                               area.height());
    }
    ASSERT_FALSE(picture.isNull());
    const QString folder = qEnvironmentVariable("SHELFWISE_SCREENSHOT_DIR");
    if (!folder.isEmpty()) {
        EXPECT_TRUE(picture.save(QDir(folder).filePath(QStringLiteral("add-disc.png"))));
    }
}
