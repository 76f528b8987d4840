#include "stats/StatisticsTab.h"

#include "common/FormatSize.h"

#include <QAction>
#include <QApplication>
#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QLegend>
#include <QPieSeries>
#include <QPieSlice>
#include <QPushButton>
#include <QSplitter>
#include <QStandardItemModel>
#include <QTableView>
#include <QVBoxLayout>
#include <QValueAxis>

#include <algorithm>
#include <set>

namespace {

// Sorting a column of numbers or sizes by the number, not by its text.
constexpr int kSortRole = Qt::UserRole + 1;

// A chart's axis in the unit that suits its largest value.
struct ByteScale
{
    double Divisor = 1;
    QString Unit;
};

ByteScale ScaleFor(qint64 largest)
{
    if (largest >= 1024LL * 1024 * 1024)
        return {1024.0 * 1024 * 1024, QStringLiteral("GB")};
    if (largest >= 1024LL * 1024)
        return {1024.0 * 1024, QStringLiteral("MB")};
    if (largest >= 1024)
        return {1024.0, QStringLiteral("KB")};
    return {1, QStringLiteral("bytes")};
}

// Long names make a chart's labels unreadable; the table keeps them whole.
QString ShortLabel(const QString& label)
{
    constexpr int kMaxLabel = 14;
    return label.size() > kMaxLabel ? label.left(kMaxLabel - 1) + QChar(0x2026) : label;
}

QStandardItem* NumberItem(const QString& text, qint64 value)
{
    auto* item = new QStandardItem(text);
    item->setData(value, kSortRole);
    item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return item;
}

} // namespace

CStatisticsTab::CStatisticsTab(const StatisticsSection& section, QWidget* parent)
    : QWidget(parent), m_model(new QStandardItemModel(this)), m_table(new QTableView(this)),
      m_chart(new QChartView(this))
{
    setObjectName(section.Key);
    setAccessibleName(section.Title);
    FillModel(section);
    MakeChart(section);

    m_table->setObjectName(QStringLiteral("statisticsTable"));
    m_table->setAccessibleName(tr("%1 table").arg(section.Title));
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // The label column sorts by the section's own order, which is where it starts.
    m_table->horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    m_table->setSortingEnabled(true);
    m_table->verticalHeader()->hide();
    m_table->resizeColumnsToContents();
    // The names take the room left: the locations where there are some, else the labels.
    if (section.HasLocation)
        m_table->horizontalHeader()->setStretchLastSection(true);
    else
        m_table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);

    auto* copy = new QAction(tr("Copy"), m_table);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, &CStatisticsTab::CopySelection);
    m_table->addAction(copy);
    // The view answers Ctrl+C itself with the current cell alone; the rows are copied
    // here instead.
    m_table->installEventFilter(this);
    m_table->setContextMenuPolicy(Qt::ActionsContextMenu);

    m_chart->setObjectName(QStringLiteral("statisticsChart"));
    m_chart->setAccessibleName(tr("%1 chart").arg(section.Title));
    m_chart->viewport()->setAccessibleName(tr("%1 chart").arg(section.Title));
    m_chart->setRenderHint(QPainter::Antialiasing);
    m_chart->setMinimumHeight(260);

    auto* copyAll = new QPushButton(tr("Copy table"), this);
    copyAll->setObjectName(QStringLiteral("copyTable"));
    copyAll->setAccessibleName(tr("Copy table"));
    connect(copyAll, &QPushButton::clicked, this, &CStatisticsTab::CopyAll);

    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->setAccessibleName(tr("Chart and table"));
    splitter->addWidget(m_chart);
    splitter->addWidget(m_table);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(copyAll);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(splitter);
    layout->addLayout(buttons);
}

