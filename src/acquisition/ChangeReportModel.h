#pragma once

#include "acquisition/ChangeList.h"

#include <QAbstractTableModel>

#include <optional>
#include <vector>

// The rows of the change report: the entries of a change list that differ from the
// catalogue (unchanged ones are never listed), optionally of one kind only, in the
// order of a column. Rows are indices into the list, so a report of 100,000 changes is
// filtered and sorted without copying any of them.
class CChangeReportModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Change, Path, Size, NewSize, Modified, NewModified, MovedFrom, ColumnCount };

    /// changes must outlive the model.
    explicit CChangeReportModel(const CChangeList& changes, QObject* parent = nullptr);

    /// Lists the entries of one kind only; nothing: every change.
    void SetFilter(std::optional<CChangeList::Kind> kind);
    const CChangeList::Change& EntryAt(int row) const;
    /// "Added", "Removed"...
    static QString KindText(CChangeList::Kind kind);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

private:
    QString Text(const CChangeList::Change& change, int column) const;
    // Orders m_rows by m_sortColumn; the list's own order when none was chosen.
    void SortRows();

    const CChangeList& m_changes;
    std::optional<CChangeList::Kind> m_filter;
    std::vector<int> m_rows;
    int m_sortColumn = -1;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};
