#include "options/BackupOptionsTab.h"

#include "options/PathDlg.h"
#include "settings/Settings.h"

#include "ui_BackupOptionsTab.h"

#include <QDate>
#include <QLocale>

CBackupOptionsTab::CBackupOptionsTab(QWidget* parent)
    : QWidget(parent), m_ui(new Ui::CBackupOptionsTab)
{
    m_ui->setupUi(this);
    connect(m_ui->enableCheck, &QCheckBox::toggled, this, &CBackupOptionsTab::UpdateEnabled);
    connect(m_ui->alwaysPathRadio, &QRadioButton::toggled, this, &CBackupOptionsTab::UpdateEnabled);
    connect(m_ui->browseButton, &QPushButton::clicked, this, &CBackupOptionsTab::Browse);
}

CBackupOptionsTab::~CBackupOptionsTab() = default;

void CBackupOptionsTab::Load(const Settings& settings)
{
    m_ui->enableCheck->setChecked(settings.BackupEnabled);
    switch (settings.BackupFrequency) {
    case BackupFrequency::Day:
        m_ui->dayRadio->setChecked(true);
        break;
    case BackupFrequency::Week:
        m_ui->weekRadio->setChecked(true);
        break;
    case BackupFrequency::Month:
        m_ui->monthRadio->setChecked(true);
        break;
    case BackupFrequency::Year:
        m_ui->yearRadio->setChecked(true);
        break;
    }
    m_ui->pathEdit->setText(settings.BackupPath);
    if (settings.BackupPath.isEmpty())
        m_ui->askPathRadio->setChecked(true);
    else
        m_ui->alwaysPathRadio->setChecked(true);
    m_ui->lastBackupEdit->setText(BackupDateText(settings.BackupDate));
    UpdateEnabled();
}

void CBackupOptionsTab::Store(Settings& settings) const
{
    settings.BackupEnabled = m_ui->enableCheck->isChecked();
    if (m_ui->dayRadio->isChecked())
        settings.BackupFrequency = BackupFrequency::Day;
    else if (m_ui->weekRadio->isChecked())
        settings.BackupFrequency = BackupFrequency::Week;
    else if (m_ui->monthRadio->isChecked())
        settings.BackupFrequency = BackupFrequency::Month;
    else
        settings.BackupFrequency = BackupFrequency::Year;
    settings.BackupPath = m_ui->alwaysPathRadio->isChecked() ? m_ui->pathEdit->text() : QString();
}

QString CBackupOptionsTab::BackupDateText(const QByteArray& backupDate)
{
    const QDate date(backupDate.mid(4, 4).toInt(), backupDate.mid(2, 2).toInt(),
                     backupDate.mid(0, 2).toInt());
    if (backupDate.size() != 8 || !date.isValid())
        return QString::fromLatin1(backupDate);
    return QLocale().toString(date, QLocale::LongFormat);
}

void CBackupOptionsTab::UpdateEnabled()
{
    // The frequency and the folder keep their values while backup is off; they only
    // matter once it is on again.
    const bool enabled = m_ui->enableCheck->isChecked();
    m_ui->frequencyGroup->setEnabled(enabled);
    m_ui->pathGroup->setEnabled(enabled);
    const bool fixedPath = m_ui->alwaysPathRadio->isChecked();
    m_ui->pathEdit->setEnabled(fixedPath);
    m_ui->browseButton->setEnabled(fixedPath);
}

void CBackupOptionsTab::Browse()
{
    const QString folder = CPathDlg::BrowseForFolder(this, m_ui->pathEdit->text());
    if (!folder.isEmpty())
        m_ui->pathEdit->setText(folder);
}
