// shelfwise-cli on the machine's own drives.
#include "cli/CliMain.h"
#include "drives/DriveSystem.h"

int main(int argc, char** argv)
{
    return RunShelfwiseCli(argc, argv, &DriveSystem::Create);
}
