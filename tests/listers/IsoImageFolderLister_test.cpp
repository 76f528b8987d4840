// Listing ISO 9660 images that xorriso makes from a real folder tree.
#include "listers/ImageWalk.h"
#include "listers/IsoImageFolderLister.h"
#include "listers/ListerFor.h"

#include "acquisition/SubunitsSearcher.h"
#include "errorlog/ErrorLog.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <ctime>
#include <map>
#include <random>

namespace {

const QString kLongName = QString(120, QLatin1Char('L')) + QStringLiteral(".txt");
// Summer time in New York, where a slip between local time and UTC would show.
const QDateTime kWritten(QDate(2021, 7, 14), QTime(21, 30, 15), Qt::UTC);

// Entries are described as "file SIZE in /PARENT" or "folder in /PARENT".
QString Describe(bool isFile, quint64 size, const QString& parent)
{
    return (isFile ? QStringLiteral("file %1").arg(size) : QStringLiteral("folder")) +
           QStringLiteral(" in /") + parent;
}

class IsoImageFolderListerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
            GTEST_SKIP() << "xorriso is not installed";
        for (const auto& [path, size] : std::map<QString, int>{
                 {"Nested/Deeper/Deepest/leaf.txt", 11},
                 {QStringLiteral("Çà et là, über Ünïcode/Fichier à lire.txt"), 300},
                 {kLongName, 64},
                 {"zero.bin", 0},
                 {"some.dat", 5000}}) {
            ASSERT_TRUE(QDir().mkpath(QFileInfo(m_tree + '/' + path).path()));
            QFile file(m_tree + '/' + path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(QByteArray(size, 'x'));
            ASSERT_TRUE(file.flush());
            ASSERT_TRUE(file.setFileTime(kWritten, QFileDevice::FileModificationTime));
        }
        ASSERT_TRUE(QDir().mkpath(m_tree + QStringLiteral("/Empty")));
    }

    void TearDown() override { ErrorLog::Instance().ClearFileSystemErrors(); }

    QString MakeImage(const QString& name, const QStringList& extensions)
    {
        const QString image = m_dir.filePath(name);
        QProcess xorriso;
        xorriso.start(QStringLiteral("xorriso"), QStringList{"-as", "mkisofs"} + extensions +
                                                     QStringList{"-o", image, m_tree});
        EXPECT_TRUE(xorriso.waitForFinished(60000) && xorriso.exitCode() == 0);
        return image;
    }

    Tree SourceTree() const
    {
        Tree tree;
        QDirIterator it(m_tree, QDir::AllEntries | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QFileInfo info(it.next());
            const QString relative = QDir(m_tree).relativeFilePath(info.filePath());
            const QString parent = QFileInfo(relative).path();
            tree[relative] = Describe(info.isFile(), info.isFile() ? info.size() : 0,
                                      parent == QLatin1String(".") ? QString() : parent);
        }
        return tree;
    }

    // Walks the image with the scanner, as adding the disc does; found gets each entry.
    static Tree Walk(const QString& image, IsoImageFolderLister& lister,
                     std::map<QString, FindData>* found = nullptr)
    {
        const auto describe = [](const SubunitInfo& info, const QString& parent) {
            return Describe(info.IsFile(), info.Data.Size, parent);
        };
        return WalkImage(image, lister, describe, found);
    }

    QTemporaryDir m_dir;
    QString m_tree = m_dir.filePath(QStringLiteral("tree"));
};

} // namespace

TEST_F(IsoImageFolderListerTest, RockRidgeNamesWinAndTheWholeTreeComesThrough)
{
    const QString image = MakeImage(QStringLiteral("jr.iso"), {"-J", "-R"});
    IsoImageFolderLister lister(image);
    std::map<QString, FindData> found;
    EXPECT_EQ(Text(Walk(image, lister, &found)), Text(SourceTree()));
    EXPECT_EQ(lister.Names(), IsoImageFolderLister::Naming::RockRidge);
    EXPECT_TRUE(ErrorLog::Instance().FileSystemErrors().empty());
    EXPECT_EQ(found["some.dat"].LastWriteTime, kWritten.toMSecsSinceEpoch());
    EXPECT_EQ(found["some.dat"].CreationTime, kWritten.toMSecsSinceEpoch());

    // A folder not listed yet is found by its path; a file or a path outside is not one.
    IsoImageFolderLister fresh(image);
    QStringList names;
    EXPECT_EQ(ListNames(fresh, image + QStringLiteral("/Nested/Deeper"), &names), 0);
    EXPECT_EQ(names, QStringList{QStringLiteral("Deepest")});
    EXPECT_EQ(ListNames(fresh, image + QStringLiteral("/some.dat"), &names), ENOTDIR);
    EXPECT_EQ(ListNames(fresh, image + QStringLiteral("/Nested/None"), &names), ENOENT);
    EXPECT_EQ(ListNames(fresh, m_dir.path(), &names), ENOENT);
    EXPECT_EQ(names.size(), 1);
}

