// shelfwise-cli update and history on real trees and disc images: the change report
// as scripts read it, nothing written by --dry-run or when the source is not there or
// is another disc, and every applied update in the unit's history.
#include "TestCatalogue.h"

#include "acquisition/RescanFixture.h"
#include "cli/CliProcess.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using RescanTools::MakeFile;

namespace {

// Every unit of the catalogue with its parent, size and date, one text.
const char kUnits[] = "SELECT group_concat(UnitName || '|' || IFNULL(ParentUnitID, '-') || '|' || "
                      "UnitSize || '|' || IFNULL(DateModified, '-'), ';') FROM Units";

class UpdateCommands : public ::testing::Test
{
protected:
    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()), m_dir.path());
    }
    QString Path(const char* name) const { return m_dir.filePath(QString::fromLatin1(name)); }

    // A new catalogue with one storage and what add-folder or add-disc adds to it; returns
    // the new unit's id.
    QString Add(const char* command, const QString& path)
    {
        EXPECT_EQ(Run({"new", m_cat}).status, 0);
        EXPECT_EQ(Run({"add-storage", m_cat, "Shelf"}).status, 0);
        const CliResult added = Run({command, m_cat, "Shelf", path});
        EXPECT_EQ(added.status, 0) << added.err.toStdString();
        return added.out.split('\n').value(1).section('\t', 0, 0);
    }
    QString Units() const { return QueryText(m_cat, kUnits); }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_cat = Path("cat.db3");
};

} // namespace

TEST_F(UpdateCommands, AFolderChangedOnDiskIsReportedThenAppliedAndKeptInItsHistory)
{
    const QString tree = Path("tree");
    MakeFile(tree + "/a/keep.txt", 10);
    MakeFile(tree + "/a/grow.txt", 5);
    MakeFile(tree + "/a/gone.txt", 7);
    MakeFile(tree + "/a/move.dat", 20);
    MakeFile(tree + "/old/x.txt", 4);
    const QString id = Add("add-folder", tree);
    MakeFile(tree + "/a/grow.txt", 8);
    ASSERT_TRUE(QFile::remove(tree + "/a/gone.txt"));
    ASSERT_TRUE(QDir(tree).mkdir("b") && QDir(tree).rename("a/move.dat", "b/move.dat"));
    ASSERT_TRUE(QDir(tree + "/old").removeRecursively());
    MakeFile(tree + "/new.txt", 3);

    const QString before = Units();
    const CliResult dry = Run({"update", m_cat, "--unit", id, "--dry-run"});
    ASSERT_EQ(dry.status, 0) << dry.err.toStdString();
    const QString t =
        QDateTime::fromSecsSinceEpoch(RescanTools::kThen).toString("yyyy-MM-dd HH:mm:ss");
    EXPECT_EQ(dry.out, QStringLiteral("change\tpath\tsize\tnewSize\tmodified\tnewModified\n"
                                      "removed\ta/gone.txt\t7\t\t%1\t\n"
                                      "changed\ta/grow.txt\t5\t8\t%1\t%1\n"
                                      "added\tb\t\t\t\t\n"
                                      "moved\tb/move.dat\t20\t20\t%1\t%1\ta/move.dat\n"
                                      "added\tnew.txt\t\t3\t\t%1\n"
                                      "removed\told\t\t\t\t\n"
                                      "removed\told/x.txt\t4\t\t%1\t\n")
                           .arg(t));
    EXPECT_TRUE(dry.err.trimmed().endsWith("1 changed, 1 moved")) << dry.err.toStdString();
    EXPECT_EQ(Units(), before);

    const CliResult applied = Run({"--json", "update", m_cat, "--unit", id});
    ASSERT_EQ(applied.status, 0) << applied.err.toStdString();
    const QJsonArray rows = QJsonDocument::fromJson(applied.out.toUtf8()).array();
    ASSERT_EQ(rows.size(), 7);
    for (const auto& row : rows) {
        QStringList keys{"change", "modified", "newModified", "newSize", "path", "size"};
        if (row.toObject()["change"] == "moved")
            keys.insert(1, "from"); // on a move only
        EXPECT_EQ(row.toObject().keys(), keys);
    }
    EXPECT_NE(Units(), before);
    EXPECT_EQ(Run({"check", m_cat}).status, 0);
    EXPECT_EQ(Run({"update", m_cat, "--unit", id}).out.count('\n'), 1); // nothing left

    const QStringList history = Run({"history", m_cat, "--unit", id}).out.split('\n');
    ASSERT_EQ(history.size(), 3); // header, one update, the last line's end
    EXPECT_EQ(history[0], "date\tadded\tremoved\tchanged\tmoved\tfiles\tsize");
    EXPECT_TRUE(history[1].endsWith("\t2\t3\t1\t1\t4\t41")) << history[1].toStdString();
    EXPECT_TRUE(
        QDateTime::fromString(history[1].section('\t', 0, 0), "yyyy-MM-dd HH:mm:ss").isValid());

    // A source that is gone: nothing changes.
    ASSERT_TRUE(QDir(tree).removeRecursively());
    const QString after = Units();
    const CliResult gone = Run({"update", m_cat, "--unit", id});
    EXPECT_EQ(gone.status, 1);
    EXPECT_TRUE(gone.err.contains("cannot be read") && gone.out.isEmpty())
        << gone.err.toStdString();
    EXPECT_EQ(Units(), after);
}

