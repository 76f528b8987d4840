#include "acquisition/ChangeReportModel.h"

#include "common/FormatSize.h"

#include <algorithm>

namespace {

using Kind = CChangeList::Kind;

// Which sizes a row has: a folder none, an addition no catalogued one, a removal no
// new one.
bool HasOldSize(const CChangeList::Change& change)
{
    return !change.IsFolder && change.What != Kind::Added;
}

bool HasNewSize(const CChangeList::Change& change)
{
    return !change.IsFolder && change.What != Kind::Removed;
}

// -1, 0 or 1 as the two entries stand in column.
int Compare(const CChangeList::Change& a, const CChangeList::Change& b, int column)
{
    const auto three = [](auto x, auto y) { return x < y ? -1 : (y < x ? 1 : 0); };
    switch (column) {
    case CChangeReportModel::Change:
        return three(static_cast<int>(a.What), static_cast<int>(b.What));
    case CChangeReportModel::Size:
        return three(HasOldSize(a) ? a.OldSize : -1, HasOldSize(b) ? b.OldSize : -1);
    case CChangeReportModel::NewSize:
        return three(HasNewSize(a) ? a.NewSize : -1, HasNewSize(b) ? b.NewSize : -1);
    case CChangeReportModel::Modified:
        return a.OldDate.compare(b.OldDate);
    case CChangeReportModel::NewModified:
        return a.NewDate.compare(b.NewDate);
    case CChangeReportModel::MovedFrom:
        return a.OldPath.compare(b.OldPath, Qt::CaseInsensitive);
    default:
        return a.Path.compare(b.Path, Qt::CaseInsensitive);
    }
}

} // namespace

CChangeReportModel::CChangeReportModel(const CChangeList& changes, QObject* parent)
    : QAbstractTableModel(parent), m_changes(changes)
{
    SetFilter(std::nullopt);
}

void CChangeReportModel::SetFilter(std::optional<CChangeList::Kind> kind)
{
    beginResetModel();
    m_filter = kind;
    m_rows.clear();
    const std::vector<CChangeList::Change>& entries = m_changes.Entries();
    for (size_t i = 0; i < entries.size(); ++i) {
        const Kind what = entries[i].What;
        if (what != Kind::Unchanged && (!kind || what == *kind))
            m_rows.push_back(static_cast<int>(i));
    }
    SortRows();
    endResetModel();
}

const CChangeList::Change& CChangeReportModel::EntryAt(int row) const
{
    return m_changes.Entries()[static_cast<size_t>(m_rows[static_cast<size_t>(row)])];
}

QString CChangeReportModel::KindText(CChangeList::Kind kind)
{
    switch (kind) {
    case Kind::Added:
        return tr("Added");
    case Kind::Removed:
        return tr("Removed");
    case Kind::Changed:
        return tr("Changed");
    case Kind::Moved:
        return tr("Moved");
    case Kind::Unchanged:
        return tr("Unchanged");
    case Kind::Unreadable:
        return tr("Unreadable");
    }
    return QString();
}

int CChangeReportModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int CChangeReportModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString CChangeReportModel::Text(const CChangeList::Change& change, int column) const
{
    switch (column) {
    case Change:
        return KindText(change.What);
    case Path:
        return change.IsFolder ? change.Path + QLatin1Char('/') : change.Path;
    case Size:
        return HasOldSize(change) ? FormatSize(change.OldSize) : QString();
    case NewSize:
        return HasNewSize(change) ? FormatSize(change.NewSize) : QString();
    case Modified:
        return change.OldDate;
    case NewModified:
        return change.NewDate;
    case MovedFrom:
        return change.OldPath;
    default:
        return QString();
    }
}

QVariant CChangeReportModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return QVariant();
    if (role == Qt::DisplayRole)
        return Text(EntryAt(index.row()), index.column());
    if (role == Qt::TextAlignmentRole && (index.column() == Size || index.column() == NewSize))
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    return QVariant();
}

QVariant CChangeReportModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case Change:
        return tr("Change");
    case Path:
        return tr("Path");
    case Size:
        return tr("Size");
    case NewSize:
        return tr("New size");
    case Modified:
        return tr("Modified");
    case NewModified:
        return tr("New modified");
    case MovedFrom:
        return tr("Moved from");
    default:
        return QVariant();
    }
}

void CChangeReportModel::sort(int column, Qt::SortOrder order)
{
    // A reset rather than a layout change: no selection is kept on a row that now holds
    // another entry.
    beginResetModel();
    m_sortColumn = column;
    m_sortOrder = order;
    SortRows();
    endResetModel();
}

void CChangeReportModel::SortRows()
{
    if (m_sortColumn < 0)
        return;
    const std::vector<CChangeList::Change>& entries = m_changes.Entries();
    const int column = m_sortColumn;
    const bool descending = m_sortOrder == Qt::DescendingOrder;
    // Ties keep the list's order, by path within a kind.
    std::stable_sort(m_rows.begin(), m_rows.end(), [&](int a, int b) {
        const CChangeList::Change& x = entries[static_cast<size_t>(a)];
        const CChangeList::Change& y = entries[static_cast<size_t>(b)];
        int order = Compare(x, y, column);
        if (order == 0 && column != Path)
            order = Compare(x, y, Path);
        return descending ? order > 0 : order < 0;
    });
}
