// Export then import gives the same tree: a catalogue made by the real program from a
// folder tree and a disc image, exported as CSV, flat JSON and nested JSON, each
// imported into a storage of its own, and the storages compared unit by unit.
#include "TestCatalogue.h"

#include "cli/CliProcess.h"
#include "sqlitewrapper/SqliteWrapper.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Everything a storage holds, one line per unit in path order: kind, path, size,
// dates, notes, category and the stored counters.
QStringList Tree(CSqliteWrapper& db, int id, bool topLevel, const QString& prefix)
{
    QStringList lines;
    std::vector<UnitListItem> children;
    db.GetSubunits(children, id, topLevel);
    for (const UnitListItem& unit : children) {
        const QString path = prefix + QLatin1Char('/') + unit.UnitName;
        QString line = QStringLiteral("%1 %2 size=%3 cat=%4")
                           .arg(static_cast<int>(unit.Kind))
                           .arg(path)
                           .arg(unit.UnitSize)
                           .arg(unit.CategoryID);
        if (unit.Kind == UnitKind::File) {
            const FileDetails file = db.GetFileProperties(unit.UnitID);
            line += QStringLiteral(" modified=%1 created=%2 notes=%3")
                        .arg(file.DateModified, file.DateCreated, file.UnitNotes);
        } else {
            const FolderDetails folder = db.GetFolderProperties(unit.UnitID);
            line += QStringLiteral(" files=%1 folders=%2 notes=%3")
                        .arg(folder.SubfilesNumber)
                        .arg(folder.SubfoldersNumber)
                        .arg(folder.UnitNotes);
            // A disc keeps when it was catalogued.
            if (unit.Kind == UnitKind::Disc)
                line += QStringLiteral(" added=") + folder.DateAdded;
            lines << line;
            lines << Tree(db, unit.UnitID, false, path);
            continue;
        }
        lines << line;
    }
    lines.sort();
    return lines;
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
        // An archive: the export lists its entries below it, the import takes it back as
        // the file it is.
        if (!QStandardPaths::findExecutable(QStringLiteral("zip")).isEmpty()) {
            MakeFile(QStringLiteral("zipped/inner/entry.txt"), "inside");
            QProcess zip;
            zip.setWorkingDirectory(m_dir.filePath(QStringLiteral("zipped")));
            zip.start(QStringLiteral("zip"),
                      {"-qr", m_dir.filePath(QStringLiteral("tree/Sub folder/pack.zip")), "inner"});
            ASSERT_TRUE(zip.waitForFinished(60000) && zip.exitCode() == 0);
            m_withArchive = true;
        }
        ASSERT_EQ(Run({"new", m_cat}).status, 0);
        ASSERT_EQ(Run({"add-storage", m_cat, "Shelf"}).status, 0);
        ASSERT_EQ(
            Run({"add-folder", m_cat, "Shelf", m_dir.filePath(QStringLiteral("tree"))}).status, 0);
        ASSERT_EQ(Run({"add-file", m_cat, "Shelf", m_dir.filePath(QStringLiteral("loose.txt")),
                       "--notes", "kept, \"quoted\"\nsecond line"})
                      .status,
                  0);
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
                return Tree(db, storage.StorageID, true, QString());
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
};

} // namespace

TEST_F(ImportRoundTrip, CsvFlatJsonAndNestedJsonComeBackUnitForUnit)
{
    StorageRecord original;
    const QStringList tree = StorageTree(QStringLiteral("Shelf"), &original);
    ASSERT_GE(tree.size(), 9);
    if (m_withDisc) {
        EXPECT_TRUE(tree.join(QLatin1Char('\n')).contains(QStringLiteral("/BACKUP ")));
    }

    const struct
    {
        const char* storage;
        QStringList exportArgs;
    } cases[] = {
        {"From CSV", {"--format", "csv"}},
        {"From JSON", {"--format", "json"}},
        {"From nested JSON", {"--format", "json", "--nested"}},
    };
    int i = 0;
    for (const auto& c : cases) {
        const QString list = m_dir.filePath(QStringLiteral("list%1").arg(++i));
        ASSERT_EQ(
            Run(QStringList{"export", m_cat, "Shelf", "--output", list} + c.exportArgs).status, 0);
        if (m_withArchive) {
            QFile written(list);
            ASSERT_TRUE(written.open(QIODevice::ReadOnly));
            EXPECT_TRUE(written.readAll().contains("pack.zip/inner/entry.txt"));
        }
        // The format is guessed from the content: the file names say nothing.
        const CliResult imported = Run({"import", m_cat, c.storage, list});
        ASSERT_EQ(imported.status, 0) << imported.err.toStdString();
        EXPECT_TRUE(imported.out.contains(QStringLiteral("\t%1\t%2\t%3")
                                              .arg(original.DiscsNumber)
                                              .arg(original.FoldersNumber)
                                              .arg(original.FilesNumber)))
            << imported.out.toStdString();

        StorageRecord copy;
        EXPECT_EQ(StorageTree(QString::fromLatin1(c.storage), &copy), tree) << c.storage;
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
