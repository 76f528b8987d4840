#include "importers/CsvRecords.h"

#include "importers/ImportSink.h"

#include <QBuffer>
#include <QIODevice>

CCsvRecords::CCsvRecords(QIODevice& in) : m_in(in)
{
}

bool CCsvRecords::ReadLine(QByteArray& line)
{
    if (m_in.atEnd())
        return false;
    line = m_in.readLine();
    ++m_line;
    if (m_first) {
        m_first = false;
        if (line.startsWith("\xEF\xBB\xBF"))
            line.remove(0, 3);
    }
    if (line.endsWith('\n'))
        line.chop(1);
    if (line.endsWith('\r'))
        line.chop(1);
    return true;
}

bool CCsvRecords::Next(QStringList& fields)
{
    fields.clear();
    QByteArray line;
    do {
        if (!ReadLine(line))
            return false;
    } while (line.trimmed().isEmpty());
    m_recordLine = m_line;

    QString text = QString::fromUtf8(line);
    QString field;
    bool quoted = false;    // inside a quoted field
    bool wasQuoted = false; // the field began with a quote
    int i = 0;
    for (;;) {
        if (i >= text.size()) {
            if (!quoted)
                break;
            // A quoted field goes on over the line break.
            if (!ReadLine(line))
                throw ImportError{m_recordLine, QStringLiteral("a quoted field is not closed")};
            field += QLatin1Char('\n');
            text = QString::fromUtf8(line);
            i = 0;
            continue;
        }
        const QChar c = text[i];
        if (quoted) {
            if (c == QLatin1Char('"')) {
                if (i + 1 < text.size() && text[i + 1] == QLatin1Char('"')) {
                    field += c;
                    i += 2;
                    continue;
                }
                quoted = false;
                ++i;
                if (i < text.size() && text[i] != QLatin1Char(','))
                    throw ImportError{m_line, QStringLiteral("text after a closing quote")};
                continue;
            }
            field += c;
            ++i;
            continue;
        }
        if (c == QLatin1Char(',')) {
            fields << field;
            field.clear();
            wasQuoted = false;
            ++i;
            continue;
        }
        if (c == QLatin1Char('"') && field.isEmpty() && !wasQuoted) {
            quoted = true;
            wasQuoted = true;
            ++i;
            continue;
        }
        field += c;
        ++i;
    }
    fields << field;
    return true;
}

bool CCsvRecords::StartsWithHeader(const QByteArray& head, const QStringList& header)
{
    const qsizetype end = head.indexOf('\n');
    QByteArray first = end < 0 ? head : head.left(end);
    QBuffer buffer(&first);
    buffer.open(QIODevice::ReadOnly);
    QStringList fields;
    try {
        if (!CCsvRecords(buffer).Next(fields))
            return false;
    } catch (const ImportError&) {
        return false;
    }
    if (fields.size() != header.size())
        return false;
    for (int i = 0; i < fields.size(); ++i) {
        if (fields[i].trimmed().compare(header[i], Qt::CaseInsensitive) != 0)
            return false;
    }
    return true;
}
