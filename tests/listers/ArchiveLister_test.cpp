// Archives made by the real tools (zip, 7z, tar with its compressors, bsdtar,
// genisoimage), read by the archive lister and compared with the tools' own listings;
// archives that must stay plain files (encrypted, truncated, too many entries, a
// compressed single file) and the ones that must stay cheap (an archive inside another,
// a zip bomb).
#include "listers/ArchiveLister.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>

namespace {

bool Have(const char* tool)
{
    return !QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty();
}

// Runs a shell command in dir; its standard output.
QString Shell(const QString& dir, const QString& command)
{
    QProcess process;
    process.setWorkingDirectory(dir);
    process.start(QStringLiteral("bash"), {QStringLiteral("-c"), command});
    EXPECT_TRUE(process.waitForFinished(600000)) << command.toStdString();
    EXPECT_EQ(process.exitCode(), 0) << command.toStdString() << "\n"
                                     << process.readAllStandardError().toStdString();
    return QString::fromUtf8(process.readAllStandardOutput());
}

// What the lister read, by path inside the archive: "d" or "f <size>", and the time.
struct Seen
{
    bool IsFolder = false;
    quint64 Size = 0;
    qint64 Written = FindData::kNoTime;
};

std::map<QString, Seen> ByPath(const ArchiveContents& contents)
{
    std::map<QString, Seen> paths;
    std::vector<QString> full(contents.Entries().size());
    for (size_t i = 0; i < contents.Entries().size(); ++i) {
        const ArchiveContents::Entry& e = contents.Entries()[i];
        EXPECT_LT(e.Parent, static_cast<int>(i)) << "a folder comes before what it holds";
        full[i] = e.Parent < 0 ? e.Name : full[static_cast<size_t>(e.Parent)] + '/' + e.Name;
        paths[full[i]] = {e.IsFolder, e.Size, e.LastWriteTime};
    }
    return paths;
}

QString LocalText(qint64 utcMsecs, int length)
{
    return QDateTime::fromMSecsSinceEpoch(utcMsecs, Qt::LocalTime)
        .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
        .left(length);
}

class ArchiveListerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!ArchiveLister::Available())
            GTEST_SKIP() << "built without libarchive";
        m_root = m_dir.path();
        // A small tree: nested folders, an empty folder, names with spaces and accents.
        QDir().mkpath(m_root + QStringLiteral("/src/docs/deep/er"));
        QDir().mkpath(m_root + QStringLiteral("/src/empty"));
        Write(QStringLiteral("src/docs/read me.txt"), 1234, 1600000000);
        Write(QStringLiteral("src/docs/deep/er/café.bin"), 70000, 1500000000);
        Write(QStringLiteral("src/top.dat"), 5, 1400000000);
    }

    void Write(const QString& relative, int size, qint64 secs)
    {
        QFile file(m_root + QLatin1Char('/') + relative);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        QByteArray bytes(size, '\0');
        for (int i = 0; i < size; ++i)
            bytes[i] = static_cast<char>((i * 7919) % 251);
        file.write(bytes);
        file.setFileTime(QDateTime::fromSecsSinceEpoch(secs), QFileDevice::FileModificationTime);
    }

    ArchiveLister::Listing Read(const QString& name) const
    {
        return ArchiveLister::Read(m_root + QLatin1Char('/') + name);
    }

    // Compares with `7z l -slt`: every path, folder flag, size and time to the second.
    void ExpectAsSevenZipLists(const QString& name)
    {
        const ArchiveLister::Listing listing = Read(name);
        ASSERT_TRUE(listing.IsArchive) << listing.Error.toStdString();
        EXPECT_TRUE(listing.Error.isEmpty());
        const std::map<QString, Seen> seen = ByPath(listing.Contents);
        const QString text = Shell(m_root, QStringLiteral("7z l -slt '%1'").arg(name));
        const QStringList blocks = text.split(QStringLiteral("\n\n"));
        int compared = 0;
        for (const QString& block : blocks) {
            QMap<QString, QString> fields;
            for (const QString& line : block.split(QLatin1Char('\n'))) {
                const qsizetype eq = line.indexOf(QStringLiteral(" = "));
                if (eq > 0)
                    fields[line.left(eq)] = line.mid(eq + 3);
            }
            // The archive's own block has a Type; 7z's entries tell a folder by its
            // attributes, zip's by a Folder field.
            if (!fields.contains(QStringLiteral("Path")) ||
                fields.contains(QStringLiteral("Type")) ||
                !fields.contains(QStringLiteral("Attributes")))
                continue;
            QString path = fields.value(QStringLiteral("Path"));
            while (path.endsWith(QLatin1Char('/')))
                path.chop(1);
            const auto it = seen.find(path);
            ASSERT_NE(it, seen.end()) << path.toStdString();
            const bool folder = fields.value(QStringLiteral("Folder")) == QLatin1String("+") ||
                                fields.value(QStringLiteral("Attributes")).startsWith('D');
            EXPECT_EQ(it->second.IsFolder, folder) << path.toStdString();
            if (!folder) {
                EXPECT_EQ(it->second.Size, fields.value(QStringLiteral("Size")).toULongLong())
                    << path.toStdString();
            }
            EXPECT_EQ(LocalText(it->second.Written, 19),
                      fields.value(QStringLiteral("Modified")).left(19))
                << path.toStdString();
            ++compared;
        }
        EXPECT_EQ(compared, static_cast<int>(seen.size())) << text.toStdString();
        EXPECT_EQ(listing.Contents.UncompressedSize(), 1234u + 70000u + 5u);
    }

    QTemporaryDir m_dir;
    QString m_root;
};

} // namespace

