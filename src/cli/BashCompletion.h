#pragma once

#include "cli/CliContext.h"

#include <QString>

#include <vector>

// The bash completion of shelfwise-cli, made from the command table that --help prints.
// A command's options and how many values each takes come from the table's options, what
// kind of thing each value and each positional argument is (a catalogue, a storage, a
// choice of words...) from the placeholders of its usage. The script needs bash alone
// (compgen and compopt), not the helpers of the bash-completion package.
namespace BashCompletion {

/// The script, for /usr/share/bash-completion/completions/shelfwise-cli. Throws
/// std::invalid_argument when a command's usage does not match its options or its
/// number of positional arguments.
QString Script(const std::vector<CliCommand>& commands, const QString& version);

} // namespace BashCompletion
