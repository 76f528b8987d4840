#include "export/CsvExportWriter.h"

namespace {

const char kLineEnd[] = "\r\n";

} // namespace

QString CCsvExportWriter::Field(const QString& text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')) &&
        !text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r')))
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

void CCsvExportWriter::Begin()
{
    Write(FieldNames().join(QLatin1Char(',')));
    Write(kLineEnd);
}

void CCsvExportWriter::StartUnit(const ExportRecord& unit, const QString& path,
                                 const QString& storage)
{
    QStringList fields;
    for (const Value& value : Values(unit, path, storage))
        fields << Field(value.text);
    Write(fields.join(QLatin1Char(',')));
    Write(kLineEnd);
}
