#pragma once

#include "acquisition/ChangeList.h"
#include "listers/ArchiveLister.h"
#include "media/MediaReadPool.h"
#include "sqlitewrapper/Records.h"
#include "volumes/VolumeInfo.h"

#include <QString>

class CShelfwiseDoc;
class CSqliteWrapper;

// Brings a catalogued disc, folder or file in line with its source, as a rescan found
// it (CRescan): additions written as an addition writes them (category by extension,
// media details, a link's target in its notes), removals deleted, moved files given
// their new folder, changed files their new size, dates and media details, and the
// counters of the unit and its storage counted again. Ids, notes and categories of
// everything that stays are kept. All of it is one transaction and one step of Undo,
// with a row in the unit's update history and the source recorded again.
class CUnitUpdate final
{
public:
    using ReaderFactory = MediaReadPool::ReaderFactory;

    explicit CUnitUpdate(CShelfwiseDoc& doc);

    /// What makes the readers of media details (by default the library-backed one);
    /// null reads none.
    void SetMediaReaderFactory(ReaderFactory factory) { m_readerFactory = std::move(factory); }
    /// Whether added and changed pictures get a new thumbnail (Settings::KeepThumbnails
    /// unless set); off, a changed picture loses the one it had.
    void SetThumbnails(bool on) { m_thumbnails = on; }
    /// Whether added and changed archives get their entries read (Settings::
    /// LookInsideArchives unless set); off, a changed archive loses the entries it had.
    /// An archive that did not change keeps its entries either way.
    void SetLookInsideArchives(bool on) { m_archives = on; }

    /// For a disc: the question to ask when the volume found at its source (label and
    /// serial number) is not the disc catalogued, which would be compared with a stranger;
    /// empty when it is the same disc, when the unit is not a disc, or when either side
    /// does not tell.
    static QString AnotherDiscQuestion(CSqliteWrapper& db, int unitId, const VolumeInfo& found,
                                       const QString& sourcePath);

    /// Applies changes, found between the unit and sourcePath (mountPoint: a disc's mount
    /// point or image file, empty otherwise). False when it failed (reported) and nothing
    /// changed. Nothing is written, not even history, when nothing changed.
    bool Apply(int unitId, const CChangeList& changes, const QString& sourcePath,
               const QString& mountPoint);

    /// After Apply: what the history keeps of it.
    const UnitUpdateRecord& Record() const { return m_record; }

private:
    // Reads the media details of the added and changed files that have a media
    // category, before the transaction; by index in changes, Kind::None elsewhere.
    void ReadMedia(const CChangeList& changes, const QString& sourcePath);
    // Reads the contents of the added and changed files that may be archives, before
    // the transaction; by index in changes, an empty listing elsewhere. singleFile: the
    // unit is a file catalogued on its own, found at sourcePath itself.
    void ReadArchives(const CChangeList& changes, const QString& sourcePath, bool singleFile);
    void Write(CSqliteWrapper& db, int unitId, const CChangeList& changes);

    CShelfwiseDoc& m_doc;
    ReaderFactory m_readerFactory;
    bool m_thumbnails = true;
    bool m_archives = true;
    std::vector<ArchiveLister::Listing> m_listings; // by index in the changes
    std::vector<int> m_categories; // by index in the changes: an added file's category
    std::vector<MediaRecord> m_media;
    UnitUpdateRecord m_record;
};
