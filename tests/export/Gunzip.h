#pragma once

#include <QByteArray>

// The bytes of one whole gzip stream, unpacked by zlib itself; on anything else (a
// damaged, cut or longer stream) a marker text that no test expects.
QByteArray Gunzip(const QByteArray& packed);
