#include "importers/ImportFlow.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "importers/ImportDlg.h"
#include "importers/ListReaders.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QProgressDialog>

CImportFlow::CImportFlow(CShelfwiseDoc& doc, QWidget* owner) : m_doc(doc), m_owner(owner)
{
}

bool CImportFlow::Ask()
{
    CImportDlg dialog(m_owner);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    return Run(dialog.ListPath(), dialog.FormatName(), dialog.StorageName());
}

bool CImportFlow::Run(const QString& path, const QString& format, const QString& storageName)
{
    std::unique_ptr<CListReader> reader = ListReaders::ByName(format);
    if (!reader)
        return false;
    QProgressDialog progress(tr("Importing %1...").arg(QFileInfo(path).fileName()), tr("Cancel"), 0,
                             100, m_owner);
    progress.setObjectName(QStringLiteral("importProgress"));
    progress.setAccessibleName(tr("Import progress"));
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(0);
    progress.setAutoClose(false);
    progress.setAutoReset(false);
    CImportJob job(m_doc);
    connect(&progress, &QProgressDialog::canceled, &job, &CImportJob::Cancel);
    connect(&job, &CImportJob::progress, &progress, [this, &progress](int percent) {
        progress.setValue(percent);
        emit progressed(percent);
    });
    QEventLoop loop;
    auto outcome = WorkOutcome::Failed;
    connect(&job, &CImportJob::finished, &loop, [&](WorkOutcome result) {
        outcome = result;
        loop.quit();
    });
    const bool started = job.Start(path, std::move(reader), storageName);
    if (started) {
        progress.show();
        loop.exec();
    }
    progress.close();
    if (started && outcome == WorkOutcome::Succeeded) {
        m_added = job.Added();
        m_storageId = job.StorageId();
        return true;
    }
    if (outcome == WorkOutcome::Cancelled)
        return false;
    if (const auto& error = job.ListError()) {
        const QString where = error->Line > 0 ? tr("%1, line %2").arg(path).arg(error->Line) : path;
        UserPrompter::Current().ShowMessage(
            tr("%1 could not be imported: %2. Nothing was added.").arg(where, error->Message),
            UserPrompter::Icon::Warning);
    } else if (started) {
        UserPrompter::Current().ShowMessage(Strings::LoadString(Strings::IDS_OPERATION_FAILED),
                                            UserPrompter::Icon::Warning);
    }
    return false;
}
