#pragma once

#include <QString>
#include <QtGlobal>

#include <vector>

class CSqliteWrapper;

// One place where a catalogue's rows and what it stores about them disagree.
struct CatalogueDisagreement
{
    // UnitSource: a UnitSources row, named by its UnitID and its SourcePath.
    enum class Subject { Storage, Unit, UnitSource };

    enum class Problem {
        // A stored counter differs from the count or sum over the rows: Stored is the
        // column's value, Computed what the rows give.
        WrongCounter,
        // The column refers to a row that does not exist: Stored is the reference,
        // Table the table that lacks the row ("Units", "Storages", "FilmInfo", ...).
        MissingRow,
        // The unit's parent lies in another storage: Stored is the unit's StorageID,
        // Computed the parent's.
        ParentInOtherStorage,
        // Following ParentUnitID from the unit never reaches the top of a storage: the
        // unit is part of a loop of parents. Stored is its ParentUnitID.
        ParentLoop,
    };

    Subject What = Subject::Unit;
    Problem Kind = Problem::WrongCounter;
    int Id = 0;
    QString Name;
    QString Column;
    qint64 Stored = 0;
    qint64 Computed = 0;
    QString Table;

    bool operator==(const CatalogueDisagreement& other) const;
};

// Recomputes every counter that a catalogue stores from its rows and reports where the
// two disagree, together with references that lead nowhere:
// - per disc and folder: SubfilesNumber, SubfoldersNumber and UnitSize over its whole
//   subtree;
// - per storage: FilesNumber, FoldersNumber and StorageSize over all its units, and
//   DiscsNumber, the discs that are not empty;
// - units whose parent or storage is missing, whose parent lies in another storage or
//   whose parents run in a loop;
// - units whose UnitInfoID names no row in the media table of their category;
// - UnitSources rows whose unit does not exist;
// - per archive (an ArchiveInfo row): EntriesNumber over the 'd' and 'f' units below
//   it, and rows whose unit does not exist. Archive entries count in no other counter.
//
// The import does not count a disc or a top-level folder that it finds empty (no
// files, no folders, no bytes) in the storage's counters, so neither does the check.
// A disc or folder that was emptied after its import by deleting its contents is still
// counted by the catalogue; the rows cannot tell it from one imported empty, and the
// check reports it.
//
// The check reads the whole Units table once, in id order, and sums the subtrees in
// memory, so it costs a few table scans however large the catalogue is. It changes
// nothing.
class CCatalogueCheck final
{
public:
    explicit CCatalogueCheck(CSqliteWrapper& db);
    CCatalogueCheck(const CCatalogueCheck&) = delete;
    CCatalogueCheck& operator=(const CCatalogueCheck&) = delete;

    /// Runs every check. Storages come first, in id order, then units, then source rows,
    /// each in id order; an empty list means the catalogue is consistent. Raises
    /// CSqliteWrapperError when a query fails.
    std::vector<CatalogueDisagreement> Run();

    /// One line for a person, e.g.
    /// Unit 12 "Docs": SubfilesNumber is 3, the rows give 4
    static QString Describe(const CatalogueDisagreement& disagreement);

private:
    CSqliteWrapper& m_db;
};
