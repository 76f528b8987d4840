// add-folder, add-file, add-disc: the add-location flow of the window, driven from the
// command line, with a progress line and Ctrl+C.
#include "acquisition/AddLocationJob.h"
#include "acquisition/DiscNames.h"
#include "cli/CliContext.h"
#include "cli/Interrupt.h"
#include "cli/Table.h"
#include "common/FormatSize.h"
#include "common/Strings.h"
#include "drives/DriveSystem.h"
#include "drives/VolumeInfoWorker.h"
#include "errorlog/ErrorLog.h"
#include "listers/ListerFor.h"
#include "settings/Settings.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <cstdio>

namespace {

const QString kNotes = QStringLiteral("--notes");
const QString kCategory = QStringLiteral("--category");
const QString kNoThumbnails = QStringLiteral("--no-thumbnails");
const QString kNoArchives = QStringLiteral("--no-archives");

void PrintError(const QString& text)
{
    const QByteArray bytes = (text + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
}

} // namespace

// Runs an addition to its end. The caller holds an InterruptGuard from before it
// opened the catalogue, so Ctrl+C at any point cancels cleanly.
int RunAddition(CliContext& ctx, CAddLocationJob& job, const CAddLocationJob::Request& request)
{
    ProgressLine line(request.mode == CAddLocationJob::Mode::Folder ? "Adding folder"
                      : request.mode == CAddLocationJob::Mode::Disc ? "Adding disc"
                                                                    : "Adding file");
    if (InterruptGuard::Interrupted())
        return ExitStatus::Cancelled;
    QEventLoop loop;
    bool done = false;
    auto outcome = WorkOutcome::Failed;
    QObject::connect(&job, &CAddLocationJob::progress, &loop,
                     [&](int percent) { line.Show(percent); });
    QObject::connect(&job, &CAddLocationJob::finished, &loop, [&](WorkOutcome result) {
        outcome = result;
        done = true;
        loop.quit();
    });
    QTimer poll;
    bool cancelled = false;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (InterruptGuard::Interrupted() && !cancelled) {
            cancelled = true;
            job.Cancel();
        }
    });
    poll.start(50);
    if (ctx.Args.Has(kNoThumbnails))
        job.SetThumbnails(false);
    if (ctx.Args.Has(kNoArchives))
        job.SetLookInsideArchives(false);
    if (!job.Start(request))
        return ExitStatus::Error;
    if (!done)
        loop.exec();
    line.Done();

    switch (outcome) {
    case WorkOutcome::Succeeded:
        for (const FileSystemError& error : ErrorLog::Instance().FileSystemErrors())
            PrintError(QStringLiteral("%1 - %2").arg(error.Path, error.Message));
        break;
    case WorkOutcome::Failed:
        return ExitStatus::Error;
    case WorkOutcome::Cancelled:
        return ExitStatus::Cancelled;
    }
    if (!ctx.IndexWaitingNames())
        return ExitStatus::Cancelled;
    if (!ctx.SaveCatalogue())
        return ExitStatus::Error;
    Table table({"id", "name", "storage"});
    table.AddRow({ctx.Doc().LastAddedUnitId(), request.name, request.storageId});
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

// The options every addition shares: storage, notes, category.
bool FillRequest(CliContext& ctx, CAddLocationJob::Request& request)
{
    if (!ctx.ResolveStorage(ctx.Args.Positionals().at(1), request.storageId))
        return false;
    request.notes = ctx.Args.Value(kNotes);
    if (ctx.Args.Has(kCategory)) {
        request.categorise = false;
        if (!ctx.ResolveCategory(ctx.Args.Value(kCategory), request.fixedCategory))
            return false;
    }
    return true;
}

namespace {

int AddPath(CliContext& ctx, CAddLocationJob::Mode mode)
{
    const QString given = ctx.Args.Positionals().at(2);
    const QString problem = CAddLocationJob::CheckPath(given);
    if (!problem.isEmpty())
        return ctx.Fail(problem);
    const QFileInfo info(given);
    if (mode == CAddLocationJob::Mode::Folder && !info.isDir())
        return ctx.Fail(
            QStringLiteral("\"%1\" is not a folder; add-file adds a single file.").arg(given));
    if (mode == CAddLocationJob::Mode::File && info.isDir())
        return ctx.Fail(QStringLiteral("\"%1\" is a folder; add-folder adds a folder.").arg(given));

    InterruptGuard interrupt;
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), true))
        return ExitStatus::Error;
    CAddLocationJob::Request request;
    request.mode = mode;
    request.path = QDir::cleanPath(info.absoluteFilePath());
    request.name = CAddLocationJob::NameFromPath(request.path);
    if (!FillRequest(ctx, request))
        return ExitStatus::Error;
    CAddLocationJob job(ctx.Doc());
    return RunAddition(ctx, job, request);
}

int AddFolder(CliContext& ctx)
{
    return AddPath(ctx, CAddLocationJob::Mode::Folder);
}

int AddFile(CliContext& ctx)
{
    return AddPath(ctx, CAddLocationJob::Mode::File);
}

// Lists the discs that look like the one being added: name, label, size.
void PrintDuplicates(CliContext& ctx, const std::vector<int>& ids)
{
    PrintError(Strings::LoadString(Strings::IDS_DUPLICATE_DISC));
    Table table({"id", "name", "label", "size", "sizeText"});
    for (int id : ids) {
        DiscDetails disc;
        ctx.Doc().Guard([&] { disc = ctx.Db().GetDiscProperties(id); });
        table.AddRow({id, disc.UnitName, disc.Label, disc.Size, FormatSize(disc.Size)});
    }
    table.Print(ctx.Json);
}

