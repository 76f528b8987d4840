#include "document/CatalogueCheck.h"

#include "sqlitewrapper/SqliteWrapper.h"
#include "sqlitewrapper/SubtreeSums.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <tuple>
#include <unordered_map>

namespace {

using Disagreement = CatalogueDisagreement;

// Names are looked up for the units found wanting, this many ids per statement.
constexpr size_t kNamesPerQuery = 500;

// One Units row as the check needs it, with the totals of its subtree. Names are left
// out: a catalogue may hold millions of units, and only a few are ever reported.
struct UnitRow
{
    qint64 Size = 0;
    qint64 StoredFiles = 0;
    qint64 StoredFolders = 0;
    qint64 Bytes = 0; // the file bytes below the unit
    int Id = 0;
    int ParentId = 0;
    int StorageId = 0;
    int ParentIndex = -1; // in the id-ordered list; -1 at the top or when the parent is missing
    int PendingChildren = 0;
    int Files = 0;   // the files below the unit, all levels
    int Folders = 0; // the folders below the unit, all levels
    char Type = '\0';
    bool HasParent = false;

    bool IsEmpty() const { return Files == 0 && Folders == 0 && Bytes == 0; }
};

struct StorageRow
{
    int Id = 0;
    QString Name;
    qint64 Files = 0;
    qint64 Folders = 0;
    qint64 Discs = 0;
    qint64 Size = 0;
};

struct NamedRow
{
    int Id = 0;
    QString Name;
    int CategoryId = 0;
    qint64 Reference = 0;
};

qint64 Number(char** values, int i)
{
    return values[i] ? std::strtoll(values[i], nullptr, 10) : 0;
}

QString Text(char** values, int i)
{
    return values[i] ? QString::fromUtf8(values[i]) : QString();
}

// "UnitID, ParentUnitID, StorageID, UnitType, UnitSize, SubfilesNumber, SubfoldersNumber"
void MapUnit(std::vector<UnitRow>& rows, int, char** values)
{
    UnitRow row;
    row.Id = static_cast<int>(Number(values, 0));
    row.HasParent = values[1] != nullptr;
    row.ParentId = static_cast<int>(Number(values, 1));
    row.StorageId = static_cast<int>(Number(values, 2));
    row.Type = values[3] ? values[3][0] : '\0';
    row.Size = Number(values, 4);
    row.StoredFiles = Number(values, 5);
    row.StoredFolders = Number(values, 6);
    rows.push_back(row);
}

// "StorageID, StorageName, FilesNumber, FoldersNumber, DiscsNumber, StorageSize"
void MapStorage(std::vector<StorageRow>& rows, int, char** values)
{
    rows.push_back({static_cast<int>(Number(values, 0)), Text(values, 1), Number(values, 2),
                    Number(values, 3), Number(values, 4), Number(values, 5)});
}

// "UnitID, UnitName[, CategoryID, UnitInfoID]"
void MapNamed(std::vector<NamedRow>& rows, int columns, char** values)
{
    NamedRow row;
    row.Id = static_cast<int>(Number(values, 0));
    row.Name = Text(values, 1);
    if (columns > 3) {
        row.CategoryId = static_cast<int>(Number(values, 2));
        row.Reference = Number(values, 3);
    }
    rows.push_back(std::move(row));
}

Disagreement Make(Disagreement::Subject what, Disagreement::Problem kind, int id,
                  const char* column, qint64 stored, qint64 computed = 0)
{
    Disagreement d;
    d.What = what;
    d.Kind = kind;
    d.Id = id;
    d.Column = QString::fromLatin1(column);
    d.Stored = stored;
    d.Computed = computed;
    return d;
}

void CompareCounter(Disagreement::Subject what, int id, const QString& name, const char* column,
                    qint64 stored, qint64 computed, std::vector<Disagreement>& found)
{
    if (stored == computed)
        return;
    Disagreement d = Make(what, Disagreement::Problem::WrongCounter, id, column, stored, computed);
    d.Name = name;
    found.push_back(std::move(d));
}

void ReadUnits(CSqliteWrapper& db, std::vector<UnitRow>& units)
{
    units.reserve(static_cast<size_t>(db.CountUnits()));
    db.GetUnitCounters(units, &MapUnit);
}

// Links every unit to its parent and sums the subtrees bottom-up (SubtreeSums). Units in
// a loop of parents never get there; they are reported instead of their counters.
void CheckUnits(std::vector<UnitRow>& units, std::vector<Disagreement>& found)
{
    using D = Disagreement;
    const auto byId = [](const UnitRow& row, int id) { return row.Id < id; };
    for (UnitRow& unit : units) {
        if (!unit.HasParent)
            continue;
        const auto parent = std::lower_bound(units.begin(), units.end(), unit.ParentId, byId);
        if (parent == units.end() || parent->Id != unit.ParentId) {
            D d = Make(D::Subject::Unit, D::Problem::MissingRow, unit.Id, "ParentUnitID",
                       unit.ParentId);
            d.Table = QStringLiteral("Units");
            found.push_back(std::move(d));
            continue;
        }
        unit.ParentIndex = static_cast<int>(parent - units.begin());
        ++parent->PendingChildren;
        if (parent->StorageId != unit.StorageId)
            found.push_back(Make(D::Subject::Unit, D::Problem::ParentInOtherStorage, unit.Id,
                                 "StorageID", unit.StorageId, parent->StorageId));
    }

    SubtreeSums::Sum(units);

    for (const UnitRow& unit : units) {
        if (unit.PendingChildren > 0) {
            found.push_back(Make(D::Subject::Unit, D::Problem::ParentLoop, unit.Id, "ParentUnitID",
                                 unit.ParentId));
            continue;
        }
        if (unit.Type != 'C' && unit.Type != 'D')
            continue;
        CompareCounter(D::Subject::Unit, unit.Id, QString(), "SubfilesNumber", unit.StoredFiles,
                       unit.Files, found);
        CompareCounter(D::Subject::Unit, unit.Id, QString(), "SubfoldersNumber", unit.StoredFolders,
                       unit.Folders, found);
        CompareCounter(D::Subject::Unit, unit.Id, QString(), "UnitSize", unit.Size, unit.Bytes,
                       found);
    }
}

void CheckStorages(CSqliteWrapper& db, const std::vector<UnitRow>& units,
                   std::vector<Disagreement>& found)
{
    using D = Disagreement;
    std::vector<StorageRow> stored;
    db.GetStorageCounters(stored, &MapStorage);

    std::map<int, StorageRow> computed;
    for (const StorageRow& storage : stored)
        computed[storage.Id].Id = storage.Id;
    for (const UnitRow& unit : units) {
        const auto it = computed.find(unit.StorageId);
        if (it == computed.end()) {
            D d = Make(D::Subject::Unit, D::Problem::MissingRow, unit.Id, "StorageID",
                       unit.StorageId);
            d.Table = QStringLiteral("Storages");
            found.push_back(std::move(d));
            continue;
        }
        StorageRow& sums = it->second;
        if (unit.Type == 'F') {
            ++sums.Files;
            sums.Size += unit.Size;
        } else if (unit.Type == 'D') {
            // A folder added on its own and found empty never reaches the counters.
            if (unit.HasParent || !unit.IsEmpty())
                ++sums.Folders;
        } else if (unit.Type == 'C') {
            if (!unit.IsEmpty())
                ++sums.Discs;
        }
    }

    for (const StorageRow& storage : stored) {
        const StorageRow& sums = computed[storage.Id];
        const auto compare = [&](const char* column, qint64 value, qint64 rows) {
            CompareCounter(D::Subject::Storage, storage.Id, storage.Name, column, value, rows,
                           found);
        };
        compare("FilesNumber", storage.Files, sums.Files);
        compare("FoldersNumber", storage.Folders, sums.Folders);
        compare("DiscsNumber", storage.Discs, sums.Discs);
        compare("StorageSize", storage.Size, sums.Size);
    }
}

bool IsArchiveEntry(char type)
{
    return type == 'd' || type == 'f';
}

// An archive's entries ('d' and 'f' units) lie below its 'F' unit, or below an entry
// that is an archive itself; each ArchiveInfo row counts the entries below its unit, at
// any depth. The entries never count in the counters above, whose sums leave them out.
void CheckArchives(CSqliteWrapper& db, const std::vector<UnitRow>& units,
                   std::vector<Disagreement>& found)
{
    using D = Disagreement;
    std::vector<NamedRow> rows;
    db.GetArchiveEntryCounts(rows, &MapNamed);
    if (rows.empty())
        return;
    std::vector<qint64> below(units.size(), 0);
    for (const UnitRow& unit : units) {
        if (!IsArchiveEntry(unit.Type) || unit.PendingChildren > 0)
            continue;
        for (int at = unit.ParentIndex; at >= 0;) {
            const UnitRow& ancestor = units[static_cast<size_t>(at)];
            ++below[static_cast<size_t>(at)];
            if (!IsArchiveEntry(ancestor.Type))
                break;
            at = ancestor.ParentIndex;
        }
    }
    const auto byId = [](const UnitRow& row, int id) { return row.Id < id; };
    for (const NamedRow& row : rows) {
        const auto unit = std::lower_bound(units.begin(), units.end(), row.Id, byId);
        if (unit == units.end() || unit->Id != row.Id) {
            D d = Make(D::Subject::Unit, D::Problem::MissingRow, row.Id, "UnitID", row.Id);
            d.Name = row.Name;
            d.Table = QStringLiteral("Units");
            found.push_back(std::move(d));
            continue;
        }
        CompareCounter(D::Subject::Unit, row.Id, QString(), "EntriesNumber", row.Reference,
                       below[static_cast<size_t>(unit - units.begin())], found);
    }
}

// The media tables are looked up through their keys, one scan of Units in all.
void CheckMediaRows(CSqliteWrapper& db, std::vector<Disagreement>& found)
{
    using D = Disagreement;
    std::vector<NamedRow> rows;
    db.GetUnitsMissingMediaRows(rows, &MapNamed);
    for (const NamedRow& row : rows) {
        D d = Make(D::Subject::Unit, D::Problem::MissingRow, row.Id, "UnitInfoID", row.Reference);
        d.Name = row.Name;
        d.Table = row.CategoryId == 2   ? QStringLiteral("FilmInfo")
                  : row.CategoryId == 3 ? QStringLiteral("MusicInfo")
                                        : QStringLiteral("PictureInfo");
        found.push_back(std::move(d));
    }
}

// A source row outlives its unit only when something other than the program deleted
// the unit.
void CheckUnitSources(CSqliteWrapper& db, std::vector<Disagreement>& found)
{
    using D = Disagreement;
    std::vector<NamedRow> rows;
    db.GetOrphanUnitSources(rows, &MapNamed);
    for (const NamedRow& row : rows) {
        D d = Make(D::Subject::UnitSource, D::Problem::MissingRow, row.Id, "UnitID", row.Id);
        d.Name = row.Name;
        d.Table = QStringLiteral("Units");
        found.push_back(std::move(d));
    }
}

// The counters and references were checked without names; the few units reported get
// theirs here.
void FillUnitNames(CSqliteWrapper& db, std::vector<Disagreement>& found)
{
    std::vector<int> ids;
    for (const Disagreement& d : found) {
        if (d.What == Disagreement::Subject::Unit && d.Name.isEmpty())
            ids.push_back(d.Id);
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());

    std::unordered_map<int, QString> names;
    for (size_t first = 0; first < ids.size(); first += kNamesPerQuery) {
        const size_t last = std::min(ids.size(), first + kNamesPerQuery);
        const std::vector<int> batch(ids.begin() + static_cast<std::ptrdiff_t>(first),
                                     ids.begin() + static_cast<std::ptrdiff_t>(last));
        std::vector<NamedRow> rows;
        db.GetUnitNames(batch, rows, &MapNamed);
        for (NamedRow& row : rows)
            names[row.Id] = std::move(row.Name);
    }
    for (Disagreement& d : found) {
        if (d.What == Disagreement::Subject::Unit && d.Name.isEmpty())
            d.Name = names[d.Id];
    }
}

} // namespace

