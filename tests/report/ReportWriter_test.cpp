// The report writer on real catalogues: the page as a whole, the nesting levels, the
// events it posts, cancellation and the paths it cannot write.
#include "TestCatalogue.h"

#include "common/WorkerEvent.h"
#include "report/ReportWriter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <vector>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

const char kDate[] = "2012-03-07 14:05:09";

// Collects what the worker posts, as the report dialog would receive it.
class Receiver final : public QObject
{
public:
    std::vector<int> Progress;
    std::vector<qintptr> Finished;

protected:
    void customEvent(QEvent* event) override
    {
        const auto* e = static_cast<const WorkerEvent*>(event);
        if (e->Code() == WorkerEvent::Progress)
            Progress.push_back(static_cast<int>(e->WParam()));
        else if (e->Code() == WorkerEvent::Finished)
            Finished.push_back(e->WParam());
    }
};

class ReportWriterTest : public ::testing::Test
{
protected:
    // The window's order is by id: the page still lists by name.
    ReportWriterTest() { m_catalogue.Db().SetSortByName(false); }

    CSqliteWrapper& Db() { return m_catalogue.Db(); }
    QString OutPath() const { return m_out.filePath(QStringLiteral("report.html")); }

    // Runs a report on the worker thread and delivers its events.
    void Run(int storage, int level, const QString& path)
    {
        m_job.Receiver = &m_receiver;
        m_job.Title = QStringLiteral("discs.db3");
        m_job.Path = path;
        m_job.Storage = storage;
        m_job.NestingLevel = level;
        m_job.Catalogue = &Db();
        CReportWriter writer;
        writer.Start(m_job);
        writer.Wait();
        QCoreApplication::sendPostedEvents(&m_receiver);
    }
    void Run(int storage, int level) { Run(storage, level, OutPath()); }

    void SetDates()
    {
        Db().Execute(QStringLiteral("UPDATE Units SET DateAdded = '%1'").arg(kDate));
    }

    // The page as text: UTF-16 little-endian after its byte-order mark.
    static QString ReadPage(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return QStringLiteral("<no file>");
        const QByteArray bytes = file.readAll();
        if (!bytes.startsWith("\xFF\xFE"))
            return QStringLiteral("<no byte-order mark>");
        return QString(reinterpret_cast<const QChar*>(bytes.constData() + 2),
                       (bytes.size() - 2) / 2);
    }

    // Pages are compared as UTF-8 text, so that a failure shows readable lines.
    std::string Page() const { return ReadPage(OutPath()).toStdString(); }
    static std::string Utf8(const QString& text) { return text.toStdString(); }

    // The expected page, written out independently of the writer.
    static QString Head()
    {
        return QStringList{
                   "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\"",
                   "\"http://www.w3.org/TR/xhtml1/DTD/xhtml1-transitional.dtd\">",
                   "",
                   "<html xmlns=\"http://www.w3.org/1999/xhtml\">",
                   "<head>",
                   "<title>Report for discs.db3</title>",
                   "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                   "style-src 'unsafe-inline'\" />",
                   "<style type=\"text/css\">",
                   "body {background-color:whitesmoke;}",
                   "caption {font-size:1.2em; font-weight:bold; text-align:center; "
                   "padding-bottom:0.5em;}",
                   "th {background-color:lightgray;}",
                   ".type-header {width:100px;}",
                   ".size-header {width:100px;}",
                   ".date-header {width:180px;}",
                   ".type-data {text-align:center;}",
                   ".size-data {text-align:center;}",
                   ".date-data {text-align:center;}",
                   ".data-row:hover {background-color:#E8E8E8;}",
                   ".indent {font-weight:bold; margin-right: 1em;}",
                   ".copyright {text-align:center;}",
                   "</style>",
                   "</head>",
                   "<body>",
               }
                   .join("\r\n") +
               "\r\n";
    }
    static QString TableStart(const QString& caption)
    {
        return QStringList{
                   "<table border=\"1\" cellpadding=\"5\" cellspacing=\"0\" width=\"100%\">",
                   "<caption>" + caption + "</caption>",
                   "<thead>",
                   "<tr>",
                   "<th scope=\"col\">Name</th>",
                   "<th scope=\"col\" class=\"type-header\">Type</th>",
                   "<th scope=\"col\" class=\"size-header\">Size</th>",
                   "<th scope=\"col\" class=\"date-header\">Added</th>",
                   "</tr>",
                   "</thead>",
                   "<tbody>",
               }
                   .join("\r\n") +
               "\r\n";
    }
    static QString Row(int indents, const QString& name, const QString& type, const QString& size,
                       const QString& date = kDate)
    {
        return "<tr class=\"data-row\">\r\n<td>" +
               QString("<span class=\"indent\">&middot;</span>").repeated(indents) + name +
               "</td>\r\n<td class=\"type-data\">" + type + "</td>\r\n<td class=\"size-data\">" +
               size + "</td>\r\n<td class=\"date-data\">" + date + "</td>\r\n</tr>\r\n";
    }
    static QString TableEnd() { return "</tbody>\r\n</table>\r\n<br />\r\n"; }
    static QString Foot()
    {
        return "<div class=\"copyright\">Created with Shelfwise, the cataloguer of removable "
               "discs.</div>\r\n</body>\r\n</html>";
    }

