// Adding folders and files end to end: the real scanner, the importer and the
// catalogue, through the job that the window and the command line drive; the importer's
// two ways of writing files (one statement each, multi-row batches) against each other,
// and what a cancel or a refused row in the middle of a batch leaves behind.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "acquisition/AddLocationJob.h"
#include "acquisition/Importer.h"
#include "acquisition/RunAddition.h"
#include "acquisition/SubunitsSearcher.h"
#include "document/CatalogueCheck.h"
#include "document/ShelfwiseDoc.h"
#include "errorlog/ErrorLog.h"
#include "listers/DiscImageLister.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqlText.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace {

void MakeFile(const QString& path, qint64 size, qint64 modifiedSecs = 0)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(QByteArray(static_cast<int>(size), 'x'));
    if (modifiedSecs != 0)
        file.setFileTime(QDateTime::fromSecsSinceEpoch(modifiedSecs),
                         QFileDevice::FileModificationTime);
}

// A tree with names SQL and text handling trip over, files in runs longer than a batch,
// empty and deep folders, old and future dates, real pictures with a media row, and
// links (written with notes) among the files.
void MakeOddTree(const QString& root)
{
    const QStringList names = {QStringLiteral("it's \"quoted\".txt"),
                               QStringLiteral("100%_%d%s.log"),
                               QStringLiteral("line\nbreak.txt"),
                               QStringLiteral("Ünïcødé ✓ 日本.mp3"),
                               QStringLiteral("'); DROP TABLE Units; --.doc"),
                               QStringLiteral("NULL"),
                               QStringLiteral(".hidden"),
                               QStringLiteral("no extension")};
    for (int i = 0; i < names.size(); ++i)
        MakeFile(root + QLatin1Char('/') + names[i], i * 7, 86400LL * 365 * (i + 1));
    MakeFile(root + QStringLiteral("/old/1969.txt"), 3, -86400LL * 200);
    MakeFile(root + QStringLiteral("/old/2100.txt"), 4, 4102444800LL + 3600);
    for (int i = 0; i < 620; ++i)
        MakeFile(QStringLiteral("%1/many/f%2.dat").arg(root).arg(i), i % 97);
    for (int depth = 0; depth < 6; ++depth)
        MakeFile(QStringLiteral("%1/deep%2/a'b/c%3.txt").arg(root).arg(depth).arg(depth), depth);
    QDir().mkpath(root + QStringLiteral("/empty/inner"));
    QDir().mkpath(root + QStringLiteral("/pictures"));
    ASSERT_TRUE(QFile::link(QStringLiteral("../it's \"quoted\".txt"),
                            root + QStringLiteral("/many/quoted link")));
    ASSERT_TRUE(QFile::link(QStringLiteral("p0.png"), root + QStringLiteral("/pictures/link.png")));
    for (int i = 0; i < 3; ++i) {
        QImage picture(20 + i, 10 + i, QImage::Format_RGB32);
        picture.fill(Qt::darkCyan);
        ASSERT_TRUE(picture.save(QStringLiteral("%1/pictures/p%2.png").arg(root).arg(i)));
    }
}

class AddLocation : public ::testing::Test
{
protected:
    AddLocation()
    {
        EXPECT_TRUE(m_doc.OnNewDocument());
        m_storage = m_doc.AddStorage(QStringLiteral("Shelf"), QString());
    }

    // Runs the job to its end; progress percentages are collected.
    WorkOutcome Add(CAddLocationJob::Mode mode, const QString& path,
                    bool cancelOnFirstProgress = false, bool categorise = true, int category = 1,
                    const std::function<void(CImporter&)>& configure = {})
    {
        CAddLocationJob job(m_doc);
        job.SetFolderLister(m_lister);
        if (configure)
            configure(job.Importer());
        m_progress.clear();
        CAddLocationJob::Request request = AdditionRequest(mode, path, m_storage);
        request.categorise = categorise;
        request.fixedCategory = category;
        return RunAddition(job, request, [&](int percent) {
            m_progress.push_back(percent);
            if (cancelOnFirstProgress)
                job.Cancel();
        });
    }

    qint64 Number(const QString& sql)
    {
        std::vector<QString> rows;
        m_doc.Database().QueryRows(sql, rows, &RowMappers::Texts);
        return rows.empty() ? -1 : rows.front().toLongLong();
    }

