#include "views/DetailsSortModel.h"

#include "sqlitewrapper/Records.h"
#include "views/DetailsModel.h"

namespace {

bool IsFile(const QModelIndex& index)
{
    return index.data(CDetailsModel::kKindRole).toInt() == static_cast<int>(UnitKind::File);
}

} // namespace

CDetailsSortModel::CDetailsSortModel(QObject* parent) : QSortFilterProxyModel(parent)
{
    setSortRole(CDetailsModel::kSortRole);
}

bool CDetailsSortModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    const bool leftIsFile = IsFile(left);
    const bool rightIsFile = IsFile(right);
    if (leftIsFile != rightIsFile) {
        // A descending sort puts the rows in the reverse of this order, so the answer is
        // turned round there to keep the containers first.
        return sortOrder() == Qt::AscendingOrder ? rightIsFile : leftIsFile;
    }
    return QSortFilterProxyModel::lessThan(left, right);
}
