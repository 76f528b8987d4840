// The add dialogs end to end: a folder tree, a single file, a disc on a made-up drive
// and a real ISO image, each added through CAddLocationDlg into a real catalogue that
// the command line's check then recomputes; the refusals of OK, cancelling a running
// addition, the duplicate-disc answers and the errors report.
#include "FakeDriveSystem.h"
#include "FakeFolderLister.h"
#include "FakePrompter.h"
#include "Gate.h"

#include "acquisition/AddLocationDlg.h"
#include "acquisition/DuplicateDiscDlg.h"
#include "acquisition/FileSystemErrorsDlg.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <ostream>

using Mode = CAddLocationJob::Mode;

// Readable failures: GoogleTest prints a QString as its text.
static void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace {

// Writes a file of size bytes, making its folders.
void MakeFile(const QString& path, qint64 size)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(QByteArray(static_cast<int>(size), 'x'));
}

// Answers a modal dialog of type T as soon as one is shown (its exec() runs an event
// loop, in which the answer's timer fires). Every appearance is answered and counted
// while the answerer lives.
template <typename T> class Answerer
{
public:
    explicit Answerer(std::function<void(T&)> answer)
        : m_answer(std::move(answer)), m_timer(std::make_unique<QTimer>())
    {
        QObject::connect(m_timer.get(), &QTimer::timeout, [this] {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                T* dialog = qobject_cast<T*>(widget);
                if (!dialog || !dialog->isVisible() || dialog == m_last)
                    continue;
                m_last = dialog;
                ++m_count;
                m_answer(*dialog);
            }
        });
        m_timer->start(10);
    }

    int Count() const { return m_count; }

private:
    std::function<void(T&)> m_answer;
    std::unique_ptr<QTimer> m_timer;
    QPointer<T> m_last;
    int m_count = 0;
};

class AddLocationDialog : public ::testing::Test
{
protected:
    AddLocationDialog()
    {
        EXPECT_TRUE(m_doc.OnNewDocument());
        m_shelf = m_doc.AddStorage(QStringLiteral("Shelf"), QString());
        m_box = m_doc.AddStorage(QStringLiteral("Box"), QString());
    }

    ~AddLocationDialog() override { Settings::Instance().AutoEject = false; }

    template <typename T> static T* Child(QWidget& dialog, const char* name)
    {
        T* child = dialog.findChild<T*>(QLatin1String(name));
        EXPECT_NE(child, nullptr) << name;
        return child;
    }

    // OK, then the end of the job.
    static void Finish(CAddLocationDlg& dialog)
    {
        dialog.accept();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !dialog.IsBusy(); }, 60000));
    }

    qint64 Number(const QString& sql)
    {
        std::vector<QString> rows;
        m_doc.Database().QueryRows(sql, rows, &RowMappers::Texts);
        return rows.empty() ? -1 : rows.front().toLongLong();
    }

    QStringList Texts(const QString& sql)
    {
        std::vector<QString> rows;
        m_doc.Database().QueryRows(sql, rows, &RowMappers::Texts);
        return QStringList(rows.begin(), rows.end());
    }

    // Saves the catalogue and lets the command line recompute every counter.
    void ExpectCatalogueChecksOut()
    {
        const QString path = m_dir.filePath(QStringLiteral("saved.db3"));
        ASSERT_TRUE(m_doc.OnSaveDocument(path));
        QProcess cli;
        cli.start(QStringLiteral(SHELFWISE_CLI), {QStringLiteral("check"), path});
        ASSERT_TRUE(cli.waitForFinished(60000));
        EXPECT_EQ(cli.exitCode(), 0) << cli.readAllStandardOutput().toStdString()
                                     << cli.readAllStandardError().toStdString();
    }

    std::vector<QString> MessageTexts() const
    {
        std::vector<QString> texts;
        for (const FakePrompter::Shown& shown : m_prompter.Messages())
            texts.push_back(shown.Text);
        return texts;
    }

    FakePrompter m_prompter;
    CShelfwiseDoc m_doc;
    QTemporaryDir m_dir;
    int m_shelf = 0;
    int m_box = 0;
};

} // namespace

