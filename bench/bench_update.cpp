// Updating a folder with 1,000 changed files inside a large catalogue, against the
// scanner's plain walk of the same folder, both measured in this run:
// - a generated catalogue of N units (default 10,000,000: storages of discs of folders
//   of files, counters as an import leaves them);
// - a real tree of 20,000 files in 200 folders added as one more unit, then changed on
//   disk: 400 files grown, 200 removed, 200 added, 200 moved to another folder;
// - the walk alone (the baseline), the rescan (read, walk, compare) and Apply (one
//   transaction, recorded for Undo), best of three for the walk.
//
//   bench_update [--units N] [--files N]     (defaults 10,000,000 and 20,000)
#include "BenchSupport.h"
#include "CatalogueGenerator.h"
#include "acquisition/AddLocationJob.h"
#include "acquisition/Importer.h"
#include "acquisition/Rescan.h"
#include "acquisition/UnitUpdate.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr int kFilesPerFolder = 100;

double Seconds(const QElapsedTimer& timer)
{
    return timer.nsecsElapsed() / 1e9;
}

// About units rows: storages of 100 discs, each disc 50 folders of 200 files.
bool GenerateCatalogue(const QString& path, qint64 units)
{
    CCatalogueGenerator::Shape shape;
    shape.DiscsPerStorage = 100;
    shape.Folders = {50};
    shape.Files = 200;
    shape.FileDates = true;
    shape.DiscInfo = true;
    shape.DiscName = [](qint64 disc) { return "Disc " + std::to_string(disc); };
    shape.FolderName = [](int, int index) { return "Folder " + std::to_string(index); };
    shape.MakeFile = [](qint64 inDisc, qint64) {
        return CCatalogueGenerator::File{"file " + std::to_string(inDisc % 200) + ".txt", 1000};
    };
    CCatalogueGenerator generator(shape);
    shape.Discs = std::max<qint64>(1, units / generator.UnitsPerDisc());
    return CCatalogueGenerator(shape).Write(path);
}

bool WriteFile(const QString& path, qint64 size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return file.write(QByteArray(static_cast<int>(size), 'x')) == size;
}

QString FilePath(const QString& root, int folder, int file)
{
    return QStringLiteral("%1/part %2/file %2-%3.txt").arg(root).arg(folder).arg(file);
}

bool MakeTree(const QString& root, int files)
{
    for (int i = 0; i < files; ++i) {
        if (i % kFilesPerFolder == 0 &&
            !QDir().mkpath(QStringLiteral("%1/part %2").arg(root).arg(i / kFilesPerFolder)))
            return false;
        if (!WriteFile(FilePath(root, i / kFilesPerFolder, i % kFilesPerFolder), 10))
            return false;
    }
    return true;
}

// 1,000 changes spread over the tree: each of 200 folders loses one file, gains one,
// has two grown, and one of its files goes to the next folder with its name, size and
// date.
bool ChangeTree(const QString& root, int files)
{
    const int folders = std::min(200, files / kFilesPerFolder);
    for (int f = 0; f < folders; ++f) {
        const int next = (f + 1) % (files / kFilesPerFolder);
        if (!QFile::remove(FilePath(root, f, 0)) ||
            !WriteFile(QStringLiteral("%1/part %2/new %2.txt").arg(root).arg(f), 20) ||
            !WriteFile(FilePath(root, f, 1), 5000) || !WriteFile(FilePath(root, f, 2), 5000) ||
            !QFile::rename(FilePath(root, f, 3),
                           QStringLiteral("%1/part %2/file %3-3.txt").arg(root).arg(next).arg(f)))
            return false;
    }
    return true;
}

int AddFolder(CShelfwiseDoc& doc, int storage, const QString& path)
{
    if (BenchSupport::AddFolderSeconds(doc, storage, path) < 0)
        return 0;
    std::vector<int> top;
    doc.Database().QueryRows(QStringLiteral("SELECT MAX(UnitID) FROM Units WHERE "
                                            "ParentUnitID IS NULL"),
                             top, &RowMappers::Ids);
    return top.empty() ? 0 : top.front();
}

int Run(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const auto option = [&](const char* name, qint64 fallback) {
        const qsizetype at = arguments.indexOf(QLatin1String(name));
        return at >= 0 && at + 1 < arguments.size() ? arguments[at + 1].toLongLong() : fallback;
    };
    const qint64 units = option("--units", 10000000);
    const int files = static_cast<int>(option("--files", 20000));
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    Settings::Instance();

    QTemporaryDir work;
    const QString catalogue = work.filePath(QStringLiteral("bench.db3"));
    if (!QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/empty.db3"), catalogue))
        return 1;
    QFile::setPermissions(catalogue, QFile::ReadOwner | QFile::WriteOwner);
    QElapsedTimer timer;
    timer.start();
    if (!GenerateCatalogue(catalogue, units))
        return 1;
    const double generated = Seconds(timer);

    CShelfwiseDoc doc(true);
    timer.start();
    if (!doc.OnOpenDocument(catalogue))
        return 1;
    const double opened = Seconds(timer);
    std::vector<int> count;
    doc.Database().QueryRows(QStringLiteral("SELECT COUNT(*) FROM Units"), count, &RowMappers::Ids);
    std::printf("catalogue: %d units, generated in %.1f s, opened in %.1f s\n",
                count.empty() ? 0 : count.front(), generated, opened);

    const QString tree = work.filePath(QStringLiteral("Tree"));
    if (!MakeTree(tree, files))
        return 1;
    const int storage = doc.AddStorage(QStringLiteral("Bench"), QString());
    const int unitId = AddFolder(doc, storage, tree);
    if (unitId == 0 || !ChangeTree(tree, files))
        return 1;

    double walk = 1e9;
    for (int i = 0; i < 3; ++i)
        walk = std::min(walk, BenchSupport::WalkSeconds(tree, false));
    CRescan rescanner(doc.Database());
    timer.start();
    const std::optional<CChangeList> changes = rescanner.Run(unitId, tree);
    const double rescan = Seconds(timer);
    if (!changes)
        return 1;
    CUnitUpdate update(doc);
    timer.start();
    if (!update.Apply(unitId, *changes, tree, QString()))
        return 1;
    const double apply = Seconds(timer);

    const double beyond = rescan + apply - walk;
    std::printf("tree: %d files; %s\n", files, qPrintable(changes->Summary()));
    std::printf("  scanner walk:                  %.3f s\n", walk);
    std::printf("  rescan (read, walk, compare):  %.3f s\n", rescan);
    std::printf("  apply (one transaction, undo): %.3f s (the Undo step holds %.0f KB)\n", apply,
                doc.History().MemoryUsed() / 1024.0);
    std::printf("  update beyond the walk:        %.3f s (goal: under 1 s)\n", beyond);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    // A failed catalogue operation ends the run with its message, not an abort.
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_update: %s\n", error.what());
        return 1;
    }
}
