// The name index through the document's edits and their Undo and Redo, which apply
// recorded changesets of Units alone: units put back wait for the index again, and
// the index follows Units through its triggers.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "document/ShelfwiseDoc.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

qint64 Found(CShelfwiseDoc& doc, const char* word)
{
    return doc.Database().CountByName({QString::fromUtf8(word)});
}

// Indexes what waits, then lets FTS5 compare the index with every name in Units.
void ExpectIndexMatchesUnits(CShelfwiseDoc& doc)
{
    while (doc.Database().IndexNamesStep(7) > 0) {
    }
    EXPECT_NO_THROW(doc.Database().Execute(QStringLiteral(
        "INSERT INTO UnitNameIndex (UnitNameIndex, rank) VALUES ('integrity-check', 1)")));
}

} // namespace

TEST(NameIndexHistory, RenameAndDeleteUndoneAndRedone)
{
    if (!CSqliteWrapper::CanRecordChanges())
        GTEST_SKIP() << "this SQLite cannot record changes";
    FakePrompter prompter;
    prompter.SetDefaultYesNo(true);
    QTemporaryDir dir;
    CShelfwiseDoc doc;
    ASSERT_TRUE(doc.OnOpenDocument(CopySampleCatalogue(dir.filePath(QStringLiteral("s.db3")))));
    ASSERT_TRUE(doc.Database().IsNameIndexComplete());
    const qint64 holiday = Found(doc, "holiday");
    ASSERT_GT(holiday, 0);

    ASSERT_TRUE(doc.RenameUnit(1, QStringLiteral("Vacation Films 2019"), nullptr));
    EXPECT_EQ(Found(doc, "holiday"), holiday - 1);
    EXPECT_EQ(Found(doc, "vacation"), 1);
    ASSERT_TRUE(doc.Undo());
    EXPECT_EQ(Found(doc, "holiday"), holiday);
    EXPECT_EQ(Found(doc, "vacation"), 0);
    ExpectIndexMatchesUnits(doc);
    ASSERT_TRUE(doc.Redo());
    EXPECT_EQ(Found(doc, "vacation"), 1);
    ExpectIndexMatchesUnits(doc);

    // The whole disc with everything in it goes, comes back and goes again.
    const qint64 units = doc.Database().CountUnits();
    const qint64 mp4 = Found(doc, "mp4");
    ASSERT_TRUE(doc.DeleteItem(nullptr, QStringLiteral("Vacation Films 2019"), 1, false));
    EXPECT_EQ(Found(doc, "vacation"), 0);
    EXPECT_LT(Found(doc, "mp4"), mp4);
    ExpectIndexMatchesUnits(doc);
    ASSERT_TRUE(doc.Undo());
    EXPECT_EQ(doc.Database().CountUnits(), units);
    // Put back, the disc's units wait for the index and are found meanwhile; deleted
    // again while they wait, they leave the index untouched.
    EXPECT_GT(doc.Database().CountUnindexedNames(), 1);
    EXPECT_EQ(Found(doc, "vacation"), 1);
    EXPECT_EQ(Found(doc, "mp4"), mp4);
    ASSERT_TRUE(doc.Redo());
    EXPECT_EQ(Found(doc, "vacation"), 0);
    EXPECT_TRUE(doc.Database().IsNameIndexComplete());
    ExpectIndexMatchesUnits(doc);
    // Back once more, a waiting unit renamed and the rename undone, then indexed and
    // the rename redone.
    ASSERT_TRUE(doc.Undo());
    ASSERT_TRUE(doc.RenameUnit(1, QStringLiteral("Waiting Films"), nullptr));
    EXPECT_EQ(Found(doc, "waiting"), 1);
    ASSERT_TRUE(doc.Undo());
    EXPECT_EQ(Found(doc, "vacation"), 1);
    ExpectIndexMatchesUnits(doc);
    EXPECT_EQ(Found(doc, "mp4"), mp4);
    ASSERT_TRUE(doc.Redo());
    EXPECT_EQ(Found(doc, "waiting"), 1);
    EXPECT_EQ(Found(doc, "vacation"), 0);
    ExpectIndexMatchesUnits(doc);
    ASSERT_TRUE(doc.Undo());
    ASSERT_TRUE(doc.Undo());
    EXPECT_EQ(Found(doc, "holiday"), holiday);
    ExpectIndexMatchesUnits(doc);
}
