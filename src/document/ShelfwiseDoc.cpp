#include "document/ShelfwiseDoc.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "errorlog/ErrorLog.h"
#include "settings/Settings.h"
#include "sqlitewrapper/Transaction.h"

using SqlText::Format;

namespace {

const char kSourceName[] = "ShelfwiseDoc";

} // namespace

CShelfwiseDoc::CShelfwiseDoc(bool uniqueWorkingCopy, QObject* parent)
    : QObject(parent), m_file(uniqueWorkingCopy), m_db(m_file.Database())
{
    const QString folder = SettingsFolder();
    ErrorLog::Instance().SetLogPath(folder + QStringLiteral("log.txt"));
    try {
        Settings::Instance();
    } catch (const std::logic_error& error) {
        // A settings file with a bad value: the rest of it is not read, defaults stand.
        ErrorLog::Instance().ReportError(0, QString::fromUtf8(error.what()),
                                         QString::fromLatin1(kSourceName), __LINE__, false, false);
    }
    connect(&m_file, &CCatalogueFile::loaded, this, &CShelfwiseDoc::FinishLoading);
    connect(&m_file, &CCatalogueFile::modifiedChanged, this, &CShelfwiseDoc::modifiedChanged);
    connect(&m_file, &CCatalogueFile::saving, this, &CShelfwiseDoc::saving);
    connect(&m_file, &CCatalogueFile::openDocumentRequested, this,
            &CShelfwiseDoc::openDocumentRequested);
}

CShelfwiseDoc::~CShelfwiseDoc()
{
    // The file closes the connection and removes the working copy after this.
    Settings::Instance().SaveIfChanged();
}

bool CShelfwiseDoc::OnNewDocument()
{
    ClearHistory();
    return m_file.New();
}

void CShelfwiseDoc::FinishLoading(bool afterSave)
{
    m_fallbackCategoryId = CategoryIds::General;
    emit cataloguePathChanged(m_file.CataloguePath());
    ReloadStorages();
    m_selection = ::Selection::None();
    if (!afterSave)
        ClearHistory();
}

void CShelfwiseDoc::ReloadStorages()
{
    Guard([&] { m_db.GetStorages(m_storages); });
}

void CShelfwiseDoc::ApplySettings()
{
    m_file.ApplySortOrder();
    // Without an open catalogue the order waits for the next New or Open.
    if (!m_db.IsOpen())
        return;
    ReloadStorages();
    emit viewsNeedUpdate(nullptr);
}

void CShelfwiseDoc::SetSelection(const ::Selection& selection, QObject* sender)
{
    m_selection = selection;
    emit viewsNeedUpdate(sender);
}

void CShelfwiseDoc::MarkChanged()
{
    SetModified(true);
    // In the middle of edits that undo as one step, the save waits for their end.
    if (m_history.IsRecording())
        m_saveAfterEdits = true;
    else if (Settings::Instance().AutosaveAfterUpdate)
        FileSave();
}

void CShelfwiseDoc::FinishUpdate(CTransaction addition)
{
    // A commit that fails is reported and the addition rolled back.
    if (Guard([&] { addition.Commit(); }))
        RecordAddition();
    ReloadStorages();
    emit viewsNeedUpdate(nullptr);
    MarkChanged();
}

void CShelfwiseDoc::RollbackAdd(CTransaction addition)
{
    m_additionPending = false;
    try {
        addition.Rollback();
    } catch (const CSqliteWrapperError& error) {
        ErrorLog::Instance().ReportException(error, true);
    }
    ReloadStorages();
}

void CShelfwiseDoc::SetLastAdded(int storageId, int unitId)
{
    m_lastAddedStorageId = storageId;
    m_lastAddedUnitId = unitId;
    m_additionPending = true;
}

bool CShelfwiseDoc::CompressDatabase()
{
    if (!m_file.Compress())
        return false;
    MarkChanged();
    return true;
}

int CShelfwiseDoc::AddStorage(const QString& name, const QString& notes)
{
    int id = 0;
    if (!Recorded(tr("Add Storage \"%1\"").arg(name), EditSubject(), [&] {
            id = m_db.AddStorage(name, notes);
            m_history.SetSubject(StorageSubject(id));
        }))
        return 0;
    ReloadStorages();
    MarkChanged();
    return id;
}

bool CShelfwiseDoc::RenameStorage(int storageId, const QString& name)
{
    if (!Recorded(tr("Rename \"%1\"").arg(StorageName(storageId)), StorageSubject(storageId),
                  [&] { m_db.RenameStorage(storageId, name); }))
        return false;
    ReloadStorages();
    MarkChanged();
    emit storageRenamed(storageId);
    return true;
}

