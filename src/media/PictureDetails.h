#pragma once

#include "sqlitewrapper/Records.h"

#include <QString>

class MediaFile;

// The facts of a picture from its headers, without decoding it:
// - width and height: the image header, through Exiv2, or Qt's image reader for the
//   formats Exiv2 does not know;
// - resolution in DPI: the Exif resolution and its unit, through Exiv2; for a JPEG
//   without them, the JFIF density, which Qt's JPEG reader gives while decoding no
//   more than the first block of pixels; for PNG and BMP, the pHYs chunk or the pixels
//   per metre of the header (see PictureHeader);
// - colour depth in bits per pixel: what a PNG, BMP, GIF or WebP header stores (see
//   PictureHeader); for other formats the pixel format Qt's reader announces (24 for
//   RGB, 32 for RGB with alpha, 8 for grey or a palette), or the Exif bits per sample.
// Both libraries read through one open MediaFile. The size of an SVG comes from its root
// element where that gives what Qt's SVG reader would (see SvgRootSize), sparing the
// parse of the whole drawing.
namespace PictureDetails {

/// Process-wide set-up of Exiv2 (its XMP parser and its log), done by the first call;
/// every thread calls it before its first use of Exiv2 (LibraryMediaReader's constructor,
/// the thumbnailer).
void InitialiseLibraries();

/// False when neither library finds a picture of known size in the open file. May throw
/// when a library gives up on a damaged file.
bool Read(MediaFile& file, PictureInfo& picture);

/// The same facts with each library opening the file by its name and Qt's SVG reader
/// parsing the whole drawing: the plain way, kept to check and measure Read against.
bool ReadByName(const QString& path, PictureInfo& picture);

} // namespace PictureDetails
