#pragma once

#include "sqlitewrapper/Records.h"

#include <QStackedWidget>

class CCommands;
class CDetailsModel;
class CDetailsSortModel;
class CIconGridDelegate;
class CShelfwiseDoc;
class CUnitIcons;
class QAbstractItemView;
class QListView;
class QMenu;
class QModelIndex;
class QTreeView;

// The right pane: the children of the tree's selection, files included, as large
// icons, small icons, a list, or (Details) a table of name, size, category and type
// that sorts by a click on a column header, discs and folders first. Activating a disc
// or folder browses into it; activating a file asks for its properties. A rename made
// anywhere but in this list's own editor reads the rows again.
class CDetailsView final : public QStackedWidget
{
    Q_OBJECT

public:
    enum class Mode { Icons, SmallIcons, List, Details };

    CDetailsView(CShelfwiseDoc& doc, CUnitIcons& icons, const CCommands& commands,
                 QWidget* parent = nullptr);

    // Reads the rows again; the selected row stays selected while it is listed.
    void Refill();
    void SetMode(Mode mode);
    Mode CurrentMode() const { return m_mode; }
    // The Details mode's sort column (-1: the catalogue's order) and direction.
    int SortColumn() const;
    Qt::SortOrder SortOrder() const;
    void SetSort(int column, Qt::SortOrder order);
    // Focuses the list and selects the row of unitId, when it is there.
    void SelectRowByUnitId(int unitId);
    // The UnitID of the selected row, -1 when none.
    int SelectedUnitId() const;
    // Deletes the selected row after asking and selects its neighbour; the name of what
    // was deleted, empty when nothing was.
    QString DeleteSelected();
    // Renames the selected row in place, whatever its kind.
    void RenameSelected();
    // Moves the selected file to a category: with Yes to the question, every file
    // with its extension too.
    void ChangeCategory(int categoryId);

    // The menu for the selected row (onRow) or for the empty area: the view modes.
    void FillContextMenu(QMenu& menu, bool onRow);

    CDetailsModel& Model() { return *m_model; }
    QAbstractItemView* ActiveView() const;

signals:
    void browseRequested(int unitId);
    void propertiesRequested(int unitId, bool isStorage);
    // Another row (or none) is selected, in whichever mode.
    void selectedRowChanged();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    // Watches the mouse buttons on both views, for browsing by double-click.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Activate(const QModelIndex& index);
    QModelIndex SelectedIndex() const;
    // Selects the row of unitId and scrolls to it, giving the list the focus with
    // focus; false when it is not listed.
    bool ShowRow(int unitId, bool focus);
    const UnitListItem* SelectedRow() const;
    int SourceRow(const QModelIndex& index) const;

    CShelfwiseDoc& m_doc;
    const CCommands& m_commands;
    CDetailsModel* m_model;
    CDetailsSortModel* m_sorted;
    QListView* m_list;
    CIconGridDelegate* m_iconCells;
    QTreeView* m_table;
    Mode m_mode = Mode::Icons;
    bool m_mouseDown = false;
    int m_browseOnRelease = -1; // a unit double-clicked, browsed into once the button is up
};
