#include "listers/FolderLister.h"

#include <QChar>

namespace {

// The upper case of one UTF-16 unit, one unit to one unit as NTFS's case table maps
// them: ASCII by arithmetic (most names are ASCII), the rest by Unicode's simple mapping.
// A unit whose upper case needs two units, and each half of a surrogate pair, stays as
// it is.
char16_t UpperUnit(char16_t unit)
{
    if (unit < 0x80)
        return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - (u'a' - u'A')) : unit;
    if (QChar::isSurrogate(unit))
        return unit;
    const char32_t upper = QChar::toUpper(static_cast<char32_t>(unit));
    return upper > 0xFFFF ? unit : static_cast<char16_t>(upper);
}

} // namespace

bool FolderLister::IgnoresCase(const QString& path)
{
    Q_UNUSED(path)
#ifdef _WIN32
    return true;
#else
    return false;
#endif
}

bool FolderLister::NameLess(const QString& a, const QString& b)
{
    const QChar* left = a.constData();
    const QChar* right = b.constData();
    const qsizetype common = qMin(a.size(), b.size());
    for (qsizetype i = 0; i < common; ++i) {
        const char16_t x = left[i].unicode();
        const char16_t y = right[i].unicode();
        if (x == y)
            continue;
        const char16_t upperX = UpperUnit(x);
        const char16_t upperY = UpperUnit(y);
        if (upperX != upperY)
            return upperX < upperY;
    }
    if (a.size() != b.size())
        return a.size() < b.size();
    // Names that differ only in case keep one fixed order: the binary one, capitals first.
    return a < b;
}
