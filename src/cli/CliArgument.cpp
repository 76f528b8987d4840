#include "cli/CliArgument.h"

#include <utility>

namespace {

QString AsItStands(const QString& text)
{
    return text;
}

} // namespace

CliArgument::Value::Value(const char* placeholderName)
    : placeholder(&CliPlaceholders::Find(QString::fromLatin1(placeholderName))),
      kind(placeholder->kind)
{
}

CliArgument::Value CliArgument::Value::Word(const char* word)
{
    return OneOf({QString::fromLatin1(word)});
}

CliArgument::Value CliArgument::Value::OneOf(const QStringList& words)
{
    Value value;
    value.words = words;
    return value;
}

CliArgument::Value CliArgument::Value::Or(const char* placeholderName,
                                          CliKind placeholderKind) const
{
    Value value = *this;
    value.placeholder = &CliPlaceholders::Find(QString::fromLatin1(placeholderName));
    value.kind = placeholderKind;
    return value;
}

const CliArgument::Style& CliArgument::Plain()
{
    static const Style plain{&AsItStands, &AsItStands, &AsItStands};
    return plain;
}

CliArgument CliArgument::Positional(Value value)
{
    return Positional(std::vector<Value>{std::move(value)});
}

CliArgument CliArgument::Positional(std::vector<Value> values)
{
    CliArgument argument;
    argument.m_values = std::move(values);
    return argument;
}

CliArgument CliArgument::Option(const QString& name, std::vector<Value> values)
{
    CliArgument argument;
    argument.m_name = name;
    argument.m_values = std::move(values);
    return argument;
}

CliArgument CliArgument::Optional() const
{
    CliArgument argument = *this;
    argument.m_optional = true;
    return argument;
}

CliArgument CliArgument::Repeatable() const
{
    CliArgument argument = *this;
    argument.m_repeatable = true;
    return argument;
}

CliArgument CliArgument::Or(const CliArgument& alternative) const
{
    CliArgument argument = *this;
    argument.m_alternatives.push_back(alternative);
    return argument;
}

CliArgument CliArgument::OnNewLine() const
{
    CliArgument argument = *this;
    argument.m_startsLine = true;
    return argument;
}

CliArgument CliArgument::Help(const char* text) const
{
    CliArgument argument = *this;
    argument.m_help = QString::fromLatin1(text);
    return argument;
}

QString CliArgument::Form(const Style& style) const
{
    QStringList words;
    if (IsOption())
        words << style.typed(m_name);
    for (const Value& value : m_values) {
        QStringList choices;
        for (const QString& word : value.words)
            choices << style.typed(word);
        if (value.placeholder)
            choices << style.placeholder(QString::fromLatin1(value.placeholder->name));
        words << choices.join(style.syntax(QStringLiteral("|")));
    }
    QString form = words.join(QLatin1Char(' '));
    if (m_repeatable)
        form += style.syntax(QStringLiteral("..."));
    return form;
}

QString CliArgument::Forms(const Style& style, const QString& separator) const
{
    QStringList forms{Form(style)};
    for (const CliArgument& alternative : m_alternatives)
        forms << alternative.Form(style);
    return forms.join(separator);
}

QString CliArgument::Usage(const Style& style) const
{
    QString forms =
        Forms(style, QLatin1Char(' ') + style.syntax(QStringLiteral("|")) + QLatin1Char(' '));
    if (m_optional)
        return style.syntax(QStringLiteral("[")) + forms + style.syntax(QStringLiteral("]"));
    if (!m_alternatives.empty())
        return style.syntax(QStringLiteral("(")) + forms + style.syntax(QStringLiteral(")"));
    return forms;
}

QStringList CliArgument::Placeholders() const
{
    QStringList names;
    for (const Value& value : m_values) {
        if (value.placeholder)
            names << QString::fromLatin1(value.placeholder->name);
    }
    for (const CliArgument& alternative : m_alternatives)
        names << alternative.Placeholders();
    return names;
}

QString CliArgument::Usage(const std::vector<CliArgument>& arguments, const Style& style)
{
    QStringList usages;
    for (const CliArgument& argument : arguments)
        usages << argument.Usage(style);
    return usages.join(QLatin1Char(' '));
}
