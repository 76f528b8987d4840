#include "cli/CatalogueLock.h"

#include <QFile>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

CatalogueLock::~CatalogueLock()
{
    Release();
}

bool CatalogueLock::Acquire(const QString& path)
{
    Release();
#ifdef Q_OS_UNIX
    const QByteArray name = QFile::encodeName(path);
    for (;;) {
        const int fd = ::open(name.constData(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            return false;
        if (::flock(fd, LOCK_EX) != 0) {
            ::close(fd);
            return false;
        }
        struct stat locked = {};
        struct stat current = {};
        if (::fstat(fd, &locked) == 0 && ::stat(name.constData(), &current) == 0 &&
            locked.st_dev == current.st_dev && locked.st_ino == current.st_ino) {
            m_fd = fd;
            return true;
        }
        // Another run saved meanwhile and replaced the file: lock the new one.
        ::close(fd);
    }
#else
    Q_UNUSED(path);
    return true;
#endif
}

void CatalogueLock::Release()
{
#ifdef Q_OS_UNIX
    if (m_fd >= 0) {
        ::flock(m_fd, LOCK_UN);
        ::close(m_fd);
    }
#endif
    m_fd = -1;
}
