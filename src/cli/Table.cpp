#include "cli/Table.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace {

void Write(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
}

// Tabs and line breaks inside a cell would break the line format.
QString CellText(const QVariant& cell)
{
    QString text = cell.toString();
    text.replace(QLatin1Char('\t'), QLatin1Char(' '));
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    return text;
}

} // namespace

QString Table::CamelCase(const QString& text)
{
    QString out;
    bool upper = false;
    for (const QChar ch : text) {
        if (!ch.isLetterOrNumber()) {
            upper = !out.isEmpty();
            continue;
        }
        out += out.isEmpty() ? ch.toLower() : (upper ? ch.toUpper() : ch);
        upper = false;
    }
    return out;
}

void Table::Print(bool json) const
{
    if (json) {
        QJsonArray array;
        for (const auto& row : m_rows) {
            QJsonObject object;
            const QStringList keys = m_headers + m_extraKeys;
            for (int i = 0; i < keys.size() && i < static_cast<int>(row.size()); ++i)
                object.insert(CamelCase(keys.at(i)), QJsonValue::fromVariant(row[i]));
            array.append(object);
        }
        Write(QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Indented)));
        return;
    }
    Write(m_headers.join(QLatin1Char('\t')) + QLatin1Char('\n'));
    for (const auto& row : m_rows) {
        QStringList cells;
        for (const QVariant& cell : row)
            cells << CellText(cell);
        Write(cells.join(QLatin1Char('\t')) + QLatin1Char('\n'));
    }
}

void Table::PrintFields(bool json) const
{
    if (!json) {
        Print(false);
        return;
    }
    QJsonObject object;
    for (const auto& row : m_rows) {
        if (row.size() >= 2)
            object.insert(CamelCase(row[0].toString()), QJsonValue::fromVariant(row[1]));
    }
    Write(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented)));
}
