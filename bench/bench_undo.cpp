// Undo speed, each figure against a baseline measured in the same run:
// - a generated catalogue with two discs of about 200,000 units each (folders, files,
//   a picture row for every tenth file); one disc is deleted through the document, as
//   the window's Delete does, without and with the history recording it; then undone
//   and redone (median of three). The floor: the same rows put back by a plain
//   INSERT INTO ... SELECT from a copy kept in memory, in one transaction.
// - an addition of a generated folder tree with the history on and off (it records the
//   top unit only, so the import should not notice), median of five each.
//
//   bench_undo [--units N] [--entries N]     (defaults 200,000 and 100,000)
#include "BenchSupport.h"
#include "CatalogueGenerator.h"
#include "acquisition/AddLocationJob.h"
#include "acquisition/Importer.h"
#include "common/UserPrompter.h"
#include "document/CatalogueCheck.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "sqlitewrapper/RowMappers.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

// Says Yes to the delete question; nothing else is asked.
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

// Storage s holds disc s: 40 folders of 10 albums, the files spread over the albums,
// every tenth a picture with its PictureInfo row. Counters as an import leaves them.
bool GenerateCatalogue(const QString& path, int unitsPerDisc)
{
    const int folders = 40;
    const int albums = 10;
    unsigned seed = 12345;
    CCatalogueGenerator::Shape shape;
    shape.Discs = 2;
    shape.Folders = {folders, albums};
    shape.Files = std::max(1, (unitsPerDisc - 1 - folders * (albums + 1)) / (folders * albums));
    shape.FileDates = true;
    shape.DiscInfo = true;
    shape.DiscName = [](qint64 disc) { return "Disc " + std::to_string(disc + 1); };
    shape.FolderName = [](int level, int index) {
        return (level == 0 ? "Folder " : "Album ") + std::to_string(index);
    };
    shape.MakeFile = [&seed](qint64 inDisc, qint64) {
        seed = seed * 1103515245u + 12345u;
        const bool picture = inDisc % 10 == 0;
        return CCatalogueGenerator::File{"IMG_" + std::to_string(inDisc) +
                                             (picture ? ".jpg" : ".txt"),
                                         (seed >> 8) % 5000000, picture};
    };
    return CCatalogueGenerator(shape).Write(path);
}

