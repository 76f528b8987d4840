#include "views/MainFrame.h"

#include "acquisition/AddLocationDlg.h"
#include "acquisition/AddStorageDlg.h"
#include "acquisition/UpdateFlow.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/DataFiles.h"
#include "document/ProgramVersion.h"
#include "document/ShelfwiseDoc.h"
#include "drives/DriveSystem.h"
#include "export/ExportFlow.h"
#include "importers/ImportDlg.h"
#include "importers/ImportFlow.h"
#include "options/OptionsDlg.h"
#include "report/ReportDialog.h"
#include "search/CopiesDlg.h"
#include "search/CopyOptionsDlg.h"
#include "search/SearchDlg.h"
#include "settings/Settings.h"
#include "sqlitewrapper/SqlText.h"
#include "stats/StatisticsDlg.h"
#include "views/BrowseHistory.h"
#include "views/CommandIds.h"
#include "views/DetailsView.h"
#include "views/FindBox.h"
#include "views/InsertedDiscBar.h"
#include "views/NameIndexBuilder.h"
#include "views/NavigationView.h"
#include "views/PropertiesDlg.h"
#include "views/RecentFiles.h"
#include "views/UndoCommands.h"
#include "views/WindowState.h"
#include "views/WindowStatus.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>

namespace {

const char kFilter[] = "Database Files (*.db3);;All files (*)";

} // namespace

CMainFrame::CMainFrame(CShelfwiseDoc& doc, QWidget* parent)
    : QMainWindow(parent), m_doc(doc), m_splitter(new QSplitter(this)),
      m_status(new CWindowStatus(doc, *statusBar(), this)),
      m_recent(new CRecentFiles(m_commands, this))
{
    setMinimumSize(400, 300);
    setAccessibleName(QStringLiteral("Shelfwise"));
    connect(m_recent, &CRecentFiles::openRequested, this, &CMainFrame::OpenChosen);
    CreateActions();
    m_tree = new CNavigationView(doc, m_icons, m_commands, m_splitter);
    m_list = new CDetailsView(doc, m_icons, m_commands, m_splitter);
    // Owned by the frame, as its actions are.
    new CUndoCommands(doc, m_commands, *m_tree, *m_list, *m_status, this);
    m_history = new CBrowseHistory(doc, m_commands, *m_tree, *this);
    m_splitter->addWidget(m_tree);
    // The list pane: the bar that recognises an inserted disc above the list.
    auto* listPane = new QWidget;
    listPane->setAccessibleName(tr("List"));
    m_splitter->addWidget(listPane);
    auto* paneLayout = new QVBoxLayout(listPane);
    paneLayout->setContentsMargins(0, 0, 0, 0);
    paneLayout->setSpacing(0);
    m_discBar = new CInsertedDiscBar(doc, listPane);
    paneLayout->addWidget(m_discBar);
    // The list, or in its place what the find box found.
    auto* listPages = new QStackedWidget;
    listPages->addWidget(m_list);
    paneLayout->addWidget(listPages, 1);
    m_find = new CFindBox(doc, m_icons, *listPages, *statusBar(), *this);
    m_find->FocusOnSlashIn({m_tree, m_list});
    connect(m_find, &CFindBox::browseRequested, this, &CMainFrame::BrowseTo);
    connect(m_find, &CFindBox::propertiesRequested, this,
            [this](int unitId) { ShowProperties(unitId, false); });
    m_indexBuilder = new CNameIndexBuilder(doc, *this);
    connect(m_discBar, &CInsertedDiscBar::browseRequested, this, &CMainFrame::BrowseTo);
    connect(m_discBar, &CInsertedDiscBar::updateRequested, this, &CMainFrame::UpdateUnitFrom);
    connect(m_discBar, &CInsertedDiscBar::addRequested, this, [this](const QString& drivePath) {
        OnAddLocation(CAddLocationJob::Mode::Disc, drivePath);
    });
    m_splitter->setStretchFactor(1, 1);
    const int treeWidth = std::max(50, Settings::Instance().SplitterPosition);
    m_splitter->setSizes({treeWidth, std::max(200, width() - treeWidth)});
    setCentralWidget(m_splitter);
    CreateMenus();
    CreateToolBar();
    // The list as the last run left it; the mode's action is checked with it.
    const WindowState::View view = WindowState::LoadView();
    m_list->SetSort(view.SortColumn, view.SortOrder);
    for (QAction* mode : m_commands.Get(CommandIds::ViewIcons)->actionGroup()->actions()) {
        if (mode->property("mode").toInt() == static_cast<int>(view.Mode))
            mode->trigger();
    }

    connect(m_tree, &CNavigationView::propertiesRequested, this, &CMainFrame::ShowProperties);
    connect(m_list, &CDetailsView::propertiesRequested, this, &CMainFrame::ShowProperties);
    connect(m_list, &CDetailsView::browseRequested, m_tree, &CNavigationView::BrowseToChild);
    // Update... follows what is selected where the focus is.
    connect(m_tree, &QTreeWidget::currentItemChanged, this, &CMainFrame::RefreshUpdateCommand);
    connect(m_list, &CDetailsView::selectedRowChanged, this, &CMainFrame::RefreshUpdateCommand);
    connect(qApp, &QApplication::focusChanged, this, &CMainFrame::RefreshUpdateCommand);
    connect(&m_doc, &CShelfwiseDoc::viewsNeedUpdate, this, &CMainFrame::RefreshUpdateCommand);
    connect(&m_doc, &CShelfwiseDoc::modifiedChanged, this, &CMainFrame::UpdateTitle);
    connect(&m_doc, &CShelfwiseDoc::cataloguePathChanged, this, [this](const QString& path) {
        UpdateTitle();
        // However the catalogue got its file (Open, Save As, an autosave that asked for
        // a name), it leads the recent-file list.
        if (!path.isEmpty())
            m_recent->Add(QFileInfo(path).absoluteFilePath());
    });
    m_autosave.setParent(this);
    m_autosave.setObjectName(QStringLiteral("autosaveTimer"));
    connect(&m_autosave, &QTimer::timeout, this, [this] {
        // Not in the middle of edits that undo as one step (a question they ask).
        // File Save's own way, which names a new catalogue and shows it again.
        if (m_doc.IsLoaded() && m_doc.IsModified() && !m_doc.History().IsRecording())
            Save();
    });
    RestartAutosave();
    UpdateTitle();
}

