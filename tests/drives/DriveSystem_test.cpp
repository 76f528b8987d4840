// The drive systems: Linux's on a machine described by a made-up /sys/block and
// mountinfo and on real image files, the fake one the command line can be given, and
// the worker that reads a volume off the calling thread.
#include "FakeDriveSystem.h"
#include "common/WorkerEvent.h"
#include "drives/MountTable.h"
#include "drives/VolumeInfoWorker.h"
#include "errorlog/ErrorLog.h"
#include "volumes/VolumeReader.h"

#ifdef __linux__
#include "drives/LinuxDriveSystem.h"
#endif

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

void WriteFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

// A disc image made by xorriso from a folder holding one file; empty without xorriso.
QString MakeIso(const QTemporaryDir& dir, const QString& label)
{
    const QString xorriso = QStandardPaths::findExecutable("xorriso");
    if (xorriso.isEmpty())
        return QString();
    WriteFile(dir.filePath("tree/readme.txt"), "hello");
    const QString image = dir.filePath(label + ".iso");
    QProcess process;
    process.start(xorriso, {"-as", "mkisofs", "-quiet", "-J", "-V", label, "-o", image,
                            dir.filePath("tree")});
    process.waitForFinished(60000);
    return process.exitCode() == 0 ? image : QString();
}

// Records the events a worker posts.
class Receiver final : public QObject
{
public:
    std::vector<std::pair<int, qintptr>> events;
    std::vector<WorkOutcome> outcomes; // of the Finished events

protected:
    void customEvent(QEvent* event) override
    {
        const auto* worker = static_cast<WorkerEvent*>(event);
        events.emplace_back(worker->Code(), worker->WParam());
        if (worker->Code() == WorkerEvent::Finished)
            outcomes.push_back(worker->Outcome());
    }
};

} // namespace

TEST(MountTable, ParsesMountinfoLinesAndFindsTheMountOfAPath)
{
    const MountTable table = MountTable::Parse(
        "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
        "35 22 11:0 / /media/user/MY\\040DISC ro,nosuid shared:20 master:1 - iso9660 /dev/sr0 "
        "ro\n"
        "36 22 0:45 / /media/user rw - tmpfs tmpfs rw\n"
        "garbage line\n"
        "37 22 7:0 / /mnt ro - udf /dev/loop0 ro\n"
        "38 22 7:1 / /mnt ro - iso9660 /dev/loop1 ro\n");
    ASSERT_EQ(table.Mounts().size(), 5u);
    EXPECT_EQ(table.Mounts()[1].MountPoint, QStringLiteral("/media/user/MY DISC"));
    EXPECT_EQ(table.Mounts()[1].FileSystemType, QStringLiteral("iso9660"));
    EXPECT_EQ(table.Mounts()[1].Source, QStringLiteral("/dev/sr0"));

    EXPECT_EQ(table.MountHolding("/media/user/MY DISC/films/a.avi")->Source, "/dev/sr0");
    EXPECT_EQ(table.MountHolding("/media/user/MY DISC")->Source, "/dev/sr0");
    EXPECT_EQ(table.MountHolding("/media/user/MY DISCO")->Source, "tmpfs");
    EXPECT_EQ(table.MountHolding("/home/user")->Source, "/dev/sda1");
    // Of two mounts on one point the later hides the earlier.
    EXPECT_EQ(table.MountHolding("/mnt/x")->Source, "/dev/loop1");

    EXPECT_EQ(table.MountOf("11:0", QString())->MountPoint, "/media/user/MY DISC");
    EXPECT_EQ(table.MountOf(QString(), "/dev/loop0")->MountPoint, "/mnt");
    EXPECT_EQ(table.MountOf("11:1", "/dev/sr1"), nullptr);
}

#ifdef __linux__