TEST_F(ArchiveListerTest, ZipAndSevenZipReadAsTheirToolListsThem)
{
    if (!Have("zip") || !Have("7z"))
        GTEST_SKIP() << "zip or 7z is not installed";
    Shell(m_root + QStringLiteral("/src"), QStringLiteral("zip -qr ../tree.zip ."));
    // Without folder entries: the folders come from the paths.
    Shell(m_root + QStringLiteral("/src"), QStringLiteral("zip -qrD ../nodirs.zip ."));
    Shell(m_root + QStringLiteral("/src"), QStringLiteral("7z a -bd ../tree.7z . > /dev/null"));
    ExpectAsSevenZipLists(QStringLiteral("tree.zip"));
    ExpectAsSevenZipLists(QStringLiteral("tree.7z"));

    const ArchiveLister::Listing nodirs = Read(QStringLiteral("nodirs.zip"));
    ASSERT_TRUE(nodirs.IsArchive);
    const std::map<QString, Seen> seen = ByPath(nodirs.Contents);
    ASSERT_EQ(seen.count(QStringLiteral("docs/deep/er")), 1u);
    EXPECT_TRUE(seen.at(QStringLiteral("docs/deep/er")).IsFolder);
    EXPECT_EQ(seen.at(QStringLiteral("docs/deep/er/café.bin")).Size, 70000u);
    EXPECT_EQ(seen.count(QStringLiteral("empty")), 0u) << "zip -D keeps no empty folder";
    EXPECT_TRUE(Read(QStringLiteral("tree.zip")).Format.contains(QStringLiteral("ZIP")));
    EXPECT_EQ(Read(QStringLiteral("tree.7z")).Format, QStringLiteral("7-Zip"));
}

TEST_F(ArchiveListerTest, TarUnderEveryCompressionCpioAndXarReadAsTarListsThem)
{
    if (!Have("tar") || !Have("bsdtar") || !Have("xz") || !Have("zstd"))
        GTEST_SKIP() << "tar, bsdtar, xz or zstd is not installed";
    const QString src = m_root + QStringLiteral("/src");
    Shell(src, QStringLiteral("tar -czf ../t.tgz . && tar -cJf ../t.tar.xz . && "
                              "tar --zstd -cf ../t.tar.zst . && tar -cjf ../t.tar.bz2 ."));
    Shell(src, QStringLiteral("find . | bsdtar --format=cpio -cf ../t.cpio -T - && "
                              "bsdtar --format=xar -cf ../t.xar ."));
    // tar -tv gives size, minute and path ("./docs/read me.txt").
    const QStringList lines =
        Shell(m_root, QStringLiteral("tar --full-time -tvf t.tgz")).split('\n', Qt::SkipEmptyParts);
    for (const QString name : {"t.tgz", "t.tar.xz", "t.tar.zst", "t.tar.bz2", "t.cpio", "t.xar"}) {
        const ArchiveLister::Listing listing = Read(name);
        ASSERT_TRUE(listing.IsArchive) << name.toStdString() << listing.Error.toStdString();
        const std::map<QString, Seen> seen = ByPath(listing.Contents);
        EXPECT_EQ(seen.size(), 7u) << name.toStdString(); // "." is no entry
        for (const QString& line : lines) {
            const QStringList f = line.simplified().split(' ');
            QString path = f.mid(5).join(' ');
            path = QDir::cleanPath(path).remove(QRegularExpression(QStringLiteral("^\\./?")));
            if (path.isEmpty() || path == QLatin1String("."))
                continue;
            const auto it = seen.find(path);
            ASSERT_NE(it, seen.end()) << name.toStdString() << " " << path.toStdString();
            EXPECT_EQ(it->second.IsFolder, f[0].startsWith('d')) << path.toStdString();
            if (!it->second.IsFolder) {
                EXPECT_EQ(it->second.Size, f[2].toULongLong()) << path.toStdString();
            }
            EXPECT_EQ(LocalText(it->second.Written, 19), f[3] + ' ' + f[4])
                << name.toStdString() << " " << path.toStdString();
        }
    }
    EXPECT_TRUE(Read(QStringLiteral("t.tgz")).Format.contains(QStringLiteral("gzip")));
}

