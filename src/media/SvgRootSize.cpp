#include "media/SvgRootSize.h"

#include <QStringView>
#include <QXmlStreamReader>

#include <cmath>

namespace {

// Qt's reader refuses documents with more than 2048 elements open at once; staying
// well below keeps this side of any such limit.
constexpr int kDepthLimit = 1024;
// More digits than this and the rounding of the text to a double could matter.
constexpr int kMaximumDigits = 6;

// A run of 1 to kMaximumDigits decimal digits at text[i]; i is moved past it.
bool Digits(QStringView text, qsizetype& i, double& value, double& scale)
{
    const qsizetype start = i;
    while (i < text.size() && text[i].isDigit() && text[i].unicode() < 128) {
        value = value * 10 + (text[i].unicode() - '0');
        scale *= 10;
        ++i;
    }
    return i > start && i - start <= kMaximumDigits;
}

// "12", "12.5": a non-negative number with at most kMaximumDigits digits on each side of
// the point. fraction tells whether it has a fractional part.
bool PlainNumber(QStringView text, qsizetype& i, double& value, bool& fraction)
{
    double whole = 0;
    double unused = 1;
    if (!Digits(text, i, whole, unused))
        return false;
    value = whole;
    fraction = false;
    if (i < text.size() && text[i] == u'.') {
        ++i;
        double part = 0;
        double scale = 1;
        if (!Digits(text, i, part, scale))
            return false;
        value = whole + part / scale;
        fraction = true;
    }
    return true;
}

// A width or height in pixels as Qt's reader counts it (the whole part), or nullopt
// when the form is not one answered here. An empty text is absent: 0.
std::optional<int> Length(QStringView text)
{
    if (text.isEmpty())
        return 0;
    qsizetype i = 0;
    double value = 0;
    bool fraction = false;
    if (!PlainNumber(text, i, value, fraction))
        return std::nullopt;
    const QStringView unit = text.mid(i);
    if (unit.isEmpty() || unit == u"px" || unit == u"pt")
        return static_cast<int>(value);
    // Physical units are multiplied out as Qt does; a whole number of them only, so
    // that the product is computed from exactly the same double.
    if (fraction)
        return std::nullopt;
    if (unit == u"mm")
        return static_cast<int>(value * 3.543307);
    if (unit == u"cm")
        return static_cast<int>(value * 35.43307);
    if (unit == u"in")
        return static_cast<int>(value * 90);
    return std::nullopt;
}

bool IsSeparator(QChar c)
{
    return c == u' ' || c == u',' || c == u'\t' || c == u'\r' || c == u'\n';
}

// The rounded width and height of a viewBox of four plain numbers, both positive.
std::optional<QSize> ViewBoxSize(QStringView text)
{
    double numbers[4] = {};
    qsizetype i = 0;
    for (double& number : numbers) {
        while (i < text.size() && IsSeparator(text[i]))
            ++i;
        const bool negative = i < text.size() && text[i] == u'-';
        if (negative)
            ++i;
        bool fraction = false;
        if (!PlainNumber(text, i, number, fraction))
            return std::nullopt;
        if (negative)
            number = -number;
        if (i < text.size() && !IsSeparator(text[i]))
            return std::nullopt;
    }
    while (i < text.size() && IsSeparator(text[i]))
        ++i;
    if (i != text.size() || !(numbers[2] > 0) || !(numbers[3] > 0))
        return std::nullopt;
    // Rounded as Qt rounds them (half up for a positive number).
    return QSize(qRound(numbers[2]), qRound(numbers[3]));
}

std::optional<QSize> RootSize(const QXmlStreamAttributes& attributes)
{
    const std::optional<int> width = Length(attributes.value(QLatin1String("width")));
    const std::optional<int> height = Length(attributes.value(QLatin1String("height")));
    if (!width || !height)
        return std::nullopt;
    if (*width >= 1 && *height >= 1)
        return QSize(*width, *height);
    const QStringView viewBox = attributes.value(QLatin1String("viewBox"));
    if (viewBox.isEmpty())
        return std::nullopt; // Qt would measure the drawing itself
    return ViewBoxSize(viewBox);
}

QStringView LocalName(QStringView qualified)
{
    const qsizetype colon = qualified.lastIndexOf(u':');
    return colon < 0 ? qualified : qualified.mid(colon + 1);
}

bool MayMakeQtRefuse(QStringView name)
{
    return name == u"use" || name == u"pattern" || name == u"svg";
}

} // namespace

namespace SvgRootSize {

std::optional<QSize> Read(QIODevice& device)
{
    QXmlStreamReader xml(&device);
    // As Qt's SVG reader parses: prefixes are kept as written, not resolved.
    xml.setNamespaceProcessing(false);
    while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::StartElement) {
    }
    if (xml.tokenType() != QXmlStreamReader::StartElement || xml.qualifiedName() != u"svg")
        return std::nullopt;
    const std::optional<QSize> size = RootSize(xml.attributes());
    if (!size)
        return std::nullopt;

    int depth = 1;
    int styleDepth = 0; // the depth of the open <style>, 0 outside one
    while (depth > 0) {
        if (xml.atEnd())
            return std::nullopt;
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement: {
            const QStringView name = LocalName(xml.qualifiedName());
            if (styleDepth > 0 || ++depth > kDepthLimit || MayMakeQtRefuse(name))
                return std::nullopt;
            if (name == u"style")
                styleDepth = depth;
            break;
        }
        case QXmlStreamReader::EndElement:
            if (depth == styleDepth)
                styleDepth = 0;
            --depth;
            break;
        case QXmlStreamReader::Invalid:
            return std::nullopt;
        default:
            break;
        }
    }
    return size;
}

} // namespace SvgRootSize
