#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <initializer_list>
#include <vector>

class CFindModel;
class CFindResults;
class CShelfwiseDoc;
class CUnitIcons;
class QAction;
class QLabel;
class QLineEdit;
class QStackedWidget;
class QStatusBar;
class QToolBar;

/// The find box of the toolbar. As the user types, a moment after the last key, the list
/// pane shows the units whose names hold every typed word (in place of the normal list,
/// the pane's first page) and the status bar how many there are. Enter or a double-click
/// browses to a unit and gives the normal list back, as Escape and an empty box do.
/// Ctrl+K, or "/" typed in a watched view, puts the focus in the box.
class CFindBox final : public QObject
{
    Q_OBJECT

public:
    /// pane holds the normal list as its current page; the results become another.
    CFindBox(CShelfwiseDoc& doc, CUnitIcons& icons, QStackedWidget& pane, QStatusBar& bar,
             QWidget& window);

    /// Puts the box at the end of the toolbar.
    void AddTo(QToolBar& bar);
    /// Typing "/" in these widgets (and the item views inside them) focuses the box.
    void FocusOnSlashIn(std::initializer_list<QWidget*> widgets);

    QLineEdit& Edit() { return *m_edit; }
    CFindResults& Results() { return *m_results; }
    CFindModel& Model() { return *m_model; }
    QAction& FocusAction() { return *m_focus; }
    bool IsFinding() const;
    /// "1,234 found" while results are shown; empty otherwise.
    QString CountText() const;
    /// Finds what the box holds now, without waiting for the typing to pause.
    void FindNow();
    /// Empties the box and shows the normal list again; focusList gives it the focus.
    void Leave(bool focusList);

signals:
    void browseRequested(const std::vector<int>& treePath, int listUnitId);
    void propertiesRequested(int unitId);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Export... of every match.
    void ExportResults();
    void OnTextChanged(const QString& text);
    // Browses to unitId, or to the first row found when it is 0.
    void BrowseToUnit(int unitId);
    QStringList TypedWords() const;

    CShelfwiseDoc& m_doc;
    QStackedWidget& m_pane;
    QLineEdit* m_edit;
    CFindModel* m_model;
    CFindResults* m_results;
    QLabel* m_count;
    QAction* m_focus;
    QTimer m_pause;
};
