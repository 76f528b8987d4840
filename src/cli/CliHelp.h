#pragma once

#include "cli/CliContext.h"

#include <QString>
#include <QStringList>

#include <vector>

// What shelfwise-cli --help and COMMAND --help print, and the facts they are made of, so
// that the manual page and the bash completion written at build time say the same.
namespace CliHelp {

// A global option as --help lists it.
struct GlobalOption
{
    const char* names;   // with their values: "--settings-dir DIR", "--yes, --no"
    const char* summary; // one line
};

/// The program's name, as it is installed and typed.
QString ProgramName();

/// Every command, in the order --help lists them.
std::vector<CliCommand> AllCommands();

/// The options that may stand before or after the command name (--help and --version
/// are in the second synopsis line only).
const std::vector<GlobalOption>& GlobalOptions();

/// The two forms of the command line, each without the program's name.
QStringList Synopsis();

/// What the program does, two sentences.
QString Description();

/// Complete command lines, program name included, that show a first use.
QStringList Examples();

/// A command's usage on one line: the continuation lines of a long usage joined with
/// single spaces.
QString OneLineUsage(const CliCommand& command);

/// A command's details as paragraphs, each with its lines joined by single spaces.
QStringList DetailParagraphs(const CliCommand& command);

/// shelfwise-cli --help.
QString GeneralHelp(const std::vector<CliCommand>& commands);

/// shelfwise-cli COMMAND --help.
QString CommandHelp(const CliCommand& command);

} // namespace CliHelp
