// Import speed and memory, each against a baseline measured in the same run:
// - on /usr (or the tree given) and on a generated tree of about a million entries on a
//   tmpfs: a plain `find -printf` walk, the scanner's walk alone, the import as a folder
//   with media details off and on (and, on the first tree, with one statement per file),
//   and the bare SQLite floor: the same rows as multi-row and as single-row inserts,
//   their text made beforehand, through sqlite3_exec in one transaction;
// - disc mode on a slow source: scanning and importing overlap.
//
//   bench_import [TREE] [--entries N]     (defaults /usr and 1,000,000)
#include "BenchSupport.h"
#include "acquisition/AddLocationJob.h"
#include "acquisition/Importer.h"
#include "acquisition/SubunitQueue.h"
#include "acquisition/SubunitsSearcher.h"
#include "common/LocalTimeZone.h"
#include "common/UserPrompter.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "listers/FolderLister.h"
#include "settings/Settings.h"
#include "sqlitewrapper/FileInsertBatch.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <sqlite3.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

// The Debian packages that put a realistic share of pictures and sounds under /usr.
const char* const kMediaPackages[] = {
    "tuxpaint-data", "tuxpaint-stamps-default", "gnome-backgrounds", "desktop-base",
    "lmms-common",   "sound-theme-freedesktop", "yaru-theme-sound"};

double FindSeconds(const QString& tree, qint64* lines)
{
    QElapsedTimer timer;
    timer.start();
    QProcess find;
    if (!lines)
        find.setStandardOutputFile(QProcess::nullDevice());
    find.start(QStringLiteral("find"),
               {tree, QStringLiteral("-printf"), QStringLiteral("%s %T@ %p\\n")});
    find.waitForFinished(-1);
    if (lines)
        *lines = find.readAllStandardOutput().count('\n');
    return timer.nsecsElapsed() / 1e9;
}

// Adds path in the given mode; returns the seconds the job took.
double Add(CShelfwiseDoc& doc, int storage, CAddLocationJob::Mode mode, const QString& path,
           bool media, FolderLister* lister = nullptr, int batchRows = 0)
{
    CAddLocationJob job(doc);
    // The plain import: what looking inside files adds is bench_thumbnails' and
    // bench_archives' to measure.
    job.SetThumbnails(false);
    job.SetLookInsideArchives(false);
    if (!media)
        job.Importer().DisableMediaDetails();
    if (batchRows > 0)
        job.Importer().SetFileBatchRows(batchRows);
    job.SetFolderLister(lister);
    QEventLoop loop;
    QObject::connect(&job, &CAddLocationJob::finished, &loop, &QEventLoop::quit);
    CAddLocationJob::Request request;
    request.mode = mode;
    request.path = path;
    request.name = CAddLocationJob::NameFromPath(path);
    request.storageId = storage;
    request.discLabel = QStringLiteral("BENCH");
    QElapsedTimer timer;
    timer.start();
    if (job.Start(request))
        loop.exec();
    return timer.nsecsElapsed() / 1e9;
}

// The platform's lister with a fixed delay before each folder: a slow disc.
class SlowLister final : public FolderLister
{
public:
    explicit SlowLister(int delayMs) : m_inner(CreatePlatformLister()), m_delayMs(delayMs) {}
    int List(const QString& path, const OpenedCallback& opened, const EntryCallback& entry) override
    {
        QThread::msleep(static_cast<unsigned long>(m_delayMs));
        return m_inner->List(path, opened, entry);
    }

private:
    std::unique_ptr<FolderLister> m_inner;
    int m_delayMs;
};

// folders x files, file sizes varied: the data is sparse, so even a tmpfs holds it.
void MakeTree(const QString& root, int folders, int files)
{
    const QByteArray base = QFile::encodeName(root);
    for (int d = 0; d < folders; ++d) {
        const QByteArray folder =
            base + "/folder " + QByteArray::number(d / 100) + "/part " + QByteArray::number(d);
        QDir().mkpath(QFile::decodeName(folder));
        for (int f = 0; f < files; ++f) {
            const QByteArray name = folder + "/file " + QByteArray::number(f) + ".txt";
            const int fd = ::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (fd < 0)
                continue;
            if (::ftruncate(fd, (f * 7919 + d * 13) % 200000) != 0)
                std::perror("ftruncate");
            ::close(fd);
        }
    }
}

