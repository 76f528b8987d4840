#include "media/PictureHeader.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using Facts = PictureHeader::Facts;
using ReadAt = PictureHeader::ReadAt;

constexpr double kMetresPerInch = 0.0254;
// A PNG keeps pHYs before its image data, usually among the first few chunks; a file that
// has not reached it after this many is not looked at further.
constexpr int kMostPngChunks = 64;

quint32 Big32(const unsigned char* bytes)
{
    return (quint32(bytes[0]) << 24) | (quint32(bytes[1]) << 16) | (quint32(bytes[2]) << 8) |
           quint32(bytes[3]);
}

quint32 Little32(const unsigned char* bytes)
{
    return quint32(bytes[0]) | (quint32(bytes[1]) << 8) | (quint32(bytes[2]) << 16) |
           (quint32(bytes[3]) << 24);
}

quint16 Little16(const unsigned char* bytes)
{
    return static_cast<quint16>(bytes[0] | (bytes[1] << 8));
}

bool ReadExactly(const ReadAt& read, qint64 offset, unsigned char* data, qint64 length)
{
    return read(offset, reinterpret_cast<char*>(data), length) == length;
}

CNullable<int> Positive(int value)
{
    if (value <= 0)
        return {};
    return value;
}

// Dots per metre as dots per inch, rounded: 2835 is 72, 3780 is 96.
CNullable<int> DotsPerInch(double dotsPerMetre)
{
    const double dpi = dotsPerMetre * kMetresPerInch;
    if (!(dpi >= 0.5) || dpi > std::numeric_limits<int>::max())
        return {};
    return static_cast<int>(std::lround(dpi));
}

// IHDR comes first; pHYs, when present, somewhere before the first IDAT.
Facts ReadPng(const ReadAt& read)
{
    Facts facts;
    unsigned char ihdr[8 + 13];
    if (!ReadExactly(read, 8, ihdr, sizeof ihdr) || std::memcmp(ihdr + 4, "IHDR", 4) != 0)
        return facts;
    const int bitsPerSample = ihdr[8 + 8];
    int samples = 0;
    switch (ihdr[8 + 9]) { // colour type
    case 0:                // grey
    case 3:                // palette index
        samples = 1;
        break;
    case 2: // RGB
        samples = 3;
        break;
    case 4: // grey and alpha
        samples = 2;
        break;
    case 6: // RGB and alpha
        samples = 4;
        break;
    default:
        return facts;
    }
    facts.colorDepth = Positive(bitsPerSample * samples);

    qint64 at = 8;
    for (int chunk = 0; chunk < kMostPngChunks; ++chunk) {
        unsigned char head[8];
        if (!ReadExactly(read, at, head, sizeof head))
            break;
        const quint32 length = Big32(head);
        if (std::memcmp(head + 4, "IDAT", 4) == 0 || std::memcmp(head + 4, "IEND", 4) == 0)
            break;
        if (std::memcmp(head + 4, "pHYs", 4) == 0 && length == 9) {
            unsigned char phys[9];
            // Unit 1 is the metre; 0 gives the pixels' aspect only.
            if (ReadExactly(read, at + 8, phys, sizeof phys) && phys[8] == 1) {
                facts.horizontalResolution = DotsPerInch(Big32(phys));
                facts.verticalResolution = DotsPerInch(Big32(phys + 4));
            }
            break;
        }
        at += 12 + static_cast<qint64>(length); // length, type, data, CRC
    }
    return facts;
}

// The file header (14 bytes), then an info header whose first field is its own size: 12
// for the old OS/2 core header, 40 or more for the Windows ones, which all begin with the
// same fields as the 40-byte BITMAPINFOHEADER.
Facts ReadBmp(const ReadAt& read)
{
    Facts facts;
    unsigned char info[40];
    if (!ReadExactly(read, 14, info, 4))
        return facts;
    const quint32 size = Little32(info);
    if (size == 12) {
        if (ReadExactly(read, 14, info, 12))
            facts.colorDepth = Positive(Little16(info + 10));
        return facts;
    }
    if (size < 16 || !ReadExactly(read, 14, info, size >= 40 ? 40 : 16))
        return facts;
    facts.colorDepth = Positive(Little16(info + 14));
    if (size >= 40) {
        // Signed in the header; a negative count means none was written.
        facts.horizontalResolution = DotsPerInch(static_cast<qint32>(Little32(info + 24)));
        facts.verticalResolution = DotsPerInch(static_cast<qint32>(Little32(info + 28)));
    }
    return facts;
}

// The logical screen descriptor's packed byte: its three low bits are the size of the
// colour table, 2^(n+1) entries, that is n+1 bits per pixel.
Facts ReadGif(const ReadAt& read)
{
    Facts facts;
    unsigned char screen[7];
    if (ReadExactly(read, 6, screen, sizeof screen))
        facts.colorDepth = (screen[4] & 0x07) + 1;
    return facts;
}

// The first chunk tells the kind of WebP: lossy VP8 has no alpha (24 bits); lossless VP8L
// and the extended VP8X each have a flag for it.
Facts ReadWebP(const ReadAt& read)
{
    Facts facts;
    unsigned char chunk[8 + 5];
    if (!ReadExactly(read, 12, chunk, sizeof chunk))
        return facts;
    bool alpha = false;
    if (std::memcmp(chunk, "VP8L", 4) == 0) {
        // After the 0x2f signature: 14 bits of width - 1, 14 of height - 1, then the flag.
        if (chunk[8] != 0x2f)
            return facts;
        alpha = (Little32(chunk + 9) >> 28 & 1) != 0;
    } else if (std::memcmp(chunk, "VP8X", 4) == 0) {
        alpha = (chunk[8] & 0x10) != 0;
    } else if (std::memcmp(chunk, "VP8 ", 4) != 0) {
        return facts;
    }
    facts.colorDepth = alpha ? 32 : 24;
    return facts;
}

} // namespace

namespace PictureHeader {

Facts Read(const ReadAt& read)
{
    unsigned char magic[12];
    const qint64 got = read(0, reinterpret_cast<char*>(magic), sizeof magic);
    if (got < 6)
        return {};
    if (got >= 8 && std::memcmp(magic, "\x89PNG\r\n\x1a\n", 8) == 0)
        return ReadPng(read);
    if (std::memcmp(magic, "BM", 2) == 0)
        return ReadBmp(read);
    if (std::memcmp(magic, "GIF87a", 6) == 0 || std::memcmp(magic, "GIF89a", 6) == 0)
        return ReadGif(read);
    if (got == 12 && std::memcmp(magic, "RIFF", 4) == 0 && std::memcmp(magic + 8, "WEBP", 4) == 0)
        return ReadWebP(read);
    return {};
}

} // namespace PictureHeader
