#include "document/EditHistory.h"

#include "errorlog/ErrorLog.h"
#include "sqlitewrapper/SqliteWrapper.h"
#include "sqlitewrapper/Transaction.h"

#include <cstddef>

namespace {

const char kSourceName[] = "EditHistory";

} // namespace

CEditHistory::CEditHistory(CSqliteWrapper& db) : m_db(db)
{
}

bool CEditHistory::IsEnabled() const
{
    return m_enabled && CSqliteWrapper::CanRecordChanges();
}

void CEditHistory::SetEnabled(bool enabled)
{
    m_enabled = enabled;
    if (!enabled)
        Clear();
}

void CEditHistory::AbandonRecording(const char* what)
{
    // The edit has happened or is happening without a record of it: the older steps
    // may no longer meet the rows they expect, so they go too. Logged, not shown: the
    // edit itself is fine.
    m_recordingFailed = true;
    m_db.StopRecording();
    Clear();
    ErrorLog::Instance().WriteLogEntry(0, QString::fromUtf8(what), QString::fromLatin1(kSourceName),
                                       __LINE__);
}

void CEditHistory::Begin(const QString& description, const EditSubject& subject)
{
    if (m_depth++ > 0)
        return;
    m_recording = Step();
    m_recording.Description = description;
    m_recording.Subject = subject;
    m_recordingFailed = false;
    if (!IsEnabled())
        return;
    try {
        m_recording.ExtensionsBefore = m_db.GetExtensionRows();
        m_db.StartRecording();
    } catch (const CSqliteWrapperError& error) {
        AbandonRecording(error.what());
    }
}

void CEditHistory::SetSubject(const EditSubject& subject)
{
    if (m_depth > 0)
        m_recording.Subject = subject;
}

bool CEditHistory::End()
{
    if (m_depth == 0 || --m_depth > 0)
        return false;
    Step step = std::move(m_recording);
    m_recording = Step();
    if (!IsEnabled() || m_recordingFailed) {
        m_db.StopRecording();
        return false;
    }
    try {
        // The connection was closed meanwhile (a catalogue opened in the middle of the
        // edit): what happened is unknown.
        if (!m_db.IsRecording()) {
            AbandonRecording("a recording ended with its connection");
            return false;
        }
        step.Changes = m_db.TakeRecording();
        step.ExtensionsAfter = m_db.GetExtensionRows();
    } catch (const CSqliteWrapperError& error) {
        AbandonRecording(error.what());
        return false;
    }
    step.ExtensionsChanged = step.ExtensionsAfter != step.ExtensionsBefore;
    if (!step.ExtensionsChanged) {
        step.ExtensionsBefore.clear();
        step.ExtensionsAfter.clear();
    }
    if (step.Changes.isEmpty() && !step.ExtensionsChanged)
        return false;
    Push(std::move(step));
    return true;
}

void CEditHistory::AddAddition(const QString& description, int unitId, int storageId)
{
    if (!IsEnabled())
        return;
    Step step;
    step.Description = description;
    step.Subject = EditSubject{unitId, false, storageId, true};
    step.AddedUnitId = unitId;
    Push(std::move(step));
}

void CEditHistory::AddImport(const QString& description, int storageId, bool newStorage,
                             const std::vector<int>& unitIds)
{
    if (!IsEnabled() || (unitIds.empty() && !newStorage))
        return;
    Step step;
    step.Description = description;
    step.Subject = EditSubject{storageId, true, -1, false};
    step.PendingImport = true;
    step.ImportedUnitIds = unitIds;
    step.ImportedStorageId = newStorage ? storageId : 0;
    Push(std::move(step));
}

void CEditHistory::Push(Step step)
{
    m_steps.erase(m_steps.begin() + static_cast<std::ptrdiff_t>(m_done), m_steps.end());
    m_steps.push_back(std::move(step));
    m_done = m_steps.size();
    Trim();
}

bool CEditHistory::CanUndo() const
{
    return m_depth == 0 && m_done > 0;
}

bool CEditHistory::CanRedo() const
{
    return m_depth == 0 && m_done < m_steps.size();
}

QString CEditHistory::UndoDescription() const
{
    return m_done > 0 ? m_steps[m_done - 1].Description : QString();
}

QString CEditHistory::RedoDescription() const
{
    return m_done < m_steps.size() ? m_steps[m_done].Description : QString();
}

