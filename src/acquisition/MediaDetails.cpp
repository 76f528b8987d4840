#include "acquisition/MediaDetails.h"

#include "acquisition/LibraryMediaReader.h"

MediaDetailsReader::~MediaDetailsReader() = default;

std::unique_ptr<MediaDetailsReader> CreateMediaDetailsReader()
{
    return std::make_unique<LibraryMediaReader>();
}
