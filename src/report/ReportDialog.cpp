#include "report/ReportDialog.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "common/WorkerEvent.h"
#include "document/ShelfwiseDoc.h"

#include "ui_ReportDialog.h"

#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QPushButton>
#include <QSizePolicy>

#include <utility>

namespace {

// The levels offered, as "1", "2", "3" and "All" (the whole tree).
constexpr int kLevels[] = {1, 2, 3};
constexpr int kWholeTree = -1;
constexpr int kAllStorages = -1;

// Where the last report of this run went: the next untitled one starts there.
QString g_lastReportFolder;

// Hidden widgets keep their room, so the dialog does not change size when a report
// starts or ends.
void RetainSizeWhenHidden(QWidget* widget)
{
    QSizePolicy policy = widget->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget->setSizePolicy(policy);
}

bool SelectByData(QComboBox* combo, int value)
{
    const int index = combo->findData(value);
    if (index < 0)
        return false;
    combo->setCurrentIndex(index);
    return true;
}

} // namespace

CReportDialog::CReportDialog(CShelfwiseDoc& doc, int preselectedStorageId, QWidget* parent)
    : QDialog(parent), m_ui(new Ui::CReportDialog), m_doc(doc),
      m_chooseFile(&CReportDialog::ChooseFileWithDialog),
      m_openUrl([](const QUrl& url) { return QDesktopServices::openUrl(url); })
{
    m_ui->setupUi(this);
    connect(m_ui->okButton, &QPushButton::clicked, this, &CReportDialog::StartReport);
    FillStorages(preselectedStorageId);
    FillNestingLevels();
    RetainSizeWhenHidden(m_ui->progressBar);
    RetainSizeWhenHidden(m_ui->percentLabel);
    m_ui->progressBar->hide();
    m_ui->percentLabel->hide();
}

CReportDialog::~CReportDialog()
{
    // The worker posts to this dialog and uses its job: it must end first.
    if (m_writer.IsRunning())
        CReportWriter::Cancel(m_job);
    m_writer.Wait();
}

void CReportDialog::SetSaveFileChooser(SaveFileChooser chooser)
{
    m_chooseFile = std::move(chooser);
}

void CReportDialog::SetUrlOpener(UrlOpener opener)
{
    m_openUrl = std::move(opener);
}

int CReportDialog::SelectedStorage() const
{
    return m_ui->storageCombo->currentData().toInt();
}

int CReportDialog::SelectedNestingLevel() const
{
    return m_ui->levelCombo->currentData().toInt();
}

bool CReportDialog::SelectStorage(int storageId)
{
    return SelectByData(m_ui->storageCombo, storageId);
}

bool CReportDialog::SelectNestingLevel(int level)
{
    return SelectByData(m_ui->levelCombo, level);
}