// One import of the tree into a new catalogue, in a process of its own; memory is
// counted above the program with its empty catalogue open.
int ImportOnce(const QString& tree, const QByteArray& how, qint64 entries, double walk)
{
    CShelfwiseDoc doc(true);
    doc.OnNewDocument();
    const int storage = doc.AddStorage(QStringLiteral("Bench"), QString());
    BenchSupport::ResetPeakMemory();
    const qint64 emptyProgram = BenchSupport::PeakMemory();
    const double seconds = Add(doc, storage, CAddLocationJob::Mode::Folder, tree, how == "on",
                               nullptr, how == "single" ? 1 : 0);
    const qint64 peak = BenchSupport::PeakMemory() - emptyProgram;
    const char* label = how == "on"       ? "media details on "
                        : how == "single" ? "one statement per file, media off"
                                          : "media details off";
    std::printf("  import, %s: %.2f s = %.2f x find, %.0f entries/s, peak memory +%.1f MB "
                "(%.0f bytes per entry)\n",
                label, seconds, seconds / walk, entries / seconds, peak / 1048576.0,
                static_cast<double>(peak) / std::max<qint64>(1, entries));
    return 0;
}

void ImportInChild(const QString& tree, const char* how, qint64 entries, double walk)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {tree, QStringLiteral("--import"), QString::fromLatin1(how),
                 QString::number(entries), QString::number(walk)});
    child.waitForFinished(-1);
    std::fputs(child.readAllStandardOutput().constData(), stdout);
    std::fflush(stdout);
}

// Seconds SQLite alone takes for rows file inserts of rowsPerStatement rows each, their
// text made beforehand with the importer's own statement builder.
double InsertFloor(qint64 rows, int rowsPerStatement)
{
    std::vector<std::string> statements;
    {
        CFileInsertBatch batch(rowsPerStatement);
        std::string text;
        for (qint64 i = 0; i < rows; ++i) {
            batch.Add(QStringLiteral("file %1.txt").arg(i), 1, static_cast<int>(i / 20 + 2), i * 7,
                      1331129109000 + i, 1331129109000 + i, 1, {});
            if (batch.IsFull() || i + 1 == rows) {
                statements.push_back(batch.Text());
                batch.Clear();
            }
        }
    }
    QTemporaryDir scratch;
    const QString path = scratch.filePath(QStringLiteral("raw.db3"));
    QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/empty.db3"), path);
    sqlite3* db = nullptr;
    sqlite3_open(QFile::encodeName(path).constData(), &db);
    sqlite3_exec(db, "PRAGMA synchronous = OFF; BEGIN TRANSACTION", nullptr, nullptr, nullptr);
    QElapsedTimer timer;
    timer.start();
    for (const std::string& sql : statements)
        sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
    const double seconds = timer.nsecsElapsed() / 1e9;
    sqlite3_exec(db, "COMMIT TRANSACTION", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    return seconds;
}

void MeasureTree(const QString& tree, bool withSingleRows)
{
    // The baseline: find over a warm cache, best of three.
    qint64 entries = 0;
    FindSeconds(tree, &entries);
    double walk = 1e9;
    for (int i = 0; i < 3; ++i)
        walk = std::min(walk, FindSeconds(tree, nullptr));
    entries -= 1; // find lists the root itself
    std::printf("tree %s: %lld entries\n  find -printf walk: %.2f s\n", qPrintable(tree),
                static_cast<long long>(entries), walk);

    const double seconds = BenchSupport::WalkSeconds(tree, true);
    std::printf("  scanner walk alone (records queued, not written): %.2f s = %.2f x find\n",
                seconds, seconds / walk);
    std::fflush(stdout);

    ImportInChild(tree, "off", entries, walk);
    ImportInChild(tree, "on", entries, walk);
    if (withSingleRows)
        ImportInChild(tree, "single", entries, walk);

    const double batched = InsertFloor(entries, CFileInsertBatch::kDefaultRows);
    const double single = InsertFloor(entries, 1);
    std::printf("  SQLite floor for as many file rows: %.2f s multi-row (%.0f rows/s), %.2f s "
                "one statement per row (%.0f rows/s)\n",
                batched, entries / batched, single, entries / single);
    std::fflush(stdout);
}

void ReportMediaPackages()
{
    QStringList missing;
    for (const char* package : kMediaPackages) {
        QProcess dpkg;
        dpkg.start(
            QStringLiteral("dpkg-query"),
            {QStringLiteral("-W"), QStringLiteral("-f=${Status}"), QString::fromLatin1(package)});
        dpkg.waitForFinished(-1);
        if (!dpkg.readAllStandardOutput().contains("install ok installed"))
            missing << QString::fromLatin1(package);
    }
    if (missing.isEmpty())
        std::printf("media packages under /usr: all installed\n");
    else
        std::printf("media packages missing (the media figures for /usr are lower than with "
                    "them): %s\n",
                    qPrintable(missing.join(QLatin1Char(' '))));
}

void MeasureDiscOverlap()
{
    QTemporaryDir generated;
    const int folders = 300;
    MakeTree(generated.path(), folders, 40);
    double importOnly = 0;
    {
        CShelfwiseDoc doc(true);
        doc.OnNewDocument();
        const int storage = doc.AddStorage(QStringLiteral("Fast"), QString());
        importOnly = Add(doc, storage, CAddLocationJob::Mode::Folder, generated.path(), false);
    }
    // A delay per folder that makes the walk about as long as the import.
    const int delayMs = std::max(1, static_cast<int>(importOnly * 1000 / folders));
    SlowLister slow(delayMs);
    double scanOnly = 0;
    {
        SubunitQueue queue;
        SubunitsSearcher searcher(queue, &slow);
        QElapsedTimer timer;
        timer.start();
        searcher.Start(generated.path(), nullptr, true);
        searcher.Wait();
        scanOnly = timer.nsecsElapsed() / 1e9;
    }
    double sequential = 0;
    double concurrent = 0;
    for (const auto mode : {CAddLocationJob::Mode::Folder, CAddLocationJob::Mode::Disc}) {
        CShelfwiseDoc doc(true);
        doc.OnNewDocument();
        const int storage = doc.AddStorage(QStringLiteral("Slow"), QString());
        const double seconds = Add(doc, storage, mode, generated.path(), false, &slow);
        (mode == CAddLocationJob::Mode::Folder ? sequential : concurrent) = seconds;
    }
    std::printf("slow source (%d ms per folder, %d folders): scan alone %.2f s, import alone "
                "%.2f s; folder mode (walk, then import) %.2f s; disc mode %.2f s = %.2f x the "
                "slower of the two, %.2f x their sum\n",
                delayMs, folders, scanOnly, importOnly, sequential, concurrent,
                concurrent / std::max(scanOnly, importOnly), concurrent / (scanOnly + importOnly));
}

} // namespace

