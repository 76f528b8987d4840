// shelfwise-cli report end to end: the real program writing real pages.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#ifdef Q_OS_UNIX
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

class ReportCommand : public ::testing::Test
{
protected:
    struct Result
    {
        int status = -1;
        QString err;
    };

    void Prepare(QProcess& process, const QStringList& arguments)
    {
        QProcessEnvironment env = CliEnvironment(m_settings.path());
        for (auto it = m_extraEnv.cbegin(); it != m_extraEnv.cend(); ++it)
            env.insert(it.key(), it.value());
        StartCli(process, arguments, env);
    }

    Result Run(const QStringList& arguments)
    {
        QProcess process;
        Prepare(process, arguments);
        process.waitForFinished(60000);
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardError())};
    }

    QString Path(const QString& name) const { return m_dir.filePath(name); }

    QString Sample() { return CopySampleCatalogue(Path("sample.db3")); }

    static QString ReadPage(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return QString();
        const QByteArray bytes = file.readAll().mid(2); // after the byte-order mark
        return QString(reinterpret_cast<const QChar*>(bytes.constData()), bytes.size() / 2);
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QHash<QString, QString> m_extraEnv;
};

const QString kIndent = QStringLiteral("<span class=\"indent\">&middot;</span>");

} // namespace

TEST_F(ReportCommand, WritesTheSampleCatalogue)
{
    const QString cat = Sample();
    const QString out = Path("all.html");
    ASSERT_EQ(Run({"report", cat, out}).status, 0);
    QString page = ReadPage(out);
    EXPECT_TRUE(page.contains("<title>Report for sample.db3</title>"));
    EXPECT_EQ(page.count("<table "), 4);
    EXPECT_TRUE(page.contains("<caption>Car</caption>"));
    EXPECT_TRUE(page.contains(
        "<caption>Living room shelf (Left half: films, right half: music.)</caption>"));
    EXPECT_TRUE(page.contains("<td>Holiday Films 2019</td>"));
    EXPECT_FALSE(page.contains(kIndent)); // level 1 by default
    EXPECT_TRUE(page.endsWith("</html>"));

    // One storage by name, every level: the letter lies four levels below its disc.
    ASSERT_EQ(Run({"report", cat, out, "--storage", "Box 1 (attic)", "--level", "all"}).status, 0);
    page = ReadPage(out);
    EXPECT_EQ(page.count("<table "), 1);
    EXPECT_TRUE(page.contains("<td>" + kIndent.repeated(4) + "Bank - change of address.doc</td>"));

    ASSERT_EQ(Run({"report", cat, out, "--storage", "2", "--level", "2"}).status, 0);
    page = ReadPage(out);
    EXPECT_TRUE(page.contains("<td>" + kIndent + "Documents</td>"));
    EXPECT_FALSE(page.contains(kIndent.repeated(2)));
}

TEST_F(ReportCommand, RefusesWhatItCannotDo)
{
    const QString cat = Sample();
    EXPECT_EQ(Run({"report", cat}).status, 2);
    EXPECT_EQ(Run({"report", cat, Path("x.html"), "--level", "4"}).status, 2);
    const Result nowhere = Run({"report", cat, Path("x.html"), "--storage", "Nowhere"});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_TRUE(nowhere.err.contains("There is no storage \"Nowhere\"."));
    EXPECT_FALSE(QFile::exists(Path("x.html")));

    const Result unwritable = Run({"report", cat, Path("missing/x.html")});
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_TRUE(unwritable.err.contains("could not be written")) << unwritable.err.toStdString();

    // A catalogue whose units cannot be read.
    {
        CSqliteWrapper db;
        db.Open(cat, false);
        db.Execute("ALTER TABLE Units RENAME TO OldUnits");
    }
    const Result failed = Run({"report", cat, Path("x.html")});
    EXPECT_EQ(failed.status, 1);
    EXPECT_TRUE(failed.err.contains("Operation has been failed")) << failed.err.toStdString();
    EXPECT_FALSE(QFile::exists(Path("x.html")));
}

#ifdef Q_OS_UNIX
TEST_F(ReportCommand, CtrlCStopsTheReportWithStatus130)
{
    TestCatalogue catalogue;
    const int box = catalogue.Db().AddStorage("Box", QString());
    const int disc = catalogue.AddDisc(box, "Disc");
    QString sql = "BEGIN;";
    for (int i = 0; i < 3000; ++i)
        sql += QString("INSERT INTO Units (UnitName, UnitType, StorageID, ParentUnitID) VALUES "
                       "('file %1', 'F', %2, %3);")
                   .arg(i)
                   .arg(box)
                   .arg(disc);
    catalogue.Db().Execute(sql + "COMMIT;");

    // The page goes into a pipe, so the command cannot finish while the test holds back.
    const QString fifo = Path("pipe.html");
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    // The test build of the command line tells when it has passed the interrupt on.
    const QString seen = Path("interrupt seen");
    m_extraEnv.insert("SHELFWISE_FAKE_DRIVES", QString());
    m_extraEnv.insert("SHELFWISE_INTERRUPT_SEEN", seen);
    QProcess process;
    Prepare(process, {"report", catalogue.Path(), fifo, "--level", "all"});
    const int pipe = ::open(QFile::encodeName(fifo).constData(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(pipe, 0);
    pollfd ready{pipe, POLLIN, 0};
    ASSERT_EQ(::poll(&ready, 1, 60000), 1) << "the command never wrote to the page";
    ::fcntl(pipe, F_SETFL, 0);

    char chunk[4096];
    QByteArray bytes;
    ssize_t got = ::read(pipe, chunk, sizeof chunk);
    ASSERT_GT(got, 0);
    bytes.append(chunk, static_cast<int>(got));
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    // Meanwhile the worker waits on the full pipe.
    ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(seen); }, 60000));
    while ((got = ::read(pipe, chunk, sizeof chunk)) > 0)
        bytes.append(chunk, static_cast<int>(got));
    ::close(pipe);
    ASSERT_TRUE(process.waitForFinished(60000));

    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_TRUE(
        QString::fromUtf8(process.readAllStandardError()).contains("Operation has been cancelled"));
    const QString page =
        QString(reinterpret_cast<const QChar*>(bytes.constData()), bytes.size() / 2);
    EXPECT_TRUE(page.endsWith("</tr>\r\n"));
    EXPECT_FALSE(page.contains("file 2999"));
}
#endif

#if defined(Q_OS_UNIX) && !defined(Q_OS_MACOS)
TEST_F(ReportCommand, OpenHandsTheFinishedPageToTheDesktop)
{
    // A stand-in for xdg-open that notes what it was asked to open.
    QDir(m_dir.path()).mkdir("bin");
    const QString opener = Path("bin/xdg-open");
    const QString marker = Path("opened.txt");
    QFile script(opener);
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\nprintf '%s' \"$1\" > \"$OPENED_MARKER.part\"\n"
                 "mv \"$OPENED_MARKER.part\" \"$OPENED_MARKER\"\n");
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_extraEnv.insert("PATH", Path("bin") + ":" + qEnvironmentVariable("PATH"));
    m_extraEnv.insert("OPENED_MARKER", marker);

    const QString cat = Sample();
    ASSERT_EQ(Run({"report", cat, Path("plain.html")}).status, 0);
    ASSERT_EQ(Run({"report", cat, Path("opened.html"), "--open"}).status, 0);
    ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(marker); }, 60000));
    QFile opened(marker);
    ASSERT_TRUE(opened.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(opened.readAll()), Path("opened.html"));
}
#endif
