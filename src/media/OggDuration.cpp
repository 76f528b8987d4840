#include "media/OggDuration.h"

#include "media/MediaFile.h"

#include <QByteArray>

#include <array>
#include <cstring>
#include <vector>

namespace {

constexpr qint64 kWindow = 64 * 1024;
constexpr int kPageHeaderSize = 27;
// Page header flag: the first page of a logical stream.
constexpr quint8 kBeginningOfStream = 0x02;
constexpr double kOpusRate = 48000;

struct OggStream
{
    quint32 serial = 0;
    bool video = false;
    double unitsPerSecond = 0; // samples, or frames for Theora
    double framesPerSecond = 0;
    int keyFrameShift = 0;
    qint64 firstFrameNumber = 0; // granule of the first frame: 0, or -1 before Theora 3.2.1
    qint64 preSkip = 0;
};

quint32 Little32(const unsigned char* bytes)
{
    return quint32(bytes[0]) | (quint32(bytes[1]) << 8) | (quint32(bytes[2]) << 16) |
           (quint32(bytes[3]) << 24);
}

quint32 Big32(const unsigned char* bytes)
{
    return (quint32(bytes[0]) << 24) | (quint32(bytes[1]) << 16) | (quint32(bytes[2]) << 8) |
           quint32(bytes[3]);
}

qint64 Little64(const unsigned char* bytes)
{
    return static_cast<qint64>(quint64(Little32(bytes)) | (quint64(Little32(bytes + 4)) << 32));
}

// The page checksum: CRC-32 with polynomial 0x04c11db7, not reflected, starting from 0,
// over the page with its checksum field taken as zeros.
quint32 PageChecksum(const unsigned char* page, size_t length)
{
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> entries{};
        for (quint32 i = 0; i < 256; ++i) {
            quint32 value = i << 24;
            for (int bit = 0; bit < 8; ++bit)
                value = (value & 0x80000000u) != 0 ? (value << 1) ^ 0x04c11db7u : value << 1;
            entries[i] = value;
        }
        return entries;
    }();
    quint32 crc = 0;
    for (size_t i = 0; i < length; ++i) {
        const quint8 byte = i >= 22 && i < 26 ? 0 : page[i];
        crc = (crc << 8) ^ table[((crc >> 24) ^ byte) & 0xff];
    }
    return crc;
}

// The length of the page that starts at `at`, 0 when no whole, sound page starts there.
size_t PageLength(const unsigned char* data, size_t size, size_t at)
{
    if (at + kPageHeaderSize > size || std::memcmp(data + at, "OggS", 4) != 0 || data[at + 4] != 0)
        return 0;
    const size_t segments = data[at + 26];
    if (at + kPageHeaderSize + segments > size)
        return 0;
    size_t length = kPageHeaderSize + segments;
    for (size_t i = 0; i < segments; ++i)
        length += data[at + kPageHeaderSize + i];
    if (at + length > size || PageChecksum(data + at, length) != Little32(data + at + 22))
        return 0;
    return length;
}