EditSubject CEditHistory::Undo()
{
    if (!CanUndo())
        return EditSubject();
    Step& step = m_steps[m_done - 1];
    Apply(step, true);
    const EditSubject subject = step.Subject;
    --m_done;
    Trim();
    return subject;
}

EditSubject CEditHistory::Redo()
{
    if (!CanRedo())
        return EditSubject();
    Step& step = m_steps[m_done];
    Apply(step, false);
    ++m_done;
    return step.Subject;
}

void CEditHistory::Apply(Step& step, bool undo)
{
    // One transaction: the changeset (with its own savepoint) and the extension map
    // take effect together or not at all. On a failure the transaction has rolled back
    // by the time the handlers run; a recording of the removal is dropped.
    QByteArray removal;
    try {
        CTransaction transaction(m_db);
        if (undo && (step.AddedUnitId != 0 || step.PendingImport)) {
            m_db.StartRecording();
            if (step.AddedUnitId != 0)
                RemoveAddition(step.AddedUnitId);
            for (const int unitId : step.ImportedUnitIds)
                RemoveAddition(unitId);
            if (step.ImportedStorageId != 0)
                m_db.DeleteStorage(step.ImportedStorageId);
            removal = m_db.TakeRecording();
        } else {
            m_db.ApplyChangeset(step.Changes, undo != step.ChangesAreUndo);
        }
        if (step.ExtensionsChanged)
            m_db.ReplaceExtensionRows(undo ? step.ExtensionsBefore : step.ExtensionsAfter);
        transaction.Commit();
    } catch (const CSqliteWrapperError& error) {
        m_db.StopRecording();
        throw error.NonFatal();
    } catch (...) {
        m_db.StopRecording();
        throw;
    }
    if (undo && (step.AddedUnitId != 0 || step.PendingImport)) {
        step.Changes = std::move(removal);
        step.ChangesAreUndo = true;
        step.AddedUnitId = 0;
        step.PendingImport = false;
        step.ImportedUnitIds.clear();
        step.ImportedStorageId = 0;
    }
    m_db.LoadCategories();
    m_db.LoadFileExtensions();
}

void CEditHistory::RemoveAddition(int unitId)
{
    // The rows as they stand right after the addition (steps are undone in order):
    // the subtree with its media rows, the disc's DiscInfo row, and the share of the
    // storage's counters the import gave it. The import counts neither an empty disc
    // nor an empty folder in its storage.
    const UnitListItem unit = m_db.GetUnit(unitId);
    const FolderDetails totals = m_db.GetFolderProperties(unitId);
    const int storageId = m_db.GetUnitStorageId(unitId);
    qint64 files = 1;
    qint64 folders = 0;
    int discs = 0;
    if (unit.Kind != UnitKind::File) {
        files = totals.SubfilesNumber;
        folders = totals.SubfoldersNumber;
        const bool empty = files == 0 && folders == 0 && unit.UnitSize == 0;
        if (!empty && unit.Kind == UnitKind::Disc)
            discs = 1;
        if (!empty && unit.Kind == UnitKind::Folder)
            folders += 1;
    }
    m_db.SubtractFromStorage(storageId, files, folders, discs, unit.UnitSize);
    // One query for the whole subtree, however many units it holds.
    const std::vector<int> ids = m_db.GetSubtreeIds(unitId);
    const int discInfoId = m_db.GetUnitDiscInfoId(unitId);
    m_db.DeleteUnitRows(ids);
    if (discInfoId != 0)
        m_db.DeleteUnusedDiscInfo(discInfoId);
}

void CEditHistory::Clear()
{
    m_steps.clear();
    m_done = 0;
}

qint64 CEditHistory::StepSize(const Step& step)
{
    qint64 size = step.Changes.size() + step.Description.size() * 2 +
                  static_cast<qint64>(step.ImportedUnitIds.size() * sizeof(int));
    for (const ExtensionRows* rows : {&step.ExtensionsBefore, &step.ExtensionsAfter}) {
        for (const auto& row : *rows)
            size += row.first.size() * 2 + 8;
    }
    return size;
}

qint64 CEditHistory::MemoryUsed() const
{
    qint64 total = 0;
    for (const Step& step : m_steps)
        total += StepSize(step);
    return total;
}

void CEditHistory::Trim()
{
    // The oldest steps that could be undone go first; the step that Undo or Redo
    // would take next stays, however large.
    qint64 total = MemoryUsed();
    while (total > kMemoryBudget && m_done > 1) {
        total -= StepSize(m_steps.front());
        m_steps.erase(m_steps.begin());
        --m_done;
    }
}