TEST_F(ArchiveListerTest, WhatIsNoArchiveOrCannotBeReadStaysAPlainFile)
{
    if (!Have("zip") || !Have("7z") || !Have("gzip"))
        GTEST_SKIP() << "zip, 7z or gzip is not installed";
    const QString src = m_root + QStringLiteral("/src");
    Shell(src, QStringLiteral("zip -qr -P secret ../locked.zip . && "
                              "7z a -bd -psecret ../locked.7z . >/dev/null && "
                              "7z a -bd -psecret -mhe=on ../hidden.7z . >/dev/null && "
                              "zip -qr ../whole.zip . && head -c $(($(stat -c%s ../whole.zip) / "
                              "2)) ../whole.zip > ../cut.zip && "
                              "gzip -c top.dat > ../single.gz && : > ../empty.zip && "
                              "echo 'not an archive' > ../text.zip"));
    for (const char* name : {"locked.zip", "locked.7z", "hidden.7z", "cut.zip"}) {
        const ArchiveLister::Listing listing = Read(QString::fromLatin1(name));
        EXPECT_FALSE(listing.IsArchive) << name;
        EXPECT_FALSE(listing.Error.isEmpty()) << name;
        EXPECT_EQ(listing.Contents.Count(), 0) << name;
    }
    EXPECT_EQ(Read(QStringLiteral("locked.zip")).Error, QStringLiteral("The archive is encrypted"));
    // A compressed single file, an empty file and a text are no archives: no error.
    for (const char* name : {"single.gz", "empty.zip", "text.zip", "missing.zip"}) {
        const ArchiveLister::Listing listing = Read(QString::fromLatin1(name));
        EXPECT_FALSE(listing.IsArchive) << name;
        EXPECT_EQ(listing.Contents.Count(), 0) << name;
        if (QString::fromLatin1(name) != QLatin1String("missing.zip")) {
            EXPECT_TRUE(listing.Error.isEmpty()) << name << listing.Error.toStdString();
        }
    }
    EXPECT_FALSE(Read(QStringLiteral("missing.zip")).Error.isEmpty());

    EXPECT_TRUE(ArchiveLister::HasArchiveName(QStringLiteral("A.TAR.GZ")));
    EXPECT_TRUE(ArchiveLister::HasArchiveName(QStringLiteral("report.docx")));
    EXPECT_FALSE(ArchiveLister::HasArchiveName(QStringLiteral("photo.jpg")));
    EXPECT_FALSE(ArchiveLister::HasArchiveName(QStringLiteral("zip")));
}

TEST_F(ArchiveListerTest, AnArchiveOfMoreEntriesThanTheLimitIsRefused)
{
    if (!Have("bsdtar"))
        GTEST_SKIP() << "bsdtar is not installed";
    // 200,000 empty files described by an mtree list: no file is made on disk.
    Shell(m_root, QStringLiteral("awk 'BEGIN{print \"#mtree\"; for(i=0;i<200000;i++) printf "
                                 "\"./d%d/f%d type=file mode=644 size=0 time=1000000000.0\\n\", "
                                 "i%100, i}' > big.mtree && bsdtar -czf big.tar.gz @big.mtree"));
    const ArchiveLister::Listing listing = Read(QStringLiteral("big.tar.gz"));
    EXPECT_FALSE(listing.IsArchive);
    EXPECT_EQ(listing.Contents.Count(), 0);
    EXPECT_TRUE(listing.Error.contains(QString::number(ArchiveLister::kMaxEntries)))
        << listing.Error.toStdString();
}

