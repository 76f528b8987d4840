#include "cli/CliCommand.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

// How many positional arguments an argument stands for: its words, or those of the
// longest of its alternatives.
int PositionalCount(const CliArgument& argument)
{
    if (!argument.IsOption() && argument.IsRepeatable())
        return std::numeric_limits<int>::max();
    int count = argument.IsOption() ? 0 : static_cast<int>(argument.Values().size());
    for (const CliArgument& alternative : argument.Alternatives())
        count = std::max(count, PositionalCount(alternative));
    return count;
}

void AddOptions(const CliArgument& argument, std::vector<CommandLine::Option>& options)
{
    const auto known = [&](const QString& name) {
        return std::any_of(options.begin(), options.end(),
                           [&](const CommandLine::Option& option) { return option.name == name; });
    };
    if (argument.IsOption() && !known(argument.Name()))
        options.push_back({argument.Name(), static_cast<int>(argument.Values().size())});
    for (const CliArgument& alternative : argument.Alternatives())
        AddOptions(alternative, options);
}

} // namespace

std::vector<CommandLine::Option> CliCommand::Options() const
{
    std::vector<CommandLine::Option> options;
    for (const CliArgument& argument : arguments)
        AddOptions(argument, options);
    return options;
}

int CliCommand::MinPositionals() const
{
    // An argument that may be left out, or that an option may stand in for, need not be
    // given.
    int count = 0;
    for (const CliArgument& argument : arguments) {
        if (!argument.IsOption() && !argument.IsOptional() && argument.Alternatives().empty())
            count += static_cast<int>(argument.Values().size());
    }
    return count;
}

int CliCommand::MaxPositionals() const
{
    long long count = 0;
    for (const CliArgument& argument : arguments)
        count += PositionalCount(argument);
    return static_cast<int>(std::min<long long>(count, std::numeric_limits<int>::max()));
}

QString CliCommand::Usage() const
{
    // The lines after the first start under the second argument: under "[--text" in
    // "search FILE [--text TEXT] ...".
    QString usage;
    qsizetype indent = 0;
    for (const CliArgument& argument : arguments) {
        if (!usage.isEmpty()) {
            usage += argument.StartsLine() ? QLatin1Char('\n') + QString(indent, QLatin1Char(' '))
                                           : QStringLiteral(" ");
        }
        usage += argument.Usage(CliArgument::Plain());
        if (indent == 0)
            indent = static_cast<qsizetype>(std::strlen(name)) + 1 + usage.size() + 1;
    }
    return usage;
}

QString CliCommand::OneLineUsage(const CliArgument::Style& style) const
{
    return CliArgument::Usage(arguments, style);
}

QStringList CliCommand::Placeholders() const
{
    QStringList names;
    for (const CliArgument& argument : arguments) {
        for (const QString& placeholder : argument.Placeholders()) {
            if (!names.contains(placeholder))
                names << placeholder;
        }
    }
    return names;
}