CMainFrame::~CMainFrame()
{
    // The panes about to go may hand the focus on: nothing here follows it any more.
    disconnect(qApp, &QApplication::focusChanged, this, nullptr);
}

void CMainFrame::CreateActions()
{
    using namespace CommandIds;
    auto add = [this](int id, const QString& text, const QKeySequence& key, auto slot) {
        QAction* action = m_commands.Add(id, text, this, key);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    add(FileNew, tr("&New"), QKeySequence::New, [this] {
        if (MaybeSave())
            NewCatalogue();
    });
    add(FileOpen, tr("&Open..."), QKeySequence::Open, [this] { Open(); });
    add(FileSave, tr("&Save"), QKeySequence::Save, [this] { Save(); });
    add(FileSaveAs, tr("Save &As..."), QKeySequence(), [this] { SaveAs(); });
    add(AppExit, tr("E&xit"), QKeySequence::Quit, [this] { close(); });
    add(AddStorage, tr("Add &Storage..."), QKeySequence(tr("Ctrl+Shift+S")),
        [this] { OnAddStorage(); });
    add(AddDisc, tr("Add Dis&c..."), QKeySequence(tr("Ctrl+Shift+C")),
        [this] { OnAddLocation(CAddLocationJob::Mode::Disc); });
    add(AddFolder, tr("Add Fol&der..."), QKeySequence(tr("Ctrl+Shift+D")),
        [this] { OnAddLocation(CAddLocationJob::Mode::Folder); });
    add(AddFile, tr("Add &File..."), QKeySequence(tr("Ctrl+Shift+F")),
        [this] { OnAddLocation(CAddLocationJob::Mode::File); });
    QAction* update =
        add(Update, tr("&Update..."), QKeySequence(tr("Ctrl+U")), [this] { OnUpdate(); });
    update->setStatusTip(
        tr("Compare the selected disc, folder or file with its source and apply the changes"));
    update->setEnabled(false);
    add(Search, tr("Search..."), QKeySequence(tr("Ctrl+F")), [this] { OnSearch(); });
    add(DuplicateFiles, tr("Find &Duplicates..."), QKeySequence(), [this] {
        OnFindDuplicates();
    })->setStatusTip(tr("List the files catalogued more than once, with where each copy lies"));
    QAction* unique = add(UniqueFiles, tr("Files Kept &Nowhere Else..."), QKeySequence(), [this] {
        if (UniqueFilesTarget() != -1)
            FindUniqueFiles(UniqueFilesTarget());
    });
    unique->setStatusTip(tr("List the files of the selected disc or folder that no other "
                            "place holds"));
    unique->setEnabled(false);
    add(Export, tr("&Export..."), QKeySequence(), [this] { OnExport(); })
        ->setStatusTip(tr("Write the selected storage, disc or folder with everything in it as "
                          "CSV or JSON"));
    add(ExportPage, tr("Export as &Page..."), QKeySequence(), [this] { OnExport(true); })
        ->setStatusTip(tr("Write the selected storage, disc or folder as one web page to browse "
                          "and search without the program"));
    add(Import, tr("&Import..."), QKeySequence(), [this] { OnImport(); })
        ->setStatusTip(tr("Bring another cataloguer's list, or an export of this program, into "
                          "a storage"));
    add(Statistics, tr("S&tatistics..."), QKeySequence(), [this] { OnStatistics(); })
        ->setStatusTip(tr("Charts and tables of the files of the catalogue or of the selected "
                          "storage, disc or folder: by category, type and year"));
    add(MoveUp, tr("Move up"), QKeySequence(), [this] {
        m_tree->MoveUp();
    })->setShortcuts({QKeySequence(Qt::Key_Backspace), QKeySequence(Qt::ALT | Qt::Key_Up)});
    add(Compress, tr("Compress database"), QKeySequence(), [this] { OnCompress(); });
    add(Options, tr("Options..."), QKeySequence(), [this] { OnOptions(); });
    add(Report, tr("Create report"), QKeySequence(), [this] { OnReport(); });
    add(Rename, tr("Rename"), QKeySequence(Qt::Key_F2), [this] {
        if (FocusInList())
            m_list->RenameSelected();
        else
            m_tree->RenameSelected();
    });
    add(Delete, tr("Delete"), QKeySequence::Delete, [this] {
        const QString deleted = FocusInList() ? m_list->DeleteSelected() : m_tree->DeleteSelected();
        if (!deleted.isEmpty())
            m_status->ShowMessage(tr("Deleted \"%1\"").arg(deleted));
    });
    add(Properties, tr("Properties"), QKeySequence(), [this] {
        // The list's selected row; with none, what the list shows, as a file manager
        // shows the open folder's properties; from the tree, its selected item.
        if (FocusInList() && m_list->SelectedUnitId() != -1)
            ShowProperties(m_list->SelectedUnitId(), false);
        else if (m_tree->currentItem())
            ShowProperties(CNavigationView::ItemId(m_tree->currentItem()),
                           m_tree->currentItem()->parent() == nullptr);
    });
    add(Help, tr("&Help"), QKeySequence::HelpContents, [this] { OnHelp(); });
    add(AppAbout, tr("&About Shelfwise..."), QKeySequence(), [this] {
        // The version, what the program is, its maker and the maker's page (a link the
        // desktop's browser opens).
        const QString homepage = Version::Homepage();
        QMessageBox::about(
            this, tr("About Shelfwise"),
            QStringLiteral("<p>%1</p><p>%2</p><p>%3<br><a href=\"%4\">%4</a></p>")
                .arg(SqlText::Format(Strings::LoadString(Strings::IDS_ABOUT_VERSION),
                                     {Version::ProgramVersionText()})
                         .toHtmlEscaped(),
                     tr("A cataloguer of removable discs and folders.").toHtmlEscaped(),
                     tr("Made by Korvalt").toHtmlEscaped(), homepage.toHtmlEscaped()));
    });
    const std::pair<int, CDetailsView::Mode> modes[] = {
        {ViewIcons, CDetailsView::Mode::Icons},
        {ViewSmallIcons, CDetailsView::Mode::SmallIcons},
        {ViewList, CDetailsView::Mode::List},
        {ViewDetails, CDetailsView::Mode::Details}};
    auto* group = new QActionGroup(this);
    const QString texts[] = {tr("Icons"), tr("Small icons"), tr("List"), tr("Details")};
    for (size_t i = 0; i < 4; ++i) {
        QAction* action = add(modes[i].first, texts[i], QKeySequence(),
                              [this, mode = modes[i].second] { m_list->SetMode(mode); });
        action->setCheckable(true);
        action->setChecked(i == 0);
        action->setProperty("mode", static_cast<int>(modes[i].second));
        group->addAction(action);
    }
}

void CMainFrame::CreateMenus()
{
    using namespace CommandIds;
    QMenu* file = menuBar()->addMenu(tr("&File"));
    for (int id : {FileNew, FileOpen, FileSave, FileSaveAs})
        file->addAction(m_commands.Get(id));
    file->addSeparator();
    file->addAction(m_commands.Get(Import));
    file->addSeparator();
    m_recent->FillMenu(*file->addMenu(tr("Recent catalogues")));
    file->addSeparator();
    file->addAction(m_commands.Get(AppExit));
    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    for (int id : {EditUndo, EditRedo})
        edit->addAction(m_commands.Get(id));
    edit->addSeparator();
    for (int id : {Rename, Delete, Properties})
        edit->addAction(m_commands.Get(id));
    QMenu* view = menuBar()->addMenu(tr("&View"));
    for (int id : {ViewIcons, ViewSmallIcons, ViewList, ViewDetails})
        view->addAction(m_commands.Get(id));
    view->addSeparator();
    for (int id : {GoBack, GoForward, MoveUp})
        view->addAction(m_commands.Get(id));
    QMenu* tools = menuBar()->addMenu(tr("&Tools"));
    for (int id : {AddStorage, AddDisc, AddFolder, AddFile, Update, Search})
        tools->addAction(m_commands.Get(id));
    tools->addSeparator();
    for (int id : {DuplicateFiles, UniqueFiles, Export, ExportPage})
        tools->addAction(m_commands.Get(id));
    tools->addAction(m_commands.Get(Statistics));
    connect(tools, &QMenu::aboutToShow, this, &CMainFrame::RefreshUpdateCommand);
    tools->addSeparator();
    for (int id : {Compress, Report, Options})
        tools->addAction(m_commands.Get(id));
    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->addAction(m_commands.Get(Help));
    help->addAction(m_commands.Get(AppAbout));
}

void CMainFrame::CreateToolBar()
{
    using namespace CommandIds;
    QToolBar* bar = addToolBar(tr("Toolbar"));
    bar->setObjectName(QStringLiteral("toolbar"));
    bar->setAccessibleName(tr("Toolbar"));
    bar->setIconSize(QSize(32, 32));
    // Freedesktop icon names; the two Add buttons have the program's own icons.
    const std::pair<int, const char*> buttons[] = {
        {FileOpen, "document-open"},
        {FileSave, "document-save"},
        {AddStorage, "shelfwise-add-storage"},
        {AddDisc, "shelfwise-add-disc"},
        {AddFolder, "folder-new"},
        {AddFile, "document-new"},
        {Search, "edit-find"},
        {GoBack, "go-previous"},
        {GoForward, "go-next"},
        {MoveUp, "go-up"},
    };
    for (const auto& [command, iconName] : buttons) {
        QAction* action = m_commands.Get(command);
        action->setIcon(CUnitIcons::ThemeIcon(iconName));
        action->setToolTip(action->text().remove(QLatin1Char('&')).remove(QStringLiteral("...")));
        bar->addAction(action);
    }
    m_find->AddTo(*bar);
}

bool CMainFrame::FocusInList() const
{
    return m_list->isAncestorOf(QApplication::focusWidget());
}

QString CMainFrame::CatalogueName() const
{
    return m_doc.NeedsFileName() ? tr("Untitled") : QFileInfo(m_doc.CataloguePath()).fileName();
}

void CMainFrame::UpdateTitle()
{
    setWindowTitle(CatalogueName() + QStringLiteral("[*] - Shelfwise"));
    setWindowModified(m_doc.IsModified());
}

QStringList CMainFrame::RecentFiles() const
{
    return m_recent->Files();
}

void CMainFrame::ShowLoadedCatalogue()
{
    // Nothing selected: both panes rebuild from the top.
    m_doc.SetSelection(Selection::None(), nullptr);
    UpdateTitle();
}

bool CMainFrame::NewCatalogue()
{
    const bool made = m_doc.OnNewDocument();
    ShowLoadedCatalogue();
    m_history->Clear();
    return made;
}

bool CMainFrame::OpenCatalogue(const QString& path)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (!m_doc.OnOpenDocument(absolute)) {
        // The document has reported why and kept the catalogue it had, unsaved changes
        // and all; at start-up, with none yet, a new one stands in. The list no longer
        // offers the file.
        m_recent->Remove(absolute);
        if (!m_doc.IsLoaded())
            NewCatalogue();
        return false;
    }
    m_recent->Add(absolute);
    ShowLoadedCatalogue();
    m_history->Clear();
    return true;
}

