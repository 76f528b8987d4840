#include "importers/VvvReader.h"

#include "importers/ImportSink.h"

#include <QIODevice>
#include <QObject>
#include <QRegularExpression>
#include <QStringDecoder>

#include <array>
#include <optional>

namespace {

enum Column { kVolume, kPath, kName, kExt, kSize, kDate, kTime, kNotes, kColumnCount };

// The header names each column goes by, lower case without spaces or underscores.
Column ColumnOf(const QString& header)
{
    QString key = header.trimmed().toLower();
    key.remove(QLatin1Char(' '));
    key.remove(QLatin1Char('_'));
    static const std::array<std::pair<Column, QStringList>, kColumnCount> names{{
        {kVolume, {QStringLiteral("volume"), QStringLiteral("volumename")}},
        {kPath,
         {QStringLiteral("path"), QStringLiteral("folder"), QStringLiteral("fullpath"),
          QStringLiteral("pathname"), QStringLiteral("physicalpath"), QStringLiteral("directory")}},
        {kName, {QStringLiteral("name"), QStringLiteral("filename"), QStringLiteral("file")}},
        {kExt, {QStringLiteral("ext"), QStringLiteral("extension"), QStringLiteral("fileext")}},
        {kSize, {QStringLiteral("size"), QStringLiteral("filesize")}},
        {kDate,
         {QStringLiteral("date"), QStringLiteral("modified"), QStringLiteral("datetime"),
          QStringLiteral("filedatetime"), QStringLiteral("filedate"),
          QStringLiteral("datemodified"), QStringLiteral("lastmodified")}},
        {kTime, {QStringLiteral("time"), QStringLiteral("filetime")}},
        {kNotes,
         {QStringLiteral("description"), QStringLiteral("filedescription"), QStringLiteral("notes"),
          QStringLiteral("comment")}},
    }};
    for (const auto& [column, aliases] : names)
        if (aliases.contains(key))
            return column;
    return kColumnCount;
}

// Splits text into records of fields, minding quotes; counts lines as it goes.
class CRecords
{
public:
    CRecords(const QString& text, QChar separator) : m_text(text), m_separator(separator) {}

    // The next record and the line it starts on; false at the end of the text.
    bool Next(QStringList& fields, int& line)
    {
        // Blank lines are passed over.
        while (m_pos < m_text.size() &&
               (m_text.at(m_pos) == QLatin1Char('\n') || m_text.at(m_pos) == QLatin1Char('\r'))) {
            if (m_text.at(m_pos) == QLatin1Char('\n'))
                ++m_line;
            ++m_pos;
        }
        if (m_pos >= m_text.size())
            return false;
        line = m_line;
        fields.clear();
        QString field;
        bool quoted = false;
        bool wasQuoted = false;
        for (; m_pos < m_text.size(); ++m_pos) {
            const QChar c = m_text.at(m_pos);
            if (quoted) {
                if (c == QLatin1Char('"') && m_pos + 1 < m_text.size() &&
                    m_text.at(m_pos + 1) == QLatin1Char('"')) {
                    field += c;
                    ++m_pos;
                } else if (c == QLatin1Char('"')) {
                    quoted = false;
                } else {
                    if (c == QLatin1Char('\n'))
                        ++m_line;
                    field += c;
                }
            } else if (c == QLatin1Char('"') && field.isEmpty() && !wasQuoted) {
                quoted = wasQuoted = true;
            } else if (c == m_separator) {
                fields << field;
                field.clear();
                wasQuoted = false;
            } else if (c == QLatin1Char('\n')) {
                ++m_line;
                ++m_pos;
                break;
            } else if (c != QLatin1Char('\r')) {
                field += c;
            }
        }
        if (quoted)
            throw ImportError{line, QObject::tr("A quoted field is not closed")};
        fields << field;
        return true;
    }

private:
    const QString& m_text;
    QChar m_separator;
    qsizetype m_pos = 0;
    int m_line = 1;
};

QString Decode(const QByteArray& bytes)
{
    // UTF-8 when it is; otherwise the Western 8-bit set the program's catalogues use.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    if (utf8.hasError())
        text = QString::fromLatin1(bytes);
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    return text;
}

// The columns of a header line, or nothing when it lacks a volume and a name.
std::optional<std::array<int, kColumnCount>> Columns(const QStringList& header)
{
    std::array<int, kColumnCount> at{};
    at.fill(-1);
    for (int i = 0; i < header.size(); ++i) {
        const Column column = ColumnOf(header[i]);
        if (column != kColumnCount && at[column] < 0)
            at[column] = i;
    }
    if (at[kVolume] < 0 || at[kName] < 0)
        return std::nullopt;
    return at;
}

QDateTime ParseDate(const QString& text)
{
    static const QStringList formats{
        QStringLiteral("yyyy-MM-dd HH:mm:ss"), QStringLiteral("yyyy-MM-ddTHH:mm:ss"),
        QStringLiteral("yyyy-MM-dd HH:mm"),    QStringLiteral("yyyy/MM/dd HH:mm:ss"),
        QStringLiteral("yyyy/MM/dd HH:mm"),    QStringLiteral("dd/MM/yyyy HH:mm:ss"),
        QStringLiteral("dd/MM/yyyy HH:mm"),    QStringLiteral("dd.MM.yyyy HH:mm:ss"),
        QStringLiteral("dd.MM.yyyy HH:mm"),    QStringLiteral("yyyy-MM-dd"),
        QStringLiteral("dd/MM/yyyy"),          QStringLiteral("dd.MM.yyyy")};
    const QString simplified = text.simplified();
    for (const QString& format : formats) {
        QDateTime time = QDateTime::fromString(simplified, format);
        if (time.isValid())
            return time;
    }
    return {};
}

QString Field(const QStringList& fields, int column)
{
    return column >= 0 && column < fields.size() ? fields[column].trimmed() : QString();
}

} // namespace

