#pragma once

#include <QSortFilterProxyModel>

// The Details mode's order: discs and folders before files whatever the column and the
// direction, as a file manager lists them; within each group the clicked column decides.
// Until a header is clicked the rows keep the catalogue's order.
class CDetailsSortModel final : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit CDetailsSortModel(QObject* parent = nullptr);

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;
};
