// shelfwise-cli and the catalogue file: a save that cannot replace the file keeps the
// changes elsewhere, working copies of killed runs are cleared away, Ctrl+C never
// undoes a save that has begun, and a damaged catalogue ends a command with a message.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>

#include <sys/stat.h>
#include <unistd.h>

namespace {

class CatalogueSafety : public ::testing::Test
{
protected:
    CatalogueSafety() : m_catalogue(m_dir.filePath(QStringLiteral("discs.db3")))
    {
        EXPECT_EQ(Run({"new", m_catalogue}).status, 0);
        EXPECT_EQ(Run({"add-storage", m_catalogue, "Shelf"}).status, 0);
    }

    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()));
    }

    static qint64 Number(const QString& catalogue, const QString& sql)
    {
        CSqliteWrapper db;
        db.Open(catalogue, false);
        std::vector<QString> rows;
        db.QueryRows(sql, rows, &RowMappers::Texts);
        return rows.empty() ? -1 : rows.front().toLongLong();
    }
    qint64 Number(const QString& sql) const { return Number(m_catalogue, sql); }

    static QByteArray Bytes(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // A folder of folders of small files; returns how many units it makes.
    static int MakeTree(const QString& root, int folders, int filesPerFolder)
    {
        for (int d = 0; d < folders; ++d) {
            const QString folder = QStringLiteral("%1/part %2").arg(root).arg(d);
            QDir().mkpath(folder);
            for (int f = 0; f < filesPerFolder; ++f) {
                QFile file(QStringLiteral("%1/note %2.txt").arg(folder).arg(f));
                EXPECT_TRUE(file.open(QIODevice::WriteOnly));
                file.write(QByteArray(f % 5, 'n'));
            }
        }
        return 1 + folders + folders * filesPerFolder;
    }

    // The working copies of the command line and the window in the settings folder.
    QStringList WorkingCopies() const
    {
        static const QRegularExpression name(QStringLiteral("^\\d+(-\\d+)?\\.db3$"));
        return QDir(m_settings.path()).entryList(QDir::Files).filter(name);
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_catalogue;
};

// The catalogue file's identity and size: a save replaces it with another file.
QString Stamp(const QString& path)
{
    struct stat info = {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return QString();
    return QStringLiteral("%1/%2").arg(info.st_ino).arg(info.st_size);
}

} // namespace

TEST_F(CatalogueSafety, ASaveThatCannotReplaceTheFileKeepsTheChangesAndTheFileIntact)
{
    const QByteArray before = Bytes(m_catalogue);
    ASSERT_FALSE(before.isEmpty());
    // The file may be written, but its folder takes no new file (as for the temporary
    // copy a safe save writes first). Folder permissions do not bind root, so then the
    // program runs as the user nobody.
    QString program = QStringLiteral(SHELFWISE_CLI);
    QStringList arguments{"add-storage", m_catalogue, "Box"};
    if (::geteuid() == 0) {
        if (QStandardPaths::findExecutable(QStringLiteral("setpriv")).isEmpty())
            GTEST_SKIP() << "setpriv is not installed";
        arguments =
            QStringList{"--reuid=65534", "--regid=65534", "--clear-groups", program} + arguments;
        program = QStringLiteral("setpriv");
    }
    QTemporaryDir settings;
    ::chmod(QFile::encodeName(settings.path()).constData(), 0777);
    ::chmod(QFile::encodeName(m_catalogue).constData(), 0666);
    ::chmod(QFile::encodeName(m_dir.path()).constData(), 0555);
    QProcess process;
    process.setProcessEnvironment(CliEnvironment(settings.path()));
    process.start(program, arguments);
    const bool ended = process.waitForFinished(120000);
    ::chmod(QFile::encodeName(m_dir.path()).constData(), 0700);
    ASSERT_TRUE(ended);
    const QString errors = QString::fromUtf8(process.readAllStandardError());

    EXPECT_EQ(process.exitCode(), 1) << errors.toStdString();
    EXPECT_TRUE(errors.contains("could not be written; it is unchanged")) << errors.toStdString();
    static const QRegularExpression keptName(QStringLiteral(
        "^Unsaved changes to discs \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.db3$"));
    const QStringList kept = QDir(settings.path()).entryList(QDir::Files).filter(keptName);
    ASSERT_EQ(kept.size(), 1) << errors.toStdString();
    EXPECT_TRUE(errors.contains(settings.filePath(kept.first()))) << errors.toStdString();
    EXPECT_EQ(Number(settings.filePath(kept.first()),
                     "SELECT COUNT(*) FROM Storages WHERE StorageName = 'Box'"),
              1);
    EXPECT_TRUE(Bytes(m_catalogue) == before) << "the catalogue was rewritten";
}

TEST_F(CatalogueSafety, WorkingCopiesOfEndedRunsAreClearedAndNoOthers)
{
    // A process that has ended: its id is free now.
    QProcess ended;
    ended.start(QStringLiteral("sleep"), {"60"});
    ASSERT_TRUE(ended.waitForStarted());
    const qint64 dead = ended.processId();
    ended.kill();
    ASSERT_TRUE(ended.waitForFinished(15000));
    const qint64 live = QCoreApplication::applicationPid();

    const QStringList stale{QStringLiteral("1700000000-%1.db3").arg(dead),
                            QStringLiteral("1700000000-%1.db3-journal").arg(dead)};
    const QStringList others{QStringLiteral("1700000001-%1.db3").arg(live),
                             QStringLiteral("1700000002.db3"),
                             QStringLiteral("Unsaved changes to x 2026-01-01 00-00-00.db3")};
    for (const QString& name : stale + others) {
        QFile file(m_settings.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("SQLite format 3");
    }

    EXPECT_EQ(Run({"storages", m_catalogue}).status, 0);
    for (const QString& name : stale)
        EXPECT_FALSE(QFile::exists(m_settings.filePath(name))) << name.toStdString();
    for (const QString& name : others)
        EXPECT_TRUE(QFile::exists(m_settings.filePath(name))) << name.toStdString();

    // A run that ends normally takes its own copy with it, after an edit as well.
    EXPECT_EQ(Run({"add-storage", m_catalogue, "Box"}).status, 0);
    EXPECT_EQ(WorkingCopies(), others.mid(0, 2));
}

#ifdef Q_OS_UNIX
TEST_F(CatalogueSafety, CtrlCCancelsAnAdditionButNeverASaveThatHasBegun)
{
    const QString root = m_dir.filePath(QStringLiteral("notes"));
    // Large enough that the addition is still running when the signal arrives.
    const int units = MakeTree(root, 250, 120);

    // Early: the addition is rolled back and nothing reaches the catalogue.
    {
        QProcess process;
        StartCli(process, {"add-folder", m_catalogue, "Shelf", root},
                 CliEnvironment(m_settings.path()));
        ASSERT_TRUE(process.waitForStarted());
        for (int i = 0; i < 60000 && WorkingCopies().isEmpty(); ++i)
            QThread::usleep(500);
        ::kill(static_cast<pid_t>(process.processId()), SIGINT);
        ASSERT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 130) << process.readAllStandardError().toStdString();
        EXPECT_EQ(Number("SELECT COUNT(*) FROM Units"), 0);
    }

    // Once the new file is in place, Ctrl+C comes too late to cancel anything: the
    // command reports the addition it saved. The moment is a race, so a few runs try
    // it; a run that ended before the signal could be sent proves nothing.
    for (int attempt = 0; attempt < 3; ++attempt) {
        const QString catalogue = m_dir.filePath(QStringLiteral("try%1.db3").arg(attempt));
        ASSERT_EQ(Run({"new", catalogue}).status, 0);
        ASSERT_EQ(Run({"add-storage", catalogue, "Shelf"}).status, 0);
        const QString stamp = Stamp(catalogue);
        QProcess process;
        StartCli(process, {"add-folder", catalogue, "Shelf", root},
                 CliEnvironment(m_settings.path()));
        ASSERT_TRUE(process.waitForStarted());
        bool ended = false;
        for (int i = 0; i < 120000 && !ended; ++i) {
            if (Stamp(catalogue) != stamp) {
                ::kill(static_cast<pid_t>(process.processId()), SIGINT);
                break;
            }
            ended = process.waitForFinished(1);
        }
        ASSERT_TRUE(ended || process.waitForFinished(120000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "killed by the signal";
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        EXPECT_EQ(Number(catalogue, "SELECT COUNT(*) FROM Units"), units);
    }

    // With nothing to finish, Ctrl+C ends the command at once: here a search whose
    // results wait on a full pipe that the test does not read yet.
    const QString catalogue = m_dir.filePath(QStringLiteral("try0.db3"));
    for (const QString& name : WorkingCopies())
        QFile::remove(m_settings.filePath(name));
    QProcess search;
    StartCli(search, {"search", catalogue, "--text", "note"}, CliEnvironment(m_settings.path()));
    ASSERT_TRUE(search.waitForStarted());
    for (int i = 0; i < 60000 && WorkingCopies().isEmpty(); ++i)
        QThread::usleep(500);
    ::kill(static_cast<pid_t>(search.processId()), SIGINT);
    const bool searchEnded = search.waitForFinished(30000);
    if (!searchEnded) {
        search.kill();
        search.waitForFinished(15000);
    }
    ASSERT_TRUE(searchEnded) << "the search ignored Ctrl+C";
    EXPECT_TRUE(search.exitStatus() == QProcess::CrashExit ? search.exitCode() == SIGINT
                                                           : search.exitCode() == 130)
        << search.exitStatus() << " " << search.exitCode();
}
#endif

TEST_F(CatalogueSafety, AnAdditionWhoseTopUnitVanishesEndsWithAStatus)
{
    // A catalogue from elsewhere may carry a trigger; this one removes each new unit
    // that lies directly in a storage, so the totals of the addition find no top unit.
    CSqliteWrapper db;
    db.Open(m_catalogue, false);
    db.Execute("CREATE TRIGGER Vanish AFTER INSERT ON Units WHEN NEW.ParentUnitID IS NULL "
               "BEGIN DELETE FROM Units WHERE UnitID = NEW.UnitID; END");
    db.Close();
    const QString root = m_dir.filePath(QStringLiteral("letters"));
    MakeTree(root, 2, 3);

    const CliResult added = Run({"add-folder", m_catalogue, "Shelf", root});
    EXPECT_TRUE(added.status == 0 || (added.status == 1 && !added.err.isEmpty()))
        << added.status << " " << added.err.toStdString();
    for (const QStringList& command :
         {QStringList{"check", m_catalogue}, QStringList{"ls", m_catalogue, "Shelf"}}) {
        const CliResult result = Run(command);
        EXPECT_TRUE(result.status == 0 || result.status == 1) << command.join(' ').toStdString();
    }
}

TEST_F(CatalogueSafety, CommandsOnDamagedRowsEndWithAStatus)
{
    // Each damage of the sample catalogue, with the unit it concerns.
    const std::vector<std::pair<const char*, const char*>> damages{
        {"DELETE FROM DiscInfo WHERE DiscInfoID = 1", "1"},
        {"UPDATE Units SET StorageID = 99 WHERE UnitID = 20", "20"},
        {"UPDATE Units SET UnitSize = 'big', SubfoldersNumber = 'x', CategoryID = 'y' "
         "WHERE UnitID IN (40, 41)",
         "40"},
        {"UPDATE Units SET ParentUnitID = 999 WHERE UnitID = 3", "3"}};
    const QString copy = m_dir.filePath(QStringLiteral("damaged.db3"));
    const QString page = m_dir.filePath(QStringLiteral("report.html"));
    for (const auto& [sql, unit] : damages) {
        for (const QStringList& command :
             {QStringList{"show", copy, "--unit", unit}, QStringList{"ls", copy, "--unit", unit},
              QStringList{"move", copy, "--unit", unit, "--to-storage", "Car"},
              QStringList{"delete", copy, "--unit", unit, "--yes"}, QStringList{"check", copy},
              QStringList{"report", copy, page, "--level", "all"}}) {
            CSqliteWrapper db;
            db.Open(CopySampleCatalogue(copy), false);
            db.Execute(QString::fromLatin1(sql));
            db.Close();
            const CliResult result = Run(command);
            EXPECT_TRUE(result.status == 0 || result.status == 1)
                << sql << ": " << command.join(' ').toStdString() << " ended with " << result.status
                << " " << result.err.toStdString();
        }
    }
}
