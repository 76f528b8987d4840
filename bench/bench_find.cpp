// Finding by name, each figure against a baseline measured in the same run:
// - the cost of the name index to an addition: a folder (/usr, or the tree given) added
//   with media details off into a new catalogue with the index (its units recorded as
//   waiting for it) and without any index, taking turns, median of 3; then the waiting
//   names indexed in bulk after the addition, as the command line does; and the
//   catalogue's growth per unit;
// - on a generated catalogue (1,000,000 units, or --units N): the index built from
//   nothing, then the first page (200 rows) and the count of a query of 3 or more
//   characters through the index (alone, and as Auto reads it with the waiting units
//   beside it) against the plain LIKE query, median of 5.
//
//   bench_find [TREE] [--units N] [--catalogue PATH] [--queries-only]
#include "BenchSupport.h"
#include "CatalogueGenerator.h"
#include "acquisition/AddLocationJob.h"
#include "acquisition/Importer.h"
#include "common/UserPrompter.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqlText.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

class YesPrompter final : public UserPrompter
{
public:
    void ShowMessage(const QString& text, Icon) override
    {
        std::fprintf(stderr, "message: %s\n", qPrintable(text));
    }
    bool AskYesNo(const QString&, Icon) override { return true; }
    void CloseMainWindow() override {}
    QString AskNewerCatalogue(const QString&) override { return QString(); }
    QString AskBackupPath() override { return QString(); }
    QString AskSaveFileName() override { return QString(); }
};

