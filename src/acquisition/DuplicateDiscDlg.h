#pragma once

#include <QDialog>

#include <memory>
#include <vector>

class CShelfwiseDoc;
class QPushButton;
class QTreeWidgetItem;

namespace Ui {
class CDuplicateDiscDlg;
}

/// "Duplicate disc": the discs of the catalogue that look like the one being added
/// (name, label, size), and the storage each is kept in, so the user knows where to look. exec()
/// returns Accepted for "Add Anyway", Rejected for Cancel, and Reveal when a disc was
/// double-clicked: the caller then shows that disc (RevealUnitId()) instead of adding.
class CDuplicateDiscDlg final : public QDialog
{
    Q_OBJECT

public:
    /// The result of exec() after a double-click on a disc.
    static constexpr int Reveal = 2;

    CDuplicateDiscDlg(CShelfwiseDoc& doc, const std::vector<int>& unitIds,
                      QWidget* parent = nullptr);
    ~CDuplicateDiscDlg() override;

    /// The disc double-clicked; 0 when none was.
    int RevealUnitId() const { return m_revealUnitId; }
    QPushButton* AddAnywayButton() const { return m_addAnyway; }
    QPushButton* CancelButton() const { return m_cancel; }

private:
    void OnDoubleClicked(QTreeWidgetItem* item);

    std::unique_ptr<Ui::CDuplicateDiscDlg> m_ui;
    QPushButton* m_addAnyway = nullptr;
    QPushButton* m_cancel = nullptr;
    int m_revealUnitId = 0;
};
