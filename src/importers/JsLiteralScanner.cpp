#include "importers/JsLiteralScanner.h"

#include "importers/ImportSink.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QObject>

#include <utility>

CJsLiteralScanner::CJsLiteralScanner(QString text, const QString& callee)
    : m_text(std::move(text)), m_call(callee + QLatin1Char('('))
{
}

bool CJsLiteralScanner::Next(JsCall& call)
{
    for (;;) {
        const int found = static_cast<int>(m_text.indexOf(m_call, m_pos));
        if (found < 0)
            return false;
        while (m_pos < found)
            Advance();
        call.Line = m_line;
        call.Values.clear();
        m_pos += static_cast<int>(m_call.size());
        SkipSpace();
        if (Peek() != QLatin1Char('['))
            continue; // the function's definition or a call with another argument
        Advance();
        SkipSpace();
        while (Peek() != QLatin1Char(']')) {
            const QChar c = Peek();
            if (c == QLatin1Char('"') || c == QLatin1Char('\''))
                call.Values.push_back(String());
            else if (c == QLatin1Char('{'))
                call.Values.push_back(Object());
            else if (c == QLatin1Char('-') || c == QLatin1Char('+') || c.isDigit())
                call.Values.push_back(Number());
            else
                Fail(c.isNull() ? QObject::tr("The list ends inside an array")
                                : QObject::tr("Unexpected \"%1\" in an array").arg(c));
            SkipSpace();
            if (Peek() == QLatin1Char(',')) {
                Advance();
                SkipSpace();
            } else if (Peek() != QLatin1Char(']')) {
                Fail(QObject::tr("A comma or \"]\" is missing in an array"));
            }
        }
        Advance();
        SkipSpace();
        if (Peek() != QLatin1Char(')'))
            Fail(QObject::tr("\")\" is missing after an array"));
        Advance();
        return true;
    }
}

JsLiteral CJsLiteralScanner::String()
{
    JsLiteral literal;
    const QChar quote = Peek();
    Advance();
    for (;;) {
        const QChar c = Peek();
        if (c.isNull() || c == QLatin1Char('\n'))
            Fail(QObject::tr("A string is not closed"));
        Advance();
        if (c == quote)
            return literal;
        if (c != QLatin1Char('\\')) {
            literal.Text += c;
            continue;
        }
        const QChar escaped = Peek();
        Advance();
        switch (escaped.unicode()) {
        case 'n':
            literal.Text += QLatin1Char('\n');
            break;
        case 't':
            literal.Text += QLatin1Char('\t');
            break;
        case 'r':
            literal.Text += QLatin1Char('\r');
            break;
        case 'b':
            literal.Text += QLatin1Char('\b');
            break;
        case 'f':
            literal.Text += QLatin1Char('\f');
            break;
        case 'v':
            literal.Text += QLatin1Char('\v');
            break;
        case '0':
            literal.Text += QChar(0);
            break;
        case 'x':
        case 'u': {
            const int digits = escaped == QLatin1Char('x') ? 2 : 4;
            bool ok = false;
            const uint code = m_text.mid(m_pos, digits).toUInt(&ok, 16);
            if (!ok || m_pos + digits > m_text.size())
                Fail(QObject::tr("A \\%1 escape is not followed by %2 hex digits")
                         .arg(escaped)
                         .arg(digits));
            for (int i = 0; i < digits; ++i)
                Advance();
            literal.Text += QChar(static_cast<char16_t>(code));
            break;
        }
        case 0:
            Fail(QObject::tr("A string is not closed"));
        default: // \\, \", \', \/ and any other character stand for themselves
            literal.Text += escaped;
        }
    }
}

JsLiteral CJsLiteralScanner::Number()
{
    const int start = m_pos;
    Advance();
    while (Peek().isDigit() || Peek() == QLatin1Char('.') || Peek() == QLatin1Char('e') ||
           Peek() == QLatin1Char('E') || Peek() == QLatin1Char('-') || Peek() == QLatin1Char('+'))
        Advance();
    JsLiteral literal;
    literal.Type = JsLiteral::Kind::Number;
    bool ok = false;
    literal.Number = m_text.mid(start, m_pos - start).toDouble(&ok);
    if (!ok)
        Fail(QObject::tr("\"%1\" is not a number").arg(m_text.mid(start, m_pos - start)));
    return literal;
}

JsLiteral CJsLiteralScanner::Object()
{
    // Find the closing brace, minding braces inside strings, then read it as JSON.
    const int start = m_pos;
    const int startLine = m_line;
    int depth = 0;
    QChar quote;
    do {
        const QChar c = Peek();
        if (c.isNull())
            Fail(QObject::tr("An object is not closed"));
        if (!quote.isNull()) {
            if (c == QLatin1Char('\\'))
                Advance();
            else if (c == quote)
                quote = QChar();
        } else if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
            quote = c;
        } else if (c == QLatin1Char('{')) {
            ++depth;
        } else if (c == QLatin1Char('}')) {
            --depth;
        }
        Advance();
    } while (depth > 0);

    QJsonParseError error{};
    const QJsonDocument document =
        QJsonDocument::fromJson(m_text.mid(start, m_pos - start).toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        throw ImportError{startLine,
                          QObject::tr("An object is not JSON: %1").arg(error.errorString())};
    JsLiteral literal;
    literal.Type = JsLiteral::Kind::Object;
    literal.Object = document.object();
    return literal;
}

void CJsLiteralScanner::SkipSpace()
{
    while (Peek().isSpace())
        Advance();
}

QChar CJsLiteralScanner::Peek() const
{
    return m_pos < m_text.size() ? m_text.at(m_pos) : QChar();
}

void CJsLiteralScanner::Advance()
{
    if (m_pos >= m_text.size())
        return;
    if (m_text.at(m_pos) == QLatin1Char('\n'))
        ++m_line;
    ++m_pos;
}

void CJsLiteralScanner::Fail(const QString& message) const
{
    throw ImportError{m_line, message};
}
