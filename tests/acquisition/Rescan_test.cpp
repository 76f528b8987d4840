// Rescanning a catalogued disc, folder or file and comparing it with the catalogue:
// real trees and images added with the real job, changed on disk, then walked again;
// folders that cannot be read, a cancel in the middle of a walk, and two rescans at once
// through the fake lister, which gives errors whatever user runs the tests.
#include "FakeFolderLister.h"
#include "FakePrompter.h"
#include "Gate.h"

#include "acquisition/AddLocationJob.h"
#include "acquisition/Rescan.h"
#include "acquisition/RescanFixture.h"
#include "acquisition/RunAddition.h"
#include "document/ShelfwiseDoc.h"
#include "errorlog/ErrorLog.h"
#include "listers/DiscImageLister.h"
#include "sqlitewrapper/RowMappers.h"
#include "sqlitewrapper/SqlText.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Kind = CChangeList::Kind;
using namespace RescanTools;

// The errors a rescan must leave alone: ErrorLog's list belongs to the additions.
std::vector<QString> LoggedPaths()
{
    std::vector<QString> paths;
    for (const FileSystemError& error : ErrorLog::Instance().FileSystemErrors())
        paths.push_back(error.Path);
    return paths;
}

} // namespace

TEST_F(RescanTest, RealTreeChangesBetweenScans)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Tree"));
    const auto at = [&](const char* relative) { return root + QLatin1Char('/') + relative; };
    MakeFile(at("a.txt"), 10);
    MakeFile(at("keep.txt"), 5);
    MakeFile(at("same.txt"), 60);
    MakeFile(at("ren.txt"), 70);
    MakeFile(at("docs/b.txt"), 20);
    MakeFile(at("docs/sub/c.txt"), 30);
    MakeFile(at("old/d.txt"), 40);
    MakeFile(at("move/e.dat"), 50, kThen + 1000);
    QDir().mkpath(at("empty"));
    ASSERT_TRUE(QFile::link(QStringLiteral("a.txt"), at("link")));
    const int top = Add(CAddLocationJob::Mode::Folder, root);
    ASSERT_NE(top, 0);

    // As catalogued: every unit below the top once, all unchanged.
    std::optional<CChangeList> changes = Rescan(top, root);
    ASSERT_TRUE(changes);
    EXPECT_EQ(Lines(*changes), std::vector<std::string>());
    EXPECT_EQ(static_cast<qint64>(changes->Entries().size()),
              Number(QStringLiteral("SELECT COUNT(*) FROM Units")) - 1);
    EXPECT_EQ(changes->Count(Kind::Unchanged), static_cast<int>(changes->Entries().size()));
    EXPECT_FALSE(changes->HasChanges());
    EXPECT_EQ(changes->Summary(), QStringLiteral("No changes"));

    MakeFile(at("new.txt"), 1500);
    MakeFile(at("newdir/f.txt"), 600);
    ASSERT_TRUE(QDir(at("old")).removeRecursively());
    {
        QFile grown(at("a.txt")); // grown, its date put back
        ASSERT_TRUE(grown.open(QIODevice::Append));
        grown.write(QByteArray(15, 'y'));
        ASSERT_TRUE(grown.flush());
        ASSERT_TRUE(grown.setFileTime(QDateTime::fromSecsSinceEpoch(kThen),
                                      QFileDevice::FileModificationTime));
        QFile touched(at("keep.txt")); // the same bytes an hour later
        ASSERT_TRUE(touched.open(QIODevice::Append));
        ASSERT_TRUE(touched.setFileTime(QDateTime::fromSecsSinceEpoch(kThen + 3600),
                                        QFileDevice::FileModificationTime));
    }
    ASSERT_TRUE(QFile::rename(at("move/e.dat"), at("docs/e.dat")));
    ASSERT_TRUE(QFile::rename(at("ren.txt"), at("ren2.txt")));

    changes = Rescan(top, root);
    ASSERT_TRUE(changes);
    // A file found under a new name is not a move: only the same name in another folder.
    EXPECT_EQ(Lines(*changes),
              (std::vector<std::string>{"added new.txt", "added newdir/", "added newdir/f.txt",
                                        "added ren2.txt", "changed a.txt", "changed keep.txt",
                                        "moved docs/e.dat <- move/e.dat", "removed old/",
                                        "removed old/d.txt", "removed ren.txt"}));
    EXPECT_EQ(changes->Summary(),
              QStringLiteral("4 added (2.12 KB), 3 removed (110 bytes), 2 changed, 1 moved"));
    EXPECT_EQ(changes->Bytes(Kind::Added), 2170);
    EXPECT_EQ(changes->Count(Kind::Unchanged), 8);

    const CChangeList::Change* grown = Find(*changes, QStringLiteral("a.txt"));
    ASSERT_TRUE(grown);
    EXPECT_EQ(grown->OldSize, 10);
    EXPECT_EQ(grown->NewSize, 25);
    EXPECT_EQ(grown->OldDate, grown->NewDate);
    EXPECT_EQ(grown->UnitId, UnitNamed(top, "a.txt"));

    const CChangeList::Change* moved = Find(*changes, QStringLiteral("docs/e.dat"));
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->UnitId, UnitNamed(top, "e.dat"));
    EXPECT_EQ(moved->OldSize, 50);
    EXPECT_EQ(moved->NewSize, 50);
    EXPECT_EQ(moved->OldDate, moved->NewDate);

    const CChangeList::Change* removed = Find(*changes, QStringLiteral("old"));
    ASSERT_TRUE(removed);
    EXPECT_TRUE(removed->IsFolder);
    EXPECT_EQ(removed->UnitId, UnitNamed(top, "old"));
    const CChangeList::Change* added = Find(*changes, QStringLiteral("new.txt"));
    ASSERT_TRUE(added);
    EXPECT_EQ(added->UnitId, 0);
    EXPECT_EQ(added->NewSize, 1500);
    EXPECT_TRUE(added->OldDate.isEmpty());

    // The dates are the text the catalogue holds: the old one as stored, the new one as
    // an addition of the tree as it is now stores it.
    const CChangeList::Change* touched = Find(*changes, QStringLiteral("keep.txt"));
    ASSERT_TRUE(touched);
    EXPECT_EQ(touched->OldSize, touched->NewSize);
    EXPECT_EQ(touched->OldDate,
              Text(QStringLiteral("SELECT DateModified FROM Units WHERE UnitID = %1")
                       .arg(touched->UnitId)));
    const int again = Add(CAddLocationJob::Mode::Folder, root);
    ASSERT_NE(again, 0);
    EXPECT_EQ(touched->NewDate,
              Text(QStringLiteral("SELECT DateModified FROM Units WHERE UnitID = %1")
                       .arg(UnitNamed(again, "keep.txt"))));
    EXPECT_NE(touched->OldDate, touched->NewDate);
}

