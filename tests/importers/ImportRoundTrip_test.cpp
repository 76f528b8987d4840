// Export then import gives the same tree: a catalogue made by the real program from a
// folder tree and a disc image, exported as CSV, flat JSON and nested JSON, each
// imported into a storage of its own, and the storages compared unit by unit.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Everything a storage holds, one line per unit in path order: kind, path, size, dates
// (added among them), notes, category, media details, the stored counters, and for an
// archive its ArchiveInfo row; archives' entries included.
QStringList Tree(CSqliteWrapper& db, int storageId, int parentId, const QString& prefix)
{
    QStringList lines;
    std::vector<ExportRecord> children;
    db.GetExportChildren(storageId, parentId, children);
    for (const ExportRecord& unit : children) {
        const QString path = prefix + QLatin1Char('/') + unit.Name;
        const auto n = [](const CNullable<qint64>& v) {
            return v.IsNull() ? QStringLiteral("-") : QString::number(v.Value());
        };
        QString line = QStringLiteral("%1 %2 size=%3 cat=%4 added=%5 modified=%6 created=%7 "
                                      "notes=%8 media=%9")
                           .arg(static_cast<int>(unit.Kind))
                           .arg(path)
                           .arg(unit.Size)
                           .arg(unit.Category, unit.Added, unit.Modified, unit.Created, unit.Notes,
                                QStringList{n(unit.Duration), n(unit.Width), n(unit.Height),
                                            n(unit.Bitrate), unit.Codec, unit.Artist, unit.Title,
                                            unit.Album, n(unit.Year), n(unit.Track), unit.Genre}
                                    .join(QLatin1Char('|')));
        if (unit.Kind != UnitKind::File) {
            const FolderDetails folder = db.GetFolderProperties(unit.UnitID);
            line += QStringLiteral(" files=%1 folders=%2")
                        .arg(folder.SubfilesNumber)
                        .arg(folder.SubfoldersNumber);
        }
        ArchiveDetails archive;
        if (db.GetArchiveInfo(unit.UnitID, archive))
            line += QStringLiteral(" archive=%1,%2,%3")
                        .arg(archive.Format)
                        .arg(archive.EntriesNumber)
                        .arg(archive.UncompressedSize);
        lines << line << Tree(db, storageId, unit.UnitID, path);
    }
    lines.sort();
    return lines;
}

bool Make(const QString& program, const QStringList& arguments, const QString& in = QString())
{
    QProcess process;
    process.setWorkingDirectory(in);
    process.start(program, arguments);
    return process.waitForFinished(60000) && process.exitCode() == 0;
}

