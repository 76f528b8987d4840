#include "views/DetailsView.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/ShelfwiseDoc.h"
#include "views/CommandIds.h"
#include "views/Commands.h"
#include "views/DetailsHeader.h"
#include "views/DetailsModel.h"
#include "views/DetailsSortModel.h"
#include "views/IconGridDelegate.h"
#include "views/UnitIcons.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QListView>
#include <QMenu>
#include <QTreeView>

#include <algorithm>
#include <utility>

CDetailsView::CDetailsView(CShelfwiseDoc& doc, CUnitIcons& icons, const CCommands& commands,
                           QWidget* parent)
    : QStackedWidget(parent), m_doc(doc), m_commands(commands),
      m_model(new CDetailsModel(doc, icons, this)), m_sorted(new CDetailsSortModel(this)),
      m_list(new QListView(this)), m_iconCells(new CIconGridDelegate(this)),
      m_table(new QTreeView(this))
{
    m_list->setModel(m_model);
    m_list->setItemDelegate(m_iconCells);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setUniformItemSizes(true);
    m_list->setAccessibleName(QStringLiteral("Contents"));

    m_sorted->setSourceModel(m_model);
    m_table->setHeader(new CDetailsHeader(m_table));
    m_table->setModel(m_sorted);
    m_table->setRootIsDecorated(false);
    m_table->setUniformRowHeights(true);
    m_table->setSortingEnabled(true);
    m_table->sortByColumn(-1, Qt::AscendingOrder); // the catalogue's order until a click
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->header()->setSectionResizeMode(CDetailsModel::Name, QHeaderView::Stretch);
    m_table->header()->setStretchLastSection(false);
    // Wide enough for a whole stored date; measured once, not per row.
    m_table->header()->resizeSection(
        CDetailsModel::Modified,
        fontMetrics().horizontalAdvance(QStringLiteral("0000-00-00 00:00:00")) + 24);
    m_table->setAccessibleName(QStringLiteral("Contents with details"));
    m_table->setDragDropMode(QAbstractItemView::DragOnly);

    addWidget(m_list);
    addWidget(m_table);
    for (QAbstractItemView* view :
         {static_cast<QAbstractItemView*>(m_list), static_cast<QAbstractItemView*>(m_table)}) {
        connect(view, &QAbstractItemView::activated, this, &CDetailsView::Activate);
        view->viewport()->installEventFilter(this);
        // On the selection, not the current row: a click makes the row current before
        // it selects it.
        connect(view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                &CDetailsView::selectedRowChanged);
    }
    connect(&m_doc, &CShelfwiseDoc::viewsNeedUpdate, this, [this](QObject* sender) {
        if (sender != this)
            Refill();
    });
    // A name changed in the properties, in the tree or by the command line may be one
    // of the rows, or their order: the rows are read again. This list's own editor has
    // changed its row already.
    connect(&m_doc, &CShelfwiseDoc::unitRenamed, this, [this](int, QObject* sender) {
        if (sender != m_model)
            Refill();
    });
    connect(&m_doc, &CShelfwiseDoc::storageRenamed, this, &CDetailsView::Refill);
    SetMode(Mode::Icons);
}

void CDetailsView::Refill()
{
    const int selected = SelectedUnitId();
    const Selection& shown = m_doc.Selection();
    m_model->SetRows(m_doc.GetSelectionChildren(), shown.Id(), shown.IsStorage());
    if (m_mode == Mode::Icons)
        SetMode(Mode::Icons); // the icons' size follows whether pictures show thumbnails
    if (selected != -1)
        ShowRow(selected, false);
}

void CDetailsView::SetMode(Mode mode)
{
    m_mode = mode;
    if (mode == Mode::Details) {
        setCurrentWidget(m_table);
        return;
    }
    setCurrentWidget(m_list);
    const bool large = mode == Mode::Icons;
    m_model->SetShowThumbnails(large);
    const QSize largeIcon =
        large && m_model->HasThumbnails()
            ? QSize(CDetailsModel::kThumbnailIconSide, CDetailsModel::kThumbnailIconSide)
            : QSize(32, 32);
    m_list->setViewMode(mode == Mode::List ? QListView::ListMode : QListView::IconMode);
    m_list->setFlow(mode == Mode::List ? QListView::TopToBottom : QListView::LeftToRight);
    m_list->setWrapping(true);
    m_list->setResizeMode(QListView::Adjust);
    m_list->setMovement(QListView::Static); // (which also turns dragging off)
    m_list->setDragDropMode(QAbstractItemView::DragOnly);
    m_list->setIconSize(large ? largeIcon : QSize(16, 16));
    // Icons mode lays the rows on a grid whose cells hold three lines of a name.
    const QSize cell = large ? CIconGridDelegate::CellSize(fontMetrics(), largeIcon) : QSize();
    m_iconCells->SetCellSize(cell);
    m_list->setGridSize(cell);
    m_list->setWordWrap(large);
    m_list->setTextElideMode(Qt::ElideRight);
}

