#include "media/PngEncoder.h"

#include <QImage>
#include <QtEndian>

#include <zlib.h>

#include <vector>

namespace {

constexpr char kSignature[] = "\x89PNG\r\n\x1a\n";
constexpr int kBitDepth = 8;
constexpr int kColourTypeRgba = 6;
constexpr uchar kFilterSub = 1;
constexpr int kBytesPerPixel = 4;
// zlib's window stays at its largest; a smaller hash table (memory level 5 of 9) is
// set up faster for an image of some tens of KB.
constexpr int kWindowBits = 15;
constexpr int kMemoryLevel = 5;

void AppendBigEndian(QByteArray& out, quint32 value)
{
    uchar bytes[4];
    qToBigEndian(value, bytes);
    out.append(reinterpret_cast<const char*>(bytes), 4);
}

// A chunk: its length, its type, its data, and the CRC of type and data.
void AppendChunk(QByteArray& png, const char* type, const uchar* data, size_t length)
{
    AppendBigEndian(png, static_cast<quint32>(length));
    const qsizetype typeAt = png.size();
    png.append(type, 4);
    if (length > 0)
        png.append(reinterpret_cast<const char*>(data), static_cast<qsizetype>(length));
    const uLong crc =
        crc32(crc32(0L, nullptr, 0), reinterpret_cast<const Bytef*>(png.constData() + typeAt),
              static_cast<uInt>(4 + length));
    AppendBigEndian(png, static_cast<quint32>(crc));
}

// The rows as PNG filters them, each led by its filter type: Sub stores each byte less
// the same byte of the pixel to its left.
std::vector<uchar> FilteredRows(const QImage& rgba)
{
    const size_t rowBytes = static_cast<size_t>(rgba.width()) * kBytesPerPixel;
    std::vector<uchar> rows((rowBytes + 1) * static_cast<size_t>(rgba.height()));
    uchar* out = rows.data();
    for (int y = 0; y < rgba.height(); ++y) {
        const uchar* line = rgba.constScanLine(y);
        *out++ = kFilterSub;
        for (size_t i = 0; i < rowBytes; ++i)
            *out++ =
                static_cast<uchar>(line[i] - (i >= kBytesPerPixel ? line[i - kBytesPerPixel] : 0));
    }
    return rows;
}

std::vector<uchar> Compressed(std::vector<uchar>& rows)
{
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, kWindowBits, kMemoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        return {};
    std::vector<uchar> out(deflateBound(&stream, static_cast<uLong>(rows.size())));
    stream.next_in = rows.data();
    stream.avail_in = static_cast<uInt>(rows.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const int result = deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END)
        return {};
    return out;
}

} // namespace

QByteArray PngEncoder::Encode(const QImage& image)
{
    if (image.isNull())
        return {};
    const QImage rgba = image.convertToFormat(QImage::Format_RGBA8888);
    std::vector<uchar> rows = FilteredRows(rgba);
    const std::vector<uchar> data = Compressed(rows);
    if (data.empty())
        return {};
    uchar header[13] = {};
    qToBigEndian(static_cast<quint32>(rgba.width()), header);
    qToBigEndian(static_cast<quint32>(rgba.height()), header + 4);
    header[8] = kBitDepth;
    header[9] = kColourTypeRgba;
    // header[10..12]: deflate, adaptive filtering, no interlace, all 0.
    QByteArray png(kSignature, sizeof kSignature - 1);
    png.reserve(static_cast<qsizetype>(data.size()) + 64);
    AppendChunk(png, "IHDR", header, sizeof header);
    AppendChunk(png, "IDAT", data.data(), data.size());
    AppendChunk(png, "IEND", nullptr, 0);
    return png;
}
