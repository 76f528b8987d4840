// The HTML report of a catalogue of about a million units, against `tree -H` writing an
// HTML listing of a real folder tree of the same shape, both in this run. The catalogue
// is generated straight into a copy of the template with SQL; the folder tree (smaller,
// because creating a million files takes long) is generated in a temporary folder.
// Speed is compared as rows per second. Memory is read from VmHWM, the process's peak
// resident size, before the reports and after a report of one storage and of the whole
// catalogue, so the growth per row can be compared between the two sizes.

#include "BenchSupport.h"
#include "common/WorkerEvent.h"
#include "report/ReportWriter.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <cstdio>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// One disc: 10 folders of 10 albums of 48 files, 4,911 units.
constexpr int kFolders = 10;
constexpr int kAlbums = 10;
constexpr int kFiles = 48;
constexpr int kUnitsPerDisc = 1 + kFolders * (1 + kAlbums * (1 + kFiles));
static_assert(kUnitsPerDisc == 4911);
constexpr int kStorages = 10;
constexpr int kDiscsPerStorage = 20; // 200 discs: 982,200 units
constexpr int kTreeDiscs = 40;       // 196,440 entries on disk

char g_name[64];

const char* DiscName(int disc)
{
    std::snprintf(g_name, sizeof g_name, "Disc_%03d", disc);
    return g_name;
}
const char* FolderName(int folder)
{
    std::snprintf(g_name, sizeof g_name, "Folder_%02d", folder);
    return g_name;
}
const char* AlbumName(int album)
{
    std::snprintf(g_name, sizeof g_name, "Album_%02d", album);
    return g_name;
}
const char* FileName(int number)
{
    std::snprintf(g_name, sizeof g_name, "IMG_%08d.jpg", number);
    return g_name;
}

// Fills the catalogue in one transaction: storages, discs, folders, albums, files.
bool GenerateCatalogue(const QString& path, int& units)
{
    sqlite3* db = nullptr;
    if (sqlite3_open(QFile::encodeName(path).constData(), &db) != SQLITE_OK)
        return false;
    BenchSupport::Exec(db, "PRAGMA synchronous = OFF");
    BenchSupport::Exec(db, "BEGIN TRANSACTION");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(db,
                       "INSERT INTO Units (UnitID, UnitName, UnitType, StorageID, ParentUnitID, "
                       "UnitSize, DateAdded) VALUES (?, ?, ?, ?, ?, ?, ?)",
                       -1, &insert, nullptr);
    unsigned seed = 12345;
    int id = 0;
    int fileNumber = 0;
    auto add = [&](const char* name, const char* type, int storage, int parent, qint64 size,
                   const char* date) {
        sqlite3_bind_int(insert, 1, ++id);
        sqlite3_bind_text(insert, 2, name, -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 3, type, -1, SQLITE_STATIC);
        sqlite3_bind_int(insert, 4, storage);
        if (parent > 0)
            sqlite3_bind_int(insert, 5, parent);
        else
            sqlite3_bind_null(insert, 5);
        sqlite3_bind_int64(insert, 6, size);
        sqlite3_bind_text(insert, 7, date, -1, SQLITE_TRANSIENT);
        sqlite3_step(insert);
        sqlite3_reset(insert);
        return id;
    };
    for (int s = 1; s <= kStorages; ++s) {
        const std::string sql = "INSERT INTO Storages (StorageID, StorageName, StorageNotes) "
                                "VALUES (" +
                                std::to_string(s) + ", 'Shelf " + std::to_string(s) +
                                "', 'Generated')";
        BenchSupport::Exec(db, sql.c_str());
        for (int d = 0; d < kDiscsPerStorage; ++d) {
            char date[32];
            std::snprintf(date, sizeof date, "2020-%02d-%02d 12:%02d:%02d", d % 12 + 1, s + 1,
                          d % 60, s);
            const int disc = add(DiscName((s - 1) * kDiscsPerStorage + d), "C", s, 0, 0, date);
            for (int f = 0; f < kFolders; ++f) {
                const int folder = add(FolderName(f), "D", s, disc, 0, date);
                for (int a = 0; a < kAlbums; ++a) {
                    const int album = add(AlbumName(a), "D", s, folder, 0, date);
                    for (int i = 0; i < kFiles; ++i) {
                        seed = seed * 1103515245u + 12345u;
                        add(FileName(++fileNumber), "F", s, album, (seed >> 8) % 50000000, date);
                    }
                }
            }
        }
    }
    sqlite3_finalize(insert);
    const bool ok = BenchSupport::Exec(db, "COMMIT TRANSACTION");
    sqlite3_close(db);
    units = id;
    return ok;
}

