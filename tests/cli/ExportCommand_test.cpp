// shelfwise-cli export end to end: a folder tree added by the real program, exported
// to standard output and to a file.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class ExportCommand : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_cat = m_dir.filePath(QStringLiteral("c.db3"));
        QDir(m_dir.path()).mkpath(QStringLiteral("tree/Sub folder"));
        Write(QStringLiteral("tree/a, b.txt"), "12345");
        Write(QStringLiteral("tree/Sub folder/Anna's \"notes\".txt"), "x");
        ASSERT_EQ(Run({"new", m_cat}).status, 0);
        ASSERT_EQ(Run({"add-storage", m_cat, "Shelf"}).status, 0);
        ASSERT_EQ(
            Run({"add-folder", m_cat, "Shelf", m_dir.filePath(QStringLiteral("tree"))}).status, 0);
    }

    void Write(const QString& name, const QByteArray& bytes)
    {
        QFile file(m_dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()));
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_cat;
};

} // namespace

TEST_F(ExportCommand, WritesCsvAndJsonToStandardOutputOrAFileAndLeavesTheCatalogueAlone)
{
    QFile catalogue(m_cat);
    ASSERT_TRUE(catalogue.open(QIODevice::ReadOnly));
    const QByteArray before = catalogue.readAll();
    catalogue.close();

    const CliResult csv = Run({"export", m_cat});
    ASSERT_EQ(csv.status, 0) << csv.err.toStdString();
    const QStringList lines = csv.out.split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 5); // header, the folder, its file, the subfolder and its file
    EXPECT_TRUE(lines[0].startsWith(QStringLiteral("path,name,type,size,modified,")));
    EXPECT_TRUE(csv.out.contains(QStringLiteral("\"tree/a, b.txt\",\"a, b.txt\",File,5,")));
    EXPECT_TRUE(csv.out.contains(QStringLiteral(
        "\"tree/Sub folder/Anna's \"\"notes\"\".txt\",\"Anna's \"\"notes\"\".txt\"")));

    // The same to a file; the storage by name gives the same rows.
    const QString out = m_dir.filePath(QStringLiteral("out.csv"));
    ASSERT_EQ(Run({"export", m_cat, "Shelf", "--output", out}).status, 0);
    QFile written(out);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(written.readAll()), csv.out);

    // JSON, nested: the folder holds the file and the subfolder.
    const CliResult json = Run({"export", m_cat, "--format", "json", "--nested"});
    ASSERT_EQ(json.status, 0) << json.err.toStdString();
    const QJsonArray tops = QJsonDocument::fromJson(json.out.toUtf8()).array();
    ASSERT_EQ(tops.size(), 1);
    const QJsonArray children = tops[0].toObject()[QStringLiteral("children")].toArray();
    EXPECT_EQ(children.size(), 2);

    // Bad arguments change nothing and write nothing.
    EXPECT_EQ(Run({"export", m_cat, "--format", "xml"}).status, 2);
    EXPECT_EQ(Run({"export", m_cat, "--nested"}).status, 2);
    EXPECT_EQ(Run({"export", m_cat, "Nowhere", "--output", m_dir.filePath("none.csv")}).status, 1);
    EXPECT_FALSE(QFile::exists(m_dir.filePath(QStringLiteral("none.csv"))));
    ASSERT_TRUE(catalogue.open(QIODevice::ReadOnly));
    EXPECT_EQ(catalogue.readAll(), before);
}
