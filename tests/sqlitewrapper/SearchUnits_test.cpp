#include "TestCatalogue.h"
#include "sqlitewrapper/RowMappers.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// The names a search finds, sorted.
std::vector<QString> Names(CSqliteWrapper& db, const SearchCriteria& criteria)
{
    std::vector<UnitListItem> found;
    db.SearchUnits(criteria, found);
    std::vector<QString> names;
    for (const UnitListItem& item : found)
        names.push_back(item.UnitName);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TEST(SearchUnits, MediaDetailsSizesAndDatesNarrowTheSearchTogether)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Shelf"), QString());
    const auto song = [&](const char* name, const char* title, const char* album, int year,
                          const char* genre) {
        MusicInfo m;
        m.Title = QString::fromUtf8(title);
        m.Album = QString::fromUtf8(album);
        m.Year = year;
        m.Genre = QString::fromUtf8(genre);
        cat.AddFile(shelf, 0, QString::fromUtf8(name), 5000, CategoryIds::Music,
                    db.AddMusicInfo(m));
    };
    song("rhapsody.mp3", "Bohemian Rhapsody", "A Night at the Opera", 1975, "Rock");
    song("love.mp3", "Love of My Life", "A Night at the Opera", 1975, "Ballad");
    song("flash.mp3", "Flash", "Flash Gordon", 1980, "Rock");
    const auto picture = [&](const char* name, int width, int height) {
        PictureInfo p;
        p.Width = width;
        p.Height = height;
        cat.AddFile(shelf, 0, QString::fromUtf8(name), 100, CategoryIds::Picture,
                    db.AddPictureInfo(p));
    };
    picture("beach.jpg", 800, 600);
    picture("poster.jpg", 4000, 3000);
    FilmInfo f;
    f.Width = 1920;
    cat.AddFile(shelf, 0, QStringLiteral("film.mkv"), 1LL << 32, CategoryIds::Film,
                db.AddFilmInfo(f));
    db.Execute("UPDATE Units SET DateModified = '2010-06-01 12:00:00' WHERE UnitName = "
               "'flash.mp3'");
    using Found = std::vector<QString>;

    SearchCriteria music;
    music.CategoryID = CategoryIds::Music;
    music.Album = QStringLiteral("opera");
    EXPECT_EQ(Names(db, music), (Found{"love.mp3", "rhapsody.mp3"}));
    music.Genre = QStringLiteral("rock");
    EXPECT_EQ(Names(db, music), Found{"rhapsody.mp3"});
    music = SearchCriteria();
    music.CategoryID = CategoryIds::Music;
    music.Year = 1980;
    EXPECT_EQ(Names(db, music), Found{"flash.mp3"});
    music.Year = CNullable<int>();
    music.Title = QStringLiteral("of my");
    EXPECT_EQ(Names(db, music), Found{"love.mp3"});

    // Width and height are the picture's, or the film's.
    SearchCriteria pictures;
    pictures.CategoryID = CategoryIds::Picture;
    pictures.UseWidth = true;
    pictures.WidthOperator = '<';
    pictures.Width = 1000;
    EXPECT_EQ(Names(db, pictures), Found{"beach.jpg"});
    pictures.UseWidth = false;
    pictures.UseHeight = true;
    pictures.HeightOperator = '=';
    pictures.Height = 3000;
    EXPECT_EQ(Names(db, pictures), Found{"poster.jpg"});
    SearchCriteria films;
    films.CategoryID = CategoryIds::Film;
    films.UseWidth = true;
    films.WidthOperator = '>';
    films.Width = 1000;
    EXPECT_EQ(Names(db, films), Found{"film.mkv"});
    films.CategoryID = CategoryIds::All;
    films.UseWidth = false;
    films.UseSize = true;
    films.SizeOperator = '>';
    films.Size = 1LL << 31; // beyond 32 bits
    EXPECT_EQ(Names(db, films), Found{"film.mkv"});

    // The date chosen is the one compared: only one file was modified in 2010.
    SearchCriteria dated;
    dated.UseDate = true;
    dated.DateFrom = QDateTime(QDate(2010, 1, 1), QTime(0, 0));
    dated.DateTo = QDateTime(QDate(2010, 12, 31), QTime(23, 59, 59));
    dated.DateField = SearchCriteria::DateModified;
    EXPECT_EQ(Names(db, dated), Found{"flash.mp3"});
    dated.DateField = SearchCriteria::DateCreated;
    EXPECT_TRUE(Names(db, dated).empty());
    dated.DateField = SearchCriteria::DateAdded;
    dated.DateFrom = QDateTime::currentDateTime().addDays(-1);
    dated.DateTo = QDateTime::currentDateTime().addDays(1);
    EXPECT_EQ(Names(db, dated).size(), 6u);
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

    // Quotes are text, in the name and in every tag; '*' and '?' are wildcards too.
    cat.AddFile(box, 0, QStringLiteral("Anna's it's.txt"), 30);
    const auto names = [&](const SearchCriteria& criteria) { return Names(db, criteria); };
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

// The search reads only the units the name index leads to; the rows must be those of
// the query alone, for indexed units and units still waiting, names and notes, texts
// with wildcards, quotes and runs too short for the index.
TEST(SearchUnits, TheNameIndexNarrowsWithoutChangingTheRows)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int shelf = db.AddStorage(QStringLiteral("Shelf"), QString());
    const char* const names[] = {"Holiday 2019.jpg",   "holiday_2019.txt", "HOLIDAY notes",
                                 "Anna's holiday.mp4", "100% done.txt",    "Ärger über Öl.txt",
                                 "plain.txt",          "a\"quoted\" name", "ab"};
    for (const char* name : names)
        cat.AddFile(shelf, 0, QString::fromUtf8(name), 10);
    const int link = cat.AddFile(shelf, 0, QStringLiteral("current"), 0);
    db.SetUnitNotes(link, QStringLiteral("-> holiday 2019 archive"));
    while (db.IndexNamesStep(1000) > 0) {
    }
    // Added after the index was built: waits for it.
    cat.AddFile(shelf, 0, QStringLiteral("late holiday 2019.png"), 10);

    const auto rows = [&db](const SearchCriteria& c, bool narrowed) {
        std::vector<UnitListItem> found;
        if (narrowed)
            db.SearchUnits(c, found);
        else
            db.QueryRows(CSqliteWrapper::BuildSearchQuery(c), found, &RowMappers::UnitListItems);
        std::vector<int> ids;
        for (const UnitListItem& item : found)
            ids.push_back(item.UnitID);
        std::sort(ids.begin(), ids.end());
        return ids;
    };
    for (const char* text : {"holiday", "HOLIDAY 2019", "holi*2019", "day?2019", "anna's", "100%",
                             "\"quoted\"", "über", "ab", "archive", "2019 archive", "nowhere"}) {
        for (const bool notes : {false, true}) {
            SearchCriteria c;
            c.Text = QString::fromUtf8(text);
            c.SearchNotes = notes;
            EXPECT_EQ(rows(c, true), rows(c, false)) << text << (notes ? " with notes" : "");
        }
    }
    SearchCriteria holiday;
    holiday.Text = QStringLiteral("holiday");
    EXPECT_FALSE(db.SearchNarrowing(holiday).isEmpty());
    EXPECT_EQ(rows(holiday, true).size(), 5u);
    holiday.SearchNotes = true;
    EXPECT_EQ(rows(holiday, true).size(), 6u);
    // Too short a run, or an index far from built: the plain query.
    SearchCriteria shortText;
    shortText.Text = QStringLiteral("ab*");
    EXPECT_TRUE(db.SearchNarrowing(shortText).isEmpty());
}
