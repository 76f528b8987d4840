#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <memory>

class QIODevice;

/// A gzip stream (RFC 1952) written to a device as the data comes: what a browser's
/// DecompressionStream("gzip") reads back. Input is gathered into blocks before it is
/// compressed, so many small writes cost little; memory stays the same whatever the
/// amount written. A failed write of the device throws std::runtime_error.
class CGzipStream final
{
public:
    explicit CGzipStream(QIODevice& out);
    ~CGzipStream();
    CGzipStream(const CGzipStream&) = delete;
    CGzipStream& operator=(const CGzipStream&) = delete;

    void Write(const char* data, qsizetype size);
    void Write(char byte) { Write(&byte, 1); }
    // An unsigned number in 7-bit groups, lowest first, the high bit set on all but the
    // last (LEB128): small numbers take one byte.
    void WriteVarint(quint64 value);
    // Ends the stream (the trailer with the length and checksum); nothing may be
    // written afterwards.
    void Finish();

    // Uncompressed bytes written so far.
    qint64 BytesIn() const { return m_in; }

private:
    void Deflate(int flush);

    struct State;
    std::unique_ptr<State> m_state;
    QIODevice& m_out;
    QByteArray m_pending;
    qint64 m_in = 0;
    bool m_finished = false;
};
