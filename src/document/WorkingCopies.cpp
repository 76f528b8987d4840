#include "document/WorkingCopies.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#ifdef _WIN32
#include <windows.h>
#else
#include <cerrno>
#include <csignal>
#endif

namespace WorkingCopies {

bool ProcessRuns(qint64 pid)
{
    if (pid <= 0)
        return false;
#ifdef _WIN32
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
    if (!process)
        return GetLastError() == ERROR_ACCESS_DENIED;
    const bool running = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return running;
#else
    // Signal 0 only asks whether the process exists; EPERM means it does, as another
    // user's.
    return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
#endif
}

int RemoveStale(const QString& folder, bool windowCopies)
{
    static const QRegularExpression name(
        QStringLiteral("^\\d{9,}(?:-(\\d+))?(?:\\.opening)?\\.db3(?:-journal|-wal|-shm)?$"));
    const qint64 self = QCoreApplication::applicationPid();
    int removed = 0;
    const QDir dir(folder);
    const QStringList entries = dir.entryList({QStringLiteral("*.db3*")}, QDir::Files);
    for (const QString& entry : entries) {
        const QRegularExpressionMatch match = name.match(entry);
        if (!match.hasMatch())
            continue;
        bool stale = false;
        if (match.capturedLength(1) > 0) {
            const qint64 pid = match.captured(1).toLongLong();
            stale = pid != self && !ProcessRuns(pid);
        } else {
            stale = windowCopies;
        }
        if (stale && QFile::remove(dir.filePath(entry)))
            ++removed;
    }
    return removed;
}

} // namespace WorkingCopies
