#include "errorlog/ErrorLog.h"

#include "FakePrompter.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QByteArray>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <thread>

namespace {

const QByteArray kHyphens(80, '-');

// One whole entry; the time line in ctime's fixed form.
const QRegularExpression kEntryPattern(QStringLiteral(
    "-{80}\\nError: [^\\n]*\\nError code: -?\\d+\\n"
    "Time: (?:Mon|Tue|Wed|Thu|Fri|Sat|Sun) "
    "(?:Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123]\\d \\d\\d:\\d\\d:\\d\\d \\d{4}\\n"
    "Source filename: \"[^\"\\n]*\"\\nLine number: -?\\d+\\n-{80}\\n"));

class ErrorLogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_logPath = m_dir.filePath(QStringLiteral("log.txt"));
        m_previousLogPath = ErrorLog::Instance().LogPath();
        ErrorLog::Instance().SetLogPath(m_logPath);
        ErrorLog::Instance().ClearFileSystemErrors();
    }

    void TearDown() override
    {
        ErrorLog::Instance().SetLogPath(m_previousLogPath);
        ErrorLog::Instance().ClearFileSystemErrors();
    }

    QByteArray Log() const
    {
        QFile file(m_logPath);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // The number of whole entries, and whether the log holds nothing else.
    static int CountEntries(const QByteArray& log, bool* onlyEntries)
    {
        const QString text = QString::fromUtf8(log);
        int count = 0;
        qsizetype at = 0;
        auto it = kEntryPattern.globalMatch(text);
        while (it.hasNext()) {
            const QRegularExpressionMatch m = it.next();
            if (m.capturedStart() != at)
                break;
            at = m.capturedEnd();
            ++count;
        }
        *onlyEntries = at == text.size();
        return count;
    }

    QTemporaryDir m_dir;
    QString m_logPath;
    QString m_previousLogPath;
};

QByteArray CtimeText(std::time_t when)
{
    char buffer[26] = {};
#ifdef _WIN32
    ctime_s(buffer, sizeof buffer, &when);
#else
    ctime_r(&when, buffer);
#endif
    return QByteArray(buffer);
}

CSqliteWrapperError OpenFails(const QString& path)
{
    CSqliteWrapper db;
    try {
        db.Open(path, true);
    } catch (const CSqliteWrapperError& error) {
        return error;
    }
    ADD_FAILURE() << "opening " << path.toStdString() << " did not fail";
    return CSqliteWrapperError("", 0, QString(), 0, false);
}

} // namespace

TEST_F(ErrorLogTest, EntryIsWrittenByteForByteWithTheCtimeTimeLine)
{
    // A message with printf directives and a non-ASCII letter must come out as it is.
    const QString message = QStringLiteral("100% done, %s and %d stay, caf\u00e9");
    const std::time_t before = std::time(nullptr);
    ErrorLog::Instance().WriteLogEntry(19, message, QStringLiteral("SqliteWrapper.cpp"), 988);
    const std::time_t after = std::time(nullptr);

    const QByteArray log = Log();
    const QByteArray head =
        kHyphens + "\nError: " + message.toLocal8Bit() + "\nError code: 19\nTime: ";
    const QByteArray tail =
        "Source filename: \"SqliteWrapper.cpp\"\nLine number: 988\n" + kHyphens + "\n";
    ASSERT_TRUE(log.startsWith(head)) << log.constData();
    ASSERT_TRUE(log.endsWith(tail)) << log.constData();
    EXPECT_FALSE(log.contains('\r'));

    const QByteArray time = log.mid(head.size(), log.size() - head.size() - tail.size());
    EXPECT_EQ(time.size(), 25); // 24 characters and ctime's own line feed
    bool matchesCtime = false;
    for (std::time_t t = before; t <= after; ++t)
        matchesCtime = matchesCtime || time == CtimeText(t);
    EXPECT_TRUE(matchesCtime) << time.constData();
}

TEST_F(ErrorLogTest, EntriesAreAppendedAndNeverTruncateTheLog)
{
    {
        QFile file(m_logPath);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("older text\n");
    }
    ErrorLog::Instance().WriteLogEntry(1, QStringLiteral("first"), QStringLiteral("a.cpp"), 1);
    ErrorLog::Instance().WriteLogEntry(2, QStringLiteral("second"), QStringLiteral("b.cpp"), 2);

    QByteArray log = Log();
    ASSERT_TRUE(log.startsWith("older text\n"));
    log.remove(0, 11);
    bool onlyEntries = false;
    EXPECT_EQ(CountEntries(log, &onlyEntries), 2);
    EXPECT_TRUE(onlyEntries) << log.constData();
    // Two entries in a row meet with a closing and an opening hyphen line.
    EXPECT_TRUE(
        log.contains("Line number: 1\n" + kHyphens + "\n" + kHyphens + "\nError: second\n"));
}