int AddDisc(CliContext& ctx)
{
    const QString drive = ctx.Args.Positionals().at(2);
    std::shared_ptr<DriveSystem> drives = ctx.Drives();
    if (!drives->IsMediaPresent(drive))
        return ctx.Fail(Strings::LoadString(Strings::IDS_DISC_ABSENT));
    // A disc image is listed from inside the file: one whose file system cannot be
    // listed would be added as an empty disc.
    const std::unique_ptr<FolderLister> lister = ListerFor(drive);
    if (!lister)
        return ctx.Fail(Strings::LoadString(Strings::IDS_DISC_ABSENT));
    const VolumeInfo volume = VolumeInfoWorker::ReadAndWait(drives, drive);
    QString name = ctx.Args.Value(QStringLiteral("--name"));
    if (!ctx.Args.Has(QStringLiteral("--name"))) {
        const QStringList proposed = DiscNames::ProposeDiscNames(volume, drive);
        name = proposed.isEmpty() ? QString() : proposed.first();
    }
    if (name.isEmpty())
        return ctx.Fail(Strings::LoadString(Strings::IDS_ENTER_DISC_NAME));

    InterruptGuard interrupt;
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), true))
        return ExitStatus::Error;
    CAddLocationJob::Request request;
    request.mode = CAddLocationJob::Mode::Disc;
    request.path = drive;
    request.name = name;
    request.discLabel = volume.Label;
    request.discSerial = volume.SerialNumber;
    request.discSize = volume.Size;
    request.autoEject = ctx.Args.Has(QStringLiteral("--eject")) || Settings::Instance().AutoEject;
    if (!FillRequest(ctx, request))
        return ExitStatus::Error;
    CAddLocationJob job(ctx.Doc());
    job.SetDriveSystem(drives.get());
    job.SetFolderLister(lister.get()); // declared before the job: outlives it
    const std::vector<int> duplicates =
        job.FindDuplicateDiscs(volume.Label, volume.SerialNumber, volume.Size);
    if (!duplicates.empty() && !ctx.Args.Has(QStringLiteral("--force"))) {
        PrintDuplicates(ctx, duplicates);
        PrintError(QStringLiteral("Give --force to add the disc anyway."));
        return ExitStatus::Duplicates;
    }
    return RunAddition(ctx, job, request);
}

} // namespace

std::vector<CliCommand> AddCommands()
{
    using Arg = CliArgument;
    const Arg file = Arg::Positional("FILE");
    const Arg storage = Arg::Positional("STORAGE");
    const Arg notes = Arg::Option(kNotes, {"TEXT"}).Optional();
    const Arg category = Arg::Option(kCategory, {"CATEGORY"}).Optional();
    const Arg noThumbnails = Arg::Option(kNoThumbnails).Optional();
    const Arg noArchives = Arg::Option(kNoArchives).Optional();
    return {
        {"add-folder",
         "catalogues a folder; without --category files are categorised by extension",
         {file, storage, Arg::Positional("PATH"), notes, category, noThumbnails, noArchives},
         &AddFolder,
         "Pictures get a thumbnail of at most 160 x 160 pixels, kept in the catalogue,\n"
         "while the KeepThumbnails setting is on; --no-thumbnails makes none.\n"
         "\n"
         "Archives (zip, 7z, rar, tar, cpio, cab, xar...) and disc images among the files\n"
         "are opened while the LookInsideArchives setting is on, and their entries are\n"
         "catalogued below them without counting in any total; --no-archives opens none.\n"
         "An archive that is encrypted, damaged or too large stays a plain file and is\n"
         "named on stderr."},
        {"add-file",
         "catalogues one file",
         {file, storage, Arg::Positional("PATH"), notes, category, noThumbnails, noArchives},
         &AddFile,
         "A picture gets a thumbnail of at most 160 x 160 pixels, kept in the catalogue,\n"
         "while the KeepThumbnails setting is on; --no-thumbnails makes none.\n"
         "\n"
         "An archive (zip, 7z, rar, tar, cpio, cab, xar...) or disc image is opened while\n"
         "the LookInsideArchives setting is on, and its entries are catalogued below it;\n"
         "--no-archives opens nothing. An archive that is encrypted, damaged or too large\n"
         "stays a plain file and is named on stderr."},
        {"add-disc",
         "catalogues the disc in DRIVE (its mount point, or a disc image file); refuses a "
         "duplicate unless --force",
         {file, storage, Arg::Positional("DRIVE"), Arg::Option("--name", {"NAME"}).Optional(),
          notes, category, Arg::Option("--force").Optional(), Arg::Option("--eject").Optional(),
          noThumbnails, noArchives},
         &AddDisc,
         "The disc is named after its volume label unless --name is given. A disc that\n"
         "matches a catalogued one by the duplicate settings (CheckSerialNumber,\n"
         "CheckSize, CheckLabel) is not added: the matches are listed and the status is\n"
         "3, unless --force. --eject ejects the disc when the addition ends, as the\n"
         "AutoEject setting does.\n"
         "\n"
         "Pictures get a thumbnail of at most 160 x 160 pixels, kept in the catalogue,\n"
         "while the KeepThumbnails setting is on; --no-thumbnails makes none.\n"
         "\n"
         "Archives (zip, 7z, rar, tar, cpio, cab, xar...) and disc images among the files\n"
         "are opened while the LookInsideArchives setting is on, and their entries are\n"
         "catalogued below them without counting in any total; --no-archives opens none.\n"
         "An archive that is encrypted, damaged or too large stays a plain file and is\n"
         "named on stderr."},
    };
}