void CMainFrame::Open()
{
    const QString path =
        QFileDialog::getOpenFileName(this, QString(), QString(), QString::fromLatin1(kFilter));
    if (!path.isEmpty())
        OpenChosen(path);
}

void CMainFrame::OpenChosen(const QString& path)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (m_doc.IsLoaded() && !m_doc.CataloguePath().isEmpty() &&
        QFileInfo(m_doc.CataloguePath()) == QFileInfo(absolute))
        return;
    if (MaybeSave())
        OpenCatalogue(absolute);
}

void CMainFrame::BringToFront()
{
    if (isMinimized())
        setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    show();
    raise();
    activateWindow();
}

bool CMainFrame::Save()
{
    // The document decides whether there is a file to save to; without one, File Save
    // is Save As.
    if (m_doc.NeedsFileName())
        return SaveAs();
    const bool saved = m_doc.FileSave();
    UpdateTitle();
    return saved;
}

bool CMainFrame::SaveAs()
{
    const QString path = UserPrompter::Current().AskSaveFileName();
    if (path.isEmpty())
        return false;
    const bool reopens = path != m_doc.CataloguePath();
    m_doc.OnSaveDocument(path);
    if (m_doc.LastSaveReachedFile()) {
        m_recent->Add(QFileInfo(path).absoluteFilePath());
        if (reopens)
            ShowLoadedCatalogue();
    }
    UpdateTitle();
    return m_doc.LastSaveReachedFile();
}

