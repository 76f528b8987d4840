#include "acquisition/InsertedDiscRecogniser.h"

#include "common/WorkerEvent.h"
#include "drives/VolumeInfoWorker.h"
#include "settings/Settings.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

QString InsertedDisc::Name() const
{
    if (!Volume.Label.isEmpty())
        return Volume.Label;
    const QString folder = QFileInfo(QDir::cleanPath(RootPath)).fileName();
    return folder.isEmpty() ? QDir::toNativeSeparators(RootPath) : folder;
}

CInsertedDiscRecogniser::CInsertedDiscRecogniser(CSqliteWrapper& db, QObject* parent)
    : QObject(parent), m_db(db)
{
}

CInsertedDiscRecogniser::~CInsertedDiscRecogniser() = default;

void CInsertedDiscRecogniser::SetDriveSystem(std::shared_ptr<DriveSystem> drives)
{
    m_drives = std::move(drives);
}

void CInsertedDiscRecogniser::VolumeAppeared(const QString& rootPath)
{
    if (!m_drives || rootPath.isEmpty())
        return;
    const bool reading = m_worker && rootPath == m_reading && !m_dropReading;
    if (reading || std::find(m_pending.begin(), m_pending.end(), rootPath) != m_pending.end())
        return;
    m_pending.push_back(rootPath);
    StartNext();
}

void CInsertedDiscRecogniser::VolumeRemoved(const QString& rootPath)
{
    m_pending.erase(std::remove(m_pending.begin(), m_pending.end(), rootPath), m_pending.end());
    if (m_worker && rootPath == m_reading)
        m_dropReading = true;
}

void CInsertedDiscRecogniser::Clear()
{
    m_pending.clear();
    if (m_worker)
        m_dropReading = true;
}

void CInsertedDiscRecogniser::StartNext()
{
    if (m_worker || m_pending.empty())
        return;
    m_reading = m_pending.front();
    m_pending.pop_front();
    m_dropReading = false;
    m_worker = std::make_unique<VolumeInfoWorker>(m_drives, m_reading);
    m_worker->Start(this);
}

void CInsertedDiscRecogniser::customEvent(QEvent* event)
{
    if (!WorkerEvent::Is(event, WorkerEvent::Finished) || !m_worker)
        return;
    const VolumeInfo volume = m_worker->Result();
    const QString root = m_reading;
    const bool dropped = m_dropReading;
    // The thread has posted its last word: joining it is immediate.
    m_worker.reset();
    m_reading.clear();
    StartNext();
    // Without a label, serial or length there is nothing to tell the volume by: every
    // catalogued disc read as empty would match it.
    if (!dropped && !volume.IsEmpty())
        emit volumeRead(root, volume);
}

InsertedDisc CInsertedDiscRecogniser::LookUp(const QString& rootPath,
                                             const VolumeInfo& volume) const
{
    InsertedDisc disc;
    disc.RootPath = rootPath;
    disc.Volume = volume;
    // The rules an addition uses to warn of a duplicate.
    const Settings& settings = Settings::Instance();
    const std::vector<int> ids = m_db.FindDuplicateDiscs(volume.Label, volume.SerialNumber,
                                                         volume.Size, settings.CheckSerialNumber,
                                                         settings.CheckSize, settings.CheckLabel);
    for (int unitId : ids) {
        InsertedDisc::Match match;
        match.UnitId = unitId;
        match.DiscName = m_db.GetDiscProperties(unitId).UnitName;
        match.StorageId = m_db.GetUnitStorageId(unitId);
        match.StorageName = m_db.GetStorage(match.StorageId).StorageName;
        disc.Matches.push_back(match);
    }
    return disc;
}
