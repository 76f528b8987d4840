// The catalogue page of about a million units: its size per unit, the time and memory
// of the export, and headless Chromium opening it to a usable tree and list and running
// a search, against Chromium opening an empty page in the same run.
//
// The catalogue is generated straight into a copy of the template (names of a photo and
// music collection, sizes and modification dates spread at random) and exported with the
// same walk and writer as `shelfwise-cli export --format page`. One headless Chromium,
// driven over its debugging pipe, opens each page in a new tab five times (the median
// counts): the time from asking for the tab to the page saying it is ready (tree and
// first list shown) is compared with the same for an empty page. Then a search is typed
// (as #search=WORD) and timed by the page itself and from outside.
//
//   bench_page [--units N] [--catalogue PATH] [--keep PAGE.html]

#include "BenchSupport.h"
#include "CatalogueGenerator.h"
#include "HeadlessChromium.h"
#include "export/CatalogueExporter.h"
#include "export/PageExportWriter.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

const char* const kWords[] = {
    "holiday",  "summer",  "winter",  "lantern",  "garden",     "river",   "mountain", "harbour",
    "concert",  "family",  "wedding", "birthday", "school",     "beach",   "forest",   "city",
    "night",    "morning", "party",   "travel",   "album",      "track",   "live",     "remix",
    "draft",    "final",   "copy",    "scan",     "report",     "invoice", "letter",   "notes",
    "sunset",   "autumn",  "spring",  "bridge",   "castle",     "island",  "market",   "street",
    "station",  "museum",  "church",  "valley",   "meadow",     "canyon",  "desert",   "glacier",
    "festival", "parade",  "picnic",  "reunion",  "graduation", "camping", "sailing",  "hiking",
    "cycling",  "skiing",  "fishing", "rowing",   "climbing",   "diving",  "surfing",  "running"};
const char* const kExtensions[] = {"jpg", "png", "mp3", "flac", "txt", "pdf", "mkv", "mp4"};

// 10 discs of 50 folders of 20 folders of 99 files: 1,000,510 units.
bool Generate(const QString& path, qint64 units)
{
    CCatalogueGenerator::Shape shape;
    shape.Folders = {50, 20};
    shape.Files = 99;
    const qint64 perDisc = 1 + 50 * 21 + 50 * 20 * 99;
    shape.Discs = std::max<qint64>(1, (units + perDisc / 2) / perDisc);
    shape.DiscsPerStorage = 5;
    shape.FileDates = true;
    shape.DiscName = [](qint64 disc) { return "Backup " + std::to_string(2010 + disc); };
    shape.FolderName = [](int level, int index) {
        return std::string(level == 0 ? "Year " : "Event ") + kWords[index % 64] + " " +
               std::to_string(index);
    };
    unsigned seed = 12345;
    shape.MakeFile = [&seed](qint64, qint64 overall) {
        seed = seed * 1103515245u + 12345u;
        const unsigned r = seed >> 8;
        return CCatalogueGenerator::File{std::string(kWords[r % 64]) + " " + kWords[(r / 64) % 64] +
                                             " " + std::to_string(overall % 100000) + "." +
                                             kExtensions[(r / 4096) % 8],
                                         static_cast<qint64>(r % 5000000), false};
    };
    if (!CCatalogueGenerator(shape).Write(path))
        return false;
    // The generator gives every file the same date: spread them over ten years, as a
    // real collection has them, so the dates cost what they would.
    CSqliteWrapper db;
    db.Open(path, false);
    db.Execute(QStringLiteral(
        "UPDATE Units SET DateModified = datetime(1262304000 + (UnitID * 2654435761) % "
        "315360000, 'unixepoch') WHERE UnitType = 'F'"));
    return true;
}

struct Opening
{
    double WallMs = -1;   // from asking for the tab to the page saying it is ready
    double UsableMs = -1; // the page's own note: tree and first list shown
    double SearchMs = -1; // the page's own note of the search
    double SearchWallMs = -1;
    qint64 Found = -1;
};

double Now(const QElapsedTimer& clock)
{
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

// Asks the tab for expression until it is true (every 2 ms, at most two minutes).
bool WaitFor(CHeadlessChromium& browser, const QString& session, const QString& expression)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 120000) {
        if (browser.Evaluate(session, expression).toBool())
            return true;
        QThread::msleep(2);
    }
    return false;
}

// Opens page in a new tab to "ready", then (search not empty) types a search as the
// address would and waits for its results. With a fragment ("search=WORD") the page
// searches as it opens, before its search index is made in an idle moment.
Opening Open(CHeadlessChromium& browser, const QString& page, const QString& search,
             const QString& fragment = QString())
{
    Opening opening;
    QElapsedTimer clock;
    clock.start();
    QUrl url = QUrl::fromLocalFile(page);
    if (!fragment.isEmpty())
        url.setFragment(fragment);
    const QString session = browser.OpenTab(url.toString(QUrl::FullyEncoded));
    if (session.isEmpty() ||
        !WaitFor(browser, session,
                 QStringLiteral("document.body && document.body.dataset.state === 'ready'")))
        return opening;
    opening.WallMs = Now(clock);
    opening.UsableMs =
        browser.Evaluate(session, QStringLiteral("+document.body.dataset.usableMs")).toDouble(-1);
    if (!fragment.isEmpty()) {
        opening.SearchMs =
            browser.Evaluate(session, QStringLiteral("+document.body.dataset.searchMs"))
                .toDouble(-1);
    } else if (!search.isEmpty()) {
        const double asked = Now(clock);
        browser.Evaluate(session, QStringLiteral("location.hash = 'search=%1'").arg(search));
        if (WaitFor(browser, session, QStringLiteral("'searchMs' in document.body.dataset"))) {
            opening.SearchWallMs = Now(clock) - asked;
            opening.SearchMs =
                browser.Evaluate(session, QStringLiteral("+document.body.dataset.searchMs"))
                    .toDouble(-1);
            opening.Found =
                browser.Evaluate(session, QStringLiteral("+document.body.dataset.found"))
                    .toInteger(-1);
        }
    }
    browser.CloseTab(session);
    return opening;
}