bool CMainFrame::MaybeSave()
{
    if (!m_doc.IsLoaded() || !m_doc.IsModified())
        return true;
    const auto answer = UserPrompter::Current().AskYesNoCancel(
        tr("Save changes to %1?").arg(CatalogueName()), UserPrompter::Icon::Question);
    if (answer == UserPrompter::Answer::Cancel)
        return false;
    // A save that fails keeps the document modified and has said so: stay.
    return answer == UserPrompter::Answer::No || Save();
}

void CMainFrame::closeEvent(QCloseEvent* event)
{
    if (!MaybeSave()) {
        event->ignore();
        return;
    }
    Settings::Instance().SplitterPosition = m_splitter->sizes().value(0);
    WindowState::SaveView({m_list->CurrentMode(), m_list->SortColumn(), m_list->SortOrder()});
    WindowState::SaveGeometry(saveGeometry());
    event->accept();
}

void CMainFrame::ShowAsLeft()
{
    const QByteArray geometry = WindowState::LoadGeometry();
    if (!geometry.isEmpty() && restoreGeometry(geometry)) {
        show();
        return;
    }
    // Where no window manager maximises it, the window still gets a useful size.
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        resize(screen->availableSize() * 4 / 5);
    showMaximized();
}

void CMainFrame::RestartAutosave()
{
    const int minutes = Settings::Instance().AutosaveTimeout;
    if (minutes < 1) {
        m_autosave.stop();
        return;
    }
    m_autosave.start(minutes * 60000);
}