    qint64 Unit(const char* column, const char* name)
    {
        return Number(QStringLiteral("SELECT %1 FROM Units WHERE UnitName = '%2'")
                          .arg(QLatin1String(column), QLatin1String(name)));
    }

    // Every unit of the storage by its path from the top unit, with everything stored
    // about it except ids: the columns, the picture row, the parent (by path).
    std::map<QString, QString> UnitsByPath()
    {
        const QString sql = QStringLiteral(
            "WITH RECURSIVE Tree(UnitID, Path) AS ("
            " SELECT UnitID, UnitName FROM Units WHERE ParentUnitID IS NULL AND StorageID = %1"
            " UNION ALL SELECT u.UnitID, t.Path || '/' || u.UnitName FROM Units u"
            " JOIN Tree t ON u.ParentUnitID = t.UnitID)"
            " SELECT t.Path || char(1) || u.UnitType || '|' || u.UnitSize || '|' ||"
            " u.SubfilesNumber || '|' || u.SubfoldersNumber || '|' ||"
            " IFNULL(u.DateCreated, '-') || '|' || IFNULL(u.DateModified, '-') || '|' ||"
            " u.CategoryID || '|' || IFNULL(u.UnitNotes, '-') || '|' ||"
            " IFNULL(p.Width || 'x' || p.Height || '@' || IFNULL(p.ColorDepth, '-'), '-')"
            " FROM Tree t JOIN Units u ON u.UnitID = t.UnitID"
            " LEFT JOIN PictureInfo p ON p.PictureInfoID = u.UnitInfoID AND u.CategoryID = 4");
        std::vector<QString> rows;
        m_doc.Database().QueryRows(sql.arg(m_storage), rows, &RowMappers::Texts);
        std::map<QString, QString> units;
        for (const QString& row : rows) {
            const qsizetype cut = row.indexOf(QChar(1));
            units[row.left(cut)] = row.mid(cut + 1);
        }
        return units;
    }

    // The names of a unit's children in the order of their ids, joined by "|".
    std::string ChildrenByIdOf(const QString& parentName)
    {
        std::vector<QString> rows;
        m_doc.Database().QueryRows(
            SqlText::Format("SELECT c.UnitName FROM Units c JOIN Units p ON p.UnitID = "
                            "c.ParentUnitID WHERE p.UnitName = %s AND p.StorageID = %d "
                            "ORDER BY c.UnitID",
                            {SqlText::QuoteSqlString(parentName), m_storage}),
            rows, &RowMappers::Texts);
        return QStringList(rows.begin(), rows.end()).join(QLatin1Char('|')).toStdString();
    }

    FakePrompter m_prompter;
    CShelfwiseDoc m_doc;
    int m_storage = 0;
    FolderLister* m_lister = nullptr; // the platform's when null
    std::vector<int> m_progress;
};

} // namespace

TEST_F(AddLocation, FolderTotalsFollowTheTree)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Root"));
    MakeFile(root + QStringLiteral("/A/f1.txt"), 10);
    MakeFile(root + QStringLiteral("/A/B/f2.mp3"), 5);
    QDir().mkpath(root + QStringLiteral("/A/Empty"));

    ASSERT_EQ(Add(CAddLocationJob::Mode::Folder, root + QStringLiteral("/")),
              WorkOutcome::Succeeded);
    EXPECT_EQ(Unit("SubfilesNumber", "A"), 2);
    EXPECT_EQ(Unit("SubfoldersNumber", "A"), 2);
    EXPECT_EQ(Unit("UnitSize", "A"), 15);
    EXPECT_EQ(Unit("SubfilesNumber", "B"), 1);
    EXPECT_EQ(Unit("UnitSize", "B"), 5);
    EXPECT_EQ(Unit("SubfilesNumber", "Empty"), 0);
    // The top unit is named after the last folder of the path, trailing separator or not.
    EXPECT_EQ(Unit("SubfilesNumber", "Root"), 2);
    EXPECT_EQ(Unit("SubfoldersNumber", "Root"), 3);
    EXPECT_EQ(Unit("ParentUnitID IS NULL", "Root"), 1);
    const StorageRecord storage = m_doc.Database().GetStorage(m_storage);
    EXPECT_EQ(storage.FilesNumber, 2);
    EXPECT_EQ(storage.FoldersNumber, 4); // three below and the added folder itself
    EXPECT_EQ(storage.StorageSize, 15);
    EXPECT_EQ(Unit("CategoryID", "f2.mp3"), 3);
    EXPECT_EQ(Unit("CategoryID", "f1.txt"), 1);
    EXPECT_EQ(Unit("CategoryID", "B"), 1);
    EXPECT_TRUE(CCatalogueCheck(m_doc.Database()).Run().empty());
    EXPECT_TRUE(m_doc.IsModified());
    EXPECT_FALSE(m_doc.Database().InTransaction());
    ASSERT_FALSE(m_progress.empty());
    EXPECT_EQ(m_progress.back(), 100);
}

