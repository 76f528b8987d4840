#pragma once

#include "cli/CliPlaceholders.h"

#include <QString>
#include <QStringList>

#include <vector>

// One argument of a command line as the command table lists it: a positional argument
// (FILE; or a few words that go together, "set KEY VALUE") or an option with its values
// (--notes TEXT), optional or not, perhaps repeated, perhaps with alternatives that may
// stand in its place (STORAGE | --unit ID). The usage that --help prints, the manual's
// synopsis and the bash completion are all made from these.
class CliArgument final
{
public:
    // One word the argument takes: a placeholder of the table (FILE), a word typed as it
    // stands (set), or a choice of such words that may end in a placeholder
    // (1|2|3|all, all|music|pictures|films|CATEGORY).
    struct Value
    {
        // A placeholder, with the kind the table gives it. Not explicit, so that a list
        // of values reads {"OP", "NUMBER", "UNIT"}.
        Value(const char* placeholderName);
        static Value Word(const char* word);
        static Value OneOf(const QStringList& words);
        // The choice with a placeholder as its last alternative, of the kind given.
        Value Or(const char* placeholderName, CliKind placeholderKind) const;

        QStringList words;                           // typed as they stand
        const CliPlaceholder* placeholder = nullptr; // or none
        CliKind kind = CliKind::Choice;              // of the placeholder, when there is one

    private:
        Value() = default;
    };

    // How a usage shows its parts: as they stand for --help, in roff for the manual page.
    struct Style
    {
        QString (*typed)(const QString&);       // option names and words typed as they stand
        QString (*placeholder)(const QString&); // FILE, OUT.html
        QString (*syntax)(const QString&);      // the brackets, bars and "..." of the syntax
    };
    /// Every part as it stands.
    static const Style& Plain();

    /// FILE; "set KEY VALUE" (all or none of the words).
    static CliArgument Positional(Value value);
    static CliArgument Positional(std::vector<Value> values);
    /// --force; --notes TEXT; --size OP NUMBER UNIT.
    static CliArgument Option(const QString& name, std::vector<Value> values = {});

    /// The argument may be left out: [--notes TEXT].
    CliArgument Optional() const;
    /// The argument may be given more than once: ARGS...
    CliArgument Repeatable() const;
    /// An argument that may stand in its place: (STORAGE | --unit ID).
    CliArgument Or(const CliArgument& alternative) const;
    /// A long usage goes on on a new line before this argument.
    CliArgument OnNewLine() const;
    /// One line that says what it does, where options are listed one by one.
    CliArgument Help(const char* text) const;

    bool IsOption() const { return !m_name.isEmpty(); }
    const QString& Name() const { return m_name; }
    const std::vector<Value>& Values() const { return m_values; }
    bool IsOptional() const { return m_optional; }
    bool IsRepeatable() const { return m_repeatable; }
    const std::vector<CliArgument>& Alternatives() const { return m_alternatives; }
    bool StartsLine() const { return m_startsLine; }
    const QString& HelpText() const { return m_help; }

    /// The argument as a usage shows it: "[STORAGE | --unit ID]", "--unit ID".
    QString Usage(const Style& style) const;
    /// The argument and its alternatives without brackets, each with its values,
    /// joined by separator: "--yes, --no".
    QString Forms(const Style& style, const QString& separator) const;
    /// The names of its placeholders and those of its alternatives, in order.
    QStringList Placeholders() const;

    /// Arguments on one line, separated by spaces.
    static QString Usage(const std::vector<CliArgument>& arguments, const Style& style);

private:
    CliArgument() = default;
    // The argument alone: its name or words, its values, "..." when repeated.
    QString Form(const Style& style) const;

    QString m_name; // an option's, with the dashes; empty for a positional argument
    std::vector<Value> m_values;
    bool m_optional = false;
    bool m_repeatable = false;
    std::vector<CliArgument> m_alternatives;
    bool m_startsLine = false;
    QString m_help;
};
