// duplicates FILE [--min-size BYTES] [--with-date], unique FILE --unit ID: files
// catalogued more than once, and the files of a disc or folder catalogued nowhere else.
#include "cli/CliContext.h"
#include "cli/Interrupt.h"
#include "cli/Table.h"
#include "common/Strings.h"
#include "common/WorkerEvent.h"
#include "copies/CopySearch.h"

#include <QEvent>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <map>

namespace {

const QString kMinSize = QStringLiteral("--min-size");
const QString kWithDate = QStringLiteral("--with-date");
const QString kUnit = QStringLiteral("--unit");

// How often a Ctrl+C is passed on to the worker.
constexpr int kInterruptPollMs = 50;
// Locations are read for this many units at a time.
constexpr size_t kLocationsPerQuery = 5000;

// Shows the worker's progress on the terminal and ends the loop with its Finished.
class CopySearchDriver final : public QObject
{
public:
    CopySearchDriver(QEventLoop& loop, const char* what) : m_loop(loop), m_progress(what) {}

    void Done() { m_progress.Done(); }

protected:
    void customEvent(QEvent* event) override
    {
        if (WorkerEvent::Is(event, WorkerEvent::Progress))
            m_progress.Show(static_cast<int>(static_cast<const WorkerEvent*>(event)->WParam()));
        else if (WorkerEvent::Is(event, WorkerEvent::Finished))
            m_loop.quit();
    }

private:
    QEventLoop& m_loop;
    ProgressLine m_progress;
};

void PrintError(const QString& text)
{
    const QByteArray bytes = (text + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
}

// Runs a search started by start (given the object to post to) to its end; Ctrl+C
// cancels it. Returns -1 when it succeeded, else the exit status.
template <typename StartFn>
int RunSearch(CliContext& ctx, CCopySearch& search, const char* what, StartFn start)
{
    QEventLoop loop;
    CopySearchDriver driver(loop, what);
    bool started = false;
    if (!ctx.Guard([&] { started = start(&driver); }))
        return ExitStatus::Error;
    if (!started)
        return ctx.Fail(search.Error());
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&search] {
        if (InterruptGuard::Interrupted())
            search.Cancel();
    });
    poll.start(kInterruptPollMs);
    // The Finished event may already be queued; the loop then ends at its first turn.
    loop.exec();
    search.Wait();
    driver.Done();
    switch (search.Outcome()) {
    case WorkOutcome::Succeeded:
        return -1;
    case WorkOutcome::Cancelled:
        PrintError(Strings::LoadString(Strings::IDS_OPERATION_CANCELLED));
        return ExitStatus::Cancelled;
    default:
        return ctx.Fail(search.Error().isEmpty()
                            ? Strings::LoadString(Strings::IDS_OPERATION_FAILED)
                            : search.Error());
    }
}

// Where each file lies, read a slice at a time so that one statement never lists
// millions of ids.
class Locations final
{
public:
    explicit Locations(CSqliteWrapper& db) : m_db(db) {}

    // Reads the locations of ids, forgetting those read before.
    void Prefetch(const std::vector<int>& ids) { m_locations = m_db.GetUnitLocations(ids); }
    QString Of(int unitId) const
    {
        const auto it = m_locations.find(unitId);
        return it == m_locations.end() ? QString() : it->second;
    }

private:
    CSqliteWrapper& m_db;
    std::map<int, QString> m_locations;
};