bool CShelfwiseDoc::UpdateStorageNotes(int storageId, const QString& notes)
{
    const StorageRecord* storage = nullptr;
    for (const StorageRecord& record : m_storages) {
        if (record.StorageID == storageId)
            storage = &record;
    }
    if (!storage)
        return false;
    const QString name = storage->StorageName;
    if (!Recorded(tr("Change Description of \"%1\"").arg(name), StorageSubject(storageId),
                  [&] { m_db.UpdateStorage(storageId, name, notes); }))
        return false;
    ReloadStorages();
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::UpdateStorage(int storageId, const QString& name, const QString& notes)
{
    if (!Recorded(tr("Change Properties of \"%1\"").arg(StorageName(storageId)),
                  StorageSubject(storageId), [&] { m_db.UpdateStorage(storageId, name, notes); }))
        return false;
    ReloadStorages();
    MarkChanged();
    emit storageRenamed(storageId);
    return true;
}

bool CShelfwiseDoc::RenameUnit(int unitId, const QString& name, QObject* sender)
{
    if (!Recorded(tr("Rename \"%1\"").arg(UnitName(unitId)), UnitSubject(unitId),
                  [&] { m_db.RenameUnit(unitId, name); }))
        return false;
    MarkChanged();
    emit unitRenamed(unitId, sender);
    return true;
}

bool CShelfwiseDoc::SetUnitNotes(int unitId, const QString& notes)
{
    if (!Recorded(tr("Change Description of \"%1\"").arg(UnitName(unitId)), UnitSubject(unitId),
                  [&] { m_db.SetUnitNotes(unitId, notes); }))
        return false;
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::SetUnitCategory(int unitId, int categoryId)
{
    if (!Recorded(tr("Change Category of \"%1\"").arg(UnitName(unitId)), UnitSubject(unitId),
                  [&] { m_db.SetUnitCategory(unitId, categoryId); }))
        return false;
    MarkChanged();
    emit viewsNeedUpdate(nullptr);
    return true;
}

bool CShelfwiseDoc::SetFileExtensionCategory(const QString& fileName, int categoryId)
{
    if (!Recorded(tr("Change Category of *.%1 Files").arg(CSqliteWrapper::ExtensionOf(fileName)),
                  EditSubject(), [&] { m_db.SetFileExtensionCategory(fileName, categoryId); }))
        return false;
    MarkChanged();
    emit viewsNeedUpdate(nullptr);
    return true;
}

bool CShelfwiseDoc::SetExtensionFilesCategory(const QString& extension, int categoryId)
{
    if (!Recorded(tr("Change Category of *.%1 Files").arg(extension), EditSubject(),
                  [&] { m_db.SetExtensionFilesCategory(extension, categoryId); }))
        return false;
    emit viewsNeedUpdate(nullptr);
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::DropExtensionFilesCategory(const QString& extension)
{
    if (!Recorded(tr("Change Category of *.%1 Files").arg(extension), EditSubject(),
                  [&] { m_db.ResetExtensionFilesCategory(extension); }))
        return false;
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::MoveUnitToStorage(int unitId, int storageId)
{
    // Only what lies directly in a storage moves (never an archive's entry): the rows
    // below it follow.
    if (!IsTopLevelUnit(unitId))
        return false;
    const QString description =
        tr("Move \"%1\" to \"%2\"").arg(UnitName(unitId), StorageName(storageId));
    const bool moved = Recorded(description, UnitSubject(unitId),
                                [&] { m_db.MoveUnitToStorage(unitId, storageId); });
    if (!moved)
        return false;
    ReloadStorages();
    MarkChanged();
    emit viewsNeedUpdate(nullptr);
    return true;
}

bool CShelfwiseDoc::ApplyEdit(const QString& description, const EditSubject& subject,
                              const std::function<void(CSqliteWrapper&)>& edit)
{
    const bool done = Recorded(description, subject, [&] {
        CTransaction transaction(m_db);
        edit(m_db);
        transaction.Commit();
    });
    if (!done)
        return false;
    ReloadStorages();
    MarkChanged();
    emit viewsNeedUpdate(nullptr);
    return true;
}

bool CShelfwiseDoc::IsTopLevelUnit(int unitId)
{
    bool topLevel = false;
    Guard([&] { topLevel = m_db.GetAncestorIds(unitId).empty(); });
    return topLevel;
}

bool CShelfwiseDoc::DeleteItem(QObject* sender, const QString& name, int id, bool isStorage)
{
    const QString question = Format(Strings::LoadString(Strings::IDS_DELETE_QUESTION), {name});
    if (!UserPrompter::Current().AskYesNo(question, UserPrompter::Icon::Question))
        return false;
    const EditSubject subject = isStorage ? StorageSubject(id) : UnitSubject(id);
    const bool deleted = Recorded(tr("Delete \"%1\"").arg(name), subject, [&] {
        if (isStorage) {
            // The storage row and its units go together or not at all.
            CTransaction transaction(m_db);
            m_db.DeleteStorage(id);
            transaction.Commit();
        } else {
            m_db.DeleteUnit(id);
        }
    });
    if (!deleted)
        return false;
    // A unit's storage has lost its share of the counters the status bar shows too.
    ReloadStorages();
    if (m_selection.Is(id, isStorage))
        m_selection = ::Selection::None();
    emit viewsNeedUpdate(sender);
    MarkChanged();
    return true;
}

std::vector<UnitListItem> CShelfwiseDoc::GetSelectionChildren()
{
    std::vector<UnitListItem> items;
    if (!m_selection.IsNone())
        Guard([&] { m_db.GetSubunits(items, m_selection.Id(), m_selection.IsStorage()); });
    return items;
}
