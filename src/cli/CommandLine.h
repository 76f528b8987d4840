#pragma once

#include <QString>
#include <QStringList>

#include <map>
#include <vector>

// The arguments of one command: its options (each with a fixed number of values) and
// its positional arguments, in order.
class CommandLine final
{
public:
    struct Option
    {
        QString name; // with the leading dashes, e.g. "--notes"
        int values;   // how many arguments follow it
    };

    // False with a message for an unknown option or a missing value. "--" ends the
    // options; an argument that is just "-" or starts with a digit-led "-5" is
    // positional.
    bool Parse(const QStringList& arguments, const std::vector<Option>& options, QString& error);

    bool Has(const QString& name) const { return m_options.count(name) > 0; }
    QString Value(const QString& name, int index = 0) const;
    const QStringList& Positionals() const { return m_positionals; }

private:
    std::map<QString, QStringList> m_options;
    QStringList m_positionals;
};
