#include "options/OptionsDlg.h"

#include "common/Strings.h"
#include "document/ShelfwiseDoc.h"
#include "options/BackupOptionsTab.h"
#include "options/CategoriesOptionsTab.h"
#include "options/DuplicatesOptionsTab.h"
#include "options/GeneralOptionsTab.h"
#include "settings/Settings.h"

#include "ui_OptionsDlg.h"

COptionsDlg::COptionsDlg(CShelfwiseDoc& doc, QWidget* parent)
    : QDialog(parent), m_ui(new Ui::COptionsDlg), m_doc(doc), m_general(new CGeneralOptionsTab),
      m_categories(new CCategoriesOptionsTab(doc)), m_duplicates(new CDuplicatesOptionsTab),
      m_backup(new CBackupOptionsTab)
{
    m_ui->setupUi(this);
    const Settings& settings = Settings::Instance();
    m_general->Load(settings);
    m_duplicates->Load(settings);
    m_backup->Load(settings);
    m_ui->tabs->addTab(m_general, Strings::LoadString(Strings::IDS_TAB_GENERAL));
    m_ui->tabs->addTab(m_categories, Strings::LoadString(Strings::IDS_TAB_CATEGORIES));
    m_ui->tabs->addTab(m_duplicates, Strings::LoadString(Strings::IDS_TAB_DUPLICATES));
    m_ui->tabs->addTab(m_backup, Strings::LoadString(Strings::IDS_TAB_BACKUP));
}

COptionsDlg::~COptionsDlg() = default;

void COptionsDlg::accept()
{
    Settings& settings = Settings::Instance();
    m_general->Store(settings);
    m_duplicates->Store(settings);
    m_backup->Store(settings);
    // Written now rather than only at the end, so that a crash keeps the options and
    // the command line sees them; an unchanged file is left alone.
    settings.SaveIfChanged();
    m_doc.ApplySettings();
    emit settingsApplied();
    QDialog::accept();
}