TEST_F(ErrorLogTest, SilentReportsAreLoggedOnlyOthersAreShownAndMayCloseTheWindow)
{
    FakePrompter prompter;
    ErrorLog& log = ErrorLog::Instance();

    log.ReportError(5, QStringLiteral("database is locked"), QStringLiteral("x.cpp"), 10, true,
                    true);
    EXPECT_TRUE(prompter.Messages().empty());
    EXPECT_EQ(prompter.CloseCount(), 0);

    log.ReportError(5, QStringLiteral("database is locked"), QStringLiteral("x.cpp"), 11, false,
                    false);
    ASSERT_EQ(prompter.Messages().size(), 1u);
    EXPECT_EQ(prompter.Messages()[0].Text, QStringLiteral("database is locked"));
    EXPECT_EQ(prompter.Messages()[0].MessageIcon, UserPrompter::Icon::Error);
    EXPECT_EQ(prompter.CloseCount(), 0);

    const CSqliteWrapperError fatal("disk I/O error", 10, QStringLiteral("SqliteWrapper.cpp"), 988,
                                    true);
    log.ReportException(fatal, false);
    EXPECT_EQ(prompter.LastMessage(), QStringLiteral("disk I/O error"));
    EXPECT_EQ(prompter.CloseCount(), 1);

    // A fatal exception reported silently neither shows nor closes.
    log.ReportException(fatal, true);
    EXPECT_EQ(prompter.Messages().size(), 2u);
    EXPECT_EQ(prompter.CloseCount(), 1);

    const QByteArray text = Log();
    bool onlyEntries = false;
    EXPECT_EQ(CountEntries(text, &onlyEntries), 4);
    EXPECT_TRUE(onlyEntries);
    EXPECT_TRUE(text.contains("Error: disk I/O error\nError code: 10\n"));
    EXPECT_TRUE(text.contains("Source filename: \"SqliteWrapper.cpp\"\nLine number: 988\n"));
}

TEST_F(ErrorLogTest, FilesThatAreNoCatalogueShowString197AndLogSqlitesText)
{
    FakePrompter prompter;
    const QString notCatalogue = QStringLiteral("Database file can't be opened.");

    const QString text = m_dir.filePath(QStringLiteral("notes.db3"));
    {
        QFile file(text);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(4096, 'x'));
    }
    const CSqliteWrapperError noDatabase = OpenFails(text);
    ErrorLog::Instance().ReportException(noDatabase, false);
    EXPECT_EQ(prompter.LastMessage(), notCatalogue);
    EXPECT_TRUE(Log().contains(QByteArray("Error: ") + noDatabase.what() + "\nError code: 26\n"))
        << Log().constData();

    const QString foreign = m_dir.filePath(QStringLiteral("foreign.db3"));
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(foreign.toUtf8().constData(), &raw), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(raw, "CREATE TABLE Songs(Title)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(raw);
    ErrorLog::Instance().ReportException(OpenFails(foreign), false);
    EXPECT_EQ(prompter.LastMessage(), notCatalogue);
    EXPECT_TRUE(Log().contains("Error: no such table: Categories\nError code: 1\n"));
    EXPECT_EQ(prompter.Messages().size(), 2u);
    EXPECT_EQ(prompter.CloseCount(), 2); // the open was asked to be fatal

    // Both wordings SQLite has used for "not a database"; only the exact pairs map.
    EXPECT_EQ(ErrorLog::DisplayText(26, QStringLiteral("file is encrypted or is not a database")),
              notCatalogue);
    EXPECT_EQ(ErrorLog::DisplayText(26, QStringLiteral("file is not a database")), notCatalogue);
    EXPECT_EQ(ErrorLog::DisplayText(1, QStringLiteral("no such table: Units")),
              QStringLiteral("no such table: Units"));
    EXPECT_EQ(ErrorLog::DisplayText(26, QStringLiteral("no such table: Categories")),
              QStringLiteral("no such table: Categories"));
    EXPECT_EQ(ErrorLog::DisplayText(1, QStringLiteral("file is not a database")),
              QStringLiteral("file is not a database"));
}

