#pragma once

#include <QTreeView>

#include <memory>

class QMenu;

/// A list with columns whose context menu is "Results": "Properties" and "Browse
/// to...", both greyed when no row is selected. The commands go to whoever holds the
/// list (the dialog), through the two signals.
class CContextListCtrl : public QTreeView
{
    Q_OBJECT

public:
    explicit CContextListCtrl(QWidget* parent = nullptr);

    bool HasSelectedRow() const;
    /// The "Results" menu as it is about to be shown; its entries emit the signals.
    std::unique_ptr<QMenu> CreateContextMenu();

signals:
    void propertiesChosen();
    void browseChosen();
    // Export... of every row (the list's owner knows its units).
    void exportChosen();

protected:
    /// From the keyboard the menu opens 5 pixels right of and below the list's top-left
    /// corner, else at the mouse.
    void contextMenuEvent(QContextMenuEvent* event) override;
};
