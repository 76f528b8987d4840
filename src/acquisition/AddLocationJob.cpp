#include "acquisition/AddLocationJob.h"

#include "acquisition/DriveSystem.h"
#include "acquisition/Importer.h"
#include "acquisition/SubunitsSearcher.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "common/WorkerEvent.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"

#include <QFileInfo>

#include <algorithm>

CAddLocationJob::CAddLocationJob(CShelfwiseDoc& doc, QObject* parent) : QObject(parent), m_doc(doc)
{
}

CAddLocationJob::~CAddLocationJob()
{
    if (IsBusy()) {
        Cancel();
        StopWorkers();
        if (m_adding)
            m_doc.RollbackAdd();
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
    switch (request.mode) {
    case Mode::Disc:
        if (m_drives)
            m_lockedDrive = m_drives->LockMedia(request.path);
        m_adding = true;
        if (!m_doc.AddLocation(this, true, request.name, request.path, request.notes,
                               request.storageId, request.categorise, request.fixedCategory,
                               static_cast<quint64>(request.discSize), request.discLabel,
                               request.discSerial, request.discSize)) {
            m_adding = false;
            End(Outcome::Failed);
            return false;
        }
        return true;
    case Mode::Folder:
        m_counting = true;
        m_doc.Searcher().Start(request.path, this, true);
        return true;
    case Mode::File:
        if (!m_doc.AddLocation(this, false, request.name, request.path, request.notes,
                               request.storageId, request.categorise, request.fixedCategory, 0,
                               QString(), 0, 0))
            return false;
        emit progress(100);
        emit finished(Outcome::Succeeded);
        return true;
    }
    return false;
}

void CAddLocationJob::StartImport(quint64 totalSize)
{
    m_adding = true;
    if (!m_doc.AddLocation(this, false, m_request.name, m_request.path, m_request.notes,
                           m_request.storageId, m_request.categorise, m_request.fixedCategory,
                           totalSize, QString(), 0, 0)) {
        m_adding = false;
        End(Outcome::Failed);
    }
}

void CAddLocationJob::Cancel()
{
    if (!IsBusy())
        return;
    m_doc.Searcher().Cancel();
    m_doc.Importer().Cancel();
}

void CAddLocationJob::StopWorkers()
{
    // Both workers end before the catalogue is committed or rolled back: the scanner
    // may still be walking a disc when the importer failed, and a cancelled importer
    // may still be finishing its record when the scanner's end event arrives.
    m_doc.Searcher().Cancel();
    m_doc.Searcher().Wait();
    m_doc.Importer().Wait();
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
    if (WorkerEvent::Is(event, WorkerEvent::Walked)) {
        if (!m_counting)
            return;
        m_counting = false;
        StartImport(m_doc.Searcher().TotalSize());
        return;
    }
    if (!WorkerEvent::Is(event, WorkerEvent::Finished) || !IsBusy())
        return; // a second worker's end after the first one ended the job
    const qintptr outcome = static_cast<WorkerEvent*>(event)->WParam();
    End(outcome == WorkerEvent::Succeeded ? Outcome::Succeeded
        : outcome == WorkerEvent::Failed  ? Outcome::Failed
                                          : Outcome::Cancelled);
}

void CAddLocationJob::End(Outcome outcome)
{
    StopWorkers();
    const bool wasAdding = m_adding;
    m_counting = false;
    m_adding = false;
    UserPrompter& prompter = UserPrompter::Current();
    switch (outcome) {
    case Outcome::Succeeded:
        if (m_lastProgress < 100)
            emit progress(100);
        m_doc.FinishUpdate();
        break;
    case Outcome::Failed:
        if (wasAdding)
            m_doc.RollbackAdd();
        prompter.ShowMessage(Strings::IDS_OPERATION_FAILED, UserPrompter::Icon::Error);
        break;
    case Outcome::Cancelled:
        if (wasAdding)
            m_doc.RollbackAdd();
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
