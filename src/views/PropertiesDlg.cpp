#include "views/PropertiesDlg.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/SqlText.h"
#include "views/ArchiveInfoTab.h"
#include "views/AudioInfoTab.h"
#include "views/DiscInfoTab.h"
#include "views/FileInfoTab.h"
#include "views/FilmInfoTab.h"
#include "views/FolderInfoTab.h"
#include "views/InfoTabFields.h"
#include "views/PictureInfoTab.h"
#include "views/StorageInfoTab.h"
#include "views/UnitIcons.h"
#include "views/UpdateHistoryTab.h"

#include "ui_PropertiesDlg.h"

#include <QLineEdit>
#include <QPlainTextEdit>

#include <algorithm>
#include <vector>

namespace {

// The first tab of a disc, folder or file, and the edits the dialog writes back from.
template <typename Tab>
QWidget* ItemTab(const UnitProperties::Tab& values, const QIcon& icon, const QString& category,
                 QLineEdit*& nameEdit, QPlainTextEdit*& descriptionEdit)
{
    auto* tab = new Tab;
    tab->SetValues(values, icon, category);
    nameEdit = tab->NameEdit();
    descriptionEdit = tab->DescriptionEdit();
    return tab;
}

template <typename Tab> QWidget* MediaTab(const UnitProperties::Tab& values)
{
    auto* tab = new Tab;
    tab->SetValues(values);
    return tab;
}

} // namespace

CPropertiesDlg::CPropertiesDlg(int id, bool isStorage, CShelfwiseDoc& doc, QWidget* parent)
    : QDialog(parent), m_ui(new Ui::CPropertiesDlg), m_doc(doc), m_id(id)
{
    m_ui->setupUi(this);
    std::vector<UnitProperties::Tab> tabs;
    UnitListItem unit;
    const bool read = doc.Guard([&] {
        tabs = UnitProperties::Collect(doc.Database(), id, isStorage);
        if (!isStorage)
            unit = doc.Database().GetUnit(id);
    });
    // An item that cannot be read (the error was reported) leaves an empty dialog,
    // whose OK closes it without writing anything.
    if (!read || tabs.empty())
        return;
    if (isStorage)
        AddStorageTab(tabs.front());
    else
        AddUnitTabs(unit, tabs);
    m_oldName = m_nameEdit->text();
    m_oldDescription = m_descriptionEdit->toPlainText();
}

CPropertiesDlg::~CPropertiesDlg() = default;

void CPropertiesDlg::AddStorageTab(const UnitProperties::Tab& values)
{
    auto* tab = new CStorageInfoTab;
    tab->SetValues(values);
    m_ui->tabs->addTab(tab, values.Title);
    m_kind = UnitKind::Storage;
    m_nameEdit = tab->NameEdit();
    m_descriptionEdit = tab->DescriptionEdit();
}

void CPropertiesDlg::AddUnitTabs(const UnitListItem& unit,
                                 const std::vector<UnitProperties::Tab>& tabs)
{
    const QIcon icon = CUnitIcons().Icon(unit, Settings::Instance().FileIconsStyle);
    const QString category = m_doc.Database().GetCategory(unit.CategoryID).Name;
    const UnitProperties::Tab& values = tabs.front();
    QWidget* page = nullptr;
    if (unit.Kind == UnitKind::Disc)
        page = ItemTab<CDiscInfoTab>(values, icon, category, m_nameEdit, m_descriptionEdit);
    else if (unit.Kind == UnitKind::Folder)
        page = ItemTab<CFolderInfoTab>(values, icon, category, m_nameEdit, m_descriptionEdit);
    else
        page = ItemTab<CFileInfoTab>(values, icon, category, m_nameEdit, m_descriptionEdit);
    m_ui->tabs->addTab(page, values.Title);
    m_kind = unit.Kind;
    // A file of the film, music or picture category has its media details second, an
    // archive its format and entries.
    for (size_t i = 1; i < tabs.size(); ++i)
        AddMediaTab(tabs[i]);
    // What lies directly in a storage can be updated from its source: its updates last.
    std::vector<QStringList> history;
    if (m_doc.IsTopLevelUnit(unit.UnitID) && m_doc.Guard([&] {
            history = UnitProperties::UpdateHistory(m_doc.Database(), unit.UnitID);
        }))
        m_ui->tabs->addTab(new CUpdateHistoryTab(history), tr("History"));
}

