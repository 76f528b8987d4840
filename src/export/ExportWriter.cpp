#include "export/ExportWriter.h"

#include <QRegularExpression>

const QStringList& CExportWriter::FieldNames()
{
    static const QStringList names = {
        QStringLiteral("path"),    QStringLiteral("name"),     QStringLiteral("type"),
        QStringLiteral("size"),    QStringLiteral("modified"), QStringLiteral("created"),
        QStringLiteral("added"),   QStringLiteral("category"), QStringLiteral("notes"),
        QStringLiteral("storage"), QStringLiteral("duration"), QStringLiteral("width"),
        QStringLiteral("height"),  QStringLiteral("bitrate"),  QStringLiteral("codec"),
        QStringLiteral("artist"),  QStringLiteral("title"),    QStringLiteral("album"),
        QStringLiteral("year"),    QStringLiteral("track"),    QStringLiteral("genre"),
        QStringLiteral("archive")};
    return names;
}

QString CExportWriter::IsoDate(const QString& stored)
{
    static const QRegularExpression dateAndTime(
        QStringLiteral("^(\\d{4}-\\d{2}-\\d{2}) (\\d{2}:\\d{2}:\\d{2}(\\.\\d+)?)$"));
    const QRegularExpressionMatch match = dateAndTime.match(stored);
    return match.hasMatch() ? match.captured(1) + QLatin1Char('T') + match.captured(2) : stored;
}

std::vector<CExportWriter::Value> CExportWriter::Values(const ExportRecord& unit,
                                                        const QString& path, const QString& storage)
{
    const auto text = [](const QString& value) {
        return value.isEmpty() ? Value() : Value{Value::Kind::Text, value};
    };
    const auto number = [](const CNullable<qint64>& value) {
        return value.IsNull() ? Value()
                              : Value{Value::Kind::Number, QString::number(value.Value())};
    };
    return {text(path),
            text(unit.Name),
            text(UnitKindText(unit.Kind)),
            Value{Value::Kind::Number, QString::number(unit.Size)},
            text(IsoDate(unit.Modified)),
            text(IsoDate(unit.Created)),
            text(IsoDate(unit.Added)),
            text(unit.Category),
            text(unit.Notes),
            text(storage),
            number(unit.Duration),
            number(unit.Width),
            number(unit.Height),
            number(unit.Bitrate),
            text(unit.Codec),
            text(unit.Artist),
            text(unit.Title),
            text(unit.Album),
            number(unit.Year),
            number(unit.Track),
            text(unit.Genre),
            text(unit.ArchiveFormat)};
}

void CExportWriter::Write(const QString& text)
{
    m_out.write(text.toUtf8());
}

void CExportWriter::Write(const char* text)
{
    m_out.write(text);
}
