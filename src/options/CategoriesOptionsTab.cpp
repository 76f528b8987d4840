#include "options/CategoriesOptionsTab.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/ShelfwiseDoc.h"
#include "sqlitewrapper/SqlText.h"

#include "ui_CategoriesOptionsTab.h"

#include <QAbstractItemDelegate>
#include <QLineEdit>

using SqlText::Format;

namespace {

constexpr int kIdRole = Qt::UserRole;

int ItemId(const QTreeWidgetItem* item)
{
    return item ? item->data(0, kIdRole).toInt() : 0;
}

// A row for the user to name in place: its editor is open and has the keyboard, so
// typing names it at once. The editor has no frame and starts empty, so the hint in it
// shows where the name goes.
QTreeWidgetItem* StartNewRow(QTreeWidget* list, const QString& hint)
{
    auto* item = new QTreeWidgetItem(list);
    item->setFlags(item->flags() | Qt::ItemIsEditable);
    list->setCurrentItem(item);
    list->scrollToItem(item);
    list->setFocus();
    list->editItem(item, 0);
    if (auto* editor = qobject_cast<QLineEdit*>(list->itemWidget(item, 0))) {
        editor->setPlaceholderText(hint);
        editor->setFocus();
    }
    return item;
}

} // namespace

CCategoriesOptionsTab::CCategoriesOptionsTab(CShelfwiseDoc& doc, QWidget* parent)
    : QWidget(parent), m_ui(new Ui::CCategoriesOptionsTab), m_doc(doc)
{
    m_ui->setupUi(this);
    connect(m_ui->categoriesList, &QTreeWidget::currentItemChanged, this,
            &CCategoriesOptionsTab::OnCategorySelected);
    connect(m_ui->extensionsList, &QTreeWidget::itemSelectionChanged, this,
            &CCategoriesOptionsTab::UpdateButtons);
    // The end of an in-place edit, whether confirmed, cancelled or left by a click
    // elsewhere; the view has taken the text by then.
    connect(m_ui->extensionsList->itemDelegate(), &QAbstractItemDelegate::closeEditor, this,
            [this] {
                if (m_newExtension)
                    FinishExtensionEdit();
            });
    connect(m_ui->categoriesList->itemDelegate(), &QAbstractItemDelegate::closeEditor, this,
            [this] {
                if (m_newCategory)
                    FinishCategoryEdit();
            });
    connect(m_ui->extensionAddButton, &QPushButton::clicked, this,
            &CCategoriesOptionsTab::AddExtension);
    connect(m_ui->extensionRemoveButton, &QPushButton::clicked, this,
            &CCategoriesOptionsTab::RemoveExtension);
    connect(m_ui->categoryAddButton, &QPushButton::clicked, this,
            &CCategoriesOptionsTab::AddCategory);
    connect(m_ui->categoryRemoveButton, &QPushButton::clicked, this,
            &CCategoriesOptionsTab::RemoveCategory);
    FillCategories();
    m_ui->categoriesList->setCurrentItem(m_ui->categoriesList->topLevelItem(0));
    UpdateButtons();
}

CCategoriesOptionsTab::~CCategoriesOptionsTab()
{
    // An editor that loses its focus while the lists go must not name a row.
    m_newExtension = nullptr;
    m_newCategory = nullptr;
}

QString CCategoriesOptionsTab::CategoryName(int categoryId) const
{
    return m_doc.Database().GetCategory(categoryId).Name;
}

void CCategoriesOptionsTab::FillCategories()
{
    QTreeWidget* list = m_ui->categoriesList;
    const QSignalBlocker blocker(list);
    list->clear();
    for (const auto& [id, category] : m_doc.Database().Categories()) {
        auto* item = new QTreeWidgetItem(list, {category.Name});
        item->setData(0, kIdRole, id);
    }
}

void CCategoriesOptionsTab::SelectCategory(int categoryId)
{
    QTreeWidget* list = m_ui->categoriesList;
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        if (ItemId(list->topLevelItem(i)) == categoryId) {
            list->setCurrentItem(list->topLevelItem(i));
            return;
        }
    }
    list->setCurrentItem(nullptr);
}

void CCategoriesOptionsTab::OnCategorySelected()
{
    if (m_newCategory || m_newExtension)
        return;
    ShowExtensions(ItemId(m_ui->categoriesList->currentItem()));
}

void CCategoriesOptionsTab::ShowExtensions(int categoryId)
{
    m_shownCategoryId = categoryId;
    QTreeWidget* list = m_ui->extensionsList;
    list->clear();
    // Files fall back to that category by themselves: no extension maps to it.
    if (categoryId != 0 && categoryId != m_doc.FallbackCategoryId()) {
        for (const QString& extension : m_doc.Database().GetCategoryExtensions(categoryId))
            new QTreeWidgetItem(list, {extension});
    }
    UpdateButtons();
}

