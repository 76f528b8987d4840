#include "sqlitewrapper/SqlText.h"

#include <cstring>

namespace SqlText {

namespace {

// Length of the conversion specifier that starts at pattern[pos] (just after '%'),
// or 0 when the text there is no specifier this formatter knows.
int SpecifierLength(const QString& pattern, int pos)
{
    static const char* const specifiers[] = {"lld", "I64d", "lu", "s", "d", "c"};
    for (const char* spec : specifiers) {
        const int len = static_cast<int>(std::strlen(spec));
        if (pattern.mid(pos, len) == QLatin1String(spec))
            return len;
    }
    return 0;
}

} // namespace

QString Format(const QString& pattern, std::initializer_list<Arg> args)
{
    QString out;
    out.reserve(pattern.size() + 32);
    auto next = args.begin();
    const int size = static_cast<int>(pattern.size());
    for (int i = 0; i < size; ++i) {
        const QChar ch = pattern.at(i);
        if (ch != QLatin1Char('%') || i + 1 >= size) {
            out += ch;
            continue;
        }
        if (pattern.at(i + 1) == QLatin1Char('%')) {
            out += QLatin1Char('%');
            ++i;
            continue;
        }
        const int len = SpecifierLength(pattern, i + 1);
        if (len == 0 || next == args.end()) {
            out += ch;
            continue;
        }
        out += next->text();
        ++next;
        i += len;
    }
    return out;
}

QString Format(const char* pattern, std::initializer_list<Arg> args)
{
    return Format(QString::fromUtf8(pattern), args);
}

QString QuoteSqlString(const QString& text)
{
    if (text == QLatin1String("NULL"))
        return text;
    QString stripped = text;
    stripped.remove(QLatin1Char('"'));
    return QLatin1Char('"') + stripped + QLatin1Char('"');
}

QString FormatDateText(const QDateTime& time)
{
    const QDate d = time.date();
    const QTime t = time.time();
    return QString::asprintf("%04d-%02d-%02d %02d:%02d:%02d", d.year(), d.month(), d.day(),
                             t.hour(), t.minute(), t.second());
}

QString FormatSqlDate(const QDateTime& time)
{
    return QLatin1Char('"') + FormatDateText(time) + QLatin1Char('"');
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
