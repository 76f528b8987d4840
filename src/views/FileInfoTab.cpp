#include "views/FileInfoTab.h"

#include "views/InfoTabFields.h"

#include "ui_FileInfoTab.h"

CFileInfoTab::CFileInfoTab(QWidget* parent) : QWidget(parent), m_ui(new Ui::CFileInfoTab)
{
    m_ui->setupUi(this);
}

CFileInfoTab::~CFileInfoTab() = default;

void CFileInfoTab::SetValues(const UnitProperties::Tab& values, const QIcon& icon,
                             const QString& category)
{
    m_ui->iconLabel->setPixmap(icon.pixmap(32, 32));
    m_ui->categoryField->setText(category);
    InfoTabFields::Fill(*this, values.Fields);
}

QLineEdit* CFileInfoTab::NameEdit() const
{
    return m_ui->nameEdit;
}

QPlainTextEdit* CFileInfoTab::DescriptionEdit() const
{
    return m_ui->descriptionEdit;
}
