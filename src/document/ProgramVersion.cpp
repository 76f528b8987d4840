#include "document/ProgramVersion.h"

#include "Version.h"

#include <cstdlib>

namespace Version {

namespace {

// The leading decimal number of the text, like atoi: 0 when it does not begin with one.
quint32 LeadingNumber(const QString& text)
{
    return static_cast<quint32>(std::atoi(text.toLatin1().constData()));
}

} // namespace

quint32 ProgramVersion()
{
    return (static_cast<quint32>(SHELFWISE_VERSION_MAJOR) << 16) |
           (static_cast<quint32>(SHELFWISE_VERSION_MINOR) & 0xFFFF);
}

QString ProgramVersionText()
{
    return QString::asprintf("%d.%d.%d.%d", SHELFWISE_VERSION_MAJOR, SHELFWISE_VERSION_MINOR & 0xFF,
                             SHELFWISE_VERSION_PATCH & 0xFF, SHELFWISE_VERSION_BUILD & 0xFF);
}

quint32 ParseVersionNumber(const QString& text)
{
    const qsizetype dot = text.indexOf(QLatin1Char('.'));
    if (dot < 0)
        return LeadingNumber(text) & 0xFFFF;
    const quint32 major = LeadingNumber(text.left(dot));
    const quint32 minor = LeadingNumber(text.mid(dot + 1));
    return (major << 16) | (minor & 0xFFFF);
}

} // namespace Version

QString Version::Homepage()
{
    return QStringLiteral(SHELFWISE_HOMEPAGE);
}
