// shelfwise-cli import run as a process: what it prints, and that a list that does not
// parse (or a format it does not know) leaves the catalogue file untouched.
#include "cli/CliProcess.h"

#include <QCryptographicHash>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class ImportCommand : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_cat = m_dir.filePath(QStringLiteral("c.db3"));
        ASSERT_EQ(Run({"new", m_cat}).status, 0);
    }

    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()));
    }

    QString Write(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path;
    }

    QByteArray CatalogueHash()
    {
        QFile file(m_cat);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256);
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_cat;
};

const char kEfu[] = "Filename,Size,Date Modified,Date Created,Attributes\r\n"
                    "\"E:\\Backup\\a.txt\",10,,,32\r\n"
                    "\"E:\\Backup\\b.txt\",20,,,32\r\n"
                    "\"E:\\Old\",0,,,16\r\n";

} // namespace

TEST_F(ImportCommand, AddsAStorageAndPrintsWhatItAdded)
{
    const QString list = Write(QStringLiteral("backup.efu"), kEfu);
    const CliResult result = Run({"import", m_cat, "Backups", list});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, QStringLiteral("storage\tdiscs\tfolders\tfiles\n1\t1\t2\t2\n"));
    const CliResult storages = Run({"storages", m_cat});
    EXPECT_TRUE(storages.out.contains(QStringLiteral("Backups\t\t2\t1\t2\t30")))
        << storages.out.toStdString();
    // A second import into the storage of that name adds to it.
    ASSERT_EQ(Run({"import", m_cat, "Backups", list, "--format", "EFU"}).status, 0);
    EXPECT_TRUE(Run({"storages", m_cat}).out.contains(QStringLiteral("Backups\t\t4\t2\t4\t60")));
}

TEST_F(ImportCommand, ABrokenListOrAnUnknownFormatSavesNothing)
{
    const QByteArray before = CatalogueHash();
    const QString broken =
        Write(QStringLiteral("broken.efu"), QByteArray(kEfu) + "\"E:\\c.txt\",ten,,,32\r\n");
    const CliResult result = Run({"import", m_cat, "Backups", broken});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.contains(broken + QStringLiteral(":5: unreadable size \"ten\"")))
        << result.err.toStdString();
    EXPECT_EQ(CatalogueHash(), before);

    const CliResult unknown = Run({"import", m_cat, "Backups", broken, "--format", "xls"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_TRUE(unknown.err.contains(QStringLiteral("csv, json, efu")) ||
                (unknown.err.contains(QStringLiteral("efu")) &&
                 unknown.err.contains(QStringLiteral("cdcat"))))
        << unknown.err.toStdString();

    const QString text = Write(QStringLiteral("notes.txt"), "nothing to see\n");
    const CliResult unguessed = Run({"import", m_cat, "Backups", text});
    EXPECT_EQ(unguessed.status, 1);
    EXPECT_TRUE(unguessed.err.contains(QStringLiteral("--format"))) << unguessed.err.toStdString();
    EXPECT_EQ(CatalogueHash(), before);
}
