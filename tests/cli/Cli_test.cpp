// shelfwise-cli end to end: the real program on real catalogue files.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"

#include "sqlitewrapper/RowMappers.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class Cli : public ::testing::Test
{
protected:
    using Result = CliResult;

    Result Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()));
    }

    QString Path(const char* name) const { return m_dir.filePath(QString::fromLatin1(name)); }

    QString Sample() { return CopySampleCatalogue(Path("sample.db3")); }

    static QString Query(const QString& catalogue, const QString& sql)
    {
        return QueryText(catalogue, sql);
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
};

} // namespace

TEST_F(Cli, CataloguesStoragesAndCategoriesByHand)
{
    const QString cat = Path("discs.db3");
    ASSERT_EQ(Run({"new", cat}).status, 0);
    EXPECT_EQ(Query(cat, "SELECT VersionNumber FROM DatabaseVersion"), QStringLiteral("1.5"));

    EXPECT_EQ(Run({"add-storage", cat, "Living room shelf", "--notes", "top row"}).status, 0);
    const Result twice = Run({"add-storage", cat, "Living room shelf"});
    EXPECT_EQ(twice.status, 1);
    EXPECT_TRUE(twice.err.contains(
        "Storage with name \"Living room shelf\" is already exists. Please choose another name."));
    EXPECT_TRUE(Run({"add-storage", cat, ""}).err.contains("Please set storage name."));
    EXPECT_TRUE(Run({"add-storage", cat, "  "}).err.contains("Please set storage name."));
    EXPECT_TRUE(
        Run({"rename", cat, "Living room shelf", " "}).err.contains("Please set storage name."));
    EXPECT_TRUE(Run({"add-storage", cat, " Living room shelf "}).err.contains("already"));
    EXPECT_EQ(Run({"add-storage", cat, "Box"}).status, 0);

    const Result listed = Run({"--json", "storages", cat});
    ASSERT_EQ(listed.status, 0);
    const QJsonArray storages = QJsonDocument::fromJson(listed.out.toUtf8()).array();
    ASSERT_EQ(storages.size(), 2);
    EXPECT_EQ(storages[0].toObject()["notes"].toString(), QStringLiteral("top row"));
    EXPECT_EQ(storages[1].toObject()["sizeText"].toString(), QStringLiteral("0 bytes"));

    EXPECT_EQ(Run({"rename", cat, "Box", "Attic box"}).status, 0);
    EXPECT_EQ(Run({"rename", cat, "1", "Attic box"}).status, 1);
    EXPECT_EQ(Run({"notes", cat, "Attic box", "dusty"}).status, 0);
    EXPECT_EQ(Query(cat, "SELECT StorageNotes FROM Storages WHERE StorageName = 'Attic box'"),
              QStringLiteral("dusty"));

    EXPECT_EQ(Run({"add-category", cat, "Books"}).status, 0);
    EXPECT_EQ(Run({"add-category", cat, "Books"}).status, 1);
    EXPECT_EQ(Run({"--yes", "map-extension", cat, " .EPUB", "Books"}).status, 0);
    EXPECT_TRUE(Run({"extensions", cat, "Books"}).out.contains("epub\tBooks"));
    const Result taken = Run({"--no", "map-extension", cat, ".Mp3", "Books"});
    EXPECT_EQ(taken.status, 1);
    EXPECT_TRUE(taken.err.contains("Extension mp3 is already associated with category Music"));
    EXPECT_EQ(Run({"delete-category", cat, "Film", "--yes"}).status, 1);

    // Questions need an answer when there is no terminal.
    const Result unanswered = Run({"delete", cat, "Attic box"});
    EXPECT_EQ(unanswered.status, 1);
    EXPECT_TRUE(unanswered.err.contains("--yes or --no"));
    EXPECT_EQ(Run({"delete", cat, "Attic box", "--no"}).status, 0);
    EXPECT_EQ(Query(cat, "SELECT COUNT(*) FROM Storages"), QStringLiteral("2"));
    EXPECT_EQ(Run({"delete", cat, "Attic box", "--yes"}).status, 0);
    EXPECT_EQ(Query(cat, "SELECT COUNT(*) FROM Storages"), QStringLiteral("1"));
    EXPECT_EQ(Run({"vacuum", cat, "--yes"}).status, 0);
    EXPECT_EQ(Run({"check", cat}).status, 0);

    // Nothing is left behind in the settings folder but its own files.
    for (const QString& name : QDir(m_settings.path()).entryList(QDir::Files))
        EXPECT_FALSE(name.front().isDigit()) << name.toStdString();
}