QString CReportDialog::ChooseFileWithDialog(QWidget* parent, const QString& proposedPath)
{
    QFileDialog dialog(parent, tr("Save As"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setNameFilter(tr("HTML Files (*.html)"));
    dialog.setDefaultSuffix(QStringLiteral("html"));
    if (!proposedPath.isEmpty()) {
        dialog.setDirectory(QFileInfo(proposedPath).absolutePath());
        dialog.selectFile(QFileInfo(proposedPath).fileName());
    }
    // Overwriting an existing page is confirmed by the dialog itself.
    if (dialog.exec() != QDialog::Accepted)
        return {};
    const QStringList files = dialog.selectedFiles();
    return files.isEmpty() ? QString() : files.constFirst();
}

void CReportDialog::FillStorages(int preselectedStorageId)
{
    QComboBox* combo = m_ui->storageCombo;
    combo->addItem(Strings::LoadString(Strings::IDS_ALL), kAllStorages);
    for (const StorageRecord& storage : m_doc.Storages())
        combo->addItem(storage.StorageName, storage.StorageID);
    if (!SelectByData(combo, preselectedStorageId))
        combo->setCurrentIndex(0);
}

void CReportDialog::FillNestingLevels()
{
    QComboBox* combo = m_ui->levelCombo;
    for (int level : kLevels)
        combo->addItem(QString::number(level), level);
    combo->addItem(Strings::LoadString(Strings::IDS_ALL), kWholeTree);
    combo->setCurrentIndex(0);
}

QString CReportDialog::ProposedPath() const
{
    const QString& catalogue = m_doc.CataloguePath();
    const QFileInfo info(catalogue);
    const QString name =
        (catalogue.isEmpty() ? tr("Untitled") : info.completeBaseName()) + QStringLiteral(".html");
    if (!catalogue.isEmpty() && QFileInfo(info.absolutePath()).isWritable())
        return QDir(info.absolutePath()).filePath(name);
    const bool lastStillThere =
        !g_lastReportFolder.isEmpty() && QFileInfo(g_lastReportFolder).isDir();
    return QDir(lastStillThere ? g_lastReportFolder : QDir::homePath()).filePath(name);
}

QString CReportDialog::DocumentTitle() const
{
    const QString& path = m_doc.CataloguePath();
    return path.isEmpty() ? tr("Untitled") : QFileInfo(path).fileName();
}

void CReportDialog::StartReport()
{
    if (m_running)
        return;
    const QString chosen = m_chooseFile ? m_chooseFile(this, ProposedPath()) : QString();
    if (chosen.isEmpty())
        return;
    g_lastReportFolder = QFileInfo(chosen).absolutePath();

    m_job.Receiver = this;
    m_job.Title = DocumentTitle();
    m_job.Path = QFileInfo(chosen).absoluteFilePath();
    m_job.Storage = SelectedStorage();
    m_job.NestingLevel = SelectedNestingLevel();
    m_job.Cancel.store(0);
    m_job.Catalogue = &m_doc.Database();

    ShowProgress(0);
    m_ui->progressBar->show();
    m_ui->percentLabel->show();
    SetRunning(true);
    // Before the worker touches the catalogue, so that the window can hold back
    // anything that would use it meanwhile.
    emit reportRunning(true);
    m_writer.Start(m_job);
}

void CReportDialog::reject()
{
    // Cancel, Escape and closing the window all come here. While the worker runs they
    // only ask it to stop; its end event settles what happens next.
    if (m_running) {
        CReportWriter::Cancel(m_job);
        return;
    }
    QDialog::reject();
}

void CReportDialog::customEvent(QEvent* event)
{
    if (WorkerEvent::Is(event, WorkerEvent::Progress))
        ShowProgress(static_cast<int>(static_cast<const WorkerEvent*>(event)->WParam()));
    else if (WorkerEvent::Is(event, WorkerEvent::Finished))
        OnFinished(static_cast<const WorkerEvent*>(event)->Outcome());
    else
        QDialog::customEvent(event);
}

void CReportDialog::ShowProgress(int percent)
{
    m_ui->progressBar->setValue(percent);
    m_ui->percentLabel->setText(QStringLiteral("%1 %").arg(percent));
}

void CReportDialog::SetRunning(bool running)
{
    m_running = running;
    m_ui->okButton->setEnabled(!running);
    // What the running report was started with cannot change any more.
    m_ui->storageCombo->setEnabled(!running);
    m_ui->levelCombo->setEnabled(!running);
}

void CReportDialog::OnFinished(WorkOutcome outcome)
{
    // The end event is the worker's last act: joining it takes no time.
    m_writer.Wait();
    m_ui->progressBar->hide();
    m_ui->percentLabel->hide();
    SetRunning(false);
    emit reportRunning(false);

    switch (outcome) {
    case WorkOutcome::Succeeded:
        // A path that could not be created still ends here: nothing was written, and
        // the desktop says that the page is missing when it is asked to open it.
        if (m_openUrl)
            m_openUrl(QUrl::fromLocalFile(m_job.Path));
        QDialog::accept();
        break;
    case WorkOutcome::Cancelled:
        UserPrompter::Current().ShowMessage(Strings::IDS_OPERATION_CANCELLED,
                                            UserPrompter::Icon::Information);
        break;
    default:
        UserPrompter::Current().ShowMessage(Strings::IDS_OPERATION_FAILED,
                                            UserPrompter::Icon::Error);
        break;
    }
}
