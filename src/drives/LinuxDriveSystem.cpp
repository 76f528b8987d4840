#ifdef __linux__
#include "drives/LinuxDriveSystem.h"

#include "drives/MountTable.h"
#include "errorlog/ErrorLog.h"
#include "volumes/VolumeReader.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <linux/cdrom.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

const QString kUDisks = QStringLiteral("org.freedesktop.UDisks2");
constexpr int kUDisksTimeoutMs = 30000;
// The SCSI peripheral type of CD and DVD drives.
const QByteArray kOpticalType = QByteArrayLiteral("5");

// A device opened for ioctls and reading; closed when it goes out of scope. Opened
// without blocking so that an empty drive does not try to close its tray.
class DeviceHandle final
{
public:
    explicit DeviceHandle(const QString& path)
        : m_fd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
    {
    }
    ~DeviceHandle()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    DeviceHandle(const DeviceHandle&) = delete;
    DeviceHandle& operator=(const DeviceHandle&) = delete;

    bool IsOpen() const { return m_fd >= 0; }
    int Fd() const { return m_fd; }

private:
    int m_fd;
};

QByteArray ReadSysFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

bool IsBlockDevice(const QString& path)
{
    struct stat info = {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 && S_ISBLK(info.st_mode);
}

bool ReadAtFd(int fd, qint64 offset, char* buffer, qint64 length)
{
    while (length > 0) {
        const ssize_t got =
            ::pread(fd, buffer, static_cast<size_t>(length), static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        buffer += got;
        offset += got;
        length -= got;
    }
    return true;
}

// The device length, or -1 with errno set.
qint64 DeviceLength(int fd)
{
    quint64 length = 0;
    if (::ioctl(fd, BLKGETSIZE64, &length) != 0)
        return -1;
    return static_cast<qint64>(length);
}

// Only a CD/DVD driver answers this; the tray operations leave every other device
// (a hard disk holding a folder, a loop device holding an image) alone.
bool IsOpticalDrive(const DeviceHandle& handle)
{
    return handle.IsOpen() && ::ioctl(handle.Fd(), CDROM_GET_CAPABILITY, 0) >= 0;
}

// sr0 before sr1 before sr10.
bool NaturalLess(const QString& a, const QString& b)
{
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

QDBusMessage CallUDisks(const QDBusConnection& bus, const QString& object, const QString& interface,
                        const QString& method, const QVariantList& arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kUDisks, object, interface, method);
    call.setArguments(arguments);
    return bus.call(call, QDBus::Block, kUDisksTimeoutMs);
}

} // namespace

LinuxDriveSystem::LinuxDriveSystem(QString sysBlockFolder, QString mountInfoFile)
    : m_sysBlock(std::move(sysBlockFolder)), m_mountInfo(std::move(mountInfoFile))
{
}

std::vector<OpticalDrive> LinuxDriveSystem::ListOpticalDrives()
{
    QStringList names;
    const QDir sysBlock(m_sysBlock);
    for (const QString& name : sysBlock.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString folder = sysBlock.filePath(name);
        const QByteArray type = ReadSysFile(folder + QStringLiteral("/device/type"));
        const bool optical =
            type.isEmpty() ? name.startsWith(QLatin1String("sr")) : type == kOpticalType;
        if (optical && ReadSysFile(folder + QStringLiteral("/removable")) != "0")
            names << name;
    }
    std::sort(names.begin(), names.end(), NaturalLess);

    const MountTable mounts = MountTable::Load(m_mountInfo);
    std::vector<OpticalDrive> drives;
    for (const QString& name : names) {
        OpticalDrive drive;
        drive.Device = QStringLiteral("/dev/") + name;
        const QString number =
            QString::fromLatin1(ReadSysFile(sysBlock.filePath(name) + QStringLiteral("/dev")));
        if (const MountTable::Mount* mount = mounts.MountOf(number, drive.Device))
            drive.MountPoint = mount->MountPoint;
        drives.push_back(drive);
    }
    return drives;
}

LinuxDriveSystem::Target LinuxDriveSystem::Resolve(const QString& drivePath) const
{
    Target target;
    struct stat info = {};
    if (drivePath.isEmpty() || ::stat(QFile::encodeName(drivePath).constData(), &info) != 0)
        return target;
    if (S_ISBLK(info.st_mode)) {
        target.Type = Target::Kind::Device;
        target.Path = drivePath;
        return target;
    }
    const MountTable mounts = MountTable::Load(m_mountInfo);
    const MountTable::Mount* mount = mounts.MountHolding(QFileInfo(drivePath).canonicalFilePath());
    // A file is a disc image, unless it lies on a disc itself.
    const bool onDisc = mount && (mount->FileSystemType == QLatin1String("iso9660") ||
                                  mount->FileSystemType == QLatin1String("udf"));
    if (S_ISREG(info.st_mode) && !onDisc) {
        target.Type = Target::Kind::Image;
        target.Path = drivePath;
    } else {
        // A folder: the device of the mount that holds it.
        if (!mount)
            return target;
        const QString byNumber = QStringLiteral("/dev/block/") + mount->DeviceNumber;
        if (mount->Source.startsWith(QLatin1String("/dev/")) && IsBlockDevice(mount->Source))
            target.Path = mount->Source;
        else if (IsBlockDevice(byNumber))
            target.Path = byNumber;
        else
            return target;
        target.Type = Target::Kind::Device;
    }
    return target;
}

VolumeInfo LinuxDriveSystem::ReadVolumeInfo(const QString& drivePath)
{
    VolumeInfo info;
    const Target target = Resolve(drivePath);
    if (target.Type == Target::Kind::None)
        return info;
    const DeviceHandle handle(target.Path);
    if (!handle.IsOpen())
        return info;
    const int fd = handle.Fd();
    const VolumeReader::ReadAt read = [fd](qint64 offset, char* buffer, qint64 length) {
        return ReadAtFd(fd, offset, buffer, length);
    };
    VolumeReader::Volume volume;
    QString error;
    if (!VolumeReader::Read(read, volume, error))
        return info;
    info.Label = volume.Label;
    info.SerialNumber = volume.SerialNumber;
    if (target.Type == Target::Kind::Image) {
        // An image's length is the one its volume records; the file may carry padding.
        info.Size = volume.RecordedSize > 0 ? volume.RecordedSize : QFileInfo(target.Path).size();
    } else {
        // Some drives report less than the disc holds; the volume knows better then.
        info.Size = std::max(ReadVolumeLength(target.Path), volume.RecordedSize);
    }
    return info;
}

qint64 LinuxDriveSystem::ReadVolumeLength(const QString& drivePath)
{
    const Target target = Resolve(drivePath);
    if (target.Type == Target::Kind::Image)
        return QFileInfo(target.Path).size();
    if (target.Type == Target::Kind::None) {
        errno = ENODEV;
        ErrorLog::Instance().ReportLastError(__LINE__, false, true);
        return 0;
    }
    const DeviceHandle handle(target.Path);
    if (!handle.IsOpen()) {
        ErrorLog::Instance().ReportLastError(__LINE__, false, true);
        return 0;
    }
    const qint64 length = DeviceLength(handle.Fd());
    if (length < 0) {
        ErrorLog::Instance().ReportLastError(__LINE__, false, true);
        return 0;
    }
    return length;
}

bool LinuxDriveSystem::IsMediaPresent(const QString& drivePath)
{
    const Target target = Resolve(drivePath);
    if (target.Type == Target::Kind::None)
        return false;
    const DeviceHandle handle(target.Path);
    if (!handle.IsOpen())
        return false;
    if (target.Type == Target::Kind::Image)
        return true;
    const int status = ::ioctl(handle.Fd(), CDROM_DRIVE_STATUS, CDSL_CURRENT);
    if (status >= 0)
        return status == CDS_DISC_OK;
    // Not a CD drive (a loop device holding an image, say): present when it has a length.
    return DeviceLength(handle.Fd()) > 0;
}

bool LinuxDriveSystem::LockMedia(const QString& drivePath)
{
    const Target target = Resolve(drivePath);
    if (target.Type != Target::Kind::Device)
        return false;
    const DeviceHandle handle(target.Path);
    if (!IsOpticalDrive(handle))
        return false;
    ::ioctl(handle.Fd(), CDROM_LOCKDOOR, 1);
    // The drive settles before the scan begins.
    QThread::msleep(1000);
    return true;
}

void LinuxDriveSystem::UnlockMedia(const QString& drivePath)
{
    const Target target = Resolve(drivePath);
    if (target.Type != Target::Kind::Device)
        return;
    const DeviceHandle handle(target.Path);
    if (IsOpticalDrive(handle))
        ::ioctl(handle.Fd(), CDROM_LOCKDOOR, 0);
}

void LinuxDriveSystem::EjectMedia(const QString& drivePath)
{
    const Target target = Resolve(drivePath);
    if (target.Type != Target::Kind::Device || !IsOpticalDrive(DeviceHandle(target.Path)))
        return;
    if (EjectWithUDisks(target.Path))
        return;
    // Without UDisks: dismount every mount of the device (which needs the right to),
    // then eject.
    struct stat info = {};
    QString number;
    if (::stat(QFile::encodeName(target.Path).constData(), &info) == 0)
        number = QStringLiteral("%1:%2").arg(major(info.st_rdev)).arg(minor(info.st_rdev));
    const MountTable mounts = MountTable::Load(m_mountInfo);
    for (const MountTable::Mount& mount : mounts.Mounts()) {
        if (mount.DeviceNumber == number || mount.Source == target.Path)
            ::umount2(QFile::encodeName(mount.MountPoint).constData(), 0);
    }
    const DeviceHandle handle(target.Path);
    if (IsOpticalDrive(handle))
        ::ioctl(handle.Fd(), CDROMEJECT, 0);
}

bool LinuxDriveSystem::EjectWithUDisks(const QString& device) const
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected())
        return false;
    const QString canonical = QFileInfo(device).canonicalFilePath();
    QVariantMap byPath;
    byPath.insert(QStringLiteral("path"), canonical);
    const QDBusMessage resolved =
        CallUDisks(bus, QStringLiteral("/org/freedesktop/UDisks2/Manager"),
                   QStringLiteral("org.freedesktop.UDisks2.Manager"),
                   QStringLiteral("ResolveDevice"), {byPath, QVariantMap()});
    QString block;
    if (resolved.type() == QDBusMessage::ReplyMessage && !resolved.arguments().isEmpty()) {
        const auto paths = qdbus_cast<QList<QDBusObjectPath>>(resolved.arguments().first());
        if (!paths.isEmpty())
            block = paths.first().path();
    }
    if (block.isEmpty()) // an older UDisks: objects are named after the device
        block = QStringLiteral("/org/freedesktop/UDisks2/block_devices/") +
                QFileInfo(canonical).fileName();

    // The file system's dismount stands for locking and dismounting the volume; it fails
    // harmlessly when nothing is mounted.
    CallUDisks(bus, block, QStringLiteral("org.freedesktop.UDisks2.Filesystem"),
               QStringLiteral("Unmount"), {QVariantMap()});
    const QDBusMessage drive = CallUDisks(
        bus, block, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
        {QStringLiteral("org.freedesktop.UDisks2.Block"), QStringLiteral("Drive")});
    if (drive.type() != QDBusMessage::ReplyMessage || drive.arguments().isEmpty())
        return false;
    const QString drivePath = qdbus_cast<QDBusVariant>(drive.arguments().first())
                                  .variant()
                                  .value<QDBusObjectPath>()
                                  .path();
    if (drivePath.isEmpty() || drivePath == QLatin1String("/"))
        return false;
    const QDBusMessage ejected =
        CallUDisks(bus, drivePath, QStringLiteral("org.freedesktop.UDisks2.Drive"),
                   QStringLiteral("Eject"), {QVariantMap()});
    return ejected.type() == QDBusMessage::ReplyMessage;
}

#endif // __linux__