bool CatalogueDisagreement::operator==(const CatalogueDisagreement& other) const
{
    return std::tie(What, Kind, Id, Name, Column, Stored, Computed, Table) ==
           std::tie(other.What, other.Kind, other.Id, other.Name, other.Column, other.Stored,
                    other.Computed, other.Table);
}

CCatalogueCheck::CCatalogueCheck(CSqliteWrapper& db) : m_db(db)
{
}

std::vector<CatalogueDisagreement> CCatalogueCheck::Run()
{
    std::vector<UnitRow> units;
    ReadUnits(m_db, units);

    std::vector<Disagreement> found;
    CheckUnits(units, found);
    CheckStorages(m_db, units, found);
    CheckArchives(m_db, units, found);
    units.clear();
    units.shrink_to_fit();
    CheckMediaRows(m_db, found);
    FillUnitNames(m_db, found);
    CheckUnitSources(m_db, found);

    // Storages before units before source rows, each in id order; the problems of one
    // unit keep the order in which they were found.
    std::stable_sort(found.begin(), found.end(), [](const Disagreement& a, const Disagreement& b) {
        return std::make_pair(a.What, a.Id) < std::make_pair(b.What, b.Id);
    });
    return found;
}

QString CCatalogueCheck::Describe(const CatalogueDisagreement& d)
{
    using D = CatalogueDisagreement;
    const QString subject = d.What == D::Subject::Storage      ? QStringLiteral("Storage")
                            : d.What == D::Subject::UnitSource ? QStringLiteral("Source of unit")
                                                               : QStringLiteral("Unit");
    QString head = QStringLiteral("%1 %2 \"%3\": %4 is %5")
                       .arg(subject)
                       .arg(d.Id)
                       .arg(d.Name, d.Column)
                       .arg(d.Stored);
    switch (d.Kind) {
    case D::Problem::WrongCounter:
        return head + QStringLiteral(", the rows give %1").arg(d.Computed);
    case D::Problem::MissingRow:
        return head + QStringLiteral(", %1 has no such row").arg(d.Table);
    case D::Problem::ParentInOtherStorage:
        return head + QStringLiteral(", but its parent lies in storage %1").arg(d.Computed);
    case D::Problem::ParentLoop:
        return head + QStringLiteral(", and its parents run in a loop");
    }
    return head;
}
