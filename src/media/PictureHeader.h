#pragma once

#include "sqlitewrapper/Records.h"

#include <QtGlobal>

#include <functional>

// The colour depth and resolution that PNG, BMP, GIF and WebP files keep in their own
// headers, where neither Exiv2 nor Qt's readers (short of decoding the pixels) give them:
// - PNG: bits per sample times samples per pixel from IHDR (16 for grey with alpha, 48
//   for 16-bit RGB), the resolution from pHYs when its unit is the metre;
// - BMP: the stored bits per pixel and the pixels per metre of the info header;
// - GIF: the bits per pixel of the logical screen (the colour table size);
// - WebP: 24, or 32 when the file says it uses alpha.
// Only a few small reads at the start of the file (a PNG's chunks up to its image data).
namespace PictureHeader {

struct Facts
{
    CNullable<int> colorDepth;
    CNullable<int> horizontalResolution; ///< dots per inch
    CNullable<int> verticalResolution;   ///< dots per inch
};

/// Copies up to length bytes from offset: the number copied, fewer at the end of the
/// file, or -1 on a read error.
using ReadAt = std::function<qint64(qint64 offset, char* data, qint64 length)>;

/// The facts of a file of one of the four formats; all NULL for any other content or a
/// header cut short.
Facts Read(const ReadAt& read);

} // namespace PictureHeader
