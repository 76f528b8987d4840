// add-folder, add-file and add-disc through the real program.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"

#include "sqlitewrapper/RowMappers.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <csignal>

namespace {

class AddCommands : public ::testing::Test
{
protected:
    AddCommands() : m_catalogue(m_dir.filePath(QStringLiteral("discs.db3")))
    {
        EXPECT_EQ(Run({"new", m_catalogue}).status, 0);
        EXPECT_EQ(Run({"add-storage", m_catalogue, "Shelf"}).status, 0);
    }

    using Result = CliResult;

    QProcessEnvironment Environment(const QString& fakeDrives = QString())
    {
        QProcessEnvironment env = CliEnvironment(m_settings.path());
        env.insert(QStringLiteral("SHELFWISE_FAKE_DRIVES"), fakeDrives);
        env.insert(QStringLiteral("SHELFWISE_FAKE_DRIVES_LOG"), m_dir.filePath("drives.log"));
        return env;
    }

    Result Run(const QStringList& arguments, const QString& fakeDrives = QString())
    {
        return RunCli(arguments, Environment(fakeDrives));
    }

    qint64 Number(const QString& sql)
    {
        const QString text = QueryText(m_catalogue, sql);
        return text.isEmpty() ? -1 : text.toLongLong();
    }

    static void MakeTree(const QString& root, int folders, int filesPerFolder)
    {
        for (int d = 0; d < folders; ++d) {
            const QString folder = QStringLiteral("%1/part %2/inner").arg(root).arg(d);
            QDir().mkpath(folder);
            for (int f = 0; f < filesPerFolder; ++f) {
                QFile file(QStringLiteral("%1/track %2.mp3").arg(folder).arg(f));
                file.open(QIODevice::WriteOnly);
                file.write(QByteArray(f % 7, 'a'));
            }
        }
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_catalogue;
};

} // namespace

TEST_F(AddCommands, FoldersAndFilesLandWithConsistentCounters)
{
    const QString root = m_dir.filePath(QStringLiteral("Music"));
    MakeTree(root, 4, 5);
    QFile odd(root + QStringLiteral("/100% \"odd\" 'name'.txt"));
    odd.open(QIODevice::WriteOnly);
    odd.write("12345");
    odd.close();

    const Result added =
        Run({"add-folder", m_catalogue, "Shelf", root, "--notes", "from the attic"});
    ASSERT_EQ(added.status, 0) << added.err.toStdString();
    EXPECT_EQ(Number("SELECT SubfilesNumber FROM Units WHERE UnitName = 'Music'"), 21);
    EXPECT_EQ(Number("SELECT SubfoldersNumber FROM Units WHERE UnitName = 'Music'"), 8);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units WHERE UnitName = '100% \"odd\" ''name''.txt'"), 1);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units WHERE UnitNotes = 'from the attic'"), 1);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units WHERE CategoryID = 3"), 20);

    EXPECT_EQ(Run({"add-file", m_catalogue, "Shelf", odd.fileName(), "--category", "Film"}).status,
              0);
    EXPECT_EQ(Number("SELECT FilesNumber FROM Storages"), 22);
    EXPECT_EQ(Run({"check", m_catalogue}).status, 0);

    // Paths that cannot be added change nothing.
    EXPECT_TRUE(Run({"add-folder", m_catalogue, "Shelf", m_dir.filePath("none")})
                    .err.contains("Entered path doesn't exist."));
    EXPECT_EQ(Run({"add-folder", m_catalogue, "Shelf", odd.fileName()}).status, 1);
    EXPECT_EQ(Run({"add-file", m_catalogue, "Nowhere", odd.fileName()}).status, 1);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units"), 31);
}

TEST_F(AddCommands, AFileSystemWithoutCreationDatesLeavesThemEmpty)
{
    // procfs keeps no birth times: a real folder whose files have none.
    const QString folder = QStringLiteral("/proc/sys/kernel/random");
    if (!QFileInfo(folder + QStringLiteral("/boot_id")).isFile())
        GTEST_SKIP() << "no " << folder.toStdString();
    ASSERT_EQ(Run({"add-folder", m_catalogue, "Shelf", folder}).status, 0);
    ASSERT_EQ(Run({"add-file", m_catalogue, "Shelf", folder + QStringLiteral("/uuid")}).status, 0);
    EXPECT_GT(Number("SELECT COUNT(*) FROM Units WHERE UnitType = 'F'"), 2);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units WHERE UnitType = 'F' AND (DateCreated IS NOT "
                     "NULL OR DateModified IS NULL)"),
              0);

    for (const char* name : {"boot_id", "uuid"}) {
        const qint64 id =
            Number(QStringLiteral("SELECT MAX(UnitID) FROM Units WHERE UnitName = '%1'").arg(name));
        const Result shown = Run({"show", m_catalogue, "--unit", QString::number(id)});
        ASSERT_EQ(shown.status, 0) << shown.err.toStdString();
        EXPECT_TRUE(shown.out.contains(QStringLiteral("\nCreated\t\n"))) << shown.out.toStdString();
        EXPECT_TRUE(shown.out.contains(QRegularExpression(QStringLiteral("\nModified\t\\d{4}-"))))
            << shown.out.toStdString();
    }
    EXPECT_EQ(Run({"check", m_catalogue}).status, 0);
}

