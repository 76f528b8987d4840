#include "media/Thumbnailer.h"

#include "media/PictureDetails.h"
#include "media/PngEncoder.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QRegularExpression>
#include <QSet>
#include <QTransform>

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// A picture file this small that fits already is kept as it is.
constexpr qint64 kMaxKeptFileBytes = 16 * 1024;
// How far the Exif thumbnail's aspect may be from the picture's (a camera that pads a
// wide picture's thumbnail with black bars to 4:3 gives a thumbnail of another shape).
constexpr double kAspectTolerance = 0.03;

// The formats whose files may carry an Exif thumbnail that Exiv2 finds.
bool MayHaveExifThumbnail(const QString& path)
{
    static const QSet<QString> suffixes = {QStringLiteral("jpg"),  QStringLiteral("jpeg"),
                                           QStringLiteral("jpe"),  QStringLiteral("tif"),
                                           QStringLiteral("tiff"), QStringLiteral("dng"),
                                           QStringLiteral("nef"),  QStringLiteral("cr2")};
    return suffixes.contains(QFileInfo(path).suffix().toLower());
}

struct ExifThumbnail
{
    QByteArray jpeg;
    int orientation = 1;
};

// The JPEG thumbnail of the Exif data and the picture's orientation tag.
ExifThumbnail ReadExifThumbnail(const QString& path)
{
    ExifThumbnail found;
    PictureDetails::InitialiseLibraries();
    try {
        const auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
        if (!image.get())
            return found;
        image->readMetadata();
        const Exiv2::ExifData& exif = image->exifData();
        if (exif.empty())
            return found;
        const auto orientation = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
        if (orientation != exif.end() && orientation->count() > 0)
            found.orientation = static_cast<int>(orientation->toLong());
        const Exiv2::ExifThumbC thumbnail(exif);
        if (std::strcmp(thumbnail.mimeType(), "image/jpeg") != 0)
            return found;
        const Exiv2::DataBuf data = thumbnail.copy();
        if (data.pData_ && data.size_ > 0)
            found.jpeg = QByteArray(reinterpret_cast<const char*>(data.pData_),
                                    static_cast<qsizetype>(data.size_));
    } catch (const std::exception&) {
        // Damaged metadata: the picture itself may still decode.
    }
    return found;
}

// The image as the Exif orientation tag says it is to be shown.
QImage Oriented(const QImage& image, int orientation)
{
    switch (orientation) {
    case 2:
        return image.mirrored(true, false);
    case 3:
        return image.mirrored(true, true);
    case 4:
        return image.mirrored(false, true);
    case 5:
        return image.transformed(QTransform().rotate(90)).mirrored(true, false);
    case 6:
        return image.transformed(QTransform().rotate(90));
    case 7:
        return image.transformed(QTransform().rotate(-90)).mirrored(true, false);
    case 8:
        return image.transformed(QTransform().rotate(-90));
    default:
        return image;
    }
}

bool IsPngBytes(const QByteArray& bytes)
{
    return bytes.startsWith("\x89PNG");
}

bool SameAspect(const QSize& a, const QSize& b)
{
    if (a.isEmpty() || b.isEmpty())
        return true; // nothing to compare with: trust the thumbnail
    const double ratioA = static_cast<double>(a.width()) / a.height();
    const double ratioB = static_cast<double>(b.width()) / b.height();
    return std::abs(ratioA - ratioB) <= kAspectTolerance * std::max(ratioA, ratioB);
}

bool HasTransparentPixels(const QImage& image)
{
    if (!image.hasAlphaChannel())
        return false;
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < argb.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
        for (int x = 0; x < argb.width(); ++x) {
            if (qAlpha(line[x]) < 255)
                return true;
        }
    }
    return false;
}

QByteArray Encode(const QImage& image, const char* format, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, format, quality))
        return {};
    return bytes;
}

// The Exif thumbnail as it is kept: its own bytes when it fits and needs no turning,
// else decoded, turned and scaled down. Empty when it is not of the picture's shape or
// does not decode.
ThumbnailRecord FromExif(const ExifThumbnail& exif, const QSize& pictureSize)
{
    QBuffer buffer;
    buffer.setData(exif.jpeg);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "jpeg");
    const QSize size = reader.size();
    if (!size.isValid() || !SameAspect(size, pictureSize))
        return {};
    if (exif.orientation == 1 && Thumbnailer::FitSize(size) == size) {
        ThumbnailRecord kept;
        kept.Width = size.width();
        kept.Height = size.height();
        kept.Image = exif.jpeg;
        return kept;
    }
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    return Thumbnailer::FromImage(Oriented(image, exif.orientation));
}

// Whether the drawing may be rendered here. Qt draws an SVG's text with the fonts of the
// GUI application, and aborts the program when there is none (the command line is a
// QCoreApplication): a drawing with text is then left without a thumbnail. A compressed
// drawing cannot be looked into cheaply and is left too.
bool MayRenderSvg(const QString& path, const QByteArray& format)
{
    if (format != "svg" && format != "svgz")
        return true;
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return true;
    if (format == "svgz")
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    static const QRegularExpression textElement(
        QStringLiteral(
            "<\\s*([A-Za-z_][\\w.-]*:)?(text|tspan|textPath|textArea|font|font-face)\\b"),
        QRegularExpression::CaseInsensitiveOption);
    return !textElement.match(QString::fromUtf8(file.readAll())).hasMatch();
}

