#pragma once

#include "acquisition/AddLocationJob.h"

#include <QDialog>
#include <QString>

#include <memory>

class CShelfwiseDoc;
class DriveSystem;
class FolderLister;
struct VolumeInfo;

namespace Ui {
class CAddLocationDlg;
}

/// "Add New Disc", "Add New Folder" or "Add New File": gathers what is to be added
/// (the drive or path, the disc's name, the storage, the category choice, the
/// description), checks it, looks for the disc among those already catalogued, and then
/// runs the addition (CAddLocationJob) with a progress bar. Opened modally with exec():
///
/// - Accepted: the addition ended, committed (Succeeded()) or failed and rolled back
///   (its message was shown by the job); the document's LastAddedUnitId() and
///   LastAddedStorageId() name the new unit after a success.
/// - Rejected: nothing was added (Cancel, a cancelled run, a single file that could not
///   be read, or the duplicate dialog's answer). When a disc was double-clicked in the
///   duplicate dialog, RevealUnitId() names it (and revealRequested was emitted) so that
///   the window can show it.
///
/// While the scanner or the importer runs the dialog cannot be closed: Cancel, Escape
/// and the close box ask the job to stop, and the dialog closes when the job has ended.
/// A disc "drive" may also be a disc image file, chosen with "Disc image..."; a machine
/// without drives says so in the drive list, whose only entry then points to that
/// button. OK waits for a drive or an image; auto eject is greyed for an image.
class CAddLocationDlg final : public QDialog
{
    Q_OBJECT

public:
    using Mode = CAddLocationJob::Mode;

    /// preselectedStorageId: the storage to select (0 or unknown: the first). The drive
    /// system must be the one the window uses; the dialog keeps a share of it.
    CAddLocationDlg(Mode mode, CShelfwiseDoc& doc, std::shared_ptr<DriveSystem> drives,
                    int preselectedStorageId, QWidget* parent = nullptr);
    ~CAddLocationDlg() override;

    Mode GetMode() const { return m_mode; }
    /// Puts a disc image file into the drive list (once) and selects it, which proposes
    /// its names. "Disc image..." calls it with the file chosen.
    void AddDiscImage(const QString& imagePath);
    /// Selects the drive whose path (mount point) this is, putting it into the drive list
    /// first when it is not there (a volume that is no optical drive's), which proposes
    /// the disc's names.
    void SelectDrive(const QString& drivePath);
    /// The scanner lists folders through lister instead of the platform's (tests); a
    /// disc image is still read through its own lister. The lister must outlive the
    /// dialog.
    void SetFolderLister(FolderLister* lister) { m_folderLister = lister; }

    /// True from OK until the job's end.
    bool IsBusy() const;
    /// True when the addition was committed.
    bool Succeeded() const;
    /// The disc double-clicked in the duplicate dialog; 0 when none was.
    int RevealUnitId() const { return m_revealUnitId; }

signals:
    /// A disc of the duplicate dialog was double-clicked: the window should show it.
    void revealRequested(int unitId);

public slots:
    /// Checks the input and starts the addition; a refused input shows its message and
    /// keeps the dialog open.
    void accept() override;
    /// Closes when idle; otherwise asks the job to stop and waits for its end.
    void reject() override;

private:
    void SetUpMode();
    void FillDrives();
    void FillStorages(int preselectedStorageId);
    void FillCategories();
    QString SelectedDrive() const;
    void OnDriveChanged();
    void ProposeDiscNames();

    void OnBrowse();
    void OnChooseDiscImage();
    void OnOpenDisc();
    void OnCategoryChoice();
    void OnProgress(int percent);
    void OnFinished(WorkOutcome outcome);

    // Each returns false after showing why the input cannot be added (or after the
    // duplicate dialog closed this dialog).
    bool PrepareDisc(CAddLocationJob::Request& request);
    bool PreparePath(CAddLocationJob::Request& request);
    bool PrepareCommon(CAddLocationJob::Request& request);
    bool AcceptDuplicates(const VolumeInfo& volume);
    void Start(const CAddLocationJob::Request& request);
    void SetWorking(bool working);

    std::unique_ptr<Ui::CAddLocationDlg> m_ui;
    CShelfwiseDoc& m_doc;
    std::shared_ptr<DriveSystem> m_drives;
    const Mode m_mode;
    FolderLister* m_folderLister = nullptr;
    // Declared before the job, so that it outlives the job's scanner.
    std::unique_ptr<FolderLister> m_discLister;
    std::unique_ptr<CAddLocationJob> m_job;
    bool m_started = false;
    bool m_ended = false;
    WorkOutcome m_outcome = WorkOutcome::Failed;
    int m_revealUnitId = 0;
    // What auto eject says for a drive, kept while an image greys it.
    bool m_ejectChoice = false;
    bool m_ejectGreyed = false;
};
