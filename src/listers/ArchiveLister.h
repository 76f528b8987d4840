#pragma once

#include "listers/ArchiveContents.h"

#include <QString>
#include <QtGlobal>

#include <atomic>
#include <vector>

// Reads what an archive file holds: zip and the formats built on it (jar, epub, docx,
// odt...), 7z, rar, tar under any compression, cpio, cab, xar through libarchive, and
// disc images (ISO 9660, UDF) through the disc image listers, so that names inside an
// image follow the rules of a disc.
//
// An archive is told by its content, not its name: libarchive's bidding among all its
// formats and filters, without the "raw" format, so a compressed single file (a .gz of
// a text) is no archive. Only headers are read: entry data is skipped, never unpacked,
// so a small archive that would unpack to terabytes costs what its headers cost. An
// archive found inside another is read from the outer one's data stream, headers only
// as well, down to kNestedDepth levels.
//
// A file that is no archive gives an empty listing and no error. An encrypted,
// damaged or truncated archive, one of more than kMaxEntries entries, or one whose
// reading takes longer than kTimeLimitMs, gives an error text and no entries: it is
// catalogued as the plain file it is.
class ArchiveLister final
{
public:
    static constexpr int kMaxEntries = 100000;
    static constexpr int kNestedDepth = 1;
    static constexpr int kTimeLimitMs = 10000;

    // An archive inside the one read that could not be read itself: it stays a plain
    // entry.
    struct NestedError
    {
        QString Path; // inside the outer archive
        QString Error;
    };
    struct Listing
    {
        bool IsArchive = false; // the file is an archive and was read to its end
        QString Format;         // as libarchive names it, or "ISO 9660" / "UDF"
        ArchiveContents Contents;
        QString Error; // why an archive could not be read; empty when it was, or is none
        std::vector<NestedError> NestedErrors;
    };

    /// Whether a file of this name is worth opening. Opening every file of a large disc
    /// to ask libarchive would cost a read per file; archives almost always carry one of
    /// these extensions, so only those files are tried (and their content decides).
    static bool HasArchiveName(const QString& fileName);
    /// Whether the name is that of a disc image, read with the disc image listers.
    static bool HasDiscImageName(const QString& fileName);
    /// Whether libarchive is part of this build (it is not on Windows yet).
    static bool Available();

    /// Reads the archive at path. cancel (may be null) set to 1 stops the reading, which
    /// then gives no entries and no error.
    static Listing Read(const QString& path, const std::atomic<int>* cancel = nullptr);

private:
    static void ReadDiscImage(const QString& path, const std::atomic<int>* cancel,
                              Listing* listing);
};
