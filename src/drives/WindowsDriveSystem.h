#pragma once

#include "drives/DriveSystem.h"

/// Optical drives on Windows, through the system's own calls: the drive letters of
/// GetLogicalDriveStringsW whose type is DRIVE_CDROM, GetVolumeInformationW for label
/// and serial number, and DeviceIoControl on "\\.\E:" for the media check, the tray
/// lock, eject and the volume length. Only the drive letter and colon of a path count.
/// A path naming an image file is read with VolumeReader instead.
class WindowsDriveSystem final : public DriveSystem
{
public:
    WindowsDriveSystem() = default;

    std::vector<OpticalDrive> ListOpticalDrives() override;
    VolumeInfo ReadVolumeInfo(const QString& drivePath) override;
    qint64 ReadVolumeLength(const QString& drivePath) override;
    bool IsMediaPresent(const QString& drivePath) override;
    bool LockMedia(const QString& drivePath) override;
    void UnlockMedia(const QString& drivePath) override;
    void EjectMedia(const QString& drivePath) override;
};