TEST_F(AddLocationDialog, FolderModeAddsTheTreeWithEitherCategoryChoice)
{
    const QString root = m_dir.filePath(QStringLiteral("Holiday 2012"));
    MakeFile(root + QStringLiteral("/Beach/sea.mp3"), 300);
    MakeFile(root + QStringLiteral("/Beach/notes.txt"), 20);
    MakeFile(root + QStringLiteral("/readme.txt"), 5);
    QDir().mkpath(root + QStringLiteral("/Empty"));
    auto drives = std::make_shared<FakeDriveSystem>();
    Answerer<CFileSystemErrorsDlg> report([](CFileSystemErrorsDlg& d) { d.accept(); });

    CAddLocationDlg dialog(Mode::Folder, m_doc, drives, m_box);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Add New Folder"));
    EXPECT_TRUE(Child<QComboBox>(dialog, "driveCombo")->isHidden());
    EXPECT_TRUE(Child<QComboBox>(dialog, "discNameCombo")->isHidden());
    EXPECT_TRUE(Child<QCheckBox>(dialog, "autoEjectCheck")->isHidden());
    EXPECT_FALSE(Child<QLineEdit>(dialog, "pathEdit")->isHidden());
    EXPECT_EQ(Child<QComboBox>(dialog, "storageCombo")->currentText(), QStringLiteral("Box"));
    auto* categories = Child<QComboBox>(dialog, "categoryCombo");
    EXPECT_GE(categories->count(), 4);
    EXPECT_EQ(categories->currentIndex(), 0);
    EXPECT_TRUE(Child<QRadioButton>(dialog, "autoCategoryRadio")->isChecked());
    EXPECT_EQ(Child<QLabel>(dialog, "progressText")->text(), QStringLiteral("0 %"));

    // A trailing separator still names the unit after the folder.
    Child<QLineEdit>(dialog, "pathEdit")->setText(root + QStringLiteral("/"));
    Child<QPlainTextEdit>(dialog, "descriptionEdit")->setPlainText(QStringLiteral("camera roll"));
    Finish(dialog);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_TRUE(dialog.Succeeded());
    EXPECT_EQ(Child<QLabel>(dialog, "progressText")->text(), QStringLiteral("100 %"));
    EXPECT_EQ(report.Count(), 0) << "no errors, no report";
    const int unit = m_doc.LastAddedUnitId();
    EXPECT_EQ(m_doc.LastAddedStorageId(), m_box);
    EXPECT_EQ(Texts(QStringLiteral("SELECT UnitName || '|' || UnitNotes || '|' || StorageID || '|' "
                                   "|| SubfilesNumber || '|' || SubfoldersNumber || '|' || "
                                   "UnitSize FROM Units WHERE UnitID = %1")
                        .arg(unit)),
              QStringList{QStringLiteral("Holiday 2012|camera roll|%1|3|2|325").arg(m_box)});
    EXPECT_EQ(Number(QStringLiteral("SELECT CategoryID FROM Units WHERE UnitName = 'sea.mp3'")), 3);
    EXPECT_EQ(Number(QStringLiteral("SELECT CategoryID FROM Units WHERE UnitName = 'notes.txt'")),
              1);

    // A fixed category goes to every unit of the second addition.
    CAddLocationDlg fixed(Mode::Folder, m_doc, drives, 0);
    EXPECT_EQ(Child<QComboBox>(fixed, "storageCombo")->currentText(), QStringLiteral("Shelf"));
    EXPECT_FALSE(Child<QComboBox>(fixed, "categoryCombo")->isEnabled());
    Child<QRadioButton>(fixed, "fixedCategoryRadio")->setChecked(true);
    auto* fixedCategories = Child<QComboBox>(fixed, "categoryCombo");
    EXPECT_TRUE(fixedCategories->isEnabled());
    fixedCategories->setCurrentIndex(fixedCategories->findText(QStringLiteral("Picture")));
    Child<QLineEdit>(fixed, "pathEdit")->setText(root + QStringLiteral("/Beach"));
    Finish(fixed);
    ASSERT_TRUE(fixed.Succeeded());
    EXPECT_EQ(Texts(QStringLiteral("SELECT DISTINCT CategoryID FROM Units WHERE StorageID = %1")
                        .arg(m_shelf)),
              QStringList{QStringLiteral("4")});
    ExpectCatalogueChecksOut();
}

