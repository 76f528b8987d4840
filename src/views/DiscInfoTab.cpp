#include "views/DiscInfoTab.h"

#include "views/InfoTabFields.h"

#include "ui_DiscInfoTab.h"

CDiscInfoTab::CDiscInfoTab(QWidget* parent) : QWidget(parent), m_ui(new Ui::CDiscInfoTab)
{
    m_ui->setupUi(this);
}

CDiscInfoTab::~CDiscInfoTab() = default;

void CDiscInfoTab::SetValues(const UnitProperties::Tab& values, const QIcon& icon,
                             const QString& category)
{
    m_ui->iconLabel->setPixmap(icon.pixmap(32, 32));
    m_ui->categoryField->setText(category);
    InfoTabFields::Fill(*this, values.Fields);
}

QLineEdit* CDiscInfoTab::NameEdit() const
{
    return m_ui->nameEdit;
}

QPlainTextEdit* CDiscInfoTab::DescriptionEdit() const
{
    return m_ui->descriptionEdit;
}
