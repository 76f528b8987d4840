#pragma once

#include "sqlitewrapper/Records.h"

#include <QAbstractTableModel>
#include <QIcon>
#include <QString>

#include <map>
#include <vector>

class CShelfwiseDoc;

/// The rows behind the search results: the found units in the order they are kept
/// (as the search returned them until a column is sorted), and where each lies. Texts
/// are made when a row is painted, so a search that finds many thousands of units costs
/// one vector and one map.
class CResultsModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Name = 0, Category, Size, Type, Location, ColumnCount };
    static constexpr int kUnitIdRole = Qt::UserRole;

    explicit CResultsModel(CShelfwiseDoc& doc, QObject* parent = nullptr);

    /// Replaces every row; locations maps a UnitID to its "Storage › Disc › Folder" text.
    void SetResults(std::vector<UnitListItem> rows, std::map<int, QString> locations);
    void Clear();
    const std::vector<UnitListItem>& Rows() const { return m_rows; }
    const UnitListItem* RowAt(int row) const;
    QString LocationOf(int unitId) const;

    /// Reorders the rows by a column, keeping the order of equal rows: names and
    /// locations without regard to case, categories and types by their numbers, sizes
    /// as 64-bit values. Selections follow their rows.
    void SortBy(int column, bool descending);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    // The name, with the picture's thumbnail below it where the catalogue keeps one
    // (rich text, read when the tooltip is asked for).
    QString NameTip(int unitId, UnitKind kind, int categoryId, const QString& name) const;
    QVariant KindIcon(UnitKind kind) const;

    CShelfwiseDoc& m_doc;
    std::vector<UnitListItem> m_rows;
    std::map<int, QString> m_locations;
    QIcon m_discIcon;
    QIcon m_folderIcon;
    QIcon m_fileIcon;
};
