// The MIME type of a catalogue as a Qt desktop sees it: the installed shared-mime-info
// XML is compiled with update-mime-database beside the system's own definitions, and
// QMimeDatabase reads only that (main() below points the data folders there).
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMimeDatabase>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>

namespace {

const std::string kCatalogueType = "application/x-shelfwise-catalogue";
const std::string kSqliteType = "application/vnd.sqlite3";

QString DataFile(const char* name)
{
    return QStringLiteral(SHELFWISE_DATA_DIR "/") + QString::fromLatin1(name);
}

bool RunTool(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, arguments);
    return process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

class CatalogueMimeType : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (qEnvironmentVariableIsEmpty("SHELFWISE_TEST_MIME_READY"))
            GTEST_SKIP() << "no freedesktop MIME database on this machine";
        ASSERT_TRUE(m_dir.isValid());
    }

    QString Copy(const QString& from, const QString& name)
    {
        const QString to = m_dir.filePath(name);
        EXPECT_TRUE(QFile::copy(from, to)) << qPrintable(to);
        return to;
    }

    QString Write(const QString& name, const QByteArray& bytes)
    {
        QFile file(m_dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

    std::string TypeOf(const QString& path)
    {
        return m_db.mimeTypeForFile(path).name().toStdString();
    }

    QTemporaryDir m_dir;
    QMimeDatabase m_db;
};

TEST_F(CatalogueMimeType, CataloguesAreKnownByContentOtherDb3FilesStayTheirs)
{
    // The template, the sample, and both under other names: the content decides.
    EXPECT_EQ(TypeOf(Copy(DataFile("empty.db3"), QStringLiteral("empty.db3"))), kCatalogueType);
    EXPECT_EQ(TypeOf(Copy(DataFile("test.db3"), QStringLiteral("discs.db3"))), kCatalogueType);
    EXPECT_EQ(TypeOf(Copy(DataFile("test.db3"), QStringLiteral("no extension"))), kCatalogueType);
    QFile sample(DataFile("test.db3"));
    ASSERT_TRUE(sample.open(QIODevice::ReadOnly));
    const QMimeType byContent = m_db.mimeTypeForData(sample.readAll());
    EXPECT_EQ(byContent.name().toStdString(), kCatalogueType);
    EXPECT_TRUE(byContent.inherits(QString::fromStdString(kSqliteType)));
    EXPECT_EQ(byContent.comment().toStdString(), "Shelfwise catalogue");

    // Another program's SQLite file with the same extension is not taken over, nor is a
    // SQLite file that has tables of the same names written differently, nor a text file.
    const QString other = m_dir.filePath(QStringLiteral("other.db3"));
    ASSERT_TRUE(
        RunTool(QStringLiteral("sqlite3"),
                {other, QStringLiteral("CREATE TABLE Items (Name TEXT); "
                                       "INSERT INTO Items VALUES ('CREATE TABLE Units');")}));
    EXPECT_EQ(TypeOf(other), kSqliteType);
    const QString lookalike = m_dir.filePath(QStringLiteral("lookalike.db3"));
    ASSERT_TRUE(RunTool(QStringLiteral("sqlite3"),
                        {lookalike, QStringLiteral("CREATE TABLE Storages (a);")}));
    EXPECT_EQ(TypeOf(lookalike), kSqliteType);
    EXPECT_NE(TypeOf(Write(QStringLiteral("notes.db3"), "CREATE TABLE DatabaseVersion\n")),
              kCatalogueType);
    EXPECT_EQ(
        m_db.mimeTypeForFile(QStringLiteral("never-created.db3"), QMimeDatabase::MatchExtension)
            .name()
            .toStdString(),
        kSqliteType);
}

TEST_F(CatalogueMimeType, AFilledAndCompressedCatalogueIsStillKnown)
{
    // Thousands of rows and a VACUUM move data pages about; the schema stays on the first.
    const QString catalogue = Copy(DataFile("test.db3"), QStringLiteral("filled.db3"));
    const QString script = QStringLiteral(
        "INSERT INTO Storages (StorageName, StorageNotes) "
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
        "SELECT 'Shelf ' || i, hex(randomblob(100)) FROM n; VACUUM;");
    ASSERT_TRUE(RunTool(QStringLiteral("sqlite3"), {catalogue, script}));
    ASSERT_GT(QFileInfo(catalogue).size(), 500 * 1024);
    EXPECT_EQ(TypeOf(catalogue), kCatalogueType);
}

} // namespace

// Compiles the MIME database the installed package makes (the system's definitions and
// ours) into a private data folder and points Qt there before QMimeDatabase is first used.
int main(int argc, char** argv)
{
    QTemporaryDir data;
    const QString system = QStringLiteral("/usr/share/mime/packages/freedesktop.org.xml");
    const QString packages = data.filePath(QStringLiteral("mime/packages"));
    // update-mime-database notes on stderr when its folder is not on the data path.
    qputenv("XDG_DATA_DIRS", QFile::encodeName(data.path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(data.filePath(QStringLiteral("home"))));
    if (QFile::exists(system) && QDir().mkpath(packages) &&
        QFile::copy(system, packages + QStringLiteral("/freedesktop.org.xml")) &&
        QFile::copy(QStringLiteral(SHELFWISE_MIME_XML),
                    packages + QStringLiteral("/shelfwise.xml")) &&
        RunTool(QStringLiteral("update-mime-database"), {data.filePath(QStringLiteral("mime"))})) {
        qputenv("SHELFWISE_TEST_MIME_READY", "1");
    }
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