class ImportRoundTrip : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_cat = m_dir.filePath(QStringLiteral("c.db3"));
        MakeFile(QStringLiteral("tree/a, b.txt"), "12345");
        MakeFile(QStringLiteral("tree/Sub folder/Anna's \"notes\".txt"), "x");
        MakeFile(QStringLiteral("tree/Sub folder/Été/Ünïcode 日本.mp3"), "song");
        MakeFile(QStringLiteral("tree/Sub folder/Été/deeper/empty.bin"), "");
        ASSERT_TRUE(QDir(m_dir.path()).mkpath(QStringLiteral("tree/empty folder")));
        MakeFile(QStringLiteral("loose.txt"), "loose file");
        // An archive with a folder and a nested archive inside: the export lists its
        // entries below it, the import writes them back as entries.
        if (!QStandardPaths::findExecutable(QStringLiteral("zip")).isEmpty()) {
            MakeFile(QStringLiteral("zipped/inner/entry.txt"), "inside");
            MakeFile(QStringLiteral("nested/deep.txt"), "deeper inside");
            const QString zipped = m_dir.filePath(QStringLiteral("zipped"));
            ASSERT_TRUE(Make("zip", {"-q", zipped + "/inner/n.zip", "deep.txt"},
                             m_dir.filePath(QStringLiteral("nested"))));
            ASSERT_TRUE(
                Make("zip", {"-qr", m_dir.filePath("tree/Sub folder/pack.zip"), "inner"}, zipped));
            m_withArchive = true;
        }
        // A song with tags and a picture: their media rows go out and come back.
        if (!QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty() &&
            !QStandardPaths::findExecutable(QStringLiteral("convert")).isEmpty()) {
            ASSERT_TRUE(
                Make("ffmpeg", {"-v", "error", "-y", "-nostdin", "-f", "lavfi", "-i",
                                "sine=frequency=440:duration=2", "-metadata", "title=Round Trip",
                                "-metadata", "artist=The Testers", "-metadata", "album=Exports",
                                "-metadata", "date=1999", m_dir.filePath("tree/song.mp3")}));
            ASSERT_TRUE(Make("convert",
                             {"-size", "40x30", "xc:orange", m_dir.filePath("tree/picture.png")}));
            m_withMedia = true;
        }
        ASSERT_EQ(Run({"new", m_cat}).status, 0);
        ASSERT_EQ(Run({"add-storage", m_cat, "Shelf"}).status, 0);
        ASSERT_EQ(
            Run({"add-folder", m_cat, "Shelf", m_dir.filePath(QStringLiteral("tree"))}).status, 0);
        ASSERT_EQ(Run({"add-file", m_cat, "Shelf", m_dir.filePath(QStringLiteral("loose.txt")),
                       "--notes", "kept, \"quoted\"\nsecond line"})
                      .status,
                  0);
        // A category set by hand on one file.
        ASSERT_EQ(Run({"add-category", m_cat, "Letters"}).status, 0);
        SetCategoryOf(QStringLiteral("a, b.txt"), QStringLiteral("Letters"));
        if (!QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty()) {
            MakeFile(QStringLiteral("disc/Docs/letter.txt"), QByteArray(3000, 'a'));
            MakeFile(QStringLiteral("disc/Photos/2012/IMG_0001.jpg"), QByteArray(10, 'b'));
            const QString image = m_dir.filePath(QStringLiteral("d.iso"));
            QProcess xorriso;
            xorriso.start(QStringLiteral("xorriso"),
                          {"-as", "mkisofs", "-J", "-R", "-V", "BACKUP", "-o", image,
                           m_dir.filePath(QStringLiteral("disc"))});
            ASSERT_TRUE(xorriso.waitForFinished(60000) && xorriso.exitCode() == 0);
            ASSERT_EQ(Run({"add-disc", m_cat, "Shelf", image, "--notes", "disc notes"}).status, 0);
            m_withDisc = true;
        }
    }

    void MakeFile(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        // Dates far from the run's own, so that a date lost on the way shows.
        ASSERT_TRUE(file.setFileTime(QDateTime(QDate(2011, 2, 3), QTime(4, 5, 6), Qt::UTC),
                                     QFileDevice::FileModificationTime));
    }

    void SetCategoryOf(const QString& name, const QString& category)
    {
        CSqliteWrapper db;
        db.Open(m_cat, false);
        int id = 0;
        for (int unitId = 1; id == 0 && unitId < 100; ++unitId) {
            try {
                if (db.GetUnit(unitId).UnitName == name)
                    id = unitId;
            } catch (const std::out_of_range&) {
            }
        }
        db.Close();
        ASSERT_GT(id, 0);
        ASSERT_EQ(Run({"set-category", m_cat, "--unit", QString::number(id), category}).status, 0);
    }

    CliResult Run(const QStringList& arguments)
    {
        return RunCli(arguments, CliEnvironment(m_settings.path()));
    }

    QStringList StorageTree(const QString& name, StorageRecord* record = nullptr)
    {
        CSqliteWrapper db;
        db.Open(m_cat, false);
        std::vector<StorageRecord> storages;
        db.GetStorages(storages);
        for (const StorageRecord& storage : storages) {
            if (storage.StorageName == name) {
                if (record)
                    *record = storage;
                return Tree(db, storage.StorageID, 0, QString());
            }
        }
        ADD_FAILURE() << "no storage " << name.toStdString();
        return {};
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_settings;
    QString m_cat;
    bool m_withDisc = false;
    bool m_withArchive = false;
    bool m_withMedia = false;
};

} // namespace

