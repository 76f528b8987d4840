// The mount watcher on mountinfo files of its own: which new mounts count as volumes,
// and that nothing is reported before Start or after Stop.
#include "FakeDriveSystem.h"
#include "drives/MountWatcher.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#ifdef __linux__

namespace {

// mountinfo lines: id parent major:minor root mount-point options - type source super.
const QByteArray kSystem = "22 1 8:1 / / rw,relatime - ext4 /dev/sda1 rw\n"
                           "23 22 0:21 / /proc rw - proc proc rw\n"
                           "40 22 8:17 / /media/anna/OLD rw - vfat /dev/sdb1 rw\n";

void Write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
}

QStringList Paths(const QSignalSpy& spy)
{
    QStringList paths;
    for (const QList<QVariant>& call : spy)
        paths << call.at(0).toString();
    return paths;
}

} // namespace

TEST(MountWatcher, ReportsOnlyNewDiscsAndRemovableVolumes)
{
    QTemporaryDir dir;
    const QString table = dir.filePath(QStringLiteral("mountinfo"));
    Write(table, kSystem);
    auto drives = std::make_shared<FakeDriveSystem>();
    FakeDriveSystem::Drive optical;
    optical.MountPoint = QStringLiteral("/srv/cdrom");
    drives->AddDrive(optical);

    CMountWatcher watcher(table);
    watcher.SetDriveSystem(drives);
    QSignalSpy appeared(&watcher, &CMountWatcher::volumeAppeared);
    QSignalSpy removed(&watcher, &CMountWatcher::volumeRemoved);
    watcher.Rescan();
    watcher.Start();
    EXPECT_TRUE(watcher.IsRunning());
    watcher.Rescan();
    EXPECT_EQ(appeared.count(), 0) << "what was mounted before Start is no news";

    // A stick (its blank escaped), the optical drive's disc, and mounts that are no
    // volume: a tmpfs and a network share below /mnt, a bind mount, /mnt itself.
    Write(table, kSystem + "41 22 8:33 / /media/anna/NEW\\040STICK rw - vfat /dev/sdc1 rw\n"
                           "42 22 11:0 / /srv/cdrom ro - iso9660 /dev/sr0 ro\n"
                           "43 22 0:50 / /mnt/scratch rw - tmpfs tmpfs rw\n"
                           "44 22 0:51 / /mnt/share rw - nfs4 server:/export rw\n"
                           "45 22 8:1 /home /srv/home rw - ext4 /dev/sda1 rw\n"
                           "46 22 8:49 / /mnt rw - ext4 /dev/sdd1 rw\n");
    watcher.Rescan();
    EXPECT_EQ(Paths(appeared), QStringList({"/media/anna/NEW STICK", "/srv/cdrom"}));
    EXPECT_EQ(removed.count(), 0);

    // Everything but the system goes, and the drive's next disc is news again.
    Write(table, QByteArray(kSystem).replace("/media/anna/OLD", "/srv/cdrom"));
    appeared.clear();
    watcher.Rescan();
    EXPECT_EQ(Paths(appeared), QStringList({"/srv/cdrom"}));
    EXPECT_EQ(removed.count(), 7);
    EXPECT_EQ(Paths(removed).first(), QStringLiteral("/media/anna/OLD"));

    watcher.Stop();
    EXPECT_FALSE(watcher.IsRunning());
    Write(table, kSystem);
    appeared.clear();
    removed.clear();
    watcher.Rescan();
    EXPECT_EQ(appeared.count() + removed.count(), 0);
}

#endif
