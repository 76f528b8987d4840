#pragma once

#include "importers/ImportJob.h"

#include <QObject>
#include <QString>

class CShelfwiseDoc;
class QWidget;

// File > Import... in the window: asks for the list, its format and the storage
// (CImportDlg), then imports on a worker behind a window-modal progress window with
// Cancel, so that a list of millions of lines never freezes the window, and says how
// it went. A successful import is one step of Undo.
class CImportFlow final : public QObject
{
    Q_OBJECT

public:
    CImportFlow(CShelfwiseDoc& doc, QWidget* owner);

    // Shows the dialog and imports; false when the user cancelled or it failed (a
    // message has said why).
    bool Ask();
    // Imports the list at path read as format (a --format name) into the storage
    // called storageName; the same outcome.
    bool Run(const QString& path, const QString& format, const QString& storageName);

    // After a successful run: what was added.
    const CImportJob::Counts& Added() const { return m_added; }
    int StorageId() const { return m_storageId; }

signals:
    // The progress window's value changed (for tests that cancel part way).
    void progressed(int percent);

private:
    CShelfwiseDoc& m_doc;
    QWidget* m_owner;
    CImportJob::Counts m_added;
    int m_storageId = 0;
};
