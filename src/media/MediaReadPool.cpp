#include "media/MediaReadPool.h"

#include "media/Thumbnailer.h"

#include <QThread>

#include <algorithm>

namespace {

// What one reading thread does with each file: its own reader's details, and the
// thumbnail of a picture when asked for.
ReadAheadPool<MediaReadRequest, MediaRecord>::Read
ReadWith(const std::shared_ptr<MediaDetailsReader>& reader, bool thumbnails)
{
    return [reader, thumbnails](const MediaReadRequest& request, const std::atomic<int>&) {
        MediaRecord record;
        if (!reader)
            return record;
        try {
            record = reader->Read(request.Path, request.CategoryId);
            if (thumbnails && record.kind == MediaRecord::Kind::Picture)
                record.thumbnail = Thumbnailer::Make(request.Path);
        } catch (...) {
            // A reader promises not to throw; should one still do so, the file is
            // catalogued without details rather than the thread lost.
            record = MediaRecord();
        }
        return record;
    };
}

} // namespace

MediaReadPool::MediaReadPool(ReaderFactory factory, int threads, bool thumbnails)
    : ReadAheadPool(
          [factory = std::move(factory), thumbnails] {
              return ReadWith(factory ? std::shared_ptr<MediaDetailsReader>(factory()) : nullptr,
                              thumbnails);
          },
          threads, true)
{
}

int MediaReadPool::DefaultThreads()
{
    // Reading a header is mostly waiting for the disc and parsing; one reader per core
    // keeps the cores busy while the importer and the scanner share them too.
    return std::max(1, QThread::idealThreadCount());
}
