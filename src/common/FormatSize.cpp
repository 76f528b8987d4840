#include "common/FormatSize.h"

#include "common/Strings.h"

namespace {

constexpr qint64 kKilo = 1024;
constexpr qint64 kMega = kKilo * 1024;
constexpr qint64 kGiga = kMega * 1024;

// The scaling is done in single precision on purpose: the texts must round exactly as
// they always have, and double precision differs in the last digit now and then
// (751,813,279 bytes is 716.98 MB in single precision, 716.99 MB in double).
QString Scaled(qint64 size, int divisions, Strings::Id format)
{
    auto value = static_cast<float>(size);
    for (int i = 0; i < divisions; ++i)
        value *= 0.0009765625f;
    return QString::asprintf(Strings::LoadString(format).toUtf8().constData(),
                             static_cast<double>(value));
}

} // namespace

QString FormatSize(qint64 size)
{
    if (size <= kKilo) {
        // Negative counts show the low 32 bits as a signed number, like the old
        // "%d" of the whole value did.
        const auto low = static_cast<qint32>(static_cast<quint32>(size & 0xFFFFFFFF));
        return QString::asprintf(
            Strings::LoadString(Strings::IDS_SIZE_FORMAT_BYTES).toUtf8().constData(), low);
    }
    if (size > kGiga)
        return Scaled(size, 3, Strings::IDS_SIZE_FORMAT_GB);
    if (size > kMega)
        return Scaled(size, 2, Strings::IDS_SIZE_FORMAT_MB);
    return Scaled(size, 1, Strings::IDS_SIZE_FORMAT_KB);
}
