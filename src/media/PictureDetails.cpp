#include "media/PictureDetails.h"

#include "media/Exiv2MediaIo.h"
#include "media/MediaFile.h"
#include "media/MediaFileDevice.h"
#include "media/PictureHeader.h"
#include "media/SvgRootSize.h"

#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QPixelFormat>

#include <exiv2/exiv2.hpp>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <mutex>
#include <optional>
#include <string>

namespace {

constexpr double kCentimetresPerInch = 2.54;
constexpr double kMetresPerInch = 0.0254;

// Exif ResolutionUnit values; an absent unit means inches.
constexpr long kExifUnitNone = 1;
constexpr long kExifUnitCentimetre = 3;

// Marks a resolution the JPEG reader did not set (no real image has one dot per metre).
constexpr int kUnsetDotsPerMetre = 1;

// Rounded to a whole number; NULL unless that is at least 1.
CNullable<int> PositiveRounded(double value)
{
    if (!(value >= 0.5) || value > std::numeric_limits<int>::max())
        return {};
    return static_cast<int>(std::lround(value));
}

const Exiv2::Exifdatum* FindExif(const Exiv2::ExifData& exif, const char* key)
{
    const auto found = exif.findKey(Exiv2::ExifKey(key));
    if (found == exif.end() || found->count() == 0)
        return nullptr;
    return &*found;
}

// Exif X/YResolution in dots per inch, from dots per ResolutionUnit.
void ReadExifResolution(const Exiv2::ExifData& exif, PictureInfo& picture)
{
    long unit = 2;
    if (const Exiv2::Exifdatum* unitTag = FindExif(exif, "Exif.Image.ResolutionUnit"))
        unit = unitTag->toLong();
    if (unit == kExifUnitNone)
        return;
    const double scale = unit == kExifUnitCentimetre ? kCentimetresPerInch : 1.0;
    const auto dpi = [&](const char* key) -> CNullable<int> {
        const Exiv2::Exifdatum* tag = FindExif(exif, key);
        if (!tag)
            return {};
        const Exiv2::Rational ratio = tag->toRational();
        if (ratio.second == 0)
            return {};
        return PositiveRounded(scale * ratio.first / ratio.second);
    };
    picture.HorizontalResolution = dpi("Exif.Image.XResolution");
    picture.VerticalResolution = dpi("Exif.Image.YResolution");
}

// Bits per pixel from the Exif samples: "8 8 8" is 24; a single "8" counts once per
// sample.
CNullable<int> ExifColourDepth(const Exiv2::ExifData& exif)
{
    const Exiv2::Exifdatum* bits = FindExif(exif, "Exif.Image.BitsPerSample");
    if (!bits)
        return {};
    long total = 0;
    for (long i = 0; i < bits->count(); ++i)
        total += bits->toLong(i);
    if (bits->count() == 1) {
        if (const Exiv2::Exifdatum* samples = FindExif(exif, "Exif.Image.SamplesPerPixel"))
            total *= samples->toLong();
    }
    return PositiveRounded(static_cast<double>(total));
}

// The bits a pixel of this format carries: padding and an alpha channel that the
// format ignores do not count, so RGB32 is 24 bits and ARGB32 32.
CNullable<int> FormatColourDepth(QImage::Format format)
{
    if (format == QImage::Format_Invalid)
        return {};
    const QPixelFormat pixel = QImage::toPixelFormat(format);
    switch (pixel.colorModel()) {
    case QPixelFormat::RGB:
    case QPixelFormat::BGR: {
        int bits = pixel.redSize() + pixel.greenSize() + pixel.blueSize();
        if (pixel.alphaUsage() == QPixelFormat::UsesAlpha)
            bits += pixel.alphaSize();
        return PositiveRounded(bits);
    }
    default:
        return PositiveRounded(pixel.bitsPerPixel());
    }
}

// The JFIF density of a JPEG. Qt's JPEG reader sets it on the image it decodes into and
// leaves the image alone when the file has none; decoding a one-pixel clip into an image
// of that size and format, marked with an impossible resolution, tells the two apart.
// When the reader allocates an image of its own instead, nothing is concluded.
void ReadJpegDensity(QImageReader& reader, QImage::Format format, PictureInfo& picture)
{
    if (format == QImage::Format_Invalid || !reader.supportsOption(QImageIOHandler::ClipRect))
        return;
    QImage image(1, 1, format);
    if (image.isNull())
        return;
    image.setDotsPerMeterX(kUnsetDotsPerMetre);
    image.setDotsPerMeterY(kUnsetDotsPerMetre);
    const uchar* const pixels = image.constBits();
    reader.setClipRect(QRect(0, 0, 1, 1));
    if (!reader.read(&image) || image.constBits() != pixels)
        return;
    if (image.dotsPerMeterX() != kUnsetDotsPerMetre)
        picture.HorizontalResolution = PositiveRounded(image.dotsPerMeterX() * kMetresPerInch);
    if (image.dotsPerMeterY() != kUnsetDotsPerMetre)
        picture.VerticalResolution = PositiveRounded(image.dotsPerMeterY() * kMetresPerInch);
}

// The JFIF density of a JPEG read from its APP0 segment, converted as Qt's JPEG reader
// converts it into the image's dots per metre (truncated), and from there to dots per
// inch like the decoding path above: the same values without decoding any pixels, which
// for a progressive JPEG would mean the whole image held in memory.
void ReadJfifDensity(MediaFile& file, PictureInfo& picture)
{
    const QByteArray head = file.Head(64 * 1024);
    const auto byte = [&head](qsizetype at) { return static_cast<quint8>(head.at(at)); };
    if (head.size() < 4 || byte(0) != 0xFF || byte(1) != 0xD8)
        return;
    qsizetype at = 2;
    // The segments before the first frame or scan header; JFIF comes first when present.
    while (at + 4 <= head.size() && byte(at) == 0xFF) {
        const quint8 marker = byte(at + 1);
        if (marker == 0xFF) {
            ++at; // fill byte
            continue;
        }
        if (marker == 0xDA || (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 &&
                               marker != 0xC8 && marker != 0xCC))
            return;
        const qsizetype length = (byte(at + 2) << 8) | byte(at + 3);
        if (marker == 0xE0 && length >= 14 && at + 2 + length <= head.size() &&
            head.mid(at + 4, 5) == QByteArray("JFIF\0", 5)) {
            const int unit = byte(at + 11);
            const int x = (byte(at + 12) << 8) | byte(at + 13);
            const int y = (byte(at + 14) << 8) | byte(at + 15);
            const auto dotsPerMetre = [unit](int density) {
                return unit == 1 ? static_cast<int>(100.0 * density / kCentimetresPerInch)
                                 : static_cast<int>(100.0 * density);
            };
            if (unit == 1 || unit == 2) {
                picture.HorizontalResolution = PositiveRounded(dotsPerMetre(x) * kMetresPerInch);
                picture.VerticalResolution = PositiveRounded(dotsPerMetre(y) * kMetresPerInch);
            }
            return;
        }
        at += 2 + length;
    }
}

// Whether Exiv2 would read no more than the size from a WebP file: a RIFF WebP without an
// EXIF chunk, when Qt has its WebP reader. Exiv2 reads every chunk whole, the image
// data included (megabytes for a wallpaper), while Qt's reader takes the same size from
// the first bytes.
bool IsWebPWithoutExif(MediaFile& file)
{
    static const bool qtReadsWebP = QImageReader::supportedImageFormats().contains("webp");
    char header[12];
    if (!qtReadsWebP)
        return false;
    if (file.Read(0, header, 12) != 12 || std::memcmp(header, "RIFF", 4) != 0 ||
        std::memcmp(header + 8, "WEBP", 4) != 0)
        return false;
    const auto little = [](const char* bytes) {
        return static_cast<qint64>(static_cast<quint8>(bytes[0])) |
               (static_cast<qint64>(static_cast<quint8>(bytes[1])) << 8) |
               (static_cast<qint64>(static_cast<quint8>(bytes[2])) << 16) |
               (static_cast<qint64>(static_cast<quint8>(bytes[3])) << 24);
    };
    qint64 at = 12;
    for (int chunks = 0; chunks < 64; ++chunks) {
        char chunk[8];
        const qint64 got = file.Read(at, chunk, 8);
        if (got == 0)
            return true; // every chunk seen
        if (got != 8)
            return false;
        if (std::memcmp(chunk, "EXIF", 4) == 0)
            return false;
        const qint64 length = little(chunk + 4);
        at += 8 + length + (length & 1);
    }
    return false;
}

// What Exiv2 found: the size, 0 when it does not know it, and the Exif colour depth.
struct ExifFacts
{
    int width = 0;
    int height = 0;
    CNullable<int> depth;
};

// Fills facts as far as Exiv2 gets before it gives up, if it does.
void ReadExif(Exiv2::Image& image, ExifFacts& facts, PictureInfo& picture)
{
    image.readMetadata();
    facts.width = image.pixelWidth();
    facts.height = image.pixelHeight();
    ReadExifResolution(image.exifData(), picture);
    facts.depth = ExifColourDepth(image.exifData());
}

// The size Exiv2 did not give, the colour depth and the JFIF density, from Qt's reader
// of the same file. svgSize, when given, may answer for an SVG without the whole parse;
// file, when given, the JFIF density without decoding.
bool ReadWithQt(QImageReader& reader, const ExifFacts& exif,
                const std::function<std::optional<QSize>()>& svgSize, MediaFile* file,
                const PictureHeader::Facts& header, PictureInfo& picture)
{
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(false);
    int width = exif.width;
    int height = exif.height;
    if (width <= 0 || height <= 0) {
        std::optional<QSize> size;
        if (svgSize && reader.format() == "svg")
            size = svgSize();
        if (!size)
            size = reader.size();
        width = size->width();
        height = size->height();
    }
    if (width <= 0 || height <= 0)
        return false;
    picture.Width = width;
    picture.Height = height;

    // The depth the file stores before the one Qt would decode into, which widens grey
    // with alpha to 32 bits and has no answer for GIF or WebP before decoding.
    const QImage::Format format = reader.imageFormat();
    picture.ColorDepth = header.colorDepth;
    if (picture.ColorDepth.IsNull())
        picture.ColorDepth = FormatColourDepth(format);
    if (picture.ColorDepth.IsNull())
        picture.ColorDepth = exif.depth;
    if (picture.HorizontalResolution.IsNull() && picture.VerticalResolution.IsNull()) {
        picture.HorizontalResolution = header.horizontalResolution;
        picture.VerticalResolution = header.verticalResolution;
    }
    if (picture.HorizontalResolution.IsNull() && picture.VerticalResolution.IsNull() &&
        reader.format() == "jpeg") {
        if (file)
            ReadJfifDensity(*file, picture);
        else
            ReadJpegDensity(reader, format, picture);
    }
    return true;
}

// Serialises the XMP toolkit's registration of namespaces met in files, which readers on
// several threads may do at once.
void LockXmpToolkit(void* mutex, bool lock)
{
    auto* const guard = static_cast<std::recursive_mutex*>(mutex);
    if (lock)
        guard->lock();
    else
        guard->unlock();
}

} // namespace

