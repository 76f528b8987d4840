#include "acquisition/AddStorageDlg.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "sqlitewrapper/SqlText.h"

#include "ui_AddStorageDlg.h"

CAddStorageDlg::CAddStorageDlg(const std::vector<StorageRecord>& existing, QWidget* parent)
    : QDialog(parent), m_ui(new Ui::CAddStorageDlg)
{
    m_ui->setupUi(this);
    for (const StorageRecord& storage : existing)
        m_existingNames << storage.StorageName;
}

CAddStorageDlg::~CAddStorageDlg() = default;

QString CAddStorageDlg::Name() const
{
    // Blanks around a name are never meant; a name of blanks is no name.
    return m_ui->nameEdit->text().trimmed();
}

QString CAddStorageDlg::Description() const
{
    return m_ui->descriptionEdit->toPlainText();
}

void CAddStorageDlg::accept()
{
    UserPrompter& prompter = UserPrompter::Current();
    const QString name = Name();
    if (name.isEmpty()) {
        prompter.ShowMessage(Strings::IDS_STORAGE_NAME_EMPTY, UserPrompter::Icon::Warning);
        m_ui->nameEdit->setFocus();
        return;
    }
    if (m_existingNames.contains(name, Qt::CaseSensitive)) {
        prompter.ShowMessage(
            SqlText::Format(Strings::LoadString(Strings::IDS_STORAGE_NAME_EXISTS), {name}),
            UserPrompter::Icon::Warning);
        m_ui->nameEdit->setFocus();
        m_ui->nameEdit->selectAll();
        return;
    }
    QDialog::accept();
}