// Whether the reader decodes this format at a reduced size itself: JPEG at 1/2, 1/4 or
// 1/8 of its size, a drawing at any size. Others (PNG, GIF...) decode whole and are
// scaled down after.
bool ScalesWhileDecoding(const QByteArray& format)
{
    return format == "jpeg" || format == "svg" || format == "svgz";
}

// A small PNG or JPEG that fits and is shown as it is, kept as its own bytes: decoding
// and encoding it again would cost time and seldom make it smaller. Only its header is
// read; a damaged one shows as the file's icon where thumbnails are shown.
ThumbnailRecord KeptAsItIs(QImageReader& reader, const QString& path, const QSize& size)
{
    const QByteArray format = reader.format();
    if ((format != "png" && format != "jpeg") || !size.isValid() ||
        Thumbnailer::FitSize(size) != size ||
        reader.transformation() != QImageIOHandler::TransformationNone)
        return {};
    QFile file(path);
    if (file.size() > kMaxKeptFileBytes || !file.open(QIODevice::ReadOnly))
        return {};
    ThumbnailRecord kept;
    kept.Width = size.width();
    kept.Height = size.height();
    kept.Image = file.readAll();
    if (kept.Image.size() != file.size())
        return {};
    return kept;
}

// The picture decoded at the thumbnail's size (turned as its Exif data says).
ThumbnailRecord FromPicture(const QString& path)
{
    QImageReader reader(path);
    if (!MayRenderSvg(path, reader.format()))
        return {};
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    ThumbnailRecord kept = KeptAsItIs(reader, path, size);
    if (!kept.IsEmpty())
        return kept;
    if (size.isValid() && Thumbnailer::FitSize(size) != size &&
        ScalesWhileDecoding(reader.format()))
        reader.setScaledSize(Thumbnailer::FitSize(size));
    return Thumbnailer::FromImage(reader.read());
}

} // namespace

namespace Thumbnailer {

QSize FitSize(const QSize& source)
{
    if (source.isEmpty() || (source.width() <= kMaxSide && source.height() <= kMaxSide))
        return source;
    return source.scaled(kMaxSide, kMaxSide, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

ThumbnailRecord Make(const QString& path)
{
    try {
        if (MayHaveExifThumbnail(path)) {
            const ExifThumbnail exif = ReadExifThumbnail(path);
            if (!exif.jpeg.isEmpty()) {
                ThumbnailRecord thumbnail = FromExif(exif, QImageReader(path).size());
                if (!thumbnail.IsEmpty())
                    return thumbnail;
            }
        }
        return FromPicture(path);
    } catch (...) {
        // A decoder that throws (out of memory on a huge picture) leaves no thumbnail.
        return {};
    }
}

ThumbnailRecord FromImage(const QImage& image)
{
    if (image.isNull())
        return {};
    const QSize fit = FitSize(image.size());
    // A picture many times the size is first halved roughly, down to twice the size,
    // which costs little, and only then scaled smoothly.
    QImage scaled = image;
    if (fit != image.size()) {
        if (image.width() > 4 * fit.width() && image.height() > 4 * fit.height())
            scaled = scaled.scaled(fit * 2, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        scaled = scaled.scaled(fit, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    ThumbnailRecord thumbnail;
    thumbnail.Width = scaled.width();
    thumbnail.Height = scaled.height();
    if (HasTransparentPixels(scaled))
        thumbnail.Image = PngEncoder::Encode(scaled);
    else
        thumbnail.Image =
            Encode(scaled.convertToFormat(QImage::Format_RGB888), "JPEG", kJpegQuality);
    if (thumbnail.Image.isEmpty())
        return {};
    return thumbnail;
}

QImage Decode(const ThumbnailRecord& thumbnail)
{
    return QImage::fromData(thumbnail.Image);
}

QString TooltipHtml(const QString& name, const ThumbnailRecord& thumbnail)
{
    if (thumbnail.IsEmpty())
        return name;
    const char* type = IsPngBytes(thumbnail.Image) ? "image/png" : "image/jpeg";
    return QStringLiteral("<p style=\"white-space:pre\">%1</p><img src=\"data:%2;base64,%3\" "
                          "width=\"%4\" height=\"%5\">")
        .arg(name.toHtmlEscaped(), QLatin1String(type),
             QString::fromLatin1(thumbnail.Image.toBase64()))
        .arg(thumbnail.Width)
        .arg(thumbnail.Height);
}

bool WritePng(const ThumbnailRecord& thumbnail, const QString& path, QString& error)
{
    const QImage image = Decode(thumbnail);
    if (image.isNull()) {
        error = QStringLiteral("the stored image is damaged");
        return false;
    }
    QImageWriter writer(path, "png");
    if (writer.write(image))
        return true;
    error = writer.errorString();
    return false;
}

} // namespace Thumbnailer