void CMainFrame::OnAddStorage()
{
    CAddStorageDlg dialog(m_doc.Storages(), this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const int storageId = m_doc.AddStorage(dialog.Name(), dialog.Description());
    if (storageId != 0)
        m_tree->InsertNewStorage(storageId, dialog.Name());
}

void CMainFrame::SetDriveSystem(std::shared_ptr<DriveSystem> drives)
{
    m_drives = std::move(drives);
    m_discBar->SetDriveSystem(m_drives);
}

int CMainFrame::SelectedStorageId() const
{
    return CNavigationView::ItemId(CNavigationView::GetRootAncestor(m_tree->currentItem()));
}

void CMainFrame::OnAddLocation(CAddLocationJob::Mode mode, const QString& drivePath)
{
    if (m_tree->topLevelItemCount() == 0) {
        UserPrompter::Current().ShowMessage(Strings::IDS_CREATE_STORAGE_FIRST,
                                            UserPrompter::Icon::Warning);
        return;
    }
    if (!m_drives)
        m_drives = DriveSystem::Create();
    CAddLocationDlg dialog(mode, m_doc, m_drives, SelectedStorageId(), this);
    connect(&dialog, &CAddLocationDlg::revealRequested, this, &CMainFrame::RevealTopUnit);
    if (!drivePath.isEmpty())
        dialog.SelectDrive(drivePath);
    // The workers read and write the catalogue's connection: no autosave meanwhile.
    m_autosave.stop();
    dialog.exec();
    RestartAutosave();
    if (dialog.Succeeded())
        ShowAddition();
}

void CMainFrame::ShowAddition()
{
    const int storageId = m_doc.LastAddedStorageId();
    const int unitId = m_doc.LastAddedUnitId();
    m_tree->ShowAddedUnit(storageId, unitId);
    UnitListItem unit;
    if (!m_doc.Guard([&] { unit = m_doc.Database().GetUnit(unitId); }))
        return;
    if (unit.Kind == UnitKind::File) {
        BrowseTo({storageId}, unitId);
        return;
    }
    BrowseTo({storageId, unitId}, 0);
    m_tree->setFocus();
}

void CMainFrame::RevealTopUnit(int unitId)
{
    // The storage is selected in the tree, and the unit in its list.
    int storageId = -1;
    if (!m_doc.Guard([&] { storageId = m_doc.Database().GetUnitStorageId(unitId); }))
        return;
    BrowseTo({storageId}, unitId);
}

void CMainFrame::BrowseTo(const std::vector<int>& treePath, int listUnitId)
{
    if (treePath.empty())
        return;
    m_tree->SelectPath(treePath);
    if (listUnitId > 0)
        m_list->SelectRowByUnitId(listUnitId);
}

CSearchDlg& CMainFrame::SearchDialog()
{
    if (!m_search) {
        m_search = new CSearchDlg(m_doc, this);
        connect(m_search, &CSearchDlg::propertiesRequested, this,
                [this](int unitId) { ShowProperties(unitId, false); });
        // The window shows what was found in front of the dialog.
        connect(m_search, &CSearchDlg::browseRequested, this,
                [this](const std::vector<int>& treePath, int listUnitId) {
                    BrowseTo(treePath, listUnitId);
                    BringToFront();
                });
    }
    return *m_search;
}

void CMainFrame::OnSearch()
{
    SearchDialog().Activate();
}

int CMainFrame::UniqueFilesTarget() const
{
    const int target = UpdateTarget();
    if (!m_doc.IsLoaded() || target == -1)
        return -1;
    UnitListItem unit;
    if (!m_doc.Guard([&] { unit = m_doc.Database().GetUnit(target); }))
        return -1;
    return unit.Kind == UnitKind::Disc || unit.Kind == UnitKind::Folder ? target : -1;
}

void CMainFrame::OnExport(bool page)
{
    if (!m_doc.IsLoaded())
        return;
    ExportScope scope;
    QString name;
    const QTreeWidgetItem* item = m_tree->currentItem();
    if (FocusInList() && m_list->SelectedUnitId() != -1) {
        scope = ExportScope::Unit(m_list->SelectedUnitId());
        m_doc.Guard([&] { name = m_doc.Database().GetUnit(scope.Id).UnitName; });
    } else if (item) {
        const int id = CNavigationView::ItemId(item);
        scope = item->parent() ? ExportScope::Unit(id) : ExportScope::Storage(id);
        name = item->text(0);
    } else {
        return;
    }
    CExportFlow flow(m_doc, this);
    if (page ? flow.AskPage(scope, name) : flow.Ask(scope, name))
        m_status->ShowMessage(tr("Exported %Ln units", nullptr, static_cast<int>(flow.Written())));
}

void CMainFrame::OnImport()
{
    if (!m_doc.IsLoaded())
        return;
    CImportDlg dialog(this);
    if (dialog.exec() == QDialog::Accepted)
        ImportList(dialog.ListPath(), dialog.FormatName(), dialog.StorageName());
}

bool CMainFrame::ImportList(const QString& path, const QString& format, const QString& storageName)
{
    if (!m_doc.IsLoaded())
        return false;
    CImportFlow flow(m_doc, this);
    // The worker writes through the catalogue's connection: no autosave meanwhile.
    m_autosave.stop();
    const bool imported = flow.Run(path, format, storageName);
    RestartAutosave();
    if (!imported)
        return false;
    // The storage may be new: the tree is read again from the top, and shows it.
    m_tree->PopulateChildren(nullptr);
    BrowseTo({flow.StorageId()}, 0);
    const CImportJob::Counts& added = flow.Added();
    const QLocale locale;
    m_status->ShowMessage(tr("Imported %1 discs, %2 folders and %3 files")
                              .arg(locale.toString(added.Discs), locale.toString(added.Folders),
                                   locale.toString(added.Files)));
    return true;
}

void CMainFrame::OnStatistics()
{
    if (!m_doc.IsLoaded())
        return;
    StatisticsScope scope;
    QString name = tr("Whole catalogue");
    UnitListItem unit;
    const QTreeWidgetItem* item = m_tree->currentItem();
    if (FocusInList() && m_list->SelectedUnitId() != -1 &&
        m_doc.Guard([&] { unit = m_doc.Database().GetUnit(m_list->SelectedUnitId()); }) &&
        (unit.Kind == UnitKind::Disc || unit.Kind == UnitKind::Folder)) {
        scope.UnitId = unit.UnitID;
        name = unit.UnitName;
    } else if (item) {
        const int id = CNavigationView::ItemId(item);
        (item->parent() ? scope.UnitId : scope.StorageId) = id;
        name = item->text(0);
    }
    ShowStatistics(scope, name);
}

CStatisticsDlg* CMainFrame::ShowStatistics(const StatisticsScope& scope, const QString& scopeName)
{
    // The worker reads the catalogue's connection: no autosave meanwhile.
    const auto gather = [this](CStatisticsDlg& dialog, const StatisticsScope& part,
                               const QString& name) {
        m_autosave.stop();
        const bool gathered = dialog.Gather(part, name);
        RestartAutosave();
        return gathered;
    };
    auto* dialog = new CStatisticsDlg(m_doc, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &CStatisticsDlg::wholeCatalogueRequested, this, [this, gather, dialog] {
        if (m_doc.IsLoaded())
            gather(*dialog, StatisticsScope(), tr("Whole catalogue"));
    });
    if (!gather(*dialog, scope, scopeName)) {
        delete dialog;
        return nullptr;
    }
    dialog->show();
    return dialog;
}

void CMainFrame::OnFindDuplicates()
{
    CCopyOptionsDlg options(this);
    if (options.exec() == QDialog::Accepted)
        FindDuplicates(options.Options());
}

CCopiesDlg* CMainFrame::FindDuplicates(const CCopySearch::Options& options)
{
    return ShowCopies(new CCopiesDlg(m_doc, CCopiesDlg::Kind::Duplicates, this),
                      [&options](CCopiesDlg& dialog) { return dialog.FindDuplicates(options); });
}

CCopiesDlg* CMainFrame::FindUniqueFiles(int unitId)
{
    return ShowCopies(new CCopiesDlg(m_doc, CCopiesDlg::Kind::Unique, this),
                      [unitId](CCopiesDlg& dialog) { return dialog.FindUnique(unitId); });
}

CCopiesDlg* CMainFrame::ShowCopies(CCopiesDlg* dialog, const std::function<bool(CCopiesDlg&)>& find)
{
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &CCopiesDlg::propertiesRequested, this,
            [this](int unitId) { ShowProperties(unitId, false); });
    connect(dialog, &CCopiesDlg::browseRequested, this,
            [this](const std::vector<int>& treePath, int listUnitId) {
                BrowseTo(treePath, listUnitId);
                BringToFront();
            });
    // The worker reads the catalogue's connection: no autosave meanwhile.
    m_autosave.stop();
    const bool found = find(*dialog);
    RestartAutosave();
    if (!found) {
        delete dialog;
        return nullptr;
    }
    dialog->show();
    return dialog;
}

