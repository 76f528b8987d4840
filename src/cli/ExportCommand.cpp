// export: the catalogue, a storage or a unit with everything below it, as CSV, JSON or a
// browsable page, to standard output or a file.
#include "cli/CliContext.h"
#include "cli/Interrupt.h"
#include "export/CatalogueExporter.h"
#include "export/CsvExportWriter.h"
#include "export/JsonExportWriter.h"
#include "export/PageExportWriter.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>
#include <memory>

namespace {

const QString kUnit = QStringLiteral("--unit");
const QString kFormat = QStringLiteral("--format");
const QString kOutput = QStringLiteral("--output");
const QString kNested = QStringLiteral("--nested");

int Export(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    if (ctx.Args.Has(kUnit) && args.size() > 1)
        return ctx.UsageError(
            QStringLiteral("export FILE [STORAGE | --unit ID] [--format csv|json|page] ..."));
    const QString format = ctx.Args.Has(kFormat) ? ctx.Args.Value(kFormat) : QStringLiteral("csv");
    if (format != QLatin1String("csv") && format != QLatin1String("json") &&
        format != QLatin1String("page"))
        return ctx.UsageError(QStringLiteral("--format takes csv, json or page"));
    if (ctx.Args.Has(kNested) && format != QLatin1String("json"))
        return ctx.UsageError(QStringLiteral("--nested needs --format json"));
    if (!ctx.OpenForReading(args.at(0)))
        return ExitStatus::Error;

    ExportScope scope;
    if (ctx.Args.Has(kUnit)) {
        UnitListItem unit;
        if (!ctx.ResolveUnit(ctx.Args.Value(kUnit), unit))
            return ExitStatus::Error;
        scope = ExportScope::Unit(unit.UnitID);
    } else if (args.size() > 1) {
        int storageId = 0;
        if (!ctx.ResolveStorage(args.at(1), storageId))
            return ExitStatus::Error;
        scope = ExportScope::Storage(storageId);
    }

    // A file is replaced only when the export is complete; standard output takes the
    // rows as they come.
    std::unique_ptr<QSaveFile> file;
    QFile standardOutput;
    QIODevice* out = nullptr;
    if (ctx.Args.Has(kOutput)) {
        file = std::make_unique<QSaveFile>(QFileInfo(ctx.Args.Value(kOutput)).absoluteFilePath());
        if (!file->open(QIODevice::WriteOnly))
            return ctx.Fail(QStringLiteral("\"%1\" cannot be written: %2")
                                .arg(ctx.Args.Value(kOutput), file->errorString()));
        out = file.get();
    } else {
        if (!standardOutput.open(stdout, QIODevice::WriteOnly))
            return ctx.Fail(QStringLiteral("Standard output cannot be written."));
        out = &standardOutput;
    }
    std::unique_ptr<CExportWriter> writer;
    if (format == QLatin1String("json"))
        writer = std::make_unique<CJsonExportWriter>(*out, ctx.Args.Has(kNested));
    else if (format == QLatin1String("page"))
        writer =
            std::make_unique<CPageExportWriter>(*out, QFileInfo(args.at(0)).completeBaseName());
    else
        writer = std::make_unique<CCsvExportWriter>(*out);

    InterruptGuard interrupt;
    ProgressLine progress("Exporting");
    bool complete = false;
    CCatalogueExporter exporter(ctx.Db(), *writer);
    if (!ctx.Guard([&] {
            complete = exporter.Run(scope, [&progress](qint64 written, qint64 total) {
                progress.Show(total > 0 ? static_cast<int>(written * 100 / total) : 0);
                return !InterruptGuard::Interrupted();
            });
        }))
        return ExitStatus::Error;
    if (!complete) {
        progress.Done();
        std::fputs("Export cancelled.\n", stderr);
        return ExitStatus::Cancelled;
    }
    progress.Done();
    if (file && !file->commit())
        return ctx.Fail(QStringLiteral("\"%1\" cannot be written: %2")
                            .arg(ctx.Args.Value(kOutput), file->errorString()));
    if (!file)
        standardOutput.flush();
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> ExportCommands()
{
    using Arg = CliArgument;
    const Arg unit = Arg::Option(kUnit, {"ID"});
    return {{"export",
             "writes the catalogue, a storage or a unit and everything below it as CSV, JSON "
             "or a page",
             {Arg::Positional("FILE"), Arg::Positional("STORAGE").Or(unit).Optional(),
              Arg::Option(kFormat, {Arg::Value::OneOf({"csv", "json", "page"})}).Optional(),
              Arg::Option(kNested).Optional(), Arg::Option(kOutput, {"PATH"}).Optional()},
             &Export,
             "Writes every disc, folder and file of the catalogue, of STORAGE, or of the\n"
             "unit ID and everything below it, one after the other as they lie in their\n"
             "folders, to standard output or to PATH (replaced only when the export is\n"
             "complete). Fields: path (in its storage, joined by /), name, type, size in\n"
             "bytes, modified, created, added (ISO 8601, local time), category, notes,\n"
             "storage, and the media details: duration (seconds), width, height,\n"
             "bitrate, codec, artist, title, album, year, track, genre.\n"
             "\n"
             "csv (the default): RFC 4180, UTF-8, a header row, lines ended by CR LF.\n"
             "json: an array of objects, one per unit; with --nested the top units only,\n"
             "each disc and folder holding its own in \"children\". A media detail a\n"
             "unit does not have is left out of its object.\n"
             "page: one self-contained HTML page to open in a browser, without a server or\n"
             "the network: a tree of storages, discs and folders, the list of the chosen\n"
             "folder (sortable by name, size or date) and a search over every name. Its\n"
             "data is compressed in the page; opening it needs a browser with\n"
             "DecompressionStream (Chrome 80, Firefox 113, Safari 16.4 or later). The\n"
             "address may end in #search=TEXT or #open=ID to open with a search or a\n"
             "unit's folder.\n"
             "\n"
             "Ctrl+C stops the export (status 130); a file given with --output is then\n"
             "not written."}};
}
