// Find Duplicates and Files Kept Nowhere Else in the window, on a catalogue made here
// from real folders with known copies: the groups in order with where each copy lies,
// Browse to..., the files of one tree kept nowhere else, when the command is offered,
// and Cancel.
#include "acquisition/RescanFixture.h"
#include "search/ContextListCtrl.h"
#include "search/CopiesDlg.h"
#include "search/CopiesModel.h"
#include "search/CopyOptionsDlg.h"
#include "views/CommandIds.h"
#include "views/DetailsView.h"
#include "views/MainFrame.h"
#include "views/NavigationView.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>

namespace {

using namespace RescanTools;

class CopiesDlgTest : public RescanTest
{
protected:
    void SetUp() override
    {
        const QString photos = m_dir.filePath(QStringLiteral("Photos"));
        MakeFile(photos + QStringLiteral("/holiday.jpg"), 3000);
        MakeFile(photos + QStringLiteral("/notes.txt"), 10);
        MakeFile(photos + QStringLiteral("/music/song.mp3"), 2000);
        m_first = Add(CAddLocationJob::Mode::Folder, photos);
        m_second = Add(CAddLocationJob::Mode::Folder, photos);
        // The photo again, saved a day later; a song of its own size; a file of its own.
        const QString other = m_dir.filePath(QStringLiteral("Other"));
        MakeFile(other + QStringLiteral("/holiday.jpg"), 3000, kThen + 86400);
        MakeFile(other + QStringLiteral("/song.mp3"), 2100);
        MakeFile(other + QStringLiteral("/only.dat"), 700);
        m_other = Add(CAddLocationJob::Mode::Folder, other);
        ASSERT_NE(m_first * m_second * m_other, 0);
        m_frame.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_frame));
    }

    // "group name size location" per row.
    static QStringList Rows(const CCopiesDlg& dialog)
    {
        const CCopiesModel& model = dialog.Model();
        QStringList rows;
        for (int row = 0; row < model.rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < model.columnCount(); ++column)
                cells << model.index(row, column).data().toString();
            rows << cells.join(QLatin1Char('|'));
        }
        return rows;
    }

    QTemporaryDir m_dir;
    CMainFrame m_frame{m_doc};
    int m_first = 0;
    int m_second = 0;
    int m_other = 0;
};

} // namespace

TEST_F(CopiesDlgTest, ListsTheGroupsLargestWasteFirstAndBrowsesToACopy)
{
    CCopiesDlg* dialog = m_frame.FindDuplicates({});
    ASSERT_TRUE(dialog);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(
        Rows(*dialog),
        QStringList(
            {"1|holiday.jpg|2.93 KB|Shelf › Photos", "1|holiday.jpg|2.93 KB|Shelf › Photos",
             "1|holiday.jpg|2.93 KB|Shelf › Other", "2|song.mp3|1.95 KB|Shelf › Photos › music",
             "2|song.mp3|1.95 KB|Shelf › Photos › music", "3|notes.txt|10 bytes|Shelf › Photos",
             "3|notes.txt|10 bytes|Shelf › Photos"}));
    EXPECT_EQ(dialog->CountText(),
              QStringLiteral("3 groups of copies, 7.82 KB taken more than once"));

    // The second tree's song: its folder in the tree, the song in the list.
    EXPECT_FALSE(dialog->BrowseButton().isEnabled());
    dialog->List().setCurrentIndex(dialog->Model().index(4, 0));
    ASSERT_TRUE(dialog->BrowseButton().isEnabled());
    dialog->BrowseButton().click();
    const int music = UnitNamed(m_second, "music");
    EXPECT_EQ(CNavigationView::ItemId(m_frame.Navigation().currentItem()), music);
    EXPECT_EQ(m_frame.Details().SelectedUnitId(), UnitNamed(m_second, "song.mp3"));
    dialog->close();

    // The same date as well, and nothing under a kilobyte, as the options ask it.
    CCopyOptionsDlg options(&m_frame);
    options.WithDateBox().setChecked(true);
    options.MinSizeBox().setValue(1);
    options.UnitBox().setCurrentIndex(1);
    EXPECT_EQ(options.Options().MinSize, 1024);
    options.UnitBox().setCurrentIndex(3);
    EXPECT_EQ(options.Options().MinSize, qint64(1) << 30);
    options.UnitBox().setCurrentIndex(1);
    dialog = m_frame.FindDuplicates(options.Options());
    ASSERT_TRUE(dialog);
    EXPECT_EQ(Rows(*dialog).size(), 4);
    EXPECT_TRUE(Rows(*dialog).front().startsWith(QStringLiteral("1|holiday.jpg|")));
    EXPECT_TRUE(Rows(*dialog).back().startsWith(QStringLiteral("2|song.mp3|")));
    dialog->close();
}

TEST_F(CopiesDlgTest, ListsTheFilesOfATreeKeptNowhereElse)
{
    const QAction& unique = *m_frame.Commands().Get(CommandIds::UniqueFiles);
    m_frame.BrowseTo({m_storage}, 0);
    m_frame.Navigation().setFocus();
    EXPECT_FALSE(unique.isEnabled());
    m_frame.BrowseTo({m_storage, m_other}, 0);
    EXPECT_TRUE(unique.isEnabled());

    CCopiesDlg* dialog = m_frame.FindUniqueFiles(m_other);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(Rows(*dialog),
              QStringList({"song.mp3|2.05 KB|Shelf › Other", "only.dat|700 bytes|Shelf › Other"}));
    dialog->close();

    // Every file of the first tree has its copy in the second.
    dialog = m_frame.FindUniqueFiles(m_first);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->Model().rowCount(), 0);
    dialog->close();
}

TEST_F(CopiesDlgTest, CancelListsNothing)
{
    CCopiesDlg dialog(m_doc, CCopiesDlg::Kind::Duplicates, &m_frame);
    int progressEvents = 0;
    QObject::connect(&dialog, &CCopiesDlg::progressed, [&] {
        if (progressEvents++ == 0)
            m_frame.findChild<QProgressDialog*>(QStringLiteral("copiesProgress"))
                ->findChild<QPushButton*>()
                ->click();
    });
    EXPECT_FALSE(dialog.FindDuplicates({}));
    EXPECT_GT(progressEvents, 0);
    EXPECT_EQ(dialog.Model().rowCount(), 0);
    EXPECT_TRUE(dialog.CountText().isEmpty());
    // The catalogue is free again: the same search runs to its end.
    EXPECT_TRUE(dialog.FindDuplicates({}));
    EXPECT_EQ(dialog.Model().rowCount(), 7);
}
