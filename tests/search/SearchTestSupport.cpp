#include "search/SearchTestSupport.h"

#include "TestCatalogue.h"

#include "search/ResultsCtrl.h"
#include "search/ResultsModel.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqlText.h"

#include <QPushButton>
#include <QTest>

void SearchDialog::SetUp()
{
    m_path = CopySampleCatalogue(m_dir.filePath("sample.db3"));
    ASSERT_TRUE(m_doc.OnOpenDocument(m_path));
    m_dlg = std::make_unique<CSearchDlg>(m_doc);
}

std::vector<int> SearchDialog::StoreIds(const SearchCriteria& criteria)
{
    std::vector<UnitListItem> rows;
    m_doc.Database().SearchUnits(criteria, rows);
    return Ids(rows);
}

std::vector<int> SearchDialog::Ids(const std::vector<UnitListItem>& rows)
{
    std::vector<int> ids;
    for (const UnitListItem& row : rows)
        ids.push_back(row.UnitID);
    return ids;
}

std::vector<int> SearchDialog::ResultIds() const
{
    return Ids(m_dlg->Results().Model().Rows());
}

void SearchDialog::ExpectSearch(const SearchCriteria& expected)
{
    EXPECT_EQ(CSqliteWrapper::BuildSearchQuery(m_dlg->GatherCriteria()),
              CSqliteWrapper::BuildSearchQuery(expected));
    QTest::mouseClick(&m_dlg->SearchButton(), Qt::LeftButton);
    EXPECT_EQ(ResultIds(), StoreIds(expected));
}

qint64 SearchDialog::UnitCount(CSqliteWrapper& db)
{
    std::vector<QString> rows;
    db.QueryRows(QStringLiteral("SELECT COUNT(*) FROM Units"), rows, &RowMappers::Texts);
    return rows.empty() ? -1 : rows.front().toLongLong();
}

int SearchDialog::RowOf(int unitId) const
{
    const auto& rows = m_dlg->Results().Model().Rows();
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].UnitID == unitId)
            return static_cast<int>(i);
    }
    return -1;
}

QString SearchDialog::Cell(int unitId, int column) const
{
    const CResultsModel& model = m_dlg->Results().Model();
    return model.data(model.index(RowOf(unitId), column), Qt::DisplayRole).toString();
}

int SearchDialog::AddFillerFiles(int count)
{
    CSqliteWrapper& db = m_doc.Database();
    db.Execute(SqlText::Format(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %d) "
        "INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, UnitSize) "
        "SELECT 'filler ' || i || '.txt', 'F', %d, %d, i FROM n ORDER BY i",
        {count, SampleIds::kLivingRoomShelf, SampleIds::kNightAtTheOperaFolder}));
    std::vector<QString> rows;
    db.QueryRows(QStringLiteral("SELECT MAX(UnitID) FROM Units"), rows, &RowMappers::Texts);
    return rows.front().toInt();
}
