#include "cli/BashCompletion.h"

#include "cli/CliHelp.h"
#include "cli/DocTemplate.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <stdexcept>

namespace BashCompletion {

namespace {

// What the script offers for a kind: the words of a choice, or one of its own names.
QString KindName(const CliArgument::Value& value)
{
    switch (value.kind) {
    case CliKind::Catalogue:
        return QStringLiteral("@catalogue");
    case CliKind::Folder:
        return QStringLiteral("@dir");
    case CliKind::Path:
        return QStringLiteral("@path");
    case CliKind::Storage:
        return QStringLiteral("@storage");
    case CliKind::Category:
        return QStringLiteral("@category");
    case CliKind::CustomCategory:
        return QStringLiteral("@custom-category");
    case CliKind::Setting:
        return QStringLiteral("@setting");
    case CliKind::Choice:
        return value.placeholder->choices.join(QLatin1Char('|'));
    case CliKind::Number:
    case CliKind::Date:
    case CliKind::Text:
    case CliKind::Command:
        break;
    }
    return QStringLiteral("@text"); // nothing to offer
}

// The kind of one value as the script reads it: its alternatives separated by "|", each
// a word offered as it stands or a kind of the script ("1|2|3|all", "@catalogue").
QString KindOf(const CliArgument::Value& value)
{
    QStringList alternatives;
    for (const QString& word : value.words) {
        // "|" separates the alternatives, and what starts with "@" is a kind.
        if (word.isEmpty() || word.contains(QLatin1Char('|')) || word.contains(QLatin1Char(' ')) ||
            word.startsWith(QLatin1Char('@')))
            throw std::invalid_argument("a word the completion cannot offer: " +
                                        word.toStdString());
        alternatives << word;
    }
    if (value.placeholder)
        alternatives << KindName(value);
    return alternatives.join(QLatin1Char('|'));
}

// The kinds of an option's values, separated by spaces.
QString ValueKinds(const CliArgument& option)
{
    QStringList kinds;
    for (const CliArgument::Value& value : option.Values())
        kinds << KindOf(value);
    return kinds.join(QLatin1Char(' '));
}

// A word as bash reads it back unchanged.
QString ShellWord(const QString& word)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9@%+,./:_-]+$"));
    if (plain.match(word).hasMatch())
        return word;
    return QLatin1Char('\'') + QString(word).replace(QLatin1Char('\''), QStringLiteral("'\\''")) +
           QLatin1Char('\'');
}

QString ShellArray(const QStringList& words)
{
    QStringList quoted;
    for (const QString& word : words)
        quoted << ShellWord(word);
    return quoted.join(QLatin1Char(' '));
}

// A command's line of _shelfwise_cli_syntax: its options and the kinds of their values,
// the kinds of its positional arguments, and for each of these the option that stands in
// its place, if any.
struct Syntax
{
    QStringList options;
    QStringList values;
    QStringList arguments;
    QStringList unless;
};

void AddOption(const CliArgument& option, Syntax& syntax)
{
    if (!syntax.options.contains(option.Name())) {
        syntax.options << option.Name();
        syntax.values << ValueKinds(option);
    }
}

std::invalid_argument Unsupported(const CliCommand& command, const char* problem)
{
    return std::invalid_argument(
        QStringLiteral("%1: %2")
            .arg(QString::fromLatin1(command.name), QString::fromLatin1(problem))
            .toStdString());
}

bool IsLastPositional(const CliCommand& command, const CliArgument& argument)
{
    const auto it = std::find_if(command.arguments.rbegin(), command.arguments.rend(),
                                 [](const CliArgument& a) { return !a.IsOption(); });
    return it != command.arguments.rend() && &*it == &argument;
}

Syntax SyntaxOf(const CliCommand& command)
{
    Syntax syntax;
    for (const CliArgument& argument : command.arguments) {
        if (argument.IsOption()) {
            AddOption(argument, syntax);
            for (const CliArgument& alternative : argument.Alternatives()) {
                if (!alternative.IsOption())
                    throw Unsupported(command, "the completion takes no argument in place of "
                                               "an option");
                AddOption(alternative, syntax);
            }
            continue;
        }
        // A repeated free text at the end (find's WORD...) is offered nothing, as are the
        // words past the last argument listed, so listing it once completes it alike.
        // Any other repeated argument the script would have to count.
        if (argument.IsRepeatable() &&
            (!IsLastPositional(command, argument) || argument.Values().size() != 1 ||
             KindOf(argument.Values().front()) != QLatin1String("@text")))
            throw Unsupported(command, "the completion offers no repeated argument but a "
                                       "last free text; teach _shelfwise_cli in "
                                       "shelfwise-cli.bash.in");
        // "(STORAGE | --unit ID)": the option's values stand in the arguments' place.
        QString unless;
        for (const CliArgument& alternative : argument.Alternatives()) {
            if (!alternative.IsOption() || !unless.isEmpty())
                throw Unsupported(command, "the completion takes one option, and nothing "
                                           "else, in place of an argument");
            unless = alternative.Name();
            AddOption(alternative, syntax);
        }
        for (const CliArgument::Value& value : argument.Values()) {
            syntax.arguments << KindOf(value);
            syntax.unless << unless;
        }
    }
    return syntax;
}

QString SyntaxCase(const CliCommand& command)
{
    const Syntax syntax = SyntaxOf(command);
    return QStringLiteral("        %1)\n"
                          "            opts=(%2)\n"
                          "            vals=(%3)\n"
                          "            args=(%4)\n"
                          "            unless=(%5)\n"
                          "            ;;\n")
        .arg(ShellWord(QString::fromLatin1(command.name)), ShellArray(syntax.options),
             ShellArray(syntax.values), ShellArray(syntax.arguments), ShellArray(syntax.unless));
}

// The names of options, their alternatives included.
QStringList OptionNames(const std::vector<CliArgument>& options)
{
    QStringList names;
    for (const CliArgument& option : options) {
        names << option.Name();
        for (const CliArgument& alternative : option.Alternatives())
            names << alternative.Name();
    }
    return names;
}

} // namespace

QString Script(const std::vector<CliCommand>& commands, const QString& version,
               const QString& templateFolder)
{
    QStringList names;
    QString cases;
    for (const CliCommand& command : commands) {
        names << QString::fromLatin1(command.name);
        cases += SyntaxCase(command);
    }

    QStringList globalValues;
    for (const CliArgument& global : CliHelp::GlobalOptions()) {
        globalValues << ValueKinds(global);
        for (const CliArgument& alternative : global.Alternatives())
            globalValues << ValueKinds(alternative);
    }

    return DocTemplate::Load(templateFolder, QStringLiteral("shelfwise-cli.bash.in"))
        .Fill(QStringLiteral("VERSION"), version)
        .Fill(QStringLiteral("COMMANDS"), ShellArray(names))
        .Fill(QStringLiteral("GLOBAL_OPTS"), ShellArray(OptionNames(CliHelp::GlobalOptions())))
        .Fill(QStringLiteral("GLOBAL_VALS"), ShellArray(globalValues))
        .Fill(QStringLiteral("LONE_OPTS"), ShellArray(OptionNames(CliHelp::LoneOptions())))
        .Fill(QStringLiteral("COMMAND_OPTS"), ShellArray(OptionNames(CliHelp::CommandOptions())))
        .Fill(QStringLiteral("SYNTAX"), cases)
        .Text();
}

} // namespace BashCompletion
