#pragma once

#include <taglib/tiostream.h>

class MediaFile;

/// TagLib's view of an open MediaFile: its reads come from the file's cached blocks and
/// its jumps are free. It reads only. The name is the file's, so TagLib picks the format
/// by extension just as for a file it opens itself.
///
/// Behaves like TagLib's own FileStream for reading: a jump before the start is ignored,
/// one past the end is allowed and reads nothing there.
class TagLibMediaStream final : public TagLib::IOStream
{
public:
    explicit TagLibMediaStream(MediaFile& file);
    TagLibMediaStream(const TagLibMediaStream&) = delete;
    TagLibMediaStream& operator=(const TagLibMediaStream&) = delete;

    TagLib::FileName name() const override;
    TagLib::ByteVector readBlock(unsigned long length) override;
    void writeBlock(const TagLib::ByteVector& data) override;
    void insert(const TagLib::ByteVector& data, unsigned long start,
                unsigned long replace) override;
    void removeBlock(unsigned long start, unsigned long length) override;
    bool readOnly() const override;
    bool isOpen() const override;
    void seek(long offset, Position p) override;
    long tell() const override;
    long length() override;
    void truncate(long length) override;

private:
    MediaFile& m_file;
    long m_position = 0;
};
