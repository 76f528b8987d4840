// The names offered for a new disc: its label, and the name of the one file on it.
#include "FakeDriveSystem.h"
#include "acquisition/DiscNames.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class DiscNamesTest : public ::testing::Test
{
protected:
    // A fresh disc root holding the given files and folders (names ending in '/').
    QString Root(const QStringList& entries)
    {
        const QString root = m_dir.filePath(QString::number(++m_count));
        QDir().mkpath(root);
        for (const QString& entry : entries) {
            if (entry.endsWith('/')) {
                QDir(root).mkpath(entry);
            } else {
                QFile file(root + "/" + entry);
                EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            }
        }
        return root;
    }

    QTemporaryDir m_dir;
    int m_count = 0;
};

VolumeInfo Labelled(const char* label)
{
    VolumeInfo volume;
    volume.Label = QString::fromUtf8(label);
    volume.SerialNumber = 7;
    return volume;
}

} // namespace

TEST_F(DiscNamesTest, OneFileAndNothingElseOffersItsNameAfterTheLabel)
{
    const VolumeInfo volume = Labelled("DVD_2019");
    EXPECT_EQ(DiscNames::ProposeDiscNames(volume, Root({"Film.avi"})),
              QStringList({"DVD_2019", "Film"}));
    EXPECT_EQ(DiscNames::ProposeDiscNames(volume, Root({"Concert Vol. 2.mkv"})),
              QStringList({"DVD_2019", "Concert Vol. 2"}));
    // Hidden files count like any other.
    EXPECT_EQ(DiscNames::ProposeDiscNames(volume, Root({".hidden.txt"})),
              QStringList({"DVD_2019", ".hidden"}));
    // An empty label stays the first suggestion.
    EXPECT_EQ(DiscNames::ProposeDiscNames(Labelled(""), Root({"Film.avi"})),
              QStringList({"", "Film"}));
}

TEST_F(DiscNamesTest, AnythingButASingleFileOffersTheLabelAlone)
{
    const VolumeInfo volume = Labelled("BACKUP");
    const QStringList labelOnly{"BACKUP"};
    EXPECT_EQ(DiscNames::ProposeDiscNames(volume, Root({"a.avi", "b.avi"})), labelOnly);
    EXPECT_EQ(DiscNames::ProposeDiscNames(volume, Root({"Film.avi", "extras/"})), labelOnly);
    EXPECT_EQ(DiscNames::ProposeDiscNames(volume, Root({"VIDEO_TS/"})), labelOnly);
    EXPECT_EQ(DiscNames::ProposeDiscNames(volume, Root({})), labelOnly);
    EXPECT_EQ(DiscNames::ProposeDiscNames(volume, m_dir.filePath("missing")), labelOnly);
    // A file that is all extension leaves no name.
    EXPECT_EQ(DiscNames::ProposeDiscNames(volume, Root({".nfo"})), labelOnly);
}

TEST_F(DiscNamesTest, RemoveExtensionStripsFromTheLastDotUnlessABlankFollows)
{
    EXPECT_EQ(DiscNames::RemoveExtension("Film.avi"), QStringLiteral("Film"));
    EXPECT_EQ(DiscNames::RemoveExtension("backup.tar.gz"), QStringLiteral("backup.tar"));
    EXPECT_EQ(DiscNames::RemoveExtension("README"), QStringLiteral("README"));
    EXPECT_EQ(DiscNames::RemoveExtension("Vol. 2"), QStringLiteral("Vol. 2"));
    EXPECT_EQ(DiscNames::RemoveExtension("trailing."), QStringLiteral("trailing"));
}

TEST_F(DiscNamesTest, ReadsTheVolumeThroughTheDriveSystem)
{
    const QString root = Root({"Holiday.mp4"});
    FakeDriveSystem drives;
    drives.AddDrive({QString(), root, true, Labelled("SUMMER"), false});
    drives.AddDrive({QString(), QString(), false, VolumeInfo(), false});
    EXPECT_EQ(DiscNames::ProposeDiscNames(drives, root), QStringList({"SUMMER", "Holiday"}));
    // An empty drive: an empty label and no listing.
    EXPECT_EQ(DiscNames::ProposeDiscNames(drives, "fake1"), QStringList({""}));
}
