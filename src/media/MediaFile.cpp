#include "media/MediaFile.h"

#include <QFile>

#include <algorithm>
#include <cstring>

#ifdef _WIN32
#include <QFileInfo>
#else
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

MediaFile::MediaFile() : m_blockData(new char[kBlockSize * kBlockCount])
{
}

MediaFile::~MediaFile()
{
    Close();
}

bool MediaFile::Open(const QString& path)
{
    Close();
    m_path = path;
    m_nativePath = QFile::encodeName(path);
#ifdef _WIN32
    if (!QFileInfo(path).isFile())
        return false;
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    m_size = file->size();
    m_file = std::move(file);
#else
    // Non-blocking, so that a FIFO given by mistake is turned down instead of waited on;
    // reads of a regular file are not affected by it.
    const int fd = ::open(m_nativePath.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return false;
    struct stat facts;
    if (::fstat(fd, &facts) != 0 || !S_ISREG(facts.st_mode)) {
        ::close(fd);
        return false;
    }
    m_fd = fd;
    m_size = static_cast<qint64>(facts.st_size);
#endif
    return true;
}

void MediaFile::Close()
{
#ifdef _WIN32
    m_file.reset();
#else
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
#endif
    m_size = 0;
    m_readError = false;
    m_systemReads = 0;
    for (Block& block : m_blocks)
        block = Block();
}

bool MediaFile::IsOpen() const
{
#ifdef _WIN32
    return m_file != nullptr;
#else
    return m_fd >= 0;
#endif
}

qint64 MediaFile::Read(qint64 offset, char* data, qint64 length)
{
    if (!IsOpen() || offset < 0 || length < 0)
        return -1;
    if (offset >= m_size || length == 0)
        return 0;
    length = std::min(length, m_size - offset);
    if (length >= kBlockSize)
        return ReadAt(offset, data, length);

    qint64 copied = 0;
    while (copied < length) {
        const qint64 position = offset + copied;
        const Block* block = LoadBlock(position / kBlockSize);
        if (!block)
            return -1;
        const qint64 within = position - block->index * kBlockSize;
        if (within >= block->length)
            break; // the file ended sooner than its size said
        const qint64 count = std::min(length - copied, block->length - within);
        std::memcpy(data + copied, DataOf(*block) + within, static_cast<size_t>(count));
        copied += count;
    }
    return copied;
}

QByteArray MediaFile::Head(qint64 length)
{
    QByteArray head(static_cast<int>(std::clamp<qint64>(length, 0, m_size)), Qt::Uninitialized);
    const qint64 got = Read(0, head.data(), head.size());
    head.truncate(static_cast<int>(std::max<qint64>(got, 0)));
    return head;
}

const MediaFile::Block* MediaFile::LoadBlock(qint64 index)
{
    ++m_useClock;
    Block* oldest = &m_blocks.front();
    for (Block& block : m_blocks) {
        if (block.index == index) {
            block.lastUse = m_useClock;
            return &block;
        }
        if (block.lastUse < oldest->lastUse)
            oldest = &block;
    }
    const qint64 offset = index * kBlockSize;
    const qint64 got = ReadAt(offset, m_blockData.get() + (oldest - m_blocks.data()) * kBlockSize,
                              std::min(kBlockSize, m_size - offset));
    if (got < 0) {
        *oldest = Block();
        return nullptr;
    }
    oldest->index = index;
    oldest->length = got;
    oldest->lastUse = m_useClock;
    return oldest;
}

const char* MediaFile::DataOf(const Block& block) const
{
    return m_blockData.get() + (&block - m_blocks.data()) * kBlockSize;
}

qint64 MediaFile::ReadAt(qint64 offset, char* data, qint64 length)
{
    if (m_readError)
        return -1;
    qint64 done = 0;
    while (done < length) {
        ++m_systemReads;
#ifdef _WIN32
        const qint64 got =
            m_file->seek(offset + done) ? m_file->read(data + done, length - done) : -1;
#else
        const ssize_t got = ::pread(m_fd, data + done, static_cast<size_t>(length - done),
                                    static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
#endif
        if (got < 0) {
            m_readError = true;
            return -1;
        }
        if (got == 0)
            break;
        done += got;
    }
    return done;
}
