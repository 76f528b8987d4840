// Rescan speed against the scanner's plain walk of the same tree, both measured in this
// run over a warm cache: the tree (default /usr) is added to a new catalogue first, with
// media details off, then walked and rescanned, best of three each. The rescan's extra
// is the comparison by path (the catalogue's subtree is read while the walk runs). The
// whole update, rescan and Apply with nothing to apply, is timed the same way.
//
//   bench_rescan [TREE]
#include "BenchSupport.h"
#include "acquisition/AddLocationJob.h"
#include "acquisition/Importer.h"
#include "acquisition/Rescan.h"
#include "acquisition/UnitUpdate.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <vector>

namespace {

int Run(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments().mid(1);
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    Settings::Instance();
    const QString tree = arguments.isEmpty() ? QStringLiteral("/usr") : arguments.first();

    CShelfwiseDoc doc(true);
    doc.OnNewDocument();
    const int storage = doc.AddStorage(QStringLiteral("Bench"), QString());
    if (BenchSupport::AddFolderSeconds(doc, storage, tree) < 0) {
        std::fprintf(stderr, "could not add %s\n", qPrintable(tree));
        return 1;
    }
    std::vector<QString> top;
    doc.Database().QueryRows(QStringLiteral("SELECT MAX(UnitID) FROM Units WHERE "
                                            "ParentUnitID IS NULL"),
                             top, &RowMappers::Texts);
    const int unitId = top.empty() ? 0 : top.front().toInt();

    qint64 entries = 0;
    double walk = 1e9;
    double rescan = 1e9;
    double update = 1e9;
    QString summary;
    for (int i = 0; i < 3; ++i) {
        walk = std::min(walk, BenchSupport::WalkSeconds(tree, false, &entries));
        CRescan rescanner(doc.Database());
        QElapsedTimer timer;
        timer.start();
        const std::optional<CChangeList> changes = rescanner.Run(unitId, tree);
        rescan = std::min(rescan, timer.nsecsElapsed() / 1e9);
        if (!changes)
            continue;
        summary = changes->Summary();
        // The whole update: the same rescan, then Apply, which finds nothing to write.
        CRescan again(doc.Database());
        CUnitUpdate apply(doc);
        timer.start();
        const std::optional<CChangeList> found = again.Run(unitId, tree);
        if (found && apply.Apply(unitId, *found, tree, QString()))
            update = std::min(update, timer.nsecsElapsed() / 1e9);
    }
    std::printf("%s: %lld entries\n", qPrintable(tree), static_cast<long long>(entries));
    std::printf("  scanner walk: %.2f s\n", walk);
    std::printf("  rescan (read, walk, compare): %.2f s = %.2f x the walk; %s\n", rescan,
                rescan / walk, qPrintable(summary));
    std::printf("  update (rescan, then apply): %.2f s = %.2f x the walk (goal: 1.5 x)\n", update,
                update / walk);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    // A failed catalogue operation ends the run with its message, not an abort.
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_rescan: %s\n", error.what());
        return 1;
    }
}
