#include "views/DetailsModel.h"

#include "common/FormatSize.h"
#include "common/Strings.h"
#include "common/UserPrompter.h"
#include "document/ShelfwiseDoc.h"
#include "media/Thumbnailer.h"
#include "settings/Settings.h"
#include "views/UnitDrag.h"
#include "views/UnitIcons.h"

#include <QImage>
#include <QPixmap>

#include <algorithm>

CDetailsModel::CDetailsModel(CShelfwiseDoc& doc, CUnitIcons& icons, QObject* parent)
    : QAbstractTableModel(parent), m_doc(doc), m_icons(icons)
{
}

void CDetailsModel::SetRows(std::vector<UnitListItem> rows, int parentId, bool parentIsStorage)
{
    beginResetModel();
    m_rows = std::move(rows);
    m_parentId = parentId;
    m_parentIsStorage = parentIsStorage;
    m_datesLoaded = false;
    m_dates.clear();
    m_thumbnailsLoaded = false;
    m_thumbnails.clear();
    m_thumbnailIcons.clear();
    endResetModel();
}

void CDetailsModel::SetShowThumbnails(bool show)
{
    if (show == m_showThumbnails)
        return;
    m_showThumbnails = show;
    if (!m_rows.empty())
        emit dataChanged(index(0, Name), index(static_cast<int>(m_rows.size()) - 1, Name),
                         {Qt::DecorationRole});
}

bool CDetailsModel::HasThumbnails() const
{
    LoadThumbnails();
    return !m_thumbnails.empty() || !m_thumbnailIcons.empty();
}

void CDetailsModel::LoadThumbnails() const
{
    if (m_thumbnailsLoaded)
        return;
    m_thumbnailsLoaded = true;
    const bool anyPicture = std::any_of(m_rows.begin(), m_rows.end(), [](const UnitListItem& unit) {
        return unit.Kind == UnitKind::File && unit.CategoryID == CategoryIds::Picture;
    });
    if (m_parentId != -1 && anyPicture)
        m_doc.Guard([&] {
            m_thumbnails = m_doc.Database().GetSubunitThumbnails(m_parentId, m_parentIsStorage);
        });
}

QIcon CDetailsModel::ThumbnailIcon(const UnitListItem& unit) const
{
    if (unit.Kind != UnitKind::File)
        return {};
    const auto decoded = m_thumbnailIcons.find(unit.UnitID);
    if (decoded != m_thumbnailIcons.end())
        return decoded->second;
    LoadThumbnails();
    const auto stored = m_thumbnails.find(unit.UnitID);
    if (stored == m_thumbnails.end())
        return {};
    // A thumbnail that does not decode leaves the file's own icon.
    const QImage image = Thumbnailer::Decode(stored->second);
    m_thumbnails.erase(stored); // the bytes are not needed again
    QIcon icon = image.isNull() ? QIcon() : QIcon(QPixmap::fromImage(image));
    m_thumbnailIcons.emplace(unit.UnitID, icon);
    return icon;
}

const QString& CDetailsModel::ModifiedDate(int unitId) const
{
    if (!m_datesLoaded) {
        m_datesLoaded = true;
        if (m_parentId != -1)
            m_doc.Guard(
                [&] { m_doc.Database().GetSubunitDates(m_dates, m_parentId, m_parentIsStorage); });
    }
    static const QString none;
    const auto found = m_dates.find(unitId);
    return found == m_dates.end() ? none : found->second;
}

void CDetailsModel::RemoveRow(int row)
{
    if (row < 0 || row >= static_cast<int>(m_rows.size()))
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_rows.erase(m_rows.begin() + row);
    endRemoveRows();
}

int CDetailsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int CDetailsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant CDetailsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= static_cast<int>(m_rows.size()))
        return QVariant();
    const UnitListItem& unit = m_rows[static_cast<size_t>(index.row())];
    const FileIconsStyle style = Settings::Instance().FileIconsStyle;
    switch (role) {
    case kUnitIdRole:
        return unit.UnitID;
    case kIconIndexRole:
        return static_cast<int>(CUnitIcons::BaseIndex(unit, style));
    case kKindRole:
        return static_cast<int>(unit.Kind);
    case Qt::DecorationRole:
        if (index.column() != Name)
            return QVariant();
        if (m_showThumbnails) {
            const QIcon thumbnail = ThumbnailIcon(unit);
            if (!thumbnail.isNull())
                return thumbnail;
        }
        return m_icons.Icon(unit, style);
    case Qt::TextAlignmentRole:
        return index.column() == Size ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
    case Qt::EditRole: // a rename in place starts from the name
        return index.column() == Name ? QVariant(unit.UnitName) : QVariant();
    case Qt::DisplayRole:
    case kSortRole:
        break;
    default:
        return QVariant();
    }
    const bool sorting = role == kSortRole;
    switch (index.column()) {
    case Name:
        return sorting ? QVariant(unit.UnitName.toLower()) : QVariant(unit.UnitName);
    case Size:
        return sorting ? QVariant(unit.UnitSize) : QVariant(FormatSize(unit.UnitSize));
    case Category:
        return m_doc.Database().GetCategory(unit.CategoryID).Name;
    case Modified:
        return ModifiedDate(unit.UnitID); // "YYYY-MM-DD hh:mm:ss" sorts as text
    case Type:
        return UnitKindText(unit.Kind);
    default:
        return QVariant();
    }
}

QVariant CDetailsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return QVariant();
    // A header clicked for the first time sorts from the smallest: names A to Z, sizes
    // smallest first, dates oldest first, whatever order the last column had.
    if (role == Qt::InitialSortOrderRole)
        return Qt::AscendingOrder;
    if (role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case Name:
        return Strings::LoadString(Strings::IDS_COLUMN_NAME);
    case Size:
        return Strings::LoadString(Strings::IDS_COLUMN_SIZE);
    case Category:
        return Strings::LoadString(Strings::IDS_COLUMN_CATEGORY);
    case Modified:
        return Strings::LoadString(Strings::IDS_COLUMN_MODIFIED);
    case Type:
        return Strings::LoadString(Strings::IDS_COLUMN_TYPE);
    default:
        return QVariant();
    }
}

Qt::ItemFlags CDetailsModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags result = QAbstractTableModel::flags(index);
    if (index.isValid() && index.column() == Name)
        result |= Qt::ItemIsEditable;
    if (index.isValid() && m_parentIsStorage)
        result |= Qt::ItemIsDragEnabled;
    return result;
}

QStringList CDetailsModel::mimeTypes() const
{
    return {UnitDrag::MimeType()};
}

QMimeData* CDetailsModel::mimeData(const QModelIndexList& indexes) const
{
    for (const QModelIndex& index : indexes) {
        if (index.isValid() && m_parentIsStorage)
            return UnitDrag::MakeMimeData(data(index, kUnitIdRole).toInt());
    }
    return nullptr;
}

bool CDetailsModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::EditRole || !index.isValid() || index.column() != Name)
        return false;
    UnitListItem& unit = m_rows.at(static_cast<size_t>(index.row()));
    const QString name = value.toString().trimmed();
    if (name.isEmpty()) {
        UserPrompter::Current().ShowMessage(Strings::IDS_UNIT_NAME_EMPTY,
                                            UserPrompter::Icon::Warning);
        return false;
    }
    if (!m_doc.RenameUnit(unit.UnitID, name, this))
        return false;
    unit.UnitName = name;
    emit dataChanged(index, index);
    return true;
}
