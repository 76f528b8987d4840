// shelfwise-cli end to end on input that is text to the user but could read as SQL,
// markup or a special file: search texts, file names, extensions, names in double
// quotes, files named NULL, pipes and devices given as catalogues, the settings file
// and the report page.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"

#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>

#include <sys/stat.h>

namespace {

// A copy of the catalogue that is this large is a device being read without end.
constexpr qint64 kRunawaySize = 64 * 1024 * 1024;

class HostileInput : public ::testing::Test
{
protected:
    HostileInput() : m_catalogue(Path("discs.db3"))
    {
        EXPECT_EQ(Run({"new", m_catalogue}).status, 0);
        EXPECT_EQ(Run({"add-storage", m_catalogue, "Shelf"}).status, 0);
    }

    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()));
    }

    QString Path(const QString& name) const { return m_dir.filePath(name); }

    // A folder holding the given files; their parent folders are made as needed.
    QString MakeFolder(const QString& name, const QStringList& files)
    {
        const QString root = Path(name);
        for (const QString& relative : files) {
            const QString path = root + QLatin1Char('/') + relative;
            QDir().mkpath(QFileInfo(path).path());
            QFile file(path);
            EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
            file.write("12345");
        }
        return root;
    }

    QString Text(const QString& sql) const { return QueryText(m_catalogue, sql); }
    static qint64 Number(const QString& catalogue, const QString& sql)
    {
        return QueryText(catalogue, sql).toLongLong();
    }
    qint64 Number(const QString& sql) const { return Number(m_catalogue, sql); }

    std::string SettingsFileBytes() const
    {
        QFile file(m_settings.filePath(QStringLiteral("Shelfwise.ini")));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "<no file>";
    }

    // The largest regular file the process holds open, such as a copy it is writing.
    static qint64 LargestOpenFile(qint64 pid)
    {
        const QDir fds(QStringLiteral("/proc/%1/fd").arg(pid));
        qint64 largest = 0;
        for (const QString& fd :
             fds.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
            struct stat info = {};
            if (::stat(QFile::encodeName(fds.filePath(fd)).constData(), &info) == 0 &&
                S_ISREG(info.st_mode))
                largest = std::max<qint64>(largest, info.st_size);
        }
        return largest;
    }

    // A run that may block or read a device for ever: it is stopped after 15 s or once
    // it holds a runaway file open, and then reads as a crash (status -1).
    CliResult RunBounded(const QStringList& arguments)
    {
        QProcess process;
        StartCli(process, arguments, CliEnvironment(m_settings.path()));
        bool ended = false;
        for (int i = 0; i < 150 && !ended; ++i) {
            ended = process.waitForFinished(100) || process.state() == QProcess::NotRunning;
            if (!ended && LargestOpenFile(process.processId()) > kRunawaySize)
                break;
        }
        if (!ended) {
            process.kill();
            process.waitForFinished(15000);
        }
        return {ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_catalogue;
};

const QString kDeleteAll = QStringLiteral("x'; DELETE FROM Units; --");

} // namespace

TEST_F(HostileInput, SearchTextCannotRunASecondStatement)
{
    const QString cat = CopySampleCatalogue(Path("sample.db3"));
    const QString other = CopySampleCatalogue(Path("other.db3"));
    const QString count = QStringLiteral("SELECT COUNT(*) FROM Units");
    const qint64 units = Number(cat, count);
    ASSERT_GT(units, 0);

    // Every text that reaches a LIKE pattern: name, name or notes, the music tags.
    for (const QStringList& options :
         {QStringList{"--text", kDeleteAll}, QStringList{"--notes", "--text", kDeleteAll},
          QStringList{"--category", "music", "--artist", kDeleteAll},
          QStringList{"--category", "music", "--title", kDeleteAll},
          QStringList{"--category", "music", "--album", kDeleteAll},
          QStringList{"--category", "music", "--genre", kDeleteAll}}) {
        const CliResult result = Run(QStringList{"--json", "search", cat} + options);
        EXPECT_EQ(result.status, 0) << options.join(' ').toStdString();
        EXPECT_TRUE(QJsonDocument::fromJson(result.out.toUtf8()).array().isEmpty());
    }
    EXPECT_EQ(Number(cat, count), units);

    // ATTACH would reach past the working copy to any file the user can write.
    const QString attachOther = "x'; ATTACH '" + other + "' AS u; DELETE FROM u.Units; --";
    EXPECT_EQ(Run({"search", cat, "--text", attachOther}).status, 0);
    EXPECT_EQ(Number(other, count), units);
    const QString absent = Path("absent.db3");
    EXPECT_EQ(Run({"search", cat, "--text", "x'; ATTACH '" + absent + "' AS u; --"}).status, 0);
    EXPECT_FALSE(QFileInfo::exists(absent));

    // A quote is text; '%' and '_' (and '*', '?') are wildcards.
    const CliResult quoted = Run({"--json", "search", cat, "--text", "don't stop"});
    EXPECT_EQ(quoted.status, 0) << quoted.err.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(quoted.out.toUtf8()).array().size(), 1);
    const qint64 named = Number(cat, "SELECT COUNT(*) FROM Units WHERE UnitName <> ''");
    for (const char* wildcard : {"_", "%", "*", "?"}) {
        const CliResult all = Run({"--json", "search", cat, "--text", wildcard});
        EXPECT_EQ(all.status, 0) << wildcard;
        EXPECT_EQ(QJsonDocument::fromJson(all.out.toUtf8()).array().size(), named) << wildcard;
    }
}