void CPropertiesDlg::AddMediaTab(const UnitProperties::Tab& values)
{
    QWidget* page = nullptr;
    if (values.Title == Strings::LoadString(Strings::IDS_TAB_FILM_INFO))
        page = MediaTab<CFilmInfoTab>(values);
    else if (values.Title == Strings::LoadString(Strings::IDS_TAB_AUDIO_INFO))
        page = MediaTab<CAudioInfoTab>(values);
    else if (values.Title == Strings::LoadString(Strings::IDS_TAB_PICTURE_INFO)) {
        auto* picture = static_cast<CPictureInfoTab*>(MediaTab<CPictureInfoTab>(values));
        ThumbnailRecord thumbnail;
        m_doc.Guard([&] { m_doc.Database().GetThumbnail(m_id, thumbnail); });
        picture->SetThumbnail(thumbnail);
        page = picture;
    } else if (values.Title == UnitProperties::ArchiveTabTitle())
        page = MediaTab<CArchiveInfoTab>(values);
    if (page)
        m_ui->tabs->addTab(page, values.Title);
}

int CPropertiesDlg::TabCount() const
{
    return m_ui->tabs->count();
}

QStringList CPropertiesDlg::TabTitles() const
{
    QStringList titles;
    for (int i = 0; i < m_ui->tabs->count(); ++i)
        titles << m_ui->tabs->tabText(i);
    return titles;
}

QString CPropertiesDlg::FieldText(const QString& label) const
{
    for (int i = 0; i < m_ui->tabs->count(); ++i) {
        const QWidget& page = *m_ui->tabs->widget(i);
        if (InfoTabFields::FieldWidget(page, label))
            return InfoTabFields::FieldText(page, label);
    }
    return QString();
}

void CPropertiesDlg::accept()
{
    if (m_kind == UnitKind::Storage && !StoreStorage())
        return;
    if (m_kind != UnitKind::Storage && m_kind != UnitKind::Unset && !StoreUnit())
        return;
    QDialog::accept();
}

bool CPropertiesDlg::StoreStorage()
{
    const QString name = m_nameEdit->text().trimmed();
    const QString notes = m_descriptionEdit->toPlainText();
    UserPrompter& prompter = UserPrompter::Current();
    if (name.isEmpty()) {
        prompter.ShowMessage(Strings::IDS_STORAGE_NAME_EMPTY, UserPrompter::Icon::Warning);
        return false;
    }
    if (name != m_oldName && StorageNameTaken(name)) {
        prompter.ShowMessage(
            SqlText::Format(Strings::LoadString(Strings::IDS_STORAGE_NAME_EXISTS), {name}),
            UserPrompter::Icon::Warning);
        return false;
    }
    if (name != m_oldName || notes != m_oldDescription)
        m_doc.UpdateStorage(m_id, name, notes);
    return true;
}

bool CPropertiesDlg::StorageNameTaken(const QString& name) const
{
    const std::vector<StorageRecord>& storages = m_doc.Storages();
    return std::any_of(storages.begin(), storages.end(), [&](const StorageRecord& storage) {
        return storage.StorageID != m_id && storage.StorageName == name;
    });
}

bool CPropertiesDlg::StoreUnit()
{
    // Only a disc may be renamed here: folders and files keep their catalogued names.
    const QString name = m_nameEdit->text().trimmed();
    const bool renames = m_kind == UnitKind::Disc && name != m_oldName;
    if (m_kind == UnitKind::Disc && name.isEmpty()) {
        UserPrompter::Current().ShowMessage(Strings::IDS_UNIT_NAME_EMPTY,
                                            UserPrompter::Icon::Warning);
        return false;
    }
    const QString notes = m_descriptionEdit->toPlainText();
    // The new name and description undo as one step.
    m_doc.BeginEdits(tr("Change Properties of \"%1\"").arg(m_oldName), m_doc.UnitSubject(m_id));
    if (renames)
        m_doc.RenameUnit(m_id, name, this);
    if (notes != m_oldDescription)
        m_doc.SetUnitNotes(m_id, notes);
    m_doc.EndEdits();
    return true;
}
