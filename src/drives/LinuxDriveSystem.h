#pragma once

#include "drives/DriveSystem.h"

/// Optical drives on Linux. The drives are the block devices of /sys/block that the
/// kernel types as CD/DVD (SCSI type 5, named sr*); a drive's path is the mount point of
/// its medium, the device comes from /proc/self/mountinfo. The label and serial number
/// are read from the device's bytes by VolumeReader, so they match what Windows shows.
/// The tray of an optical drive (and of nothing else) is locked with CDROM_LOCKDOOR;
/// eject goes through UDisks2 on the system bus (unmount, then eject), or without it
/// through umount and the CDROMEJECT ioctl.
class LinuxDriveSystem final : public DriveSystem
{
public:
    /// The folders are replaceable so that tests can describe a machine.
    explicit LinuxDriveSystem(QString sysBlockFolder = QStringLiteral("/sys/block"),
                              QString mountInfoFile = QStringLiteral("/proc/self/mountinfo"));

    std::vector<OpticalDrive> ListOpticalDrives() override;
    VolumeInfo ReadVolumeInfo(const QString& drivePath) override;
    qint64 ReadVolumeLength(const QString& drivePath) override;
    bool IsMediaPresent(const QString& drivePath) override;
    bool LockMedia(const QString& drivePath) override;
    void UnlockMedia(const QString& drivePath) override;
    void EjectMedia(const QString& drivePath) override;

    /// What a drive path stands for: a block device, a disc image file, or nothing
    /// readable (a folder on a mount without a device, a missing path).
    struct Target
    {
        enum class Kind { None, Device, Image };
        Kind Type = Kind::None;
        QString Path;
    };
    Target Resolve(const QString& drivePath) const;

private:
    bool EjectWithUDisks(const QString& device) const;

    QString m_sysBlock;
    QString m_mountInfo;
};
