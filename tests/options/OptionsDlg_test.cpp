// The options dialog over the process's settings: what each page shows, what OK stores
// (in memory and in the settings file) and hands on, what Cancel leaves alone, and the
// backup-path dialog of the start-up backup.
#include "OptionsTestSupport.h"

#include "options/BackupOptionsTab.h"
#include "options/CategoriesOptionsTab.h"
#include "options/OptionsDlg.h"
#include "options/PathDlg.h"
#include "settings/Settings.h"
#include "views/WidgetPrompter.h"

#include <QApplication>
#include <QCheckBox>
#include <QDate>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <functional>

namespace {

template <typename T> T* Child(const QWidget& parent, const char* name)
{
    T* child = parent.findChild<T*>(QLatin1String(name));
    EXPECT_NE(child, nullptr) << name;
    return child;
}

bool Checked(const QWidget& dialog, const char* name)
{
    return Child<QAbstractButton>(dialog, name)->isChecked();
}

void Click(const QWidget& dialog, const char* name)
{
    Child<QAbstractButton>(dialog, name)->click();
}

QPushButton* Button(const QDialog& dialog, QDialogButtonBox::StandardButton which)
{
    return dialog.findChild<QDialogButtonBox*>()->button(which);
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Runs act on the modal dialog that the next statement opens, once it is up.
void WhenModal(std::function<void(QWidget*)> act)
{
    QTimer::singleShot(0, [act] {
        QWidget* modal = QApplication::activeModalWidget();
        act(modal);
    });
}

class OptionsDlgTest : public OptionsTest
{
};

} // namespace

TEST_F(OptionsDlgTest, OkStoresEveryControlInTheSettingsAndTheirFileThenHandsOn)
{
    Settings& settings = Settings::Instance();
    settings.BackupDate = "14032024";
    COptionsDlg dialog(m_doc);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Options"));
    const auto* tabs = dialog.findChild<QTabWidget*>();
    ASSERT_EQ(tabs->count(), 4);
    EXPECT_EQ(QStringList({tabs->tabText(0), tabs->tabText(1), tabs->tabText(2), tabs->tabText(3)}),
              QStringList({"General", "Categories", "Duplicates", "Backup"}));
    ExpectAccessibleNames(dialog);

    // The defaults, as shown.
    EXPECT_TRUE(Checked(dialog, "defaultStyleRadio"));
    EXPECT_FALSE(Checked(dialog, "everyCheck"));
    auto* minutes = Child<QSpinBox>(dialog, "minutesSpin");
    EXPECT_FALSE(minutes->isEnabled());
    EXPECT_FALSE(Checked(dialog, "afterUpdateCheck"));
    EXPECT_TRUE(Checked(dialog, "chronologicalRadio"));
    EXPECT_TRUE(Checked(dialog, "recogniseDiscsCheck"));
    EXPECT_TRUE(Checked(dialog, "lookInsideArchivesCheck"));
    EXPECT_TRUE(Checked(dialog, "keepThumbnailsCheck"));
    EXPECT_TRUE(Checked(dialog, "serialNumberCheck"));
    EXPECT_TRUE(Checked(dialog, "sizeCheck"));
    EXPECT_TRUE(Checked(dialog, "labelCheck"));
    EXPECT_FALSE(Checked(dialog, "enableCheck"));
    EXPECT_TRUE(Checked(dialog, "weekRadio"));
    EXPECT_TRUE(Checked(dialog, "askPathRadio"));
    auto* path = Child<QLineEdit>(dialog, "pathEdit");
    EXPECT_FALSE(path->isEnabled());
    EXPECT_EQ(Child<QLineEdit>(dialog, "lastBackupEdit")->text(),
              QLocale().toString(QDate(2024, 3, 14), QLocale::LongFormat));

    // Every control changed.
    Click(dialog, "categoryStyleRadio");
    Click(dialog, "everyCheck");
    EXPECT_TRUE(minutes->isEnabled());
    minutes->setValue(25);
    Click(dialog, "afterUpdateCheck");
    Click(dialog, "alphabeticalRadio");
    Click(dialog, "recogniseDiscsCheck");
    Click(dialog, "lookInsideArchivesCheck");
    Click(dialog, "keepThumbnailsCheck");
    Click(dialog, "serialNumberCheck");
    Click(dialog, "sizeCheck");
    Click(dialog, "labelCheck");
    Click(dialog, "enableCheck");
    Click(dialog, "monthRadio");
    Click(dialog, "alwaysPathRadio");
    EXPECT_TRUE(path->isEnabled());
    const QString folder = QDir::toNativeSeparators(m_dir.filePath(QStringLiteral("backups")));
    QTest::keyClicks(path, folder);

    QSignalSpy applied(&dialog, &COptionsDlg::settingsApplied);
    Button(dialog, QDialogButtonBox::Ok)->click();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(applied.count(), 1);

    EXPECT_EQ(settings.FileIconsStyle, FileIconsStyle::CategoryBased);
    EXPECT_EQ(settings.UnitsOrder, UnitsOrder::Alphabetic);
    EXPECT_FALSE(settings.RecogniseInsertedDiscs);
    EXPECT_FALSE(settings.LookInsideArchives);
    EXPECT_FALSE(settings.KeepThumbnails);
    EXPECT_EQ(settings.AutosaveTimeout, 25);
    EXPECT_TRUE(settings.AutosaveAfterUpdate);
    EXPECT_FALSE(settings.CheckSerialNumber);
    EXPECT_FALSE(settings.CheckSize);
    EXPECT_FALSE(settings.CheckLabel);
    EXPECT_TRUE(settings.BackupEnabled);
    EXPECT_EQ(settings.BackupFrequency, BackupFrequency::Month);
    EXPECT_EQ(settings.BackupPath, folder);
    EXPECT_EQ(settings.BackupDate, QByteArray("14032024"));
    // The file holds the same, and the document lists by name now.
    Settings onDisk(settings.FilePath());
    onDisk.LoadSettings();
    EXPECT_EQ(onDisk.KeyValues(), settings.KeyValues());
    EXPECT_TRUE(m_doc.Database().SortByName());
    EXPECT_EQ(m_doc.Storages().front().StorageName, QStringLiteral("Anna's drawer"));
    EXPECT_FALSE(m_doc.IsModified());
}

TEST_F(OptionsDlgTest, TheStoredValuesComeBackAndClearingThemStoresZeroAndAnEmptyPath)
{
    Settings& settings = Settings::Instance();
    settings.FileIconsStyle = FileIconsStyle::Explorer;
    settings.UnitsOrder = UnitsOrder::Alphabetic;
    settings.AutosaveTimeout = 5;
    settings.BackupEnabled = true;
    settings.BackupFrequency = BackupFrequency::Day;
    settings.BackupPath = QStringLiteral("/media/backup");
    settings.CheckSize = false;
    settings.LookInsideArchives = false;
    {
        COptionsDlg dialog(m_doc);
        EXPECT_TRUE(Checked(dialog, "explorerStyleRadio"));
        EXPECT_TRUE(Checked(dialog, "alphabeticalRadio"));
        EXPECT_TRUE(Checked(dialog, "everyCheck"));
        EXPECT_EQ(Child<QSpinBox>(dialog, "minutesSpin")->value(), 5);
        EXPECT_TRUE(Checked(dialog, "dayRadio"));
        EXPECT_TRUE(Checked(dialog, "alwaysPathRadio"));
        EXPECT_EQ(Child<QLineEdit>(dialog, "pathEdit")->text(), QStringLiteral("/media/backup"));
        EXPECT_TRUE(Checked(dialog, "serialNumberCheck"));
        EXPECT_FALSE(Checked(dialog, "sizeCheck"));
        EXPECT_FALSE(Checked(dialog, "lookInsideArchivesCheck"));
        EXPECT_TRUE(Checked(dialog, "keepThumbnailsCheck"));
        // Autosave off, asking for the folder, backup yearly, archives looked into again.
        Click(dialog, "everyCheck");
        Click(dialog, "lookInsideArchivesCheck");
        Click(dialog, "askPathRadio");
        Click(dialog, "yearRadio");
        Click(dialog, "defaultStyleRadio");
        QSignalSpy applied(&dialog, &COptionsDlg::settingsApplied);
        dialog.accept();
        EXPECT_EQ(applied.count(), 1);
    }
    EXPECT_EQ(settings.AutosaveTimeout, 0);
    EXPECT_TRUE(settings.BackupPath.isEmpty());
    EXPECT_EQ(settings.BackupFrequency, BackupFrequency::Year);
    EXPECT_EQ(settings.FileIconsStyle, FileIconsStyle::Default);
    EXPECT_TRUE(settings.LookInsideArchives);
    const QByteArray file = FileBytes(settings.FilePath());
    EXPECT_FALSE(file.contains("AutosaveTimeout"));
    EXPECT_TRUE(file.contains("BackupPath = \r\n"));
    EXPECT_TRUE(file.contains("BackupFrequency = Year\r\n"));

    // A timeout below a minute is autosave off, and what is no date shows as it is.
    settings.AutosaveTimeout = -3;
    settings.BackupDate = "soon";
    COptionsDlg again(m_doc);
    EXPECT_FALSE(Checked(again, "everyCheck"));
    EXPECT_EQ(Child<QLineEdit>(again, "lastBackupEdit")->text(), QStringLiteral("soon"));
    EXPECT_TRUE(CBackupOptionsTab::BackupDateText(QByteArray()).isEmpty());
    EXPECT_EQ(CBackupOptionsTab::BackupDateText("31022024"), QStringLiteral("31022024"));
}

TEST_F(OptionsDlgTest, CancelLeavesTheSettingsButNotTheCategoryEdits)
{
    Settings& settings = Settings::Instance();
    const auto before = settings.KeyValues();
    const QByteArray fileBefore = FileBytes(settings.FilePath());
    COptionsDlg dialog(m_doc);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    for (const char* name :
         {"explorerStyleRadio", "everyCheck", "afterUpdateCheck", "alphabeticalRadio", "sizeCheck",
          "enableCheck", "dayRadio", "alwaysPathRadio"})
        Click(dialog, name);
    QTest::keyClicks(Child<QLineEdit>(dialog, "pathEdit"), QStringLiteral("/tmp"));

    // The categories page writes to the catalogue at once.
    dialog.findChild<QTabWidget*>()->setCurrentIndex(1);
    auto* categories = Child<QTreeWidget>(dialog, "categoriesList");
    Click(dialog, "categoryAddButton");
    QLineEdit* editor = OpenEditor(*categories);
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(editor, QStringLiteral("Comics"));
    QTest::keyClick(editor, Qt::Key_Return);

    QSignalSpy applied(&dialog, &COptionsDlg::settingsApplied);
    Button(dialog, QDialogButtonBox::Cancel)->click();
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_EQ(applied.count(), 0);
    EXPECT_EQ(settings.KeyValues(), before);
    EXPECT_EQ(FileBytes(settings.FilePath()), fileBefore);
    EXPECT_FALSE(m_doc.Database().SortByName());
    EXPECT_EQ(m_doc.Database().Categories().rbegin()->second.Name, QStringLiteral("Comics"));
    EXPECT_TRUE(m_doc.IsModified());
}

TEST_F(OptionsDlgTest, ThePathDialogReturnsTheEnteredOrBrowsedFolderAndNothingOnCancel)
{
    CPathDlg dialog;
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Backup Path"));
    EXPECT_EQ(Child<QLabel>(dialog, "promptLabel")->text(),
              QStringLiteral("Enter path for backup: "));
    ExpectAccessibleNames(dialog);
    // Nothing entered is no answer: only Cancel says "no folder".
    EXPECT_FALSE(Button(dialog, QDialogButtonBox::Ok)->isEnabled());
    QTest::keyClicks(Child<QLineEdit>(dialog, "pathEdit"), QStringLiteral("/srv/backups"));
    EXPECT_TRUE(Button(dialog, QDialogButtonBox::Ok)->isEnabled());
    EXPECT_EQ(dialog.Path(), QStringLiteral("/srv/backups"));

    // The start-up backup's question in the window goes through this dialog.
    CWidgetPrompter prompter;
    WhenModal([](QWidget* modal) {
        auto* asked = qobject_cast<CPathDlg*>(modal);
        ASSERT_NE(asked, nullptr);
        QTest::keyClicks(asked->findChild<QLineEdit*>(QStringLiteral("pathEdit")),
                         QStringLiteral("/mnt/usb"));
        Button(*asked, QDialogButtonBox::Ok)->click();
    });
    EXPECT_EQ(prompter.AskBackupPath(), QStringLiteral("/mnt/usb"));
    WhenModal([](QWidget* modal) {
        auto* asked = qobject_cast<CPathDlg*>(modal);
        ASSERT_NE(asked, nullptr);
        QTest::keyClicks(asked->findChild<QLineEdit*>(QStringLiteral("pathEdit")),
                         QStringLiteral("/mnt/usb"));
        Button(*asked, QDialogButtonBox::Cancel)->click();
    });
    EXPECT_TRUE(prompter.AskBackupPath().isEmpty());

    // "..." chooses a folder with the folder chooser.
    const QString chosen = m_dir.filePath(QStringLiteral("chosen"));
    ASSERT_TRUE(QDir().mkpath(chosen));
    WhenModal([chosen](QWidget* modal) {
        auto* asked = qobject_cast<CPathDlg*>(modal);
        ASSERT_NE(asked, nullptr);
        WhenModal([chosen](QWidget* chooser) {
            auto* files = qobject_cast<QFileDialog*>(chooser);
            ASSERT_NE(files, nullptr);
            files->setDirectory(chosen);
            // accept() is QFileDialog's own, reached as the dialog's public slot.
            static_cast<QDialog*>(files)->accept();
        });
        asked->findChild<QPushButton*>(QStringLiteral("browseButton"))->click();
        Button(*asked, QDialogButtonBox::Ok)->click();
    });
    EXPECT_EQ(CPathDlg::Ask(nullptr), QDir::toNativeSeparators(chosen));
}

class OptionsScreenshot : public OptionsTest
{
};

TEST_F(OptionsScreenshot, TheCategoriesGeneralAndBackupPages)
{
    // Drawn on every run; kept only where the README's pictures are made.
    const int books = m_doc.AddCategory(QStringLiteral("Books"));
    for (const char* extension : {"cbz", "epub", "mobi", "pdf"})
        m_doc.MapExtension(QString::fromLatin1(extension), books);
    Settings& settings = Settings::Instance();
    settings.AutosaveTimeout = 15;
    settings.BackupEnabled = true;
    settings.BackupPath = QStringLiteral("/media/anna/BACKUP/Shelfwise");
    settings.BackupDate = "02032024";

    COptionsDlg dialog(m_doc);
    auto* tabs = dialog.findChild<QTabWidget*>();
    tabs->setCurrentIndex(1);
    dialog.CategoriesTab().SelectCategory(books);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    const QString folder = qEnvironmentVariable("SHELFWISE_SCREENSHOT_DIR");
    const auto keep = [&](const QString& name) {
        QApplication::processEvents();
        const QPixmap picture = dialog.grab();
        EXPECT_GT(picture.width(), 100);
        if (!folder.isEmpty()) {
            EXPECT_TRUE(picture.save(QDir(folder).filePath(name)));
        }
    };
    keep(QStringLiteral("options-categories.png"));
    tabs->setCurrentIndex(0);
    keep(QStringLiteral("options-general.png"));
    tabs->setCurrentIndex(3);
    keep(QStringLiteral("options-backup.png"));
    dialog.reject();
}
