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
#include <QRegularExpression>
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

// Collects what the worker posts, as the report dialog would receive it.
class Receiver final : public QObject
{
public:
    std::vector<int> Progress;
    std::vector<WorkOutcome> Finished;

protected:
    void customEvent(QEvent* event) override
    {
        const auto* e = static_cast<const WorkerEvent*>(event);
        if (e->Code() == WorkerEvent::Progress)
            Progress.push_back(static_cast<int>(e->WParam()));
        else if (e->Code() == WorkerEvent::Finished)
            Finished.push_back(e->Outcome());
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

    // The page with its CR LF line ends made LF, as UTF-8 so that a failure shows lines.
    static std::string Page(const QString& path)
    {
        const QString page = ReadPage(path);
        EXPECT_EQ(page.count("\r\n"), page.count('\n')) << "a line ends without CR LF";
        return QString(page).replace("\r\n", "\n").toStdString();
    }
    // The page of WritesTheWholePageOfASmallCatalogue, for a reader to diff.
    static QString Golden()
    {
        QFile file(QStringLiteral(SHELFWISE_SOURCE_DIR "/tests/data/report/small-catalogue.html"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QString::fromUtf8(file.readAll()).chopped(1); // the page ends without a line end
    }

    // The page's tables as lines to compare: "# caption", then "name | type | size" for
    // each row, the name after a "·" for each level it is indented.
    static QStringList Tables(const QString& page)
    {
        static const QRegularExpression item(
            "<caption>(.*?)</caption>|<tr[^>]*>\\s*<td>(.*?)</td>\\s*<td[^>]*>(.*?)</td>\\s*"
            "<td[^>]*>(.*?)</td>",
            QRegularExpression::DotMatchesEverythingOption);
        static const QRegularExpression indent("<span[^>]*>&middot;</span>");
        QStringList lines;
        for (const QRegularExpressionMatch& match : item.globalMatch(page)) {
            if (match.capturedLength(1) > 0)
                lines << "# " + match.captured(1);
            else
                lines << match.captured(2).replace(indent, "·") + " | " + match.captured(3) +
                             " | " + match.captured(4);
        }
        return lines;
    }
    QStringList Tables() const { return Tables(ReadPage(OutPath())); }

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
    Db().Execute("UPDATE Units SET DateAdded = '2012-03-07 14:05:09'");
    // A date stored in another form is written as it stands, and an unknown type says so.
    Db().Execute("UPDATE Units SET DateAdded = 'Frühjahr 2009, vor der Reise' WHERE UnitName "
                 "= 'readme.txt'");
    Db().Execute("UPDATE Units SET UnitType = 'X', ParentUnitID = NULL WHERE UnitName = "
                 "'Loose.iso'");

    Run(-1, -1);

    // Names are written as they stand; the head forbids scripts and remote resources.
    EXPECT_EQ(Page(OutPath()), Golden().toStdString());

    EXPECT_EQ(m_receiver.Finished, std::vector<WorkOutcome>{WorkOutcome::Succeeded});
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

    Run(-1, 1);
    EXPECT_EQ(Tables(), (QStringList{"# Box", "A | Disc | 0 bytes", "B | Disc | 0 bytes"}));
    EXPECT_EQ(m_job.Done, 2u);
    EXPECT_EQ(m_job.Total, 6u);
    EXPECT_EQ(m_receiver.Progress.back(), 40); // 10 + 2 * 90 / 6: never 100
    EXPECT_EQ(m_receiver.Finished.back(), WorkOutcome::Succeeded);

    Run(box, 2);
    EXPECT_EQ(Tables(), (QStringList{"# Box", "A | Disc | 0 bytes", "·Folder | Folder | 0 bytes",
                                     "B | Disc | 0 bytes", "·top.txt | File | 1 bytes"}));

    for (const int level : {3, -1}) {
        Run(box, level);
        EXPECT_TRUE(Tables().contains("··Deeper | Folder | 0 bytes")) << level;
        EXPECT_EQ(Tables().contains("···deepest.txt | File | 1 bytes"), level == -1) << level;
    }
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

    // A unit's children follow it wherever they are stored; one without a parent among
    // the units read is left out, though it counts in the total.
    Run(-1, -1);
    EXPECT_EQ(Tables(), (QStringList{"# Attic", "Disc | Disc | 0 bytes",
                                     "·in the car, below a disc in the attic | File | 1 bytes",
                                     "# Car", "Map.pdf | File | 2 bytes"}));
    EXPECT_EQ(m_job.Total, 4u);
    EXPECT_EQ(m_job.Done, 3u);

    // Only the chosen storage's units are read, so the file of the car loses its parent.
    Run(car, -1);
    EXPECT_EQ(Tables(), (QStringList{"# Car", "Map.pdf | File | 2 bytes"}));
    EXPECT_EQ(m_job.Total, 2u);
}

TEST_F(ReportWriterTest, EmptyCatalogueOrStorageHasOnlyTheHeadAndTheFooter)
{
    QString frame = Golden();
    frame.remove(QRegularExpression("<table.*</table>\n<br />\n",
                                    QRegularExpression::DotMatchesEverythingOption));
    Run(-1, 1);
    EXPECT_EQ(Page(OutPath()), frame.toStdString());
    Run(12345, -1); // a storage that does not exist
    EXPECT_EQ(Page(OutPath()), frame.toStdString());
    EXPECT_EQ(m_receiver.Progress, (std::vector<int>{10, 10}));
    EXPECT_EQ(m_receiver.Finished,
              (std::vector<WorkOutcome>{WorkOutcome::Succeeded, WorkOutcome::Succeeded}));
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
        EXPECT_EQ(m_receiver.Finished, std::vector<WorkOutcome>{WorkOutcome::Succeeded})
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
    EXPECT_EQ(m_receiver.Finished, std::vector<WorkOutcome>{WorkOutcome::Cancelled});
    EXPECT_TRUE(m_receiver.Progress.empty());
    EXPECT_FALSE(QFile::exists(OutPath()));

    m_job.Cancel.store(0);
    m_receiver.Finished.clear();
    Db().Execute("ALTER TABLE Units RENAME TO OldUnits");
    Run(-1, -1);
    EXPECT_EQ(m_receiver.Finished, std::vector<WorkOutcome>{WorkOutcome::Failed});
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

    EXPECT_EQ(m_receiver.Finished, std::vector<WorkOutcome>{WorkOutcome::Cancelled});
    EXPECT_GT(m_job.Done, 0u);
    EXPECT_LT(m_job.Done, m_job.Total);
    EXPECT_FALSE(m_job.PageWritten);
    // What was written ends with the last whole row, which is the Done-th.
    const QString page =
        QString(reinterpret_cast<const QChar*>(bytes.constData()), bytes.size() / 2);
    EXPECT_TRUE(page.endsWith("</tr>\r\n"));
    EXPECT_EQ(Tables(page).size(), static_cast<int>(m_job.Done) + 1); // and the caption
    EXPECT_FALSE(page.contains("</html>"));
    EXPECT_EQ(m_receiver.Progress.back(), m_job.LastPercent);
    EXPECT_LT(m_job.LastPercent, 100);
}
#endif
