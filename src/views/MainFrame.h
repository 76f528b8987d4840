#pragma once

#include "acquisition/AddLocationJob.h"
#include "copies/CopySearch.h"
#include "views/Commands.h"
#include "views/UnitIcons.h"

#include <QMainWindow>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

class CBrowseHistory;
class CCopiesDlg;
class CDetailsView;
class CFindBox;
class CInsertedDiscBar;
class CNameIndexBuilder;
class CSearchDlg;
class CStatisticsDlg;
class CWindowStatus;
class DriveSystem;
class CNavigationView;
class CRecentFiles;
class CShelfwiseDoc;
struct StatisticsScope;
class QSplitter;

// The main window: menus, toolbar and status bar, the tree on the left and the list on
// the right in a splitter, the autosave timer, and File New/Open/Save/Save As with the
// recent-file list and the save-changes question. Its size and place, the splitter and
// the list's view mode and sort are as the last run left them.
class CMainFrame final : public QMainWindow
{
    Q_OBJECT

public:
    explicit CMainFrame(CShelfwiseDoc& doc, QWidget* parent = nullptr);
    ~CMainFrame() override;

    CNavigationView& Navigation() { return *m_tree; }
    CDetailsView& Details() { return *m_list; }
    CWindowStatus& Status() { return *m_status; }
    CBrowseHistory& History() { return *m_history; }
    const CCommands& Commands() const { return m_commands; }

    // Shows the window where and as large as the last run left it, maximised or not;
    // maximised the first time.
    void ShowAsLeft();

    // Opens a catalogue and puts it first in the recent-file list; false when it could
    // not be opened (the document has said why and kept what was open; at start-up a
    // new catalogue stands in).
    bool OpenCatalogue(const QString& path);
    // Opens a catalogue the user chose, as File Open does once its dialog has a file:
    // the catalogue already open is left as it is; otherwise the save-changes
    // question comes first.
    void OpenChosen(const QString& path);
    bool NewCatalogue();
    // Shows the window in front of the others, restored if it was minimised.
    void BringToFront();
    // Asks whether to save changes when there are any; false when the user cancels.
    bool MaybeSave();
    // File Save: false when cancelled or when the file was not written.
    bool Save();
    QStringList RecentFiles() const;
    // Restarts or stops the autosave timer after AutosaveTimeout changed.
    void RestartAutosave();
    // The entry page of the help, beside the program's other data files.
    static QString HelpPagePath();
    // Imports the list at path, read as format (a --format name), into the storage
    // called storageName behind a progress window, then shows the storage; false when
    // cancelled or failed (a message has said why). File > Import... after its dialog.
    bool ImportList(const QString& path, const QString& format, const QString& storageName);
    // The drive system the add dialogs use (tests give a fake); the machine's when unset.
    void SetDriveSystem(std::shared_ptr<DriveSystem> drives);
    // The modeless search dialog, made on first use and kept.
    CSearchDlg& SearchDialog();
    // Searches the catalogue for copies, or for the files of unitId kept nowhere else,
    // with progress and Cancel, and shows what was found in a window of its own; null
    // when the search was cancelled or failed.
    CCopiesDlg* FindDuplicates(const CCopySearch::Options& options);
    CCopiesDlg* FindUniqueFiles(int unitId);
    // Gathers the statistics of scope with a busy window and shows them in a window of
    // their own (scopeName in its title); null when that was cancelled or failed.
    CStatisticsDlg* ShowStatistics(const StatisticsScope& scope, const QString& scopeName);
    // Selects treePath ([StorageID, UnitID, ...]) in the tree and then listUnitId (when
    // not 0) in the list.
    void BrowseTo(const std::vector<int>& treePath, int listUnitId);
    // Selects what the last addition made, scrolled into view: a disc or folder in the
    // tree, a file in the list.
    void ShowAddition();
    bool AutosaveRunning() const { return m_autosave.isActive(); }
    int AutosaveInterval() const { return m_autosave.interval(); }
    // The bar above the list that tells whether a disc just inserted is catalogued.
    CInsertedDiscBar& InsertedDiscBar() { return *m_discBar; }
    // The toolbar's find box and the build of an older catalogue's name index.
    CFindBox& FindBox() { return *m_find; }
    CNameIndexBuilder& NameIndexBuilder() { return *m_indexBuilder; }

public slots:
    // Brings a catalogued unit up to date from sourcePath (the inserted disc's Update...).
    void UpdateUnitFrom(int unitId, const QString& sourcePath);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void CreateActions();
    void CreateMenus();
    void CreateToolBar();
    // The catalogue's file name as the title and the questions show it; "Untitled"
    // while it has no file.
    QString CatalogueName() const;
    void UpdateTitle();
    void ShowLoadedCatalogue();
    void Open();
    bool SaveAs();
    void OnAddStorage();
    void OnCompress();
    // The unit Update... is for: the list's selected row when the list has the focus,
    // else the tree's selected unit; -1 for none (a storage, nothing).
    int UpdateTarget() const;
    // Enables Update... for a disc, folder or file lying directly in a storage.
    void RefreshUpdateCommand();
    void OnUpdate();
    int SelectedStorageId() const;
    // drivePath: the drive a disc's dialog starts with (empty: the first).
    void OnAddLocation(CAddLocationJob::Mode mode, const QString& drivePath = QString());
    // A disc the duplicate dialog pointed at: its storage in the tree, the disc in the list.
    void RevealTopUnit(int unitId);
    void OnSearch();
    // The disc or folder "Files Kept Nowhere Else..." is for, as Update... chooses; -1
    // when what is selected is neither.
    int UniqueFilesTarget() const;
    void OnFindDuplicates();
    // Export... (Export as page... when page): the list's selected unit, else the tree's
    // storage or unit.
    void OnExport(bool page = false);
    // File > Import...: asks for the list, its format and the storage (CImportDlg), then
    // ImportList.
    void OnImport();
    // Statistics...: the list's selected disc or folder, else the tree's storage or unit,
    // else the whole catalogue.
    void OnStatistics();
    // Runs find on a new results window (autosave held meanwhile) and shows the window
    // when it succeeded; otherwise the window is deleted and null returned.
    CCopiesDlg* ShowCopies(CCopiesDlg* dialog, const std::function<bool(CCopiesDlg&)>& find);
    void OnOptions();
    void ApplySettings();
    void OnReport();
    void OnHelp();
    void ShowProperties(int id, bool isStorage);
    bool FocusInList() const;

    CShelfwiseDoc& m_doc;
    CCommands m_commands;
    CUnitIcons m_icons;
    CNavigationView* m_tree;
    CDetailsView* m_list;
    QSplitter* m_splitter;
    CWindowStatus* m_status;
    CRecentFiles* m_recent;
    CBrowseHistory* m_history;
    QTimer m_autosave;
    std::shared_ptr<DriveSystem> m_drives;
    CSearchDlg* m_search = nullptr;
    CInsertedDiscBar* m_discBar = nullptr;
    CFindBox* m_find = nullptr;
    CNameIndexBuilder* m_indexBuilder = nullptr;
};
