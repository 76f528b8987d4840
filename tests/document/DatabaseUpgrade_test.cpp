#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "document/CatalogueCheck.h"
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
    EXPECT_EQ(Version::ProgramVersion(), ParseVersionNumber(QStringLiteral("1.5")));
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

TEST(DatabaseUpgrade, TheShippedScriptsBringTheSampleAtVersion1_0ToTheCurrentSchema)
{
    FakePrompter prompter;
    prompter.SetDefaultYesNo(true);
    UpdatesFolder updates;
    QTemporaryDir dir;
    // The sample as version 1.0 left it: the same rows, without the UnitSources and
    // UnitUpdates tables and the name index.
    const auto oldSample = [&dir](const QString& name) {
        const QString path = CopySampleCatalogue(dir.filePath(name));
        CSqliteWrapper db;
        db.Open(path, false);
        RollBackSchemaTo(db, QStringLiteral("1.0"));
        return path;
    };

    // Without the scripts the catalogue is used as it is: adding and deleting work, and
    // no unit has a source.
    const QString unchanged = oldSample(QStringLiteral("unchanged.db3"));
    {
        CShelfwiseDoc doc;
        ASSERT_TRUE(doc.OnOpenDocument(unchanged));
        EXPECT_EQ(doc.Database().GetDatabaseVersion(), QStringLiteral("1.0"));
        UnitSource source;
        EXPECT_FALSE(doc.Database().GetUnitSource(1, source));
        EXPECT_FALSE(doc.Database().IsNameIndexComplete());
        EXPECT_EQ(doc.Database().CountByName({QStringLiteral("holiday")}), 1);
        EXPECT_TRUE(doc.DeleteItem(nullptr, QStringLiteral("Holiday Films 2019"), 1, false));
        EXPECT_FALSE(doc.Database().UnitExists(1));
    }

    const QDir shipped(QStringLiteral(SHELFWISE_DATA_DIR "/Updates"));
    for (const QString& name : shipped.entryList(QDir::Files)) {
        QFile script(shipped.filePath(name));
        ASSERT_TRUE(script.open(QIODevice::ReadOnly));
        updates.Add(name, QString::fromUtf8(script.readAll()));
    }
    const QString path = oldSample(QStringLiteral("old.db3"));
    const QString rows = QStringLiteral("SELECT COUNT(*) || '|' || SUM(UnitSize) || '|' || "
                                        "group_concat(UnitName, '/') FROM Units");
    const std::vector<QString> before = Column(path, rows);

    CShelfwiseDoc doc;
    const size_t asked = prompter.Questions().size();
    ASSERT_TRUE(doc.OnOpenDocument(path));
    EXPECT_EQ(prompter.Questions().size(), asked + 1);
    EXPECT_EQ(doc.Database().GetDatabaseVersion(), QStringLiteral("1.5"));
    UnitSource source;
    EXPECT_FALSE(doc.Database().GetUnitSource(1, source));
    EXPECT_TRUE(CCatalogueCheck(doc.Database()).Run().empty());
    // Saved at once, rows kept, and the table as the template has it.
    EXPECT_EQ(Column(path, QStringLiteral("SELECT VersionNumber FROM DatabaseVersion")),
              std::vector<QString>{"1.5"});
    EXPECT_EQ(Column(path, rows), before);
    // The script's lines were joined by CR LF.
    const QString schema =
        QStringLiteral("SELECT REPLACE(sql, char(13), '') FROM sqlite_master WHERE name IN "
                       "('UnitSources', 'UnitUpdates', 'UnitUpdatesByUnit', 'UnitsWithNotes', "
                       "'Thumbnails', 'ArchiveInfo') OR name LIKE "
                       "'UnitNameIndex%' ORDER BY name");
    EXPECT_EQ(Column(path, schema).size(), 15u);
    EXPECT_EQ(Column(path, schema), Column(TemplateCataloguePath(), schema));
    EXPECT_EQ(Column(path, QStringLiteral("SELECT COUNT(*) FROM UnitSources")),
              std::vector<QString>{"0"});

    // Every unit the upgrade found waits for the index, which is built in steps while
    // the catalogue is edited; names are found by the plain scan meanwhile.
    CSqliteWrapper& db = doc.Database();
    EXPECT_FALSE(db.IsNameIndexComplete());
    EXPECT_EQ(db.CountUnindexedNames(), db.CountUnits());
    EXPECT_EQ(db.FindByName({QStringLiteral("holiday films")}, 10, 0).size(), 1u);
    EXPECT_TRUE(doc.RenameUnit(1, QStringLiteral("Holiday Films 2019 (copy)"), nullptr));
    EXPECT_TRUE(doc.DeleteItem(nullptr, QStringLiteral("Box 1 (attic)"), 2, true));
    while (db.IndexNamesStep(50) > 0) {
    }
    EXPECT_TRUE(db.IsNameIndexComplete());
    EXPECT_NO_THROW(db.Execute(QStringLiteral(
        "INSERT INTO UnitNameIndex (UnitNameIndex, rank) VALUES ('integrity-check', 1)")));
    for (const char* word : {"holiday", "mp3", "jpg", "o", "copy"}) {
        const QStringList words{QString::fromUtf8(word)};
        EXPECT_EQ(db.CountByName(words), db.CountByName(words, NameLookup::Scan)) << word;
    }
    EXPECT_EQ(db.CountByName({QStringLiteral("copy")}), 1);
}
