#include "cli/CommandLine.h"

namespace {

bool LooksLikeOption(const QString& argument)
{
    return argument.size() > 1 && argument.startsWith(QLatin1Char('-')) &&
           !argument.at(1).isDigit();
}

} // namespace

bool CommandLine::Parse(const QStringList& arguments, const std::vector<Option>& options,
                        QString& error)
{
    m_options.clear();
    m_positionals.clear();
    bool optionsEnded = false;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (optionsEnded || !LooksLikeOption(argument)) {
            m_positionals << argument;
            continue;
        }
        if (argument == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        const Option* found = nullptr;
        for (const Option& option : options) {
            if (option.name == argument)
                found = &option;
        }
        if (!found) {
            error = QStringLiteral("unknown option %1").arg(argument);
            return false;
        }
        if (i + found->values >= arguments.size()) {
            error = QStringLiteral("%1 needs %2 value(s)").arg(argument).arg(found->values);
            return false;
        }
        QStringList& values = m_options[argument];
        values.clear();
        for (int k = 0; k < found->values; ++k)
            values << arguments.at(++i);
    }
    return true;
}

QString CommandLine::Value(const QString& name, int index) const
{
    const auto it = m_options.find(name);
    if (it == m_options.end() || index >= it->second.size())
        return QString();
    return it->second.at(index);
}
