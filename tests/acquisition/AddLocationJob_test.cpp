// Adding folders and files end to end: the real scanner, the importer and the
// catalogue, through the job that the window and the command line drive.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "acquisition/AddLocationJob.h"
#include "document/CatalogueCheck.h"
#include "document/ShelfwiseDoc.h"
#include "sqlitewrapper/RowMappers.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

void MakeFile(const QString& path, qint64 size)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(QByteArray(static_cast<int>(size), 'x'));
}

class AddLocation : public ::testing::Test
{
protected:
    AddLocation()
    {
        EXPECT_TRUE(m_doc.OnNewDocument());
        m_storage = m_doc.AddStorage(QStringLiteral("Shelf"), QString());
    }

    // Runs the job to its end; progress percentages are collected.
    CAddLocationJob::Outcome Add(CAddLocationJob::Mode mode, const QString& path,
                                 bool cancelOnFirstProgress = false, bool categorise = true,
                                 int category = 1)
    {
        CAddLocationJob job(m_doc);
        QEventLoop loop;
        auto outcome = CAddLocationJob::Outcome::Failed;
        bool done = false;
        m_progress.clear();
        QObject::connect(&job, &CAddLocationJob::progress, [&](int p) {
            m_progress.push_back(p);
            if (cancelOnFirstProgress)
                job.Cancel();
        });
        QObject::connect(&job, &CAddLocationJob::finished, [&](CAddLocationJob::Outcome o) {
            outcome = o;
            done = true;
            loop.quit();
        });
        CAddLocationJob::Request request;
        request.mode = mode;
        request.path = path;
        request.name = CAddLocationJob::NameFromPath(path);
        request.storageId = m_storage;
        request.categorise = categorise;
        request.fixedCategory = category;
        if (!job.Start(request))
            return CAddLocationJob::Outcome::Failed;
        QTimer::singleShot(60000, &loop, &QEventLoop::quit);
        if (!done)
            loop.exec();
        EXPECT_TRUE(done) << "the job never ended";
        return outcome;
    }

    qint64 Number(const QString& sql)
    {
        std::vector<QString> rows;
        m_doc.Database().QueryRows(sql, rows, &RowMappers::Texts);
        return rows.empty() ? -1 : rows.front().toLongLong();
    }

    qint64 Unit(const char* column, const char* name)
    {
        return Number(QStringLiteral("SELECT %1 FROM Units WHERE UnitName = '%2'")
                          .arg(QLatin1String(column), QLatin1String(name)));
    }

    FakePrompter m_prompter;
    CShelfwiseDoc m_doc;
    int m_storage = 0;
    std::vector<int> m_progress;
};

} // namespace

TEST_F(AddLocation, FolderTotalsFollowTheTree)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Root"));
    MakeFile(root + QStringLiteral("/A/f1.txt"), 10);
    MakeFile(root + QStringLiteral("/A/B/f2.mp3"), 5);
    QDir().mkpath(root + QStringLiteral("/A/Empty"));

    ASSERT_EQ(Add(CAddLocationJob::Mode::Folder, root + QStringLiteral("/")),
              CAddLocationJob::Outcome::Succeeded);
    EXPECT_EQ(Unit("SubfilesNumber", "A"), 2);
    EXPECT_EQ(Unit("SubfoldersNumber", "A"), 2);
    EXPECT_EQ(Unit("UnitSize", "A"), 15);
    EXPECT_EQ(Unit("SubfilesNumber", "B"), 1);
    EXPECT_EQ(Unit("UnitSize", "B"), 5);
    EXPECT_EQ(Unit("SubfilesNumber", "Empty"), 0);
    // The top unit is named after the last folder of the path, trailing separator or not.
    EXPECT_EQ(Unit("SubfilesNumber", "Root"), 2);
    EXPECT_EQ(Unit("SubfoldersNumber", "Root"), 3);
    EXPECT_EQ(Unit("ParentUnitID IS NULL", "Root"), 1);
    const StorageRecord storage = m_doc.Database().GetStorage(m_storage);
    EXPECT_EQ(storage.FilesNumber, 2);
    EXPECT_EQ(storage.FoldersNumber, 4); // three below and the added folder itself
    EXPECT_EQ(storage.StorageSize, 15);
    EXPECT_EQ(Unit("CategoryID", "f2.mp3"), 3);
    EXPECT_EQ(Unit("CategoryID", "f1.txt"), 1);
    EXPECT_EQ(Unit("CategoryID", "B"), 1);
    EXPECT_TRUE(CCatalogueCheck(m_doc.Database()).Run().empty());
    EXPECT_TRUE(m_doc.IsModified());
    EXPECT_FALSE(m_doc.Database().InTransaction());
    ASSERT_FALSE(m_progress.empty());
    EXPECT_EQ(m_progress.back(), 100);
}

