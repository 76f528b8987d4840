#pragma once

#include "cli/CliCommand.h"

#include <QString>

#include <vector>

// The manual pages of the two programs in roff with the man(7) macros. Their prose is in
// templates (shelfwise-cli.1.in, Shelfwise.1.in and the sections they share); the parts
// of the command line's page that --help also prints (synopsis, options, commands,
// arguments, examples) are made from the command table, so that the two never disagree.
// The version and the date are given, never taken from the clock, so that a build makes
// the same pages every time. Each function throws std::runtime_error when a template
// cannot be read and std::invalid_argument when it does not fit the generator.
namespace ManPage {

/// shelfwise-cli(1), from the templates in templateFolder.
QString CliPage(const std::vector<CliCommand>& commands, const QString& version,
                const QString& date, const QString& templateFolder);

/// Shelfwise(1), the desktop program, from the templates in templateFolder.
QString DesktopPage(const QString& version, const QString& date, const QString& templateFolder);

/// Text as roff prints it as it stands: backslashes and minus signs escaped, and a
/// line that would start with a control character ("." or "'") guarded.
QString Escape(const QString& text);

} // namespace ManPage
