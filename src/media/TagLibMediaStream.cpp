#include "media/TagLibMediaStream.h"

#include "media/MediaFile.h"

#include <algorithm>

TagLibMediaStream::TagLibMediaStream(MediaFile& file) : m_file(file)
{
}

TagLib::FileName TagLibMediaStream::name() const
{
#ifdef _WIN32
    return TagLib::FileName(reinterpret_cast<const wchar_t*>(m_file.Path().utf16()));
#else
    return m_file.NativePath().constData();
#endif
}

TagLib::ByteVector TagLibMediaStream::readBlock(unsigned long length)
{
    const long available = std::max(0L, static_cast<long>(m_file.Size()) - m_position);
    const auto wanted = static_cast<unsigned int>(
        std::min<unsigned long>(length, static_cast<unsigned long>(available)));
    if (!isOpen() || wanted == 0)
        return TagLib::ByteVector();
    TagLib::ByteVector block(wanted);
    const qint64 got = m_file.Read(m_position, block.data(), wanted);
    if (got <= 0)
        return TagLib::ByteVector();
    block.resize(static_cast<unsigned int>(got));
    m_position += static_cast<long>(got);
    return block;
}

void TagLibMediaStream::writeBlock(const TagLib::ByteVector&)
{
}

void TagLibMediaStream::insert(const TagLib::ByteVector&, unsigned long, unsigned long)
{
}

void TagLibMediaStream::removeBlock(unsigned long, unsigned long)
{
}

bool TagLibMediaStream::readOnly() const
{
    return true;
}

bool TagLibMediaStream::isOpen() const
{
    return m_file.IsOpen();
}

void TagLibMediaStream::seek(long offset, Position p)
{
    long base = 0;
    if (p == Current)
        base = m_position;
    else if (p == End)
        base = static_cast<long>(m_file.Size());
    if (isOpen() && base + offset >= 0)
        m_position = base + offset;
}

long TagLibMediaStream::tell() const
{
    return m_position;
}

long TagLibMediaStream::length()
{
    return isOpen() ? static_cast<long>(m_file.Size()) : 0;
}

void TagLibMediaStream::truncate(long)
{
}
