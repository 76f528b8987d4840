#include "media/MediaFileDevice.h"

#include "media/MediaFile.h"

MediaFileDevice::MediaFileDevice(MediaFile& file) : m_file(file)
{
}

MediaFileDevice::~MediaFileDevice() = default;

bool MediaFileDevice::open(OpenMode mode)
{
    if ((mode & ReadWrite) != ReadOnly || !m_file.IsOpen())
        return false;
    return QIODevice::open(mode | Unbuffered);
}

bool MediaFileDevice::isSequential() const
{
    return false;
}

qint64 MediaFileDevice::size() const
{
    return m_file.Size();
}

qint64 MediaFileDevice::readData(char* data, qint64 maxSize)
{
    return m_file.Read(pos(), data, maxSize);
}

qint64 MediaFileDevice::writeData(const char*, qint64)
{
    return -1;
}
