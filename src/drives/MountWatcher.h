#pragma once

#include "drives/MountTable.h"

#include <QObject>
#include <QString>

#include <memory>
#include <vector>

class DriveSystem;
class QSocketNotifier;

/// Notices volumes mounted while the program runs. On Linux it keeps the mount table of
/// a mountinfo file and watches that file: the kernel marks an open /proc/self/mountinfo
/// with POLLPRI and POLLERR whenever a mount comes or goes, which a QSocketNotifier of
/// type Exception sees. The table is then read again and compared with the one before.
/// Elsewhere it watches nothing (Start does nothing) for now.
///
/// A new mount counts as a volume when its mount point is where an optical drive's
/// medium is mounted, or when it looks removable (see LooksRemovable). Anything else
/// (bind mounts, network shares, a container's overlays) is passed over.
class CMountWatcher final : public QObject
{
    Q_OBJECT

public:
    /// mountInfoPath: the table to watch; tests give a file of their own and call
    /// Rescan() where the kernel's notice would come.
    explicit CMountWatcher(QString mountInfoPath = QStringLiteral("/proc/self/mountinfo"),
                           QObject* parent = nullptr);
    ~CMountWatcher() override;
    Q_DISABLE_COPY_MOVE(CMountWatcher)

    /// The drive system whose optical drives' media count as volumes (null: none do).
    void SetDriveSystem(std::shared_ptr<DriveSystem> drives);

    /// Takes the mounts there are now as known and starts watching; what was mounted
    /// before is never reported. Does nothing when running already.
    void Start();
    /// Stops watching; the known mounts are forgotten.
    void Stop();
    bool IsRunning() const { return m_running; }

    /// Reads the table again and reports what changed: volumeAppeared for each new mount
    /// that counts, volumeRemoved for each mount that went. Does nothing when stopped.
    void Rescan();

    /// Whether a mount looks like a removable volume: a block device (its source a
    /// "/dev/" path) mounted below /media/, /run/media/ or /mnt/, where desktops
    /// (udisks), older automounters and people by hand put USB sticks, card readers and
    /// disc images.
    static bool LooksRemovable(const MountTable::Mount& mount);

signals:
    /// A volume was mounted at rootPath.
    void volumeAppeared(const QString& rootPath);
    /// The mount at rootPath went (whether or not it had counted as a volume).
    void volumeRemoved(const QString& rootPath);

private:
    // The mount points of the optical drives' media, as the drive system lists them.
    std::vector<QString> OpticalMountPoints() const;

    QString m_mountInfoPath;
    std::shared_ptr<DriveSystem> m_drives;
    std::vector<MountTable::Mount> m_known;
    bool m_running = false;
    int m_fd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
