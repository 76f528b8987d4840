#include "volumes/VolumeBytes.h"

#include <limits>

namespace VolumeReader {

bool ReadBytes(const ReadAt& read, qint64 offset, qint64 length, Bytes& out)
{
    if (offset < 0 || length <= 0 || length > (1 << 20) ||
        offset > std::numeric_limits<qint64>::max() - length)
        return false;
    QByteArray data(static_cast<int>(length), '\0');
    if (!read(offset, data.data(), length))
        return false;
    out = Bytes(std::move(data));
    return true;
}

bool Multiply(quint64 a, quint64 b, qint64& product)
{
    if (a != 0 && b > static_cast<quint64>(std::numeric_limits<qint64>::max()) / a)
        return false;
    product = static_cast<qint64>(a * b);
    return true;
}

quint32 ByteSums(const QByteArray& data, bool firstSumLow)
{
    quint8 sum[4] = {0, 0, 0, 0};
    for (int i = 0; i < data.size(); ++i)
        sum[i % 4] = static_cast<quint8>(sum[i % 4] + static_cast<quint8>(data[i]));
    if (firstSumLow)
        return static_cast<quint32>(sum[3]) << 24 | static_cast<quint32>(sum[2]) << 16 |
               static_cast<quint32>(sum[1]) << 8 | sum[0];
    return static_cast<quint32>(sum[0]) << 24 | static_cast<quint32>(sum[1]) << 16 |
           static_cast<quint32>(sum[2]) << 8 | sum[3];
}

QString Limited(QString text)
{
    text.truncate(kMaxLabel);
    return text;
}

QString Trimmed(QString text)
{
    int end = static_cast<int>(text.size());
    while (end > 0 && (text.at(end - 1) == QLatin1Char(' ') || text.at(end - 1).isNull()))
        --end;
    text.truncate(qMin(end, kMaxLabel));
    return text;
}

QString FromUtf16(const QByteArray& bytes, bool bigEndian)
{
    QString text;
    for (int i = 0; i + 1 < bytes.size(); i += 2) {
        const auto high = static_cast<quint8>(bytes[bigEndian ? i : i + 1]);
        const auto low = static_cast<quint8>(bytes[bigEndian ? i + 1 : i]);
        const auto unit = static_cast<char16_t>(high << 8 | low);
        if (unit == 0)
            break;
        text += QChar(unit);
    }
    return text;
}

} // namespace VolumeReader
