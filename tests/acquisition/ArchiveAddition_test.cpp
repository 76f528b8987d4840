// Archives among the files of an addition and of an update: their entries catalogued
// below them, the totals of folders and storages the same as without looking inside,
// the check passing, what cannot be read named among the errors, and an update that
// keeps unchanged archives' entries, reads changed ones again and never reports
// entries as removed.
#include "acquisition/RescanFixture.h"
#include "acquisition/RunAddition.h"
#include "acquisition/UnitUpdate.h"
#include "document/CatalogueCheck.h"
#include "errorlog/ErrorLog.h"
#include "listers/ArchiveLister.h"
#include "settings/Settings.h"

#include <QDir>
#include <QEventLoop>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace RescanTools;

namespace {

bool Have(const char* tool)
{
    return !QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty();
}

void Shell(const QString& dir, const QString& command)
{
    QProcess process;
    process.setWorkingDirectory(dir);
    process.start(QStringLiteral("bash"), {QStringLiteral("-c"), command});
    ASSERT_TRUE(process.waitForFinished(60000));
    ASSERT_EQ(process.exitCode(), 0) << command.toStdString() << "\n"
                                     << process.readAllStandardError().toStdString();
}

// The setting while a test runs, as it was afterwards.
class LookInside
{
public:
    explicit LookInside(bool on) : m_was(Settings::Instance().LookInsideArchives)
    {
        Settings::Instance().LookInsideArchives = on;
    }
    ~LookInside() { Settings::Instance().LookInsideArchives = m_was; }
    LookInside(const LookInside&) = delete;
    LookInside& operator=(const LookInside&) = delete;

private:
    bool m_was;
};

class ArchiveAddition : public RescanTest
{
protected:
    void SetUp() override
    {
        if (!ArchiveLister::Available() || !Have("zip") || !Have("7z") || !Have("tar"))
            GTEST_SKIP() << "libarchive, zip, 7z or tar is missing";
    }

    std::vector<QString> Problems()
    {
        std::vector<QString> texts;
        for (const CatalogueDisagreement& d : CCatalogueCheck(m_doc.Database()).Run())
            texts.push_back(CCatalogueCheck::Describe(d));
        return texts;
    }

    // "files folders size" of a unit and of its storage.
    QString Totals(int top)
    {
        return Text(QStringLiteral("SELECT u.SubfilesNumber || ' ' || u.SubfoldersNumber || ' ' || "
                                   "u.UnitSize || ' / ' || s.FilesNumber || ' ' || "
                                   "s.FoldersNumber || ' ' || s.StorageSize FROM Units u JOIN "
                                   "Storages s USING (StorageID) WHERE u.UnitID = %1")
                        .arg(top));
    }

    qint64 EntriesBelow(int unitId)
    {
        return Number(QStringLiteral("WITH RECURSIVE T(UnitID) AS (SELECT UnitID FROM Units "
                                     "WHERE ParentUnitID = %1 AND UnitType IN ('d', 'f') UNION "
                                     "ALL SELECT u.UnitID FROM Units u JOIN T ON u.ParentUnitID "
                                     "= T.UnitID) SELECT COUNT(*) FROM T")
                          .arg(unitId));
    }
};

} // namespace