TEST_F(AddLocationDialog, FileModeAddsOneFileAtOnce)
{
    const QString song = m_dir.filePath(QStringLiteral("Music/song.mp3"));
    MakeFile(song, 1234);
    CAddLocationDlg dialog(Mode::File, m_doc, std::make_shared<FakeDriveSystem>(), m_shelf);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Add New File"));
    Child<QLineEdit>(dialog, "pathEdit")->setText(song);
    dialog.accept();
    // A single file ends within OK: no worker runs.
    EXPECT_FALSE(dialog.IsBusy());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_TRUE(dialog.Succeeded());
    EXPECT_EQ(Texts(QStringLiteral("SELECT UnitName || '|' || UnitType || '|' || UnitSize || '|' "
                                   "|| CategoryID FROM Units WHERE UnitID = %1")
                        .arg(m_doc.LastAddedUnitId())),
              QStringList{QStringLiteral("song.mp3|F|1234|3")});
    EXPECT_TRUE(m_prompter.Messages().empty()) << m_prompter.LastMessage().toStdString();
    ExpectCatalogueChecksOut();
}

TEST_F(AddLocationDialog, OkRefusesMissingInputAndStaysOpen)
{
    auto drives = std::make_shared<FakeDriveSystem>();
    const QString file = m_dir.filePath(QStringLiteral("a.txt"));
    MakeFile(file, 3);

    CAddLocationDlg folder(Mode::Folder, m_doc, drives, m_shelf);
    folder.show();
    auto* path = Child<QLineEdit>(folder, "pathEdit");
    folder.accept();
    path->setText(m_dir.filePath(QStringLiteral("nowhere")));
    folder.accept();
    path->setText(file);
    folder.accept();
    EXPECT_EQ(MessageTexts(),
              (std::vector<QString>{QStringLiteral("Select path first"),
                                    QStringLiteral("Entered path doesn't exist."),
                                    QStringLiteral("Entered path is not a folder.")}));
    EXPECT_TRUE(folder.isVisible());
    EXPECT_FALSE(folder.IsBusy());

    m_prompter.ClearRecords();
    CAddLocationDlg single(Mode::File, m_doc, drives, m_shelf);
    Child<QLineEdit>(single, "pathEdit")->setText(m_dir.path());
    single.accept();
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Entered path is a folder, not a file."));
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 0);

    // Discs: a drive without a medium, then a disc without a name.
    m_prompter.ClearRecords();
    drives->AddDrive({QString(), QString(), false, {}, false});
    const QString mounted = m_dir.filePath(QStringLiteral("mnt"));
    QDir().mkpath(mounted);
    drives->AddDrive({QString(), mounted, true, {QString(), 77, 1000}, false});
    CAddLocationDlg disc(Mode::Disc, m_doc, drives, m_shelf);
    disc.show();
    auto* driveList = Child<QComboBox>(disc, "driveCombo");
    ASSERT_EQ(driveList->count(), 2);
    EXPECT_EQ(driveList->currentIndex(), 0);
    disc.accept();
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Disc is absent or invalid"));
    driveList->setCurrentIndex(1);
    EXPECT_EQ(Child<QComboBox>(disc, "discNameCombo")->currentText(), QString()) << "no label";
    disc.accept();
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Enter name of disc first"));
    EXPECT_EQ(m_prompter.Messages().size(), 2U);
    EXPECT_TRUE(disc.isVisible());
    EXPECT_TRUE(drives->Calls().isEmpty()) << "nothing was locked";

    // A machine without optical drives: the list says so in a greyed entry, and OK waits
    // for a disc image.
    m_prompter.ClearRecords();
    Settings::Instance().AutoEject = true;
    CAddLocationDlg noDrives(Mode::Disc, m_doc, std::make_shared<FakeDriveSystem>(), m_shelf);
    auto* none = Child<QComboBox>(noDrives, "driveCombo");
    ASSERT_EQ(none->count(), 1);
    EXPECT_EQ(none->itemText(0),
              QStringLiteral("No disc drive found: choose a disc image with \"Disc image...\""));
    EXPECT_FALSE(none->model()->flags(none->model()->index(0, 0)) & Qt::ItemIsEnabled);
    QPushButton* ok = Child<QDialogButtonBox>(noDrives, "buttonBox")->button(QDialogButtonBox::Ok);
    EXPECT_FALSE(ok->isEnabled());
    noDrives.accept();
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Disc is absent or invalid"));
    // An image file chosen: OK can be pressed, and auto eject, which an image has no
    // use for, is greyed and unchecked.
    auto* eject = Child<QCheckBox>(noDrives, "autoEjectCheck");
    EXPECT_TRUE(eject->isEnabled() && eject->isChecked());
    noDrives.AddDiscImage(file);
    EXPECT_EQ(none->currentIndex(), 1);
    EXPECT_TRUE(ok->isEnabled());
    EXPECT_FALSE(eject->isEnabled());
    EXPECT_FALSE(eject->isChecked());
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 0);
}

