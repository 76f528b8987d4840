// shelfwise-cli on drives made up from SHELFWISE_FAKE_DRIVES (see FakeDriveSystem.h), so
// that tests can run the real command line against discs a test machine cannot have.
// Built for the tests only; the shipped program knows no such variable.
#include "FakeDriveSystem.h"

#include "cli/CliMain.h"

#include <QtGlobal>

int main(int argc, char** argv)
{
    return RunShelfwiseCli(argc, argv, []() -> std::shared_ptr<DriveSystem> {
        auto fake = FakeDriveSystem::FromDescription(qEnvironmentVariable("SHELFWISE_FAKE_DRIVES"));
        if (qEnvironmentVariableIsSet("SHELFWISE_FAKE_DRIVES_LOG"))
            fake->SetCallLog(qEnvironmentVariable("SHELFWISE_FAKE_DRIVES_LOG"));
        return fake;
    });
}
