#pragma once

#include "FakePrompter.h"

#include "document/ShelfwiseDoc.h"
#include "search/SearchDlg.h"
#include "sqlitewrapper/SearchCriteria.h"

#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

// Sample catalogue ids.
namespace SampleIds {
constexpr int kLivingRoomShelf = 1;
constexpr int kCar = 3;
constexpr int kHolidayFilmsDisc = 1;
constexpr int kQueenFolder = 41;
constexpr int kNightAtTheOperaFolder = 42;
constexpr int kMusicCollectionDisc = 40;
constexpr int kBohemianRhapsody = 45;
constexpr int kSummerPhoto = 83;
constexpr int kRoadTripDisc = 120;
constexpr int kRoadAtlas = 130; // a file lying directly in its storage
} // namespace SampleIds

// A search dialog over a copy of the sample catalogue, opened in a document, with the
// messages it shows recorded.
class SearchDialog : public ::testing::Test
{
protected:
    void SetUp() override;

    template <typename T> T* Child(const char* name) const
    {
        T* child = m_dlg->findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(child, nullptr) << name;
        return child;
    }

    // What the store finds for criteria, by UnitID, in the order it returns them.
    std::vector<int> StoreIds(const SearchCriteria& criteria);
    static std::vector<int> Ids(const std::vector<UnitListItem>& rows);
    std::vector<int> ResultIds() const;
    // Searches with the dialog and checks it asked the store exactly for expected.
    void ExpectSearch(const SearchCriteria& expected);
    static qint64 UnitCount(CSqliteWrapper& db);
    // The row of a unit in the results, -1 when it is not there.
    int RowOf(int unitId) const;
    QString Cell(int unitId, int column) const;
    // Adds count files named "filler 1.txt", "filler 2.txt"... to the folder "A Night at
    // the Opera"; returns the id of the last.
    int AddFillerFiles(int count);

    QTemporaryDir m_dir;
    QString m_path;
    FakePrompter m_prompter;
    CShelfwiseDoc m_doc{true};
    std::unique_ptr<CSearchDlg> m_dlg;
};
