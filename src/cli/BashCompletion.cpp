#include "cli/BashCompletion.h"

#include "cli/CliHelp.h"

#include <QRegularExpression>
#include <QStringList>

#include <map>
#include <stdexcept>

namespace BashCompletion {

namespace {

// The script around the data taken from the command table (the @NAMES@).
const char kScript[] =
    R"bash(# bash completion for shelfwise-cli                       -*- shell-script -*-
#
# Written by shelfwise-mkdocs from the command table of shelfwise-cli @VERSION@, the
# one --help prints. It needs bash alone (compgen and compopt), with or without the
# bash-completion package.

# The commands, in the order --help lists them.
_shelfwise_cli_commands=(@COMMANDS@)

# The options that may stand before or after the command name, and the kinds of their
# values (as in _shelfwise_cli_syntax); the options that stand alone before a command,
# and those that follow any command.
_shelfwise_cli_global_opts=(@GLOBAL_OPTS@)
_shelfwise_cli_global_vals=(@GLOBAL_VALS@)
_shelfwise_cli_lone_opts=(@LONE_OPTS@)
_shelfwise_cli_command_opts=(@COMMAND_OPTS@)

# Sets a command's options (opts), the kinds of their values (vals: one word a value,
# empty for an option without one), the kinds of its positional arguments (args) and,
# for each argument, the option that stands in its place (unless). A kind is a list of
# alternatives separated by "|": a word offered as it stands, or @catalogue, @path,
# @dir, @storage, @category, @custom-category, @setting, or @text (nothing to offer).
# Returns 1 for an unknown command.
_shelfwise_cli_syntax()
{
    case $1 in
@SYNTAX@
        *) return 1 ;;
    esac
}

# The word as the program receives it, quotes and backslashes removed; in REPLY.
_shelfwise_cli_dequote()
{
    local word=$1 char next quote='' i
    REPLY=''
    for ((i = 0; i < ${#word}; i++)); do
        char=${word:i:1}
        if [[ $quote == "'" ]]; then
            if [[ $char == "'" ]]; then quote=''; else REPLY+=$char; fi
        elif [[ $char == '\' ]]; then
            # Within double quotes a backslash escapes only $ ` " and itself.
            next=${word:i+1:1}
            if [[ $quote == '"' && $next != '$' && $next != '`' && $next != '"' && $next != '\' ]]; then
                REPLY+=$char
            else
                i=$((i + 1))
                REPLY+=$next
            fi
        elif [[ -n $quote && $char == "$quote" ]]; then
            quote=''
        elif [[ -z $quote && ( $char == "'" || $char == '"' ) ]]; then
            quote=$char
        else
            REPLY+=$char
        fi
    done
}

# The word as a path the program is given: dequoted, a leading ~ the home folder.
_shelfwise_cli_path()
{
    _shelfwise_cli_dequote "$1"
    case $1 in
        '~') REPLY=$HOME ;;
        '~/'*) REPLY=$HOME/${REPLY#\~/} ;;
    esac
}

# Sets pending to the kinds of the values of option $1.
_shelfwise_cli_values()
{
    local k
    pending=()
    for ((k = 0; k < ${#_shelfwise_cli_global_opts[@]}; k++)); do
        if [[ $1 == "${_shelfwise_cli_global_opts[k]}" ]]; then
            read -r -a pending <<<"${_shelfwise_cli_global_vals[k]}"
            return 0
        fi
    done
    for ((k = 0; k < ${#opts[@]}; k++)); do
        if [[ $1 == "${opts[k]}" ]]; then
            read -r -a pending <<<"${vals[k]}"
            return 0
        fi
    done
    return 0
}

# Whether option $1 stands on the line.
_shelfwise_cli_given()
{
    local option
    for option in "${given[@]}"; do
        [[ $option == "$1" ]] && return 0
    done
    return 1
}

# Offers the words given that start with the word being completed.
_shelfwise_cli_words()
{
    local word
    for word; do
        [[ $word == "$cur"* ]] && COMPREPLY+=("$word")
    done
    return 0
}

# Offers what compgen finds with the options given.
_shelfwise_cli_files()
{
    local file
    while IFS= read -r file; do
        COMPREPLY+=("$file")
    done < <(compgen "$@" -- "$cur" 2>/dev/null)
}

# Field $1 (counting from 1) of row $2 of the program's text output; in REPLY.
_shelfwise_cli_field()
{
    local i row=$2 tab=$'\t'
    for ((i = 1; i < $1; i++)); do
        row=${row#*"$tab"}
    done
    REPLY=${row%%"$tab"*}
}

# Offers field $1 of every row that the program on the line prints for the arguments
# after $2 (a header line, then rows of fields separated by tabs). $2 is - for every
# row, or the number of a field that must be 1. The program answers every question
# with no; its errors are not shown.
_shelfwise_cli_names()
{
    local field=$1 flag=$2 row
    local -a cli=("$program")
    shift 2
    if [[ -n $settings_dir ]]; then
        cli+=(--settings-dir "$settings_dir")
    fi
    {
        IFS= read -r row
        while IFS= read -r row; do
            if [[ $flag != - ]]; then
                _shelfwise_cli_field "$flag" "$row"
                [[ $REPLY == 1 ]] || continue
            fi
            _shelfwise_cli_field "$field" "$row"
            [[ -n $REPLY && $REPLY == "$cur"* ]] && COMPREPLY+=("$REPLY")
        done
    } < <("${cli[@]}" --no "$@" 2>/dev/null </dev/null)
}

# Offers what fits kind $1.
_shelfwise_cli_offer()
{
    local alternative
    local -a alternatives
    IFS='|' read -r -a alternatives <<<"$1"
    for alternative in "${alternatives[@]}"; do
        case $alternative in
            @catalogue)
                _shelfwise_cli_files -f -X '!*.[dD][bB]3'
                _shelfwise_cli_files -d
                ;;
            @path) _shelfwise_cli_files -f ;;
            @dir) _shelfwise_cli_files -d ;;
            @storage) [[ -f $catalogue ]] && _shelfwise_cli_names 2 - storages -- "$catalogue" ;;
            @category) [[ -f $catalogue ]] && _shelfwise_cli_names 2 - categories -- "$catalogue" ;;
            @custom-category)
                # The third field of "categories" says whether a category is custom.
                [[ -f $catalogue ]] && _shelfwise_cli_names 2 3 categories -- "$catalogue"
                ;;
            @setting) _shelfwise_cli_names 1 - settings ;;
            @text) ;;
            *) [[ $alternative == "$cur"* ]] && COMPREPLY+=("$alternative") ;;
        esac
    done
    # Readline quotes what it inserts as it quotes file names: blanks, quotes, < and >.
    if ((${#COMPREPLY[@]} > 0)); then
        compopt -o filenames 2>/dev/null
    fi
    return 0
}

_shelfwise_cli()
{
    local cur word program command='' catalogue='' settings_dir='' ended='' option=''
    local i k taken=0
    local -a opts=() vals=() args=() unless=() given=() positionals=() pending=() words=()

    COMPREPLY=()
    _shelfwise_cli_dequote "${COMP_WORDS[COMP_CWORD]}"
    cur=$REPLY
    _shelfwise_cli_path "${COMP_WORDS[0]}"
    program=$REPLY

    # Read the line up to the word being completed as the program reads it.
    for ((i = 1; i < COMP_CWORD; i++)); do
        _shelfwise_cli_path "${COMP_WORDS[i]}"
        word=$REPLY
        if ((taken < ${#pending[@]})); then
            [[ $option == --settings-dir ]] && settings_dir=$word
            taken=$((taken + 1))
        elif [[ -z $ended && $word == -[!0-9]* ]]; then
            if [[ $word == -- && -n $command ]]; then
                ended=1
            else
                option=$word
                taken=0
                given+=("$word")
                _shelfwise_cli_values "$word"
            fi
        elif [[ -z $command ]]; then
            command=$word
            _shelfwise_cli_syntax "$command" || return 0
        else
            positionals+=("$word")
        fi
    done
    [[ ${args[0]-} == @catalogue ]] && catalogue=${positionals[0]-}

    if ((taken < ${#pending[@]})); then
        _shelfwise_cli_offer "${pending[taken]}"
    elif [[ -z $ended && $cur == -* ]]; then
        if [[ -n $command ]]; then
            words=("${opts[@]}" "${_shelfwise_cli_global_opts[@]}" "${_shelfwise_cli_command_opts[@]}")
        else
            words=("${_shelfwise_cli_global_opts[@]}" "${_shelfwise_cli_lone_opts[@]}")
        fi
        _shelfwise_cli_words "${words[@]}"
    elif [[ -z $command ]]; then
        _shelfwise_cli_words "${_shelfwise_cli_commands[@]}"
    else
        # The next positional argument, passing over those that an option given replaces.
        k=${#positionals[@]}
        for ((i = 0; i < ${#args[@]}; i++)); do
            if [[ -n ${unless[i]} ]] && _shelfwise_cli_given "${unless[i]}"; then
                continue
            fi
            if ((k == 0)); then
                _shelfwise_cli_offer "${args[i]}"
                break
            fi
            k=$((k - 1))
        done
    fi
    return 0
}

complete -F _shelfwise_cli shelfwise-cli
)bash";

// What a placeholder of a usage stands for, as the script completes it; a placeholder
// not named here is free text.
const std::map<QString, QString>& PlaceholderKinds()
{
    static const std::map<QString, QString> kinds{
        {QStringLiteral("FILE"), QStringLiteral("@catalogue")},
        {QStringLiteral("PATH"), QStringLiteral("@path")},
        {QStringLiteral("DRIVE"), QStringLiteral("@path")},
        {QStringLiteral("OUT.html"), QStringLiteral("@path")},
        {QStringLiteral("DIR"), QStringLiteral("@dir")},
        {QStringLiteral("STORAGE"), QStringLiteral("@storage")},
        {QStringLiteral("CATEGORY"), QStringLiteral("@category")},
        {QStringLiteral("KEY"), QStringLiteral("@setting")},
        {QStringLiteral("OP"), QStringLiteral("<|=|>")},
        {QStringLiteral("UNIT"), QStringLiteral("Bytes|KBytes|MBytes|GBytes")},
        {QStringLiteral("FIELD"), QStringLiteral("added|created|modified")},
    };
    return kinds;
}

// The kind of a word of a usage: a placeholder, a word typed as it stands ("set"), or a
// choice of them ("1|2|3|all", "all|music|pictures|films|CATEGORY").
QString KindOf(const QString& word)
{
    static const QRegularExpression literal(QStringLiteral("^[A-Za-z0-9<=>.-]+$"));
    const QStringList parts = word.split(QLatin1Char('|'));
    QStringList alternatives;
    for (const QString& part : parts) {
        if (part == QLatin1String("CATEGORY") && parts.size() > 1) {
            // Beside fixed modes ("all|music|pictures|films|CATEGORY") a category is a
            // custom one: the built-in ones are what the modes stand for, and the command
            // refuses them.
            alternatives << QStringLiteral("@custom-category");
        } else if (!part.isEmpty() && part.at(0).isUpper()) {
            const auto kind = PlaceholderKinds().find(part);
            alternatives << (kind == PlaceholderKinds().end() ? QStringLiteral("@text")
                                                              : kind->second);
        } else if (literal.match(part).hasMatch()) {
            alternatives << part;
        } else {
            throw std::invalid_argument("a usage word the completion cannot offer: " +
                                        word.toStdString());
        }
    }
    return alternatives.join(QLatin1Char('|'));
}

// A usage split into words, with the brackets and parentheses that open or close a
// group as words of their own.
QStringList UsageWords(const QString& usage)
{
    QStringList words;
    for (QString word : usage.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        QStringList closing;
        while (word.startsWith(QLatin1Char('[')) || word.startsWith(QLatin1Char('('))) {
            words << word.left(1);
            word.remove(0, 1);
        }
        while (word.endsWith(QLatin1Char(']')) || word.endsWith(QLatin1Char(')'))) {
            closing.prepend(word.right(1));
            word.chop(1);
        }
        if (!word.isEmpty())
            words << word;
        words << closing;
    }
    return words;
}

bool Opens(const QString& word)
{
    return word == QLatin1String("[") || word == QLatin1String("(");
}

bool Closes(const QString& word)
{
    return word == QLatin1String("]") || word == QLatin1String(")");
}

// For a group opening at words[start]: the option that stands in place of the group's
// positional arguments ("(STORAGE | --unit ID)"), or nothing when the group has no
// alternatives.
QString AlternativeOption(const QStringList& words, int start)
{
    int depth = 0;
    bool alternatives = false;
    QString option;
    for (int i = start; i < words.size(); ++i) {
        if (Opens(words.at(i)))
            ++depth;
        else if (Closes(words.at(i)) && --depth == 0)
            break;
        else if (depth == 1 && words.at(i) == QLatin1String("|"))
            alternatives = true;
        else if (depth == 1 && option.isEmpty() && words.at(i).startsWith(QLatin1Char('-')))
            option = words.at(i);
    }
    return alternatives ? option : QString();
}

struct Argument
{
    QString kind;
    QString unless; // the option that replaces it, if any
};

struct Syntax
{
    QStringList options;
    QStringList values; // per option: the kinds of its values, separated by spaces
    std::vector<Argument> arguments;
};

std::invalid_argument UsageError(const CliCommand& command, const QString& problem)
{
    return std::invalid_argument(QStringLiteral("the usage of %1 %2")
                                     .arg(QString::fromLatin1(command.name), problem)
                                     .toStdString());
}

Syntax ParseUsage(const CliCommand& command)
{
    const QStringList words = UsageWords(CliHelp::OneLineUsage(command));
    Syntax syntax;
    QStringList groups; // per open group: the option that replaces its arguments
    for (int i = 0; i < words.size(); ++i) {
        const QString& word = words.at(i);
        if (Opens(word)) {
            groups << AlternativeOption(words, i);
        } else if (Closes(word)) {
            if (groups.isEmpty())
                throw UsageError(command, QStringLiteral("closes a group it did not open"));
            groups.removeLast();
        } else if (word == QLatin1String("|")) {
            continue;
        } else if (word.startsWith(QLatin1Char('-'))) {
            const CommandLine::Option* option = nullptr;
            for (const CommandLine::Option& o : command.options) {
                if (o.name == word)
                    option = &o;
            }
            if (!option)
                throw UsageError(command,
                                 QStringLiteral("names %1, which it does not take").arg(word));
            QStringList kinds;
            for (int k = 0; k < option->values; ++k) {
                if (++i >= words.size() || Opens(words.at(i)) || Closes(words.at(i)))
                    throw UsageError(command, QStringLiteral("gives %1 too few values").arg(word));
                kinds << KindOf(words.at(i));
            }
            syntax.options << word;
            syntax.values << kinds.join(QLatin1Char(' '));
        } else {
            QString unless;
            for (const QString& group : groups) {
                if (!group.isEmpty())
                    unless = group;
            }
            syntax.arguments.push_back({KindOf(word), unless});
        }
    }
    for (const CommandLine::Option& option : command.options) {
        if (!syntax.options.contains(option.name))
            throw UsageError(command, QStringLiteral("lacks %1").arg(option.name));
    }
    if (static_cast<int>(syntax.arguments.size()) != command.maxPositionals)
        throw UsageError(command, QStringLiteral("names %1 arguments, it takes up to %2")
                                      .arg(syntax.arguments.size())
                                      .arg(command.maxPositionals));
    return syntax;
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

QString SyntaxCase(const CliCommand& command)
{
    const Syntax syntax = ParseUsage(command);
    QStringList kinds;
    QStringList unless;
    for (const Argument& argument : syntax.arguments) {
        kinds << argument.kind;
        unless << argument.unless;
    }
    return QStringLiteral("        %1)\n"
                          "            opts=(%2)\n"
                          "            vals=(%3)\n"
                          "            args=(%4)\n"
                          "            unless=(%5)\n"
                          "            ;;\n")
        .arg(ShellWord(QString::fromLatin1(command.name)), ShellArray(syntax.options),
             ShellArray(syntax.values), ShellArray(kinds), ShellArray(unless));
}

} // namespace

QString Script(const std::vector<CliCommand>& commands, const QString& version)
{
    QStringList names;
    QString cases;
    for (const CliCommand& command : commands) {
        names << QString::fromLatin1(command.name);
        cases += SyntaxCase(command);
    }
    cases.chop(1);

    // "--settings-dir DIR", "--yes, --no": each option with the placeholders after it.
    QStringList globalOptions;
    QStringList globalValues;
    for (const CliHelp::GlobalOption& global : CliHelp::GlobalOptions()) {
        for (const QString& form : QString::fromLatin1(global.names).split(QStringLiteral(", "))) {
            QStringList words = form.split(QLatin1Char(' '), Qt::SkipEmptyParts);
            globalOptions << words.takeFirst();
            QStringList kinds;
            for (const QString& word : words)
                kinds << KindOf(word);
            globalValues << kinds.join(QLatin1Char(' '));
        }
    }
    // "--version | --help | COMMAND --help": the options before COMMAND stand alone, those
    // after it follow any command.
    QStringList loneOptions;
    QStringList commandOptions;
    bool afterCommand = false;
    for (const QString& word : CliHelp::Synopsis().at(1).split(QLatin1Char(' '))) {
        if (word == QLatin1String("COMMAND"))
            afterCommand = true;
        else if (word.startsWith(QLatin1Char('-')))
            (afterCommand ? commandOptions : loneOptions) << word;
    }

    return QString::fromUtf8(kScript)
        .replace(QStringLiteral("@VERSION@"), version)
        .replace(QStringLiteral("@COMMANDS@"), ShellArray(names))
        .replace(QStringLiteral("@GLOBAL_OPTS@"), ShellArray(globalOptions))
        .replace(QStringLiteral("@GLOBAL_VALS@"), ShellArray(globalValues))
        .replace(QStringLiteral("@LONE_OPTS@"), ShellArray(loneOptions))
        .replace(QStringLiteral("@COMMAND_OPTS@"), ShellArray(commandOptions))
        .replace(QStringLiteral("@SYNTAX@"), cases);
}

} // namespace BashCompletion
