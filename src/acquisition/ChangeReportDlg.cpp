#include "acquisition/ChangeReportDlg.h"

#include "acquisition/ChangeReportModel.h"
#include "acquisition/UnitUpdate.h"
#include "document/ShelfwiseDoc.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

#include <optional>
#include <utility>

namespace {

using Kind = CChangeList::Kind;

constexpr Kind kFilterKinds[] = {Kind::Added, Kind::Removed, Kind::Changed, Kind::Moved,
                                 Kind::Unreadable};

} // namespace

CChangeReportDlg::CChangeReportDlg(CShelfwiseDoc& doc, int unitId, const CChangeList& changes,
                                   QString sourcePath, QString mountPoint, QWidget* parent)
    : QDialog(parent), m_doc(doc), m_unitId(unitId), m_changes(changes),
      m_sourcePath(std::move(sourcePath)), m_mountPoint(std::move(mountPoint)),
      m_model(new CChangeReportModel(changes, this)), m_summary(new QLabel(this)),
      m_filter(new QComboBox(this)), m_table(new QTableView(this))
{
    QString name;
    doc.Guard([&] { name = doc.Database().GetUnit(unitId).UnitName; });
    setWindowTitle(tr("Update \"%1\"").arg(name));
    setAccessibleName(tr("Changes found"));
    setSizeGripEnabled(true);
    resize(900, 520);

    m_summary->setText(changes.Summary());
    m_summary->setAccessibleName(tr("Summary"));
    m_summary->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    QFont bold = m_summary->font();
    bold.setBold(true);
    m_summary->setFont(bold);

    auto* showLabel = new QLabel(tr("&Show:"), this);
    showLabel->setBuddy(m_filter);
    m_filter->setAccessibleName(tr("Show"));
    FillFilter();
    connect(m_filter, &QComboBox::currentIndexChanged, this, [this](int index) {
        const QVariant kind = m_filter->itemData(index);
        m_model->SetFilter(kind.isValid() ? std::optional(static_cast<Kind>(kind.toInt()))
                                          : std::nullopt);
    });

    m_table->setModel(m_model);
    m_table->setAccessibleName(tr("Changes"));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setWordWrap(false);
    m_table->setSortingEnabled(true);
    m_table->horizontalHeader()->setSortIndicator(CChangeReportModel::Path, Qt::AscendingOrder);
    m_table->horizontalHeader()->setStretchLastSection(true);
    // One row height for all, never measured per row: 100,000 rows open at once.
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 6);
    m_table->verticalHeader()->hide();
    const int widths[] = {90, 240, 80, 80, 135, 135};
    for (int column = 0; column < 6; ++column)
        m_table->setColumnWidth(column, widths[column]);

    auto* buttons = new QDialogButtonBox(this);
    m_apply = buttons->addButton(tr("&Apply"), QDialogButtonBox::AcceptRole);
    m_apply->setAccessibleName(tr("Apply"));
    m_apply->setDefault(true);
    QPushButton* cancel = buttons->addButton(QDialogButtonBox::Cancel);
    cancel->setAccessibleName(tr("Cancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &CChangeReportDlg::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &CChangeReportDlg::reject);

    auto* filterRow = new QHBoxLayout;
    filterRow->addWidget(showLabel);
    filterRow->addWidget(m_filter);
    filterRow->addStretch(1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_summary);
    layout->addLayout(filterRow);
    layout->addWidget(m_table, 1);
    layout->addWidget(buttons);
}

void CChangeReportDlg::FillFilter()
{
    int all = 0;
    for (const Kind kind : kFilterKinds)
        all += m_changes.Count(kind);
    m_filter->addItem(tr("All changes (%1)").arg(all));
    for (const Kind kind : kFilterKinds) {
        m_filter->addItem(QStringLiteral("%1 (%2)")
                              .arg(CChangeReportModel::KindText(kind))
                              .arg(m_changes.Count(kind)),
                          static_cast<int>(kind));
    }
}

QString CChangeReportDlg::SummaryText() const
{
    return m_summary->text();
}

void CChangeReportDlg::accept()
{
    CUnitUpdate update(m_doc);
    // Media details of the new files are read before the catalogue is written: a while,
    // for many films.
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const bool applied = update.Apply(m_unitId, m_changes, m_sourcePath, m_mountPoint);
    QGuiApplication::restoreOverrideCursor();
    if (applied)
        QDialog::accept();
    else
        QDialog::reject();
}
