// update and history: a disc, folder or file lying directly in a storage compared with
// its source again and brought in line with it, and the updates it has had.
#include "acquisition/Rescan.h"
#include "acquisition/UnitUpdate.h"
#include "cli/CliContext.h"
#include "cli/Interrupt.h"
#include "cli/Table.h"
#include "common/FinishedWaiter.h"
#include "common/Strings.h"
#include "common/WorkerEvent.h"
#include "drives/VolumeInfoWorker.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QObject>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace {

const QString kUnit = QStringLiteral("--unit");
const QString kDryRun = QStringLiteral("--dry-run");
const QString kForce = QStringLiteral("--force");
const QString kNoThumbnails = QStringLiteral("--no-thumbnails");
const QString kNoArchives = QStringLiteral("--no-archives");

void PrintError(const QString& text)
{
    const QByteArray bytes = (text + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
}

// change, path, size, newSize, modified, newModified (and from, for a move). A side the
// entry does not have (the catalogue's for an addition, the source's for a removal or a
// folder that cannot be read now) leaves its fields empty, and so do a folder's sizes.
std::vector<QVariant> ChangeRow(const CChangeList::Change& change)
{
    using Kind = CChangeList::Kind;
    const bool before = change.What != Kind::Added;
    const bool after = change.What != Kind::Removed && change.What != Kind::Unreadable;
    const auto size = [&](bool side, qint64 bytes) {
        return side && !change.IsFolder ? QVariant(bytes) : QVariant();
    };
    const auto date = [](bool side, const QString& text) {
        return side && !text.isEmpty() ? QVariant(text) : QVariant();
    };
    std::vector<QVariant> row{QString::fromLatin1(CChangeList::Word(change.What)),
                              change.Path,
                              size(before, change.OldSize),
                              size(after, change.NewSize),
                              date(before, change.OldDate),
                              date(after, change.NewDate)};
    if (change.What == Kind::Moved)
        row.emplace_back(change.OldPath);
    return row;
}

// Every difference, by path; what is as catalogued is left out.
void PrintChanges(const CChangeList& changes, bool json)
{
    std::vector<const CChangeList::Change*> listed;
    for (const CChangeList::Change& change : changes.Entries()) {
        if (change.What != CChangeList::Kind::Unchanged)
            listed.push_back(&change);
    }
    std::stable_sort(listed.begin(), listed.end(),
                     [](const auto* a, const auto* b) { return a->Path < b->Path; });
    Table table({"change", "path", "size", "newSize", "modified", "newModified"}, {"from"});
    for (const CChangeList::Change* change : listed)
        table.AddRow(ChangeRow(*change));
    table.Print(json);
}

// The path to compare the unit with: PATH, made absolute, else the one recorded when it
// was added or last updated. False with a message when there is neither.
bool FindSource(CliContext& ctx, const UnitListItem& unit, QString& source)
{
    const QStringList& args = ctx.Args.Positionals();
    if (args.size() > 1) {
        source = QDir::cleanPath(QFileInfo(args.at(1)).absoluteFilePath());
        return true;
    }
    UnitSource recorded;
    bool found = false;
    if (!ctx.Doc().Guard([&] { found = ctx.Db().GetUnitSource(unit.UnitID, recorded); }))
        return false;
    if (!found) {
        ctx.Fail(QStringLiteral("The catalogue does not record where \"%1\" was read from (it "
                                "was added before version 1.1); give the PATH to compare it "
                                "with: update FILE --unit %2 PATH")
                     .arg(unit.UnitName)
                     .arg(unit.UnitID));
        return false;
    }
    source = recorded.SourcePath;
    return true;
}

// Whether the source can be read at all. The walk takes a folder it cannot open for an
// unreadable folder, whose catalogued contents are kept: for the root that would report
// "No changes" rather than say the source is not there.
bool CheckSourceReadable(CliContext& ctx, const QString& source)
{
    const QFileInfo info(source);
    int error = 0;
    if (!info.exists())
        error = ENOENT;
    else if (info.isDir() && !QDir(source).isReadable())
        error = EACCES;
    if (error == 0)
        return true;
    ctx.Fail(QStringLiteral("%1 cannot be read: %2")
                 .arg(QDir::toNativeSeparators(source), qt_error_string(error)));
    return false;
}

// For a disc: whether the volume at the source is the disc catalogued, or --force says
// to compare it all the same. Returns -1 to go on, else the exit status.
int CheckDisc(CliContext& ctx, int unitId, const QString& source)
{
    const VolumeInfo volume = VolumeInfoWorker::ReadAndWait(ctx.Drives(), source);
    QString question;
    if (!ctx.Doc().Guard(
            [&] { question = CUnitUpdate::AnotherDiscQuestion(ctx.Db(), unitId, volume, source); }))
        return ExitStatus::Error;
    if (question.isEmpty() || ctx.Args.Has(kForce))
        return -1;
    PrintError(question);
    PrintError(QStringLiteral("Give --force to compare it with the catalogued disc anyway."));
    return ExitStatus::AnotherDisc;
}

// Walks the source to the end, a spinner on a terminal meanwhile; Ctrl+C cancels the
// walk. Returns -1 when it found the changes, else the exit status.
int Compare(CliContext& ctx, CRescan& rescan, int unitId, const QString& source)
{
    QEventLoop loop;
    FinishedWaiter waiter(loop);
    bool started = false;
    if (!ctx.Doc().Guard([&] { started = rescan.Start(unitId, source, &waiter); }))
        return ExitStatus::Error;
    if (!started)
        return ctx.Fail(rescan.Error());
    ProgressLine line("Comparing");
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        line.Spin();
        if (InterruptGuard::Interrupted())
            rescan.Cancel();
    });
    poll.start(100);
    // The event may already be queued; the loop then ends at its first turn.
    loop.exec();
    rescan.Wait();
    line.Done();
    if (rescan.Outcome() == WorkOutcome::Cancelled)
        return ExitStatus::Cancelled;
    if (rescan.Outcome() == WorkOutcome::Succeeded && rescan.Result())
        return -1;
    return ctx.Fail(Strings::LoadString(Strings::IDS_OPERATION_FAILED));
}

