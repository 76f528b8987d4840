// Undo and Redo of the document's edits and additions on copies of the sample
// catalogue: every kind of edit goes back to exactly the rows before it (ids
// included) and forward to exactly the rows after it, with every counter right, over
// many levels; additions undo without having been recorded; the history's life with
// New, Open, Save and Compress; and a step that no longer fits changes nothing.
#include "FakePrompter.h"
#include "TestCatalogue.h"

#include "acquisition/AddLocationJob.h"
#include "document/CatalogueCheck.h"
#include "document/ShelfwiseDoc.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

namespace {

void JoinColumns(std::vector<QString>& rows, int columns, char** values)
{
    QStringList fields;
    for (int c = 0; c < columns; ++c)
        fields << (values[c] ? QString::fromUtf8(values[c]) : QStringLiteral("<null>"));
    rows.push_back(fields.join(QLatin1Char('|')));
}

// Every row of every table, in stored order and with its ids (the extension map has no
// ids: its rows in their order).
QStringList Rows(CSqliteWrapper& db)
{
    QStringList rows;
    for (const char* table :
         {"DatabaseVersion", "Storages", "DiscInfo", "Units", "UnitSources", "FilmInfo",
          "MusicInfo", "PictureInfo", "Categories", "FileExtensions"}) {
        std::vector<QString> lines;
        db.QueryRows(QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(QLatin1String(table)),
                     lines, &JoinColumns);
        for (const QString& line : lines)
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

class EditHistory : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!CSqliteWrapper::CanRecordChanges())
            GTEST_SKIP() << "this SQLite has no session extension";
        m_path = CopySampleCatalogue(m_dir.filePath("sample.db3"));
        ASSERT_TRUE(m_doc.OnOpenDocument(m_path));
        ASSERT_EQ(Disagreements(m_doc.Database()), QString());
    }

    QStringList Rows() { return ::Rows(m_doc.Database()); }

    // Undo gives the rows before, Redo the rows after, the counters right each time.
    void ExpectUndoAndRedo(const QStringList& before, const QStringList& after)
    {
        ASSERT_TRUE(m_doc.Undo());
        EXPECT_EQ(Rows(), before);
        EXPECT_EQ(Disagreements(m_doc.Database()), QString());
        ASSERT_TRUE(m_doc.Redo());
        EXPECT_EQ(Rows(), after);
        EXPECT_EQ(Disagreements(m_doc.Database()), QString());
    }

    // Runs an addition to Anna's drawer (storage 4) to its end.
    bool Add(CAddLocationJob::Mode mode, const QString& path)
    {
        CAddLocationJob job(m_doc);
        QEventLoop loop;
        bool succeeded = false;
        QObject::connect(&job, &CAddLocationJob::finished, [&](WorkOutcome o) {
            succeeded = o == WorkOutcome::Succeeded;
            loop.quit();
        });
        CAddLocationJob::Request request;
        request.mode = mode;
        request.path = path;
        request.name = CAddLocationJob::NameFromPath(path);
        request.storageId = 4;
        request.discLabel = QStringLiteral("LABEL");
        if (!job.Start(request))
            return false;
        if (job.IsBusy())
            loop.exec();
        return succeeded;
    }

    QTemporaryDir m_dir;
    QString m_path;
    FakePrompter m_prompter;
    CShelfwiseDoc m_doc;
};

void MakeFile(const QString& path, qint64 size)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(static_cast<int>(size), 'x'));
}

} // namespace

