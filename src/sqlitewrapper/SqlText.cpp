#include "sqlitewrapper/SqlText.h"

#include <algorithm>
#include <cstring>

namespace SqlText {

namespace {

// Length of the conversion specifier that starts at pos (just after '%'), or 0 when the
// text there is no specifier this formatter knows.
int SpecifierLength(QStringView pattern, qsizetype pos)
{
    static const char* const specifiers[] = {"lld", "I64d", "lu", "s", "d", "c"};
    const QStringView rest = pattern.mid(pos);
    for (const char* specifier : specifiers) {
        if (rest.startsWith(QLatin1String(specifier)))
            return static_cast<int>(std::strlen(specifier));
    }
    return 0;
}

void AppendTwoDigits(QChar*& out, int value)
{
    value = std::max(0, value); // an invalid date or time reads as zeros
    *out++ = QLatin1Char(static_cast<char>('0' + value / 10 % 10));
    *out++ = QLatin1Char(static_cast<char>('0' + value % 10));
}

} // namespace

QString Format(const QString& pattern, std::initializer_list<Arg> args)
{
    qsizetype extra = 0;
    for (const Arg& arg : args)
        extra += arg.text().size();
    QString out;
    out.reserve(pattern.size() + extra);
    const auto* next = args.begin();
    const QStringView view(pattern);
    const qsizetype size = view.size();
    qsizetype copied = 0; // start of the literal text not yet appended
    for (qsizetype i = 0; i + 1 < size; ++i) {
        if (view[i] != QLatin1Char('%'))
            continue;
        if (view[i + 1] == QLatin1Char('%')) {
            out += view.mid(copied, i + 1 - copied);
            copied = i + 2;
            ++i;
            continue;
        }
        const int len = SpecifierLength(view, i + 1);
        if (len == 0 || next == args.end())
            continue;
        out += view.mid(copied, i - copied);
        out += next->text();
        ++next;
        i += len;
        copied = i + 1;
    }
    out += view.mid(copied);
    return out;
}

QString Format(const char* pattern, std::initializer_list<Arg> args)
{
    // Statement patterns are plain ASCII.
    return Format(QString::fromLatin1(pattern), args);
}

QString EscapeSqlQuotes(const QString& text)
{
    if (!text.contains(QLatin1Char('\'')))
        return text;
    QString escaped = text;
    escaped.replace(QLatin1Char('\''), QLatin1String("''"));
    return escaped;
}

QString QuoteSqlString(const QString& text)
{
    return QLatin1Char('\'') + EscapeSqlQuotes(text) + QLatin1Char('\'');
}

QString QuoteOptionalSqlString(const QString& text)
{
    if (text == QLatin1String("NULL"))
        return text;
    return QuoteSqlString(text);
}

QString FormatDateText(const QDateTime& time)
{
    const QDate d = time.date();
    const QTime t = time.time();
    // "YYYY-MM-DD HH:MM:SS", written by hand: this runs once or twice per catalogued file.
    QString text(19, Qt::Uninitialized);
    QChar* out = text.data();
    AppendTwoDigits(out, d.year() / 100);
    AppendTwoDigits(out, d.year());
    *out++ = QLatin1Char('-');
    AppendTwoDigits(out, d.month());
    *out++ = QLatin1Char('-');
    AppendTwoDigits(out, d.day());
    *out++ = QLatin1Char(' ');
    AppendTwoDigits(out, t.hour());
    *out++ = QLatin1Char(':');
    AppendTwoDigits(out, t.minute());
    *out++ = QLatin1Char(':');
    AppendTwoDigits(out, t.second());
    return text;
}

QString FormatSqlDate(const QDateTime& time)
{
    return QLatin1Char('\'') + FormatDateText(time) + QLatin1Char('\'');
}

void AppendQuotedUtf8(std::string& out, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    out += '\'';
    // A quote is one byte in UTF-8 and never part of a longer sequence.
    const char* begin = bytes.constData();
    const char* const end = begin + bytes.size();
    for (const char* quote; (quote = std::find(begin, end, '\'')) != end; begin = quote + 1)
        out.append(begin, static_cast<size_t>(quote + 1 - begin)).push_back('\'');
    out.append(begin, static_cast<size_t>(end - begin));
    out += '\'';
}

void AppendBlobLiteral(std::string& out, const QByteArray& bytes)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    out += "X'";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        out += kDigits[value >> 4];
        out += kDigits[value & 0x0F];
    }
    out += '\'';
}

bool AppendDateLiteral(std::string& out, qint64 wallClockMsecs)
{
    constexpr qint64 kMsecsPerDay = 86400000;
    // Days from 1970-01-01 to 0001-01-01 and to 10000-01-01 (proleptic Gregorian).
    constexpr qint64 kFirstDay = -719162;
    constexpr qint64 kEndDay = 2932897;
    const qint64 day = wallClockMsecs >= 0 ? wallClockMsecs / kMsecsPerDay
                                           : -((-wallClockMsecs - 1) / kMsecsPerDay) - 1;
    if (day < kFirstDay || day >= kEndDay)
        return false;
    const qint64 secondOfDay = (wallClockMsecs - day * kMsecsPerDay) / 1000;

    // The civil date of a day count, from March-based eras of 400 years.
    const qint64 z = day + 719468;
    const qint64 era = z / 146097; // z is positive in the years accepted above
    const qint64 dayOfEra = z - era * 146097;
    const qint64 yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const qint64 dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const qint64 monthIndex = (5 * dayOfYear + 2) / 153;
    const int dayOfMonth = static_cast<int>(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    const int month = static_cast<int>(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    const int year = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));

    char text[22];
    const auto two = [&text](int at, int value) {
        text[at] = static_cast<char>('0' + value / 10 % 10);
        text[at + 1] = static_cast<char>('0' + value % 10);
    };
    text[0] = '\'';
    two(1, year / 100);
    two(3, year);
    text[5] = '-';
    two(6, month);
    text[8] = '-';
    two(9, dayOfMonth);
    text[11] = ' ';
    two(12, static_cast<int>(secondOfDay / 3600));
    text[14] = ':';
    two(15, static_cast<int>(secondOfDay / 60 % 60));
    text[17] = ':';
    two(18, static_cast<int>(secondOfDay % 60));
    text[20] = '\'';
    out.append(text, 21);
    return true;
}

std::string ToUtf8(const QString& wide)
{
    const QByteArray bytes = wide.toUtf8();
    return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

QString FromUtf8(const char* narrow)
{
    return narrow ? QString::fromUtf8(narrow) : QString();
}

} // namespace SqlText
