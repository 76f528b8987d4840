#pragma once

#include "export/CatalogueExporter.h"
#include "export/ExportJob.h"

#include <QObject>
#include <QString>

class CShelfwiseDoc;
class QWidget;

// Export... in the window: asks where to and in which format (CSV, JSON, JSON nested
// by folder; Export as page...: an HTML page), then exports on a worker behind a window-modal
// progress window with Cancel, and says how it went.
class CExportFlow final : public QObject
{
    Q_OBJECT

public:
    CExportFlow(CShelfwiseDoc& doc, QWidget* owner);

    // Asks for the file (suggestedName: a name to start from, without extension) and
    // exports; false when the user cancelled or it failed (a message has said why).
    bool Ask(const ExportScope& scope, const QString& suggestedName);
    // The same for a browsable page (an .html file).
    bool AskPage(const ExportScope& scope, const QString& suggestedName);
    // Exports to path in format; the same outcome.
    bool Run(const ExportScope& scope, CExportJob::Format format, const QString& path);

    qint64 Written() const { return m_written; }

signals:
    // The progress window's value changed (for tests that cancel part way).
    void progressed(int percent);

private:
    CShelfwiseDoc& m_doc;
    QWidget* m_owner;
    qint64 m_written = 0;
};
