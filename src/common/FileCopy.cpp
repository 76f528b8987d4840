#include "common/FileCopy.h"

#include <QFile>
#include <QSaveFile>

namespace FileCopy {

bool CopyOver(const QString& source, const QString& destination)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly))
        return false;
    // Never written in place: where no temporary file can be made beside the
    // destination (a folder the user may not create files in), the copy fails and the
    // destination stays as it was. A kill or a full disk half way through the copy
    // then cannot leave it truncated.
    QSaveFile out(destination);
    out.setDirectWriteFallback(false);
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
