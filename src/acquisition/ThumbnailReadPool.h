#pragma once

#include "common/ReadAheadPool.h"
#include "media/Thumbnailer.h"

#include <QString>

// Makes pictures' thumbnails ahead of the importer, on threads of their own beside the
// media readers: a picture's details are needed before its row is written, its
// thumbnail only after, so a large picture to decode holds up neither the row nor the
// details of the files behind it. The threads run in the background (lower priority).
class ThumbnailReadPool final : public ReadAheadPool<QString, ThumbnailRecord>
{
public:
    explicit ThumbnailReadPool(int threads)
        : ReadAheadPool(
              [] {
                  return [](const QString& path, const std::atomic<int>&) {
                      return Thumbnailer::Make(path);
                  };
              },
              threads, true)
    {
    }
};