TEST_F(HostileInput, ExtensionsTakenFromFileNamesStayText)
{
    const QString root = MakeFolder("Drop", {"a.x'; delete from units; --", "b.txt", "c.txt"});
    ASSERT_EQ(Run({"add-folder", m_catalogue, "Shelf", root}).status, 0);
    const QString count = QStringLiteral("SELECT COUNT(*) FROM Units");
    ASSERT_EQ(Number(count), 4);
    const QString id = Text("SELECT UnitID FROM Units WHERE instr(UnitName, ';') > 0");
    ASSERT_FALSE(id.isEmpty());

    const CliResult changed =
        Run({"--yes", "set-category", m_catalogue, "--unit", id, "Music", "--all-with-extension"});
    EXPECT_EQ(changed.status, 0) << changed.err.toStdString();
    EXPECT_EQ(Number(count), 4);
    EXPECT_EQ(Text("SELECT CategoryID FROM Units WHERE UnitID = " + id).toStdString(), "3");
    EXPECT_TRUE(Run({"extensions", m_catalogue, "Music"})
                    .out.contains(QStringLiteral("x'; delete from units; --\tMusic")));

    // Typed extensions: mapping and unmapping both offer to update the files.
    const QString typed = QStringLiteral("q'; delete from units; --");
    EXPECT_EQ(Run({"--yes", "map-extension", m_catalogue, typed, "Film"}).status, 0);
    EXPECT_EQ(Number(count), 4);
    EXPECT_EQ(Run({"--yes", "unmap-extension", m_catalogue, typed}).status, 0);
    EXPECT_EQ(Number(count), 4);
}

TEST_F(HostileInput, DoubleQuotedTextIsNeverAColumnName)
{
    ASSERT_EQ(Run({"add-storage", m_catalogue, "Box", "--notes", "fragile"}).status, 0);
    EXPECT_EQ(Run({"rename", m_catalogue, "Box", "StorageNotes"}).status, 0);
    EXPECT_EQ(Text("SELECT StorageName FROM Storages WHERE StorageNotes = 'fragile'").toStdString(),
              "StorageNotes");

    // An extension called "name" is one mapping, not a test every row passes.
    ASSERT_EQ(Run({"--no", "map-extension", m_catalogue, "name", "Film"}).status, 0);
    const qint64 mapped = Number("SELECT COUNT(*) FROM FileExtensions");
    EXPECT_EQ(Run({"--yes", "unmap-extension", m_catalogue, "name"}).status, 0);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM FileExtensions"), mapped - 1);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM FileExtensions WHERE Name = 'name'"), 0);

    // Double quotes are kept as typed, in names and in notes.
    ASSERT_EQ(Run({"add-storage", m_catalogue, "say \"hi\"", "--notes", "a \"loud\" box"}).status,
              0);
    EXPECT_EQ(
        Text("SELECT StorageNotes FROM Storages WHERE StorageName = 'say \"hi\"'").toStdString(),
        "a \"loud\" box");
    const QString root = MakeFolder("Quotes", {"say \"hi\".txt"});
    ASSERT_EQ(Run({"add-folder", m_catalogue, "Shelf", root}).status, 0);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units WHERE UnitName = 'say \"hi\".txt'"), 1);
}