TEST_F(AddLocation, GeneratedTreeMatchesFindAndProgressOnlyRises)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("tree"));
    qint64 bytes = 0;
    for (int d = 0; d < 12; ++d) {
        for (int f = 0; f < 25; ++f) {
            const int size = (d * 37 + f * 11) % 300;
            MakeFile(QStringLiteral("%1/d%2/s%3/file%4.dat").arg(root).arg(d).arg(d % 3).arg(f),
                     size);
            bytes += size;
        }
    }
    ASSERT_EQ(Add(CAddLocationJob::Mode::Folder, root, false, false, 4), WorkOutcome::Succeeded);
    QProcess find;
    find.start(QStringLiteral("find"), {root, QStringLiteral("-mindepth"), QStringLiteral("1"),
                                        QStringLiteral("-printf"), QStringLiteral("%y\\n")});
    ASSERT_TRUE(find.waitForFinished());
    const QByteArray kinds = find.readAllStandardOutput();
    EXPECT_EQ(Unit("SubfilesNumber", "tree"), kinds.count("f\n"));
    EXPECT_EQ(Unit("SubfoldersNumber", "tree"), kinds.count("d\n"));
    EXPECT_EQ(Unit("UnitSize", "tree"), bytes);
    // A fixed category goes to every unit, folders included.
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE CategoryID <> 4")), 0);
    for (size_t i = 1; i < m_progress.size(); ++i)
        EXPECT_GT(m_progress[i], m_progress[i - 1]);
    EXPECT_LE(m_progress.size(), 101u);
}

TEST_F(AddLocation, AFoldersEntriesGetTheirIdsInNameOrderFromTheFolderAndFromItsImage)
{
    // Names compared with each UTF-16 unit upper-cased, as NTFS lists them: digits one by
    // one, a name before the names it begins, "_" after the letters, accented letters
    // after Z, and names alike but for their case capitals first.
    const QStringList inOrder = {
        "10 ten.txt", "2.txt",      "9 nine.txt", "a.b",        "ab.txt",     "Apple",
        "APPLE.TXT",  "apple.txt",  "Banana.TXT", "banana.txt", "eclair.txt", "zebra.txt",
        "zz top",     "Zürich.txt", "_under.txt", "Ärger.txt",  "Éclair",     "émile.txt"};
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("order"));
    // Made in neither order, so that no file system hands them over sorted by chance.
    for (const int i : {7, 15, 0, 12, 3, 17, 9, 1, 14, 5, 11, 16, 2, 8, 13, 4, 10, 6}) {
        if (inOrder[i] == QLatin1String("Apple") || inOrder[i] == QLatin1String("Éclair"))
            QDir().mkpath(root + QLatin1Char('/') + inOrder[i]);
        else
            MakeFile(root + QLatin1Char('/') + inOrder[i], i);
    }
    for (const char* name : {"zed.txt", "Core", "core.txt", "CORE.txt"})
        MakeFile(root + QStringLiteral("/Apple/") + QLatin1String(name), 1);
    const QStringList appleInOrder = {"Core", "CORE.txt", "core.txt", "zed.txt"};

    ASSERT_EQ(Add(CAddLocationJob::Mode::Folder, root), WorkOutcome::Succeeded);
    EXPECT_EQ(ChildrenByIdOf(QStringLiteral("order")),
              inOrder.join(QLatin1Char('|')).toStdString());
    EXPECT_EQ(ChildrenByIdOf(QStringLiteral("Apple")),
              appleInOrder.join(QLatin1Char('|')).toStdString());
    // Breadth-first all the same: the folder's own entries before its subfolders'.
    const QString lastOrFirstChild =
        QStringLiteral("SELECT %1(c.UnitID) FROM Units c JOIN Units p ON p.UnitID = c.ParentUnitID "
                       "WHERE p.UnitName = '%2'");
    EXPECT_LT(Number(lastOrFirstChild.arg(QLatin1String("MAX"), QLatin1String("order"))),
              Number(lastOrFirstChild.arg(QLatin1String("MIN"), QLatin1String("Apple"))));

    // The image of the folder records its entries by their ISO 9660 names: the disc
    // shows them in the same order as the folder.
    if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    const QString image = dir.filePath(QStringLiteral("order.iso"));
    QProcess xorriso;
    xorriso.start(QStringLiteral("xorriso"),
                  {"-as", "mkisofs", "-quiet", "-R", "-J", "-o", image, root});
    ASSERT_TRUE(xorriso.waitForFinished(60000) && xorriso.exitCode() == 0);
    const std::unique_ptr<FolderLister> lister = DiscImageLister::Open(image);
    ASSERT_TRUE(lister);
    m_lister = lister.get();
    m_storage = m_doc.AddStorage(QStringLiteral("Discs"), QString());
    ASSERT_EQ(Add(CAddLocationJob::Mode::Disc, image), WorkOutcome::Succeeded);
    m_lister = nullptr;
    EXPECT_EQ(ChildrenByIdOf(QStringLiteral("order.iso")),
              inOrder.join(QLatin1Char('|')).toStdString());
    EXPECT_EQ(ChildrenByIdOf(QStringLiteral("Apple")),
              appleInOrder.join(QLatin1Char('|')).toStdString());
}

