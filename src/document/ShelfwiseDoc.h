#pragma once

#include "document/CatalogueFile.h"
#include "document/EditHistory.h"
#include "document/Selection.h"
#include "sqlitewrapper/SqliteWrapper.h"
#include "sqlitewrapper/Transaction.h"

#include <QObject>
#include <QString>

#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

// The one open catalogue, as the views and the command line see it: the catalogue
// file (CCatalogueFile: New, Open, Save, the working copy, the changed mark), the
// catalogue-wide edit operations with their undo steps, the storages cache, the
// selection of the views and the common end of every update (commit, refresh,
// autosave).
//
// Every database error is caught (Guard) and reported through the ErrorLog.
class CShelfwiseDoc final : public QObject
{
    Q_OBJECT

public:
    // With uniqueWorkingCopy the working copy's name carries the process id as well as
    // the seconds, so processes started in the same second never share it.
    explicit CShelfwiseDoc(bool uniqueWorkingCopy = false, QObject* parent = nullptr);
    ~CShelfwiseDoc() override;
    CShelfwiseDoc(const CShelfwiseDoc&) = delete;
    CShelfwiseDoc& operator=(const CShelfwiseDoc&) = delete;

    // New, Open, Save (Save and Save As) of the catalogue file; see CCatalogueFile.
    // New and an Open that succeeds clear the history; Save keeps it.
    bool OnNewDocument();
    bool OnOpenDocument(const QString& path) { return m_file.Open(path); }
    bool OnSaveDocument(const QString& path) { return m_file.Save(path); }
    bool LastSaveReachedFile() const { return m_file.LastSaveReachedFile(); }
    // Whether a save must ask for a name first (File Save then does what Save As does).
    bool NeedsFileName() const { return m_file.NeedsFileName(); }
    // File Save: asks for a name when NeedsFileName(). False on Cancel or when the file
    // could not be written.
    bool FileSave() { return m_file.SaveWithName(); }
    bool IsModified() const { return m_file.IsModified(); }
    void SetModified(bool changed) { m_file.SetModified(changed); }
    bool IsLoaded() const { return m_file.IsLoaded(); }

    const QString& WorkingCopyPath() const { return m_file.WorkingCopyPath(); }
    const QString& TemplatePath() const { return m_file.TemplatePath(); }
    const QString& CataloguePath() const { return m_file.CataloguePath(); }
    CSqliteWrapper& Database() { return m_db; }

    // Storages cache, reloaded after each New and Open and after storage edits.
    const std::vector<StorageRecord>& Storages() const { return m_storages; }
    void ReloadStorages();
    int FallbackCategoryId() const { return m_fallbackCategoryId; }
    /// After the options changed Settings: takes the units order again, reloads the
    /// storages cache in that order and refreshes the views.
    void ApplySettings();

    // The selection of the views. Setting it updates the views other than sender.
    const ::Selection& Selection() const { return m_selection; }
    void SetSelection(const ::Selection& selection, QObject* sender);

    // The end of an addition that succeeded: commits its transaction, makes it an undo
    // step, refreshes the views and marks the document changed.
    void FinishUpdate(CTransaction addition);
    // VACUUM after the caller asked the user.
    bool CompressDatabase();

    // Edits. Each returns false when the statement failed (the error is reported).
    int AddStorage(const QString& name, const QString& notes);
    bool RenameStorage(int storageId, const QString& name);
    bool UpdateStorageNotes(int storageId, const QString& notes);
    // Name and notes in one statement, as the properties dialog stores them.
    bool UpdateStorage(int storageId, const QString& name, const QString& notes);
    bool RenameUnit(int unitId, const QString& name, QObject* sender);
    bool SetUnitNotes(int unitId, const QString& notes);
    bool SetUnitCategory(int unitId, int categoryId);
    // Every file with the given file's extension, and the extension map with it.
    bool SetFileExtensionCategory(const QString& fileName, int categoryId);
    bool SetExtensionFilesCategory(const QString& extension, int categoryId);
    bool DropExtensionFilesCategory(const QString& extension);
    bool MoveUnitToStorage(int unitId, int storageId);
    // An edit worked out elsewhere (the update of a unit from its source): run in one
    // transaction as one step of Undo, then the storages reloaded and the views
    // refreshed. False when it failed (reported) and nothing changed.
    bool ApplyEdit(const QString& description, const EditSubject& subject,
                   const std::function<void(CSqliteWrapper&)>& edit);

