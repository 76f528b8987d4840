#pragma once

#include "sqlitewrapper/FileCopyRecords.h"

#include <QAbstractTableModel>
#include <QString>

#include <vector>

/// The rows of a search for copies: every copy of every group, the groups numbered
/// from 1 in the order given, or the files of a disc kept nowhere else (no group
/// column then), each with where it lies.
class CCopiesModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    static constexpr int kUnitIdRole = Qt::UserRole;

    struct Row
    {
        int Group = 0; // from 1; 0 for a file kept nowhere else
        CatalogueFile File;
        QString Location;
    };

    explicit CCopiesModel(bool grouped, QObject* parent = nullptr);

    void SetRows(std::vector<Row> rows);
    const std::vector<Row>& Rows() const { return m_rows; }
    bool Grouped() const { return m_grouped; }
    // The column of the name, after the group's when there is one.
    int NameColumn() const { return m_grouped ? 1 : 0; }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    enum class Field { Group, Name, Size, Location };
    Field FieldAt(int column) const;

    bool m_grouped;
    std::vector<Row> m_rows;
};