TEST_F(AddLocationDialog, DiscModeAddsTheMountedDiscAndEjectsIt)
{
    auto drives = std::make_shared<FakeDriveSystem>();
    drives->AddDrive({QString(), QString(), false, {}, false});
    const QString mounted = m_dir.filePath(QStringLiteral("HOLIDAY"));
    MakeFile(mounted + QStringLiteral("/Film.avi"), 4096);
    drives->AddDrive(
        {QString(), mounted, true, {QStringLiteral("HOLIDAY"), 0xC0FFEE, 700000}, false});
    Settings::Instance().AutoEject = false;

    CAddLocationDlg dialog(Mode::Disc, m_doc, drives, m_shelf);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Add New Disc"));
    EXPECT_TRUE(Child<QLineEdit>(dialog, "pathEdit")->isHidden());
    auto* names = Child<QComboBox>(dialog, "discNameCombo");
    EXPECT_EQ(names->count(), 0) << "the first drive is empty";
    Child<QComboBox>(dialog, "driveCombo")->setCurrentIndex(1);
    ASSERT_EQ(names->count(), 2);
    EXPECT_EQ(names->itemText(0), QStringLiteral("HOLIDAY"));
    EXPECT_EQ(names->itemText(1), QStringLiteral("Film"));
    auto* eject = Child<QCheckBox>(dialog, "autoEjectCheck");
    EXPECT_FALSE(eject->isChecked());
    eject->setChecked(true);
    // An image file has no tray: the box is greyed and unchecked while it is chosen, and
    // back on the drive it says what it said.
    const QString image = m_dir.filePath(QStringLiteral("disc.iso"));
    MakeFile(image, 4096);
    dialog.AddDiscImage(image);
    EXPECT_FALSE(eject->isEnabled() || eject->isChecked());
    Child<QComboBox>(dialog, "driveCombo")->setCurrentIndex(1);
    EXPECT_TRUE(eject->isEnabled() && eject->isChecked());
    names->setCurrentIndex(1);
    Finish(dialog);
    ASSERT_TRUE(dialog.Succeeded());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_TRUE(Settings::Instance().AutoEject) << "OK keeps the box for next time";
    EXPECT_EQ(drives->Calls(),
              (QStringList{QStringLiteral("lock fake1"), QStringLiteral("unlock fake1"),
                           QStringLiteral("eject fake1")}));
    EXPECT_EQ(Texts(QStringLiteral("SELECT UnitName || '|' || UnitType || '|' || Label || '|' || "
                                   "SerialNumber || '|' || Size || '|' || SubfilesNumber FROM "
                                   "Units JOIN DiscInfo USING (DiscInfoID) WHERE UnitID = %1")
                        .arg(m_doc.LastAddedUnitId())),
              QStringList{QStringLiteral("Film|C|HOLIDAY|%1|700000|1").arg(0xC0FFEE)});
    ExpectCatalogueChecksOut();

    // The box starts from the setting.
    CAddLocationDlg again(Mode::Disc, m_doc, drives, m_shelf);
    EXPECT_TRUE(Child<QCheckBox>(again, "autoEjectCheck")->isChecked());
}

