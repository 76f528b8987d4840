#include "export/Gunzip.h"

#include <zlib.h>

QByteArray Gunzip(const QByteArray& packed)
{
    z_stream zs{};
    // 15 + 16: the largest window, and a gzip header rather than zlib's.
    if (inflateInit2(&zs, 15 + 16) != Z_OK)
        return QByteArray("(zlib did not start)");
    zs.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.constData()));
    zs.avail_in = static_cast<uInt>(packed.size());
    QByteArray out;
    char buffer[16384];
    int result = Z_OK;
    while (result == Z_OK) {
        zs.next_out = reinterpret_cast<Bytef*>(buffer);
        zs.avail_out = sizeof buffer;
        result = inflate(&zs, Z_NO_FLUSH);
        out.append(buffer, static_cast<qsizetype>(sizeof buffer - zs.avail_out));
    }
    const bool whole = result == Z_STREAM_END && zs.avail_in == 0;
    inflateEnd(&zs);
    return whole ? out : QByteArray("(not a whole gzip stream)");
}