double Seconds(const QElapsedTimer& timer)
{
    return timer.nsecsElapsed() / 1e9;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

qint64 Count(CShelfwiseDoc& doc, const char* sql)
{
    std::vector<int> rows;
    doc.Database().QueryRows(QString::fromLatin1(sql), rows, &RowMappers::Ids);
    return rows.empty() ? -1 : rows.front();
}

bool Consistent(CShelfwiseDoc& doc, const char* when)
{
    const auto found = CCatalogueCheck(doc.Database()).Run();
    if (!found.empty())
        std::fprintf(stderr, "%s: %s\n", when, qPrintable(CCatalogueCheck::Describe(found[0])));
    return found.empty();
}

int MeasureDelete(const QString& catalogue)
{
    CShelfwiseDoc doc(true);
    if (!doc.OnOpenDocument(catalogue))
        return 1;
    const qint64 units = Count(doc, "SELECT COUNT(*) FROM Units WHERE StorageID = 1");
    std::printf("catalogue: %lld units; the deleted disc holds %lld of them\n",
                Count(doc, "SELECT COUNT(*) FROM Units"), units);

    // Without the history: the delete as it was before Undo existed.
    doc.SetHistoryEnabled(false);
    QElapsedTimer timer;
    timer.start();
    if (!doc.DeleteItem(nullptr, QStringLiteral("Disc 1"), 1, false))
        return 1;
    const double plainDelete = Seconds(timer);

    // Again on a fresh copy, recorded; the disc's rows kept aside for the floor.
    if (!doc.OnOpenDocument(catalogue))
        return 1;
    doc.SetHistoryEnabled(true);
    doc.Database().Execute(QStringLiteral(
        "CREATE TEMP TABLE SavedUnits AS SELECT * FROM Units WHERE StorageID = 1; "
        "CREATE TEMP TABLE SavedPictures AS SELECT * FROM PictureInfo WHERE PictureInfoID IN "
        "(SELECT UnitInfoID FROM Units WHERE StorageID = 1 AND CategoryID = 4)"));
    timer.start();
    if (!doc.DeleteItem(nullptr, QStringLiteral("Disc 1"), 1, false))
        return 1;
    const double recordedDelete = Seconds(timer);
    const qint64 recorded = doc.History().MemoryUsed();

    std::vector<double> undo;
    std::vector<double> redo;
    for (int i = 0; i < 3; ++i) {
        timer.start();
        if (!doc.Undo())
            return 1;
        undo.push_back(Seconds(timer));
        if (i == 0 && (Count(doc, "SELECT COUNT(*) FROM Units WHERE StorageID = 1") != units ||
                       !Consistent(doc, "after undo")))
            return 1;
        timer.start();
        if (!doc.Redo())
            return 1;
        redo.push_back(Seconds(timer));
    }

    // The floor: the rows copied back by SQLite alone, in one transaction.
    timer.start();
    doc.Database().Execute(
        QStringLiteral("BEGIN TRANSACTION; INSERT INTO Units SELECT * FROM SavedUnits; "
                       "INSERT INTO PictureInfo SELECT * FROM SavedPictures; COMMIT TRANSACTION"));
    const double floor = Seconds(timer);
    if (Count(doc, "SELECT COUNT(*) FROM Units WHERE StorageID = 1") != units)
        return 1;

    const double undoSeconds = Median(undo);
    std::printf("%-34s %7.3f s\n", "delete, no history:", plainDelete);
    std::printf("%-34s %7.3f s   (x%.2f; the step holds %.1f MB)\n",
                "delete, recorded:", recordedDelete, recordedDelete / plainDelete,
                recorded / 1048576.0);
    std::printf("%-34s %7.3f s\n", "undo of the delete (median of 3):", undoSeconds);
    std::printf("%-34s %7.3f s\n", "redo (median of 3):", Median(redo));
    std::printf("%-34s %7.3f s\n", "floor, INSERT INTO ... SELECT:", floor);
    std::printf("undo / recorded delete: %.2f   undo / floor: %.2f\n", undoSeconds / recordedDelete,
                undoSeconds / floor);
    return 0;
}

void MakeTree(const QString& root, int entries)
{
    const int perFolder = 100;
    for (int d = 0; d * perFolder < entries; ++d) {
        const QByteArray folder = QFile::encodeName(root) + "/part " + QByteArray::number(d);
        QDir().mkpath(QFile::decodeName(folder));
        for (int f = 0; f < perFolder; ++f) {
            const QByteArray name = folder + "/file " + QByteArray::number(f) + ".txt";
            const int fd = ::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (fd >= 0)
                ::close(fd);
        }
    }
}

void MeasureAddition(int entries)
{
    const QString shm = QStringLiteral("/dev/shm");
    const bool tmpfs = QFileInfo(shm).isDir() && QFileInfo(shm).isWritable();
    QTemporaryDir tree(tmpfs ? shm + QStringLiteral("/shelfwise-bench-XXXXXX")
                             : QDir::tempPath() + QStringLiteral("/shelfwise-bench-XXXXXX"));
    MakeTree(tree.path(), entries);
    std::vector<double> with;
    std::vector<double> without;
    // Five each, taking turns at going first.
    for (int i = 0; i < 5; ++i) {
        for (bool history : {i % 2 == 0, i % 2 != 0}) {
            CShelfwiseDoc doc(true);
            doc.OnNewDocument();
            doc.SetHistoryEnabled(history);
            const int storage = doc.AddStorage(QStringLiteral("Bench"), QString());
            (history ? with : without)
                .push_back(BenchSupport::AddFolderSeconds(doc, storage, tree.path()));
        }
    }
    std::printf("adding a folder of %d files%s, median of 5: history on %.3f s, off %.3f s, "
                "on / off: %.3f\n",
                entries, tmpfs ? " on a tmpfs" : "", Median(with), Median(without),
                Median(with) / Median(without));
}

int Run(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    auto option = [&](const char* name, int fallback) {
        const qsizetype at = arguments.indexOf(QLatin1String(name));
        return at >= 0 && at + 1 < arguments.size() ? arguments[at + 1].toInt() : fallback;
    };
    const int units = option("--units", 200000);
    const int entries = option("--entries", 100000);
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    Settings::Instance();
    YesPrompter prompter;
    UserPrompter::SetCurrent(&prompter);
    if (!CSqliteWrapper::CanRecordChanges()) {
        std::printf("this SQLite has no session extension: Undo is unavailable\n");
        return 0;
    }

    QTemporaryDir work;
    const QString catalogue = work.filePath(QStringLiteral("bench.db3"));
    if (!QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/empty.db3"), catalogue))
        return 1;
    QFile::setPermissions(catalogue, QFile::ReadOwner | QFile::WriteOwner);
    QElapsedTimer timer;
    timer.start();
    if (!GenerateCatalogue(catalogue, units))
        return 1;
    std::printf("machine: %d cores; catalogue generated in %.1f s\n", QThread::idealThreadCount(),
                Seconds(timer));
    const int result = MeasureDelete(catalogue);
    if (result != 0) {
        std::fprintf(stderr, "the delete, undo or redo failed\n");
        return result;
    }
    MeasureAddition(entries);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    // A failed catalogue operation ends the run with its message, not an abort.
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_undo: %s\n", error.what());
        return 1;
    }
}
