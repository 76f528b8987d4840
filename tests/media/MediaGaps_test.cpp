#include "media/MediaDetails.h"
#include "media/MediaJudges.h"

#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <taglib/id3v2tag.h>
#include <taglib/wavfile.h>

#include <gtest/gtest.h>

#include <cmath>

// The values that only the files' own headers hold: picture depths and resolutions of PNG,
// BMP, GIF and WebP, WAV files' RIFF INFO tags, Vorbis' stated bitrate, and the length of
// Ogg files whose headers do not tell it (Theora, FLAC in Ogg). The files are made here
// with ffmpeg, Qt's image writers or by hand, and compared with exiftool and ffprobe.

namespace {

using Kind = MediaRecord::Kind;

// exiftool's tags of one file, numeric values, keys as "Group:Name".
QJsonObject Exiftool(const QString& path)
{
    const QJsonArray files =
        QJsonDocument::fromJson(RunTool(QStringLiteral("exiftool"), {"-j", "-n", "-G", "-a", path}))
            .array();
    return files.isEmpty() ? QJsonObject() : files.first().toObject();
}

QJsonObject ProbeFormat(const QString& path)
{
    return Ffprobe(path).value("format").toObject();
}

std::string Rounded(double value)
{
    return std::to_string(std::lround(value));
}

class MediaGaps : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (const char* tool : {"ffmpeg", "ffprobe", "exiftool"}) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
                GTEST_SKIP() << tool << " is not installed (scripts/bootstrap installs it)";
        }
        ASSERT_TRUE(m_dir.isValid());
    }

    QString PathOf(const QString& name) const { return m_dir.filePath(name); }

    QString Ffmpeg(const QString& name, const QStringList& arguments) const
    {
        const QString path = PathOf(name);
        RunTool(QStringLiteral("ffmpeg"),
                QStringList{"-v", "error", "-y", "-nostdin"} + arguments + QStringList{path});
        return path;
    }

    QString Write(const QString& name, const QByteArray& bytes) const
    {
        QFile file(PathOf(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

    // A picture written by Qt with the given resolution in dots per metre.
    QString WriteWithQt(const QString& name, QImage::Format format, int dotsPerMetreX,
                        int dotsPerMetreY) const
    {
        QImage image(24, 16, format);
        image.fill(QColor(40, 90, 200, 128));
        image.setDotsPerMeterX(dotsPerMetreX);
        image.setDotsPerMeterY(dotsPerMetreY);
        const QString path = PathOf(name);
        QImageWriter writer(path);
        EXPECT_TRUE(writer.write(image)) << writer.errorString().toStdString();
        return path;
    }

    MediaRecord Read(const QString& path, int categoryId) const
    {
        return m_reader->Read(path, categoryId);
    }

    QTemporaryDir m_dir;
    std::unique_ptr<MediaDetailsReader> m_reader = CreateMediaDetailsReader();
};

// A 2x1 GIF whose global colour table has 2^(bits) entries, written byte by byte.
QByteArray HandMadeGif(int bits)
{
    QByteArray gif("GIF89a");
    gif += QByteArray::fromHex("0200"
                               "0100");    // logical screen 2 x 1
    gif += char(0x80 | 0x70 | (bits - 1)); // global table, 8-bit source, its size
    gif += QByteArray::fromHex("0000");
    gif += QByteArray(3 << bits, '\x7f');
    gif += QByteArray::fromHex("2c"
                               "0000"
                               "0000"
                               "0200"
                               "0100"
                               "00"); // image descriptor
    gif += QByteArray::fromHex("02"
                               "02"
                               "4400"
                               "00"
                               "3b"); // two pixels of colour 0, end
    return gif;
}

} // namespace

TEST_F(MediaGaps, PictureDepthsAndResolutionsAreTheHeadersOwn)
{
    const QStringList still = {"-f", "lavfi", "-i", "testsrc=size=40x30", "-frames:v", "1"};
    struct Case
    {
        QString path;
        std::string depth; // what exiftool says the file stores
        std::string dpiX;
        std::string dpiY;
    };
    std::vector<Case> cases;
    // PNG: bit depth times the samples of the colour type; pHYs in pixels per metre.
    const std::map<int, int> pngSamples = {{0, 1}, {2, 3}, {3, 1}, {4, 2}, {6, 4}};
    for (const QString& path :
         {Ffmpeg("grey-alpha.png", still + QStringList{"-pix_fmt", "ya8"}),
          Ffmpeg("grey-alpha16.png", still + QStringList{"-pix_fmt", "ya16be"}),
          Ffmpeg("palette.png", still + QStringList{"-pix_fmt", "pal8"}),
          WriteWithQt("72dpi.png", QImage::Format_RGB32, 2835, 2835),
          WriteWithQt("96x300dpi.png", QImage::Format_ARGB32, 3780, 11811)}) {
        const QJsonObject tags = Exiftool(path);
        const int depth =
            tags.value("PNG:BitDepth").toInt() * pngSamples.at(tags.value("PNG:ColorType").toInt());
        std::string x = "NULL";
        std::string y = "NULL";
        if (tags.value("PNG:PixelUnits").toInt() == 1) { // metres; 0: aspect only
            x = Rounded(tags.value("PNG:PixelsPerUnitX").toDouble() * 0.0254);
            y = Rounded(tags.value("PNG:PixelsPerUnitY").toDouble() * 0.0254);
        }
        cases.push_back({path, std::to_string(depth), x, y});
    }
    EXPECT_EQ(cases[0].depth, "16"); // exiftool agrees that grey and alpha is 2 x 8 bits
    EXPECT_EQ(cases[4].dpiY, "300");

    // BMP: the stored bits per pixel and pixels per metre (0 when not written).
    for (const QString& path : {Ffmpeg("plain.bmp", still),
                                Ffmpeg("palette.bmp", still + QStringList{"-pix_fmt", "pal8"}),
                                WriteWithQt("96dpi.bmp", QImage::Format_RGB32, 3780, 3780),
                                WriteWithQt("72x96dpi.bmp", QImage::Format_ARGB32, 2835, 3780),
                                Ffmpeg("alpha.bmp", still + QStringList{"-pix_fmt", "bgra"})}) {
        const QJsonObject tags = Exiftool(path);
        const auto dpi = [&tags](const char* key) {
            const double perMetre = tags.value(key).toDouble();
            return perMetre > 0 ? Rounded(perMetre * 0.0254) : std::string("NULL");
        };
        cases.push_back({path, std::to_string(tags.value("File:BitDepth").toInt()),
                         dpi("File:PixelsPerMeterX"), dpi("File:PixelsPerMeterY")});
    }
    EXPECT_EQ(cases.back().depth, "32");

    // GIF: the bits per pixel of the logical screen, ffmpeg's 256 colours or a small table.
    for (const QString& path : {Ffmpeg("still.gif", still), Write("four.gif", HandMadeGif(2))}) {
        cases.push_back({path, std::to_string(Exiftool(path).value("GIF:BitsPerPixel").toInt()),
                         "NULL", "NULL"});
    }
    EXPECT_EQ(cases.back().depth, "2");

    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.path.toStdString());
        const MediaRecord record = Read(expected.path, CategoryIds::Picture);
        ASSERT_EQ(record.kind, Kind::Picture);
        EXPECT_EQ(Str(record.picture.ColorDepth), expected.depth);
        EXPECT_EQ(Str(record.picture.HorizontalResolution), expected.dpiX);
        EXPECT_EQ(Str(record.picture.VerticalResolution), expected.dpiY);
    }
}