TEST_F(AddLocation, CancelLeavesNothingBehind)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("big"));
    for (int i = 0; i < 400; ++i)
        MakeFile(QStringLiteral("%1/d%2/f%3").arg(root).arg(i % 20).arg(i), 100);
    m_doc.SetModified(false);
    EXPECT_EQ(Add(CAddLocationJob::Mode::Folder, root, true), WorkOutcome::Cancelled);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 0);
    EXPECT_EQ(m_doc.Database().GetStorage(m_storage).FilesNumber, 0);
    EXPECT_FALSE(m_doc.Database().InTransaction());
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Operation has been cancelled"));

    // The catalogue takes the next addition as if nothing had happened.
    ASSERT_EQ(Add(CAddLocationJob::Mode::Folder, root), WorkOutcome::Succeeded);
    EXPECT_EQ(Unit("SubfilesNumber", "big"), 400);
}

TEST_F(AddLocation, SingleFilesAndPathChecks)
{
    QTemporaryDir dir;
    const QString song = dir.filePath(QStringLiteral("Tom's 100% \"best\".mp3"));
    MakeFile(song, 1234);
    ASSERT_EQ(Add(CAddLocationJob::Mode::File, song), WorkOutcome::Succeeded);
    EXPECT_EQ(Number(QStringLiteral("SELECT UnitSize FROM Units WHERE UnitType = 'F'")), 1234);
    EXPECT_EQ(Number(QStringLiteral("SELECT CategoryID FROM Units WHERE UnitType = 'F'")), 3);
    const StorageRecord storage = m_doc.Database().GetStorage(m_storage);
    EXPECT_EQ(storage.FilesNumber, 1);
    EXPECT_EQ(storage.StorageSize, 1234);
    EXPECT_EQ(m_progress.back(), 100);

    EXPECT_EQ(Add(CAddLocationJob::Mode::File, dir.filePath(QStringLiteral("gone.txt"))),
              WorkOutcome::Failed);
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Add file operation has been failed"));
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 1);
    EXPECT_FALSE(m_doc.Database().InTransaction());

    EXPECT_EQ(CAddLocationJob::CheckPath(QString()), QStringLiteral("Select path first"));
    EXPECT_EQ(CAddLocationJob::CheckPath(dir.filePath(QStringLiteral("nothing"))),
              QStringLiteral("Entered path doesn't exist."));
    EXPECT_TRUE(CAddLocationJob::CheckPath(dir.path()).isEmpty());
    EXPECT_EQ(CAddLocationJob::NameFromPath(QStringLiteral("/media/cdrom/Films/")),
              QStringLiteral("Films"));
    EXPECT_EQ(CAddLocationJob::NameFromPath(QStringLiteral("D:\\Photos\\2012")),
              QStringLiteral("2012"));
    EXPECT_EQ(CAddLocationJob::NameFromPath(QStringLiteral("/")), QStringLiteral("/"));
}

