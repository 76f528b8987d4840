#include "stats/StatisticsDlg.h"

#include "common/FormatSize.h"
#include "common/WorkerProgress.h"
#include "document/ShelfwiseDoc.h"
#include "stats/StatisticsJob.h"
#include "stats/StatisticsTab.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

CStatisticsDlg::CStatisticsDlg(CShelfwiseDoc& doc, QWidget* parent)
    : QDialog(parent), m_doc(doc), m_summary(new QLabel(this)), m_tabs(new QTabWidget(this)),
      m_whole(new QPushButton(tr("Whole Catalogue"), this))
{
    setObjectName(QStringLiteral("statisticsDialog"));
    setWindowTitle(tr("Statistics"));
    setAccessibleName(tr("Statistics"));
    setModal(false);
    m_summary->setObjectName(QStringLiteral("statisticsSummary"));
    m_summary->setAccessibleName(tr("Totals"));
    m_summary->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_tabs->setObjectName(QStringLiteral("statisticsTabs"));
    m_tabs->setAccessibleName(tr("Sections"));
    m_tabs->tabBar()->setAccessibleName(tr("Section tabs"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->setAccessibleName(tr("Dialog buttons"));
    buttons->button(QDialogButtonBox::Close)->setAccessibleName(tr("Close"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    m_whole->setObjectName(QStringLiteral("wholeCatalogue"));
    m_whole->setAccessibleName(tr("Whole Catalogue"));
    m_whole->setAutoDefault(false);
    buttons->addButton(m_whole, QDialogButtonBox::ActionRole);
    connect(m_whole, &QPushButton::clicked, this, &CStatisticsDlg::wholeCatalogueRequested);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_summary);
    layout->addWidget(m_tabs, 1);
    layout->addWidget(buttons);
    resize(860, 680);
}

bool CStatisticsDlg::Gather(const StatisticsScope& scope, const QString& scopeName)
{
    // No range: a busy indicator, since the reads cannot tell how far they are. Once
    // this window is up, the progress window keeps input from it too. It is shown at
    // once: while it is up, the window's own work on the catalogue (the name index's
    // steps) waits, and no input reaches the main window.
    CWorkerProgress progress(tr("Gathering statistics..."), 0, isVisible() ? this : parentWidget());
    progress.Window().setObjectName(QStringLiteral("statisticsProgress"));
    progress.Window().setAccessibleName(tr("Gathering statistics"));
    CStatisticsJob job(m_doc.Database());
    job.Start(scope, &progress);
    // On Cancel the progress window closes: the worker, its statement interrupted, is
    // waited for there, so that nothing else reaches the catalogue before it ends.
    const bool cancelled = !progress.Wait([&job] {
        job.Cancel();
        job.Wait();
    });
    job.Wait();
    if (cancelled || job.Outcome() == WorkOutcome::Cancelled)
        return false;
    if (job.Outcome() != WorkOutcome::Succeeded) {
        CWorkerProgress::ShowFailure(job.Error());
        return false;
    }
    m_statistics = job.Result();
    ShowStatistics(scopeName);
    m_whole->setEnabled(scope.StorageId != 0 || scope.UnitId != 0);
    return true;
}

CStatisticsTab* CStatisticsDlg::Tab(const QString& key) const
{
    return m_tabs->findChild<CStatisticsTab*>(key);
}

void CStatisticsDlg::ShowStatistics(const QString& scopeName)
{
    setWindowTitle(tr("Statistics - %1").arg(scopeName));
    m_summary->setText(tr("%1: %Ln files, %2 in all; %3 discs", nullptr,
                          static_cast<int>(std::min<qint64>(m_statistics.Files, INT_MAX)))
                           .arg(scopeName, FormatSize(m_statistics.Bytes))
                           .arg(m_statistics.Discs));
    while (m_tabs->count() > 0) {
        QWidget* page = m_tabs->widget(0);
        m_tabs->removeTab(0);
        delete page;
    }
    for (const StatisticsSection& section : m_statistics.Sections)
        m_tabs->addTab(new CStatisticsTab(section, m_tabs), section.Title);
}