    TestCatalogue m_catalogue;
    QTemporaryDir m_out;
    Receiver m_receiver;
    ReportJob m_job;
};

} // namespace

TEST_F(ReportWriterTest, WritesTheWholePageOfASmallCatalogue)
{
    // Storages come by name, case-insensitive: Attic, car (empty), Shelf.
    const int shelf = Db().AddStorage("Shelf", QString());
    const int attic = Db().AddStorage("Attic", "Box 4");
    Db().AddStorage("car", QString());

    const int films = m_catalogue.AddDisc(attic, "films");
    const int drama = m_catalogue.AddFolder(attic, films, "Drama");
    m_catalogue.AddFile(attic, drama, "Tom & Jerry <1>.avi", 1536);
    m_catalogue.AddFile(attic, drama, "b.avi", 3 * 1024 * 1024);
    m_catalogue.AddFile(attic, films, "readme.txt", 12);
    m_catalogue.AddDisc(attic, "Archive");
    m_catalogue.AddFile(shelf, 0, "Loose.iso", 5LL * 1024 * 1024 * 1024);
    SetDates();
    // A date stored in another form is written as it stands, and an unknown type says so.
    Db().Execute("UPDATE Units SET DateAdded = 'Frühjahr 2009, vor der Reise' WHERE UnitName "
                 "= 'readme.txt'");
    Db().Execute("UPDATE Units SET UnitType = 'X', ParentUnitID = NULL WHERE UnitName = "
                 "'Loose.iso'");

    Run(-1, -1);

    const QString expected =
        Head() + TableStart("Attic (Box 4)") + Row(0, "Archive", "Disc", "0 bytes") +
        Row(0, "films", "Disc", "0 bytes") + Row(1, "Drama", "Folder", "0 bytes") +
        Row(2, "b.avi", "File", "3.00 MB") + Row(2, "Tom & Jerry <1>.avi", "File", "1.50 KB") +
        Row(1, "readme.txt", "File", "12 bytes", "Frühjahr 2009, vor der Reise") + TableEnd() +
        TableStart("car") + TableEnd() + TableStart("Shelf") +
        Row(0, "Loose.iso", "Unknown Type", "5.00 GB") + TableEnd() + Foot();
    EXPECT_EQ(Page(), Utf8(expected));

    EXPECT_EQ(m_receiver.Finished, std::vector<qintptr>{WorkerEvent::Succeeded});
    EXPECT_TRUE(m_job.PageWritten);
    EXPECT_EQ(m_job.Total, 7u);
    EXPECT_EQ(m_job.Done, 7u);
    // 10 first, then each rise of the whole percentage once: 10 + n * 90 / 7.
    EXPECT_EQ(m_receiver.Progress, (std::vector<int>{10, 22, 35, 48, 61, 74, 87, 100}));
}

