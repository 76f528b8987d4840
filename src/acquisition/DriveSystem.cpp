#include "acquisition/DriveSystem.h"

#include "acquisition/FakeDriveSystem.h"

#if defined(_WIN32)
#include "acquisition/WindowsDriveSystem.h"
#elif defined(__linux__)
#include "acquisition/LinuxDriveSystem.h"
#endif

#include <QtGlobal>

std::shared_ptr<DriveSystem> DriveSystem::Create()
{
    if (qEnvironmentVariableIsSet("SHELFWISE_FAKE_DRIVES")) {
        auto fake = FakeDriveSystem::FromDescription(qEnvironmentVariable("SHELFWISE_FAKE_DRIVES"));
        if (qEnvironmentVariableIsSet("SHELFWISE_FAKE_DRIVES_LOG"))
            fake->SetCallLog(qEnvironmentVariable("SHELFWISE_FAKE_DRIVES_LOG"));
        return fake;
    }
#if defined(_WIN32)
    return std::make_shared<WindowsDriveSystem>();
#elif defined(__linux__)
    return std::make_shared<LinuxDriveSystem>();
#else
    // No drive access on this system yet: a machine without optical drives.
    return std::make_shared<FakeDriveSystem>();
#endif
}
