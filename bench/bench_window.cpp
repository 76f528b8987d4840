// The window's two waits a user notices, on the offscreen platform:
// - start-up to a shown main window with the sample catalogue open, beside opening the
//   same catalogue in the document alone (what any front end must pay);
// - selecting a folder of 100,000 files until the list's row count is set, beside the
//   GetSubunits query of the same folder alone.
// Each figure is the median of several runs; the targets are 0.5 s and 100 ms.

#include "BenchSupport.h"
#include "app/ShelfwiseApp.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "settings/Settings.h"
#include "views/DetailsModel.h"
#include "views/DetailsView.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kRuns = 5;
constexpr int kFiles = 100000;
constexpr int kStorage = 1;
constexpr int kFolder = 2;

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// A copy of the template with one storage, one disc and in it one folder of kFiles
// files.
bool MakeLargeFolderCatalogue(const QString& path)
{
    QFile::remove(path);
    if (!QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/empty.db3"), path))
        return false;
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    sqlite3* db = nullptr;
    if (sqlite3_open(QFile::encodeName(path).constData(), &db) != SQLITE_OK)
        return false;
    bool ok =
        BenchSupport::Exec(db, "BEGIN") &&
        BenchSupport::Exec(db,
                           "INSERT INTO Storages (StorageID, StorageName, StorageNotes, "
                           "DiscsNumber, FoldersNumber, FilesNumber) VALUES (1, 'Shelf', '', 1, "
                           "1, 100000)") &&
        BenchSupport::Exec(db,
                           "INSERT INTO Units (UnitID, UnitName, UnitType, StorageID, "
                           "SubfoldersNumber, SubfilesNumber) VALUES (1, 'Big disc', 'C', 1, 1, "
                           "100000)") &&
        BenchSupport::Exec(
            db, "INSERT INTO Units (UnitID, UnitName, UnitType, StorageID, ParentUnitID, "
                "SubfilesNumber) VALUES (2, 'Camera', 'D', 1, 1, 100000)");
    sqlite3_stmt* insert = nullptr;
    ok = ok && sqlite3_prepare_v2(db,
                                  "INSERT INTO Units (UnitName, UnitType, StorageID, "
                                  "ParentUnitID, UnitSize, DateModified, CategoryID) VALUES (?, "
                                  "'F', 1, 2, ?, '2021-06-01 12:00:00', 4)",
                                  -1, &insert, nullptr) == SQLITE_OK;
    char name[64];
    for (int i = 0; ok && i < kFiles; ++i) {
        std::snprintf(name, sizeof name, "IMG_%06d.jpg", i);
        sqlite3_bind_text(insert, 1, name, -1, SQLITE_TRANSIENT);
        sqlite3_bind_int64(insert, 2, 1000000 + i);
        ok = sqlite3_step(insert) == SQLITE_DONE;
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    ok = ok && BenchSupport::Exec(db, "COMMIT");
    sqlite3_close(db);
    return ok;
}

void MeasureStartUp(const QString& sample)
{
    std::vector<double> window;
    std::vector<double> document;
    for (int run = 0; run < kRuns; ++run) {
        QSettings(QStringLiteral("Korvalt"), QStringLiteral("Shelfwise")).clear();
        QElapsedTimer timer;
        timer.start();
        {
            CShelfwiseApp app;
            if (!app.InitInstance({QStringLiteral("Shelfwise"), sample}))
                return;
            QApplication::processEvents();
            window.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        }
        timer.restart();
        {
            CShelfwiseDoc doc;
            doc.OnOpenDocument(sample);
            document.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        }
    }
    const double shown = Median(window);
    const double opened = Median(document);
    std::printf("start-up to a shown window: %.1f ms (target 500 ms: %s); opening the "
                "catalogue alone: %.1f ms; ratio %.1f\n",
                shown, shown < 500 ? "met" : "MISSED", opened, shown / opened);
}

void MeasureLargeFolder(const QString& catalogue)
{
    QSettings(QStringLiteral("Korvalt"), QStringLiteral("Shelfwise")).clear();
    CShelfwiseApp app;
    if (!app.InitInstance({QStringLiteral("Shelfwise"), catalogue}))
        return;
    QApplication::processEvents();
    CNavigationView& tree = app.MainFrame()->Navigation();
    CDetailsView& list = app.MainFrame()->Details();
    QTreeWidgetItem* storage = tree.FindRootItem(kStorage);
    storage->setExpanded(true);
    QTreeWidgetItem* disc = storage->child(0);
    disc->setExpanded(true);
    QTreeWidgetItem* folder = disc->child(0);

    std::vector<double> select;
    std::vector<double> query;
    int rows = 0;
    for (int run = 0; run < kRuns; ++run) {
        tree.setCurrentItem(disc);
        QElapsedTimer timer;
        timer.start();
        tree.setCurrentItem(folder);
        rows = list.Model().rowCount();
        select.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        QApplication::processEvents(); // paint, as the user would see it

        std::vector<UnitListItem> items;
        timer.restart();
        app.Document()->Database().GetSubunits(items, kFolder, false);
        query.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    const double selected = Median(select);
    const double queried = Median(query);
    std::printf("selecting a folder of %d files: %.1f ms to %d rows (target 100 ms: %s); "
                "GetSubunits alone: %.1f ms; ratio %.2f\n",
                kFiles, selected, rows, selected < 100 ? "met" : "MISSED", queried,
                selected / queried);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(config.path()));
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    QApplication app(argc, argv);
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());

    QTemporaryDir work;
    const QString sample = work.filePath(QStringLiteral("sample.db3"));
    QFile::copy(QStringLiteral(SHELFWISE_DATA_DIR "/test.db3"), sample);
    QFile::setPermissions(sample, QFile::ReadOwner | QFile::WriteOwner);
    MeasureStartUp(sample);

    const QString large = work.filePath(QStringLiteral("large-folder.db3"));
    if (!MakeLargeFolderCatalogue(large)) {
        std::fprintf(stderr, "bench_window: could not make the large catalogue\n");
        return 1;
    }
    MeasureLargeFolder(large);
    return 0;
}
