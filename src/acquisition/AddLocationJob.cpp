#include "acquisition/AddLocationJob.h"

#include "acquisition/ArchiveWriter.h"
#include "acquisition/Importer.h"
#include "acquisition/SubunitsSearcher.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "common/WorkerEvent.h"
#include "document/ShelfwiseDoc.h"
#include "drives/DriveSystem.h"
#include "errorlog/ErrorLog.h"
#include "listers/ListerFor.h"
#include "media/MediaDetails.h"
#include "media/Thumbnailer.h"
#include "settings/Settings.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

struct FileFacts
{
    qint64 size = 0;
    QDateTime created;
    QDateTime modified;
};

// Opens the file for reading and takes its size and times; false when any step fails.
// A path that is a symbolic link gives the facts of the file it leads to, as a folder
// chosen through a link is listed itself; a link that leads nowhere cannot be read.
// Without a creation time (or with a birth time of exactly 1970-01-01 00:00:00 UTC,
// how some file systems say they have none) the creation date stays unset.
bool ReadFileFacts(const QString& path, FileFacts& facts)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QFileInfo info(path);
    facts.size = file.size();
    facts.modified = info.lastModified();
    const QDateTime born = info.birthTime();
    if (born.isValid() && born.toMSecsSinceEpoch() != 0)
        facts.created = born;
    return facts.modified.isValid();
}

// Whether path is root or lies below it.
bool IsWithin(const QString& path, const QString& root)
{
    if (path == root)
        return true;
    return path.startsWith(root.endsWith(QLatin1Char('/')) ? root : root + QLatin1Char('/'));
}

// Where an addition reads from, for its UnitSources row: the path made absolute and, for
// a disc, the image file itself or the mount point that the drive system gives for the
// drive holding the path (none when it gives none). The unit's id is filled in later.
UnitSource SourceOf(const CAddLocationJob::Request& r, DriveSystem* drives)
{
    UnitSource source;
    source.SourcePath = QDir::cleanPath(QFileInfo(r.path).absoluteFilePath());
    source.ScannedAt = QDateTime::currentDateTimeUtc();
    if (r.mode != CAddLocationJob::Mode::Disc)
        return source;
    if (IsListedFromInside(r.path)) {
        source.MountPoint = source.SourcePath;
        return source;
    }
    if (!drives)
        return source;
    for (const OpticalDrive& drive : drives->ListOpticalDrives()) {
        const QString mountPoint =
            drive.MountPoint.isEmpty() ? QString() : QDir::cleanPath(drive.MountPoint);
        if (r.path == drive.Device || source.SourcePath == QDir::cleanPath(drive.Device) ||
            (!mountPoint.isEmpty() && IsWithin(source.SourcePath, mountPoint))) {
            source.MountPoint = drive.MountPoint;
            break;
        }
    }
    return source;
}

} // namespace

CAddLocationJob::CAddLocationJob(CShelfwiseDoc& doc, QObject* parent)
    : QObject(parent), m_doc(doc), m_thumbnails(Settings::Instance().KeepThumbnails),
      m_archives(Settings::Instance().LookInsideArchives)
{
}

void CAddLocationJob::SetLookInsideArchives(bool on)
{
    m_archives = on;
}

CAddLocationJob::~CAddLocationJob()
{
    if (IsBusy()) {
        Cancel();
        StopWorkers();
        if (m_adding)
            m_doc.RollbackAdd(TakeAddition());
    }
}

void CAddLocationJob::SetFolderLister(FolderLister* lister)
{
    m_searcher.reset(); // a walk still running stops and is waited for
    m_folderLister = lister;
}

SubunitsSearcher& CAddLocationJob::Searcher()
{
    if (!m_searcher)
        m_searcher = std::make_unique<SubunitsSearcher>(m_queue, m_folderLister);
    return *m_searcher;
}

CImporter& CAddLocationJob::Importer()
{
    if (!m_importer)
        m_importer = std::make_unique<CImporter>(m_doc.Database(), m_queue);
    return *m_importer;
}

void CAddLocationJob::SetThumbnails(bool on)
{
    m_thumbnails = on;
    Importer().SetThumbnails(on);
}

