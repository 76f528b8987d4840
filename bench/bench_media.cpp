// The cost of reading the media details of one catalogued file, per category, against
// a plain stat() of the same files as the baseline. The files are made with ffmpeg in a
// temporary folder: a few formats per category, each copied until the category has
// kFilesPerCategory files, so every pass reads the same mix.

#include "acquisition/MediaDetails.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int kFilesPerCategory = 50;
constexpr int kPasses = 5;

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

// The fastest of kPasses passes over the files, in microseconds per file.
double MicrosecondsPerFile(const std::vector<QString>& files,
                           const std::function<bool(const QString&)>& work)
{
    double best = -1;
    for (int pass = 0; pass < kPasses; ++pass) {
        QElapsedTimer timer;
        timer.start();
        int done = 0;
        for (const QString& file : files)
            done += work(file) ? 1 : 0;
        const double perFile = timer.nsecsElapsed() / 1000.0 / files.size();
        if (done != static_cast<int>(files.size()))
            std::fprintf(stderr, "only %d of %zu files were read\n", done, files.size());
        best = best < 0 ? perFile : std::min(best, perFile);
    }
    return best;
}

std::vector<Category> Categories()
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

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty()) {
        std::printf("bench_media: skipped, ffmpeg is not installed (scripts/bootstrap)\n");
        return 0;
    }
    QTemporaryDir temporary;
    if (!temporary.isValid())
        return 1;
    const QDir dir(temporary.path());

    std::vector<Category> categories = Categories();
    QElapsedTimer making;
    making.start();
    for (Category& category : categories) {
        if (!MakeFiles(dir, category))
            return 1;
    }
    std::printf("bench_media: %d files per category made in %.1f s; best of %d passes\n",
                kFilesPerCategory, making.elapsed() / 1000.0, kPasses);

    const std::unique_ptr<MediaDetailsReader> reader = CreateMediaDetailsReader();
    // One untimed pass loads the image plug-ins and warms the file cache.
    for (const Category& category : categories) {
        for (const QString& file : category.files)
            reader->Read(file, category.id);
    }

    const auto statFile = [](const QString& path) {
        struct stat info;
        return ::stat(QFile::encodeName(path).constData(), &info) == 0;
    };
    std::printf("%-10s %12s %12s %10s\n", "category", "read us", "stat us", "ratio");
    for (const Category& category : categories) {
        const int id = category.id;
        const double read = MicrosecondsPerFile(category.files, [&](const QString& path) {
            return reader->Read(path, id).kind != MediaRecord::Kind::None;
        });
        const double baseline = MicrosecondsPerFile(category.files, statFile);
        std::printf("%-10s %12.1f %12.2f %9.0fx\n", category.name, read, baseline, read / baseline);
        for (const Sample& sample : category.samples) {
            const std::vector<QString> one(10, dir.filePath(sample.name));
            std::printf("  %-12s %8.1f us\n", qPrintable(sample.name),
                        MicrosecondsPerFile(one, [&](const QString& path) {
                            return reader->Read(path, id).kind != MediaRecord::Kind::None;
                        }));
        }
    }
    return 0;
}
