#include "common/FileCopy.h"

#include <QFile>
#include <QSaveFile>

namespace FileCopy {

bool CopyOver(const QString& source, const QString& destination)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly))
        return false;
    QSaveFile out(destination);
    // A catalogue in a folder the user may write to but not create files in (rare)
    // is still written, in place.
    out.setDirectWriteFallback(true);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    QByteArray buffer(1 << 20, Qt::Uninitialized);
    for (;;) {
        const qint64 n = in.read(buffer.data(), buffer.size());
        if (n < 0) {
            out.cancelWriting();
            return false;
        }
        if (n == 0)
            break;
        if (out.write(buffer.constData(), n) != n) {
            out.cancelWriting();
            return false;
        }
    }
    return out.commit();
}

} // namespace FileCopy
