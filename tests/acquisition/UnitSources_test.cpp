// Where added units were read from: the UnitSources row that an addition writes for its
// top unit, through the real job, scanner and catalogue, from real folders, files, disc
// images and a drive mounted at a folder; what a cancel, a delete, Undo and Redo leave
// of those rows.
#include "FakeDriveSystem.h"
#include "FakePrompter.h"

#include "acquisition/AddLocationJob.h"
#include "acquisition/RunAddition.h"
#include "document/CatalogueCheck.h"
#include "document/ShelfwiseDoc.h"
#include "listers/DiscImageLister.h"
#include "sqlitewrapper/RowMappers.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

void MakeFile(const QString& path, qint64 size)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(QByteArray(static_cast<int>(size), 'x'));
}

class UnitSources : public ::testing::Test
{
protected:
    UnitSources()
    {
        EXPECT_TRUE(m_doc.OnNewDocument());
        m_storage = m_doc.AddStorage(QStringLiteral("Shelf"), QString());
    }

    // Runs the job to its end and returns the new top unit's id (0 when nothing was
    // added). With cancel the job is cancelled at its first progress.
    int Add(CAddLocationJob::Mode mode, const QString& path, bool cancel = false)
    {
        CAddLocationJob job(m_doc);
        job.SetDriveSystem(m_drives.get());
        job.SetFolderLister(m_lister);
        const WorkOutcome outcome =
            RunAddition(job, AdditionRequest(mode, path, m_storage), [&](int) {
                if (cancel)
                    job.Cancel();
            });
        if (outcome != WorkOutcome::Succeeded)
            return 0;
        return static_cast<int>(
            Number(QStringLiteral("SELECT MAX(UnitID) FROM Units WHERE ParentUnitID IS NULL")));
    }

    qint64 Number(const QString& sql)
    {
        std::vector<QString> rows;
        m_doc.Database().QueryRows(sql, rows, &RowMappers::Texts);
        return rows.empty() ? -1 : rows.front().toLongLong();
    }

    qint64 SourceRows() { return Number(QStringLiteral("SELECT COUNT(*) FROM UnitSources")); }

    // The unit's source row, which must exist and have been scanned during the test.
    UnitSource SourceOf(int unitId)
    {
        UnitSource source;
        EXPECT_TRUE(m_doc.Database().GetUnitSource(unitId, source)) << "unit " << unitId;
        EXPECT_EQ(source.UnitID, unitId);
        EXPECT_EQ(source.ScannedAt.timeSpec(), Qt::UTC);
        EXPECT_GE(source.ScannedAt, m_started);
        EXPECT_LE(source.ScannedAt, QDateTime::currentDateTimeUtc());
        return source;
    }

    QString Disagreements()
    {
        QStringList lines;
        for (const CatalogueDisagreement& d : CCatalogueCheck(m_doc.Database()).Run())
            lines << CCatalogueCheck::Describe(d);
        return lines.join(QLatin1Char('\n'));
    }

    // Stored to the second: the start of the test, rounded down.
    const QDateTime m_started =
        QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC);
    QTemporaryDir m_dir;
    FakePrompter m_prompter;
    CShelfwiseDoc m_doc;
    int m_storage = 0;
    std::shared_ptr<FakeDriveSystem> m_drives = std::make_shared<FakeDriveSystem>();
    FolderLister* m_lister = nullptr; // the platform's when null
};

} // namespace

