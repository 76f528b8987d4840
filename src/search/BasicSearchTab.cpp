#include "search/BasicSearchTab.h"

#include "common/Strings.h"
#include "search/ComparisonOperator.h"

#include "ui_BasicSearchTab.h"

#include <QDate>
#include <QTime>

namespace {

// Bytes, KBytes, MBytes and GBytes, in the order of the unit list.
constexpr qint64 kSizeFactors[] = {1, 1024, 1048576, 1073741824};

} // namespace

CBasicSearchTab::CBasicSearchTab(QWidget* parent) : QWidget(parent), m_ui(new Ui::CBasicSearchTab)
{
    m_ui->setupUi(this);
    using namespace Strings;
    for (int id :
         {IDS_SIZE_UNIT_BYTES, IDS_SIZE_UNIT_KBYTES, IDS_SIZE_UNIT_MBYTES, IDS_SIZE_UNIT_GBYTES})
        m_ui->sizeUnitCombo->addItem(LoadString(id));
    for (int id : {IDS_DATE_FIELD_ADDED, IDS_DATE_FIELD_CREATED, IDS_DATE_FIELD_MODIFIED})
        m_ui->dateFieldCombo->addItem(LoadString(id));
    const QDate today = QDate::currentDate();
    m_ui->dateFromEdit->setDate(today);
    m_ui->dateToEdit->setDate(today);

    for (QCheckBox* box : {m_ui->storageCheck, m_ui->sizeCheck, m_ui->dateCheck})
        connect(box, &QCheckBox::toggled, this, &CBasicSearchTab::UpdateEnabled);
    UpdateEnabled();
}

CBasicSearchTab::~CBasicSearchTab() = default;

void CBasicSearchTab::SetStorages(const std::vector<StorageListItem>& storages)
{
    QComboBox* combo = m_ui->storageCombo;
    const QVariant chosen = combo->currentData();
    combo->clear();
    for (const StorageListItem& storage : storages)
        combo->addItem(storage.StorageName, storage.StorageID);
    const int again = chosen.isValid() ? combo->findData(chosen) : -1;
    combo->setCurrentIndex(again >= 0 ? again : 0);
}

void CBasicSearchTab::OrderDateRange()
{
    const QDate from = m_ui->dateFromEdit->date();
    const QDate to = m_ui->dateToEdit->date();
    if (from > to) {
        m_ui->dateFromEdit->setDate(to);
        m_ui->dateToEdit->setDate(from);
    }
}

void CBasicSearchTab::Gather(SearchCriteria& criteria) const
{
    criteria.Text = m_ui->textEdit->text();

    criteria.UseSize = m_ui->sizeCheck->isChecked();
    criteria.SizeOperator = ComparisonOperatorAt(m_ui->sizeOperatorCombo->currentIndex());
    const int unit = m_ui->sizeUnitCombo->currentIndex();
    const qint64 factor = unit >= 0 && unit < 4 ? kSizeFactors[unit] : 1;
    criteria.Size = static_cast<qint64>(m_ui->sizeSpin->value()) * factor;

    const QVariant storage = m_ui->storageCombo->currentData();
    criteria.StorageID = m_ui->storageCheck->isChecked() && storage.isValid() ? storage.toInt() : 0;

    criteria.UseDate = m_ui->dateCheck->isChecked();
    const int field = m_ui->dateFieldCombo->currentIndex();
    criteria.DateField = field >= 0 && field <= 2 ? field : SearchCriteria::DateAdded;
    const QDate first = std::min(m_ui->dateFromEdit->date(), m_ui->dateToEdit->date());
    const QDate last = std::max(m_ui->dateFromEdit->date(), m_ui->dateToEdit->date());
    criteria.DateFrom = QDateTime(first, QTime(0, 0, 0));
    criteria.DateTo = QDateTime(last, QTime(23, 59, 59));

    criteria.SearchNotes = m_ui->notesCheck->isChecked();
}

void CBasicSearchTab::FocusText()
{
    m_ui->textEdit->setFocus(Qt::OtherFocusReason);
    m_ui->textEdit->selectAll();
}

void CBasicSearchTab::UpdateEnabled()
{
    m_ui->storageCombo->setEnabled(m_ui->storageCheck->isChecked());
    const bool size = m_ui->sizeCheck->isChecked();
    for (QWidget* widget :
         {static_cast<QWidget*>(m_ui->sizeOperatorCombo), static_cast<QWidget*>(m_ui->sizeSpin),
          static_cast<QWidget*>(m_ui->sizeUnitCombo)})
        widget->setEnabled(size);
    const bool date = m_ui->dateCheck->isChecked();
    for (QWidget* widget :
         {static_cast<QWidget*>(m_ui->dateFieldCombo), static_cast<QWidget*>(m_ui->dateFromEdit),
          static_cast<QWidget*>(m_ui->dateToEdit)})
        widget->setEnabled(date);
}
