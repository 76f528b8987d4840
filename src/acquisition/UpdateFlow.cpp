#include "acquisition/UpdateFlow.h"

#include "acquisition/ChangeReportDlg.h"
#include "acquisition/Rescan.h"
#include "acquisition/UnitUpdate.h"
#include "common/UserPrompter.h"
#include "common/WorkerEvent.h"
#include "document/ShelfwiseDoc.h"
#include "drives/DriveSystem.h"
#include "drives/VolumeInfoWorker.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>

CUpdateFlow::CUpdateFlow(QWidget* parent, CShelfwiseDoc& doc, int unitId,
                         std::shared_ptr<DriveSystem> drives)
    : m_parent(parent), m_doc(doc), m_unitId(unitId), m_drives(std::move(drives))
{
}

bool CUpdateFlow::Run(QWidget* parent, CShelfwiseDoc& doc, int unitId, const QString& sourcePath,
                      std::shared_ptr<DriveSystem> drives)
{
    CUpdateFlow flow(parent, doc, unitId, std::move(drives));
    return flow.Execute(sourcePath);
}

bool CUpdateFlow::Execute(QString source)
{
    if (!m_doc.IsTopLevelUnit(m_unitId))
        return false;
    UnitListItem unit;
    if (!m_doc.Guard([&] { unit = m_doc.Database().GetUnit(m_unitId); }))
        return false;
    m_name = unit.UnitName;
    m_isDisc = unit.Kind == UnitKind::Disc;
    m_isFile = unit.Kind == UnitKind::File;
    if (source.isEmpty())
        source = SourceToRead();
    if (source.isEmpty() || !SameDiscOrAccepted(source))
        return false;

    const std::optional<CChangeList> changes = Compare(source);
    if (!changes)
        return false;
    if (!changes->HasChanges()) {
        UserPrompter::Current().ShowMessage(tr("No changes: \"%1\" is as catalogued.").arg(m_name),
                                            UserPrompter::Icon::Information);
        return false;
    }
    CChangeReportDlg report(m_doc, m_unitId, *changes, source, m_isDisc ? source : QString(),
                            m_parent);
    return report.exec() == QDialog::Accepted;
}

QString CUpdateFlow::SourceToRead()
{
    UnitSource recorded;
    bool known = false;
    if (!m_doc.Guard([&] { known = m_doc.Database().GetUnitSource(m_unitId, recorded); }))
        return QString();
    if (known && QFileInfo::exists(recorded.SourcePath))
        return recorded.SourcePath;
    if (!known)
        return AskForSource(
            tr("No source is recorded for \"%1\"; choose where to read it from.").arg(m_name));
    return AskForSource(tr("\"%1\" was read from %2, which is not there now; choose where to "
                           "read it from.")
                            .arg(m_name, QDir::toNativeSeparators(recorded.SourcePath)));
}

QString CUpdateFlow::AskForSource(const QString& reason)
{
    // The reason first, with the kinds of source the unit can be read from.
    QMessageBox box(QMessageBox::Question, tr("Update \"%1\"").arg(m_name), reason,
                    QMessageBox::Cancel, m_parent);
    box.setAccessibleName(tr("Choose a source"));
    QPushButton* folder = nullptr;
    QPushButton* image = nullptr;
    QPushButton* file = nullptr;
    if (m_isFile) {
        file = box.addButton(tr("Choose &File..."), QMessageBox::AcceptRole);
        file->setObjectName(QStringLiteral("fileButton"));
        file->setAccessibleName(tr("Choose file"));
    } else {
        folder = box.addButton(tr("Choose F&older..."), QMessageBox::AcceptRole);
        folder->setObjectName(QStringLiteral("folderButton"));
        folder->setAccessibleName(tr("Choose folder"));
        image = box.addButton(tr("Choose Disc &Image..."), QMessageBox::AcceptRole);
        image->setObjectName(QStringLiteral("imageButton"));
        image->setAccessibleName(tr("Choose disc image"));
    }
    box.button(QMessageBox::Cancel)->setAccessibleName(tr("Cancel"));
    box.exec();
    const QAbstractButton* chosen = box.clickedButton();
    QString path;
    if (chosen && chosen == folder)
        path = QFileDialog::getExistingDirectory(m_parent, tr("Select folder"));
    else if (chosen && chosen == image)
        path = QFileDialog::getOpenFileName(m_parent, tr("Disc image"), QString(),
                                            tr("Disc images (*.iso *.img);;All files (*)"));
    else if (chosen && chosen == file)
        path = QFileDialog::getOpenFileName(m_parent, tr("Select file"));
    return path;
}

bool CUpdateFlow::SameDiscOrAccepted(const QString& source)
{
    if (!m_isDisc)
        return true;
    if (!m_drives)
        m_drives = DriveSystem::Create();
    // Read on a worker of its own: a real drive may take a while to answer.
    const VolumeInfo found = VolumeInfoWorker::ReadAndWait(m_drives, source);
    QString question;
    if (!m_doc.Guard([&] {
            question = CUnitUpdate::AnotherDiscQuestion(m_doc.Database(), m_unitId, found, source);
        }))
        return false;
    return question.isEmpty() ||
           UserPrompter::Current().AskYesNo(question + tr(" Compare it anyway?"),
                                            UserPrompter::Icon::Question);
}

std::optional<CChangeList> CUpdateFlow::Compare(const QString& source)
{
    CRescan rescan(m_doc.Database());
    bool started = false;
    if (!m_doc.Guard([&] { started = rescan.Start(m_unitId, source, this); }))
        return std::nullopt;
    if (!started) {
        UserPrompter::Current().ShowMessage(rescan.Error(), UserPrompter::Icon::Warning);
        return std::nullopt;
    }
    QProgressDialog progress(
        tr("Comparing \"%1\" with %2...").arg(m_name, QDir::toNativeSeparators(source)),
        tr("Cancel"), 0, 0, m_parent);
    progress.setWindowTitle(tr("Update \"%1\"").arg(m_name));
    progress.setAccessibleName(tr("Comparing"));
    progress.setMinimumDuration(0);
    progress.setAutoReset(false);
    // Cancel stops the walk; the rescan then ends Cancelled with nothing to apply.
    connect(&progress, &QProgressDialog::canceled, this, [&rescan] { rescan.Cancel(); });
    m_progress = &progress;
    if (!m_finished)
        progress.exec();
    m_progress = nullptr;
    // Closed before the end (Cancel, Esc): the walk stops too.
    if (!m_finished)
        rescan.Cancel();
    rescan.Wait();
    if (rescan.Outcome() == WorkOutcome::Failed)
        UserPrompter::Current().ShowMessage(tr("\"%1\" could not be compared with %2.")
                                                .arg(m_name, QDir::toNativeSeparators(source)),
                                            UserPrompter::Icon::Warning);
    if (rescan.Outcome() != WorkOutcome::Succeeded)
        return std::nullopt;
    return rescan.Result();
}

void CUpdateFlow::customEvent(QEvent* event)
{
    if (!WorkerEvent::Is(event, WorkerEvent::Finished))
        return;
    m_finished = true;
    if (m_progress)
        m_progress->accept();
}
