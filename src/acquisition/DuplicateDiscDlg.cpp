#include "acquisition/DuplicateDiscDlg.h"

#include "common/FormatSize.h"
#include "common/Strings.h"
#include "document/ShelfwiseDoc.h"

#include "ui_DuplicateDiscDlg.h"

#include <QPushButton>

namespace {

constexpr int kColumnWidth = 150;
constexpr int kStorageColumn = 3;

} // namespace

CDuplicateDiscDlg::CDuplicateDiscDlg(CShelfwiseDoc& doc, const std::vector<int>& unitIds,
                                     QWidget* parent)
    : QDialog(parent), m_ui(new Ui::CDuplicateDiscDlg)
{
    m_ui->setupUi(this);
    m_ui->introLabel->setText(Strings::LoadString(Strings::IDS_DUPLICATE_DISC));
    m_addAnyway = m_ui->buttonBox->addButton(tr("Add Anyway"), QDialogButtonBox::AcceptRole);
    m_addAnyway->setObjectName(QStringLiteral("addAnywayButton"));
    m_addAnyway->setAccessibleName(m_addAnyway->text());
    m_addAnyway->setDefault(true);
    m_cancel = m_ui->buttonBox->addButton(QDialogButtonBox::Cancel);
    m_cancel->setObjectName(QStringLiteral("cancelButton"));
    m_cancel->setAccessibleName(m_cancel->text());

    QTreeWidget* list = m_ui->discList;
    // Name, label and size; the storage, where the disc is to be found, takes the rest.
    for (int column = 0; column < kStorageColumn; ++column)
        list->setColumnWidth(column, kColumnWidth);
    for (int unitId : unitIds) {
        DiscDetails disc;
        QString storage;
        if (!doc.Guard([&] {
                CSqliteWrapper& db = doc.Database();
                disc = db.GetDiscProperties(unitId);
                storage = db.GetStorage(db.GetUnitStorageId(unitId)).StorageName;
            }))
            continue;
        auto* item =
            new QTreeWidgetItem(list, {disc.UnitName, disc.Label, FormatSize(disc.Size), storage});
        item->setData(0, Qt::UserRole, unitId);
        item->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
    }
    if (list->topLevelItemCount() > 0)
        list->setCurrentItem(list->topLevelItem(0));
    connect(list, &QTreeWidget::itemDoubleClicked, this,
            [this](QTreeWidgetItem* item) { OnDoubleClicked(item); });
}

CDuplicateDiscDlg::~CDuplicateDiscDlg() = default;

void CDuplicateDiscDlg::OnDoubleClicked(QTreeWidgetItem* item)
{
    if (!item)
        return;
    m_revealUnitId = item->data(0, Qt::UserRole).toInt();
    done(Reveal);
}