TEST_F(ReportWriterTest, NestingLevelStopsTheWalkAndTheProgressShort)
{
    const int box = Db().AddStorage("Box", QString());
    const int a = m_catalogue.AddDisc(box, "A");
    const int b = m_catalogue.AddDisc(box, "B");
    const int folder = m_catalogue.AddFolder(box, a, "Folder");
    const int deeper = m_catalogue.AddFolder(box, folder, "Deeper");
    m_catalogue.AddFile(box, deeper, "deepest.txt", 1);
    m_catalogue.AddFile(box, b, "top.txt", 1);
    SetDates();

    const QString discs = Row(0, "A", "Disc", "0 bytes");
    const QString b0 = Row(0, "B", "Disc", "0 bytes");
    const QString folderRow = Row(1, "Folder", "Folder", "0 bytes");
    const QString topRow = Row(1, "top.txt", "File", "1 bytes");

    Run(-1, 1);
    EXPECT_EQ(Page(), Utf8(Head() + TableStart("Box") + discs + b0 + TableEnd() + Foot()));
    EXPECT_EQ(m_job.Done, 2u);
    EXPECT_EQ(m_job.Total, 6u);
    EXPECT_EQ(m_receiver.Progress.back(), 40); // 10 + 2 * 90 / 6: never 100
    EXPECT_EQ(m_receiver.Finished.back(), WorkerEvent::Succeeded);

    Run(box, 2);
    EXPECT_EQ(Page(), Utf8(Head() + TableStart("Box") + discs + folderRow + b0 + topRow +
                           TableEnd() + Foot()));

    for (const int level : {3, -1}) {
        Run(box, level);
        const QString page = ReadPage(OutPath());
        EXPECT_TRUE(page.contains("Deeper</td>")) << level;
        EXPECT_EQ(page.contains("deepest.txt"), level == -1) << level;
    }
    // The file three levels below the disc starts with three indentation spans.
    EXPECT_TRUE(ReadPage(OutPath()).contains(
        "<td>" + QString("<span class=\"indent\">&middot;</span>").repeated(3) + "deepest.txt"));
    EXPECT_EQ(m_receiver.Progress.back(), 100);
}

TEST_F(ReportWriterTest, OneStorageAndUnitsWithoutTheirParent)
{
    const int attic = Db().AddStorage("Attic", QString());
    const int car = Db().AddStorage("Car", QString());
    const int disc = m_catalogue.AddDisc(attic, "Disc");
    m_catalogue.AddFile(car, disc, "in the car, below a disc in the attic", 1);
    m_catalogue.AddFile(attic, 99999, "orphan", 1);
    m_catalogue.AddFile(car, 0, "Map.pdf", 2);
    Db().Execute("UPDATE Units SET ParentUnitID = NULL WHERE UnitName = 'Map.pdf'");
    SetDates();

    // A unit's children follow it wherever they are stored; one without a parent among
    // the units read is left out, though it counts in the total.
    Run(-1, -1);
    EXPECT_EQ(Page(),
              Utf8(Head() + TableStart("Attic") + Row(0, "Disc", "Disc", "0 bytes") +
                   Row(1, "in the car, below a disc in the attic", "File", "1 bytes") + TableEnd() +
                   TableStart("Car") + Row(0, "Map.pdf", "File", "2 bytes") + TableEnd() + Foot()));
    EXPECT_EQ(m_job.Total, 4u);
    EXPECT_EQ(m_job.Done, 3u);

    // Only the chosen storage's units are read, so the file of the car loses its parent.
    Run(car, -1);
    EXPECT_EQ(Page(), Utf8(Head() + TableStart("Car") + Row(0, "Map.pdf", "File", "2 bytes") +
                           TableEnd() + Foot()));
    EXPECT_EQ(m_job.Total, 2u);

    // A storage that does not exist gives a page without tables.
    Run(12345, -1);
    EXPECT_EQ(Page(), Utf8(Head() + Foot()));
    EXPECT_EQ(m_receiver.Finished.back(), WorkerEvent::Succeeded);
}

TEST_F(ReportWriterTest, EmptyCatalogueHasOnlyTheHeadAndTheFooter)
{
    Run(-1, 1);
    EXPECT_EQ(Page(), Utf8(Head() + Foot()));
    EXPECT_EQ(m_receiver.Progress, std::vector<int>{10});
    EXPECT_EQ(m_receiver.Finished, std::vector<qintptr>{WorkerEvent::Succeeded});
    EXPECT_EQ(m_job.Total, 0u);
}

