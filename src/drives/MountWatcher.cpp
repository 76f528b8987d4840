#include "drives/MountWatcher.h"

#include "drives/DriveSystem.h"

#include <QFile>
#include <QSocketNotifier>

#include <algorithm>
#include <iterator>

#ifdef __linux__
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

// Folders below which removable volumes are mounted: udisks2 (/media/USER/LABEL on
// Debian and Ubuntu, /run/media/USER/LABEL elsewhere), and /mnt/ by hand or by older
// automounters. /mnt itself is left out: it is often a permanent mount.
const char* const kRemovableFolders[] = {"/media/", "/run/media/", "/mnt/"};

bool SameMount(const MountTable::Mount& a, const MountTable::Mount& b)
{
    return a.MountPoint == b.MountPoint && a.DeviceNumber == b.DeviceNumber && a.Source == b.Source;
}

bool Contains(const std::vector<MountTable::Mount>& mounts, const MountTable::Mount& mount)
{
    return std::any_of(mounts.begin(), mounts.end(), [&mount](const MountTable::Mount& known) {
        return SameMount(known, mount);
    });
}

#ifdef __linux__
std::vector<MountTable::Mount> ReadMounts(const QString& path)
{
    return MountTable::Load(path).Mounts();
}
#else
std::vector<MountTable::Mount> ReadMounts(const QString&)
{
    return {};
}
#endif

} // namespace

CMountWatcher::CMountWatcher(QString mountInfoPath, QObject* parent)
    : QObject(parent), m_mountInfoPath(std::move(mountInfoPath))
{
}

CMountWatcher::~CMountWatcher()
{
    Stop();
}

void CMountWatcher::SetDriveSystem(std::shared_ptr<DriveSystem> drives)
{
    m_drives = std::move(drives);
}

bool CMountWatcher::LooksRemovable(const MountTable::Mount& mount)
{
    if (!mount.Source.startsWith(QLatin1String("/dev/")))
        return false;
    return std::any_of(
        std::begin(kRemovableFolders), std::end(kRemovableFolders), [&mount](const char* folder) {
            const QLatin1String prefix(folder);
            return mount.MountPoint.startsWith(prefix) && mount.MountPoint.size() > prefix.size();
        });
}

void CMountWatcher::Start()
{
    if (m_running)
        return;
#ifdef __linux__
    m_known = ReadMounts(m_mountInfoPath);
    m_running = true;
    m_fd = ::open(QFile::encodeName(m_mountInfoPath).constData(), O_RDONLY | O_CLOEXEC);
    if (m_fd < 0)
        return; // no notices then; Rescan still compares when called
    m_notifier = std::make_unique<QSocketNotifier>(m_fd, QSocketNotifier::Exception);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &CMountWatcher::Rescan);
#endif
}

void CMountWatcher::Stop()
{
    m_notifier.reset();
#ifdef __linux__
    if (m_fd >= 0)
        ::close(m_fd);
#endif
    m_fd = -1;
    m_known.clear();
    m_running = false;
}

std::vector<QString> CMountWatcher::OpticalMountPoints() const
{
    std::vector<QString> points;
    if (!m_drives)
        return points;
    for (const OpticalDrive& drive : m_drives->ListOpticalDrives()) {
        if (!drive.MountPoint.isEmpty())
            points.push_back(drive.MountPoint);
    }
    return points;
}

void CMountWatcher::Rescan()
{
    if (!m_running)
        return;
    // Polling the file has taken the kernel's notice; the table is read afresh.
    std::vector<MountTable::Mount> now = ReadMounts(m_mountInfoPath);
    std::vector<MountTable::Mount> added;
    for (const MountTable::Mount& mount : now) {
        if (!Contains(m_known, mount))
            added.push_back(mount);
    }
    std::vector<QString> gone;
    for (const MountTable::Mount& mount : m_known) {
        if (!Contains(now, mount))
            gone.push_back(mount.MountPoint);
    }
    m_known = std::move(now);

    for (const QString& point : gone)
        emit volumeRemoved(point);
    if (added.empty())
        return;
    // The drives are listed only when something was mounted: that reads /sys.
    const std::vector<QString> optical = OpticalMountPoints();
    for (const MountTable::Mount& mount : added) {
        const bool isOptical =
            std::find(optical.begin(), optical.end(), mount.MountPoint) != optical.end();
        if (isOptical || LooksRemovable(mount))
            emit volumeAppeared(mount.MountPoint);
    }
}