TEST(LinuxDriveSystem, ListsTheOpticalDrivesOfSysBlockWithTheirMountPoints)
{
    QTemporaryDir dir;
    const QString sys = dir.filePath("block");
    struct Device
    {
        const char* name;
        const char* type;
        const char* removable;
        const char* number;
    };
    for (const Device& d : {Device{"sr10", "5", "1", "11:10"}, Device{"sr1", "5", "1", "11:1"},
                            Device{"sr0", "5", "1", "11:0"}, Device{"sda", "0", "0", "8:0"},
                            Device{"sdb", "0", "1", "8:16"}, Device{"loop0", "", "0", "7:0"}}) {
        const QString folder = sys + "/" + d.name;
        if (*d.type)
            WriteFile(folder + "/device/type", QByteArray(d.type) + "\n");
        WriteFile(folder + "/removable", QByteArray(d.removable) + "\n");
        WriteFile(folder + "/dev", QByteArray(d.number) + "\n");
    }
    WriteFile(dir.filePath("mountinfo"),
              "35 22 11:1 / /media/user/FILMS\\0402024 ro - iso9660 /dev/sr1 ro\n");

    LinuxDriveSystem drives(sys, dir.filePath("mountinfo"));
    const std::vector<OpticalDrive> list = drives.ListOpticalDrives();
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0].Device, QStringLiteral("/dev/sr0"));
    EXPECT_EQ(list[0].MountPoint, QString());
    EXPECT_EQ(list[0].Root(), QStringLiteral("/dev/sr0"));
    EXPECT_EQ(list[1].Device, QStringLiteral("/dev/sr1"));
    EXPECT_EQ(list[1].MountPoint, QStringLiteral("/media/user/FILMS 2024"));
    EXPECT_EQ(list[2].Device, QStringLiteral("/dev/sr10"));

    // A machine whose only drives are fixed disks has no optical drive.
    LinuxDriveSystem none(dir.filePath("nothing"), dir.filePath("mountinfo"));
    EXPECT_TRUE(none.ListOpticalDrives().empty());
}

TEST(LinuxDriveSystem, ReadsADiscImageAndHasNoTrayForIt)
{
    QTemporaryDir dir;
    const QString image = MakeIso(dir, "Sommer");
    if (image.isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    VolumeReader::Volume expected;
    QString error;
    ASSERT_TRUE(VolumeReader::ReadFile(image, expected, error));

    LinuxDriveSystem drives;
    EXPECT_TRUE(drives.IsMediaPresent(image));
    const VolumeInfo volume = drives.ReadVolumeInfo(image);
    EXPECT_EQ(volume.Label, QStringLiteral("Sommer"));
    EXPECT_EQ(volume.SerialNumber, expected.SerialNumber);
    EXPECT_EQ(volume.Size, QFileInfo(image).size());
    EXPECT_EQ(drives.ReadVolumeLength(image), QFileInfo(image).size());
    EXPECT_FALSE(drives.LockMedia(image));
    drives.UnlockMedia(image);
    drives.EjectMedia(image);
    EXPECT_TRUE(QFileInfo::exists(image));
}

TEST(LinuxDriveSystem, PathsWithoutADiscReadAsEmptyAndLogLengthFailures)
{
    QTemporaryDir dir;
    const QString folder = QFileInfo(dir.path()).canonicalFilePath();
    WriteFile(dir.filePath("file.txt"), "not a volume");
    // The folder lies on a mount without a block device; the one below on a disc whose
    // device cannot be read.
    WriteFile(dir.filePath("mountinfo"),
              QStringLiteral("40 1 0:999 / %1 rw - tmpfs tmpfs rw\n"
                             "41 40 11:7 / %1/disc ro - iso9660 /dev/null ro\n")
                  .arg(folder)
                  .toUtf8());
    QDir(folder).mkpath("disc");
    WriteFile(folder + "/disc/film.avi", "x");
    LinuxDriveSystem drives(dir.filePath("block"), dir.filePath("mountinfo"));

    for (const QString& path :
         {folder, folder + "/missing", folder + "/file.txt", folder + "/disc/film.avi"}) {
        SCOPED_TRACE(path.toStdString());
        const VolumeInfo volume = drives.ReadVolumeInfo(path);
        EXPECT_TRUE(volume.IsEmpty());
        EXPECT_FALSE(drives.LockMedia(path));
    }
    EXPECT_FALSE(drives.IsMediaPresent(folder));
    EXPECT_FALSE(drives.IsMediaPresent(folder + "/missing"));
    // A file on a disc belongs to the disc; it is no image of its own.
    EXPECT_EQ(drives.Resolve(folder + "/disc/film.avi").Type, LinuxDriveSystem::Target::Kind::None);
    EXPECT_EQ(drives.Resolve(folder + "/file.txt").Type, LinuxDriveSystem::Target::Kind::Image);

    const QString previousLog = ErrorLog::Instance().LogPath();
    ErrorLog::Instance().SetLogPath(dir.filePath("log.txt"));
    EXPECT_EQ(drives.ReadVolumeLength(folder), 0);
    ErrorLog::Instance().SetLogPath(previousLog);
    QFile log(dir.filePath("log.txt"));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_TRUE(log.readAll().contains("ShelfwiseDoc"));
}

#endif // __linux__

TEST(FakeDriveSystem, BuildsDrivesFromTheirDescription)
{
    QTemporaryDir dir;
    QDir(dir.path()).mkpath("disc");
    const QString image = MakeIso(dir, "IMAGEDISC");
    const QString described =
        QStringLiteral("%1|HOLIDAY|0x1234ABCD|700000000;empty;%2;%3")
            .arg(dir.filePath("disc"), image.isEmpty() ? "empty" : image, dir.filePath("missing"));
    const auto drives = FakeDriveSystem::FromDescription(described);
    const std::vector<OpticalDrive> list = drives->ListOpticalDrives();
    ASSERT_EQ(list.size(), 4u);
    EXPECT_EQ(list[0].Device, QStringLiteral("fake0"));
    EXPECT_EQ(list[0].MountPoint, dir.filePath("disc"));
    EXPECT_EQ(list[1].Root(), QStringLiteral("fake1"));
    EXPECT_EQ(list[3].Device, QStringLiteral("fake3"));
    EXPECT_FALSE(drives->IsMediaPresent(list[3].Root()));

    const VolumeInfo disc = drives->ReadVolumeInfo(dir.filePath("disc") + "/sub/folder");
    EXPECT_EQ(disc.Label, QStringLiteral("HOLIDAY"));
    EXPECT_EQ(disc.SerialNumber, 0x1234ABCDu);
    EXPECT_EQ(disc.Size, 700000000);
    EXPECT_FALSE(drives->IsMediaPresent(dir.filePath("disc") + "x"));
    EXPECT_FALSE(drives->IsMediaPresent("fake1"));
    EXPECT_TRUE(drives->ReadVolumeInfo("fake1").IsEmpty());
    if (!image.isEmpty()) {
        EXPECT_EQ(list[2].MountPoint, image);
        EXPECT_EQ(drives->ReadVolumeInfo(image).Label, QStringLiteral("IMAGEDISC"));
        EXPECT_EQ(drives->ReadVolumeInfo(image).Size, QFileInfo(image).size());
    }

    EXPECT_TRUE(FakeDriveSystem::FromDescription(QString())->ListOpticalDrives().empty());
}

TEST(FakeDriveSystem, RecordsTrayCallsAndEjectTakesTheMediumOut)
{
    QTemporaryDir dir;
    QDir(dir.path()).mkpath("disc");
    const QString logPath = dir.filePath("calls.log");
    const auto drives = FakeDriveSystem::FromDescription(dir.filePath("disc") + "|X;empty");
    drives->SetCallLog(logPath);

    const QString root = dir.filePath("disc");
    EXPECT_TRUE(drives->LockMedia(root));
    EXPECT_TRUE(drives->DriveState("fake0").Locked);
    drives->EjectMedia(root); // a locked tray stays shut
    EXPECT_TRUE(drives->IsMediaPresent(root));
    drives->UnlockMedia(root);
    drives->EjectMedia(root);
    EXPECT_FALSE(drives->IsMediaPresent(root));
    EXPECT_TRUE(drives->ReadVolumeInfo(root).IsEmpty());
    EXPECT_FALSE(drives->LockMedia(dir.filePath("elsewhere")));

    const QStringList expected{"lock fake0", "eject fake0", "unlock fake0", "eject fake0"};
    EXPECT_EQ(drives->Calls(), expected);
    QFile log(logPath);
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(log.readAll()), expected.join('\n') + '\n');
}