TEST_F(AddLocationDialog, DiscImageFileIsCataloguedFromInsideIt)
{
    if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    const QString tree = m_dir.filePath(QStringLiteral("tree"));
    MakeFile(tree + QStringLiteral("/Docs/letter.txt"), 120);
    MakeFile(tree + QStringLiteral("/Photos/beach.jpg"), 2000);
    MakeFile(tree + QStringLiteral("/top.bin"), 10);
    const QString image = m_dir.filePath(QStringLiteral("backup.iso"));
    QProcess xorriso;
    xorriso.start(QStringLiteral("xorriso"),
                  {"-as", "mkisofs", "-R", "-J", "-V", "BACKUP_2024", "-o", image, tree});
    ASSERT_TRUE(xorriso.waitForFinished(60000) && xorriso.exitCode() == 0);
    const QString noise = m_dir.filePath(QStringLiteral("noise.iso"));
    MakeFile(noise, 64 * 1024);

    Answerer<CFileSystemErrorsDlg> report([](CFileSystemErrorsDlg& d) {
        ADD_FAILURE() << d.Lines().join(QLatin1Char('\n')).toStdString();
        d.accept();
    });
    // The machine's own drive system: it reads an image file as a disc.
    Settings::Instance().AutoEject = true;
    CAddLocationDlg dialog(Mode::Disc, m_doc, DriveSystem::Create(), m_shelf);
    auto* driveList = Child<QComboBox>(dialog, "driveCombo");
    const int drivesBefore = driveList->count();
    dialog.AddDiscImage(noise);
    dialog.accept();
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Disc is absent or invalid"));
    dialog.AddDiscImage(image);
    dialog.AddDiscImage(image); // chosen twice, listed once
    EXPECT_EQ(driveList->count(), drivesBefore + 2);
    EXPECT_EQ(driveList->currentData().toString(), image);
    EXPECT_EQ(Child<QComboBox>(dialog, "discNameCombo")->currentText(),
              QStringLiteral("BACKUP_2024"));
    EXPECT_FALSE(Child<QCheckBox>(dialog, "autoEjectCheck")->isChecked());
    Finish(dialog);
    ASSERT_TRUE(dialog.Succeeded());
    EXPECT_EQ(m_prompter.Messages().size(), 1U);
    EXPECT_TRUE(Settings::Instance().AutoEject) << "an image leaves the drives' choice alone";
    const int disc = m_doc.LastAddedUnitId();
    EXPECT_EQ(Texts(QStringLiteral("SELECT UnitName || '|' || Label || '|' || SubfilesNumber || "
                                   "'|' || SubfoldersNumber || '|' || UnitSize FROM Units JOIN "
                                   "DiscInfo USING (DiscInfoID) WHERE UnitID = %1")
                        .arg(disc)),
              QStringList{QStringLiteral("BACKUP_2024|BACKUP_2024|3|2|2130")});
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitName = 'beach.jpg'")), 1);
    ExpectCatalogueChecksOut();
}

TEST_F(AddLocationDialog, CancelDuringADiscScanRollsBackWithOneMessage)
{
    // A disc whose listing stops in the middle until the test lets it go on.
    const QString mounted = m_dir.filePath(QStringLiteral("disc"));
    QDir().mkpath(mounted);
    QStringList many;
    for (int i = 0; i < 40; ++i)
        many << QStringLiteral("f%1.txt").arg(i);
    FakeFolderLister lister;
    lister.AddFolder(mounted, 1, {QStringLiteral("A/"), QStringLiteral("B/")});
    lister.AddFolder(mounted + QStringLiteral("/A"), 2, many);
    lister.AddFolder(mounted + QStringLiteral("/B"), 3, many);
    Gate gate;
    lister.SetHook([&](const QString& folder, int index) {
        if (folder.endsWith(QLatin1String("/B")) && index == 20)
            gate.Pass();
    });
    auto drives = std::make_shared<FakeDriveSystem>();
    drives->AddDrive({QString(), mounted, true, {QStringLiteral("SLOW"), 5, 1 << 20}, false});

    CAddLocationDlg dialog(Mode::Disc, m_doc, drives, m_shelf);
    dialog.SetFolderLister(&lister);
    dialog.show();
    dialog.accept();
    ASSERT_TRUE(QTest::qWaitFor([&] { return gate.Arrived() > 0; }, 30000));
    EXPECT_TRUE(dialog.IsBusy());
    EXPECT_FALSE(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled());
    EXPECT_FALSE(Child<QWidget>(dialog, "inputArea")->isEnabled());
    // Cancel twice, Escape and the close box: each is a cancel request, none closes.
    QPushButton* cancel = dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel);
    QTest::mouseClick(cancel, Qt::LeftButton);
    QTest::mouseClick(cancel, Qt::LeftButton);
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.close());
    EXPECT_TRUE(dialog.isVisible());
    gate.Open();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog.isVisible(); }, 30000));

    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_FALSE(dialog.Succeeded());
    EXPECT_EQ(MessageTexts(), std::vector<QString>{QStringLiteral("Operation has been cancelled")});
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 0);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM DiscInfo")), 0);
    EXPECT_EQ(Number(QStringLiteral("SELECT DiscsNumber + FilesNumber + StorageSize FROM Storages "
                                    "WHERE StorageID = %1")
                         .arg(m_shelf)),
              0);
    EXPECT_FALSE(m_doc.Database().InTransaction());
    EXPECT_EQ(drives->Calls(),
              (QStringList{QStringLiteral("lock fake0"), QStringLiteral("unlock fake0")}));
}

