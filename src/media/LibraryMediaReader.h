#pragma once

#include "media/MediaDetails.h"
#include "media/MediaFile.h"
#include "media/MediaInfoFile.h"

/// The MediaDetailsReader backed by the media libraries:
/// - films: MediaInfoLib (duration, frame size, bitrate and format of the video stream);
///   the length of a Theora film from its Ogg pages (see OggDuration), and the rate of
///   the whole file when the container states none;
/// - music: TagLib for the tags and the audio properties (a WAV file's RIFF INFO list
///   too, an Ogg file's length from its pages when the headers lack it); files TagLib cannot read
///   (an extension it has no reader for, or a name that lies about the format) are given
///   to MediaInfoLib, which finds the audio stream and the common tags in most others;
/// - pictures: Exiv2 and Qt's image readers (see PictureDetails).
/// None of them decodes the media: only headers and tags are read.
///
/// The file is opened once and all the libraries read it through the same few cached
/// blocks (MediaFile), the content sniff of a music file included.
///
/// Keeps the open file, its blocks and the parser of the file being read, so it is not
/// thread-safe: one reader per thread (a reader may be made on one thread and handed to
/// another). Readers on separate threads share nothing but the libraries' process-wide
/// set-up, made once and guarded.
class LibraryMediaReader final : public MediaDetailsReader
{
public:
    enum class FileAccess {
        Shared, ///< one open, one set of blocks for all the libraries
        /// Each library opens the file by its name and reads it its own way, as they do
        /// when left alone, and SVGs are parsed whole by Qt: the plain way, kept to
        /// check and measure the shared access against.
        ByName
    };

    explicit LibraryMediaReader(FileAccess access = FileAccess::Shared);
    ~LibraryMediaReader() override;
    LibraryMediaReader(const LibraryMediaReader&) = delete;
    LibraryMediaReader& operator=(const LibraryMediaReader&) = delete;

    MediaRecord Read(const QString& path, int categoryId) override;

private:
    bool ReadCategory(const QString& path, int categoryId, MediaRecord& record);
    bool ReadFilm(FilmInfo& film);
    bool ReadMusic(const QString& path, MusicInfo& music);
    bool ReadMusicWithTagLib(const QString& path, MusicInfo& music);
    void ReadOggLength(const QString& path, MusicInfo& music);
    bool ReadMusicWithMediaInfo(MusicInfo& music);

    const FileAccess m_access;
    MediaFile m_file;
    MediaInfoFile m_mediaInfo;
};