TEST_F(RescanTest, FoldersAndFilesTradingPlacesAndNamesInCase)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Tree"));
    const auto at = [&](const char* relative) { return root + QLatin1Char('/') + relative; };
    MakeFile(at("thing/x.txt"), 3);
    MakeFile(at("blob"), 4);
    MakeFile(at("Docs/a.txt"), 5);
    MakeFile(at("Note.txt"), 6);
    const int top = Add(CAddLocationJob::Mode::Folder, root);
    ASSERT_NE(top, 0);

    ASSERT_TRUE(QDir(at("thing")).removeRecursively());
    MakeFile(at("thing"), 7);
    ASSERT_TRUE(QFile::remove(at("blob")));
    MakeFile(at("blob/y.txt"), 8);
    const bool ignoresCase = FolderLister::CreatePlatformLister()->IgnoresCase(root);
    if (!ignoresCase) {
        ASSERT_TRUE(QDir().rename(at("Docs"), at("docs")));
        ASSERT_TRUE(QFile::rename(at("Note.txt"), at("NOTE.TXT")));
    }

    const std::optional<CChangeList> changes = Rescan(top, root);
    ASSERT_TRUE(changes);
    std::vector<std::string> expected = {"added blob/",  "added blob/y.txt", "added thing",
                                         "removed blob", "removed thing/",   "removed thing/x.txt"};
    if (!ignoresCase) {
        // On a file system that tells names apart by case, these are other names.
        expected.insert(expected.end(),
                        {"added NOTE.TXT", "added docs/", "moved docs/a.txt <- Docs/a.txt",
                         "removed Docs/", "removed Note.txt"});
        std::sort(expected.begin(), expected.end());
    }
    EXPECT_EQ(Lines(*changes), expected);
    EXPECT_EQ(changes->Count(Kind::Unchanged), ignoresCase ? 3 : 0);
}

