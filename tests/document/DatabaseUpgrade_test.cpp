#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "document/ProgramVersion.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// The Updates folder of the test run's settings folder, emptied before and after.
class UpdatesFolder
{
public:
    UpdatesFolder() : m_dir(SettingsFolder() + QStringLiteral("Updates"))
    {
        m_dir.removeRecursively();
        QDir().mkpath(m_dir.path());
    }
    ~UpdatesFolder() { m_dir.removeRecursively(); }

    void Add(const QString& name, const QString& sql)
    {
        QFile file(m_dir.filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write(sql.toUtf8());
    }

    // A script that records that it ran.
    void AddRecording(const QString& name, const QString& version)
    {
        Add(name, QStringLiteral("CREATE TABLE IF NOT EXISTS Ran (Version TEXT);\n"
                                 "INSERT INTO Ran VALUES ('%1');\n")
                      .arg(version));
    }

private:
    QDir m_dir;
};

// A catalogue file whose DatabaseVersion row says version.
QString CatalogueWithVersion(const QTemporaryDir& dir, const QString& version)
{
    const QString path = dir.filePath(version + QStringLiteral(".db3"));
    QFile::copy(TemplateCataloguePath(), path);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    CSqliteWrapper db;
    db.Open(path, false);
    db.Execute(QStringLiteral("UPDATE DatabaseVersion SET VersionNumber = '%1'").arg(version));
    return path;
}

std::vector<QString> Column(const QString& path, const QString& sql)
{
    CSqliteWrapper db;
    db.Open(path, false);
    std::vector<QString> rows;
    db.QueryRows(sql, rows, &RowMappers::Texts);
    return rows;
}

} // namespace

TEST(DatabaseUpgrade, VersionNumbers)
{
    using Version::ParseVersionNumber;
    EXPECT_EQ(ParseVersionNumber(QStringLiteral("2.7")), 0x00020007u);
    EXPECT_EQ(ParseVersionNumber(QStringLiteral("2.7.1")), 0x00020007u);
    EXPECT_EQ(ParseVersionNumber(QStringLiteral("10.1")), 0x000A0001u);
    EXPECT_GT(ParseVersionNumber(QStringLiteral("10.1")),
              ParseVersionNumber(QStringLiteral("9.9")));
    EXPECT_EQ(ParseVersionNumber(QStringLiteral("notes.txt")), 0u);
    EXPECT_EQ(ParseVersionNumber(QStringLiteral("12")), 12u);
    EXPECT_EQ(Version::ProgramVersion(), ParseVersionNumber(QStringLiteral("1.0")));
    EXPECT_EQ(Version::ProgramVersionText().count(QLatin1Char('.')), 3);
}

TEST(DatabaseUpgrade, OlderCatalogueRunsNewerScriptsInNumericOrderAndIsSavedAtOnce)
{
    FakePrompter prompter;
    UpdatesFolder updates;
    updates.AddRecording(QStringLiteral("0.5.sql"), QStringLiteral("0.5"));
    updates.AddRecording(QStringLiteral("0.10.sql"), QStringLiteral("0.10"));
    updates.AddRecording(QStringLiteral("0.9.sql"), QStringLiteral("0.9"));
    updates.AddRecording(QStringLiteral("0.7"), QStringLiteral("0.7"));
    updates.AddRecording(QStringLiteral("notes.txt"), QStringLiteral("notes"));
    updates.Add(QStringLiteral("1.0.sql"),
                QStringLiteral("UPDATE DatabaseVersion SET VersionNumber = '1.0';\n"));
    QTemporaryDir dir;
    const QString path = CatalogueWithVersion(dir, QStringLiteral("0.5"));

    CShelfwiseDoc doc;
    prompter.QueueYesNo(true);
    ASSERT_TRUE(doc.OnOpenDocument(path));
    ASSERT_EQ(prompter.Questions().size(), 1u);
    EXPECT_EQ(prompter.Questions()[0].MessageIcon, UserPrompter::Icon::Question);
    EXPECT_FALSE(doc.IsModified());
    // The user's file holds the upgrade already.
    EXPECT_EQ(Column(path, QStringLiteral("SELECT Version FROM Ran")),
              (std::vector<QString>{"0.7", "0.9", "0.10"}));
    EXPECT_EQ(Column(path, QStringLiteral("SELECT VersionNumber FROM DatabaseVersion")),
              std::vector<QString>{"1.0"});
}

TEST(DatabaseUpgrade, FailingScriptRollsBackEveryScriptAndLeavesTheFile)
{
    FakePrompter prompter;
    UpdatesFolder updates;
    updates.AddRecording(QStringLiteral("0.6.sql"), QStringLiteral("0.6"));
    updates.Add(QStringLiteral("0.8.sql"), QStringLiteral("UPDATE NoSuchTable SET x = 1;\n"));
    QTemporaryDir dir;
    const QString path = CatalogueWithVersion(dir, QStringLiteral("0.5"));

    CShelfwiseDoc doc;
    prompter.QueueYesNo(true);
    EXPECT_FALSE(doc.OnOpenDocument(path));
    EXPECT_EQ(prompter.LastMessage(), QStringLiteral("no such table: NoSuchTable"));
    EXPECT_EQ(Column(path, QStringLiteral("SELECT COUNT(*) FROM sqlite_master WHERE name = 'Ran'")),
              std::vector<QString>{"0"});
    EXPECT_EQ(Column(path, QStringLiteral("SELECT VersionNumber FROM DatabaseVersion")),
              std::vector<QString>{"0.5"});
}

TEST(DatabaseUpgrade, RefusedOrNewerCataloguesAreNotUsed)
{
    FakePrompter prompter;
    UpdatesFolder updates;
    QTemporaryDir dir;
    CShelfwiseDoc doc;

    // No to the upgrade closes the program.
    prompter.QueueYesNo(false);
    EXPECT_FALSE(doc.OnOpenDocument(CatalogueWithVersion(dir, QStringLiteral("0.5"))));
    EXPECT_EQ(prompter.CloseCount(), 1);

    // A newer catalogue offers another one, or closes.
    const QString newer = CatalogueWithVersion(dir, QStringLiteral("9.3"));
    EXPECT_FALSE(doc.OnOpenDocument(newer));
    ASSERT_EQ(prompter.PathRequests().size(), 1u);
    EXPECT_EQ(prompter.PathRequests()[0].CatalogueVersion, QStringLiteral("9.3"));
    EXPECT_EQ(prompter.CloseCount(), 2);

    QSignalSpy spy(&doc, &CShelfwiseDoc::openDocumentRequested);
    prompter.QueuePath(QStringLiteral("/elsewhere/other.db3"));
    EXPECT_FALSE(doc.OnOpenDocument(newer));
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).toString(), QStringLiteral("/elsewhere/other.db3"));
    EXPECT_EQ(prompter.CloseCount(), 2);
    // The newer file itself was never changed.
    EXPECT_EQ(Column(newer, QStringLiteral("SELECT VersionNumber FROM DatabaseVersion")),
              std::vector<QString>{"9.3"});
}
