#include "views/TreeItems.h"

#include "views/NavigationView.h"

#include <QTreeWidgetItem>

QTreeWidgetItem* ExpandedChild(QTreeWidgetItem* parent, int unitId)
{
    parent->setExpanded(true);
    for (int c = 0; c < parent->childCount(); ++c) {
        if (CNavigationView::ItemId(parent->child(c)) == unitId)
            return parent->child(c);
    }
    return nullptr;
}