TEST_F(RescanTest, ImageNamesAreComparedWithoutCase)
{
    if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
        GTEST_SKIP() << "xorriso is not installed";
    QTemporaryDir dir;
    const QString before = dir.filePath(QStringLiteral("before"));
    MakeFile(before + QStringLiteral("/Readme.TXT"), 11);
    MakeFile(before + QStringLiteral("/Photos/a.jpg"), 12);
    MakeFile(before + QStringLiteral("/grow.txt"), 5);
    const QString after = dir.filePath(QStringLiteral("after"));
    MakeFile(after + QStringLiteral("/README.txt"), 11);
    MakeFile(after + QStringLiteral("/photos/A.JPG"), 12);
    MakeFile(after + QStringLiteral("/grow.txt"), 9);
    const QString first = dir.filePath(QStringLiteral("first.iso"));
    const QString second = dir.filePath(QStringLiteral("second.iso"));
    ASSERT_TRUE(MakeImage(before, first));
    ASSERT_TRUE(MakeImage(after, second));

    const std::unique_ptr<FolderLister> lister = DiscImageLister::Open(first);
    ASSERT_TRUE(lister);
    const int top = Add(CAddLocationJob::Mode::Disc, first, lister.get());
    ASSERT_NE(top, 0);

    const std::optional<CChangeList> changes = Rescan(top, second);
    ASSERT_TRUE(changes);
    EXPECT_EQ(Lines(*changes, true),
              (std::vector<std::string>{"changed grow.txt", "unchanged README.txt <- Readme.TXT",
                                        "unchanged photos/ <- Photos",
                                        "unchanged photos/A.JPG <- Photos/a.jpg"}));
    const CChangeList::Change* readme = Find(*changes, QStringLiteral("README.txt"));
    ASSERT_TRUE(readme);
    EXPECT_EQ(readme->UnitId, UnitNamed(top, "Readme.TXT"));
    EXPECT_FALSE(readme->NewDate.isEmpty());

    // A source that is gone, or an image the listers cannot read, starts nothing.
    EXPECT_FALSE(CRescan(m_doc.Database()).Run(top, dir.filePath(QStringLiteral("gone"))));
    const QString junk = dir.filePath(QStringLiteral("junk.iso"));
    MakeFile(junk, 4096);
    CRescan rescan(m_doc.Database());
    EXPECT_FALSE(rescan.Start(top, junk, nullptr));
    EXPECT_FALSE(rescan.Error().isEmpty());
}

