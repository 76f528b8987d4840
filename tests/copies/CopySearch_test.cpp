// Copies across a catalogue built from real trees with the real addition: the same
// tree added twice, and a disc image sharing some of its files.
#include "acquisition/RescanFixture.h"

#include "common/WorkerEvent.h"
#include "copies/CopySearch.h"
#include "listers/DiscImageLister.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <map>
#include <string>
#include <vector>

using namespace RescanTools;

namespace {

// Cancels the search at its first progress event and notes the end.
class CancelAtStart final : public QObject
{
public:
    explicit CancelAtStart(CCopySearch& search) : m_search(search) {}
    bool finished = false;
    int progressEvents = 0;

protected:
    void customEvent(QEvent* event) override
    {
        if (WorkerEvent::Is(event, WorkerEvent::Progress) && progressEvents++ == 0)
            m_search.Cancel();
        if (WorkerEvent::Is(event, WorkerEvent::Finished))
            finished = true;
    }

private:
    CCopySearch& m_search;
};

// "name size xCopies" per group, in the order found.
std::vector<std::string> Groups(const CCopySearch& search)
{
    std::vector<std::string> lines;
    for (const CCopySearch::Group& group : search.Groups()) {
        std::string line = group.Copies.front().Name.toStdString() + " " +
                           std::to_string(group.Size) + " x" + std::to_string(group.Copies.size());
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> Names(const std::vector<CatalogueFile>& files)
{
    std::vector<std::string> names;
    for (const CatalogueFile& file : files)
        names.push_back(file.Name.toStdString());
    return names;
}

class CopySearchTest : public RescanTest
{
protected:
    void SetUp() override
    {
        if (QStandardPaths::findExecutable(QStringLiteral("xorriso")).isEmpty())
            GTEST_SKIP() << "xorriso is not installed";
        const QString tree = m_dir.filePath(QStringLiteral("Photos"));
        MakeFile(tree + QStringLiteral("/holiday.jpg"), 3000);
        MakeFile(tree + QStringLiteral("/notes.txt"), 10);
        MakeFile(tree + QStringLiteral("/music/song.mp3"), 2000);
        MakeFile(tree + QStringLiteral("/music/deep/cover.png"), 500);
        m_first = Add(CAddLocationJob::Mode::Folder, tree);
        m_second = Add(CAddLocationJob::Mode::Folder, tree);
        // The disc: the photo again but saved later, the notes in capitals, another
        // song of the same name, and a file of its own.
        const QString disc = m_dir.filePath(QStringLiteral("Disc"));
        MakeFile(disc + QStringLiteral("/holiday.jpg"), 3000, kThen + 86400);
        MakeFile(disc + QStringLiteral("/NOTES.TXT"), 10);
        MakeFile(disc + QStringLiteral("/song.mp3"), 2100);
        MakeFile(disc + QStringLiteral("/only here.dat"), 700);
        const QString image = m_dir.filePath(QStringLiteral("disc.iso"));
        ASSERT_TRUE(MakeImage(disc, image));
        const std::unique_ptr<FolderLister> lister = DiscImageLister::Open(image);
        ASSERT_TRUE(lister);
        m_disc = Add(CAddLocationJob::Mode::Disc, image, lister.get());
        ASSERT_NE(m_first, 0);
        ASSERT_NE(m_second, 0);
        ASSERT_NE(m_disc, 0);
    }

    void Duplicates(const CCopySearch::Options& options)
    {
        m_search.StartDuplicates(options, nullptr);
        m_search.Wait();
        ASSERT_EQ(m_search.Outcome(), WorkOutcome::Succeeded);
    }

    std::vector<std::string> Unique(int unitId)
    {
        EXPECT_TRUE(m_search.StartUnique(unitId, nullptr));
        m_search.Wait();
        EXPECT_EQ(m_search.Outcome(), WorkOutcome::Succeeded);
        return Names(m_search.UniqueFiles());
    }

    QTemporaryDir m_dir;
    CCopySearch m_search{m_doc.Database()};
    int m_first = 0;
    int m_second = 0;
    int m_disc = 0;
};

} // namespace

TEST_F(CopySearchTest, GroupsCopiesByNameAndSizeLargestWasteFirst)
{
    Duplicates({});
    // The photo three times (6,000 bytes spare), the song twice (2,000), the cover
    // twice (500), the notes three times whatever their capitals (20). The disc's song
    // differs in size and is no copy.
    EXPECT_EQ(Groups(m_search), (std::vector<std::string>{"holiday.jpg 3000 x3", "song.mp3 2000 x2",
                                                          "cover.png 500 x2", "notes.txt 10 x3"}));
    const CCopySearch::Group& photo = m_search.Groups().front();
    EXPECT_EQ(photo.SpareBytes(), 6000);
    std::vector<int> tops;
    for (const CatalogueFile& copy : photo.Copies)
        tops.push_back(m_doc.Database().GetAncestorIds(copy.UnitID).back());
    EXPECT_EQ(tops, (std::vector<int>{m_first, m_second, m_disc}));
    const std::map<int, QString> where =
        m_doc.Database().GetUnitLocations({m_search.Groups()[2].Copies.front().UnitID});
    EXPECT_TRUE(where.begin()->second.endsWith(QStringLiteral("Photos › music › deep")))
        << where.begin()->second.toStdString();

    // The date leaves out the photo saved later; a minimum size the small files.
    Duplicates({true, 0});
    EXPECT_EQ(Groups(m_search), (std::vector<std::string>{"holiday.jpg 3000 x2", "song.mp3 2000 x2",
                                                          "cover.png 500 x2", "notes.txt 10 x3"}));
    Duplicates({false, 600});
    EXPECT_EQ(Groups(m_search),
              (std::vector<std::string>{"holiday.jpg 3000 x3", "song.mp3 2000 x2"}));
    Duplicates({false, 3001});
    EXPECT_TRUE(m_search.Groups().empty());
}

TEST_F(CopySearchTest, UniqueFilesAreThoseKeptNowhereElse)
{
    // The disc's own file and its song of another size, the largest first.
    EXPECT_EQ(Unique(m_disc), (std::vector<std::string>{"song.mp3", "only here.dat"}));
    // Every file of the first tree is in the second too.
    EXPECT_TRUE(Unique(m_first).empty());
    // Below a folder, copies elsewhere in the same tree count.
    EXPECT_EQ(Unique(UnitNamed(m_first, "music")), std::vector<std::string>());
    m_doc.Database().DeleteUnit(m_second);
    EXPECT_EQ(Unique(UnitNamed(m_first, "music")),
              (std::vector<std::string>{"song.mp3", "cover.png"}));

    // Only a disc or folder has files below it.
    const int file = UnitNamed(m_first, "notes.txt");
    EXPECT_FALSE(m_search.StartUnique(file, nullptr));
    EXPECT_FALSE(m_search.Error().isEmpty());
    EXPECT_FALSE(m_search.StartUnique(999999, nullptr));
}

TEST_F(CopySearchTest, CancelEndsWithNoResult)
{
    // Enough files that the pass is still reading when the cancel arrives.
    m_doc.Database().Execute(
        QStringLiteral(
            "WITH RECURSIVE N(I) AS (SELECT 1 UNION ALL SELECT I + 1 FROM N WHERE I < 300000) "
            "INSERT INTO Units (UnitName, UnitType, StorageID, ParentUnitID, UnitSize) "
            "SELECT 'file ' || I || '.dat', 'F', 1, %1, I FROM N")
            .arg(m_second));
    CancelAtStart receiver(m_search);
    m_search.StartDuplicates({}, &receiver);
    const QDeadlineTimer deadline(60000);
    while (!receiver.finished && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    m_search.Wait();
    EXPECT_TRUE(receiver.finished);
    EXPECT_EQ(m_search.Outcome(), WorkOutcome::Cancelled);
    EXPECT_TRUE(m_search.Groups().empty());

    // The same search runs again to its end afterwards.
    Duplicates({});
    EXPECT_EQ(m_search.Groups().size(), 4u);
}
