#include "views/NavigationView.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/SqlText.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/UnitDrag.h"
#include "views/UnitIcons.h"

#include <QContextMenuEvent>
#include <QDrag>
#include <QDragEnterEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionViewItem>
#include <QTreeWidgetItemIterator>

#include <algorithm>

namespace {

constexpr int kIdRole = Qt::UserRole;
// Set on an archive's item and on the items of the folders inside it.
constexpr int kInArchiveRole = Qt::UserRole + 1;

} // namespace

CNavigationView::CNavigationView(CShelfwiseDoc& doc, CUnitIcons& icons, const CCommands& commands,
                                 QWidget* parent)
    : QTreeWidget(parent), m_doc(doc), m_icons(icons), m_commands(commands)
{
    setHeaderHidden(true);
    setColumnCount(1);
    setRootIsDecorated(true);
    setUniformRowHeights(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers); // only the Rename command edits
    setAccessibleName(QStringLiteral("Storages, discs and folders"));
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(false); // the storage that receives a unit is highlighted instead
    setDragDropMode(QAbstractItemView::DragDrop);
    connect(&m_doc, &CShelfwiseDoc::viewsNeedUpdate, this, &CNavigationView::OnDocumentUpdate);
    connect(this, &QTreeWidget::itemExpanded, this,
            [this](QTreeWidgetItem* item) { PopulateChildren(item); });
    connect(this, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* current) { OnCurrentItemChanged(current); });
    connect(this, &QTreeWidget::itemChanged, this, &CNavigationView::OnItemChanged);
    // Renamed in the list or the properties: the item's text follows. (This view's own
    // editor has set it already.)
    connect(&m_doc, &CShelfwiseDoc::unitRenamed, this, [this](int unitId, QObject* sender) {
        if (sender == this)
            return;
        QTreeWidgetItem* item = FindUnitItem(unitId);
        UnitListItem unit;
        if (item && m_doc.Guard([&] { unit = m_doc.Database().GetUnit(unitId); }))
            ShowName(item, unit.UnitName);
    });
    connect(&m_doc, &CShelfwiseDoc::storageRenamed, this, [this](int storageId) {
        for (const StorageRecord& storage : m_doc.Storages()) {
            if (storage.StorageID == storageId)
                ShowName(FindRootItem(storageId), storage.StorageName);
        }
    });
}

void CNavigationView::ShowName(QTreeWidgetItem* item, const QString& name)
{
    if (!item || item->text(0) == name)
        return;
    const QSignalBlocker blocker(this); // no rename of this view's own
    item->setText(0, name);
}

QTreeWidgetItem* CNavigationView::FindUnitItem(int unitId) const
{
    // Units are the items below the root; a storage may have the same number.
    for (QTreeWidgetItemIterator it(const_cast<CNavigationView*>(this)); *it; ++it) {
        if ((*it)->parent() && ItemId(*it) == unitId)
            return *it;
    }
    return nullptr;
}

int CNavigationView::ItemId(const QTreeWidgetItem* item)
{
    return item ? item->data(0, kIdRole).toInt() : -1;
}

Selection CNavigationView::ItemSelection(const QTreeWidgetItem* item)
{
    if (!item)
        return Selection::None();
    const int id = ItemId(item);
    return item->parent() ? Selection::OfUnit(id) : Selection::OfStorage(id);
}

void CNavigationView::AddPlaceholder(QTreeWidgetItem* item)
{
    item->addChild(new QTreeWidgetItem());
}

QTreeWidgetItem* CNavigationView::MakeStorageItem(int storageId, const QString& name) const
{
    auto* item = new QTreeWidgetItem();
    item->setText(0, name);
    item->setData(0, kIdRole, storageId);
    item->setIcon(0, m_icons.Icon(CUnitIcons::Storage));
    item->setFlags(item->flags() | Qt::ItemIsEditable);
    return item;
}

