#pragma once

#include "importers/ListReader.h"

// Our own CSV export ("csv"): recognised by its header, the export's field names in
// order; the columns are then found by name, so that a file whose media columns were
// cut off in a spreadsheet reads as well.
class CExportCsvReader final : public CListReader
{
public:
    QString Name() const override { return QStringLiteral("csv"); }
    bool Recognises(const QByteArray& head, const QString& fileName) const override;
    void Read(QIODevice& in, CImportSink& sink) const override;
};
