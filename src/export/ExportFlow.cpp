#include "export/ExportFlow.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "common/WorkerEvent.h"
#include "document/ShelfwiseDoc.h"

#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QProgressDialog>

CExportFlow::CExportFlow(CShelfwiseDoc& doc, QWidget* owner) : m_doc(doc), m_owner(owner)
{
}

bool CExportFlow::Ask(const ExportScope& scope, const QString& suggestedName)
{
    const QString csv = tr("CSV (*.csv)");
    const QString json = tr("JSON (*.json)");
    const QString nested = tr("JSON, nested by folder (*.json)");
    QString filter = csv;
    QString name = suggestedName;
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    const QString path = QFileDialog::getSaveFileName(
        m_owner, tr("Export"), QDir::home().filePath(name + QStringLiteral(".csv")),
        QStringList{csv, json, nested}.join(QStringLiteral(";;")), &filter);
    if (path.isEmpty())
        return false;
    return Run(scope, CExportJob::FormatFor(filter == nested ? QStringLiteral("nested") : filter),
               path);
}

bool CExportFlow::AskPage(const ExportScope& scope, const QString& suggestedName)
{
    QString name = suggestedName;
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    const QString path = QFileDialog::getSaveFileName(
        m_owner, tr("Export as Page"), QDir::home().filePath(name + QStringLiteral(".html")),
        tr("Web page (*.html *.htm)"));
    if (path.isEmpty())
        return false;
    return Run(scope, CExportJob::Format::Page, path);
}

bool CExportFlow::Run(const ExportScope& scope, CExportJob::Format format, const QString& path)
{
    QProgressDialog progress(tr("Exporting..."), tr("Cancel"), 0, 100, m_owner);
    progress.setObjectName(QStringLiteral("exportProgress"));
    progress.setAccessibleName(tr("Export progress"));
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(0);
    progress.setAutoClose(false);
    progress.setAutoReset(false);
    CExportJob job(m_doc.Database());
    job.SetTitle(QFileInfo(m_doc.CataloguePath()).completeBaseName());
    bool cancelled = false;
    connect(&progress, &QProgressDialog::canceled, &progress, [&job, &cancelled] {
        cancelled = true;
        job.Cancel();
    });
    QEventLoop loop;
    m_loop = &loop;
    m_progress = &progress;
    job.Start(scope, format, path, this);
    progress.show();
    // The Finished event may be queued already; the loop then ends at its first turn.
    loop.exec();
    m_loop = nullptr;
    m_progress = nullptr;
    job.Wait();
    m_written = job.Written();
    if (cancelled || job.Outcome() == WorkOutcome::Cancelled)
        return false;
    if (job.Outcome() != WorkOutcome::Succeeded) {
        UserPrompter::Current().ShowMessage(job.Error().isEmpty()
                                                ? Strings::LoadString(Strings::IDS_OPERATION_FAILED)
                                                : job.Error(),
                                            UserPrompter::Icon::Warning);
        return false;
    }
    return true;
}

void CExportFlow::customEvent(QEvent* event)
{
    if (WorkerEvent::Is(event, WorkerEvent::Progress)) {
        const int percent = static_cast<int>(static_cast<const WorkerEvent*>(event)->WParam());
        if (m_progress)
            m_progress->setValue(percent);
        emit progressed(percent);
    } else if (WorkerEvent::Is(event, WorkerEvent::Finished) && m_loop) {
        m_loop->quit();
    }
}
