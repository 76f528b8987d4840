#include "acquisition/AddLocationDlg.h"

#include "acquisition/DiscNames.h"
#include "acquisition/DuplicateDiscDlg.h"
#include "acquisition/FileSystemErrorsDlg.h"
#include "acquisition/GetDiscInformationDlg.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/ShelfwiseDoc.h"
#include "drives/DriveSystem.h"
#include "errorlog/ErrorLog.h"
#include "listers/ListerFor.h"
#include "settings/Settings.h"

#include "ui_AddLocationDlg.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QPushButton>
#include <QStandardItemModel>
#include <QUrl>

namespace {

void ShowMessage(int stringId)
{
    UserPrompter::Current().ShowMessage(stringId, UserPrompter::Icon::Warning);
}

} // namespace

CAddLocationDlg::CAddLocationDlg(Mode mode, CShelfwiseDoc& doc, std::shared_ptr<DriveSystem> drives,
                                 int preselectedStorageId, QWidget* parent)
    : QDialog(parent), m_ui(new Ui::CAddLocationDlg), m_doc(doc), m_drives(std::move(drives)),
      m_mode(mode), m_job(std::make_unique<CAddLocationJob>(doc))
{
    m_ui->setupUi(this);
    m_job->SetDriveSystem(m_drives.get());
    connect(m_job.get(), &CAddLocationJob::progress, this, &CAddLocationDlg::OnProgress);
    connect(m_job.get(), &CAddLocationJob::finished, this, &CAddLocationDlg::OnFinished);

    m_ui->progressBar->setRange(0, 100);
    m_ui->progressBar->setValue(0);
    m_ui->progressText->setText(QStringLiteral("0 %"));
    SetUpMode();
    FillStorages(preselectedStorageId);
    FillCategories();
    m_ejectChoice = Settings::Instance().AutoEject;
    m_ui->autoEjectCheck->setChecked(m_ejectChoice);

    connect(m_ui->browseButton, &QToolButton::clicked, this, &CAddLocationDlg::OnBrowse);
    connect(m_ui->discImageButton, &QPushButton::clicked, this,
            &CAddLocationDlg::OnChooseDiscImage);
    connect(m_ui->openDiscButton, &QToolButton::clicked, this, &CAddLocationDlg::OnOpenDisc);
    connect(m_ui->autoCategoryRadio, &QRadioButton::toggled, this,
            &CAddLocationDlg::OnCategoryChoice);
    OnCategoryChoice();

    if (m_mode == Mode::Disc) {
        FillDrives();
        connect(m_ui->driveCombo, qOverload<int>(&QComboBox::currentIndexChanged), this,
                &CAddLocationDlg::OnDriveChanged);
        OnDriveChanged();
    }
}

CAddLocationDlg::~CAddLocationDlg() = default;

void CAddLocationDlg::SetUpMode()
{
    const bool disc = m_mode == Mode::Disc;
    setWindowTitle(disc                     ? tr("Add New Disc")
                   : m_mode == Mode::Folder ? tr("Add New Folder")
                                            : tr("Add New File"));
    for (QWidget* widget :
         {static_cast<QWidget*>(m_ui->driveCombo), static_cast<QWidget*>(m_ui->discImageButton),
          static_cast<QWidget*>(m_ui->discNameLabel), static_cast<QWidget*>(m_ui->discNameCombo),
          static_cast<QWidget*>(m_ui->openDiscButton), static_cast<QWidget*>(m_ui->autoEjectCheck)})
        widget->setVisible(disc);
    m_ui->pathEdit->setVisible(!disc);
    m_ui->browseButton->setVisible(!disc);
    m_ui->selectLabel->setBuddy(disc ? static_cast<QWidget*>(m_ui->driveCombo)
                                     : static_cast<QWidget*>(m_ui->pathEdit));
}

