#include "views/StorageInfoTab.h"

#include "views/InfoTabFields.h"
#include "views/UnitIcons.h"

#include "ui_StorageInfoTab.h"

CStorageInfoTab::CStorageInfoTab(QWidget* parent) : QWidget(parent), m_ui(new Ui::CStorageInfoTab)
{
    m_ui->setupUi(this);
    m_ui->iconLabel->setPixmap(CUnitIcons().Icon(CUnitIcons::Storage).pixmap(32, 32));
}

CStorageInfoTab::~CStorageInfoTab() = default;

void CStorageInfoTab::SetValues(const UnitProperties::Tab& values)
{
    // The name field has no label of its own: it heads the page.
    InfoTabFields::SetText(m_ui->nameEdit,
                           InfoTabFields::Value(values.Fields, QStringLiteral("Name:")));
    InfoTabFields::Fill(*this, values.Fields);
}

QLineEdit* CStorageInfoTab::NameEdit() const
{
    return m_ui->nameEdit;
}

QPlainTextEdit* CStorageInfoTab::DescriptionEdit() const
{
    return m_ui->descriptionEdit;
}