void CMainFrame::OnOptions()
{
    COptionsDlg dialog(m_doc, this);
    connect(&dialog, &COptionsDlg::settingsApplied, this, &CMainFrame::ApplySettings);
    dialog.exec();
}

void CMainFrame::ApplySettings()
{
    RestartAutosave();
    m_discBar->ApplySettings();
    // The order and the icons of both panes may have changed: the tree is read again
    // and the selection found again.
    std::vector<int> path;
    for (QTreeWidgetItem* item = m_tree->currentItem(); item; item = item->parent())
        path.insert(path.begin(), CNavigationView::ItemId(item));
    m_tree->PopulateChildren(nullptr);
    if (!path.empty())
        m_tree->SelectPath(path);
    m_list->Refill();
}

void CMainFrame::OnReport()
{
    CReportDialog dialog(m_doc, -1, this); // "All" chosen at the start
    // The writer reads the catalogue's connection: no autosave meanwhile.
    m_autosave.stop();
    dialog.exec();
    RestartAutosave();
}

int CMainFrame::UpdateTarget() const
{
    // As Properties chooses: the list's selected row, else the tree's unit.
    if (FocusInList() && m_list->SelectedUnitId() != -1)
        return m_list->SelectedUnitId();
    const QTreeWidgetItem* item = m_tree->currentItem();
    return item && item->parent() ? CNavigationView::ItemId(item) : -1;
}