void CAddLocationDlg::FillDrives()
{
    for (const OpticalDrive& drive : m_drives->ListOpticalDrives()) {
        m_ui->driveCombo->addItem(QDir::toNativeSeparators(drive.Root()), drive.Root());
        m_ui->driveCombo->setItemData(m_ui->driveCombo->count() - 1, drive.Device, Qt::ToolTipRole);
    }
    if (m_ui->driveCombo->count() == 0) {
        // Nothing to choose: the list says so, and where a disc can come from instead,
        // in an entry that cannot be chosen, wide enough to be read whole.
        const QString none = tr("No disc drive found: choose a disc image with \"Disc image...\"");
        m_ui->driveCombo->addItem(none);
        if (auto* model = qobject_cast<QStandardItemModel*>(m_ui->driveCombo->model()))
            model->item(0)->setEnabled(false);
        m_ui->driveCombo->setMinimumContentsLength(static_cast<int>(none.size()));
    }
    m_ui->driveCombo->setCurrentIndex(0);
}

void CAddLocationDlg::FillStorages(int preselectedStorageId)
{
    for (const StorageRecord& storage : m_doc.Storages()) {
        m_ui->storageCombo->addItem(storage.StorageName, storage.StorageID);
        if (storage.StorageID == preselectedStorageId)
            m_ui->storageCombo->setCurrentIndex(m_ui->storageCombo->count() - 1);
    }
}

void CAddLocationDlg::FillCategories()
{
    for (const auto& [id, category] : m_doc.Database().Categories())
        m_ui->categoryCombo->addItem(category.Name, id);
    if (m_ui->categoryCombo->count() > 0)
        m_ui->categoryCombo->setCurrentIndex(0);
    m_ui->autoCategoryRadio->setChecked(true);
}

QString CAddLocationDlg::SelectedDrive() const
{
    return m_ui->driveCombo->currentData().toString();
}

void CAddLocationDlg::OnDriveChanged()
{
    ProposeDiscNames();
    const QString drive = SelectedDrive();
    // Nothing to add until a drive or an image is chosen; until then the list's text is
    // greyed like the entry it shows.
    m_ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(!drive.isEmpty());
    QPalette palette;
    if (drive.isEmpty() && m_ui->driveCombo->count() > 0) {
        palette = m_ui->driveCombo->palette();
        palette.setColor(QPalette::ButtonText, palette.color(QPalette::Disabled, QPalette::Text));
    }
    m_ui->driveCombo->setPalette(palette);
    // An image file has no tray to open: the box is greyed and unchecked while one is
    // chosen, and a drive shows the choice the box had before.
    const bool image = IsListedFromInside(drive);
    if (image == m_ejectGreyed)
        return;
    if (image)
        m_ejectChoice = m_ui->autoEjectCheck->isChecked();
    m_ejectGreyed = image;
    m_ui->autoEjectCheck->setEnabled(!image);
    m_ui->autoEjectCheck->setChecked(!image && m_ejectChoice);
}

void CAddLocationDlg::ProposeDiscNames()
{
    m_ui->discNameCombo->clear();
    const QString drive = SelectedDrive();
    if (drive.isEmpty())
        return;
    const VolumeInfo volume = CGetDiscInformationDlg::Read(m_drives, drive, this);
    // An unlabelled disc offers no empty entry: the name field simply starts empty.
    for (const QString& name : DiscNames::ProposeDiscNames(volume, drive)) {
        if (!name.isEmpty())
            m_ui->discNameCombo->addItem(name);
    }
    if (m_ui->discNameCombo->count() > 0)
        m_ui->discNameCombo->setCurrentIndex(0);
}

void CAddLocationDlg::AddDiscImage(const QString& imagePath)
{
    SelectDrive(imagePath);
}

void CAddLocationDlg::SelectDrive(const QString& drivePath)
{
    const QString path = QDir::cleanPath(QFileInfo(drivePath).absoluteFilePath());
    int index = m_ui->driveCombo->findData(path);
    if (index < 0) {
        m_ui->driveCombo->addItem(QDir::toNativeSeparators(path), path);
        index = m_ui->driveCombo->count() - 1;
    }
    if (index == m_ui->driveCombo->currentIndex())
        ProposeDiscNames();
    else
        m_ui->driveCombo->setCurrentIndex(index); // proposes the names, enables OK
}

