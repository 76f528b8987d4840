// The catalogue's own queries given texts that could read as SQL: the search the
// window runs on the working copy, and the duplicate check of an added disc.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "document/ShelfwiseDoc.h"
#include "sqlitewrapper/RowMappers.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

qint64 UnitCount(CSqliteWrapper& db)
{
    std::vector<QString> rows;
    db.QueryRows(QStringLiteral("SELECT COUNT(*) FROM Units"), rows, &RowMappers::Texts);
    return rows.empty() ? -1 : rows.front().toLongLong();
}

} // namespace

TEST(HostileText, SearchTextCannotChangeTheWorkingCopy)
{
    FakePrompter prompter;
    QTemporaryDir dir;
    const QString path = CopySampleCatalogue(dir.filePath("sample.db3"));
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnOpenDocument(path));
    const qint64 units = UnitCount(doc.Database());
    ASSERT_GT(units, 0);

    const QString deleteAll = QStringLiteral("x'; DELETE FROM Units; --");
    SearchCriteria byName;
    byName.Text = deleteAll;
    SearchCriteria byNotes = byName;
    byNotes.SearchNotes = true;
    SearchCriteria byArtist;
    byArtist.CategoryID = CategoryIds::Music;
    byArtist.Artist = deleteAll;
    for (const SearchCriteria& criteria : {byName, byNotes, byArtist}) {
        std::vector<UnitListItem> items;
        // The text is a literal: it finds nothing and runs nothing.
        doc.Database().SearchUnits(criteria, items);
        EXPECT_TRUE(items.empty());
        EXPECT_EQ(UnitCount(doc.Database()), units);
    }

    // What the window would save next is the catalogue as it was.
    ASSERT_TRUE(doc.OnSaveDocument(path));
    ASSERT_TRUE(doc.LastSaveReachedFile());
    CSqliteWrapper saved;
    saved.Open(path, false);
    EXPECT_EQ(UnitCount(saved), units);
}

TEST(HostileText, DuplicateDiscsAreFoundByTheLabelAsWritten)
{
    FakePrompter prompter;
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnNewDocument());
    const int shelf = doc.AddStorage(QStringLiteral("Shelf"), QString());
    CSqliteWrapper& db = doc.Database();
    const auto addDisc = [&](const QString& label) {
        const int info = db.AddDiscInfo(label, 0x1234ABCDu, 700000000);
        return db.AddUnit(UnitKind::Disc, label, QString(), 1, shelf, 0, {}, 0, {}, {}, info, true);
    };
    const int label = addDisc(QStringLiteral("Label"));
    const int other = addDisc(QStringLiteral("Other"));
    const int quoted = addDisc(QStringLiteral("say \"hi\""));

    // "Label" is also the column's name; the check compares with the text.
    using Ids = std::vector<int>;
    EXPECT_EQ(db.FindDuplicateDiscs(QStringLiteral("Label"), 0, 0, false, false, true), Ids{label});
    EXPECT_EQ(
        db.FindDuplicateDiscs(QStringLiteral("Label"), 0x1234ABCDu, 700000000, true, true, true),
        Ids{label});
    EXPECT_EQ(db.FindDuplicateDiscs(QStringLiteral("Other"), 0, 0, false, false, true), Ids{other});
    // Double quotes are part of the label.
    EXPECT_EQ(db.FindDuplicateDiscs(QStringLiteral("say \"hi\""), 0, 0, false, false, true),
              Ids{quoted});
    EXPECT_TRUE(db.FindDuplicateDiscs(QStringLiteral("say hi"), 0, 0, false, false, true).empty());
}
