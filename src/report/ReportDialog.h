#pragma once

#include "report/ReportWriter.h"

#include <QDialog>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

class CShelfwiseDoc;
class QEvent;

namespace Ui {
class CReportDialog;
}

/// "Create HTML Report": the user picks a storage (or all of them) and a nesting level,
/// OK asks where to save the page and writes it on a worker thread while a progress bar
/// follows; Cancel then asks the worker to stop and the dialog waits for it. A page that
/// was written is handed to the desktop to open and the dialog closes (accepted); after a
/// failure ("Operation has been failed") or a cancellation ("Operation has been
/// cancelled") it stays open for another try. While a report runs the dialog cannot be
/// closed: closing it, Escape and Cancel all ask the worker to stop.
///
/// Opened modally (exec) by the window's "Create report" command. The worker reads the
/// catalogue through the document's database, so nothing else may use the catalogue
/// while reportRunning(true) is in force.
class CReportDialog final : public QDialog
{
    Q_OBJECT

public:
    /// Asks where the page goes, starting from proposedPath; an empty text stands for
    /// Cancel.
    using SaveFileChooser = std::function<QString(QWidget* parent, const QString& proposedPath)>;
    /// Opens a finished page with the desktop's handler for it.
    using UrlOpener = std::function<bool(const QUrl& url)>;

    /// The storage list comes from the document. preselectedStorageId selects that
    /// storage at start; -1 (or an id not in the list) selects "All".
    CReportDialog(CShelfwiseDoc& doc, int preselectedStorageId = -1, QWidget* parent = nullptr);
    /// Stops and waits for a worker that still runs.
    ~CReportDialog() override;

    /// Replaces the save dialog (QFileDialog) that OK opens.
    void SetSaveFileChooser(SaveFileChooser chooser);
    /// Replaces QDesktopServices::openUrl, which opens a finished page.
    void SetUrlOpener(UrlOpener opener);

    /// The StorageID chosen, or -1 for all storages.
    int SelectedStorage() const;
    /// The nesting level chosen: 1, 2, 3, or -1 for the whole tree.
    int SelectedNestingLevel() const;
    /// Chooses a storage by id (-1 for "All") and a level (1, 2, 3 or -1); false when
    /// either is not offered.
    bool SelectStorage(int storageId);
    bool SelectNestingLevel(int level);

    /// True from OK (once a file was chosen) until the worker's end event.
    bool IsRunning() const { return m_running; }
    /// The path of the last report started; empty before the first one.
    const QString& ReportPath() const { return m_job.Path; }
    /// Where the save dialog starts: "<catalogue name>.html" beside the catalogue. A
    /// catalogue without a file (or in a folder that cannot be written) is given
    /// "Untitled.html" (or its own name) in the folder of the last report of this run,
    /// else in the home folder.
    QString ProposedPath() const;

    /// The save dialog used unless another chooser is set.
    static QString ChooseFileWithDialog(QWidget* parent, const QString& proposedPath);

signals:
    /// A report started (true) or ended (false). The catalogue is in the worker's hands
    /// in between: the window holds back its autosave meanwhile.
    void reportRunning(bool running);

public slots:
    /// Closes the dialog when idle; while a report runs, asks it to stop instead.
    void reject() override;
    /// The OK button: asks for the file and starts the report.
    void StartReport();

protected:
    void customEvent(QEvent* event) override;

private:
    void FillStorages(int preselectedStorageId);
    void FillNestingLevels();
    void ShowProgress(int percent);
    void SetRunning(bool running);
    void OnFinished(WorkOutcome outcome);
    /// The document's display name, as the window's title shows it.
    QString DocumentTitle() const;

    std::unique_ptr<Ui::CReportDialog> m_ui;
    CShelfwiseDoc& m_doc;
    SaveFileChooser m_chooseFile;
    UrlOpener m_openUrl;
    bool m_running = false;
    // The job lives as long as the dialog, so that the worker may use it until it has
    // ended; the writer is declared after it and so is destroyed (joined) first.
    ReportJob m_job;
    CReportWriter m_writer;
};