TEST_F(HostileInput, NamesReadingNullAreStoredAsText)
{
    const QString root = MakeFolder("Tree", {"NULL", "Sub/NULL/inside.txt"});
    const CliResult added = Run({"add-folder", m_catalogue, "Shelf", root});
    EXPECT_EQ(added.status, 0) << added.err.toStdString();
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units WHERE UnitName = 'NULL' AND UnitType = 'F'"), 1);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units WHERE UnitName = 'NULL' AND UnitType = 'D'"), 1);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM Units"), 5);

    // Optional values keep their rule: the text NULL leaves them empty.
    ASSERT_EQ(Run({"add-storage", m_catalogue, "Box", "--notes", "NULL"}).status, 0);
    EXPECT_EQ(
        Text("SELECT StorageNotes IS NULL FROM Storages WHERE StorageName = 'Box'").toStdString(),
        "1");
}

TEST_F(HostileInput, APipeOrADeviceIsRefusedAsACatalogue)
{
    const QString pipe = Path("pipe.db3");
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    // Reading and editing commands alike: an editing one locks the file first.
    for (const QString& target : {pipe, QStringLiteral("/dev/zero")}) {
        for (const QStringList& command :
             {QStringList{"storages", target}, QStringList{"add-storage", target, "Box"}}) {
            const CliResult result = RunBounded(command);
            EXPECT_EQ(result.status, 1) << command.join(' ').toStdString();
            EXPECT_TRUE(result.err.contains("Database file can't be opened."))
                << command.join(' ').toStdString() << ": " << result.err.toStdString();
        }
    }
    // No copy of the device is left behind in the settings folder.
    for (const QFileInfo& file :
         QDir(m_settings.path()).entryInfoList(QDir::Files | QDir::Hidden | QDir::System))
        EXPECT_LT(file.size(), 8 * 1024 * 1024) << file.fileName().toStdString();
}

TEST_F(HostileInput, CommandsThatChangeNoSettingLeaveTheSettingsFileAlone)
{
    // Valid, but not as the program writes it: other order, no spaces, a blank line.
    const QByteArray text("UnitsOrder=Alphabetic\n\nCheckLabel=False\n");
    {
        QFile ini(m_settings.filePath(QStringLiteral("Shelfwise.ini")));
        ASSERT_TRUE(ini.open(QIODevice::WriteOnly));
        ini.write(text);
    }
    const CliResult shown = Run({"settings"});
    EXPECT_TRUE(shown.out.contains("UnitsOrder\tAlphabetic"));
    EXPECT_TRUE(shown.out.contains("CheckLabel\tFalse"));

    // Another process may change the file meanwhile; writing it back would undo that.
    for (const QStringList& command :
         {QStringList{"storages", m_catalogue}, QStringList{"ls", m_catalogue, "Shelf"},
          QStringList{"search", m_catalogue, "--text", "x"},
          QStringList{"add-storage", m_catalogue, "Box"}}) {
        EXPECT_EQ(Run(command).status, 0) << command.join(' ').toStdString();
        EXPECT_EQ(SettingsFileBytes(), text.toStdString()) << command.join(' ').toStdString();
    }

    EXPECT_EQ(Run({"settings", "set", "UnitsOrder", "Chronological"}).status, 0);
    EXPECT_TRUE(Run({"settings"}).out.contains("UnitsOrder\tChronological"));
    EXPECT_TRUE(Run({"settings"}).out.contains("CheckLabel\tFalse"));
}

TEST_F(HostileInput, ReportPageForbidsScriptsAndWritesNamesAsTheyAre)
{
    const QString file = QStringLiteral("<img src=x onerror=alert(1)>.txt");
    const QString storage = QStringLiteral("<script>alert(1)</script>");
    ASSERT_EQ(Run({"rename", m_catalogue, "Shelf", storage}).status, 0);
    ASSERT_EQ(Run({"add-folder", m_catalogue, storage, MakeFolder("Page", {file})}).status, 0);
    const QString out = Path("out.html");
    ASSERT_EQ(Run({"report", m_catalogue, out, "--level", "all"}).status, 0);

    QFile page(out);
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    const QByteArray bytes = page.readAll();
    ASSERT_TRUE(bytes.startsWith("\xFF\xFE"));
    const QString html = QString::fromUtf16(
        reinterpret_cast<const char16_t*>(bytes.constData() + 2), (bytes.size() - 2) / 2);
    const QStringList lines = html.split(QStringLiteral("\r\n"));
    const auto title = std::find_if(lines.begin(), lines.end(), [](const QString& line) {
        return line.startsWith(QLatin1String("<title>"));
    });
    ASSERT_NE(title, lines.end());
    ASSERT_NE(title + 1, lines.end());
    EXPECT_EQ((title + 1)->toStdString(),
              "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
              "style-src 'unsafe-inline'\" />");
    EXPECT_TRUE(html.contains(file));
    EXPECT_TRUE(html.contains(storage));
}
