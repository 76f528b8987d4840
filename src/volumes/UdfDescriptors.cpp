#include "volumes/UdfDescriptors.h"

#include <QDate>
#include <QDateTime>
#include <QTime>
#include <QtEndian>

namespace UdfDescriptors {

quint8 U8(const QByteArray& d, int at)
{
    return static_cast<quint8>(d.at(at));
}

quint16 U16(const QByteArray& d, int at)
{
    return qFromLittleEndian<quint16>(d.constData() + at);
}

quint32 U32(const QByteArray& d, int at)
{
    return qFromLittleEndian<quint32>(d.constData() + at);
}

quint64 U64(const QByteArray& d, int at)
{
    return qFromLittleEndian<quint64>(d.constData() + at);
}

quint64 Location(quint16 partition, quint32 block)
{
    return (static_cast<quint64>(partition) << 32) | block;
}

bool HasTag(const QByteArray& d, int at, quint16 id)
{
    if (at < 0 || d.size() < at + 16 || U16(d, at) != id)
        return false;
    quint8 sum = 0;
    for (int i = 0; i < 16; ++i) {
        if (i != 4)
            sum = static_cast<quint8>(sum + U8(d, at + i));
    }
    return sum == U8(d, at + 4);
}

// A 12-byte timestamp. A local time carries its offset from UTC in minutes; other
// types, and the "unspecified" offset, are read as UTC, as Linux reads them.
qint64 Timestamp(const QByteArray& d, int at)
{
    const quint16 typeAndZone = U16(d, at);
    int offset = 0;
    if ((typeAndZone >> 12) == 1) {
        offset = typeAndZone & 0x0FFF;
        if (offset & 0x0800)
            offset -= 0x1000;
        if (offset == -2047)
            offset = 0;
    }
    const QDate date(static_cast<qint16>(U16(d, at + 2)), U8(d, at + 4), U8(d, at + 5));
    const QTime time(U8(d, at + 6), U8(d, at + 7), U8(d, at + 8));
    const int centiseconds = U8(d, at + 9);
    const int hundredsOfMicroseconds = U8(d, at + 10);
    if (date.year() < 1 || !date.isValid() || !time.isValid() || centiseconds > 99 ||
        hundredsOfMicroseconds > 99)
        return kNoTime;
    return QDateTime(date, time, Qt::UTC).toMSecsSinceEpoch() - offset * 60000LL +
           centiseconds * 10 + hundredsOfMicroseconds / 10;
}

// A file identifier: its compression id, then 8-bit characters (each a code point below
// 256) or 16-bit big-endian ones.
QString DecodeName(const QByteArray& d, int at, int length)
{
    if (length < 2)
        return QString();
    const quint8 compression = U8(d, at);
    QString name;
    if (compression == 8 || compression == 254) {
        name = QString::fromLatin1(d.constData() + at + 1, length - 1);
    } else if (compression == 16 || compression == 255) {
        for (int i = at + 1; i + 1 < at + length; i += 2)
            name += QChar(static_cast<char16_t>((U8(d, i) << 8) | U8(d, i + 1)));
    }
    // The scanner joins names with slashes.
    name.replace(QLatin1Char('/'), QLatin1Char('_')).replace(QChar(0), QLatin1Char('_'));
    return name;
}

// The text of a symbolic link from its path components (ECMA-167 4/14.16), as a
// mounted disc's readlink gives it: "/" for the root, then "..", "." and names, joined
// with slashes. A component of the implementation's own kind (type 1) with a name is
// left out.
QString PathComponentsText(const QByteArray& d)
{
    QString text;
    for (int at = 0; at + 4 <= d.size();) {
        const quint8 type = U8(d, at);
        const int length = U8(d, at + 1);
        if (at + 4 + length > d.size())
            break;
        if ((type == 1 && length == 0) || type == 2)
            text = QStringLiteral("/");
        else if (type == 3)
            text += QStringLiteral("../");
        else if (type == 4)
            text += QStringLiteral("./");
        else if (type == 5)
            text += DecodeName(d, at + 4, length) + QLatin1Char('/');
        at += 4 + length;
    }
    if (text.size() > 1)
        text.chop(1);
    return text;
}

// A file entry or an extended file entry (UDF 2.0 and later, the only one with a
// creation time).
bool ParseFileEntry(const QByteArray& block, FileEntry* entry)
{
    int lengths = 0;
    int modified = 0;
    int created = -1;
    if (HasTag(block, 0, kFileEntry)) {
        lengths = 168;
        modified = 84;
    } else if (HasTag(block, 0, kExtendedFileEntry)) {
        lengths = 208;
        modified = 92;
        created = 104;
    } else {
        return false;
    }
    const quint32 attributes = U32(block, lengths);
    const quint32 allocation = U32(block, lengths + 4);
    const int first = lengths + 8;
    if (attributes > kBlock || allocation > kBlock || first + attributes + allocation > kBlock)
        return false;
    entry->Type = U8(block, 16 + 11);
    entry->AllocationKind = U16(block, 16 + 18) & 7;
    entry->Size = U64(block, 56);
    entry->Modified = Timestamp(block, modified);
    entry->Created = created < 0 ? kNoTime : Timestamp(block, created);
    entry->Allocation = block.mid(first + static_cast<int>(attributes), allocation);
    return true;
}

bool IsZero(const QByteArray& d, int from)
{
    for (int i = from; i < d.size(); ++i) {
        if (d.at(i) != 0)
            return false;
    }
    return true;
}

} // namespace UdfDescriptors
