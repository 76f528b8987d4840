#include "acquisition/SubunitsSearcher.h"

#include "FakeFolderLister.h"
#include "Gate.h"
#include "acquisition/SubunitQueue.h"
#include "common/WorkerEvent.h"
#include "errorlog/ErrorLog.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <optional>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// An event's code and parameter: a Finished event's is its outcome.
using Event = std::pair<int, qintptr>;
const Event kWalked{WorkerEvent::Walked, 0};
const Event kCancelled{WorkerEvent::Finished, static_cast<qintptr>(WorkOutcome::Cancelled)};

// Stands in for the dialog: receives what the scanner posts, on the test's thread.
class EventRecorder final : public QObject
{
public:
    explicit EventRecorder(const SubunitQueue* queue = nullptr) : m_queue(queue) {}

    std::vector<Event> Events;
    bool FinishedWhenWalked = false;

protected:
    void customEvent(QEvent* event) override
    {
        const auto* posted = static_cast<const WorkerEvent*>(event);
        Events.emplace_back(posted->Code(), posted->WParam());
        if (posted->Code() == WorkerEvent::Walked && m_queue)
            FinishedWhenWalked = m_queue->Outcome() == WorkOutcome::Succeeded;
    }

private:
    const SubunitQueue* m_queue;
};

// The platform's lister, holding each walk at a gate when it comes to the folder named
// holdAt: the walks that share the gate are then all in the middle of their trees.
class HoldingLister final : public FolderLister
{
public:
    HoldingLister(Gate& gate, QString holdAt) : m_gate(gate), m_holdAt(std::move(holdAt)) {}

    int List(const QString& path, const OpenedCallback& opened, const EntryCallback& entry) override
    {
        if (QFileInfo(path).fileName() == m_holdAt)
            m_gate.Pass();
        return m_platform->List(path, opened, entry);
    }

private:
    Gate& m_gate;
    QString m_holdAt;
    std::unique_ptr<FolderLister> m_platform = FolderLister::CreatePlatformLister();
};

// Takes records until the walk has ended; the records, and how it ended.
std::pair<std::vector<SubunitInfoPtr>, std::optional<WorkOutcome>> Consume(SubunitQueue& queue)
{
    std::vector<SubunitInfoPtr> taken;
    while (queue.WaitNext())
        taken.push_back(queue.Pop());
    return {taken, queue.Outcome()};
}

class SubunitsSearcherTest : public ::testing::Test
{
protected:
    void TearDown() override { ErrorLog::Instance().ClearFileSystemErrors(); }

    QString At(const QString& relative) const { return m_dir.path() + '/' + relative; }
    QByteArray NativeAt(const char* relative) const
    {
        return QFile::encodeName(m_dir.path()) + '/' + relative;
    }

    void MakeFile(const QString& relative, qint64 size)
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(At(relative)).path()));
        QFile file(At(relative));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_TRUE(file.resize(size));
    }

    // Walks root to its end, then takes everything it queued and posted; queue is the
    // searcher's sink.
    void Walk(SubunitsSearcher& searcher, SubunitQueue& queue, bool countSizes, const QString& root)
    {
        EventRecorder recorder(&queue);
        searcher.Start(root, &recorder, countSizes);
        searcher.Wait();
        QCoreApplication::sendPostedEvents(&recorder);
        m_events = recorder.Events;
        m_finishedWhenWalked = recorder.FinishedWhenWalked;
        m_records.clear();
        while (queue.Size() > 0)
            m_records.push_back(queue.Pop());
    }

    SubunitInfoPtr Find(const QString& path) const
    {
        for (const SubunitInfoPtr& info : m_records) {
            if (info->Path() == path)
                return info;
        }
        return nullptr;
    }

    QTemporaryDir m_dir;
    std::vector<SubunitInfoPtr> m_records;
    std::vector<Event> m_events;
    bool m_finishedWhenWalked = false;
};

std::map<QString, QString> Errors()
{
    std::map<QString, QString> errors;
    for (const FileSystemError& error : ErrorLog::Instance().FileSystemErrors())
        errors[error.Path] = error.Message;
    return errors;
}

} // namespace