// The median of five openings by wall time.
Opening Median(CHeadlessChromium& browser, const QString& page, const QString& search,
               const QString& fragment = QString())
{
    std::vector<Opening> runs;
    for (int i = 0; i < 5; ++i)
        runs.push_back(Open(browser, page, search, fragment));
    std::sort(runs.begin(), runs.end(),
              [](const Opening& a, const Opening& b) { return a.WallMs < b.WallMs; });
    return runs[2];
}

int Run(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList arguments = app.arguments();
    arguments.removeFirst();
    const auto option = [&arguments](const char* name) {
        const qsizetype at = arguments.indexOf(QLatin1String(name));
        if (at < 0 || at + 1 >= arguments.size())
            return QString();
        const QString value = arguments[at + 1];
        arguments.remove(at, 2);
        return value;
    };
    const QString unitsText = option("--units");
    const qint64 units = unitsText.isEmpty() ? 1000000 : unitsText.toLongLong();
    QString catalogue = option("--catalogue");
    const QString keep = option("--keep");
    std::printf("machine: %d cores\n", QThread::idealThreadCount());

    QTemporaryDir work;
    if (catalogue.isEmpty())
        catalogue = work.filePath(QStringLiteral("bench.db3"));
    if (!QFile::exists(catalogue)) {
        QElapsedTimer timer;
        timer.start();
        if (!QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/empty.db3"), catalogue))
            return 1;
        QFile::setPermissions(catalogue, QFile::ReadOwner | QFile::WriteOwner);
        if (!Generate(catalogue, units))
            return 1;
        std::printf("generated the catalogue in %.1f s\n",
                    static_cast<double>(timer.elapsed()) / 1e3);
    }

    CSqliteWrapper db;
    db.Open(catalogue, true);
    const qint64 count = db.CountUnits();
    const QString page = keep.isEmpty() ? work.filePath(QStringLiteral("page.html")) : keep;
    BenchSupport::ResetPeakMemory();
    const qint64 before = BenchSupport::PeakMemory();
    QElapsedTimer timer;
    timer.start();
    {
        QFile file(page);
        if (!file.open(QIODevice::WriteOnly))
            return 1;
        CPageExportWriter writer(file, QStringLiteral("Bench"));
        CCatalogueExporter exporter(db, writer);
        exporter.Run(ExportScope());
    }
    const double exportSeconds = static_cast<double>(timer.elapsed()) / 1e3;
    const qint64 bytes = QFileInfo(page).size();
    std::printf("page of %lld units: %.1f MB, %.1f bytes per unit; exported in %.1f s, peak "
                "memory %lld -> %lld KB\n",
                static_cast<long long>(count), static_cast<double>(bytes) / 1e6,
                static_cast<double>(bytes) / static_cast<double>(count), exportSeconds,
                static_cast<long long>(before / 1024),
                static_cast<long long>(BenchSupport::PeakMemory() / 1024));

    const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (chromium.isEmpty()) {
        std::printf("chromium is not installed: the opening is not measured\n");
        return 0;
    }
    const QString empty = work.filePath(QStringLiteral("empty.html"));
    {
        QFile file(empty);
        if (!file.open(QIODevice::WriteOnly))
            return 1;
        file.write("<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Empty</title></head>"
                   "<body><script>document.body.dataset.usableMs = performance.now().toFixed(1);"
                   "document.body.dataset.state = \"ready\";</script></body></html>\n");
    }
    CHeadlessChromium browser(chromium, work.filePath(QStringLiteral("profile")));
    if (!browser.Started()) {
        std::fprintf(stderr, "bench_page: Chromium did not start\n");
        return 1;
    }
    Open(browser, empty, QString()); // the browser warmed up
    const Opening baseline = Median(browser, empty, QString());
    const Opening opened = Median(browser, page, QStringLiteral("lantern"));
    const Opening atSearch = Median(browser, page, QString(), QStringLiteral("search=lantern"));
    if (opened.WallMs < 0 || opened.SearchMs < 0) {
        std::fprintf(stderr, "bench_page: the page did not become ready in Chromium\n");
        return 1;
    }
    std::printf("empty page: ready in %6.1f ms (page's clock %.1f ms)\n", baseline.WallMs,
                baseline.UsableMs);
    std::printf("catalogue page: usable in %6.1f ms, %.1f x the empty page (page's clock "
                "%.1f ms)\n",
                opened.WallMs, opened.WallMs / baseline.WallMs, opened.UsableMs);
    std::printf("search \"lantern\": %lld found, %.1f ms in the page, %.1f ms with the "
                "round trip (%.1f x opening the empty page)\n",
                static_cast<long long>(opened.Found), opened.SearchMs, opened.SearchWallMs,
                opened.SearchWallMs / baseline.WallMs);
    std::printf("opened at #search=lantern: results in %.1f ms, %.1f ms of it the search with "
                "the making of its index\n",
                atSearch.WallMs, atSearch.SearchMs);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    // A failed catalogue operation ends the run with its message, not an abort.
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_page: %s\n", error.what());
        return 1;
    }
}
