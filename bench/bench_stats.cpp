// Statistics of a generated catalogue of 1,000,000 units (or the number given as the
// first argument, rounded to whole discs; 10,000,000 is a collection of 5,000 discs):
// the whole catalogue, one storage of ten, one disc. The baseline, measured in the same
// run, is SQLite counting and summing the same files in one pass over Units.

#include "CatalogueGenerator.h"
#include "sqlitewrapper/SqliteWrapper.h"
#include "stats/StatisticsGatherer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// One disc: 10 folders of 10 folders of 19 files, 2,011 units.
constexpr int kFolders = 10;
constexpr int kSubfolders = 10;
constexpr int kFiles = 19;
constexpr qint64 kUnitsPerDisc = 1 + kFolders * (1 + kSubfolders * (1 + kFiles));
static_assert(kUnitsPerDisc == 2011);
constexpr int kStorages = 10;

std::string Printed(const char* format, long long a)
{
    char text[64];
    std::snprintf(text, sizeof text, format, a);
    return text;
}

bool Generate(const QString& path, qint64 discs, qint64& units)
{
    static const char* const kExtensions[] = {"jpg", "mp3", "txt", "pdf", "mkv", "flac", "doc",
                                              "png", "zip", "iso", "cr2", "xml", "htm"};
    CCatalogueGenerator::Shape shape;
    shape.Discs = discs;
    shape.DiscsPerStorage = std::max<qint64>(1, discs / kStorages);
    shape.Folders = {kFolders, kSubfolders};
    shape.Files = kFiles;
    shape.FileDates = true;
    shape.DiscName = [](qint64 disc) { return Printed("Collection %05lld", disc); };
    shape.FolderName = [](int level, int index) {
        return Printed(level == 0 ? "Series %02lld" : "Part %02lld", index);
    };
    shape.MakeFile = [](qint64 inDisc, qint64 overall) {
        const char* extension = kExtensions[static_cast<size_t>(overall % 13)];
        return CCatalogueGenerator::File{
            Printed("file_%09lld.", overall) + extension,
            static_cast<qint64>((static_cast<quint64>(overall) * 2654435761uLL) % 90000000) +
                inDisc,
            false};
    };
    shape.DateAdded = [](qint64 disc) {
        return Printed("20%02lld-03-01 10:00:00", 10 + disc % 15);
    };
    CCatalogueGenerator generator(shape);
    const bool ok = generator.Write(path);
    units = generator.Units();
    return ok;
}

double BaselineSeconds(const QString& path)
{
    sqlite3* db = nullptr;
    sqlite3_open(path.toUtf8().constData(), &db);
    QElapsedTimer timer;
    timer.start();
    sqlite3_exec(db, "SELECT COUNT(*), SUM(UnitSize) FROM Units WHERE UnitType = 'F'", nullptr,
                 nullptr, nullptr);
    const double seconds = timer.nsecsElapsed() / 1e9;
    sqlite3_close(db);
    return seconds;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const qint64 wanted = argc > 1 ? std::atoll(argv[1]) : 1000000;
    const qint64 discs = std::max<qint64>(kStorages, (wanted + kUnitsPerDisc / 2) / kUnitsPerDisc);
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
    if (!Generate(catalogue, discs, units))
        return 1;
    std::printf("generated %lld units (%lld discs in %d storages) in %.1f s, %.0f MB\n",
                static_cast<long long>(units), static_cast<long long>(discs), kStorages,
                timer.nsecsElapsed() / 1e9, static_cast<double>(QFile(catalogue).size()) / 1e6);

    // Once to warm the page cache, as the catalogue a user opens has been read before.
    BaselineSeconds(catalogue);
    const double baseline = BaselineSeconds(catalogue);
    std::printf("baseline (SQLite COUNT and SUM of the files): %.2f s\n", baseline);

    CSqliteWrapper db;
    db.OpenForReading(catalogue);
    CStatisticsGatherer gatherer(db);
    const std::pair<const char*, StatisticsScope> scopes[] = {
        {"whole catalogue", {}},
        {"one storage", {3, 0}},
        {"one disc", {0, static_cast<int>(units / 2 / kUnitsPerDisc * kUnitsPerDisc + 1)}},
    };
    for (const auto& [what, scope] : scopes) {
        CatalogueStatistics result;
        timer.restart();
        try {
            if (!gatherer.Gather(scope, result))
                return 1;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            return 1;
        }
        const double seconds = timer.nsecsElapsed() / 1e9;
        std::printf("%s: %.2f s (%.1f x baseline), %lld files, %lld discs\n", what, seconds,
                    baseline > 0 ? seconds / baseline : 0.0, static_cast<long long>(result.Files),
                    static_cast<long long>(result.Discs));
    }
    return 0;
}