TEST_F(EditHistory, EveryKindOfEditGoesBackAndForthToExactlyItsRows)
{
    m_prompter.SetDefaultYesNo(true);
    int books = 0;
    struct Edit
    {
        QString Description;
        std::function<bool()> Run;
    };
    CShelfwiseDoc& doc = m_doc;
    const std::vector<Edit> edits = {
        {"Add Storage \"Cellar\"", [&] { return doc.AddStorage("Cellar", "damp") != 0; }},
        {"Rename \"Living room shelf\"", [&] { return doc.RenameStorage(1, "Lounge"); }},
        {"Change Properties of \"Car\"", [&] { return doc.UpdateStorage(3, "Van", "glovebox"); }},
        {"Rename \"Italy\"", [&] { return doc.RenameUnit(2, "Italia & co", nullptr); }},
        {"Change Description of \"Rome\"", [&] { return doc.SetUnitNotes(3, "eternal"); }},
        {"Change Category of \"notes.txt\"", [&] { return doc.SetUnitCategory(9, 4); }},
        {"Add Category \"Books\"", [&] { return (books = doc.AddCategory("Books")) != 0; }},
        {"Add Extension \"txt\"", [&] { return doc.MapExtension("txt", books); }},
        {"Change Category of *.txt Files",
         [&] { return doc.SetExtensionFilesCategory("txt", books); }},
        {"Change Category of *.pdf Files",
         [&] { return doc.SetFileExtensionCategory("Road atlas Europe 2020.pdf", books); }},
        {"Remove Extension \"pdf\"", [&] { return doc.UnmapExtension("pdf"); }},
        {"Change Category of *.pdf Files", [&] { return doc.DropExtensionFilesCategory("pdf"); }},
        {"Delete Category \"Books\"", [&] { return doc.DeleteCategory(books); }},
        {"Move \"Backup 2008-03\" to \"Van\"", [&] { return doc.MoveUnitToStorage(70, 3); }},
        {"Delete \"Day 1 - Colosseum\"",
         [&] { return doc.DeleteItem(nullptr, "Day 1 - Colosseum", 4, false); }},
        {"Delete \"notes.txt\"", [&] { return doc.DeleteItem(nullptr, "notes.txt", 9, false); }},
        {"Delete \"Holiday Films 2019\"",
         [&] { return doc.DeleteItem(nullptr, "Holiday Films 2019", 1, false); }},
        {"Delete \"Box 1 (attic)\"",
         [&] { return doc.DeleteItem(nullptr, "Box 1 (attic)", 2, true); }},
    };
    std::vector<QStringList> states{Rows()};
    for (const Edit& edit : edits) {
        SCOPED_TRACE(edit.Description.toStdString());
        ASSERT_TRUE(edit.Run());
        EXPECT_EQ(doc.History().UndoDescription(), edit.Description);
        states.push_back(Rows());
        ASSERT_NE(states.back(), states[states.size() - 2]);
        EXPECT_EQ(Disagreements(doc.Database()), QString());
        ExpectUndoAndRedo(states[states.size() - 2], states.back());
    }
    EXPECT_EQ(doc.History().StepCount(), static_cast<int>(edits.size()));

    // All the way back, then all the way forward, the caches following the rows.
    for (size_t i = edits.size(); i > 0; --i) {
        EXPECT_EQ(doc.History().UndoDescription(), edits[i - 1].Description);
        ASSERT_TRUE(doc.Undo());
        EXPECT_EQ(Rows(), states[i - 1]) << edits[i - 1].Description.toStdString();
        EXPECT_EQ(Disagreements(doc.Database()), QString());
    }
    EXPECT_FALSE(doc.History().CanUndo());
    EXPECT_FALSE(doc.Undo());
    EXPECT_EQ(doc.Database().GetCategory(books).Name, QString());
    EXPECT_EQ(doc.Storages().size(), 4u);
    for (size_t i = 0; i < edits.size(); ++i) {
        ASSERT_TRUE(doc.Redo());
        EXPECT_EQ(Rows(), states[i + 1]) << edits[i].Description.toStdString();
    }
    EXPECT_FALSE(doc.Redo());
    EXPECT_EQ(doc.Database().CategoryForFile("a.pdf"), CategoryIds::General);

    // A new edit after undoing drops what could have been redone.
    ASSERT_TRUE(doc.Undo());
    ASSERT_TRUE(doc.RenameStorage(3, "Truck"));
    EXPECT_FALSE(doc.History().CanRedo());
    EXPECT_EQ(doc.History().StepCount(), static_cast<int>(edits.size()));
}

TEST_F(EditHistory, AdditionsAreNotRecordedYetUndoAndRedoExactly)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Trip"));
    for (int i = 0; i < 300; ++i)
        MakeFile(QStringLiteral("%1/day%2/f%3.txt").arg(root).arg(i % 7).arg(i), i);
    QDir().mkpath(root + QStringLiteral("/empty/inner"));
    for (int i = 0; i < 2; ++i) {
        QImage picture(16 + i, 9, QImage::Format_RGB32);
        picture.fill(Qt::darkRed);
        ASSERT_TRUE(picture.save(QStringLiteral("%1/p%2.png").arg(root).arg(i)));
    }
    const QString nothing = dir.filePath(QStringLiteral("Nothing"));
    QDir().mkpath(nothing);

    struct Addition
    {
        CAddLocationJob::Mode Mode;
        QString Path;
        QString Description;
    };
    const Addition additions[] = {
        {CAddLocationJob::Mode::Folder, root, "Add Folder \"Trip\""},
        {CAddLocationJob::Mode::Disc, root, "Add Disc \"Trip\""},
        {CAddLocationJob::Mode::File, root + "/p1.png", "Add File \"p1.png\""},
        // Empty: counted in no storage, and so taken from none.
        {CAddLocationJob::Mode::Folder, nothing, "Add Folder \"Nothing\""},
        {CAddLocationJob::Mode::Disc, nothing, "Add Disc \"Nothing\""},
    };
    for (const Addition& addition : additions) {
        SCOPED_TRACE(addition.Description.toStdString());
        const QStringList before = Rows();
        const qint64 held = m_doc.History().MemoryUsed();
        ASSERT_TRUE(Add(addition.Mode, addition.Path));
        const QStringList after = Rows();
        EXPECT_EQ(m_doc.History().UndoDescription(), addition.Description);
        // What the import wrote was not recorded: the step holds the top unit alone.
        EXPECT_LT(m_doc.History().MemoryUsed() - held, 256);
        ExpectUndoAndRedo(before, after);
        // The second undo replays the recorded removal.
        ExpectUndoAndRedo(before, after);
    }

    // A cancelled or failed addition leaves no step.
    const int steps = m_doc.History().StepCount();
    EXPECT_FALSE(Add(CAddLocationJob::Mode::File, dir.filePath("missing.txt")));
    EXPECT_EQ(m_doc.History().StepCount(), steps);
}

