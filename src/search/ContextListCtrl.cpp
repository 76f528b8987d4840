#include "search/ContextListCtrl.h"

#include <QContextMenuEvent>
#include <QItemSelectionModel>
#include <QMenu>

CContextListCtrl::CContextListCtrl(QWidget* parent) : QTreeView(parent)
{
    setContextMenuPolicy(Qt::DefaultContextMenu);
}

bool CContextListCtrl::HasSelectedRow() const
{
    return selectionModel() && selectionModel()->hasSelection();
}

std::unique_ptr<QMenu> CContextListCtrl::CreateContextMenu()
{
    auto menu = std::make_unique<QMenu>(tr("Results"), this);
    menu->setAccessibleName(tr("Results"));
    QAction* properties = menu->addAction(tr("Properties"));
    QAction* browse = menu->addAction(tr("Browse to..."));
    const bool selected = HasSelectedRow();
    properties->setEnabled(selected);
    browse->setEnabled(selected);
    connect(properties, &QAction::triggered, this, &CContextListCtrl::propertiesChosen);
    connect(browse, &QAction::triggered, this, &CContextListCtrl::browseChosen);
    menu->addSeparator();
    QAction* exportRows = menu->addAction(tr("Export..."));
    exportRows->setEnabled(model() && model()->rowCount() > 0);
    connect(exportRows, &QAction::triggered, this, &CContextListCtrl::exportChosen);
    return menu;
}

void CContextListCtrl::contextMenuEvent(QContextMenuEvent* event)
{
    const QPoint at = event->reason() == QContextMenuEvent::Keyboard ? mapToGlobal(QPoint(5, 5))
                                                                     : event->globalPos();
    const std::unique_ptr<QMenu> menu = CreateContextMenu();
    menu->exec(at);
}
