// The document's side of Undo and Redo: recording its edits and additions as steps of
// the history, applying steps, and finding where a step's item now lies.
#include "document/ShelfwiseDoc.h"

#include "settings/Settings.h"

#include <algorithm>

namespace {

bool HasStorage(const std::vector<StorageRecord>& storages, int storageId)
{
    return std::any_of(storages.begin(), storages.end(),
                       [storageId](const StorageRecord& s) { return s.StorageID == storageId; });
}

} // namespace

void CShelfwiseDoc::SetHistoryEnabled(bool enabled)
{
    m_history.SetEnabled(enabled);
    emit historyChanged();
}

void CShelfwiseDoc::ClearHistory()
{
    m_history.Clear();
    emit historyChanged();
}

void CShelfwiseDoc::BeginEdits(const QString& description, const EditSubject& subject)
{
    m_history.Begin(description, subject);
}

void CShelfwiseDoc::EndEdits()
{
    if (m_history.End())
        emit historyChanged();
    // Saved once, at the end: a save that re-opens the catalogue (the first one of a
    // new catalogue) would end the recording half-way.
    if (!m_history.IsRecording() && m_saveAfterEdits) {
        m_saveAfterEdits = false;
        if (Settings::Instance().AutosaveAfterUpdate)
            FileSave();
    }
}

EditSubject CShelfwiseDoc::StorageSubject(int storageId) const
{
    return EditSubject{storageId, true, -1, false};
}

// The reads for a step's subject and description are quiet: the edit that follows
// meets the same catalogue and reports what is wrong with it.

EditSubject CShelfwiseDoc::UnitSubject(int unitId)
{
    EditSubject subject{unitId, false, -1, false};
    try {
        const std::vector<int> ancestors = m_db.GetAncestorIds(unitId);
        subject.ParentIsStorage = ancestors.empty();
        subject.ParentId = ancestors.empty() ? m_db.GetUnitStorageId(unitId) : ancestors.front();
    } catch (const std::exception&) {
    }
    return subject;
}

QString CShelfwiseDoc::UnitName(int unitId)
{
    try {
        return m_db.GetUnit(unitId).UnitName;
    } catch (const std::exception&) {
        return QString();
    }
}

QString CShelfwiseDoc::StorageName(int storageId) const
{
    for (const StorageRecord& storage : m_storages) {
        if (storage.StorageID == storageId)
            return storage.StorageName;
    }
    return QString();
}

void CShelfwiseDoc::RecordAddition()
{
    if (!m_additionPending)
        return;
    m_additionPending = false;
    UnitListItem unit;
    try {
        unit = m_db.GetUnit(m_lastAddedUnitId);
    } catch (const std::exception&) {
        return;
    }
    const QString name = unit.UnitName;
    const QString description = unit.Kind == UnitKind::Disc     ? tr("Add Disc \"%1\"").arg(name)
                                : unit.Kind == UnitKind::Folder ? tr("Add Folder \"%1\"").arg(name)
                                                                : tr("Add File \"%1\"").arg(name);
    m_history.AddAddition(description, m_lastAddedUnitId, m_lastAddedStorageId);
    emit historyChanged();
}

void CShelfwiseDoc::FinishImport(CTransaction import, const QString& description, int storageId,
                                 bool newStorage, const std::vector<int>& unitIds)
{
    m_additionPending = false;
    if (Guard([&] { import.Commit(); })) {
        m_history.AddImport(description, storageId, newStorage, unitIds);
        m_lastAddedStorageId = storageId;
        m_lastAddedUnitId = unitIds.empty() ? 0 : unitIds.front();
        emit historyChanged();
    }
    ReloadStorages();
    emit viewsNeedUpdate(nullptr);
    MarkChanged();
}

bool CShelfwiseDoc::Undo(EditPlace* shown)
{
    return ApplyHistory(false, shown);
}

bool CShelfwiseDoc::Redo(EditPlace* shown)
{
    return ApplyHistory(true, shown);
}

bool CShelfwiseDoc::ApplyHistory(bool redo, EditPlace* shown)
{
    if (!(redo ? m_history.CanRedo() : m_history.CanUndo()))
        return false;
    EditSubject subject;
    const bool applied = Guard([&] { subject = redo ? m_history.Redo() : m_history.Undo(); });
    emit historyChanged();
    if (!applied)
        return false;
    ReloadStorages();
    // The selection may be gone (a storage whose addition was undone): the views then
    // start again from the top.
    const bool selectionExists =
        m_selection.IsNone() || (m_selection.IsStorage() ? HasStorage(m_storages, m_selection.Id())
                                                         : UnitExists(m_selection.Id()));
    if (!selectionExists)
        m_selection = ::Selection::None();
    if (shown)
        *shown = PlaceOf(subject);
    emit viewsNeedUpdate(nullptr);
    MarkChanged();
    return true;
}

bool CShelfwiseDoc::UnitExists(int unitId)
{
    try {
        return m_db.UnitExists(unitId);
    } catch (const CSqliteWrapperError&) {
        return false;
    }
}

EditPlace CShelfwiseDoc::PlaceOf(const EditSubject& subject)
{
    // A storage is selected in the tree; a unit in the list, with what holds it in the
    // tree. When the item is gone, what held it is shown instead.
    auto exists = [this](int id, bool isStorage) {
        return id != -1 && (isStorage ? HasStorage(m_storages, id) : UnitExists(id));
    };
    int id = subject.Id;
    bool isStorage = subject.IsStorage;
    bool inList = !isStorage;
    if (!exists(id, isStorage)) {
        id = subject.ParentId;
        isStorage = subject.ParentIsStorage;
        inList = false;
        if (!exists(id, isStorage))
            return EditPlace();
    }
    EditPlace place;
    if (isStorage) {
        place.TreePath = {id};
        return place;
    }
    try {
        std::vector<int> ancestors = m_db.GetAncestorIds(id);
        std::reverse(ancestors.begin(), ancestors.end());
        place.TreePath.push_back(m_db.GetUnitStorageId(id));
        place.TreePath.insert(place.TreePath.end(), ancestors.begin(), ancestors.end());
        if (inList)
            place.ListUnitId = id;
        else
            place.TreePath.push_back(id);
    } catch (const CSqliteWrapperError&) {
        return EditPlace();
    }
    return place;
}