TEST_F(EditHistory, TheHistoryLivesWithTheCatalogueItWasMadeOn)
{
    // Several edits as one step, and a step's subject found again afterwards.
    const QStringList start = Rows();
    m_doc.BeginEdits(QStringLiteral("Change Properties of \"Italy\""), m_doc.UnitSubject(2));
    ASSERT_TRUE(m_doc.RenameUnit(2, QStringLiteral("Italia"), nullptr));
    ASSERT_TRUE(m_doc.SetUnitNotes(2, QStringLiteral("pasta")));
    m_doc.EndEdits();
    EXPECT_EQ(m_doc.History().StepCount(), 1);
    EditPlace shown;
    ASSERT_TRUE(m_doc.Undo(&shown));
    EXPECT_EQ(Rows(), start);
    EXPECT_EQ(shown.TreePath, (std::vector<int>{1, 1}));
    EXPECT_EQ(shown.ListUnitId, 2);
    // A deleted unit's place is what held it.
    ASSERT_TRUE(m_doc.Redo());
    m_prompter.QueueYesNo(true);
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("Rome"), 3, false));
    ASSERT_TRUE(m_doc.Undo());
    ASSERT_TRUE(m_doc.Redo(&shown));
    EXPECT_EQ(shown.TreePath, (std::vector<int>{1, 1, 2}));
    EXPECT_EQ(shown.ListUnitId, 0);

    // Save keeps the history, and an undo after it makes the document changed again;
    // so does Save As, which opens the file it wrote.
    ASSERT_TRUE(m_doc.FileSave());
    EXPECT_FALSE(m_doc.IsModified());
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_TRUE(m_doc.IsModified());
    ASSERT_TRUE(m_doc.OnSaveDocument(m_dir.filePath(QStringLiteral("copy.db3"))));
    EXPECT_FALSE(m_doc.IsModified());
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_TRUE(m_doc.IsModified());

    // Compress keeps every id, and with them the history.
    ASSERT_TRUE(m_doc.CompressDatabase());
    const QStringList compressed = Rows();
    ASSERT_TRUE(m_doc.Undo());
    ASSERT_TRUE(m_doc.Redo());
    EXPECT_EQ(Rows(), compressed);

    // An Open that fails keeps the catalogue and its history; one that works ends it,
    // and so does New.
    QFile notes(m_dir.filePath(QStringLiteral("notes.db3")));
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("not a catalogue");
    notes.close();
    EXPECT_FALSE(m_doc.OnOpenDocument(notes.fileName()));
    EXPECT_EQ(m_doc.History().StepCount(), 2);
    ASSERT_TRUE(m_doc.Undo());
    ASSERT_TRUE(m_doc.OnOpenDocument(m_path));
    EXPECT_FALSE(m_doc.History().CanUndo());
    EXPECT_FALSE(m_doc.History().CanRedo());
    ASSERT_NE(m_doc.AddStorage(QStringLiteral("Shed"), QString()), 0);
    ASSERT_TRUE(m_doc.OnNewDocument());
    EXPECT_FALSE(m_doc.History().CanUndo());

    // The command line keeps no history.
    m_doc.SetHistoryEnabled(false);
    ASSERT_NE(m_doc.AddStorage(QStringLiteral("Shed"), QString()), 0);
    EXPECT_FALSE(m_doc.History().CanUndo());
}

TEST_F(EditHistory, AStepThatNoLongerFitsChangesNothingAndAnEditThatFailedIsNoStep)
{
    m_prompter.QueueYesNo(true);
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("Italy"), 2, false));
    // Changed behind the history's back: the deletion no longer comes undone, and
    // nothing of it is half-restored.
    m_doc.Database().Execute(QStringLiteral("UPDATE Storages SET FilesNumber = FilesNumber + 1 "
                                            "WHERE StorageID = 1"));
    const QStringList now = Rows();
    m_prompter.ClearRecords();
    EXPECT_FALSE(m_doc.Undo());
    EXPECT_EQ(Rows(), now);
    EXPECT_FALSE(m_doc.Database().InTransaction());
    ASSERT_EQ(m_prompter.Messages().size(), 1u);
    EXPECT_TRUE(m_prompter.LastMessage().contains(QStringLiteral("no longer holds")));
    EXPECT_EQ(m_prompter.CloseCount(), 0);
    EXPECT_TRUE(m_doc.History().CanUndo());

    // An edit that fails leaves no step behind.
    const int steps = m_doc.History().StepCount();
    m_doc.Database().Execute(QStringLiteral("CREATE TRIGGER NoRenames BEFORE UPDATE OF "
                                            "StorageName ON Storages BEGIN SELECT "
                                            "RAISE(ABORT, 'no renames'); END"));
    EXPECT_FALSE(m_doc.RenameStorage(3, QStringLiteral("Van")));
    EXPECT_EQ(m_doc.History().StepCount(), steps);
}
