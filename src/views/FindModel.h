#pragma once

#include "sqlitewrapper/FoundUnit.h"

#include <QAbstractTableModel>
#include <QStringList>

#include <vector>

class CShelfwiseDoc;
class CUnitIcons;

/// The units whose names hold the typed words, best first as the catalogue ranks them.
/// A page of rows is read at once and the next when the view reaches the end
/// (fetchMore), so a word common to a million names costs one page.
class CFindModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Name = 0, Location, Size, Type, Category, ColumnCount };
    static constexpr int kPageSize = 200;
    static constexpr int kUnitIdRole = Qt::UserRole;

    CFindModel(CShelfwiseDoc& doc, CUnitIcons& icons, QObject* parent = nullptr);

    /// Finds the words' units again: the first page and the count of all of them.
    void SetWords(const QStringList& words);
    void Clear();
    const QStringList& Words() const { return m_words; }
    /// The count of every unit found, read rows or not.
    qint64 TotalCount() const { return m_total; }
    /// The UnitID of a row; 0 for none.
    int UnitIdAt(int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

private:
    // The name, with the picture's thumbnail below it where the catalogue keeps one
    // (rich text, read when the tooltip is asked for).
    QString NameTip(int unitId, UnitKind kind, int categoryId, const QString& name) const;
    // The next page after the rows read; fewer rows than a page means there is no more.
    std::vector<FoundUnit> ReadPage();

    CShelfwiseDoc& m_doc;
    CUnitIcons& m_icons;
    QStringList m_words;
    std::vector<FoundUnit> m_rows;
    qint64 m_total = 0;
    bool m_complete = true;
};
