#include "importers/ExportJsonReader.h"

#include "importers/ExportRowFeeder.h"
#include "importers/ImportSink.h"

#include <QIODevice>

#include <cctype>
#include <utility>

namespace {

constexpr qint64 kChunk = 64 * 1024;

// Reads our JSON export straight from the device, a unit at a time, so that a list of any
// size holds one unit's fields (and the path of objects it is in) in memory. Each object's
// own fields go to the feeder when its "children" begin or when it closes, whichever
// comes first: a disc or folder before what lies in it. Members this reader does not
// know are read over.
class CExportJsonParser
{
public:
    CExportJsonParser(QIODevice& in, CExportRowFeeder& feeder) : m_in(in), m_feeder(feeder) {}

    void Run()
    {
        SkipSpace();
        if (Peek() == '\xEF') { // a UTF-8 byte-order mark
            Take();
            Take();
            Take();
            SkipSpace();
        }
        Units();
        SkipSpace();
        if (!AtEnd())
            Fail(QStringLiteral("text after the end of the array"));
    }

private:
    void Units()
    {
        Expect('[', "an array of units");
        SkipSpace();
        if (Peek() == ']') {
            Take();
            return;
        }
        for (;;) {
            Unit();
            SkipSpace();
            const char c = Take();
            if (c == ']')
                return;
            if (c != ',')
                Fail(QStringLiteral("a comma or the end of the array expected"));
        }
    }

    void Unit()
    {
        SkipSpace();
        const int line = m_line;
        Expect('{', "an object for each unit");
        ExportRow row;
        bool fed = false;
        SkipSpace();
        if (Peek() == '}') {
            Take();
            m_feeder.Row(row, line);
            return;
        }
        for (;;) {
            SkipSpace();
            const QString key = String();
            SkipSpace();
            Expect(':', "a colon after the name");
            SkipSpace();
            if (key == QLatin1String("children")) {
                if (!fed)
                    m_feeder.Row(row, line);
                fed = true;
                Units();
            } else {
                QString* field = Field(row, key);
                const QString value = Value();
                if (field)
                    *field = value;
            }
            SkipSpace();
            const char c = Take();
            if (c == '}')
                break;
            if (c != ',')
                Fail(QStringLiteral("a comma or the end of the object expected"));
        }
        if (!fed)
            m_feeder.Row(row, line);
    }

    static QString* Field(ExportRow& row, const QString& key)
    {
        const std::pair<const char*, QString*> fields[] = {
            {"path", &row.Path},         {"name", &row.Name},         {"type", &row.Type},
            {"size", &row.Size},         {"modified", &row.Modified}, {"created", &row.Created},
            {"added", &row.Added},       {"notes", &row.Notes},       {"storage", &row.Storage},
            {"category", &row.Category}, {"duration", &row.Duration}, {"width", &row.Width},
            {"height", &row.Height},     {"bitrate", &row.Bitrate},   {"codec", &row.Codec},
            {"artist", &row.Artist},     {"title", &row.Title},       {"album", &row.Album},
            {"year", &row.Year},         {"track", &row.Track},       {"genre", &row.Genre},
            {"archive", &row.Archive}};
        for (const auto& [name, field] : fields) {
            if (key == QLatin1String(name))
                return field;
        }
        return nullptr;
    }

    // A string's text or a number's digits; empty for null and for values read over.
    QString Value()
    {
        const char c = Peek();
        if (c == '"')
            return String();
        if (c == '{' || c == '[') {
            Skip();
            return QString();
        }
        QByteArray word;
        while (!AtEnd() && (std::isalnum(static_cast<unsigned char>(Peek())) || Peek() == '-' ||
                            Peek() == '+' || Peek() == '.'))
            word += Take();
        if (word == "null" || word == "true" || word == "false")
            return QString();
        bool ok = false;
        word.toDouble(&ok);
        if (!ok)
            Fail(QStringLiteral("a value expected"));
        return QString::fromLatin1(word);
    }

    // An object or array read over.
    void Skip()
    {
        const char open = Take();
        const char close = open == '{' ? '}' : ']';
        for (;;) {
            SkipSpace();
            const char c = Peek();
            if (c == close) {
                Take();
                return;
            }
            if (c == ',' || c == ':')
                Take();
            else if (c == '"')
                String();
            else if (c == '{' || c == '[')
                Skip();
            else
                Value();
        }
    }

    QString String()
    {
        Expect('"', "a string");
        QString text;
        QByteArray run; // UTF-8 bytes since the last escape
        for (;;) {
            if (AtEnd())
                Fail(QStringLiteral("a string is not closed"));
            if (Peek() == '\n')
                Fail(QStringLiteral("a line break inside a string"));
            const char c = Take();
            if (c == '"')
                break;
            if (c != '\\') {
                run += c;
                continue;
            }
            text += QString::fromUtf8(run);
            run.clear();
            const char e = Take();
            switch (e) {
            case '"':
            case '\\':
            case '/':
                text += QLatin1Char(e);
                break;
            case 'b':
                text += QLatin1Char('\b');
                break;
            case 'f':
                text += QLatin1Char('\f');
                break;
            case 'n':
                text += QLatin1Char('\n');
                break;
            case 'r':
                text += QLatin1Char('\r');
                break;
            case 't':
                text += QLatin1Char('\t');
                break;
            case 'u': {
                QByteArray hex;
                for (int i = 0; i < 4; ++i)
                    hex += Take();
                bool ok = false;
                const uint unit = hex.toUInt(&ok, 16);
                if (!ok)
                    Fail(QStringLiteral("a bad \\u escape"));
                // Surrogate pairs come as two escapes, and pair up in UTF-16 by themselves.
                text += QChar(static_cast<char16_t>(unit));
                break;
            }
            default:
                Fail(QStringLiteral("a bad escape in a string"));
            }
        }
        return text + QString::fromUtf8(run);
    }

    void Expect(char c, const char* what)
    {
        if (AtEnd() || Take() != c)
            Fail(QStringLiteral("%1 expected").arg(QLatin1String(what)));
    }

    void SkipSpace()
    {
        while (!AtEnd() && (Peek() == ' ' || Peek() == '\n' || Peek() == '\r' || Peek() == '\t'))
            Take();
    }

    bool AtEnd()
    {
        if (m_pos < m_buffer.size())
            return false;
        m_buffer = m_in.read(kChunk);
        m_pos = 0;
        return m_buffer.isEmpty();
    }

    char Peek() { return AtEnd() ? '\0' : m_buffer[m_pos]; }

    char Take()
    {
        if (AtEnd())
            Fail(QStringLiteral("the list ends too soon"));
        const char c = m_buffer[m_pos++];
        if (c == '\n')
            ++m_line;
        return c;
    }

    [[noreturn]] void Fail(const QString& message) const { throw ImportError{m_line, message}; }

    QIODevice& m_in;
    CExportRowFeeder& m_feeder;
    QByteArray m_buffer;
    qsizetype m_pos = 0;
    int m_line = 1;
};

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
    CExportRowFeeder feeder(sink);
    CExportJsonParser(in, feeder).Run();
    feeder.Finish();
}
