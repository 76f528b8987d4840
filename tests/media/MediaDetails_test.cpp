#include "media/MediaDetails.h"
#include "media/MediaJudges.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

// The media files are made at test time with ffmpeg, and what the reader returns is
// compared with what ffprobe and exiftool say of the same files.

namespace {

using Kind = MediaRecord::Kind;

// exiftool's tags of each file, numeric values, keys as "Group:Name".
std::map<QString, QJsonObject> Exiftool(const QStringList& paths)
{
    std::map<QString, QJsonObject> tags;
    const QJsonArray files = QJsonDocument::fromJson(RunTool(QStringLiteral("exiftool"),
                                                             QStringList{"-j", "-n", "-G"} + paths))
                                 .array();
    for (const QJsonValue file : files)
        tags[file.toObject().value("SourceFile").toString()] = file.toObject();
    return tags;
}

void ExpectNear(const CNullable<int>& actual, double expected, double tolerance, const char* what)
{
    ASSERT_FALSE(actual.IsNull()) << what;
    EXPECT_NEAR(actual.Value(), expected, tolerance) << what;
}

class MediaDetails : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!HaveTool("ffmpeg") || !HaveTool("ffprobe"))
            GTEST_SKIP() << "ffmpeg is not installed (scripts/bootstrap installs it)";
        ASSERT_TRUE(m_dir.isValid());
    }

    QString PathOf(const QString& name) const { return m_dir.filePath(name); }

    QString WriteFile(const QString& name, const QByteArray& bytes) const
    {
        QFile file(PathOf(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

    // A three-second stereo tone with a full set of tags.
    QString MakeSong(const QString& name, const QStringList& codec) const
    {
        const QString path = PathOf(name);
        Ffmpeg(QStringList{"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=44100:duration=3",
                           "-ac", "2"} +
                   codec +
                   QStringList{"-metadata", QStringLiteral("artist=Žluťoučký kůň"), "-metadata",
                               "title=Tone Poem", "-metadata", "album=Test Signals", "-metadata",
                               "date=2019", "-metadata", "track=7", "-metadata", "genre=Jazz",
                               "-metadata", "comment=made by the test"},
               path);
        return path;
    }

    QTemporaryDir m_dir;
    std::unique_ptr<MediaDetailsReader> m_reader = CreateMediaDetailsReader();
};

void ExpectMusicMatchesProbe(const MediaRecord& record, const QJsonObject& probe)
{
    ASSERT_EQ(record.kind, Kind::Music);
    const MusicInfo& music = record.music;
    const QJsonObject audio = FirstStream(probe, "audio");
    const QJsonObject format = probe.value("format").toObject();
    ExpectNear(music.Duration, Number(format, "duration"), 1, "duration");
    const double bitRate =
        audio.contains("bit_rate") ? Number(audio, "bit_rate") : Number(format, "bit_rate");
    ExpectNear(music.Bitrate, bitRate / 1000, bitRate / 1000 * 0.05 + 1, "bitrate");
    EXPECT_EQ(Str(music.ChannelsNumber), std::to_string(audio.value("channels").toInt()));
    EXPECT_EQ(Str(music.SamplingRate), std::to_string(int(Number(audio, "sample_rate"))));
    EXPECT_EQ(Str(music.Artist), Tag(probe, "artist").toStdString());
    EXPECT_EQ(Str(music.Title), Tag(probe, "title").toStdString());
    EXPECT_EQ(Str(music.Album), Tag(probe, "album").toStdString());
    EXPECT_EQ(Str(music.Year), Tag(probe, "date").left(4).toStdString());
    EXPECT_EQ(Str(music.TrackNumber), Tag(probe, "track").toStdString());
    EXPECT_EQ(Str(music.Genre), Tag(probe, "genre").toStdString());
    EXPECT_EQ(Str(music.Comments), Tag(probe, "comment").toStdString());
}

} // namespace

TEST_F(MediaDetails, MusicFactsAndTagsAgreeWithFfprobe)
{
    // An MP3 under a name that is not ASCII: TagLib reads it.
    const QString mp3 =
        MakeSong(QStringLiteral("Píseň č. 7.mp3"), {"-c:a", "libmp3lame", "-b:a", "128k"});
    ExpectMusicMatchesProbe(m_reader->Read(mp3, CategoryIds::Music), Ffprobe(mp3));
    EXPECT_EQ(Str(m_reader->Read(mp3, CategoryIds::Music).music.Artist), "Žluťoučký kůň");

    // Matroska audio, which TagLib does not know: MediaInfoLib reads it instead.
    const QString mka = MakeSong(QStringLiteral("tone.mka"), {"-c:a", "flac"});
    ExpectMusicMatchesProbe(m_reader->Read(mka, CategoryIds::Music), Ffprobe(mka));

    // A song without tags leaves the tag columns NULL.
    const QString bare = PathOf(QStringLiteral("bare.mp3"));
    ASSERT_TRUE(Ffmpeg({"-f", "lavfi", "-i", "sine=duration=1", "-c:a", "libmp3lame"}, bare));
    const MediaRecord plain = m_reader->Read(bare, CategoryIds::Music);
    ASSERT_EQ(plain.kind, Kind::Music);
    EXPECT_EQ(Str(plain.music.Artist), "NULL");
    EXPECT_EQ(Str(plain.music.Year), "NULL");
    EXPECT_EQ(Str(plain.music.TrackNumber), "NULL");
    EXPECT_EQ(Str(plain.music.Comments), "NULL");
    EXPECT_EQ(Str(plain.music.ChannelsNumber), "1");
}

TEST_F(MediaDetails, FilmFactsAgreeWithFfprobe)
{
    // The codec is named as MediaInfoLib names the format.
    const std::map<QString, std::string> formatOf = {{"h264", "AVC"}, {"mpeg4", "MPEG-4 Visual"}};

    // MP4 tells the video stream's own bitrate.
    const QString mp4 = PathOf(QStringLiteral("clip.mp4"));
    const QStringList source = {"-f", "lavfi", "-i", "testsrc=size=320x240:rate=25:duration=2"};
    ASSERT_TRUE(Ffmpeg(source + QStringList{"-c:v", "libx264", "-pix_fmt", "yuv420p"}, mp4));
    QJsonObject probe = Ffprobe(mp4);
    QJsonObject video = FirstStream(probe, "video");
    MediaRecord record = m_reader->Read(mp4, CategoryIds::Film);
    ASSERT_EQ(record.kind, Kind::Film);
    EXPECT_EQ(Str(record.film.Width), "320");
    EXPECT_EQ(Str(record.film.Height), "240");
    ExpectNear(record.film.Duration, Number(probe.value("format").toObject(), "duration"), 0.5,
               "duration");
    ExpectNear(record.film.Bitrate, Number(video, "bit_rate") / 1000, 2, "bitrate");
    EXPECT_EQ(Str(record.film.Codec), formatOf.at(video.value("codec_name").toString()));

    // Matroska and MPEG-TS do not store a stream's bitrate: it is MediaInfoLib's estimate
    // of the video stream's or, where it has none, the whole file's rate. For a silent
    // film both are close to the file's rate; with sound, no more than it.
    for (const QString name : {"silent.mkv", "sound.ts"}) {
        SCOPED_TRACE(name.toStdString());
        const bool sound = name.startsWith("sound");
        const QString path = PathOf(name);
        QStringList arguments = {"-f", "lavfi", "-i", "testsrc=size=176x144:rate=25:duration=3"};
        if (sound)
            arguments += QStringList{"-f", "lavfi", "-i", "sine=duration=3", "-c:a", "mp2"};
        ASSERT_TRUE(Ffmpeg(arguments + QStringList{"-c:v", "mpeg4", "-shortest"}, path));
        probe = Ffprobe(path);
        record = m_reader->Read(path, CategoryIds::Film);
        ASSERT_EQ(record.kind, Kind::Film);
        EXPECT_EQ(Str(record.film.Width), "176");
        EXPECT_EQ(Str(record.film.Height), "144");
        const QJsonObject format = probe.value("format").toObject();
        ExpectNear(record.film.Duration, Number(format, "duration"), 0.5, "duration");
        const double kilobits = Number(format, "bit_rate") / 1000;
        if (sound) {
            ASSERT_FALSE(record.film.Bitrate.IsNull());
            EXPECT_GT(record.film.Bitrate.Value(), 0);
            EXPECT_LE(record.film.Bitrate.Value(), kilobits * 1.05);
        } else {
            ExpectNear(record.film.Bitrate, kilobits, kilobits * 0.1, "bitrate");
        }
        EXPECT_EQ(Str(record.film.Codec), "MPEG-4 Visual");
    }
}

TEST_F(MediaDetails, PictureFactsAgreeWithExiftool)
{
    if (!HaveTool("exiftool"))
        GTEST_SKIP() << "exiftool is not installed (scripts/bootstrap installs it)";
    const auto make = [&](const QString& name, const QString& size, const QString& pixels,
                          const QStringList& tags) {
        const QString path = PathOf(name);
        Ffmpeg({"-f", "lavfi", "-i", "testsrc=size=" + size, "-frames:v", "1", "-pix_fmt", pixels},
               path);
        if (!tags.isEmpty())
            RunTool(QStringLiteral("exiftool"),
                    QStringList{"-q", "-overwrite_original"} + tags + QStringList{path});
        return path;
    };
    const QStringList inches = {"-EXIF:XResolution=300", "-EXIF:YResolution=150",
                                "-EXIF:ResolutionUnit=inches"};
    const QStringList pictures = {
        make("exif.jpg", "80x60", "yuvj444p", inches),
        make("exif.png", "64x48", "rgb24", inches),
        make("centimetres.jpg", "40x30", "yuvj420p",
             {"-EXIF:XResolution=100", "-EXIF:YResolution=100", "-EXIF:ResolutionUnit=cm"}),
        make("jfif.jpg", "33x17", "gray",
             {"-JFIF:XResolution=96", "-JFIF:YResolution=72", "-JFIF:ResolutionUnit=inches"}),
        make("plain.jpg", "16x16", "yuvj420p", {}),
        make("alpha.png", "20x10", "rgba", {}),
        make("grey.png", "20x10", "gray", {}),
        make("deep.png", "20x10", "rgb48be", {}),
    };

    const std::map<QString, QJsonObject> exiftool = Exiftool(pictures);
    for (const QString& path : pictures) {
        SCOPED_TRACE(path.toStdString());
        ASSERT_EQ(exiftool.count(path), 1u);
        const QJsonObject& tags = exiftool.at(path);
        const MediaRecord record = m_reader->Read(path, CategoryIds::Picture);
        ASSERT_EQ(record.kind, Kind::Picture);
        const PictureInfo& picture = record.picture;
        const bool png = tags.contains("PNG:ImageWidth");
        const QString group = png ? QStringLiteral("PNG:") : QStringLiteral("File:");
        EXPECT_EQ(Str(picture.Width), std::to_string(tags.value(group + "ImageWidth").toInt()));
        EXPECT_EQ(Str(picture.Height), std::to_string(tags.value(group + "ImageHeight").toInt()));

        // Exif resolution units: 2 inches, 3 centimetres; JFIF: 1 inches, 2 centimetres.
        std::string x = "NULL";
        std::string y = "NULL";
        if (tags.contains("EXIF:XResolution")) {
            const double scale = tags.value("EXIF:ResolutionUnit").toInt() == 3 ? 2.54 : 1;
            x = std::to_string(std::lround(tags.value("EXIF:XResolution").toDouble() * scale));
            y = std::to_string(std::lround(tags.value("EXIF:YResolution").toDouble() * scale));
        } else if (tags.value("JFIF:ResolutionUnit").toInt() == 1) {
            x = std::to_string(tags.value("JFIF:XResolution").toInt());
            y = std::to_string(tags.value("JFIF:YResolution").toInt());
        }
        EXPECT_EQ(Str(picture.HorizontalResolution), x);
        EXPECT_EQ(Str(picture.VerticalResolution), y);

        // PNG colour types: 0 grey, 2 RGB, 4 grey and alpha, 6 RGB and alpha.
        const std::map<int, int> pngChannels = {{0, 1}, {2, 3}, {4, 2}, {6, 4}};
        const int depth = png ? tags.value("PNG:BitDepth").toInt() *
                                    pngChannels.at(tags.value("PNG:ColorType").toInt())
                              : tags.value("File:BitsPerSample").toInt() *
                                    tags.value("File:ColorComponents").toInt();
        EXPECT_EQ(Str(picture.ColorDepth), std::to_string(depth));
    }
}

TEST_F(MediaDetails, UnreadableFilesAndOtherCategoriesGiveNoRecord)
{
    const QString mp3 = MakeSong(QStringLiteral("song.mp3"), {"-c:a", "libmp3lame"});
    const QString mp4 = PathOf(QStringLiteral("clip.mp4"));
    ASSERT_TRUE(
        Ffmpeg({"-f", "lavfi", "-i", "testsrc=size=64x48:duration=2", "-c:v", "mpeg4"}, mp4));
    QFile song(mp3);
    ASSERT_TRUE(song.open(QIODevice::ReadOnly));
    QFile clip(mp4);
    ASSERT_TRUE(clip.open(QIODevice::ReadOnly));
    const QByteArray text("This is a note, not a medium.\n");

    const std::vector<std::pair<QString, int>> cases = {
        // cut off inside its ID3 tag, before any audio
        {WriteFile("cut.mp3", song.read(100)), CategoryIds::Music},
        // cut off before the index that ffmpeg writes at the end
        {WriteFile("cut.mp4", clip.read(clip.size() / 2)), CategoryIds::Film},
        {WriteFile("note.mkv", text), CategoryIds::Film},
        {WriteFile("note.mp3", text), CategoryIds::Music},
        {WriteFile("zeros.mp3", QByteArray(1 << 20, '\0')), CategoryIds::Music},
        {WriteFile("note.png", text), CategoryIds::Picture},
        {WriteFile("empty.jpg", QByteArray()), CategoryIds::Picture},
        {WriteFile("empty.mp4", QByteArray()), CategoryIds::Film},
        {PathOf("missing.mp3"), CategoryIds::Music},
        {PathOf("missing.avi"), CategoryIds::Film},
        {PathOf("missing.jpg"), CategoryIds::Picture},
        {m_dir.path(), CategoryIds::Film},
        {m_dir.path(), CategoryIds::Music},
        {m_dir.path(), CategoryIds::Picture},
        // a good file outside the three media categories
        {mp3, CategoryIds::General},
        {mp3, 5},
        {mp4, CategoryIds::All},
    };
    for (const auto& [path, category] : cases) {
        const MediaRecord record = m_reader->Read(path, category);
        EXPECT_EQ(record.kind, Kind::None)
            << QDir(m_dir.path()).relativeFilePath(path).toStdString() << " as category "
            << category;
    }
    // The reader is still good after them.
    EXPECT_EQ(m_reader->Read(mp3, CategoryIds::Music).kind, Kind::Music);
    EXPECT_EQ(m_reader->Read(mp4, CategoryIds::Film).kind, Kind::Film);
}

TEST_F(MediaDetails, ReadersOnSeparateThreadsAgreeWithOneThread)
{
    const QString mp3 = MakeSong(QStringLiteral("song.mp3"), {"-c:a", "libmp3lame"});
    const QString mp4 = PathOf(QStringLiteral("clip.mp4"));
    ASSERT_TRUE(
        Ffmpeg({"-f", "lavfi", "-i", "testsrc=size=64x48:duration=1", "-c:v", "mpeg4"}, mp4));
    const QString png = PathOf(QStringLiteral("still.png"));
    ASSERT_TRUE(Ffmpeg({"-f", "lavfi", "-i", "testsrc=size=32x24", "-frames:v", "1"}, png));

    const auto summary = [&](MediaDetailsReader& reader) {
        const MediaRecord music = reader.Read(mp3, CategoryIds::Music);
        const MediaRecord film = reader.Read(mp4, CategoryIds::Film);
        const MediaRecord picture = reader.Read(png, CategoryIds::Picture);
        return Str(music.music.Duration) + Str(music.music.Artist) + Str(film.film.Width) +
               Str(film.film.Codec) + Str(picture.picture.Width) + Str(picture.picture.ColorDepth);
    };
    const std::string expected = summary(*m_reader);
    std::vector<int> mismatches(3, 0);
    std::vector<std::thread> threads;
    for (int& count : mismatches) {
        threads.emplace_back([&summary, &expected, &count] {
            const std::unique_ptr<MediaDetailsReader> reader = CreateMediaDetailsReader();
            for (int i = 0; i < 10; ++i)
                count += summary(*reader) == expected ? 0 : 1;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(3, 0)) << "expected " << expected;
}