QTreeWidgetItem* CNavigationView::InsertStorageItem(const StorageListItem& storage)
{
    QTreeWidgetItem* item = MakeStorageItem(storage.StorageID, storage.StorageName);
    if (storage.HasChildren)
        AddPlaceholder(item);
    addTopLevelItem(item);
    return item;
}

QTreeWidgetItem* CNavigationView::InsertNewStorage(int storageId, const QString& name)
{
    QTreeWidgetItem* item = MakeStorageItem(storageId, name);
    const QSignalBlocker blocker(this);
    int position = topLevelItemCount();
    if (Settings::Instance().UnitsOrder == UnitsOrder::Alphabetic) {
        position = 0;
        while (position < topLevelItemCount() &&
               topLevelItem(position)->text(0).compare(name, Qt::CaseInsensitive) <= 0)
            ++position;
    }
    insertTopLevelItem(position, item);
    return item;
}

void CNavigationView::ShowAddedUnit(int storageId, int unitId)
{
    QTreeWidgetItem* storage = FindRootItem(storageId);
    if (!storage)
        return;
    UnitListItem unit;
    if (!m_doc.Guard([&] { unit = m_doc.Database().GetUnit(unitId); }))
        return;
    const QSignalBlocker blocker(this);
    if (storage->isExpanded() && storage->childCount() > 0) {
        // The update after the addition may have re-read this storage already.
        for (int c = 0; c < storage->childCount(); ++c) {
            if (ItemId(storage->child(c)) == unitId)
                return;
        }
        InsertUnitItem(unit, storage);
    } else if (storage->childCount() == 0 && (unit.Kind != UnitKind::File || unit.IsArchive)) {
        AddPlaceholder(storage);
        storage->setExpanded(false);
    }
}

QTreeWidgetItem* CNavigationView::InsertUnitItem(const UnitListItem& row, QTreeWidgetItem* parent)
{
    // Files are left to the list, except archives, which hold folders as folders do.
    const bool isFile = row.Kind == UnitKind::File || row.Kind == UnitKind::ArchiveFile;
    if ((isFile && !row.IsArchive) || !parent)
        return nullptr;
    auto* item = new QTreeWidgetItem();
    item->setText(0, row.UnitName);
    item->setData(0, kIdRole, row.UnitID);
    if (row.IsArchive || row.Kind == UnitKind::ArchiveFolder)
        item->setData(0, kInArchiveRole, true);
    item->setIcon(0, m_icons.Icon(row, Settings::Instance().FileIconsStyle));
    item->setFlags(item->flags() | Qt::ItemIsEditable);
    if (row.HasSubfolders)
        AddPlaceholder(item);
    parent->addChild(item);
    return item;
}

void CNavigationView::PopulateChildren(QTreeWidgetItem* item)
{
    // Filling is no selection change and no rename.
    const QSignalBlocker blocker(this);
    if (!item) {
        clear();
        std::vector<StorageListItem> storages;
        m_doc.Guard([&] { m_doc.Database().GetStorageList(storages); });
        for (const StorageListItem& storage : storages)
            InsertStorageItem(storage);
    } else {
        qDeleteAll(item->takeChildren());
        std::vector<UnitListItem> rows;
        const bool isStorage = item->parent() == nullptr;
        m_doc.Guard([&] { m_doc.Database().GetSubunits(rows, ItemId(item), isStorage); });
        for (const UnitListItem& row : rows)
            InsertUnitItem(row, item);
    }
}

void CNavigationView::OnDocumentUpdate(QObject* sender)
{
    if (sender == this)
        return;
    QTreeWidgetItem* selected = currentItem();
    if (m_doc.Selection().IsNone() || !selected) {
        PopulateChildren(nullptr);
        return;
    }
    const bool expanded = selected->isExpanded();
    PopulateChildren(selected);
    selected->setExpanded(expanded && selected->childCount() > 0);
}