TEST_F(ArchiveListerTest, ArchivesInsideAreReadOneLevelDeepAndABombCostsItsHeaders)
{
    if (!Have("zip"))
        GTEST_SKIP() << "zip is not installed";
    // inner.zip holds the tree and an archive of its own; outer.zip holds inner.zip
    // and a locked zip.
    Shell(m_root + QStringLiteral("/src"),
          QStringLiteral("zip -qr ../level2.zip . && cp ../level2.zip docs/ && "
                         "zip -qr ../inner.zip . && zip -q -P x ../locked.zip top.dat && "
                         "cd .. && zip -q outer.zip inner.zip locked.zip"));
    const ArchiveLister::Listing outer = Read(QStringLiteral("outer.zip"));
    ASSERT_TRUE(outer.IsArchive) << outer.Error.toStdString();
    const std::map<QString, Seen> seen = ByPath(outer.Contents);
    EXPECT_EQ(seen.count(QStringLiteral("inner.zip/docs/deep/er/café.bin")), 1u);
    EXPECT_EQ(seen.count(QStringLiteral("inner.zip/docs/level2.zip")), 1u);
    EXPECT_EQ(seen.count(QStringLiteral("inner.zip/docs/level2.zip/top.dat")), 0u)
        << "one level deep only";
    ASSERT_EQ(outer.Contents.Nested().size(), 1u);
    const ArchiveContents::NestedArchive& nested = outer.Contents.Nested().front();
    EXPECT_EQ(outer.Contents.Entries()[static_cast<size_t>(nested.Entry)].Name,
              QStringLiteral("inner.zip"));
    EXPECT_EQ(nested.Entries, outer.Contents.CountBelow(nested.Entry));
    EXPECT_EQ(nested.Entries, 8); // 4 folders, 4 files (level2.zip among them)
    ASSERT_EQ(outer.NestedErrors.size(), 1u);
    EXPECT_EQ(outer.NestedErrors.front().Path, QStringLiteral("locked.zip"));

    // 1 GB of zeros, zipped, then 16 copies of each level zipped into the next (-9:
    // zip would store a .zip as it is), 53 KB in all.
    Shell(m_root,
          QStringLiteral("mkdir bomb && cd bomb && head -c 1G /dev/zero | zip -q -1 l0.zip - "
                         "&& for n in 1 2 3; do for i in $(seq 1 16); do "
                         "cp l$((n-1)).zip c$i.zip; done; zip -q -9 l$n.zip c*.zip; "
                         "rm c*.zip; done"));
    const ArchiveLister::Listing bomb = Read(QStringLiteral("bomb/l3.zip"));
    ASSERT_TRUE(bomb.IsArchive) << bomb.Error.toStdString();
    EXPECT_EQ(bomb.Contents.Count(), 16 + 16 * 16);
    EXPECT_LT(bomb.Contents.UncompressedSize(),
              quint64(QFileInfo(m_root + "/bomb/l2.zip").size()) * 17);
}

TEST_F(ArchiveListerTest, DiscImagesAreListedAsDiscs)
{
    if (!Have("genisoimage"))
        GTEST_SKIP() << "genisoimage is not installed";
    Shell(m_root, QStringLiteral("genisoimage -quiet -R -J -o disc.iso src"));
    const ArchiveLister::Listing listing = Read(QStringLiteral("disc.iso"));
    ASSERT_TRUE(listing.IsArchive) << listing.Error.toStdString();
    EXPECT_EQ(listing.Format, QStringLiteral("ISO 9660"));
    const std::map<QString, Seen> seen = ByPath(listing.Contents);
    EXPECT_EQ(seen.size(), 7u);
    EXPECT_EQ(seen.at(QStringLiteral("docs/deep/er/café.bin")).Size, 70000u);
    EXPECT_TRUE(seen.at(QStringLiteral("empty")).IsFolder);

    // A .img of no disc's file system is no archive, and no error.
    Shell(m_root, QStringLiteral("head -c 100000 /dev/zero > blank.img"));
    const ArchiveLister::Listing blank = Read(QStringLiteral("blank.img"));
    EXPECT_FALSE(blank.IsArchive);
    EXPECT_TRUE(blank.Error.isEmpty()) << blank.Error.toStdString();
}