TEST_F(SubunitsSearcherTest, WalksBreadthFirstWithParentLinksHiddenEntriesAndSizes)
{
    for (const char* file : {"f1", ".hidden", "A/a1", "A/B/b1", "A/B/C/c1", "Z/z1", ".h/h1"})
        MakeFile(file, qstrlen(file));
    MakeFile("A/B/C/empty", 0);
    const QDateTime written(QDate(2001, 2, 3), QTime(4, 5, 6, 789), Qt::UTC);
    QFile a1(At("A/a1"));
    ASSERT_TRUE(a1.open(QIODevice::ReadWrite));
    ASSERT_TRUE(a1.setFileTime(written, QFileDevice::FileModificationTime));
    a1.close();

    SubunitQueue queue;
    SubunitsSearcher searcher(queue);
    Walk(searcher, queue, true, m_dir.path());

    ASSERT_EQ(m_records.size(), 13u);
    // Entries come grouped by their folder and the folders in the order they were
    // found, so the position of each record's parent never goes back.
    std::map<quint32, size_t> positionOf;
    size_t lastParentPosition = 0;
    for (size_t i = 0; i < m_records.size(); ++i) {
        const SubunitInfo& info = *m_records[i];
        const QFileInfo onDisk(info.Path());
        SCOPED_TRACE(info.Path().toStdString());
        EXPECT_TRUE(onDisk.exists());
        EXPECT_EQ(info.ID, i + 1);
        EXPECT_EQ(info.IsFile(), !onDisk.isDir());
        EXPECT_EQ(info.Data.IsDirectory(), onDisk.isDir());
        EXPECT_EQ(info.Data.Size, onDisk.isDir() ? 0 : onDisk.size());
        const SubunitInfoPtr parent = Find(onDisk.path());
        EXPECT_EQ(info.ParentID, parent ? parent->ID : 0u);
        const size_t parentPosition = parent ? positionOf.at(parent->ID) + 1 : 0;
        EXPECT_GE(parentPosition, lastParentPosition);
        lastParentPosition = parentPosition;
        positionOf[info.ID] = i;
    }
    EXPECT_EQ(Find(At("A/a1"))->Data.LastWriteTime, written.toMSecsSinceEpoch());
    EXPECT_TRUE(Find(At(".hidden")) && Find(At(".h/h1")));
    // The entries of one folder share one copy of its path.
    EXPECT_EQ(Find(At("A/a1"))->FolderPath.get(), Find(At("A/B"))->FolderPath.get());
    EXPECT_EQ(searcher.TotalSize(), 2u + 7 + 4 + 6 + 8 + 4 + 5);
    EXPECT_EQ(m_events, std::vector<Event>{kWalked});
    EXPECT_TRUE(m_finishedWhenWalked);
    EXPECT_TRUE(Errors().empty());
}

TEST_F(SubunitsSearcherTest, ConcurrentWalkFeedsAWaitingConsumerAndEachWalkNumbersFromOne)
{
    for (int i = 0; i < 50; ++i)
        MakeFile(QStringLiteral("d%1/f%2").arg(i % 5).arg(i), i);
    SubunitQueue first;
    SubunitsSearcher searcher(first);
    Walk(searcher, first, true, m_dir.path());
    ASSERT_EQ(m_records.size(), 55u);
    EXPECT_EQ(m_records.back()->ID, 55u);

    // The importer's side takes the records while the walk runs. The next walk of the
    // same searcher numbers from 1 again.
    EventRecorder recorder;
    first.Clear();
    std::pair<std::vector<SubunitInfoPtr>, std::optional<WorkOutcome>> taken;
    searcher.Start(m_dir.path(), &recorder, false);
    std::thread consumer([&] { taken = Consume(first); });
    consumer.join();
    searcher.Wait();
    QCoreApplication::sendPostedEvents(&recorder);

    EXPECT_EQ(taken.second, WorkOutcome::Succeeded);
    ASSERT_EQ(taken.first.size(), 55u);
    EXPECT_EQ(taken.first.front()->ID, 1u);
    EXPECT_EQ(taken.first.back()->ID, 55u);
    EXPECT_EQ(searcher.TotalSize(), 0u);
    EXPECT_TRUE(recorder.Events.empty());
}