bool CAddLocationJob::AddLocation(quint64 totalSize)
{
    const Request& r = m_request;
    const bool isDisc = r.mode == Mode::Disc;
    const QFileInfo info(r.path);
    const UnitKind kind = isDisc                            ? UnitKind::Disc
                          : (info.exists() && info.isDir()) ? UnitKind::Folder
                                                            : UnitKind::File;
    CSqliteWrapper& db = m_doc.Database();
    FileFacts facts;
    bool fileFailed = false;
    int unitId = 0;
    UnitSource source = SourceOf(r, m_drives);
    // Everything the addition writes is one transaction; an error below rolls it back.
    std::optional<CTransaction> transaction;
    const bool started = m_doc.Guard([&] {
        transaction.emplace(db);
        const int discInfoId = isDisc ? db.AddDiscInfo(r.discLabel, r.discSerial, r.discSize) : 0;
        int category = r.categorise ? CategoryIds::General : r.fixedCategory;
        CNullable<int> unitInfoId;
        ThumbnailRecord thumbnail;
        if (kind == UnitKind::File) {
            if (!ReadFileFacts(r.path, facts)) {
                fileFailed = true;
                transaction->Rollback();
                return;
            }
            if (r.categorise)
                category = db.CategoryForFile(info.fileName());
            // A single media file gets its details as it would inside a folder.
            if (category >= CategoryIds::Film && category <= CategoryIds::Picture) {
                const MediaRecord media = CreateMediaDetailsReader()->Read(r.path, category);
                unitInfoId = AddMediaRow(db, media);
                if (m_thumbnails && media.kind == MediaRecord::Kind::Picture)
                    thumbnail = Thumbnailer::Make(r.path);
            }
        }
        unitId = db.AddUnit(kind, r.name, r.notes, category, r.storageId, 0, unitInfoId, facts.size,
                            facts.created, facts.modified, discInfoId, true);
        if (!thumbnail.IsEmpty())
            db.SetThumbnail(unitId, thumbnail);
        // A single archive's headers, read before on a worker; its entries go below it
        // as they would inside a folder.
        if (kind == UnitKind::File && m_fileListing) {
            ErrorLog::Instance().ClearFileSystemErrors();
            CArchiveWriter::ReportErrors(r.path, *m_fileListing);
            CArchiveWriter(r.categorise, r.fixedCategory)
                .Write(db, unitId, r.storageId, *m_fileListing);
        }
        source.UnitID = unitId;
        db.AddUnitSource(source);
        m_doc.SetLastAdded(r.storageId, unitId);
    });
    if (fileFailed) {
        UserPrompter::Current().ShowMessage(Strings::IDS_ADD_FILE_FAILED,
                                            UserPrompter::Icon::Error);
        return false;
    }
    if (!started)
        return false;

    switch (kind) {
    case UnitKind::Disc:
        // Held until the job ends: the document commits it or rolls it back.
        m_addition = std::move(transaction);
        Searcher().Start(r.path, this, false);
        Importer().SetCreationFromWrite(true);
        // The files of a disc image added as a disc lie inside the image, not on disk.
        Importer().SetLookInsideArchives(m_archives && !IsListedFromInside(r.path));
        Importer().StartImport(this, r.categorise, r.fixedCategory, r.storageId, unitId, totalSize);
        return true;
    case UnitKind::Folder:
        m_addition = std::move(transaction);
        if (!Importer().IsReadingAhead()) {
            Importer().SetCreationFromWrite(false);
            Importer().SetLookInsideArchives(m_archives);
        }
        Importer().StartImport(this, r.categorise, r.fixedCategory, r.storageId, unitId, totalSize);
        return true;
    default:
        if (!m_doc.Guard([&] { db.AddFileToStorage(r.storageId, facts.size); }))
            return false;
        m_doc.FinishUpdate(std::move(*transaction));
        return true;
    }
}

QString CAddLocationJob::NameFromPath(const QString& path)
{
    QString trimmed = path;
    while (trimmed.size() > 1 &&
           (trimmed.endsWith(QLatin1Char('/')) || trimmed.endsWith(QLatin1Char('\\'))))
        trimmed.chop(1);
    const qsizetype cut =
        std::max(trimmed.lastIndexOf(QLatin1Char('/')), trimmed.lastIndexOf(QLatin1Char('\\')));
    const QString name = trimmed.mid(cut + 1);
    return name.isEmpty() ? trimmed : name;
}

QString CAddLocationJob::CheckPath(const QString& path)
{
    if (path.isEmpty())
        return Strings::LoadString(Strings::IDS_SELECT_PATH_FIRST);
    if (!QFileInfo::exists(path))
        return Strings::LoadString(Strings::IDS_PATH_DOES_NOT_EXIST);
    return QString();
}

std::vector<int> CAddLocationJob::FindDuplicateDiscs(const QString& label, quint32 serial,
                                                     qint64 size)
{
    const Settings& settings = Settings::Instance();
    std::vector<int> ids;
    m_doc.Guard([&] {
        ids = m_doc.Database().FindDuplicateDiscs(label, serial, size, settings.CheckSerialNumber,
                                                  settings.CheckSize, settings.CheckLabel);
    });
    return ids;
}

bool CAddLocationJob::Start(const Request& request)
{
    m_request = request;
    m_lastProgress = 0;
    m_cancelRequested = false;
    // What an earlier addition left (records a cancel did not take, its end mark) goes:
    // the workers of that one have been waited for.
    m_queue.Clear();
    switch (request.mode) {
    case Mode::Disc:
        if (m_drives)
            m_lockedDrive = m_drives->LockMedia(request.path);
        m_adding = true;
        if (!AddLocation(static_cast<quint64>(request.discSize))) {
            m_adding = false;
            End(WorkOutcome::Failed);
            return false;
        }
        return true;
    case Mode::Folder:
        m_counting = true;
        // The importer looks at the records as the count finds them and starts reading
        // their details, thumbnails and archives ahead, on the cores the walk leaves.
        Importer().SetCreationFromWrite(false);
        Importer().SetLookInsideArchives(m_archives);
        Importer().ReadAhead(request.categorise, request.fixedCategory);
        Searcher().Start(request.path, this, true);
        return true;
    case Mode::File:
        m_fileListing.reset();
        if (m_archives && ArchiveLister::HasArchiveName(request.path) &&
            QFileInfo(request.path).isFile()) {
            StartArchiveFile();
            return true;
        }
        if (!AddLocation(0))
            return false;
        emit progress(100);
        emit finished(WorkOutcome::Succeeded);
        return true;
    }
    return false;
}

