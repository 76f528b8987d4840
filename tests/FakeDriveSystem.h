#pragma once

#include "drives/DriveSystem.h"

#include <QStringList>

#include <memory>
#include <mutex>
#include <vector>

/// Drives made up for tests and for scripted runs of the command line. Each drive has a
/// device name ("fake0", "fake1", ...), a medium or none, the folder its medium is
/// "mounted" at (a real folder that the scanner walks) and the volume it reports. Lock,
/// unlock and eject are recorded; eject takes the medium out.
///
/// The test build of the command line (shelfwise-cli-fakedrives) builds one from the
/// environment variable SHELFWISE_FAKE_DRIVES, a list of drives separated by ';':
///   empty                             a drive without a medium
///   IMAGE                             a drive holding that disc image file: label and
///                                     serial read from it; the image path is the root
///   FOLDER[|LABEL[|SERIAL[|SIZE]]]    a drive whose medium is mounted at FOLDER and
///                                     reports that volume (serial decimal or 0x hex;
///                                     what is left out is empty or 0)
/// The variable set but empty describes a machine without optical drives. When
/// SHELFWISE_FAKE_DRIVES_LOG names a file, every lock, unlock and eject also appends a
/// line "lock fake0" (or unlock, eject) to it, so a test can see what a run did.
class FakeDriveSystem final : public DriveSystem
{
public:
    struct Drive
    {
        QString Device;
        QString MountPoint; // the root; for an image drive, the image file
        bool MediumPresent = true;
        VolumeInfo Volume;
        bool Locked = false;
    };

    FakeDriveSystem() = default;

    /// Drives from the text of SHELFWISE_FAKE_DRIVES; an entry that makes no sense
    /// (a missing path) becomes a drive without a medium.
    static std::shared_ptr<FakeDriveSystem> FromDescription(const QString& description);

    /// Adds a drive; an empty device gets the next "fakeN" name.
    void AddDrive(Drive drive);
    /// A drive's state as it is now (for tests); a default Drive when there is none.
    Drive DriveState(const QString& device) const;
    /// Every lock, unlock and eject so far, as "lock fake0".
    QStringList Calls() const;
    /// Also append each call to this file.
    void SetCallLog(const QString& path);

    std::vector<OpticalDrive> ListOpticalDrives() override;
    VolumeInfo ReadVolumeInfo(const QString& drivePath) override;
    qint64 ReadVolumeLength(const QString& drivePath) override;
    bool IsMediaPresent(const QString& drivePath) override;
    bool LockMedia(const QString& drivePath) override;
    void UnlockMedia(const QString& drivePath) override;
    void EjectMedia(const QString& drivePath) override;

private:
    // The drive a path belongs to: its device, its root, or a path below the root.
    Drive* Find(const QString& drivePath);
    void Record(const QString& call);

    // ReadVolumeInfo runs on the volume-information worker.
    mutable std::mutex m_mutex;
    std::vector<Drive> m_drives;
    QStringList m_calls;
    QString m_callLog;
};
