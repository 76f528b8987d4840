// The import of lists, against a baseline measured in the same run: reading the same list
// through its reader into a sink that keeps nothing (the parse alone). A generated
// Everything list (drives of 50 x 20 folders of 99 files, random sizes and dates) is
// imported into a new catalogue; that storage is then exported as CSV and as nested JSON
// and each export imported again. For each: the seconds, the ratio to the parse, and the
// peak memory above the program with its empty catalogue open.
//
//   bench_import_list [--drives N]     (default 10: 1,000,000 lines)
#include "BenchSupport.h"
#include "common/LocalTimeZone.h"
#include "document/DataFiles.h"
#include "document/ShelfwiseDoc.h"
#include "export/CatalogueExporter.h"
#include "export/CsvExportWriter.h"
#include "export/JsonExportWriter.h"
#include "importers/ImportJob.h"
#include "importers/ImportSink.h"
#include "importers/ListReaders.h"
#include "settings/Settings.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cstdio>

namespace {

// Counts what a reader hands over and keeps nothing.
class CountingSink final : public CImportSink
{
public:
    void BeginDisc(const QString&, const QDateTime&) override {}
    void Item(const ImportedItem&) override { ++Items; }
    qint64 Items = 0;
};

qint64 MakeEfu(const QString& path, int drives)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return 0;
    QRandomGenerator random(42);
    qint64 lines = 0;
    file.write("Filename,Size,Date Modified,Date Created,Attributes\r\n");
    for (int d = 0; d < drives; ++d) {
        for (int a = 0; a < 50; ++a) {
            for (int b = 0; b < 20; ++b) {
                const QByteArray folder = "\"E" + QByteArray::number(d) + ":\\Folder " +
                                          QByteArray::number(a) + "\\Sub " + QByteArray::number(b);
                file.write(folder + "\",0,,,16\r\n");
                ++lines;
                for (int f = 0; f < 99; ++f) {
                    const qint64 modified =
                        130000000000000000LL + random.bounded(1 << 30) * 10000000LL;
                    file.write(folder.mid(1).prepend('"') + "\\file " + QByteArray::number(f) +
                               "_" + QByteArray::number(random.bounded(1000000)) + ".txt\"," +
                               QByteArray::number(random.bounded(1000000000)) + "," +
                               QByteArray::number(modified) + "," + QByteArray::number(modified) +
                               ",32\r\n");
                    ++lines;
                }
            }
        }
    }
    return lines;
}

double ParseSeconds(const QString& path, qint64& items)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    CountingSink sink;
    QElapsedTimer timer;
    timer.start();
    ListReaders::GuessFile(path)->Read(file, sink);
    items = sink.Items;
    return timer.nsecsElapsed() / 1e9;
}

// Imports path into a new storage of doc; the seconds, or -1 when it failed.
double ImportSeconds(CShelfwiseDoc& doc, const QString& path, const QString& storage, int& id)
{
    CImportJob job(doc);
    QEventLoop loop;
    auto outcome = WorkOutcome::Failed;
    QObject::connect(&job, &CImportJob::finished, &loop, [&](WorkOutcome result) {
        outcome = result;
        loop.quit();
    });
    QElapsedTimer timer;
    timer.start();
    if (!job.Start(path, ListReaders::GuessFile(path), storage))
        return -1;
    loop.exec();
    id = job.StorageId();
    return outcome == WorkOutcome::Succeeded ? timer.nsecsElapsed() / 1e9 : -1;
}

void Export(CShelfwiseDoc& doc, int storage, const QString& path, bool json)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    CCsvExportWriter csv(file);
    CJsonExportWriter nested(file, true);
    CExportWriter& writer = json ? static_cast<CExportWriter&>(nested) : csv;
    CCatalogueExporter(doc.Database(), writer).Run(ExportScope::Storage(storage), {});
}

void Measure(CShelfwiseDoc& doc, const char* what, const QString& path, int& storage)
{
    qint64 items = 0;
    const double parse = ParseSeconds(path, items);
    BenchSupport::ResetPeakMemory();
    const qint64 base = BenchSupport::PeakMemory();
    const double import = ImportSeconds(doc, path, QString::fromLatin1(what), storage);
    const qint64 peak = BenchSupport::PeakMemory() - base;
    std::printf("%-12s %9lld items, %6.1f MB: parse %5.2f s, import %6.2f s (%4.1f x), "
                "peak %.0f MB (+%.0f MB)\n",
                what, static_cast<long long>(items), QFileInfo(path).size() / 1e6, parse, import,
                import / parse, BenchSupport::PeakMemory() / 1e6, peak / 1e6);
}

} // namespace

int main(int argc, char** argv)
{
    LocalTimeZone::PinSystemZone();
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments().mid(1);
    QTemporaryDir settings;
    qputenv("SHELFWISE_SETTINGS_DIR", QFile::encodeName(settings.path()));
    DataFiles::InstallMissing(QStringLiteral(SHELFWISE_DATA_DIR), SettingsFolder());
    Settings::Instance();
    int drives = 10;
    const qsizetype at = arguments.indexOf(QStringLiteral("--drives"));
    if (at >= 0 && at + 1 < arguments.size())
        drives = arguments[at + 1].toInt();

    QTemporaryDir work;
    const QString efu = work.filePath(QStringLiteral("drives.efu"));
    const qint64 lines = MakeEfu(efu, drives);
    std::printf("generated Everything list: %lld lines\n", static_cast<long long>(lines));

    CShelfwiseDoc doc(true);
    doc.OnNewDocument();
    int storage = 0;
    Measure(doc, "efu", efu, storage);
    const QString csv = work.filePath(QStringLiteral("export.csv"));
    const QString json = work.filePath(QStringLiteral("export.json"));
    Export(doc, storage, csv, false);
    Export(doc, storage, json, true);
    int copy = 0;
    Measure(doc, "csv", csv, copy);
    Measure(doc, "nested json", json, copy);
    return 0;
}
