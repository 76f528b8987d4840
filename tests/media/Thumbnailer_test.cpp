// Thumbnails of pictures made by ImageMagick and exiftool: every format fits the box
// with its own shape, transparency keeps PNG, a camera's Exif thumbnail is taken when it
// has the picture's shape, damaged pictures give none, and the PNG written for a
// transparent thumbnail is lossless and read by ImageMagick too.
#include "media/PngEncoder.h"
#include "media/Thumbnailer.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

bool RunTool(const QString& program, const QStringList& arguments)
{
    return QProcess::execute(program, arguments) == 0;
}

// The stored image, checked to be of the size the record gives.
QImage Decoded(const ThumbnailRecord& thumbnail)
{
    const QImage image = Thumbnailer::Decode(thumbnail);
    EXPECT_EQ(image.size(), QSize(thumbnail.Width, thumbnail.Height));
    return image;
}

bool IsPng(const QByteArray& bytes)
{
    return bytes.startsWith("\x89PNG");
}

bool IsJpeg(const QByteArray& bytes)
{
    return bytes.startsWith("\xFF\xD8");
}

class ThumbnailerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (QStandardPaths::findExecutable(QStringLiteral("convert")).isEmpty())
            GTEST_SKIP() << "ImageMagick's convert is not installed";
        ASSERT_TRUE(m_dir.isValid());
    }

    QString Path(const QString& name) const { return m_dir.filePath(name); }

    // convert ARGS... NAME, in the test's folder.
    QString Convert(const QString& name, QStringList arguments)
    {
        arguments << Path(name);
        EXPECT_TRUE(RunTool(QStringLiteral("convert"), arguments)) << name.toStdString();
        return Path(name);
    }

    QTemporaryDir m_dir;
};

