#pragma once

#include "acquisition/MediaDetails.h"
#include "acquisition/MediaInfoFile.h"

/// The MediaDetailsReader backed by the media libraries:
/// - films: MediaInfoLib (duration, frame size, bitrate and format of the video stream);
/// - music: TagLib for the tags and the audio properties; files TagLib cannot read
///   (an extension it has no reader for, or a name that lies about the format) are given
///   to MediaInfoLib, which finds the audio stream and the common tags in most others;
/// - pictures: Exiv2 and Qt's image readers (see PictureDetails).
/// None of them decodes the media: only headers and tags are read.
///
/// Keeps a read buffer and the parser of the file being read, so it is not thread-safe:
/// one reader per thread (a reader may be made on one thread and handed to another).
class LibraryMediaReader final : public MediaDetailsReader
{
public:
    LibraryMediaReader();
    ~LibraryMediaReader() override;
    LibraryMediaReader(const LibraryMediaReader&) = delete;
    LibraryMediaReader& operator=(const LibraryMediaReader&) = delete;

    MediaRecord Read(const QString& path, int categoryId) override;

private:
    bool ReadFilm(const QString& path, FilmInfo& film);
    bool ReadMusic(const QString& path, MusicInfo& music);
    bool ReadMusicWithMediaInfo(const QString& path, MusicInfo& music);

    MediaInfoFile m_mediaInfo;
};
