#include "export/ExportFlow.h"

#include "common/WorkerProgress.h"
#include "document/ShelfwiseDoc.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

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
    CWorkerProgress progress(tr("Exporting..."), 100, m_owner);
    progress.Window().setObjectName(QStringLiteral("exportProgress"));
    progress.Window().setAccessibleName(tr("Export progress"));
    connect(&progress, &CWorkerProgress::progressed, this, &CExportFlow::progressed);
    CExportJob job(m_doc.Database());
    job.SetTitle(QFileInfo(m_doc.CataloguePath()).completeBaseName());
    job.Start(scope, format, path, &progress);
    const bool cancelled = !progress.Wait([&job] { job.Cancel(); });
    job.Wait();
    m_written = job.Written();
    if (cancelled || job.Outcome() == WorkOutcome::Cancelled)
        return false;
    if (job.Outcome() != WorkOutcome::Succeeded) {
        CWorkerProgress::ShowFailure(job.Error());
        return false;
    }
    return true;
}