TEST_F(AddLocationDialog, CancelWhileAFolderIsCountedAddsNothing)
{
    const QString root = m_dir.filePath(QStringLiteral("big"));
    QDir().mkpath(root);
    FakeFolderLister lister;
    lister.AddFolder(root, 1, {QStringLiteral("a.txt"), QStringLiteral("b.txt")});
    Gate gate;
    lister.SetHook([&](const QString&, int index) {
        if (index == 1)
            gate.Pass();
    });
    CAddLocationDlg dialog(Mode::Folder, m_doc, std::make_shared<FakeDriveSystem>(), m_shelf);
    dialog.SetFolderLister(&lister);
    dialog.show();
    Child<QLineEdit>(dialog, "pathEdit")->setText(root);
    dialog.accept();
    ASSERT_TRUE(QTest::qWaitFor([&] { return gate.Arrived() > 0; }, 30000));
    dialog.reject();
    EXPECT_TRUE(dialog.isVisible());
    gate.Open();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog.isVisible(); }, 30000));
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_EQ(MessageTexts(), std::vector<QString>{QStringLiteral("Operation has been cancelled")});
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 0);
}

TEST_F(AddLocationDialog, DuplicateDiscAnswersCancelRevealAndAddAnyway)
{
    const QString mounted = m_dir.filePath(QStringLiteral("cd"));
    MakeFile(mounted + QStringLiteral("/a.txt"), 10);
    MakeFile(mounted + QStringLiteral("/b.txt"), 10);
    auto drives = std::make_shared<FakeDriveSystem>();
    drives->AddDrive({QString(), mounted, true, {QStringLiteral("BACKUP"), 1234, 5000}, false});
    int revealed = 0;
    // The first disc goes on the shelf, the others are meant for the box.
    int storage = m_shelf;
    const auto addDisc = [&](const std::function<void(CDuplicateDiscDlg&)>& answer, int& shown) {
        Answerer<CDuplicateDiscDlg> answerer(answer);
        auto dialog = std::make_unique<CAddLocationDlg>(Mode::Disc, m_doc, drives, storage);
        QObject::connect(dialog.get(), &CAddLocationDlg::revealRequested,
                         [&](int unitId) { revealed = unitId; });
        Finish(*dialog);
        shown = answerer.Count();
        return dialog;
    };
    int shown = 0;
    auto first = addDisc([](CDuplicateDiscDlg& d) { d.accept(); }, shown);
    ASSERT_TRUE(first->Succeeded());
    EXPECT_EQ(shown, 0) << "nothing to compare with yet";
    const int original = m_doc.LastAddedUnitId();
    storage = m_box;

    // Cancel: the dialog closes and nothing is added or locked.
    const int callsBefore = drives->Calls().size();
    QStringList row;
    auto cancelled = addDisc(
        [&](CDuplicateDiscDlg& d) {
            auto* list = d.findChild<QTreeWidget*>(QStringLiteral("discList"));
            EXPECT_EQ(d.windowTitle(), QStringLiteral("Duplicate disc"));
            EXPECT_EQ(d.findChild<QLabel*>(QStringLiteral("introLabel"))->text(),
                      QStringLiteral("Disc probably already exists in the collection:"));
            EXPECT_EQ(list->headerItem()->text(0), QStringLiteral("Name"));
            EXPECT_EQ(list->headerItem()->text(1), QStringLiteral("Label"));
            EXPECT_EQ(list->headerItem()->text(2), QStringLiteral("Size"));
            EXPECT_EQ(list->headerItem()->text(3), QStringLiteral("Storage"));
            EXPECT_EQ(list->header()->sectionSize(1), 150);
            EXPECT_EQ(d.AddAnywayButton()->text(), QStringLiteral("Add Anyway"));
            for (int c = 0; c < 4 && list->topLevelItemCount() == 1; ++c)
                row << list->topLevelItem(0)->text(c);
            QTest::mouseClick(d.CancelButton(), Qt::LeftButton);
        },
        shown);
    EXPECT_EQ(shown, 1);
    // The storage is the one the disc lies in, not the one chosen for the new disc.
    EXPECT_EQ(row, (QStringList{QStringLiteral("BACKUP"), QStringLiteral("BACKUP"),
                                QStringLiteral("4.88 KB"), QStringLiteral("Shelf")}));
    EXPECT_EQ(cancelled->result(), QDialog::Rejected);
    EXPECT_EQ(cancelled->RevealUnitId(), 0);
    EXPECT_EQ(drives->Calls().size(), callsBefore);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType = 'C'")), 1);

    // A double-click on the disc closes both dialogs and names the disc to show.
    auto reveal = addDisc(
        [](CDuplicateDiscDlg& d) {
            auto* list = d.findChild<QTreeWidget*>(QStringLiteral("discList"));
            const QRect rect = list->visualItemRect(list->topLevelItem(0));
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
            QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, rect.center());
            if (d.isVisible()) {
                ADD_FAILURE() << "the double-click did not close the duplicate dialog";
                d.reject();
            }
        },
        shown);
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(reveal->result(), QDialog::Rejected);
    EXPECT_EQ(reveal->RevealUnitId(), original);
    EXPECT_EQ(revealed, original);
    EXPECT_FALSE(reveal->Succeeded());
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType = 'C'")), 1);

    // Add Anyway goes on.
    auto anyway = addDisc(
        [](CDuplicateDiscDlg& d) { QTest::mouseClick(d.AddAnywayButton(), Qt::LeftButton); },
        shown);
    EXPECT_EQ(shown, 1);
    EXPECT_TRUE(anyway->Succeeded());
    EXPECT_NE(m_doc.LastAddedUnitId(), original);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType = 'C'")), 2);
    ExpectCatalogueChecksOut();
}

