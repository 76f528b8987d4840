#pragma once

#include <QTableView>

class CFindModel;

/// The rows of the find box in the list pane: one line per unit found, the whole row
/// selected, in the order found. Enter or a double-click on a row asks to browse to it,
/// Escape to leave the results. The window's editing keys (Delete, F2, Backspace) stay
/// here, so they never act on the tree's selection behind the results. A table rather
/// than a tree view: a tree reads a page more at every layout, a table only when the
/// end comes into view. Its menu offers Properties and Browse to..., as the search
/// results' does.
class CFindResults final : public QTableView
{
    Q_OBJECT

public:
    explicit CFindResults(CFindModel& model, QWidget* parent = nullptr);

    /// The UnitID of the current row; 0 when there is none.
    int CurrentUnitId() const;

signals:
    void activated(int unitId);
    void leaveRequested();
    void propertiesChosen();
    void browseChosen();
    void exportChosen();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    CFindModel& m_model;
};
