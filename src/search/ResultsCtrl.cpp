#include "search/ResultsCtrl.h"

#include "search/ResultsModel.h"

#include <QHeaderView>
#include <QKeyEvent>

bool CResultsCtrl::s_sortDescending = false;

CResultsCtrl::CResultsCtrl(CShelfwiseDoc& doc, QWidget* parent)
    : CContextListCtrl(parent), m_model(new CResultsModel(doc, this))
{
    setModel(m_model);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSortingEnabled(false); // the rows are sorted here, with the shared direction
    QHeaderView* head = header();
    head->setSectionsClickable(true);
    head->setSortIndicatorShown(false);
    head->setStretchLastSection(true);
    for (int column = 0; column < CResultsModel::Location; ++column)
        head->resizeSection(column, 150);
    connect(head, &QHeaderView::sectionClicked, this, &CResultsCtrl::SortByColumn);
    connect(this, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& index) {
        if (index.isValid())
            emit propertiesChosen();
    });
}

void CResultsCtrl::SetResults(std::vector<UnitListItem> rows, std::map<int, QString> locations)
{
    m_model->SetResults(std::move(rows), std::move(locations));
    m_sortColumn = -1;
    ShowSortArrow();
}

void CResultsCtrl::ReplaceResults(std::vector<UnitListItem> rows, std::map<int, QString> locations)
{
    const int selected = SelectedUnitId();
    m_model->SetResults(std::move(rows), std::move(locations));
    if (m_sortColumn >= 0)
        m_model->SortBy(m_sortColumn, s_sortDescending);
    ShowSortArrow();
    if (selected != 0)
        SelectUnit(selected);
}

void CResultsCtrl::Clear()
{
    SetResults({}, {});
}

int CResultsCtrl::RowCount() const
{
    return m_model->rowCount();
}

const UnitListItem* CResultsCtrl::SelectedRow() const
{
    if (!HasSelectedRow())
        return nullptr;
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? nullptr : m_model->RowAt(rows.first().row());
}

int CResultsCtrl::SelectedUnitId() const
{
    const UnitListItem* row = SelectedRow();
    return row ? row->UnitID : 0;
}

void CResultsCtrl::SelectUnit(int unitId)
{
    const std::vector<UnitListItem>& rows = m_model->Rows();
    for (size_t row = 0; row < rows.size(); ++row) {
        if (rows[row].UnitID == unitId) {
            const QModelIndex index = m_model->index(static_cast<int>(row), 0);
            setCurrentIndex(index);
            scrollTo(index);
            return;
        }
    }
}

void CResultsCtrl::SortByColumn(int column)
{
    if (column < 0 || column >= CResultsModel::ColumnCount)
        return;
    if (column == m_sortColumn)
        s_sortDescending = !s_sortDescending;
    m_sortColumn = column;
    m_model->SortBy(column, s_sortDescending);
    ShowSortArrow();
    if (currentIndex().isValid())
        scrollTo(currentIndex());
}

void CResultsCtrl::ShowSortArrow()
{
    // The header flips its own arrow on a click; it is set here after that, so it
    // always shows the direction the rows are really in.
    QHeaderView* head = header();
    if (m_sortColumn < 0) {
        head->setSortIndicatorShown(false);
        head->setSortIndicator(-1, Qt::AscendingOrder);
        return;
    }
    head->setSortIndicatorShown(true);
    head->setSortIndicator(m_sortColumn,
                           s_sortDescending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void CResultsCtrl::keyPressEvent(QKeyEvent* event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && HasSelectedRow()) {
        emit propertiesChosen();
        event->accept();
        return;
    }
    CContextListCtrl::keyPressEvent(event);
}
