// Finding units by the words of their names, on a catalogue made from the real template
// (which holds the name index): literal characters, short words, ranking, the index
// against the plain scan, units found while they wait for the index, and the index kept
// right by renames and deletes of waiting and indexed units.
#include "TestCatalogue.h"

#include "sqlitewrapper/RowMappers.h"

#include <gtest/gtest.h>

namespace {

QStringList Words(std::initializer_list<const char*> words)
{
    QStringList list;
    for (const char* word : words)
        list << QString::fromUtf8(word);
    return list;
}

// The names found, best first, through the given lookup.
std::vector<QString> Names(CSqliteWrapper& db, const QStringList& words,
                           NameLookup how = NameLookup::Auto)
{
    std::vector<QString> names;
    for (const FoundUnit& unit : db.FindByName(words, 1000, 0, how))
        names.push_back(unit.UnitName);
    return names;
}

void IndexWaitingNames(CSqliteWrapper& db)
{
    while (db.IndexNamesStep(5) > 0) {
    }
}

// FTS5 compares the index with every name in Units, so what waits is indexed first; a
// disagreement (such as a 'delete' of a row never indexed) is an error.
void ExpectIndexMatchesUnits(CSqliteWrapper& db)
{
    IndexWaitingNames(db);
    EXPECT_NO_THROW(db.Execute(QStringLiteral(
        "INSERT INTO UnitNameIndex (UnitNameIndex, rank) VALUES ('integrity-check', 1)")));
}

class FindByNameTest : public ::testing::Test
{
protected:
    FindByNameTest()
    {
        m_storage = m_cat.Db().AddStorage(QStringLiteral("Shelf"), QString());
        m_disc = m_cat.AddDisc(m_storage, QStringLiteral("Holiday 2019"));
        m_folder = m_cat.AddFolder(m_storage, m_disc, QStringLiteral("DCIM"));
        for (const char* name :
             {"holiday", "Summer holiday 2019.jpg", "2019 HOLIDAY notes.txt", "Anna's holiday.mp4",
              "100% holiday.txt", "100 x holiday.txt", "my_holiday.txt", "myXholiday.txt", "ab.txt",
              "xab.txt", "Ärger über Öl.txt", "a\"quoted\" name"})
            m_cat.AddFile(m_storage, m_folder, QString::fromUtf8(name), 10);
    }

    TestCatalogue m_cat;
    int m_storage = 0;
    int m_disc = 0;
    int m_folder = 0;
};

} // namespace

TEST_F(FindByNameTest, WordsInAnyOrderAnyCaseAndEveryCharacterLiteral)
{
    CSqliteWrapper& db = m_cat.Db();
    using V = std::vector<QString>;
    // Just added, the units wait for the index and are found at once all the same.
    ASSERT_EQ(db.CountUnindexedNames(), 14);
    EXPECT_EQ(db.CountByName(Words({"holiday"}), NameLookup::Index), 0);
    const V waiting = Names(db, Words({"holiday"}));
    EXPECT_EQ(waiting.size(), 9u);
    EXPECT_EQ(db.CountByName(Words({"HOLI", "txt"})), 5);
    IndexWaitingNames(db);
    ASSERT_TRUE(db.IsNameIndexComplete());
    EXPECT_EQ(Names(db, Words({"holiday"})), waiting);

    EXPECT_EQ(Names(db, Words({"2019", "HOLIDAY"})),
              (V{"2019 HOLIDAY notes.txt", "Holiday 2019", "Summer holiday 2019.jpg"}));
    EXPECT_EQ(Names(db, Words({"holiday 2019"})),
              (V{"Holiday 2019", "Summer holiday 2019.jpg", "2019 HOLIDAY notes.txt"}));
    EXPECT_EQ(Names(db, Words({"anna's"})), V{"Anna's holiday.mp4"});
    EXPECT_EQ(Names(db, Words({"100%"})), V{"100% holiday.txt"});
    EXPECT_EQ(Names(db, Words({"my_h"})), V{"my_holiday.txt"});
    EXPECT_EQ(Names(db, Words({"\"quoted\""})), V{"a\"quoted\" name"});
    EXPECT_EQ(Names(db, Words({"über", "ÖL"})), V{"Ärger über Öl.txt"});
    EXPECT_TRUE(Names(db, Words({"holiday", "nowhere"})).empty());
    EXPECT_TRUE(Names(db, Words({"  "})).empty());
    EXPECT_EQ(db.CountByName(Words({"holiday"})), 9);
    EXPECT_EQ(db.CountByName(Words({"HOLI", "txt"})), 5);

    // One or two characters: the start of a name, or anywhere beside a longer word.
    EXPECT_EQ(Names(db, Words({"ab"})), V{"ab.txt"});
    EXPECT_EQ(Names(db, Words({"%"})), V{});
    EXPECT_EQ(Names(db, Words({"Ab"})), V{"ab.txt"});
    EXPECT_EQ(Names(db, Words({"txt", "ab"})), (V{"ab.txt", "xab.txt"}));
    EXPECT_EQ(Names(db, Words({"1", "%"})), V{"100% holiday.txt"});
    EXPECT_EQ(db.CountByName(Words({"m"})), 2);

    // Ranked: the whole name, then those starting with the first word, then the rest,
    // each rank in the catalogue's order.
    const V ranked = Names(db, Words({"holiday"}));
    ASSERT_EQ(ranked.size(), 9u);
    EXPECT_EQ(ranked[0], QStringLiteral("holiday"));
    EXPECT_EQ(ranked[1], QStringLiteral("Holiday 2019"));
    EXPECT_EQ(ranked[2], QStringLiteral("Summer holiday 2019.jpg"));
    const std::vector<FoundUnit> all = db.FindByName(Words({"holiday"}), 100, 0);
    for (size_t i = 3; i < all.size(); ++i)
        EXPECT_LT(all[i - 1].UnitID, all[i].UnitID) << all[i].UnitName.toStdString();
    // Pages follow the same order.
    const std::vector<FoundUnit> page = db.FindByName(Words({"holiday"}), 3, 2);
    ASSERT_EQ(page.size(), 3u);
    EXPECT_EQ(page[0].UnitName, ranked[2]);
    EXPECT_EQ(page[2].UnitName, ranked[4]);
    EXPECT_EQ(page[0].Kind, UnitKind::File);
    EXPECT_EQ(page[0].Location, QStringLiteral("Shelf › Holiday 2019 › DCIM"));

    // The plain scan agrees wherever LIKE's case rules (A-Z only) do.
    for (const QStringList& words : {Words({"holiday"}), Words({"2019", "HOLIDAY"}),
                                     Words({"my_h"}), Words({"100%"}), Words({"txt", "ab"})}) {
        EXPECT_EQ(Names(db, words, NameLookup::Scan), Names(db, words))
            << words.join(' ').toStdString();
        EXPECT_EQ(db.CountByName(words, NameLookup::Scan), db.CountByName(words));
    }
}