TEST_F(ArchiveAddition, EntriesGoBelowTheirArchiveAndNoTotalChanges)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Backup"));
    const QString inside = dir.filePath(QStringLiteral("inside"));
    MakeFile(inside + QStringLiteral("/photos/2012/a.jpg"), 300);
    MakeFile(inside + QStringLiteral("/photos/2012/b.mp3"), 200);
    MakeFile(inside + QStringLiteral("/notes.txt"), 10);
    MakeFile(root + QStringLiteral("/plain.txt"), 7);
    QDir().mkpath(root + QStringLiteral("/sub"));
    Shell(inside,
          QStringLiteral("zip -qr '%1/sub/photos.zip' . && 7z a -bd '%1/set.7z' . >/dev/null "
                         "&& tar -czf '%1/set.tgz' . && zip -qr '%1/inner.zip' . && "
                         "zip -qm '%1/outer.zip' '%1/inner.zip' -j && "
                         "zip -qr -P pw '%1/locked.zip' . && gzip -c notes.txt > '%1/n.gz'")
              .arg(root));

    int without = 0;
    {
        const LookInside off(false);
        without = Add(CAddLocationJob::Mode::Folder, root);
    }
    ASSERT_NE(without, 0);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units WHERE UnitType IN ('d', 'f')")), 0);
    const QString totalsWithout = Totals(without);

    m_storage = m_doc.AddStorage(QStringLiteral("Second"), QString());
    const int with = Add(CAddLocationJob::Mode::Folder, root);
    ASSERT_NE(with, 0);
    EXPECT_EQ(Totals(with), totalsWithout) << "an archive counts once, at its own size";
    EXPECT_TRUE(Problems().empty()) << Problems().front().toStdString();

    // zip, 7z and tgz: 5 entries each (photos, photos/2012, three files); outer.zip
    // holds inner.zip and its 5 entries.
    const int photos = UnitNamed(with, "photos.zip");
    EXPECT_EQ(EntriesBelow(photos), 5);
    EXPECT_EQ(EntriesBelow(UnitNamed(with, "set.7z")), 5);
    EXPECT_EQ(EntriesBelow(UnitNamed(with, "set.tgz")), 5);
    EXPECT_EQ(EntriesBelow(UnitNamed(with, "outer.zip")), 6);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM ArchiveInfo")), 5);
    EXPECT_EQ(Text(QStringLiteral("SELECT EntriesNumber || ' ' || UncompressedSize FROM "
                                  "ArchiveInfo WHERE UnitID = %1")
                       .arg(photos)),
              QStringLiteral("5 510"));
    EXPECT_EQ(Text(QStringLiteral("SELECT Format FROM ArchiveInfo WHERE UnitID = %1")
                       .arg(UnitNamed(with, "set.7z"))),
              QStringLiteral("7-Zip"));
    // An entry is a file like any other: its category by extension, its storage, its
    // size; found by name; its location runs through the archive.
    const int song = static_cast<int>(Number(
        QStringLiteral("SELECT f.UnitID FROM Units f JOIN Units y ON y.UnitID = f.ParentUnitID "
                       "JOIN Units p ON p.UnitID = y.ParentUnitID WHERE f.UnitName = 'b.mp3' "
                       "AND p.ParentUnitID = %1")
            .arg(photos)));
    EXPECT_EQ(Text(QStringLiteral("SELECT UnitType || CategoryID || ' ' || UnitSize || ' ' || "
                                  "IFNULL(DateCreated, '-') FROM Units WHERE UnitID = %1")
                       .arg(song)),
              QStringLiteral("f3 200 -"));
    EXPECT_EQ(m_doc.Database().GetUnitLocations({song})[song],
              QStringLiteral("Second \u203A Backup \u203A sub \u203A photos.zip \u203A photos "
                             "\u203A 2012"));
    // Neither the locked archive nor the compressed single file has entries; the locked
    // one is named among the errors.
    EXPECT_EQ(EntriesBelow(UnitNamed(with, "locked.zip")), 0);
    EXPECT_EQ(EntriesBelow(UnitNamed(with, "n.gz")), 0);
    bool named = false;
    for (const FileSystemError& error : ErrorLog::Instance().FileSystemErrors())
        named = named || error.Path.endsWith(QStringLiteral("locked.zip"));
    EXPECT_TRUE(named);

    // Deleting an entry leaves its archive with fewer entries, every total as it was.
    const QString before = Totals(with);
    const int year = static_cast<int>(
        Number(QStringLiteral("SELECT ParentUnitID FROM Units WHERE UnitID = %1").arg(song)));
    m_prompter.QueueYesNo(true);
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("2012"), year, false));
    EXPECT_EQ(Totals(with), before);
    EXPECT_EQ(
        Number(
            QStringLiteral("SELECT EntriesNumber FROM ArchiveInfo WHERE UnitID = %1").arg(photos)),
        2);
    EXPECT_TRUE(Problems().empty()) << Problems().front().toStdString();

    // Deleting the archive deletes its entries and its row; Undo brings all back.
    m_prompter.QueueYesNo(true);
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("photos.zip"), photos, false));
    EXPECT_EQ(
        Number(QStringLiteral("SELECT COUNT(*) FROM ArchiveInfo WHERE UnitID = %1").arg(photos)),
        0);
    EXPECT_TRUE(Problems().empty()) << Problems().front().toStdString();
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(EntriesBelow(photos), 2);
    EXPECT_TRUE(Problems().empty()) << Problems().front().toStdString();
}