TEST_F(ThumbnailerTest, EveryFormatFitsTheBoxWithItsShape)
{
    QFile svg(Path(QStringLiteral("drawing.svg")));
    ASSERT_TRUE(svg.open(QIODevice::WriteOnly));
    svg.write("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"320\" height=\"160\">"
              "<rect width=\"320\" height=\"160\" fill=\"red\"/></svg>");
    svg.close();
    struct Case
    {
        const char* name;
        QStringList arguments; // for convert; none for the SVG written above
        QSize original;
        bool transparent;
    };
    const Case cases[] = {
        {"photo.jpg", {"-size", "800x600", "gradient:red-blue"}, {800, 600}, false},
        {"alpha.png",
         {"-size", "300x200", "xc:none", "-fill", "green", "-draw", "circle 150,100 150,10"},
         {300, 200},
         true},
        {"portrait.gif", {"-size", "200x400", "xc:orange"}, {200, 400}, false},
        {"wide.bmp", {"-size", "1000x20", "xc:purple"}, {1000, 20}, false},
        {"plasma.webp", {"-size", "500x300", "plasma:"}, {500, 300}, false},
        {"grey.tiff", {"-size", "400x300", "gradient:"}, {400, 300}, false},
        {"drawing.svg", {}, {320, 160}, false},
        {"small.png", {"-size", "50x40", "xc:teal"}, {50, 40}, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString name = QString::fromLatin1(c.name);
        const QString path = c.arguments.isEmpty() ? Path(name) : Convert(name, c.arguments);
        const ThumbnailRecord thumbnail = Thumbnailer::Make(path);
        ASSERT_FALSE(thumbnail.IsEmpty());
        Decoded(thumbnail);
        EXPECT_LE(thumbnail.Width, Thumbnailer::kMaxSide);
        EXPECT_LE(thumbnail.Height, Thumbnailer::kMaxSide);
        // One side fills the box, unless the picture is smaller: never enlarged.
        const QSize fit = c.original.scaled(160, 160, Qt::KeepAspectRatio);
        const QSize expected = c.original.width() <= 160 && c.original.height() <= 160
                                   ? c.original
                                   : QSize(std::max(1, fit.width()), std::max(1, fit.height()));
        EXPECT_EQ(QSize(thumbnail.Width, thumbnail.Height), expected);
        // The shape within a pixel.
        EXPECT_NEAR(static_cast<double>(thumbnail.Width) * c.original.height() / c.original.width(),
                    thumbnail.Height, 1.0);
        EXPECT_TRUE(c.transparent ? IsPng(thumbnail.Image)
                                  : IsJpeg(thumbnail.Image) || IsPng(thumbnail.Image));
        if (!c.transparent && c.original.width() > 160) {
            EXPECT_TRUE(IsJpeg(thumbnail.Image));
        }
        EXPECT_LT(thumbnail.Image.size(), 16 * 1024);
    }
    // A transparent pixel stays transparent; the photo's colours survive the encoding.
    const QImage alpha = Decoded(Thumbnailer::Make(Path(QStringLiteral("alpha.png"))));
    EXPECT_EQ(qAlpha(alpha.pixel(0, 0)), 0);
    EXPECT_GT(qGreen(alpha.pixel(alpha.width() / 2, alpha.height() / 2)), 100);
    const QImage portrait = Decoded(Thumbnailer::Make(Path(QStringLiteral("portrait.gif"))));
    const QColor orange = portrait.pixelColor(40, 80);
    EXPECT_GT(orange.red(), 220);
    EXPECT_LT(orange.blue(), 40);
}

TEST_F(ThumbnailerTest, ExifThumbnailIsTakenWhenItHasThePicturesShape)
{
    if (QStandardPaths::findExecutable(QStringLiteral("exiftool")).isEmpty())
        GTEST_SKIP() << "exiftool is not installed";
    // A blue photo whose Exif thumbnails are yellow: what is kept shows where it came from.
    const auto withExifThumbnail = [&](const QString& name, const QString& thumbnailSize) {
        const QString photo = Convert(name, {"-size", "800x600", "xc:blue"});
        const QString small = Convert(QStringLiteral("small-%1.jpg").arg(thumbnailSize),
                                      {"-size", thumbnailSize, "xc:yellow"});
        EXPECT_TRUE(RunTool(QStringLiteral("exiftool"),
                            {"-q", "-overwrite_original", "-ThumbnailImage<=" + small, photo}));
        return photo;
    };
    const auto isYellow = [](const QImage& image) {
        const QColor centre = image.pixelColor(image.width() / 2, image.height() / 2);
        return centre.red() > 200 && centre.green() > 200 && centre.blue() < 60;
    };

    // Smaller than the box: kept as the camera wrote it, byte for byte.
    const ThumbnailRecord kept = Thumbnailer::Make(withExifThumbnail("kept.jpg", "80x60"));
    EXPECT_EQ(QSize(kept.Width, kept.Height), QSize(80, 60));
    QFile small(Path(QStringLiteral("small-80x60.jpg")));
    ASSERT_TRUE(small.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.Image, small.readAll());
    EXPECT_TRUE(isYellow(Decoded(kept)));

    // Larger: scaled down to fit.
    const ThumbnailRecord scaled = Thumbnailer::Make(withExifThumbnail("scaled.jpg", "320x240"));
    EXPECT_EQ(QSize(scaled.Width, scaled.Height), QSize(160, 120));
    EXPECT_TRUE(isYellow(Decoded(scaled)));

    // Of another shape (padded, or another picture's): the photo itself is decoded.
    const ThumbnailRecord other = Thumbnailer::Make(withExifThumbnail("other.jpg", "100x100"));
    EXPECT_EQ(QSize(other.Width, other.Height), QSize(160, 120));
    EXPECT_FALSE(isYellow(Decoded(other)));
}

TEST_F(ThumbnailerTest, DamagedOrMissingPicturesGiveNone)
{
    QFile garbage(Path(QStringLiteral("garbage.jpg")));
    ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
    garbage.write(QByteArray(5000, '\x17'));
    garbage.close();

    const QString whole = Convert(QStringLiteral("whole.png"), {"-size", "400x300", "plasma:"});
    QFile wholeFile(whole);
    ASSERT_TRUE(wholeFile.open(QIODevice::ReadOnly));
    QFile cut(Path(QStringLiteral("cut.png")));
    ASSERT_TRUE(cut.open(QIODevice::WriteOnly));
    cut.write(wholeFile.read(200)); // the header and a little of the first block
    cut.close();

    QFile svg(Path(QStringLiteral("broken.svg")));
    ASSERT_TRUE(svg.open(QIODevice::WriteOnly));
    svg.write("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"3");
    svg.close();

    for (const char* name : {"garbage.jpg", "cut.png", "broken.svg", "missing.png"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(Thumbnailer::Make(Path(QString::fromLatin1(name))).IsEmpty());
    }
}

} // namespace

TEST_F(ThumbnailerTest, TransparentThumbnailsAreLosslessPngsThatOtherReadersTake)
{
    // Every channel value in every position, alpha included; a single pixel; one column.
    QImage varied(161, 97, QImage::Format_ARGB32);
    for (int y = 0; y < varied.height(); ++y) {
        for (int x = 0; x < varied.width(); ++x)
            varied.setPixel(
                x, y, qRgba((x * 7 + y) % 256, (y * 13) % 256, (x * y) % 256, (x + 3 * y) % 256));
    }
    QImage dot(1, 1, QImage::Format_ARGB32);
    dot.fill(qRgba(10, 20, 30, 40));
    QImage column(1, 160, QImage::Format_ARGB32_Premultiplied);
    column.fill(Qt::transparent);
    for (const QImage& image : {varied, dot, column}) {
        const QByteArray png = PngEncoder::Encode(image);
        ASSERT_TRUE(IsPng(png));
        const QImage back = QImage::fromData(png, "PNG");
        ASSERT_EQ(back.size(), image.size());
        EXPECT_EQ(back.convertToFormat(QImage::Format_RGBA8888),
                  image.convertToFormat(QImage::Format_RGBA8888));
    }
    // ImageMagick reads it too (checking every chunk's CRC on the way).
    const QString file = Path(QStringLiteral("varied.png"));
    QFile out(file);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(PngEncoder::Encode(varied));
    out.close();
    QProcess identify;
    identify.start(QStringLiteral("identify"),
                   {QStringLiteral("-format"), QStringLiteral("%w %h %A"), file});
    ASSERT_TRUE(identify.waitForFinished(30000));
    EXPECT_EQ(identify.exitCode(), 0) << identify.readAllStandardError().toStdString();
    EXPECT_EQ(identify.readAllStandardOutput().trimmed(), QByteArray("161 97 True"));
    EXPECT_TRUE(PngEncoder::Encode(QImage()).isEmpty());
}