int main(int argc, char** argv)
{
    LocalTimeZone::PinSystemZone();
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(
        QStringLiteral("qt.gui.imageio*=false\nqt.gui.icc=false\nqt.svg=false"));
    QStringList arguments = app.arguments().mid(1);
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    Settings::Instance();
    if (arguments.size() == 5 && arguments[1] == QLatin1String("--import"))
        return ImportOnce(arguments[0], arguments[2].toLatin1(), arguments[3].toLongLong(),
                          arguments[4].toDouble());

    qint64 generatedEntries = 1000000;
    const qsizetype entriesAt = arguments.indexOf(QStringLiteral("--entries"));
    if (entriesAt >= 0 && entriesAt + 1 < arguments.size()) {
        generatedEntries = arguments[entriesAt + 1].toLongLong();
        arguments.remove(entriesAt, 2);
    }
    const QString tree = arguments.isEmpty() ? QStringLiteral("/usr") : arguments.first();

    std::printf("machine: %d cores\n", QThread::idealThreadCount());
    if (tree == QLatin1String("/usr"))
        ReportMediaPackages();
    MeasureTree(tree, true);

    // About a million entries (20 files to a folder) on a tmpfs, when there is one.
    const QString shm = QStringLiteral("/dev/shm");
    if (generatedEntries > 0 && QFileInfo(shm).isDir() && QFileInfo(shm).isWritable()) {
        QTemporaryDir generated(shm + QStringLiteral("/shelfwise-bench-XXXXXX"));
        const int folders = static_cast<int>(generatedEntries / 21);
        QElapsedTimer made;
        made.start();
        MakeTree(generated.path(), folders, 20);
        std::printf("generated tree on tmpfs (%.0f s to make):\n", made.nsecsElapsed() / 1e9);
        MeasureTree(generated.path(), false);
    } else {
        std::printf("no writable tmpfs at /dev/shm: the generated tree is left out\n");
    }

    MeasureDiscOverlap();
    return 0;
}
