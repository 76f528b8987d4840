#pragma once

#include "cli/CliArgument.h"
#include "cli/CommandLine.h"

#include <QString>
#include <QStringList>

#include <vector>

class CliContext;

// One subcommand: its name, what it does, and its arguments, from which its usage, the
// options it accepts and how many positional arguments it takes all follow.
struct CliCommand
{
    const char* name;
    const char* summary;                // one line
    std::vector<CliArgument> arguments; // in the order the usage shows them
    int (*run)(CliContext&);
    // More help after the summary, in COMMAND --help and the manual page: paragraphs
    // separated by an empty line, lines of at most 80 columns. nullptr when there is none.
    const char* details = nullptr;

    /// The options, each with the number of values it takes.
    std::vector<CommandLine::Option> Options() const;
    /// How many positional arguments it takes at least, and at most.
    int MinPositionals() const;
    int MaxPositionals() const;

    /// The usage after the name as COMMAND --help prints it: a long usage goes on on new
    /// lines, each starting under the second argument.
    QString Usage() const;
    /// The usage on one line.
    QString OneLineUsage(const CliArgument::Style& style = CliArgument::Plain()) const;
    /// The names of the placeholders of its usage, each once, in order.
    QStringList Placeholders() const;
};

std::vector<CliCommand> AddCommands();
std::vector<CliCommand> CatalogueCommands();
std::vector<CliCommand> CategoryCommands();
std::vector<CliCommand> CopyCommands();
std::vector<CliCommand> DriveCommands();
std::vector<CliCommand> ExportCommands();
std::vector<CliCommand> FindCommands();
std::vector<CliCommand> ImportCommands();
std::vector<CliCommand> ReportCommands();
std::vector<CliCommand> SearchCommands();
std::vector<CliCommand> SettingsCommands();
std::vector<CliCommand> StatsCommands();
std::vector<CliCommand> ThumbnailCommands();
std::vector<CliCommand> UpdateCommands();
