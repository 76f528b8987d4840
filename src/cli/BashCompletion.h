#pragma once

#include "cli/CliCommand.h"

#include <QString>

#include <vector>

// The bash completion of shelfwise-cli, made from the command table that --help prints:
// a command's options and the kinds of their values, and the kinds of its positional
// arguments (a catalogue, a storage, a choice of words...), come from its arguments and
// the table of placeholders. The script around them is the template
// shelfwise-cli.bash.in; it needs bash alone (compgen and compopt), not the helpers of
// the bash-completion package.
namespace BashCompletion {

/// The script, for /usr/share/bash-completion/completions/shelfwise-cli, from the
/// template in templateFolder. Throws std::invalid_argument for an argument the script
/// cannot complete, std::runtime_error when the template cannot be read.
QString Script(const std::vector<CliCommand>& commands, const QString& version,
               const QString& templateFolder);

} // namespace BashCompletion
