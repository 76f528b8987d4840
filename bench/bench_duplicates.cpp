// Duplicates and the files kept nowhere else in a generated catalogue of 1,000,000 units
// (or the number given as the first argument, rounded to whole discs), against SQLite
// grouping the same files by name and size itself, in this run. Every disc shares a
// tenth of its files (same name, same size) with its neighbour, the rest are its own.
// Memory is the process's peak resident size (VmHWM) during each search, reset first so
// that generating the catalogue does not count.

#include "BenchSupport.h"
#include "CatalogueGenerator.h"
#include "copies/CopySearch.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// One disc: 10 folders of 10 albums of 98 files, 9,911 units.
constexpr int kFolders = 10;
constexpr int kAlbums = 10;
constexpr int kFiles = 98;
constexpr qint64 kFilesPerDisc = kFolders * kAlbums * kFiles;
constexpr qint64 kUnitsPerDisc = 1 + kFolders * (1 + kAlbums * (1 + kFiles));
static_assert(kUnitsPerDisc == 9911);
constexpr int kDiscsPerStorage = 20;
// Every this many files of a disc is also on its neighbour.
constexpr qint64 kSharedEvery = 10;

std::string Printed(const char* format, long long a, long long b = 0)
{
    char text[64];
    std::snprintf(text, sizeof text, format, a, b);
    return text;
}

// A size that looks random but is the same wherever the key is.
qint64 SizeOf(quint64 key)
{
    key = key * 6364136223846793005uLL + 1442695040888963407uLL;
    return static_cast<qint64>((key >> 20) % 50000000);
}

bool Generate(const QString& path, qint64 discs, qint64& units)
{
    CCatalogueGenerator::Shape shape;
    shape.Discs = discs;
    shape.DiscsPerStorage = kDiscsPerStorage;
    shape.Folders = {kFolders, kAlbums};
    shape.Files = kFiles;
    shape.FileDates = true;
    shape.DiscName = [](qint64 disc) { return Printed("Backup %04lld", disc); };
    shape.FolderName = [](int level, int index) {
        return Printed(level == 0 ? "Year %02lld" : "Album %02lld", index);
    };
    shape.MakeFile = [](qint64 inDisc, qint64 overall) {
        const qint64 disc = overall / kFilesPerDisc;
        if (inDisc % kSharedEvery == 0) {
            // Discs 2k and 2k+1 hold these files both.
            const qint64 pair = disc / 2;
            return CCatalogueGenerator::File{Printed("DSC_%05lld_%05lld.JPG", pair, inDisc),
                                             SizeOf(static_cast<quint64>(pair << 20 | inDisc)),
                                             false};
        }
        return CCatalogueGenerator::File{Printed("IMG_%09lld.jpg", overall),
                                         SizeOf(static_cast<quint64>(overall) | 1uLL << 62), false};
    };
    CCatalogueGenerator generator(shape);
    const bool ok = generator.Write(path);
    units = generator.Units();
    return ok;
}

// SQLite's own grouping of the files by name and size: the groups of copies counted.
double GroupBySeconds(const QString& path, long long& groups)
{
    sqlite3* db = nullptr;
    sqlite3_open(path.toUtf8().constData(), &db);
    QElapsedTimer timer;
    timer.start();
    groups = 0;
    sqlite3_exec(
        db,
        "SELECT COUNT(*) FROM (SELECT 1 FROM Units WHERE UnitType = 'F' "
        "GROUP BY UnitName COLLATE NOCASE, UnitSize HAVING COUNT(*) > 1)",
        [](void* out, int, char** values, char**) {
            *static_cast<long long*>(out) = std::atoll(values[0]);
            return 0;
        },
        &groups, nullptr);
    const double seconds = timer.nsecsElapsed() / 1e9;
    sqlite3_close(db);
    return seconds;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const qint64 wanted = argc > 1 ? std::atoll(argv[1]) : 1000000;
    const qint64 discs = std::max<qint64>(2, (wanted + kUnitsPerDisc / 2) / kUnitsPerDisc);
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
    std::printf("generated %lld units (%lld discs, %lld files) in %.1f s, %.0f MB\n",
                static_cast<long long>(units), static_cast<long long>(discs),
                static_cast<long long>(discs * kFilesPerDisc), timer.nsecsElapsed() / 1e9,
                static_cast<double>(QFile(catalogue).size()) / 1e6);

    CSqliteWrapper db;
    db.Open(catalogue, false);
    CCopySearch search(db);
    for (const bool withDate : {false, true}) {
        BenchSupport::ResetPeakMemory();
        const qint64 before = BenchSupport::PeakMemory();
        timer.restart();
        CCopySearch::Options options;
        options.WithDate = withDate;
        search.StartDuplicates(options, nullptr);
        search.Wait();
        const double seconds = timer.nsecsElapsed() / 1e9;
        qint64 copies = 0;
        for (const CCopySearch::Group& group : search.Groups())
            copies += static_cast<qint64>(group.Copies.size());
        std::printf("duplicates%s: %.2f s, %zu groups of %lld files, peak %.0f MB "
                    "(%.0f MB before)\n",
                    withDate ? " --with-date" : "", seconds, search.Groups().size(),
                    static_cast<long long>(copies), BenchSupport::PeakMemory() / 1e6, before / 1e6);
        if (search.Outcome() != WorkOutcome::Succeeded)
            return 1;
    }

    // The files of the last disc but one: nine tenths of them are its own.
    const int disc = static_cast<int>(units - 2 * kUnitsPerDisc + 1);
    BenchSupport::ResetPeakMemory();
    timer.restart();
    if (!search.StartUnique(disc, nullptr))
        return 1;
    search.Wait();
    std::printf("unique files of one disc: %.2f s, %zu of %lld files, peak %.0f MB\n",
                timer.nsecsElapsed() / 1e9, search.UniqueFiles().size(),
                static_cast<long long>(kFilesPerDisc), BenchSupport::PeakMemory() / 1e6);
    db.Close();

    long long groups = 0;
    const double groupBy = GroupBySeconds(catalogue, groups);
    std::printf("SQLite GROUP BY name and size: %.2f s, %lld groups\n", groupBy, groups);
    return 0;
}
