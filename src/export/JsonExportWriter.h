#pragma once

#include "export/ExportWriter.h"

#include <vector>

// JSON in UTF-8: an array of unit objects, written as they come. Flat, every unit is
// an element of the one array; nested, the top units are, and each disc, folder and
// archive holds its children in "children". Every object has the fields from "path"
// to "storage" (null where there is no value) and the media details it has; sizes and
// media numbers are numbers, dates ISO 8601 texts.
class CJsonExportWriter final : public CExportWriter
{
public:
    CJsonExportWriter(QIODevice& out, bool nested) : CExportWriter(out), m_nested(nested) {}

    void Begin() override;
    void StartUnit(const ExportRecord& unit, const QString& path, const QString& storage) override;
    void StartChildren() override;
    void EndChildren() override;
    void EndUnit() override;
    void End() override;

    // The text as a JSON string, quotes included.
    static QString String(const QString& text);

private:
    // Before an element of the array open at the innermost level: a comma after the
    // first, and a new line.
    void NextElement();

    bool m_nested;
    // One entry per open array: whether it has an element yet.
    std::vector<bool> m_arrays;
};