TEST_F(AddLocation, GeneratedTreeMatchesFindAndProgressOnlyRises)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("tree"));
    qint64 bytes = 0;
    for (int d = 0; d < 12; ++d) {
        for (int f = 0; f < 25; ++f) {
            const int size = (d * 37 + f * 11) % 300;
            MakeFile(QStringLiteral("%1/d%2/s%3/file%4.dat").arg(root).arg(d).arg(d % 3).arg(f),
                     size);
            bytes += size;
        }
    }
    ASSERT_EQ(Add(CAddLocationJob::Mode::Folder, root, false, false, 4),
              CAddLocationJob::Outcome::Succeeded);
    QProcess find;
    find.start(QStringLiteral("find"), {root, QStringLiteral("-mindepth"), QStringLiteral("1"),
                                        QStringLiteral("-printf"), QStringLiteral("%y\\n")});
    ASSERT_TRUE(find.waitForFinished());
    const QByteArray kinds = find.readAllStandardOutput();
    EXPECT_EQ(Unit("SubfilesNumber", "tree"), kinds.count("f\n"));
    EXPECT_EQ(Unit("SubfoldersNumber", "tree"), kinds.count("d\n"));
    EXPECT_EQ(Unit("UnitSize", "tree"), bytes);
    // A fixed category goes to every unit, folders included.
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE CategoryID <> 4")), 0);
    for (size_t i = 1; i < m_progress.size(); ++i)
        EXPECT_GT(m_progress[i], m_progress[i - 1]);
    EXPECT_LE(m_progress.size(), 101u);
}

TEST_F(AddLocation, CancelLeavesNothingBehind)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("big"));
    for (int i = 0; i < 400; ++i)
        MakeFile(QStringLiteral("%1/d%2/f%3").arg(root).arg(i % 20).arg(i), 100);
    m_doc.SetModified(false);
    EXPECT_EQ(Add(CAddLocationJob::Mode::Folder, root, true), CAddLocationJob::Outcome::Cancelled);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 0);
    EXPECT_EQ(m_doc.Database().GetStorage(m_storage).FilesNumber, 0);
    EXPECT_FALSE(m_doc.Database().InTransaction());
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Operation has been cancelled"));

    // The catalogue takes the next addition as if nothing had happened.
    ASSERT_EQ(Add(CAddLocationJob::Mode::Folder, root), CAddLocationJob::Outcome::Succeeded);
    EXPECT_EQ(Unit("SubfilesNumber", "big"), 400);
}

TEST_F(AddLocation, SingleFilesAndPathChecks)
{
    QTemporaryDir dir;
    const QString song = dir.filePath(QStringLiteral("Tom's 100% \"best\".mp3"));
    MakeFile(song, 1234);
    ASSERT_EQ(Add(CAddLocationJob::Mode::File, song), CAddLocationJob::Outcome::Succeeded);
    EXPECT_EQ(Number(QStringLiteral("SELECT UnitSize FROM Units WHERE UnitType = 'F'")), 1234);
    EXPECT_EQ(Number(QStringLiteral("SELECT CategoryID FROM Units WHERE UnitType = 'F'")), 3);
    const StorageRecord storage = m_doc.Database().GetStorage(m_storage);
    EXPECT_EQ(storage.FilesNumber, 1);
    EXPECT_EQ(storage.StorageSize, 1234);
    EXPECT_EQ(m_progress.back(), 100);

    EXPECT_EQ(Add(CAddLocationJob::Mode::File, dir.filePath(QStringLiteral("gone.txt"))),
              CAddLocationJob::Outcome::Failed);
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Add file operation has been failed"));
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 1);
    EXPECT_FALSE(m_doc.Database().InTransaction());

    EXPECT_EQ(CAddLocationJob::CheckPath(QString()), QStringLiteral("Select path first"));
    EXPECT_EQ(CAddLocationJob::CheckPath(dir.filePath(QStringLiteral("nothing"))),
              QStringLiteral("Entered path doesn't exist."));
    EXPECT_TRUE(CAddLocationJob::CheckPath(dir.path()).isEmpty());
    EXPECT_EQ(CAddLocationJob::NameFromPath(QStringLiteral("/media/cdrom/Films/")),
              QStringLiteral("Films"));
    EXPECT_EQ(CAddLocationJob::NameFromPath(QStringLiteral("D:\\Photos\\2012")),
              QStringLiteral("2012"));
    EXPECT_EQ(CAddLocationJob::NameFromPath(QStringLiteral("/")), QStringLiteral("/"));
}
