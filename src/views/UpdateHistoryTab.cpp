#include "views/UpdateHistoryTab.h"

#include "document/UnitProperties.h"

#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

CUpdateHistoryTab::CUpdateHistoryTab(const std::vector<QStringList>& rows, QWidget* parent)
    : QWidget(parent)
{
    setAccessibleName(tr("History"));
    auto* layout = new QVBoxLayout(this);
    if (rows.empty()) {
        auto* none = new QLabel(tr("Not updated yet."), this);
        none->setAccessibleName(tr("Update history"));
        layout->addWidget(none);
        layout->addStretch(1);
        return;
    }
    const QStringList headers = UnitProperties::UpdateHistoryHeaders();
    m_table =
        new QTableWidget(static_cast<int>(rows.size()), static_cast<int>(headers.size()), this);
    m_table->setAccessibleName(tr("Update history"));
    m_table->setHorizontalHeaderLabels(headers);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->verticalHeader()->hide();
    for (int r = 0; r < m_table->rowCount(); ++r) {
        const QStringList& row = rows[static_cast<size_t>(r)];
        for (int c = 0; c < m_table->columnCount(); ++c) {
            auto* cell = new QTableWidgetItem(row.value(c));
            // The date reads from the left, the counts and the size from the right.
            if (c > 0)
                cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            m_table->setItem(r, c, cell);
        }
    }
    m_table->resizeColumnsToContents();
    m_table->horizontalHeader()->setStretchLastSection(true);
    // Wide enough for every column: the dialog grows rather than hiding the last ones.
    int width = 2 * m_table->frameWidth();
    for (int c = 0; c < m_table->columnCount(); ++c)
        width += m_table->columnWidth(c);
    m_table->setMinimumWidth(width);
    layout->addWidget(m_table);
}