void CAddLocationJob::StartArchiveFile()
{
    m_readingArchive = true;
    m_archiveCancel.store(0);
    const QString path = m_request.path;
    m_archiveReader.Start([this, path] {
        m_fileListing = ArchiveLister::Read(path, &m_archiveCancel);
        QCoreApplication::postEvent(this, new WorkerEvent(WorkerEvent::Walked, 0));
    });
}

void CAddLocationJob::AddArchiveFile()
{
    m_archiveReader.Join();
    m_readingArchive = false;
    if (m_cancelRequested) {
        m_fileListing.reset();
        End(WorkOutcome::Cancelled);
        return;
    }
    const bool added = AddLocation(0);
    m_fileListing.reset();
    if (!added) {
        emit finished(WorkOutcome::Failed); // AddLocation has said why
        return;
    }
    emit progress(100);
    emit finished(WorkOutcome::Succeeded);
}

void CAddLocationJob::StartImport(quint64 totalSize)
{
    m_adding = true;
    if (!AddLocation(totalSize)) {
        m_adding = false;
        End(WorkOutcome::Failed);
    }
}

void CAddLocationJob::Cancel()
{
    if (!IsBusy())
        return;
    // Remembered as well: a worker may have finished before it saw its flag, and its
    // end event must not commit what the user cancelled.
    m_cancelRequested = true;
    m_archiveCancel.store(1);
    if (m_searcher)
        m_searcher->Cancel();
    if (m_importer)
        m_importer->Cancel();
}

CTransaction CAddLocationJob::TakeAddition()
{
    // Held from the moment AddLocation started the workers to the end of the job.
    CTransaction addition = std::move(m_addition.value());
    m_addition.reset();
    return addition;
}

void CAddLocationJob::StopWorkers()
{
    // Both workers end before the catalogue is committed or rolled back: the scanner
    // may still be walking a disc when the importer failed, and a cancelled importer
    // may still be finishing its record when the scanner's end event arrives.
    if (m_searcher) {
        m_searcher->Cancel();
        m_searcher->Wait();
    }
    if (m_importer)
        m_importer->Wait();
    m_archiveReader.Join();
}

void CAddLocationJob::customEvent(QEvent* event)
{
    if (WorkerEvent::Is(event, WorkerEvent::Progress)) {
        if (m_adding) {
            m_lastProgress = static_cast<int>(static_cast<WorkerEvent*>(event)->WParam());
            emit progress(m_lastProgress);
        }
        return;
    }
    if (WorkerEvent::Is(event, WorkerEvent::Walked) && m_readingArchive) {
        AddArchiveFile();
        return;
    }
    if (WorkerEvent::Is(event, WorkerEvent::Walked)) {
        if (!m_counting)
            return;
        if (m_cancelRequested) {
            End(WorkOutcome::Cancelled);
            return;
        }
        m_counting = false;
        StartImport(Searcher().TotalSize());
        return;
    }
    if (!WorkerEvent::Is(event, WorkerEvent::Finished) || !IsBusy())
        return; // a second worker's end after the first one ended the job
    const WorkOutcome outcome = static_cast<WorkerEvent*>(event)->Outcome();
    // A worker that finished before it saw the cancel does not commit what the user
    // cancelled.
    End(m_cancelRequested && outcome == WorkOutcome::Succeeded ? WorkOutcome::Cancelled : outcome);
}

void CAddLocationJob::End(WorkOutcome outcome)
{
    StopWorkers();
    const bool wasAdding = m_adding;
    m_counting = false;
    m_adding = false;
    UserPrompter& prompter = UserPrompter::Current();
    switch (outcome) {
    case WorkOutcome::Succeeded:
        if (m_lastProgress < 100)
            emit progress(100);
        m_doc.FinishUpdate(TakeAddition());
        break;
    case WorkOutcome::Failed:
        if (wasAdding)
            m_doc.RollbackAdd(TakeAddition());
        prompter.ShowMessage(Strings::IDS_OPERATION_FAILED, UserPrompter::Icon::Error);
        break;
    case WorkOutcome::Cancelled:
        if (wasAdding)
            m_doc.RollbackAdd(TakeAddition());
        prompter.ShowMessage(Strings::IDS_OPERATION_CANCELLED, UserPrompter::Icon::Information);
        break;
    }
    if (m_request.mode == Mode::Disc && m_drives) {
        if (m_lockedDrive)
            m_drives->UnlockMedia(m_request.path);
        m_lockedDrive = false;
        if (m_request.autoEject)
            m_drives->EjectMedia(m_request.path);
    }
    emit finished(outcome);
}
