#pragma once

#include "sqlitewrapper/Records.h"
#include "sqlitewrapper/ThumbnailRecord.h"

#include <QString>

#include <memory>

// The media row of one catalogued file: which of the three records is filled is told
// by Kind. Kind::None means there is no row to write, either because the category has
// no media table or because the file could not be read as such a medium.
struct MediaRecord
{
    enum class Kind { None, Film, Music, Picture } kind = Kind::None;
    FilmInfo film;
    MusicInfo music;
    PictureInfo picture;
    // A picture's thumbnail, when one was asked for and made (see Thumbnailer).
    ThumbnailRecord thumbnail;
};

/// Reads the media facts of one file for its category: CategoryIds::Film gives a
/// FilmInfo, Music a MusicInfo, Picture a PictureInfo, any other category Kind::None.
/// A value the file does not tell stays NULL. A file that is missing, empty, truncated
/// beyond use or not of the format its name claims gives Kind::None; Read never throws
/// and never shows anything.
///
/// A reader keeps state between calls (a read buffer, the parser of the current file),
/// so one object must not be used by two threads at once. Separate readers may run on separate
/// threads at the same time: give each worker thread its own.
class MediaDetailsReader
{
public:
    virtual ~MediaDetailsReader();

    virtual MediaRecord Read(const QString& path, int categoryId) = 0;
};

/// The reader backed by the media libraries (MediaInfoLib, TagLib, Exiv2, Qt's image
/// readers). Cheap to create; the libraries' process-wide set-up happens once, on the
/// first reader made.
std::unique_ptr<MediaDetailsReader> CreateMediaDetailsReader();

class CSqliteWrapper;

/// Writes the record's row into the media table of its kind and returns its id, to be
/// the unit's UnitInfoID; NULL for Kind::None. Raises CSqliteWrapperError.
CNullable<int> AddMediaRow(CSqliteWrapper& db, const MediaRecord& media);
