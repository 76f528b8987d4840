#pragma once

class QTreeWidgetItem;

// The child of a tree item that shows unitId, found after expanding the item (which
// reads its children from the catalogue); null when it has none.
QTreeWidgetItem* ExpandedChild(QTreeWidgetItem* parent, int unitId);