int Update(CliContext& ctx)
{
    if (!ctx.Args.Has(kUnit))
        return ctx.UsageError(QStringLiteral("update FILE --unit ID [PATH] [--dry-run] [--force]"));
    const bool dryRun = ctx.Args.Has(kDryRun);
    InterruptGuard interrupt;
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), !dryRun))
        return ExitStatus::Error;
    UnitListItem unit;
    if (!ctx.ResolveUnit(ctx.Args.Value(kUnit), unit))
        return ExitStatus::Error;
    if (!ctx.Doc().IsTopLevelUnit(unit.UnitID))
        return ctx.Fail(QStringLiteral("Only a disc, folder or file that lies directly in a "
                                       "storage can be updated."));
    QString source;
    if (!FindSource(ctx, unit, source) || !CheckSourceReadable(ctx, source))
        return ExitStatus::Error;
    const bool isDisc = unit.Kind == UnitKind::Disc;
    if (isDisc) {
        const int status = CheckDisc(ctx, unit.UnitID, source);
        if (status >= 0)
            return status;
    }

    CRescan rescan(ctx.Db());
    const int status = Compare(ctx, rescan, unit.UnitID, source);
    if (status >= 0)
        return status;
    const CChangeList& changes = *rescan.Result();
    PrintChanges(changes, ctx.Json);
    PrintError(changes.Summary());
    if (dryRun)
        return ExitStatus::Success;

    // A Ctrl+C from here to the save leaves the catalogue file as it was.
    if (InterruptGuard::Interrupted())
        return ExitStatus::Cancelled;
    CUnitUpdate update(ctx.Doc());
    if (ctx.Args.Has(kNoThumbnails))
        update.SetThumbnails(false);
    if (ctx.Args.Has(kNoArchives))
        update.SetLookInsideArchives(false);
    if (!update.Apply(unit.UnitID, changes, source, isDisc ? source : QString()))
        return ExitStatus::Error;
    if (!ctx.IndexWaitingNames() || InterruptGuard::Interrupted())
        return ExitStatus::Cancelled;
    return ctx.Finish(true);
}

int History(CliContext& ctx)
{
    if (!ctx.Args.Has(kUnit))
        return ctx.UsageError(QStringLiteral("history FILE --unit ID"));
    if (!ctx.OpenCatalogue(ctx.Args.Positionals().at(0), false))
        return ExitStatus::Error;
    UnitListItem unit;
    if (!ctx.ResolveUnit(ctx.Args.Value(kUnit), unit))
        return ExitStatus::Error;
    std::vector<UnitUpdateRecord> records;
    if (!ctx.Doc().Guard([&] { ctx.Db().GetUnitUpdates(unit.UnitID, records); }))
        return ExitStatus::Error;
    Table table({"date", "added", "removed", "changed", "moved", "files", "size"});
    for (const UnitUpdateRecord& r : records)
        table.AddRow({r.UpdatedAt.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")),
                      r.Added, r.Removed, r.Changed, r.Moved, r.FilesAfter, r.SizeAfter});
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> UpdateCommands()
{
    using Arg = CliArgument;
    const Arg file = Arg::Positional("FILE");
    const Arg unit = Arg::Option(kUnit, {"ID"});
    return {
        {"update",
         "compares a disc, folder or file with its source and applies the changes",
         {file, unit, Arg::Positional("PATH").Optional(), Arg::Option(kDryRun).Optional(),
          Arg::Option(kForce).Optional(), Arg::Option(kNoThumbnails).Optional(),
          Arg::Option(kNoArchives).Optional()},
         &Update,
         "The unit lies directly in a storage. The source is PATH, else the one recorded\n"
         "when the unit was added or last updated; a catalogue made before version 1.1\n"
         "records none, so it needs PATH.\n"
         "Each difference is a row: change (added, removed, changed, moved or\n"
         "unreadable), path (below the unit), size and newSize in bytes, modified and\n"
         "newModified as the catalogue stores them. A field is empty (null in JSON)\n"
         "where a side has none, and folders have no sizes; a moved row has one more\n"
         "field, from, its old path. The summary follows on stderr. Unless --dry-run\n"
         "is given, the changes are then applied and saved.\n"
         "\n"
         "For a disc, the volume at the source is read first: when its label and serial\n"
         "number are not those of the disc catalogued, nothing is compared and the\n"
         "status is 3, unless --force. When the source cannot be read at all the status\n"
         "is 1, and Ctrl+C stops the comparison with status 130; the catalogue is then\n"
         "unchanged.\n"
         "\n"
         "Added and changed pictures get a new thumbnail while the KeepThumbnails\n"
         "setting is on; with --no-thumbnails they get none (a changed picture loses\n"
         "its old one).\n"
         "\n"
         "Added and changed archives get their entries read again while the\n"
         "LookInsideArchives setting is on; with --no-archives they get none (a changed\n"
         "archive loses its old ones). An unchanged archive keeps its entries, which are\n"
         "never listed as changes."},
        {"history",
         "lists the updates of a disc, folder or file, oldest first",
         {file, unit},
         &History,
         "Each update is a row: date (local time), how many files and folders were added,\n"
         "removed, changed and moved, and the files and size (in bytes) after it."},
    };
}
