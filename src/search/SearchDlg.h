#pragma once

#include "document/Selection.h"
#include "sqlitewrapper/SearchCriteria.h"

#include <QDialog>

#include <memory>
#include <vector>

class CAdvancedSearchTab;
class CBasicSearchTab;
class CResultsCtrl;
class CShelfwiseDoc;
class QLabel;
class QPushButton;

namespace Ui {
class CSearchDlg;
}

/// The "Search" dialog: finds units across the open catalogue by name, description,
/// size, storage, date, category and media details, and lists them with where they lie.
/// Modeless: the main window creates it once, keeps it, and shows it again with
/// Activate(); Cancel only hides it.
///
/// A found unit's properties and its place in the tree are the window's to show, asked
/// for through propertiesRequested and browseRequested. The dialog is a window of its
/// own, not one kept above the main window, so that the main window can come to the
/// front with what "Browse to..." found. The results follow the document: another
/// catalogue clears them, a change to the catalogue runs the same search again. Beside
/// the list, how many units the last search found ("1,103 found"); nothing before the
/// first search.
class CSearchDlg final : public QDialog
{
    Q_OBJECT

public:
    explicit CSearchDlg(CShelfwiseDoc& doc, QWidget* parent = nullptr);
    ~CSearchDlg() override;

    /// Shows the dialog (or brings it to the front) with the focus on the search text.
    void Activate();

    /// The criteria as the two pages show them.
    SearchCriteria GatherCriteria() const;
    /// What the "Search" button does: the results list is emptied, the catalogue
    /// searched and the units found listed; "No matches found. Try another search."
    /// when there are none. A database error is reported by the document and leaves
    /// the list empty.
    void Search();

    CBasicSearchTab& BasicTab() const;
    CAdvancedSearchTab& AdvancedTab() const;
    CResultsCtrl& Results() const { return *m_results; }
    QPushButton& SearchButton() const;
    /// The number of units found, as the dialog shows it beside the list.
    QString CountText() const;

    /// The "Properties" and "Browse to..." of the selected result.
    void ShowSelectedProperties();
    void BrowseToSelected();
    // Export... of every result, in the order shown.
    void ExportResults();

signals:
    /// The properties dialog of a unit, asked for by double-click, Enter or the menu.
    void propertiesRequested(int unitId);
    /// Reveal a unit: treePath is [StorageID, top UnitID, ..., UnitID] for
    /// CNavigationView::SelectPath; for a file it ends at the folder holding it, and
    /// listUnitId is the file to select in the list afterwards (0 for a disc or
    /// folder, which is selected in the tree itself).
    void browseRequested(const std::vector<int>& treePath, int listUnitId);

protected:
    void showEvent(QShowEvent* event) override;

private:
    // Runs the criteria; false when the catalogue refused them (reported).
    bool RunSearch(const SearchCriteria& criteria, bool replace);
    void ReloadLists();
    // The count beside the list, after every change of the results.
    void ShowCount();
    void OnCatalogueLoaded();
    void OnViewsNeedUpdate();
    void ScheduleRefresh();
    void Refresh();
    // The selected result's UnitID, or 0 when none is selected or it is gone from the
    // catalogue (then the results are refreshed).
    int SelectedExistingUnit();

    std::unique_ptr<Ui::CSearchDlg> m_ui;
    CShelfwiseDoc& m_doc;
    CResultsCtrl* m_results;
    QLabel* m_count;
    // The last search that ran, repeated when the catalogue changes.
    SearchCriteria m_lastCriteria;
    bool m_hasSearch = false;
    bool m_refreshScheduled = false;
    bool m_refreshWhenShown = false;
    // The document's selection when last seen: a views update that changes it is
    // the tree or list moving, not the catalogue changing.
    Selection m_seenSelection;
};
