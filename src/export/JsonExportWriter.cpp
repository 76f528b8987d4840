#include "export/JsonExportWriter.h"

QString CJsonExportWriter::String(const QString& text)
{
    QString out;
    out.reserve(text.size() + 2);
    out += QLatin1Char('"');
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '"':
            out += QStringLiteral("\\\"");
            break;
        case '\\':
            out += QStringLiteral("\\\\");
            break;
        case '\n':
            out += QStringLiteral("\\n");
            break;
        case '\r':
            out += QStringLiteral("\\r");
            break;
        case '\t':
            out += QStringLiteral("\\t");
            break;
        default:
            if (c.unicode() < 0x20)
                out += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
            else
                out += c;
        }
    }
    out += QLatin1Char('"');
    return out;
}

void CJsonExportWriter::Begin()
{
    Write("[");
    m_arrays.push_back(false);
}

void CJsonExportWriter::NextElement()
{
    if (m_arrays.back())
        Write(",");
    m_arrays.back() = true;
    Write("\n");
}

void CJsonExportWriter::StartUnit(const ExportRecord& unit, const QString& path,
                                  const QString& storage)
{
    NextElement();
    const QStringList& names = FieldNames();
    const std::vector<Value> values = Values(unit, path, storage);
    QString object = QStringLiteral("{");
    for (size_t i = 0; i < values.size(); ++i) {
        const Value& value = values[i];
        if (value.kind == Value::Kind::Null && static_cast<int>(i) >= kFirstMediaField)
            continue;
        if (object.size() > 1)
            object += QLatin1Char(',');
        object += String(names[static_cast<int>(i)]) + QLatin1Char(':');
        switch (value.kind) {
        case Value::Kind::Null:
            object += QStringLiteral("null");
            break;
        case Value::Kind::Number:
            object += value.text;
            break;
        case Value::Kind::Text:
            object += String(value.text);
            break;
        }
    }
    Write(object);
    if (!m_nested)
        Write("}");
}

void CJsonExportWriter::StartChildren()
{
    if (!m_nested)
        return;
    Write(",\"children\":[");
    m_arrays.push_back(false);
}

void CJsonExportWriter::EndChildren()
{
    if (!m_nested)
        return;
    m_arrays.pop_back();
    Write("]");
}

void CJsonExportWriter::EndUnit()
{
    if (m_nested)
        Write("}");
}

void CJsonExportWriter::End()
{
    m_arrays.clear();
    Write("\n]\n");
}
