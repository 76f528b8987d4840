// The HTML report of a catalogue of about a million units, against `tree -H` writing an
// HTML listing of a real folder tree of the same shape, both in this run. The catalogue
// is generated straight into a copy of the template with SQL; the folder tree (smaller,
// because creating a million files takes long) is generated in a temporary folder.
// Speed is compared as rows per second. Memory is read from VmHWM, the process's peak
// resident size, before the reports and after a report of one storage and of the whole
// catalogue, so the growth per row can be compared between the two sizes.

#include "BenchSupport.h"
#include "CatalogueGenerator.h"
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
bool GenerateCatalogue(const QString& path, qint64& units)
{
    unsigned seed = 12345;
    CCatalogueGenerator::Shape shape;
    shape.Discs = kStorages * kDiscsPerStorage;
    shape.DiscsPerStorage = kDiscsPerStorage;
    shape.Folders = {kFolders, kAlbums};
    shape.Files = kFiles;
    shape.StorageNotes = "Generated";
    shape.DiscName = [](qint64 disc) { return std::string(DiscName(static_cast<int>(disc))); };
    shape.FolderName = [](int level, int index) {
        return std::string(level == 0 ? FolderName(index) : AlbumName(index));
    };
    shape.MakeFile = [&seed](qint64, qint64 overall) {
        seed = seed * 1103515245u + 12345u;
        return CCatalogueGenerator::File{FileName(static_cast<int>(overall) + 1),
                                         (seed >> 8) % 50000000};
    };
    shape.DateAdded = [](qint64 disc) {
        const int s = static_cast<int>(disc / kDiscsPerStorage) + 1;
        const int d = static_cast<int>(disc % kDiscsPerStorage);
        char date[64];
        std::snprintf(date, sizeof date, "2020-%02d-%02d 12:%02d:%02d", d % 12 + 1, s + 1, d % 60,
                      s);
        return std::string(date);
    };
    CCatalogueGenerator generator(shape);
    const bool ok = generator.Write(path);
    units = generator.Units();
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
    qint64 units = 0;
    if (!GenerateCatalogue(catalogue, units))
        return 1;
    std::printf("generated a catalogue of %lld units in %.1f s\n", static_cast<long long>(units),
                timer.nsecsElapsed() / 1e9);

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