int Duplicates(CliContext& ctx)
{
    CCopySearch::Options options;
    options.WithDate = ctx.Args.Has(kWithDate);
    if (ctx.Args.Has(kMinSize)) {
        bool ok = false;
        options.MinSize = ctx.Args.Value(kMinSize).toLongLong(&ok);
        if (!ok || options.MinSize < 0)
            return ctx.UsageError(QStringLiteral("--min-size takes a number of bytes"));
    }
    InterruptGuard interrupt;
    if (!ctx.OpenForReading(ctx.Args.Positionals().at(0)))
        return ExitStatus::Error;
    CCopySearch search(ctx.Db());
    const int status = RunSearch(ctx, search, "Looking for copies", [&](QObject* notify) {
        search.StartDuplicates(options, notify);
        return true;
    });
    if (status >= 0)
        return status;

    Table table({QStringLiteral("group"), QStringLiteral("id"), QStringLiteral("name"),
                 QStringLiteral("size"), QStringLiteral("location")});
    Locations locations(ctx.Db());
    const std::vector<CCopySearch::Group>& groups = search.Groups();
    bool read = ctx.Guard([&] {
        for (size_t first = 0; first < groups.size();) {
            std::vector<int> ids;
            size_t end = first;
            for (; end < groups.size() && ids.size() < kLocationsPerQuery; ++end) {
                for (const CatalogueFile& file : groups[end].Copies)
                    ids.push_back(file.UnitID);
            }
            locations.Prefetch(ids);
            for (size_t g = first; g < end; ++g) {
                for (const CatalogueFile& file : groups[g].Copies)
                    table.AddRow({static_cast<qlonglong>(g + 1), file.UnitID, file.Name,
                                  static_cast<qlonglong>(file.Size), locations.Of(file.UnitID)});
            }
            first = end;
        }
    });
    if (!read)
        return ExitStatus::Error;
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

int Unique(CliContext& ctx)
{
    if (!ctx.Args.Has(kUnit))
        return ctx.UsageError(QStringLiteral("unique FILE --unit ID"));
    InterruptGuard interrupt;
    if (!ctx.OpenForReading(ctx.Args.Positionals().at(0)))
        return ExitStatus::Error;
    UnitListItem unit;
    if (!ctx.ResolveUnit(ctx.Args.Value(kUnit), unit))
        return ExitStatus::Error;
    if (unit.Kind != UnitKind::Disc && unit.Kind != UnitKind::Folder)
        return ctx.Fail(QStringLiteral("Unit %1 (\"%2\") is not a disc or folder; unique looks "
                                       "at the files below one.")
                            .arg(unit.UnitID)
                            .arg(unit.UnitName));
    CCopySearch search(ctx.Db());
    const int status = RunSearch(ctx, search, "Comparing files", [&](QObject* notify) {
        return search.StartUnique(unit.UnitID, notify);
    });
    if (status >= 0)
        return status;

    Table table({QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("size"),
                 QStringLiteral("location")});
    Locations locations(ctx.Db());
    const std::vector<CatalogueFile>& files = search.UniqueFiles();
    bool read = ctx.Guard([&] {
        for (size_t first = 0; first < files.size(); first += kLocationsPerQuery) {
            const size_t end = std::min(files.size(), first + kLocationsPerQuery);
            std::vector<int> ids;
            for (size_t i = first; i < end; ++i)
                ids.push_back(files[i].UnitID);
            locations.Prefetch(ids);
            for (size_t i = first; i < end; ++i)
                table.AddRow({files[i].UnitID, files[i].Name, static_cast<qlonglong>(files[i].Size),
                              locations.Of(files[i].UnitID)});
        }
    });
    if (!read)
        return ExitStatus::Error;
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> CopyCommands()
{
    using Arg = CliArgument;
    const Arg file = Arg::Positional("FILE");
    return {
        {"duplicates",
         "lists the files catalogued more than once, on any disc or folder",
         {file, Arg::Option(kMinSize, {"BYTES"}).Optional(), Arg::Option(kWithDate).Optional()},
         &Duplicates,
         "Files are copies when their names are the same, capitals aside, and so are\n"
         "their sizes; with --with-date their modification times too. Files smaller\n"
         "than --min-size bytes are left out.\n"
         "Each copy is a row: group (copies share its number), id, name, size in bytes\n"
         "and location (storage, disc and folders). Groups come by the space their\n"
         "copies take beyond the first, the largest first. Ctrl+C stops the search with\n"
         "status 130."},
        {"unique",
         "lists the files of a disc or folder that are catalogued nowhere else",
         {file, Arg::Option(kUnit, {"ID"})},
         &Unique,
         "A file counts as kept elsewhere when a file outside the unit has the same name,\n"
         "capitals aside, and the same size: what is listed would be lost with the disc.\n"
         "Each file is a row: id, name, size in bytes and location, the largest first.\n"
         "The unit must be a disc or folder. Ctrl+C stops the search with status 130."},
    };
}
