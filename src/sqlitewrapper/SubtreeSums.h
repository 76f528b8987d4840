#pragma once

#include <cstddef>
#include <vector>

namespace SubtreeSums {

// Adds every unit's files, folders and file bytes to its ancestors', children first: a
// unit passes its totals to its parent once all of its own children have passed theirs.
// Each row comes with ParentIndex (its parent's index in rows, -1 for none) and
// PendingChildren (how many rows name it as parent) set, and Files, Folders and Bytes at
// zero; Type is 'F' for a file, 'D' for a folder, and Size a file's bytes. Rows in a loop
// of parents never get there: they keep PendingChildren above zero.
template <typename Row> void Sum(std::vector<Row>& rows)
{
    std::vector<int> ready;
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].PendingChildren == 0)
            ready.push_back(static_cast<int>(i));
    }
    while (!ready.empty()) {
        const Row& unit = rows[static_cast<size_t>(ready.back())];
        ready.pop_back();
        if (unit.ParentIndex < 0)
            continue;
        Row& parent = rows[static_cast<size_t>(unit.ParentIndex)];
        parent.Files += unit.Files + (unit.Type == 'F' ? 1 : 0);
        parent.Folders += unit.Folders + (unit.Type == 'D' ? 1 : 0);
        parent.Bytes += unit.Bytes + (unit.Type == 'F' ? unit.Size : 0);
        if (--parent.PendingChildren == 0)
            ready.push_back(unit.ParentIndex);
    }
}

} // namespace SubtreeSums