void CNavigationView::OnCurrentItemChanged(QTreeWidgetItem* current)
{
    // The view makes the first storage current by itself when the tree is filled, without
    // selecting it: the list shows what it holds, so the item is highlighted too.
    if (current && !current->isSelected())
        current->setSelected(true);
    m_doc.SetSelection(ItemSelection(current), this);
}

QTreeWidgetItem* CNavigationView::FindRootItem(int storageId) const
{
    for (int i = 0; i < topLevelItemCount(); ++i) {
        if (ItemId(topLevelItem(i)) == storageId)
            return topLevelItem(i);
    }
    return nullptr;
}

QTreeWidgetItem* CNavigationView::GetRootAncestor(QTreeWidgetItem* item)
{
    while (item && item->parent())
        item = item->parent();
    return item;
}

void CNavigationView::SelectPath(const std::vector<int>& ids)
{
    QTreeWidgetItem* item = FindRootItem(ids.at(0)) ? ReachPath(ids, true) : nullptr;
    if (!item)
        return;
    setCurrentItem(item);
    scrollToItem(item);
}

QTreeWidgetItem* CNavigationView::ReachPath(const std::vector<int>& ids, bool expand)
{
    QTreeWidgetItem* item = ids.empty() ? nullptr : FindRootItem(ids.front());
    for (size_t i = 1; i < ids.size() && item; ++i) {
        if (expand)
            item->setExpanded(true);
        QTreeWidgetItem* next = nullptr;
        for (int c = 0; c < item->childCount() && !next; ++c) {
            if (ItemId(item->child(c)) == ids[i])
                next = item->child(c);
        }
        if (!next)
            return expand ? item : nullptr;
        item = next;
    }
    return item;
}

std::vector<int> CNavigationView::PathOf(const QTreeWidgetItem* item)
{
    std::vector<int> path;
    for (; item; item = item->parent())
        path.insert(path.begin(), ItemId(item));
    return path;
}

CNavigationView::State CNavigationView::SaveState() const
{
    // Parents come before their children, so they are expanded first on the way back.
    State state;
    std::vector<QTreeWidgetItem*> pending;
    for (int i = topLevelItemCount() - 1; i >= 0; --i)
        pending.push_back(topLevelItem(i));
    while (!pending.empty()) {
        QTreeWidgetItem* item = pending.back();
        pending.pop_back();
        if (!item->isExpanded())
            continue;
        state.Expanded.push_back(PathOf(item));
        for (int c = item->childCount() - 1; c >= 0; --c)
            pending.push_back(item->child(c));
    }
    state.Selected = PathOf(currentItem());
    return state;
}

void CNavigationView::RestoreState(const State& state, const std::vector<int>& path,
                                   bool expandLast)
{
    PopulateChildren(nullptr);
    for (const std::vector<int>& expanded : state.Expanded) {
        if (QTreeWidgetItem* item = ReachPath(expanded, false))
            item->setExpanded(true);
    }
    QTreeWidgetItem* item = path.empty() ? nullptr : ReachPath(path, true);
    if (item && expandLast)
        item->setExpanded(true);
    if (!item && !state.Selected.empty())
        item = ReachPath(state.Selected, true);
    if (!item) {
        // Nothing to select any more: both panes start from the top.
        m_doc.SetSelection(Selection::None(), this);
        return;
    }
    setCurrentItem(item);
    scrollToItem(item);
}

void CNavigationView::BrowseToChild(int unitId)
{
    QTreeWidgetItem* selected = currentItem();
    if (!selected)
        return;
    selected->setExpanded(true);
    for (int c = 0; c < selected->childCount(); ++c) {
        if (ItemId(selected->child(c)) == unitId) {
            setCurrentItem(selected->child(c));
            return;
        }
    }
}

bool CNavigationView::IsInArchive(const QTreeWidgetItem* item)
{
    return item && item->data(0, kInArchiveRole).toBool();
}