TEST_F(FindByNameTest, TheIndexFollowsRenamesAndDeletes)
{
    CSqliteWrapper& db = m_cat.Db();
    IndexWaitingNames(db);
    // One unit indexed and one waiting, each renamed.
    const int unit = m_cat.AddFile(m_storage, m_folder, QStringLiteral("Tortoise.png"), 1);
    db.RenameUnit(unit, QStringLiteral("Hare.png"));
    db.RenameUnit(m_folder + 1, QStringLiteral("Snail.png"));
    EXPECT_TRUE(Names(db, Words({"tortoise"})).empty());
    EXPECT_EQ(Names(db, Words({"hare"})), std::vector<QString>{"Hare.png"});
    EXPECT_EQ(Names(db, Words({"png"})), (std::vector<QString>{"Snail.png", "Hare.png"}));
    EXPECT_EQ(db.CountByName(Words({"png"})), 2);
    EXPECT_EQ(db.CountByName(Words({"png"}), NameLookup::Index), 1);
    // A statement that sets the name to itself (as Undo's may) changes nothing.
    db.Execute(QStringLiteral("UPDATE Units SET UnitName = UnitName"));
    ExpectIndexMatchesUnits(db);

    // A subtree of indexed and waiting units goes.
    m_cat.AddFile(m_storage, m_folder, QStringLiteral("waiting holiday.png"), 1);
    db.DeleteUnitRows(db.GetSubtreeIds(m_disc));
    EXPECT_TRUE(db.IsNameIndexComplete());
    EXPECT_TRUE(Names(db, Words({"holiday"})).empty());
    EXPECT_EQ(db.CountByName(Words({"png"})), 0);
    ExpectIndexMatchesUnits(db);
}

TEST_F(FindByNameTest, AnIndexBuiltInStepsFindsWhatTheScanFindsAtEveryStep)
{
    CSqliteWrapper& db = m_cat.Db();
    const std::vector<QString> expected = Names(db, Words({"holiday"}));
    // As an upgrade leaves it: the index empty, every unit waiting.
    db.Execute(QStringLiteral("INSERT INTO UnitNameIndex (UnitNameIndex) VALUES ('delete-all')"));
    db.Execute(QStringLiteral("INSERT OR IGNORE INTO UnitNameIndexPending SELECT UnitID FROM "
                              "Units"));
    ASSERT_FALSE(db.IsNameIndexComplete());
    EXPECT_EQ(db.CountUnindexedNames(), 14);
    EXPECT_EQ(Names(db, Words({"holiday"})), expected);

    // Units added, renamed and deleted meanwhile, waiting or not.
    const int added = m_cat.AddFile(m_storage, m_folder, QStringLiteral("late holiday"), 1);
    db.RenameUnit(m_folder + 1, QStringLiteral("renamed holiday"));
    db.DeleteUnitRows({m_folder + 2, added});
    qint64 waiting = db.CountUnindexedNames();
    int steps = 0;
    while (waiting > 0) {
        const qint64 left = db.IndexNamesStep(4);
        EXPECT_LT(left, waiting);
        // Part indexed, part waiting: every unit once, in the same order.
        for (const QStringList& words : {Words({"holiday"}), Words({"txt", "ab"})}) {
            EXPECT_EQ(Names(db, words), Names(db, words, NameLookup::Scan));
            EXPECT_EQ(db.CountByName(words), db.CountByName(words, NameLookup::Scan));
        }
        waiting = left;
        ++steps;
    }
    EXPECT_GE(steps, 3);
    EXPECT_TRUE(db.IsNameIndexComplete());
    ExpectIndexMatchesUnits(db);
    EXPECT_EQ(Names(db, Words({"holiday"})), Names(db, Words({"holiday"}), NameLookup::Scan));

    db.RebuildNameIndex();
    ExpectIndexMatchesUnits(db);
    EXPECT_EQ(db.CountByName(Words({"holiday"})), 8);
}
