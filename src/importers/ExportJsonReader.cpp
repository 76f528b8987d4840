#include "importers/ExportJsonReader.h"

#include "importers/ExportRowFeeder.h"
#include "importers/ImportSink.h"

#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString Text(const QJsonObject& object, const char* key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isDouble())
        return QString::number(static_cast<qint64>(value.toDouble()));
    return value.toString();
}

void Walk(const QJsonArray& units, CExportRowFeeder& feeder)
{
    for (const QJsonValue value : units) {
        if (!value.isObject())
            throw ImportError{0, QStringLiteral("an element of the array is not an object")};
        const QJsonObject unit = value.toObject();
        const ExportRow row{Text(unit, "path"),  Text(unit, "name"),     Text(unit, "type"),
                            Text(unit, "size"),  Text(unit, "modified"), Text(unit, "created"),
                            Text(unit, "added"), Text(unit, "notes"),    Text(unit, "storage")};
        feeder.Row(row, 0);
        const QJsonValue children = unit.value(QLatin1String("children"));
        if (children.isArray())
            Walk(children.toArray(), feeder);
    }
}

} // namespace

bool CExportJsonReader::Recognises(const QByteArray& head, const QString& fileName) const
{
    const QByteArray text = head.trimmed();
    if (!text.startsWith('['))
        return false;
    if (text.mid(1).trimmed() == "]") // an empty export
        return fileName.endsWith(QLatin1String(".json"), Qt::CaseInsensitive);
    const qsizetype open = text.indexOf('{');
    const qsizetype close = text.indexOf('}');
    if (open < 0 || text.mid(1, open - 1).trimmed().size() != 0)
        return false;
    const QByteArray first = text.mid(open, close < 0 ? -1 : close - open);
    return first.contains("\"path\":") && first.contains("\"type\":") &&
           first.contains("\"storage\":");
}

void CExportJsonReader::Read(QIODevice& in, CImportSink& sink) const
{
    const QByteArray data = in.readAll();
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError) {
        const int line = static_cast<int>(data.left(error.offset).count('\n')) + 1;
        throw ImportError{line, error.errorString()};
    }
    if (!document.isArray())
        throw ImportError{1, QStringLiteral("the document is not an array of units")};
    CExportRowFeeder feeder(sink);
    Walk(document.array(), feeder);
}