void CMainFrame::RefreshUpdateCommand()
{
    // A modal dialog may have a worker on the catalogue (an addition, a search for
    // copies); the commands cannot be reached meanwhile, so they are looked at later.
    if (QApplication::activeModalWidget())
        return;
    const int target = UpdateTarget();
    m_commands.Get(CommandIds::Update)
        ->setEnabled(m_doc.IsLoaded() && target != -1 && m_doc.IsTopLevelUnit(target));
    m_commands.Get(CommandIds::UniqueFiles)->setEnabled(UniqueFilesTarget() != -1);
}

void CMainFrame::OnUpdate()
{
    RefreshUpdateCommand();
    if (!m_commands.Get(CommandIds::Update)->isEnabled())
        return;
    if (!m_drives)
        m_drives = DriveSystem::Create();
    CUpdateFlow::Run(this, m_doc, UpdateTarget(), QString(), m_drives);
}

void CMainFrame::OnCompress()
{
    if (UserPrompter::Current().AskYesNo(Strings::IDS_COMPRESS_QUESTION,
                                         UserPrompter::Icon::Question))
        m_doc.CompressDatabase();
}

QString CMainFrame::HelpPagePath()
{
    return QDir(DataFiles::InstalledFolder()).filePath(QStringLiteral("help/index.html"));
}

void CMainFrame::OnHelp()
{
    // The help pages are installed with the program and shown by the desktop's browser.
    const QString page = HelpPagePath();
    if (!QFileInfo::exists(page) || !QDesktopServices::openUrl(QUrl::fromLocalFile(page)))
        UserPrompter::Current().ShowMessage(
            tr("The help pages could not be opened. They belong in %1.")
                .arg(QDir::toNativeSeparators(page)),
            UserPrompter::Icon::Warning);
}

void CMainFrame::ShowProperties(int id, bool isStorage)
{
    if (id == -1)
        return;
    CPropertiesDlg dialog(id, isStorage, m_doc, this);
    dialog.exec();
}

void CMainFrame::UpdateUnitFrom(int unitId, const QString& sourcePath)
{
    // The inserted disc is the source, whatever was recorded when it was added.
    if (!m_drives)
        m_drives = DriveSystem::Create();
    CUpdateFlow::Run(this, m_doc, unitId, sourcePath, m_drives);
}
