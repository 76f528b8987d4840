#include "media/Exiv2MediaIo.h"

#include "media/MediaFile.h"

#include <exiv2/error.hpp>

#include <cstdio>

Exiv2MediaIo::Exiv2MediaIo(MediaFile& file) : m_file(file)
{
}

Exiv2MediaIo::~Exiv2MediaIo() = default;

int Exiv2MediaIo::open()
{
    // As a reopened file: at the start, flags cleared, any whole-file copy dropped.
    munmap();
    m_open = m_file.IsOpen();
    m_position = 0;
    m_eof = false;
    m_error = false;
    return m_open ? 0 : 1;
}

int Exiv2MediaIo::close()
{
    munmap();
    m_open = false;
    return 0;
}

long Exiv2MediaIo::write(const Exiv2::byte*, long)
{
    return 0;
}

long Exiv2MediaIo::write(Exiv2::BasicIo&)
{
    return 0;
}

int Exiv2MediaIo::putb(Exiv2::byte)
{
    return EOF;
}

Exiv2::DataBuf Exiv2MediaIo::read(long rcount)
{
    // FileIo's guard: a damaged length field must not allocate more than the file holds.
    if (static_cast<size_t>(rcount) > size())
        throw Exiv2::Error(Exiv2::kerInvalidMalloc);
    Exiv2::DataBuf buffer(rcount);
    buffer.size_ = read(buffer.pData_, buffer.size_);
    return buffer;
}

long Exiv2MediaIo::read(Exiv2::byte* buf, long rcount)
{
    if (rcount <= 0)
        return 0;
    const qint64 got = m_file.Read(m_position, reinterpret_cast<char*>(buf), rcount);
    if (got < 0) {
        m_error = true;
        return 0;
    }
    if (got < rcount)
        m_eof = true;
    m_position += static_cast<long>(got);
    return static_cast<long>(got);
}

int Exiv2MediaIo::getb()
{
    Exiv2::byte value = 0;
    return read(&value, 1) == 1 ? value : EOF;
}

void Exiv2MediaIo::transfer(Exiv2::BasicIo&)
{
    throw Exiv2::Error(Exiv2::kerFunctionNotSupported, "Exiv2MediaIo::transfer");
}

#if defined(_MSC_VER)
int Exiv2MediaIo::seek(int64_t offset, Position pos)
#else
int Exiv2MediaIo::seek(long offset, Position pos)
#endif
{
    long base = 0;
    if (pos == cur)
        base = m_position;
    else if (pos == end)
        base = static_cast<long>(m_file.Size());
    const long target = base + static_cast<long>(offset);
    if (target < 0)
        return -1;
    m_position = target;
    m_eof = false;
    return 0;
}

Exiv2::byte* Exiv2MediaIo::mmap(bool isWriteable)
{
    if (isWriteable)
        throw Exiv2::Error(Exiv2::kerFunctionNotSupported, "Exiv2MediaIo::mmap for writing");
    if (m_wholeFile)
        return m_wholeFile.get();
    const qint64 length = m_file.Size();
    auto whole = std::make_unique<Exiv2::byte[]>(static_cast<size_t>(length));
    if (length <= 0 || m_file.Read(0, reinterpret_cast<char*>(whole.get()), length) != length)
        throw Exiv2::Error(Exiv2::kerCallFailed, path(), "the file could not be read", "mmap");
    m_wholeFile = std::move(whole);
    return m_wholeFile.get();
}

int Exiv2MediaIo::munmap()
{
    m_wholeFile.reset();
    return 0;
}

long Exiv2MediaIo::tell() const
{
    return m_position;
}

size_t Exiv2MediaIo::size() const
{
    return static_cast<size_t>(m_file.Size());
}

bool Exiv2MediaIo::isopen() const
{
    return m_open;
}

int Exiv2MediaIo::error() const
{
    return m_error ? 1 : 0;
}

bool Exiv2MediaIo::eof() const
{
    return m_eof;
}

std::string Exiv2MediaIo::path() const
{
    return m_file.NativePath().toStdString();
}

#ifdef EXV_UNICODE_PATH
std::wstring Exiv2MediaIo::wpath() const
{
    return m_file.Path().toStdWString();
}
#endif
