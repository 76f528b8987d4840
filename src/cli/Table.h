#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <vector>

// Command output: a header and rows, printed as tab-separated lines with a header
// line, or as a JSON array of objects keyed by the header names.
class Table final
{
public:
    explicit Table(QStringList headers) : m_headers(std::move(headers)) {}

    void AddRow(std::vector<QVariant> cells) { m_rows.push_back(std::move(cells)); }
    bool IsEmpty() const { return m_rows.empty(); }

    // Prints to standard output.
    void Print(bool json) const;
    // Prints the rows as one JSON object of header -> value pairs from two columns
    // (field, value), for property listings.
    void PrintFields(bool json) const;

    // "Serial Number:" -> "serialNumber".
    static QString CamelCase(const QString& text);

private:
    QStringList m_headers;
    std::vector<std::vector<QVariant>> m_rows;
};
