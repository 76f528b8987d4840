#include "search/CopyOptionsDlg.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

CCopyOptionsDlg::CCopyOptionsDlg(QWidget* parent)
    : QDialog(parent), m_withDate(new QCheckBox(tr("Copies must also have the same &date"), this)),
      m_minSize(new QSpinBox(this)), m_unit(new QComboBox(this))
{
    setWindowTitle(tr("Find Duplicates"));
    setAccessibleName(tr("Find Duplicates"));
    m_withDate->setObjectName(QStringLiteral("withDateBox"));
    m_withDate->setAccessibleName(tr("Same modification date"));
    m_minSize->setObjectName(QStringLiteral("minSizeBox"));
    m_minSize->setAccessibleName(tr("Smallest size"));
    m_minSize->setRange(0, 1000000);
    m_unit->setObjectName(QStringLiteral("sizeUnitBox"));
    m_unit->setAccessibleName(tr("Size unit"));
    int shift = 0;
    for (const QString& unit : {tr("bytes"), tr("KB"), tr("MB"), tr("GB")}) {
        m_unit->addItem(unit, shift);
        shift += 10;
    }

    auto* sizeRow = new QHBoxLayout;
    sizeRow->addWidget(m_minSize, 1);
    sizeRow->addWidget(m_unit);
    auto* form = new QFormLayout;
    form->addRow(m_withDate);
    auto* sizeLabel = new QLabel(tr("Leave out files &smaller than:"), this);
    sizeLabel->setBuddy(m_minSize);
    form->addRow(sizeLabel, sizeRow);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("&Find"));
    buttons->button(QDialogButtonBox::Ok)->setAccessibleName(tr("Find"));
    buttons->button(QDialogButtonBox::Cancel)->setAccessibleName(tr("Cancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

CCopySearch::Options CCopyOptionsDlg::Options() const
{
    CCopySearch::Options options;
    options.WithDate = m_withDate->isChecked();
    options.MinSize = static_cast<qint64>(m_minSize->value()) << m_unit->currentData().toInt();
    return options;
}
