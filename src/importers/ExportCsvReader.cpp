#include "importers/ExportCsvReader.h"

#include "export/ExportWriter.h"
#include "importers/CsvRecords.h"
#include "importers/ExportRowFeeder.h"
#include "importers/ImportSink.h"

#include <array>

namespace {

struct Column
{
    const char* name;
    QString ExportRow::*field;
    bool required;
};

// The columns the import reads. Those from category on are optional: a list written by
// hand may leave them out, and one written before "archive" was added has no such column.
const std::array<Column, 22> kColumns = {
    {{"path", &ExportRow::Path, false},         {"name", &ExportRow::Name, false},
     {"type", &ExportRow::Type, true},          {"size", &ExportRow::Size, true},
     {"modified", &ExportRow::Modified, true},  {"created", &ExportRow::Created, true},
     {"added", &ExportRow::Added, true},        {"notes", &ExportRow::Notes, true},
     {"storage", &ExportRow::Storage, true},    {"category", &ExportRow::Category, false},
     {"duration", &ExportRow::Duration, false}, {"width", &ExportRow::Width, false},
     {"height", &ExportRow::Height, false},     {"bitrate", &ExportRow::Bitrate, false},
     {"codec", &ExportRow::Codec, false},       {"artist", &ExportRow::Artist, false},
     {"title", &ExportRow::Title, false},       {"album", &ExportRow::Album, false},
     {"year", &ExportRow::Year, false},         {"track", &ExportRow::Track, false},
     {"genre", &ExportRow::Genre, false},       {"archive", &ExportRow::Archive, false}}};

} // namespace

bool CExportCsvReader::Recognises(const QByteArray& head, const QString& /*fileName*/) const
{
    // An export written before the "archive" column has all the others.
    const QStringList& names = CExportWriter::FieldNames();
    return CCsvRecords::StartsWithHeader(head, names) ||
           CCsvRecords::StartsWithHeader(head, names.mid(0, names.size() - 1));
}

void CExportCsvReader::Read(QIODevice& in, CImportSink& sink) const
{
    CCsvRecords records(in);
    QStringList fields;
    if (!records.Next(fields))
        throw ImportError{1, QStringLiteral("the file is empty")};
    std::array<int, kColumns.size()> columns{};
    for (size_t i = 0; i < kColumns.size(); ++i) {
        columns[i] = static_cast<int>(fields.indexOf(QLatin1String(kColumns[i].name)));
        if (columns[i] < 0 && kColumns[i].required)
            throw ImportError{
                records.Line(),
                QStringLiteral("no \"%1\" column").arg(QLatin1String(kColumns[i].name))};
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
        ExportRow row;
        for (size_t i = 0; i < kColumns.size(); ++i) {
            if (columns[i] >= 0)
                row.*(kColumns[i].field) = fields[columns[i]];
        }
        feeder.Row(row, records.Line());
    }
    feeder.Finish();
}
