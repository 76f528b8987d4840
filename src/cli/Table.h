#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <vector>

// Command output: a header and rows, printed as tab-separated lines with a header
// line, or as a JSON array of objects keyed by the header names. A row may carry cells
// past the header, named by the extra keys: a field that only some rows have (a moved
// file's old path), after the header's fields on its line and keyed in JSON on that row
// alone.
class Table final
{
public:
    explicit Table(QStringList headers, QStringList extraKeys = {})
        : m_headers(std::move(headers)), m_extraKeys(std::move(extraKeys))
    {
    }

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
    QStringList m_extraKeys;
    std::vector<std::vector<QVariant>> m_rows;
};
