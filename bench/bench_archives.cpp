// Looking inside archives: a generated tree of 1,000 archives (half zip, half 7z) of
// 100 entries each, added with the real job once without opening them and once with,
// in the same run: the archive entries catalogued per second, over the whole addition
// and over the time looking inside adds.
//
//   bench_archives [ARCHIVES]     (default 1,000)
#include "BenchSupport.h"
#include "common/LocalTimeZone.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>
#include <exception>

namespace {

bool Shell(const QString& dir, const QString& command)
{
    QProcess process;
    process.setWorkingDirectory(dir);
    process.start(QStringLiteral("bash"), {QStringLiteral("-c"), command});
    process.waitForFinished(-1);
    if (process.exitCode() != 0)
        std::fprintf(stderr, "failed: %s\n", qPrintable(command));
    return process.exitCode() == 0;
}

QString CpuModel()
{
    QFile cpuinfo(QStringLiteral("/proc/cpuinfo"));
    if (!cpuinfo.open(QIODevice::ReadOnly))
        return QStringLiteral("unknown processor");
    for (const QByteArray& line : cpuinfo.readAll().split('\n')) {
        if (line.startsWith("model name"))
            return QString::fromUtf8(line.mid(line.indexOf(':') + 1).trimmed());
    }
    return QStringLiteral("unknown processor");
}

// 100 entries: 10 folders of 9 small files each; then archives copies of one zip and
// one 7z of them, 50 to a folder.
bool MakeTree(const QString& root, int archives)
{
    const QString source = root + QStringLiteral("/source");
    for (int d = 0; d < 10; ++d) {
        QDir().mkpath(QStringLiteral("%1/folder%2").arg(source).arg(d));
        for (int f = 0; f < 9; ++f) {
            QFile file(QStringLiteral("%1/folder%2/file%3.txt").arg(source).arg(d).arg(f));
            if (!file.open(QIODevice::WriteOnly))
                return false;
            file.write(QByteArray(100 + d * 10 + f, 'a' + static_cast<char>(f)));
        }
    }
    if (!Shell(source, QStringLiteral("zip -qr ../one.zip . && 7z a -bd ../one.7z . >/dev/null")))
        return false;
    const QString tree = root + QStringLiteral("/tree");
    for (int i = 0; i < archives; ++i) {
        const QString folder = QStringLiteral("%1/set%2").arg(tree).arg(i / 50);
        QDir().mkpath(folder);
        const bool zip = i % 2 == 0;
        if (!QFile::copy(root + (zip ? QStringLiteral("/one.zip") : QStringLiteral("/one.7z")),
                         QStringLiteral("%1/archive%2.%3")
                             .arg(folder)
                             .arg(i)
                             .arg(zip ? QStringLiteral("zip") : QStringLiteral("7z"))))
            return false;
    }
    return true;
}

qint64 Count(CSqliteWrapper& db, const QString& sql)
{
    std::vector<QString> rows;
    db.QueryRows(sql, rows, &RowMappers::Texts);
    return rows.empty() ? 0 : rows.front().toLongLong();
}

int Run(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int archives = argc > 1 ? std::max(2, QString::fromLocal8Bit(argv[1]).toInt()) : 1000;
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    Settings::Instance();
    if (QStandardPaths::findExecutable(QStringLiteral("zip")).isEmpty() ||
        QStandardPaths::findExecutable(QStringLiteral("7z")).isEmpty()) {
        std::printf("zip or 7z is not installed: nothing measured\n");
        return 0;
    }

    std::printf("machine: %d cores, %s\n", QThread::idealThreadCount(), qPrintable(CpuModel()));
    const QString shm = QStringLiteral("/dev/shm");
    const bool onTmpfs = QFileInfo(shm).isDir() && QFileInfo(shm).isWritable();
    QTemporaryDir dir(onTmpfs ? shm + QStringLiteral("/shelfwise-bench-XXXXXX")
                              : QDir::tempPath() + QStringLiteral("/shelfwise-bench-XXXXXX"));
    QElapsedTimer made;
    made.start();
    if (!MakeTree(dir.path(), archives))
        return 1;
    std::printf("tree: %d archives (zip and 7z) of 100 entries on %s (%.1f s to make)\n", archives,
                onTmpfs ? "tmpfs" : "disk", made.nsecsElapsed() / 1e9);

    CShelfwiseDoc doc;
    if (!doc.OnNewDocument())
        return 1;
    const QString tree = dir.path() + QStringLiteral("/tree");
    Settings::Instance().LookInsideArchives = false;
    const int plainStorage = doc.AddStorage(QStringLiteral("Plain"), QString());
    const double plain = BenchSupport::AddFolderSeconds(doc, plainStorage, tree);
    Settings::Instance().LookInsideArchives = true;
    const int insideStorage = doc.AddStorage(QStringLiteral("Inside"), QString());
    const double inside = BenchSupport::AddFolderSeconds(doc, insideStorage, tree);
    if (plain < 0 || inside < 0)
        return 1;

    CSqliteWrapper& db = doc.Database();
    const qint64 entries =
        Count(db, QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType IN ('d', 'f')"));
    const qint64 rows = Count(db, QStringLiteral("SELECT COUNT(*) FROM ArchiveInfo"));
    std::printf("addition without looking inside (--no-archives): %.3f s\n", plain);
    std::printf("addition looking inside: %.3f s, %lld entries of %lld archives\n", inside,
                static_cast<long long>(entries), static_cast<long long>(rows));
    std::printf("entries catalogued per second, whole addition: %.0f\n",
                static_cast<double>(entries) / inside);
    if (inside > plain) {
        std::printf("entries per second of the time looking inside adds: %.0f (goal >= 50,000)\n",
                    static_cast<double>(entries) / (inside - plain));
    }
    std::printf("ratio looking inside / not: %.2fx\n", inside / plain);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    LocalTimeZone::PinSystemZone();
    // A failed catalogue operation ends the run with its message, not an abort.
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_archives: %s\n", error.what());
        return 1;
    }
}