TEST_F(MediaGaps, WebPAndSvgGetPictureRows)
{
    // WebP: 24 bits, 32 with alpha; ffprobe names the decoded pixels with or without it.
    if (QImageWriter::supportedImageFormats().contains("webp")) {
        const std::vector<QString> webps = {
            Ffmpeg("lossy.webp", {"-f", "lavfi", "-i", "testsrc=size=40x30", "-frames:v", "1"}),
            WriteWithQt("alpha.webp", QImage::Format_ARGB32, 3780, 3780)};
        for (const QString& path : webps) {
            SCOPED_TRACE(path.toStdString());
            const QJsonObject stream = Ffprobe(path).value("streams").toArray().at(0).toObject();
            const bool alpha = stream.value("pix_fmt").toString().contains('a');
            const MediaRecord record = Read(path, CategoryIds::Picture);
            ASSERT_EQ(record.kind, Kind::Picture);
            EXPECT_EQ(Str(record.picture.Width), std::to_string(stream.value("width").toInt()));
            EXPECT_EQ(Str(record.picture.ColorDepth), alpha ? "32" : "24");
        }
    } else {
        ADD_FAILURE() << "Qt has no WebP plugin (qt6-image-formats-plugins)";
    }

    const QString svg = Write("drawing.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='120' "
                                             "height='45'><rect width='120' height='45'/></svg>");
    const QJsonObject tags = Exiftool(svg);
    const MediaRecord record = Read(svg, CategoryIds::Picture);
    ASSERT_EQ(record.kind, Kind::Picture) << "Qt's SVG plugin (libqt6svg6) is missing";
    EXPECT_EQ(Str(record.picture.Width), std::to_string(tags.value("SVG:ImageWidth").toInt()));
    EXPECT_EQ(Str(record.picture.Height), std::to_string(tags.value("SVG:ImageHeight").toInt()));
}

