#pragma once

#include <exiv2/basicio.hpp>

#include <memory>

class MediaFile;

/// Exiv2's view of an open MediaFile, for reading only. Exiv2 opens and closes its
/// source once per pass over the metadata; here that only rewinds, the file stays open.
/// A format that wants the whole file at once (mmap) gets it read into memory, never
/// mapped.
///
/// Reads, jumps and the end-of-file and error flags behave as Exiv2's own FileIo gives
/// them (C stdio): a jump past the end succeeds and the next read there sets the
/// end-of-file flag, a jump before the start fails.
class Exiv2MediaIo final : public Exiv2::BasicIo
{
public:
    explicit Exiv2MediaIo(MediaFile& file);
    ~Exiv2MediaIo() override;
    Exiv2MediaIo(const Exiv2MediaIo&) = delete;
    Exiv2MediaIo& operator=(const Exiv2MediaIo&) = delete;

    int open() override;
    int close() override;
    long write(const Exiv2::byte* data, long wcount) override;
    long write(Exiv2::BasicIo& src) override;
    int putb(Exiv2::byte data) override;
    Exiv2::DataBuf read(long rcount) override;
    long read(Exiv2::byte* buf, long rcount) override;
    int getb() override;
    void transfer(Exiv2::BasicIo& src) override;
#if defined(_MSC_VER)
    int seek(int64_t offset, Position pos) override;
#else
    int seek(long offset, Position pos) override;
#endif
    Exiv2::byte* mmap(bool isWriteable) override;
    int munmap() override;
    long tell() const override;
    size_t size() const override;
    bool isopen() const override;
    int error() const override;
    bool eof() const override;
    std::string path() const override;
#ifdef EXV_UNICODE_PATH
    std::wstring wpath() const override;
#endif

private:
    MediaFile& m_file;
    long m_position = 0;
    bool m_open = false;
    bool m_eof = false;
    bool m_error = false;
    std::unique_ptr<Exiv2::byte[]> m_wholeFile;
};
