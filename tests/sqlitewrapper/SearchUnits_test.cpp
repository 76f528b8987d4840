#include "TestCatalogue.h"

#include <gtest/gtest.h>

#include <algorithm>

TEST(SearchUnits, QueryTextForRepresentativeCriteria)
{
    SearchCriteria c;
    EXPECT_EQ(CSqliteWrapper::BuildSearchQuery(c),
              QStringLiteral("SELECT UnitID, UnitName, SubfoldersNumber, UnitSize,        "
                             "CategoryID, UnitType FROM Units WHERE UnitName LIKE '%%' "));

    c.CategoryID = CategoryIds::Music;
    c.Artist = QStringLiteral("Praigut");
    EXPECT_EQ(CSqliteWrapper::BuildSearchQuery(c),
              QStringLiteral("SELECT UnitID, UnitName, SubfoldersNumber, UnitSize,        "
                             "CategoryID, UnitType FROM Units INNER JOIN MusicInfo ON UnitInfoID "
                             "= MusicInfoID WHERE UnitName LIKE '%%'  AND CategoryID = 3 AND "
                             "Artist LIKE '%Praigut%'"));

    SearchCriteria all;
    all.Text = QStringLiteral("holiday");
    all.SearchNotes = true;
    all.UseSize = true;
    all.SizeOperator = '>';
    all.Size = 5LL * 1024 * 1024 * 1024;
    all.StorageID = 3;
    all.UseDate = true;
    all.DateField = SearchCriteria::DateModified;
    all.DateFrom = QDateTime(QDate(2010, 1, 1), QTime(0, 0, 0));
    all.DateTo = QDateTime(QDate(2011, 12, 31), QTime(23, 59, 59));
    all.CategoryID = CategoryIds::Picture;
    all.UseWidth = true;
    all.WidthOperator = '<';
    all.Width = 800;
    all.UseHeight = true;
    all.HeightOperator = '=';
    all.Height = 600;
    all.Title = QStringLiteral("t");
    all.Album = QStringLiteral("al");
    all.Year = 2011;
    all.Genre = QStringLiteral("g");
    EXPECT_EQ(CSqliteWrapper::BuildSearchQuery(all),
              QStringLiteral(
                  "SELECT UnitID, UnitName, SubfoldersNumber, UnitSize,        CategoryID, "
                  "UnitType FROM Units INNER JOIN PictureInfo ON UnitInfoID = PictureInfoID "
                  "WHERE (UnitName LIKE '%holiday%' OR UnitNotes LIKE '%holiday%')  AND "
                  "UnitSize > 5368709120 AND StorageID = 3 AND DateModified BETWEEN "
                  "'2010-01-01 00:00:00' AND '2011-12-31 23:59:59' AND CategoryID = 4 AND "
                  "Width < 800 AND Height = 600 AND Title LIKE '%t%' AND Album LIKE '%al%' AND "
                  "Year = 2011 AND Genre LIKE '%g%'"));
}

TEST(SearchUnits, RunsAgainstACatalogue)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Shelf"), QString());
    const int box = db.AddStorage(QStringLiteral("Box"), QString());
    MusicInfo m;
    m.Artist = QStringLiteral("Praigut");
    m.Duration = 300;
    cat.AddFile(shelf, 0, QStringLiteral("Praigut - Song.mp3"), 4000, CategoryIds::Music,
                db.AddMusicInfo(m));
    cat.AddFile(box, 0, QStringLiteral("100%_done.txt"), 10);
    const int noted = cat.AddFile(box, 0, QStringLiteral("plain.txt"), 20);
    db.SetUnitNotes(noted, QStringLiteral("holiday SONG list"));

    std::vector<UnitListItem> found;
    db.SearchUnits(SearchCriteria(), found);
    EXPECT_EQ(found.size(), 3u);

    SearchCriteria c;
    c.Text = QStringLiteral("song");
    db.SearchUnits(c, found);
    EXPECT_EQ(found.size(), 1u);
    c.SearchNotes = true;
    db.SearchUnits(c, found);
    EXPECT_EQ(found.size(), 2u);

    // '_' is a wildcard: "0_d" matches "0%_d" only by accident of the wildcard.
    c = SearchCriteria();
    c.Text = QStringLiteral("%_d");
    db.SearchUnits(c, found);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].UnitName, QStringLiteral("100%_done.txt"));

    c = SearchCriteria();
    c.StorageID = box;
    c.UseSize = true;
    c.SizeOperator = '<';
    c.Size = 15;
    db.SearchUnits(c, found);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].UnitSize, 10);

    c = SearchCriteria();
    c.CategoryID = CategoryIds::Music;
    c.UseDuration = true;
    c.DurationOperator = '>';
    c.Duration = 200;
    c.Artist = QStringLiteral("praig");
    db.SearchUnits(c, found);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].Kind, UnitKind::File);

    c = SearchCriteria();
    c.UseDate = true;
    c.DateField = SearchCriteria::DateCreated;
    c.DateFrom = QDateTime(QDate(2012, 3, 7), QTime(0, 0));
    c.DateTo = QDateTime(QDate(2012, 3, 7), QTime(23, 59, 59));
    db.SearchUnits(c, found);
    EXPECT_EQ(found.size(), 3u);

    // Quotes are text, in the name and in every tag; '*' and '?' are wildcards too.
    cat.AddFile(box, 0, QStringLiteral("Anna's it's.txt"), 30);
    const auto names = [&](const SearchCriteria& criteria) {
        db.SearchUnits(criteria, found);
        std::vector<QString> result;
        for (const UnitListItem& item : found)
            result.push_back(item.UnitName);
        std::sort(result.begin(), result.end());
        return result;
    };
    const std::vector<QString> anna{QStringLiteral("Anna's it's.txt")};
    for (const char* typed : {"anna's", "it's", "'s it'", "a*'s", "ANNA?S", "n_a's%t"}) {
        c = SearchCriteria();
        c.Text = QString::fromUtf8(typed);
        EXPECT_EQ(names(c), anna) << typed;
    }
    c.Text = QStringLiteral("Tom's");
    EXPECT_TRUE(names(c).empty());
    c.Text = QStringLiteral("*.txt");
    EXPECT_EQ(names(c).size(), 3u);
    c = SearchCriteria();
    c.CategoryID = CategoryIds::Music;
    c.Artist = QStringLiteral("P'raigut");
    EXPECT_TRUE(names(c).empty());
    c.Artist = QStringLiteral("pr?igu*");
    EXPECT_EQ(names(c).size(), 1u);

    // Media columns need their join.
    c = SearchCriteria();
    c.UseWidth = true;
    try {
        db.SearchUnits(c, found);
        FAIL() << "a width test without a media join must fail";
    } catch (const CSqliteWrapperError& e) {
        EXPECT_STREQ(e.what(), "no such column: Width");
    }
}