void CNavigationView::DropUnit(QTreeWidgetItem* target, int unitId)
{
    QTreeWidgetItem* storageItem = GetRootAncestor(target);
    if (!storageItem || IsInArchive(target))
        return; // dropped beside the items, or onto an archive: nothing to move to
    const int storageId = ItemId(storageItem);
    int oldStorage = 0;
    UnitListItem unit;
    if (!m_doc.Guard([&] {
            oldStorage = m_doc.Database().GetUnitStorageId(unitId);
            unit = m_doc.Database().GetUnit(unitId);
        }))
        return;
    if (oldStorage == storageId || !m_doc.MoveUnitToStorage(unitId, storageId))
        return;
    if (QTreeWidgetItem* old = FindRootItem(oldStorage)) {
        for (int c = 0; c < old->childCount(); ++c) {
            if (ItemId(old->child(c)) == unitId)
                delete old->takeChild(c);
        }
    }
    if (storageItem->isExpanded())
        InsertUnitItem(unit, storageItem);
    storageItem->setExpanded(true);
    setCurrentItem(storageItem);
}

void CNavigationView::MoveUp()
{
    if (currentItem() && currentItem()->parent())
        setCurrentItem(currentItem()->parent());
}

void CNavigationView::RenameSelected()
{
    QTreeWidgetItem* item = currentItem();
    if (!item)
        return;
    m_nameBeforeEdit = item->text(0);
    editItem(item, 0);
}

void CNavigationView::OnItemChanged(QTreeWidgetItem* item)
{
    // Blanks around a typed name are dropped; a name of blanks is refused as empty.
    const QString name = item->text(0).trimmed();
    if (name == m_nameBeforeEdit) {
        if (item->text(0) != name) {
            const QSignalBlocker blocker(this);
            item->setText(0, name);
        }
        return;
    }
    UserPrompter& prompter = UserPrompter::Current();
    const bool isStorage = item->parent() == nullptr;
    bool accepted = false;
    if (isStorage) {
        bool taken = false;
        for (const StorageRecord& storage : m_doc.Storages())
            taken = taken || (storage.StorageName == name && storage.StorageID != ItemId(item));
        if (name.isEmpty())
            prompter.ShowMessage(Strings::IDS_STORAGE_NAME_EMPTY, UserPrompter::Icon::Warning);
        else if (taken)
            prompter.ShowMessage(
                SqlText::Format(Strings::LoadString(Strings::IDS_STORAGE_NAME_EXISTS), {name}),
                UserPrompter::Icon::Warning);
        else
            accepted = m_doc.RenameStorage(ItemId(item), name);
    } else if (name.isEmpty()) {
        prompter.ShowMessage(Strings::IDS_UNIT_NAME_EMPTY, UserPrompter::Icon::Warning);
    } else {
        accepted = m_doc.RenameUnit(ItemId(item), name, this);
    }
    if (!accepted) {
        const QSignalBlocker blocker(this);
        item->setText(0, m_nameBeforeEdit);
    } else {
        const QSignalBlocker blocker(this);
        item->setText(0, name);
        m_nameBeforeEdit = name;
    }
}

QString CNavigationView::DeleteSelected()
{
    QTreeWidgetItem* item = currentItem();
    if (!item)
        return QString();
    QString name = item->text(0);
    if (!m_doc.DeleteItem(this, name, ItemId(item), item->parent() == nullptr))
        return QString();
    // The selection moves to a neighbour: the next item beside it, else the one before,
    // else what held it.
    QTreeWidgetItem* parent = item->parent();
    const int index = parent ? parent->indexOfChild(item) : indexOfTopLevelItem(item);
    {
        const QSignalBlocker blocker(this);
        delete item;
        const int count = parent ? parent->childCount() : topLevelItemCount();
        const int at = std::min(index, count - 1);
        QTreeWidgetItem* next = at < 0 ? parent : parent ? parent->child(at) : topLevelItem(at);
        setCurrentItem(next);
    }
    QTreeWidgetItem* now = currentItem();
    m_doc.SetSelection(ItemSelection(now), this);
    return name;
}

