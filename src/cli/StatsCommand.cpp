// stats: files and bytes per category, extension and year, the largest discs and
// folders, and the discs added per year, of the catalogue, a storage or a unit.
#include "cli/CliContext.h"
#include "cli/Interrupt.h"
#include "cli/Table.h"
#include "common/FormatSize.h"
#include "stats/StatisticsGatherer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>

namespace {

const QString kUnit = QStringLiteral("--unit");

void Write(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
}

// One section as columns padded to their widest cell: the label and location on the
// left, the numbers on the right.
void PrintSection(const StatisticsSection& section)
{
    QStringList headers{section.LabelHeader, section.CountHeader, QStringLiteral("Bytes"),
                        QStringLiteral("Size")};
    if (section.HasLocation)
        headers << QStringLiteral("Location");
    std::vector<QStringList> rows{headers};
    for (const StatisticsRow& row : section.Rows) {
        QStringList cells{row.Label, QString::number(row.Count), QString::number(row.Bytes),
                          FormatSize(row.Bytes)};
        if (section.HasLocation)
            cells << row.Location;
        for (QString& cell : cells)
            cell.replace(QLatin1Char('\n'), QLatin1Char(' '))
                .replace(QLatin1Char('\t'), QLatin1Char(' '));
        rows.push_back(cells);
    }
    std::vector<int> widths(static_cast<size_t>(headers.size()), 0);
    for (const QStringList& cells : rows) {
        for (int i = 0; i < cells.size(); ++i)
            widths[static_cast<size_t>(i)] =
                std::max(widths[static_cast<size_t>(i)], static_cast<int>(cells[i].size()));
    }
    Write(section.Title + QLatin1Char('\n'));
    for (const QStringList& cells : rows) {
        QStringList padded;
        for (int i = 0; i < cells.size(); ++i) {
            const int width = widths[static_cast<size_t>(i)];
            const bool number = i >= 1 && i <= 3;
            // The last column is not padded: no blanks at the end of a line.
            padded << (number                 ? cells[i].rightJustified(width)
                       : i + 1 < cells.size() ? cells[i].leftJustified(width)
                                              : cells[i]);
        }
        Write(padded.join(QStringLiteral("  ")) + QLatin1Char('\n'));
    }
    if (section.Rows.empty())
        Write(QStringLiteral("(none)\n"));
}

QJsonObject ToJson(const CatalogueStatistics& statistics)
{
    QJsonObject object;
    object.insert(QStringLiteral("files"), statistics.Files);
    object.insert(QStringLiteral("bytes"), statistics.Bytes);
    object.insert(QStringLiteral("discs"), statistics.Discs);
    for (const StatisticsSection& section : statistics.Sections) {
        QJsonArray rows;
        for (const StatisticsRow& row : section.Rows) {
            QJsonObject item;
            item.insert(Table::CamelCase(section.LabelHeader), row.Label);
            item.insert(Table::CamelCase(section.CountHeader), row.Count);
            item.insert(QStringLiteral("bytes"), row.Bytes);
            if (section.HasLocation) {
                item.insert(QStringLiteral("id"), row.UnitID);
                item.insert(QStringLiteral("location"), row.Location);
            }
            rows.append(item);
        }
        object.insert(section.Key, rows);
    }
    return object;
}

int Stats(CliContext& ctx)
{
    const QStringList& args = ctx.Args.Positionals();
    if (ctx.Args.Has(kUnit) && args.size() > 1)
        return ctx.UsageError(QStringLiteral("stats FILE [STORAGE | --unit ID]"));
    if (!ctx.OpenForReading(args.at(0)))
        return ExitStatus::Error;

    StatisticsScope scope;
    if (ctx.Args.Has(kUnit)) {
        UnitListItem unit;
        if (!ctx.ResolveUnit(ctx.Args.Value(kUnit), unit))
            return ExitStatus::Error;
        scope.UnitId = unit.UnitID;
    } else if (args.size() > 1) {
        if (!ctx.ResolveStorage(args.at(1), scope.StorageId))
            return ExitStatus::Error;
    }

    InterruptGuard interrupt;
    ProgressLine progress("Gathering statistics");
    CatalogueStatistics statistics;
    bool complete = false;
    if (!ctx.Guard([&] {
            complete = CStatisticsGatherer(ctx.Db()).Gather(scope, statistics, [&progress] {
                progress.Spin();
                return !InterruptGuard::Interrupted();
            });
        }))
        return ExitStatus::Error;
    progress.Done();
    if (!complete) {
        std::fputs("Statistics cancelled.\n", stderr);
        return ExitStatus::Cancelled;
    }

    if (ctx.Json) {
        Write(QString::fromUtf8(QJsonDocument(ToJson(statistics)).toJson(QJsonDocument::Indented)));
        return ExitStatus::Success;
    }
    Write(QStringLiteral("Files: %1 (%2 bytes, %3), discs: %4\n")
              .arg(statistics.Files)
              .arg(statistics.Bytes)
              .arg(FormatSize(statistics.Bytes))
              .arg(statistics.Discs));
    for (const StatisticsSection& section : statistics.Sections) {
        Write(QStringLiteral("\n"));
        PrintSection(section);
    }
    return ExitStatus::Success;
}

} // namespace

std::vector<CliCommand> StatsCommands()
{
    using Arg = CliArgument;
    return {{"stats",
             "files and bytes per category, per extension, per year; the largest discs and "
             "folders",
             {Arg::Positional("FILE"),
              Arg::Positional("STORAGE").Or(Arg::Option(kUnit, {"ID"})).Optional()},
             &Stats,
             "Counts the files of the catalogue, of STORAGE, or of the unit ID (a disc or\n"
             "folder) and everything below it, and adds up their bytes: per category, per\n"
             "extension (the 20 largest by bytes, the rest as \"Other\"; a version number\n"
             "after an extension is passed over: libz.so.1.2 counts as so), per year of\n"
             "modification. Then the 20 largest discs and folders with where they lie, and\n"
             "the discs added to the catalogue per year. Only files on the media count:\n"
             "the entries of archives are left out, as the catalogue's totals leave them.\n"
             "\n"
             "Each section is printed as a title and aligned columns; with --json, one\n"
             "object with the totals (files, bytes, discs) and an array per section:\n"
             "categories, extensions, years, largestDiscs, largestFolders, discsAdded.\n"
             "\n"
             "Ctrl+C stops it (status 130)."}};
}
