#include "TestCatalogue.h"

#include "sqlitewrapper/Transaction.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

namespace {

int StorageCount(CSqliteWrapper& db)
{
    std::vector<StorageListItem> items;
    db.GetStorageList(items);
    return static_cast<int>(items.size());
}

} // namespace

TEST(Transaction, KeepsOnlyWhatIsCommitted)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int before = StorageCount(db);

    {
        CTransaction transaction(db);
        EXPECT_TRUE(db.InTransaction());
        db.AddStorage(QStringLiteral("Kept"), QString());
        transaction.Commit();
        EXPECT_FALSE(transaction.IsActive());
    }
    EXPECT_FALSE(db.InTransaction());
    EXPECT_EQ(StorageCount(db), before + 1);

    // Leaving the scope without Commit, by an early end or by an error, undoes the rows.
    {
        CTransaction transaction(db);
        db.AddStorage(QStringLiteral("Dropped"), QString());
    }
    EXPECT_THROW(
        {
            CTransaction transaction(db);
            db.AddStorage(QStringLiteral("Dropped too"), QString());
            throw std::runtime_error("failed half way");
        },
        std::runtime_error);
    EXPECT_FALSE(db.InTransaction());
    EXPECT_EQ(StorageCount(db), before + 1);

    // An explicit rollback, then a commit that has nothing left to do.
    CTransaction transaction(db);
    db.AddStorage(QStringLiteral("Rolled back"), QString());
    transaction.Rollback();
    EXPECT_FALSE(db.InTransaction());
    transaction.Commit();
    EXPECT_EQ(StorageCount(db), before + 1);
}

TEST(Transaction, WhoeverHoldsItLastDecides)
{
    TestCatalogue cat;
    CSqliteWrapper& db = cat.Db();
    const int before = StorageCount(db);

    // Begun in one place, handed on and committed in another (an addition begins on the
    // worker and is committed by the main thread).
    std::optional<CTransaction> handedOn;
    {
        CTransaction begun(db);
        db.AddStorage(QStringLiteral("Handed on"), QString());
        handedOn.emplace(std::move(begun));
        // A moved-from transaction is left inactive: its end undoes nothing.
        EXPECT_FALSE(begun.IsActive()); // NOLINT(bugprone-use-after-move)
    }
    EXPECT_TRUE(db.InTransaction());
    handedOn->Commit();
    EXPECT_EQ(StorageCount(db), before + 1);

    // Moved into a finished one, a transaction carries on there; dropped, it rolls back.
    CTransaction first(db);
    db.AddStorage(QStringLiteral("Dropped"), QString());
    *handedOn = std::move(first);
    EXPECT_TRUE(handedOn->IsActive());
    handedOn.reset();
    EXPECT_FALSE(db.InTransaction());
    EXPECT_EQ(StorageCount(db), before + 1);

    // A statement that ended the transaction itself leaves nothing to commit.
    CTransaction ended(db);
    db.Execute(QStringLiteral("COMMIT TRANSACTION"));
    EXPECT_NO_THROW(ended.Commit());
    EXPECT_FALSE(db.InTransaction());
}
