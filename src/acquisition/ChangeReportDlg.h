#pragma once

#include "acquisition/ChangeList.h"

#include <QDialog>
#include <QString>

class CChangeReportModel;
class CShelfwiseDoc;
class QComboBox;
class QLabel;
class QPushButton;
class QTableView;

/// What a rescan found between a catalogued disc, folder or file and its source: the
/// summary line, a filter by kind with the count of each, and a sortable table of the
/// changes. Apply writes them all (CUnitUpdate: one transaction, one step of Undo) and
/// closes; Cancel changes nothing.
class CChangeReportDlg final : public QDialog
{
    Q_OBJECT

public:
    /// changes must outlive the dialog. mountPoint: a disc's mount point or image file,
    /// empty for a folder or a file.
    CChangeReportDlg(CShelfwiseDoc& doc, int unitId, const CChangeList& changes, QString sourcePath,
                     QString mountPoint, QWidget* parent = nullptr);

    CChangeReportModel& Model() { return *m_model; }
    QComboBox& Filter() { return *m_filter; }
    QTableView& Table() { return *m_table; }
    QPushButton& ApplyButton() { return *m_apply; }
    QString SummaryText() const;

public slots:
    /// Applies the changes; the dialog closes either way (a failure has been reported
    /// and changed nothing).
    void accept() override;

private:
    void FillFilter();

    CShelfwiseDoc& m_doc;
    const int m_unitId;
    const CChangeList& m_changes;
    const QString m_sourcePath;
    const QString m_mountPoint;
    CChangeReportModel* m_model;
    QLabel* m_summary;
    QComboBox* m_filter;
    QTableView* m_table;
    QPushButton* m_apply;
};