// The stream that the first packet of a beginning page opens, if of a codec known here.
bool ReadIdentification(const unsigned char* packet, size_t length, OggStream& stream)
{
    if (length >= 42 && packet[0] == 0x80 && std::memcmp(packet + 1, "theora", 6) == 0) {
        const quint32 numerator = Big32(packet + 22);
        const quint32 denominator = Big32(packet + 26);
        if (numerator == 0 || denominator == 0)
            return false;
        stream.video = true;
        stream.framesPerSecond = double(numerator) / denominator;
        stream.keyFrameShift = ((packet[40] & 0x03) << 3) | (packet[41] >> 5);
        // Since 3.2.1 the granule counts frames; before, it was the index of the frame.
        const int version = (packet[7] << 16) | (packet[8] << 8) | packet[9];
        stream.firstFrameNumber = version >= 0x030201 ? 0 : -1;
        return true;
    }
    if (length >= 16 && packet[0] == 0x01 && std::memcmp(packet + 1, "vorbis", 6) == 0) {
        stream.unitsPerSecond = Little32(packet + 12);
    } else if (length >= 19 && std::memcmp(packet, "OpusHead", 8) == 0) {
        stream.unitsPerSecond = kOpusRate;
        stream.preSkip = packet[10] | (packet[11] << 8);
    } else if (length >= 30 && packet[0] == 0x7f && std::memcmp(packet + 1, "FLAC", 4) == 0 &&
               std::memcmp(packet + 9, "fLaC", 4) == 0) {
        // STREAMINFO follows its 4-byte block header: the rate is 20 bits at its byte 10.
        const unsigned char* info = packet + 17;
        stream.unitsPerSecond = (info[10] << 12) | (info[11] << 4) | (info[12] >> 4);
    } else if (length >= 40 && std::memcmp(packet, "Speex   ", 8) == 0) {
        stream.unitsPerSecond = Little32(packet + 36);
    }
    return stream.unitsPerSecond > 0;
}

// The streams that the pages at the start of the file open, in their order.
std::vector<OggStream> ReadStreams(const QByteArray& head)
{
    const auto* data = reinterpret_cast<const unsigned char*>(head.constData());
    const auto size = static_cast<size_t>(head.size());
    std::vector<OggStream> streams;
    size_t at = 0;
    while (const size_t length = PageLength(data, size, at)) {
        if ((data[at + 5] & kBeginningOfStream) == 0)
            break; // the beginning pages all come first
        const size_t segments = data[at + 26];
        const size_t body = at + kPageHeaderSize + segments;
        OggStream stream;
        stream.serial = Little32(data + at + 14);
        if (ReadIdentification(data + body, at + length - body, stream))
            streams.push_back(stream);
        at += length;
    }
    return streams;
}

// The granule position of the stream's last page that has one, -1 when none is found.
qint64 LastGranule(MediaFile& file, quint32 serial)
{
    const qint64 start = file.Size() > kWindow ? file.Size() - kWindow : 0;
    std::vector<unsigned char> tail(static_cast<size_t>(file.Size() - start));
    const qint64 got =
        file.Read(start, reinterpret_cast<char*>(tail.data()), static_cast<qint64>(tail.size()));
    if (got < kPageHeaderSize)
        return -1;
    const auto size = static_cast<size_t>(got);
    for (size_t at = size - kPageHeaderSize + 1; at-- > 0;) {
        if (tail[at] != 'O' || PageLength(tail.data(), size, at) == 0)
            continue;
        const qint64 granule = Little64(tail.data() + at + 6);
        if (Little32(tail.data() + at + 14) == serial && granule != -1)
            return granule;
    }
    return -1;
}

std::optional<double> Seconds(const OggStream& stream, qint64 granule)
{
    if (granule < 0)
        return {};
    if (stream.video) {
        const qint64 keyFrame = granule >> stream.keyFrameShift;
        const qint64 sinceKeyFrame = granule - (keyFrame << stream.keyFrameShift);
        const qint64 frames = keyFrame + sinceKeyFrame - stream.firstFrameNumber;
        return frames / stream.framesPerSecond;
    }
    if (granule < stream.preSkip)
        return {};
    return (granule - stream.preSkip) / stream.unitsPerSecond;
}

} // namespace

namespace OggDuration {

std::optional<double> Read(MediaFile& file, Prefer prefer)
{
    const std::vector<OggStream> streams = ReadStreams(file.Head(kWindow));
    if (streams.empty())
        return {};
    const OggStream* chosen = &streams.front();
    for (const OggStream& stream : streams) {
        if (stream.video == (prefer == Prefer::Video)) {
            chosen = &stream;
            break;
        }
    }
    return Seconds(*chosen, LastGranule(file, chosen->serial));
}

} // namespace OggDuration
