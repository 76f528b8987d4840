// import: another cataloguer's list (or our own CSV or JSON export) into a storage.
#include "cli/CliContext.h"
#include "cli/Interrupt.h"
#include "cli/Table.h"
#include "importers/ImportJob.h"
#include "importers/ListReaders.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <cstdio>

namespace {

const QString kFormat = QStringLiteral("--format");

void PrintError(const QString& text)
{
    const QByteArray bytes = (text + QLatin1Char('\n')).toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
}

// "PATH:LINE: message", as compilers report, or "PATH: message" without a line.
QString Located(const QString& path, const ImportError& error)
{
    return error.Line > 0 ? QStringLiteral("%1:%2: %3").arg(path).arg(error.Line).arg(error.Message)
                          : QStringLiteral("%1: %2").arg(path, error.Message);
}

int Import(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    const QString listPath = args.at(2);
    const QString storageName = args.at(1);
    if (storageName.trimmed().isEmpty())
        return ctx.UsageError(QStringLiteral("the storage needs a name"));
    if (!QFileInfo(listPath).isFile())
        return ctx.Fail(QStringLiteral("%1: no such file").arg(listPath));

    std::unique_ptr<CListReader> reader;
    if (ctx.Args.Has(kFormat)) {
        reader = ListReaders::ByName(ctx.Args.Value(kFormat));
        if (!reader)
            return ctx.UsageError(
                QStringLiteral("unknown format \"%1\"; known formats: %2")
                    .arg(ctx.Args.Value(kFormat), ListReaders::Names().join(QStringLiteral(", "))));
    } else {
        reader = ListReaders::GuessFile(listPath);
        if (!reader)
            return ctx.Fail(QStringLiteral("%1: not a list of a known format; give --format "
                                           "(%2)")
                                .arg(listPath, ListReaders::Names().join(QStringLiteral(", "))));
    }

    InterruptGuard interrupt;
    if (!ctx.OpenCatalogue(args.at(0), true))
        return ExitStatus::Error;
    CImportJob job(ctx.Doc());
    ProgressLine line("Importing");
    QEventLoop loop;
    bool done = false;
    auto outcome = WorkOutcome::Failed;
    QObject::connect(&job, &CImportJob::progress, &loop, [&](int percent) { line.Show(percent); });
    QObject::connect(&job, &CImportJob::finished, &loop, [&](WorkOutcome result) {
        outcome = result;
        done = true;
        loop.quit();
    });
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (InterruptGuard::Interrupted())
            job.Cancel();
    });
    poll.start(50);
    if (!job.Start(listPath, std::move(reader), storageName)) {
        if (job.ListError())
            PrintError(Located(listPath, *job.ListError()));
        return ExitStatus::Error;
    }
    if (!done)
        loop.exec();
    line.Done();
    switch (outcome) {
    case WorkOutcome::Succeeded:
        break;
    case WorkOutcome::Failed:
        if (job.ListError())
            PrintError(Located(listPath, *job.ListError()));
        return ExitStatus::Error;
    case WorkOutcome::Cancelled:
        return ExitStatus::Cancelled;
    }
    if (!ctx.IndexWaitingNames())
        return ExitStatus::Cancelled;
    if (!ctx.SaveCatalogue())
        return ExitStatus::Error;
    const CImportJob::Counts& added = job.Added();
    Table table({"storage", "discs", "folders", "files"});
    table.AddRow({job.StorageId(), added.Discs, added.Folders, added.Files});
    table.Print(ctx.Json);
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> ImportCommands()
{
    using Arg = CliArgument;
    return {{"import",
             "brings another cataloguer's export (or our own CSV/JSON) into a storage; the "
             "format guessed from the content",
             {Arg::Positional("FILE"), Arg::Positional("STORAGE"), Arg::Positional("PATH"),
              Arg::Option(kFormat, {"NAME"}).Optional()},
             &Import,
             "Reads the list at PATH and catalogues its discs, folders and files in the\n"
             "storage called STORAGE, made when the catalogue has none of that name. The\n"
             "format is guessed from the list's first 64 KiB; --format forces one: csv and\n"
             "json (this program's export, flat or nested), efu (Everything's file lists),\n"
             "catcli, snap2html, vvv, cdcat. Files get their categories by extension;\n"
             "folders the list leaves out are made, and every total is summed.\n"
             "\n"
             "A list that does not parse adds nothing: the error is shown as PATH:LINE:\n"
             "message and the status is 1. Prints the storage's id and the discs, folders\n"
             "and files added. Ctrl+C stops the import (status 130) and adds nothing."}};
}
