#pragma once

#include "cli/CliCommand.h"

#include <QString>
#include <QStringList>

#include <vector>

// What shelfwise-cli --help and COMMAND --help print, and the facts they are made of, so
// that the manual page and the bash completion written at build time say the same.
namespace CliHelp {

/// The program's name, as it is installed and typed.
QString ProgramName();

/// Every command, in the order --help lists them.
std::vector<CliCommand> AllCommands();

/// The options that may stand before or after the command name, each with its help (--help
/// and --version are in the second synopsis line only).
const std::vector<CliArgument>& GlobalOptions();

/// The options that stand alone, in place of a command (--version, --help).
const std::vector<CliArgument>& LoneOptions();

/// The options that follow any command (--help).
const std::vector<CliArgument>& CommandOptions();

/// The two forms of the command line, each without the program's name.
QStringList Synopsis(const CliArgument::Style& style = CliArgument::Plain());

/// What the program does, two sentences.
QString Description();

/// Complete command lines, program name included, that show a first use.
QStringList Examples();

/// A command's details as paragraphs, each with its lines joined by single spaces.
QStringList DetailParagraphs(const CliCommand& command);

/// shelfwise-cli --help.
QString GeneralHelp(const std::vector<CliCommand>& commands);

/// shelfwise-cli COMMAND --help.
QString CommandHelp(const CliCommand& command);

} // namespace CliHelp
