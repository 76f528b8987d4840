#include "search/CopiesModel.h"

#include "common/FormatSize.h"

CCopiesModel::CCopiesModel(bool grouped, QObject* parent)
    : QAbstractTableModel(parent), m_grouped(grouped)
{
}

void CCopiesModel::SetRows(std::vector<Row> rows)
{
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

int CCopiesModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int CCopiesModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : (m_grouped ? 4 : 3);
}

CCopiesModel::Field CCopiesModel::FieldAt(int column) const
{
    return static_cast<Field>(m_grouped ? column : column + 1);
}

QVariant CCopiesModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= static_cast<int>(m_rows.size()))
        return {};
    const Row& row = m_rows[static_cast<size_t>(index.row())];
    if (role == kUnitIdRole)
        return row.File.UnitID;
    const Field field = FieldAt(index.column());
    if (role == Qt::TextAlignmentRole && (field == Field::Size || field == Field::Group))
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (field) {
    case Field::Group:
        return row.Group;
    case Field::Name:
        return row.File.Name;
    case Field::Size:
        return FormatSize(row.File.Size);
    case Field::Location:
        return row.Location;
    }
    return {};
}

QVariant CCopiesModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (FieldAt(section)) {
    case Field::Group:
        return tr("Group");
    case Field::Name:
        return tr("Name");
    case Field::Size:
        return tr("Size");
    case Field::Location:
        return tr("Location");
    }
    return {};
}