TEST_F(ImportRoundTrip, CsvFlatJsonAndNestedJsonComeBackUnitForUnit)
{
    StorageRecord original;
    const QStringList tree = StorageTree(QStringLiteral("Shelf"), &original);
    ASSERT_GE(tree.size(), 9);
    const QString all = tree.join(QLatin1Char('\n'));
    EXPECT_TRUE(all.contains(QStringLiteral("a, b.txt size=5 cat=Letters"))) << all.toStdString();
    if (m_withDisc) {
        EXPECT_TRUE(all.contains(QStringLiteral("/BACKUP ")));
    }
    if (m_withArchive) {
        EXPECT_TRUE(all.contains(QStringLiteral("pack.zip size="))) << all.toStdString();
        EXPECT_TRUE(all.contains(QStringLiteral("inner/n.zip/deep.txt"))) << all.toStdString();
    }
    if (m_withMedia) {
        EXPECT_TRUE(all.contains(QStringLiteral("|The Testers|Round Trip|Exports|1999|")));
        EXPECT_TRUE(all.contains(QStringLiteral("media=-|40|30|"))) << all.toStdString();
    }

    const struct
    {
        const char* storage;
        QStringList exportArgs;
    } cases[] = {
        {"From CSV", {"--format", "csv"}},
        {"From JSON", {"--format", "json"}},
        {"From nested JSON", {"--format", "json", "--nested"}},
        {"From older CSV", {"--format", "csv"}},
    };
    int i = 0;
    for (const auto& c : cases) {
        const QString list = m_dir.filePath(QStringLiteral("list%1").arg(++i));
        ASSERT_EQ(
            Run(QStringList{"export", m_cat, "Shelf", "--output", list} + c.exportArgs).status, 0);
        QFile written(list);
        ASSERT_TRUE(written.open(QIODevice::ReadWrite));
        QByteArray text = written.readAll();
        if (m_withArchive) {
            EXPECT_TRUE(text.contains("pack.zip/inner/entry.txt"));
        }
        QStringList expected = tree;
        if (QByteArray(c.storage).contains("older")) {
            // As written before the archive column: the last field of every record goes
            // (records end in CR LF, line breaks in notes are LF alone), and archives
            // take their extension for a format.
            text = QString::fromUtf8(text)
                       .replace(QRegularExpression(QStringLiteral(",[^,\r\n]*\r\n")),
                                QStringLiteral("\r\n"))
                       .toUtf8();
            written.resize(0);
            written.write(text);
            expected.replaceInStrings(QRegularExpression(QStringLiteral(" archive=[^,]*,")),
                                      QStringLiteral(" archive=ZIP,"));
        }
        written.close();
        // The format is guessed from the content: the file names say nothing.
        const CliResult imported = Run({"import", m_cat, c.storage, list});
        ASSERT_EQ(imported.status, 0) << imported.err.toStdString();
        EXPECT_TRUE(imported.out.contains(QStringLiteral("\t%1\t%2\t%3")
                                              .arg(original.DiscsNumber)
                                              .arg(original.FoldersNumber)
                                              .arg(original.FilesNumber)))
            << imported.out.toStdString();

        StorageRecord copy;
        EXPECT_EQ(StorageTree(QString::fromLatin1(c.storage), &copy), expected) << c.storage;
        EXPECT_EQ(copy.FilesNumber, original.FilesNumber) << c.storage;
        EXPECT_EQ(copy.FoldersNumber, original.FoldersNumber) << c.storage;
        EXPECT_EQ(copy.DiscsNumber, original.DiscsNumber) << c.storage;
        EXPECT_EQ(copy.StorageSize, original.StorageSize) << c.storage;
    }
    // Every stored counter agrees with what lies below it.
    const CliResult check = Run({"check", m_cat});
    EXPECT_EQ(check.status, 0);
    EXPECT_TRUE(check.out.trimmed().isEmpty()) << check.out.toStdString();
}
