#pragma once

#include "volumes/VolumeInfo.h"

#include <QString>

#include <memory>
#include <vector>

/// An optical drive of the machine.
struct OpticalDrive
{
    /// The device: "/dev/sr0" on Linux, "\\.\E:" on Windows.
    QString Device;
    /// Where its medium is mounted ("/media/user/DISC", "E:\"); empty on Linux when no
    /// medium is mounted.
    QString MountPoint;

    /// The path the drive list shows and the other operations take: the mount point,
    /// or the device when nothing is mounted.
    QString Root() const { return MountPoint.isEmpty() ? Device : MountPoint; }
};

/// The machine's optical drives and their volumes: the only contact the program has
/// with disc drives. Every operation takes a drive path and works on the drive that
/// holds it: a mount point or any path below it, the device itself, or a disc image
/// file (whose volume is read from the file; it has no tray to lock or eject).
///
/// Implementations: LinuxDriveSystem, WindowsDriveSystem, and a fake in the tests. ReadVolumeInfo
/// runs on the volume-information worker; everything else on the thread that owns the dialog.
class DriveSystem
{
public:
    virtual ~DriveSystem() = default;

    /// The machine's drive system: the platform's.
    static std::shared_ptr<DriveSystem> Create();

    /// The optical drives in the system's order.
    virtual std::vector<OpticalDrive> ListOpticalDrives() = 0;
    /// Label, serial number and length; empty, 0, 0 when the volume cannot be read.
    /// Slow on a spinning-up drive: called on a worker thread.
    virtual VolumeInfo ReadVolumeInfo(const QString& drivePath) = 0;
    /// The length of the medium in bytes, 0 when it cannot be had (logged, not shown).
    virtual qint64 ReadVolumeLength(const QString& drivePath) = 0;
    /// True when a readable medium is in the drive.
    virtual bool IsMediaPresent(const QString& drivePath) = 0;
    /// Locks the tray and waits a second, so that the drive has settled before a scan.
    /// True when a drive was asked to lock (and so should be unlocked later).
    virtual bool LockMedia(const QString& drivePath) = 0;
    /// Releases the tray lock; does nothing when the drive cannot be opened.
    virtual void UnlockMedia(const QString& drivePath) = 0;
    /// Dismounts the volume and ejects the medium; every step's failure is ignored.
    /// Callers unlock first.
    virtual void EjectMedia(const QString& drivePath) = 0;

protected:
    DriveSystem() = default;
    DriveSystem(const DriveSystem&) = default;
    DriveSystem& operator=(const DriveSystem&) = default;
};
