// shelfwise-cli and the UnitSources table: a catalogue of version 1.0 (the sample
// without the table) is upgraded on open when the user agrees and keeps its rows; what
// the command line adds records where it was read from; check finds a source row whose
// unit is gone.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"

#include "sqlitewrapper/RowMappers.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class UnitSourcesCli : public ::testing::Test
{
protected:
    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()), m_dir.path());
    }

    QString Path(const char* name) const { return m_dir.filePath(QString::fromLatin1(name)); }

    static QString Query(const QString& catalogue, const QString& sql)
    {
        return QueryText(catalogue, sql);
    }

    // The sample catalogue as version 1.0 left it: the same rows, no UnitSources, no
    // UnitUpdates table and no name index.
    QString OldCatalogue()
    {
        const QString path = CopySampleCatalogue(Path("old.db3"));
        CSqliteWrapper db;
        db.Open(path, false);
        RollBackSchemaTo(db, QStringLiteral("1.0"));
        return path;
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
};

// Every storage and unit with all its columns, one text.
const char kAllRows[] =
    "SELECT (SELECT group_concat(StorageID || '|' || StorageName || '|' || FilesNumber || '|' "
    "|| StorageSize, ';') FROM Storages) || '#' || (SELECT group_concat(UnitID || '|' || "
    "UnitName || '|' || IFNULL(ParentUnitID, '-') || '|' || UnitSize || '|' || SubfilesNumber "
    "|| '|' || DateAdded || '|' || IFNULL(DateModified, '-'), ';') FROM Units)";

} // namespace

TEST_F(UnitSourcesCli, AnOlderCatalogueIsUpgradedOnConsentAndKeepsItsRows)
{
    const QString old = OldCatalogue();
    const QString rows = Query(old, kAllRows);
    ASSERT_FALSE(rows.isEmpty());

    // Refused: the file stays as it was.
    EXPECT_NE(Run({"--no", "check", old}).status, 0);
    EXPECT_EQ(Query(old, "SELECT VersionNumber FROM DatabaseVersion"), QStringLiteral("1.0"));
    EXPECT_EQ(Query(old, "SELECT COUNT(*) FROM sqlite_master WHERE name = 'UnitSources'"),
              QStringLiteral("0"));

    // Accepted: upgraded and saved, the same rows, no source for any of them, consistent.
    const CliResult checked = Run({"--yes", "check", old});
    EXPECT_EQ(checked.status, 0) << checked.err.toStdString() << checked.out.toStdString();
    EXPECT_EQ(Query(old, "SELECT VersionNumber FROM DatabaseVersion"), QStringLiteral("1.5"));
    EXPECT_EQ(Query(old, "SELECT COUNT(*) FROM UnitSources"), QStringLiteral("0"));
    EXPECT_EQ(Query(old, kAllRows), rows);
    // Its names wait for the index; find reads them all meanwhile.
    EXPECT_EQ(Query(old, "SELECT COUNT(*) FROM UnitNameIndexPending"),
              Query(old, "SELECT COUNT(*) FROM Units"));
    const CliResult found = Run({"find", old, "FILMS", "holiday"});
    EXPECT_EQ(found.status, 0) << found.err.toStdString();
    EXPECT_EQ(found.out, QStringLiteral("id\tname\ttype\tsize\tlocation\n1\tHoliday Films "
                                        "2019\tDisc\t3054295743\tLiving room shelf\n"));
    // The table the script made is the template's (the script's lines joined by CR LF).
    const char schema[] =
        "SELECT REPLACE(sql, char(13), '') FROM sqlite_master WHERE name = 'UnitSources'";
    EXPECT_EQ(Query(old, schema), Query(TemplateCataloguePath(), schema));

    // What is added from now on records where it came from (a path relative to the
    // working folder is stored absolute).
    const QString folder = m_dir.filePath(QStringLiteral("Holiday 'photos'"));
    ASSERT_TRUE(QDir().mkpath(folder + QStringLiteral("/day 1")));
    EXPECT_EQ(Run({"add-folder", old, "Car", "Holiday 'photos'"}).status, 0);
    EXPECT_EQ(Query(old, "SELECT SourcePath || '|' || IFNULL(MountPoint, '-') FROM UnitSources "
                         "JOIN Units USING (UnitID) WHERE UnitName = 'Holiday ''photos'''"),
              folder + QStringLiteral("|-"));
    EXPECT_EQ(Run({"check", old}).status, 0);
}

TEST_F(UnitSourcesCli, ADiscImageRecordsItselfAndCheckFindsASourceWithoutItsUnit)
{
    const QString cat = Path("cat.db3");
    ASSERT_EQ(Run({"new", cat}).status, 0);
    ASSERT_EQ(Run({"add-storage", cat, "Shelf"}).status, 0);

    if (!QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty()) {
        const QString tree = m_dir.filePath(QStringLiteral("tree"));
        ASSERT_TRUE(QDir().mkpath(tree + QStringLiteral("/Docs")));
        QFile file(tree + QStringLiteral("/Docs/a.txt"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("abc");
        file.close();
        QProcess xorriso;
        xorriso.start(QStringLiteral("xorriso"), {"-as", "mkisofs", "-quiet", "-J", "-R", "-V",
                                                  "BACKUP", "-o", Path("img.iso"), tree});
        ASSERT_TRUE(xorriso.waitForFinished(60000) && xorriso.exitCode() == 0);
        const CliResult added = Run({"add-disc", cat, "Shelf", "img.iso"});
        ASSERT_EQ(added.status, 0) << added.err.toStdString();
        EXPECT_EQ(Query(cat, "SELECT SourcePath || '|' || MountPoint || '|' || COUNT(*) FROM "
                             "UnitSources JOIN Units USING (UnitID) WHERE UnitType = 'C'"),
                  Path("img.iso") + '|' + Path("img.iso") + QStringLiteral("|1"));
        EXPECT_EQ(Query(cat, "SELECT COUNT(*) FROM UnitSources"), QStringLiteral("1"));
        EXPECT_EQ(Run({"check", cat}).status, 0);
    }

    {
        CSqliteWrapper db;
        db.Open(cat, false);
        db.Execute(QStringLiteral("INSERT INTO UnitSources (UnitID, SourcePath, MountPoint, "
                                  "ScannedAt) VALUES (999, '/media/gone', NULL, "
                                  "'2026-01-02 03:04:05')"));
    }
    const CliResult found = Run({"check", cat});
    EXPECT_EQ(found.status, 1);
    EXPECT_TRUE(found.out.contains(
        QStringLiteral("Source of unit 999 \"/media/gone\": UnitID is 999, Units has no such row")))
        << found.out.toStdString();
    EXPECT_EQ(found.out.count(QStringLiteral("Source of unit")), 1);
}
