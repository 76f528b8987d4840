#include "views/PictureInfoTab.h"

#include "views/InfoTabFields.h"

#include "ui_PictureInfoTab.h"

CPictureInfoTab::CPictureInfoTab(QWidget* parent) : QWidget(parent), m_ui(new Ui::CPictureInfoTab)
{
    m_ui->setupUi(this);
}

CPictureInfoTab::~CPictureInfoTab() = default;

void CPictureInfoTab::SetValues(const UnitProperties::Tab& values)
{
    InfoTabFields::Fill(*this, values.Fields);
}
