#include "drives/DriveSystem.h"

#if defined(_WIN32)
#include "drives/WindowsDriveSystem.h"
#elif defined(__linux__)
#include "drives/LinuxDriveSystem.h"
#endif

#if !defined(_WIN32) && !defined(__linux__)
namespace {

// No drive access on this system yet: a machine without optical drives.
class NoDriveSystem final : public DriveSystem
{
public:
    std::vector<OpticalDrive> ListOpticalDrives() override { return {}; }
    VolumeInfo ReadVolumeInfo(const QString&) override { return {}; }
    qint64 ReadVolumeLength(const QString&) override { return 0; }
    bool IsMediaPresent(const QString&) override { return false; }
    bool LockMedia(const QString&) override { return false; }
    void UnlockMedia(const QString&) override {}
    void EjectMedia(const QString&) override {}
};

} // namespace
#endif

std::shared_ptr<DriveSystem> DriveSystem::Create()
{
#if defined(_WIN32)
    return std::make_shared<WindowsDriveSystem>();
#elif defined(__linux__)
    return std::make_shared<LinuxDriveSystem>();
#else
    return std::make_shared<NoDriveSystem>();
#endif
}
