#pragma once

#include "search/ContextListCtrl.h"
#include "sqlitewrapper/Records.h"

#include <QString>

#include <map>
#include <vector>

class CResultsModel;
class CShelfwiseDoc;

/// The search results: name, category, size, type and location of every unit found,
/// one row each, the whole row selected. Clicking a column header sorts by that
/// column; clicking the sort column again reverses the direction, and clicking another
/// keeps it. The direction is one flag shared by every results list of the program.
/// Double-click or Enter on a row asks for its properties, as the menu's "Properties".
class CResultsCtrl final : public CContextListCtrl
{
    Q_OBJECT

public:
    explicit CResultsCtrl(CShelfwiseDoc& doc, QWidget* parent = nullptr);

    /// New results, in the order given; no column is sorted.
    void SetResults(std::vector<UnitListItem> rows, std::map<int, QString> locations);
    /// The same search again: the rows are replaced, the sort column and direction and
    /// the selected unit are kept.
    void ReplaceResults(std::vector<UnitListItem> rows, std::map<int, QString> locations);
    void Clear();

    const CResultsModel& Model() const { return *m_model; }
    int RowCount() const;
    /// The UnitID of the selected row; 0 when none is selected.
    int SelectedUnitId() const;
    const UnitListItem* SelectedRow() const;
    void SelectUnit(int unitId);

    /// What a click on the header of column does.
    void SortByColumn(int column);
    /// The sort column, -1 while the rows are in the order the search returned them.
    int SortColumn() const { return m_sortColumn; }
    static bool SortDescending() { return s_sortDescending; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void ShowSortArrow();

    // One direction for all results lists: the last one chosen in any of them.
    static bool s_sortDescending;

    CResultsModel* m_model;
    int m_sortColumn = -1;
};
