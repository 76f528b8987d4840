// Symbolic links through the real program: a folder and its disc images give the same
// catalogue, every link a 0-byte file whose notes name its target, and totals that count
// the regular files once.
#include "cli/CliProcess.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class SymbolicLinks : public ::testing::Test
{
protected:
    void SetUp() override
    {
        MakeFile(QStringLiteral("notes.txt"), 5);
        MakeFile(QStringLiteral("real/big.bin"), 3000);
        MakeFile(QStringLiteral("real/inner/small.txt"), 10);
        ASSERT_TRUE(QDir().mkpath(m_dir.filePath(QStringLiteral("elsewhere"))));
        QFile::copy(m_tree + QStringLiteral("/real/big.bin"),
                    m_dir.filePath(QStringLiteral("elsewhere/outside.bin")));
        // A folder and a file inside the tree, a folder outside it, nothing, the folder
        // the link lies in, and the tree's root from two levels down.
        for (const auto& [link, target] : m_links)
            ASSERT_TRUE(QFile::link(target, m_tree + '/' + link)) << link.toStdString();
        ASSERT_EQ(Run({"new", "cat.db3"}), 0);
        ASSERT_EQ(Run({"add-storage", "cat.db3", "Shelf"}), 0);
    }

    void MakeFile(const QString& relative, int size)
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(m_tree + '/' + relative).path()));
        QFile file(m_tree + '/' + relative);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(size, 'q'));
    }

    int Run(const QStringList& arguments)
    {
        const CliResult result = RunCli(arguments, CliEnvironment(m_settings.path()), m_dir.path());
        m_out = result.out;
        m_errors = result.err;
        return result.status;
    }

    QStringList Rows(const QString& sql) const
    {
        CSqliteWrapper db;
        db.Open(m_dir.filePath(QStringLiteral("cat.db3")), false);
        std::vector<QString> rows;
        db.QueryRows(sql, rows, &RowMappers::Texts);
        return QStringList(rows.begin(), rows.end());
    }

    // Every unit below the top unit named top, by its path under it: "path type size
    // notes", one a line, after the top unit's own counters.
    std::string Catalogued(const QString& top) const
    {
        return Rows(QStringLiteral(
                        "WITH RECURSIVE Tree(UnitID, Path) AS (SELECT UnitID, '' FROM Units "
                        "WHERE ParentUnitID IS NULL AND UnitName = '%1' UNION ALL SELECT "
                        "u.UnitID, t.Path || '/' || u.UnitName FROM Units u JOIN Tree t ON "
                        "u.ParentUnitID = t.UnitID) SELECT CASE t.Path WHEN '' THEN 'top ' || "
                        "u.UnitSize || ' ' || u.SubfilesNumber || ' files ' || u.SubfoldersNumber "
                        "|| ' folders' ELSE t.Path || ' ' || u.UnitType || ' ' || u.UnitSize || "
                        "' ' || IFNULL(u.UnitNotes, '-') END FROM Tree t JOIN Units u USING "
                        "(UnitID) ORDER BY t.Path")
                        .arg(top))
            .join(QLatin1Char('\n'))
            .toStdString();
    }

    // What the tree holds, as find -type f sees it: links are not followed.
    qint64 RegularFileBytes() const
    {
        qint64 bytes = 0;
        QDirIterator it(m_tree, QDir::Files | QDir::Hidden | QDir::NoSymLinks,
                        QDirIterator::Subdirectories);
        while (it.hasNext())
            bytes += QFileInfo(it.next()).size();
        return bytes;
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_tree = m_dir.filePath(QStringLiteral("tree"));
    const std::vector<std::pair<QString, QString>> m_links{
        {"to-folder", "real"},       {"to-file.bin", "real/big.bin"},
        {"outside", "../elsewhere"}, {"dangling", "/nonexistent/none"},
        {"real/loop", "."},          {"real/inner/up", "../.."}};
    // The catalogue of the tree, whatever it was read from.
    const std::string m_expected = "top 3015 9 files 2 folders\n"
                                   "/dangling F 0 -> /nonexistent/none\n"
                                   "/notes.txt F 5 -\n"
                                   "/outside F 0 -> ../elsewhere\n"
                                   "/real D 3010 -\n"
                                   "/real/big.bin F 3000 -\n"
                                   "/real/inner D 10 -\n"
                                   "/real/inner/small.txt F 10 -\n"
                                   "/real/inner/up F 0 -> ../..\n"
                                   "/real/loop F 0 -> .\n"
                                   "/to-file.bin F 0 -> real/big.bin\n"
                                   "/to-folder F 0 -> real";
    QString m_out;
    QString m_errors;
};

} // namespace

