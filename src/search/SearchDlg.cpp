#include "search/SearchDlg.h"

#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/ShelfwiseDoc.h"
#include "export/ExportFlow.h"
#include "search/AdvancedSearchTab.h"
#include "search/BasicSearchTab.h"
#include "search/BrowsePath.h"
#include "search/ResultsCtrl.h"
#include "search/ResultsModel.h"

#include "ui_SearchDlg.h"

#include <QApplication>
#include <QLabel>
#include <QTimer>
#include <QWindow>

#include <algorithm>

namespace {

// A wait cursor while the catalogue is searched.
class WaitCursor final
{
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

} // namespace

CSearchDlg::CSearchDlg(CShelfwiseDoc& doc, QWidget* parent)
    : QDialog(parent), m_ui(new Ui::CSearchDlg), m_doc(doc), m_results(new CResultsCtrl(doc, this)),
      m_count(new QLabel(this))
{
    m_ui->setupUi(this);
    // A window of its own rather than a dialog kept above the main window, which must
    // come to the front to show what "Browse to..." found.
    setWindowFlags((windowFlags() & ~Qt::WindowType_Mask) | Qt::Window);
    // Closing the main window still ends the program while this one is open.
    setAttribute(Qt::WA_QuitOnClose, false);
    m_results->setObjectName(QStringLiteral("resultsList"));
    m_results->setAccessibleName(tr("Results"));
    m_ui->resultsLayout->addWidget(m_results);
    m_count->setObjectName(QStringLiteral("countLabel"));
    m_count->setAccessibleName(tr("Units found"));
    m_count->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_ui->resultsLayout->addWidget(m_count);
    setTabOrder(m_ui->cancelButton, m_results);

    connect(m_ui->searchButton, &QPushButton::clicked, this, &CSearchDlg::Search);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_results, &CContextListCtrl::propertiesChosen, this,
            &CSearchDlg::ShowSelectedProperties);
    connect(m_results, &CContextListCtrl::browseChosen, this, &CSearchDlg::BrowseToSelected);
    connect(m_results, &CContextListCtrl::exportChosen, this, &CSearchDlg::ExportResults);

    connect(&doc, &CShelfwiseDoc::cataloguePathChanged, this, &CSearchDlg::OnCatalogueLoaded);
    connect(&doc, &CShelfwiseDoc::viewsNeedUpdate, this, &CSearchDlg::OnViewsNeedUpdate);
    connect(&doc, &CShelfwiseDoc::storageRenamed, this, &CSearchDlg::ScheduleRefresh);
    connect(&doc, &CShelfwiseDoc::unitRenamed, this, &CSearchDlg::ScheduleRefresh);

    m_seenSelection = doc.Selection();
    ReloadLists();
}

CSearchDlg::~CSearchDlg() = default;

CBasicSearchTab& CSearchDlg::BasicTab() const
{
    return *m_ui->basicTab;
}

CAdvancedSearchTab& CSearchDlg::AdvancedTab() const
{
    return *m_ui->advancedTab;
}

QPushButton& CSearchDlg::SearchButton() const
{
    return *m_ui->searchButton;
}

QString CSearchDlg::CountText() const
{
    return m_count->text();
}

void CSearchDlg::ShowCount()
{
    // Before a search, an empty list says nothing about the catalogue: no count then.
    m_count->setText(m_hasSearch ? tr("%Ln found", nullptr, m_results->RowCount()) : QString());
}

void CSearchDlg::Activate()
{
    show();
    raise();
    activateWindow();
    m_ui->basicTab->FocusText();
}

SearchCriteria CSearchDlg::GatherCriteria() const
{
    SearchCriteria criteria;
    m_ui->basicTab->Gather(criteria);
    m_ui->advancedTab->Gather(criteria);
    return criteria;
}

void CSearchDlg::Search()
{
    m_results->Clear();
    m_hasSearch = false;
    ShowCount();
    m_ui->basicTab->OrderDateRange();
    const SearchCriteria criteria = GatherCriteria();
    if (!RunSearch(criteria, false))
        return;
    m_lastCriteria = criteria;
    m_hasSearch = true;
    ShowCount();
    if (m_results->RowCount() == 0)
        UserPrompter::Current().ShowMessage(Strings::IDS_NO_MATCHES,
                                            UserPrompter::Icon::Information);
}