TEST_F(AddLocation, SingleRowAndBatchedWritesGiveTheSameCatalogue)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("odd"));
    MakeOddTree(root);

    std::map<QString, QString> reference;
    for (const int rows : {1, 7, CFileInsertBatch::kDefaultRows}) {
        SCOPED_TRACE(rows);
        ASSERT_EQ(Add(CAddLocationJob::Mode::Folder, root, false, true, 1,
                      [rows](CImporter& importer) { importer.SetFileBatchRows(rows); }),
                  WorkOutcome::Succeeded);
        EXPECT_TRUE(CCatalogueCheck(m_doc.Database()).Run().empty());
        const std::map<QString, QString> units = UnitsByPath();
        if (reference.empty()) {
            reference = units;
            // The tree is all there: the top unit, 8 + 2 + 620 + 6 + 3 files and 2 links,
            // 1 + 1 + 6 * 2 + 2 + 1 folders, and the pictures with their media rows.
            EXPECT_EQ(units.size(), 1u + 641u + 17u);
            // A link is an empty file named after its target, without media details.
            EXPECT_TRUE(units.at(QStringLiteral("odd/many/quoted link"))
                            .endsWith(QStringLiteral("|1|-> ../it's \"quoted\".txt|-")));
            const QString link = units.at(QStringLiteral("odd/pictures/link.png"));
            EXPECT_TRUE(link.startsWith(QStringLiteral("F|0|0|0|")) &&
                        link.endsWith(QStringLiteral("|4|-> p0.png|-")))
                << link.toStdString();
            const QString picture = units.at(QStringLiteral("odd/pictures/p2.png"));
            const qint64 size = QFileInfo(root + QStringLiteral("/pictures/p2.png")).size();
            EXPECT_TRUE(picture.startsWith(QStringLiteral("F|%1|0|0|").arg(size)));
            EXPECT_TRUE(picture.endsWith(QStringLiteral("|4|-|22x12@24"))) << picture.toStdString();
            EXPECT_TRUE(units.count(QStringLiteral("odd/line\nbreak.txt")));
            EXPECT_TRUE(units.count(QStringLiteral("odd/'); DROP TABLE Units; --.doc")));
        } else {
            EXPECT_EQ(units, reference);
        }
        // The next run goes into a storage of its own.
        m_storage = m_doc.AddStorage(QStringLiteral("Shelf %1").arg(rows), QString());
    }
}

TEST_F(AddLocation, CancelInsideABatchLeavesNothing)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("big"));
    for (int i = 0; i < 1500; ++i)
        MakeFile(QStringLiteral("%1/d%2/f%3.txt").arg(root).arg(i % 3).arg(i), 100);
    m_doc.SetModified(false);
    // The first progress comes with the first files gathered, long before the batch of
    // a thousand rows is full.
    const auto largeBatches = [](CImporter& importer) { importer.SetFileBatchRows(1000); };
    EXPECT_EQ(Add(CAddLocationJob::Mode::Folder, root, true, true, 1, largeBatches),
              WorkOutcome::Cancelled);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 0);
    EXPECT_EQ(m_doc.Database().GetStorage(m_storage).FoldersNumber, 0);
    EXPECT_FALSE(m_doc.Database().InTransaction());
    EXPECT_FALSE(m_doc.IsModified());
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Operation has been cancelled"));
}

