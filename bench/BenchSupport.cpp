#include "BenchSupport.h"

#include "acquisition/AddLocationJob.h"
#include "acquisition/Importer.h"
#include "acquisition/SubunitQueue.h"
#include "acquisition/SubunitsSearcher.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QString>

#include <sqlite3.h>

#include <cstdio>

namespace BenchSupport {

bool Exec(sqlite3* db, const char* sql)
{
    char* error = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &error) != SQLITE_OK) {
        std::fprintf(stderr, "SQL failed: %s\n", error ? error : "?");
        sqlite3_free(error);
        return false;
    }
    return true;
}

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

double WalkSeconds(const QString& tree, bool countSizes, qint64* entries)
{
    SubunitQueue queue;
    SubunitsSearcher searcher(queue);
    QElapsedTimer timer;
    timer.start();
    searcher.Start(tree, nullptr, countSizes);
    searcher.Wait();
    const double seconds = timer.nsecsElapsed() / 1e9;
    if (entries)
        *entries = static_cast<qint64>(queue.Size());
    return seconds;
}

double AddFolderSeconds(CShelfwiseDoc& doc, int storage, const QString& path)
{
    CAddLocationJob job(doc);
    job.Importer().DisableMediaDetails();
    QEventLoop loop;
    QObject::connect(&job, &CAddLocationJob::finished, &loop, &QEventLoop::quit);
    CAddLocationJob::Request request;
    request.mode = CAddLocationJob::Mode::Folder;
    request.path = path;
    request.name = CAddLocationJob::NameFromPath(path);
    request.storageId = storage;
    QElapsedTimer timer;
    timer.start();
    if (!job.Start(request))
        return -1;
    loop.exec();
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

} // namespace BenchSupport
