#include "media/MediaInfoFile.h"

#include "media/MediaFile.h"

#include <MediaInfo/MediaInfo.h>

#include <algorithm>

namespace {

constexpr size_t kBufferSize = 64 * 1024;
// Open_Buffer_Continue's result: bit 3 says the parser has all it wants.
constexpr size_t kParserFinished = 0x08;
// The parser may ask for the same bytes again; this much more than the file itself is
// read at most, so a parser that keeps jumping back cannot hold the import up. Every
// read counts at least kMinimumReadCost, which bounds the number of jumps as well.
constexpr qint64 kExtraReadAllowance = 16 * 1024 * 1024;
constexpr qint64 kMinimumReadCost = 4096;

MediaInfoLib::stream_t ToStreamKind(MediaInfoFile::Stream stream)
{
    switch (stream) {
    case MediaInfoFile::Stream::Video:
        return MediaInfoLib::Stream_Video;
    case MediaInfoFile::Stream::Audio:
        return MediaInfoLib::Stream_Audio;
    case MediaInfoFile::Stream::General:
        break;
    }
    return MediaInfoLib::Stream_General;
}

} // namespace

MediaInfoFile::MediaInfoFile() : m_buffer(kBufferSize)
{
}

MediaInfoFile::~MediaInfoFile() = default;

bool MediaInfoFile::Open(MediaFile& file)
{
    // A parser object is cheap (a few microseconds against milliseconds of parsing), and
    // one that has parsed another file before may report a different bitrate for the
    // same file, so every file gets a new one.
    m_parser = std::make_unique<MediaInfoLib::MediaInfo>();
    // Only the container headers and the first frames are looked at: the facts kept
    // (duration, size, bitrate, format, tags) are all in the headers, and the file may
    // be on a slow disc.
    m_parser->Option(L"ParseSpeed", L"0");
    if (!Feed(file))
        return false;
    return !Text(Stream::General, "Format").isEmpty();
}

void MediaInfoFile::Close()
{
    m_parser.reset();
}

bool MediaInfoFile::Feed(MediaFile& file)
{
    const qint64 size = file.Size();
    if (size <= 0)
        return false;

    // Buffers of the same size and from the same offsets whatever the source, so the
    // parser's estimates (a bitrate from the first frames) come out the same.
    m_parser->Open_Buffer_Init(static_cast<ZenLib::int64u>(size), 0);
    qint64 allowance = size + kExtraReadAllowance;
    qint64 position = 0;
    for (;;) {
        const qint64 got = file.Read(position, reinterpret_cast<char*>(m_buffer.data()),
                                     static_cast<qint64>(m_buffer.size()));
        if (got < 0)
            break;
        position += got;
        const size_t status =
            m_parser->Open_Buffer_Continue(m_buffer.data(), static_cast<size_t>(got));
        if ((status & kParserFinished) != 0)
            break;
        allowance -= std::max(got, kMinimumReadCost);
        if (allowance < 0)
            break;
        const ZenLib::int64u target = m_parser->Open_Buffer_Continue_GoTo_Get();
        if (target != static_cast<ZenLib::int64u>(-1)) {
            position = static_cast<qint64>(target);
            if (position < 0)
                break;
            m_parser->Open_Buffer_Init(static_cast<ZenLib::int64u>(size), target);
        } else if (got == 0) {
            break;
        }
    }
    m_parser->Open_Buffer_Finalize();
    return true;
}

int MediaInfoFile::Count(Stream stream) const
{
    if (!m_parser)
        return 0;
    return static_cast<int>(m_parser->Count_Get(ToStreamKind(stream)));
}

QString MediaInfoFile::Text(Stream stream, const char* field) const
{
    if (Count(stream) == 0)
        return QString();
    const MediaInfoLib::String value =
        m_parser->Get(ToStreamKind(stream), 0, QString::fromLatin1(field).toStdWString());
    QString text = QString::fromStdWString(value);
    const int separator = text.indexOf(QLatin1String(" / "));
    if (separator >= 0)
        text.truncate(separator);
    return text.trimmed();
}

bool MediaInfoFile::Number(Stream stream, const char* field, double& value) const
{
    bool ok = false;
    const double number = Text(stream, field).toDouble(&ok);
    if (ok)
        value = number;
    return ok;
}
