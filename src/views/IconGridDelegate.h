#pragma once

#include <QStyledItemDelegate>

// Draws the list's rows in Icons mode, where every row takes one cell of the grid: the
// icon above the whole name, wrapped over as many lines as the cell holds and elided
// only beyond them. The cell is the same for every row, so a folder of many thousands
// of files is laid out without measuring each name; in the other modes the rows are
// sized as usual.
class CIconGridDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit CIconGridDelegate(QObject* parent = nullptr);

    // The cell of Icons mode for a view's font and icon size: room for three lines of
    // text under the icon. An invalid size (the other modes) sizes rows as usual.
    static QSize CellSize(const QFontMetrics& metrics, const QSize& iconSize);
    void SetCellSize(const QSize& size) { m_cell = size; }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    // In a cell, the name starts right under the icon however many lines it takes.
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    QSize m_cell;
};