TEST_F(RescanTest, FileAddedOnItsOwn)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("single.bin"));
    MakeFile(path, 100);
    const int top = Add(CAddLocationJob::Mode::File, path);
    ASSERT_NE(top, 0);

    std::optional<CChangeList> changes = Rescan(top, path);
    ASSERT_TRUE(changes);
    EXPECT_EQ(Lines(*changes, true), std::vector<std::string>{"unchanged single.bin"});
    EXPECT_EQ(changes->Entries().front().UnitId, top);

    MakeFile(path, 120);
    changes = Rescan(top, path);
    ASSERT_TRUE(changes);
    EXPECT_EQ(Lines(*changes), std::vector<std::string>{"changed single.bin"});

    // Gone, or a folder now: nothing to compare the file with.
    CRescan rescan(m_doc.Database());
    ASSERT_TRUE(QFile::remove(path));
    EXPECT_FALSE(rescan.Start(top, path, nullptr));
    EXPECT_TRUE(rescan.Error().contains(QStringLiteral("cannot be read")))
        << rescan.Error().toStdString();
    ASSERT_TRUE(QDir().mkpath(path));
    EXPECT_FALSE(rescan.Start(top, path, nullptr));
    EXPECT_TRUE(rescan.Error().contains(QStringLiteral("folder now")));

    // Only a unit at the top of a storage is rescanned.
    EXPECT_FALSE(rescan.Start(top + 1000, path, nullptr));
    EXPECT_FALSE(rescan.Error().isEmpty());
}

TEST_F(RescanTest, FolderWithoutPermissionKeepsItsContents)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "running as root, where folder permissions do not stop reading";
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Tree"));
    MakeFile(root + QStringLiteral("/locked/in.txt"), 3);
    MakeFile(root + QStringLiteral("/locked/deep/z.txt"), 4);
    MakeFile(root + QStringLiteral("/other.txt"), 5);
    const int top = Add(CAddLocationJob::Mode::Folder, root);
    ASSERT_NE(top, 0);

    const QString locked = root + QStringLiteral("/locked");
    QFile folder(locked);
    const QFileDevice::Permissions permissions = folder.permissions();
    ASSERT_TRUE(folder.setPermissions({}));
    ASSERT_TRUE(QFile::remove(root + QStringLiteral("/other.txt")));
    ErrorLog::Instance().ClearFileSystemErrors();
    const std::optional<CChangeList> changes = Rescan(top, root);
    folder.setPermissions(permissions);

    ASSERT_TRUE(changes);
    EXPECT_EQ(Lines(*changes),
              (std::vector<std::string>{"removed other.txt", "unreadable locked/"}));
    EXPECT_EQ(Find(*changes, QStringLiteral("locked"))->UnitId, UnitNamed(top, "locked"));
    EXPECT_EQ(changes->Summary(), QStringLiteral("1 removed (5 bytes), 1 unreadable"));
    EXPECT_TRUE(LoggedPaths().empty());
}