TEST_F(AddLocationDialog, ErrorsReportListsTheFolderThatCouldNotBeRead)
{
    const QString root = m_dir.filePath(QStringLiteral("photos"));
    QDir().mkpath(root);
    FakeFolderLister lister;
    lister.AddFolder(root, 1,
                     {QStringLiteral("Good/"), QStringLiteral("Locked/"), QStringLiteral("a.txt")});
    lister.AddFolder(root + QStringLiteral("/Good"), 2, {QStringLiteral("b.txt")});
    lister.AddFolder(root + QStringLiteral("/Locked"), 3, {QStringLiteral("c.txt")});
    lister.FailFolder(root + QStringLiteral("/Locked"), EACCES);
    QStringList lines;
    QString title;
    Answerer<CFileSystemErrorsDlg> report([&](CFileSystemErrorsDlg& d) {
        lines = d.Lines();
        title = d.windowTitle();
        d.accept();
    });

    CAddLocationDlg dialog(Mode::Folder, m_doc, std::make_shared<FakeDriveSystem>(), m_shelf);
    dialog.SetFolderLister(&lister);
    Child<QLineEdit>(dialog, "pathEdit")->setText(root);
    Finish(dialog);
    EXPECT_TRUE(dialog.Succeeded());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(report.Count(), 1);
    EXPECT_EQ(title, QStringLiteral("Errors Report"));
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.front().startsWith(root + QStringLiteral("/Locked - ")))
        << lines.front().toStdString();
    EXPECT_GT(lines.front().size(), root.size() + 10) << "the system's message follows";
    EXPECT_EQ(Number(QStringLiteral("SELECT SubfilesNumber FROM Units WHERE UnitID = %1")
                         .arg(m_doc.LastAddedUnitId())),
              2);
    ExpectCatalogueChecksOut();
}
