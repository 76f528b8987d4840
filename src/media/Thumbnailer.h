#pragma once

#include "sqlitewrapper/ThumbnailRecord.h"

#include <QSize>
#include <QString>

class QImage;

// A picture's thumbnail: an image fitting kMaxSide x kMaxSide, aspect kept, never larger
// than the picture. It is taken from the Exif thumbnail a camera stores beside the
// picture where there is one of the picture's shape (kept as it is when it already
// fits, scaled down otherwise); else the picture is decoded at a reduced size (a JPEG at
// 1/2, 1/4 or 1/8 of its size by its decoder; an SVG drawn at the size asked).
//
// Stored as JPEG at a moderate quality, or as PNG when the image has transparent
// pixels; a small PNG or JPEG picture that fits already is kept as its own bytes.
// Everything here runs on any thread and draws on no window.
namespace Thumbnailer {

constexpr int kMaxSide = 160;
constexpr int kJpegQuality = 75;

/// The size within kMaxSide x kMaxSide with the aspect of source (each side at least 1);
/// source itself when it fits already.
QSize FitSize(const QSize& source);

/// The thumbnail of the picture at path; empty when it cannot be read as a picture.
/// Never throws.
ThumbnailRecord Make(const QString& path);

/// The image scaled down to fit (if it does not) and encoded as the catalogue keeps it.
ThumbnailRecord FromImage(const QImage& image);

/// The stored bytes as an image; a null image when they are not a picture.
QImage Decode(const ThumbnailRecord& thumbnail);

/// Rich text for a tooltip: the name (escaped) above the image, carried in a data: URL.
/// Just the name when there is no thumbnail.
QString TooltipHtml(const QString& name, const ThumbnailRecord& thumbnail);

/// Writes the thumbnail to path as a PNG file; false, with the reason in error, when the
/// bytes are not a picture or the file cannot be written.
bool WritePng(const ThumbnailRecord& thumbnail, const QString& path, QString& error);

} // namespace Thumbnailer
