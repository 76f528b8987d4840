#include "search/CopiesDlg.h"

#include "common/FormatSize.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "common/WorkerProgress.h"
#include "document/ShelfwiseDoc.h"
#include "export/ExportFlow.h"
#include "search/BrowsePath.h"
#include "search/ContextListCtrl.h"
#include "search/CopiesModel.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>

namespace {

// Locations are read for this many units at a time.
constexpr size_t kLocationsPerQuery = 5000;

} // namespace

CCopiesDlg::CCopiesDlg(CShelfwiseDoc& doc, Kind kind, QWidget* parent)
    : QDialog(parent), m_doc(doc), m_kind(kind),
      m_model(new CCopiesModel(kind == Kind::Duplicates, this)), m_list(new CContextListCtrl(this)),
      m_count(new QLabel(this)), m_browse(new QPushButton(tr("&Browse to..."), this))
{
    const QString title =
        kind == Kind::Duplicates ? tr("Duplicates") : tr("Files Kept Nowhere Else");
    setWindowTitle(title);
    setAccessibleName(title);
    setWindowFlags((windowFlags() & ~Qt::WindowType_Mask) | Qt::Window);
    setAttribute(Qt::WA_QuitOnClose, false);
    resize(800, 450);

    m_list->setObjectName(QStringLiteral("copiesList"));
    m_list->setAccessibleName(tr("Results"));
    m_list->setModel(m_model);
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->header()->setStretchLastSection(true);
    m_list->header()->resizeSection(m_model->NameColumn(), 220);
    if (m_model->Grouped())
        m_list->header()->resizeSection(0, 60);
    m_count->setObjectName(QStringLiteral("countLabel"));
    m_count->setAccessibleName(tr("Files found"));
    m_browse->setObjectName(QStringLiteral("browseButton"));
    m_browse->setAccessibleName(tr("Browse to"));
    m_browse->setEnabled(false);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->button(QDialogButtonBox::Close)->setAccessibleName(tr("Close"));
    buttons->addButton(m_browse, QDialogButtonBox::ActionRole);

    auto* bottom = new QHBoxLayout;
    bottom->addWidget(m_count, 1);
    bottom->addWidget(buttons);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_list, 1);
    layout->addLayout(bottom);

    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_browse, &QPushButton::clicked, this, &CCopiesDlg::BrowseToSelected);
    connect(m_list, &CContextListCtrl::browseChosen, this, &CCopiesDlg::BrowseToSelected);
    connect(m_list, &CContextListCtrl::exportChosen, this, &CCopiesDlg::ExportResults);
    connect(m_list, &CContextListCtrl::propertiesChosen, this, &CCopiesDlg::ShowSelectedProperties);
    connect(m_list, &QAbstractItemView::doubleClicked, this, &CCopiesDlg::ShowSelectedProperties);
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { m_browse->setEnabled(m_list->HasSelectedRow()); });
    // What was found in one catalogue means nothing in another.
    connect(&doc, &CShelfwiseDoc::cataloguePathChanged, this, &QDialog::close);
}

CCopiesDlg::~CCopiesDlg() = default;

bool CCopiesDlg::FindDuplicates(const CCopySearch::Options& options)
{
    CCopySearch search(m_doc.Database());
    if (!Run(search, tr("Looking for files catalogued more than once..."), [&](QObject* notify) {
            search.StartDuplicates(options, notify);
            return true;
        }))
        return false;
    std::vector<std::pair<int, const CatalogueFile*>> files;
    qint64 spare = 0;
    int group = 0;
    for (const CCopySearch::Group& copies : search.Groups()) {
        ++group;
        spare += copies.SpareBytes();
        for (const CatalogueFile& file : copies.Copies)
            files.emplace_back(group, &file);
    }
    Fill(files);
    m_count->setText(tr("%Ln groups of copies", nullptr, group) + QStringLiteral(", ") +
                     tr("%1 taken more than once").arg(FormatSize(spare)));
    return true;
}

