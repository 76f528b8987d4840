#include "options/GeneralOptionsTab.h"

#include "settings/Settings.h"

#include "ui_GeneralOptionsTab.h"

namespace {

// The interval the minutes field offers while autosave is off.
constexpr int kSuggestedMinutes = 10;

} // namespace

CGeneralOptionsTab::CGeneralOptionsTab(QWidget* parent)
    : QWidget(parent), m_ui(new Ui::CGeneralOptionsTab)
{
    m_ui->setupUi(this);
    connect(m_ui->everyCheck, &QCheckBox::toggled, m_ui->minutesSpin, &QWidget::setEnabled);
}

CGeneralOptionsTab::~CGeneralOptionsTab() = default;

void CGeneralOptionsTab::Load(const Settings& settings)
{
    switch (settings.FileIconsStyle) {
    case FileIconsStyle::Explorer:
        m_ui->explorerStyleRadio->setChecked(true);
        break;
    case FileIconsStyle::CategoryBased:
        m_ui->categoryStyleRadio->setChecked(true);
        break;
    case FileIconsStyle::Default:
        m_ui->defaultStyleRadio->setChecked(true);
        break;
    }
    // A timeout below 1 minute means no autosave.
    const bool timed = settings.AutosaveTimeout > 0;
    m_ui->everyCheck->setChecked(timed);
    m_ui->minutesSpin->setValue(timed ? settings.AutosaveTimeout : kSuggestedMinutes);
    m_ui->minutesSpin->setEnabled(timed);
    m_ui->afterUpdateCheck->setChecked(settings.AutosaveAfterUpdate);
    if (settings.UnitsOrder == UnitsOrder::Alphabetic)
        m_ui->alphabeticalRadio->setChecked(true);
    else
        m_ui->chronologicalRadio->setChecked(true);
    m_ui->recogniseDiscsCheck->setChecked(settings.RecogniseInsertedDiscs);
    m_ui->lookInsideArchivesCheck->setChecked(settings.LookInsideArchives);
    m_ui->keepThumbnailsCheck->setChecked(settings.KeepThumbnails);
}

void CGeneralOptionsTab::Store(Settings& settings) const
{
    if (m_ui->explorerStyleRadio->isChecked())
        settings.FileIconsStyle = FileIconsStyle::Explorer;
    else if (m_ui->categoryStyleRadio->isChecked())
        settings.FileIconsStyle = FileIconsStyle::CategoryBased;
    else
        settings.FileIconsStyle = FileIconsStyle::Default;
    settings.UnitsOrder =
        m_ui->alphabeticalRadio->isChecked() ? UnitsOrder::Alphabetic : UnitsOrder::Chronological;
    settings.AutosaveTimeout = m_ui->everyCheck->isChecked() ? m_ui->minutesSpin->value() : 0;
    settings.AutosaveAfterUpdate = m_ui->afterUpdateCheck->isChecked();
    settings.RecogniseInsertedDiscs = m_ui->recogniseDiscsCheck->isChecked();
    settings.LookInsideArchives = m_ui->lookInsideArchivesCheck->isChecked();
    settings.KeepThumbnails = m_ui->keepThumbnailsCheck->isChecked();
}