QString CVvvReader::Name() const
{
    return QStringLiteral("vvv");
}

QChar CVvvReader::Separator(const QString& header)
{
    if (header.contains(QLatin1Char('\t')))
        return QLatin1Char('\t');
    return header.count(QLatin1Char(';')) > header.count(QLatin1Char(',')) ? QLatin1Char(';')
                                                                           : QLatin1Char(',');
}

bool CVvvReader::Recognises(const QByteArray& head, const QString& /*fileName*/) const
{
    // Only the header says whose export this is; the file name (.txt, .csv) does not.
    const QString text = Decode(head.left(static_cast<int>(head.indexOf('\n'))));
    const QStringList header = text.split(Separator(text));
    return header.size() >= 3 && Columns(header).has_value();
}

void CVvvReader::Read(QIODevice& in, CImportSink& sink) const
{
    const QString text = Decode(in.readAll());
    const QChar separator = Separator(text.left(text.indexOf(QLatin1Char('\n'))));
    CRecords records(text, separator);
    QStringList fields;
    int line = 0;
    if (!records.Next(fields, line))
        throw ImportError{1, QObject::tr("The list is empty")};
    const auto at = Columns(fields);
    if (!at)
        throw ImportError{line, QObject::tr("The first line names no Volume and Name columns")};
    const int width = static_cast<int>(fields.size());

    bool started = false;
    QString volume;
    while (records.Next(fields, line)) {
        if (fields.size() > width)
            throw ImportError{
                line,
                QObject::tr("The line has %1 fields, the header %2").arg(fields.size()).arg(width)};
        const QString label = Field(fields, (*at)[kVolume]);
        if (!started || label != volume) {
            sink.BeginDisc(label, {});
            volume = label;
            started = true;
        }

        static const QRegularExpression slashes(QStringLiteral("[/\\\\]"));
        ImportedItem item;
        item.Path = Field(fields, (*at)[kPath]).split(slashes, Qt::SkipEmptyParts);
        QString name = Field(fields, (*at)[kName]);
        const QString ext = Field(fields, (*at)[kExt]);
        if (!name.isEmpty() && !ext.isEmpty() &&
            !name.endsWith(QLatin1Char('.') + ext, Qt::CaseInsensitive))
            name += QLatin1Char('.') + ext;
        item.IsFolder = name.isEmpty();
        if (item.IsFolder && item.Path.isEmpty())
            continue; // the volume's own line
        if (!item.IsFolder)
            item.Path << name;

        const QString size = Field(fields, (*at)[kSize]);
        if (!item.IsFolder && !size.isEmpty()) {
            bool ok = false;
            item.Size = QString(size).remove(QLatin1Char(' ')).toLongLong(&ok);
            if (!ok || item.Size < 0)
                throw ImportError{line, QObject::tr("\"%1\" is not a size in bytes").arg(size)};
        }
        QString date = Field(fields, (*at)[kDate]);
        const QString time = Field(fields, (*at)[kTime]);
        if (!time.isEmpty())
            date += QLatin1Char(' ') + time;
        item.Modified = ParseDate(date);
        item.Notes = Field(fields, (*at)[kNotes]);
        sink.Item(item);
    }
}