namespace PictureDetails {

void InitialiseLibraries()
{
    static std::once_flag once;
    std::call_once(once, [] {
        // XMP parsing sets up a toolkit that is not safe to set up from two threads at
        // once.
        static std::recursive_mutex xmpMutex;
        Exiv2::XmpParser::initialize(LockXmpToolkit, &xmpMutex);
        // Damaged metadata is common in collections; Exiv2 would write a warning for
        // each.
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    });
}

bool Read(MediaFile& file, PictureInfo& picture)
{
    ExifFacts exif;
    try {
        // The image owns its source and ends it; the file itself stays open.
        if (!IsWebPWithoutExif(file)) {
            // Exiv2 0.27 takes its sources as std::auto_ptr.
            Exiv2::BasicIo::AutoPtr source(new Exiv2MediaIo(file)); // NOLINT(*-deprecated-*)
            const auto image = Exiv2::ImageFactory::open(source);
            if (image.get())
                ReadExif(*image, exif, picture);
        }
    } catch (const std::exception&) {
        // Not a format Exiv2 knows, or metadata it cannot parse: Qt may still read
        // the header.
    }

    MediaFileDevice device(file);
    device.open(QIODevice::ReadOnly);
    QImageReader reader(&device);
    const auto svgSize = [&file]() -> std::optional<QSize> {
        MediaFileDevice svg(file);
        if (!svg.open(QIODevice::ReadOnly))
            return {};
        return SvgRootSize::Read(svg);
    };
    const PictureHeader::Facts header =
        PictureHeader::Read([&file](qint64 offset, char* data, qint64 length) {
            return file.Read(offset, data, length);
        });
    return ReadWithQt(reader, exif, svgSize, &file, header, picture);
}

bool ReadByName(const QString& path, PictureInfo& picture)
{
    ExifFacts exif;
    try {
        const auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
        if (image.get())
            ReadExif(*image, exif, picture);
    } catch (const std::exception&) {
    }
    PictureHeader::Facts header;
    QFile headerFile(path);
    if (headerFile.open(QIODevice::ReadOnly)) {
        header = PictureHeader::Read([&headerFile](qint64 offset, char* data, qint64 length) {
            return headerFile.seek(offset) ? headerFile.read(data, length) : qint64(0);
        });
        headerFile.close();
    }
    QImageReader reader(path);
    return ReadWithQt(reader, exif, {}, nullptr, header, picture);
}

} // namespace PictureDetails
