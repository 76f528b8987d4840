#include "search/ResultsModel.h"

#include "common/FormatSize.h"
#include "common/Strings.h"
#include "document/ShelfwiseDoc.h"
#include "media/Thumbnailer.h"

#include <algorithm>
#include <functional>

CResultsModel::CResultsModel(CShelfwiseDoc& doc, QObject* parent)
    : QAbstractTableModel(parent), m_doc(doc),
      m_discIcon(QIcon::fromTheme(QStringLiteral("media-optical"))),
      m_folderIcon(QIcon::fromTheme(QStringLiteral("folder"))),
      m_fileIcon(QIcon::fromTheme(QStringLiteral("text-x-generic")))
{
}

void CResultsModel::SetResults(std::vector<UnitListItem> rows, std::map<int, QString> locations)
{
    beginResetModel();
    m_rows = std::move(rows);
    m_locations = std::move(locations);
    endResetModel();
}

void CResultsModel::Clear()
{
    SetResults({}, {});
}

const UnitListItem* CResultsModel::RowAt(int row) const
{
    if (row < 0 || row >= static_cast<int>(m_rows.size()))
        return nullptr;
    return &m_rows[static_cast<size_t>(row)];
}

QString CResultsModel::LocationOf(int unitId) const
{
    const auto found = m_locations.find(unitId);
    return found == m_locations.end() ? QString() : found->second;
}

void CResultsModel::SortBy(int column, bool descending)
{
    using Less = std::function<bool(const UnitListItem&, const UnitListItem&)>;
    Less less;
    switch (column) {
    case Name:
        less = [](const UnitListItem& x, const UnitListItem& y) {
            return x.UnitName.compare(y.UnitName, Qt::CaseInsensitive) < 0;
        };
        break;
    case Category:
        less = [](const UnitListItem& x, const UnitListItem& y) {
            return x.CategoryID < y.CategoryID;
        };
        break;
    case Size:
        less = [](const UnitListItem& x, const UnitListItem& y) { return x.UnitSize < y.UnitSize; };
        break;
    case Type:
        less = [](const UnitListItem& x, const UnitListItem& y) { return x.Kind < y.Kind; };
        break;
    case Location:
        less = [this](const UnitListItem& x, const UnitListItem& y) {
            return LocationOf(x.UnitID).compare(LocationOf(y.UnitID), Qt::CaseInsensitive) < 0;
        };
        break;
    default:
        return;
    }

    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    // Persistent indexes (the selection, the current row) are moved to where their
    // unit ends up.
    const QModelIndexList before = persistentIndexList();
    std::vector<int> unitIds;
    unitIds.reserve(static_cast<size_t>(before.size()));
    for (const QModelIndex& index : before)
        unitIds.push_back(RowAt(index.row()) ? RowAt(index.row())->UnitID : 0);

    if (descending)
        std::stable_sort(m_rows.begin(), m_rows.end(),
                         [&](const UnitListItem& x, const UnitListItem& y) { return less(y, x); });
    else
        std::stable_sort(m_rows.begin(), m_rows.end(), less);

    std::map<int, int> rowOfUnit;
    for (size_t row = 0; row < m_rows.size(); ++row)
        rowOfUnit.emplace(m_rows[row].UnitID, static_cast<int>(row));
    QModelIndexList after;
    after.reserve(before.size());
    for (int i = 0; i < before.size(); ++i) {
        const auto found = rowOfUnit.find(unitIds[static_cast<size_t>(i)]);
        after << (found == rowOfUnit.end() ? QModelIndex()
                                           : index(found->second, before[i].column()));
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

int CResultsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int CResultsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant CResultsModel::data(const QModelIndex& index, int role) const
{
    const UnitListItem* unit = index.isValid() ? RowAt(index.row()) : nullptr;
    if (!unit)
        return QVariant();
    switch (role) {
    case kUnitIdRole:
        return unit->UnitID;
    case Qt::DecorationRole:
        return index.column() == Name ? KindIcon(unit->Kind) : QVariant();
    case Qt::TextAlignmentRole:
        return index.column() == Size ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
    case Qt::ToolTipRole:
        // The full text of the two columns most often too narrow for it.
        if (index.column() == Name)
            return NameTip(unit->UnitID, unit->Kind, unit->CategoryID, unit->UnitName);
        return index.column() == Location ? QVariant(LocationOf(unit->UnitID)) : QVariant();
    case Qt::DisplayRole:
        break;
    default:
        return QVariant();
    }
    switch (index.column()) {
    case Name:
        return unit->UnitName;
    case Category:
        return m_doc.Database().GetCategory(unit->CategoryID).Name;
    case Size:
        return FormatSize(unit->UnitSize);
    case Type:
        return UnitKindText(unit->Kind);
    case Location:
        return LocationOf(unit->UnitID);
    default:
        return QVariant();
    }
}

QVariant CResultsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case Name:
        return Strings::LoadString(Strings::IDS_COLUMN_NAME);
    case Category:
        return Strings::LoadString(Strings::IDS_COLUMN_CATEGORY);
    case Size:
        return Strings::LoadString(Strings::IDS_COLUMN_SIZE);
    case Type:
        return Strings::LoadString(Strings::IDS_COLUMN_TYPE);
    case Location:
        return tr("Location");
    default:
        return QVariant();
    }
}

QVariant CResultsModel::KindIcon(UnitKind kind) const
{
    // A folder inside an archive looks like any folder.
    const bool folder = kind == UnitKind::Folder || kind == UnitKind::ArchiveFolder;
    const QIcon& icon = kind == UnitKind::Disc ? m_discIcon : folder ? m_folderIcon : m_fileIcon;
    return icon.isNull() ? QVariant() : QVariant(icon);
}

QString CResultsModel::NameTip(int unitId, UnitKind kind, int categoryId, const QString& name) const
{
    if (kind != UnitKind::File || categoryId != CategoryIds::Picture)
        return name;
    ThumbnailRecord thumbnail;
    m_doc.Guard([&] { m_doc.Database().GetThumbnail(unitId, thumbnail); });
    return Thumbnailer::TooltipHtml(name, thumbnail);
}
