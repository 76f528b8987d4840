#include "importers/ExportCsvReader.h"

#include "export/ExportWriter.h"
#include "importers/CsvRecords.h"
#include "importers/ExportRowFeeder.h"
#include "importers/ImportSink.h"

#include <array>

namespace {

// The columns the import reads, in ExportRow's order.
const std::array<const char*, 9> kColumns = {"path",    "name",  "type",  "size",   "modified",
                                             "created", "added", "notes", "storage"};

} // namespace

bool CExportCsvReader::Recognises(const QByteArray& head, const QString& /*fileName*/) const
{
    return CCsvRecords::StartsWithHeader(head, CExportWriter::FieldNames());
}

void CExportCsvReader::Read(QIODevice& in, CImportSink& sink) const
{
    CCsvRecords records(in);
    QStringList fields;
    if (!records.Next(fields))
        throw ImportError{1, QStringLiteral("the file is empty")};
    std::array<int, kColumns.size()> columns{};
    for (size_t i = 0; i < kColumns.size(); ++i) {
        columns[i] = static_cast<int>(fields.indexOf(QLatin1String(kColumns[i])));
        if (columns[i] < 0 && i != 0 && i != 1)
            throw ImportError{records.Line(),
                              QStringLiteral("no \"%1\" column").arg(QLatin1String(kColumns[i]))};
    }
    if (columns[0] < 0 && columns[1] < 0)
        throw ImportError{records.Line(), QStringLiteral("no \"path\" column")};

    const qsizetype width = fields.size();
    CExportRowFeeder feeder(sink);
    while (records.Next(fields)) {
        if (fields.size() != width)
            throw ImportError{
                records.Line(),
                QStringLiteral("%1 fields where the header has %2").arg(fields.size()).arg(width)};
        const auto field = [&](size_t column) {
            const int index = columns[column];
            return index >= 0 && index < fields.size() ? fields[index] : QString();
        };
        const ExportRow row{field(0), field(1), field(2), field(3), field(4),
                            field(5), field(6), field(7), field(8)};
        feeder.Row(row, records.Line());
    }
}