double Seconds(const QElapsedTimer& timer)
{
    return timer.nsecsElapsed() / 1e9;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double Time(const std::function<void()>& work)
{
    std::vector<double> runs;
    for (int i = 0; i < 5; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        runs.push_back(Seconds(timer));
    }
    return Median(runs);
}

qint64 Number(CSqliteWrapper& db, const char* sql)
{
    std::vector<QString> rows;
    db.QueryRows(QString::fromLatin1(sql), rows, &RowMappers::Texts);
    return rows.empty() ? 0 : rows.front().toLongLong();
}

qint64 Bytes(CSqliteWrapper& db)
{
    return Number(db, "SELECT page_count * page_size FROM pragma_page_count, pragma_page_size") -
           Number(db, "SELECT freelist_count * page_size FROM pragma_freelist_count, "
                      "pragma_page_size");
}

void MeasureAddition(const QString& tree)
{
    std::vector<double> with;
    std::vector<double> indexing;
    std::vector<double> without;
    qint64 units = 0;
    qint64 bytesWith = 0;
    qint64 bytesWithout = 0;
    for (int i = 0; i < 3; ++i) {
        for (bool index : {i % 2 == 0, i % 2 != 0}) {
            CShelfwiseDoc doc(true);
            doc.OnNewDocument();
            CSqliteWrapper& db = doc.Database();
            if (!index) {
                // The catalogue as 1.2 had it: no triggers, no index table.
                for (const char* trigger : {"Insert", "Delete", "Rename"})
                    db.Execute(
                        QStringLiteral("DROP TRIGGER UnitNameIndex%1").arg(QLatin1String(trigger)));
                db.Execute(QStringLiteral("DROP TABLE UnitNameIndex"));
                db.Execute(QStringLiteral("DROP VIEW UnitNameIndexContent"));
            }
            const int storage = doc.AddStorage(QStringLiteral("Bench"), QString());
            const qint64 before = Bytes(db);
            (index ? with : without).push_back(BenchSupport::AddFolderSeconds(doc, storage, tree));
            if (index) {
                QElapsedTimer timer;
                timer.start();
                while (db.IndexNamesStep(100000) > 0) {
                }
                indexing.push_back(Seconds(timer));
            }
            (index ? bytesWith : bytesWithout) = Bytes(db) - before;
            units = db.CountUnits();
        }
    }
    std::printf("adding %s (%lld units), media details off, median of 3: with the index "
                "(names waiting) %.3f s, without %.3f s, ratio %.2f\n",
                qPrintable(tree), static_cast<long long>(units), Median(with), Median(without),
                Median(with) / Median(without));
    std::printf("  the waiting names indexed afterwards in steps of 100,000: %.3f s (addition "
                "and indexing %.2f x the addition without)\n",
                Median(indexing), (Median(with) + Median(indexing)) / Median(without));
    std::printf("  catalogue growth: %.1f bytes per unit with the index, %.1f without, the "
                "index %.1f bytes per unit\n",
                static_cast<double>(bytesWith) / units, static_cast<double>(bytesWithout) / units,
                static_cast<double>(bytesWith - bytesWithout) / units);
}

// Finding in one folder addition of the tree against plocate over a plocate database of
// the same tree built in the same run: what the find box does for each key (the first
// page and the count) in this process, and the command line's find as a process,
// against `plocate -c -i -b` (names, any case, every word) as a process.
void MeasureAgainstPlocate(const QString& tree)
{
    const QString plocate = QStandardPaths::findExecutable(QStringLiteral("plocate"));
    const QString updatedb = QStandardPaths::findExecutable(QStringLiteral("updatedb"));
    if (plocate.isEmpty() || updatedb.isEmpty()) {
        std::printf("plocate: not installed, comparison skipped\n");
        return;
    }
    QTemporaryDir work;
    const QString locateDb = work.filePath(QStringLiteral("usr.plocate.db"));
    const auto run = [](const QString& program, const QStringList& arguments) {
        QProcess process;
        process.start(program, arguments);
        process.waitForFinished(-1);
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    };
    if (run(updatedb, {QStringLiteral("-l"), QStringLiteral("0"), QStringLiteral("-o"), locateDb,
                       QStringLiteral("-U"), tree}) != 0) {
        std::printf("plocate: updatedb failed, comparison skipped\n");
        return;
    }
    const QString catalogue = work.filePath(QStringLiteral("usr.db3"));
    {
        CShelfwiseDoc doc(true);
        doc.OnNewDocument();
        const int storage = doc.AddStorage(QStringLiteral("Bench"), QString());
        BenchSupport::AddFolderSeconds(doc, storage, tree);
        while (doc.Database().IndexNamesStep(100000) > 0) {
        }
        doc.Database().Execute(
            QStringLiteral("VACUUM INTO %1").arg(SqlText::QuoteSqlString(catalogue)));
    }
    CSqliteWrapper db;
    db.Open(catalogue, false);
    const QString cli = QCoreApplication::applicationDirPath() + QStringLiteral("/shelfwise-cli");
    for (const char* query : {"python", "python3 test", "libreadline", "zzzq"}) {
        const QStringList words = QString::fromLatin1(query).split(QLatin1Char(' '));
        qint64 matches = 0;
        const double findBox = Time([&] {
            db.FindByName(words, 200, 0);
            matches = db.CountByName(words);
        });
        const double command = Time([&] {
            run(cli, QStringList{QStringLiteral("find"), catalogue} + words +
                         QStringList{QStringLiteral("--limit"), QStringLiteral("200")});
        });
        const double located = Time([&] {
            run(plocate, QStringList{QStringLiteral("-c"), QStringLiteral("-i"),
                                     QStringLiteral("-b"), QStringLiteral("-d"), locateDb} +
                             words);
        });
        std::printf("  \"%s\" (%lld matches): find box %.1f ms (%.2f x plocate), find command "
                    "%.1f ms (%.2f x), plocate -c %.1f ms\n",
                    query, static_cast<long long>(matches), findBox * 1e3, findBox / located,
                    command * 1e3, command / located, located * 1e3);
    }
}

// Names of a photo and music collection: two words of a list of 64, a number, an
// extension; "lantern" is in about 1 name of 32.
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

bool Generate(const QString& path, qint64 units)
{
    CCatalogueGenerator::Shape shape;
    shape.Folders = {50, 20};
    shape.Files = 99;
    const qint64 perDisc = 1 + 50 * 21 + 50 * 20 * 99;
    shape.Discs = std::max<qint64>(1, (units + perDisc / 2) / perDisc);
    shape.DiscsPerStorage = 10;
    shape.DiscName = [](qint64 disc) { return "Disc " + std::to_string(disc + 1); };
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
    return CCatalogueGenerator(shape).Write(path);
}

// A catalogue given with --catalogue is generated there once and read again by later runs.
int MeasureQueries(qint64 units, QString path)
{
    QTemporaryDir work;
    const bool reuse = !path.isEmpty() && QFile::exists(path);
    if (path.isEmpty())
        path = work.filePath(QStringLiteral("bench.db3"));
    QElapsedTimer timer;
    timer.start();
    if (!reuse) {
        if (!QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/empty.db3"), path))
            return 1;
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        // Generated as an addition or an upgrade leaves a catalogue: every unit waiting
        // for the index.
        if (!Generate(path, units))
            return 1;
    }
    CSqliteWrapper db;
    db.Open(path, true);
    const qint64 count = db.CountUnits();
    std::printf("generated catalogue: %lld units in %.1f s, %.1f bytes per unit\n",
                static_cast<long long>(count), Seconds(timer),
                static_cast<double>(Bytes(db)) / count);
    const qint64 bytesBefore = Bytes(db);
    timer.restart();
    while (db.IndexNamesStep(100000) > 0) {
    }
    std::printf("  index built in steps of 100,000 units: %.2f s, %.1f bytes per unit\n",
                Seconds(timer), static_cast<double>(Bytes(db) - bytesBefore) / count);

    for (const char* query : {"lantern", "lantern 12345", "festival parade", "holi"}) {
        const QStringList words = QString::fromLatin1(query).split(QLatin1Char(' '));
        qint64 matches = 0;
        const double page = Time([&] { db.FindByName(words, 200, 0, NameLookup::Index); });
        const double autoPage = Time([&] { db.FindByName(words, 200, 0); });
        const double scanPage = Time([&] { db.FindByName(words, 200, 0, NameLookup::Scan); });
        const double counted = Time([&] { matches = db.CountByName(words, NameLookup::Index); });
        const double scanCount = Time([&] { db.CountByName(words, NameLookup::Scan); });
        std::printf("  \"%s\" (%lld matches): first page %.1f ms (Auto %.1f ms; LIKE %.1f ms, "
                    "%.0f x), count %.1f ms (LIKE %.1f ms, %.0f x)\n",
                    query, static_cast<long long>(matches), page * 1e3, autoPage * 1e3,
                    scanPage * 1e3, scanPage / page, counted * 1e3, scanCount * 1e3,
                    scanCount / counted);
    }
    // The search dialog's text: the query alone against the query the index narrows.
    for (const char* text : {"lantern", "festival*parade", "lantern 12345"}) {
        for (const bool notes : {false, true}) {
            SearchCriteria criteria;
            criteria.Text = QString::fromLatin1(text);
            criteria.SearchNotes = notes;
            std::vector<UnitListItem> found;
            const double narrowed = Time([&] { db.SearchUnits(criteria, found); });
            const double plain = Time([&] {
                found.clear();
                db.QueryRows(CSqliteWrapper::BuildSearchQuery(criteria), found,
                             &RowMappers::UnitListItems);
            });
            std::printf("  search dialog \"%s\"%s (%zu rows): %.1f ms, without the index %.1f "
                        "ms, %.0f x\n",
                        text, notes ? " in names and notes" : "", found.size(), narrowed * 1e3,
                        plain * 1e3, plain / narrowed);
        }
    }
    return 0;
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
    const QString catalogue = option("--catalogue");
    const bool queriesOnly = arguments.removeAll(QStringLiteral("--queries-only")) > 0;
    const QString tree = arguments.isEmpty() ? QStringLiteral("/usr") : arguments.front();
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    Settings::Instance();
    YesPrompter prompter;
    UserPrompter::SetCurrent(&prompter);
    std::printf("machine: %d cores\n", QThread::idealThreadCount());
    if (!queriesOnly) {
        MeasureAddition(tree);
        std::printf("finding over %s's names:\n", qPrintable(tree));
        MeasureAgainstPlocate(tree);
    }
    return MeasureQueries(units, catalogue);
}

} // namespace

int main(int argc, char** argv)
{
    // A failed catalogue operation ends the run with its message, not an abort.
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_find: %s\n", error.what());
        return 1;
    }
}
