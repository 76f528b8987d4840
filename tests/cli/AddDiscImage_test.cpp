// add-disc with a disc image file: the image is catalogued from inside, unmounted.
#include "cli/CliProcess.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"
#include "volumes/VolumeReader.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class AddDiscImage : public ::testing::Test
{
protected:
    // Runs the program in the test's folder; without fakeDrives the machine's own drive
    // system reads the image.
    int Run(const QStringList& arguments, const QString& fakeDrives = QString())
    {
        QProcessEnvironment env = CliEnvironment(m_settings.path());
        env.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
        if (!fakeDrives.isEmpty())
            env.insert(QStringLiteral("SHELFWISE_FAKE_DRIVES"), fakeDrives);
        const CliResult result = RunCli(arguments, env, m_dir.path());
        m_errors = result.err;
        return result.status;
    }

    QStringList Rows(const QString& sql)
    {
        CSqliteWrapper db;
        db.Open(m_dir.filePath(QStringLiteral("cat.db3")), false);
        std::vector<QString> rows;
        db.QueryRows(sql, rows, &RowMappers::Texts);
        return QStringList(rows.begin(), rows.end());
    }

    void MakeFile(const QString& relative, int size)
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(m_tree + '/' + relative).path()));
        QFile file(m_tree + '/' + relative);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(size, 'z'));
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_tree = m_dir.filePath(QStringLiteral("tree"));
    QString m_errors; // the last run's standard error
};

} // namespace

TEST_F(AddDiscImage, AnImageIsCataloguedWithItsTreeAndVolume)
{
    if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    MakeFile(QStringLiteral("Docs/Letters/2019 letter.txt"), 120);
    MakeFile(QStringLiteral("Photos d'été/plage à Nice.jpg"), 2000);
    MakeFile(QStringLiteral("zero.bin"), 0);
    ASSERT_TRUE(QDir().mkpath(m_tree + QStringLiteral("/Docs/empty folder")));
    QFile letter(m_tree + QStringLiteral("/Docs/Letters/2019 letter.txt"));
    ASSERT_TRUE(letter.open(QIODevice::ReadWrite));
    ASSERT_TRUE(letter.setFileTime(QDateTime(QDate(2019, 3, 4), QTime(5, 6, 7), Qt::UTC),
                                   QFileDevice::FileModificationTime));
    letter.close();
    const QString image = m_dir.filePath(QStringLiteral("img.iso"));
    QProcess xorriso;
    xorriso.start(QStringLiteral("xorriso"),
                  {"-as", "mkisofs", "-J", "-R", "-V", "BACKUP_2024", "-o", image, m_tree});
    ASSERT_TRUE(xorriso.waitForFinished(60000) && xorriso.exitCode() == 0);
    VolumeReader::Volume volume;
    QString error;
    ASSERT_TRUE(VolumeReader::ReadFile(image, volume, error));

    ASSERT_EQ(Run({"new", "cat.db3"}), 0);
    ASSERT_EQ(Run({"add-storage", "cat.db3", "Shelf"}), 0);
    ASSERT_EQ(Run({"add-disc", "cat.db3", "Shelf", "img.iso"}), 0) << m_errors.toStdString();
    EXPECT_TRUE(m_errors.isEmpty()) << m_errors.toStdString();
    EXPECT_EQ(Rows("SELECT UnitName || '|' || Label || '|' || SerialNumber FROM Units "
                   "JOIN DiscInfo USING (DiscInfoID) WHERE UnitType = 'C'"),
              QStringList{QStringLiteral("BACKUP_2024|BACKUP_2024|%1").arg(volume.SerialNumber)});

    // Every entry of the tree under its parent, with its kind and a file's size.
    QStringList expected;
    QDirIterator it(m_tree, QDir::AllEntries | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        const QString parent = info.path() == m_tree ? QStringLiteral("BACKUP_2024")
                                                     : QFileInfo(info.path()).fileName();
        expected << parent + '/' + info.fileName() +
                        (info.isFile() ? QStringLiteral(" F %1").arg(info.size())
                                       : QStringLiteral(" D"));
    }
    expected.sort();
    EXPECT_EQ(Rows("SELECT p.UnitName || '/' || u.UnitName || ' ' || u.UnitType || CASE "
                   "u.UnitType WHEN 'F' THEN ' ' || u.UnitSize ELSE '' END FROM Units u "
                   "JOIN Units p ON p.UnitID = u.ParentUnitID ORDER BY 1"),
              expected);
    EXPECT_EQ(Rows("SELECT DateModified FROM Units WHERE UnitName = '2019 letter.txt'"),
              QStringList{QStringLiteral("2019-03-04 05:06:07")});
    EXPECT_EQ(Run({"check", "cat.db3"}), 0);

    // The same image in a drive is the same disc.
    EXPECT_EQ(Run({"add-disc", "cat.db3", "Shelf", image, "--name", "Copy"}, image), 3);
}

TEST_F(AddDiscImage, AFileWithoutAReadableFileSystemIsNoDisc)
{
    ASSERT_EQ(Run({"new", "cat.db3"}), 0);
    ASSERT_EQ(Run({"add-storage", "cat.db3", "Shelf"}), 0);
    QStringList files;
    QFile noise(m_dir.filePath(QStringLiteral("noise.iso")));
    ASSERT_TRUE(noise.open(QIODevice::WriteOnly));
    QByteArray bytes(1 << 20, Qt::Uninitialized);
    QRandomGenerator::global()->fillRange(reinterpret_cast<quint32*>(bytes.data()),
                                          bytes.size() / 4);
    noise.write(bytes);
    noise.close();
    files << noise.fileName();
    QFile empty(m_dir.filePath(QStringLiteral("empty.iso")));
    ASSERT_TRUE(empty.open(QIODevice::WriteOnly));
    empty.close();
    files << empty.fileName();

    for (const QString& file : files) {
        EXPECT_EQ(Run({"add-disc", "cat.db3", "Shelf", file, "--name", "X"}), 1)
            << file.toStdString();
        EXPECT_TRUE(m_errors.contains("Disc is absent or invalid")) << m_errors.toStdString();
    }
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Units"), QStringList{"0"});
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM DiscInfo"), QStringList{"0"});
}