bool CCopiesDlg::FindUnique(int unitId)
{
    CCopySearch search(m_doc.Database());
    if (!Run(search, tr("Looking for files kept nowhere else..."),
             [&](QObject* notify) { return search.StartUnique(unitId, notify); }))
        return false;
    std::vector<std::pair<int, const CatalogueFile*>> files;
    qint64 total = 0;
    for (const CatalogueFile& file : search.UniqueFiles()) {
        total += file.Size;
        files.emplace_back(0, &file);
    }
    Fill(files);
    m_count->setText(tr("%Ln files kept nowhere else", nullptr, static_cast<int>(files.size())) +
                     QStringLiteral(", ") + FormatSize(total));
    return true;
}

bool CCopiesDlg::Run(CCopySearch& search, const QString& label,
                     const std::function<bool(QObject*)>& start)
{
    CWorkerProgress progress(label, 100, parentWidget() ? parentWidget() : this);
    progress.Window().setObjectName(QStringLiteral("copiesProgress"));
    progress.Window().setAccessibleName(tr("Progress"));
    connect(&progress, &CWorkerProgress::progressed, this, &CCopiesDlg::progressed);
    bool started = false;
    if (!m_doc.Guard([&] { started = start(&progress); }))
        return false;
    if (!started) {
        UserPrompter::Current().ShowMessage(search.Error(), UserPrompter::Icon::Warning);
        return false;
    }
    // Once the user has cancelled, nothing is listed, even when the worker got to its
    // end before it saw the request.
    const bool cancelled = !progress.Wait([&search] { search.Cancel(); });
    search.Wait();
    if (cancelled)
        return false;
    switch (search.Outcome()) {
    case WorkOutcome::Succeeded:
        return true;
    case WorkOutcome::Cancelled:
        return false;
    default:
        CWorkerProgress::ShowFailure(search.Error());
        return false;
    }
}

void CCopiesDlg::Fill(const std::vector<std::pair<int, const CatalogueFile*>>& files)
{
    std::vector<CCopiesModel::Row> rows;
    rows.reserve(files.size());
    for (const auto& [group, file] : files)
        rows.push_back({group, *file, QString()});
    m_doc.Guard([&] {
        for (size_t first = 0; first < rows.size(); first += kLocationsPerQuery) {
            const size_t end = std::min(rows.size(), first + kLocationsPerQuery);
            std::vector<int> ids;
            for (size_t i = first; i < end; ++i)
                ids.push_back(rows[i].File.UnitID);
            const std::map<int, QString> locations = m_doc.Database().GetUnitLocations(ids);
            for (size_t i = first; i < end; ++i) {
                const auto it = locations.find(rows[i].File.UnitID);
                if (it != locations.end())
                    rows[i].Location = it->second;
            }
        }
    });
    m_model->SetRows(std::move(rows));
}

QString CCopiesDlg::CountText() const
{
    return m_count->text();
}

int CCopiesDlg::SelectedExistingUnit() const
{
    const QModelIndexList selected = m_list->selectionModel()->selectedRows();
    if (selected.isEmpty())
        return 0;
    const int unitId = selected.first().data(CCopiesModel::kUnitIdRole).toInt();
    int storageId = 0;
    if (!m_doc.Guard([&] { storageId = m_doc.Database().GetUnitStorageId(unitId); }))
        return 0;
    return storageId != 0 ? unitId : 0; // 0: deleted since the search
}

void CCopiesDlg::ShowSelectedProperties()
{
    if (const int unitId = SelectedExistingUnit())
        emit propertiesRequested(unitId);
}

void CCopiesDlg::BrowseToSelected()
{
    const int unitId = SelectedExistingUnit();
    if (unitId == 0)
        return;
    if (const std::optional<BrowsePath> place = BrowsePaths::Of(m_doc, unitId))
        emit browseRequested(place->treePath, place->listUnitId);
}

void CCopiesDlg::showEvent(QShowEvent* event)
{
    // Stacked like any two windows, not kept above the main window (see the class).
    if (QWindow* window = windowHandle())
        window->setTransientParent(nullptr);
    QDialog::showEvent(event);
}

void CCopiesDlg::ExportResults()
{
    std::vector<int> ids;
    ids.reserve(m_model->Rows().size());
    for (const CCopiesModel::Row& row : m_model->Rows())
        ids.push_back(row.File.UnitID);
    if (!ids.empty())
        CExportFlow(m_doc, this).Ask(ExportScope::Units(std::move(ids)), windowTitle());
}