TEST(VolumeInfoWorker, ReadsOnItsOwnThreadAndPostsOneFinishedEvent)
{
    QTemporaryDir dir;
    auto drives = std::make_shared<FakeDriveSystem>();
    drives->AddDrive({QString(), dir.path(), true, {"MOVIES", 42, 4096}, false});
    drives->AddDrive({QString(), QString(), false, {}, false});

    Receiver receiver;
    VolumeInfoWorker worker(drives, dir.path() + "/any/path");
    EXPECT_FALSE(worker.IsFinished());
    worker.Start(&receiver);
    worker.Start(&receiver); // started once only
    while (receiver.events.empty())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::processEvents();
    ASSERT_EQ(receiver.events.size(), 1u);
    EXPECT_EQ(receiver.events[0].first, WorkerEvent::Finished);
    EXPECT_EQ(receiver.outcomes, std::vector<WorkOutcome>{WorkOutcome::Succeeded});
    EXPECT_TRUE(worker.IsFinished());
    EXPECT_EQ(worker.Result().Label, QStringLiteral("MOVIES"));
    EXPECT_EQ(worker.Result().SerialNumber, 42u);
    EXPECT_EQ(worker.Result().Size, 4096);

    // An empty drive is an answer too: empty label, serial 0, size 0.
    EXPECT_TRUE(VolumeInfoWorker::ReadAndWait(drives, "fake1").IsEmpty());
    EXPECT_EQ(VolumeInfoWorker::ReadAndWait(drives, dir.path()).Label, QStringLiteral("MOVIES"));
}
