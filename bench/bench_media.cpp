// The cost of reading the media details of one catalogued file, per category, in two
// ways measured in the same run: "plain", each library opening the file by its name (the
// way the readers worked before they shared one open file), and "shared", the readers'
// way now (one open, cached blocks, SVG sizes from the root element). A stat() of the
// same files is the floor.
//
// Two sets of files: made with ffmpeg in a temporary folder (a few formats per category,
// each copied until the category has kFilesPerCategory files), and the media files
// installed under /usr/share (sounds and pictures of the desktop, icons, Tux Paint), up
// to kInstalledPerCategory per category, spread evenly over the sorted list.
//
// bench_media --once plain|shared [REPEATS] [EXTENSION] reads the installed set (or its
// files of one extension) once, or REPEATS times, and stops: for `strace -c -f` to count
// the system calls per file, or for a profiler.

#include "media/LibraryMediaReader.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <thread>
#include <vector>

namespace {

using Access = LibraryMediaReader::FileAccess;

constexpr int kFilesPerCategory = 50;
constexpr int kInstalledPerCategory = 3000;
constexpr int kPasses = 5;
constexpr int kInstalledPasses = 3;

struct Sample
{
    QString name; // file name of the original; copies add a number
    QStringList arguments;
};

struct Category
{
    const char* name;
    int id;
    std::vector<Sample> samples;
    std::vector<QString> files;
};

bool Ffmpeg(const QStringList& arguments, const QString& output)
{
    QProcess process;
    process.start(QStringLiteral("ffmpeg"),
                  QStringList{"-v", "error", "-y", "-nostdin"} + arguments + QStringList{output});
    if (!process.waitForFinished(120000) || process.exitCode() != 0) {
        std::fprintf(stderr, "ffmpeg failed for %s: %s\n", qPrintable(output),
                     process.readAllStandardError().constData());
        return false;
    }
    return true;
}

// Makes each sample once, then copies them round-robin up to kFilesPerCategory.
bool MakeFiles(const QDir& dir, Category& category)
{
    std::vector<QString> originals;
    for (const Sample& sample : category.samples) {
        const QString path = dir.filePath(sample.name);
        if (!Ffmpeg(sample.arguments, path))
            return false;
        originals.push_back(path);
    }
    for (int i = 0; i < kFilesPerCategory; ++i) {
        const QString& original = originals[i % originals.size()];
        if (i < static_cast<int>(originals.size())) {
            category.files.push_back(original);
            continue;
        }
        const QString copy =
            dir.filePath(QStringLiteral("%1-%2").arg(i).arg(QFileInfo(original).fileName()));
        if (!QFile::copy(original, copy))
            return false;
        category.files.push_back(copy);
    }
    return true;
}

std::vector<Category> MadeCategories()
{
    const QStringList tone = {"-f", "lavfi", "-i", "sine=frequency=440:duration=30", "-ac", "2"};
    const QStringList tags = {"-metadata", "artist=Bench",  "-metadata", "title=Tone",
                              "-metadata", "album=Signals", "-metadata", "track=3"};
    const QStringList film = {"-f",       "lavfi", "-i", "testsrc=size=640x360:rate=25:duration=10",
                              "-f",       "lavfi", "-i", "sine=duration=10",
                              "-shortest"};
    const QStringList x264 = {"-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"};
    const QStringList picture = {"-f", "lavfi", "-i", "testsrc=size=1920x1080", "-frames:v", "1"};
    return {
        {"Film",
         CategoryIds::Film,
         {{"film.mp4", film + x264 + QStringList{"-c:a", "aac"}},
          {"film.mkv", film + QStringList{"-c:v", "mpeg4", "-c:a", "libmp3lame"}},
          {"film.avi", film + QStringList{"-c:v", "mpeg4", "-c:a", "libmp3lame"}},
          {"film.mpg", film + QStringList{"-c:v", "mpeg2video", "-c:a", "mp2"}},
          {"film.ts", film + x264 + QStringList{"-c:a", "aac"}}},
         {}},
        {"Music",
         CategoryIds::Music,
         {{"cbr.mp3", tone + tags + QStringList{"-c:a", "libmp3lame", "-b:a", "192k"}},
          {"vbr.mp3", tone + tags + QStringList{"-c:a", "libmp3lame", "-q:a", "4"}},
          {"song.m4a", tone + tags + QStringList{"-c:a", "aac"}},
          {"song.flac", tone + tags + QStringList{"-c:a", "flac"}},
          {"song.mka", tone + tags + QStringList{"-c:a", "libvorbis"}}},
         {}},
        {"Picture",
         CategoryIds::Picture,
         {{"photo.jpg", picture + QStringList{"-q:v", "3"}},
          {"scan.png", picture},
          {"alpha.png", picture + QStringList{"-pix_fmt", "rgba"}},
          {"image.bmp", picture},
          {"image.gif", picture}},
         {}},
    };
}

// The default extensions of the three media categories in a new catalogue.
int CategoryOfExtension(const QString& extension)
{
    static const std::map<QString, int> categories = [] {
        std::map<QString, int> map;
        for (const char* film : {"3gp", "asf", "avi", "divx", "flv", "m2ts", "m4v", "mkv", "mov",
                                 "mp4", "mpeg", "mpg", "mts", "ogv", "ts", "vob", "webm", "wmv"})
            map[QString::fromLatin1(film)] = CategoryIds::Film;
        for (const char* music :
             {"aac", "aif", "aiff", "ape", "flac", "m4a", "mid", "midi", "mka", "mp2", "mp3", "mpc",
              "oga", "ogg", "opus", "ra", "wav", "wma", "wv"})
            map[QString::fromLatin1(music)] = CategoryIds::Music;
        for (const char* picture :
             {"bmp", "cr2", "dng", "gif", "heic", "ico", "jpe", "jpeg", "jpg", "nef", "pcx", "png",
              "psd", "svg", "tga", "tif", "tiff", "webp"})
            map[QString::fromLatin1(picture)] = CategoryIds::Picture;
        return map;
    }();
    const auto found = categories.find(extension.toLower());
    return found == categories.end() ? 0 : found->second;
}

// The installed media files, at most kInstalledPerCategory per category.
std::vector<Category> InstalledCategories()
{
    std::vector<Category> categories = {
        {"Film", CategoryIds::Film, {}, {}},
        {"Music", CategoryIds::Music, {}, {}},
        {"Picture", CategoryIds::Picture, {}, {}},
    };
    QDirIterator it(QStringLiteral("/usr/share"), QDir::Files | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const int id = CategoryOfExtension(it.fileInfo().suffix());
        for (Category& category : categories) {
            if (category.id == id && it.fileInfo().isFile())
                category.files.push_back(path);
        }
    }
    for (Category& category : categories) {
        std::sort(category.files.begin(), category.files.end());
        const size_t all = category.files.size();
        if (all <= static_cast<size_t>(kInstalledPerCategory))
            continue;
        std::vector<QString> spread;
        for (size_t i = 0; i < static_cast<size_t>(kInstalledPerCategory); ++i)
            spread.push_back(category.files[i * all / kInstalledPerCategory]);
        category.files.swap(spread);
    }
    return categories;
}

// The fastest of passes over the files, in microseconds per file.
double MicrosecondsPerFile(const std::vector<QString>& files, int passes,
                           const std::function<void(const QString&)>& work)
{
    double best = -1;
    for (int pass = 0; pass < passes; ++pass) {
        QElapsedTimer timer;
        timer.start();
        for (const QString& file : files)
            work(file);
        const double perFile = timer.nsecsElapsed() / 1000.0 / files.size();
        best = best < 0 ? perFile : std::min(best, perFile);
    }
    return best;
}

QString Describe(const MediaRecord& record)
{
    const auto number = [](const CNullable<int>& value) {
        return value.IsNull() ? QStringLiteral("-") : QString::number(value.Value());
    };
    const auto text = [](const CNullable<QString>& value) {
        return value.IsNull() ? QStringLiteral("-") : value.Value();
    };
    const FilmInfo& f = record.film;
    const MusicInfo& m = record.music;
    const PictureInfo& p = record.picture;
    return QStringList{QString::number(static_cast<int>(record.kind)),
                       number(f.Duration),
                       number(f.Width),
                       number(f.Height),
                       number(f.Bitrate),
                       text(f.Codec),
                       number(m.Duration),
                       number(m.Bitrate),
                       number(m.ChannelsNumber),
                       number(m.SamplingRate),
                       text(m.Artist),
                       text(m.Title),
                       text(m.Album),
                       number(m.Year),
                       number(m.TrackNumber),
                       text(m.Genre),
                       text(m.Comments),
                       number(p.Width),
                       number(p.Height),
                       number(p.HorizontalResolution),
                       number(p.VerticalResolution),
                       number(p.ColorDepth)}
        .join(QLatin1Char('|'));
}

// The files split between two threads, each with its own shared reader: files/s of both
// together, the best of passes.
double FilesPerSecondOnTwoThreads(const std::vector<QString>& files, int categoryId, int passes)
{
    LibraryMediaReader readers[2];
    double best = 0;
    for (int pass = 0; pass < passes; ++pass) {
        QElapsedTimer timer;
        timer.start();
        std::thread other([&] {
            for (size_t i = 1; i < files.size(); i += 2)
                readers[1].Read(files[i], categoryId);
        });
        for (size_t i = 0; i < files.size(); i += 2)
            readers[0].Read(files[i], categoryId);
        other.join();
        best = std::max(best, files.size() * 1e9 / timer.nsecsElapsed());
    }
    return best;
}

// Both ways over the files of each category; per extension too when byExtension.
void Compare(std::vector<Category>& categories, int passes, bool byExtension)
{
    LibraryMediaReader plain(Access::ByName);
    LibraryMediaReader shared(Access::Shared);
    const auto statFile = [](const QString& path) {
        struct stat info;
        ::stat(QFile::encodeName(path).constData(), &info);
    };
    std::printf("%-10s %6s %10s %10s %10s %10s %8s %8s %6s\n", "category", "files", "plain us",
                "shared us", "plain f/s", "shared f/s", "speed-up", "stat us", "differ");
    for (const Category& category : categories) {
        if (category.files.empty()) {
            std::printf("%-10s %6d  (none found)\n", category.name, 0);
            continue;
        }
        const int id = category.id;
        // An untimed pass each warms the file cache and loads the image plug-ins; it
        // also checks that both ways give the same records.
        int differ = 0;
        for (const QString& file : category.files)
            differ += Describe(plain.Read(file, id)) == Describe(shared.Read(file, id)) ? 0 : 1;
        const auto row = [&](const char* name, const std::vector<QString>& files, int mismatches) {
            const double byName = MicrosecondsPerFile(
                files, passes, [&](const QString& path) { plain.Read(path, id); });
            const double one = MicrosecondsPerFile(
                files, passes, [&](const QString& path) { shared.Read(path, id); });
            const double floor = MicrosecondsPerFile(files, passes, statFile);
            std::printf("%-10s %6zu %10.1f %10.1f %10.0f %10.0f %7.2fx %8.2f %6d\n", name,
                        files.size(), byName, one, 1e6 / byName, 1e6 / one, byName / one, floor,
                        mismatches);
        };
        row(category.name, category.files, differ);
        std::printf("  shared on 2 threads, a reader each: %.0f files/s\n",
                    FilesPerSecondOnTwoThreads(category.files, id, passes));
        if (!byExtension)
            continue;
        std::map<QString, std::vector<QString>> extensions;
        for (const QString& file : category.files)
            extensions[QFileInfo(file).suffix().toLower()].push_back(file);
        for (const auto& [extension, files] : extensions) {
            const QByteArray label = ("  ." + extension).toUtf8();
            row(label.constData(), files, -1);
        }
    }
}

int ReadOnce(const QString& mode, int repeats, const QString& extension)
{
    const Access access = mode == QLatin1String("plain") ? Access::ByName : Access::Shared;
    std::vector<Category> categories = InstalledCategories();
    LibraryMediaReader reader(access);
    int files = 0;
    int found = 0;
    for (int repeat = 0; repeat < repeats; ++repeat) {
        for (const Category& category : categories) {
            for (const QString& file : category.files) {
                if (!extension.isEmpty() && QFileInfo(file).suffix().toLower() != extension)
                    continue;
                ++files;
                found += reader.Read(file, category.id).kind != MediaRecord::Kind::None ? 1 : 0;
            }
        }
    }
    std::printf("bench_media --once %s: %d files read, %d with details\n", qPrintable(mode), files,
                found);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() >= 3 && arguments.at(1) == QLatin1String("--once"))
        return ReadOnce(arguments.at(2), std::max(1, arguments.value(3).toInt()),
                        arguments.value(4));

    std::vector<Category> installed = InstalledCategories();
    std::printf("bench_media: installed media under /usr/share, up to %d per category, best of %d "
                "passes\n",
                kInstalledPerCategory, kInstalledPasses);
    Compare(installed, kInstalledPasses, true);

    if (QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty()) {
        std::printf(
            "bench_media: made files skipped, ffmpeg is not installed (scripts/bootstrap)\n");
        return 0;
    }
    QTemporaryDir temporary;
    if (!temporary.isValid())
        return 1;
    const QDir dir(temporary.path());
    std::vector<Category> made = MadeCategories();
    QElapsedTimer making;
    making.start();
    for (Category& category : made) {
        if (!MakeFiles(dir, category))
            return 1;
    }
    std::printf("\nbench_media: %d made files per category (%.1f s to make), best of %d passes\n",
                kFilesPerCategory, making.elapsed() / 1000.0, kPasses);
    Compare(made, kPasses, true);
    return 0;
}
