#pragma once

#include "stats/StatisticsResult.h"

#include <QWidget>

class QChartView;
class QStandardItemModel;
class QTableView;

// One section of the statistics: a chart of it above its table. Ctrl+C in the table
// copies the selected rows (all rows when none is selected), "Copy table" every row,
// each time as tab-separated text with the header line.
class CStatisticsTab final : public QWidget
{
    Q_OBJECT

public:
    CStatisticsTab(const StatisticsSection& section, QWidget* parent = nullptr);

    QTableView* Table() const { return m_table; }
    QChartView* Chart() const { return m_chart; }
    // The text a copy puts on the clipboard.
    QString TableText(bool selectedOnly) const;

public slots:
    void CopySelection();
    void CopyAll();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void FillModel(const StatisticsSection& section);
    void MakeChart(const StatisticsSection& section);

    QStandardItemModel* m_model;
    QTableView* m_table;
    QChartView* m_chart;
};
