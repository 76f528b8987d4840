#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <initializer_list>
#include <string>
#include <utility>

// Turning values into SQL text. Every statement of the catalogue is complete text
// with the values written into it; nothing is bound as a parameter.
namespace SqlText {

// One value for Format(): the text it stands for in the statement.
class Arg final
{
public:
    Arg(QString text) : m_text(std::move(text)) {}
    Arg(const char* text) : m_text(QString::fromUtf8(text)) {}
    Arg(int value) : m_text(QString::number(value)) {}
    Arg(unsigned int value) : m_text(QString::number(value)) {}
    Arg(long value) : m_text(QString::number(value)) {}
    Arg(unsigned long value) : m_text(QString::number(value)) {}
    Arg(long long value) : m_text(QString::number(value)) {}
    Arg(unsigned long long value) : m_text(QString::number(value)) {}
    Arg(char value) : m_text(QChar::fromLatin1(value)) {}
    Arg(QChar value) : m_text(value) {}

    const QString& text() const { return m_text; }

private:
    QString m_text;
};

// Fills a printf-style statement template in one pass: each of %s, %d, %c, %lu, %lld
// takes the next value's text and %% gives a percent sign. Because the pass never
// rescans what it inserted, a value holding '%' is written as it is.
QString Format(const char* pattern, std::initializer_list<Arg> args);
QString Format(const QString& pattern, std::initializer_list<Arg> args);

// The text as an SQL string literal: wrapped in single quotes, each single quote
// doubled, nothing else changed. Never a column name (as a double-quoted word may be)
// and never NULL: names, labels and extensions are always written as text.
QString QuoteSqlString(const QString& text);

// For optional values (notes, media texts): the text "NULL" is written as SQL NULL,
// anything else as QuoteSqlString does.
QString QuoteOptionalSqlString(const QString& text);

// The text with each single quote doubled, for writing inside a literal that the
// statement itself opens and closes (a LIKE pattern such as '%%.%s').
QString EscapeSqlQuotes(const QString& text);

// The date as a single-quoted 'YYYY-MM-DD HH:MM:SS' literal.
QString FormatSqlDate(const QDateTime& time);

// The date text as it is stored, without quotes.
QString FormatDateText(const QDateTime& time);

// The same literals written straight into UTF-8 statement text, for the statements
// built many thousand times over (the file rows of an import).
// AppendQuotedUtf8: the text as QuoteSqlString gives it.
void AppendQuotedUtf8(std::string& out, const QString& text);
// AppendDateLiteral: a wall-clock reading given as milliseconds since 1970-01-01 00:00
// of that clock, as FormatSqlDate gives it for the same reading; false (and nothing
// appended) outside the years 1 to 9999, which the caller writes through QDateTime.
bool AppendDateLiteral(std::string& out, qint64 wallClockMsecs);
// AppendBlobLiteral: bytes as an SQL blob literal, X'' and two hex digits a byte. Binary
// data (a thumbnail's image) has no text form a quoted string could carry, and nothing is
// bound as a parameter: the hex literal keeps the statement complete text. Only hex
// digits come from the bytes, so nothing in them can end the literal.
void AppendBlobLiteral(std::string& out, const QByteArray& bytes);

std::string ToUtf8(const QString& wide);
QString FromUtf8(const char* narrow);

} // namespace SqlText
