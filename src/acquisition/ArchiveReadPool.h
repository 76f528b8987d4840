#pragma once

#include "common/ReadAheadPool.h"
#include "listers/ArchiveLister.h"

#include <QString>

// Reads archives' contents ahead of the importer that writes them, as MediaReadPool
// reads media details: the importer hands in each file that may be an archive as it
// takes the record from the scanner, and collects the listing when it comes to write
// that record, or later, when the listing takes longer. A large archive then holds up
// one reading thread, not the catalogue; when the pool goes away, a reading under way is
// stopped. With background, the threads run at a lower priority.
class ArchiveReadPool final : public ReadAheadPool<QString, ArchiveLister::Listing>
{
public:
    explicit ArchiveReadPool(int threads, bool background = false)
        : ReadAheadPool(
              [] {
                  return [](const QString& path, const std::atomic<int>& cancel) {
                      return ArchiveLister::Read(path, &cancel);
                  };
              },
              threads, background)
    {
    }
};