    // Categories and the extension map, as the categories page edits them. Each shows
    // its own message when refused (extension already mapped, category name taken).
    int AddCategory(const QString& name);
    bool DeleteCategory(int categoryId);
    bool MapExtension(const QString& extension, int categoryId);
    bool UnmapExtension(const QString& extension);
    bool IsTopLevelUnit(int unitId);
    // Asks "Would you really like to delete ...?" and deletes a storage or a unit;
    // true when it was deleted.
    bool DeleteItem(QObject* sender, const QString& name, int id, bool isStorage);
    // The children shown for the selection.
    std::vector<UnitListItem> GetSelectionChildren();

    // Undo and Redo. Every edit above and every addition is a step; New and an Open
    // that succeeds clear the history, Save keeps it. Undo and Redo mark the document
    // changed; false when there was nothing to do or it failed (reported). shown, when
    // given, receives where the step's storage or unit now is, or what held it.
    const CEditHistory& History() const { return m_history; }
    void SetHistoryEnabled(bool enabled);
    bool Undo(EditPlace* shown = nullptr);
    bool Redo(EditPlace* shown = nullptr);
    // Several edits that undo as one step (the properties dialog's OK); they nest. An
    // autosave after each update waits for the end.
    void BeginEdits(const QString& description, const EditSubject& subject);
    void EndEdits();
    // What a step on a storage or unit is about: a unit with what it lies in.
    EditSubject StorageSubject(int storageId) const;
    EditSubject UnitSubject(int unitId);

    // The end of an import of a list that succeeded: commits its transaction and makes
    // it one undo step (the units it made in storageId, and the storage when the
    // import made it), then refreshes the views and marks the document changed.
    void FinishImport(CTransaction import, const QString& description, int storageId,
                      bool newStorage, const std::vector<int>& unitIds);
    // The end of an addition that failed or was cancelled: its transaction is rolled
    // back. (The addition itself is CAddLocationJob's.)
    void RollbackAdd(CTransaction addition);
    // The storage that received the last addition and its top unit, which the views
    // reveal.
    void SetLastAdded(int storageId, int unitId);
    int LastAddedStorageId() const { return m_lastAddedStorageId; }
    int LastAddedUnitId() const { return m_lastAddedUnitId; }

    // Runs an operation on the catalogue, reporting a database error or any other
    // standard exception (and rolling back an open transaction); false when it failed.
    template <typename F> bool Guard(F&& operation)
    {
        return m_file.Guard(std::forward<F>(operation));
    }

signals:
    void viewsNeedUpdate(QObject* sender);
    void storageRenamed(int storageId);
    void unitRenamed(int unitId, QObject* sender);
    void cataloguePathChanged(const QString& path);
    // The changed mark went on or off.
    void modifiedChanged(bool modified);
    // A save is about to write the catalogue file: from here on it runs to its end.
    void saving();
    // The newer-catalogue dialog chose another catalogue to open.
    void openDocumentRequested(const QString& path);
    // What Undo or Redo would do changed.
    void historyChanged();

private:
    // The common end of New and Open: caches, selection, the path shown; the history
    // goes unless the catalogue is the one just saved to another file.
    void FinishLoading(bool afterSave);
    // Marks the document changed and saves at once when AutosaveAfterUpdate is set.
    void MarkChanged();
    // Guard for an edit that Undo takes back: what it changes is one step.
    template <typename F>
    bool Recorded(const QString& description, const EditSubject& subject, F&& edit);
    bool ApplyHistory(bool redo, EditPlace* shown);
    EditPlace PlaceOf(const EditSubject& subject);
    bool UnitExists(int unitId);
    // Names for the steps' descriptions.
    QString UnitName(int unitId);
    QString StorageName(int storageId) const;
    // The addition that FinishUpdate committed becomes a step.
    void RecordAddition();
    void ClearHistory();

    CCatalogueFile m_file;
    CSqliteWrapper& m_db; // the file's connection
    std::vector<StorageRecord> m_storages;
    ::Selection m_selection;
    int m_fallbackCategoryId = 1;
    int m_lastAddedStorageId = 0;
    int m_lastAddedUnitId = 0;
    CEditHistory m_history{m_db};
    bool m_additionPending = false;
    bool m_saveAfterEdits = false;
};

template <typename F>
bool CShelfwiseDoc::Recorded(const QString& description, const EditSubject& subject, F&& edit)
{
    BeginEdits(description, subject);
    const bool done = Guard(std::forward<F>(edit));
    EndEdits();
    return done;
}