QTreeWidgetItem* CNavigationView::ItemAtLabel(const QPoint& point) const
{
    QTreeWidgetItem* item = itemAt(point);
    if (!item)
        return nullptr;
    // The row's rectangle starts after the indentation and the expand button and runs to
    // the pane's right edge; the name ends where its text does.
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = visualItemRect(item);
    option.text = item->text(0);
    option.icon = item->icon(0);
    option.features |= QStyleOptionViewItem::HasDisplay;
    if (!option.icon.isNull())
        option.features |= QStyleOptionViewItem::HasDecoration;
    const QRect text = style()->subElementRect(QStyle::SE_ItemViewItemText, &option, this);
    const int margin = style()->pixelMetric(QStyle::PM_FocusFrameHMargin, &option, this) + 1;
    const int end = text.left() + option.fontMetrics.horizontalAdvance(option.text) + 2 * margin;
    const bool onLabel = point.x() >= option.rect.left() && point.x() < end;
    return onLabel ? item : nullptr;
}

void CNavigationView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::RightButton && !ItemAtLabel(event->position().toPoint())) {
        event->accept();
        return;
    }
    QTreeWidget::mousePressEvent(event);
}

void CNavigationView::contextMenuEvent(QContextMenuEvent* event)
{
    // On an item's icon or name: its menu. Anywhere else: the "Navigation Menu". From
    // the keyboard: the selected item's menu, below its name.
    QTreeWidgetItem* item = nullptr;
    QPoint at = event->globalPos();
    if (event->reason() == QContextMenuEvent::Keyboard) {
        item = currentItem();
        if (item)
            at = viewport()->mapToGlobal(visualItemRect(item).bottomLeft());
    } else {
        item = ItemAtLabel(viewport()->mapFromGlobal(event->globalPos()));
    }
    if (item)
        setCurrentItem(item);
    QMenu menu(this);
    FillContextMenu(menu, item);
    menu.exec(at);
}

void CNavigationView::FillContextMenu(QMenu& menu, QTreeWidgetItem* item)
{
    if (!item) {
        // The "Navigation Menu": its own texts for the main menu's commands.
        menu.setAccessibleName(QStringLiteral("Navigation Menu"));
        for (const auto& [id, text] : {std::pair{CommandIds::AddStorage, tr("Add Storage")},
                                       std::pair{CommandIds::AddDisc, tr("Add Disc")},
                                       std::pair{CommandIds::AddFolder, tr("Add Folder")},
                                       std::pair{CommandIds::AddFile, tr("Add File")}}) {
            QAction* entry = menu.addAction(text);
            connect(entry, &QAction::triggered, m_commands.Get(id), &QAction::trigger);
        }
        return;
    }
    menu.setAccessibleName(QStringLiteral("Item menu"));
    const bool isUnit = item->parent() != nullptr;
    UnitKind kind = UnitKind::File;
    if (isUnit)
        m_doc.Guard([&] { kind = m_doc.Database().GetUnit(ItemId(item)).Kind; });
    const bool isFolder = isUnit && kind == UnitKind::Folder;
    // Storages and discs may take a new name here; folders may not. Units take no
    // additions of their own.
    QAction* rename = menu.addAction(m_commands.Get(CommandIds::Rename)->text());
    rename->setEnabled(!isFolder);
    connect(rename, &QAction::triggered, this, &CNavigationView::RenameSelected);
    menu.addAction(m_commands.Get(CommandIds::Delete));
    menu.addAction(m_commands.Get(CommandIds::Properties));
    QAction* update = m_commands.Get(CommandIds::Update);
    update->setEnabled(isUnit && m_doc.IsTopLevelUnit(ItemId(item)));
    menu.addAction(update);
    QAction* unique = m_commands.Get(CommandIds::UniqueFiles);
    unique->setEnabled(isUnit && (kind == UnitKind::Disc || isFolder));
    menu.addAction(unique);
    menu.addAction(m_commands.Get(CommandIds::Export));
    menu.addAction(m_commands.Get(CommandIds::ExportPage));
    menu.addAction(m_commands.Get(CommandIds::Statistics));
    menu.addSeparator();
    QMenu* add = menu.addMenu(tr("Add"));
    for (const auto& [id, text] : {std::pair{CommandIds::AddDisc, tr("Disc")},
                                   std::pair{CommandIds::AddFolder, tr("Folder")},
                                   std::pair{CommandIds::AddFile, tr("File")}}) {
        QAction* entry = add->addAction(text);
        entry->setEnabled(!isUnit);
        connect(entry, &QAction::triggered, m_commands.Get(id), &QAction::trigger);
    }
}

