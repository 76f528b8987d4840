#pragma once

#include "volumes/VolumeReader.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <utility>

// What the readers of the file systems VolumeReader knows share: bounds-checked bytes,
// reading them, the serial number sums Windows computes, and the labels' text.
namespace VolumeReader {

constexpr qint64 kCdSector = 2048;
// Volume descriptors (ISO 9660) and the volume recognition sequence (UDF) start here.
constexpr qint64 kDescriptorArea = 16 * kCdSector;
// A damaged descriptor set may lack its terminator; real ones are a handful long.
constexpr int kMaxDescriptors = 64;
constexpr int kMaxLabel = 260;

// Bytes of a volume structure with bounds-checked little-endian fields: a field that
// lies outside the bytes read reads as 0, so a garbage offset cannot read past them.
class Bytes
{
public:
    Bytes() = default;
    explicit Bytes(QByteArray data) : m_data(std::move(data)) {}

    int Size() const { return static_cast<int>(m_data.size()); }
    const QByteArray& Data() const { return m_data; }
    quint8 U8(int at) const { return Has(at, 1) ? static_cast<quint8>(m_data[at]) : 0; }
    quint16 U16(int at) const { return static_cast<quint16>(U8(at) | U8(at + 1) << 8); }
    quint32 U32(int at) const { return U16(at) | static_cast<quint32>(U16(at + 2)) << 16; }
    quint64 U64(int at) const { return U32(at) | static_cast<quint64>(U32(at + 4)) << 32; }
    bool Has(int at, int length) const { return at >= 0 && length >= 0 && at <= Size() - length; }
    bool Equals(int at, const char* text) const
    {
        const int length = static_cast<int>(qstrlen(text));
        return Has(at, length) && m_data.mid(at, length) == QByteArray(text, length);
    }
    QByteArray Mid(int at, int length) const
    {
        return Has(at, length) ? m_data.mid(at, length) : QByteArray();
    }

private:
    QByteArray m_data;
};

/// Reads length bytes (at most 1 MiB) at offset into out; false when they cannot all be
/// read.
bool ReadBytes(const ReadAt& read, qint64 offset, qint64 length, Bytes& out);

/// a * b, or false when the product does not fit a signed 64-bit offset.
bool Multiply(quint64 a, quint64 b, qint64& product);

/// Windows NT's serial number of a CD volume: the structure's bytes added into four
/// byte-wide sums by position modulo 4. ISO 9660 puts the first sum in the high byte,
/// UDF in the low byte.
quint32 ByteSums(const QByteArray& data, bool firstSumLow);

/// A label cut to the length Windows keeps.
QString Limited(QString text);

/// A label without the blanks and NULs ISO 9660 and FAT pad it with, cut like Limited.
QString Trimmed(QString text);

/// UTF-16 text up to its first NUL.
QString FromUtf16(const QByteArray& bytes, bool bigEndian);

} // namespace VolumeReader
