#pragma once

#include "document/Selection.h"
#include "sqlitewrapper/Records.h"

#include <QTreeWidget>

#include <vector>

class CShelfwiseDoc;
class CCommands;
class CUnitIcons;
class QMenu;

// The left pane: the catalogue's storages at the root and, below each, its discs and
// folders (never files, except archives, with the folders read from inside them). Filled lazily: an
// item that may have children carries one empty placeholder until it is expanded, so the tree never
// holds more than its expanded part. Selecting an item selects it in the document, which refills
// the list. A storage or unit renamed anywhere else (the list, the properties) shows its new name.
class CNavigationView final : public QTreeWidget
{
    Q_OBJECT

public:
    CNavigationView(CShelfwiseDoc& doc, CUnitIcons& icons, const CCommands& commands,
                    QWidget* parent = nullptr);

    // The root item (null) rebuilds the whole tree; an item re-reads its children.
    void PopulateChildren(QTreeWidgetItem* item);
    // Adds a storage or unit row under parent (null: at the root); files are skipped.
    QTreeWidgetItem* InsertUnitItem(const UnitListItem& row, QTreeWidgetItem* parent);
    QTreeWidgetItem* InsertStorageItem(const StorageListItem& storage);
    // A storage just added: a root item in alphabetical place when the catalogue lists
    // by name, else the last one.
    QTreeWidgetItem* InsertNewStorage(int storageId, const QString& name);
    // A unit just added to a storage: listed under it when it is expanded; a storage
    // that had no children gets its expand button.
    void ShowAddedUnit(int storageId, int unitId);

    // Expands the storage with ids[0] and each unit of ids[1..] below it, and selects
    // the last one (or the last one that exists). ids must not be empty.
    void SelectPath(const std::vector<int>& ids);
    // An item's ids from its storage down to itself; empty for none.
    static std::vector<int> PathOf(const QTreeWidgetItem* item);

    // The expanded items and the selection, as id paths, parents first.
    struct State
    {
        std::vector<std::vector<int>> Expanded;
        std::vector<int> Selected;
    };
    State SaveState() const;
    // After a change anywhere in the catalogue (an undo): reads the whole tree again,
    // expands what state had expanded, as far as it still exists, and selects path (its
    // last item expanded too with expandLast), or else the old selection, as far as
    // either still exists.
    void RestoreState(const State& state, const std::vector<int>& path, bool expandLast);
    // Expands the selected item and selects its child unitId.
    void BrowseToChild(int unitId);
    // Moves a top-level unit to the storage above target; nothing when target is an
    // archive or lies inside one.
    void DropUnit(QTreeWidgetItem* target, int unitId);
    // Whether item is an archive or a folder inside one.
    static bool IsInArchive(const QTreeWidgetItem* item);
    QTreeWidgetItem* FindRootItem(int storageId) const;
    static QTreeWidgetItem* GetRootAncestor(QTreeWidgetItem* item);
    static int ItemId(const QTreeWidgetItem* item);
    // What selecting item selects: its storage at the top, its unit below, nothing
    // without an item.
    static Selection ItemSelection(const QTreeWidgetItem* item);

    // A drag starts only from a unit lying directly in its storage.
    bool CanDrag(const QTreeWidgetItem* item) const;
    // The storage highlighted under a unit being dragged, -1 when none.
    int DropStorageId() const { return m_dropStorageId; }
    // The item menu for item, or the "Navigation Menu" when item is null.
    void FillContextMenu(QMenu& menu, QTreeWidgetItem* item);
    // The item whose icon or name lies at point (viewport co-ordinates); null beside
    // them, on the row's empty part, the expand button or below the last item.
    QTreeWidgetItem* ItemAtLabel(const QPoint& point) const;
    // The unit's item wherever it is in the tree (not below a collapsed item that was
    // never read); null when the tree does not show it.
    QTreeWidgetItem* FindUnitItem(int unitId) const;

    void MoveUp();
    void RenameSelected();
    // Deletes the selected item after asking and selects a neighbour; the name of what
    // was deleted, empty when nothing was.
    QString DeleteSelected();

signals:
    void propertiesRequested(int id, bool isStorage);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    // A right-click beside an item's name leaves the selection alone: it opens the
    // "Navigation Menu".
    void mousePressEvent(QMouseEvent* event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void OnDocumentUpdate(QObject* sender);
    void OnCurrentItemChanged(QTreeWidgetItem* current);
    void OnItemChanged(QTreeWidgetItem* item);
    // An item's text after its storage or unit was renamed elsewhere.
    void ShowName(QTreeWidgetItem* item, const QString& name);
    static void AddPlaceholder(QTreeWidgetItem* item);
    // The item at the end of an id path; with expand, expanding on the way and stopping
    // at the last one that exists, otherwise null unless all exist.
    QTreeWidgetItem* ReachPath(const std::vector<int>& ids, bool expand);
    QTreeWidgetItem* MakeStorageItem(int storageId, const QString& name) const;
    void SetDropStorage(int storageId);

    CShelfwiseDoc& m_doc;
    CUnitIcons& m_icons;
    const CCommands& m_commands;
    QString m_nameBeforeEdit; // of the item being renamed in place
    int m_dropStorageId = -1;
};
