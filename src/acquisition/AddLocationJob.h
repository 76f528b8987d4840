#pragma once

#include "acquisition/SubunitQueue.h"
#include "common/WorkOutcome.h"
#include "common/WorkerThread.h"
#include "listers/ArchiveLister.h"
#include "sqlitewrapper/Transaction.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

class CImporter;
class CShelfwiseDoc;
class DriveSystem;
class FolderLister;
class SubunitsSearcher;

// The work behind the add-location dialog, without its widgets: the checks of what is
// to be added, the duplicate-disc look-up, the transaction and the top unit, and the
// run of the scanner and the importer to one end (committed, or rolled back on failure
// and cancel), with the tray locked during a disc's scan and ejected afterwards when
// asked. The window's dialog and the command line both drive it and react to its
// signals.
//
// The job owns its scanner, its importer and the queue between them, so each addition
// walks into a queue of its own. The importer uses the document's connection, so a job
// never outlives the document it was made with.
class CAddLocationJob final : public QObject
{
    Q_OBJECT

public:
    enum class Mode { Disc = 1, Folder = 2, File = 3 };

    struct Request
    {
        Mode mode = Mode::Folder;
        QString path; // the folder or file, or the disc's drive path
        QString name;
        QString notes;
        int storageId = 0;
        bool categorise = true; // by extension; otherwise every unit gets fixedCategory
        int fixedCategory = 1;
        // Disc only.
        QString discLabel;
        quint32 discSerial = 0;
        qint64 discSize = 0;
        bool autoEject = false;
    };

    explicit CAddLocationJob(CShelfwiseDoc& doc, QObject* parent = nullptr);
    ~CAddLocationJob() override;

    // The drive system that locks, unlocks and ejects a disc's tray.
    void SetDriveSystem(DriveSystem* drives) { m_drives = drives; }
    // The scanner lists folders through this lister from now on (null: the platform's).
    // The lister must outlive the job.
    void SetFolderLister(FolderLister* lister);
    SubunitsSearcher& Searcher();
    CImporter& Importer();
    // Whether pictures get thumbnails (Settings::KeepThumbnails unless set).
    void SetThumbnails(bool on);
    // Whether archives are opened and their entries catalogued
    // (Settings::LookInsideArchives unless set).
    void SetLookInsideArchives(bool on);

    // A unit's name for a folder or file path: the part behind the last separator,
    // a trailing separator dropped first.
    static QString NameFromPath(const QString& path);
    // The message that refuses a folder or file path, or empty when it may be added.
    static QString CheckPath(const QString& path);
    // Discs already in the catalogue that match, by the duplicate settings.
    std::vector<int> FindDuplicateDiscs(const QString& label, quint32 serial, qint64 size);

    // Starts the addition; false when nothing was started (a single file that could
    // not be read, or a catalogue error; both reported). A single file ends at once
    // and emits finished before Start returns.
    bool Start(const Request& request);
    // Asks the workers to stop; the job ends with Cancelled, even when a worker had
    // already finished (nothing is committed until the job ends).
    void Cancel();
    bool IsBusy() const { return m_counting || m_adding || m_readingArchive; }

signals:
    void progress(int percent);
    // After the catalogue was committed or rolled back and the tray released.
    void finished(WorkOutcome outcome);

protected:
    void customEvent(QEvent* event) override;

private:
    // Opens the transaction and inserts the top unit; a disc starts the scanner and the
    // importer, a folder (already walked in size-counting mode) the importer, and a
    // single file is written at once. False when a single file could not be read or
    // the catalogue refused the top unit (both reported); no worker runs then.
    bool AddLocation(quint64 totalSize);
    void StartImport(quint64 totalSize);
    // A single archive's headers are read on a worker (up to the lister's time limit),
    // then the file is added with them as any single file is.
    void StartArchiveFile();
    void AddArchiveFile();
    void End(WorkOutcome outcome);
    // The addition's transaction, handed to the document that ends it.
    CTransaction TakeAddition();
    void StopWorkers();

    CShelfwiseDoc& m_doc;
    DriveSystem* m_drives = nullptr;
    FolderLister* m_folderLister = nullptr;
    // The transaction of a disc's or folder's addition while its workers run, and the
    // queue between them: both declared before the workers, which go first.
    std::optional<CTransaction> m_addition;
    SubunitQueue m_queue;
    std::unique_ptr<SubunitsSearcher> m_searcher;
    std::unique_ptr<CImporter> m_importer;
    Request m_request;
    bool m_counting = false;
    bool m_adding = false;
    bool m_readingArchive = false;
    // The headers of a single archive: written by the reader, taken after it is joined.
    std::optional<ArchiveLister::Listing> m_fileListing;
    std::atomic<int> m_archiveCancel{0};
    CWorkerThread m_archiveReader;
    bool m_lockedDrive = false;
    int m_lastProgress = 0;
    bool m_cancelRequested = false;
    bool m_thumbnails;
    bool m_archives;
};