TEST_F(SymbolicLinks, AFolderRecordsItsLinksAsEmptyFilesAndIsReachedThroughOne)
{
    ASSERT_EQ(Run({"add-folder", "cat.db3", "Shelf", m_tree}), 0) << m_errors.toStdString();
    EXPECT_EQ(Catalogued(QStringLiteral("tree")), m_expected);
    EXPECT_EQ(RegularFileBytes(), 3015);

    // The chosen path is resolved when it is a link: to the folder, and to a file.
    ASSERT_TRUE(QFile::link(m_tree, m_dir.filePath(QStringLiteral("tree-link"))));
    ASSERT_EQ(Run({"add-folder", "cat.db3", "Shelf", "tree-link"}), 0) << m_errors.toStdString();
    EXPECT_EQ(Catalogued(QStringLiteral("tree-link")), m_expected);
    ASSERT_EQ(Run({"add-file", "cat.db3", "Shelf", m_tree + QStringLiteral("/to-file.bin")}), 0);
    EXPECT_EQ(Catalogued(QStringLiteral("to-file.bin")), "top 3000 0 files 0 folders");
    EXPECT_NE(Run({"add-file", "cat.db3", "Shelf", m_tree + QStringLiteral("/dangling")}), 0);
    EXPECT_EQ(Rows(QStringLiteral("SELECT FilesNumber || ' ' || StorageSize FROM Storages")),
              QStringList{QStringLiteral("19 %1").arg(2 * 3015 + 3000)});
    EXPECT_EQ(Run({"check", "cat.db3"}), 0) << m_out.toStdString();

    // The properties show a link's target as its description.
    const QString id =
        Rows(QStringLiteral("SELECT UnitID FROM Units WHERE UnitName = 'loop'")).value(0);
    ASSERT_EQ(Run({"show", "cat.db3", "--unit", id}), 0);
    EXPECT_TRUE(m_out.contains(QStringLiteral("Description\t-> .\n"))) << m_out.toStdString();
    EXPECT_TRUE(m_out.contains(QStringLiteral("Size\t0 bytes\n"))) << m_out.toStdString();
}

TEST_F(SymbolicLinks, DiscImagesOfTheFolderGiveTheSameCatalogue)
{
    if (QStandardPaths::findExecutable(QStringLiteral("genisoimage")).isEmpty())
        GTEST_SKIP() << "genisoimage is not installed";
    for (const QStringList& extensions : {QStringList{"-R"}, QStringList{"-J", "-R"}}) {
        const QString label = QStringLiteral("LINKS_%1").arg(extensions.size());
        SCOPED_TRACE(label.toStdString());
        QProcess genisoimage;
        genisoimage.start(QStringLiteral("genisoimage"),
                          QStringList{"-quiet", "-V", label} + extensions +
                              QStringList{"-o", m_dir.filePath(label + ".iso"), m_tree});
        ASSERT_TRUE(genisoimage.waitForFinished(60000) && genisoimage.exitCode() == 0);
        ASSERT_EQ(Run({"add-disc", "cat.db3", "Shelf", label + ".iso"}), 0)
            << m_errors.toStdString();
        EXPECT_TRUE(m_errors.isEmpty()) << m_errors.toStdString();
        EXPECT_EQ(Catalogued(label), m_expected);
    }
    EXPECT_EQ(Run({"check", "cat.db3"}), 0) << m_out.toStdString();
}