TEST_F(UnitSources, FoldersFilesAndDiscsKeepTheAbsolutePathTheyWereReadFrom)
{
    // A quote in the path, and a path given with a trailing separator and a "." in it.
    const QString folder = m_dir.filePath(QStringLiteral("Anna's \"backup\" 100%"));
    MakeFile(folder + QStringLiteral("/docs/letter.txt"), 10);
    MakeFile(folder + QStringLiteral("/song.mp3"), 20);
    const int folderId = Add(CAddLocationJob::Mode::Folder,
                             m_dir.path() + QStringLiteral("/./Anna's \"backup\" 100%/"));
    ASSERT_NE(folderId, 0);
    UnitSource source = SourceOf(folderId);
    EXPECT_EQ(source.SourcePath, folder);
    EXPECT_EQ(source.MountPoint, QString());
    // Only the unit that was added gets a row, not what was found below it.
    EXPECT_EQ(SourceRows(), 1);

    const int fileId = Add(CAddLocationJob::Mode::File, folder + QStringLiteral("/song.mp3"));
    ASSERT_NE(fileId, 0);
    source = SourceOf(fileId);
    EXPECT_EQ(source.SourcePath, folder + QStringLiteral("/song.mp3"));
    EXPECT_EQ(source.MountPoint, QString());

    // A drive whose medium is mounted at a folder: added from a path below the mount
    // point, the row names both.
    const QString mounted = m_dir.filePath(QStringLiteral("media/DISC"));
    MakeFile(mounted + QStringLiteral("/video/a.avi"), 30);
    m_drives->AddDrive({QString(), mounted, true, VolumeInfo(), false});
    const int discId = Add(CAddLocationJob::Mode::Disc, mounted + QStringLiteral("/video"));
    ASSERT_NE(discId, 0);
    source = SourceOf(discId);
    EXPECT_EQ(source.SourcePath, mounted + QStringLiteral("/video"));
    EXPECT_EQ(source.MountPoint, mounted);

    // A disc image is its own mount point.
    if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    const QString image = m_dir.filePath(QStringLiteral("it's.iso"));
    QProcess xorriso;
    xorriso.start(QStringLiteral("xorriso"),
                  {"-as", "mkisofs", "-quiet", "-R", "-J", "-o", image, folder});
    ASSERT_TRUE(xorriso.waitForFinished(60000) && xorriso.exitCode() == 0);
    const std::unique_ptr<FolderLister> lister = DiscImageLister::Open(image);
    ASSERT_TRUE(lister);
    m_lister = lister.get();
    const int imageId = Add(CAddLocationJob::Mode::Disc, image);
    m_lister = nullptr;
    ASSERT_NE(imageId, 0);
    EXPECT_EQ(
        Number(QStringLiteral("SELECT SubfilesNumber FROM Units WHERE UnitID = %1").arg(imageId)),
        2);
    source = SourceOf(imageId);
    EXPECT_EQ(source.SourcePath, image);
    EXPECT_EQ(source.MountPoint, image);
    EXPECT_EQ(SourceRows(), 4);
    EXPECT_EQ(Disagreements(), QString());
}

TEST_F(UnitSources, CancelDeleteUndoAndRedoKeepTheRowsWithTheirUnits)
{
    if (!CSqliteWrapper::CanRecordChanges())
        GTEST_SKIP() << "this SQLite has no session extension";
    m_prompter.SetDefaultYesNo(true);
    const QString big = m_dir.filePath(QStringLiteral("big"));
    for (int i = 0; i < 400; ++i)
        MakeFile(QStringLiteral("%1/d%2/f%3").arg(big).arg(i % 20).arg(i), 100);

    // A cancelled addition rolls its source row back with its units.
    EXPECT_EQ(Add(CAddLocationJob::Mode::Folder, big, true), 0);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 0);
    EXPECT_EQ(SourceRows(), 0);
    // So does a single file that cannot be read.
    EXPECT_EQ(Add(CAddLocationJob::Mode::File, m_dir.filePath(QStringLiteral("gone.txt"))), 0);
    EXPECT_EQ(SourceRows(), 0);

    const int folderId = Add(CAddLocationJob::Mode::Folder, big);
    ASSERT_NE(folderId, 0);
    const UnitSource added = SourceOf(folderId);
    const int fileId = Add(CAddLocationJob::Mode::File, big + QStringLiteral("/d0/f0"));
    ASSERT_NE(fileId, 0);
    ASSERT_EQ(SourceRows(), 2);

    // Undo of the addition takes the row, Redo brings it back as it was.
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(SourceRows(), 1);
    UnitSource none;
    EXPECT_FALSE(m_doc.Database().GetUnitSource(fileId, none));
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_EQ(SourceOf(fileId).SourcePath, big + QStringLiteral("/d0/f0"));

    // Deleting a unit below the added folder leaves the folder's row; deleting the
    // folder takes it, and Undo restores it with its values.
    const int inner =
        static_cast<int>(Number(QStringLiteral("SELECT UnitID FROM Units WHERE UnitName = 'd3'")));
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("d3"), inner, false));
    EXPECT_EQ(SourceRows(), 2);
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("big"), folderId, false));
    EXPECT_EQ(SourceRows(), 1);
    EXPECT_FALSE(m_doc.Database().GetUnitSource(folderId, none));
    ASSERT_TRUE(m_doc.Undo());
    const UnitSource restored = SourceOf(folderId);
    EXPECT_EQ(restored.SourcePath, added.SourcePath);
    EXPECT_EQ(restored.ScannedAt, added.ScannedAt);
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_EQ(SourceRows(), 1);
    ASSERT_TRUE(m_doc.Undo());

    // Deleting the storage takes every row of its units, and Undo brings them all back.
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("Shelf"), m_storage, true));
    EXPECT_EQ(SourceRows(), 0);
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(SourceRows(), 2);
    EXPECT_EQ(Disagreements(), QString());
}
