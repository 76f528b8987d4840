#pragma once

#include "cli/CliContext.h"

#include <QString>

#include <vector>

// The manual pages of the two programs in roff with the man(7) macros. The command
// line's page is made from the command table that --help prints, so that the two never
// disagree. The version and the date are given, never taken from the clock, so that a
// build makes the same pages every time.
namespace ManPage {

/// shelfwise-cli(1): synopsis, global options, every command, arguments, exit status,
/// environment, files and examples.
QString CliPage(const std::vector<CliCommand>& commands, const QString& version,
                const QString& date);

/// Shelfwise(1), the desktop program.
QString DesktopPage(const QString& version, const QString& date);

/// Text as roff prints it as it stands: backslashes and minus signs escaped, and a
/// line that would start with a control character ("." or "'") guarded.
QString Escape(const QString& text);

} // namespace ManPage
