#include "media/MediaDetails.h"

#include "media/LibraryMediaReader.h"
#include "sqlitewrapper/SqliteWrapper.h"

MediaDetailsReader::~MediaDetailsReader() = default;

std::unique_ptr<MediaDetailsReader> CreateMediaDetailsReader()
{
    return std::make_unique<LibraryMediaReader>();
}

CNullable<int> AddMediaRow(CSqliteWrapper& db, const MediaRecord& media)
{
    switch (media.kind) {
    case MediaRecord::Kind::Film:
        return db.AddFilmInfo(media.film);
    case MediaRecord::Kind::Music:
        return db.AddMusicInfo(media.music);
    case MediaRecord::Kind::Picture:
        return db.AddPictureInfo(media.picture);
    case MediaRecord::Kind::None:
        break;
    }
    return {};
}