void CCategoriesOptionsTab::UpdateButtons()
{
    m_ui->extensionAddButton->setEnabled(m_shownCategoryId != 0 &&
                                         m_shownCategoryId != m_doc.FallbackCategoryId());
    const QList<QTreeWidgetItem*> extensions = m_ui->extensionsList->selectedItems();
    m_ui->extensionRemoveButton->setEnabled(!extensions.isEmpty() &&
                                            extensions.front() != m_newExtension);
    m_ui->categoryRemoveButton->setEnabled(
        m_shownCategoryId != 0 && m_doc.Database().GetCategory(m_shownCategoryId).IsCustom);
}

void CCategoriesOptionsTab::AddExtension()
{
    if (m_newExtension || m_shownCategoryId == 0 || m_shownCategoryId == m_doc.FallbackCategoryId())
        return;
    m_newExtensionCategoryId = m_shownCategoryId;
    m_newExtension = StartNewRow(m_ui->extensionsList, tr("New extension, e.g. pdf"));
    // The new row is selected, but not yet an extension that Remove could take.
    UpdateButtons();
}

void CCategoriesOptionsTab::FinishExtensionEdit()
{
    QTreeWidgetItem* item = m_newExtension;
    m_newExtension = nullptr;
    // Blanks, a leading dot and capitals are dropped, as the command line's
    // map-extension does: files are matched by their lower-cased extension.
    const QString extension = CSqliteWrapper::NormaliseExtension(item->text(0));
    const int categoryId = m_newExtensionCategoryId;
    // The extension and the files moved with it undo as one step.
    m_doc.BeginEdits(tr("Add Extension \"%1\"").arg(extension), EditSubject());
    if (extension.isEmpty() || !m_doc.MapExtension(extension, categoryId)) {
        // An empty name is dropped quietly; a mapped one was refused with a message
        // that names the category holding it.
        delete item;
    } else {
        item->setText(0, extension);
        item->setFlags(item->flags() & ~Qt::ItemIsEditable);
        if (UserPrompter::Current().AskYesNoDefaultNo(
                Strings::IDS_CHANGE_EXTENSION_CATEGORY_QUESTION, UserPrompter::Icon::Question) ==
            UserPrompter::Answer::Yes)
            m_doc.SetExtensionFilesCategory(extension, categoryId);
    }
    m_doc.EndEdits();
    // A category chosen while the row was being named is shown now.
    if (ItemId(m_ui->categoriesList->currentItem()) != m_shownCategoryId)
        OnCategorySelected();
    UpdateButtons();
}

void CCategoriesOptionsTab::RemoveExtension()
{
    const QList<QTreeWidgetItem*> selected = m_ui->extensionsList->selectedItems();
    if (selected.isEmpty() || m_newExtension)
        return;
    QTreeWidgetItem* item = selected.front();
    const QString extension = item->text(0);
    UserPrompter& prompter = UserPrompter::Current();
    if (!prompter.AskYesNo(Strings::IDS_DELETE_EXTENSION_QUESTION, UserPrompter::Icon::Question))
        return;
    // The extension and the files that fall back undo as one step.
    m_doc.BeginEdits(tr("Remove Extension \"%1\"").arg(extension), EditSubject());
    if (m_doc.UnmapExtension(extension)) {
        delete item;
        // The files keep their category unless the user lets them fall back.
        if (prompter.AskYesNo(
                Format(Strings::LoadString(Strings::IDS_DROP_EXTENSION_CATEGORY_QUESTION),
                       {extension, CategoryName(m_shownCategoryId)}),
                UserPrompter::Icon::Question))
            m_doc.DropExtensionFilesCategory(extension);
    }
    m_doc.EndEdits();
    UpdateButtons();
}

void CCategoriesOptionsTab::AddCategory()
{
    if (m_newCategory)
        return;
    m_newCategory = StartNewRow(m_ui->categoriesList, tr("New category name"));
}

void CCategoriesOptionsTab::FinishCategoryEdit()
{
    QTreeWidgetItem* item = m_newCategory;
    m_newCategory = nullptr;
    const QString name = item->text(0);
    // A name of blanks is dropped quietly, as the command line refuses it; a taken
    // name is refused by the document with its message.
    const int id = name.trimmed().isEmpty() ? 0 : m_doc.AddCategory(name);
    if (id == 0) {
        delete item;
        if (ItemId(m_ui->categoriesList->currentItem()) != m_shownCategoryId)
            OnCategorySelected();
        UpdateButtons();
        return;
    }
    FillCategories();
    // Selecting it shows its extension list, empty.
    m_ui->categoriesList->setCurrentItem(
        m_ui->categoriesList->topLevelItem(m_ui->categoriesList->topLevelItemCount() - 1));
}

void CCategoriesOptionsTab::RemoveCategory()
{
    const int categoryId = ItemId(m_ui->categoriesList->currentItem());
    if (m_newCategory || m_newExtension || categoryId == 0 ||
        !m_doc.Database().GetCategory(categoryId).IsCustom)
        return;
    if (!UserPrompter::Current().AskYesNo(Strings::IDS_DELETE_CATEGORY_QUESTION,
                                          UserPrompter::Icon::Question))
        return;
    // Its extensions go with it and its files fall back to the general category.
    if (!m_doc.DeleteCategory(categoryId))
        return;
    FillCategories();
    ShowExtensions(0);
}