TEST_F(ReportWriterTest, PathThatCannotBeCreatedEndsNormallyWithoutAPage)
{
    const int box = Db().AddStorage("Box", QString());
    m_catalogue.AddDisc(box, "Disc");
    const QString missing = m_out.filePath("no such folder/report.html");
    const QString folder = m_out.filePath("a folder");
    ASSERT_TRUE(QDir().mkdir(folder));

    for (const QString& path : {missing, folder}) {
        m_receiver.Progress.clear();
        m_receiver.Finished.clear();
        Run(-1, -1, path);
        EXPECT_EQ(m_receiver.Finished, std::vector<qintptr>{WorkerEvent::Succeeded})
            << path.toStdString();
        EXPECT_EQ(m_receiver.Progress, std::vector<int>{10}) << path.toStdString();
        EXPECT_FALSE(m_job.PageWritten) << path.toStdString();
        EXPECT_EQ(m_job.Done, 0u);
    }
    EXPECT_FALSE(QFile::exists(missing));
    EXPECT_TRUE(QFileInfo(folder).isDir());
}

TEST_F(ReportWriterTest, CancelBeforeReadingAndDatabaseErrors)
{
    const int box = Db().AddStorage("Box", QString());
    m_catalogue.AddDisc(box, "Disc");

    m_job.Cancel.store(1);
    Run(-1, -1);
    EXPECT_EQ(m_receiver.Finished, std::vector<qintptr>{WorkerEvent::Cancelled});
    EXPECT_TRUE(m_receiver.Progress.empty());
    EXPECT_FALSE(QFile::exists(OutPath()));

    m_job.Cancel.store(0);
    m_receiver.Finished.clear();
    Db().Execute("ALTER TABLE Units RENAME TO OldUnits");
    Run(-1, -1);
    EXPECT_EQ(m_receiver.Finished, std::vector<qintptr>{WorkerEvent::Failed});
    EXPECT_TRUE(m_receiver.Progress.empty());
    EXPECT_FALSE(QFile::exists(OutPath()));
}

#ifdef Q_OS_UNIX
TEST_F(ReportWriterTest, CancelStopsBeforeTheNextRowAndKeepsWhatWasWritten)
{
    // Enough rows that the page is far larger than a pipe's buffer.
    const int box = Db().AddStorage("Box", QString());
    const int disc = m_catalogue.AddDisc(box, "Disc");
    QString sql = "BEGIN;";
    for (int i = 0; i < 3000; ++i)
        sql += QString("INSERT INTO Units (UnitName, UnitType, StorageID, ParentUnitID) VALUES "
                       "('file %1', 'F', %2, %3);")
                   .arg(i, 4, 10, QChar('0'))
                   .arg(box)
                   .arg(disc);
    Db().Execute(sql + "COMMIT;");

    // Through a pipe the worker can only run as far ahead of the reader as the pipe
    // holds, so a cancel made after the first piece lands long before the end.
    const QString fifo = m_out.filePath("pipe.html");
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    m_job.Receiver = &m_receiver;
    m_job.Title = "discs.db3";
    m_job.Path = fifo;
    m_job.Storage = -1;
    m_job.NestingLevel = -1;
    m_job.Catalogue = &Db();
    CReportWriter writer;
    writer.Start(m_job);

    const int pipe = ::open(QFile::encodeName(fifo).constData(), O_RDONLY);
    ASSERT_GE(pipe, 0);
    QByteArray bytes;
    char chunk[4096];
    ssize_t got = 0;
    bool cancelled = false;
    while ((got = ::read(pipe, chunk, sizeof chunk)) > 0) {
        bytes.append(chunk, static_cast<int>(got));
        if (!cancelled) {
            CReportWriter::Cancel(m_job);
            cancelled = true;
        }
    }
    ::close(pipe);
    writer.Wait();
    QCoreApplication::sendPostedEvents(&m_receiver);

    EXPECT_EQ(m_receiver.Finished, std::vector<qintptr>{WorkerEvent::Cancelled});
    EXPECT_GT(m_job.Done, 0u);
    EXPECT_LT(m_job.Done, m_job.Total);
    EXPECT_FALSE(m_job.PageWritten);
    // What was written ends with the last whole row, which is the Done-th.
    const QString page =
        QString(reinterpret_cast<const QChar*>(bytes.constData()), bytes.size() / 2);
    EXPECT_TRUE(page.endsWith("</tr>\r\n"));
    EXPECT_EQ(page.count("<tr class=\"data-row\">"), static_cast<int>(m_job.Done));
    EXPECT_FALSE(page.contains("</html>"));
    EXPECT_EQ(m_receiver.Progress.back(), m_job.LastPercent);
    EXPECT_LT(m_job.LastPercent, 100);
}
#endif
