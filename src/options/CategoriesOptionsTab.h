#pragma once

#include <QString>
#include <QWidget>

#include <memory>

class CShelfwiseDoc;
class QTreeWidgetItem;

namespace Ui {
class CCategoriesOptionsTab;
}

/// The "Categories" page of the options: the catalogue's categories on the left, the
/// file extensions of the selected one on the right, each list with Add (a new row
/// named in place) and Remove. Every change goes straight into the catalogue through
/// the document, whatever the dialog's OK or Cancel; the questions and messages go
/// through the UserPrompter. The fallback category, which files without a mapped
/// extension get, takes no extensions.
class CCategoriesOptionsTab final : public QWidget
{
    Q_OBJECT

public:
    explicit CCategoriesOptionsTab(CShelfwiseDoc& doc, QWidget* parent = nullptr);
    ~CCategoriesOptionsTab() override;

    /// The category whose extensions are listed; 0 when none is.
    int ShownCategoryId() const { return m_shownCategoryId; }
    /// Selects the category with that id (no selection when there is none).
    void SelectCategory(int categoryId);

private:
    void FillCategories();
    void OnCategorySelected();
    void ShowExtensions(int categoryId);
    void UpdateButtons();
    void AddExtension();
    void FinishExtensionEdit();
    void RemoveExtension();
    void AddCategory();
    void FinishCategoryEdit();
    void RemoveCategory();
    QString CategoryName(int categoryId) const;

    std::unique_ptr<Ui::CCategoriesOptionsTab> m_ui;
    CShelfwiseDoc& m_doc;
    int m_shownCategoryId = 0;
    // The rows being named in place; while one is set, a second Add on its list does
    // nothing and the category selection is not followed.
    QTreeWidgetItem* m_newExtension = nullptr;
    QTreeWidgetItem* m_newCategory = nullptr;
    // The category a new extension goes to, taken when its row was added.
    int m_newExtensionCategoryId = 0;
};
