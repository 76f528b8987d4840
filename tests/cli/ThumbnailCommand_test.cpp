// Thumbnails from the command line: add-folder and add-file keep them unless
// --no-thumbnails, update makes them for added and changed pictures (and drops a changed
// picture's old one with --no-thumbnails), and thumbnail writes the stored one as a PNG
// of its size or fails when the unit has none.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"

#include <QDir>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class ThumbnailCommand : public ::testing::Test
{
protected:
    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()), m_dir.path());
    }
    QString Path(const QString& name) const { return m_dir.filePath(name); }

    void MakePicture(const QString& path, QSize size, Qt::GlobalColor colour)
    {
        QDir().mkpath(QFileInfo(path).path());
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(colour);
        ASSERT_TRUE(picture.save(path));
    }

    // "width x height" of the unit's thumbnail; empty when it has none.
    QString Stored(const QString& name)
    {
        return QueryText(m_cat,
                         QStringLiteral("SELECT t.Width || 'x' || t.Height FROM Thumbnails t "
                                        "JOIN Units u USING (UnitID) WHERE u.UnitName = '%1'")
                             .arg(name));
    }
    QString IdOf(const QString& name)
    {
        return QueryText(
            m_cat, QStringLiteral("SELECT UnitID FROM Units WHERE UnitName = '%1'").arg(name));
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_cat = Path(QStringLiteral("cat.db3"));
};

TEST_F(ThumbnailCommand, AdditionsAndUpdatesKeepThemAndTheCommandWritesThem)
{
    const QString tree = Path(QStringLiteral("tree"));
    MakePicture(tree + "/wide.png", {640, 160}, Qt::red);
    MakePicture(tree + "/tall.jpg", {300, 900}, Qt::blue);
    MakePicture(Path("single.png"), {500, 500}, Qt::green);
    MakePicture(Path("other/skipped.png"), {500, 500}, Qt::green);
    ASSERT_EQ(Run({"new", m_cat}).status, 0);
    ASSERT_EQ(Run({"add-storage", m_cat, "Shelf"}).status, 0);
    ASSERT_EQ(Run({"add-folder", m_cat, "Shelf", tree}).status, 0);
    ASSERT_EQ(Run({"add-file", m_cat, "Shelf", Path("single.png")}).status, 0);
    ASSERT_EQ(Run({"add-folder", m_cat, "Shelf", Path("other"), "--no-thumbnails"}).status, 0);
    EXPECT_EQ(Stored("wide.png"), "160x40");
    EXPECT_EQ(Stored("tall.jpg"), "53x160");
    EXPECT_EQ(Stored("single.png"), "160x160");
    EXPECT_EQ(Stored("skipped.png"), QString());

    // The command writes a PNG of the stored size, of the picture's colour.
    const QString out = Path("tall-thumbnail.png");
    const CliResult written = Run({"thumbnail", m_cat, "--unit", IdOf("tall.jpg"), out});
    ASSERT_EQ(written.status, 0) << written.err.toStdString();
    const QImage image(out, "png");
    EXPECT_EQ(image.size(), QSize(53, 160));
    EXPECT_GT(image.pixelColor(26, 80).blue(), 200);
    // A unit without one: an error, and no file.
    const CliResult none = Run({"thumbnail", m_cat, "--unit", IdOf("skipped.png"), Path("x.png")});
    EXPECT_EQ(none.status, 1);
    EXPECT_TRUE(none.err.contains("no thumbnail")) << none.err.toStdString();
    EXPECT_FALSE(QFile::exists(Path("x.png")));

    // An update gives a changed picture its new thumbnail and an added one its own...
    const QString folderId = IdOf("tree");
    MakePicture(tree + "/wide.png", {320, 320}, Qt::red);
    MakePicture(tree + "/new.bmp", {80, 40}, Qt::yellow);
    const CliResult updated = Run({"update", m_cat, "--unit", folderId});
    ASSERT_EQ(updated.status, 0) << updated.err.toStdString();
    EXPECT_EQ(Stored("wide.png"), "160x160");
    EXPECT_EQ(Stored("new.bmp"), "80x40");
    // ...and without thumbnails a changed picture loses its old one.
    MakePicture(tree + "/tall.jpg", {1200, 200}, Qt::blue);
    ASSERT_EQ(Run({"update", m_cat, "--unit", folderId, "--no-thumbnails"}).status, 0);
    EXPECT_EQ(Stored("tall.jpg"), QString());
    EXPECT_EQ(Stored("wide.png"), "160x160");
}

} // namespace