TEST_F(SubunitsSearcherTest, TwoWalksAtOnceEachFillOnlyTheirOwnSink)
{
    // Two trees of different shapes, each with a folder "hold" that its walk reaches
    // after it has handed over the root's entries.
    std::map<QString, QStringList> expected;
    for (const auto& [tree, files] : {std::pair<QString, int>{"one", 30}, {"two", 45}}) {
        for (int i = 0; i < files; ++i) {
            const QString relative = QStringLiteral("%1/d%2/f%3").arg(tree).arg(i % 4).arg(i);
            MakeFile(relative, i);
            expected[tree] << relative.mid(tree.size() + 1);
        }
        MakeFile(tree + QStringLiteral("/hold/inside"), 1);
        expected[tree] << QStringLiteral("hold/inside") << QStringLiteral("hold");
        for (int d = 0; d < 4; ++d)
            expected[tree] << QStringLiteral("d%1").arg(d);
        expected[tree].sort();
    }

    Gate gate;
    GateOpener opener(gate);
    HoldingLister listerOne(gate, QStringLiteral("hold"));
    HoldingLister listerTwo(gate, QStringLiteral("hold"));
    SubunitQueue queueOne;
    SubunitQueue queueTwo;
    SubunitsSearcher one(queueOne, &listerOne);
    SubunitsSearcher two(queueTwo, &listerTwo);
    std::pair<std::vector<SubunitInfoPtr>, std::optional<WorkOutcome>> takenOne;
    std::pair<std::vector<SubunitInfoPtr>, std::optional<WorkOutcome>> takenTwo;
    one.Start(At("one"), nullptr, false);
    two.Start(At("two"), nullptr, false);
    std::thread consumerOne([&] { takenOne = Consume(queueOne); });
    std::thread consumerTwo([&] { takenTwo = Consume(queueTwo); });
    // Both walks are in the middle of their trees at the same time, then go on together.
    ASSERT_TRUE(QTest::qWaitFor([&] { return gate.Arrived() == 2; }, 30000));
    gate.Open();
    consumerOne.join();
    consumerTwo.join();
    one.Wait();
    two.Wait();

    for (const auto& [tree, taken] :
         {std::pair<QString, const std::vector<SubunitInfoPtr>*>{"one", &takenOne.first},
          {"two", &takenTwo.first}}) {
        SCOPED_TRACE(tree.toStdString());
        const QString root = At(tree);
        QStringList paths;
        std::map<quint32, QString> pathOf;
        for (size_t i = 0; i < taken->size(); ++i) {
            const SubunitInfo& info = *(*taken)[i];
            ASSERT_TRUE(info.Path().startsWith(root + QLatin1Char('/')))
                << info.Path().toStdString();
            const QString relative = info.Path().mid(root.size() + 1);
            paths << relative;
            pathOf[info.ID] = relative;
            EXPECT_EQ(info.ID, i + 1);
            // A parent is a folder of the same walk, met before.
            if (info.ParentID != 0) {
                EXPECT_EQ(pathOf.at(info.ParentID) + QLatin1Char('/') + info.Data.FileName,
                          relative);
            }
        }
        paths.sort();
        EXPECT_EQ(paths, expected.at(tree));
    }
    EXPECT_EQ(takenOne.second, WorkOutcome::Succeeded);
    EXPECT_EQ(takenTwo.second, WorkOutcome::Succeeded);
}

TEST_F(SubunitsSearcherTest, LinksAreListedAsThemselvesAndARootReachedThroughOneIsWalked)
{
    MakeFile("A/f", 4);
    const QByteArray far = "/elsewhere/" + QByteArray(300, 'x');
    const std::pair<const char*, const char*> links[] = {
        {"A/up", ".."},    {"A/self", "."},         {"A2", "A"},
        {"tofile", "A/f"}, {"dangling", "nowhere"}, {"far", far.constData()}};
    for (const auto& [link, target] : links)
        ASSERT_EQ(::symlink(target, NativeAt(link).constData()), 0);

    SubunitQueue queue;
    SubunitsSearcher searcher(queue);
    Walk(searcher, queue, true, m_dir.path());
    // The root's five entries, then A's three: no link is entered, and only f counts.
    ASSERT_EQ(m_records.size(), 8u);
    for (const auto& [link, target] : links) {
        const SubunitInfoPtr info = Find(At(QString::fromLatin1(link)));
        ASSERT_TRUE(info) << link;
        EXPECT_TRUE(info->IsFile() && info->Data.IsLink()) << link;
        EXPECT_EQ(info->Data.Size, 0u) << link;
        ASSERT_TRUE(info->Data.Link) << link;
        EXPECT_EQ(info->Data.Link->Text, QString::fromLatin1(target));
    }
    EXPECT_FALSE(Find(At("A/f"))->Data.IsLink());
    EXPECT_FALSE(Find(At("A/f"))->Data.Link);
    EXPECT_EQ(searcher.TotalSize(), 4u);
    EXPECT_EQ(m_events, std::vector<Event>{kWalked});
    EXPECT_TRUE(Errors().empty());

    // The chosen root is itself resolved: through the link, A's entries are listed.
    Walk(searcher, queue, true, At("A2"));
    QStringList names;
    for (const SubunitInfoPtr& info : m_records)
        names << info->Data.FileName;
    names.sort();
    EXPECT_EQ(names, QStringList({"f", "self", "up"}));
    EXPECT_EQ(searcher.TotalSize(), 4u);
}

