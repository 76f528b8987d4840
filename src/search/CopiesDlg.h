#pragma once

#include "copies/CopySearch.h"

#include <QDialog>

#include <functional>
#include <vector>

class CContextListCtrl;
class CCopiesModel;
class CShelfwiseDoc;
class QLabel;
class QPushButton;

/// The files catalogued more than once, group by group (the group's number, then name,
/// size and location of each copy), or the files of one disc or folder kept nowhere
/// else. The search runs on a worker behind a progress dialog whose Cancel stops it;
/// the results then fill a list with the results' context menu and a "Browse to..."
/// button. A window of its own, like the search dialog, so that the main window can
/// come to the front with what "Browse to..." found; another catalogue closes it.
class CCopiesDlg final : public QDialog
{
    Q_OBJECT

public:
    enum class Kind { Duplicates, Unique };

    CCopiesDlg(CShelfwiseDoc& doc, Kind kind, QWidget* parent = nullptr);
    ~CCopiesDlg() override;

    /// Each runs the search to its end and lists what it found; false when it was
    /// cancelled (the list stays empty), failed or refused (the user has been told).
    bool FindDuplicates(const CCopySearch::Options& options);
    bool FindUnique(int unitId);

    CContextListCtrl& List() const { return *m_list; }
    const CCopiesModel& Model() const { return *m_model; }
    QPushButton& BrowseButton() const { return *m_browse; }
    /// What the dialog shows beside the list: how many groups or files, and their space.
    QString CountText() const;

    /// The "Properties" and "Browse to..." of the selected row.
    void ShowSelectedProperties();
    void BrowseToSelected();
    // Export... of every file listed, in the order shown.
    void ExportResults();

signals:
    /// As the search dialog's: the properties of a unit, and the place to reveal.
    void propertiesRequested(int unitId);
    void browseRequested(const std::vector<int>& treePath, int listUnitId);
    /// The worker's progress, as the progress dialog shows it.
    void progressed(int percent);

protected:
    void showEvent(QShowEvent* event) override;

private:
    // Starts the search through start (given the object to post to) and waits for its
    // end behind the progress dialog; false unless it succeeded.
    bool Run(CCopySearch& search, const QString& label, const std::function<bool(QObject*)>& start);
    // Lists the files with their locations, read a slice at a time.
    void Fill(const std::vector<std::pair<int, const CatalogueFile*>>& files);
    // The selected row's unit while it is still catalogued; 0 otherwise.
    int SelectedExistingUnit() const;

    CShelfwiseDoc& m_doc;
    Kind m_kind;
    CCopiesModel* m_model;
    CContextListCtrl* m_list;
    QLabel* m_count;
    QPushButton* m_browse;
};
