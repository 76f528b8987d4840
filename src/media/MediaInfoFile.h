#pragma once

#include <QString>

#include <memory>
#include <vector>

class MediaFile;

namespace MediaInfoLib {
class MediaInfo;
}

/// MediaInfoLib's facts of one file at a time. The file, opened by the caller (so names
/// in any encoding work whatever the C locale), is handed to the parser as buffers, and
/// the parser only sees the parts of the file it asks for (it jumps over the bulk of a
/// film). The read buffer is kept from file to file. Not thread-safe: one object per
/// thread.
class MediaInfoFile final
{
public:
    enum class Stream { General, Video, Audio };

    MediaInfoFile();
    ~MediaInfoFile();
    MediaInfoFile(const MediaInfoFile&) = delete;
    MediaInfoFile& operator=(const MediaInfoFile&) = delete;

    /// Parses the open file; false when it is empty or of no format the parser knows.
    /// The facts stay available until the next Open or Close.
    bool Open(MediaFile& file);
    void Close();

    int Count(Stream stream) const;
    /// A field of the first stream of its kind, empty when the parser does not know it.
    /// Where a field holds several values ("2 / 6"), only the first is returned.
    QString Text(Stream stream, const char* field) const;
    /// A numeric field as a double; false when missing or not a number.
    bool Number(Stream stream, const char* field, double& value) const;

private:
    bool Feed(MediaFile& file);

    std::unique_ptr<MediaInfoLib::MediaInfo> m_parser;
    std::vector<unsigned char> m_buffer;
};
