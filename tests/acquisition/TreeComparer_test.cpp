// The comparison's file times: a catalogued date text and a time of the file system are
// the same exactly when the text DateText writes for that time is the catalogued one,
// whether the comparison formats the time or compares seconds.
#include "acquisition/ScannedTree.h"
#include "acquisition/TreeComparer.h"
#include "listers/FindData.h"

#include <QDateTime>

#include <gtest/gtest.h>

#include <vector>

namespace {

using Kind = CChangeList::Kind;

// One file "f" of 10 bytes modified at utcMsecs, compared with a catalogue that has it
// with the date text catalogued.
CChangeList::Change CompareOne(qint64 utcMsecs, const QString& catalogued)
{
    std::vector<TreeComparer::Catalogued> rows(2);
    rows[0].UnitId = 1;
    rows[0].IsFolder = true;
    rows[1].UnitId = 2;
    rows[1].Path = QStringLiteral("f");
    rows[1].Size = 10;
    rows[1].Modified = catalogued;
    ScannedTree tree;
    std::vector<SubunitInfo> batch(1);
    batch[0].ID = 1;
    batch[0].Data.FileName = QStringLiteral("f");
    batch[0].Data.Size = 10;
    batch[0].Data.LastWriteTime = utcMsecs;
    tree.PushBatch(batch);
    tree.SetFinished();
    const CChangeList changes = TreeComparer(rows, false).Compare(tree);
    return changes.Entries().at(0);
}

} // namespace

TEST(TreeComparerTest, FileTimesMatchTheirCataloguedTextToTheSecond)
{
    const std::vector<TreeComparer::Catalogued> none;
    TreeComparer comparer(none, false);
    // Every 7 hours and 1 second over two years of the local zone (its changes of
    // offset included), and the first days of years whose leap rules differ.
    std::vector<qint64> times;
    const qint64 start = QDateTime(QDate(2023, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
    for (qint64 t = start; t < start + 2LL * 366 * 86400000; t += 7 * 3600000 + 1000 + 123)
        times.push_back(t);
    for (int year : {1601, 1900, 1970, 2000, 2024, 2100, 9999}) {
        for (int month : {1, 2, 3, 12}) {
            const QDate first(year, month, 1);
            times.push_back(QDateTime(first, QTime(0, 0), Qt::UTC).toMSecsSinceEpoch());
            times.push_back(
                QDateTime(first.addMonths(1).addDays(-1), QTime(23, 59, 59, 999), Qt::UTC)
                    .toMSecsSinceEpoch());
        }
    }
    times.push_back(-1); // 1969-12-31 23:59:59.999 UTC
    for (const qint64 t : times) {
        const QString text = comparer.DateText(t);
        CChangeList::Change same = CompareOne(t, text);
        ASSERT_EQ(same.What, Kind::Unchanged) << qPrintable(text);
        EXPECT_EQ(same.NewDate, text);
        const CChangeList::Change later = CompareOne(t + 1000, text);
        ASSERT_EQ(later.What, Kind::Changed) << qPrintable(text);
        EXPECT_EQ(later.NewDate, comparer.DateText(t + 1000));
        EXPECT_EQ(later.OldDate, text);
    }

    // Texts that are not exactly the catalogue's form never equal a time, even where
    // they would name the same second.
    const qint64 t = QDateTime(QDate(2019, 3, 1), QTime(10, 0), Qt::UTC).toMSecsSinceEpoch();
    const QString text = comparer.DateText(t);
    const QString day = text.left(10);
    const QString clock = text.mid(11);
    for (const QString& odd :
         {QString(day + QLatin1Char('T') + clock), QString(day + QLatin1Char(' ') + clock + "Z"),
          QString(day + QLatin1Char(' ') + clock.left(5)), QString(), QStringLiteral("garbage")}) {
        const CChangeList::Change change = CompareOne(t, odd);
        EXPECT_EQ(change.What, Kind::Changed) << qPrintable(odd);
        EXPECT_EQ(change.NewDate, text);
    }
    // 1 March written as 29 February of a year without one, or 30 February.
    const QDateTime local = QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (local.date() == QDate(2019, 3, 1)) {
        EXPECT_EQ(CompareOne(t, QStringLiteral("2019-02-29 ") + clock).What, Kind::Changed);
        EXPECT_EQ(CompareOne(t, QStringLiteral("2019-02-30 ") + clock).What, Kind::Changed);
    }
    // A file without a time matches only a catalogued file without a date.
    EXPECT_EQ(CompareOne(FindData::kNoTime, QString()).What, Kind::Unchanged);
    EXPECT_EQ(CompareOne(FindData::kNoTime, text).What, Kind::Changed);
}
