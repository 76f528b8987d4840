#pragma once

#include "document/EditHistory.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QObject>
#include <QString>

#include <exception>
#include <memory>
#include <utility>
#include <vector>

// The one open catalogue. All SQL runs against a private working copy in the settings
// folder; Save copies the working copy back over the user's file, so closing without
// saving discards every change. Also carries the catalogue-wide edit operations and
// the common end of every update (commit, refresh, autosave).
//
// Every database error is caught here and reported through the ErrorLog.
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

    // New, Open, Save (Save and Save As). Save returns true whatever the copy did,
    // as the window expects; LastSaveReachedFile() tells whether the file was written.
    bool OnNewDocument();
    bool OnOpenDocument(const QString& path);
    bool OnSaveDocument(const QString& path);
    bool LastSaveReachedFile() const { return m_lastSaveReachedFile; }
    // File Save: asks for a name when the catalogue has no file yet. False on Cancel
    // or when the file could not be written.
    bool FileSave();
    bool IsModified() const { return m_bChanged; }
    void SetModified(bool changed);
    bool IsLoaded() const { return m_loaded; }

    // After a failed save the working copy is renamed to "Unsaved changes to NAME
    // DATE.db3" in the same folder and kept when the program ends.
    const QString& WorkingCopyPath() const { return m_workingCopyPath; }
    const QString& TemplatePath() const { return m_templatePath; }
    const QString& CataloguePath() const { return m_cataloguePath; }
    CSqliteWrapper& Database() { return m_db; }

    // Storages cache, reloaded after each New and Open and after storage edits.
    const std::vector<StorageRecord>& Storages() const { return m_storages; }
    void ReloadStorages();
    int FallbackCategoryId() const { return m_fallbackCategoryId; }
    /// After the options changed Settings: takes the units order again, reloads the
    /// storages cache in that order and refreshes the views.
    void ApplySettings();

    // The selection of the views: a StorageID or a UnitID, -1 for none.
    int SelectedId = -1;
    bool SelectedIsStorage = false;
    void SetSelection(int id, bool isStorage, QObject* sender);

    // Version check and upgrade of the working copy; false when the catalogue may not
    // be used.
    bool CheckDatabaseVersion();
    void UpgradeDatabase(quint32 catalogueVersion);

    // The common end of a multi-statement update.
    void FinishUpdate();
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

    // The end of an addition that failed or was cancelled: its transaction is rolled
    // back. (The addition itself is CAddLocationJob's.)
    void RollbackAdd();
    // The storage that received the last addition and its top unit, which the views
    // reveal.
    void SetLastAdded(int storageId, int unitId);
    int LastAddedStorageId() const { return m_lastAddedStorageId; }
    int LastAddedUnitId() const { return m_lastAddedUnitId; }

    // Runs an operation on the catalogue, reporting a database error or any other
    // standard exception (and rolling back an open transaction); false when it failed.
    template <typename F> bool Guard(F&& operation);

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
    void ReportDatabaseError(const CSqliteWrapperError& error);
    void ReportFailure(const std::exception& error);
    void ReplaceWorkingCopy(const QString& source);
    // The version check and upgrade of the catalogue open on db, whose file is
    // workingPath, copied from cataloguePath (empty for a new catalogue).
    bool CheckCatalogueVersion(CSqliteWrapper& db, const QString& workingPath,
                               const QString& cataloguePath);
    void UpgradeCatalogue(CSqliteWrapper& db, quint32 catalogueVersion, const QString& workingPath,
                          const QString& cataloguePath);
    // Copies path beside the working copy and checks it there: true when it is a
    // catalogue this program may use (upgraded if it was older). Reports why not.
    bool PrepareToOpen(const QString& path, const QString& candidate);
    // "Database file can't be opened." with the file's name and, when there is one
    // worth adding, what went wrong.
    void ReportOpenFailure(const QString& path, int code, const QString& detail);
    // After a save that could not write path: the working copy, which alone holds
    // the changes, is renamed to stay, and the message names it.
    void KeepWorkingCopy(const QString& path);
    // Closes the connection, renames the working copy and opens it again; false when
    // it kept its name.
    bool RenameWorkingCopy(const QString& newPath);
    void TuneWorkingCopy();
    // The common end of New and Open: caches, selection, the path shown.
    void FinishLoading();
    // Marks the document changed and saves at once when AutosaveAfterUpdate is set.
    void MarkChanged();
    void ApplySortOrder();
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

    QString m_workingCopyPath;
    QString m_ownWorkingCopyPath; // the name given at construction
    QString m_templatePath;
    QString m_cataloguePath;
    bool m_bChanged = false;
    bool m_loaded = false;
    bool m_lastSaveReachedFile = true;
    bool m_keptWorkingCopy = false;
    CSqliteWrapper m_db;
    std::vector<StorageRecord> m_storages;
    int m_fallbackCategoryId = 1;
    int m_lastAddedStorageId = 0;
    int m_lastAddedUnitId = 0;
    CEditHistory m_history{m_db};
    bool m_additionPending = false;
    bool m_reopeningSaved = false; // the history outlives Save As
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

template <typename F> bool CShelfwiseDoc::Guard(F&& operation)
{
    try {
        operation();
        return true;
    } catch (const CSqliteWrapperError& error) {
        ReportDatabaseError(error);
        return false;
    } catch (const std::exception& error) {
        // A damaged catalogue can break an assumption (a unit that must exist, say).
        ReportFailure(error);
        return false;
    }
}