void CAddLocationDlg::OnChooseDiscImage()
{
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Disc image"), QString(), tr("Disc images (*.iso *.img);;All files (*)"));
    if (!path.isEmpty())
        AddDiscImage(path);
}

void CAddLocationDlg::OnBrowse()
{
    const QString start = m_ui->pathEdit->text();
    const QString path =
        m_mode == Mode::Folder
            ? QFileDialog::getExistingDirectory(this, tr("Select folder"), start)
            : QFileDialog::getOpenFileName(this, tr("Select file"), QFileInfo(start).path());
    if (!path.isEmpty())
        m_ui->pathEdit->setText(QDir::toNativeSeparators(path));
}

void CAddLocationDlg::OnOpenDisc()
{
    const QString drive = SelectedDrive();
    if (drive.isEmpty() || !m_drives->IsMediaPresent(drive)) {
        ShowMessage(Strings::IDS_DISC_ABSENT);
        return;
    }
    QDesktopServices::openUrl(QUrl::fromLocalFile(drive));
}

void CAddLocationDlg::OnCategoryChoice()
{
    m_ui->categoryCombo->setEnabled(m_ui->fixedCategoryRadio->isChecked());
}

bool CAddLocationDlg::IsBusy() const
{
    return m_started && !m_ended;
}

bool CAddLocationDlg::Succeeded() const
{
    return m_ended && m_outcome == WorkOutcome::Succeeded;
}

void CAddLocationDlg::accept()
{
    // Only an idle dialog starts an addition; OK is disabled meanwhile anyway.
    if (m_started)
        return;
    CAddLocationJob::Request request;
    const bool ready = m_mode == Mode::Disc ? PrepareDisc(request) : PreparePath(request);
    if (ready)
        Start(request);
}

void CAddLocationDlg::reject()
{
    if (IsBusy()) {
        // The dialog closes on the job's end, which a cancel brings soon.
        m_job->Cancel();
        return;
    }
    QDialog::reject();
}

bool CAddLocationDlg::PrepareCommon(CAddLocationJob::Request& request)
{
    if (m_ui->storageCombo->count() == 0) {
        ShowMessage(Strings::IDS_CREATE_STORAGE_FIRST);
        return false;
    }
    request.storageId = m_ui->storageCombo->currentData().toInt();
    request.notes = m_ui->descriptionEdit->toPlainText();
    request.categorise = m_ui->autoCategoryRadio->isChecked();
    if (!request.categorise)
        request.fixedCategory = m_ui->categoryCombo->currentData().toInt();
    return true;
}

bool CAddLocationDlg::PreparePath(CAddLocationJob::Request& request)
{
    const QString given = m_ui->pathEdit->text();
    const QString problem = CAddLocationJob::CheckPath(given);
    if (!problem.isEmpty()) {
        UserPrompter::Current().ShowMessage(problem, UserPrompter::Icon::Warning);
        return false;
    }
    // The scanner walks folders and the file mode reads one file: the other kind would
    // be added as something it is not.
    const QFileInfo info(given);
    if (m_mode == Mode::Folder && !info.isDir()) {
        UserPrompter::Current().ShowMessage(tr("Entered path is not a folder."),
                                            UserPrompter::Icon::Warning);
        return false;
    }
    if (m_mode == Mode::File && info.isDir()) {
        UserPrompter::Current().ShowMessage(tr("Entered path is a folder, not a file."),
                                            UserPrompter::Icon::Warning);
        return false;
    }
    if (!PrepareCommon(request))
        return false;
    request.mode = m_mode;
    request.path = QDir::cleanPath(info.absoluteFilePath());
    request.name = CAddLocationJob::NameFromPath(request.path);
    return true;
}