TEST_F(SubunitsSearcherTest, CancelStopsBeforeTheNextEntryAndIsPostedOnce)
{
    FakeFolderLister lister;
    lister.AddFolder("/r", 1, {"f0", "f1", "f2", "f3", "f4", "sub/"});
    lister.AddFolder("/r/sub", 2, {"g0", "g1"});
    struct Point
    {
        QString Folder;
        int Index; // of the entry about to be handed over; the count: after the last
        size_t Records;
        Event Posted;
    };
    // At the first entry, within a folder, between two folders, within the last one,
    // and after the last entry of the tree, when the walk has completed.
    const Point points[] = {{"/r", 0, 0, kCancelled},
                            {"/r", 3, 3, kCancelled},
                            {"/r", 6, 6, kCancelled},
                            {"/r/sub", 1, 7, kCancelled},
                            {"/r/sub", 2, 8, kWalked}};
    for (const Point& point : points) {
        SCOPED_TRACE(point.Records);
        SubunitQueue queue;
        SubunitsSearcher searcher(queue, &lister);
        lister.SetHook([&](const QString& folder, int index) {
            if (folder == point.Folder && index == point.Index)
                searcher.Cancel();
        });
        Walk(searcher, queue, true, "/r");
        const bool cancelled = point.Posted == kCancelled;
        EXPECT_EQ(m_records.size(), point.Records);
        EXPECT_EQ(m_events, std::vector<Event>{point.Posted});
        EXPECT_EQ(queue.Outcome(), cancelled ? WorkOutcome::Cancelled : WorkOutcome::Succeeded);
    }
}

TEST_F(SubunitsSearcherTest, UnreadableFoldersAreListedAsErrorsAndLoopsAreNotEntered)
{
    // Running as root, permissions would not stop the reading: the fake refuses instead.
    FakeFolderLister lister;
    lister.AddFolder("/", 1, {"locked/", "broken/", "ok/", "back/"});
    lister.FailFolder("/locked", EACCES);
    lister.AddFolder("/broken", 2, {"p", "q"});
    lister.FailFolder("/broken", EIO, 1);
    lister.AddFolder("/ok", 3, {"z"});
    lister.AddFolder("/back", 1, {"never"});
    SubunitQueue queue;
    SubunitsSearcher searcher(queue, &lister);
    Walk(searcher, queue, true, "/");

    QStringList paths;
    for (const SubunitInfoPtr& info : m_records)
        paths << info->Path();
    EXPECT_EQ(paths, QStringList({"/locked", "/broken", "/ok", "/back", "/broken/p", "/ok/z"}));
    EXPECT_EQ(m_events, std::vector<Event>{kWalked});
    const auto text = [](int code) { return QString::fromLocal8Bit(std::strerror(code)); };
    EXPECT_EQ(Errors(),
              (std::map<QString, QString>{{"/locked", text(EACCES)}, {"/broken", text(EIO)}}));

    // A root that cannot be opened on the disc: one error, and a walk that completes.
    SubunitsSearcher disc(queue);
    Walk(disc, queue, true, At("missing"));
    EXPECT_TRUE(m_records.empty());
    EXPECT_EQ(m_events, std::vector<Event>{kWalked});
    EXPECT_EQ(Errors(), (std::map<QString, QString>{{At("missing"), text(ENOENT)}}));
}

TEST_F(SubunitsSearcherTest, OddNamesAndAFileBeyondFourGigabytes)
{
    const char* const names[] = {"quote\"d", "100%s%n%%", "new\nline", "odd\xff"};
    for (const char* name : names)
        ASSERT_EQ(::close(::open(NativeAt(name).constData(), O_CREAT | O_WRONLY, 0644)), 0);
    // A folder whose name is not valid UTF-8 is entered all the same.
    ASSERT_EQ(::mkdir(NativeAt("dir\xfe").constData(), 0755), 0);
    ASSERT_EQ(::close(::open(NativeAt("dir\xfe/in").constData(), O_CREAT | O_WRONLY, 0644)), 0);
    constexpr quint64 kBig = Q_UINT64_C(5) << 30; // sparse: no blocks are written
    const int big = ::open(NativeAt("big").constData(), O_CREAT | O_WRONLY, 0644);
    ASSERT_EQ(::ftruncate(big, static_cast<off_t>(kBig)), 0);
    ::close(big);

    SubunitQueue queue;
    SubunitsSearcher searcher(queue);
    Walk(searcher, queue, true, m_dir.path());
    // QTemporaryDir removes by decoded names, which miss the undecodable ones.
    for (const char* name : {"odd\xff", "dir\xfe/in"})
        ::unlink(NativeAt(name).constData());
    ::rmdir(NativeAt("dir\xfe").constData());

    ASSERT_EQ(m_records.size(), 7u);
    for (const char* name : names)
        EXPECT_TRUE(Find(At(QFile::decodeName(name)))) << name;
    const SubunitInfoPtr folder = Find(At(QFile::decodeName("dir\xfe")));
    ASSERT_TRUE(folder && !folder->IsFile());
    ASSERT_TRUE(Find(folder->Path() + "/in"));
    EXPECT_EQ(Find(folder->Path() + "/in")->ParentID, folder->ID);
    EXPECT_EQ(Find(At("big"))->Data.Size, kBig);
    EXPECT_EQ(searcher.TotalSize(), kBig);
    EXPECT_TRUE(Errors().empty());
}