bool CNavigationView::CanDrag(const QTreeWidgetItem* item) const
{
    if (!item || !item->parent())
        return false;
    return m_doc.IsTopLevelUnit(ItemId(item));
}

void CNavigationView::startDrag(Qt::DropActions)
{
    QTreeWidgetItem* item = currentItem();
    if (!CanDrag(item))
        return;
    auto* drag = new QDrag(this);
    drag->setMimeData(UnitDrag::MakeMimeData(ItemId(item)));
    drag->setPixmap(item->icon(0).pixmap(32, 32));
    drag->setHotSpot(QPoint(10, 10));
    drag->exec(Qt::MoveAction);
    SetDropStorage(-1);
}

void CNavigationView::SetDropStorage(int storageId)
{
    if (storageId == m_dropStorageId)
        return;
    m_dropStorageId = storageId;
    viewport()->update();
}

void CNavigationView::dragEnterEvent(QDragEnterEvent* event)
{
    if (UnitDrag::UnitIdFrom(event->mimeData()) == -1) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::MoveAction);
    event->accept();
}

void CNavigationView::dragMoveEvent(QDragMoveEvent* event)
{
    QTreeView::dragMoveEvent(event); // scrolls near the edges
    QTreeWidgetItem* target = itemAt(event->position().toPoint());
    QTreeWidgetItem* storage = GetRootAncestor(target);
    // Nothing is dropped onto an archive or into one: its entries are what was read
    // from the file and count nowhere but in it.
    if (UnitDrag::UnitIdFrom(event->mimeData()) == -1 || !storage || IsInArchive(target)) {
        SetDropStorage(-1);
        event->ignore();
        return;
    }
    // The storage above the item under the cursor receives the unit.
    SetDropStorage(ItemId(storage));
    event->setDropAction(Qt::MoveAction);
    event->accept();
}

void CNavigationView::dragLeaveEvent(QDragLeaveEvent* event)
{
    SetDropStorage(-1);
    QTreeView::dragLeaveEvent(event);
}

void CNavigationView::dropEvent(QDropEvent* event)
{
    SetDropStorage(-1);
    const int unitId = UnitDrag::UnitIdFrom(event->mimeData());
    QTreeWidgetItem* target = itemAt(event->position().toPoint());
    if (unitId == -1 || !target || IsInArchive(target)) {
        event->ignore(); // beside the items or onto an archive: nothing to move to
        return;
    }
    event->setDropAction(Qt::MoveAction);
    event->accept();
    DropUnit(target, unitId);
}

void CNavigationView::paintEvent(QPaintEvent* event)
{
    QTreeWidget::paintEvent(event);
    const QTreeWidgetItem* storage = FindRootItem(m_dropStorageId);
    if (!storage)
        return;
    QPainter painter(viewport());
    QColor fill = palette().color(QPalette::Highlight);
    painter.setPen(fill);
    fill.setAlpha(60);
    painter.setBrush(fill);
    painter.drawRect(visualItemRect(storage).adjusted(0, 0, -1, -1));
}
