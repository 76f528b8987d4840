#pragma once

#include "sqlitewrapper/SqliteWrapper.h"

#include <QObject>
#include <QString>
#include <QtGlobal>

#include <exception>
#include <utility>

// The file side of the one open catalogue. All SQL runs against a private working copy
// in the settings folder; New fills it from the template, Open from the user's file
// (checked beside the working copy first), and Save copies it back over the user's
// file, so closing without saving discards every change. Also the changed mark and
// the path of the user's file, and the version check and upgrade of what is opened.
//
// Every database error is caught here (Guard) and reported through the ErrorLog.
class CCatalogueFile final : public QObject
{
    Q_OBJECT

public:
    // With uniqueWorkingCopy the working copy's name carries the process id as well as
    // the seconds, so processes started in the same second never share it.
    explicit CCatalogueFile(bool uniqueWorkingCopy, QObject* parent = nullptr);
    ~CCatalogueFile() override;
    CCatalogueFile(const CCatalogueFile&) = delete;
    CCatalogueFile& operator=(const CCatalogueFile&) = delete;

    // New and Open: false when the catalogue may not be used (reported); a failed Open
    // leaves the open catalogue as it was, unsaved changes and all.
    bool New();
    bool Open(const QString& path);
    // Save and Save As. Returns true whatever the copy did, as the window expects;
    // LastSaveReachedFile() tells whether the file was written. Saving to another file
    // opens that file, whose rows are those of the working copy.
    bool Save(const QString& path);
    bool LastSaveReachedFile() const { return m_lastSaveReachedFile; }
    // True when Save has no file to write to: a catalogue that New made and that no
    // save has reached a file with yet. The one place that decides whether a save must
    // ask for a name.
    bool NeedsFileName() const { return m_cataloguePath.isEmpty(); }
    // File Save: asks for a name when NeedsFileName(). False on Cancel or when the file
    // could not be written.
    bool SaveWithName();
    // VACUUM after the caller asked the user; false when it failed (reported).
    bool Compress();

    bool IsModified() const { return m_bChanged; }
    void SetModified(bool changed);
    bool IsLoaded() const { return m_loaded; }

    // After a failed save the working copy is renamed to "Unsaved changes to NAME
    // DATE.db3" in the same folder and kept when the program ends.
    const QString& WorkingCopyPath() const { return m_workingCopyPath; }
    const QString& TemplatePath() const { return m_templatePath; }
    const QString& CataloguePath() const { return m_cataloguePath; }
    CSqliteWrapper& Database() { return m_db; }
    // Listings follow the units order of the Settings from here on.
    void ApplySortOrder();

    // Version check and upgrade of the working copy; false when the catalogue may not
    // be used.
    bool CheckDatabaseVersion();
    void UpgradeDatabase(quint32 catalogueVersion);

    // Runs an operation on the catalogue, reporting a database error or any other
    // standard exception (and rolling back an open transaction); false when it failed.
    template <typename F> bool Guard(F&& operation);

signals:
    // New or Open has put a catalogue in the working copy and opened it. afterSave: the
    // Open that follows a save to another file, whose rows are the ones that were open.
    void loaded(bool afterSave);
    // The changed mark went on or off.
    void modifiedChanged(bool modified);
    // A save is about to write the catalogue file: from here on it runs to its end.
    void saving();
    // The newer-catalogue dialog chose another catalogue to open.
    void openDocumentRequested(const QString& path);

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
    // The common end of New and Open.
    void FinishLoading();

    QString m_workingCopyPath;
    QString m_ownWorkingCopyPath; // the name given at construction
    QString m_templatePath;
    QString m_cataloguePath;
    bool m_bChanged = false;
    bool m_loaded = false;
    bool m_lastSaveReachedFile = true;
    bool m_keptWorkingCopy = false;
    bool m_reopeningSaved = false; // the Open inside a save to another file
    CSqliteWrapper m_db;
};

template <typename F> bool CCatalogueFile::Guard(F&& operation)
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
