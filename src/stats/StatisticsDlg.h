#pragma once

#include "sqlitewrapper/StatisticsRecords.h"
#include "stats/StatisticsResult.h"

#include <QDialog>
#include <QString>

class CShelfwiseDoc;
class CStatisticsTab;
class QLabel;
class QPushButton;
class QTabWidget;

// Tools > Statistics...: the statistics of the catalogue, a storage, a disc or a
// folder, a tab per section, each with its chart and table; "Whole Catalogue" turns
// it to the whole catalogue. The dialog is not modal;
// the gathering is, behind a busy window that keeps the catalogue to the worker
// (the window's own connection is used) until it ends.
class CStatisticsDlg final : public QDialog
{
    Q_OBJECT

public:
    CStatisticsDlg(CShelfwiseDoc& doc, QWidget* parent = nullptr);

    // Gathers the statistics of scope (scopeName: what the title names) and shows them
    // in the tabs; false when it was cancelled or failed (a message has said why).
    bool Gather(const StatisticsScope& scope, const QString& scopeName);

    QTabWidget* Tabs() const { return m_tabs; }
    // The tab of a section by its key ("categories", "largestFolders", ...).
    CStatisticsTab* Tab(const QString& key) const;
    const CatalogueStatistics& Statistics() const { return m_statistics; }

signals:
    // "Whole Catalogue" was pressed: the owner gathers the whole catalogue's statistics
    // into this window (Gather) as it gathered the first.
    void wholeCatalogueRequested();

private:
    void ShowStatistics(const QString& scopeName);

    CShelfwiseDoc& m_doc;
    QLabel* m_summary;
    QTabWidget* m_tabs;
    QPushButton* m_whole;
    CatalogueStatistics m_statistics;
};