TEST_F(AddLocation, AFailingBatchRollsTheWholeAdditionBack)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("mixed"));
    for (int i = 0; i < 700; ++i)
        MakeFile(QStringLiteral("%1/part%2/f%3.txt").arg(root).arg(i / 300).arg(i), 10);
    MakeFile(root + QStringLiteral("/part2/poison.txt"), 1);
    // The catalogue itself refuses one row, in the third folder's batch, after the
    // earlier batches and folders were written.
    m_doc.Database().Execute(QStringLiteral(
        "CREATE TRIGGER Poison BEFORE INSERT ON Units WHEN NEW.UnitName = 'poison.txt' "
        "BEGIN SELECT RAISE(ABORT, 'this row is refused'); END"));
    const auto logText = [] {
        QFile log(ErrorLog::Instance().LogPath());
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
    };
    const qsizetype logged = logText().size();
    m_doc.SetModified(false);

    EXPECT_EQ(Add(CAddLocationJob::Mode::Folder, root), WorkOutcome::Failed);
    EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Operation has been failed"));
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 0);
    EXPECT_EQ(m_doc.Database().GetStorage(m_storage).FilesNumber, 0);
    EXPECT_FALSE(m_doc.Database().InTransaction());
    EXPECT_FALSE(m_doc.IsModified());
    EXPECT_TRUE(logText().mid(logged).contains(QStringLiteral("this row is refused")));

    // Without the refusal the same tree goes in whole.
    m_doc.Database().Execute(QStringLiteral("DROP TRIGGER Poison"));
    EXPECT_EQ(Add(CAddLocationJob::Mode::Folder, root), WorkOutcome::Succeeded);
    EXPECT_EQ(Number(QStringLiteral("SELECT SubfilesNumber FROM Units WHERE UnitName = 'mixed'")),
              701);
}

TEST_F(AddLocation, AnAdditionEndedAfterItsImportLeavesTheCatalogueAsItWas)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("disc"));
    for (int i = 0; i < 120; ++i)
        MakeFile(QStringLiteral("%1/d%2/f%3.txt").arg(root).arg(i % 4).arg(i), 10);
    // Every row of every table, so that a leftover anywhere shows.
    const auto everything = [this] {
        std::vector<QString> tables;
        m_doc.Database().QueryRows(
            QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name"),
            tables, &RowMappers::Texts);
        const CSqliteWrapper::RowMapper<QString> allColumns = [](std::vector<QString>& rows,
                                                                 int columns, char** values) {
            QStringList row;
            for (int i = 0; i < columns; ++i)
                row << (values[i] ? QString::fromUtf8(values[i]) : QStringLiteral("NULL"));
            rows.push_back(row.join(QLatin1Char('|')));
        };
        std::vector<QString> rows;
        for (const QString& table : tables) {
            rows.push_back(QStringLiteral("== ") + table);
            m_doc.Database().QueryRows(QStringLiteral("SELECT * FROM \"%1\"").arg(table), rows,
                                       allColumns);
        }
        return rows;
    };
    const std::vector<QString> before = everything();
    m_doc.SetModified(false);

    // The workers have written the whole disc, but the job has not yet seen them end:
    // a cancel now, and a job that goes away now, both take it all back.
    for (const bool destroy : {false, true}) {
        SCOPED_TRACE(destroy ? "destroyed" : "cancelled");
        auto job = std::make_unique<CAddLocationJob>(m_doc);
        std::optional<WorkOutcome> outcome;
        QObject::connect(job.get(), &CAddLocationJob::finished,
                         [&](WorkOutcome o) { outcome = o; });
        CAddLocationJob::Request request;
        request.mode = CAddLocationJob::Mode::Disc;
        request.path = root;
        request.name = QStringLiteral("disc");
        request.storageId = m_storage;
        ASSERT_TRUE(job->Start(request));
        job->Searcher().Wait();
        job->Importer().Wait();
        // Written inside the open transaction, seen by this connection.
        EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 1 + 4 + 120);
        EXPECT_TRUE(m_doc.Database().InTransaction());

        if (destroy) {
            job.reset();
        } else {
            job->Cancel();
            QCoreApplication::sendPostedEvents(job.get());
            EXPECT_EQ(outcome, WorkOutcome::Cancelled);
            EXPECT_EQ(m_prompter.LastMessage(), QStringLiteral("Operation has been cancelled"));
        }
        EXPECT_FALSE(m_doc.Database().InTransaction());
        EXPECT_EQ(everything(), before);
        EXPECT_FALSE(m_doc.IsModified());
    }

    // The same disc left to end goes in whole.
    EXPECT_EQ(Add(CAddLocationJob::Mode::Disc, root), WorkOutcome::Succeeded);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), 1 + 4 + 120);
}
