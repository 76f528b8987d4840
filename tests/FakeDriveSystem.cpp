#include "FakeDriveSystem.h"

#include "volumes/VolumeReader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

// "/a/b" holds "/a/b" and "/a/b/c", not "/a/bc".
bool Holds(const QString& root, const QString& path)
{
    if (root.isEmpty())
        return false;
    const QString cleanRoot = QDir::cleanPath(root);
    const QString cleanPath = QDir::cleanPath(path);
    return cleanPath == cleanRoot || cleanPath.startsWith(cleanRoot.endsWith(QLatin1Char('/'))
                                                              ? cleanRoot
                                                              : cleanRoot + QLatin1Char('/'));
}

FakeDriveSystem::Drive DriveFromEntry(const QString& entry)
{
    FakeDriveSystem::Drive drive;
    const QStringList parts = entry.split(QLatin1Char('|'));
    const QString path = parts.first().trimmed();
    if (path.isEmpty() || path == QLatin1String("empty")) {
        drive.MediumPresent = false;
        return drive;
    }
    const QFileInfo info(path);
    drive.MountPoint = info.absoluteFilePath();
    drive.MediumPresent = info.exists();
    if (info.isFile()) {
        VolumeReader::Volume volume;
        QString error;
        if (VolumeReader::ReadFile(path, volume, error)) {
            drive.Volume.Label = volume.Label;
            drive.Volume.SerialNumber = volume.SerialNumber;
            drive.Volume.Size = volume.RecordedSize > 0 ? volume.RecordedSize : info.size();
        }
        return drive;
    }
    if (parts.size() > 1)
        drive.Volume.Label = parts.at(1);
    if (parts.size() > 2)
        drive.Volume.SerialNumber = parts.at(2).trimmed().toUInt(nullptr, 0);
    if (parts.size() > 3)
        drive.Volume.Size = parts.at(3).trimmed().toLongLong();
    return drive;
}

} // namespace

std::shared_ptr<FakeDriveSystem> FakeDriveSystem::FromDescription(const QString& description)
{
    auto drives = std::make_shared<FakeDriveSystem>();
    for (const QString& entry : description.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        if (!entry.trimmed().isEmpty())
            drives->AddDrive(DriveFromEntry(entry));
    }
    return drives;
}

void FakeDriveSystem::AddDrive(Drive drive)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (drive.Device.isEmpty())
        drive.Device = QStringLiteral("fake%1").arg(m_drives.size());
    m_drives.push_back(drive);
}

FakeDriveSystem::Drive FakeDriveSystem::DriveState(const QString& device) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Drive& drive : m_drives) {
        if (drive.Device == device)
            return drive;
    }
    return Drive();
}

QStringList FakeDriveSystem::Calls() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

void FakeDriveSystem::SetCallLog(const QString& path)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callLog = path;
}

std::vector<OpticalDrive> FakeDriveSystem::ListOpticalDrives()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<OpticalDrive> list;
    for (const Drive& drive : m_drives)
        list.push_back({drive.Device, drive.MediumPresent ? drive.MountPoint : QString()});
    return list;
}

VolumeInfo FakeDriveSystem::ReadVolumeInfo(const QString& drivePath)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Drive* drive = Find(drivePath);
    return drive && drive->MediumPresent ? drive->Volume : VolumeInfo();
}

qint64 FakeDriveSystem::ReadVolumeLength(const QString& drivePath)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Drive* drive = Find(drivePath);
    return drive && drive->MediumPresent ? drive->Volume.Size : 0;
}

bool FakeDriveSystem::IsMediaPresent(const QString& drivePath)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Drive* drive = Find(drivePath);
    return drive && drive->MediumPresent;
}

bool FakeDriveSystem::LockMedia(const QString& drivePath)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Drive* drive = Find(drivePath);
    if (!drive)
        return false;
    drive->Locked = true;
    Record(QStringLiteral("lock ") + drive->Device);
    return true;
}

void FakeDriveSystem::UnlockMedia(const QString& drivePath)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (Drive* drive = Find(drivePath)) {
        drive->Locked = false;
        Record(QStringLiteral("unlock ") + drive->Device);
    }
}

void FakeDriveSystem::EjectMedia(const QString& drivePath)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (Drive* drive = Find(drivePath)) {
        // A locked tray stays shut, as a real drive's does.
        if (!drive->Locked)
            drive->MediumPresent = false;
        Record(QStringLiteral("eject ") + drive->Device);
    }
}

FakeDriveSystem::Drive* FakeDriveSystem::Find(const QString& drivePath)
{
    for (Drive& drive : m_drives) {
        if (drivePath == drive.Device)
            return &drive;
    }
    for (Drive& drive : m_drives) {
        if (Holds(drive.MountPoint, QFileInfo(drivePath).absoluteFilePath()))
            return &drive;
    }
    return nullptr;
}

void FakeDriveSystem::Record(const QString& call)
{
    m_calls << call;
    if (m_callLog.isEmpty())
        return;
    QFile log(m_callLog);
    if (log.open(QIODevice::WriteOnly | QIODevice::Append))
        log.write((call + QLatin1Char('\n')).toUtf8());
}