bool CStatisticsTab::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_table && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) {
        CopySelection();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void CStatisticsTab::FillModel(const StatisticsSection& section)
{
    m_model->setSortRole(kSortRole);
    QStringList headers{section.LabelHeader, section.CountHeader, tr("Size")};
    if (section.HasLocation)
        headers << tr("Location");
    m_model->setHorizontalHeaderLabels(headers);
    int order = 0;
    for (const StatisticsRow& row : section.Rows) {
        auto* label = new QStandardItem(row.Label);
        // The label column sorts back to the section's own order.
        label->setData(order++, kSortRole);
        QList<QStandardItem*> items{label, NumberItem(QLocale().toString(row.Count), row.Count),
                                    NumberItem(FormatSize(row.Bytes), row.Bytes)};
        if (section.HasLocation) {
            auto* location = new QStandardItem(row.Location);
            location->setData(row.Location, kSortRole);
            items << location;
        }
        m_model->appendRow(items);
    }
}

void CStatisticsTab::MakeChart(const StatisticsSection& section)
{
    auto* chart = new QChart;
    chart->setTitle(section.Title);
    chart->legend()->hide();
    const bool countsDiscs = section.SectionKind == StatisticsSection::Kind::DiscsAdded;
    if (section.SectionKind == StatisticsSection::Kind::Categories) {
        auto* pie = new QPieSeries;
        qint64 total = 0;
        for (const StatisticsRow& row : section.Rows)
            total += row.Bytes;
        for (const StatisticsRow& row : section.Rows) {
            if (row.Bytes <= 0)
                continue;
            QPieSlice* slice =
                pie->append(QStringLiteral("%1 (%2)").arg(row.Label, FormatSize(row.Bytes)),
                            static_cast<double>(row.Bytes));
            // The labels of thin slices would lie on top of each other; the legend
            // names every slice.
            slice->setLabelVisible(row.Bytes * 25 >= total);
        }
        chart->addSeries(pie);
        chart->legend()->setAlignment(Qt::AlignRight);
        chart->legend()->show();
        m_chart->setChart(chart);
        return;
    }
    qint64 largest = 0;
    for (const StatisticsRow& row : section.Rows)
        largest = std::max(largest, countsDiscs ? row.Count : row.Bytes);
    const ByteScale scale = countsDiscs ? ByteScale{1, tr("discs")} : ScaleFor(largest);
    auto* set = new QBarSet(countsDiscs ? tr("Discs") : tr("Size"));
    QStringList labels;
    std::set<QString> seen;
    for (const StatisticsRow& row : section.Rows) {
        *set << static_cast<double>(countsDiscs ? row.Count : row.Bytes) / scale.Divisor;
        // A category axis needs distinct labels; two folders may share a name.
        QString label = ShortLabel(row.Label);
        while (!seen.insert(label).second)
            label += QLatin1Char(' ');
        labels << label;
    }
    auto* series = new QBarSeries;
    series->append(set);
    chart->addSeries(series);
    auto* names = new QBarCategoryAxis;
    names->append(labels);
    auto* values = new QValueAxis;
    values->setTitleText(scale.Unit);
    values->setLabelFormat(countsDiscs ? QStringLiteral("%d") : QStringLiteral("%.1f"));
    values->setMin(0);
    // Upright labels where there are many bars: each then has the height of the
    // axis, not the width of its bar.
    names->setLabelsAngle(section.Rows.size() > 8 ? -90 : 0);
    chart->addAxis(names, Qt::AlignBottom);
    chart->addAxis(values, Qt::AlignLeft);
    series->attachAxis(names);
    series->attachAxis(values);
    m_chart->setChart(chart);
}

QString CStatisticsTab::TableText(bool selectedOnly) const
{
    std::vector<int> rows;
    if (selectedOnly && m_table->selectionModel()) {
        for (const QModelIndex& index : m_table->selectionModel()->selectedRows())
            rows.push_back(index.row());
        std::sort(rows.begin(), rows.end());
    }
    if (rows.empty()) {
        for (int row = 0; row < m_model->rowCount(); ++row)
            rows.push_back(row);
    }
    QStringList lines;
    QStringList header;
    for (int column = 0; column < m_model->columnCount(); ++column)
        header << m_model->headerData(column, Qt::Horizontal).toString();
    lines << header.join(QLatin1Char('\t'));
    for (const int row : rows) {
        QStringList cells;
        for (int column = 0; column < m_model->columnCount(); ++column)
            cells << m_model->index(row, column).data().toString();
        lines << cells.join(QLatin1Char('\t'));
    }
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

void CStatisticsTab::CopySelection()
{
    QApplication::clipboard()->setText(TableText(true));
}

void CStatisticsTab::CopyAll()
{
    QApplication::clipboard()->setText(TableText(false));
}