TEST_F(ArchiveAddition, AnUpdateReadsOnlyTheArchivesThatChanged)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Tree"));
    const QString inside = dir.filePath(QStringLiteral("inside"));
    MakeFile(inside + QStringLiteral("/x/one.txt"), 11);
    MakeFile(inside + QStringLiteral("/two.txt"), 22);
    MakeFile(root + QStringLiteral("/keep.txt"), 3);
    Shell(inside, QStringLiteral("zip -qr '%1/same.zip' . && zip -qr '%1/grows.zip' . && "
                                 "zip -qr '%1/goes.zip' .")
                      .arg(root));
    const int top = Add(CAddLocationJob::Mode::Folder, root);
    ASSERT_NE(top, 0);
    const int same = UnitNamed(top, "same.zip");
    const QString sameEntries = Text(
        QStringLiteral("SELECT GROUP_CONCAT(UnitID) FROM Units WHERE ParentUnitID = %1").arg(same));
    ASSERT_EQ(EntriesBelow(same), 3);

    MakeFile(inside + QStringLiteral("/x/three.txt"), 33, kThen + 7200);
    Shell(inside, QStringLiteral("zip -qr '%1/grows.zip' . && rm '%1/goes.zip' && "
                                 "zip -qr '%1/new.zip' . && touch -d @%2 '%1/grows.zip'")
                      .arg(root)
                      .arg(kThen + 7200));
    const std::optional<CChangeList> changes = Rescan(top, root);
    ASSERT_TRUE(changes);
    EXPECT_EQ(Lines(*changes),
              (std::vector<std::string>{"added new.zip", "changed grows.zip", "removed goes.zip"}));
    CUnitUpdate update(m_doc);
    update.SetMediaReaderFactory(nullptr);
    ASSERT_TRUE(update.Apply(top, *changes, root, QString()));

    EXPECT_EQ(Text(QStringLiteral("SELECT GROUP_CONCAT(UnitID) FROM Units WHERE ParentUnitID = %1")
                       .arg(same)),
              sameEntries);
    EXPECT_EQ(EntriesBelow(UnitNamed(top, "grows.zip")), 4);
    EXPECT_EQ(EntriesBelow(UnitNamed(top, "new.zip")), 4);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units u WHERE u.UnitType IN ('d', 'f') "
                                    "AND NOT EXISTS (SELECT 1 FROM Units p WHERE p.UnitID = "
                                    "u.ParentUnitID)")),
              0)
        << "the removed archive's entries went with it";
    EXPECT_EQ(Number(QStringLiteral("SELECT SubfilesNumber FROM Units WHERE UnitID = %1").arg(top)),
              4);
    EXPECT_TRUE(Problems().empty()) << Problems().front().toStdString();

    // A second rescan finds nothing to do: entries are no part of the comparison.
    const std::optional<CChangeList> again = Rescan(top, root);
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->HasChanges()) << again->Summary().toStdString();
}

TEST_F(ArchiveAddition, ASingleArchiveIsReadOffTheCallingThreadAndCanBeCancelled)
{
    QTemporaryDir dir;
    const QString inside = dir.filePath(QStringLiteral("inside"));
    MakeFile(inside + QStringLiteral("/a/one.txt"), 11);
    MakeFile(inside + QStringLiteral("/two.txt"), 22);
    Shell(inside, QStringLiteral("zip -qr '%1/single.zip' .").arg(dir.path()));
    const QString zip = dir.filePath(QStringLiteral("single.zip"));

    // Start returns while the headers are read; the file and its entries come after.
    CAddLocationJob job(m_doc);
    const qint64 before = Number(QStringLiteral("SELECT COUNT(*) FROM Units"));
    ASSERT_EQ(RunAddition(job, AdditionRequest(CAddLocationJob::Mode::File, zip, m_storage)),
              WorkOutcome::Succeeded);
    const int added = static_cast<int>(Number(QStringLiteral(
        "SELECT UnitID FROM Units WHERE UnitName = 'single.zip' AND UnitType = 'F'")));
    ASSERT_NE(added, 0);
    EXPECT_EQ(EntriesBelow(added), 3);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), before + 4);
    EXPECT_TRUE(Problems().empty()) << Problems().front().toStdString();

    // A folder inside deleted: the archive counts what is left, and Undo brings it back.
    const QString info = QStringLiteral(
        "SELECT EntriesNumber || ' ' || UncompressedSize FROM ArchiveInfo WHERE UnitID = %1");
    EXPECT_EQ(Text(info.arg(added)), QStringLiteral("3 33"));
    m_prompter.QueueYesNo(true);
    ASSERT_TRUE(m_doc.DeleteItem(nullptr, QStringLiteral("a"), UnitNamed(added, "a"), false));
    EXPECT_EQ(Text(info.arg(added)), QStringLiteral("1 22"));
    EXPECT_TRUE(Problems().empty()) << Problems().front().toStdString();
    ASSERT_TRUE(m_doc.Undo());
    EXPECT_EQ(Text(info.arg(added)), QStringLiteral("3 33"));

    // Cancelled before the reading's end event is handled: nothing is added.
    CAddLocationJob cancelled(m_doc);
    WorkOutcome outcome = WorkOutcome::Succeeded;
    QEventLoop loop;
    QObject::connect(&cancelled, &CAddLocationJob::finished, &loop, [&](WorkOutcome o) {
        outcome = o;
        loop.quit();
    });
    ASSERT_TRUE(cancelled.Start(AdditionRequest(CAddLocationJob::Mode::File, zip, m_storage)));
    ASSERT_TRUE(cancelled.IsBusy());
    cancelled.Cancel();
    loop.exec();
    EXPECT_EQ(outcome, WorkOutcome::Cancelled);
    EXPECT_EQ(Number(QStringLiteral("SELECT COUNT(*) FROM Units")), before + 4);
}