bool MakeFile(const QByteArray& path)
{
    const int fd = ::open(path.constData(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
    if (fd < 0)
        return false;
    ::close(fd);
    return true;
}

// The same shape on disk: kTreeDiscs disc folders. Returns the number of entries.
int GenerateTree(const QString& root)
{
    int entries = 0;
    int fileNumber = 0;
    const QByteArray base = QFile::encodeName(root);
    for (int d = 0; d < kTreeDiscs; ++d) {
        const QByteArray disc = base + '/' + DiscName(d);
        ::mkdir(disc.constData(), 0755);
        ++entries;
        for (int f = 0; f < kFolders; ++f) {
            const QByteArray folder = disc + '/' + FolderName(f);
            ::mkdir(folder.constData(), 0755);
            ++entries;
            for (int a = 0; a < kAlbums; ++a) {
                const QByteArray album = folder + '/' + AlbumName(a);
                ::mkdir(album.constData(), 0755);
                ++entries;
                for (int i = 0; i < kFiles; ++i) {
                    if (!MakeFile(album + '/' + FileName(++fileNumber)))
                        return -1;
                    ++entries;
                }
            }
        }
    }
    return entries;
}

// Receives the report's events and ends the loop when it has finished.
class Driver final : public QObject
{
public:
    explicit Driver(QEventLoop& loop) : m_loop(loop) {}
    WorkOutcome Outcome = WorkOutcome::Failed;

protected:
    void customEvent(QEvent* event) override
    {
        if (WorkerEvent::Is(event, WorkerEvent::Finished)) {
            Outcome = static_cast<WorkerEvent*>(event)->Outcome();
            m_loop.quit();
        }
    }

private:
    QEventLoop& m_loop;
};

struct ReportRun
{
    double seconds = 0;
    quint32 rows = 0;
    long peakBeforeKb = 0;
    long peakAfterKb = 0;
    qint64 pageBytes = 0;
};

bool RunReport(CSqliteWrapper& db, int storage, const QString& path, ReportRun& run)
{
    QEventLoop loop;
    Driver driver(loop);
    ReportJob job;
    job.Receiver = &driver;
    job.Title = QStringLiteral("bench.db3");
    job.Path = path;
    job.Storage = storage;
    job.NestingLevel = -1;
    job.Catalogue = &db;
    QElapsedTimer timer;
    timer.start();
    CReportWriter writer;
    writer.Start(job);
    loop.exec();
    writer.Wait();
    run.seconds = timer.nsecsElapsed() / 1e9;
    run.peakAfterKb = static_cast<long>(BenchSupport::PeakMemory() / 1024);
    run.rows = job.Done;
    run.pageBytes = QFileInfo(path).size();
    return driver.Outcome == WorkOutcome::Succeeded && job.PageWritten;
}

void PrintRun(const char* what, const ReportRun& run)
{
    const long grown = run.peakAfterKb - run.peakBeforeKb;
    std::printf("%-28s %9u rows  %6.2f s  %9.0f rows/s  page %6.1f MB  peak RSS %ld -> %ld KB "
                "(+%ld KB, %.0f bytes/row)\n",
                what, run.rows, run.seconds, run.rows / run.seconds, run.pageBytes / 1048576.0,
                run.peakBeforeKb, run.peakAfterKb, grown, grown * 1024.0 / run.rows);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir work;
    if (!work.isValid())
        return 1;
    const QString catalogue = work.filePath(QStringLiteral("bench.db3"));
    if (!QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/empty.db3"), catalogue)) {
        std::fprintf(stderr, "cannot copy the template catalogue\n");
        return 1;
    }
    QFile::setPermissions(catalogue, QFile::ReadOwner | QFile::WriteOwner);

    QElapsedTimer timer;
    timer.start();
    int units = 0;
    if (!GenerateCatalogue(catalogue, units))
        return 1;
    std::printf("generated a catalogue of %d units in %.1f s\n", units, timer.nsecsElapsed() / 1e9);

    CSqliteWrapper db;
    db.Open(catalogue, false);
    db.SetSortByName(true);
    // Both runs are measured from the same peak: the memory of the first is freed before
    // the second starts.
    ReportRun storage;
    ReportRun whole;
    storage.peakBeforeKb = whole.peakBeforeKb =
        static_cast<long>(BenchSupport::PeakMemory() / 1024);
    if (!RunReport(db, 1, work.filePath(QStringLiteral("storage.html")), storage) ||
        !RunReport(db, -1, work.filePath(QStringLiteral("report.html")), whole)) {
        std::fprintf(stderr, "the report failed\n");
        return 1;
    }
    db.Close();
    QFile::remove(work.filePath(QStringLiteral("report.html")));
    PrintRun("report, one storage:", storage);
    PrintRun("report, whole catalogue:", whole);

    // The folder tree goes to memory where there is a tmpfs: ext4 slows down badly when it
    // creates as many files again soon after deleting them, as repeated runs do.
    const QFileInfo shm(QStringLiteral("/dev/shm"));
    QTemporaryDir treeDir(shm.isDir() && shm.isWritable()
                              ? QStringLiteral("/dev/shm/bench_report-XXXXXX")
                              : work.filePath(QStringLiteral("tree-XXXXXX")));
    if (!treeDir.isValid())
        return 1;
    const QString root = treeDir.path();
    timer.restart();
    const int entries = GenerateTree(root);
    if (entries < 0)
        return 1;
    std::printf("generated a folder tree of %d entries in %.1f s\n", entries,
                timer.nsecsElapsed() / 1e9);
    QProcess tree;
    tree.setWorkingDirectory(root);
    timer.restart();
    tree.start(QStringLiteral("tree"),
               {QStringLiteral("-H"), QStringLiteral("."), QStringLiteral("-o"),
                work.filePath(QStringLiteral("tree.html"))});
    if (!tree.waitForFinished(600000) || tree.exitCode() != 0) {
        std::fprintf(stderr, "tree -H failed (is tree installed?)\n");
        return 1;
    }
    const double treeSeconds = timer.nsecsElapsed() / 1e9;
    const double treeRate = entries / treeSeconds;
    std::printf("%-28s %9d rows  %6.2f s  %9.0f rows/s  page %6.1f MB\n", "tree -H:", entries,
                treeSeconds, treeRate,
                QFileInfo(work.filePath(QStringLiteral("tree.html"))).size() / 1048576.0);
    std::printf("report / tree -H, rows per second: %.2f\n", whole.rows / whole.seconds / treeRate);
    return 0;
}
