#include "cli/DocTemplate.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

namespace {

// The template's reader's notes left out.
QString WithoutNotes(const QString& text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    lines.erase(
        std::remove_if(lines.begin(), lines.end(),
                       [](const QString& line) { return line.startsWith(QLatin1String("@@")); }),
        lines.end());
    return lines.join(QLatin1Char('\n'));
}

} // namespace

DocTemplate DocTemplate::Load(const QString& folder, const QString& name)
{
    const QString path = QDir(folder).filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(QStringLiteral("cannot read the template %1: %2")
                                     .arg(path, file.errorString())
                                     .toStdString());
    return DocTemplate(name, QString::fromUtf8(file.readAll()));
}

DocTemplate::DocTemplate(QString name, const QString& text)
    : m_name(std::move(name)), m_text(WithoutNotes(text))
{
}

DocTemplate& DocTemplate::Fill(const QString& slot, const QString& value)
{
    m_values[slot] = value;
    return *this;
}

QString DocTemplate::Text() const
{
    // One pass, so that a value is never read as a template itself.
    static const QRegularExpression slot(QStringLiteral("@([A-Z][A-Z0-9_]*)@"));
    QString text;
    std::set<QString> used;
    qsizetype done = 0;
    auto matches = slot.globalMatch(m_text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const auto value = m_values.find(match.captured(1));
        if (value == m_values.end())
            throw std::invalid_argument(QStringLiteral("the template %1 has a slot @%2@ that "
                                                       "nothing fills")
                                            .arg(m_name, match.captured(1))
                                            .toStdString());
        used.insert(value->first);
        qsizetype start = match.capturedStart();
        qsizetype end = match.capturedEnd();
        const bool lineStart = start == 0 || m_text.at(start - 1) == QLatin1Char('\n');
        const bool lineEnd = end == m_text.size() || m_text.at(end) == QLatin1Char('\n');
        text += m_text.mid(done, start - done);
        if (lineStart && lineEnd) {
            // A block: its own lines in place of the slot's line.
            if (end < m_text.size())
                ++end;
            text += value->second;
            if (!value->second.isEmpty() && !value->second.endsWith(QLatin1Char('\n')))
                text += QLatin1Char('\n');
        } else {
            text += value->second;
        }
        done = end;
    }
    text += m_text.mid(done);
    for (const auto& [name, value] : m_values) {
        if (used.count(name) == 0)
            throw std::invalid_argument(
                QStringLiteral("the template %1 has no slot @%2@").arg(m_name, name).toStdString());
    }
    return text;
}
