// Listing UDF disc images made from real folder trees: genisoimage's UDF-bridge images,
// the same turned UDF-only, and empty volumes from mkudffs.
#include "listers/UdfImageFolderLister.h"

#include "acquisition/SubunitsSearcher.h"
#include "cli/CliProcess.h"
#include "errorlog/ErrorLog.h"
#include "listers/DiscImageLister.h"
#include "listers/ImageWalk.h"
#include "listers/IsoImageFolderLister.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <random>

namespace {

constexpr int kBlock = 2048;
// Longer than Joliet's 64 characters; genisoimage writes its Joliet names, up to 103
// characters with -joliet-long, on the UDF side as well.
const QString kLongName = QString(90, QLatin1Char('n')) + QStringLiteral(".txt");
// genisoimage records whole seconds.
const QDateTime kWritten(QDate(2021, 7, 14), QTime(21, 30, 15, 250), Qt::UTC);
const qint64 kRecorded = kWritten.toMSecsSinceEpoch() / 1000 * 1000;

std::string Lines(const QStringList& lines)
{
    return lines.join(QLatin1Char('\n')).toStdString();
}

// Entries are described as "file SIZE at MS" or "folder at MS".
QString Describe(bool isFile, quint64 size, qint64 written)
{
    return (isFile ? QStringLiteral("file %1").arg(size) : QStringLiteral("folder")) +
           QStringLiteral(" at %1").arg(written);
}

QString RunTool(const QString& program, const QStringList& arguments, int* status = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(120000);
    if (status)
        *status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return QString::fromUtf8(process.readAllStandardOutput());
}

QByteArray ReadAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void WriteAll(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

// Finds the structures of a UDF image to damage them on purpose.
struct UdfBytes
{
    QByteArray Bytes;

    quint32 U32(int at) const { return qFromLittleEndian<quint32>(Bytes.constData() + at); }

    bool HasTag(int at, quint16 id) const
    {
        if (qFromLittleEndian<quint16>(Bytes.constData() + at) != id)
            return false;
        quint8 sum = 0;
        for (int i = 0; i < 16; ++i)
            sum = static_cast<quint8>(sum + (i == 4 ? 0 : static_cast<quint8>(Bytes[at + i])));
        return sum == static_cast<quint8>(Bytes[at + 4]);
    }

    int PartitionStart() const
    {
        for (int block = 16; block < 300; ++block) {
            if (HasTag(block * kBlock, 5))
                return static_cast<int>(U32(block * kBlock + 188));
        }
        return -1;
    }

    // Where the file identifier descriptor of an ASCII name lies.
    int Identifier(const QString& name) const
    {
        QByteArray utf16;
        for (const QChar c : name)
            utf16 += QByteArray(1, '\0') + static_cast<char>(c.unicode());
        const QByteArray eight = '\x08' + name.toLatin1();
        const QByteArray sixteen = '\x10' + utf16;
        for (int at = 16 * kBlock; at + 38 < Bytes.size(); at += 4) {
            if (!HasTag(at, 257))
                continue;
            const int length = static_cast<quint8>(Bytes[at + 19]);
            const int nameAt = at + 38 + qFromLittleEndian<quint16>(Bytes.constData() + at + 36);
            const QByteArray found = Bytes.mid(nameAt, length);
            if (found == eight || found == sixteen)
                return at;
        }
        return -1;
    }

    // Where the file entry of that name lies.
    int Entry(const QString& name) const
    {
        return (PartitionStart() + static_cast<int>(U32(Identifier(name) + 24))) * kBlock;
    }

    void SetIdentifierTarget(const QString& name, quint32 block)
    {
        qToLittleEndian(block, Bytes.data() + Identifier(name) + 24);
    }
};

class UdfImageFolderListerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (QStandardPaths::findExecutable(QStringLiteral("genisoimage")).isEmpty() ||
            QStandardPaths::findExecutable(QStringLiteral("isoinfo")).isEmpty())
            GTEST_SKIP() << "genisoimage is not installed";
        for (const auto& [path, size] :
             std::map<QString, int>{{"Deep/1/2/3/4/5/6/7/8/leaf.txt", 11},
                                    {QStringLiteral("Çà et là/Fichier été.txt"), 300},
                                    {QStringLiteral("日本語 Ωmega/名前.txt"), 42},
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

    // A UDF-bridge image; the deep tree is kept in place on the Rock Ridge side too.
    const QStringList kBridge{"-udf", "-R", "-J", "-joliet-long", "-D"};

    QString MakeImage(const QString& name, const QStringList& options)
    {
        const QString image = m_dir.filePath(name);
        int status = -1;
        RunTool(QStringLiteral("genisoimage"),
                QStringList{"-quiet", "-V", "UDF_DISC"} + options +
                    QStringList{"-o", image, m_tree},
                &status);
        EXPECT_EQ(status, 0);
        return image;
    }

    // The bridge image with its ISO 9660 descriptors gone: the UDF recognition sequence
    // (BEA01, NSR02, TEA01) moves to where they began.
    QString MakeUdfOnly(const QString& name)
    {
        QByteArray bytes = ReadAll(MakeImage(name, kBridge));
        QByteArray recognition;
        int end = 16;
        for (; bytes.mid(end * kBlock + 1, 5) == "CD001"; ++end) {
        }
        for (; bytes.mid(end * kBlock + 1, 3) != QByteArray(3, '\0'); ++end)
            recognition += bytes.mid(end * kBlock, kBlock);
        bytes.replace(16 * kBlock, (end - 16) * kBlock,
                      recognition + QByteArray((end - 16) * kBlock - recognition.size(), '\0'));
        const QString image = m_dir.filePath(name);
        WriteAll(image, bytes);
        return image;
    }

    // The source tree as find tells it.
    Tree SourceTree() const
    {
        Tree tree;
        const QString out = RunTool(QStringLiteral("find"),
                                    {m_tree, "-mindepth", "1", "-printf", "%P\\t%y\\t%s\\t%T@\\n"});
        for (const QString& line : out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QStringList fields = line.split(QLatin1Char('\t'));
            const bool isFile = fields[1] == QLatin1String("f");
            tree[fields[0]] = Describe(isFile, isFile ? fields[2].toULongLong() : 0,
                                       static_cast<qint64>(fields[3].toDouble()) * 1000);
        }
        return tree;
    }

    // Walks the image with the scanner, as adding the disc does.
    static Tree Walk(const QString& image, FolderLister& lister,
                     std::map<QString, FindData>* found = nullptr)
    {
        const auto describe = [](const SubunitInfo& info, const QString&) {
            return Describe(info.IsFile(), info.Data.Size, info.Data.LastWriteTime);
        };
        return WalkImage(image, lister, describe, found);
    }

    static QStringList ErrorPaths()
    {
        QStringList paths;
        for (const FileSystemError& error : ErrorLog::Instance().FileSystemErrors())
            paths << error.Path;
        return paths;
    }

    QTemporaryDir m_dir;
    QString m_tree = m_dir.filePath(QStringLiteral("tree"));
};

} // namespace

TEST_F(UdfImageFolderListerTest, AUdfOnlyImageListsTheSourceTreeWithSizesAndTimes)
{
    // The image records its entries in code point order: capitals first.
    QFile capital(m_tree + QStringLiteral("/Zulu.txt"));
    ASSERT_TRUE(capital.open(QIODevice::WriteOnly));
    capital.close();
    const QString image = MakeUdfOnly(QStringLiteral("only.udf"));
    int status = -1;
    RunTool(QStringLiteral("isoinfo"), {"-d", "-i", image}, &status);
    EXPECT_NE(status, 0) << "an ISO 9660 volume is left";
    IsoImageFolderLister iso(image);
    EXPECT_NE(iso.Open(), 0);

    UdfImageFolderLister lister(image);
    ASSERT_EQ(lister.Open(), 0);
    std::map<QString, FindData> found;
    EXPECT_EQ(Text(Walk(image, lister, &found)), Text(SourceTree()));
    EXPECT_EQ(Lines(ErrorPaths()), "");
    EXPECT_EQ(found["some.dat"].LastWriteTime, kRecorded);
    // A UDF 1.02 file entry holds no creation time.
    EXPECT_EQ(found["some.dat"].CreationTime, FindData::kNoTime);

    // A folder not listed yet is found by its path; a file or a path outside is not one.
    UdfImageFolderLister fresh(image);
    QStringList names;
    EXPECT_EQ(ListNames(fresh, image + QStringLiteral("/Deep/1/2/3/4"), &names), 0);
    EXPECT_EQ(names, QStringList{QStringLiteral("5")});
    EXPECT_EQ(ListNames(fresh, image + QStringLiteral("/some.dat"), &names), ENOTDIR);
    EXPECT_EQ(ListNames(fresh, image + QStringLiteral("/Deep/None"), &names), ENOENT);
    EXPECT_EQ(ListNames(fresh, m_dir.path(), &names), ENOENT);
    EXPECT_EQ(names.size(), 1);

    // Whatever order the image records them in, a folder's entries come by name.
    names.clear();
    EXPECT_EQ(ListNames(fresh, image, &names), 0);
    EXPECT_EQ(Lines(names), Lines({"Deep", "Empty", kLongName, "some.dat", "zero.bin", "Zulu.txt",
                                   QStringLiteral("Çà et là"), QStringLiteral("日本語 Ωmega")}));
}

TEST_F(UdfImageFolderListerTest, TheChosenListerShowsUdfThenRockRidgeThenJolietNames)
{
    const auto open = [](const QString& image, int* error) {
        return DiscImageLister::Open(image, error);
    };
    int error = -1;
    // A bridge disc: the UDF tree, which is the one its Rock Ridge side holds too.
    const QString bridge = MakeImage(QStringLiteral("bridge.iso"), kBridge);
    std::unique_ptr<FolderLister> lister = open(bridge, &error);
    ASSERT_NE(dynamic_cast<UdfImageFolderLister*>(lister.get()), nullptr);
    EXPECT_EQ(error, 0);
    const Tree listed = Walk(bridge, *lister);
    EXPECT_EQ(Text(listed), Text(SourceTree()));
    QStringList udfPaths;
    for (const auto& entry : listed)
        udfPaths << '/' + entry.first;
    QStringList rockRidgePaths = RunTool(QStringLiteral("isoinfo"), {"-R", "-f", "-i", bridge})
                                     .split('\n', Qt::SkipEmptyParts);
    rockRidgePaths.sort();
    EXPECT_EQ(Lines(udfPaths), Lines(rockRidgePaths));

    lister = open(MakeImage(QStringLiteral("rr.iso"), {"-R", "-J"}), &error);
    const auto* rockRidge = dynamic_cast<IsoImageFolderLister*>(lister.get());
    ASSERT_NE(rockRidge, nullptr);
    EXPECT_EQ(rockRidge->Names(), IsoImageFolderLister::Naming::RockRidge);
    lister = open(MakeImage(QStringLiteral("j.iso"), {"-J"}), &error);
    const auto* joliet = dynamic_cast<IsoImageFolderLister*>(lister.get());
    ASSERT_NE(joliet, nullptr);
    EXPECT_EQ(joliet->Names(), IsoImageFolderLister::Naming::Joliet);
    lister = open(MakeUdfOnly(QStringLiteral("only.udf")), &error);
    EXPECT_NE(dynamic_cast<UdfImageFolderLister*>(lister.get()), nullptr);

    // Empty volumes from mkudffs: extended file entries (UDF 2.01), a sparable partition
    // (rewritable media); a write-once disc's virtual partition is not read.
    if (!QStandardPaths::findExecutable(QStringLiteral("mkudffs")).isEmpty()) {
        for (const QString media : {"dvd", "dvdrw", "cdr"}) {
            const QString image = m_dir.filePath(media + QStringLiteral(".udf"));
            QFile file(image);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(20 << 20));
            file.close();
            int status = -1;
            RunTool(QStringLiteral("mkudffs"), {"--media-type=" + media, image}, &status);
            ASSERT_EQ(status, 0);
            lister = open(image, &error);
            if (media == QLatin1String("cdr")) {
                EXPECT_EQ(lister, nullptr);
                EXPECT_NE(error, 0);
                continue;
            }
            ASSERT_NE(dynamic_cast<UdfImageFolderLister*>(lister.get()), nullptr)
                << media.toStdString();
            QStringList names;
            EXPECT_EQ(ListNames(*lister, image, &names), 0);
            EXPECT_TRUE(names.isEmpty()) << media.toStdString();
        }
    }

    // No disc at all.
    const QString noise = m_dir.filePath(QStringLiteral("noise.img"));
    WriteAll(noise, QByteArray(600 * kBlock, '\x5a'));
    EXPECT_EQ(open(noise, &error), nullptr);
    EXPECT_NE(error, 0);
    EXPECT_EQ(open(m_dir.filePath(QStringLiteral("missing.iso")), &error), nullptr);
    EXPECT_EQ(error, ENOENT);
}

TEST_F(UdfImageFolderListerTest, DamagedImagesReportTheUnreadablePartAndEnd)
{
    const QString source = MakeUdfOnly(QStringLiteral("source.udf"));
    const UdfBytes whole{ReadAll(source)};
    ASSERT_GT(whole.Identifier(QStringLiteral("some.dat")), 0);
    const QString image = m_dir.filePath(QStringLiteral("damaged.udf"));
    const auto walk = [&](const UdfBytes& damaged, std::map<QString, FindData>* found) {
        ErrorLog::Instance().ClearFileSystemErrors();
        WriteAll(image, damaged.Bytes);
        UdfImageFolderLister lister(image);
        return Walk(image, lister, found);
    };
    const Tree expected = SourceTree();
    std::map<QString, FindData> found;

    // A file entry outside the image: the file is left out and its folder reported.
    UdfBytes outside = whole;
    outside.SetIdentifierTarget(QStringLiteral("some.dat"), 0x7FFFFF00);
    Tree listed = walk(outside, &found);
    EXPECT_EQ(listed.count(QStringLiteral("some.dat")), 0u);
    EXPECT_EQ(listed.size(), expected.size() - 1);
    EXPECT_EQ(Lines(ErrorPaths()), Lines(QStringList{image}));

    // A folder's: the folder is there, its own listing fails.
    outside = whole;
    outside.SetIdentifierTarget(QStringLiteral("Empty"), 0x7FFFFF00);
    listed = walk(outside, &found);
    EXPECT_TRUE(found[QStringLiteral("Empty")].IsDirectory());
    EXPECT_EQ(listed.size(), expected.size());
    EXPECT_EQ(Lines(ErrorPaths()), Lines(QStringList{image + QStringLiteral("/Empty")}));

    // A folder that leads back to an ancestor is not walked twice.
    UdfBytes loop = whole;
    const quint32 ancestor = loop.U32(loop.Identifier(QStringLiteral("Deep")) + 24);
    loop.SetIdentifierTarget(QStringLiteral("2"), ancestor);
    listed = walk(loop, &found);
    EXPECT_TRUE(found[QStringLiteral("Deep/1/2")].IsDirectory());
    EXPECT_EQ(listed.count(QStringLiteral("Deep/1/2/1")), 0u);
    EXPECT_EQ(listed.count(QStringLiteral("Deep/1/2/3")), 0u);
    EXPECT_TRUE(ErrorPaths().isEmpty());

    // A file of more than 4 GiB.
    UdfBytes large = whole;
    qToLittleEndian<quint64>(5ULL << 30, large.Bytes.data() + large.Entry("some.dat") + 56);
    walk(large, &found);
    EXPECT_EQ(found[QStringLiteral("some.dat")].Size, 5ULL << 30);

    // A local time with its offset from UTC, in hundredths and hundreds of microseconds.
    UdfBytes local = whole;
    const int stamp = local.Entry("zero.bin") + 84;
    qToLittleEndian<quint16>(0x1000 | (-300 & 0x0FFF), local.Bytes.data() + stamp);
    qToLittleEndian<qint16>(2021, local.Bytes.data() + stamp + 2);
    local.Bytes.replace(stamp + 4, 8, QByteArray::fromHex("070e101e0f193200"));
    walk(local, &found);
    EXPECT_EQ(found[QStringLiteral("zero.bin")].LastWriteTime, kRecorded + 255);

    // A folder claiming a huge length, and an image cut off in its folders' entries.
    UdfBytes huge = whole;
    qToLittleEndian<quint64>(1ULL << 40, huge.Bytes.data() + huge.Entry("Deep") + 56);
    listed = walk(huge, &found);
    EXPECT_EQ(Lines(ErrorPaths()), Lines(QStringList{image + QStringLiteral("/Deep")}));
    UdfBytes cut = whole;
    cut.Bytes.truncate(cut.Entry(QStringLiteral("Deep")));
    listed = walk(cut, &found);
    EXPECT_LT(listed.size(), expected.size());
    EXPECT_FALSE(ErrorPaths().isEmpty());

    // Bytes scrambled in the volume and folder structures: every walk ends.
    std::minstd_rand random(20240611);
    const int structuresEnd = whole.Entry(QStringLiteral("some.dat")) + kBlock;
    for (int variant = 0; variant < 150; ++variant) {
        UdfBytes scrambled = whole;
        for (int hit = 0; hit < 8; ++hit)
            scrambled
                .Bytes[16 * kBlock + static_cast<int>(random() % (structuresEnd - 16 * kBlock))] =
                static_cast<char>(random());
        walk(scrambled, nullptr);
    }
}

TEST_F(UdfImageFolderListerTest, SymbolicLinksAreListedWithTheTextOfTheirPathComponents)
{
    // genisoimage writes a link on the UDF side as an empty file; each such entry is made
    // a symbolic link here, its path components held in the entry, as Linux writes them.
    // A component: its type, the length of its name, a version, the name (8-bit names
    // after the byte 8, 16-bit ones after 16).
    const auto component = [](char type, const QByteArray& name = QByteArray()) {
        const QByteArray identifier = name.isEmpty() || name[0] == 16 ? name : '\x08' + name;
        return QByteArray(1, type) + static_cast<char>(identifier.size()) + QByteArray(2, '\0') +
               identifier;
    };
    const std::map<QString, std::pair<QByteArray, QString>> links{
        {"absolute", {component(2) + component(5, "tmp"), "/tmp"}},
        {"up", {component(3) + component(5, "Deep") + component(5, "1"), "../Deep/1"}},
        {"self", {component(4), "."}},
        {"unicode", {component(5, QByteArray::fromHex("10540d524d")), QStringLiteral("名前")}}};
    for (const auto& [name, link] : links)
        ASSERT_TRUE(QFile::link(QStringLiteral("some.dat"), m_tree + '/' + name));
    const QString source = MakeUdfOnly(QStringLiteral("links.udf"));
    UdfBytes udf{ReadAll(source)};
    for (const auto& [name, link] : links) {
        const int entry = udf.Entry(name);
        ASSERT_EQ(udf.U32(entry + 172), 0u) << "an empty file has no allocation descriptors";
        udf.Bytes[entry + 27] = 12; // the file type of a symbolic link
        udf.Bytes[entry + 34] = static_cast<char>((udf.Bytes[entry + 34] & ~7) | 3);
        qToLittleEndian<quint64>(link.first.size(), udf.Bytes.data() + entry + 56);
        qToLittleEndian<quint32>(link.first.size(), udf.Bytes.data() + entry + 172);
        udf.Bytes.replace(entry + 176 + static_cast<int>(udf.U32(entry + 168)),
                          static_cast<int>(link.first.size()), link.first);
    }
    const QString image = m_dir.filePath(QStringLiteral("symlinks.udf"));
    WriteAll(image, udf.Bytes);

    UdfImageFolderLister lister(image);
    std::map<QString, FindData> found;
    Walk(image, lister, &found);
    EXPECT_TRUE(ErrorPaths().isEmpty());
    for (const auto& [name, link] : links) {
        const FindData& data = found[name];
        EXPECT_TRUE(data.IsLink() && !data.IsDirectory()) << name.toStdString();
        EXPECT_EQ(data.Size, 0u);
        ASSERT_TRUE(data.Link) << name.toStdString();
        EXPECT_EQ(data.Link->Text, link.second);
    }
    EXPECT_FALSE(found["some.dat"].IsLink());
    EXPECT_EQ(found["some.dat"].Size, 5000u);
}

TEST_F(UdfImageFolderListerTest, AddDiscCataloguesAUdfOnlyImageAndItsDamage)
{
    const QString image = MakeUdfOnly(QStringLiteral("only.udf"));
    QTemporaryDir settings;
    QProcessEnvironment env = CliEnvironment(settings.path());
    env.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
    const auto cli = [&](const QStringList& arguments) {
        return RunCli(arguments, env, m_dir.path());
    };
    const QString catalogue = m_dir.filePath(QStringLiteral("cat.db3"));
    ASSERT_EQ(cli({"new", catalogue}).status, 0);
    ASSERT_EQ(cli({"add-storage", catalogue, "Shelf"}).status, 0);
    const CliResult added = cli({"add-disc", catalogue, "Shelf", image});
    ASSERT_EQ(added.status, 0) << added.err.toStdString();
    EXPECT_TRUE(added.err.isEmpty()) << added.err.toStdString();

    CSqliteWrapper db;
    db.Open(catalogue, false);
    std::vector<QString> rows;
    db.QueryRows(QStringLiteral("SELECT u.UnitName || ' ' || u.UnitType || ' ' || u.UnitSize || "
                                "' in ' || p.UnitName FROM Units u JOIN Units p ON p.UnitID = "
                                "u.ParentUnitID WHERE u.UnitType = 'F' ORDER BY 1"),
                 rows, &RowMappers::Texts);
    QStringList expected;
    for (const auto& [path, what] : SourceTree()) {
        if (what.startsWith(QLatin1String("file"))) {
            const QString parent = QFileInfo(path).path();
            expected << QFileInfo(path).fileName() + QStringLiteral(" F ") +
                            what.section(' ', 1, 1) + QStringLiteral(" in ") +
                            (parent == QLatin1String(".") ? QStringLiteral("UDF_DISC")
                                                          : QFileInfo(parent).fileName());
        }
    }
    expected.sort();
    EXPECT_EQ(Lines(QStringList(rows.begin(), rows.end())), Lines(expected));
    // The disc records no creation times: a disc's files take their recording date.
    rows.clear();
    db.QueryRows(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType = 'F' AND "
                                "(DateCreated IS NULL OR DateCreated <> DateModified)"),
                 rows, &RowMappers::Texts);
    EXPECT_EQ(Lines(QStringList(rows.begin(), rows.end())), "0");
    db.Close();
    EXPECT_EQ(cli({"check", catalogue}).status, 0);

    // A damaged image: the part read is added, the rest is reported.
    UdfBytes damaged{ReadAll(image)};
    damaged.SetIdentifierTarget(QStringLiteral("Deep"), 0x7FFFFF00);
    const QString broken = m_dir.filePath(QStringLiteral("broken.udf"));
    WriteAll(broken, damaged.Bytes);
    const CliResult partly =
        cli({"add-disc", catalogue, "Shelf", broken, "--name", "B", "--force"});
    EXPECT_EQ(partly.status, 0) << partly.err.toStdString();
    EXPECT_TRUE(partly.err.contains(broken + QStringLiteral("/Deep"))) << partly.err.toStdString();
    EXPECT_EQ(cli({"check", catalogue}).status, 0);
}