TEST_F(MediaGaps, CutPictureHeadersGiveNoValuesOrNoRow)
{
    QFile png(WriteWithQt("whole.png", QImage::Format_RGB32, 3780, 3780));
    ASSERT_TRUE(png.open(QIODevice::ReadOnly));
    const QByteArray bytes = png.readAll();
    const QStringList cut = {
        Write("signature.png", bytes.left(8)), Write("ihdr.png", bytes.left(20)),
        Write("bmp.bmp", QByteArray("BM") + QByteArray(16, '\0')), Write("gif.gif", "GIF89a\x02"),
        Write("riff.webp", "RIFF\0\0\0\0WEBPVP8")};
    for (const QString& path : cut) {
        const MediaRecord record = Read(path, CategoryIds::Picture);
        EXPECT_TRUE(record.kind == Kind::None || record.picture.ColorDepth.IsNull())
            << path.toStdString() << ": " << Str(record.picture.ColorDepth);
    }
}

TEST_F(MediaGaps, WavInfoTagsFillWhatId3LeavesOut)
{
    const QStringList tone = {"-f", "lavfi", "-i", "sine=duration=2"};
    const QString wav = Ffmpeg(
        "info.wav", tone + QStringList{"-metadata", "artist=Info Artist", "-metadata",
                                       "title=Info Title", "-metadata", "album=Info Album",
                                       "-metadata", "genre=Jazz", "-metadata", "date=2017-03-04",
                                       "-metadata", "track=5", "-metadata", "comment=From INFO"});
    const QJsonObject probe = Ffprobe(wav);
    const QJsonObject tags = probe.value("format").toObject().value("tags").toObject();
    MediaRecord record = Read(wav, CategoryIds::Music);
    ASSERT_EQ(record.kind, Kind::Music);
    EXPECT_EQ(Str(record.music.Artist), tags.value("artist").toString().toStdString());
    EXPECT_EQ(Str(record.music.Title), tags.value("title").toString().toStdString());
    EXPECT_EQ(Str(record.music.Album), tags.value("album").toString().toStdString());
    EXPECT_EQ(Str(record.music.Genre), tags.value("genre").toString().toStdString());
    EXPECT_EQ(Str(record.music.Year), tags.value("date").toString().left(4).toStdString());
    EXPECT_EQ(Str(record.music.TrackNumber), tags.value("track").toString().toStdString());
    EXPECT_EQ(Str(record.music.Comments), tags.value("comment").toString().toStdString());
    EXPECT_EQ(Str(record.music.Duration), "2");

    // An ID3v2 tag beside the INFO list wins where it has a value. TagLib adds one with a
    // title only; its chunk is then given the lower-case name that exiftool reads too.
    {
        TagLib::RIFF::WAV::File file(QFile::encodeName(wav).constData());
        ASSERT_TRUE(file.isValid());
        file.ID3v2Tag()->setTitle("ID3 Title");
        ASSERT_TRUE(file.save(TagLib::RIFF::WAV::File::AllTags));
    }
    QFile written(wav);
    ASSERT_TRUE(written.open(QIODevice::ReadWrite));
    QByteArray bytes = written.readAll();
    const qsizetype chunk = bytes.indexOf("ID3 ");
    ASSERT_GT(chunk, 12);
    bytes.replace(chunk, 4, "id3 ");
    written.seek(0);
    written.write(bytes);
    written.close();
    const QJsonObject both = Exiftool(written.fileName());
    ASSERT_EQ(both.value("ID3:Title").toString(), "ID3 Title");
    ASSERT_EQ(both.value("RIFF:Title").toString(), "Info Title");
    record = Read(written.fileName(), CategoryIds::Music);
    EXPECT_EQ(Str(record.music.Title), "ID3 Title");
    EXPECT_EQ(Str(record.music.Artist), both.value("RIFF:Artist").toString().toStdString());
}