TEST_F(Cli, BrowsesSearchesAndEditsTheSampleCatalogue)
{
    const QString cat = Sample();
    ASSERT_EQ(Run({"check", cat}).status, 0);
    const QString disc = Query(cat, "SELECT UnitID FROM Units WHERE UnitType = 'C' AND "
                                    "SubfilesNumber > 0 ORDER BY UnitID LIMIT 1");
    const QString song = Query(cat, "SELECT UnitID FROM Units WHERE CategoryID = 3 AND "
                                    "UnitInfoID IS NOT NULL ORDER BY UnitID LIMIT 1");
    const QString artist = Query(cat, "SELECT Artist FROM MusicInfo INNER JOIN Units ON "
                                      "MusicInfoID = UnitInfoID WHERE UnitID = " +
                                          song);

    const Result top = Run({"ls", cat, "--unit", disc});
    EXPECT_EQ(top.status, 0);
    EXPECT_TRUE(top.out.startsWith("id\tname\ttype\tcategory\tsize\tsizeText\n"));
    const Result shown = Run({"--json", "show", cat, "--unit", song});
    const QJsonObject fields = QJsonDocument::fromJson(shown.out.toUtf8()).object();
    EXPECT_EQ(fields["artist"].toString(), artist);
    EXPECT_EQ(fields["type"].toString(), QStringLiteral("File"));
    EXPECT_TRUE(Run({"show", cat, "--unit", disc}).out.contains("Serial Number\t"));

    const Result found = Run({"search", cat, "--category", "music", "--artist", artist});
    EXPECT_EQ(found.status, 0);
    EXPECT_TRUE(found.out.contains(song + "\t"));
    const Result none = Run({"search", cat, "--text", "no such name anywhere"});
    EXPECT_EQ(none.status, 0);
    EXPECT_TRUE(none.err.contains("No matches found. Try another search."));
    EXPECT_EQ(Run({"search", cat, "--width", "<", "100"}).status, 2);
    EXPECT_TRUE(Run({"search", cat, "--text", "Tom's"}).err.contains("No matches found."));
    const Result bySize = Run({"--json", "search", cat, "--sort", "size", "--descending"});
    const QJsonArray sized = QJsonDocument::fromJson(bySize.out.toUtf8()).array();
    ASSERT_GT(sized.size(), 2);
    EXPECT_GE(sized[0].toObject()["size"].toDouble(), sized[1].toObject()["size"].toDouble());

    // Moving a disc carries its subtree and counters; the catalogue stays consistent.
    const QString other = Query(cat, "SELECT StorageID FROM Storages WHERE StorageID <> (SELECT "
                                     "StorageID FROM Units WHERE UnitID = " +
                                         disc + ") ORDER BY StorageID LIMIT 1");
    EXPECT_EQ(Run({"move", cat, "--unit", disc, "--to-storage", other}).status, 0);
    EXPECT_EQ(Query(cat, "SELECT StorageID FROM Units WHERE UnitID = " + disc), other);
    EXPECT_EQ(Run({"check", cat}).status, 0);

    EXPECT_EQ(Run({"set-category", cat, "--unit", song, "Picture"}).status, 0);
    EXPECT_EQ(Query(cat, "SELECT CategoryID FROM Units WHERE UnitID = " + song), "4");
    EXPECT_EQ(Run({"delete", cat, "--unit", disc, "--yes"}).status, 0);
    EXPECT_EQ(Query(cat, "SELECT COUNT(*) FROM Units WHERE UnitID = " + disc), "0");
    EXPECT_EQ(Run({"check", cat}).status, 0);
}

TEST_F(Cli, BadInputEndsWithAClearMessageAndTheFileUntouched)
{
    EXPECT_EQ(Run({}).status, 2);
    EXPECT_EQ(Run({"frobnicate"}).status, 2);
    EXPECT_EQ(Run({"storages"}).status, 2);
    EXPECT_EQ(Run({"--help"}).status, 0);
    EXPECT_TRUE(Run({"search", "--help"}).out.contains("--duration OP N"));

    const Result missing = Run({"storages", Path("missing.db3")});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.err.contains("does not exist"));
    EXPECT_EQ(Run({"storages", m_dir.path()}).status, 1);

    const QString text = Path("text.db3");
    QFile file(text);
    file.open(QIODevice::WriteOnly);
    file.write(QByteArray(3000, 'x'));
    file.close();
    const Result notCatalogue = Run({"add-storage", text, "Shelf"});
    EXPECT_EQ(notCatalogue.status, 1);
    EXPECT_TRUE(notCatalogue.err.contains("Database file can't be opened."));
    QFile again(text);
    again.open(QIODevice::ReadOnly);
    EXPECT_EQ(again.readAll(), QByteArray(3000, 'x'));
    QFile log(m_settings.filePath("log.txt"));
    log.open(QIODevice::ReadOnly);
    EXPECT_TRUE(log.readAll().contains("Error code: 26"));

    const QString newer = Path("newer.db3");
    ASSERT_EQ(Run({"new", newer}).status, 0);
    {
        CSqliteWrapper db;
        db.Open(newer, false);
        db.Execute("UPDATE DatabaseVersion SET VersionNumber = '7.2'");
    }
    const Result refused = Run({"add-storage", newer, "Shelf"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.err.contains("newer version"));
    EXPECT_EQ(Query(newer, "SELECT COUNT(*) FROM Storages"), QStringLiteral("0"));

    // Settings: bad texts are refused with their message, good ones are kept.
    EXPECT_EQ(Run({"settings", "set", "UnitsOrder", "Alphabetic"}).status, 0);
    EXPECT_TRUE(Run({"settings"}).out.contains("UnitsOrder\tAlphabetic"));
    const Result bad = Run({"settings", "set", "UnitsOrder", "Sideways"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_TRUE(bad.err.contains("Unknown units order."));
    EXPECT_EQ(Run({"settings", "set", "NoSuchKey", "1"}).status, 2);
    QFile ini(m_settings.filePath("Shelfwise.ini"));
    ini.open(QIODevice::WriteOnly);
    ini.write("CheckLabel = Perhaps\r\n");
    ini.close();
    const Result broken = Run({"storages", newer});
    EXPECT_EQ(broken.status, 1);
    EXPECT_TRUE(broken.err.contains("Invalid boolean string."));
}
