#pragma once

#include "export/ExportWriter.h"

// CSV as RFC 4180 has it: UTF-8 (no byte order mark), a header row of the field names,
// one row per unit, fields that hold a comma, a double quote or a line break quoted
// with their quotes doubled, every line ended by CR LF. A value that is not there is
// an empty field.
class CCsvExportWriter final : public CExportWriter
{
public:
    using CExportWriter::CExportWriter;

    void Begin() override;
    void StartUnit(const ExportRecord& unit, const QString& path, const QString& storage) override;

    // The field as it goes into a line.
    static QString Field(const QString& text);
};
