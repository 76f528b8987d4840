#include "views/AudioInfoTab.h"

#include "views/InfoTabFields.h"

#include "ui_AudioInfoTab.h"

CAudioInfoTab::CAudioInfoTab(QWidget* parent) : QWidget(parent), m_ui(new Ui::CAudioInfoTab)
{
    m_ui->setupUi(this);
}

CAudioInfoTab::~CAudioInfoTab() = default;

void CAudioInfoTab::SetValues(const UnitProperties::Tab& values)
{
    InfoTabFields::Fill(*this, values.Fields);
}
