// Import speed and memory: cataloguing a real tree as a folder against a plain `find`
// walk of the same tree in the same run, and the overlap of scanning and importing in
// disc mode on a slow source.
//
//   bench_import [TREE]     (default /usr)
#include "acquisition/AddLocationJob.h"
#include "acquisition/FolderLister.h"
#include "acquisition/Importer.h"
#include "acquisition/SubunitQueue.h"
#include "acquisition/SubunitsSearcher.h"
#include "common/UserPrompter.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"

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

#include <algorithm>
#include <cstdio>

namespace {

// Peak resident memory of this process in bytes, and its reset (Linux).
qint64 PeakMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong() * 1024;
    }
    return 0;
}

void ResetPeakMemory()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

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
           bool media, FolderLister* lister = nullptr)
{
    CAddLocationJob job(doc);
    if (!media)
        job.Importer().DisableMediaDetails();
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

void MakeTree(const QString& root, int folders, int files)
{
    for (int d = 0; d < folders; ++d) {
        const QString folder = QStringLiteral("%1/f%2").arg(root).arg(d);
        QDir().mkpath(folder);
        for (int f = 0; f < files; ++f) {
            QFile file(QStringLiteral("%1/file%2.txt").arg(folder).arg(f));
            file.open(QIODevice::WriteOnly);
            file.write(QByteArray(f * 13 % 4000, 'x'));
        }
    }
}

// One import of the tree into a new catalogue; memory is counted above the program
// with its empty catalogue open.
int ImportOnce(const QString& tree, bool media, qint64 entries, double walk)
{
    CShelfwiseDoc doc(true);
    doc.OnNewDocument();
    const int storage = doc.AddStorage(QStringLiteral("Bench"), QString());
    ResetPeakMemory();
    const qint64 emptyProgram = PeakMemory();
    const double seconds = Add(doc, storage, CAddLocationJob::Mode::Folder, tree, media);
    const qint64 peak = PeakMemory() - emptyProgram;
    std::printf("import, media details %-3s: %.2f s, ratio to find %.2f, %.0f entries/s, peak "
                "memory +%.1f MB (%.0f bytes per entry)\n",
                media ? "on" : "off", seconds, seconds / walk, entries / seconds, peak / 1048576.0,
                static_cast<double>(peak) / std::max<qint64>(1, entries));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("qt.gui.imageio*=false"));
    const QString tree = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("/usr");
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    Settings::Instance();
    if (argc > 5 && QByteArray(argv[2]) == "--import")
        return ImportOnce(tree, QByteArray(argv[3]) == "on", QByteArray(argv[4]).toLongLong(),
                          QByteArray(argv[5]).toDouble());

    // 1. The baseline: find over a warm cache, best of three.
    qint64 entries = 0;
    FindSeconds(tree, &entries);
    double walk = 1e9;
    for (int i = 0; i < 3; ++i)
        walk = std::min(walk, FindSeconds(tree, nullptr));
    entries -= 1; // find lists the root itself
    std::printf("tree %s: %lld entries; find -printf walk: %.2f s\n", qPrintable(tree),
                static_cast<long long>(entries), walk);

    // 2. The import as a folder, media details off (the catalogue's own speed), then on,
    // each in a process of its own so that its memory is measured from a clean start.
    for (const char* media : {"off", "on"}) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(),
                    {tree, QStringLiteral("--import"), QString::fromLatin1(media),
                     QString::number(entries), QString::number(walk)});
        child.waitForFinished(-1);
        std::fputs(child.readAllStandardOutput().constData(), stdout);
    }

    // 3. What SQLite itself manages on this machine: the importer's file insert, as
    // text through sqlite3_exec, in one transaction, with nothing else around it.
    {
        QTemporaryDir scratch;
        const QString path = scratch.filePath(QStringLiteral("raw.db3"));
        QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/empty.db3"), path);
        sqlite3* db = nullptr;
        sqlite3_open(QFile::encodeName(path).constData(), &db);
        sqlite3_exec(db, "PRAGMA synchronous = OFF; BEGIN TRANSACTION", nullptr, nullptr, nullptr);
        const int rows = 100000;
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < rows; ++i) {
            const QByteArray sql =
                QStringLiteral("INSERT INTO Units(UnitName, UnitType, StorageID, ParentUnitID, "
                               "UnitSize, DateCreated, DateModified, CategoryID, UnitInfoID)"
                               "VALUES(\"file%1.txt\", 'F', 1, %2, %3, \"2012-03-07 14:05:09\", "
                               "\"2012-03-07 14:05:09\", 1, NULL)")
                    .arg(i)
                    .arg(i / 20)
                    .arg(i * 7)
                    .toUtf8();
            sqlite3_exec(db, sql.constData(), nullptr, nullptr, nullptr);
        }
        const double seconds = timer.nsecsElapsed() / 1e9;
        sqlite3_exec(db, "COMMIT TRANSACTION", nullptr, nullptr, nullptr);
        sqlite3_close(db);
        std::printf("sqlite3_exec alone: %.0f file inserts/s (the floor for the import: %.2f s for "
                    "this tree)\n",
                    rows / seconds, entries * seconds / rows);
    }

    // 4. The scanner's walk alone, for the breakdown of the import below.
    {
        SubunitsSearcher searcher;
        QElapsedTimer timer;
        timer.start();
        searcher.Start(tree, nullptr, true);
        searcher.Wait();
        std::printf("scanner walk alone (records queued, not imported): %.2f s\n",
                    timer.nsecsElapsed() / 1e9);
        SubunitQueue::Instance().Clear();
    }

    // 5. Disc mode on a slow source: scanning and importing overlap.
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
        SubunitsSearcher searcher(&slow);
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
    return 0;
}
