#include "views/FindModel.h"

#include "common/FormatSize.h"
#include "common/Strings.h"
#include "document/ShelfwiseDoc.h"
#include "media/Thumbnailer.h"
#include "settings/Settings.h"
#include "views/UnitIcons.h"

CFindModel::CFindModel(CShelfwiseDoc& doc, CUnitIcons& icons, QObject* parent)
    : QAbstractTableModel(parent), m_doc(doc), m_icons(icons)
{
}

void CFindModel::SetWords(const QStringList& words)
{
    beginResetModel();
    m_words = words;
    m_rows.clear();
    m_total = 0;
    m_complete = words.isEmpty();
    if (!m_complete) {
        m_rows = ReadPage();
        if (!m_doc.Guard([&] { m_total = m_doc.Database().CountByName(m_words); }))
            m_total = static_cast<qint64>(m_rows.size());
    }
    endResetModel();
}

void CFindModel::Clear()
{
    SetWords({});
}

std::vector<FoundUnit> CFindModel::ReadPage()
{
    std::vector<FoundUnit> page;
    const bool read = m_doc.Guard([&] {
        page = m_doc.Database().FindByName(m_words, kPageSize, static_cast<int>(m_rows.size()));
    });
    m_complete = !read || static_cast<int>(page.size()) < kPageSize;
    return page;
}

bool CFindModel::canFetchMore(const QModelIndex& parent) const
{
    return !parent.isValid() && !m_complete;
}

void CFindModel::fetchMore(const QModelIndex& parent)
{
    if (!canFetchMore(parent))
        return;
    std::vector<FoundUnit> page = ReadPage();
    if (page.empty())
        return;
    const int first = static_cast<int>(m_rows.size());
    beginInsertRows(QModelIndex(), first, first + static_cast<int>(page.size()) - 1);
    m_rows.insert(m_rows.end(), std::make_move_iterator(page.begin()),
                  std::make_move_iterator(page.end()));
    endInsertRows();
}

int CFindModel::UnitIdAt(int row) const
{
    if (row < 0 || row >= static_cast<int>(m_rows.size()))
        return 0;
    return m_rows[static_cast<size_t>(row)].UnitID;
}

int CFindModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int CFindModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant CFindModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= static_cast<int>(m_rows.size()))
        return QVariant();
    const FoundUnit& unit = m_rows[static_cast<size_t>(index.row())];
    switch (role) {
    case kUnitIdRole:
        return unit.UnitID;
    case Qt::DecorationRole: {
        if (index.column() != Name)
            return QVariant();
        // The icon rule reads only the kind, the category and the name.
        UnitListItem item;
        item.UnitID = unit.UnitID;
        item.UnitName = unit.UnitName;
        item.Kind = unit.Kind;
        item.CategoryID = unit.CategoryID;
        return m_icons.Icon(item, Settings::Instance().FileIconsStyle);
    }
    case Qt::TextAlignmentRole:
        return index.column() == Size ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
    case Qt::ToolTipRole:
        if (index.column() == Name)
            return NameTip(unit.UnitID, unit.Kind, unit.CategoryID, unit.UnitName);
        return index.column() == Location ? QVariant(unit.Location) : QVariant();
    case Qt::DisplayRole:
        break;
    default:
        return QVariant();
    }
    switch (index.column()) {
    case Name:
        return unit.UnitName;
    case Location:
        return unit.Location;
    case Size:
        return FormatSize(unit.UnitSize);
    case Type:
        return UnitKindText(unit.Kind);
    case Category:
        return unit.Kind == UnitKind::File || unit.Kind == UnitKind::ArchiveFile
                   ? m_doc.Database().GetCategory(unit.CategoryID).Name
                   : QString();
    default:
        return QVariant();
    }
}

QVariant CFindModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case Name:
        return Strings::LoadString(Strings::IDS_COLUMN_NAME);
    case Location:
        return tr("Location");
    case Size:
        return Strings::LoadString(Strings::IDS_COLUMN_SIZE);
    case Type:
        return Strings::LoadString(Strings::IDS_COLUMN_TYPE);
    case Category:
        return Strings::LoadString(Strings::IDS_COLUMN_CATEGORY);
    default:
        return QVariant();
    }
}

QString CFindModel::NameTip(int unitId, UnitKind kind, int categoryId, const QString& name) const
{
    if (kind != UnitKind::File || categoryId != CategoryIds::Picture)
        return name;
    ThumbnailRecord thumbnail;
    m_doc.Guard([&] { m_doc.Database().GetThumbnail(unitId, thumbnail); });
    return Thumbnailer::TooltipHtml(name, thumbnail);
}
