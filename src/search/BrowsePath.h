#pragma once

#include <optional>
#include <vector>

class CShelfwiseDoc;

/// Where the window shows a unit: the path the tree selects ([StorageID, UnitID, ...])
/// and the row then selected in the list (0 for none). A disc or folder is selected in
/// the tree; a file, which the tree does not hold, is the row of its folder's list.
struct BrowsePath
{
    std::vector<int> treePath;
    int listUnitId = 0;
};

namespace BrowsePaths {

/// The place of unitId, read from the catalogue; none when it could not be read (the
/// document has reported why).
std::optional<BrowsePath> Of(CShelfwiseDoc& doc, int unitId);

} // namespace BrowsePaths
