#pragma once

#include "common/ReadAheadPool.h"
#include "media/MediaDetails.h"

#include <QString>

#include <functional>
#include <memory>

// A film, music or picture file whose details are to be read, and its category.
struct MediaReadRequest
{
    QString Path;
    int CategoryId = 0;
};

// Reads the media details of catalogued files on a few threads of its own, ahead of
// the importer that writes them: the importer hands in each film, music or picture file
// as it takes the record from the scanner, and collects the result when it comes to
// write that record. A slow file then holds up one reading thread, not the catalogue.
// Each thread has its own reader, made by the factory on that thread. The threads run
// in the background (at a lower priority), so that the writer and the scanner keep
// their cores.
class MediaReadPool final : public ReadAheadPool<MediaReadRequest, MediaRecord>
{
public:
    using ReaderFactory = std::function<std::unique_ptr<MediaDetailsReader>()>;

    // With thumbnails, each picture whose details were read gets its thumbnail made on
    // the same thread (MediaRecord::thumbnail).
    MediaReadPool(ReaderFactory factory, int threads, bool thumbnails = false);

    // The number of reading threads a machine of this many cores is given.
    static int DefaultThreads();

    JobPtr Submit(const QString& path, int categoryId)
    {
        return ReadAheadPool::Submit({path, categoryId});
    }
};
