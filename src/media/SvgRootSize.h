#pragma once

#include <QSize>

#include <optional>

class QIODevice;

/// The size Qt's SVG image reader gives a document, found from the root element alone
/// instead of building the whole drawing, which for a detailed SVG costs ten times more.
///
/// Qt's reader takes the width and height of the root <svg> element (mm, cm and in
/// converted at 90 dpi, pt taken as pixels, fractions cut off) and, where one of them
/// is missing or below one pixel, the rounded size of the viewBox. It gives no size at
/// all when the XML is not well formed up to the root's end tag or nests too deep.
/// Only the forms whose result is certain are answered here: plain decimal lengths with
/// those units, a viewBox of four plain numbers, and a document that parses to its end
/// with no element Qt might reject it for (a <use> or <pattern> that may reference
/// itself, a nested <svg>, an element inside <style>). For anything else, such as
/// percentages, font-relative units or exponents, the answer is nullopt: ask Qt.
namespace SvgRootSize {

/// Reads the device, open and at the start of the document, to the end of the root
/// element.
std::optional<QSize> Read(QIODevice& device);

} // namespace SvgRootSize