bool CAddLocationDlg::PrepareDisc(CAddLocationJob::Request& request)
{
    const QString drive = SelectedDrive();
    if (drive.isEmpty() || !m_drives->IsMediaPresent(drive)) {
        ShowMessage(Strings::IDS_DISC_ABSENT);
        return false;
    }
    // A disc image is listed from inside the file; one whose file system cannot be
    // listed would be added as an empty disc.
    std::unique_ptr<FolderLister> lister = ListerFor(drive);
    if (!lister) {
        ShowMessage(Strings::IDS_DISC_ABSENT);
        return false;
    }
    const QString name = m_ui->discNameCombo->currentText();
    if (name.isEmpty()) {
        ShowMessage(Strings::IDS_ENTER_DISC_NAME);
        return false;
    }
    if (!PrepareCommon(request))
        return false;
    const VolumeInfo volume = CGetDiscInformationDlg::Read(m_drives, drive, this);
    if (!AcceptDuplicates(volume))
        return false;

    request.mode = Mode::Disc;
    request.path = drive;
    request.name = name;
    request.discLabel = volume.Label;
    request.discSerial = volume.SerialNumber;
    request.discSize = volume.Size;
    request.autoEject = m_ui->autoEjectCheck->isChecked();
    // The greyed box of an image says nothing of what the user wants for a drive.
    if (!m_ejectGreyed)
        Settings::Instance().AutoEject = request.autoEject;
    // The job's scanner is made anew for this lister; the old one (if any) is unused.
    // A lister set by SetFolderLister stands in for the platform's, never for an image's.
    const bool image = IsListedFromInside(drive);
    m_job->SetFolderLister(m_folderLister && !image ? m_folderLister : lister.get());
    m_discLister = std::move(lister);
    return true;
}

bool CAddLocationDlg::AcceptDuplicates(const VolumeInfo& volume)
{
    const std::vector<int> duplicates =
        m_job->FindDuplicateDiscs(volume.Label, volume.SerialNumber, volume.Size);
    if (duplicates.empty())
        return true;
    CDuplicateDiscDlg dialog(m_doc, duplicates, this);
    const int answer = dialog.exec();
    if (answer == QDialog::Accepted)
        return true;
    if (answer == CDuplicateDiscDlg::Reveal && dialog.RevealUnitId() != 0) {
        m_revealUnitId = dialog.RevealUnitId();
        emit revealRequested(m_revealUnitId);
    }
    QDialog::reject();
    return false;
}

void CAddLocationDlg::Start(const CAddLocationJob::Request& request)
{
    if (m_mode != Mode::Disc)
        m_job->SetFolderLister(m_folderLister);
    m_started = true;
    SetWorking(true);
    if (m_job->Start(request) || m_ended)
        return;
    // A single file that could not be read (the job said so): nothing was added.
    m_ended = true;
    m_outcome = WorkOutcome::Failed;
    QDialog::reject();
}

void CAddLocationDlg::SetWorking(bool working)
{
    m_ui->inputArea->setEnabled(!working);
    m_ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(!working);
}

void CAddLocationDlg::OnProgress(int percent)
{
    m_ui->progressBar->setValue(percent);
    m_ui->progressText->setText(QStringLiteral("%1 %").arg(percent));
}

void CAddLocationDlg::OnFinished(WorkOutcome outcome)
{
    // The job has committed or rolled back, released the tray and shown its failure or
    // cancel message by now.
    m_ended = true;
    m_outcome = outcome;
    switch (outcome) {
    case WorkOutcome::Succeeded: {
        OnProgress(100);
        // A single file is read without the scanner, which alone keeps the error list.
        const std::vector<FileSystemError> errors = ErrorLog::Instance().FileSystemErrors();
        if (m_mode != Mode::File && !errors.empty())
            CFileSystemErrorsDlg(errors, this).exec();
        QDialog::accept();
        break;
    }
    case WorkOutcome::Failed:
        QDialog::accept();
        break;
    case WorkOutcome::Cancelled:
        QDialog::reject();
        break;
    }
}
