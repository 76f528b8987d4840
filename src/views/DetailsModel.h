#pragma once

#include "sqlitewrapper/Records.h"
#include "sqlitewrapper/ThumbnailRecord.h"

#include <QAbstractTableModel>
#include <QIcon>

#include <map>
#include <vector>

class CShelfwiseDoc;
class CUnitIcons;

// The rows behind the list: the children of the selected tree item, in the catalogue's
// order. Nothing is copied per row into the view; text and icon are made when a row is
// painted, so a folder of many thousands of files costs one vector. The columns beyond
// the name serve the Details mode.
class CDetailsModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Name = 0, Size, Category, Modified, Type, ColumnCount };
    static constexpr int kUnitIdRole = Qt::UserRole;
    static constexpr int kSortRole = Qt::UserRole + 1;
    static constexpr int kIconIndexRole = Qt::UserRole + 2;
    static constexpr int kKindRole = Qt::UserRole + 3; // UnitKind as an int
    // The side of the icons in Icons mode when the listing has pictures' thumbnails.
    static constexpr int kThumbnailIconSide = 96;

    CDetailsModel(CShelfwiseDoc& doc, CUnitIcons& icons, QObject* parent = nullptr);

    // Replaces every row with the children of a storage (parentIsStorage) or a unit.
    void SetRows(std::vector<UnitListItem> rows, int parentId, bool parentIsStorage);
    const std::vector<UnitListItem>& Rows() const { return m_rows; }
    // Whether the pictures show their thumbnails instead of their icons (Icons mode).
    // The thumbnails of a listing are read in one query, the first time they are asked
    // for, and each is decoded when its row is first painted.
    void SetShowThumbnails(bool show);
    bool HasThumbnails() const;
    void RemoveRow(int row);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // Names can be edited in place; a new name is checked and written to the catalogue.
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    // The rows of a storage are its top-level units, which a drag moves to another
    // storage; nothing else is dragged.
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::MoveAction; }

private:
    // The modification dates are read for the whole listing the first time the
    // Details mode paints one, and never for the other modes.
    const QString& ModifiedDate(int unitId) const;
    void LoadThumbnails() const;
    // The picture's thumbnail as an icon; a null icon when it has none.
    QIcon ThumbnailIcon(const UnitListItem& unit) const;

    CShelfwiseDoc& m_doc;
    CUnitIcons& m_icons;
    std::vector<UnitListItem> m_rows;
    int m_parentId = -1;
    bool m_parentIsStorage = false;
    mutable bool m_datesLoaded = false;
    mutable std::map<int, QString> m_dates;
    bool m_showThumbnails = false;
    mutable bool m_thumbnailsLoaded = false;
    mutable std::map<int, ThumbnailRecord> m_thumbnails; // by UnitID, not yet decoded
    mutable std::map<int, QIcon> m_thumbnailIcons;       // by UnitID, decoded
};