int CDetailsView::SortColumn() const
{
    return m_table->header()->sortIndicatorSection() < CDetailsModel::ColumnCount
               ? m_table->header()->sortIndicatorSection()
               : -1;
}

Qt::SortOrder CDetailsView::SortOrder() const
{
    return m_table->header()->sortIndicatorOrder();
}

void CDetailsView::SetSort(int column, Qt::SortOrder order)
{
    m_table->sortByColumn(column >= 0 && column < CDetailsModel::ColumnCount ? column : -1, order);
}

QAbstractItemView* CDetailsView::ActiveView() const
{
    return m_mode == Mode::Details ? static_cast<QAbstractItemView*>(m_table) : m_list;
}

int CDetailsView::SourceRow(const QModelIndex& index) const
{
    if (!index.isValid())
        return -1;
    // A valid index has a model, and m_sorted is made with the view.
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage)
    return index.model() == m_sorted ? m_sorted->mapToSource(index).row() : index.row();
}

int CDetailsView::SelectedUnitId() const
{
    const UnitListItem* unit = SelectedRow();
    return unit ? unit->UnitID : -1;
}

void CDetailsView::SelectRowByUnitId(int unitId)
{
    ShowRow(unitId, true);
}

bool CDetailsView::ShowRow(int unitId, bool focus)
{
    const auto& rows = m_model->Rows();
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].UnitID != unitId)
            continue;
        QModelIndex index = m_model->index(static_cast<int>(i), 0);
        if (m_mode == Mode::Details)
            index = m_sorted->mapFromSource(index);
        if (focus)
            ActiveView()->setFocus();
        ActiveView()->setCurrentIndex(index);
        ActiveView()->scrollTo(index);
        return true;
    }
    return false;
}

void CDetailsView::Activate(const QModelIndex& index)
{
    const int row = SourceRow(index);
    if (row < 0)
        return;
    const QModelIndex source = m_model->index(row, 0);
    // Decided on the icon, as the list always has: storage, disc, folder and archive
    // icons open their unit, any file icon its properties.
    const int icon = m_model->data(source, CDetailsModel::kIconIndexRole).toInt();
    const int unitId = m_model->data(source, CDetailsModel::kUnitIdRole).toInt();
    const bool opens = icon <= CUnitIcons::Folder || icon == CUnitIcons::Archive;
    if (opens && m_mouseDown)
        m_browseOnRelease = unitId;
    else if (opens)
        emit browseRequested(unitId);
    else
        emit propertiesRequested(unitId, false);
}

bool CDetailsView::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        m_mouseDown = true;
        break;
    case QEvent::MouseButtonRelease:
        m_mouseDown = false;
        // A double-click activates on its second press, and the release that follows
        // would select the row under the pointer in the folder just opened: the list
        // changes only after the release.
        if (m_browseOnRelease != -1) {
            const int unitId = std::exchange(m_browseOnRelease, -1);
            QMetaObject::invokeMethod(
                this, [this, unitId] { emit browseRequested(unitId); }, Qt::QueuedConnection);
        }
        break;
    default:
        break;
    }
    return QStackedWidget::eventFilter(watched, event);
}

QString CDetailsView::DeleteSelected()
{
    const QModelIndex index = SelectedIndex();
    const int row = SourceRow(index);
    if (row < 0)
        return QString();
    const UnitListItem unit = m_model->Rows().at(static_cast<size_t>(row));
    if (!m_doc.DeleteItem(this, unit.UnitName, unit.UnitID, false))
        return QString();
    // The row that takes the deleted one's place in the view (the next, or the one
    // before at the end) is selected; in Details mode that is the sorted order.
    const int shownRow = index.row();
    m_model->RemoveRow(row);
    QAbstractItemView* view = ActiveView();
    const int count = view->model()->rowCount();
    if (count > 0) {
        const QModelIndex next = view->model()->index(std::min(shownRow, count - 1), 0);
        view->selectionModel()->setCurrentIndex(next, QItemSelectionModel::ClearAndSelect |
                                                          QItemSelectionModel::Rows);
    }
    return unit.UnitName;
}