TEST_F(UpdateCommands, ACatalogueThatRecordsNoSourceNeedsThePath)
{
    MakeFile(Path("tree/a.txt"), 1);
    const QString id = Add("add-folder", Path("tree"));
    {
        CSqliteWrapper db;
        db.Open(m_cat, false);
        RollBackSchemaTo(db, QStringLiteral("1.0"));
    }
    MakeFile(Path("tree/b.txt"), 2);
    const CliResult refused = Run({"--yes", "update", m_cat, "--unit", id});
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.err.contains("PATH")) << refused.err.toStdString();

    const CliResult updated = Run({"--yes", "update", m_cat, "--unit", id, "tree"});
    ASSERT_EQ(updated.status, 0) << updated.err.toStdString();
    EXPECT_TRUE(updated.out.contains("\nadded\tb.txt\t\t2\t")) << updated.out.toStdString();
    EXPECT_EQ(QueryText(m_cat, "SELECT SourcePath FROM UnitSources"), Path("tree"));
    EXPECT_EQ(Run({"history", m_cat, "--unit", id}).out.count('\n'), 2);
}

TEST_F(UpdateCommands, AnotherDiscImageIsRefusedUnlessForced)
{
    if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    MakeFile(Path("one/a.txt"), 3);
    MakeFile(Path("two/a.txt"), 3);
    MakeFile(Path("two/more/b.txt"), 5);
    ASSERT_TRUE(RescanTools::MakeImage(Path("one"), Path("one.iso")));
    ASSERT_TRUE(RescanTools::MakeImage(Path("two"), Path("two.iso")));
    const QString id = Add("add-disc", Path("one.iso"));

    // The recorded image is the disc catalogued: nothing to ask, nothing changed.
    EXPECT_EQ(Run({"update", m_cat, "--unit", id}).out.count('\n'), 1);
    const QString before = Units();
    const CliResult other = Run({"update", m_cat, "--unit", id, "two.iso"});
    EXPECT_EQ(other.status, 3);
    EXPECT_TRUE(other.err.startsWith("This looks like another disc")) << other.err.toStdString();
    EXPECT_EQ(Units(), before);

    const CliResult forced = Run({"update", m_cat, "--unit", id, "two.iso", "--force"});
    EXPECT_EQ(forced.status, 0) << forced.err.toStdString();
    EXPECT_TRUE(forced.out.contains("added\tmore/b.txt\t\t5\t")) << forced.out.toStdString();
    EXPECT_EQ(QueryText(m_cat, "SELECT SourcePath || '|' || MountPoint FROM UnitSources"),
              Path("two.iso") + '|' + Path("two.iso"));
    EXPECT_EQ(Run({"check", m_cat}).status, 0);
}