bool CSearchDlg::RunSearch(const SearchCriteria& criteria, bool replace)
{
    if (!m_doc.Database().IsOpen())
        return false;
    std::vector<UnitListItem> found;
    std::map<int, QString> locations;
    const WaitCursor wait;
    // The store runs the criteria as one statement that only reads; anything else
    // (a text that closes its literal and adds a statement) fails like a broken search.
    // The error is shown, and the window and this dialog stay open for another search.
    const bool ran = m_doc.Guard([&] {
        try {
            m_doc.Database().SearchUnits(criteria, found);
        } catch (const CSqliteWrapperError& error) {
            throw error.NonFatal();
        }
        std::vector<int> ids;
        ids.reserve(found.size());
        for (const UnitListItem& unit : found)
            ids.push_back(unit.UnitID);
        locations = m_doc.Database().GetUnitLocations(ids);
    });
    if (!ran) {
        m_results->Clear();
        return false;
    }
    if (replace)
        m_results->ReplaceResults(std::move(found), std::move(locations));
    else
        m_results->SetResults(std::move(found), std::move(locations));
    return true;
}

void CSearchDlg::ReloadLists()
{
    if (!m_doc.Database().IsOpen())
        return;
    std::vector<StorageListItem> storages;
    if (m_doc.Guard([&] { m_doc.Database().GetStorageList(storages); }))
        m_ui->basicTab->SetStorages(storages);
    m_ui->advancedTab->SetCategories(m_doc.Database().Categories());
}

void CSearchDlg::OnCatalogueLoaded()
{
    // Another catalogue: nothing found in the old one applies.
    m_results->Clear();
    m_hasSearch = false;
    ShowCount();
    m_refreshWhenShown = false;
    m_seenSelection = m_doc.Selection();
    ReloadLists();
}

void CSearchDlg::OnViewsNeedUpdate()
{
    const bool selectionMoved = m_doc.Selection() != m_seenSelection;
    m_seenSelection = m_doc.Selection();
    if (!selectionMoved)
        ScheduleRefresh();
}

void CSearchDlg::ScheduleRefresh()
{
    if (!isVisible()) {
        m_refreshWhenShown = true;
        return;
    }
    // Several updates of one edit come together: one search serves them all.
    if (m_refreshScheduled)
        return;
    m_refreshScheduled = true;
    QTimer::singleShot(0, this, &CSearchDlg::Refresh);
}

void CSearchDlg::Refresh()
{
    m_refreshScheduled = false;
    m_refreshWhenShown = false;
    ReloadLists();
    if (m_hasSearch && !RunSearch(m_lastCriteria, true))
        m_hasSearch = false;
    ShowCount();
}

void CSearchDlg::showEvent(QShowEvent* event)
{
    // Qt makes a window with a parent transient for it, which keeps it above the parent;
    // cleared before the window is mapped, the two are stacked like any two windows.
    if (QWindow* window = windowHandle())
        window->setTransientParent(nullptr);
    QDialog::showEvent(event);
    if (m_refreshWhenShown)
        Refresh();
    else
        ReloadLists(); // categories and storages may have been edited meanwhile
}

int CSearchDlg::SelectedExistingUnit()
{
    const int unitId = m_results->SelectedUnitId();
    if (unitId == 0)
        return 0;
    int storageId = 0;
    if (!m_doc.Guard([&] { storageId = m_doc.Database().GetUnitStorageId(unitId); }))
        return 0;
    if (storageId == 0) {
        // Deleted since the search: the list catches up with the catalogue.
        Refresh();
        return 0;
    }
    return unitId;
}

void CSearchDlg::ShowSelectedProperties()
{
    const int unitId = SelectedExistingUnit();
    if (unitId != 0)
        emit propertiesRequested(unitId);
}

void CSearchDlg::BrowseToSelected()
{
    const int unitId = SelectedExistingUnit();
    if (unitId == 0)
        return;
    if (const std::optional<BrowsePath> place = BrowsePaths::Of(m_doc, unitId))
        emit browseRequested(place->treePath, place->listUnitId);
}

void CSearchDlg::ExportResults()
{
    std::vector<int> ids;
    for (int row = 0; row < m_results->Model().rowCount(); ++row) {
        if (const UnitListItem* item = m_results->Model().RowAt(row))
            ids.push_back(item->UnitID);
    }
    if (!ids.empty())
        CExportFlow(m_doc, this).Ask(ExportScope::Units(std::move(ids)), tr("Search results"));
}
