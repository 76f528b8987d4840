// Importing a list into a copy of the sample catalogue through the document, as the
// window and the command line do: what an Everything file list becomes (discs, folders
// made on demand, sizes past 4 GB, FILETIME dates, odd names), that a broken list or a
// cancel leaves every row as it was, and that an import undoes and redoes as one step.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "document/CatalogueCheck.h"
#include "document/ShelfwiseDoc.h"
#include "importers/ImportJob.h"
#include "importers/ListReaders.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

void JoinColumns(std::vector<QString>& rows, int columns, char** values)
{
    QStringList fields;
    for (int c = 0; c < columns; ++c)
        fields << (values[c] ? QString::fromUtf8(values[c]) : QStringLiteral("<null>"));
    rows.push_back(fields.join(QLatin1Char('|')));
}

QStringList Query(CSqliteWrapper& db, const QString& sql)
{
    std::vector<QString> lines;
    db.QueryRows(sql, lines, &JoinColumns);
    return QStringList(lines.begin(), lines.end());
}

// Every row of every table the import writes, with its ids.
QStringList Rows(CSqliteWrapper& db)
{
    QStringList rows;
    for (const char* table : {"Storages", "DiscInfo", "Units", "UnitNameIndexPending"}) {
        for (const QString& line :
             Query(db, QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(QLatin1String(table))))
            rows << QLatin1String(table) + QStringLiteral(": ") + line;
    }
    return rows;
}

QString Disagreements(CSqliteWrapper& db)
{
    QStringList lines;
    for (const CatalogueDisagreement& d : CCatalogueCheck(db).Run())
        lines << CCatalogueCheck::Describe(d);
    return lines.join(QLatin1Char('\n'));
}

// A FILETIME number as the local time text the catalogue stores.
QString StoredTime(qint64 filetime)
{
    return QDateTime::fromMSecsSinceEpoch(filetime / 10000 - 11644473600000LL, Qt::UTC)
        .toLocalTime()
        .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

// Written by hand from Everything's description of the format: full Windows paths in
// quotes (a quote in a name doubled), sizes in bytes, FILETIME dates (empty or 0 when
// unknown), attribute 16 for a folder. C:\Music\Sub and C:\Films are never listed.
const char kEfu[] = "Filename,Size,Date Modified,Date Created,Attributes\r\n"
                    "\"C:\\\",0,,,16\r\n"
                    "\"C:\\Music\",0,132000000000000000,,16\r\n"
                    "\"C:\\Music\\Queen, \"\"Live\"\" – Ünïcode 日本.flac\",5368709120,"
                    "132000000000000000,131000000000000000,32\r\n"
                    "\"C:\\Music\\Sub\\deep.txt\",12,,,32\r\n"
                    "\"C:\\Films\\big.mkv\",4294967297,0,0,32\r\n"
                    "\"D:\\readme.txt\",3,,,32\r\n";

class ImportJob : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_path = CopySampleCatalogue(m_dir.filePath("sample.db3"));
        ASSERT_TRUE(m_doc.OnOpenDocument(m_path));
    }

    QString WriteList(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path;
    }

    // Runs an import to its end; the outcome.
    WorkOutcome Import(CImportJob& job, const QString& list, const QString& storage,
                       bool cancel = false)
    {
        QSignalSpy finished(&job, &CImportJob::finished);
        if (!job.Start(list, ListReaders::GuessFile(list), storage))
            return WorkOutcome::Failed;
        if (cancel)
            job.Cancel();
        EXPECT_TRUE(finished.wait(60000));
        return finished.isEmpty() ? WorkOutcome::Failed
                                  : finished.first().first().value<WorkOutcome>();
    }

    CSqliteWrapper& Db() { return m_doc.Database(); }

    FakePrompter m_prompter;
    QTemporaryDir m_dir;
    QString m_path;
    CShelfwiseDoc m_doc;
};

} // namespace

TEST_F(ImportJob, AnEverythingListBecomesDiscsWithFoldersMadeOnDemand)
{
    const QString list = WriteList(QStringLiteral("drives.efu"), kEfu);
    CImportJob job(m_doc);
    ASSERT_EQ(Import(job, list, QStringLiteral("From Everything")), WorkOutcome::Succeeded);
    EXPECT_EQ(job.Added().Discs, 2);
    EXPECT_EQ(job.Added().Folders, 3);
    EXPECT_EQ(job.Added().Files, 4);

    const int storage = job.StorageId();
    // In id order: files wait for a multi-row insert while the next folder is written.
    const QString units = QStringLiteral(
        "SELECT UnitType, UnitName, UnitSize, SubfilesNumber, SubfoldersNumber, DateModified, "
        "DateCreated FROM Units WHERE StorageID = %1 ORDER BY UnitID");
    const qint64 discC = 5368709120LL + 12 + 4294967297LL;
    EXPECT_EQ(Query(Db(), units.arg(storage)).join(QLatin1Char('\n')).toStdString(),
              (QStringList{
                   QStringLiteral("C|C:|%1|3|3|<null>|<null>").arg(discC),
                   QStringLiteral("D|Music|5368709132|2|1|<null>|<null>"),
                   QStringLiteral("F|Queen, \"Live\" – Ünïcode 日本.flac|5368709120|0|0|%1|%2")
                       .arg(StoredTime(132000000000000000LL), StoredTime(131000000000000000LL)),
                   QStringLiteral("D|Sub|12|1|0|<null>|<null>"),
                   QStringLiteral("D|Films|4294967297|1|0|<null>|<null>"),
                   QStringLiteral("F|deep.txt|12|0|0|<null>|<null>"),
                   QStringLiteral("F|big.mkv|4294967297|0|0|<null>|<null>"),
                   QStringLiteral("C|D:|3|1|0|<null>|<null>"),
                   QStringLiteral("F|readme.txt|3|0|0|<null>|<null>"),
               })
                  .join(QLatin1Char('\n'))
                  .toStdString());
    EXPECT_EQ(Query(Db(), QStringLiteral("SELECT DiscsNumber, FoldersNumber, FilesNumber, "
                                         "StorageSize FROM Storages WHERE StorageID = %1")
                              .arg(storage)),
              QStringList{QStringLiteral("2|3|4|%1").arg(discC + 3)});
    // Categories by extension, as an addition gives them; names wait for the index.
    EXPECT_EQ(Query(Db(), QStringLiteral("SELECT CategoryID FROM Units WHERE UnitName = "
                                         "'big.mkv' AND StorageID = %1")
                              .arg(storage)),
              QStringList{QString::number(CategoryIds::Film)});
    EXPECT_EQ(Query(Db(), QStringLiteral("SELECT count(*) FROM UnitNameIndexPending JOIN Units "
                                         "USING (UnitID) WHERE StorageID = %1")
                              .arg(storage)),
              QStringList{QStringLiteral("9")});
    EXPECT_EQ(Disagreements(Db()), QString());
}

