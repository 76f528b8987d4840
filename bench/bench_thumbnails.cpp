// The cost of pictures' thumbnails in an addition: the same folder (/usr unless another
// is given) added twice in the same run, media details on both times, thumbnails off and
// then on, each into a new catalogue. Reports the thumbnails kept, their average size
// (the aim is at most 8 KB), how much the saved catalogue grew, and the ratio of the two
// additions' times. A first addition, not counted, brings the tree into the file cache.
// Then the same with archives looked into as well, against both off. Each addition is
// made three times, the three kinds taking turns, and the median time counts: one run
// on a busy machine moves a ratio by a tenth.
//
// The program is a GUI application on the offscreen platform, as the window is, so that
// drawings with text are rendered too (the command line leaves those without one).
//
//   bench_thumbnails [TREE]
#include "acquisition/AddLocationJob.h"
#include "common/LocalTimeZone.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

struct Addition
{
    double seconds = -1;
    qint64 thumbnails = 0;
    qint64 thumbnailBytes = 0;
    qint64 catalogueBytes = 0;
};

Addition AddOnce(const QString& tree, bool thumbnails, const QString& savedPath,
                 bool archives = false)
{
    Addition result;
    CShelfwiseDoc doc(true);
    doc.OnNewDocument();
    const int storage = doc.AddStorage(QStringLiteral("Bench"), QString());
    CAddLocationJob job(doc);
    job.SetThumbnails(thumbnails);
    job.SetLookInsideArchives(archives);
    QEventLoop loop;
    QObject::connect(&job, &CAddLocationJob::finished, &loop, &QEventLoop::quit);
    CAddLocationJob::Request request;
    request.path = tree;
    request.name = CAddLocationJob::NameFromPath(tree);
    request.storageId = storage;
    QElapsedTimer timer;
    timer.start();
    if (!job.Start(request))
        return result;
    if (job.IsBusy())
        loop.exec();
    result.seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    doc.Guard([&] { result.thumbnails = doc.Database().CountThumbnails(result.thumbnailBytes); });
    if (doc.OnSaveDocument(savedPath))
        result.catalogueBytes = QFileInfo(savedPath).size();
    return result;
}

// The addition of median time (a failed one, -1 s, sorts first).
Addition Median(std::vector<Addition> additions)
{
    std::sort(additions.begin(), additions.end(),
              [](const Addition& a, const Addition& b) { return a.seconds < b.seconds; });
    return additions[additions.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    LocalTimeZone::PinSystemZone();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QLoggingCategory::setFilterRules(
        QStringLiteral("qt.gui.imageio*=false\nqt.gui.icc=false\nqt.svg=false"));
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    Settings::Instance();
    const QStringList arguments = app.arguments().mid(1);
    const QString tree = arguments.isEmpty() ? QStringLiteral("/usr") : arguments.first();
    QTemporaryDir out;

    std::printf("machine: %d cores; tree: %s\n", QThread::idealThreadCount(), qPrintable(tree));
    AddOnce(tree, true, out.filePath(QStringLiteral("warm.db3")), true); // the file cache
    constexpr int kRounds = 3;
    std::vector<Addition> offs, ons, boths;
    for (int round = 0; round < kRounds; ++round) {
        offs.push_back(AddOnce(tree, false, out.filePath(QStringLiteral("off%1.db3").arg(round))));
        ons.push_back(AddOnce(tree, true, out.filePath(QStringLiteral("on%1.db3").arg(round))));
        boths.push_back(
            AddOnce(tree, true, out.filePath(QStringLiteral("both%1.db3").arg(round)), true));
    }
    const Addition off = Median(offs);
    const Addition on = Median(ons);
    const Addition both = Median(boths);
    if (off.seconds < 0 || on.seconds < 0 || both.seconds < 0) {
        std::fprintf(stderr, "an addition did not start\n");
        return 1;
    }
    std::printf("  addition, thumbnails off: %.2f s, catalogue %.1f MB\n", off.seconds,
                off.catalogueBytes / 1e6);
    std::printf("  addition, thumbnails on:  %.2f s, catalogue %.1f MB\n", on.seconds,
                on.catalogueBytes / 1e6);
    const double average =
        on.thumbnails > 0 ? static_cast<double>(on.thumbnailBytes) / on.thumbnails : 0;
    std::printf("  thumbnails: %lld, %.1f MB, %.2f KB on average (aim: at most 8 KB)\n",
                static_cast<long long>(on.thumbnails), on.thumbnailBytes / 1e6, average / 1024);
    std::printf("  catalogue growth: +%.1f MB (+%.0f %%)\n",
                (on.catalogueBytes - off.catalogueBytes) / 1e6,
                off.catalogueBytes > 0
                    ? 100.0 * (on.catalogueBytes - off.catalogueBytes) / off.catalogueBytes
                    : 0.0);
    std::printf("  time on / off: %.2f x (%.2f s of the addition with thumbnails is theirs, "
                "%.0f %%)\n",
                on.seconds / off.seconds, on.seconds - off.seconds,
                100.0 * (on.seconds - off.seconds) / on.seconds);

    // Looking inside as a whole: thumbnails and archives both on against both off.
    std::printf("  thumbnails and archives both on: %.2f s, both off: %.2f s, %.2f x (aim: "
                "at most 1.5 x)\n",
                both.seconds, off.seconds, both.seconds / off.seconds);
    return 0;
}
