#include "media/LibraryMediaReader.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>
#include <thread>

// The shared way of reading (one open, cached blocks, SVG sizes from the root) against
// the plain way, each library opening the file by its name: the records must be the
// same, field by field, for the media files installed under /usr/share (desktop sounds
// and backgrounds, icons, Tux Paint's stamps...) and for files of the formats missing
// there, made with ffmpeg.

namespace {

using Access = LibraryMediaReader::FileAccess;
using Fields = std::vector<std::pair<const char*, QString>>;

constexpr size_t kPerExtension = 80;
constexpr size_t kFilmsFromSound = 40;
constexpr size_t kFewest = 100;

struct Sample
{
    QString path;
    int categoryId;
};

int CategoryOf(const QString& extension)
{
    static const std::map<QString, int> categories = {
        {"mkv", CategoryIds::Film},     {"mp4", CategoryIds::Film},
        {"mts", CategoryIds::Film},     {"ogv", CategoryIds::Film},
        {"webm", CategoryIds::Film},    {"flac", CategoryIds::Music},
        {"mp3", CategoryIds::Music},    {"oga", CategoryIds::Music},
        {"ogg", CategoryIds::Music},    {"opus", CategoryIds::Music},
        {"wav", CategoryIds::Music},    {"bmp", CategoryIds::Picture},
        {"gif", CategoryIds::Picture},  {"ico", CategoryIds::Picture},
        {"jpeg", CategoryIds::Picture}, {"jpg", CategoryIds::Picture},
        {"png", CategoryIds::Picture},  {"svg", CategoryIds::Picture},
        {"tif", CategoryIds::Picture},  {"webp", CategoryIds::Picture}};
    const auto found = categories.find(extension.toLower());
    return found == categories.end() ? 0 : found->second;
}

std::vector<QString> Spread(std::vector<QString> paths, size_t most)
{
    std::sort(paths.begin(), paths.end());
    if (paths.size() <= most)
        return paths;
    std::vector<QString> spread;
    for (size_t i = 0; i < most; ++i)
        spread.push_back(paths[i * paths.size() / most]);
    return spread;
}

// Up to kPerExtension installed files of each extension, spread over the sorted list so
// that every package is met, and some sounds as films too, which MediaInfoLib reads.
std::vector<Sample> InstalledSamples()
{
    std::map<QString, std::vector<QString>> byExtension;
    QDirIterator it(QStringLiteral("/usr/share"), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString extension = it.fileInfo().suffix().toLower();
        if (CategoryOf(extension) != 0 && it.fileInfo().isFile())
            byExtension[extension].push_back(path);
    }
    std::vector<Sample> samples;
    std::vector<QString> sounds;
    for (const auto& [extension, all] : byExtension) {
        const int categoryId = CategoryOf(extension);
        for (const QString& path : Spread(all, kPerExtension)) {
            samples.push_back({path, categoryId});
            if (categoryId == CategoryIds::Music)
                sounds.push_back(path);
        }
    }
    for (const QString& path : Spread(sounds, kFilmsFromSound))
        samples.push_back({path, CategoryIds::Film});
    return samples;
}

// The fields of a record by name, NULL spelt out and texts quoted.
Fields FieldsOf(const MediaRecord& record)
{
    const auto n = [](const CNullable<int>& value) {
        return value.IsNull() ? QStringLiteral("NULL") : QString::number(value.Value());
    };
    const auto t = [](const CNullable<QString>& value) {
        return value.IsNull() ? QStringLiteral("NULL") : '"' + value.Value() + '"';
    };
    const FilmInfo& f = record.film;
    const MusicInfo& m = record.music;
    const PictureInfo& p = record.picture;
    return {{"kind", QString::number(static_cast<int>(record.kind))},
            {"film duration", n(f.Duration)},
            {"film width", n(f.Width)},
            {"film height", n(f.Height)},
            {"film bitrate", n(f.Bitrate)},
            {"film codec", t(f.Codec)},
            {"music duration", n(m.Duration)},
            {"music bitrate", n(m.Bitrate)},
            {"channels", n(m.ChannelsNumber)},
            {"sampling rate", n(m.SamplingRate)},
            {"artist", t(m.Artist)},
            {"title", t(m.Title)},
            {"album", t(m.Album)},
            {"year", n(m.Year)},
            {"track", n(m.TrackNumber)},
            {"genre", t(m.Genre)},
            {"comments", t(m.Comments)},
            {"picture width", n(p.Width)},
            {"picture height", n(p.Height)},
            {"horizontal dpi", n(p.HorizontalResolution)},
            {"vertical dpi", n(p.VerticalResolution)},
            {"colour depth", n(p.ColorDepth)}};
}

// Reads every sample both ways; a failure names the first few files that differ and
// their differing fields. Returns how many records were found (not Kind::None).
int ExpectSameRecordsBothWays(const std::vector<Sample>& samples)
{
    LibraryMediaReader plain(Access::ByName);
    LibraryMediaReader shared(Access::Shared);
    int found = 0;
    int differing = 0;
    for (const Sample& sample : samples) {
        const MediaRecord expected = plain.Read(sample.path, sample.categoryId);
        found += expected.kind != MediaRecord::Kind::None ? 1 : 0;
        const Fields left = FieldsOf(expected);
        const Fields right = FieldsOf(shared.Read(sample.path, sample.categoryId));
        std::string differences;
        for (size_t i = 0; i < left.size(); ++i) {
            if (left[i].second != right[i].second)
                differences += std::string("; ") + left[i].first + ": " +
                               left[i].second.toStdString() + " / " + right[i].second.toStdString();
        }
        if (!differences.empty() && ++differing <= 10)
            ADD_FAILURE() << sample.path.toStdString() << " as category " << sample.categoryId
                          << ", plain / shared" << differences;
    }
    EXPECT_EQ(differing, 0) << "of " << samples.size() << " files";
    return found;
}

} // namespace

