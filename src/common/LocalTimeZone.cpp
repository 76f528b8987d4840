#include "common/LocalTimeZone.h"

#include <QFileInfo>
#include <QtGlobal>

namespace LocalTimeZone {

void PinSystemZone()
{
#if defined(__GLIBC__)
    // The leading colon names a zone file; glibc then reads it once and compares the
    // variable's text, not the file, on later calls.
    const char* systemZone = "/etc/localtime";
    if (qEnvironmentVariableIsSet("TZ") || !QFileInfo::exists(QString::fromLatin1(systemZone)))
        return;
    qputenv("TZ", QByteArray(":") + systemZone);
#endif
}

} // namespace LocalTimeZone
