#include "views/FolderInfoTab.h"

#include "views/InfoTabFields.h"

#include "ui_FolderInfoTab.h"

CFolderInfoTab::CFolderInfoTab(QWidget* parent) : QWidget(parent), m_ui(new Ui::CFolderInfoTab)
{
    m_ui->setupUi(this);
}

CFolderInfoTab::~CFolderInfoTab() = default;

void CFolderInfoTab::SetValues(const UnitProperties::Tab& values, const QIcon& icon,
                               const QString& category)
{
    m_ui->iconLabel->setPixmap(icon.pixmap(32, 32));
    m_ui->categoryField->setText(category);
    InfoTabFields::Fill(*this, values.Fields);
}

QLineEdit* CFolderInfoTab::NameEdit() const
{
    return m_ui->nameEdit;
}

QPlainTextEdit* CFolderInfoTab::DescriptionEdit() const
{
    return m_ui->descriptionEdit;
}