TEST_F(AddCommands, DiscsAreCheckedForDuplicatesAndEjected)
{
    const QString root = m_dir.filePath(QStringLiteral("cdrom"));
    MakeTree(root, 2, 3);
    const QString drive = root + QStringLiteral("|MOVIES_2012|0x1A2B3C4D|734003200");

    const Result first = Run({"add-disc", m_catalogue, "Shelf", root}, drive);
    ASSERT_EQ(first.status, 0) << first.err.toStdString();
    EXPECT_EQ(
        Number("SELECT COUNT(*) FROM Units WHERE UnitType = 'C' AND UnitName = 'MOVIES_2012'"), 1);
    EXPECT_EQ(Number("SELECT SerialNumber FROM DiscInfo"), 0x1A2B3C4D);
    EXPECT_EQ(Number("SELECT DiscsNumber FROM Storages"), 1);

    const Result again = Run({"add-disc", m_catalogue, "Shelf", root, "--name", "Copy"}, drive);
    EXPECT_EQ(again.status, 3);
    EXPECT_TRUE(again.err.contains("Disc probably already exists in the collection:"));
    EXPECT_TRUE(again.out.contains("MOVIES_2012\tMOVIES_2012\t734003200"));
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units WHERE UnitType = 'C'"), 1);

    const Result forced = Run(
        {"add-disc", m_catalogue, "Shelf", root, "--name", "Copy", "--force", "--eject"}, drive);
    EXPECT_EQ(forced.status, 0);
    EXPECT_EQ(Number("SELECT DiscsNumber FROM Storages"), 2);
    QFile log(m_dir.filePath("drives.log"));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    const QString calls = QString::fromUtf8(log.readAll());
    EXPECT_EQ(calls.count(QRegularExpression("^lock fake0", QRegularExpression::MultilineOption)),
              2);
    EXPECT_EQ(calls.count(QRegularExpression("^unlock fake0", QRegularExpression::MultilineOption)),
              2);
    EXPECT_EQ(calls.count("eject fake0"), 1);
    EXPECT_EQ(Run({"check", m_catalogue}).status, 0);

    const Result absent = Run({"add-disc", m_catalogue, "Shelf", "fake0"}, QStringLiteral("empty"));
    EXPECT_EQ(absent.status, 1);
    EXPECT_TRUE(absent.err.contains("Disc is absent or invalid"));
}

TEST_F(AddCommands, CtrlCRollsBackAndExits130)
{
    const QString root = m_dir.filePath(QStringLiteral("big"));
    MakeTree(root, 200, 100);
    QProcess process;
    StartCli(process, {"add-folder", m_catalogue, "Shelf", root}, Environment());
    ASSERT_TRUE(process.waitForStarted());
    // Interrupt once the working copy exists, that is, once the catalogue is open.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !QDir(m_settings.path()).entryList({"*-*.db3"}, QDir::Files).isEmpty(); },
        60000));
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 130) << process.readAllStandardError().toStdString();
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units"), 0);
    EXPECT_EQ(Number("SELECT FilesNumber FROM Storages"), 0);
}

TEST_F(AddCommands, LookingInsideArchivesChangesNoTotal)
{
    if (QStandardPaths::findExecutable(QStringLiteral("zip")).isEmpty())
        GTEST_SKIP() << "zip is not installed";
    const QString root = m_dir.filePath(QStringLiteral("Backup"));
    MakeTree(root, 2, 3);
    QProcess zip;
    zip.setWorkingDirectory(root);
    zip.start(QStringLiteral("bash"),
              {QStringLiteral("-c"), QStringLiteral("zip -qr songs.zip 'part 0' && "
                                                    "zip -qr -P pw locked.zip 'part 1'")});
    ASSERT_TRUE(zip.waitForFinished());
    ASSERT_EQ(zip.exitCode(), 0);
    ASSERT_EQ(Run({"add-storage", m_catalogue, "Other"}).status, 0);

    ASSERT_EQ(Run({"add-folder", m_catalogue, "Shelf", root, "--no-archives"}).status, 0);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType IN ('d', 'f')")), 0);
    const Result inside = Run({"add-folder", m_catalogue, "Other", root});
    ASSERT_EQ(inside.status, 0);
    EXPECT_TRUE(inside.err.contains(QStringLiteral("locked.zip - The archive is encrypted")))
        << inside.err.toStdString();
    // part 0, part 0/inner and three songs.
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType IN ('d', 'f')")), 5);
    EXPECT_EQ(Number(QStringLiteral("SELECT EntriesNumber FROM ArchiveInfo")), 5);
    const QString totals = QStringLiteral(
        "SELECT FilesNumber || ' ' || FoldersNumber || ' ' || StorageSize FROM Storages "
        "WHERE StorageName = '%1'");
    EXPECT_EQ(QueryText(m_catalogue, totals.arg(QStringLiteral("Other"))),
              QueryText(m_catalogue, totals.arg(QStringLiteral("Shelf"))));
    const Result check = Run({"check", m_catalogue});
    EXPECT_EQ(check.status, 0) << check.out.toStdString();
}
