#pragma once

#include <QString>
#include <QtGlobal>

#include <array>
#include <vector>

// What a rescan found between a catalogued disc, folder or file and its source as it
// is now: one entry per file or folder, by its path relative to the unit ("A/b.txt",
// names joined by '/'). Dates are the catalogue's DateModified text, the local
// wall-clock "YYYY-MM-DD HH:MM:SS" the importer writes; empty when there is none (a
// folder, a side without the entry).
class CChangeList final
{
public:
    enum class Kind {
        Added,     // on the source only
        Removed,   // in the catalogue only
        Changed,   // a file of another size or modification date
        Moved,     // a file found under another path, with its name, size and date
        Unchanged, // as catalogued
        Unreadable // a folder that cannot be read now: its catalogued contents are kept
    };
    static constexpr int kKinds = 6;

    struct Change
    {
        Kind What = Kind::Unchanged;
        QString Path; // the path now; for a removal, the catalogued one
        // A move's catalogued path; for a unit found again whose name differs only in
        // case (on a medium that ignores case), its catalogued path; empty otherwise.
        QString OldPath;
        int UnitId = 0; // the catalogued unit; 0 for an addition
        qint64 OldSize = 0;
        qint64 NewSize = 0;
        QString OldDate;
        QString NewDate;
        // What an added or changed file is written with besides: its creation date
        // (empty when unknown) and, for a link, where it points.
        QString NewCreated;
        QString LinkTarget;
        bool IsFolder = false;
    };

    /// The word a report names a kind by: "added", "removed", "changed", "moved",
    /// "unchanged", "unreadable".
    static const char* Word(Kind kind);

    void Add(Change change);
    /// Room for count entries, so that adding a whole tree moves none of them.
    void Reserve(size_t count) { m_entries.reserve(count); }
    const std::vector<Change>& Entries() const { return m_entries; }

    int Count(Kind kind) const { return m_counts[Index(kind)]; }
    /// The bytes of the files of that kind: the new sizes of additions, changes and
    /// moves, the catalogued sizes of removals.
    qint64 Bytes(Kind kind) const { return m_bytes[Index(kind)]; }
    /// Whether anything differs from the catalogue (unreadable folders count).
    bool HasChanges() const;

    /// The head line of a report: "12 added (340.00 MB), 3 removed (1.20 GB), 5 changed,
    /// 1 moved", kinds with no entry left out, unreadable folders last; "No changes"
    /// when everything is as catalogued.
    QString Summary() const;

private:
    static size_t Index(Kind kind) { return static_cast<size_t>(kind); }

    std::vector<Change> m_entries;
    std::array<int, kKinds> m_counts{};
    std::array<qint64, kKinds> m_bytes{};
};
