// shelfwise-cli on the machine's own drives.
#include "cli/CliMain.h"
#include "common/LocalTimeZone.h"
#include "drives/DriveSystem.h"

int main(int argc, char** argv)
{
    LocalTimeZone::PinSystemZone();
    return RunShelfwiseCli(argc, argv, &DriveSystem::Create);
}
