#include "export/GzipStream.h"

#include <QIODevice>

#include <stdexcept>

#include <zlib.h>

namespace {

// Input gathered before deflate sees it, and the output buffer.
constexpr qsizetype kBlock = 64 * 1024;
// 15 bits of window, plus 16: a gzip header and trailer instead of zlib's.
constexpr int kGzipWindowBits = 15 + 16;
constexpr int kMemoryLevel = 8;

} // namespace

struct CGzipStream::State
{
    z_stream Zs{};
};

CGzipStream::CGzipStream(QIODevice& out) : m_state(std::make_unique<State>()), m_out(out)
{
    if (deflateInit2(&m_state->Zs, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindowBits, kMemoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("The compressor could not be started.");
    m_pending.reserve(kBlock);
}

CGzipStream::~CGzipStream()
{
    deflateEnd(&m_state->Zs);
}

void CGzipStream::Write(const char* data, qsizetype size)
{
    m_in += size;
    m_pending.append(data, size);
    if (m_pending.size() >= kBlock)
        Deflate(Z_NO_FLUSH);
}

void CGzipStream::WriteVarint(quint64 value)
{
    char bytes[10];
    int count = 0;
    while (value >= 0x80) {
        bytes[count++] = static_cast<char>((value & 0x7f) | 0x80);
        value >>= 7;
    }
    bytes[count++] = static_cast<char>(value);
    Write(bytes, count);
}

void CGzipStream::Finish()
{
    if (m_finished)
        return;
    Deflate(Z_FINISH);
    m_finished = true;
}

void CGzipStream::Deflate(int flush)
{
    z_stream& zs = m_state->Zs;
    zs.next_in = reinterpret_cast<Bytef*>(m_pending.data());
    zs.avail_in = static_cast<uInt>(m_pending.size());
    char buffer[kBlock];
    int result = Z_OK;
    do {
        zs.next_out = reinterpret_cast<Bytef*>(buffer);
        zs.avail_out = static_cast<uInt>(sizeof buffer);
        result = deflate(&zs, flush);
        if (result == Z_STREAM_ERROR)
            throw std::runtime_error("The compressor failed.");
        const qint64 produced = static_cast<qint64>(sizeof buffer) - zs.avail_out;
        if (produced > 0 && m_out.write(buffer, produced) != produced)
            throw std::runtime_error("The compressed data could not be written: " +
                                     m_out.errorString().toStdString());
    } while (zs.avail_out == 0 || (flush == Z_FINISH && result != Z_STREAM_END));
    m_pending.clear();
}
