#include "views/FindResults.h"

#include "views/FindModel.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>

CFindResults::CFindResults(CFindModel& model, QWidget* parent) : QTableView(parent), m_model(model)
{
    setAccessibleName(tr("Units found"));
    setModel(&m_model);
    setShowGrid(false);
    setWordWrap(false);
    setCornerButtonEnabled(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    QHeaderView* head = horizontalHeader();
    head->setStretchLastSection(true);
    head->resizeSection(CFindModel::Name, 260);
    head->resizeSection(CFindModel::Location, 320);
    head->resizeSection(CFindModel::Size, 90);
    head->resizeSection(CFindModel::Type, 70);
    connect(this, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& index) {
        if (index.isValid())
            emit activated(m_model.UnitIdAt(index.row()));
    });
}

int CFindResults::CurrentUnitId() const
{
    return currentIndex().isValid() ? m_model.UnitIdAt(currentIndex().row()) : 0;
}

bool CFindResults::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(event);
        switch (key->key()) {
        case Qt::Key_Delete:
        case Qt::Key_F2:
        case Qt::Key_Backspace:
        case Qt::Key_Escape:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            event->accept();
            return true;
        default:
            break;
        }
    }
    return QTableView::event(event);
}

void CFindResults::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (CurrentUnitId() != 0)
            emit activated(CurrentUnitId());
        event->accept();
        return;
    case Qt::Key_Escape:
        emit leaveRequested();
        event->accept();
        return;
    case Qt::Key_Delete:
    case Qt::Key_F2:
    case Qt::Key_Backspace:
        event->accept();
        return;
    default:
        QTableView::keyPressEvent(event);
    }
}

void CFindResults::contextMenuEvent(QContextMenuEvent* event)
{
    const QModelIndex at = indexAt(event->pos());
    if (at.isValid())
        setCurrentIndex(at);
    QMenu menu(tr("Results"), this);
    menu.setAccessibleName(tr("Results"));
    QAction* properties = menu.addAction(tr("Properties"));
    QAction* browse = menu.addAction(tr("Browse to..."));
    properties->setEnabled(CurrentUnitId() != 0);
    browse->setEnabled(CurrentUnitId() != 0);
    connect(properties, &QAction::triggered, this, &CFindResults::propertiesChosen);
    connect(browse, &QAction::triggered, this, &CFindResults::browseChosen);
    menu.addSeparator();
    QAction* exportRows = menu.addAction(tr("Export..."));
    exportRows->setEnabled(model() && model()->rowCount() > 0);
    connect(exportRows, &QAction::triggered, this, &CFindResults::exportChosen);
    menu.exec(event->reason() == QContextMenuEvent::Keyboard ? mapToGlobal(QPoint(5, 5))
                                                             : event->globalPos());
}