#ifndef _WIN32
TEST_F(ErrorLogTest, LastSystemErrorIsReportedWithItsTextAsTheDocument)
{
    FakePrompter prompter;
    errno = ENOENT;
    ErrorLog::Instance().ReportLastError(321, false, false);

    const QString expected = QString::fromLocal8Bit(std::strerror(ENOENT));
    EXPECT_EQ(prompter.LastMessage(), expected);
    const QByteArray log = Log();
    EXPECT_TRUE(log.contains("Error: " + expected.toLocal8Bit() +
                             "\nError code: " + QByteArray::number(ENOENT) + "\n"));
    EXPECT_TRUE(log.contains("Source filename: \"ShelfwiseDoc\"\nLine number: 321\n"));

    errno = EACCES;
    ErrorLog::Instance().ReportLastError(322, false, true);
    EXPECT_EQ(prompter.Messages().size(), 1u);
    EXPECT_TRUE(Log().contains(QByteArray::number(EACCES) + "\nTime: "));
}
#endif

TEST_F(ErrorLogTest, FileSystemErrorsFromTwoThreadsAreListedAndLoggedWhole)
{
    FakePrompter prompter;
    ErrorLog& log = ErrorLog::Instance();
    constexpr int kPerThread = 200;

    // Both threads start reporting together so that their entries really interleave.
    std::atomic<int> ready{0};
    auto scan = [&log, &ready](const QString& folder, int code) {
        ++ready;
        while (ready.load() < 2)
            std::this_thread::yield();
        for (int i = 0; i < kPerThread; ++i)
            log.ReportFileSystemError(folder + QLatin1Char('/') + QString::number(i), code);
    };
    std::thread first(scan, QStringLiteral("/media/a"), ENOENT);
    std::thread second(scan, QStringLiteral("/media/b"), EACCES);
    first.join();
    second.join();

    const std::vector<FileSystemError> errors = log.FileSystemErrors();
    ASSERT_EQ(errors.size(), static_cast<size_t>(2 * kPerThread));
    int nextA = 0;
    int nextB = 0;
    for (const FileSystemError& e : errors) {
        if (e.Path.startsWith(QStringLiteral("/media/a/"))) {
            EXPECT_EQ(e.Path, QStringLiteral("/media/a/%1").arg(nextA++));
            EXPECT_EQ(e.Message, QString::fromLocal8Bit(std::strerror(ENOENT)));
        } else {
            EXPECT_EQ(e.Path, QStringLiteral("/media/b/%1").arg(nextB++));
            EXPECT_EQ(e.Message, QString::fromLocal8Bit(std::strerror(EACCES)));
        }
    }
    EXPECT_EQ(nextA, kPerThread);
    EXPECT_EQ(nextB, kPerThread);
    EXPECT_TRUE(prompter.Messages().empty());

    const QByteArray text = Log();
    bool onlyEntries = false;
    EXPECT_EQ(CountEntries(text, &onlyEntries), 2 * kPerThread);
    EXPECT_TRUE(onlyEntries);
    EXPECT_EQ(text.count("Source filename: \"SubunitsSearcher\"\nLine number: 76\n"),
              2 * kPerThread);

    log.ClearFileSystemErrors();
    EXPECT_TRUE(log.FileSystemErrors().empty());
}

TEST_F(ErrorLogTest, ReportingNeverFailsWithoutALogOrAUserInterface)
{
    // No prompter installed: the built-in one prints and has no window to close.
    ErrorLog::Instance().SetLogPath(m_dir.filePath(QStringLiteral("no/such/folder/log.txt")));
    ErrorLog::Instance().ReportError(14, QStringLiteral("unable to open database file"),
                                     QStringLiteral("x.cpp"), 1, true, false);

    // An unwritable log loses the entry but the message is still shown.
    FakePrompter prompter;
    ErrorLog::Instance().ReportError(14, QStringLiteral("unable to open database file"),
                                     QStringLiteral("x.cpp"), 2, false, false);
    EXPECT_EQ(prompter.LastMessage(), QStringLiteral("unable to open database file"));

    // An empty path writes no log at all.
    ErrorLog::Instance().SetLogPath(QString());
    ErrorLog::Instance().WriteLogEntry(1, QStringLiteral("lost"), QStringLiteral("x.cpp"), 3);
    EXPECT_FALSE(QFile::exists(m_logPath));
    EXPECT_TRUE(QFile::exists(m_dir.path()));
}
