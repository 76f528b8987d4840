#include "export/ExportJob.h"

#include "common/WorkerEvent.h"
#include "export/CsvExportWriter.h"
#include "export/JsonExportWriter.h"
#include "export/PageExportWriter.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSaveFile>

#include <exception>
#include <memory>

CExportJob::CExportJob(CSqliteWrapper& db) : m_db(db)
{
}

CExportJob::~CExportJob()
{
    m_cancel = true;
    m_thread.Join();
}

void CExportJob::Start(const ExportScope& scope, Format format, const QString& path,
                       QObject* notify)
{
    m_thread.Join();
    m_cancel = false;
    m_outcome = WorkOutcome::Failed;
    m_error.clear();
    m_written = 0;
    m_thread.Start([this, scope, format, path, notify] { Run(scope, format, path, notify); });
}

CExportJob::Format CExportJob::FormatFor(const QString& filter)
{
    if (filter.contains(QLatin1String("htm"), Qt::CaseInsensitive))
        return Format::Page;
    if (filter.contains(QLatin1String("nested"), Qt::CaseInsensitive))
        return Format::NestedJson;
    if (filter.contains(QLatin1String("json"), Qt::CaseInsensitive))
        return Format::Json;
    return Format::Csv;
}

void CExportJob::Run(const ExportScope& scope, Format format, const QString& path, QObject* notify)
{
    const auto post = [notify](QEvent* event) {
        if (notify)
            QCoreApplication::postEvent(notify, event);
        else
            delete event;
    };
    WorkOutcome outcome = WorkOutcome::Failed;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        m_error = QStringLiteral("\"%1\" cannot be written: %2").arg(path, file.errorString());
    } else {
        std::unique_ptr<CExportWriter> writer;
        if (format == Format::Csv)
            writer = std::make_unique<CCsvExportWriter>(file);
        else if (format == Format::Page)
            writer = std::make_unique<CPageExportWriter>(
                file, m_title.isEmpty() ? QFileInfo(path).completeBaseName() : m_title);
        else
            writer = std::make_unique<CJsonExportWriter>(file, format == Format::NestedJson);
        CCatalogueExporter exporter(m_db, *writer);
        int lastPercent = -1;
        try {
            const bool complete = exporter.Run(scope, [&](qint64 written, qint64 total) {
                const int percent = total > 0 ? static_cast<int>(written * 100 / total) : 0;
                if (percent != lastPercent) {
                    lastPercent = percent;
                    post(new WorkerEvent(WorkerEvent::Progress, percent));
                }
                return !m_cancel;
            });
            m_written = exporter.Written();
            if (!complete) {
                file.cancelWriting();
                outcome = WorkOutcome::Cancelled;
            } else if (!file.commit()) {
                m_error =
                    QStringLiteral("\"%1\" cannot be written: %2").arg(path, file.errorString());
            } else {
                outcome = WorkOutcome::Succeeded;
            }
        } catch (const std::exception& error) {
            file.cancelWriting();
            m_error = QString::fromUtf8(error.what());
        }
    }
    m_outcome = outcome;
    post(new WorkerEvent(outcome));
}
