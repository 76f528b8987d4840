#include "options/DuplicatesOptionsTab.h"

#include "settings/Settings.h"

#include "ui_DuplicatesOptionsTab.h"

CDuplicatesOptionsTab::CDuplicatesOptionsTab(QWidget* parent)
    : QWidget(parent), m_ui(new Ui::CDuplicatesOptionsTab)
{
    m_ui->setupUi(this);
}

CDuplicatesOptionsTab::~CDuplicatesOptionsTab() = default;

void CDuplicatesOptionsTab::Load(const Settings& settings)
{
    m_ui->serialNumberCheck->setChecked(settings.CheckSerialNumber);
    m_ui->sizeCheck->setChecked(settings.CheckSize);
    m_ui->labelCheck->setChecked(settings.CheckLabel);
}

void CDuplicatesOptionsTab::Store(Settings& settings) const
{
    settings.CheckSerialNumber = m_ui->serialNumberCheck->isChecked();
    settings.CheckSize = m_ui->sizeCheck->isChecked();
    settings.CheckLabel = m_ui->labelCheck->isChecked();
}