TEST_F(ImportJob, ABrokenListIsReportedWithItsLineAndAddsNothing)
{
    const QStringList before = Rows(Db());
    const QByteArray header = "path,name,type,size,modified,created,added,category,notes,storage,"
                              "duration,width,height,bitrate,codec,artist,title,album,year,track,"
                              "genre\r\n";
    const QByteArray good = "Disc 1,Disc 1,Disc,5,,,,General,,S,,,,,,,,,,,\r\n"
                            "Disc 1/a.txt,a.txt,File,5,2020-01-02T03:04:05,,,General,,S,,,,,,,,,,,"
                            "\r\n";
    const struct
    {
        const char* name;
        QByteArray bytes;
        int line;
        const char* message;
    } lists[] = {
        {"type.csv", header + good + "Disc 1/b,b,Gadget,1,,,,,,S,,,,,,,,,,,\r\n", 4, "Gadget"},
        {"size.csv", header + good + "Disc 1/c,c,File,lots,,,,,,S,,,,,,,,,,,\r\n", 4, "lots"},
        {"date.csv", header + good + "Disc 1/d,d,File,1,yesterday,,,,,S,,,,,,,,,,,\r\n", 4,
         "yesterday"},
        {"quote.csv", header + good + "\"Disc 1/e,e,File,1,,,,,,S,,,,,,,,,,,\r\n", 4, "quoted"},
        {"short.csv", header + good + "Disc 1/f,f,File\r\n", 4, "fields"},
        {"size.efu", QByteArray(kEfu) + "\"C:\\x\",-4,,,32\r\n", 8, "-4"},
        {"syntax.json", "[\n{\"path\":\"D\",\"type\":\"Disc\",\"storage\":\"S\"},\n{\"path\":\n]\n",
         4, ""},
    };
    for (const auto& list : lists) {
        CImportJob job(m_doc);
        const QString path = WriteList(QString::fromLatin1(list.name), list.bytes);
        EXPECT_EQ(Import(job, path, QStringLiteral("Broken")), WorkOutcome::Failed) << list.name;
        ASSERT_TRUE(job.ListError().has_value()) << list.name;
        EXPECT_EQ(job.ListError()->Line, list.line) << list.name;
        EXPECT_TRUE(job.ListError()->Message.contains(QLatin1String(list.message)))
            << list.name << ": " << job.ListError()->Message.toStdString();
        EXPECT_EQ(Rows(Db()), before) << list.name;
    }
    EXPECT_FALSE(m_doc.History().CanUndo());
}

TEST_F(ImportJob, AnImportUndoesAndRedoesAsOneStepAndACancelAddsNothing)
{
    if (!CSqliteWrapper::CanRecordChanges())
        GTEST_SKIP() << "this SQLite has no session extension";
    const QStringList before = Rows(Db());
    const QString list = WriteList(QStringLiteral("drives.efu"), kEfu);
    {
        CImportJob job(m_doc);
        EXPECT_EQ(Import(job, list, QStringLiteral("Cancelled"), true), WorkOutcome::Cancelled);
        EXPECT_EQ(Rows(Db()), before);
    }

    CImportJob job(m_doc);
    ASSERT_EQ(Import(job, list, QStringLiteral("New storage")), WorkOutcome::Succeeded);
    const QStringList afterFirst = Rows(Db());
    // Into a storage that is there already: the storage stays when this is undone.
    const QString existing = m_doc.Storages().front().StorageName;
    ASSERT_EQ(Import(job, list, existing), WorkOutcome::Succeeded);
    const QStringList afterSecond = Rows(Db());
    EXPECT_EQ(Disagreements(Db()), QString());
    EXPECT_EQ(m_doc.History().UndoDescription(), QStringLiteral("Import \"drives.efu\""));

    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(Rows(Db()), afterFirst);
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(Rows(Db()), before);
    EXPECT_EQ(Disagreements(Db()), QString());
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_EQ(Rows(Db()), afterFirst);
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_EQ(Rows(Db()), afterSecond);
    ASSERT_TRUE(m_doc.Undo());
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(Rows(Db()), before);
}
