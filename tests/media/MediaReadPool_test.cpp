// The pool that reads media details ahead of the importer: each job gets its own file's
// record whatever order the reads end in, a slow file holds up one thread only, files
// that fail give no details, and the pool goes away with reads under way.
#include "Gate.h"

#include "media/MediaReadPool.h"
#include "sqlitewrapper/Records.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

using Kind = MediaRecord::Kind;

// What the readers of one pool share: the gate that files named "slow..." wait at, and
// the names of the files read, in the order the reads began.
struct Reads
{
    Gate Slow;
    std::mutex Mutex;
    QStringList Names;
};

// The real reader, but one that waits at the gate for a slow file and throws for a file
// named "throws...", as a reader should never do.
class TestReader final : public MediaDetailsReader
{
public:
    explicit TestReader(Reads& reads) : m_reads(reads), m_real(CreateMediaDetailsReader()) {}

    MediaRecord Read(const QString& path, int categoryId) override
    {
        const QString name = QFileInfo(path).fileName();
        {
            std::lock_guard<std::mutex> lock(m_reads.Mutex);
            m_reads.Names << name;
        }
        if (name.startsWith("slow"))
            m_reads.Slow.Pass();
        if (name.startsWith("throws"))
            throw std::runtime_error("unreadable");
        return m_real->Read(path, categoryId);
    }

private:
    Reads& m_reads;
    std::unique_ptr<MediaDetailsReader> m_real;
};

class MediaReadPoolTest : public ::testing::Test
{
protected:
    MediaReadPool::ReaderFactory Factory()
    {
        return [this] { return std::make_unique<TestReader>(m_reads); };
    }

    // A PNG picture 10 pixels high.
    QString Picture(const QString& name, int width)
    {
        const QString path = m_dir.filePath(name);
        QImage(width, 10, QImage::Format_RGB32).save(path);
        return path;
    }

    QStringList NamesRead()
    {
        std::lock_guard<std::mutex> lock(m_reads.Mutex);
        return m_reads.Names;
    }

    QTemporaryDir m_dir;
    Reads m_reads;
};

} // namespace

TEST_F(MediaReadPoolTest, EachJobGetsItsFilesRecordWhileASlowFileHoldsUpOneThread)
{
    MediaReadPool pool(Factory(), 2);
    const GateOpener opener(m_reads.Slow);
    const auto slow = pool.Submit(Picture("slow.png", 11), CategoryIds::Picture);
    ASSERT_TRUE(QTest::qWaitFor([&] { return m_reads.Slow.Arrived() == 1; }, 60000));
    std::vector<MediaReadPool::JobPtr> jobs;
    for (int i = 0; i < 6; ++i)
        jobs.push_back(
            pool.Submit(Picture(QString("p%1.png").arg(i), 20 + i), CategoryIds::Picture));
    for (const auto& job : jobs)
        ASSERT_TRUE(pool.WaitFor(job, 60000));
    EXPECT_FALSE(pool.IsDone(slow));
    EXPECT_FALSE(pool.WaitFor(slow, 0));

    for (int i = 5; i >= 0; --i) {
        const MediaRecord record = pool.Take(jobs[static_cast<size_t>(i)]);
        EXPECT_EQ(record.kind, Kind::Picture) << i;
        EXPECT_EQ(record.picture.Width, CNullable<int>(20 + i)) << i;
    }
    // Taken before its read has ended, a job gives no details and does not wait.
    EXPECT_EQ(pool.Take(slow).kind, Kind::None);
    m_reads.Slow.Open();
    ASSERT_TRUE(pool.WaitFor(slow, 60000));
    EXPECT_EQ(pool.Take(slow).picture.Width, CNullable<int>(11));
}

TEST_F(MediaReadPoolTest, FilesThatFailGiveNoDetailsAndTheThreadReadsOn)
{
    QFile text(m_dir.filePath("text.png"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("not a picture");
    text.close();

    MediaReadPool pool(Factory(), 1);
    const std::vector<MediaReadPool::JobPtr> jobs{
        pool.Submit(m_dir.filePath("missing.png"), CategoryIds::Picture),
        pool.Submit(text.fileName(), CategoryIds::Picture),
        pool.Submit(Picture("throws.png", 12), CategoryIds::Picture),
        pool.Submit(Picture("good.png", 13), CategoryIds::Picture)};
    for (const auto& job : jobs)
        ASSERT_TRUE(pool.WaitFor(job, 60000));
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(pool.Take(jobs[i]).kind, Kind::None) << i;
    EXPECT_EQ(pool.Take(jobs[3]).picture.Width, CNullable<int>(13));
    // One thread reads in the order the files came.
    EXPECT_EQ(NamesRead(), (QStringList{"missing.png", "text.png", "throws.png", "good.png"}));
}

TEST_F(MediaReadPoolTest, GoingAwayEndsTheReadsUnderWayAndDropsTheRest)
{
    auto pool = std::make_unique<MediaReadPool>(Factory(), 2);
    const GateOpener opener(m_reads.Slow);
    pool->Submit(Picture("slow1.png", 11), CategoryIds::Picture);
    pool->Submit(Picture("slow2.png", 12), CategoryIds::Picture);
    ASSERT_TRUE(QTest::qWaitFor([&] { return m_reads.Slow.Arrived() == 2; }, 60000));
    const auto waiting = pool->Submit(Picture("waiting.png", 13), CategoryIds::Picture);

    // The reads under way end once the pool has let go of the job still waiting.
    std::thread ending([&] { pool.reset(); });
    const bool dropped = QTest::qWaitFor([&] { return waiting.use_count() == 1; }, 60000);
    m_reads.Slow.Open();
    ending.join();
    EXPECT_TRUE(dropped);
    EXPECT_EQ(NamesRead(), (QStringList{"slow1.png", "slow2.png"}));
}