TEST_F(IsoImageFolderListerTest, JolietAndPlainNamesWithTheirTimesInUtc)
{
    // xorriso adds Rock Ridge unless told --norock.
    const QString joliet = MakeImage(QStringLiteral("j.iso"), {"-J", "--norock"});
    const QString plain = MakeImage(QStringLiteral("plain.iso"), {"--norock"});
    const bool hadZone = qEnvironmentVariableIsSet("TZ");
    const QByteArray oldZone = qgetenv("TZ");
    qputenv("TZ", "America/New_York");
    tzset();

    IsoImageFolderLister jolietLister(joliet);
    std::map<QString, FindData> found;
    Tree listed = Walk(joliet, jolietLister, &found);
    IsoImageFolderLister plainLister(plain);
    std::map<QString, FindData> plainFound;
    const Tree plainListed = Walk(plain, plainLister, &plainFound);
    if (hadZone)
        qputenv("TZ", oldZone);
    else
        qunsetenv("TZ");
    tzset();

    EXPECT_EQ(jolietLister.Names(), IsoImageFolderLister::Naming::Joliet);
    EXPECT_EQ(found["some.dat"].LastWriteTime, kWritten.toMSecsSinceEpoch());
    // Joliet cuts a long name short; everything else comes through as written.
    Tree expected = SourceTree();
    expected.erase(kLongName);
    const auto cut = listed.lower_bound(kLongName.left(40));
    ASSERT_NE(cut, listed.end());
    EXPECT_TRUE(cut->first.startsWith(kLongName.left(40)) && cut->first.size() < 100);
    listed.erase(cut);
    EXPECT_EQ(Text(listed), Text(expected));

    EXPECT_EQ(plainLister.Names(), IsoImageFolderLister::Naming::Iso9660);
    EXPECT_EQ(plainListed.size(), SourceTree().size());
    EXPECT_EQ(plainListed.at("NESTED/DEEPER/DEEPEST/LEAF.TXT"),
              QStringLiteral("file 11 in /NESTED/DEEPER/DEEPEST"));
    EXPECT_EQ(plainListed.at("ZERO.BIN"), QStringLiteral("file 0 in /"));
    EXPECT_EQ(plainListed.at("EMPTY"), QStringLiteral("folder in /"));
    EXPECT_EQ(plainFound["SOME.DAT"].LastWriteTime, kWritten.toMSecsSinceEpoch());
}

TEST_F(IsoImageFolderListerTest, DamagedImagesFailCleanly)
{
    QStringList names;
    const QString damaged = m_dir.filePath(QStringLiteral("damaged.iso"));
    IsoImageFolderLister missing(damaged);
    EXPECT_EQ(ListNames(missing, damaged, &names), ENOENT);

    QFile file(damaged);
    const auto write = [&](const QByteArray& bytes) {
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        file.close();
    };
    QByteArray noise(64 * 1024, '\0');
    for (int i = 0; i < noise.size(); ++i)
        noise[i] = static_cast<char>((i * 7919) % 251);
    write(noise);
    IsoImageFolderLister notAnImage(damaged);
    EXPECT_NE(ListNames(notAnImage, damaged, &names), 0);

    // The volume descriptors survive, the directories are cut off.
    QFile source(MakeImage(QStringLiteral("whole.iso"), {"-J", "-R"}));
    ASSERT_TRUE(source.open(QIODevice::ReadOnly));
    const QByteArray whole = source.readAll();
    write(whole.left(18 * 2048));
    IsoImageFolderLister truncated(damaged);
    EXPECT_NE(ListNames(truncated, damaged, &names), 0);
    EXPECT_TRUE(names.isEmpty());

    // Bytes scrambled in the descriptors and directories: every walk ends.
    std::minstd_rand random(20240611);
    const int metadataEnd = qMin<int>(whole.size(), 40 * 2048);
    for (int variant = 0; variant < 150; ++variant) {
        QByteArray bytes = whole;
        for (int hit = 0; hit < 8; ++hit)
            bytes[16 * 2048 + static_cast<int>(random() % (metadataEnd - 16 * 2048))] =
                static_cast<char>(random());
        write(bytes);
        IsoImageFolderLister scrambled(damaged);
        Walk(damaged, scrambled);
    }
}

TEST_F(IsoImageFolderListerTest, ListerForReadsAnImageFromInsideAndAFolderAsItIs)
{
    const QString image = MakeImage(QStringLiteral("chosen.iso"), {QStringLiteral("-R")});
    int error = -1;
    const std::unique_ptr<FolderLister> inside = ListerFor(image, &error);
    ASSERT_NE(inside, nullptr);
    EXPECT_EQ(error, 0);
    EXPECT_TRUE(IsListedFromInside(image));
    const std::unique_ptr<FolderLister> folder = ListerFor(m_tree, &error);
    ASSERT_NE(folder, nullptr);
    EXPECT_FALSE(IsListedFromInside(m_tree));

    // The same tree either way; a folder deep inside the image is found without its
    // parents having been listed first.
    QStringList fromImage;
    QStringList fromFolder;
    EXPECT_EQ(ListNames(*inside, image + QStringLiteral("/Nested/Deeper"), &fromImage), 0);
    EXPECT_EQ(ListNames(*folder, m_tree + QStringLiteral("/Nested/Deeper"), &fromFolder), 0);
    EXPECT_EQ(fromImage, QStringList{QStringLiteral("Deepest")});
    EXPECT_EQ(fromImage, fromFolder);
    EXPECT_EQ(ListNames(*inside, image + QStringLiteral("/zero.bin"), &fromImage),
              DiscImageLister::kNotAFolder);
    EXPECT_EQ(ListNames(*inside, image + QStringLiteral("/Nowhere/Deeper"), &fromImage),
              DiscImageLister::kNotFound);

    // A file that holds no file system the listers read gives no lister and the reason.
    const QString text = m_dir.filePath(QStringLiteral("notes.txt"));
    QFile file(text);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(600 * 1024, 'n'));
    file.close();
    EXPECT_EQ(ListerFor(text, &error), nullptr);
    EXPECT_EQ(error, DiscImageLister::kNotAnImage);
}
