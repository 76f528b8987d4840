#pragma once

#include <QByteArray>

class QImage;

// Writes a small image (a thumbnail) as the bytes of a PNG file, quickly: 8-bit RGBA,
// every row filtered by its left neighbour ("Sub") and compressed by zlib at its
// fastest level. Qt's PNG writer tries every filter on every row, which makes a
// thumbnail's encoding cost about three times as much and its file no smaller.
namespace PngEncoder {

/// The image (any format; turned into non-premultiplied RGBA) as a PNG file; empty for
/// a null image or when compression fails.
QByteArray Encode(const QImage& image);

} // namespace PngEncoder