QModelIndex CDetailsView::SelectedIndex() const
{
    // The current row counts only when it is selected: a list shows a current row
    // without a selection (after browsing into a folder), and nothing the user did not
    // choose is deleted or renamed.
    const QModelIndex current = ActiveView()->currentIndex();
    return current.isValid() && ActiveView()->selectionModel()->isSelected(current) ? current
                                                                                    : QModelIndex();
}

const UnitListItem* CDetailsView::SelectedRow() const
{
    const int row = SourceRow(SelectedIndex());
    return row < 0 ? nullptr : &m_model->Rows().at(static_cast<size_t>(row));
}

void CDetailsView::RenameSelected()
{
    const QModelIndex index = SelectedIndex();
    if (!index.isValid())
        return;
    ActiveView()->edit(index.sibling(index.row(), CDetailsModel::Name));
}

void CDetailsView::ChangeCategory(int categoryId)
{
    const UnitListItem* unit = SelectedRow();
    if (!unit)
        return;
    const UnitListItem file = *unit;
    // Yes: every file with the extension; No: this file; closing the box: nothing.
    switch (UserPrompter::Current().AskYesNoDefaultNo(
        Strings::IDS_CHANGE_EXTENSION_CATEGORY_QUESTION, UserPrompter::Icon::Question)) {
    case UserPrompter::Answer::Yes:
        m_doc.SetFileExtensionCategory(file.UnitName, categoryId);
        break;
    case UserPrompter::Answer::No:
        m_doc.SetUnitCategory(file.UnitID, categoryId);
        break;
    case UserPrompter::Answer::Cancel:
        break;
    }
}

void CDetailsView::contextMenuEvent(QContextMenuEvent* event)
{
    const QPoint inView = ActiveView()->viewport()->mapFromGlobal(event->globalPos());
    QMenu menu(this);
    FillContextMenu(menu, ActiveView()->indexAt(inView).isValid());
    menu.exec(event->globalPos());
}

void CDetailsView::FillContextMenu(QMenu& menu, bool onRow)
{
    using namespace CommandIds;
    menu.setAccessibleName(QStringLiteral("List menu"));
    const UnitListItem* unit = SelectedRow();
    if (!unit || !onRow) {
        QMenu* view = menu.addMenu(tr("View"));
        for (int id : {ViewIcons, ViewSmallIcons, ViewList, ViewDetails})
            view->addAction(m_commands.Get(id));
        return;
    }
    // The menu offers a new name for discs only; Rename in the Edit menu (F2) takes any
    // row.
    QAction* rename = menu.addAction(m_commands.Get(Rename)->text());
    rename->setEnabled(unit->Kind == UnitKind::Disc);
    connect(rename, &QAction::triggered, this, &CDetailsView::RenameSelected);
    menu.addAction(m_commands.Get(Delete));
    menu.addAction(m_commands.Get(Properties));
    QAction* update = m_commands.Get(Update);
    update->setEnabled(m_doc.IsTopLevelUnit(unit->UnitID));
    menu.addAction(update);
    QAction* unique = m_commands.Get(UniqueFiles);
    const bool isFile = unit->Kind == UnitKind::File || unit->Kind == UnitKind::ArchiveFile;
    unique->setEnabled(unit->Kind == UnitKind::Disc || unit->Kind == UnitKind::Folder);
    menu.addAction(unique);
    if (isFile) {
        menu.addSeparator();
        QMenu* categories = menu.addMenu(Strings::LoadString(Strings::IDS_CHANGE_CATEGORY_MENU));
        for (const auto& [id, category] : m_doc.Database().Categories()) {
            if (id == unit->CategoryID)
                continue;
            QAction* entry = categories->addAction(category.Name);
            entry->setData(CategoryBase + id);
            connect(entry, &QAction::triggered, this, [this, id = id] { ChangeCategory(id); });
        }
    }
}
