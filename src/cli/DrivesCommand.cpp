// drives: the machine's optical drives and the volumes in them, as the add-disc dialog
// sees them.
#include "cli/CliContext.h"
#include "cli/Table.h"
#include "common/FormatSize.h"
#include "drives/DriveSystem.h"
#include "drives/VolumeInfoWorker.h"

namespace {

int DrivesCommand(CliContext& ctx)
{
    const std::shared_ptr<DriveSystem> drives = ctx.Drives();
    Table table({"device", "mountPoint", "medium", "label", "serialNumber", "size", "sizeText"});
    for (const OpticalDrive& drive : drives->ListOpticalDrives()) {
        if (!drives->IsMediaPresent(drive.Root())) {
            // No medium: the volume's fields stay empty (null in JSON).
            table.AddRow({drive.Device, drive.MountPoint, 0, QVariant(), QVariant(), QVariant(),
                          QVariant()});
            continue;
        }
        const VolumeInfo volume = VolumeInfoWorker::ReadAndWait(drives, drive.Root());
        table.AddRow({drive.Device, drive.MountPoint, 1, volume.Label, volume.SerialNumber,
                      volume.Size, FormatSize(volume.Size)});
    }
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> DriveCommands()
{
    return {{"drives",
             "lists the optical drives and the label, serial number and size of the disc in each",
             {},
             &DrivesCommand}};
}
