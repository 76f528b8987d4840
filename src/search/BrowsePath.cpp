#include "search/BrowsePath.h"

#include "document/ShelfwiseDoc.h"
#include "sqlitewrapper/SqliteWrapper.h"

std::optional<BrowsePath> BrowsePaths::Of(CShelfwiseDoc& doc, int unitId)
{
    BrowsePath place;
    UnitListItem unit;
    const bool read = doc.Guard([&] {
        CSqliteWrapper& db = doc.Database();
        unit = db.GetUnit(unitId);
        std::vector<int> ancestors = db.GetAncestorIds(unitId); // parent first
        place.treePath.push_back(db.GetUnitStorageId(unitId));
        place.treePath.insert(place.treePath.end(), ancestors.rbegin(), ancestors.rend());
    });
    if (!read)
        return std::nullopt;
    // Files (inside an archive too) are shown in their folder's list, never in the tree.
    if (unit.Kind == UnitKind::File || unit.Kind == UnitKind::ArchiveFile)
        place.listUnitId = unitId;
    else
        place.treePath.push_back(unitId);
    return place;
}