TEST_F(RescanTest, UnreadableFoldersAreTheRescansOwn)
{
    // Folders that fail to open or break off, in two trees walked at the same time:
    // both walks are held in the middle of their trees until both have got there.
    QTemporaryDir dir;
    Gate gate;
    GateOpener opener(gate);
    FakeFolderLister listers[2];
    QString roots[2];
    int tops[2] = {};
    for (int i = 0; i < 2; ++i) {
        roots[i] = dir.filePath(QStringLiteral("Tree%1").arg(i));
        ASSERT_TRUE(QDir().mkpath(roots[i]));
        const QString bad = QStringLiteral("bad%1").arg(i);
        FakeFolderLister& lister = listers[i];
        lister.AddFolder(roots[i], 1, {"a/", bad + QLatin1Char('/'), "top.txt"});
        lister.AddFolder(roots[i] + QStringLiteral("/a"), 2, {"1.txt", "2.txt", "3.txt"});
        lister.AddFolder(roots[i] + QLatin1Char('/') + bad, 3, {"x/", "k.txt"});
        lister.AddFolder(roots[i] + QLatin1Char('/') + bad + QStringLiteral("/x"), 4, {"m.txt"});
        tops[i] = Add(CAddLocationJob::Mode::Folder, roots[i], &lister);
        ASSERT_NE(tops[i], 0);
        lister.FailFolder(roots[i] + QLatin1Char('/') + bad, EACCES);
        lister.AddFolder(roots[i], 1, {QStringLiteral("new%1.txt").arg(i)});
        lister.SetHook([&gate, root = roots[i]](const QString& folder, int index) {
            if (folder == root && index == 1)
                gate.Pass();
        });
    }
    // Reading the first tree's "a" breaks off after its first file.
    listers[0].FailFolder(roots[0] + QStringLiteral("/a"), EIO, 1);
    ErrorLog::Instance().ReportFileSystemError(QStringLiteral("/an/addition's/error"), ENOENT);

    CRescan first(m_doc.Database());
    CRescan second(m_doc.Database());
    first.SetFolderLister(&listers[0]);
    second.SetFolderLister(&listers[1]);
    ASSERT_TRUE(first.Start(tops[0], roots[0], nullptr));
    ASSERT_TRUE(second.Start(tops[1], roots[1], nullptr));
    ASSERT_TRUE(QTest::qWaitFor([&] { return gate.Arrived() == 2; }, 30000));
    gate.Open();
    first.Wait();
    second.Wait();

    ASSERT_EQ(first.Outcome(), WorkOutcome::Succeeded);
    ASSERT_TRUE(first.Result());
    EXPECT_EQ(Lines(*first.Result(), true),
              (std::vector<std::string>{"added new0.txt", "unchanged a/1.txt", "unchanged top.txt",
                                        "unreadable a/", "unreadable bad0/"}));
    ASSERT_TRUE(second.Result());
    EXPECT_EQ(Lines(*second.Result(), true),
              (std::vector<std::string>{"added new1.txt", "unchanged a/", "unchanged a/1.txt",
                                        "unchanged a/2.txt", "unchanged a/3.txt",
                                        "unchanged top.txt", "unreadable bad1/"}));
    EXPECT_EQ(second.Result()->Summary(), QStringLiteral("1 added (1 bytes), 1 unreadable"));
    // The additions' list is neither cleared nor added to.
    EXPECT_EQ(LoggedPaths(), std::vector<QString>{QStringLiteral("/an/addition's/error")});
}

TEST_F(RescanTest, CancelStopsTheWalkWithoutAResult)
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("Tree"));
    ASSERT_TRUE(QDir().mkpath(root));
    FakeFolderLister lister;
    lister.AddFolder(root, 1, {"d1/", "d2/", "f.txt"});
    lister.AddFolder(root + QStringLiteral("/d1"), 2, {"a", "b", "c"});
    lister.AddFolder(root + QStringLiteral("/d2"), 3, {"e"});
    const int top = Add(CAddLocationJob::Mode::Folder, root, &lister);
    ASSERT_NE(top, 0);

    Gate gate;
    GateOpener opener(gate);
    std::vector<QString> listed; // written by the walk, read once it has been joined
    lister.SetHook([&](const QString& folder, int index) {
        listed.push_back(QStringLiteral("%1:%2").arg(QFileInfo(folder).fileName()).arg(index));
        if (folder.endsWith(QStringLiteral("/d1")) && index == 1)
            gate.Pass();
    });
    CRescan rescan(m_doc.Database());
    rescan.SetFolderLister(&lister);
    ASSERT_TRUE(rescan.Start(top, root, nullptr));
    ASSERT_TRUE(QTest::qWaitFor([&] { return gate.Arrived() == 1; }, 30000));
    rescan.Cancel();
    gate.Open();
    rescan.Wait();
    EXPECT_EQ(rescan.Outcome(), WorkOutcome::Cancelled);
    EXPECT_FALSE(rescan.Result());
    // The walk stopped at the entry it was held before: d2 was never listed.
    EXPECT_EQ(listed.back(), QStringLiteral("d1:1"));
    EXPECT_EQ(std::count_if(listed.begin(), listed.end(),
                            [](const QString& step) { return step.startsWith("d2"); }),
              0);

    // The same rescan runs again to its end afterwards.
    lister.SetHook({});
    ASSERT_TRUE(rescan.Start(top, root, nullptr));
    rescan.Wait();
    EXPECT_EQ(rescan.Outcome(), WorkOutcome::Succeeded);
    ASSERT_TRUE(rescan.Result());
    EXPECT_FALSE(rescan.Result()->HasChanges());
}