TEST_F(MediaGaps, OggMusicGivesStatedRatesAndLengthsFromItsPages)
{
    const QStringList tone = {"-f",        "lavfi",          "-i",        "sine=duration=3",
                              "-metadata", "title=Ogg Tune", "-metadata", "artist=Someone"};
    // Vorbis: the rate its ident header states, which ffprobe gives as the stream's; a
    // short tone measures far below it.
    const QString vorbis =
        Ffmpeg("tune.ogg", tone + QStringList{"-c:a", "libvorbis", "-b:a", "96k"});
    const QJsonObject audio = Ffprobe(vorbis).value("streams").toArray().at(0).toObject();
    const QJsonObject tags = Exiftool(vorbis);
    MediaRecord record = Read(vorbis, CategoryIds::Music);
    ASSERT_EQ(record.kind, Kind::Music);
    EXPECT_EQ(Str(record.music.Bitrate), Rounded(Number(audio, "bit_rate") / 1000));
    EXPECT_EQ(Str(record.music.Bitrate),
              Rounded(tags.value("Vorbis:NominalBitrate").toDouble() / 1000));
    EXPECT_EQ(Str(record.music.Title), tags.value("Vorbis:Title").toString().toStdString());
    EXPECT_EQ(Str(record.music.Duration), "3");

    // FLAC in Ogg as ffmpeg writes it: no sample count in its header, so the length comes
    // from the last page and the rate from the file's size.
    for (const QString name : {"flac.oga", "flac.ogg"}) {
        SCOPED_TRACE(name.toStdString());
        const QString flac = Ffmpeg(name, tone + QStringList{"-c:a", "flac", "-f", "ogg"});
        const QJsonObject format = ProbeFormat(flac);
        record = Read(flac, CategoryIds::Music);
        ASSERT_EQ(record.kind, Kind::Music);
        EXPECT_EQ(Str(record.music.Duration), Rounded(Number(format, "duration")));
        EXPECT_EQ(Str(record.music.Bitrate), Rounded(Number(format, "bit_rate") / 1000));
        EXPECT_EQ(Str(record.music.Title), "Ogg Tune");
    }
}

TEST_F(MediaGaps, TheoraFilmsGetLengthAndBitrate)
{
    const QStringList picture = {"-f", "lavfi", "-i", "testsrc=size=176x144:rate=25:duration=7"};
    const QStringList theora = {"-c:v", "libtheora", "-g", "40"};
    // A stated rate (what exiftool calls the nominal one), a quality setting that states
    // none, and a film with sound; each ends between two key frames.
    const QString stated = Ffmpeg("stated.ogv", picture + theora + QStringList{"-b:v", "300k"});
    const QString quality = Ffmpeg("quality.ogv", picture + theora + QStringList{"-q:v", "5"});
    const QString sound =
        Ffmpeg("sound.ogv", picture +
                                QStringList{"-f", "lavfi", "-i", "sine=duration=7", "-c:a",
                                            "libvorbis", "-shortest"} +
                                theora + QStringList{"-q:v", "5"});
    for (const QString& path : {stated, quality, sound}) {
        SCOPED_TRACE(path.toStdString());
        const QJsonObject format = ProbeFormat(path);
        const QJsonObject tags = Exiftool(path);
        const MediaRecord record = Read(path, CategoryIds::Film);
        ASSERT_EQ(record.kind, Kind::Film);
        EXPECT_EQ(Str(record.film.Codec), "Theora");
        EXPECT_EQ(Str(record.film.Duration), Rounded(Number(format, "duration")));
        ASSERT_FALSE(record.film.Bitrate.IsNull());
        const double nominal = tags.value("Theora:NominalVideoBitrate").toDouble() / 1000;
        if (nominal > 0)
            EXPECT_EQ(Str(record.film.Bitrate), Rounded(nominal));
        else if (path == quality) // the whole file's rate, as ffprobe gives it
            EXPECT_NEAR(record.film.Bitrate.Value(), Number(format, "bit_rate") / 1000, 1);
        else // the video stream's share, as MediaInfoLib measures it
            EXPECT_LT(record.film.Bitrate.Value(), Number(format, "bit_rate") / 1000);
    }

    // Cut short: the length up to the last whole page, never more than the film.
    QFile whole(quality);
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QString cut = Write("cut.ogv", whole.read(whole.size() / 2));
    const MediaRecord record = Read(cut, CategoryIds::Film);
    ASSERT_EQ(record.kind, Kind::Film);
    ASSERT_FALSE(record.film.Duration.IsNull());
    EXPECT_GE(record.film.Duration.Value(), 2);
    EXPECT_LE(record.film.Duration.Value(), 5);
}
