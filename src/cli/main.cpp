// shelfwise-cli on the machine's own drives.
#include "acquisition/DriveSystem.h"
#include "cli/CliMain.h"

int main(int argc, char** argv)
{
    return RunShelfwiseCli(argc, argv, &DriveSystem::Create);
}