TEST(MediaDetailsAccess, InstalledFilesGiveThePlainRecordsFieldByField)
{
    const std::vector<Sample> samples = InstalledSamples();
    if (samples.size() < kFewest)
        GTEST_SKIP() << "fewer than " << kFewest << " media files under /usr/share";
    // Most installed media files are what their names say: records are compared, not
    // empty rows.
    EXPECT_GT(ExpectSameRecordsBothWays(samples), static_cast<int>(samples.size()) * 3 / 4);
}

TEST(MediaDetailsAccess, MadeFilesOfOtherFormatsGiveThePlainRecords)
{
    if (QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty())
        GTEST_SKIP() << "ffmpeg is not installed (scripts/bootstrap installs it)";
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QStringList sound = {"-f",        "lavfi",    "-i",        "sine=duration=1",
                               "-metadata", "artist=A", "-metadata", "title=T"};
    const QStringList film = {"-f",       "lavfi", "-i", "testsrc=size=96x64:duration=1",
                              "-f",       "lavfi", "-i", "sine=duration=1",
                              "-shortest"};
    const QStringList still = {"-f", "lavfi", "-i", "testsrc=size=40x30", "-frames:v", "1"};
    // TIFF is read whole by Exiv2; WavPack and MP3 with ID3v1 keep tags at the end, which
    // TagLib reads by jumping from there; Theora and FLAC in Ogg are measured from the
    // file's last page.
    const std::vector<std::tuple<QString, QStringList, int>> made = {
        {"still.tif", still, CategoryIds::Picture},
        {"still.bmp", still, CategoryIds::Picture},
        {"still.gif", still, CategoryIds::Picture},
        {"still.tga", still, CategoryIds::Picture},
        {"song.wv", sound, CategoryIds::Music},
        {"song.mp3", sound + QStringList{"-write_id3v1", "1"}, CategoryIds::Music},
        {"song.m4a", sound, CategoryIds::Music},
        {"song.opus", sound, CategoryIds::Music},
        {"song.aiff", sound, CategoryIds::Music},
        {"song.mka", sound, CategoryIds::Music},
        {"clip.mov", film, CategoryIds::Film},
        {"clip.avi", film, CategoryIds::Film},
        {"clip.webm", film, CategoryIds::Film},
        {"clip.flv", film, CategoryIds::Film},
        // Lengths from the last Ogg page, and RIFF INFO tags.
        {"clip.ogv", film + QStringList{"-c:v", "libtheora", "-q:v", "5"}, CategoryIds::Film},
        {"song.oga", sound + QStringList{"-c:a", "flac"}, CategoryIds::Music},
        {"song.wav", sound, CategoryIds::Music},
    };
    std::vector<Sample> samples;
    for (const auto& [name, arguments, categoryId] : made) {
        const QString path = dir.filePath(name);
        QProcess ffmpeg;
        ffmpeg.start(QStringLiteral("ffmpeg"),
                     QStringList{"-v", "error", "-y", "-nostdin"} + arguments + QStringList{path});
        if (ffmpeg.waitForFinished(60000) && ffmpeg.exitCode() == 0)
            samples.push_back({path, categoryId});
    }
    ASSERT_GE(samples.size(), made.size() - 2) << "ffmpeg could not make most of the files";
    EXPECT_EQ(ExpectSameRecordsBothWays(samples), static_cast<int>(samples.size()));
}

TEST(MediaDetailsAccess, InstalledFilesReadOnTwoThreadsAgreeWithOne)
{
    const std::vector<Sample> samples = InstalledSamples();
    if (samples.size() < kFewest)
        GTEST_SKIP() << "fewer than " << kFewest << " media files under /usr/share";
    LibraryMediaReader reader;
    std::vector<Fields> expected;
    for (const Sample& sample : samples)
        expected.push_back(FieldsOf(reader.Read(sample.path, sample.categoryId)));

    // Each thread its own reader, over the same files in opposite orders, so that the
    // libraries' process-wide parts are used from two threads at once.
    std::vector<int> mismatches(2, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&, t] {
            LibraryMediaReader own;
            for (size_t n = 0; n < samples.size(); ++n) {
                const size_t i = t == 0 ? n : samples.size() - 1 - n;
                if (FieldsOf(own.Read(samples[i].path, samples[i].categoryId)) != expected[i])
                    ++mismatches[t];
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(2, 0));
}
